// UCS-2 to UTF-8 and back.
#include <algorithm>
#include <bit>

#include "hearth/cl_convertor.h"
#include "text/cl_text_status.h"

using namespace hearth::text;

namespace {

// Text is looked through in blocks for ASCII other than a zero, which is copied as it stands.
constexpr uint32_t kBlock = 16;

template <typename Unit>
bool is_ascii_block(const Unit *text) {
    bool ascii = true;
    for (uint32_t i = 0; i < kBlock; ++i) {
        ascii &= static_cast<Unit>(text[i] - 1) < 0x7F;
    }
    return ascii;
}

template <typename To, typename From>
void copy_block(To *to, const From *from) {
    for (uint32_t i = 0; i < kBlock; ++i) {
        to[i] = static_cast<To>(from[i]);
    }
}

constexpr uint8_t continuation(uint32_t bits) {
    return static_cast<uint8_t>(0x80 | (bits & 0x3F));
}

constexpr uint32_t utf8_size(uint16_t unit) {
    return unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
}

void put_utf8(uint16_t unit, uint32_t size, uint8_t *to) {
    if (size == 1) {
        to[0] = static_cast<uint8_t>(unit);
    } else if (size == 2) {
        to[0] = static_cast<uint8_t>(0xC0 | unit >> 6);
        to[1] = continuation(unit);
    } else {
        to[0] = static_cast<uint8_t>(0xE0 | unit >> 12);
        to[1] = continuation(unit >> 6u);
        to[2] = continuation(unit);
    }
}

struct Written {
    uint32_t length;
    bool whole;
};

// Writes whole characters up to the count, a zero unit or the capacity, and a terminator.
Written write_utf8(const uint16_t *text, uint32_t count, uint8_t *utf8, uint32_t capacity) {
    uint32_t made = 0;
    bool whole = true;
    for (uint32_t at = 0; at < count;) {
        if (count - at >= kBlock && capacity - made >= kBlock && is_ascii_block(text + at)) {
            copy_block(utf8 + made, text + at);
            made += kBlock;
            at += kBlock;
            continue;
        }
        uint32_t end = at + std::min(kBlock, count - at);
        for (; at < end && text[at] != 0; ++at) {
            uint32_t size = utf8_size(text[at]);
            if (capacity - made < size) {
                whole = false;
                break;
            }
            put_utf8(text[at], size, utf8 + made);
            made += size;
        }
        if (at < end) {
            break;
        }
    }
    utf8[made] = 0;
    return {made, whole};
}

// The length of the sequence that a byte leads, 0 when it leads none. The long forms of old are
// taken, so that a sequence is never split.
uint32_t sequence_length(uint8_t lead) {
    int ones = std::countl_one(lead);
    return ones == 0 ? 1 : ones >= 2 && ones <= 6 ? static_cast<uint32_t>(ones) : 0;
}

// The value of a sequence; what exceeds 16 bits is lost. Continuation bytes are not tested.
uint16_t sequence_value(const uint8_t *sequence, uint32_t length) {
    uint32_t value = length == 1 ? sequence[0] : sequence[0] & (0x7Fu >> length);
    for (uint32_t i = 1; i < length; ++i) {
        value = value << 6 | (sequence[i] & 0x3F);
    }
    return static_cast<uint16_t>(value);
}

struct Reader {
    const uint8_t *utf8;
    uint32_t count;
    uint32_t at;
    uint16_t *text;
    uint32_t capacity;
    uint32_t made;
};

// Reads one character: its status.
uint32_t read_utf8(Reader &reader) {
    uint32_t length = sequence_length(reader.utf8[reader.at]);
    if (length == 0 || length > reader.count - reader.at) {
        return CL_TEXT_BAD_UTF8;
    }
    if (reader.made == reader.capacity) {
        return CL_TEXT_NO_ROOM;
    }
    reader.text[reader.made++] = sequence_value(reader.utf8 + reader.at, length);
    reader.at += length;
    return CL_TEXT_OK;
}

bool read_ascii_block(Reader &reader) {
    const uint8_t *block = reader.utf8 + reader.at;
    if (reader.count - reader.at < kBlock || reader.capacity - reader.made < kBlock ||
        !is_ascii_block(block)) {
        return false;
    }
    copy_block(reader.text + reader.made, block);
    reader.made += kBlock;
    reader.at += kBlock;
    return true;
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
    Reader reader{reinterpret_cast<const uint8_t *>(utf8), count, 0, text, *length, 0};
    uint32_t status = CL_TEXT_OK;
    while (status == CL_TEXT_OK && reader.at < count && reader.utf8[reader.at] != 0) {
        if (read_ascii_block(reader)) {
            continue;
        }
        status = read_utf8(reader);
    }
    text[reader.made] = 0;
    if (status != CL_TEXT_NO_ROOM) {
        *length = reader.made;
    }
    return status;
}
