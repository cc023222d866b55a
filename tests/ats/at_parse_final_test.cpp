// Final results with a table whose first entry has a comma, as parse_final_result is written for.
#include <gtest/gtest.h>
#include <stdlib.h>

#include "hearth/at_parse.h"
#include "support/faults.h"

extern "C" const char *const at_parse_final_result[] = {"+CME ERROR:err,code , more", "OK", "BUSY",
                                                        nullptr};

namespace {

TEST(AtParseFinal, NameAndValueStandAtTheSecondPlace) {
    struct Case {
        const char *text;
        int32_t code;
        const char *name;
        const char *value;
    };
    const Case cases[] = {
        {"+CME ERROR: 10,\"20\",30", 0, "code", "20"},
        {"+CME ERROR: 10", 0, "code", nullptr},
        {":", 0, "code", nullptr},
        {":1,2,3,4,5,6", 0, "code", "2"},
        {"OK", 0, "OK", "OK"},
        {"BUSY", 0, "BUSY", "BUSY"},
        {"ok", -4, nullptr, nullptr},
        {"", -4, nullptr, nullptr},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        int calls = 0;
        int failures = hearth::test::for_each_fault(
            hearth::test::Fault::kFail, hearth::test::kAllocations, ENOMEM, [&] {
                ++calls;
                at_parse_result *node = nullptr;
                int32_t code = parse_final_result(&node, c.text);
                if (node == nullptr) {
                    EXPECT_TRUE(code == AT_RETURN_MALLOC_ERR || code == c.code);
                    return;
                }
                EXPECT_EQ(code, c.code);
                EXPECT_STREQ(node->AtFieldName, c.name);
                EXPECT_STREQ(node->AtFieldValue, c.value);
                free_at_cmd(node);
            });
        EXPECT_GE(failures, 1);
        EXPECT_EQ(calls, failures + 1);
    }
}

}  // namespace
