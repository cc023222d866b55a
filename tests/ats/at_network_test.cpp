#include "hearth/at_network.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <cstddef>
#include <string>
#include <vector>

#include "support/at_member.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

constexpr auto kMap = OnRefusal::kMap;

#define ERR_OF(record) offsetof(record, err)

TEST(AtNetwork, Queries) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_csnr_info>{.name = "AT_Csnr",
                                                 .call = AT_Csnr,
                                                 .sent = {"AT^CSNR?", "^CSNR:"},
                                                 .reply = "^CSNR: -71,-3",
                                                 .expected = {-71, -3, -2},
                                                 .err = ERR_OF(at_csnr_info)});
    check_member(modem, MemberCase<at_eons_info>{
                            .name = "AT_Eons",
                            .call = [](auto *record) { return AT_Eons(5, nullptr, record); },
                            .sent = {"AT^EONS=5", "^EONS:"},
                            .reply = "^EONS:5,\"46001\",\"CHN-UNICOM, LTD\",\"UNICOM\",300,\"me\"",
                            .expected = {5, "46001", "CHN-UNICOM, LTD", "UNICOM", 44, "me"}});
    check_member(modem, MemberCase<at_eons_info>{
                            .name = "AT_Eons of a network",
                            .call = [](auto *record) { return AT_Eons(-1, "46000", record); },
                            .sent = {"AT^EONS=-1,\"46000\"", "^EONS:"},
                            .reply = "^EONS:1",
                            .expected = {.type = 1}});
    check_member(modem, MemberCase<at_cops_info>{.name = "AT_Cops",
                                                 .call = AT_Cops,
                                                 .sent = {"AT+COPS?", "+COPS:"},
                                                 .reply = "+COPS: 0,2,\"46001\",7",
                                                 .expected = {"0", "2", "46001", "7"}});
    check_member(modem,
                 MemberCase<at_creg_info>{.name = "AT_Creg",
                                          .call = [](auto *record) { return AT_Creg(0, record); },
                                          .sent = {"AT+CREG?", "+CREG:"},
                                          .reply = "+CREG: 2,1,\"1A2B\",\"3C4D5E6F\"",
                                          .expected = {2, 1, "1A2B", "3C4D5E6F", -2},
                                          .refusal = kMap,
                                          .err = ERR_OF(at_creg_info)});
    check_member(modem,
                 MemberCase<at_creg_info>{.name = "AT_Cgreg without a cell",
                                          .call = [](auto *record) { return AT_Cgreg(0, record); },
                                          .sent = {"AT+CGREG?", "+CGREG:"},
                                          .reply = "+CGREG: 0,5",
                                          .input = {9, 9, "old", "old", 9},
                                          .expected = {0, 5, "old", "old", -2},
                                          .refusal = kMap,
                                          .err = ERR_OF(at_creg_info)});
    check_member(modem,
                 MemberCase<at_cgatt_info>{.name = "AT_Cgatt",
                                           .call = [](auto *record) { return AT_Cgatt(0, record); },
                                           .sent = {"AT+CGATT?", "+CGATT:"},
                                           .reply = "+CGATT: 1",
                                           .expected = {1, -2},
                                           .refusal = kMap,
                                           .err = ERR_OF(at_cgatt_info)});
    check_member(modem,
                 MemberCase<at_syscfg_info>{.name = "AT_SysConfig",
                                            .call =
                                                [](auto *record) {
                                                    at_syscfg_req in{};
                                                    return AT_SysConfig(0, &in, record);
                                                },
                                            .sent = {"AT^SYSCFG?", "^SYSCFG"},
                                            .reply = "^SYSCFG:2,0,3FFFFFFF,1,2",
                                            .input = {7, "", "", "", "", "", 7},
                                            .expected = {7, "2", "0", "3FFFFFFF", "1", "2", -2},
                                            .refusal = kMap,
                                            .err = ERR_OF(at_syscfg_info)});
    check_member(modem,
                 MemberCase<at_syscfgex_info>{
                     .name = "AT_SysConfigEx",
                     .call = [](auto *record) { return AT_SysConfigEx(0, record); },
                     .sent = {"AT^SYSCFGEX?", ""},
                     .reply = "^SYSCFGEX:\"030201\",3FFFFFFF,1,2,7FFFFFFFFFFFFFFF",
                     .expected = {"030201", "3FFFFFFF", "1", "2", "7FFFFFFFFFFFFFFF", "", "", -2},
                     .err = ERR_OF(at_syscfgex_info)});
    check_member(modem, MemberCase<at_sysinfo>{.name = "AT_SysInfo",
                                               .call = AT_SysInfo,
                                               .sent = {"AT^SYSINFO", "^SYSINFO"},
                                               .reply = "^SYSINFO:2,3,0,5,1,,4",
                                               .input = {.lock_state = 9},
                                               .expected = {2, 3, 0, 5, 1, 0, 4, -2},
                                               .err = ERR_OF(at_sysinfo)});
    check_member(modem,
                 MemberCase<at_sysinfoex>{.name = "AT_SysInfoEx",
                                          .call = AT_SysInfoEx,
                                          .sent = {"AT^SYSINFOEX", ""},
                                          .reply = "^SYSINFOEX:2,3,0,1,,6,\"LTE\",101,\"LTE\"",
                                          .expected = {2, 3, 0, 1, 0, 6, "LTE", 101, "LTE", -2},
                                          .err = ERR_OF(at_sysinfoex)});
    check_member(modem,
                 MemberCase<at_spn_info>{.name = "AT_GetSpn",
                                         .call = [](auto *record) { return AT_GetSpn(1, record); },
                                         .sent = {"AT^SPN=1", ""},
                                         .reply = "^SPN:1,0,\"Home\"",
                                         .expected = {1, 0, "Home", -2},
                                         .err = ERR_OF(at_spn_info)});
    check_member(modem,
                 MemberCase<at_cpnn_info>{.name = "AT_Cpnn",
                                          .call = [](auto *record) { return AT_Cpnn(0, record); },
                                          .sent = {"AT^CPNN=0", ""},
                                          .reply = "^CPNN:\"Full\",1,2,\"Short\",3,4",
                                          .expected = {"Full", 1, 2, "Short", 3, 4, -2},
                                          .err = ERR_OF(at_cpnn_info)});
    check_member(modem, MemberCase<at_cellroam_info>{.name = "AT_Cellroam",
                                                     .call = AT_Cellroam,
                                                     .sent = {"AT^CELLROAM?", "^CELLROAM", 5},
                                                     .reply = "^CELLROAM: 1,2",
                                                     .expected = {1, 2, -2},
                                                     .refusal = kMap,
                                                     .err = ERR_OF(at_cellroam_info)});
    check_member(
        modem, MemberCase<at_cgcatt_info>{.name = "AT_Cgcatt",
                                          .call = [](auto *record) { return AT_Cgcatt(0, record); },
                                          .sent = {"AT^CGCATT?", "^CGCATT:"},
                                          .reply = "^CGCATT: 1,0",
                                          .input = {5, 6, 7, 8},
                                          .expected = {5, -2, 1, 0},
                                          .refusal = kMap,
                                          .err = ERR_OF(at_cgcatt_info)});
    check_member(modem, MemberCase<at_rsrp_info>{.name = "AT_Rsrp",
                                                 .call = AT_Rsrp,
                                                 .sent = {"AT^LTERSRP?", "^LTERSRP"},
                                                 .reply = "^LTERSRP: -101,-12.5",
                                                 .expected = {"-101", "-12.5", -2},
                                                 .err = ERR_OF(at_rsrp_info)});
    check_member(modem, MemberCase<at_cellid_info>{
                            .name = "AT_Cellid",
                            .call = AT_Cellid,
                            .sent = {"AT^CECELLID?", "^CECELLID"},
                            .reply = "^CECELLID: 46001,0A1B2C3D4E5F60718,123,4567",
                            .expected = {"46001", "0A1B2C3D4E5F607", "123", "4567", -2},
                            .err = ERR_OF(at_cellid_info)});
    check_member(modem, MemberCase<at_rfswitch_info>{.name = "AT_RFSwitch_Check",
                                                     .call = AT_RFSwitch_Check,
                                                     .sent = {"AT^RFSWITCH?", "^RFSWITCH"},
                                                     .reply = "^RFSWITCH: 1",
                                                     .input = {0, 6, 0},
                                                     .expected = {1, 6, -2},
                                                     .err = ERR_OF(at_rfswitch_info)});
    check_member(modem, MemberCase<at_hoparaset_info>{.name = "AT_HOPARASET_Check",
                                                      .call = AT_HOPARASET_Check,
                                                      .sent = {"AT^HOPARASET?", "^HOPARASET"},
                                                      .reply = "^HOPARASET: -110,-100,-90,1,2,3",
                                                      .input = {.reserved = 6},
                                                      .expected = {-110, -100, -90, 1, 2, 3, 6, -2},
                                                      .err = ERR_OF(at_hoparaset_info)});
    check_member(modem, MemberCase<at_ltemeasmode_info>{.name = "AT_LTEMEASMODE_Check",
                                                        .call = AT_LTEMEASMODE_Check,
                                                        .sent = {"AT^LTEMEASMODE?", "^LTEMEASMODE"},
                                                        .reply = "^LTEMEASMODE: 2",
                                                        .input = {0, 6, 0},
                                                        .expected = {2, 6, -2},
                                                        .err = ERR_OF(at_ltemeasmode_info)});
}

