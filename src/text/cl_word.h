// Bytes as words of two and eight.
#pragma once

#include <stdint.h>

#include <bit>

#include "base/bytes.h"

namespace hearth::text {

inline uint64_t in_order(uint64_t word, std::endian order) {
    return std::endian::native == order ? word : __builtin_bswap64(word);
}

// The first byte lowest.
inline uint64_t load_le64(const void *from) {
    return in_order(load_native<uint64_t>(from), std::endian::little);
}

inline void store_le64(void *to, uint64_t word) {
    store_native(to, in_order(word, std::endian::little));
}

inline void store_le16(void *to, uint16_t word) {
    bool in_place = std::endian::native == std::endian::little;
    store_native(to, in_place ? word : static_cast<uint16_t>(word << 8 | word >> 8));
}

// The first byte highest.
inline uint64_t load_be64(const void *from) {
    return in_order(load_native<uint64_t>(from), std::endian::big);
}

inline void store_be64(void *to, uint64_t word) {
    store_native(to, in_order(word, std::endian::big));
}

}  // namespace hearth::text
