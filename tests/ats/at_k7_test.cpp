#include "hearth/at_k7.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "support/at_member.h"
#include "support/faults.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

using TextQuery = int32_t (*)(at_text_reply *);

at_text_reply text_reply(const std::string &text, int32_t err = -2) {
    at_text_reply reply{};
    strncpy(reply.text, text.c_str(), sizeof reply.text - 1);
    reply.err = err;
    return reply;
}

TEST(AtK7Text, WholeAnswersAndThoseBehindTheColon) {
    struct Case {
        const char *name;
        TextQuery call;
        Sent sent;
        OnRefusal refusal;
        bool behind_colon;
    };
    AtStandIn modem;
    const Case cases[] = {
        {"AT_imsi", AT_imsi, {.command = "AT+CIMI"}, OnRefusal::kFail, false},
        {"AT_cgmm", AT_cgmm, {.command = "AT+CGMM"}, OnRefusal::kMap, false},
        {"AT_imei", AT_imei, {.command = "AT+CGSN"}, OnRefusal::kMap, false},
        {"at_cgmi", at_cgmi, {.command = "AT+CGMI", .timeout = 5}, OnRefusal::kMap, false},
        {"AT_sn", AT_sn, {.command = "AT^SN", .match = "^SN:"}, OnRefusal::kMap, true},
        {"profile",
         at_current_profile_get,
         {.command = "AT^APCURPROF?", .match = "^APCURPROF", .timeout = 5},
         OnRefusal::kMap,
         true},
        {"password",
         at_password_nvram_content_get,
         {.command = "AT^APWEBADMIN?", .match = "^APWEBADMIN", .timeout = 5},
         OnRefusal::kMap,
         true},
        {"wifi",
         at_wifi_number_get,
         {.command = "AT^APWIFINUM?", .match = "^APWIFINUM", .timeout = 5},
         OnRefusal::kMap,
         true},
        {"mtu",
         at_mtu_get,
         {.command = "AT^APMTU?", .match = "^APMTU", .timeout = 5},
         OnRefusal::kMap,
         true},
        {"wps",
         at_wps_pin_get,
         {.command = "AT^APWIFIPIN?", .match = "^APWIFIPIN", .timeout = 5},
         OnRefusal::kMap,
         true},
        {"battery",
         at_battery_get,
         {.command = "AT^APBATLVL", .match = "^APBATLVL", .timeout = 5},
         OnRefusal::kFail,
         true},
        {"scid",
         at_get_scid,
         {.command = "AT^SCID", .match = "^SCID", .timeout = 5},
         OnRefusal::kMap,
         true},
        {"version",
         [](at_text_reply *record) { return at_get_version("AT^APVER?", record); },
         {.command = "AT^APVER?", .match = "^APVER", .timeout = 5},
         OnRefusal::kMap,
         true},
    };
    for (const Case &c : cases) {
        const std::string longest(300, 'x');
        for (const std::string &answer : {std::string(" a:b"), longest}) {
            const std::string kept = answer.substr(0, 127);
            check_member(
                modem, MemberCase<at_text_reply>{.name = c.name,
                                                 .call = c.call,
                                                 .sent = c.sent,
                                                 .reply = c.behind_colon ? "^X:" + answer : answer,
                                                 .expected = text_reply(kept),
                                                 .refusal = c.refusal,
                                                 .err = offsetof(at_text_reply, err),
                                                 .parses = false});
        }
        if (c.behind_colon) {
            at_text_reply record{};
            modem.answer({{AT_RET_SUCCESS, "no colon"}});
            EXPECT_EQ(c.call(&record), -1) << c.name;
            EXPECT_EQ(record.err, -2) << c.name;
        }
    }
    at_text_reply record{};
    EXPECT_EQ(at_get_version(nullptr, &record), -1);
}

TEST(AtK7Text, OwnNumberBetweenTheCommas) {
    AtStandIn modem;
    at_text_reply record = text_reply("old", 0);
    modem.answer({{AT_RET_SUCCESS, "+CNUM: \"Own\",\"+15550100\",145"}});
    EXPECT_EQ(at_phone_numbner_get(&record), 0);
    EXPECT_STREQ(record.text, "\"+15550100\"");
    expect_sent(modem.requests().at(0), {.command = "AT+CNUM", .match = "+CNUM", .timeout = 5});
    for (const char *reply : {"+CNUM", "+CNUM: a,b", "+CNUM: a"}) {
        strcpy(record.text, "old");
        modem.answer({{AT_RET_SUCCESS, reply}});
        EXPECT_EQ(at_phone_numbner_get(&record), -1);
        EXPECT_STREQ(record.text, "");
    }
}