TEST(AtNetwork, Sets) {
    AtStandIn modem;
    auto set = [&modem]<typename Record>(const char *name, auto call, Sent sent, Record input,
                                         Record expected, OnRefusal refusal = OnRefusal::kFail) {
        check_member(modem, MemberCase<Record>{.name = name,
                                               .call = call,
                                               .sent = sent,
                                               .reply = "OK",
                                               .input = input,
                                               .expected = expected,
                                               .refusal = refusal,
                                               .err = ERR_OF(Record),
                                               .parses = false});
    };
    set(
        "AT_Creg", [](at_creg_info *record) { return AT_Creg(1, record); }, {"AT+CREG=2"},
        at_creg_info{2}, at_creg_info{.n = 2, .err = -2});
    set(
        "AT_Cgreg", [](at_creg_info *record) { return AT_Cgreg(1, record); }, {"AT+CGREG=-1"},
        at_creg_info{-1}, at_creg_info{.n = -1, .err = -2});
    set(
        "AT_Cgatt", [](at_cgatt_info *record) { return AT_Cgatt(1, record); }, {"AT+CGATT=0"},
        at_cgatt_info{}, at_cgatt_info{.err = -2});
    set(
        "AT_SysConfig",
        [](at_syscfg_info *record) {
            at_syscfg_req in{"2", "0", "3FFFFFFF", "1", "2"};
            return AT_SysConfig(1, &in, record);
        },
        {"AT^SYSCFG=2,0,3FFFFFFF,1,2", "^SYSCFG"}, at_syscfg_info{}, at_syscfg_info{.err = -2},
        kMap);
    at_syscfgex_info syscfgex{"00", "3FFFFFFF", "1", "2", "800C5", "a", "b", 0};
    at_syscfgex_info syscfgex_done = syscfgex;
    syscfgex_done.err = -2;
    set(
        "AT_SysConfigEx", [](at_syscfgex_info *record) { return AT_SysConfigEx(1, record); },
        {"AT^SYSCFGEX=\"00\",3FFFFFFF,1,2,800C5,a,b"}, syscfgex, syscfgex_done);
    set(
        "AT_Cgcatt", [](at_cgcatt_info *record) { return AT_Cgcatt(1, record); }, {"AT^CGCATT=1,4"},
        at_cgcatt_info{1, 4, 7, 8}, at_cgcatt_info{1, -2, 7, 8});
    set(
        "AT_Srvst", [](at_value_set *record) { return AT_Srvst(1, record); }, {"AT^SRVST=1"},
        at_value_set{1, 0}, at_value_set{1, -2});
    set(
        "AT_Mode", [](at_value_set *record) { return AT_Mode(1, record); }, {"AT^MODE=0"},
        at_value_set{0, 0}, at_value_set{0, -2});
    set(
        "AT_PrefRoam", [](at_prefroam_info *record) { return AT_PrefRoam(1, record); },
        {"at^prefroam = 3"}, at_prefroam_info{3, 0}, at_prefroam_info{3, -2});
    const int32_t value = 4;
    set(
        "AT_RFSwitch_Execute",
        [&](at_rfswitch_info *record) { return AT_RFSwitch_Execute(&value, record); },
        {"AT^RFSWITCH=4"}, at_rfswitch_info{1, 2, 3}, at_rfswitch_info{1, 2, -2});
    set(
        "AT_LTEMEASMODE_Execute",
        [&](at_ltemeasmode_info *record) { return AT_LTEMEASMODE_Execute(&value, record); },
        {"AT^LTEMEASMODE=4"}, at_ltemeasmode_info{1, 2, 3}, at_ltemeasmode_info{1, 2, -2});
    const at_hoparaset_req thresholds{-1, -2, -3, 4, 5, 6};
    set(
        "AT_HOPARASET_Execute",
        [&](at_hoparaset_info *record) { return AT_HOPARASET_Execute(&thresholds, record); },
        {"AT^HOPARASET=-1,-2,-3,4,5,6"}, at_hoparaset_info{.reserved = 9},
        at_hoparaset_info{.reserved = 9, .err = -2});
    EXPECT_EQ(AT_RFSwitch_Execute(nullptr, nullptr), -1);

    MemberCase<at_pdp_req> pdp{.name = "AT_PDP",
                               .call = AT_PDP,
                               .sent = {"AT^PDPROFMOD=1,\"n\",\"a\",\"u\",\"p\",2", "^PDPROFMOD"},
                               .reply = "OK",
                               .input = {1, "n", "a", "u", "p", 2},
                               .expected = {1, "n", "a", "u", "p", 2},
                               .parses = false};
    check_member(modem, pdp);
    check_member(modem, MemberCase<int>{.name = "AT_FASTDORM",
                                        .call = [](int *) { return AT_FASTDORM(3, -5); },
                                        .sent = {"AT^FASTDORM=3,-5", "^FASTDORM"},
                                        .reply = "OK",
                                        .parses = false,
                                        .null_record = false});
}

