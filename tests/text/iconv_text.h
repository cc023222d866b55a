// Texts by iconv, which knows nothing of the library. UCS-2 is built into it: on ARM its tables for
// other encodings are not at hand.
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
    return convert<Units>("UCS-2LE", "UTF-8", utf8);
}

inline std::string utf8(const Units &units) {
    return convert<std::string>("UTF-8", "UCS-2LE", units);
}

// Its 256 characters are the first of UCS-2.
inline std::string latin1(const std::string &utf8) {
    Units units = ucs2(utf8);
    return {units.begin(), units.end()};
}

}  // namespace hearth::test