TEST(AtK7Fields, Members) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_cgsn_info>{
                            .name = "AT_CGSN",
                            .call = AT_CGSN,
                            .sent = {.command = "AT+CGSN", .match = "+CGSN", .req_param = -1},
                            .reply = "490154203237518999",
                            .expected = {1, "490154203237518", -2},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_cgsn_info, err),
                            .parses = false});
    check_member(modem, MemberCase<at_meid_info>{.name = "AT_Meid",
                                                 .call = AT_Meid,
                                                 .sent = {.command = "AT^MEID", .match = "^MEID"},
                                                 .reply = "^MEID:\"A10000009296F2FF\"",
                                                 .expected = {"A10000009296F2", -2},
                                                 .err = offsetof(at_meid_info, err)});
    check_member(modem, MemberCase<at_esn_info>{.name = "AT_Esn",
                                                .call = AT_Esn,
                                                .sent = {.command = "AT+ESN"},
                                                .reply = "+ESN: 12345678",
                                                .expected = {12345678, -2},
                                                .err = offsetof(at_esn_info, err)});
    check_member(modem, MemberCase<at_charger_info>{
                            .name = "AT_ChargerInfo",
                            .call = AT_ChargerInfo,
                            .sent = {.command = "AT^APCHG?", .match = "^APCHG", .req_param = -1},
                            .reply = "^APCHG: \"fast\",60,5000,4100,900,31,32,33,34,35,1",
                            .expected = {"fast", 60, 5000, 4100, 900, 31, 32, 33, 34, 35, 1, -2},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_charger_info, err)});
    check_member(modem, MemberCase<at_phone_activity>{
                            .name = "AT_PhoneActSt",
                            .call = [](at_phone_activity *r) { return AT_PhoneActSt(1, r); },
                            .sent = {.command = "AT+CPAS", .match = "+CPAS:"},
                            .reply = "+CPAS: 4",
                            .expected = {0, -2, "4"},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_phone_activity, err)});
    check_member(modem, MemberCase<at_ltescinfo>{.name = "AT_LTESCINFO",
                                                 .call = AT_LTESCINFO,
                                                 .sent = {.command = "AT^LTESCINFO?"},
                                                 .reply = "^LTESCINFO: 5,12,2,20",
                                                 .expected = {5, 12, 2, 20, -2},
                                                 .err = offsetof(at_ltescinfo, err)});
    check_member(
        modem, MemberCase<at_rrcver_info>{.name = "AT_RRCVer query",
                                          .call = [](at_rrcver_info *r) { return AT_RRCVer(0, r); },
                                          .sent = {.command = "AT^RRCVer?"},
                                          .reply = "^RRCVer: 9",
                                          .expected = {9, -2},
                                          .err = offsetof(at_rrcver_info, err)});
    check_member(modem,
                 MemberCase<at_timezone_info>{
                     .name = "at_TimeZone",
                     .call = at_TimeZone,
                     .sent = {.command = "AT^APTIMEZONE?", .match = "^APTIMEZONE", .timeout = 3},
                     .reply = "^APTIMEZONE: 8",
                     .expected = {8}});
    check_member(modem,
                 MemberCase<at_battery_state>{
                     .name = "at_query_battery_state",
                     .call = at_query_battery_state,
                     .sent = {.command = "AT^APBATLVL", .match = "^APBATLVL", .req_param = -1},
                     .reply = "^APBATLVL: 1,80",
                     .expected = {1, 80, -2},
                     .refusal = OnRefusal::kMapAndFail,
                     .err = offsetof(at_battery_state, err)});
    check_member(modem, MemberCase<at_battery_state_std>{
                            .name = "at_query_battery_state_std",
                            .call = at_query_battery_state_std,
                            .sent = {.command = "AT+CBC", .match = "+CBC", .req_param = -1},
                            .reply = "+CBC: 1,80",
                            .input = {7, 0, 0},
                            .expected = {7, 80, -2},
                            .refusal = OnRefusal::kMapAndFail,
                            .err = offsetof(at_battery_state_std, err)});
    check_member(modem,
                 MemberCase<at_anquery_info>{
                     .name = "AT_ANQuery",
                     .call = AT_ANQuery,
                     .sent = {.command = "AT^ANQUERY?", .match = "^ANQUERY", .req_param = -1},
                     .reply = "^ANQUERY: -90,-6,-80,4,1C3D4",
                     .expected = {"-90", "-6", "-80", 4, "1C3D4", -2},
                     .refusal = OnRefusal::kMap,
                     .err = offsetof(at_anquery_info, err)});
    check_member(modem, MemberCase<at_apdialmode_info>{
                            .name = "AT_apdialmode query",
                            .call = [](at_apdialmode_info *r) { return AT_apdialmode(0, r); },
                            .sent = {.command = "AT^APDIALMODE?", .match = "^APDIALMODE:"},
                            .reply = "^APDIALMODE: 1,600",
                            .expected = {1, 600, -2},
                            .err = offsetof(at_apdialmode_info, err)});
    check_member(modem, MemberCase<at_csqlvlext_info>{
                            .name = "AT_csqlvlext",
                            .call = [](at_csqlvlext_info *r) { return AT_csqlvlext(0, r); },
                            .sent = {.command = "AT^CSQLVLEXT", .match = "^CSQLVLEXT:"},
                            .reply = "^CSQLVLEXT: 4,99",
                            .expected = {4, 99, -2},
                            .err = offsetof(at_csqlvlext_info, err)});
    check_member(modem,
                 MemberCase<at_csqlvl_info>{.name = "AT_Csqlvl",
                                            .call = AT_Csqlvl,
                                            .sent = {.command = "AT+CSQLVL", .match = "+CSQLVL"},
                                            .reply = "+CSQLVL: 60,20",
                                            .expected = {60, 20, -2},
                                            .refusal = OnRefusal::kMap,
                                            .err = offsetof(at_csqlvl_info, err)});
    check_member(modem, MemberCase<at_hfreqinfo_info>{
                            .name = "at_hfreqinfo",
                            .call = [](at_hfreqinfo_info *r) { return at_hfreqinfo(0, 1, r); },
                            .sent = {.command = "AT^HFREQINFO?", .match = "^HFREQINFO"},
                            .reply = "^HFREQINFO: 1,6,7,1300,18000,20000,19300,17000,20000",
                            .expected = {1, 6, 7, 1300, 18000, 20000, 19300, 17000, 20000, -2},
                            .refusal = OnRefusal::kMapAndFail,
                            .err = offsetof(at_hfreqinfo_info, err)});
    check_member(
        modem, MemberCase<at_throughput_info>{
                   .name = "at_throughoutput",
                   .call = at_throughoutput,
                   .sent = {.command = "AT^APTHROUGHPUT?", .match = "^APTHROUGHPUT", .timeout = 5},
                   .reply = "^APTHROUGHPUT: 10,20",
                   .expected = {10, 20, -2},
                   .refusal = OnRefusal::kMap,
                   .err = offsetof(at_throughput_info, err)});
    check_member(modem,
                 MemberCase<at_pwrontime_info>{
                     .name = "at_pwrontime",
                     .call = at_pwrontime,
                     .sent = {.command = "AT^APPWRONTIME?", .match = "^APPWRONTIME", .timeout = 5},
                     .reply = "^APPWRONTIME: 5000000000",
                     .expected = {5000000000u, -2},
                     .refusal = OnRefusal::kMap,
                     .err = offsetof(at_pwrontime_info, err)});
    check_member(modem, MemberCase<at_cvmnq_info>{
                            .name = "AT_cvmnq query",
                            .call = [](at_cvmnq_info *r) { return AT_cvmnq(0, nullptr, r); },
                            .sent = {.command = "AT+CVMNQ?", .match = "+CVMNQ:"},
                            .reply = "+CVMNQ: \"+15550199\",\"123\"",
                            .expected = {0, "+15550199", "123", -2},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_cvmnq_info, err)});
    at_profile_info profile{};
    profile.index = 2;
    profile.is_valid = 1;
    strcpy(profile.profile_name, "home");
    profile.apn_is_static = 1;
    strcpy(profile.apn_name, "internet");
    strcpy(profile.username, "u");
    strcpy(profile.password, "p");
    profile.auth_mode = 1;
    strcpy(profile.addr, "0100000A");
    strcpy(profile.primary_dns, "08080808");
    profile.err = -2;
    check_member(modem,
                 MemberCase<at_profile_info>{
                     .name = "AT_getprofile",
                     .call = [](at_profile_info *r) { return AT_getprofile(2, r); },
                     .sent = {.command = "AT^APPROFRD=2", .match = "^APPROFRD", .req_param = -1},
                     .reply = "^APPROFRD: 2,1,\"home\",1,\"internet\",\"*99#\",\"u\",\"p\",1,"
                              "0,\"0100000A\",0,\"08080808\"",
                     .expected = profile,
                     .refusal = OnRefusal::kIgnore,
                     .err = offsetof(at_profile_info, err)});
}

