// Bounded text: copies and formats that never leave their buffer, and single characters.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <string_view>

namespace hearth {

// Copies as much of `from` as fits `capacity` bytes with the terminator, and terminates. Returns
// the number of bytes copied. A capacity of 0 copies nothing.
inline size_t copy_text(char *to, size_t capacity, std::string_view from) {
    if (capacity == 0) {
        return 0;
    }
    size_t length = std::min(from.size(), capacity - 1);
    memcpy(to, from.data(), length);
    to[length] = '\0';
    return length;
}

template <size_t N>
size_t copy_text(char (&to)[N], std::string_view from) {
    return copy_text(to, N, from);
}

// Formats into `capacity` bytes, always terminated. True when the whole text found room.
bool format_text(char *to, size_t capacity, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

// string_view's own substr, copy and starts_with name an exception, which needs the C++ run-time
// library; these do not.

// The first `count` bytes of a text, all of it where it is shorter.
constexpr std::string_view first_part(std::string_view text, size_t count) {
    return {text.data(), std::min(text.size(), count)};
}

constexpr bool begins_with(std::string_view text, std::string_view head) {
    return first_part(text, head.size()) == head;
}

// The text in a field that may lack its terminator.
inline std::string_view field_text(const char *field, size_t capacity) {
    return {field, strnlen(field, capacity)};
}

template <size_t N>
std::string_view field_text(const char (&field)[N]) {
    return field_text(field, N);
}

// How many characters two texts begin with alike, and whether they are the same. Where most texts
// differ in their first characters this is quicker than a call of strcmp.
constexpr size_t common_length(const char *a, const char *b) {
    size_t count = 0;
    while (a[count] == b[count] && a[count] != '\0') {
        count++;
    }
    return count;
}

constexpr bool same_text(const char *a, const char *b) {
    size_t length = common_length(a, b);
    return a[length] == b[length];
}

// The characters of ASCII alone, whatever the locale.
constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool is_upper(char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool is_lower(char c) {
    return c >= 'a' && c <= 'z';
}
constexpr bool is_alpha(char c) {
    return is_upper(c) || is_lower(c);
}
constexpr bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr char to_lower(char c) {
    return is_upper(c) ? static_cast<char>(c + ('a' - 'A')) : c;
}
constexpr char to_upper(char c) {
    return is_lower(c) ? static_cast<char>(c - ('a' - 'A')) : c;
}

// The value of a hexadecimal digit, -1 for any other character.
constexpr int hex_value(char c) {
    if (is_digit(c)) {
        return c - '0';
    }
    char lower = to_lower(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace hearth