TEST(AtNetwork, CommandsStayWithinTheirRoom) {
    AtStandIn modem;
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    at_pdp_req request;
    memset(&request, 'x', sizeof request);
    request.index = request.auth = 1;
    EXPECT_EQ(AT_PDP(&request), 0);
    std::string fields = "AT^PDPROFMOD=1,\"" + std::string(20, 'x') + "\",\"" +
                         std::string(64, 'x') + "\",\"" + std::string(260, 'x') + "\",\"" +
                         std::string(260, 'x') + "\",1";
    EXPECT_EQ(modem.commands().at(0), fields.substr(0, 639));
}

TEST(AtNetwork, UnknownActionsAndNullsSendNothing) {
    AtStandIn modem;
    modem.answer({{AT_RET_SUCCESS, "+CREG: 0,1"}});
    at_creg_info creg{};
    at_cgatt_info cgatt{};
    at_syscfg_req in{};
    at_syscfg_info out{};
    at_syscfgex_info syscfgex{};
    at_cgcatt_info cgcatt{};
    at_value_set value{};
    at_prefroam_info prefroam{};
    at_rfswitch_info rfswitch{};
    at_hoparaset_req thresholds{};
    at_hoparaset_info hoparaset{};
    int32_t number = 0;
    for (int32_t action : {-1, 2, 3}) {
        EXPECT_EQ(AT_Creg(action, &creg), -1);
        EXPECT_EQ(AT_Cgreg(action, &creg), -1);
        EXPECT_EQ(AT_Cgatt(action, &cgatt), -1);
        EXPECT_EQ(AT_SysConfig(action, &in, &out), -1);
        EXPECT_EQ(AT_SysConfigEx(action, &syscfgex), -1);
        EXPECT_EQ(AT_Cgcatt(action, &cgcatt), -1);
        EXPECT_EQ(AT_PrefRoam(action, &prefroam), -1);
        EXPECT_EQ(AT_RFSwitch(action, &number, &rfswitch), -1);
        EXPECT_EQ(AT_HOPARASET(action, &thresholds, &hoparaset), -1);
        EXPECT_EQ(AT_ChoseOperators(action == 2 ? 0 : action, nullptr, nullptr), -1);
    }
    for (int32_t action : {0, 2}) {
        EXPECT_EQ(AT_Srvst(action, &value), -1);
        EXPECT_EQ(AT_Mode(action, &value), -1);
    }
    EXPECT_EQ(AT_HOPARASET(0, nullptr, &hoparaset), -1);
    EXPECT_EQ(AT_HOPARASET(1, &thresholds, nullptr), -1);
    LogCapture log;
    EXPECT_EQ(AT_SysConfig(0, nullptr, &out), -1);
    EXPECT_EQ(AT_SysConfig(0, &in, nullptr), -1);
    EXPECT_EQ(log.texts(), (std::vector<std::string>(2, "2 at sysconfig param is null\n")));
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtNetwork, ResultOfAFailedChannelIsPassedOn) {
    AtStandIn modem;
    modem.answer({{0, "", -7}});
    at_creg_info creg{};
    at_hcsq_info hcsq{};
    at_opl_list opl{};
    EXPECT_EQ(AT_Creg(0, &creg), -7);
    EXPECT_EQ(AT_Creg(1, &creg), -7);
    EXPECT_EQ(AT_Hcsq(&hcsq), -7);
    EXPECT_EQ(AT_GetOPList(1, &opl), -7);
}

