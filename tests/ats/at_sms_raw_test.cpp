#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "hearth/at_sms.h"
#include "support/at_member.h"
#include "support/log_capture.h"

using namespace hearth::test;
using namespace std::string_literals;

namespace {

constexpr const char *kSource = "ats/atapi/at_sms";

constexpr auto kNoError = static_cast<uint32_t>(AT_ERR_NONE);
const std::string kFields = "\"+15550100\",2026,11,23,1,2,3,5,6,LENGTH,7,8,9,1";

std::string raw_reply(const std::string &length, const std::string &body) {
    std::string fields = kFields;
    return "^HCMGR: " + fields.replace(fields.find("LENGTH"), 6, length) + "\r\n" + body;
}

// The command is text up to its CR; the body stands behind it whole.
void expect_body(const at_server_msg &message, const std::string &head, const Sent &sent,
                 const uint8_t *body, size_t size) {
    std::string expected(sizeof message.report, '\0');
    expected.replace(0, head.size(), head);
    expected.replace(head.size(), size, reinterpret_cast<const char *>(body), size);
    EXPECT_EQ(std::string(message.report, sizeof message.report), expected);
    at_server_msg rest = message;
    memset(rest.report, 0, sizeof rest.report);
    expect_sent(rest, sent);
}

template <size_t N>
void fill_body(uint8_t (&body)[N]) {
    for (size_t i = 0; i < N; i++) {
        body[i] = static_cast<uint8_t>(i);
    }
}

TEST(AtSmsRaw, Send) {
    at_hcmgs_req request{"+15550100", 7, {}};
    fill_body(request.body);
    AtStandIn modem;
    struct {
        AtStandIn::Answer answer;
        int32_t result;
        uint32_t err;
        std::vector<std::string> lines;
    } const rows[] = {
        {{AT_RET_SUCCESS, "OK"}, 0, kNoError, {}},
        {{AT_RET_ERROR, "+CME ERROR: 11"}, -1, 99, {"2 get hcmgs at error command\n"}},
        {{AT_RET_REFUSED, "+CMS ERROR: 311"}, -1, 99, {"2 get hcmgs at error command\n"}},
        {{AT_RET_FAILURE, ""}, -1, 99, {"2 get hcmgs at error command\n"}},
        {{0, "", 3}, 3, 99, {"2 execute at^hcmgs command error\n"}},
    };
    for (const auto &row : rows) {
        LogCapture log;
        modem.answer({row.answer});
        uint32_t err = 99;
        EXPECT_EQ(AT_Hcmgs(&request, &err), row.result);
        EXPECT_EQ(err, row.err);
        std::vector<std::string> lines = {"16 [AT_Hcmgs]enter...\n", "16 [AT_Hcmgs]Test...\n"};
        lines.insert(lines.end(), row.lines.begin(), row.lines.end());
        EXPECT_EQ(log.texts(kSource), lines);
        expect_body(modem.requests()[0], "AT^HCMGS=\"+15550100\",7\r", {}, request.body, 256);
    }
    uint32_t err = 0;
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Hcmgs(nullptr, &err), -1);
    EXPECT_EQ(AT_Hcmgs(&request, nullptr), -1);
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtSmsRaw, Store) {
    at_hcmgw_req request{{65535, 2, 3, 4, 5, 6, 7}, {8, 9, 10, 11, 255}, "+15550100", {}};
    fill_body(request.body);
    AtStandIn modem;
    struct {
        AtStandIn::Answer answer;
        int32_t result;
        at_sms_rsp expected;
        std::vector<std::string> lines;
    } const rows[] = {
        {{AT_RET_SUCCESS, "^HCMGW: 12"}, 0, {12, kNoError}, {}},
        {{AT_RET_SUCCESS, "OK"}, -1, {1, kNoError}, {"2 at_cmd_parse hcmgw command failed!\n"}},
        {{AT_RET_ERROR, "+CME ERROR: 11"}, -1, {1, 99}, {"2 get cmgw at error command\n"}},
        {{AT_RET_FAILURE, ""}, -1, {1, 99}, {"2 get cmgw at error command\n"}},
        {{0, "", 3}, 3, {1, 99}, {"2 execute at^hcmgw command error\n"}},
    };
    for (const auto &row : rows) {
        LogCapture log;
        modem.answer({row.answer});
        at_sms_rsp out{1, 99};
        EXPECT_EQ(AT_Hcmgw(&request, &out), row.result);
        EXPECT_EQ(out.value, row.expected.value);
        EXPECT_EQ(out.err, row.expected.err);
        std::vector<std::string> lines = {"16 [AT_Hcmgw] enter... \n"};
        lines.insert(lines.end(), row.lines.begin(), row.lines.end());
        lines.push_back("16 [AT_Hcmgw] enter... \n");
        EXPECT_EQ(log.texts(kSource), lines);
        expect_body(modem.requests()[0], "AT^HCMGW=\"+15550100\",65535,2,3,4,5,6,7,8,9,10,11,255\r",
                    {.match = "^HCMGW:"}, request.body, 162);
    }
    LogCapture log;
    at_sms_rsp out{};
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Hcmgw(nullptr, &out), -1);
    EXPECT_EQ(AT_Hcmgw(&request, nullptr), -1);
    EXPECT_EQ(log.texts(kSource)[1], "2 [AT_Hcmgw] para is NULL,return \n");
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtSmsRaw, Settings) {
    at_hsmsss_req request{{1, 2, 3, 4}};
    AtStandIn modem;
    check_member(
        modem, MemberCase<uint32_t>{.name = "AT_Hsmsss",
                                    .call = [&](uint32_t *err) { return AT_Hsmsss(&request, err); },
                                    .sent = {.command = "AT^HSMSSS=1,2,3,4"},
                                    .reply = "OK",
                                    .expected = kNoError,
                                    .refusal = OnRefusal::kMap,
                                    .err = 0,
                                    .parses = false});
    uint32_t err = 0;
    EXPECT_EQ(AT_Hsmsss(nullptr, &err), -1);
}

