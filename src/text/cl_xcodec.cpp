// Texts in the quoted strings of AT commands.
#include "hearth/cl_xcodec.h"

#include <algorithm>
#include <iterator>

#include "base/guard.h"
#include "hearth/cl_7bit.h"
#include "hearth/cl_convertor.h"
#include "text/cl_text_status.h"
#include "text/cl_xcodec_forms.h"

using namespace hearth::text;

namespace {

constexpr char kMark = '"';
constexpr uint32_t k8BitCharset = 1;

bool is_8bit(uint16_t unit) {
    return unit <= 0xFF;
}

bool has_septets(uint16_t unit) {
    return cl_7bitCheck(unit, nullptr) != 0;
}

uint32_t choose_coding(const uint16_t *text, uint32_t count, const cl_codecProfile &profile) {
    bool wide = profile.charset == k8BitCharset;
    bool fits = std::all_of(text, text + count, wide ? is_8bit : has_septets);
    return !fits ? CL_CODING_UCS2 : wide ? CL_CODING_8BIT : CL_CODING_SEPTETS;
}

// Closes the quoted text behind `inside` characters.
void close_quotes(char *output, uint32_t inside, uint32_t *length) {
    output[inside + 1] = kMark;
    output[inside + 2] = '\0';
    *length = inside + 2;
}

uint32_t quote_septets(const uint16_t *text, uint32_t count, char *output, uint32_t *length) {
    uint32_t inside = *length;
    uint8_t *septets = reinterpret_cast<uint8_t *>(output + 1);
    uint32_t status = cl_ucs2To7BIT(text, count, septets, &inside);
    close_quotes(output, inside, length);
    return status;
}

uint32_t quote_8bit(const uint16_t *text, uint32_t count, char *output, uint32_t *length) {
    std::transform(text, text + count, output + 1,
                   [](uint16_t unit) { return static_cast<char>(unit); });
    close_quotes(output, count, length);
    return CL_TEXT_OK;
}

// The shortest form that is allowed and holds the text.
uint32_t encode_form(const uint16_t *text, uint32_t count, const cl_codecProfile &profile,
                     uint8_t *bytes, uint32_t capacity, uint32_t *length) {
    using Encoder = decltype(&cl_encode80);
    constexpr Encoder kEncoders[] = {cl_encode81, cl_encode82, cl_encode80};
    bool any = profile.charset == 0 && profile.compress == 1;
    uint32_t status = CL_TEXT_OK;
    for (size_t i = any ? 0 : 2; i < std::size(kEncoders); ++i) {
        *length = capacity;
        status = kEncoders[i](text, count, bytes, length);
        if (status == CL_TEXT_OK) {
            break;
        }
    }
    return status;
}

uint32_t quote_form(const uint16_t *text, uint32_t count, char *output, uint32_t *length,
                    const cl_codecProfile &profile) {
    uint64_t size = uint64_t{count} * 4 + 8;
    auto work = hearth::allocate_zeroed<uint8_t>(static_cast<size_t>(size));
    if (!work) {
        return CL_TEXT_NO_MEMORY;
    }
    uint32_t capacity = static_cast<uint32_t>(std::min<uint64_t>(size, UINT32_MAX));
    uint32_t made = 0;
    if (uint32_t status = encode_form(text, count, profile, work.get(), capacity, &made)) {
        return status;
    }
    // The digits get the whole capacity, although the mark before them has taken one: required.
    uint32_t inside = *length;
    if (uint32_t status = cl_bytesToString(work.get(), made, output + 1, &inside)) {
        return status;
    }
    close_quotes(output, inside, length);
    return CL_TEXT_OK;
}

// The least capacity for a text of `count` units.
uint64_t least_capacity(uint32_t coding, uint64_t count) {
    switch (coding) {
        case CL_CODING_SEPTETS:
            return 2 * count + 3;
        case CL_CODING_8BIT:
            return count + 3;
        default:
            return 4 * count + 2;
    }
}

// The least capacity for what `count` source bytes may hold.
uint32_t least_room(uint32_t coding, uint32_t count) {
    switch (coding) {
        case CL_CODING_SEPTETS:
            return count / 2;
        case CL_CODING_8BIT:
            return count;
        default:
            return count < 2 ? 0 : (count - 2) / 4;
    }
}

uint32_t read_8bit(const char *source, uint32_t count, uint16_t *text, uint32_t *length) {
    std::transform(source, source + count, text,
                   [](char c) { return static_cast<uint16_t>(static_cast<uint8_t>(c)); });
    *length = count;
    return CL_TEXT_OK;
}

// Reads the bytes of a form, or of septets.
uint32_t decode_form(const uint8_t *bytes, uint32_t count, uint16_t *text, uint32_t *length) {
    switch (bytes[0]) {
        case kForm80:
            return cl_decode80(bytes, count, text, length);
        case kForm81:
        case kForm82:
            return decode_relative(bytes[0], bytes, count, text, *length, length);
        default:
            break;
    }
    if ((bytes[0] & 0x80) != 0) {
        return CL_TEXT_NOT_REPRESENTABLE;
    }
    return cl_7bitToUCS2(bytes, count, text, length);
}

uint32_t read_form(const char *source, uint32_t count, uint16_t *text, uint32_t *length) {
    auto work = hearth::allocate_zeroed<uint8_t>(size_t{count} + 1);
    if (!work) {
        return CL_TEXT_NO_MEMORY;
    }
    uint32_t made = count;
    if (count > 0 && (source[0] & 0x80) != 0) {
        std::copy_n(source, count, work.get());
    } else if (uint32_t status = cl_stringToBytes(source, count, work.get(), &made)) {
        *length = 0;
        return status;
    }
    return decode_form(work.get(), made, text, length);
}

}  // namespace

uint32_t cl_encodeData(uint32_t *coding, const uint16_t *text, uint32_t count, char *output,
                       uint32_t *length, const cl_codecProfile *profile) {
    bool complete = coding != nullptr && profile != nullptr;
    if (!arguments_hold(text, 1, complete ? output : nullptr, length)) {
        return CL_TEXT_BAD_ARGUMENT;
    }
    uint32_t chosen = choose_coding(text, count, *profile);
    if (*length < least_capacity(chosen, count)) {
        return CL_TEXT_NO_ROOM;
    }
    output[0] = kMark;
    *coding = chosen;
    switch (chosen) {
        case CL_CODING_SEPTETS:
            return quote_septets(text, count, output, length);
        case CL_CODING_8BIT:
            return quote_8bit(text, count, output, length);
        default:
            return quote_form(text, count, output, length, *profile);
    }
}

uint32_t cl_decodeData(uint32_t coding, const char *source, uint32_t count, uint16_t *text,
                       uint32_t *length) {
    // Required: no other coding gets as far as the length.
    if (source != nullptr && text != nullptr && coding > CL_CODING_8BIT) {
        return CL_TEXT_NOT_REPRESENTABLE;
    }
    if (!arguments_hold(source, 1, text, length)) {
        return CL_TEXT_BAD_ARGUMENT;
    }
    if (*length < least_room(coding, count)) {
        return CL_TEXT_NO_ROOM;
    }
    switch (coding) {
        case CL_CODING_SEPTETS:
            return cl_7bitToUCS2(reinterpret_cast<const uint8_t *>(source), count, text, length);
        case CL_CODING_8BIT:
            return read_8bit(source, count, text, length);
        default:
            return read_form(source, count, text, length);
    }
}