TEST(AtK7Fields, SetsAndUnknownActions) {
    AtStandIn modem;
    struct Case {
        std::function<int32_t()> call;
        Sent sent;
    };
    at_rrcver_info rrc{3, 0};
    at_cvmnq_req number{0, "+15550199"};
    at_cvmnq_info voice{};
    at_apdialmode_info mode{1, 600, 7};
    at_hfreqinfo_info freq{};
    for (const Case &c : {
             Case{[&] { return AT_RRCVer(1, &rrc); }, {.command = "AT^RRCVer=3"}},
             Case{[&] { return AT_cvmnq(1, &number, &voice); },
                  {.command = "AT+CVMNQ=+15550199", .match = "+CVMNQ"}},
             Case{[&] { return AT_apdialmode(1, &mode); },
                  {.command = "AT^APDIALMODE=1,600", .match = "^APDIALMODE"}},
             Case{[&] { return at_hfreqinfo(1, 0, &freq); },
                  {.command = "AT^HFREQINFO=0", .match = "^HFREQINFO"}},
         }) {
        modem.answer({{AT_RET_SUCCESS, "OK"}});
        EXPECT_EQ(c.call(), 0) << c.sent.command;
        expect_sent(modem.requests().at(0), c.sent);
    }
    EXPECT_EQ(mode.err, 7) << "left alone by a set";
    EXPECT_EQ(voice.err, -2);
    modem.answer({{AT_RET_ERROR, "+CME ERROR: 3"}});
    EXPECT_EQ(AT_RRCVer(1, &rrc), 0) << "a set does not look at the outcome";
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    at_phone_activity activity{};
    at_csqlvlext_info level{};
    EXPECT_EQ(AT_RRCVer(2, &rrc), -1);
    EXPECT_EQ(AT_cvmnq(2, &number, &voice), -1);
    EXPECT_EQ(AT_cvmnq(1, nullptr, &voice), -1);
    EXPECT_EQ(AT_PhoneActSt(0, &activity), -1);
    EXPECT_EQ(AT_csqlvlext(1, &level), -1);
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtK7Fields, RepliesThatAreNeverRead) {
    AtStandIn modem;
    at_nv_result result{7, 0};
    modem.answer({{AT_RET_SUCCESS, "^NVBACKUP: 1"}});
    EXPECT_EQ(at_nvbackup(&result), 0);
    EXPECT_EQ(result.result_code, 7);
    EXPECT_EQ(result.err, -2);
    expect_sent(modem.requests().at(0),
                {.command = "AT^NVBACKUP", .match = "^NVBACKUP", .req_param = -1});
    modem.answer({{AT_RET_SUCCESS, "^NVRSTSTTS: 1"}});
    result.err = 0;
    EXPECT_EQ(at_nvrststts(&result), 0);
    expect_sent(modem.requests().at(0), {.command = "AT^NVRSTSTTS", .match = "^NVRSTSTTS"});
    EXPECT_EQ(result.result_code, 7);
    EXPECT_EQ(result.err, -2);
    at_dial_mode_info mode{5, 7};
    modem.answer({{AT_RET_SUCCESS, "rubbish"}});
    EXPECT_EQ(at_dial_mode(&mode), 0) << "required without a list";
    EXPECT_EQ(mode.err, 7);
}

