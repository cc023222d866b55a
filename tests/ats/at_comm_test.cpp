#include "hearth/at_comm.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/faults.h"

using namespace hearth::test;

namespace {

std::vector<std::string> cut(const std::string &text, uint32_t limit, const char *marker = "^X") {
    std::vector<char *> lines(limit + 1, nullptr);
    uint32_t count = limit;
    EXPECT_EQ(get_substring(text.c_str(), lines.data(), &count, marker), 0);
    std::vector<std::string> texts(lines.begin(), lines.begin() + count);
    EXPECT_EQ(lines[count], nullptr);
    reslease_substring(lines.data(), count);
    EXPECT_EQ(lines, std::vector<char *>(limit + 1, nullptr));
    return texts;
}

TEST(AtComm, CutsAtEachMarker) {
    using Lines = std::vector<std::string>;
    const std::string longest(511, 'y');
    struct {
        std::string text;
        uint32_t limit;
        Lines lines;
    } const rows[] = {
        {"^X1\r\n^X2\r\n^X3", 10, {"^X1\r\n", "^X2\r\n", "^X3"}},
        {"^X1^X2^X3", 2, {"^X1", "^X2"}},
        {"^X1^X2", 0, {}},
        {"", 5, {}},
        {"none", 5, {"none"}},
        {"\r\n^X1", 5, {"\r\n", "^X1"}},
        {"^X^X", 5, {"^X", "^X"}},
        {longest + "z", 5, {longest}},
        {longest + "z^X", 5, {longest + "z", "^X"}},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(cut(row.text, row.limit), row.lines) << row.text;
    }
    EXPECT_EQ(cut("aXaXa", 9, "a"), (Lines{"aX", "aX", "a"}));
}

TEST(AtComm, NullArgumentsAndNoMemory) {
    char *lines[4] = {};
    uint32_t count = 4;
    EXPECT_EQ(get_substring(nullptr, lines, &count, "^X"), -1);
    EXPECT_EQ(get_substring("^X", nullptr, &count, "^X"), -1);
    EXPECT_EQ(get_substring("^X", lines, nullptr, "^X"), -1);
    EXPECT_EQ(get_substring("^X", lines, &count, nullptr), -1);
    reslease_substring(nullptr, 3);
    reslease_substring(lines, 4);
    int faults = for_each_fault(Fault::kFail, kAllocations, ENOMEM, [&] {
        count = 4;
        bool good = get_substring("^X1^X2^X3", lines, &count, "^X") == 0;
        EXPECT_EQ(count, good ? 3u : 0u);
        EXPECT_EQ(lines[0] != nullptr, good);
        reslease_substring(lines, count);
    });
    EXPECT_EQ(faults, 3);
}

}  // namespace
