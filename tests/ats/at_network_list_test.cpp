#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <cstddef>
#include <string>
#include <vector>

#include "hearth/at_network.h"
#include "support/at_member.h"
#include "support/capture.h"
#include "support/faults.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

constexpr const char *kSource = "ats/atapi/at_network";

TEST(AtNetworkList, SelectsAnOperator) {
    AtStandIn modem;
    const std::pair<const char *, std::string> rats[] = {{"0", ",0"}, {"2", ",2"}, {"7", ",7"},
                                                         {"3", ""},   {"", ""},    {"70", ""}};
    for (auto [rat, sent] : rats) {
        at_cops_info in{"1", "2", "46001", ""};
        strcpy(in.rat, rat);
        at_operator_list list{.count = 5};
        at_operators input{1, &list, 2, 3, 4};
        at_operators expected = input;
        expected.err = -2;
        check_member(modem, MemberCase<at_operators>{
                                .name = rat,
                                .call = [&](auto *out) { return AT_ChoseOperators(1, &in, out); },
                                .sent = {"AT+COPS=1,2,\"46001\"" + sent, "+COPS:", 240},
                                .reply = "OK",
                                .input = input,
                                .expected = expected,
                                .refusal = OnRefusal::kMap,
                                .err = offsetof(at_operators, err),
                                .parses = false});
        EXPECT_EQ(list.count, 5);
    }
    at_operators out{};
    EXPECT_EQ(AT_ChoseOperators(1, nullptr, &out), -1);
    EXPECT_EQ(AT_ChoseOperators(2, nullptr, &out), -1);
    at_operator_list list{};
    out.list = &list;
    EXPECT_EQ(AT_ChoseOperators(0, nullptr, &out), -1);
    EXPECT_EQ(AT_ChoseOperators(3, nullptr, &out), -1);
    EXPECT_TRUE(modem.commands().empty() || modem.commands().back() != "AT+COPS=?");
}

TEST(AtNetworkList, SearchesForOperators) {
    AtStandIn modem;
    at_operator_list list{};
    at_operators input{1, &list, 2, 3, 4};
    at_operators expected = input;
    expected.err = -2;
    check_member(modem, MemberCase<at_operators>{
                            .name = "search",
                            .call = [](auto *out) { return AT_ChoseOperators(2, nullptr, out); },
                            .sent = {"AT+COPS=?", "+COPS:", 240},
                            .reply = "+COPS: (2,\"Home, Inc\",\"HOME\",\"46001\",7),"
                                     "(1,\"Away\",\"AWAY\",\"46000\",2),,(0,1,2,3,4),(0,1,2)",
                            .input = input,
                            .expected = expected,
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_operators, err),
                            .err_before_list = true});
    ASSERT_EQ(list.count, 2);
    EXPECT_STREQ(list.entries[0].stat, "2");
    EXPECT_STREQ(list.entries[0].long_oper, "Home, Inc");
    EXPECT_STREQ(list.entries[0].short_oper, "HOME");
    EXPECT_STREQ(list.entries[0].numeric_oper, "46001");
    EXPECT_STREQ(list.entries[0].rat, "7");
    EXPECT_STREQ(list.entries[1].long_oper, "Away");

    modem.answer({{AT_RET_SUCCESS, "+COPS: ,,(0,1,2,3,4),(0,1,2)"}});
    EXPECT_EQ(AT_ChoseOperators(2, nullptr, &input), 0);
    EXPECT_EQ(list.count, 0);
}

TEST(AtNetworkList, KeepsTwentyOperators) {
    AtStandIn modem;
    for (int count : {20, 21, 25}) {
        std::string reply = "+COPS: ";
        for (int i = 0; i < count; i++) {
            reply += (i > 0 ? ",(1,\"" : "(1,\"") + std::to_string(i) + "\",\"s\",\"460\",2)";
        }
        modem.answer({{AT_RET_SUCCESS, reply + ",,(0,1),(0)"}});
        auto list = std::make_unique<at_operator_list>();
        at_operators out{.list = list.get()};
        LogCapture log;
        EXPECT_EQ(AT_ChoseOperators(2, nullptr, &out), 0);
        EXPECT_EQ(list->count, 20);
        EXPECT_STREQ(list->entries[19].long_oper, "19");
        std::vector<std::string> expected;
        if (count > 20) {
            expected = {"4 AT+COPS=? return too many operators(>20)!\n"};
        }
        EXPECT_EQ(log.texts(kSource), expected);
    }
}

