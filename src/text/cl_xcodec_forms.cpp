// The UCS-2 forms of SIM records: 80, 81 and 82.
#include "text/cl_xcodec_forms.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>

#include "hearth/cl_7bit.h"
#include "hearth/cl_convertor.h"
#include "hearth/cl_xcodec.h"
#include "text/cl_7bit_lookup.h"
#include "text/cl_text_status.h"

namespace hearth::text {

namespace {

constexpr uint8_t kRelative = 0x80;
constexpr uint32_t kLengthAt = 1;
constexpr uint32_t kBaseAt = 2;
// The length field is a byte: the caller of the exported decoders provides for what it can say.
constexpr uint32_t kAnyRoom = UINT32_MAX;

uint16_t page_base(uint16_t character) {
    return static_cast<uint16_t>(character << 1) >> 8;
}

// The base of form 81: bits 14 to 7, which all characters without septets have to share.
bool fits_form81(const uint16_t *text, uint32_t count, uint16_t *base) {
    bool found = false;
    for (uint32_t i = 0; i < count; ++i) {
        if (text[i] >= 0x8000) {
            return false;
        }
        if (cl_7bitCheck(text[i], nullptr) != 0) {
            continue;
        }
        uint16_t own = page_base(text[i]);
        if (found && own != *base) {
            return false;
        }
        *base = own;
        found = true;
    }
    return true;
}

// The base of form 82: the lowest of the characters without septets, which have to lie within a
// span of 127 in one page of 256. A span across pages is refused: required.
bool fits_form82(const uint16_t *text, uint32_t count, uint16_t *base) {
    uint16_t lowest = 0;
    uint16_t highest = 0;
    bool found = false;
    for (uint32_t i = 0; i < count; ++i) {
        if (cl_7bitCheck(text[i], nullptr) != 0) {
            continue;
        }
        lowest = found ? std::min(lowest, text[i]) : text[i];
        highest = found ? std::max(highest, text[i]) : text[i];
        found = true;
        if (highest - lowest > 127 || lowest >> 8 != highest >> 8) {
            return false;
        }
    }
    *base = lowest;
    return true;
}

// Septet 127 is written as a relative byte although it has a septet: required.
uint8_t body_byte81(uint16_t character, uint16_t) {
    uint32_t septet = default_septet(character);
    if (septet == kNoSeptet) {
        puts("cl_get7DftAlphabet Exist");
    }
    return static_cast<uint8_t>(septet <= 126 ? septet : (character & 0x7Fu) | kRelative);
}

uint8_t body_byte82(uint16_t character, uint16_t base) {
    uint32_t septet = default_septet(character);
    uint32_t distance = static_cast<uint32_t>(character) - base;
    return static_cast<uint8_t>(septet != kNoSeptet ? septet : distance | kRelative);
}

void put_base81(uint16_t base, uint8_t *field) {
    field[0] = static_cast<uint8_t>(base);
}

void put_base82(uint16_t base, uint8_t *field) {
    field[0] = static_cast<uint8_t>(base >> 8);
    field[1] = static_cast<uint8_t>(base);
}

uint16_t get_base81(const uint8_t *field) {
    return static_cast<uint16_t>(field[0] << 7);
}

uint16_t get_base82(const uint8_t *field) {
    return static_cast<uint16_t>(field[0] << 8 | field[1]);
}

// What sets the two forms apart. Both begin with the form and the length of the body, the base
// fills the rest of the header.
struct RelativeForm {
    uint8_t form;
    uint32_t header;
    bool (*fits)(const uint16_t *text, uint32_t count, uint16_t *base);
    void (*put_base)(uint16_t base, uint8_t *field);
    uint16_t (*get_base)(const uint8_t *field);
    uint8_t (*body_byte)(uint16_t character, uint16_t base);
};

constexpr RelativeForm kForms[] = {
    {kForm81, 3, fits_form81, put_base81, get_base81, body_byte81},
    {kForm82, 4, fits_form82, put_base82, get_base82, body_byte82},
};

const RelativeForm &form_row(uint8_t form) {
    return kForms[form - kForm81];
}

uint32_t encode_relative(uint8_t form, const uint16_t *text, uint32_t count, uint8_t *bytes,
                         uint32_t *length) {
    if (uint32_t status = check_arguments(text, count, bytes, length, 1)) {
        return status;
    }
    const RelativeForm &row = form_row(form);
    uint16_t base = 0;
    if (!row.fits(text, count, &base)) {
        return CL_TEXT_NOT_REPRESENTABLE;
    }
    bytes[0] = form;
    bytes[kLengthAt] = static_cast<uint8_t>(count);
    row.put_base(base, bytes + kBaseAt);
    for (size_t i = 0; i < count; ++i) {
        bytes[row.header + i] = row.body_byte(text[i], base);
    }
    *length = count + row.header;
    return CL_TEXT_OK;
}

// Reads one septet, or the pair that an escape opens, into text and a terminator. Returns the
// count of characters. The septet decoder leaves its capacity of 2 as the length where it fails,
// and so many are counted: required. They are blanks, without a terminator.
uint32_t read_septets(const uint8_t *bytes, uint32_t count, uint16_t (&text)[2]) {
    uint32_t length = 2;
    if (cl_7bitToUCS2(bytes, count, text, &length) != CL_TEXT_OK) {
        text[0] = text[1] = ' ';
    }
    return length;
}

}  // namespace

uint32_t decode_relative(uint8_t form, const uint8_t *bytes, uint32_t count, uint16_t *text,
                         uint32_t room, uint32_t *length) {
    if (room == 0) {
        return CL_TEXT_NO_ROOM;
    }
    const RelativeForm &row = form_row(form);
    // What the length field promises beyond the input is not there.
    uint32_t end = count > row.header ? std::min(count, row.header + bytes[kLengthAt]) : 0;
    uint16_t base = end > 0 ? row.get_base(bytes + kBaseAt) : uint16_t{0};
    uint32_t made = 0;
    for (uint32_t at = row.header; at < end;) {
        uint16_t units[2] = {static_cast<uint16_t>((bytes[at] & 0x7F) + base), 0};
        uint32_t taken = bytes[at] == kEscape ? 2 : 1;
        uint32_t produced = 1;
        if (taken > count - at) {
            break;
        }
        if ((bytes[at] & kRelative) == 0) {
            produced = read_septets(bytes + at, taken, units);
        }
        if (room - made < produced) {
            return CL_TEXT_NO_ROOM;
        }
        bool terminated = (bytes[at] & kRelative) == 0 && produced == 1;
        memcpy(text + made, units, (produced + terminated) * sizeof *text);
        made += produced;
        at += taken;
    }
    *length = made;
    return CL_TEXT_OK;
}

}  // namespace hearth::text

