#include "hearth/at_usim.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "hearth/at_statistics.h"
#include "hearth/at_ussd.h"
#include "support/at_member.h"
#include "support/faults.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

constexpr auto kNone = static_cast<uint32_t>(AT_ERR_NONE);

TEST(AtUsim, Members) {
    AtStandIn modem;
    check_member(modem,
                 MemberCase<at_iccid_info>{.name = "AT_Iccid",
                                           .call = AT_Iccid,
                                           .sent = {.command = "AT^ICCID?", .match = "^ICCID"},
                                           .reply = "^ICCID: 8900101012345678901",
                                           .expected = {"8900101012345678901", kNone},
                                           .err = offsetof(at_iccid_info, err)});
    check_member(
        modem, MemberCase<at_currsid_info>{.name = "AT_Currsid",
                                           .call = AT_Currsid,
                                           .sent = {.command = "AT^CURRSID?", .match = "^CURRSID"},
                                           .reply = "^CURRSID: 13568,1,\"0:1\"",
                                           .expected = {"13568", "1", "0:1", kNone},
                                           .err = offsetof(at_currsid_info, err)});
    check_member(modem, MemberCase<at_scid_info>{.name = "AT_SCID",
                                                 .call = AT_SCID,
                                                 .sent = {.command = "AT^SCID", .match = "^SCID"},
                                                 .reply = "^SCID: \"89001010123456789012345\"",
                                                 .expected = {"89001010123456789012", kNone},
                                                 .refusal = OnRefusal::kMap,
                                                 .err = offsetof(at_scid_info, err)});
    check_member(modem, MemberCase<at_ussd_mode>{
                            .name = "AT_UssdMode query",
                            .call = [](at_ussd_mode *record) { return AT_UssdMode(0, record); },
                            .sent = {.command = "AT^USSDMODE?", .match = "^USSDMODE:"},
                            .reply = "^USSDMODE: 1",
                            .expected = {1, kNone},
                            .err = offsetof(at_ussd_mode, err)});
    check_member(modem, MemberCase<at_ussd_mode>{
                            .name = "AT_UssdMode set",
                            .call = [](at_ussd_mode *record) { return AT_UssdMode(1, record); },
                            .sent = {.command = "AT^USSDMODE=1"},
                            .reply = "OK",
                            .input = {1, 0},
                            .expected = {1, kNone},
                            .err = offsetof(at_ussd_mode, err),
                            .parses = false});
    check_member(modem,
                 MemberCase<at_dsflow_info>{
                     .name = "AT_Dsflowqry",
                     .call = AT_Dsflowqry,
                     .sent = {.command = "AT^DSFLOWQRY=1", .match = "^DSFLOWQRY"},
                     .reply = "^DSFLOWQRY:0000003C,0000000100000002,00000000000000ff,"
                              "00000E10,1000000000000000,0000000000000010",
                     .expected = {60, 3600, 0x100000002, 0xff, 0x1000000000000000, 0x10, kNone},
                     .err = offsetof(at_dsflow_info, err)});
    check_member(modem, MemberCase<uint32_t>{.name = "AT_Dsflowclr",
                                             .call = AT_Dsflowclr,
                                             .sent = {.command = "AT^DSFLOWCLR", .timeout = 5},
                                             .reply = "OK",
                                             .expected = kNone,
                                             .err = 0,
                                             .parses = false});
}

TEST(AtUsim, LogsTheWordsOfTheFirstForBothIdentities) {
    AtStandIn modem;
    LogCapture log;
    at_currsid_info record{};
    EXPECT_EQ(AT_Currsid(&record), -1);
    EXPECT_EQ(log.texts(),
              std::vector<std::string>{"2 [AT_Iccid] GetDataFromAtServer return error!\n"});
    log.clear();
    EXPECT_EQ(AT_Currsid(nullptr), -1);
    EXPECT_EQ(log.texts(), std::vector<std::string>{"2 Input param is null!\n"});
    EXPECT_EQ(log.lines()[0].file, "ats/atapi/at_usim");
}

TEST(AtUsim, CrsmWithAndWithoutData) {
    AtStandIn modem;
    struct Case {
        const char *data, *command;
    };
    for (const Case &c :
         {Case{nullptr, "AT+CRSM=176,28589,0,0,4"}, Case{"00FF", "AT+CRSM=176,28589,0,0,4,00FF"}}) {
        at_crsm_req request{176, 28589, 0, 0, 4, c.data};
        at_crsm_rsp response{};
        modem.answer({{AT_RET_SUCCESS, "+CRSM: 144,0,\"00000002\""}});
        ASSERT_EQ(AT_Crsm(&request, &response), 0);
        expect_sent(modem.requests().at(0), {.command = c.command});
        EXPECT_EQ(response.sw1, 144u);
        EXPECT_STREQ(response.response, "00000002");
        EXPECT_EQ(response.err, kNone);
        ATS_FreeMemory(response.response);
    }
    at_crsm_req request{176, 28589, 0, 0, 4, nullptr};
    int faults = for_each_fault(Fault::kFail, kAllocations, ENOMEM, [&] {
        modem.answer({{AT_RET_SUCCESS, "+CRSM: 144,0,\"00\""}});
        at_crsm_rsp response{};
        int32_t result = AT_Crsm(&request, &response);
        EXPECT_EQ(result == 0, response.response != nullptr);
        free(response.response);
    });
    EXPECT_GT(faults, 5);
    at_crsm_rsp response{};
    EXPECT_EQ(AT_Crsm(nullptr, &response), -1);
    EXPECT_EQ(AT_Crsm(&request, nullptr), -1);
}