TEST(AtNetwork, PairsGiveZeroOrMinusOne) {
    AtStandIn modem;
    int32_t value = 1;
    at_hoparaset_req thresholds{1, 2, 3, 4, 5, 6};
    at_rfswitch_info rfswitch{};
    at_hoparaset_info hoparaset{};
    at_ltemeasmode_info ltemeasmode{};
    auto call = [&](int row, int32_t action) {
        return row == 0   ? AT_RFSwitch(action, &value, &rfswitch)
               : row == 1 ? AT_HOPARASET(action, &thresholds, &hoparaset)
                          : AT_LTEMEASMODE(action, &value, &ltemeasmode);
    };
    struct {
        std::string name, check, execute, reply;
    } const rows[] = {
        {"AT_RFSwitch", "AT^RFSWITCH?", "AT^RFSWITCH=1", "^RFSWITCH:1"},
        {"AT_HOPARASET", "AT^HOPARASET?", "AT^HOPARASET=1,2,3,4,5,6", "^HOPARASET:1,2,3,4,5,6"},
        {"AT_LTEMEASMODE", "AT^LTEMEASMODE?", "AT^LTEMEASMODE=1", "^LTEMEASMODE:1"}};
    for (int row = 0; row < 3; row++) {
        modem.answer({{AT_RET_SUCCESS, rows[row].reply}});
        EXPECT_EQ(call(row, 0), 0);
        EXPECT_EQ(call(row, 1), 0);
        EXPECT_EQ(modem.commands(), (std::vector<std::string>{rows[row].check, rows[row].execute}));
        LogCapture log;
        modem.answer({{0, "", -7}});
        EXPECT_EQ(call(row, 0), -1);
        EXPECT_EQ(call(row, 1), -1);
        EXPECT_EQ(log.texts(),
                  (std::vector<std::string>{"2 " + rows[row].name + "_Check return failed\n",
                                            "2 " + rows[row].name + "_Execute return failed\n"}));
    }
}

