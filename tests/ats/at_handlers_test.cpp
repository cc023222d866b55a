// The tables against a list typed apart from them.
#include "hearth/at_handlers.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct ExpectedRow {
    std::string key;
    std::string parsers;
    bool released = true;
    std::map<std::string, std::string> formats;
};

struct ExpectedTable {
    uint32_t number = 0;
    std::string name;
    std::vector<ExpectedRow> rows;
    int32_t end = 0;
};

std::string unescape(std::string text) {
    for (auto [escape, byte] : {std::pair{"\\r", "\r"}, {"\\n", "\n"}}) {
        for (size_t at = 0; (at = text.find(escape, at)) != std::string::npos;) {
            text.replace(at, 2, byte);
        }
    }
    return text;
}

std::vector<ExpectedTable> expected_tables() {
    std::ifstream file(HEARTH_SOURCE_DIR "/tests/ats/handlers.txt");
    std::vector<ExpectedTable> tables;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string word;
        if (!(words >> word) || word[0] == '#') {
            continue;
        }
        if (word == "table") {
            ExpectedTable &table = tables.emplace_back();
            words >> table.number >> table.name;
        } else if (word == "row") {
            ExpectedRow &row = tables.back().rows.emplace_back();
            std::string flag;
            words >> row.key >> row.parsers >> flag;
            row.released = flag != "unreleased";
        } else if (word == "end") {
            words >> tables.back().end;
        } else {
            std::string format = line.substr(line.find(word) + word.size() + 1);
            tables.back().rows.back().formats[word] = unescape(format);
        }
    }
    return tables;
}

char letter_of(at_parse_func parser) {
    static const std::map<at_parse_func, char> letters{
        {nullptr, '-'},           {parse_common_at_str, 'C'},         {parse_sms_cmgr_at_str, 'P'},
        {parse_soft_str, 'V'},    {parse_sms_index_list_at_str, 'I'}, {parse_cmgi_list_at_str, 'G'},
        {parse_sms_media, 'M'},   {parse_syscfg_at_str, 'Y'},         {parse_syscfgex_at_str, 'X'},
        {parse_cops_at_str, 'O'},
    };
    auto found = letters.find(parser);
    return found == letters.end() ? '?' : found->second;
}

ExpectedRow described(const at_cfg_handler &row) {
    ExpectedRow result{row.AtName,
                       {letter_of(row.parse_read_func), letter_of(row.parse_execute_func),
                        letter_of(row.parse_test_func), letter_of(row.parse_report_func)},
                       row.free_func == free_at_cmd,
                       {}};
    for (auto [action, format] : {std::pair{"read", row.read_format},
                                  {"execute", row.execute_format},
                                  {"test", row.test_format},
                                  {"report", row.report_format}}) {
        if (format != nullptr) {
            result.formats[action] = format;
        }
    }
    return result;
}

TEST(AtHandlers, EveryRowIsAsListed) {
    std::vector<ExpectedTable> tables = expected_tables();
    ASSERT_EQ(tables.size(), size_t{AT_TABLE_COUNT});
    for (uint32_t number = 0; number < tables.size(); ++number) {
        const ExpectedTable &table = tables[number];
        ASSERT_EQ(table.number, number);
        const at_cfg_handler *row = parse_func_type(number);
        EXPECT_EQ(row, dlsym(RTLD_DEFAULT, table.name.c_str())) << table.name;
        for (const ExpectedRow &expected : table.rows) {
            ASSERT_NE(row->AtName, nullptr) << table.name << " ends before " << expected.key;
            ExpectedRow actual = described(*row);
            EXPECT_EQ(actual.key, expected.key) << table.name;
            EXPECT_EQ(actual.parsers, expected.parsers) << table.name << " " << expected.key;
            EXPECT_EQ(actual.formats, expected.formats) << table.name << " " << expected.key;
            EXPECT_EQ(actual.released, expected.released) << table.name << " " << expected.key;
            EXPECT_TRUE(expected.released || row->free_func == nullptr);
            EXPECT_EQ(row->func_type, static_cast<int32_t>(number)) << expected.key;
            ++row;
        }
        ASSERT_EQ(row->AtName, nullptr) << table.name << " goes on with " << row->AtName;
        EXPECT_EQ(row->func_type, table.end) << table.name;
        EXPECT_EQ(row->free_func, nullptr) << table.name;
        at_cfg_handler end = *row;
        end.AtName = "";
        EXPECT_EQ(described(end).parsers, "----") << table.name;
        EXPECT_TRUE(described(end).formats.empty()) << table.name;
    }
}

TEST(AtHandlers, NumbersBeyondTheLastHaveNoTable) {
    EXPECT_EQ(parse_func_type(37), cgdcont_cfg_handlers);
    for (uint32_t number : {38u, 39u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(parse_func_type(number), nullptr) << number;
    }
}

}  // namespace
