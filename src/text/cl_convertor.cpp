// Bytes in the order of the air, hexadecimal text and numbers.
#include "hearth/cl_convertor.h"

#include <algorithm>

#include "base/text.h"
#include "text/cl_text_status.h"

using namespace hearth::text;

namespace {

constexpr char digit_of(uint8_t nibble) {
    return static_cast<char>(nibble + (nibble > 9 ? 'A' - 10 : '0'));
}

// What is no decimal digit is taken as a letter, without a test: required.
constexpr uint8_t nibble_of(char digit) {
    uint8_t c = static_cast<uint8_t>(digit);
    uint8_t letter = static_cast<uint8_t>(c - (c >= 'a' ? 'a' - 10 : 'A' - 10));
    uint8_t number = static_cast<uint8_t>(c - '0');
    return number <= 9 ? number : letter;
}

constexpr uint8_t byte_of(const char *pair) {
    return static_cast<uint8_t>(nibble_of(pair[0]) << 4 | nibble_of(pair[1]));
}

// Pairs of digits are read in blocks, up to one that may hold the end.
constexpr uint32_t kBlock = 32;

bool block_holds_end(const char *text) {
    bool end = false;
    for (uint32_t i = 0; i < kBlock; ++i) {
        end |= text[2 * i] == '\0';
    }
    return end;
}

// Decimal: once a character is bad, the status stays bad. Hexadecimal: the last character alone
// decides. Both are required.
uint32_t decimal_value(const char *text, uint32_t count, uint32_t *value) {
    uint32_t status = CL_TEXT_OK;
    for (uint32_t i = 0; i < count; ++i) {
        if (hearth::is_digit(text[i])) {
            *value = *value * 10 + static_cast<uint32_t>(text[i] - '0');
        } else {
            status = CL_TEXT_BAD_ARGUMENT;
        }
    }
    return status;
}

uint32_t hexadecimal_value(const char *text, uint32_t count, uint32_t *value) {
    uint32_t status = CL_TEXT_OK;
    for (uint32_t i = 0; i < count; ++i) {
        int digit = hearth::hex_value(text[i]);
        status = digit < 0 ? CL_TEXT_BAD_ARGUMENT : CL_TEXT_OK;
        if (digit >= 0) {
            *value = *value << 4 | static_cast<uint32_t>(digit);
        }
    }
    return status;
}

}  // namespace

uint32_t cl_widecharToByteOrder(const uint16_t *text, uint32_t count, uint8_t *bytes,
                                uint32_t *length) {
    uint64_t needed = uint64_t{count} * 2;
    if (uint32_t status = check_arguments(text, count, bytes, length, needed)) {
        return status;
    }
    for (size_t i = 0; i < count; ++i) {
        bytes[2 * i] = static_cast<uint8_t>(text[i] >> 8);
        bytes[2 * i + 1] = static_cast<uint8_t>(text[i]);
    }
    *length = count * 2;
    return CL_TEXT_OK;
}

uint32_t cl_byteOrderToWideChar(const uint8_t *bytes, uint32_t count, uint16_t *text,
                                uint32_t *length) {
    size_t units = count / 2;
    if (uint32_t status = check_arguments(bytes, count, text, length, units + 1)) {
        return status;
    }
    for (size_t i = 0; i < units; ++i) {
        text[i] = static_cast<uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]);
    }
    text[units] = 0;
    *length = static_cast<uint32_t>(units);
    return CL_TEXT_OK;
}

uint32_t cl_bytesToString(const uint8_t *bytes, uint32_t count, char *text, uint32_t *length) {
    uint64_t needed = uint64_t{count} * 2 + 1;
    if (uint32_t status = check_arguments(bytes, count, text, length, needed)) {
        return status;
    }
    for (size_t i = 0; i < count; ++i) {
        text[2 * i] = digit_of(bytes[i] >> 4);
        text[2 * i + 1] = digit_of(bytes[i] & 0x0F);
    }
    text[size_t{count} * 2] = '\0';
    *length = count * 2;
    return CL_TEXT_OK;
}

uint32_t cl_stringToBytes(const char *text, uint32_t count, uint8_t *bytes, uint32_t *length) {
    uint32_t pairs = count / 2;
    if (uint32_t status = check_arguments(text, count, bytes, length, pairs)) {
        return status;
    }
    uint32_t made = 0;
    for (; pairs - made >= kBlock && !block_holds_end(text); made += kBlock, text += 2 * kBlock) {
        for (uint32_t i = 0; i < kBlock; ++i) {
            bytes[made + i] = byte_of(text + 2 * i);
        }
    }
    for (; made < pairs && *text != '\0'; text += 2) {
        bytes[made++] = byte_of(text);
    }
    *length = made;
    return CL_TEXT_OK;
}

uint32_t cl_stringToNumeric(const char *text, uint32_t count, uint32_t radix, uint32_t *value) {
    if (text == nullptr || value == nullptr) {
        return CL_TEXT_BAD_ARGUMENT;
    }
    if (radix != 10 && radix != 16) {
        return CL_TEXT_NOT_REPRESENTABLE;
    }
    *value = 0;
    return radix == 10 ? decimal_value(text, count, value) : hexadecimal_value(text, count, value);
}
