#include "hearth/at_sms.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstddef>
#include <string>
#include <vector>

#include "support/at_member.h"
#include "support/faults.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

constexpr const char *kSource = "ats/atapi/at_sms";

constexpr auto kNoError = static_cast<uint32_t>(AT_ERR_NONE);
constexpr auto kOther = static_cast<uint32_t>(AT_ERR_OTHER);
const std::string kPdu = "0011000B915155";

at_sms_pdu_req pdu_request(const std::string &pdu = kPdu) {
    at_sms_pdu_req request{23, 2, ""};
    memcpy(request.pdu, pdu.data(), pdu.size());
    return request;
}

TEST(AtSms, SendStoreRead) {
    AtStandIn modem;
    at_sms_pdu_req request = pdu_request();
    MemberCase<at_sms_rsp> row{
        .name = "AT_Cmgs",
        .call = [&](at_sms_rsp *r) { return AT_Cmgs(&request, r); },
        .sent = {.command = "AT+CMGS=23\r" + kPdu + "\x1a", .match = "+CMGS:"},
        .reply = "+CMGS: 42",
        .expected = {42, kNoError},
        .err = offsetof(at_sms_rsp, err),
        .err_before_list = true};
    check_member(modem, row);
    row.name = "AT_Cmgw";
    row.call = [&](at_sms_rsp *r) { return AT_Cmgw(&request, r); };
    row.sent = {.command = "AT+CMGW=23,2\r" + kPdu + "\x1a", .match = "+CMGW:"};
    row.reply = "+CMGW: 7";
    row.expected = {7, kNoError};
    check_member(modem, row);

    at_cmgr_msg read{5, 0, 0, "", 0};
    at_cmgr_msg done{5, 1, 26, "07915155", kNoError};
    check_member(modem, MemberCase<at_cmgr_msg>{.name = "AT_Cmgr",
                                                .call = AT_Cmgr,
                                                .sent = {.command = "AT+CMGR=5", .match = "+CMGR:"},
                                                .reply = "+CMGR: 1,,26\r\n07915155",
                                                .input = read,
                                                .expected = done,
                                                .err = offsetof(at_cmgr_msg, err),
                                                .err_before_list = true});
    EXPECT_EQ(AT_Cmgs(nullptr, &row.input), -1);
    EXPECT_EQ(AT_Cmgw(nullptr, &row.input), -1);
}

// A message that does not fit loses its end, and its end mark with it.
TEST(AtSms, LongMessagesAreCut) {
    AtStandIn modem;
    modem.answer({{AT_RET_SUCCESS, "+CMGS: 1"}});
    const std::string head = "AT+CMGS=23\r";
    at_sms_rsp reply{};
    for (size_t excess : {0, 1, 12}) {
        std::string pdu(638 - head.size() - 1 + excess, 'A');
        at_sms_pdu_req request = pdu_request(pdu);
        EXPECT_EQ(AT_Cmgs(&request, &reply), 0);
        std::string whole = head + pdu + "\x1a";
        EXPECT_EQ(modem.commands().back(), whole.substr(0, 638));
        EXPECT_EQ(modem.commands().back().back(), excess == 0 ? '\x1a' : 'A');
    }
}

TEST(AtSms, ReadKeepsToItsFields) {
    struct {
        std::string reply;
        uint16_t length;
        std::string pdu;
    } const rows[] = {
        {"+CMGR: 1,,26\r\n" + std::string(900, 'F'), 26, std::string(512, 'F')},
        {"+CMGR: 1,,abc\r\n00", 99, "00"},
        {"+CMGR: 1,, 65537\r\n00", 1, "00"},
        {"+CMGR: 1,\"Ada, home\",4\r\n00\r\n", 4, "00\r\n"},
        {"+CMGR: 1\r\n00", 99, ""},
    };
    AtStandIn modem;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.reply);
        modem.answer({{AT_RET_SUCCESS, row.reply}});
        at_cmgr_msg record{};
        record.length = 99;
        EXPECT_EQ(AT_Cmgr(&record), 0);
        EXPECT_EQ(record.length, row.length);
        EXPECT_EQ(record.pdu, row.pdu);
    }
}