TEST(AtNetwork, RssiIsAskedFromTheServer) {
    AtStandIn modem;
    struct {
        const char *reply;
        const char *text;
    } const rows[] = {{"^RSSI:17", "17\0\0xxx"}, {"^RSSI: 12345", "1234xxx"}};
    for (const auto &row : rows) {
        char text[8] = "xxxxxxx";
        modem.answer({{AT_RET_SUCCESS, row.reply}});
        EXPECT_EQ(AT_Rssi(text), 0);
        EXPECT_EQ(memcmp(text, row.text, 7), 0) << row.reply;
        expect_sent(modem.requests().at(0), {.req_class = 2, .req_param = 2});
    }
    char text[8] = "old";
    for (int32_t ret_val : {3, 5}) {
        modem.answer({{ret_val, "^RSSI:17"}});
        EXPECT_EQ(AT_Rssi(text), -1);
    }
    modem.answer({{AT_RET_SUCCESS, ""}});
    EXPECT_EQ(AT_Rssi(text), -1);
    EXPECT_EQ(AT_Rssi(nullptr), -1);
    EXPECT_STREQ(text, "old");
}

TEST(AtNetwork, HcsqKnowsItsModesByName) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_hcsq_info>{
                            .name = "AT_Hcsq",
                            .call = AT_Hcsq,
                            .sent = {.command = "AT^HCSQ?", .match = "^HCSQ", .req_param = -1},
                            .reply = "^HCSQ:\"LTE\",50,51,52,53",
                            .input = {9, 9, 9, 9, 9, 9},
                            .expected = {2, 50, 51, 52, 53, 0}});
    const std::pair<const char *, int32_t> modes[] = {{"GSM", 0},  {"WCDMA", 1}, {"LTE", 2},
                                                      {"CDMA", 3}, {"EVDO", 4},  {"NOSERVICE", -1},
                                                      {"lte", 77}, {"", 77},     {"LTE2", 77}};
    for (auto [name, mode] : modes) {
        modem.answer({{AT_RET_SUCCESS, std::string("^HCSQ: \"") + name + "\""}});
        at_hcsq_info record{.sysmode = 77};
        EXPECT_EQ(AT_Hcsq(&record), 0);
        EXPECT_EQ(record.sysmode, mode) << name;
    }
    LogCapture log;
    modem.answer({{AT_RET_SUCCESS, "^HCSQ:LTE,1,2,3,4,5,6"}});
    at_hcsq_info record{};
    EXPECT_EQ(AT_Hcsq(&record), 0);
    std::vector<std::string> lines;
    for (const std::string &line : log.texts()) {
        if (line.find("AT_Hcsq") != std::string::npos) {
            lines.push_back(line);
        }
    }
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[0], "8 AT_Hcsq , AtFieldName = sysmode.\n");
    EXPECT_EQ(lines[5], "8 AT_Hcsq , AtFieldName = value5.\n");
}

