#include "hearth/cl_convertor.h"

#include <gtest/gtest.h>

#include <random>

#include "text/iconv_text.h"

namespace {

using hearth::test::ucs2;
using hearth::test::Units;
using Bytes = std::vector<uint8_t>;

struct ToUtf8 {
    uint32_t status;
    uint32_t length;
    std::string text;

    bool operator==(const ToUtf8 &) const = default;
};

ToUtf8 to_utf8(const Units &text, uint32_t capacity) {
    std::string utf8(capacity + 1, '!');
    uint32_t length = capacity;
    uint32_t status =
        cl_ucs2ToUTF8(text.data(), static_cast<uint32_t>(text.size()), utf8.data(), &length);
    return {status, length, utf8.substr(0, utf8.find('\0'))};
}

std::string to_utf8_by_length(const Units &text, uint32_t capacity) {
    std::string utf8(capacity + 1, '!');
    EXPECT_EQ(
        cl_ucs2ToUTF8ByLen(text.data(), static_cast<uint32_t>(text.size()), utf8.data(), capacity),
        0u);
    return utf8.substr(0, utf8.find('\0'));
}

struct ToUnits {
    uint32_t status;
    uint32_t length;
    Units units;

    bool operator==(const ToUnits &) const = default;
};

ToUnits to_units(const std::string &utf8, uint32_t capacity) {
    Units text(capacity + 1, 0x5555);
    Bytes exact(utf8.begin(), utf8.end());
    uint32_t length = capacity;
    uint32_t status = cl_utf8ToUCS2(reinterpret_cast<const char *>(exact.data()),
                                    static_cast<uint32_t>(exact.size()), text.data(), &length);
    text.resize(static_cast<size_t>(std::find(text.begin(), text.end(), 0) - text.begin()));
    return {status, length, text};
}

// Every unit that is no surrogate, in texts of every mix of lengths, against iconv.
TEST(Convertor, Utf8AgreesWithIconv) {
    std::mt19937 random(5);
    Units all;
    for (uint32_t unit = 1; unit <= 0xFFFF; ++unit) {
        if (unit < 0xD800 || unit > 0xDFFF) {
            all.push_back(static_cast<uint16_t>(unit));
        }
    }
    std::vector<Units> texts{all};
    for (int i = 0; i < 2000; ++i) {
        Units text(1 + random() % 70);
        uint32_t limit = i % 4 == 0 ? 0x7F : i % 4 == 1 ? 0x82 : i % 4 == 2 ? 0x810 : 0xD7FF;
        for (uint16_t &unit : text) {
            unit = static_cast<uint16_t>(1 + random() % limit);
        }
        texts.push_back(text);
    }
    for (const Units &text : texts) {
        std::string utf8 = hearth::test::utf8(text);
        uint32_t size = static_cast<uint32_t>(utf8.size());
        uint32_t units = static_cast<uint32_t>(text.size());
        ASSERT_EQ(to_utf8(text, size), (ToUtf8{0, size, utf8}));
        ASSERT_EQ(to_utf8_by_length(text, size), utf8);
        ASSERT_EQ(to_units(utf8, units), (ToUnits{0, units, text}));
        ASSERT_EQ(to_utf8(text, size - 1).status, 6u);
        ASSERT_EQ(to_units(utf8, units - 1).status, 6u);
    }
}

TEST(Convertor, Utf8IsCutAtWholeCharacters) {
    const Units text = ucs2("aé€b");
    const char *kCut[] = {nullptr, "a", "a", "aé", "aé", "aé", "aé€", "aé€b", "aé€b"};
    for (uint32_t capacity = 1; capacity < std::size(kCut); ++capacity) {
        EXPECT_EQ(to_utf8_by_length(text, capacity), kCut[capacity]);
    }
    EXPECT_EQ(to_utf8_by_length({0xE9}, 1), "");
    EXPECT_EQ(to_utf8_by_length({'a', 0, 'b'}, 3), "a");
    EXPECT_EQ(to_utf8({'a', 0, 'b'}, 3), (ToUtf8{0, 1, "a"}));
    EXPECT_EQ(to_utf8({0}, 1), (ToUtf8{0, 0, ""}));
    EXPECT_EQ(to_utf8({'a', 0xE9}, 2), (ToUtf8{6, 2, "a"}));
    EXPECT_EQ(to_utf8({'a', 'b'}, 1).status, 6u);
    // A surrogate is a unit like any other.
    EXPECT_EQ(to_utf8({0xD83D, 0xDE00}, 6).text, "\xED\xA0\xBD\xED\xB8\x80");
}

TEST(Convertor, Utf8LeadsDecideAndContinuationsAreTaken) {
    struct Case {
        std::string utf8;
        uint32_t status;
        Units units;
    };
    const Case kCases[] = {
        {"\x80", 4, {}},
        {"a\xBF", 4, {'a'}},
        {"a\xFE", 4, {'a'}},
        {"a\xFF"
         "b",
         4,
         {'a'}},
        {"\xC3\x28z", 0, {0xE8, 'z'}},
        {"\xC1\x81", 0, {0x41}},
        {"\xF0\x9F\x98\x80z", 0, {0xF600, 'z'}},
        {"\xF8\x88\x81\x82\x83z", 0, {0x1083, 'z'}},
        {"\xFD\xBF\xBF\xBF\xBF\xBFz", 0, {0xFFFF, 'z'}},
        {std::string("a\0b", 3), 0, {'a'}},
        // Cut off by the end of the text.
        {"a\xC3", 4, {'a'}},
        {"a\xE2\x82", 4, {'a'}},
        {"a\xFC\x84\x80\x80\x80", 4, {'a'}},
    };
    const std::string lead(40, 'x');
    for (const Case &c : kCases) {
        uint32_t units = static_cast<uint32_t>(c.units.size());
        EXPECT_EQ(to_units(c.utf8, 8), (ToUnits{c.status, units, c.units})) << c.utf8;
        Units led = ucs2(lead);
        led.insert(led.end(), c.units.begin(), c.units.end());
        EXPECT_EQ(to_units(lead + c.utf8, 48), (ToUnits{c.status, 40 + units, led})) << c.utf8;
    }
    EXPECT_EQ(to_units("abc", 2), (ToUnits{6, 2, {'a', 'b'}}));
}

template <typename To, typename From>
std::pair<uint32_t, To> run(uint32_t (*call)(const typename From::value_type *, uint32_t,
                                             typename To::value_type *, uint32_t *),
                            const From &from, size_t capacity) {
    To output(capacity + 1, 0x55);
    uint32_t length = static_cast<uint32_t>(capacity);
    uint32_t status = call(from.data(), static_cast<uint32_t>(from.size()), output.data(), &length);
    EXPECT_EQ(output.back(), 0x55) << "overrun";
    output.resize(status == 0 ? length : 0);
    return {status, output};
}

TEST(Convertor, ByteOrderBothWays) {
    const Units units{0x0041, 0x20AC, 0xFF01};
    const Bytes bytes{0x00, 0x41, 0x20, 0xAC, 0xFF, 0x01};
    EXPECT_EQ(run<Bytes>(cl_widecharToByteOrder, units, 6), std::pair(0u, bytes));
    EXPECT_EQ(run<Bytes>(cl_widecharToByteOrder, units, 5).first, 6u);
    EXPECT_EQ(run<Units>(cl_byteOrderToWideChar, bytes, 4), std::pair(0u, units));
    EXPECT_EQ(run<Units>(cl_byteOrderToWideChar, bytes, 3).first, 6u);
    Bytes odd = bytes;
    odd.push_back(0x77);
    EXPECT_EQ(run<Units>(cl_byteOrderToWideChar, odd, 4), std::pair(0u, units));
    EXPECT_EQ(run<Units>(cl_byteOrderToWideChar, Bytes{0x77}, 1), std::pair(0u, Units{}));
}

TEST(Convertor, HexadecimalBothWaysForEveryLength) {
    std::mt19937 random(9);
    for (size_t size = 1; size < 200; ++size) {
        Bytes bytes(size);
        std::string expected;
        for (uint8_t &byte : bytes) {
            byte = static_cast<uint8_t>(random());
            char digits[3];
            snprintf(digits, sizeof digits, "%02X", byte);
            expected += digits;
        }
        ASSERT_EQ(run<std::string>(cl_bytesToString, bytes, 2 * size + 1), std::pair(0u, expected));
        ASSERT_EQ(run<std::string>(cl_bytesToString, bytes, 2 * size).first, 6u);
        ASSERT_EQ(run<Bytes>(cl_stringToBytes, expected, size), std::pair(0u, bytes));
        ASSERT_EQ(run<Bytes>(cl_stringToBytes, expected, size - 1).first, 6u);
        // A digit without a partner, and the other case.
        std::transform(expected.begin(), expected.end(), expected.begin(), tolower);
        ASSERT_EQ(run<Bytes>(cl_stringToBytes, expected + "F", size), std::pair(0u, bytes));
        size_t half = size / 2;
        expected[2 * half] = '\0';
        bytes.resize(half);
        ASSERT_EQ(run<Bytes>(cl_stringToBytes, expected, size), std::pair(0u, bytes));
    }
}

TEST(Convertor, HexadecimalDigitsAreNotTested) {
    // The low digit is not masked: 'g' is 16, ' ' is -23, NUL as the second of a pair is -55.
    const std::string text = std::string("1gg1 1a\0zZ", 10);
    EXPECT_EQ(run<Bytes>(cl_stringToBytes, text, 5),
              std::pair(0u, Bytes{0x10, 0x01, 0x91, 0xE9, 0x33}));
}

TEST(Convertor, NumbersByRadix) {
    struct Case {
        const char *text;
        uint32_t radix;
        uint32_t status;
        uint32_t value;
    };
    const Case kCases[] = {
        {"12x4", 10, 1, 124},
        {"12x4", 16, 0, 0x124},
        {"12x", 16, 1, 0x12},
        {"", 10, 0, 0},
        {"", 16, 0, 0},
        {"4294967297", 10, 0, 1},
        {"1fFFfFFfe", 16, 0, 0xFFFFFFFE},
        {"x", 10, 1, 0},
        {"12", 8, 8, 77},
        {"-5", 10, 1, 5},
    };
    for (const Case &c : kCases) {
        uint32_t value = 77;
        uint32_t count = static_cast<uint32_t>(strlen(c.text));
        EXPECT_EQ(cl_stringToNumeric(c.text, count, c.radix, &value), c.status) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
    uint32_t value = 0;
    EXPECT_EQ(cl_stringToNumeric(nullptr, 0, 10, &value), 1u);
    EXPECT_EQ(cl_stringToNumeric("1", 1, 8, nullptr), 1u);
}

TEST(Convertor, BadArgumentsClearTheLength) {
    auto expect_one = [](auto call, auto in, auto out) {
        uint32_t length = 5;
        EXPECT_EQ(call(nullptr, 1, &out, &length), 1u);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(call(&in, 0, &out, &(length = 5)), 1u);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(call(&in, 1, nullptr, &(length = 5)), 1u);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(call(&in, 1, &out, nullptr), 1u);
    };
    expect_one(cl_ucs2ToUTF8, uint16_t{}, char{});
    expect_one(cl_utf8ToUCS2, char{}, uint16_t{});
    expect_one(cl_widecharToByteOrder, uint16_t{}, uint8_t{});
    expect_one(cl_byteOrderToWideChar, uint8_t{}, uint16_t{});
    expect_one(cl_bytesToString, uint8_t{}, char{});
    expect_one(cl_stringToBytes, char{}, uint8_t{});
    const uint16_t unit = 'a';
    char text[2];
    EXPECT_EQ(cl_ucs2ToUTF8ByLen(nullptr, 1, text, 1), 1u);
    EXPECT_EQ(cl_ucs2ToUTF8ByLen(&unit, 0, text, 1), 1u);
    EXPECT_EQ(cl_ucs2ToUTF8ByLen(&unit, 1, nullptr, 1), 1u);
    EXPECT_EQ(cl_ucs2ToUTF8ByLen(&unit, 1, text, 0), 1u);
    EXPECT_EQ(to_units("a", 0).status, 6u);
}

}  // namespace
