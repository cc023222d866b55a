#include "hearth/osa_string.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "support/faults.h"

namespace {

TEST(OsaString, CompareGivesTheDifferenceInLowerCase) {
    struct Case {
        const char *a;
        const char *b;
        int32_t expected;
    };
    for (const Case &c :
         {Case{"ABC", "abc", 0}, Case{"a", "B", -1}, Case{"", "", 0}, Case{"abc", "ab", 'c'},
          Case{"AB", "abC", -'c'}, Case{"", "Z", -'z'}, Case{"[", "{", '[' - '{'},
          Case{"\xE4", "a", 0xE4 - 'a'}, Case{nullptr, "a", -1}, Case{"a", nullptr, -1}}) {
        EXPECT_EQ(osa_stricmp(c.a, c.b), c.expected);
    }
}

TEST(OsaString, LowerCaseIsThatOfAsciiInPlace) {
    char text[] = "@AZ[`az{\xC4";
    EXPECT_EQ(osa_strlwr(text), text);
    EXPECT_STREQ(text, "@az[`az{\xC4");
    EXPECT_EQ(osa_strlwr(nullptr), nullptr);
}

TEST(OsaString, ReplaceTakesTheFirstOccurrence) {
    struct Case {
        const char *text;
        const char *old;
        const char *replacement;
        const char *expected;
    };
    for (const Case &c :
         {Case{"a.b.c", ".", "--", "a--b.c"}, Case{"abc", "", "x", "xabc"},
          Case{"abc", "abc", "", ""}, Case{"", "", "", ""}, Case{"abab", "b", "b", "abab"},
          Case{"abc", "d", "x", nullptr}, Case{nullptr, "d", "x", nullptr},
          Case{"abc", nullptr, "x", nullptr}, Case{"abc", "a", nullptr, nullptr}}) {
        char *result = osa_str_replace(c.text, c.old, c.replacement);
        EXPECT_STREQ(result, c.expected);
        free(result);
    }
    hearth::test::arm_fault(hearth::test::Fault::kFail, hearth::test::kAllocations, 1, ENOMEM);
    EXPECT_EQ(osa_str_replace("abc", "a", "x"), nullptr);
    EXPECT_TRUE(hearth::test::disarm_fault());
}

TEST(OsaString, ReverseWritesNoTerminator) {
    char target[6] = "-----";
    EXPECT_EQ(osa_string_reverse("abc", target, 4), 0);
    EXPECT_STREQ(target, "cba--");
    EXPECT_EQ(osa_string_reverse("wxyz", target, 4), -1);
    EXPECT_EQ(osa_string_reverse("", target, 0), -1);
    EXPECT_EQ(osa_string_reverse(nullptr, target, 6), -1);
    EXPECT_EQ(osa_string_reverse("x", nullptr, 6), -1);
    EXPECT_EQ(osa_string_reverse("", target, 1), 0);
    EXPECT_STREQ(target, "cba--");
}

TEST(OsaString, BodyWithAnEscapedScriptTagIsRefused) {
    struct Case {
        std::string body;
        int32_t expected;
    };
    for (const Case &c : {
             Case{"x&amp;lt;script&amp;gt;y", -1},
             Case{"&AMP;LT;/Script&amp;GT;", -1},
             Case{"&amp;#60;script&amp;#62;", -1},
             Case{"{\"a\":\"&amp;#60;/script&amp;#62;\"}", -1},
             Case{"<script>alert(1)</script>", 0},
             Case{"&lt;script&gt;", 0},
             Case{"&amp;lt;script&amp;gt", 0},
             Case{std::string("a\0&amp;lt;script&amp;gt;", 24), 0},
             Case{"", 0},
         }) {
        EXPECT_EQ(osa_check_restful_body(c.body.data(), static_cast<uint32_t>(c.body.size())),
                  c.expected)
            << c.body;
    }
    const char body[] = "&amp;lt;script&amp;gt;";
    EXPECT_EQ(osa_check_restful_body(body, strlen(body) - 1), 0) << "the length holds";
    EXPECT_EQ(osa_check_restful_body(nullptr, 5), 0);
    EXPECT_STREQ(body, "&amp;lt;script&amp;gt;");
    hearth::test::arm_fault(hearth::test::Fault::kFail, hearth::test::kAllocations, 1, ENOMEM);
    EXPECT_EQ(osa_check_restful_body("a", 1), -2);
    EXPECT_TRUE(hearth::test::disarm_fault());
}

}  // namespace