TEST(AtSms, TextModeIsNotSupported) {
    LogCapture log;
    EXPECT_EQ(AT_Cmgs_Text(), -1);
    EXPECT_EQ(AT_Cmgw_Text(), -1);
    EXPECT_EQ(log.texts(kSource),
              (std::vector<std::string>{"4 AT_Cmgs_Text function is not support \n",
                                        "4 AT_Cmgw_Text function is not support \n"}));
}

TEST(AtSms, Delete) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_cmgd_req>{
                            .name = "AT_Cmgd set",
                            .call = [](at_cmgd_req *r) { return AT_Cmgd(1, r, nullptr); },
                            .sent = {.command = "AT+CMGD=3,4"},
                            .reply = "OK",
                            .input = {3, 4, 0},
                            .expected = {3, 4, kNoError},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_cmgd_req, err),
                            .parses = false});
    at_cmgd_req request{};
    at_cmgd_list list{};
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cmgd(2, &request, &list), -1);
    EXPECT_EQ(AT_Cmgd(0, &request, nullptr), -1);
    EXPECT_EQ(AT_Cmgd(1, nullptr, &list), -1);
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtSms, PlacesInUse) {
    std::string many;
    std::vector<uint32_t> all;
    for (uint32_t i = 0; i < 300; i++) {
        many += (i == 0 ? "" : ",") + std::to_string(i);
        all.push_back(i);
    }
    struct {
        AtStandIn::Answer answer;
        int32_t result;
        std::vector<uint32_t> indexes;
        uint32_t err;
    } const rows[] = {
        {{AT_RET_SUCCESS, "+CMGD: (1,2,13),(0-4)"}, 0, {1, 2, 13}, kNoError},
        {{AT_RET_SUCCESS, "+CMGD: ( 5 ),(0-4)"}, 0, {5}, kNoError},
        {{AT_RET_SUCCESS, "+CMGD: (),(0-4)"}, 0, {0}, kNoError},
        {{AT_RET_SUCCESS, "+CMGD: (" + many + "),(0-4)"}, 0, all, kNoError},
        {{AT_RET_SUCCESS, "+CMGD: (1,2,13"}, -1, {}, 99},
        {{AT_RET_ERROR, "+CME ERROR: 10"}, 0, {}, AT_ERR_SIM_FAILURE},
        {{AT_RET_REFUSED, "+CMS ERROR: 500"}, 0, {}, kOther},
        {{AT_RET_FAILURE, ""}, -1, {}, 99},
        {{0, "", 4}, 4, {}, 99},
    };
    AtStandIn modem;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.answer.report.substr(0, 30));
        modem.answer({row.answer});
        LogCapture log;
        uint32_t stale = 0;
        at_cmgd_list list{&stale, 1, 99};
        EXPECT_EQ(AT_Cmgd(0, nullptr, &list), row.result);
        expect_sent(modem.requests()[0], {.command = "AT+CMGD=?"});
        ASSERT_EQ(list.count, row.indexes.size());
        EXPECT_EQ(std::vector<uint32_t>(list.indexes, list.indexes + list.count), row.indexes);
        EXPECT_EQ(list.indexes == nullptr, row.indexes.empty());
        EXPECT_EQ(list.err, row.err);
        bool unparsed = row.answer.ret_val == AT_RET_SUCCESS && row.result == -1;
        EXPECT_EQ(log.texts(kSource),
                  unparsed ? std::vector<std::string>{"4 at_cmd_parse cmgd command failed!\n"}
                           : std::vector<std::string>{});
        free(list.indexes);
    }
}

TEST(AtSms, PlacesInUseWithoutMemory) {
    AtStandIn modem;
    modem.answer({{AT_RET_SUCCESS, "+CMGD: (1,2,13),(0-4)"}});
    LogCapture log;
    int result = -1;
    for (int n = 1; result != 0; n++) {
        ASSERT_LT(n, 100);
        at_cmgd_list list{};
        arm_fault(Fault::kFail, kAllocations, n, ENOMEM);
        result = AT_Cmgd(0, nullptr, &list);
        bool failed = disarm_fault();
        EXPECT_EQ(result, failed ? -1 : 0);
        EXPECT_EQ(list.indexes == nullptr, failed);
        EXPECT_EQ(list.err, failed ? 0 : kNoError);
        free(list.indexes);
    }
    EXPECT_EQ(log.texts(kSource).back(), "2 at_cmd_parse osa_malloc mem failed!\n");
}