TEST(AtSmsRaw, Read) {
    const std::string body = "A\r\nB\0C,\":"s;
    AtStandIn modem;
    LogCapture log;
    modem.answer({{AT_RET_SUCCESS, raw_reply("9", body)}});
    at_hcmgr_req request{4, 1};
    at_hcmgr_msg record{};
    memset(record.body, 0xEE, sizeof record.body);
    EXPECT_EQ(AT_Hcmgr(&request, &record), 0);
    expect_sent(modem.requests()[0], {.command = "AT^HCMGR=4,1", .match = "^HCMGR:"});
    at_hcmgr_msg expected{2026, 11, 23, 1, 2, 3, 5, 6, 9, 7, 8, 9, 1, "+15550100", {}, kNoError};
    memset(expected.body, 0xEE, sizeof expected.body);
    memcpy(expected.body, (body + '\0').data(), body.size() + 1);
    EXPECT_EQ(memcmp(&record, &expected, offsetof(at_hcmgr_msg, callerID)), 0);
    EXPECT_STREQ(record.callerID, expected.callerID);
    EXPECT_EQ(memcmp(record.body, expected.body, sizeof record.body), 0);
    EXPECT_EQ(record.err, kNoError);
    EXPECT_EQ(log.texts(kSource),
              (std::vector<std::string>{"16 [AT_Hcmgr] Rsp->length = 9\n", "16 [AT_Hcmgr]end.\n"}));
}