TEST(AtUsim, ApnOfTheControlList) {
    AtStandIn modem;
    struct Case {
        const char *status, *file;
        int32_t result;
        const char *apn;
    };
    std::string long_label = "01DD3F3E";
    for (int i = 0; i < 62; i++) {
        long_label += "61";
    }
    for (const Case &c : {
             Case{"144,0",
                  "01DD07036162"
                  "63027A79",
                  0, "abc.zy"},
             Case{"144,0",
                  "01DD080361626302"
                  "7A79",
                  0, "abc.zy."},
             Case{"145,17", "01DD0403616263", 0, "abc"},
             Case{"144,1", "01DD0403616263", -1, ""},
             Case{"106,130", "01DD0403616263", -1, ""},
             Case{"144,0", "01FF", -1, ""},
             Case{"144,0", "00DD0403616263", -1, ""},
             // One "D" in the tag is enough.
             Case{"144,0", "01D10403616263", 0, "abc"},
             Case{"144,0", "01110403616263", -1, ""},
             Case{"144,0", "01DD00", -1, ""},
             // A file that is cut anywhere.
             Case{"144,0", "01DD07036162", 0, "ab"},
             Case{"144,0", "01DD07", 0, ""},
             Case{"144,0", "01D", -1, ""},
             Case{"144,0", "0", -1, ""},
             Case{"144,0", long_label.c_str(), 0, "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"},
         }) {
        modem.answer({{AT_RET_SUCCESS, std::string("+CRSM: ") + c.status + ",\"" + c.file + "\""}});
        char apn[33] = "";
        EXPECT_EQ(AT_get_sim_apn(apn), c.result) << c.file;
        EXPECT_STREQ(apn, c.apn) << c.file;
        expect_sent(modem.requests().at(0), {.command = "AT+CRSM=176,28503,0,0,255"});
    }
    EXPECT_EQ(AT_get_sim_apn(nullptr), -1);
}

TEST(AtUsim, MncLengthAndGroup) {
    AtStandIn modem;
    struct Case {
        const char *reply;
        int32_t length;
        const char *last_log;
    };
    for (const Case &c :
         {Case{"+CRSM: 144,0,\"00000002\"", 2, ""}, Case{"+CRSM: 144,0,\"00000003FF\"", 3, ""},
          Case{"+CRSM: 144,0,\"0000000\"", -1, "2 [AT mnc] response data length error!\n"},
          Case{"+CRSM: 144,0", -1, "2 [AT mnc] response data error!\n"},
          Case{"+CRSM: 105,0,\"00000002\"", -1, ""}}) {
        LogCapture log;
        modem.answer({{AT_RET_SUCCESS, c.reply}});
        EXPECT_EQ(AT_get_mnc_length(), c.length) << c.reply;
        if (*c.last_log != '\0') {
            EXPECT_EQ(log.texts().back(), c.last_log) << c.reply;
        }
        expect_sent(modem.requests().at(0), {.command = "AT+CRSM=176,28589,0,0,4"});
    }
    char gid1[4] = {'x', 'x', 'x', 'x'};
    modem.answer({{AT_RET_SUCCESS, "+CRSM: 105,0,\"A1B2\""}});
    EXPECT_EQ(AT_get_sim_gid1(gid1, 3), 0) << "the status is not looked at";
    EXPECT_EQ(std::string(gid1, 4), "A1Bx");
    expect_sent(modem.requests().at(0), {.command = "AT+CRSM=176,28478,0,0,0"});
    EXPECT_EQ(AT_get_sim_gid1(nullptr, 3), -1);
}

