// The tables of DES (FIPS 46), and what is derived from them at compile time.
//
// Inside the rounds each half of a block is kept expanded: the eight overlapping groups of six bits
// that the S-boxes take, one in the low bits of each byte of a 64-bit word, the first group on top.
// Expansion is linear, so it can be built into the S-box tables once for all rounds.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>

namespace hearth {

inline constexpr uint8_t kDesSubstitution[8][64] = {
    {14, 4,  13, 1, 2,  15, 11, 8,  3,  10, 6,  12, 5,  9,  0, 7,  //
     0,  15, 7,  4, 14, 2,  13, 1,  10, 6,  12, 11, 9,  5,  3, 8,  //
     4,  1,  14, 8, 13, 6,  2,  11, 15, 12, 9,  7,  3,  10, 5, 0,  //
     15, 12, 8,  2, 4,  9,  1,  7,  5,  11, 3,  14, 10, 0,  6, 13},
    {15, 1,  8,  14, 6,  11, 3,  4,  9,  7, 2,  13, 12, 0, 5,  10,  //
     3,  13, 4,  7,  15, 2,  8,  14, 12, 0, 1,  10, 6,  9, 11, 5,   //
     0,  14, 7,  11, 10, 4,  13, 1,  5,  8, 12, 6,  9,  3, 2,  15,  //
     13, 8,  10, 1,  3,  15, 4,  2,  11, 6, 7,  12, 0,  5, 14, 9},
    {10, 0,  9,  14, 6, 3,  15, 5,  1,  13, 12, 7,  11, 4,  2,  8,  //
     13, 7,  0,  9,  3, 4,  6,  10, 2,  8,  5,  14, 12, 11, 15, 1,  //
     13, 6,  4,  9,  8, 15, 3,  0,  11, 1,  2,  12, 5,  10, 14, 7,  //
     1,  10, 13, 0,  6, 9,  8,  7,  4,  15, 14, 3,  11, 5,  2,  12},
    {7,  13, 14, 3, 0,  6,  9,  10, 1,  2, 8, 5,  11, 12, 4,  15,  //
     13, 8,  11, 5, 6,  15, 0,  3,  4,  7, 2, 12, 1,  10, 14, 9,   //
     10, 6,  9,  0, 12, 11, 7,  13, 15, 1, 3, 14, 5,  2,  8,  4,   //
     3,  15, 0,  6, 10, 1,  13, 8,  9,  4, 5, 11, 12, 7,  2,  14},
    {2,  12, 4,  1,  7,  10, 11, 6,  8,  5,  3,  15, 13, 0, 14, 9,   //
     14, 11, 2,  12, 4,  7,  13, 1,  5,  0,  15, 10, 3,  9, 8,  6,   //
     4,  2,  1,  11, 10, 13, 7,  8,  15, 9,  12, 5,  6,  3, 0,  14,  //
     11, 8,  12, 7,  1,  14, 2,  13, 6,  15, 0,  9,  10, 4, 5,  3},
    {12, 1,  10, 15, 9, 2,  6,  8,  0,  13, 3,  4,  14, 7,  5,  11,  //
     10, 15, 4,  2,  7, 12, 9,  5,  6,  1,  13, 14, 0,  11, 3,  8,   //
     9,  14, 15, 5,  2, 8,  12, 3,  7,  0,  4,  10, 1,  13, 11, 6,   //
     4,  3,  2,  12, 9, 5,  15, 10, 11, 14, 1,  7,  6,  0,  8,  13},
    {4,  11, 2,  14, 15, 0, 8,  13, 3,  12, 9, 7,  5,  10, 6, 1,  //
     13, 0,  11, 7,  4,  9, 1,  10, 14, 3,  5, 12, 2,  15, 8, 6,  //
     1,  4,  11, 13, 12, 3, 7,  14, 10, 15, 6, 8,  0,  5,  9, 2,  //
     6,  11, 13, 8,  1,  4, 10, 7,  9,  5,  0, 15, 14, 2,  3, 12},
    {13, 2,  8,  4, 6,  15, 11, 1,  10, 9,  3,  14, 5,  0,  12, 7,  //
     1,  15, 13, 8, 10, 3,  7,  4,  12, 5,  6,  11, 0,  14, 9,  2,  //
     7,  11, 4,  1, 9,  12, 14, 2,  0,  6,  10, 13, 15, 3,  5,  8,  //
     2,  1,  14, 7, 4,  10, 8,  13, 15, 12, 9,  0,  3,  5,  6,  11}};

// Bits are numbered from 1, the most significant one, as the standard does.
inline constexpr uint8_t kDesPermutation[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23,
                                                26, 5, 18, 31, 10, 2,  8,  24, 14, 32, 27,
                                                3,  9, 19, 13, 30, 6,  22, 11, 4,  25};

inline constexpr uint8_t kDesKeyChoice1[56] = {
    57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18, 10, 2,  59, 51, 43,
    35, 27, 19, 11, 3,  60, 52, 44, 36, 63, 55, 47, 39, 31, 23, 15, 7,  62, 54,
    46, 38, 30, 22, 14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};

inline constexpr uint8_t kDesKeyChoice2[48] = {
    14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,  26, 8,  16, 7,  27, 20, 13, 2,
    41, 52, 31, 37, 47, 55, 30, 40, 51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};

inline constexpr uint8_t kDesKeyShifts[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

// The groups of six bits of a half, one a byte.
constexpr uint64_t des_expand(uint32_t half) {
    uint64_t groups = 0;
    for (int group = 0; group < 8; group++) {
        for (int bit = 4 * group - 1; bit <= 4 * group + 4; bit++) {
            uint32_t value = (half >> (31 - (bit & 31))) & 1;
            groups |= static_cast<uint64_t>(value) << (8 * (7 - group) + (4 * group + 4 - bit));
        }
    }
    return groups;
}

using DesBoxes = std::array<std::array<uint64_t, 64>, 8>;

// What each S-box adds to the other half: substituted, permuted and expanded.
constexpr DesBoxes make_des_boxes() {
    DesBoxes boxes{};
    for (uint32_t box = 0; box < 8; box++) {
        for (uint32_t in = 0; in < 64; in++) {
            uint32_t row = ((in >> 4) & 2) | (in & 1);
            uint32_t column = (in >> 1) & 15;
            uint32_t out = static_cast<uint32_t>(kDesSubstitution[box][16 * row + column])
                           << (28 - 4 * box);
            uint32_t permuted = 0;
            for (int i = 0; i < 32; i++) {
                permuted |= ((out >> (32 - kDesPermutation[i])) & 1) << (31 - i);
            }
            boxes[box][in] = des_expand(permuted);
        }
    }
    return boxes;
}

alignas(64) inline constexpr DesBoxes kDesBoxes = make_des_boxes();

// A permutation of the bits of a 64-bit word, by table lookups on its 16 half bytes.
using NibbleTables = std::array<std::array<uint64_t, 16>, 16>;

constexpr uint64_t permute(const NibbleTables &tables, uint64_t value) {
    uint64_t result = 0;
    for (size_t i = 0; i < tables.size(); i++) {
        result |= tables[i][(value >> (4 * i)) & 15];
    }
    return result;
}

// `place(bit)` is the place from the low end that the bit at `bit` from the low end goes to, -1
// for none.
template <typename Place>
constexpr NibbleTables make_nibble_tables(Place place) {
    NibbleTables tables{};
    for (int bit = 0; bit < 64; bit++) {
        int target = place(bit);
        for (uint32_t value = 0; value < 16 && target >= 0; value++) {
            if (((value >> (bit % 4)) & 1) != 0) {
                tables[static_cast<size_t>(bit / 4)][value] |= uint64_t{1} << target;
            }
        }
    }
    return tables;
}

// From the key, first byte on top, to its two halves of 28 bits.
inline constexpr NibbleTables kDesKeyHalves = make_nibble_tables([](int bit) {
    for (int i = 0; i < 56; i++) {
        if (kDesKeyChoice1[i] == 64 - bit) {
            return 55 - i;
        }
    }
    return -1;
});

// From the two shifted halves to a round's eight groups of six bits, one a byte.
inline constexpr NibbleTables kDesRoundKey = make_nibble_tables([](int bit) {
    for (int i = 0; i < 48; i++) {
        if (kDesKeyChoice2[i] == 56 - bit) {
            return 8 * (7 - i / 6) + 5 - i % 6;
        }
    }
    return -1;
});

}  // namespace hearth
