// Base64.
#include "hearth/cl_base64.h"

#include <stdlib.h>
#include <string.h>

#include <array>

#include "base/guard.h"
#include "text/cl_text_status.h"
#include "text/cl_word.h"

using namespace hearth::text;

namespace {

constexpr char table64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPad = '=';

// Encoding: the six-bit values stand one a byte in a work buffer, where they come from bytes by
// the word and become digits many at a time.
constexpr uint32_t kWordBytes = 6;
constexpr uint32_t kWordValues = 8;
// What the last words may write behind the values that are wanted.
constexpr size_t kSlack = 2 * kWordValues;
// A work buffer of up to this size is on the stack.
constexpr size_t kSmall = 512;

constexpr uint8_t when(bool holds, uint8_t bits) {
    return static_cast<uint8_t>(-static_cast<uint8_t>(holds) & bits);
}

// The alphabet as arithmetic without branches, which compilers turn into vector code.
constexpr uint8_t digit_of(uint8_t value) {
    return static_cast<uint8_t>(value + 'A' + when(value > 25, 'a' - 'Z' - 1) -
                                when(value > 51, 'z' - '0' + 1) - when(value > 61, '9' - '+' + 1) +
                                when(value > 62, '/' - '+' - 1));
}

constexpr bool digits_agree() {
    for (uint8_t value = 0; value < 64; ++value) {
        if (digit_of(value) != static_cast<uint8_t>(table64[value])) {
            return false;
        }
    }
    return true;
}
static_assert(digits_agree());

// 48 bits, the first highest, to eight values of six bits, one a byte.
constexpr uint64_t spread(uint64_t bits) {
    bits = (bits & 0x0000FFFFFF000000) << 8 | (bits & 0x0000000000FFFFFF);
    bits = (bits & 0x00FFF00000FFF000) << 4 | (bits & 0x00000FFF00000FFF);
    return (bits & 0x0FC00FC00FC00FC0) << 2 | (bits & 0x003F003F003F003F);
}

static_assert(spread(0xFEDCBA987654) == 0x3F2D323A26071914);

// The values of all bytes; a missing byte counts as zero.
void spread_all(const uint8_t *bytes, size_t count, uint8_t *values) {
    for (; count >= sizeof(uint64_t); count -= kWordBytes, bytes += kWordBytes) {
        store_be64(values, spread(load_be64(bytes) >> 16));
        values += kWordValues;
    }
    uint8_t last[kWordBytes + sizeof(uint64_t)] = {};
    memcpy(last, bytes, count);
    store_be64(values, spread(load_be64(last) >> 16));
    store_be64(values + kWordValues, spread(load_be64(last + kWordBytes) >> 16));
}

void write_digits(const uint8_t *values, size_t count, char *text) {
    for (size_t i = 0; i < count; ++i) {
        text[i] = static_cast<char>(digit_of(values[i]));
    }
}

// Decoding: what a character at one of the four places of a group adds to its three bytes, the
// first byte lowest. Padding shifts like a value of zero.
using Readings = std::array<uint32_t, 256>;

constexpr uint32_t kOutside = 0x80000000;

constexpr Readings readings_at(uint32_t place) {
    Readings readings{};
    readings.fill(kOutside);
    for (uint32_t value = 0; value < 64; ++value) {
        uint32_t bits = value << (18 - 6 * place);
        readings[static_cast<uint8_t>(table64[value])] = hearth::swap_bytes(bits) >> 8;
    }
    readings[static_cast<uint8_t>(kPad)] = 0;
    return readings;
}

constexpr Readings kReadings[] = {readings_at(0), readings_at(1), readings_at(2), readings_at(3)};

// The three bytes of a group with a character outside the alphabet, which does not even shift, so
// that the group comes out misaligned and nothing is said: required.
uint32_t misaligned_group(const uint8_t *text) {
    uint32_t bits = 0;
    for (int i = 0; i < 4; ++i) {
        uint32_t reading = kReadings[3][text[i]];
        bits = reading == kOutside ? bits : bits << 6 | reading >> 16;
    }
    return hearth::swap_bytes(bits) >> 8;
}

uint32_t read_group(const uint8_t *text) {
    return kReadings[0][text[0]] | kReadings[1][text[1]] | kReadings[2][text[2]] |
           kReadings[3][text[3]];
}

uint32_t group_bytes(const uint8_t *text) {
    uint32_t bytes = read_group(text);
    return (bytes & kOutside) == 0 ? bytes : misaligned_group(text);
}

// Text and bytes may begin at the same place: writing never gets ahead of reading. A word that is
// written reaches behind its groups, into the bytes of those that are left.
void decode_groups(const uint8_t *text, size_t groups, size_t pads, uint8_t *bytes) {
    while (groups > 3) {
        uint32_t first = read_group(text);
        uint32_t second = read_group(text + 4);
        if (((first | second) & kOutside) != 0) {
            first = group_bytes(text);
            second = group_bytes(text + 4);
        }
        store_le64(bytes, first | uint64_t{second} << 24);
        groups -= 2;
        text += 8;
        bytes += 6;
    }
    for (; groups > 1; --groups, text += 4, bytes += 3) {
        hearth::store_le32(bytes, group_bytes(text));
    }
    uint8_t last[4];
    hearth::store_le32(last, group_bytes(text));
    memcpy(bytes, last, 3 - pads);
}

}  // namespace

uint32_t cl_base64Encode(const uint8_t *bytes, uint32_t count, char *text, uint32_t *length) {
    uint64_t made = (uint64_t{count} + 2) / 3 * 4;
    if (uint32_t status = check_arguments(bytes, count, text, length, made)) {
        return status;
    }
    uint32_t characters = static_cast<uint32_t>(made);
    uint8_t small[kSmall];
    hearth::HeapBlock<uint8_t> large;
    uint8_t *values = small;
    if (characters > sizeof small - kSlack) {
        large.reset(static_cast<uint8_t *>(malloc(characters + kSlack)));
        if (!large) {
            return CL_TEXT_BASE64_FAILED;
        }
        values = large.get();
    }
    spread_all(bytes, count, values);
    write_digits(values, characters, text);
    uint32_t pads = (3 - count % 3) % 3;
    memset(text + characters - pads, kPad, pads);
    *length = characters;
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
    decode_groups(reinterpret_cast<const uint8_t *>(text), groups, pads, bytes);
    *length = static_cast<uint32_t>(made);
    return CL_TEXT_OK;
}
