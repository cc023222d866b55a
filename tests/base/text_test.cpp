#include "base/text.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "base/number.h"

namespace {

TEST(Text, CopyStaysInItsField) {
    struct Case {
        const char *from;
        const char *expected;
        size_t copied;
    };
    for (const Case &c : {Case{"", "", 0}, Case{"abc", "abc", 3}, Case{"abcd", "abc", 3}}) {
        char field[5] = {'x', 'x', 'x', 'x', '!'};
        EXPECT_EQ(hearth::copy_text(field, 4, c.from), c.copied);
        EXPECT_STREQ(field, c.expected);
        EXPECT_EQ(field[4], '!');
    }
    char untouched = 'x';
    EXPECT_EQ(hearth::copy_text(&untouched, 0, "abc"), 0u);
    EXPECT_EQ(untouched, 'x');
}

TEST(Text, SameTextsEndTogether) {
    struct Case {
        const char *a;
        const char *b;
        size_t alike;
        bool same;
    };
    for (const Case &c :
         {Case{"", "", 0, true}, Case{"ab", "ab", 2, true}, Case{"ab", "abc", 2, false},
          Case{"abc", "ab", 2, false}, Case{"xb", "ab", 0, false}}) {
        EXPECT_EQ(hearth::common_length(c.a, c.b), c.alike);
        EXPECT_EQ(hearth::same_text(c.a, c.b), c.same);
    }
}

TEST(Text, NumbersHaveADefinedResultForEveryInput) {
    for (const char *text :
         {"", "x", "7", " -12x", "\t\n\v\f\r+5", "+-5", "- 5", "0x10", "007", "2147483648",
          "4294967295", "-4294967297", "9223372036854775807", "9223372036854775808",
          "-9223372036854775808", "-9223372036854775809", "99999999999999999999999"}) {
        EXPECT_EQ(hearth::to_int32(text), static_cast<int32_t>(strtoll(text, nullptr, 10))) << text;
    }
    uint32_t value = 7;
    EXPECT_FALSE(hearth::parse_number("4294967296", &value));
    EXPECT_FALSE(hearth::parse_number("12 ", &value));
    EXPECT_FALSE(hearth::parse_number("", &value));
    EXPECT_EQ(value, 7u);
    EXPECT_TRUE(hearth::parse_number("ff", &value, 16));
    EXPECT_EQ(value, 255u);
}

}  // namespace