// Whatever the modem says of the length, the record holds what it has room for.
TEST(AtSmsRaw, BodyKeepsToItsField) {
    struct {
        std::string length, body;
        uint16_t stored;
        std::string start;
    } const rows[] = {
        {"162", std::string(162, 'b'), 162, std::string(162, 'b')},
        {"163", std::string(300, 'b'), 162, std::string(162, 'b')},
        {"65535", std::string(300, 'b'), 162, std::string(162, 'b')},
        {"-1", std::string(300, 'b'), 162, std::string(162, 'b')},
        {"161", std::string(300, 'b'), 161, std::string(161, 'b') + '\0'},
        // Less than it says.
        {"162", "short", 162, "short" + std::string(157, '\0')},
        {"", "short", 0, "\0"s + std::string(161, 'x')},
    };
    AtStandIn modem;
    at_hcmgr_req request{4, 1};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.length);
        modem.answer({{AT_RET_SUCCESS, raw_reply(row.length, row.body)}});
        at_hcmgr_msg record{};
        memset(record.body, 'x', sizeof record.body);
        EXPECT_EQ(AT_Hcmgr(&request, &record), 0);
        EXPECT_EQ(record.length, row.stored);
        EXPECT_EQ(std::string(reinterpret_cast<char *>(record.body), row.start.size()), row.start);
        EXPECT_EQ(record.err, kNoError);
    }
    // A body that begins at the end of the message, and a long name of the sender.
    std::string filler(1400, '7');
    std::string reply = "^HCMGR: \"" + filler + "\",1,1,1,1,1,1,1,1,162,1,1,1,1\r\n";
    reply.resize(1499, 'b');
    modem.answer({{AT_RET_SUCCESS, reply}});
    at_hcmgr_msg record{};
    EXPECT_EQ(AT_Hcmgr(&request, &record), 0);
    EXPECT_EQ(record.callerID, std::string(21, '7'));
    size_t came = 1499 - reply.find('b');
    EXPECT_EQ(std::string(reinterpret_cast<char *>(record.body), 162),
              std::string(came, 'b') + std::string(162 - came, '\0'));
}

TEST(AtSmsRaw, ReadFailures) {
    struct {
        AtStandIn::Answer answer;
        uint32_t err;
        const char *line;
    } const rows[] = {
        {{0, "", -1}, 99, "2 execute at^hcmgr command error\n"},
        // Any other result of the channel goes on, with an empty reply.
        {{0, "", 3}, 99, "2 hcmgr_first_line not find : [\\r\\n]\n"},
        // The line end is looked for before the result.
        {{AT_RET_ERROR, "+CME ERROR: 11"}, 99, "2 hcmgr_first_line not find : [\\r\\n]\n"},
        {{AT_RET_ERROR, "+CME ERROR: 11\r\n"}, 99, "2 get hcmgr at error command\n"},
        {{AT_RET_SUCCESS, "OK\r\n"}, kNoError, "2 at_cmd_parse hcmgr command failed!\n"},
    };
    AtStandIn modem;
    at_hcmgr_req request{4, 1};
    for (const auto &row : rows) {
        LogCapture log;
        modem.answer({row.answer});
        at_hcmgr_msg record{};
        record.err = 99;
        EXPECT_EQ(AT_Hcmgr(&request, &record), -1);
        EXPECT_EQ(record.err, row.err);
        EXPECT_EQ(log.texts(kSource), std::vector<std::string>{row.line});
    }
    LogCapture log;
    at_hcmgr_msg record{};
    modem.answer({{AT_RET_SUCCESS, raw_reply("1", "b")}});
    EXPECT_EQ(AT_Hcmgr(nullptr, &record), -1);
    EXPECT_EQ(AT_Hcmgr(&request, nullptr), -1);
    EXPECT_TRUE(modem.requests().empty());
    EXPECT_EQ(log.texts(kSource),
              std::vector<std::string>(2, "2 [AT_Hcmgr]para is NULL, return!\n"));
}

TEST(AtSmsRaw, BodyOfAReply) {
    struct {
        const char *text;
        int32_t result;
        std::string body;
        std::vector<std::string> lines;
    } const rows[] = {
        {"^HCMGR: 1\r\nabc", 0, "abc"s + '\0', {}},
        {"a\r\nb: 1\r\nabc", 0, "abc"s + '\0', {}},
        {"no colon\r\nabc", -1, "????", {"2 hcmgr_msg_parse p_str1 not find : \r\n"}},
        {"\r\n^HCMGR: 1\nabc", -1, "????", {"2 hcmgr_msg_parse not find : \r\n"}},
        {nullptr, -1, "????", {"2 hcmgr_msg_parse para is null \n"}},
    };
    for (const auto &row : rows) {
        LogCapture log;
        uint8_t body[] = {'?', '?', '?', '?'};
        EXPECT_EQ(hcmgr_msg_parse(row.text, 3, body), row.result);
        EXPECT_EQ(std::string(reinterpret_cast<char *>(body), 4), row.body);
        EXPECT_EQ(log.texts(kSource), row.lines);
    }
    EXPECT_EQ(hcmgr_msg_parse("^HCMGR: 1\r\nabc", 3, nullptr), -1);
}

}  // namespace
