#include "hearth/at_utils.h"

#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

namespace {

TEST(AtUtils, NullTextsAreHarmless) {
    char text[8] = "old";
    EXPECT_EQ(safe_strcpy(nullptr, "a"), nullptr);
    EXPECT_EQ(safe_strcpy(text, nullptr), nullptr);
    EXPECT_EQ(safe_strncpy(nullptr, "a", 1), nullptr);
    EXPECT_EQ(safe_strncpy(text, nullptr, 1), nullptr);
    EXPECT_STREQ(text, "old");
    EXPECT_EQ(safe_strcmp(nullptr, nullptr), 0);
    EXPECT_EQ(safe_strcmp(nullptr, "a"), -1);
    EXPECT_EQ(safe_strcmp("a", nullptr), 1);
    EXPECT_EQ(safe_atoi(nullptr), 0);
    EXPECT_EQ(safe_atol(nullptr), 0);
    EXPECT_EQ(At_strncasecmp(nullptr, "a", 1), 0);
    EXPECT_EQ(At_strncasecmp("a", nullptr, 1), 0);
    EXPECT_EQ(split_space(nullptr, ' '), nullptr);
    EXPECT_EQ(count_separator(nullptr, ","), 0u);
    EXPECT_EQ(count_separator("a,b", nullptr), 0u);
    EXPECT_EQ(get_next_seperator(nullptr, ','), nullptr);
    EXPECT_EQ(test_str_num(nullptr), -1);
    EXPECT_EQ(char_to_hex(nullptr), -1);
    EXPECT_EQ(get_hex_from_str(nullptr), -1);
    EXPECT_EQ(hex_str_to_uinteger(nullptr), 0u);
}

TEST(AtUtils, CopiesAndConversionsForward) {
    char text[8];
    memset(text, 'x', sizeof text);
    EXPECT_EQ(safe_strncpy(text, "ab", 4), text);
    EXPECT_EQ(memcmp(text, "ab\0\0xxxx", 8), 0);
    EXPECT_EQ(safe_strcpy(text, "abc"), text);
    EXPECT_STREQ(text, "abc");
    EXPECT_LT(safe_strcmp("abc", "abd"), 0);
    EXPECT_EQ(safe_atoi(" -12x"), -12);
    EXPECT_EQ(safe_atoi("4294967295"), -1);
    EXPECT_EQ(safe_atol("2147483647 "), 2147483647L);
}

TEST(AtUtils, ComparesWithoutCase) {
    struct {
        const char *a, *b;
        uint32_t count;
        int32_t difference;
    } const rows[] = {
        {"AT+Cops", "at+cOPSx", 7, 0},
        {"ab", "aC", 2, 'b' - 'c'},
        {"ab", "aC", 1, 0},
        {"a", "b", 0, -1},
        {"", "", 5, 0},
        {"a", "", 5, 'a'},
        {"\xe9", "a", 1, 0xe9 - 'a'},
        {"[", "{", 1, '[' - '{'},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(At_strncasecmp(row.a, row.b, row.count), row.difference) << row.a << row.b;
    }
}

TEST(AtUtils, TrimsAnyCharacterInPlace) {
    const std::vector<std::vector<std::string>> rows = {
        {"  a b  ", " ", "a b"}, {"\"q\"", "\"", "q"},    {"    ", " ", ""},
        {"", " ", ""},           {"plain", " ", "plain"}, {"\ta ", " ", "\ta"}};
    for (const auto &row : rows) {
        std::string text = row[0];
        EXPECT_EQ(split_space(text.data(), row[1][0]), text.data());
        EXPECT_STREQ(text.c_str(), row[2].c_str());
    }
}

TEST(AtUtils, SeparatorsInsideQuotesDoNotCount) {
    struct {
        const char *text;
        char separator;
        uint32_t count;
        int first;
    } const rows[] = {
        {"a,b,c", ',', 2, 1}, {"\"a,b\",c", ',', 1, 5},  {"\"a,b", ',', 0, -1},
        {"", ',', 0, -1},     {"\"\",\"\"", '"', 0, -1}, {"a;b", ',', 0, -1},
        {",,", ',', 2, 0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(count_separator(row.text, std::string(1, row.separator).c_str()), row.count);
        char *found = get_next_seperator(row.text, row.separator);
        EXPECT_EQ(found == nullptr ? -1 : found - row.text, row.first) << row.text;
    }
    EXPECT_EQ(count_separator("a,b;c", ",;"), 1u);
}

TEST(AtUtils, Digits) {
    EXPECT_EQ(test_str_num(""), 0);
    EXPECT_EQ(test_str_num("0123456789"), 0);
    EXPECT_EQ(test_str_num("12 "), -1);
    EXPECT_EQ(test_str_num("-1"), -1);
}

TEST(AtUtils, HexadecimalDigits) {
    struct {
        char digit;
        int32_t value;
        char after;
    } const rows[] = {{'0', 0, '0'},           {'9', 9, '9'},         {'A', 10, 'A'},
                      {'f', 15, 'F'},          {'z', 35, 'Z'},        {' ', -23, ' '},
                      {'`', 0x60 - 0x37, '`'}, {'\xe1', 0x8a, '\xc1'}};
    for (const auto &row : rows) {
        char digit = row.digit;
        EXPECT_EQ(char_to_hex(&digit), row.value) << row.digit;
        EXPECT_EQ(digit, row.after);
    }
}

TEST(AtUtils, HexadecimalTexts) {
    struct {
        const char *text;
        int32_t value;
        const char *after;
    } const rows[] = {
        {"1aF", 0x1af, "1AF"}, {"", 0, ""},
        {"g", 16, "G"},        {"123456789", 0x23456789, "123456789"},
        {"a-b", -1, "A-b"},    {"ffffffff", -1, "FFFFFFFF"},
    };
    for (const auto &row : rows) {
        std::string text = row.text;
        EXPECT_EQ(get_hex_from_str(text.data()), row.value) << row.text;
        EXPECT_EQ(text, row.after);
    }
    EXPECT_EQ(hex_str_to_uinteger("FedcBA9876543210"), 0xfedcba9876543210u);
    EXPECT_EQ(hex_str_to_uinteger("0x12"), 0u);
    EXPECT_EQ(hex_str_to_uinteger("12g"), 0u);
    EXPECT_EQ(hex_str_to_uinteger(""), 0u);
}

// Packs one septet after the other into a long row of bits, least significant first.
std::vector<uint8_t> pack(const std::string &septets) {
    std::vector<uint8_t> octets((septets.size() * 7 + 7) / 8);
    for (size_t bit = 0; bit < septets.size() * 7; bit++) {
        int value = (septets[bit / 7] >> (bit % 7) & 1) << (bit % 8);
        octets[bit / 8] = static_cast<uint8_t>(octets[bit / 8] | value);
    }
    return octets;
}

TEST(AtUtils, UnpacksSeptets) {
    // The example that everyone knows.
    const uint8_t hello[] = {0xe8, 0x32, 0x9b, 0xfd, 0x46, 0x97, 0xd9, 0xec, 0x37};
    uint8_t output[32];
    memset(output, 0xff, sizeof output);
    EXPECT_EQ(decode_7bit(hello, output, sizeof hello), 10u);
    EXPECT_STREQ(reinterpret_cast<char *>(output), "hellohello");
    EXPECT_EQ(output[11], 0xff);

    const std::string text = "abcdefghijklmnopqrstuvw";
    for (size_t length = 1; length <= text.size(); length++) {
        std::vector<uint8_t> packed = pack(text.substr(0, length));
        std::vector<uint8_t> unpacked(packed.size() * 8 / 7 + 1);
        uint32_t count =
            decode_7bit(packed.data(), unpacked.data(), static_cast<uint32_t>(packed.size()));
        EXPECT_EQ(count, packed.size() * 8 / 7);
        EXPECT_EQ(memcmp(unpacked.data(), text.data(), length), 0);
    }
    EXPECT_EQ(decode_7bit(nullptr, output, 1), 0u);
    EXPECT_EQ(decode_7bit(hello, nullptr, 1), 0u);
    EXPECT_EQ(decode_7bit(hello, output, 0), 0u);
}

}  // namespace
