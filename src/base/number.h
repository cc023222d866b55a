// Numbers in text. Unlike atoi and its like, every input has a defined result.
#pragma once

#include <stdint.h>

#include <charconv>
#include <string_view>

#include "base/text.h"

namespace hearth {

// As atoi: leading white space, a sign, digits up to the first other character, 0 for none. What
// overflows 64 bits becomes the largest or smallest number of them; of any number the low 32 bits
// are kept.
inline int32_t to_int32(const char *text) {
    while (is_space(*text)) {
        text++;
    }
    bool negative = *text == '-';
    text += negative || *text == '+';
    uint64_t limit = static_cast<uint64_t>(INT64_MAX) + negative;
    uint64_t value = 0;
    for (; is_digit(*text); text++) {
        uint64_t digit = static_cast<uint64_t>(*text - '0');
        value = value <= (limit - digit) / 10 ? value * 10 + digit : limit;
    }
    return static_cast<int32_t>(negative ? -value : value);
}

// A sum that wraps, so that a record full of nonsense has a result too.
constexpr int32_t wrapping_add(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

// A whole text that is a number in range of T; nothing is stored otherwise. Base 16 takes no
// "0x".
template <typename T>
bool parse_number(std::string_view text, T *value, int base = 10) {
    T parsed{};
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed, base);
    if (error != std::errc() || end != text.data() + text.size()) {
        return false;
    }
    *value = parsed;
    return true;
}

}  // namespace hearth