TEST(AtNetworkList, OperatorList) {
    AtStandIn modem;
    modem.answer({{AT_RET_SUCCESS,
                   "^OPL:\"46001\",\"0000-FFFE\",1\r\n^OPL:\"46000\",\"x\",2\r\n"
                   "^OPL:\"460\",,300"}});
    at_opl_list record{nullptr, 9, 9};
    ASSERT_EQ(AT_GetOPList(1, &record), 0);
    expect_sent(modem.requests().at(0), {.command = "AT^OPL=1", .multi_line = 1});
    ASSERT_EQ(record.count, 3u);
    EXPECT_EQ(record.err, -2);
    EXPECT_STREQ(record.opl_list[0].numeric, "46001");
    EXPECT_EQ(record.opl_list[0].index, 1);
    EXPECT_STREQ(record.opl_list[2].numeric, "460");
    EXPECT_EQ(record.opl_list[2].index, 300);
    free(record.opl_list);

    at_opl_entry old{};
    record = {&old, 9, 9};
    modem.answer({{AT_RET_SUCCESS, ""}});
    EXPECT_EQ(AT_GetOPList(1, &record), 0);
    EXPECT_EQ(record.opl_list, &old);
    EXPECT_EQ(record.count, 9u);
    EXPECT_EQ(record.err, -2);

    for (int32_t ret_val : {3, 4}) {
        record = {&old, 9, 9};
        modem.answer({{ret_val, "+CME ERROR: 10"}});
        EXPECT_EQ(AT_GetOPList(1, &record), 0);
        EXPECT_EQ(record.err, 13);
        EXPECT_EQ(record.opl_list, &old);
    }
    modem.answer({{5, "+CME ERROR: 10"}});
    EXPECT_EQ(AT_GetOPList(1, &record), -1);
    EXPECT_EQ(AT_GetOPList(1, nullptr), -1);

    record = {&old, 9, 9};
    modem.answer({{AT_RET_SUCCESS, "^OPL:\"46001\",\"x\",1\r\n^OPLX"}});
    EXPECT_EQ(AT_GetOPList(1, &record), -1);
    EXPECT_EQ(record.opl_list, nullptr);
    EXPECT_EQ(record.count, 2u);
}

TEST(AtNetworkList, NetworkNames) {
    struct {
        int32_t second;
        const char *command;
    } const rows[] = {{7, "AT^PNN=1,7"}, {0, "AT^PNN=1,0"}, {-1, "AT^PNN=1"}, {-2, ""}};
    AtStandIn modem;
    for (const auto &row : rows) {
        modem.answer({{AT_RET_SUCCESS, "^PNN:\"Long\",\"Short\",r\r\n^PNN:\"Other\""}});
        at_pnn_req in{1, row.second};
        uint32_t count = 9;
        at_pnn_entry *list = nullptr;
        ASSERT_EQ(AT_GetPnnList(&in, &count, &list), 0);
        expect_sent(modem.requests().at(0), {.command = row.command, .multi_line = 1});
        ASSERT_EQ(count, 2u);
        EXPECT_STREQ(list[0].long_name, "Long");
        EXPECT_STREQ(list[0].short_name, "Short");
        EXPECT_STREQ(list[0].reserved, "r\r\n");
        EXPECT_STREQ(list[1].long_name, "Other");
        EXPECT_STREQ(list[1].short_name, "");
        EXPECT_EQ(list[1].err, -2);
        free(list);
    }
}

TEST(AtNetworkList, NetworkNamesThatFail) {
    AtStandIn modem;
    at_pnn_req in{1, 2};
    uint32_t count = 9;
    at_pnn_entry old{};
    at_pnn_entry *list = &old;
    EXPECT_EQ(AT_GetPnnList(nullptr, &count, &list), -1);
    EXPECT_EQ(AT_GetPnnList(&in, nullptr, &list), -1);
    EXPECT_EQ(AT_GetPnnList(&in, &count, nullptr), -1);
    EXPECT_TRUE(modem.requests().empty());
    for (int32_t ret_val : {3, 4, 5}) {
        modem.answer({{ret_val, "+CME ERROR: 10"}});
        EXPECT_EQ(AT_GetPnnList(&in, &count, &list), -1);
    }
    EXPECT_EQ(count, 9u);
    EXPECT_EQ(list, &old);

    modem.answer({{AT_RET_SUCCESS, ""}});
    EXPECT_EQ(AT_GetPnnList(&in, &count, &list), 0);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(list, &old);

    modem.answer({{AT_RET_SUCCESS, "nothing of the kind"}});
    EXPECT_EQ(AT_GetPnnList(&in, &count, &list), -1);
    EXPECT_EQ(list, nullptr);
}

