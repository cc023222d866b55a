// Base64, in groups of three bytes and four characters.
#include "hearth/cl_base64.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <array>

#include "base/guard.h"
#include "text/cl_text_status.h"

using namespace hearth::text;

namespace {

constexpr char table64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPad = '=';

constexpr uint8_t kOutside = 0xFF;
constexpr uint8_t kPadding = 0xFE;

constexpr std::array<uint8_t, 256> reading_table() {
    std::array<uint8_t, 256> readings{};
    readings.fill(kOutside);
    for (uint8_t i = 0; i < 64; ++i) {
        readings[static_cast<uint8_t>(table64[i])] = i;
    }
    readings[static_cast<uint8_t>(kPad)] = kPadding;
    return readings;
}
constexpr std::array<uint8_t, 256> kReadings = reading_table();

void encode_group(const uint8_t *bytes, char *text) {
    text[0] = table64[bytes[0] >> 2];
    text[1] = table64[(bytes[0] & 0x03) << 4 | bytes[1] >> 4];
    text[2] = table64[(bytes[1] & 0x0F) << 2 | bytes[2] >> 6];
    text[3] = table64[bytes[2] & 0x3F];
}

// A character outside the alphabet does not even shift: its group comes out misaligned, and
// nothing is said. That is required.
void decode_group(const char *text, uint8_t *bytes) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        uint8_t reading = kReadings[static_cast<uint8_t>(text[i])];
        if (reading == kPadding) {
            value <<= 6;
        } else if (reading != kOutside) {
            value = value << 6 | reading;
        }
    }
    bytes[0] = static_cast<uint8_t>(value >> 16);
    bytes[1] = static_cast<uint8_t>(value >> 8);
    bytes[2] = static_cast<uint8_t>(value);
}

void encode_all(const uint8_t *bytes, size_t count, char *text) {
    for (; count >= 3; count -= 3, bytes += 3, text += 4) {
        encode_group(bytes, text);
    }
    if (count > 0) {
        uint8_t last[3] = {};
        memcpy(last, bytes, count);
        encode_group(last, text);
        memset(text + count + 1, kPad, 3 - count);
    }
}

void decode_all(const char *text, size_t groups, size_t pads, uint8_t *bytes) {
    for (size_t i = 0; i + 1 < groups; ++i, text += 4, bytes += 3) {
        decode_group(text, bytes);
    }
    uint8_t last[3];
    decode_group(text, last);
    memcpy(bytes, last, 3 - pads);
    bytes[3 - pads] = 0;
}

}  // namespace

uint32_t cl_base64Encode(const uint8_t *bytes, uint32_t count, char *text, uint32_t *length) {
    uint64_t made = (uint64_t{count} + 2) / 3 * 4;
    if (uint32_t status = check_arguments(bytes, count, text, length, made)) {
        return status;
    }
    hearth::HeapBlock<char> work(static_cast<char *>(malloc(size_t{count} / 3 * 4 + 8)));
    if (!work) {
        return CL_TEXT_BASE64_FAILED;
    }
    encode_all(bytes, count, work.get());
    memcpy(text, work.get(), static_cast<size_t>(made));
    *length = static_cast<uint32_t>(made);
    return CL_TEXT_OK;
}

uint32_t cl_base64Decode(const char *text, uint32_t count, uint8_t *bytes, uint32_t *length) {
    if (uint32_t status = check_arguments(text, count, bytes, length, 1)) {
        return status;
    }
    size_t characters = strcspn(text, "=");
    size_t pads = text[characters] == '\0' ? 0 : text[characters + 1] == kPad ? 2 : 1;
    size_t groups = (characters + pads) / 4;
    if (groups == 0) {
        return CL_TEXT_BASE64_FAILED;
    }
    size_t made = groups * 3 - pads;
    if (made > *length) {
        return CL_TEXT_NO_ROOM;
    }
    hearth::HeapBlock<uint8_t> work(static_cast<uint8_t *>(malloc(made + 4)));
    if (!work) {
        return CL_TEXT_BASE64_FAILED;
    }
    decode_all(text, groups, pads, work.get());
    memcpy(bytes, work.get(), made);
    *length = static_cast<uint32_t>(made);
    return CL_TEXT_OK;
}
