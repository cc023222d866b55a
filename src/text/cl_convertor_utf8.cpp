// UCS-2 to UTF-8 and back.
#include <algorithm>
#include <bit>
#include <limits>

#include "base/bytes.h"
#include "hearth/cl_convertor.h"
#include "text/cl_text_status.h"
#include "text/cl_word.h"

using namespace hearth::text;

namespace {

// Text is looked through in blocks for ASCII other than a zero, which is copied as it stands.
constexpr uint32_t kBlock = 16;

// True when all units are from 1 to 0x7F: nothing stands in the bits above, and taking 1 from
// each sets none of them.
template <typename Unit>
bool is_ascii_block(const Unit *text) {
    constexpr uint64_t kOnes = UINT64_MAX / std::numeric_limits<Unit>::max();
    constexpr uint64_t kAbove = kOnes * (std::numeric_limits<Unit>::max() - 0x7F);
    constexpr uint32_t kUnitsPerWord = sizeof(uint64_t) / sizeof(Unit);
    uint64_t seen = 0;
    for (uint32_t i = 0; i < kBlock; i += kUnitsPerWord) {
        uint64_t word = hearth::load_native<uint64_t>(text + i);
        seen |= word | (word - kOnes);
    }
    return (seen & kAbove) == 0;
}

template <typename To, typename From>
void copy_block(To *to, const From *from) {
    for (uint32_t i = 0; i < kBlock; ++i) {
        to[i] = static_cast<To>(from[i]);
    }
}

// Runs of characters of two bytes, as of Cyrillic or Greek, go four at a time where a word has its
// first unit lowest.
constexpr uint32_t kRun = 4;
constexpr bool kHasRuns = std::endian::native == std::endian::little;

constexpr uint64_t in_each(uint16_t bits) {
    return bits * uint64_t{0x0001000100010001};
}

// Writes four units, if all take two bytes.
bool write_run(const uint16_t *text, uint8_t *utf8) {
    uint64_t units = hearth::load_native<uint64_t>(text);
    // With no unit above 0x7FF the sum has a top bit for each above 0x7F.
    if (!kHasRuns || (units & in_each(0xF800)) != 0 ||
        ((units + in_each(0x7F80)) & in_each(0x8000)) != in_each(0x8000)) {
        return false;
    }
    uint64_t leads = units >> 6 & in_each(0x1F);
    uint64_t continuations = units & in_each(0x3F);
    hearth::store_native(utf8, in_each(0x80C0) | leads | continuations << 8);
    return true;
}

// Reads four characters, if all have two bytes. Continuation bytes are not tested.
bool read_run(const uint8_t *utf8, uint16_t *text) {
    uint64_t bytes = hearth::load_native<uint64_t>(utf8);
    if (!kHasRuns || (bytes & in_each(0xE0)) != in_each(0xC0)) {
        return false;
    }
    hearth::store_native(text, (bytes & in_each(0x1F)) << 6 | (bytes >> 8 & in_each(0x3F)));
    return true;
}

constexpr uint32_t kLongestOfUnit = 3;

constexpr uint32_t utf8_size(uint16_t unit) {
    return 1u + (unit > 0x7F) + (unit > 0x7FF);
}

constexpr uint32_t continuation(uint32_t bits) {
    return 0x80 | (bits & 0x3F);
}

// The bytes of a character of `size`, the first lowest.
constexpr uint32_t utf8_bytes(uint32_t unit, uint32_t size) {
    switch (size) {
        case 1:
            return unit;
        case 2:
            return 0xC0 | unit >> 6 | continuation(unit) << 8;
        default:
            return 0xE0 | unit >> 12 | continuation(unit >> 6) << 8 | continuation(unit) << 16;
    }
}

// Writes up to a block of units, ending at a zero one, into room for the longest characters and
// a byte more. Returns the units taken.
uint32_t write_block(const uint16_t *text, uint8_t *&utf8) {
    if (is_ascii_block(text)) {
        copy_block(utf8, text);
        utf8 += kBlock;
        return kBlock;
    }
    uint8_t *next = utf8;
    uint32_t at = 0;
    for (; at < kBlock; ++at) {
        uint32_t unit = text[at];
        if (unit <= 0x7F) {
            if (unit == 0) {
                break;
            }
            *next++ = static_cast<uint8_t>(unit);
        } else if (unit <= 0x7FF) {
            if (at <= kBlock - kRun && write_run(text + at, next)) {
                next += 2 * kRun;
                at += kRun - 1;
                continue;
            }
            store_le16(next, static_cast<uint16_t>(utf8_bytes(unit, 2)));
            next += 2;
        } else {
            hearth::store_le32(next, utf8_bytes(unit, 3));
            next += 3;
        }
    }
    utf8 = next;
    return at;
}

struct Written {
    uint32_t length;
    bool whole;
};

// Writes whole characters up to the count, a zero unit or the capacity, and a terminator.
Written write_utf8(const uint16_t *text, uint32_t count, uint8_t *utf8, uint32_t capacity) {
    constexpr ptrdiff_t kRoom = kBlock * kLongestOfUnit + 1;
    uint8_t *next = utf8;
    // A capacity may say more than any text takes, and more than there are addresses.
    uint64_t most = std::min(uint64_t{capacity}, uint64_t{count} * kLongestOfUnit);
    const uint8_t *limit = utf8 + static_cast<size_t>(most);
    uint32_t at = 0;
    bool whole = true;
    while (at < count && text[at] != 0) {
        if (count - at >= kBlock && limit - next >= kRoom) {
            at += write_block(text + at, next);
            continue;
        }
        uint32_t size = utf8_size(text[at]);
        whole = limit - next >= static_cast<ptrdiff_t>(size);
        if (!whole) {
            break;
        }
        uint8_t bytes[4];
        hearth::store_le32(bytes, utf8_bytes(text[at++], size));
        next = std::copy_n(bytes, size, next);
    }
    *next = 0;
    return {static_cast<uint32_t>(next - utf8), whole};
}

// The length of the sequence that a byte leads, 0 when it leads none. The long forms of old are
// taken, so that a sequence is never split.
constexpr uint32_t sequence_length(uint8_t lead) {
    int ones = std::countl_one(lead);
    return ones == 0 ? 1 : ones >= 2 && ones <= 6 ? static_cast<uint32_t>(ones) : 0;
}

// The value of a sequence; what exceeds 16 bits is lost. Continuation bytes are not tested.
constexpr uint16_t sequence_value(const uint8_t *sequence, uint32_t length) {
    uint32_t value = length == 1 ? sequence[0] : sequence[0] & (0x7Fu >> length);
    for (uint32_t i = 1; i < length; ++i) {
        value = value << 6 | (sequence[i] & 0x3F);
    }
    return static_cast<uint16_t>(value);
}

// Where the reading of a text has got to.
struct Place {
    const uint8_t *from;
    const uint8_t *end;
    uint16_t *to;
    const uint16_t *limit;
};

// As many characters of up to three bytes as a block surely holds.
constexpr uint32_t kCommon = kBlock / kLongestOfUnit;

bool has_room_for(const Place &place, uint32_t units) {
    return place.limit - place.to >= static_cast<ptrdiff_t>(units);
}

// Reads characters of up to three bytes. False at a zero byte and at whatever needs a closer look.
bool read_common(Place &place) {
    const uint8_t *from = place.from;
    uint16_t *to = place.to;
    bool common = true;
    for (uint32_t i = 0; common && i < kCommon; ++i) {
        uint32_t lead = *from;
        if (lead >= 0xE0 && lead < 0xF0) {
            *to++ = sequence_value(from, 3);
            from += 3;
        } else if (lead >= 0xC0 && lead < 0xE0) {
            *to++ = sequence_value(from, 2);
            from += 2;
        } else if (lead < 0x80 && lead != 0) {
            *to++ = static_cast<uint16_t>(lead);
            from += 1;
        } else {
            common = false;
        }
    }
    place.from = from;
    place.to = to;
    return common;
}

void read_blocks(Place &place) {
    while (place.end - place.from >= static_cast<ptrdiff_t>(kBlock) &&
           has_room_for(place, kCommon)) {
        if (has_room_for(place, kBlock) && is_ascii_block(place.from)) {
            copy_block(place.to, place.from);
            place.from += kBlock;
            place.to += kBlock;
        } else if (read_run(place.from, place.to)) {
            place.from += 2 * kRun;
            place.to += kRun;
        } else if (!read_common(place)) {
            break;
        }
    }
}

// Reads one character of any kind: its status.
uint32_t read_character(Place &place) {
    uint32_t length = sequence_length(*place.from);
    if (length == 0 || place.end - place.from < static_cast<ptrdiff_t>(length)) {
        return CL_TEXT_BAD_UTF8;
    }
    if (!has_room_for(place, 1)) {
        return CL_TEXT_NO_ROOM;
    }
    *place.to++ = sequence_value(place.from, length);
    place.from += length;
    return CL_TEXT_OK;
}

}  // namespace

