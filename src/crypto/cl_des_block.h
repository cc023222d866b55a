// The DES block function on several blocks at a time, for one or three passes.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <bit>
#include <utility>

#include "base/bytes.h"
#include "crypto/cl_des_tables.h"

namespace hearth {

constexpr size_t kDesBlock = 8;
constexpr size_t kDesSchedule = 32;

// Blocks that have no chain between them are run this many at a time, which keeps the processor
// busy while table entries arrive.
constexpr size_t kDesLanes = 4;

// A block inside the rounds: both halves expanded, in the order in which the first round takes
// them.
struct DesHalves {
    uint64_t left;
    uint64_t right;

    DesHalves operator^(const DesHalves &other) const {
        return {left ^ other.left, right ^ other.right};
    }
};

// The round keys of one pass, or of the three of triple DES. Wiped at the end of its scope.
struct DesKeys {
    uint64_t rounds[48];
    size_t count;

    // `words` is 32 or 96. Bits outside the groups, which a caller's memory may hold, are dropped.
    DesKeys(const uint32_t *schedule, size_t words) : count(words / 2) {
        for (size_t i = 0; i < count; i++) {
            uint64_t groups = uint64_t{schedule[2 * i]} << 32 | schedule[2 * i + 1];
            rounds[i] = groups & 0x3f3f3f3f3f3f3f3f;
        }
    }
    DesKeys(const DesKeys &) = delete;
    DesKeys &operator=(const DesKeys &) = delete;
    ~DesKeys() { wipe(rounds, sizeof rounds); }
};

// Blocks are moved in and out as words with the first byte lowest.
inline uint64_t des_load(const uint8_t *from) {
    return uint64_t{load_le32(from + 4)} << 32 | load_le32(from);
}

inline void des_store(uint8_t *to, uint64_t block) {
    store_le32(to, static_cast<uint32_t>(block));
    store_le32(to + 4, static_cast<uint32_t>(block >> 32));
}

// Mirrors the 8 by 8 bits of a block along the diagonal.
constexpr uint64_t des_transpose(uint64_t x) {
    uint64_t t = (x ^ (x >> 7)) & 0x00aa00aa00aa00aa;
    x ^= t ^ (t << 7);
    t = (x ^ (x >> 14)) & 0x0000cccc0000cccc;
    x ^= t ^ (t << 14);
    t = (x ^ (x >> 28)) & 0x00000000f0f0f0f0;
    return x ^ t ^ (t << 28);
}

// Spreads the half whose bytes are the even ones of `columns` to groups of four bits, one a byte,
// and adds the neighbours' edge bits.
constexpr uint64_t des_spread(uint64_t columns) {
    uint64_t groups = (columns & 0x000f000f000f000f) | ((columns & 0x00f000f000f000f0) << 4);
    return groups << 1 | (std::rotr(groups, 8) & 0x0101010101010101) << 5 |
           ((std::rotl(groups, 8) >> 3) & 0x0101010101010101);
}

constexpr uint64_t des_gather(uint64_t half) {
    uint64_t groups = (half >> 1) & 0x0f0f0f0f0f0f0f0f;
    return (groups & 0x000f000f000f000f) | ((groups >> 4) & 0x00f000f000f000f0);
}

// The initial permutation: it lays the columns of the block side by side, the odd ones (from 1 on)
// in the right half, the even ones in the left.
constexpr DesHalves des_enter(uint64_t block) {
    uint64_t columns = des_transpose(block);
    return {des_spread(columns), des_spread(columns >> 8)};
}

// The final permutation.
constexpr uint64_t des_leave(const DesHalves &halves) {
    return des_transpose(des_gather(halves.left) | des_gather(halves.right) << 8);
}

// The sum of two words, which the compiler may not take apart: left alone, it turns a tree of sums
// into a chain, and each link of that lies on the way from one round to the next.
[[gnu::always_inline]] inline uint64_t des_sum(uint64_t a, uint64_t b) {
    uint64_t sum = a ^ b;
    __asm__("" : "+r"(sum));
    return sum;
}

// One round: what `half` becomes by the other half and the round's key.
[[gnu::always_inline]] inline uint64_t des_round(uint64_t half, uint64_t other, uint64_t key) {
    uint64_t x = other ^ key;
    auto low = static_cast<uint32_t>(x);
    auto high = static_cast<uint32_t>(x >> 32);
    uint64_t first =
        des_sum(des_sum(half, kDesBoxes[7][low & 0xff]),
                des_sum(kDesBoxes[6][(low >> 8) & 0xff], kDesBoxes[5][(low >> 16) & 0xff]));
    uint64_t second = des_sum(des_sum(kDesBoxes[4][low >> 24], kDesBoxes[3][high & 0xff]),
                              kDesBoxes[2][(high >> 8) & 0xff]);
    uint64_t third = des_sum(kDesBoxes[1][(high >> 16) & 0xff], kDesBoxes[0][high >> 24]);
    return des_sum(first, second) ^ third;
}

// All rounds of all passes. Between two passes the final permutation of the one and the initial
// permutation of the next cancel out, and what is left is the exchange of the halves.
template <size_t Lanes>
[[gnu::always_inline]] inline void des_rounds(DesHalves (&blocks)[Lanes], const DesKeys &keys) {
    for (size_t first = 0; first < keys.count; first += 16) {
        const uint64_t *key = keys.rounds + first;
        for (int pair = 0; pair < 8; pair++, key += 2) {
            for (DesHalves &block : blocks) {
                block.left = des_round(block.left, block.right, key[0]);
            }
            for (DesHalves &block : blocks) {
                block.right = des_round(block.right, block.left, key[1]);
            }
        }
        for (DesHalves &block : blocks) {
            std::swap(block.left, block.right);
        }
    }
}

}  // namespace hearth
