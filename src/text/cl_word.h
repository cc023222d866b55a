// Eight bytes as one word, the first byte lowest.
#pragma once

#include <stdint.h>

#include <bit>

#include "base/bytes.h"

namespace hearth::text {

inline uint64_t load_le64(const void *from) {
    uint64_t value = load_native<uint64_t>(from);
    return std::endian::native == std::endian::little ? value : __builtin_bswap64(value);
}

inline void store_le64(void *to, uint64_t value) {
    store_native(to, std::endian::native == std::endian::little ? value : __builtin_bswap64(value));
}

}  // namespace hearth::text