// An endless list: the limit holds, and the rest is not looked at.
TEST(AtNetworkList, LimitOfLines) {
    AtStandIn modem;
    std::string reply;
    while (reply.size() < 1490) {
        reply += "^OPL";
    }
    modem.answer({{AT_RET_SUCCESS, reply}});
    at_opl_list record{};
    EXPECT_EQ(AT_GetOPList(1, &record), -1);
    EXPECT_EQ(record.count, reply.size() / 4);
    EXPECT_EQ(record.opl_list, nullptr);
}

TEST(AtNetworkList, MemoryMayRunOutAnywhere) {
    AtStandIn modem;
    at_pnn_req in{1, 2};
    for_each_fault(Fault::kFail, kAllocations, ENOMEM, [&] {
        modem.answer({{AT_RET_SUCCESS, "^OPL:\"46001\",\"x\",1\r\n^OPL:\"46000\",\"y\",2"}});
        at_opl_list opl{};
        int32_t result = AT_GetOPList(1, &opl);
        EXPECT_EQ(result, opl.opl_list == nullptr ? -1 : 0);
        free(opl.opl_list);
    });
    for_each_fault(Fault::kFail, kAllocations, ENOMEM, [&] {
        modem.answer({{AT_RET_SUCCESS, "^PNN:a,b,c\r\n^PNN:d,e,f"}});
        uint32_t count = 9;
        at_pnn_entry *list = nullptr;
        int32_t result = AT_GetPnnList(&in, &count, &list);
        EXPECT_EQ(result, list == nullptr ? -1 : 0);
        free(list);
    });

    // The two lines and then the list itself.
    LogCapture log;
    uint32_t count = 9;
    at_pnn_entry *list = nullptr;
    at_opl_list opl{};
    arm_fault(Fault::kFail, kAllocations, 1);
    EXPECT_EQ(AT_GetPnnList(&in, &count, &list), -1);
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(count, 0u);
    arm_fault(Fault::kFail, kAllocations, 3);
    EXPECT_EQ(AT_GetPnnList(&in, &count, &list), -1);
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(count, 0u);
    modem.answer({{AT_RET_SUCCESS, "^OPL:a,b,1\r\n^OPL:d,e,2"}});
    arm_fault(Fault::kFail, kAllocations, 1);
    EXPECT_EQ(AT_GetOPList(1, &opl), -1);
    EXPECT_TRUE(disarm_fault());
    arm_fault(Fault::kFail, kAllocations, 3);
    EXPECT_EQ(AT_GetOPList(1, &opl), -1);
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(log.texts(kSource),
              (std::vector<std::string>{
                  "2 AT_GetPnnList get_substring error\n", "2 AT_GetPnnList osa_malloc error\n",
                  "8 get opl list number is zero\n", "2 opllist->opl_list osa_malloc error\n"}));
}

TEST(AtNetworkList, SystemConfigurations) {
    AtStandIn modem;
    at_syscfg_test input{};
    memset(&input.reserved, 0x55, sizeof input.reserved);
    at_syscfg_test expected = input;
    const int32_t modes[] = {2, 13, 14};
    memcpy(expected.modes, modes, sizeof modes);
    expected.mode_count = 3;
    for (int32_t i = 0; i <= 3; i++) {
        expected.acqorders[i] = i;
    }
    expected.acqorder_count = 4;
    strcpy(expected.bands[0].band, "80000");
    strcpy(expected.bands[0].band_name, "GSM850");
    strcpy(expected.bands[1].band, "280");
    strcpy(expected.bands[1].band_name, "GSM900/GSM1800");
    expected.band_count = 2;
    expected.err = -2;
    check_member(modem,
                 MemberCase<at_syscfg_test>{.name = "AT_Syscfg_test",
                                            .call = AT_Syscfg_test,
                                            .sent = {"AT^SYSCFG=?", "^SYSCFG"},
                                            .reply = "^SYSCFG:(2,13,14),(0-3),((80000,\"GSM850\"),"
                                                     "(280,\"GSM900/GSM1800\")),(0-2),(0-4)",
                                            .input = input,
                                            .expected = expected,
                                            .err = offsetof(at_syscfg_test, err)});

    // A plain list of acquisition orders takes the place of the modes. Required.
    modem.answer({{AT_RET_SUCCESS, "^SYSCFG:(2,13,14),(7,8),((1,\"a\")),(0-2),(0-4)"}});
    at_syscfg_test record{};
    EXPECT_EQ(AT_Syscfg_test(&record), 0);
    EXPECT_EQ(record.mode_count, 2);
    EXPECT_EQ(record.modes[0], 7);
    EXPECT_EQ(record.acqorder_count, 0);
}