TEST(AtNetwork, PreferredRoamingCannotBeRead) {
    AtStandIn modem;
    modem.answer({{AT_RET_SUCCESS, "^prefroam:1"}});
    at_prefroam_info record{5, 6};
    EXPECT_EQ(AT_PrefRoam(0, &record), -1);
    EXPECT_EQ(record.err, 6);
    expect_sent(modem.requests().at(0), {"at^prefroam?", "prefroam:"});
}

TEST(AtNetwork, TestCode) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_cwas_info>{.name = "AT_SC_test",
                                                 .call = AT_SC_test,
                                                 .sent = {"AT^CWAS=7", ""},
                                                 .reply = " 42 is it",
                                                 .input = {7, 1, 2, 3, 4},
                                                 .expected = {7, 1, 2, 42, -2},
                                                 .err = ERR_OF(at_cwas_info),
                                                 .parses = false});
    LogCapture log;
    modem.answer({{AT_RET_SUCCESS, "42"}});
    at_cwas_info record{};
    EXPECT_EQ(AT_SC_test(&record), 0);
    EXPECT_EQ(log.texts().back(), "8 [AT_SC_test] scrcode is 42 !\n");
}

TEST(AtNetwork, AggregatedCells) {
    AtStandIn modem;
    at_lcacell_info expected{};
    expected.cells[0] = {1, 0, 1, 1};
    expected.cells[1] = {-2, 9, 0, 0};
    expected.cells[7] = {70, 71, 72, 73};
    expected.err = -2;
    check_member(modem, MemberCase<at_lcacell_info>{
                            .name = "AT_LCACELL",
                            .call = AT_LCACELL,
                            .sent = {"AT^LCACELL?", ""},
                            .reply = "^LCACELL:\"1 0 1 1\",\"-2 9\",,,,,,\"70 71 72 73 74\"",
                            .expected = expected,
                            .err = ERR_OF(at_lcacell_info)});
    LogCapture log;
    modem.answer({{AT_RET_SUCCESS, "^LCACELL:\"1 2 3 4\""}});
    at_lcacell_info record{};
    EXPECT_EQ(AT_LCACELL(&record), 0);
    std::vector<std::string> texts = log.texts();
    ASSERT_GE(texts.size(), 32u);
    EXPECT_EQ(std::vector(texts.end() - 32, texts.end() - 28),
              (std::vector<std::string>{
                  "8 lte_cacell_info[0].cell_id=1.\n", "8 lte_cacell_info[0].ul_cfg=2.\n",
                  "8 lte_cacell_info[0].dl_cfg=3.\n", "8 lte_cacell_info[0].act=4.\n"}));
    EXPECT_EQ(texts.back(), "8 lte_cacell_info[7].act=0.\n");
}