TEST(AtK7Fields, VersionsOfSoftwareAndHardware) {
    AtStandIn modem;
    LogCapture log;
    at_version_info version{};
    modem.answer({{AT_RET_SUCCESS, "11.450"}});
    EXPECT_EQ(AT_Cgmr(&version), 0);
    EXPECT_EQ(AT_Cgmr(&version), 0);
    EXPECT_STREQ(version.soft, "11.45011.450");
    EXPECT_EQ(version.software_flag, 1);
    EXPECT_EQ(log.texts().back(), "8 snd_rcv_msg.rmsg.ret = 2,,11.450\n");
    modem.answer({{AT_RET_SUCCESS, std::string(100, 'v')}});
    EXPECT_EQ(AT_Cgmr(&version), 0);
    EXPECT_EQ(strlen(version.soft), 31u);
    EXPECT_EQ(version.hardware_flag, 0);
    modem.answer({{AT_RET_SUCCESS, ""}});
    EXPECT_EQ(AT_Cgmr(&version), -1);
    modem.answer({{AT_RET_SUCCESS, "^HWVER:\"DM1\""}});
    EXPECT_EQ(AT_Hwver(&version), 0);
    EXPECT_STREQ(version.hard, "DM1");
    EXPECT_EQ(version.hardware_flag, 1);
    EXPECT_EQ(log.texts().back(), "8 the ver_res->hard = DM1\n");
}

