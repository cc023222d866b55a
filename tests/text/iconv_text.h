// Texts by iconv, which knows nothing of the library.
#pragma once

#include <iconv.h>

#include <string>
#include <vector>

namespace hearth::test {

template <typename To, typename From>
To convert(const char *to, const char *from, const From &text) {
    iconv_t converter = iconv_open(to, from);
    To converted(text.size() * 4 + 4, 0);
    char *in = reinterpret_cast<char *>(const_cast<typename From::value_type *>(text.data()));
    size_t in_left = text.size() * sizeof(typename From::value_type);
    char *out = reinterpret_cast<char *>(converted.data());
    size_t capacity = converted.size() * sizeof(typename To::value_type);
    size_t out_left = capacity;
    iconv(converter, &in, &in_left, &out, &out_left);
    iconv_close(converter);
    converted.resize((capacity - out_left) / sizeof(typename To::value_type));
    return converted;
}

using Units = std::vector<uint16_t>;

inline Units ucs2(const std::string &utf8) {
    return convert<Units>("UTF-16LE", "UTF-8", utf8);
}

inline std::string utf8(const Units &units) {
    return convert<std::string>("UTF-8", "UTF-16LE", units);
}

}  // namespace hearth::test
