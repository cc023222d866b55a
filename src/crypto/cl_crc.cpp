#include "hearth/cl_crc.h"

#include <array>

#include "crypto/crc32.h"

namespace {

// Table k holds the CRC-16 of each byte with k zero bytes behind it.
using Crc16Tables = std::array<std::array<uint32_t, 256>, 8>;

constexpr Crc16Tables make_crc16_tables() {
    Crc16Tables tables{};
    for (uint32_t byte = 0; byte < 256; byte++) {
        uint32_t value = byte << 8;
        for (int bit = 0; bit < 8; bit++) {
            value = (value << 1) ^ ((value & 0x8000) != 0 ? 0x11021 : 0);
        }
        tables[0][byte] = value;
    }
    for (size_t k = 1; k < tables.size(); k++) {
        for (size_t byte = 0; byte < 256; byte++) {
            uint32_t value = tables[k - 1][byte];
            tables[k][byte] = ((value << 8) & 0xffff) ^ tables[0][value >> 8];
        }
    }
    return tables;
}

constexpr Crc16Tables kCrc16Tables = make_crc16_tables();

}  // namespace

int32_t cl_crc32(const void *data, uint32_t length, uint32_t *crc) {
    if (data == nullptr || crc == nullptr) {
        return 1;
    }
    *crc = hearth::crc32(*crc, static_cast<const uint8_t *>(data), length);
    return 0;
}

const uint32_t *cl_get_crc_table(void) {
    return hearth::kCrc32Tables[0].data();
}

uint16_t cl_CRC16(const void *data, uint32_t length) {
    if (data == nullptr) {
        return 0;
    }
    const auto *bytes = static_cast<const uint8_t *>(data);
    uint32_t crc = 0;
    for (; length >= 8; length -= 8, bytes += 8) {
        crc = kCrc16Tables[7][bytes[0] ^ (crc >> 8)] ^ kCrc16Tables[6][bytes[1] ^ (crc & 0xff)] ^
              kCrc16Tables[5][bytes[2]] ^ kCrc16Tables[4][bytes[3]] ^ kCrc16Tables[3][bytes[4]] ^
              kCrc16Tables[2][bytes[5]] ^ kCrc16Tables[1][bytes[6]] ^ kCrc16Tables[0][bytes[7]];
    }
    for (; length > 0; length--, bytes++) {
        crc = ((crc << 8) & 0xffff) ^ kCrc16Tables[0][(crc >> 8) ^ *bytes];
    }
    return static_cast<uint16_t>(crc);
}
