// The MD5 block function.
#pragma once

#include <stdint.h>

#include <bit>
#include <utility>

#include "base/bytes.h"

namespace hearth {

// 2^32 times |sin(i)| for i from 1 to 64, without the fraction.
inline constexpr uint32_t kMd5Sines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// How far the steps of each round rotate, and which word of the block step i takes.
inline constexpr int kMd5Rotations[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
constexpr size_t md5_word(size_t step) {
    constexpr size_t kFactor[4] = {1, 5, 3, 7};
    constexpr size_t kStart[4] = {0, 1, 5, 0};
    return (step * kFactor[step / 16] + kStart[step / 16]) % 16;
}

// One of the 64 steps. The value of `b` is the last to become known, so everything else is added
// up first; in the second round the two halves of the choice are disjoint and are added apart.
template <size_t Step>
[[gnu::always_inline]] inline void md5_step(uint32_t &a, uint32_t b, uint32_t c, uint32_t d,
                                            uint32_t word) {
    constexpr size_t kRound = Step / 16;
    a += word + kMd5Sines[Step];
    if constexpr (kRound == 0) {
        a += ((c ^ d) & b) ^ d;
    } else if constexpr (kRound == 1) {
        a += ~d & c;
        a += d & b;
    } else if constexpr (kRound == 2) {
        a += (c ^ d) ^ b;
    } else {
        a += c ^ (~d | b);
    }
    a = std::rotl(a, kMd5Rotations[kRound][Step % 4]) + b;
}

template <size_t... Quad>
[[gnu::always_inline]] inline void md5_steps(uint32_t &a, uint32_t &b, uint32_t &c, uint32_t &d,
                                             const uint32_t *words,
                                             std::index_sequence<Quad...> /*16 times 4 steps*/) {
    ((md5_step<4 * Quad>(a, b, c, d, words[md5_word(4 * Quad)]),
      md5_step<4 * Quad + 1>(d, a, b, c, words[md5_word(4 * Quad + 1)]),
      md5_step<4 * Quad + 2>(c, d, a, b, words[md5_word(4 * Quad + 2)]),
      md5_step<4 * Quad + 3>(b, c, d, a, words[md5_word(4 * Quad + 3)])),
     ...);
}

// Digests `count` blocks of 64 bytes.
inline void md5_blocks(uint32_t *state, const uint8_t *data, size_t count) {
    uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    for (; count > 0; count--, data += 64) {
        uint32_t words[16];
        for (size_t i = 0; i < 16; i++) {
            words[i] = load_le32(data + 4 * i);
        }
        uint32_t a0 = a, b0 = b, c0 = c, d0 = d;
        md5_steps(a, b, c, d, words, std::make_index_sequence<16>());
        a += a0, b += b0, c += c0, d += d0;
    }
    state[0] = a, state[1] = b, state[2] = c, state[3] = d;
}

}  // namespace hearth