TEST(AtUsim, OwnNumbers) {
    AtStandIn modem;
    at_cnum_list list{};
    modem.answer(
        {{AT_RET_SUCCESS, "+CNUM: \"Own\",\"+15550100\",145\r\n+CNUM: ,\"15550101\",129"}});
    ASSERT_EQ(AT_Cnum(&list), 0);
    expect_sent(modem.requests().at(0), {.command = "AT+CNUM", .timeout = 5, .multi_line = 1});
    ASSERT_EQ(list.count, 2u);
    EXPECT_STREQ(list.entries[0].name, "Own");
    EXPECT_STREQ(list.entries[0].num, "+15550100");
    EXPECT_EQ(list.entries[1].type, 129);
    EXPECT_EQ(list.err, kNone);
    free(list.entries);

    list = {nullptr, 9, 0};
    modem.answer({{AT_RET_SUCCESS, ""}});
    EXPECT_EQ(AT_Cnum(&list), 0);
    EXPECT_EQ(list.count, 9u);
    modem.answer({{AT_RET_ERROR, "+CME ERROR: 10"}});
    EXPECT_EQ(AT_Cnum(&list), 0);
    EXPECT_EQ(list.err, 13u);
    list.entries = reinterpret_cast<at_cnum_entry *>(8);
    modem.answer({{AT_RET_SUCCESS, "+CNUM: \"a\",\"1\",129\r\n+CNUM"}});
    EXPECT_EQ(AT_Cnum(&list), -1);
    EXPECT_EQ(list.entries, nullptr);
    EXPECT_EQ(AT_Cnum(nullptr), -1);
}

TEST(AtUssd, SendsItsBytesAsTheyAre) {
    AtStandIn modem;
    at_cusd_req request{1, "\"*100#\"", 7, 15, 0};
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cusd_Msg_Send(1, &request), 0);
    EXPECT_EQ(request.err, kNone);
    expect_sent(modem.requests().at(0), {.command = "AT+CUSD=1,\"*100#\",15"});

    request.n = 2;
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cusd_Msg_Send(1, &request), 0);
    expect_sent(modem.requests().at(0), {.command = "AT+CUSD=2"});

    // The whole field, with zero bytes in it.
    request.n = 1;
    request.str_length = sizeof request.str;
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cusd_Msg_Send(1, &request), 0);
    const char *report = modem.requests().at(0).report;
    EXPECT_EQ(memcmp(report + 10, request.str, sizeof request.str), 0);
    EXPECT_STREQ(report + 10 + sizeof request.str, ",15");

    struct Case {
        int32_t ret_val, result;
        uint32_t err;
    };
    request.str_length = 1;
    for (const Case &c : {Case{AT_RET_FAILURE, -1, static_cast<uint32_t>(-3)},
                          Case{AT_RET_ERROR, -1, 7}, Case{AT_RET_REFUSED, -1, 7}, Case{0, -1, 7}}) {
        request.err = 7;
        modem.answer({{c.ret_val, "+CME ERROR: 30"}});
        EXPECT_EQ(AT_Cusd_Msg_Send(1, &request), c.result);
        EXPECT_EQ(request.err, c.err) << c.ret_val;
    }
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    request.str_length = sizeof request.str + 1;
    EXPECT_EQ(AT_Cusd_Msg_Send(1, &request), -1);
    EXPECT_EQ(AT_Cusd_Msg_Send(0, &request), -1);
    EXPECT_EQ(AT_Cusd_Msg_Send(1, nullptr), -1);
    at_ussd_mode mode{};
    EXPECT_EQ(AT_UssdMode(2, &mode), -1);
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtStatistics, FlowInTheOtherOrder) {
    AtStandIn modem;
    LogCapture log;
    modem.answer({{AT_RET_SUCCESS, "^DSFLOWQRY:1,2,3,4,5,6"}});
    at_dataflow_info flow{};
    ASSERT_EQ(at_dataflow(&flow), 0);
    EXPECT_EQ(flow.last_ds_time, 1u);
    EXPECT_EQ(flow.last_tx_flow, 2u);
    EXPECT_EQ(flow.last_rx_flow, 3u);
    EXPECT_EQ(flow.total_ds_time, 4u);
    EXPECT_EQ(flow.total_tx_flow, 5u);
    EXPECT_EQ(flow.total_rx_flow, 6u);
    EXPECT_EQ(flow.err, kNone);
    EXPECT_EQ(at_dataflow(nullptr), -1);
    modem.answer({{AT_RET_SUCCESS, "rubbish"}});
    EXPECT_EQ(at_dataflow(&flow), -1);
    EXPECT_EQ(log.texts().back(),
              "2 [AT_Dsflowqry],at_cmd_parse output  at_parse_result is null\n");
    modem.answer({{0, "", 6}});
    EXPECT_EQ(at_dataflow(&flow), -1);
    EXPECT_EQ(flow.last_ds_time, 1u);
    uint32_t cleared = 0;
    EXPECT_EQ(AT_Dsflowclr(&cleared), -1);
    EXPECT_EQ(AT_Dsflowrpt(1), 6);
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Dsflowrpt(1), 0);
    EXPECT_EQ(log.texts().back(), "8 AT_Dsflowrpt success\n");
    expect_sent(modem.requests().at(0), {.command = "AT^DSFLOWRPT=1", .timeout = 1});
}

}  // namespace
