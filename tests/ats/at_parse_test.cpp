#include "hearth/at_parse.h"

#include <gtest/gtest.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "hearth/at_handlers.h"
#include "hearth/at_utils.h"
#include "support/faults.h"
#include "support/log_capture.h"

namespace {

using hearth::test::Fault;
using hearth::test::LogCapture;

std::string escape(const std::string &text) {
    std::string result;
    for (char c : text) {
        result += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
    }
    return result;
}

std::string unescape(std::string text) {
    for (auto [escape, byte] : {std::pair{"\\r", "\r"}, {"\\n", "\n"}}) {
        for (size_t at = 0; (at = text.find(escape, at)) != std::string::npos;) {
            text.replace(at, 2, byte);
        }
    }
    return text;
}

// A line for each chain: NAME=VALUE of its nodes, - for null.
std::string described(const at_parse_result *list) {
    std::string result;
    for (const at_parse_result *group = list; group != nullptr; group = group->next_group) {
        for (const at_parse_result *node = group; node != nullptr; node = node->next_field) {
            result += node == group ? "" : " ";
            result += node->AtFieldName != nullptr ? node->AtFieldName : "-";
            result += "=";
            result +=
                node->AtFieldValue != nullptr ? "\"" + escape(node->AtFieldValue) + "\"" : "-";
        }
        result += "\n";
    }
    return result;
}

// A result list of the test's, and a text of exact size, so that a sanitizer sees any step beyond.
struct List {
    at_parse_result *head = nullptr;
    ~List() { free_at_cmd(head); }
};

struct Text {
    explicit Text(const std::string &text) : bytes(new char[text.size() + 1]) {
        strcpy(bytes.get(), text.c_str());
    }
    std::unique_ptr<char[]> bytes;
    char *get() { return bytes.get(); }
};

struct Reply {
    std::string where;
    uint32_t table = 0;
    std::string key;
    uint32_t action = 0;
    std::string text;
    std::string after;
    bool changes = false;
    int32_t code = 0;
    std::string list;
};

void read_reply_line(Reply &reply, const std::string &line) {
    std::string word = line.substr(0, line.find(' '));
    std::string rest = line.size() > word.size() ? line.substr(word.size() + 1) : "";
    if (word == "parse") {
        std::istringstream(rest) >> reply.table >> reply.key >> reply.action;
    } else if (word == "text") {
        reply.text = unescape(rest);
    } else if (word == "after") {
        reply.after = unescape(rest);
        reply.changes = true;
    } else if (word == "code") {
        reply.code = std::stoi(rest);
    } else {
        reply.list += line + "\n";
    }
}

std::vector<Reply> replies() {
    std::vector<Reply> all;
    for (const auto &entry :
         std::filesystem::directory_iterator(HEARTH_SOURCE_DIR "/tests/ats/replies")) {
        std::ifstream file(entry.path());
        int number = 0;
        for (std::string line; std::getline(file, line);) {
            ++number;
            if (line.empty() || line[0] == '#') {
                continue;
            }
            if (line.starts_with("parse ")) {
                all.emplace_back().where =
                    entry.path().filename().string() + ":" + std::to_string(number);
            }
            read_reply_line(all.back(), line);
        }
    }
    EXPECT_GT(all.size(), 100u);
    return all;
}

TEST(AtParse, RecordedRepliesGiveTheirFields) {
    for (const Reply &reply : replies()) {
        SCOPED_TRACE(reply.where);
        Text text(reply.text);
        List list;
        EXPECT_EQ(
            at_cmd_parse(&list.head, reply.key.c_str(), text.get(), reply.table, reply.action),
            reply.code);
        EXPECT_EQ(described(list.head), reply.list);
        if (reply.changes) {
            EXPECT_EQ(escape(text.get()), escape(reply.after));
        }
    }
}

// Each allocation of each reply in turn; a leak or a second free shows under AddressSanitizer.
TEST(AtParse, NoMemoryLeavesNothingBehind) {
    for (const Reply &reply : replies()) {
        SCOPED_TRACE(reply.where);
        bool one_code = reply.key.starts_with("^SYSCFG") || reply.key == "+CPMS";
        bool index_list = reply.list.starts_with("index_0");
        std::vector<std::pair<int32_t, std::string>> outcomes;
        int failures =
            hearth::test::for_each_fault(Fault::kFail, hearth::test::kAllocations, ENOMEM, [&] {
                Text text(reply.text);
                List list;
                int32_t code = at_cmd_parse(&list.head, reply.key.c_str(), text.get(), reply.table,
                                            reply.action);
                outcomes.emplace_back(code, described(list.head));
            });
        ASSERT_EQ(outcomes.size(), static_cast<size_t>(failures) + 1);
        EXPECT_EQ(outcomes.back(), std::pair(reply.code, reply.list));
        outcomes.pop_back();
        for (const auto &[code, list] : outcomes) {
            EXPECT_EQ(list, "");
            bool expected = code == AT_RETURN_MALLOC_ERR ||
                            (one_code && code == AT_PARSE_MISMATCH) ||
                            (index_list && code == AT_PARSE_OK);
            EXPECT_TRUE(expected) << code;
        }
    }
}

using Parser = int32_t (*)(at_parse_result **, const char *, char *, const char *);

TEST(AtParse, NullArgumentsHaveTheirCodes) {
    // The codes for a null in place of result, format, text and name.
    struct Case {
        Parser parser;
        const char *format;
        const char *text;
        int32_t codes[4];
    };
    const Case cases[] = {
        {parse_common_at_str, "K:a", "K:1", {-2, -1, -2, -2}},
        {parse_soft_str, "K.a", "K.1", {-2, -1, -2, -2}},
        {parse_sms_cmgr_at_str, "K:a\r\nb", "K:1\r\n2", {-2, -2, -2, -2}},
        {parse_cmgi_list_at_str, "K:a", "K:1", {-2, -1, -2, -2}},
        {parse_sms_index_list_at_str, "K:a", "K:(1),(2)", {-2, -1, -2, -2}},
        {parse_operator_list, "a", "(1)", {-1, -1, -1, -1}},
        {parse_cops_at_str, "K:(a),,(b),(c)", "K:(1),,(2),(3)", {-2, -1, -2, -2}},
        {parse_band_at_str, "a", "(1)", {-2, -2, -2, -2}},
        {parse_syscfg_at_str, "(a),(b),((c))", "K(1),(2),((3))", {-2, -2, -2, -2}},
        {parse_syscfgex_at_str, "(a),((b))", "K(1),((2))", {-2, -2, -2, -2}},
        {parse_sms_media, "(a)", "K(1)", {-2, -2, -2, -2}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        for (int missing = 0; missing <= 4; ++missing) {
            Text text(c.text);
            List list;
            int32_t code =
                c.parser(missing == 0 ? nullptr : &list.head, missing == 1 ? nullptr : c.format,
                         missing == 2 ? nullptr : text.get(), missing == 3 ? nullptr : "K");
            EXPECT_EQ(code, missing == 4 ? 0 : c.codes[missing]) << missing;
            EXPECT_EQ(list.head != nullptr, missing == 4) << missing;
        }
    }

    List list;
    char text[] = "K:1";
    char *fields[1];
    uint32_t count = 0;
    EXPECT_EQ(at_cmd_parse(&list.head, nullptr, nullptr, 1, 0), -1);
    EXPECT_EQ(at_cmd_parse(&list.head, "+CREG", nullptr, 1, 0), -2);
    EXPECT_EQ(at_cmd_parse(nullptr, "+CREG", text, 1, 0), -2);
    EXPECT_EQ(parse_final_result(nullptr, text), -2);
    EXPECT_EQ(parse_final_result(&list.head, nullptr), -2);
    EXPECT_EQ(parse_field(nullptr, "a", "1", ","), -1);
    EXPECT_EQ(parse_field(&list.head, nullptr, "1", ","), -1);
    EXPECT_EQ(parse_field(&list.head, "a", nullptr, ","), -1);
    EXPECT_EQ(parse_field(&list.head, "a", "1", nullptr), -1);
    EXPECT_EQ(parse_many_field(nullptr, nullptr, nullptr, ","), -1);
    EXPECT_EQ(parse_many_field(nullptr, "a", nullptr, ","), -2);
    EXPECT_EQ(parse_many_field(&list.head, "a", "1", nullptr), -2);
    EXPECT_EQ(at_const_parse(nullptr, "a", ",", &count), -1);
    EXPECT_EQ(at_const_parse(fields, nullptr, ",", &count), -1);
    EXPECT_EQ(at_const_parse(fields, "a", nullptr, &count), -1);
    EXPECT_EQ(at_const_parse(fields, "a", ",", nullptr), -1);
    EXPECT_EQ(parse_sequence(nullptr, "", text), -2);
    EXPECT_EQ(parse_sequence(&list.head, nullptr, text), -2);
    EXPECT_EQ(parse_sequence(&list.head, "", nullptr), -2);
    EXPECT_EQ(list.head, nullptr);
    free_at_cmd(nullptr);
    free_cops_link(nullptr);
    free_at_res_link(nullptr);
    free_at_res_tree(nullptr);
    free_node(nullptr);
}

TEST(AtParse, FieldsLoseBlanksThenQuotes) {
    struct Case {
        const char *text;
        std::vector<std::string> fields;
    };
    const Case cases[] = {
        {"", {}},
        {",", {""}},
        {"a,b,", {"a", "b"}},
        {"a,,b", {"a", "", "b"}},
        {"\"a,b\",c", {"a,b", "c"}},
        {" \" a \" ,b ", {" a ", "b"}},
        {"\" a", {" a"}},
        {"\"\"a\"\"", {"a"}},
        {"a\"b,c", {"a\"b,c"}},
        {"\" \"", {" "}},
        {"   ", {""}},
        {"a:b,c", {"a:b", "c"}},
        {"\ta\r\n,b", {"\ta\r\n", "b"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        // The separator given makes no difference.
        for (const char *separator : {",", ":"}) {
            std::vector<char *> fields(count_separator(c.text, ",") + 1);
            uint32_t count = 99;
            EXPECT_EQ(at_const_parse(fields.data(), c.text, separator, &count), 0);
            std::vector<std::string> actual;
            for (uint32_t i = 0; i < count; ++i) {
                actual.push_back(fields[i]);
                free(fields[i]);
            }
            EXPECT_EQ(actual, c.fields);
        }
    }
}

TEST(AtParse, ATokeniserWithoutMemoryKeepsNoField) {
    EXPECT_EQ(hearth::test::for_each_fault(
                  Fault::kFail, hearth::test::kAllocations, ENOMEM,
                  [calls = 0]() mutable {
                      char *fields[3]{};
                      uint32_t count = 99;
                      bool fails = ++calls <= 3;
                      EXPECT_EQ(at_const_parse(fields, "a,b,c", ",", &count), fails ? -5 : 0);
                      EXPECT_EQ(count, fails ? 0u : 3u);
                      for (char *field : fields) {
                          EXPECT_EQ(field == nullptr, fails);
                          free(field);
                      }
                  }),
              3);
}

TEST(AtParse, AChainTakesItsStringsOverOrLeavesThem) {
    LogCapture log;
    EXPECT_EQ(GreatLinkList_AT(nullptr, nullptr, 1), nullptr);
    char *unused[1] = {};
    EXPECT_EQ(GreatLinkList_AT(unused, nullptr, 1), nullptr);
    EXPECT_EQ(GreatLinkList_AT(unused, unused, 0), nullptr);
    EXPECT_EQ(log.texts(),
              (std::vector<std::string>(2, "2 the mode_name or mode_value is NULL\n ")));
    log.clear();
    int calls = 0;
    hearth::test::for_each_fault(Fault::kFail, hearth::test::kAllocations, ENOMEM, [&] {
        char *names[] = {strdup("a"), nullptr, strdup("c")};
        char *values[] = {strdup("1"), strdup("2"), nullptr};
        List list;
        list.head = GreatLinkList_AT(names, values, 3);
        if (++calls <= 3) {
            EXPECT_EQ(list.head, nullptr);
            for (int i = 0; i < 3; ++i) {
                bool taken = i < calls - 1;
                EXPECT_TRUE(!taken || (names[i] == nullptr && values[i] == nullptr));
                free(names[i]);
                free(values[i]);
            }
        } else {
            EXPECT_EQ(described(list.head), "a=\"1\" -=\"2\" c=-\n");
        }
    });
    EXPECT_EQ(calls, 4);
    ASSERT_EQ(log.lines().size(), 3u);
    EXPECT_EQ(log.lines()[0].level, 8u);
    EXPECT_TRUE(log.lines()[0].text.ends_with("] GreatLinkList_AT: malloc failed\n"));
}

std::string numbered(uint32_t count) {
    std::string text = "0";
    for (uint32_t i = 1; i < count; ++i) {
        text += "," + std::to_string(i);
    }
    return text;
}

TEST(AtParse, LongLinesGiveTheSameList) {
    LogCapture log;
    for (uint32_t count : {127u, 128u, 129u, 1000u}) {
        SCOPED_TRACE(count);
        Text text("+CREG:" + numbered(count));
        List list;
        EXPECT_EQ(at_cmd_parse(&list.head, "+CREG", text.get(), 1, 0), 0);
        uint32_t position = 0;
        const char *names[] = {"n", "stat", "lac", "ci"};
        for (at_parse_result *node = list.head; node != nullptr; node = node->next_field) {
            EXPECT_STREQ(node->AtFieldName, position < 4 ? names[position] : nullptr);
            EXPECT_EQ(safe_atoi(node->AtFieldValue), static_cast<int32_t>(position));
            ++position;
        }
        EXPECT_EQ(position, count);
    }
    std::string many = "8  enter parse_many_field pid = " + std::to_string(getpid()) + "\n";
    std::vector<std::string> texts = log.texts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), many), 2);

    // Its own limit holds for whoever calls it, on either side.
    std::string longest = numbered(AT_PARSE_FIELDS);
    std::string longer = numbered(AT_PARSE_FIELDS + 1);
    List list;
    EXPECT_EQ(parse_field(&list.head, "a", longer.c_str(), ","), -2);
    EXPECT_EQ(parse_field(&list.head, longer.c_str(), "a", ","), -2);
    EXPECT_EQ(list.head, nullptr);
    EXPECT_EQ(parse_field(&list.head, "a", longest.c_str(), ","), 0);

    // A comma within quotes that open in front of the fields.
    Text text("+CREG\" :" + longer);
    List none;
    EXPECT_EQ(at_cmd_parse(&none.head, "+CREG", text.get(), 1, 0), -2);
    EXPECT_EQ(none.head, nullptr);
}

TEST(AtParse, ASeparatorThatIsNoCommaOnlySetsTheLength) {
    for (auto parse : {parse_field, parse_many_field}) {
        List list;
        EXPECT_EQ(parse(&list.head, "a,b,c", "1:2,3,4,5", ":"), 0);
        EXPECT_EQ(described(list.head), "a=\"1:2\" b=\"3\"\n");
    }
}

TEST(AtParse, IndexListsOfAnyLengthHaveTheirNames) {
    Text text("^CMGI:" + numbered(1200));
    List list;
    ASSERT_EQ(at_cmd_parse(&list.head, "^CMGI", text.get(), 3, 1), 0);
    const at_parse_result *last = list.head;
    while (last->next_field != nullptr) {
        last = last->next_field;
    }
    EXPECT_STREQ(last->AtFieldName, "index_1199");
    EXPECT_STREQ(last->AtFieldValue, "1199");
}

TEST(AtParse, RangesBecomeTheirNumbers) {
    struct Case {
        const char *text;
        int32_t code;
        const char *list;
    };
    const Case cases[] = {
        {"1-3", 0, "-=\"1\" -=\"2\" -=\"3\"\n"},
        {" 7 - 7 ", 0, "-=\"7\"\n"},
        {"3-1", 0, ""},
        {"-2", 0, "-=\"0\" -=\"1\" -=\"2\"\n"},
        {"1-", 0, ""},
        {"1--1", 0, ""},
        {"a-1b", 0, "-=\"0\" -=\"1\"\n"},
        {"2147483647-2147483647", 0, "-=\"2147483647\"\n"},
        {"12", -2, ""},
        {"0-65536", -2, ""},
        {"0-2147483647", -2, ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        Text text(c.text);
        List list;
        EXPECT_EQ(parse_sequence(&list.head, "", text.get()), c.code);
        EXPECT_EQ(described(list.head), c.list);
    }
}

TEST(AtParse, GroupsAreFoundAnywhereInAList) {
    struct Case {
        const char *format;
        const char *text;
        const char *bands;
        const char *operators;
    };
    const Case cases[] = {
        {"(a,b)", "(1,2)", "g=- a=\"1\" b=\"2\"\n", "g=- a=\"1\" b=\"2\"\n"},
        {" ( a ) ", "x(1)y", "g=- a=\"1\"\n", "g=- a=\"x(1\"\n"},
        {"a", "(1),(2),(3)", "g=- a=\"1\"\ng=- a=\"2\"\ng=- a=\"3\"\n",
         "g=- a=\"1\"\ng=- a=\"2\"\ng=- a=\"3\"\n"},
        {"a", "", "", ""},
        {"a", "(1", "", ""},
        {"a", "1)", "", "g=- a=\"1\"\n"},
        {"a", ")))", "", "g=- a=-\ng=- a=-\ng=- a=-\n"},
        {"a", "(\")\",1)", "g=- a=\"\"\n", "g=- a=\")\" -=\"1\"\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        List bands;
        List operators;
        Text first(c.text);
        EXPECT_EQ(parse_band_at_str(&bands.head, c.format, first.get(), "g"), 0);
        EXPECT_EQ(described(bands.head), c.bands);
        Text second(c.text);
        EXPECT_EQ(parse_operator_list(&operators.head, c.format, second.get(), "g"), 0);
        EXPECT_EQ(described(operators.head), c.operators);
    }
    // A group of too many fields fails and releases the groups in front of it.
    Text text("(1),(" + numbered(AT_PARSE_FIELDS + 1) + ")");
    List list;
    EXPECT_EQ(parse_band_at_str(&list.head, "a", text.get(), "g"), -2);
    EXPECT_EQ(list.head, nullptr);
}

TEST(AtParse, FormatsAreUsedUpToTheirBuffers) {
    // Buffer sizes less the terminator; the name that crosses the end is cut there.
    struct Case {
        Parser parser;
        const char *text;
        size_t used;
        const char *before;
        const char *behind;
    };
    const Case cases[] = {
        {parse_sms_cmgr_at_str, "K:1\r\n2", 49, "K:a\r\n", ""},
        {parse_operator_list, "(1)", 49, "", ""},
        {parse_band_at_str, "(1)", 127, "", ""},
        {parse_sms_media, "K(1)", 63, "(a)", ""},
        {parse_cops_at_str, "K:,,(1),(2)", 149, "K:,,(a),(", ")"},
        {parse_syscfg_at_str, "K(1),(2),((3))", 149, "(a),(b),((c))", ""},
        {parse_syscfgex_at_str, "K(1),((2))", 149, "(a),((b))", ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.used);
        std::string format = c.before + std::string(400, 'x') + c.behind;
        Text text(c.text);
        List list;
        EXPECT_EQ(c.parser(&list.head, format.c_str(), text.get(), "K"), 0);
        EXPECT_NE(list.head, nullptr);
        size_t longest = 0;
        std::istringstream words(described(list.head));
        for (std::string word; words >> word;) {
            longest =
                std::max(longest, static_cast<size_t>(std::count(word.begin(), word.end(), 'x')));
        }
        EXPECT_LE(longest, c.used - strlen(c.before));
    }
}

TEST(AtParse, EveryFinalResultFails) {
    for (const char *const *entry = at_parse_final_result; *entry != nullptr; ++entry) {
        List list;
        EXPECT_EQ(parse_final_result(&list.head, *entry), -1) << *entry;
        EXPECT_EQ(list.head, nullptr);
    }
    List list;
    EXPECT_EQ(parse_final_result(&list.head, "+CME ERROR: 10,20"), -1);
    EXPECT_EQ(parse_final_result(&list.head, ""), -1);
}

TEST(AtParse, LogLines) {
    std::string pid = std::to_string(getpid());
    struct Case {
        const char *key;
        uint32_t action;
        const char *text;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {"+CREG", 0, "+CREG: 1,2", {"8 at_cmd_parse AtName=+CREG and  parse_read_func ret=0\n"}},
        {"+CREG", 1, "+CREG: 1,2", {}},
        {"+CREG",
         0,
         "+CME ERROR: 10",
         {"8  not find the at name pid = " + pid + "\n",
          "8 at_cmd_parse AtName=+CREG and  parse_read_func ret=-1\n"}},
        {"+COPS",
         2,
         "+COPS: (1),,(2),(3)",
         {"8 pid = " + pid + ", the parse operator list ret = 0 \n"}},
        {"^SYSCFGEX",
         2,
         "^SYSCFGEX:(1),((2)),((3))",
         {"8 parse_syscfgex_at_str bandlist success.(begin_value=(2))\n",
          "8 parse_syscfgex_at_str LTEbandlist success.(begin_value=(3))\n"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        LogCapture log;
        Text text(c.text);
        List list;
        at_cmd_parse(&list.head, c.key, text.get(), 1, c.action);
        std::vector<std::string> expected = c.lines;
        expected.insert(expected.begin(), std::string("8 at_cmd_parse AtName=") + c.key + "\n");
        EXPECT_EQ(log.texts(), expected);
        EXPECT_EQ(log.lines()[0].module, "ats");
        EXPECT_EQ(log.lines()[0].file, "ats/atapi/at_parse");
    }
    LogCapture log;
    char text[] = "K.1";
    EXPECT_EQ(parse_soft_str(nullptr, "a.b", text, "K"), -2);
    EXPECT_EQ(parse_many_field(nullptr, "a", "1", ","), -2);
    EXPECT_EQ(log.texts(), (std::vector<std::string>{"2 parse_soft_str:error,result is NULL \n",
                                                     "2 THE result is NULL.\n"}));
}

TEST(AtParse, EveryListGoesBackByItsOwnFree) {
    Text text("(1,2),(3)");
    at_parse_result *groups = nullptr;
    ASSERT_EQ(parse_band_at_str(&groups, "a,b", text.get(), "g"), 0);
    EXPECT_EQ(print_operator(groups), 0);
    at_parse_result *second = groups->next_group;
    free_at_res_link(groups);
    free_cops_link(second);

    at_parse_result *chain = nullptr;
    std::string many = numbered(100000);
    ASSERT_EQ(parse_many_field(&chain, "a", many.c_str(), ","), 0);
    EXPECT_EQ(print_operator(chain), 0);
    free_at_res_tree(chain);
    EXPECT_EQ(print_operator(nullptr), 0);
}

// Hostile texts through every parser of every table: the outcome is a code and a list or none.
TEST(AtParse, HostileTextsThroughEveryRow) {
    const std::string bodies[] = {
        std::string(1490, ','),
        std::string(1490, '"'),
        std::string(1490, '('),
        std::string(1490, ')'),
        ":" + std::string(745, '(') + std::string(745, ')'),
        ":(),(-),(()),,()",
        ":\"(\",\")\",(\"),,((\"))",
        ":,,)",
        ":(1),(2),((",
        ":(1),(2),(",
        ".",
        ":\r\n",
        ":)),((,,))((",
    };
    for (uint32_t table = 0; table < AT_TABLE_COUNT; ++table) {
        for (const at_cfg_handler *row = parse_func_type(table); row->AtName != nullptr; ++row) {
            for (const std::string &body : bodies) {
                for (uint32_t action = 0; action < 4; ++action) {
                    Text text(row->AtName + body);
                    List list;
                    int32_t code = at_cmd_parse(&list.head, row->AtName, text.get(), table, action);
                    EXPECT_TRUE(code <= 0 && code >= -5);
                    EXPECT_TRUE(code == 0 || list.head == nullptr) << row->AtName << body;
                }
            }
        }
    }
}

}  // namespace