TEST(AtK7Fields, TheNumberOfTheModemGoesOutAgain) {
    AtStandIn modem;
    at_hs_req in{9, 5};
    at_hs_info out{};
    modem.answer({{AT_RET_SUCCESS, "^HS:42,1,2,3,4,5"}});
    EXPECT_EQ(AT_HS(&in, &out), 0);
    EXPECT_EQ(AT_HS(&in, &out), 0);
    EXPECT_EQ(modem.commands(), (std::vector<std::string>{"AT^HS=0,5", "AT^HS=42,5"}));
    EXPECT_EQ(out.s_id, 5);
    EXPECT_EQ(AT_HS(nullptr, &out), -1);
    EXPECT_EQ(AT_HS(&in, nullptr), -1);
}

TEST(AtK7Nvram, ListsAreCutToTheirText) {
    AtStandIn modem;
    struct Case {
        TextQuery call;
        const char *command, *reply, *text;
    };
    for (const Case &c : {
             Case{at_profile_nvram_content_get, "AT^APPROFALL?",
                  "^APPROFALL: 1,1,\"own\"\r\n"
                  "^APPROFALL: 2,1,\"x\",1,\"apn\",\"*99#\",\"u\",\"p\",2,0,\"0A000001\",1,"
                  "\"08080808\",\"\",0,\"\",1",
                  ",[\"00001\",\"x\",\"*99#\",1,[\"Contract\",\"apn\",\"u\",\"p\",\"8.8.8.8\","
                  "\"0.0.0.0\",\"10.0.0.1\",2,1,0,1]]"},
             Case{at_ipfilter_nvram_content_get, "AT^APIPRDALL?",
                  "^APIPRDALL: 1,1,\"C0A80001\",\"123456789\",6,0,1,65535,2,3,\"web\"",
                  "[1,1,\"192.168.0.1\",\"\",6,0,1,65535,2,3,\"web\"],[]"},
             Case{at_ipfilter_nvram_content_get, "AT^APIPRDALL?", "OK", "[]"},
             Case{at_virserver_nvram_content_get, "AT^APPFRALL?",
                  "^APPFRALL: 1,1,\"C0A80002\",6,0,80,8080,\"a\""
                  "^APPFRALL: 2,0,\"\",17,0,1,2,\"b\"",
                  "[1,1,\"192.168.0.2\",6,0,80,8080,\"a\"],[2,0,\"0.0.0.0\",17,0,1,2,\"b\"],[]"},
             Case{at_specialappli_nvram_content_get, "AT^APPTRALL?",
                  "^APPTRALL: 1,1,6,17,0,257,5,1,2,3,4,5,6,7,8,9,10,\"g\"",
                  "[1,1,6,17,0,1,5,1,2,3,4,5,6,7,8,9,10,\"g\"],[]"},
             Case{at_save_pin_content_get, "AT^APPINVF?", "^APPINVF: 1,\"1234\"", "[1, \"1234\"]"},
             Case{at_dmz_get, "AT^APDMZ?", "^APDMZ: 1,\"C0A80005\"", "[1, \"192.168.0.5\"]"},
             Case{at_dmz_get, "AT^APDMZ?", "rubbish", "[0, \"\"]"},
             Case{at_on_demand_get, "AT^APNEEDDIAL?", "^APNEEDDIAL: 1,600", "[1,600]"},
         }) {
        check_member(modem, MemberCase<at_text_reply>{
                                .name = c.command,
                                .call = c.call,
                                .sent = {.command = c.command,
                                         .match = std::string(c.command + 2, strlen(c.command) - 3),
                                         .timeout = 5},
                                .reply = c.reply,
                                .expected = text_reply(c.text),
                                .refusal = OnRefusal::kMap,
                                .err = offsetof(at_text_reply, err),
                                .parses = false});
    }
    std::string reply;
    for (int i = 0; i < 20; i++) {
        reply += "^APIPRDALL: 7,1,\"C0A80001\",\"C0A80001\",6,0,1,2,3,4,\"" + std::string(20, 'd') +
                 "\"\r\n";
    }
    modem.answer({{AT_RET_SUCCESS, reply.substr(0, 1499)}});
    at_text_reply record{};
    EXPECT_EQ(at_ipfilter_nvram_content_get(&record), 0);
    EXPECT_EQ(strlen(record.text), 127u);
}

