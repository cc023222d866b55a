// The five characters that a document cannot hold as they are.
#pragma once

#include <stdint.h>

#include <array>
#include <string_view>

namespace hearth::xml {

struct Escape {
    char character;
    std::string_view text;
};
inline constexpr Escape kEscapes[] = {
    {'<', "&lt;"}, {'>', "&gt;"}, {'&', "&amp;"}, {'\'', "&apos;"}, {'"', "&quot;"},
};

// By character: its place in kEscapes and 1, or 0. A NUL has one as well, that of no escape.
inline constexpr uint8_t kNoEscape = 0xFF;
inline constexpr auto kEscapeOf = [] {
    std::array<uint8_t, 256> places{};
    places[0] = kNoEscape;
    uint8_t place = 0;
    for (const Escape &escape : kEscapes) {
        places[static_cast<uint8_t>(escape.character)] = ++place;
    }
    return places;
}();

// The end of the characters from `text` on that need no escape.
inline const char *plain_end(const char *text) {
    while (kEscapeOf[static_cast<uint8_t>(*text)] == 0) {
        ++text;
    }
    return text;
}

// The escape that stands for a character at plain_end; empty for the NUL.
inline std::string_view escape_of(char c) {
    uint8_t place = kEscapeOf[static_cast<uint8_t>(c)];
    return place == kNoEscape ? std::string_view() : kEscapes[place - 1].text;
}

}  // namespace hearth::xml
