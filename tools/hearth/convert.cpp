#include "convert.h"

#include <algorithm>

#include "hearth/cl_7bit.h"
#include "hearth/cl_convertor.h"
#include "tool.h"

namespace hearth::tool {

namespace {

uint32_t size_of(size_t size) {
    return static_cast<uint32_t>(size);
}

uint16_t *units(char16_t *text) {
    return reinterpret_cast<uint16_t *>(text);
}

uint8_t *bytes(char *text) {
    return reinterpret_cast<uint8_t *>(text);
}

void expect_ok(uint32_t status, const char *what) {
    if (status != CL_TEXT_OK) {
        throw Failure(what, kTextResults, status);
    }
}

}  // namespace

std::u16string utf8_to_ucs2(const std::string &text) {
    std::u16string out;
    if (!text.empty()) {
        expect_ok(converted(out, text.size(),
                            [&](char16_t *to, uint32_t *length) {
                                return cl_utf8ToUCS2(text.data(), size_of(text.size()), units(to),
                                                     length);
                            }),
                  "cannot read the text");
    }
    return out;
}

std::string ucs2_to_utf8(const std::u16string &text) {
    std::string out;
    if (!text.empty()) {
        expect_ok(converted(out, text.size() * 3,
                            [&](char *to, uint32_t *length) {
                                return cl_ucs2ToUTF8(units_of(text), size_of(text.size()), to,
                                                     length);
                            }),
                  "cannot write the text as UTF-8");
    }
    return out;
}

std::u16string septets_to_ucs2(const std::string &septets) {
    std::u16string out;
    if (!septets.empty()) {
        expect_ok(converted(out, septets.size(),
                            [&](char16_t *to, uint32_t *length) {
                                return cl_7bitToUCS2(bytes_of(septets), size_of(septets.size()),
                                                     units(to), length);
                            }),
                  "cannot read the septets");
    }
    return out;
}

std::string ucs2_to_septets(const std::u16string &text) {
    std::string out;
    if (!text.empty()) {
        expect_ok(converted(out, text.size() * 2,
                            [&](char *to, uint32_t *length) {
                                return cl_ucs2To7BIT(units_of(text), size_of(text.size()),
                                                     bytes(to), length);
                            }),
                  "cannot write the text in septets");
    }
    return out;
}

std::string pack_septets(const std::string &septets) {
    std::string out;
    if (!septets.empty()) {
        expect_ok(converted(out, septets.size() + 8,
                            [&](char *to, uint32_t *length) {
                                return cl_7bitEncode(bytes_of(septets), size_of(septets.size()),
                                                     bytes(to), length);
                            }),
                  "cannot pack the septets");
    }
    return out;
}

std::string unpack_septets(const std::string &octets, size_t skipped, size_t count) {
    std::string out;
    if (octets.empty()) {
        return out;
    }
    expect_ok(converted(out, octets.size() * 8 / 7 + 8,
                        [&](char *to, uint32_t *length) {
                            return cl_7bitDecode(bytes_of(octets), size_of(octets.size()),
                                                 bytes(to), length);
                        }),
              "cannot unpack the septets");
    return skipped < out.size() ? out.substr(skipped, count) : "";
}

std::u16string bytes_to_ucs2(const std::string &octets) {
    std::u16string out;
    if (octets.size() >= 2) {
        expect_ok(converted(out, octets.size() / 2 + 1,
                            [&](char16_t *to, uint32_t *length) {
                                return cl_byteOrderToWideChar(
                                    bytes_of(octets), size_of(octets.size()), units(to), length);
                            }),
                  "cannot read the UCS-2 text");
    }
    return out;
}

std::string ucs2_to_bytes(const std::u16string &text) {
    std::string out;
    if (!text.empty()) {
        expect_ok(converted(out, text.size() * 2,
                            [&](char *to, uint32_t *length) {
                                return cl_widecharToByteOrder(units_of(text), size_of(text.size()),
                                                              bytes(to), length);
                            }),
                  "cannot write the text as bytes");
    }
    return out;
}

}  // namespace hearth::tool