TEST(AtK7Nvram, WebUserData) {
    AtStandIn modem;
    int32_t number = 9;
    at_web_user user{};
    at_text_reply text = text_reply("old");
    modem.answer({{AT_RET_SUCCESS, "^APWEBUSERD: 3,\"0042\",5,6"}});
    EXPECT_EQ(at_nvram_web_use_get(3, &number), 0);
    EXPECT_EQ(number, 42);
    EXPECT_EQ(at_nvram_web_sms_get(3, &user), 0);
    EXPECT_STREQ(user.code, "0042");
    EXPECT_EQ(user.Reserve2, 6);
    EXPECT_EQ(at_nvram_web_use_orange_url_id(3, &text), 0);
    EXPECT_STREQ(text.text, "0042");
    expect_sent(modem.requests().at(0),
                {.command = "AT^APWEBUSERD=3", .match = "^APWEBUSERD", .timeout = 5});
    modem.answer({{AT_RET_SUCCESS, "^APWEBUSERD: 3"}});
    EXPECT_EQ(at_nvram_web_use_get(3, &number), 0);
    EXPECT_EQ(number, 0);
    modem.answer({{AT_RET_ERROR, "+CME ERROR: 10"}});
    EXPECT_EQ(at_nvram_web_use_orange_url_id(3, &text), -1);
    EXPECT_EQ(at_nvram_web_use_get(3, nullptr), -1);
}

TEST(AtK7Spn, Forms) {
    struct Case {
        int32_t coding;
        std::string text;
        std::u16string expected;
    };
    using namespace std::string_literals;
    for (const Case &c : {
             Case{0, "Test\x00Net"s, u"Test@Net"},
             Case{1, "54657374", u"Test"},
             Case{1, "80004100420043FFFF0044", u"ABC"},
             Case{1, "8004100430", u"\u0410\u0430"},
             Case{1, "800410043", u"\u0410"},
             Case{1, "81030890419C", u"\u0410A\u041C"},
             Case{1, "82020410814A", u"\u0411J"},
             Case{1, "\x80\x04\x10"s, u"\u0410"},
             Case{1, "81", u"??"},
             Case{1, "83AABB", u"??"},
             Case{1, "81FF08" + std::string(60, '9'), std::u16string(15, 0x0419)},
         }) {
        uint16_t out[16] = {'?', '?', 0};
        ASSERT_EQ(
            Decode_SPN_to_UCS2(c.coding, c.text.data(), static_cast<uint32_t>(c.text.size()), out),
            0);
        EXPECT_TRUE(std::u16string(reinterpret_cast<char16_t *>(out)) == c.expected) << c.text;
    }
    EXPECT_EQ(Decode_SPN_to_UCS2(0, nullptr, 0, nullptr), -1);

    AtStandIn modem;
    at_text_reply record{};
    modem.answer({{AT_RET_SUCCESS, "^SPN: 1,1,\"8004100042\""}});
    EXPECT_EQ(at_spn_get(&record), 0);
    EXPECT_STREQ(record.text,
                 "\xD0\x90"
                 "B");
    expect_sent(modem.requests().at(0), {.command = "AT^SPN=1", .match = "^SPN", .timeout = 1});
    // The forms with a base are not held to the 16 characters of the plain ones.
    modem.answer({{AT_RET_SUCCESS,
                   "^SPN: 1,1,\"\x81\x14\x08"
                   "ABCDEFGHIJKLMNOPQRST\""}});
    EXPECT_EQ(at_spn_get(&record), 0);
    EXPECT_STREQ(record.text, "ABCDEFGHIJKLMNOPQRST");
    // Whole, although its UTF-8 form is longer than what the modem sent.
    modem.answer({{AT_RET_SUCCESS, "^SPN: 1,1,\"810D1C8182838485868788898A8B8C8D\""}});
    EXPECT_EQ(at_spn_get(&record), 0);
    EXPECT_STREQ(record.text,
                 "\u0E01\u0E02\u0E03\u0E04\u0E05\u0E06\u0E07\u0E08\u0E09\u0E0A\u0E0B"
                 "\u0E0C\u0E0D");
    modem.answer({{AT_RET_SUCCESS, "rubbish"}});
    EXPECT_EQ(at_spn_get(&record), 0);
    EXPECT_STREQ(record.text, "");
}

