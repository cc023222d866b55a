#include "hearth/osa_string.h"

#include <string.h>

#include <algorithm>
#include <string_view>

#include "base/guard.h"
#include "base/text.h"

namespace {

// A script tag in its escaped forms, as web pages of the device would show it.
constexpr const char *specialstring[] = {
    "&amp;lt;script&amp;gt;",
    "&amp;lt;/script&amp;gt;",
    "&amp;#60;script&amp;#62;",
    "&amp;#60;/script&amp;#62;",
};

int32_t folded(char c) {
    return static_cast<unsigned char>(hearth::to_lower(c));
}

}  // namespace

int32_t osa_stricmp(const char *a, const char *b) {
    if (a == nullptr || b == nullptr) {
        return -1;
    }
    while (*a != '\0' && folded(*a) == folded(*b)) {
        a++;
        b++;
    }
    return folded(*a) - folded(*b);
}

char *osa_strlwr(char *text) {
    for (char *at = text; at != nullptr && *at != '\0'; at++) {
        *at = hearth::to_lower(*at);
    }
    return text;
}

char *osa_str_replace(const char *text, const char *old, const char *replacement) {
    if (text == nullptr || old == nullptr || replacement == nullptr) {
        return nullptr;
    }
    const char *found = strstr(text, old);
    if (found == nullptr) {
        return nullptr;
    }
    char *result = static_cast<char *>(calloc(strlen(text) + strlen(replacement) + 1, 1));
    if (result == nullptr) {
        return nullptr;
    }
    char *next = static_cast<char *>(mempcpy(result, text, static_cast<size_t>(found - text)));
    next = stpcpy(next, replacement);
    strcpy(next, found + strlen(old));
    return result;
}

int32_t osa_string_reverse(const char *source, char *target, uint32_t size) {
    if (source == nullptr || target == nullptr) {
        return -1;
    }
    size_t length = strlen(source);
    if (length >= size) {
        return -1;
    }
    std::reverse_copy(source, source + length, target);
    return 0;
}

int32_t osa_check_restful_body(const char *body, uint32_t length) {
    if (body == nullptr || length == 0) {
        return 0;
    }
    size_t size = size_t{length} + 1;
    // The sum wraps where a size has 32 bits; such a body fits no memory there.
    auto copy = hearth::allocate_zeroed<char>(size == 0 ? SIZE_MAX : size);
    if (!copy) {
        return -2;
    }
    // Not strncpy: its padding would touch every page of a length that the body does not fill.
    memcpy(copy.get(), body, strnlen(body, length));
    osa_strlwr(copy.get());
    for (const char *pattern : specialstring) {
        if (strstr(copy.get(), pattern) != nullptr) {
            return -1;
        }
    }
    return 0;
}
