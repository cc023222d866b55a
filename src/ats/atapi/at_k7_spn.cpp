// ETSI TS 102 221, Annex A, as far as names of service providers use it.
#include "ats/atapi/at_k7_spn.h"

#include <string.h>

#include <algorithm>

#include "base/text.h"
#include "hearth/at_k7.h"
#include "hearth/cl_7bit.h"

namespace {

// What a name holds: characters of the plain forms, and bytes in binary.
constexpr size_t kNameChars = 16;
constexpr int32_t kDecodeLimit = 31;
constexpr size_t kLongName = kDecodeLimit + 1;
static_assert(hearth::at::kSpnUtf8Size == kDecodeLimit * 3 + 1);
constexpr uint32_t kMaxBytes = 256;

// Characters that grow in a caller's array, which holds `room` of them, the terminator included.
struct WideText {
    uint16_t *to;
    size_t room;
    size_t used = 0;

    void put(uint16_t character) {
        if (used < room - 1) {
            to[used++] = character;
        }
    }
};

bool has_high_bit(uint8_t byte) {
    return (byte & 0x80) != 0;
}

// GSM 7-bit text, one character a byte; a byte without a character ends it.
void decode_gsm(const uint8_t *bytes, uint32_t length, uint16_t *out) {
    uint16_t text[kDecodeLimit + 1] = {};
    int32_t count = 0;
    GSM_7BitToWCHAR(bytes, static_cast<int32_t>(length), text, kDecodeLimit, &count);
    memcpy(out, text, kNameChars * sizeof *out);
}

// Big-endian characters up to a pair of 0xFF.
void decode_80(const uint8_t *bytes, uint32_t length, uint16_t *out) {
    uint16_t text[kNameChars] = {};
    for (uint32_t i = 0; i + 1 < length && i / 2 < kNameChars; i += 2) {
        if (bytes[i] == 0xFF && bytes[i + 1] == 0xFF) {
            break;
        }
        text[i / 2] = static_cast<uint16_t>(bytes[i] << 8 | bytes[i + 1]);
    }
    memcpy(out, text, sizeof text);
}

// `count` bytes, those with the high bit on top of a base, the others GSM 7-bit.
void decode_with_base(const uint8_t *bytes, uint32_t length, uint32_t count, uint32_t base,
                      WideText text) {
    for (uint32_t i = 0; i < std::min(count, length); i++) {
        if (has_high_bit(bytes[i])) {
            text.put(static_cast<uint16_t>(base + (bytes[i] & 0x7Fu)));
        } else {
            uint16_t character[2] = {};
            int32_t made = 0;
            GSM_7BitToWCHAR(&bytes[i], 1, character, 1, &made);
            text.put(character[0]);
        }
    }
    text.to[text.used] = 0;
}

void decode_binary(const uint8_t *bytes, uint32_t length, uint16_t *out, size_t room) {
    if (length == 0 || !has_high_bit(bytes[0])) {
        decode_gsm(bytes, length, out);
    } else if (bytes[0] == 0x80) {
        decode_80(bytes + 1, length - 1, out);
    } else if (bytes[0] == 0x81 && length >= 3) {
        decode_with_base(bytes + 3, length - 3, bytes[1], bytes[2] * 128u, {out, room});
    } else if (bytes[0] == 0x82 && length >= 4) {
        uint32_t base = static_cast<uint32_t>(bytes[2] << 8 | bytes[3]);
        decode_with_base(bytes + 4, length - 4, bytes[1], base, {out, room});
    }
    // Any other first byte leaves the output as it was.
}

// Two hexadecimal characters to a byte, up to the first other character.
uint32_t gsmString2Bytes(const char *text, uint32_t length, uint8_t *bytes) {
    uint32_t count = 0;
    for (uint32_t i = 0; i + 1 < length && count < kMaxBytes; i += 2) {
        int high = hearth::hex_value(text[i]);
        int low = hearth::hex_value(text[i + 1]);
        if (high < 0 || low < 0) {
            break;
        }
        bytes[count++] = static_cast<uint8_t>(high << 4 | low);
    }
    return count;
}

int32_t spn_wcslen(const uint16_t *text) {
    if (text == nullptr) {
        return -1;
    }
    int32_t length = 0;
    while (length < static_cast<int32_t>(kLongName) && text[length] != 0) {
        length++;
    }
    return length;
}

// One to three bytes a character, and a terminator. -1 when the text is longer than the limit.
int32_t ucs2_to_utf8(const uint16_t *text, int32_t limit, char *out) {
    int32_t length = spn_wcslen(text);
    if (length < 0 || length > limit) {
        return -1;
    }
    for (int32_t i = 0; i < length; i++) {
        uint32_t c = text[i];
        if (c < 0x80) {
            *out++ = static_cast<char>(c);
        } else if (c < 0x800) {
            *out++ = static_cast<char>(0xC0 | c >> 6);
            *out++ = static_cast<char>(0x80 | (c & 0x3F));
        } else {
            *out++ = static_cast<char>(0xE0 | c >> 12);
            *out++ = static_cast<char>(0x80 | (c >> 6 & 0x3F));
            *out++ = static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    *out = '\0';
    return 0;
}

// `out` holds `room` characters, kNameChars at least.
void decode(int32_t coding, const char *text, uint32_t length, uint16_t *out, size_t room) {
    uint8_t bytes[kMaxBytes];
    length = std::min(length, kMaxBytes);
    if (coding == 0 || (length > 0 && has_high_bit(static_cast<uint8_t>(text[0])))) {
        memcpy(bytes, text, length);
    } else {
        length = gsmString2Bytes(text, length, bytes);
    }
    if (coding == 0) {
        decode_gsm(bytes, length, out);
    } else {
        decode_binary(bytes, length, out, room);
    }
}

}  // namespace

int32_t Decode_SPN_to_UCS2(int32_t coding, const char *text, uint32_t length, uint16_t *out) {
    if (text == nullptr || out == nullptr) {
        return -1;
    }
    decode(coding, text, length, out, kNameChars);
    return 0;
}

bool hearth::at::handle_spn_name(int32_t coding, const char (&name)[kSpnSize],
                                 char (&out)[kSpnUtf8Size]) {
    uint16_t text[kLongName] = {};
    decode(coding, name, static_cast<uint32_t>(strlen(name)), text, kLongName);
    return ucs2_to_utf8(text, kDecodeLimit, out) == 0;
}
