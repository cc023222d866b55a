#include "base/text.h"

#include <gtest/gtest.h>

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

TEST(Text, NumbersHaveADefinedResultForEveryInput) {
    EXPECT_EQ(hearth::to_int32(" -12x"), -12);
    EXPECT_EQ(hearth::to_int32("x"), 0);
    EXPECT_EQ(hearth::to_int32("4294967295"), -1);
    uint32_t value = 7;
    EXPECT_FALSE(hearth::parse_number("4294967296", &value));
    EXPECT_FALSE(hearth::parse_number("12 ", &value));
    EXPECT_FALSE(hearth::parse_number("", &value));
    EXPECT_EQ(value, 7u);
    EXPECT_TRUE(hearth::parse_number("ff", &value, 16));
    EXPECT_EQ(value, 255u);
}

}  // namespace