std::string repeat(int count, const std::string &part) {
    std::string text;
    for (int i = 0; i < count; i++) {
        text += (i > 0 ? "," : "") + part;
    }
    return text;
}

TEST(AtNetworkList, SystemConfigurationsAreBounded) {
    AtStandIn modem;
    std::string reply = "^SYSCFG:(" + repeat(12, "5") + "),(0-11),(" +
                        repeat(25, "(1,\"" + std::string(20, 'n') + "\")") + "),(0),(0)";
    modem.answer({{AT_RET_SUCCESS, reply}});
    at_syscfg_test record{};
    LogCapture log;
    StdoutCapture output;
    EXPECT_EQ(AT_Syscfg_test(&record), 0);
    EXPECT_EQ(output.text(), "acqorder list is too many\n");
    EXPECT_EQ(log.texts(kSource), (std::vector<std::string>{"2 modes list is too many\n"}));
    EXPECT_EQ(record.mode_count, 10);
    EXPECT_EQ(record.acqorder_count, 10);
    EXPECT_EQ(record.band_count, 20);
    EXPECT_STREQ(record.bands[19].band_name, std::string(20, 'n').c_str());
    EXPECT_EQ(record.reserved[0], 0);
}

TEST(AtNetworkList, ExtendedSystemConfigurations) {
    AtStandIn modem;
    at_syscfgex_test record;
    memset(&record, 0x55, sizeof record);
    at_syscfgex_test expected{};
    expected.acqorder_count = 3;
    strcpy(expected.acqorders[0], "00");
    strcpy(expected.acqorders[1], "01");
    strcpy(expected.acqorders[2], "0302");
    strcpy(expected.bands[0].band, "2000000400380");
    strcpy(expected.bands[0].band_name, "GSM900");
    expected.band_count = 1;
    strcpy(expected.ltebands[0].lteband, "800C5");
    strcpy(expected.ltebands[0].lteband_name, "LTE BC1");
    strcpy(expected.ltebands[1].lteband, "7FFFFFFFFFFFFFF");
    strcpy(expected.ltebands[1].lteband_name, "All");
    expected.lteband_count = 2;
    expected.err = -2;
    modem.answer({{AT_RET_SUCCESS,
                   "^SYSCFGEX:(\"00\",\"01\",\"0302\"),((2000000400380,\"GSM900\"),"
                   "(6A80000,\"WCDMA\")),(0-2),(0-4),((800C5,\"LTE BC1\"),"
                   "(7FFFFFFFFFFFFFFF,\"All\"))"}});
    EXPECT_EQ(AT_Syscfgex_test(&record), 0);
    EXPECT_EQ(memcmp(&record, &expected, sizeof record), 0);
    expect_sent(modem.requests().at(0), {"AT^SYSCFGEX=?", "^SYSCFGEX"});

    // Cleared, whatever comes then.
    for (int32_t ret_val : {2, 3, 5}) {
        memset(&record, 0x55, sizeof record);
        modem.answer({{ret_val, "+CME ERROR: 30"}});
        EXPECT_EQ(AT_Syscfgex_test(&record), -1);
        at_syscfgex_test cleared{};
        EXPECT_EQ(memcmp(&record, &cleared, sizeof record), 0);
    }
    EXPECT_EQ(AT_Syscfgex_test(nullptr), -1);
}

TEST(AtNetworkList, ExtendedSystemConfigurationsAreBounded) {
    AtStandIn modem;
    std::string reply = "^SYSCFGEX:(" + repeat(12, "\"" + std::string(25, '9') + "\"") +
                        "),((1,\"a\")),(0),(0),(" + repeat(22, "(1,\"b\")") + ")";
    modem.answer({{AT_RET_SUCCESS, reply}});
    at_syscfgex_test record{};
    LogCapture log;
    EXPECT_EQ(AT_Syscfgex_test(&record), 0);
    EXPECT_EQ(record.acqorder_count, 10);
    EXPECT_STREQ(record.acqorders[9], std::string(19, '9').c_str());
    EXPECT_EQ(record.lteband_count, 20);
    EXPECT_EQ(log.texts(kSource),
              (std::vector<std::string>{"2 acqorder list is too many\n",
                                        "2 syscfgex lte band list is too many\n",
                                        "2 syscfgex lte band list is too many\n"}));
}

}  // namespace
