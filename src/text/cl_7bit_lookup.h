// Characters to septets: one character looked up in a base or an extension table.
#pragma once

#include <stdint.h>

#include "text/cl_7bit_tables.h"

namespace hearth::text {

constexpr uint32_t kNoSeptet = 128;

// The first septet of the alphabet that holds the character, kNoSeptet for none. Most characters
// of a text are their own septet, which one look tells; a reverse table is left out, as memory
// counts for more here.
constexpr uint32_t base_septet(const Alphabet &alphabet, uint16_t character) {
    if (character < alphabet.size() && alphabet[character] == character) {
        return character;
    }
    uint32_t septet = 0;
    while (septet < alphabet.size() && alphabet[septet] != character) {
        ++septet;
    }
    return septet;
}

// The same in a compact extension table.
constexpr uint32_t extension_septet(const SeptetRow *row, uint16_t character) {
    while (row->septet != kEndRow.septet) {
        if (row->value == character) {
            return row->septet;
        }
        ++row;
    }
    return kNoSeptet;
}

// A character that is its own septet must stand nowhere before.
constexpr bool values_are_unique(const Alphabet &alphabet) {
    for (size_t i = 0; i < alphabet.size(); ++i) {
        for (size_t k = 0; k < i; ++k) {
            if (alphabet[k] == alphabet[i]) {
                return false;
            }
        }
    }
    return true;
}
static_assert(values_are_unique(cl_7DefaultAlphabet));

inline uint32_t default_septet(uint16_t character) {
    return base_septet(cl_7DefaultAlphabet, character);
}

}  // namespace hearth::text