TEST(AtK7Version, IsKeptAfterTheFirstCompleteAnswer) {
    AtStandIn modem;
    LogCapture log;
    at_version_reply record{};
    EXPECT_EQ(at_version(nullptr), -1);
    EXPECT_EQ(log.texts().back(), "2 [at_version] input param error!\n");
    modem.answer({{AT_RET_SUCCESS, "^VERSION:EXTD:2013\r\n^VERSION:EXTH:B1"}});
    EXPECT_EQ(at_version(&record), -1);
    EXPECT_EQ(log.texts().back(), "8 find EXTD failed.\n");
    modem.answer({{AT_RET_SUCCESS, ""}});
    EXPECT_EQ(at_version(&record), -1);
    EXPECT_EQ(log.texts().back(), "8 version number list size equal zero.\n");
    modem.answer({{AT_RET_ERROR, "ERROR"}});
    EXPECT_EQ(at_version(&record), -1);
    EXPECT_EQ(log.texts().back(), "4 AT^VERSION? is abnormal!Error num is 3.\n");
    modem.answer(
        {{AT_RET_SUCCESS, "^VERSION:BDT:1^VERSION:EXTD:2013^VERSION:EXTH:B1^VERSION:EXTS:11"}});
    EXPECT_EQ(at_version(&record), 0);
    expect_sent(modem.requests().at(0),
                {.command = "AT^VERSION?", .match = "^VERSION", .multi_line = 1});
    EXPECT_STREQ(record.extd, "EXTD:2013");
    EXPECT_STREQ(record.exts, "EXTS:11");
    EXPECT_EQ(record.err, 0);
    modem.answer({});
    at_version_reply again{};
    EXPECT_EQ(at_version(&again), 0);
    EXPECT_TRUE(modem.requests().empty());
    EXPECT_EQ(memcmp(&again, &record, sizeof again), 0);
}

TEST(AtK7Version, PhoneNumbersLineByLine) {
    AtStandIn modem;
    at_phynum_list list{};
    std::string reply;
    for (int i = 0; i < 12; i++) {
        reply += "^PHYNUM:IMEI," + std::to_string(i) + "\r\n";
    }
    modem.answer({{AT_RET_SUCCESS, reply}});
    EXPECT_EQ(at_QryPhynum(&list), 0);
    EXPECT_EQ(list.count, 10);
    EXPECT_STREQ(list.lines[0], "^PHYNUM:IMEI,0\r\n");
    expect_sent(modem.requests().at(0),
                {.command = "AT^PHYNUM?", .match = "^PHYNUM", .multi_line = 1});
    modem.answer({{AT_RET_ERROR, "+CME ERROR: 10"}});
    EXPECT_EQ(at_QryPhynum(&list), -1);
}