uint32_t cl_ucs2ToUTF8(const uint16_t *text, uint32_t count, char *utf8, uint32_t *length) {
    if (uint32_t status = check_arguments(text, count, utf8, length, count)) {
        return status;
    }
    Written written = write_utf8(text, count, reinterpret_cast<uint8_t *>(utf8), *length);
    if (!written.whole) {
        return CL_TEXT_NO_ROOM;
    }
    *length = written.length;
    return CL_TEXT_OK;
}

uint32_t cl_ucs2ToUTF8ByLen(const uint16_t *text, uint32_t count, char *utf8, uint32_t capacity) {
    if (text == nullptr || count == 0 || utf8 == nullptr || capacity == 0) {
        return CL_TEXT_BAD_ARGUMENT;
    }
    write_utf8(text, count, reinterpret_cast<uint8_t *>(utf8), capacity);
    return CL_TEXT_OK;
}

uint32_t cl_utf8ToUCS2(const char *utf8, uint32_t count, uint16_t *text, uint32_t *length) {
    if (uint32_t status = check_arguments(utf8, count, text, length, 1)) {
        return status;
    }
    const uint8_t *from = reinterpret_cast<const uint8_t *>(utf8);
    Place place{from, from + count, text, text + std::min(*length, count)};
    uint32_t status = CL_TEXT_OK;
    while (status == CL_TEXT_OK && place.from < place.end && *place.from != 0) {
        read_blocks(place);
        if (place.from < place.end && *place.from != 0) {
            status = read_character(place);
        }
    }
    *place.to = 0;
    if (status != CL_TEXT_NO_ROOM) {
        *length = static_cast<uint32_t>(place.to - text);
    }
    return status;
}