TEST(AtNetwork, Time) {
    struct {
        const char *reply;
        int32_t result;
        at_nwtime_info time;
    } const rows[] = {
        {"^NWTIME: 14/02/28,16:10:05+32,00", 0, {5, 10, 0, 1, 2, 114, "GMT+08:00", -2}},
        {"^NWTIME: 12/02/28,20:45:00+34,0", 0, {0, 15, 5, 29, 1, 112, "GMT+08:30", -2}},
        {"^NWTIME: 00/01/01,00:10:59-1,0", 0, {59, 55, 23, 31, 11, 99, "GMT-00:15", -2}},
        {"^NWTIME: 20/07/01,12:00:00-9,1", 0, {0, 45, 9, 1, 6, 120, "GMT-02:15", -2}},
        {"^NWTIME: 90/01/06,00:00:01+0,0", 1, {1, 0, 0, 6, 0, 190, "GMT+00:00", -2}},
    };
    AtStandIn modem;
    for (const auto &row : rows) {
        at_nwtime_info record{};
        modem.answer({{AT_RET_SUCCESS, row.reply}});
        EXPECT_EQ(AT_NWTime(&record), row.result) << row.reply;
        EXPECT_EQ(memcmp(&record, &row.time, sizeof record), 0)
            << row.reply << " gave " << record.year << "/" << record.month << "/" << record.day
            << " " << record.hour << ":" << record.minute << " " << record.zone;
        expect_sent(modem.requests().at(0), {"AT^NWTIME?", "^NWTIME"});
    }
}

TEST(AtNetwork, TimeThatIsNone) {
    AtStandIn modem;
    at_nwtime_info record{.err = 5};
    LogCapture log;
    EXPECT_EQ(AT_NWTime(nullptr), -1);
    for (int32_t ret_val : {3, 5}) {
        modem.answer({{ret_val, "+CME ERROR: 30"}});
        EXPECT_EQ(AT_NWTime(&record), -1);
    }
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_NWTime(&record), -1);
    EXPECT_EQ(record.err, 5);
    EXPECT_EQ(log.texts().at(0), "2 at_time_info is null.\n");
    EXPECT_EQ(log.texts().at(1), "2 AT_NWTime? enter.\n");

    // Broken times: a result, and no read outside the texts.
    for (const char *reply :
         {"^NWTIME:", "^NWTIME:1", "^NWTIME:14/,1:", "^NWTIME:,,", "^NWTIME:14/99/99,99:99:99",
          "^NWTIME:-9999999999/-9999999999/3,4:5:6+999999999999,0",
          "^NWTIME:14/02/28,16:10:05-2147483648,0"}) {
        modem.answer({{AT_RET_SUCCESS, reply}});
        EXPECT_EQ(AT_NWTime(&record), 0) << reply;
        EXPECT_LT(strnlen(record.zone, sizeof record.zone), sizeof record.zone);
    }

    log.clear();
    modem.answer({{AT_RET_SUCCESS, "^NWTIME: 90/01/06,00:00:01+0,0"}});
    EXPECT_EQ(AT_NWTime(&record), 1);
    std::vector<std::string> texts = log.texts();
    EXPECT_EQ(texts.at(texts.size() - 3), "2 at_nwtime time_info invalid.\n");
    EXPECT_EQ(texts.at(texts.size() - 2),
              "8 [AT_NWTime?]The at_time_info is 190/00/06,00:00:01,GMT+00:00 !\r\n");
    EXPECT_EQ(texts.back(), "2 at_nwtime return  success.\n");
}

}  // namespace