TEST(AtSms, SendStored) {
    struct {
        at_cmss_req request;
        const char *command;
    } const rows[] = {{{4, "", 145}, "AT+CMSS=4"},
                      {{4, "+15550100", -1}, "AT+CMSS=4,+15550100"},
                      {{4, "5550100", 129}, "AT+CMSS=4,5550100,129"},
                      {{4, "5550100", 0}, "AT+CMSS=4,5550100,0"}};
    AtStandIn modem;
    for (const auto &row : rows) {
        check_member(modem, MemberCase<at_sms_rsp>{
                                .name = row.command,
                                .call = [&](at_sms_rsp *r) { return AT_Cmss(&row.request, r); },
                                .sent = {.command = row.command, .match = "+CMSS:", .timeout = 50},
                                .reply = "+CMSS: 9",
                                .expected = {9, kNoError},
                                .refusal = OnRefusal::kMap,
                                .err = offsetof(at_sms_rsp, err),
                                .parses = false});
    }
    // A reply without a reference is no failure.
    at_sms_rsp reply{5, 0};
    LogCapture log;
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cmss(&rows[0].request, &reply), 0);
    EXPECT_EQ(reply.value, 5u);
    EXPECT_EQ(reply.err, kNoError);
    EXPECT_EQ(log.texts(kSource), std::vector<std::string>{"8 RSP--- [OK]--- \n"});

    // The same refusal has an id here and none in AT_Cmgs.
    modem.answer({{AT_RET_REFUSED, "+CMS ERROR: 311"}});
    EXPECT_EQ(AT_Cmss(&rows[0].request, &reply), 0);
    EXPECT_EQ(reply.err, static_cast<uint32_t>(AT_ERR_SIM_PIN));
    at_sms_pdu_req send = pdu_request();
    EXPECT_EQ(AT_Cmgs(&send, &reply), -1);
    EXPECT_EQ(AT_Cmss(nullptr, &reply), -1);
}

