#include "hearth/cl_xcodec.h"

#include <gtest/gtest.h>

#include "hearth/cl_7bit.h"
#include "support/capture.h"
#include "support/faults.h"
#include "text/iconv_text.h"

namespace {

using hearth::test::ucs2;
using hearth::test::Units;
using Bytes = std::vector<uint8_t>;
using Encoder = decltype(&cl_encode80);
using Decoder = decltype(&cl_decode80);

std::pair<uint32_t, Bytes> encode(Encoder encoder, const Units &text, uint32_t capacity = 400) {
    Bytes bytes(capacity + 8, 0x55);
    uint32_t length = capacity;
    uint32_t status =
        encoder(text.data(), static_cast<uint32_t>(text.size()), bytes.data(), &length);
    EXPECT_EQ(length, status == 0 ? length : status == 1 ? 0 : capacity);
    bytes.resize(status == 0 ? length : 0);
    return {status, bytes};
}

std::pair<uint32_t, Units> decode(Decoder decoder, const Bytes &bytes, uint32_t capacity = 300) {
    Units text(capacity + 1, 0x5555);
    uint32_t length = capacity;
    uint32_t status =
        decoder(bytes.data(), static_cast<uint32_t>(bytes.size()), text.data(), &length);
    text.resize(status == 0 ? length : 0);
    return {status, text};
}

Bytes hex(const std::string &digits) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 3) {
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

TEST(SimForms, EncodersFitOrRefuse) {
    struct Case {
        Units text;
        const char *form81;  // nullptr: refused
        const char *form82;
    };
    const Case kCases[] = {
        {{0x411, 0x412, 'A'}, "81 03 08 91 92 41", "82 03 04 11 80 81 41"},
        {{0x412, 0x411}, "81 02 08 92 91", "82 02 04 11 81 80"},
        {{0x410, 0x491}, nullptr, nullptr},
        {{0x410, 0x48F}, nullptr, "82 02 04 10 80 FF"},
        {{0x410, 0x490}, nullptr, nullptr},
        {{0x4FF, 0x500}, nullptr, nullptr},
        {{0x480, 0x47F}, nullptr, "82 02 04 7F 81 80"},
        {{0x8000, 'A'}, nullptr, "82 02 80 00 80 41"},
        {{'A', 0x7FFF}, "81 02 FF 41 FF", "82 02 7F FF 41 80"},
        // U+00E0 has septet 127, which form 81 does not use.
        {{0xE0}, "81 01 00 E0", "82 01 00 00 7F"},
        {{'a', '@'}, "81 02 00 61 00", "82 02 00 00 61 00"},
        // A brace fits by its extension septet, but is written relative to the base.
        {{'{', 0x411}, "81 02 08 FB 91", "82 02 04 11 EA 80"},
        {{0x20AC}, "81 01 00 AC", "82 01 00 00 AC"},
    };
    for (const Case &c : kCases) {
        hearth::test::StdoutCapture quiet;
        for (auto [encoder, bytes] :
             {std::pair{Encoder{cl_encode81}, c.form81}, {cl_encode82, c.form82}}) {
            auto expected = bytes != nullptr ? std::pair(0u, hex(bytes)) : std::pair(8u, Bytes{});
            EXPECT_EQ(encode(encoder, c.text, 1), expected) << std::hex << c.text[0];
        }
    }
    EXPECT_EQ(encode(cl_encode80, {0x411, 'A'}, 5), std::pair(0u, hex("80 04 11 00 41")));
    EXPECT_EQ(encode(cl_encode80, {0x411, 'A'}, 4).first, 6u);
}

TEST(SimForms, LongTextsCutTheirLengthField) {
    Units text(259, 'x');
    auto [status, bytes] = encode(cl_encode82, text);
    ASSERT_EQ(status, 0u);
    EXPECT_EQ(bytes.size(), 263u);
    EXPECT_EQ(bytes[1], 3);
    EXPECT_EQ(decode(cl_decode82, bytes).second, Units(3, 'x'));
}

TEST(SimForms, TheEncoderOfForm81PrintsWhatItMisses) {
    hearth::test::StdoutCapture printed;
    encode(cl_encode81, {'A', 0x411, 0x412});
    encode(cl_encode81, {0xE0});
    encode(cl_encode82, {0x411});
    EXPECT_EQ(printed.text(), "cl_get7DftAlphabet Exist\ncl_get7DftAlphabet Exist\n");
}

TEST(SimForms, DecodersReadWhatTheLengthFieldSays) {
    struct Case {
        Decoder decoder;
        const char *bytes;
        uint32_t status;
        Units text;
    };
    const Case kCases[] = {
        {cl_decode80, "80 00 41", 0, {'A'}},
        {cl_decode80, "80 04 11 00 41 77", 0, {0x411, 'A'}},
        {cl_decode80, "80", 1, {}},
        {cl_decode80, "81 00 41", 1, {}},
        {cl_decode81, "81 03 08 91 92 41", 0, {0x411, 0x412, 'A'}},
        {cl_decode82, "82 03 04 11 80 81 41", 0, {0x411, 0x412, 'A'}},
        {cl_decode82, "82 01 FF FF 81", 0, {0}},
        {cl_decode81, "81 00 08 91", 0, {}},
        {cl_decode81, "81 00", 0, {}},
        {cl_decode81, "55 01 08 91", 0, {0x411}},
        {cl_decode81, "81 01 08 91 92", 0, {0x411}},
        {cl_decode81, "81 02 00 1B 28", 0, {'{'}},
        {cl_decode82, "82 04 04 10 80 1B 65 00", 0, {0x410, 0x20AC, '@'}},
        {cl_decode81, "81 02 00 1B 41", 0, {'A'}},
        // The second byte of an escape pair may stand behind the length, but not the input.
        {cl_decode81, "81 01 00 1B 28", 0, {'{'}},
        {cl_decode81, "81 02 00 41 1B", 0, {'A'}},
        {cl_decode81, "81 03 08 1B 91 41", 0, {' ', ' ', 'A'}},
        {cl_decode81, "81 02 08 1B 80", 0, {' ', ' '}},
        // A length beyond the input.
        {cl_decode81, "81 FF 08 91", 0, {0x411}},
        {cl_decode82, "82 FF 04 11 80 41", 0, {0x411, 'A'}},
        {cl_decode81, "81", 0, {}},
        {cl_decode82, "82 05 04", 0, {}},
    };
    for (const Case &c : kCases) {
        EXPECT_EQ(decode(c.decoder, hex(c.bytes)), std::pair(c.status, c.text)) << c.bytes;
    }
    EXPECT_EQ(decode(cl_decode80, hex("80 00 41 00 42"), 1).first, 6u);
    EXPECT_EQ(decode(cl_decode80, hex("80 00 41"), 1).first, 6u);
}

TEST(SimForms, ATerminatorFollowsSeptetsAlone) {
    for (auto [bytes, last] : {std::pair{"81 02 08 91 41", 0}, {"81 02 08 41 91", 0x5555}}) {
        Units text(4, 0x5555);
        uint32_t length = 1;
        Bytes form = hex(bytes);
        EXPECT_EQ(cl_decode81(form.data(), 5, text.data(), &length), 0u);
        EXPECT_EQ(length, 2u);
        EXPECT_EQ(text[2], last);
    }
}

TEST(SimForms, BadArguments) {
    uint16_t unit = 'A';
    uint8_t byte[4] = {0x80};
    for (Encoder encoder : {cl_encode80, cl_encode81, cl_encode82}) {
        uint32_t length = 0;
        EXPECT_EQ(encoder(&unit, 1, byte, &length), 6u);
        EXPECT_EQ(encoder(nullptr, 1, byte, &(length = 9)), 1u);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(encoder(&unit, 0, byte, &length), 1u);
        EXPECT_EQ(encoder(&unit, 1, nullptr, &length), 1u);
        EXPECT_EQ(encoder(&unit, 1, byte, nullptr), 1u);
    }
    for (Decoder decoder : {cl_decode80, cl_decode81, cl_decode82}) {
        uint32_t length = 0;
        EXPECT_EQ(decoder(byte, 3, &unit, &length), 6u);
        EXPECT_EQ(decoder(nullptr, 1, &unit, &(length = 9)), 1u);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(decoder(byte, 0, &unit, &length), 1u);
        EXPECT_EQ(decoder(byte, 1, nullptr, &length), 1u);
        EXPECT_EQ(decoder(byte, 1, &unit, nullptr), 1u);
    }
}

struct Quoted {
    uint32_t status;
    uint32_t coding;
    uint32_t length;
    std::string text;

    bool operator==(const Quoted &) const = default;
};

Quoted quote(const Units &text, cl_codecProfile profile, uint32_t capacity) {
    hearth::test::StdoutCapture quiet;
    std::string output(capacity + 2, '!');
    uint32_t coding = 99;
    uint32_t length = capacity;
    const uint16_t nothing = 0;
    uint32_t status =
        cl_encodeData(&coding, text.empty() ? &nothing : text.data(),
                      static_cast<uint32_t>(text.size()), output.data(), &length, &profile);
    return {status, coding, length, output.substr(0, status == 6 ? 0 : length)};
}

TEST(Quoted, TheCheapestCodingThatHoldsTheText) {
    struct Case {
        Units text;
        cl_codecProfile profile;
        uint32_t capacity;
        Quoted expected;
    };
    const Case kCases[] = {
        {{'A'}, {0, 0}, 5, {0, 0, 3, "\"A\""}},
        {{'A'}, {0, 0}, 4, {6, 99, 4, ""}},
        {{'{', '@'}, {0, 1}, 7, {0, 0, 5, std::string("\"\x1B(\0\"", 5)}},
        {{'A'}, {7, 1}, 5, {0, 0, 3, "\"A\""}},
        {{0xE9}, {1, 0}, 4, {0, 2, 3, "\"\xE9\""}},
        {{0xE9}, {1, 0}, 3, {6, 99, 3, ""}},
        {{0x100}, {1, 0}, 7, {0, 1, 8, "\"800100\""}},
        {{0x411, 0x412}, {0, 1}, 11, {0, 1, 12, "\"8102089192\""}},
        {{0x47F, 0x480}, {0, 1}, 13, {0, 1, 14, "\"8202047F8081\""}},
        {{0x410, 0x491}, {0, 1}, 11, {0, 1, 12, "\"8004100491\""}},
        {{0x411, 0x412}, {0, 0}, 11, {0, 1, 12, "\"8004110412\""}},
        {{0x411, 0x412}, {1, 1}, 11, {0, 1, 12, "\"8004110412\""}},
        {{0x411, 0x412}, {2, 1}, 11, {0, 1, 12, "\"8004110412\""}},
        {{0x411, 0x412}, {0, 2}, 11, {0, 1, 12, "\"8004110412\""}},
        // The room for the digits alone is not enough for their terminator.
        {{0x411, 0x412}, {0, 0}, 10, {6, 1, 10, ""}},
        {{0x411, 0x412}, {0, 0}, 9, {6, 99, 9, ""}},
        {{}, {0, 0}, 3, {1, 0, 2, "\"\""}},
        {{}, {1, 0}, 3, {0, 2, 2, "\"\""}},
    };
    for (const Case &c : kCases) {
        EXPECT_EQ(quote(c.text, c.profile, c.capacity), c.expected) << c.expected.text;
    }
}

std::pair<uint32_t, Units> unquote(uint32_t coding, const std::string &source, uint32_t capacity) {
    Units text(capacity + 1, 0x5555);
    Bytes exact(source.begin(), source.end());
    exact.reserve(1);
    uint32_t length = capacity;
    uint32_t status = cl_decodeData(coding, reinterpret_cast<const char *>(exact.data()),
                                    static_cast<uint32_t>(exact.size()), text.data(), &length);
    text.resize(status == 0 ? length : 0);
    return {status, text};
}

TEST(Quoted, TextsComeBack) {
    for (const char *utf8 : {"A", "{[]}", "Grüße", "Привет", "Ωmega", "日本語", "ЀҐ", "é"}) {
        Units text = ucs2(utf8);
        for (uint32_t charset : {0u, 1u}) {
            for (uint32_t compress : {0u, 1u}) {
                Quoted quoted = quote(text, {charset, compress}, 100);
                ASSERT_EQ(quoted.status, 0u);
                ASSERT_EQ(quoted.length, quoted.text.size());
                std::string inside = quoted.text.substr(1, quoted.length - 2);
                EXPECT_EQ(unquote(quoted.coding, inside, 100), std::pair(0u, text)) << utf8;
            }
        }
    }
}

TEST(Quoted, ReadsEveryCoding) {
    struct Case {
        uint32_t coding;
        std::string source;
        uint32_t capacity;
        uint32_t status;
        Units text;
    };
    const Case kCases[] = {
        {1, "800041", 2, 0, {'A'}},
        {1, std::string("\x80\0A", 3), 2, 0, {'A'}},
        {1, "810308919241", 3, 0, {0x411, 0x412, 'A'}},
        {1, "\x81\x03\x08\x91\x92\x41", 3, 0, {0x411, 0x412, 'A'}},
        {1, "82030411808141", 3, 0, {0x411, 0x412, 'A'}},
        // What the length field promises is bounded by the capacity here.
        {1, "810308919241", 2, 6, {}},
        {1, "8103081B9141", 1, 6, {}},
        {1, "81030041424344", 3, 0, {'A', 'B', 'C'}},
        {1, "41421b65", 3, 0, {'A', 'B', 0x20AC}},
        {1, "8300", 3, 8, {}},
        {1, "\xFF", 3, 8, {}},
        {1, "80004100420043", 2, 6, {}},
        {1, "", 3, 1, {}},
        {1, "8", 3, 1, {}},
        {1, "81", 1, 0, {}},
        {1, "8100", 0, 6, {}},
        {0, "A\x1B\x65", 2, 0, {'A', 0x20AC}},
        {0, "ABCDEF", 2, 6, {}},
        {0, "A\x81", 2, 11, {}},
        {0, "", 2, 1, {}},
        {2, "A\xE9", 2, 0, {'A', 0xE9}},
        {2, "A\xE9", 1, 6, {}},
        {2, "", 0, 0, {}},
        {3, "A", 2, 8, {}},
        {0xFFFFFFFF, "A", 2, 8, {}},
    };
    for (const Case &c : kCases) {
        EXPECT_EQ(unquote(c.coding, c.source, c.capacity), std::pair(c.status, c.text))
            << c.coding << " " << c.source;
    }
}

TEST(Quoted, BadArgumentsAndNoMemory) {
    const uint16_t text[] = {0x411};
    char output[16];
    uint16_t units[8];
    uint32_t coding = 0;
    uint32_t length = 8;
    const cl_codecProfile profile{0, 0};
    EXPECT_EQ(cl_encodeData(&coding, nullptr, 1, output, &length, &profile), 1u);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(cl_encodeData(&coding, text, 1, nullptr, &length, &profile), 1u);
    EXPECT_EQ(cl_encodeData(&coding, text, 1, output, nullptr, &profile), 1u);
    EXPECT_EQ(cl_encodeData(nullptr, text, 1, output, &length, &profile), 1u);
    EXPECT_EQ(cl_encodeData(&coding, text, 1, output, &length, nullptr), 1u);
    EXPECT_EQ(cl_decodeData(1, nullptr, 1, units, &length), 1u);
    EXPECT_EQ(cl_decodeData(1, "8", 1, nullptr, &length), 1u);
    EXPECT_EQ(cl_decodeData(1, "8", 1, units, nullptr), 1u);
    EXPECT_EQ(cl_decodeData(3, "8", 1, units, nullptr), 8u);
    EXPECT_EQ(cl_decodeData(3, nullptr, 1, units, nullptr), 1u);

    auto each_fails = [&](auto call) {
        uint32_t status = 7;
        int failed = hearth::test::for_each_fault(hearth::test::Fault::kFail,
                                                  hearth::test::kAllocations, ENOMEM, [&] {
                                                      EXPECT_EQ(status, 7u);
                                                      length = 8;
                                                      status = call();
                                                  });
        EXPECT_EQ(failed, 1);
        EXPECT_EQ(status, 0u);
    };
    each_fails([&] { return cl_encodeData(&coding, text, 1, output, &length, &profile); });
    each_fails([&] { return cl_decodeData(1, "800041", 6, units, &length); });
}

}  // namespace