using namespace hearth::text;

uint32_t cl_encode80(const uint16_t *text, uint32_t count, uint8_t *bytes, uint32_t *length) {
    uint64_t needed = uint64_t{count} * 2 + 1;
    if (uint32_t status = check_arguments(text, count, bytes, length, needed)) {
        return status;
    }
    bytes[0] = kForm80;
    *length -= 1;
    uint32_t status = cl_widecharToByteOrder(text, count, bytes + 1, length);
    *length += 1;
    return status;
}

uint32_t cl_encode81(const uint16_t *text, uint32_t count, uint8_t *bytes, uint32_t *length) {
    return encode_relative(kForm81, text, count, bytes, length);
}

uint32_t cl_encode82(const uint16_t *text, uint32_t count, uint8_t *bytes, uint32_t *length) {
    return encode_relative(kForm82, text, count, bytes, length);
}

uint32_t cl_decode80(const uint8_t *bytes, uint32_t count, uint16_t *text, uint32_t *length) {
    if (uint32_t status = check_arguments(bytes, count, text, length, count / 2)) {
        return status;
    }
    if (bytes[0] != kForm80) {
        return CL_TEXT_BAD_ARGUMENT;
    }
    return cl_byteOrderToWideChar(bytes + 1, count - 1, text, length);
}

uint32_t cl_decode81(const uint8_t *bytes, uint32_t count, uint16_t *text, uint32_t *length) {
    if (uint32_t status = check_arguments(bytes, count, text, length, 1)) {
        return status;
    }
    return decode_relative(kForm81, bytes, count, text, kAnyRoom, length);
}

uint32_t cl_decode82(const uint8_t *bytes, uint32_t count, uint16_t *text, uint32_t *length) {
    if (uint32_t status = check_arguments(bytes, count, text, length, 1)) {
        return status;
    }
    return decode_relative(kForm82, bytes, count, text, kAnyRoom, length);
}