TEST(AtSms, ReadTag) {
    AtStandIn modem;
    LogCapture log;
    at_sms_rsp record{5, 6};
    modem.answer({{AT_RET_SUCCESS, "^CMSR: 1"}});
    EXPECT_EQ(AT_Cmsr(0, 9, &record), -1);
    EXPECT_EQ(record.value, 5u);
    EXPECT_EQ(record.err, 6u);
    expect_sent(modem.requests()[0], {.command = "AT^CMSR?", .match = "^CMSR:"});
    EXPECT_EQ(log.texts(kSource), std::vector<std::string>{"8 RSP--- [^CMSR: 1]--- \n"});
    modem.answer({{AT_RET_ERROR, "+CME ERROR: 11"}});
    EXPECT_EQ(AT_Cmsr_Check(&record), 0);
    EXPECT_EQ(record.err, static_cast<uint32_t>(AT_ERR_SIM_PIN));

    for (int32_t value : {0, 1}) {
        check_member(modem, MemberCase<at_sms_rsp>{
                                .name = "AT_Cmsr set",
                                .call = [value](at_sms_rsp *r) { return AT_Cmsr(1, value, r); },
                                .sent = {.command = "AT^CMSR=" + std::to_string(value)},
                                .reply = "OK",
                                .expected = {0, kNoError},
                                .refusal = OnRefusal::kMap,
                                .err = offsetof(at_sms_rsp, err),
                                .parses = false});
    }
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cmsr(1, 2, &record), -1);
    EXPECT_EQ(AT_Cmsr(1, -1, &record), -1);
    EXPECT_EQ(AT_Cmsr(2, 1, &record), -1);
    EXPECT_EQ(AT_Cmsr(0, 0, nullptr), -1);
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtSms, UnreadMessages) {
    struct {
        AtStandIn::Answer answer;
        uint32_t capacity;
        int32_t result;
        uint32_t count;
        std::vector<uint32_t> indexes;
    } const rows[] = {
        {{AT_RET_SUCCESS, "^CMGI: 1,2,5,8,9"}, 2, 0, 2, {1, 2, 99}},
        {{AT_RET_SUCCESS, "^CMGI: 4,7"}, 3, 0, 2, {4, 7, 99}},
        {{AT_RET_SUCCESS, "^CMGI: 4,7"}, 0, 0, 0, {99, 99, 99}},
        {{AT_RET_SUCCESS, "OK"}, 3, 0, 0, {99, 99, 99}},
        {{AT_RET_ERROR, "+CME ERROR: 11"}, 3, 0, 77, {99, 99, 99}},
        {{AT_RET_REFUSED, "+CMS ERROR: 310"}, 3, 0, 77, {99, 99, 99}},
        {{AT_RET_FAILURE, ""}, 3, -1, 77, {99, 99, 99}},
        {{0, "", 6}, 3, 6, 77, {99, 99, 99}},
    };
    AtStandIn modem;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.answer.report);
        modem.answer({row.answer});
        LogCapture log;
        std::vector<uint32_t> indexes(3, 99);
        uint32_t count = 77;
        EXPECT_EQ(AT_Cmgi_unread_sms(indexes.data(), row.capacity, &count), row.result);
        EXPECT_EQ(count, row.count);
        EXPECT_EQ(indexes, row.indexes);
        expect_sent(modem.requests()[0],
                    {.command = "AT+CGMI", .match = "^CMGI:", .timeout = 1, .req_param = -1});
        bool shown = row.answer.ret_val == AT_RET_SUCCESS;
        EXPECT_EQ(log.texts(kSource),
                  shown ? std::vector<std::string>{"8 RSP--- [" + row.answer.report + "]--- \n"}
                        : std::vector<std::string>{});
    }
    uint32_t word = 0;
    modem.answer({{AT_RET_SUCCESS, "^CMGI: 1"}});
    EXPECT_EQ(AT_Cmgi_unread_sms(nullptr, 1, &word), -1);
    EXPECT_EQ(AT_Cmgi_unread_sms(&word, 1, nullptr), -1);
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtSms, MarkMessage) {
    AtStandIn modem;
    check_member(modem,
                 MemberCase<uint32_t>{.name = "AT_Cmmt",
                                      .call = [](uint32_t *err) { return AT_Cmmt(12, 1, err); },
                                      .sent = {.command = "AT^CMMT=12,1"},
                                      .reply = "OK",
                                      .input = 99,
                                      .expected = 99,
                                      .refusal = OnRefusal::kMap,
                                      .err = 0,
                                      .parses = false});
    uint32_t err = 0;
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cmmt(-1, 1, &err), -1);
    EXPECT_EQ(AT_Cmmt(1, 0, &err), -1);
    EXPECT_EQ(AT_Cmmt(1, 2, &err), -1);
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtSms, FailuresAreLogged) {
    AtStandIn modem;
    at_sms_pdu_req request = pdu_request();
    at_sms_rsp reply{};
    at_cmgr_msg message{};
    at_cpms_media media{};
    struct {
        std::string name;
        std::function<int32_t()> call;
    } const rows[] = {
        {"cmgs", [&] { return AT_Cmgs(&request, &reply); }},
        {"cmgw", [&] { return AT_Cmgw(&request, &reply); }},
        {"cmgr", [&] { return AT_Cmgr(&message); }},
    };
    for (const auto &row : rows) {
        LogCapture log;
        modem.answer({{0, "", 3}, {AT_RET_ERROR, "ERROR"}, {AT_RET_SUCCESS, "OK"}});
        EXPECT_EQ(row.call(), 3);
        EXPECT_EQ(row.call(), -1);
        EXPECT_EQ(row.call(), -1);
        EXPECT_EQ(log.texts(kSource),
                  (std::vector<std::string>{"4 execute at+" + row.name + " command error\n",
                                            "4 get " + row.name + " at error command\n",
                                            "4 at_cmd_parse " + row.name + " command failed!\n"}));
    }
    LogCapture log;
    modem.answer({{0, "", 3}, {AT_RET_ERROR, "ERROR"}, {AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cpms_test(&media), 3);
    EXPECT_EQ(AT_Cpms_test(&media), -1);
    EXPECT_EQ(AT_Cpms_test(&media), -1);
    EXPECT_EQ(log.texts(kSource),
              (std::vector<std::string>{"2 execute AT+CPMS=? command error\n",
                                        "2 AT+CPMS=? at error command\n",
                                        "2 at_cmd_parse AT+CPMS=? command failed!\n"}));
}

}  // namespace
