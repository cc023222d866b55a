// What the parser tells characters by.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>
#include <bit>

#include "base/bytes.h"

namespace hearth::xml {

enum CharacterClass : uint8_t {
    kSpace = 1,
    kEndsName = 2,    // ends a name, white space included
    kMayEndName = 4,  // ends a name as the start of "/>", "]]>" or "-->"
    kOneByteToken = 8,
    kColon = 16,
    kReference = 32,  // "&"
    kQuote = 64,      // either quote
    kTagStart = 128,
};

inline constexpr auto kClasses = [] {
    std::array<uint8_t, 256> classes{};
    for (char c : {' ', '\t', '\r', '\n'}) {
        classes[static_cast<uint8_t>(c)] = kSpace | kEndsName;
    }
    for (char c : {'>', '='}) {
        classes[static_cast<uint8_t>(c)] = kEndsName | kOneByteToken;
    }
    for (char c : {'"', '\''}) {
        classes[static_cast<uint8_t>(c)] = kEndsName | kOneByteToken | kQuote;
    }
    for (char c : {'/', ']', '-'}) {
        classes[static_cast<uint8_t>(c)] = kMayEndName;
    }
    classes[':'] = kColon;
    classes['&'] = kReference;
    classes['<'] = kEndsName | kTagStart;
    // The end of the document ends everything.
    classes['\0'] = kEndsName | kQuote | kTagStart;
    return classes;
}();

inline uint8_t class_of(char c) {
    return kClasses[static_cast<uint8_t>(c)];
}

// The first byte from `text` on that is of one of the classes, of which the NUL must have one.
template <uint8_t Classes>
char *find_class(char *text) {
    while (true) {
        for (int i = 0; i < 4; ++i) {
            if ((class_of(text[i]) & Classes) != 0) {
                return text + i;
            }
        }
        text += 4;
    }
}

// Searches go by words where the bytes of a word can be told by their place, and read up to the
// end of a word then; behind the document there is room for that.
constexpr bool kByWords = std::endian::native == std::endian::little;
constexpr size_t kOnes = SIZE_MAX / 0xFF;

// Has a bit set in the lowest byte of `word` that is 0, and in no byte below that.
constexpr size_t zero_bytes(size_t word) {
    return (word - kOnes) & ~word & (kOnes << 7);
}

constexpr size_t lowest_byte(size_t bits) {
    return static_cast<size_t>(std::countr_zero(bits)) / 8;
}

// The first "<", "&" or NUL from `text` on.
inline char *find_markup(char *text) {
    while (kByWords) {
        size_t word = load_native<size_t>(text);
        size_t found =
            zero_bytes(word) | zero_bytes(word ^ (kOnes * '<')) | zero_bytes(word ^ (kOnes * '&'));
        if (found != 0) {
            return text + lowest_byte(found);
        }
        text += sizeof word;
    }
    return find_class<kTagStart | kReference>(text);
}

// How many bytes of `name`, which stands in the document, are the same at `text`.
inline size_t same_length(const char *name, const char *text) {
    size_t length = 0;
    while (kByWords) {
        size_t word = load_native<size_t>(name + length);
        size_t end = zero_bytes(word) | (word ^ load_native<size_t>(text + length));
        if (end != 0) {
            return length + lowest_byte(end);
        }
        length += sizeof word;
    }
    while (name[length] != '\0' && name[length] == text[length]) {
        ++length;
    }
    return length;
}

inline char *skip_space(char *text) {
    while ((class_of(*text) & kSpace) != 0) {
        ++text;
    }
    return text;
}

}  // namespace hearth::xml
