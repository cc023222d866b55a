// CRC-32 as zlib has it: reflected polynomial 0xEDB88320, inverted before and after.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>

#include "base/bytes.h"

namespace hearth {

constexpr uint32_t kCrc32Polynomial = 0xedb88320;

// Table k holds the remainder of each byte with k zero bytes behind it.
using Crc32Tables = std::array<std::array<uint32_t, 256>, 8>;

constexpr Crc32Tables make_crc32_tables() {
    Crc32Tables tables{};
    for (uint32_t byte = 0; byte < 256; byte++) {
        uint32_t value = byte;
        for (int bit = 0; bit < 8; bit++) {
            value = (value >> 1) ^ ((value & 1) != 0 ? kCrc32Polynomial : 0);
        }
        tables[0][byte] = value;
    }
    for (size_t k = 1; k < tables.size(); k++) {
        for (size_t byte = 0; byte < 256; byte++) {
            uint32_t value = tables[k - 1][byte];
            tables[k][byte] = (value >> 8) ^ tables[0][value & 0xff];
        }
    }
    return tables;
}

inline constexpr Crc32Tables kCrc32Tables = make_crc32_tables();

// The inner loop, without the inversions: eight bytes a step.
inline uint32_t crc32_tables(uint32_t crc, const uint8_t *data, size_t size) {
    for (; size >= 8; size -= 8, data += 8) {
        uint32_t low = load_le32(data) ^ crc;
        uint32_t high = load_le32(data + 4);
        crc = kCrc32Tables[7][low & 0xff] ^ kCrc32Tables[6][(low >> 8) & 0xff] ^
              kCrc32Tables[5][(low >> 16) & 0xff] ^ kCrc32Tables[4][low >> 24] ^
              kCrc32Tables[3][high & 0xff] ^ kCrc32Tables[2][(high >> 8) & 0xff] ^
              kCrc32Tables[1][(high >> 16) & 0xff] ^ kCrc32Tables[0][high >> 24];
    }
    for (; size > 0; size--, data++) {
        crc = (crc >> 8) ^ kCrc32Tables[0][(crc ^ *data) & 0xff];
    }
    return crc;
}

// Below this many bytes the native loop is not worth its start.
constexpr size_t kCrc32NativeMinimum = 64;

// The inner loop with the processor's instructions; only where cpu_features() has kCpuCrc32, and
// from kCrc32NativeMinimum bytes on.
uint32_t crc32_native(uint32_t crc, const uint8_t *data, size_t size);

// Takes `size` bytes into the CRC. NULL gives 0.
uint32_t crc32(uint32_t crc, const uint8_t *data, size_t size);

}  // namespace hearth
