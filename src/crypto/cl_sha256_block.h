// The SHA-256 block functions: the portable one, and those of processors with instructions for it.
#pragma once

#include <stdint.h>

#include <bit>

#include "base/bytes.h"

namespace hearth {

// The first 32 bits of the fractions of the cube roots of the first 64 primes.
alignas(16) inline constexpr uint32_t kSha256Roots[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

// One round on the eight working words; the caller turns their names. `b_or_c` holds the bits in
// which b and c differ, which are those in which a and b differed a round ago.
[[gnu::always_inline]] inline void sha256_round(uint32_t a, uint32_t b, uint32_t &b_or_c,
                                                uint32_t &d, uint32_t e, uint32_t f, uint32_t g,
                                                uint32_t &h, uint32_t word) {
    uint32_t choice = ((f ^ g) & e) ^ g;
    uint32_t a_or_b = a ^ b;
    uint32_t majority = (a_or_b & b_or_c) ^ b;
    b_or_c = a_or_b;
    h += word + choice + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25));
    d += h;
    h += majority + (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22));
}

// Word i + 16 of the message schedule, in place of word i.
[[gnu::always_inline]] inline void sha256_expand(uint32_t *words, size_t i) {
    uint32_t early = words[(i + 1) % 16];
    uint32_t late = words[(i + 14) % 16];
    words[i % 16] += (std::rotr(early, 7) ^ std::rotr(early, 18) ^ (early >> 3)) +
                     words[(i + 9) % 16] +
                     (std::rotr(late, 17) ^ std::rotr(late, 19) ^ (late >> 10));
}

// Digests `count` blocks of 64 bytes on any processor.
inline void sha256_blocks_portable(uint32_t *state, const uint8_t *data, size_t count) {
    for (; count > 0; count--, data += 64) {
        uint32_t words[16];
        uint32_t v[8];
        for (size_t i = 0; i < 16; i++) {
            words[i] = load_be32(data + 4 * i);
        }
        for (size_t i = 0; i < 8; i++) {
            v[i] = state[i];
        }
        uint32_t b_or_c = v[1] ^ v[2];
        for (size_t first = 0; first < 64; first += 16) {
#pragma GCC unroll 16
            for (size_t i = 0; i < 16; i++) {
                sha256_round(v[-i & 7], v[(1 - i) & 7], b_or_c, v[(3 - i) & 7], v[(4 - i) & 7],
                             v[(5 - i) & 7], v[(6 - i) & 7], v[(7 - i) & 7],
                             words[i] + kSha256Roots[first + i]);
                if (first < 48) {
                    sha256_expand(words, i);
                }
            }
        }
        for (size_t i = 0; i < 8; i++) {
            state[i] += v[i];
        }
    }
}

// The same with the processor's instructions; only where cpu_features() has kCpuSha256.
void sha256_blocks_native(uint32_t *state, const uint8_t *data, size_t count);

}  // namespace hearth
