// Septets to octets and back, eight septets and seven octets at a time.
#include <string.h>

#include "hearth/cl_7bit.h"
#include "text/cl_text_status.h"
#include "text/cl_word.h"

namespace {

using hearth::text::check_arguments;
using hearth::text::load_le64;
using hearth::text::store_le64;

constexpr uint32_t kSeptets = 8;
constexpr uint32_t kOctets = 7;
constexpr uint8_t kCarriageReturnPadding = 0x0D << 1;

// Eight septets, one a byte, to 56 bits. Septets are not masked: bit 7 of one falls on bit 0 of
// the next, as if each were shifted in by itself.
constexpr uint64_t packed_word(uint64_t septets) {
    uint64_t word = (septets & 0x7F7F7F7F7F7F7F7F) | ((septets & 0x8080808080808080) << 1);
    word = (word & 0x007F007F007F007F) | ((word & 0x7F007F007F007F00) >> 1);
    word = (word & 0x00003FFF00003FFF) | ((word & 0x3FFF00003FFF0000) >> 2);
    return (word & 0x000000000FFFFFFF) | ((word & 0x0FFFFFFF00000000) >> 4);
}

// 56 bits to eight septets, one a byte.
constexpr uint64_t unpacked_word(uint64_t octets) {
    uint64_t word = (octets & 0x000000000FFFFFFF) | ((octets & 0x00FFFFFFF0000000) << 4);
    word = (word & 0x00003FFF00003FFF) | ((word & 0x0FFFC0000FFFC000) << 2);
    return (word & 0x007F007F007F007F) | ((word & 0x3F803F803F803F80) << 1);
}

static_assert(packed_word(0x0180) == 0x80 && packed_word(0x0080) == 0x80);
static_assert(unpacked_word(packed_word(0x0123456701234567)) == 0x0123456701234567);
static_assert(packed_word(unpacked_word(0x0089ABCDEF012345)) == 0x0089ABCDEF012345);

uint64_t load_tail(const uint8_t *from, uint32_t size) {
    uint8_t bytes[8] = {};
    memcpy(bytes, from, size);
    return load_le64(bytes);
}

void store_tail(uint8_t *to, uint64_t word, uint32_t size) {
    uint8_t bytes[8];
    store_le64(bytes, word);
    memcpy(to, bytes, size);
}

// Unpacks octets of which the first has `carried` bits in front of it. Returns the septets
// written; a zero byte follows them.
uint32_t unpack(const uint8_t *octets, uint32_t count, uint8_t *septets, uint32_t shift,
                uint32_t carry) {
    uint8_t *next = septets;
    const uint8_t *end = octets + count;
    while (octets < end && shift != 0) {
        uint32_t octet = *octets++;
        *next++ = static_cast<uint8_t>((octet << shift | carry) & 0x7F);
        carry = octet >> (7 - shift);
        if (++shift == 7) {
            *next++ = static_cast<uint8_t>(carry);
            shift = carry = 0;
        }
    }
    while (end - octets > static_cast<ptrdiff_t>(kOctets)) {
        store_le64(next, unpacked_word(load_le64(octets)));
        octets += kOctets;
        next += kSeptets;
    }
    uint32_t rest = static_cast<uint32_t>(end - octets);
    uint32_t septets_left = rest == kOctets ? kSeptets : rest;
    if (rest > 0) {
        store_tail(next, unpacked_word(load_tail(octets, rest)), septets_left);
    }
    next += septets_left;
    *next = 0;
    return static_cast<uint32_t>(next - septets);
}

// The tests and the unpacking that both decoders share.
uint32_t decode(const uint8_t *packed, uint32_t count, uint8_t *septets, uint32_t *length,
                uint32_t shift, uint32_t carry) {
    uint64_t needed = uint64_t{count} / kOctets * kSeptets;
    if (uint32_t status = check_arguments(packed, count, septets, length, needed)) {
        return status;
    }
    *length = unpack(packed, count, septets, shift, carry);
    return CL_TEXT_OK;
}

}  // namespace

uint32_t cl_7bitEncode(const uint8_t *septets, uint32_t count, uint8_t *packed, uint32_t *length) {
    uint32_t groups = count / kSeptets;
    if (uint32_t status = check_arguments(septets, count, packed, length, groups * kOctets)) {
        return status;
    }
    uint8_t *next = packed;
    // Whole words while something follows that the eighth byte may spill onto.
    for (uint32_t group = 1; group < groups; ++group) {
        store_le64(next, packed_word(load_le64(septets)));
        septets += kSeptets;
        next += kOctets;
    }
    if (groups > 0) {
        store_tail(next, packed_word(load_le64(septets)), kOctets);
        septets += kSeptets;
        next += kOctets;
    }
    uint32_t rest = count % kSeptets;
    if (rest > 0) {
        store_tail(next, packed_word(load_tail(septets, rest)), rest);
        next += rest;
    }
    if (rest == kSeptets - 1) {
        next[-1] = static_cast<uint8_t>((next[-1] & 1) | kCarriageReturnPadding);
    }
    *length = static_cast<uint32_t>(next - packed);
    return CL_TEXT_OK;
}

uint32_t cl_7bitDecode(const uint8_t *packed, uint32_t count, uint8_t *septets, uint32_t *length) {
    return decode(packed, count, septets, length, 0, 0);
}

uint32_t cl_7bitDecodeEx(const uint8_t *packed, uint32_t count, uint8_t *septets, uint32_t *length,
                         uint16_t shift) {
    if (uint32_t status = check_arguments(packed, count, septets, length, 0)) {
        return status;
    }
    if (shift > 6) {
        *length = 0;
        return CL_TEXT_BAD_ARGUMENT;
    }
    uint32_t carry = packed[0] >> (7 - shift);
    uint32_t carried = shift + 1u;
    if (carried == 7) {
        // A whole septet. It is not counted, and the capacity is not tested for it: required.
        *septets++ = static_cast<uint8_t>(carry);
        carried = carry = 0;
    }
    return decode(packed + 1, count - 1, septets, length, carried, carry);
}
