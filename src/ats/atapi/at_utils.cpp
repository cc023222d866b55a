#include "hearth/at_utils.h"

#include <stdlib.h>
#include <string.h>

#include "base/number.h"
#include "base/text.h"

namespace {

constexpr char kQuote = '"';

// What is taken from a byte above "9" to get a digit's value: 'A' becomes 10.
constexpr int32_t kLetterOffset = 0x37;

int32_t digit_value(uint8_t byte) {
    return hearth::is_digit(static_cast<char>(byte)) ? byte - '0' : byte - kLetterOffset;
}

int32_t lower(char c) {
    return static_cast<uint8_t>(hearth::to_lower(c));
}

}  // namespace

char *safe_strcpy(char *to, const char *from) {
    return to == nullptr || from == nullptr ? nullptr : strcpy(to, from);
}

char *safe_strncpy(char *to, const char *from, size_t size) {
    return to == nullptr || from == nullptr ? nullptr : strncpy(to, from, size);
}

int32_t safe_strcmp(const char *a, const char *b) {
    if (a == nullptr || b == nullptr) {
        return (a != nullptr) - (b != nullptr);
    }
    return strcmp(a, b);
}

int32_t safe_atoi(const char *text) {
    return text == nullptr ? 0 : hearth::to_int32(text);
}

long safe_atol(const char *text) {
    return text == nullptr ? 0 : strtol(text, nullptr, 10);
}

int32_t At_strncasecmp(const char *a, const char *b, uint32_t count) {
    if (a == nullptr || b == nullptr) {
        return 0;
    }
    int32_t difference = 0;
    do {
        difference = lower(*a) - lower(*b);
        if (difference != 0 || *a == '\0') {
            break;
        }
        a++;
        b++;
    } while (count-- > 1);
    return difference;
}

char *split_space(char *text, char ch) {
    if (text == nullptr || ch == '\0') {
        return text;
    }
    size_t length = strlen(text);
    while (length > 0 && text[length - 1] == ch) {
        length--;
    }
    size_t first = 0;
    while (first < length && text[first] == ch) {
        first++;
    }
    memmove(text, text + first, length - first);
    text[length - first] = '\0';
    return text;
}

uint32_t count_separator(const char *text, const char *separator) {
    if (text == nullptr || separator == nullptr || *separator == '\0') {
        return 0;
    }
    uint32_t count = 0;
    while ((text = get_next_seperator(text, *separator)) != nullptr) {
        count++;
        text++;
    }
    return count;
}

char *get_next_seperator(const char *text, char ch) {
    if (text == nullptr) {
        return nullptr;
    }
    bool quoted = false;
    for (; *text != '\0'; text++) {
        if (*text == kQuote) {
            quoted = !quoted;
        } else if (*text == ch && !quoted) {
            return const_cast<char *>(text);
        }
    }
    return nullptr;
}

int32_t test_str_num(const char *text) {
    if (text == nullptr) {
        return -1;
    }
    while (hearth::is_digit(*text)) {
        text++;
    }
    return *text == '\0' ? 0 : -1;
}

int32_t char_to_hex(char *digit) {
    if (digit == nullptr) {
        return -1;
    }
    auto byte = static_cast<uint8_t>(*digit);
    if (byte > 0x60) {
        byte = static_cast<uint8_t>(byte - 0x20);
        *digit = static_cast<char>(byte);
    }
    return digit_value(byte);
}

int32_t get_hex_from_str(char *text) {
    if (text == nullptr) {
        return -1;
    }
    uint32_t value = 0;
    for (; *text != '\0'; text++) {
        if (!hearth::is_digit(*text) && !hearth::is_alpha(*text)) {
            return -1;
        }
        value = value * 16 + static_cast<uint32_t>(char_to_hex(text));
    }
    return static_cast<int32_t>(value);
}

uint64_t hex_str_to_uinteger(const char *text) {
    if (text == nullptr) {
        return 0;
    }
    uint64_t value = 0;
    for (; *text != '\0'; text++) {
        int digit = hearth::hex_value(*text);
        if (digit < 0) {
            return 0;
        }
        value = value << 4 | static_cast<uint64_t>(digit);
    }
    return value;
}

uint32_t decode_7bit(const uint8_t *packed, uint8_t *output, uint32_t size) {
    if (packed == nullptr || output == nullptr) {
        return 0;
    }
    uint32_t septets = 0;
    uint32_t bits = 0;
    uint32_t held = 0;
    for (uint32_t i = 0; i < size; i++) {
        bits |= static_cast<uint32_t>(packed[i]) << held;
        for (held += 8; held >= 7; held -= 7) {
            output[septets++] = bits & 0x7f;
            bits >>= 7;
        }
    }
    output[septets] = '\0';
    return septets;
}
