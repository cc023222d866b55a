// Text of the device as UTF-8, through the library's own conversions.
#pragma once

#include <cstdint>
#include <string>

namespace hearth::tool {

// Calls a conversion of the library with room for `room` elements and gives what it made.
// `call` gets the buffer and its in-out length, and returns the status.
template <typename Text, typename Call>
uint32_t converted(Text &out, size_t room, Call call) {
    out.assign(room + 4, typename Text::value_type{});
    auto length = static_cast<uint32_t>(room);
    uint32_t status = call(out.data(), &length);
    out.resize(length < out.size() ? length : out.size());
    return status;
}

// Failure with the library's status where a text cannot be converted.
std::u16string utf8_to_ucs2(const std::string &text);
std::string ucs2_to_utf8(const std::u16string &text);
// Septets of the default alphabet, one a byte.
std::u16string septets_to_ucs2(const std::string &septets);
std::string ucs2_to_septets(const std::u16string &text);
// Seven bits behind seven bits, the lowest first.
std::string pack_septets(const std::string &septets);
// The septets behind the first `skipped` ones, at most `count`.
std::string unpack_septets(const std::string &octets, size_t skipped, size_t count);
// Big-endian bytes.
std::u16string bytes_to_ucs2(const std::string &bytes);
std::string ucs2_to_bytes(const std::u16string &text);

inline const uint8_t *bytes_of(const std::string &text) {
    return reinterpret_cast<const uint8_t *>(text.data());
}
inline uint8_t *bytes_of(std::string &text) {
    return reinterpret_cast<uint8_t *>(text.data());
}
inline const uint16_t *units_of(const std::u16string &text) {
    return reinterpret_cast<const uint16_t *>(text.data());
}

}  // namespace hearth::tool