TEST(AtK7Bare, Commands) {
    AtStandIn modem;
    struct Case {
        std::function<int32_t()> call;
        Sent sent;
        const char *failure_log;
    };
    for (const Case &c : {
             Case{[] { return AT_Cfun(4); },
                  {.command = "AT+CFUN=4", .match = "+CFUN:"},
                  "8 cfun=4, error\n"},
             Case{at_SetCsdflt,
                  {.command = "AT^CSDFLT", .match = "^CSDFLT"},
                  "8 set csdflt, error\n"},
             Case{at_SetModemInforbu,
                  {.command = "AT^INFORBU", .match = "^INFORBU"},
                  "8 set inforbu, error\n"},
             Case{at_factoryreset, {.command = "AT&F"}, "8 error=3"},
             Case{at_godload,
                  {.command = "AT^GODLOAD", .match = "^GODLOAD"},
                  "8 AT^GODLOAD error\n"},
             Case{at_restore, {.command = "AT^APRESTOREPARM", .timeout = 5}, nullptr},
             Case{at_counter_clear, {.command = "AT^DSFLOWCLR", .timeout = 5}, nullptr},
             Case{[] { return at_dial_command("ATD*99#"); },
                  {.command = "ATD*99#", .timeout = 5},
                  nullptr},
             Case{[] { return at_set_nvram("AT^APMTU", "1500"); },
                  {.command = "AT^APMTU=1500", .timeout = 5},
                  nullptr},
             Case{[] { return at_set_xml_infotype("1"); },
                  {.command = "AT^APXMLINFOTYPE=1"},
                  nullptr},
         }) {
        LogCapture log;
        modem.answer({{AT_RET_SUCCESS, "OK"}});
        EXPECT_EQ(c.call(), 0);
        expect_sent(modem.requests().at(0), c.sent);
        EXPECT_TRUE(log.texts().empty());
        modem.answer({{AT_RET_ERROR, "ERROR"}});
        EXPECT_EQ(c.call(), -1);
        if (c.failure_log != nullptr) {
            ASSERT_FALSE(log.texts().empty());
            EXPECT_EQ(log.texts().back(), c.failure_log);
        }
    }
    LogCapture log;
    modem.answer({{AT_RET_SUCCESS, "", -1}});
    EXPECT_EQ(at_factoryreset(), -1);
    EXPECT_EQ(log.texts(), std::vector<std::string>{"8 error=-1"});
    EXPECT_EQ(at_dial_command(nullptr), -1);
    EXPECT_EQ(at_set_nvram("x", nullptr), -1);
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(at_set_xml_infotype(std::string(200, 't').c_str()), 0);
    EXPECT_EQ(modem.commands().at(0).size(), 127u);
}

TEST(AtK7Bare, RebootGoesNoFurtherThanTheFirstRefusal) {
    AtStandIn modem;
    LogCapture log;
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_ReBoot(), 0);
    EXPECT_EQ(modem.commands(), (std::vector<std::string>{"AT+CFUN=4", "AT+CFUN=6"}));
    expect_sent(modem.requests().at(0),
                {.command = "AT+CFUN=4", .match = "+CFUN", .req_param = -1, .as_process = true});
    modem.answer({{AT_RET_ERROR, "ERROR"}});
    EXPECT_EQ(AT_ReBoot(), -1);
    EXPECT_EQ(modem.commands(), std::vector<std::string>{"AT+CFUN=4"});
    EXPECT_EQ(log.texts().back(), "2 Error:reboot");
    modem.answer({{AT_RET_SUCCESS, "OK"}, {AT_RET_ERROR, "ERROR"}});
    EXPECT_EQ(AT_ReBoot(), -1);
    EXPECT_EQ(log.texts().back(), "8 reboot error");
}

TEST(AtK7Bare, ResultsOfTheCardSlot) {
    AtStandIn modem;
    struct Case {
        int32_t ret_val, load, card;
    };
    for (const Case &c : {Case{2, 0, 0}, Case{1, 1, 1}, Case{3, -1, 1}}) {
        modem.answer({{c.ret_val, ""}});
        EXPECT_EQ(AT_SDload(), c.load);
        EXPECT_EQ(AT_SD(), c.card);
        expect_sent(modem.requests().at(0),
                    {.command = "AT^SDLOAD", .req_param = -1, .as_process = true});
    }
}

TEST(AtK7Bare, AnyCommand) {
    AtStandIn modem;
    LogCapture log;
    char out[1500] = "old";
    modem.answer({{AT_RET_SUCCESS, "+X: 1"}});
    EXPECT_EQ(AT_CommenCmd("AT+X?", "+X:", out), 0);
    expect_sent(modem.requests().at(0), {.command = "AT+X?", .match = "+X:", .req_param = -1});
    EXPECT_STREQ(out, "+X: 1");
    EXPECT_EQ(log.texts()[0].find("8 Client AT cmd is AT+X?, client id ="), 0u);
    EXPECT_EQ(AT_CommenCmd(std::string(700, 'c').c_str(), std::string(99, 'm').c_str(), nullptr),
              0);
    EXPECT_EQ(modem.commands().back().size(), 639u);
    EXPECT_EQ(strlen(modem.requests().back().match), 63u);
    EXPECT_EQ(AT_CommenCmd(nullptr, "+X:", out), -1);
    char kind[8] = "xxxxxxx";
    modem.answer({{AT_RET_SUCCESS, "^APXMLINFOTYPE:12"}});
    EXPECT_EQ(at_get_xml_infotype(kind), 0);
    EXPECT_EQ(std::string(kind, 4), "12xx") << "no terminator is added";
}

}  // namespace
