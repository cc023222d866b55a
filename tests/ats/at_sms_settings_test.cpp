#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "hearth/at_sms.h"
#include "support/at_member.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

constexpr const char *kSource = "ats/atapi/at_sms";

constexpr auto kNoError = static_cast<uint32_t>(AT_ERR_NONE);

// Most rows below share these columns.
template <typename Record>
MemberCase<Record> mapped(const char *name, std::function<int32_t(Record *)> call, Sent sent,
                          const char *reply, Record expected) {
    return {.name = name,
            .call = call,
            .sent = sent,
            .reply = reply,
            .expected = expected,
            .refusal = OnRefusal::kMap,
            .err = offsetof(Record, err)};
}

TEST(AtSmsSettings, Memories) {
    AtStandIn modem;
    auto row = mapped<at_cpms_info>("AT_Cpms query",
                                    [](at_cpms_info *r) { return AT_Cpms(0, nullptr, r); },
                                    {.command = "AT+CPMS?", .match = "+CPMS:", .timeout = 4},
                                    "+CPMS: \"SM\",3,20,\"ME\",1,255,\"SR\",0,8",
                                    {"SM", "3", "20", "ME", "1", "255", "SR", "0", "8", kNoError});
    row.err_before_list = true;
    check_member(modem, row);

    // The names of the result stay as they are.
    at_cpms_info in{"SM", "", "", "ME", "", "", "MT", "", "", 0};
    row = mapped<at_cpms_info>(
        "AT_Cpms set", [&in](at_cpms_info *r) { return AT_Cpms(1, &in, r); },
        {.command = "AT+CPMS=\"SM\",\"ME\",\"MT\"", .match = "+CPMS:", .timeout = 4},
        "+CPMS: 3,20,1,255,123456,8",
        {"x", "3", "20", "y", "1", "255", "z", "1234", "8", kNoError});
    row.input = {"x", "", "", "y", "", "", "z", "", "", 7};
    row.err_before_list = true;
    check_member(modem, row);
}

TEST(AtSmsSettings, MemoriesToChooseFrom) {
    struct {
        const char *reply;
        at_cpms_media expected;
        size_t too_many;
    } const rows[] = {
        {"+CPMS: (\"SM\",\"ME\"),(\"SM\",\"MT\"),(\"SR\",\"BM\")",
         {{{"SM", "ME"}, {"SM", "MT"}, {"SR", "BM"}}, kNoError},
         0},
        {"+CPMS: (\"SM\"),(\"TOOLONG\",\"ME\",\"SR\")",
         {{{"SM", "b"}, {"TOOL", "ME"}, {"e", "f"}}, kNoError},
         0},
        {"+CPMS: (\"1\",\"1\"),(\"2\",\"2\"),(\"3\",\"3\"),(\"4\",\"4\"),(\"5\",\"5\")",
         {{{"1", "1"}, {"2", "2"}, {"3", "3"}}, kNoError},
         2},
    };
    AtStandIn modem;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.reply);
        LogCapture log;
        at_cpms_media record{{{"a", "b"}, {"c", "d"}, {"e", "f"}}, 9};
        modem.answer({{AT_RET_SUCCESS, row.reply}});
        EXPECT_EQ(AT_Cpms_test(&record), 0);
        for (size_t i = 0; i < 3; i++) {
            EXPECT_STREQ(record.pairs[i].mem1, row.expected.pairs[i].mem1);
            EXPECT_STREQ(record.pairs[i].mem2, row.expected.pairs[i].mem2);
        }
        EXPECT_EQ(record.err, kNoError);
        EXPECT_EQ(log.texts(kSource),
                  std::vector<std::string>(row.too_many, "2 cpms list is too many\n"));
        expect_sent(modem.requests()[0], {.command = "AT+CPMS=?", .match = "+CPMS:", .timeout = 5});
    }
    // A refusal leaves the record alone, a reply that cannot be read leaves `err` at "no error".
    at_cpms_media record{};
    record.err = 9;
    modem.answer({{AT_RET_ERROR, "+CME ERROR: 11"}, {AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cpms_test(&record), -1);
    EXPECT_EQ(record.err, 9u);
    EXPECT_EQ(AT_Cpms_test(&record), -1);
    EXPECT_EQ(record.err, kNoError);
    EXPECT_EQ(AT_Cpms_test(nullptr), -1);
    EXPECT_EQ(modem.requests().size(), 2u);
}

TEST(AtSmsSettings, ServiceCentre) {
    AtStandIn modem;
    auto row = mapped<at_csca_info>("AT_Csca query",
                                    [](at_csca_info *r) { return AT_Csca(0, nullptr, r); },
                                    {.command = "AT+CSCA?", .match = "+CSCA:"},
                                    "+CSCA: \"+15550999\",145,7", {"+15550999", 145, kNoError});
    check_member(modem, row);

    struct {
        at_csca_info in;
        const char *command;
    } const sets[] = {{{"+15550999", 0, 0}, "AT+CSCA=\"+15550999\",145"},
                      {{"+15550999", 145, 0}, "AT+CSCA=\"+15550999\",129"},
                      {{"5550999", 0, 0}, "AT+CSCA=\"5550999\",129"},
                      {{"5550999", 145, 0}, "AT+CSCA=\"5550999\",129"},
                      {{"", 0, 0}, "AT+CSCA=\"\",129"}};
    for (const auto &set : sets) {
        row = mapped<at_csca_info>(set.command,
                                   [&](at_csca_info *r) { return AT_Csca(1, &set.in, r); },
                                   {.command = set.command}, "OK", {"kept", 3, kNoError});
        row.input = {"kept", 3, 0};
        row.parses = false;
        check_member(modem, row);
    }
}

TEST(AtSmsSettings, Format) {
    AtStandIn modem;
    auto row = mapped<at_sms_rsp>("AT_smmode query", [](at_sms_rsp *r) { return AT_smmode(0, r); },
                                  {.command = "AT+CMGF?"}, "+CMGF: 1", {1, kNoError});
    check_member(modem, row);
    row = mapped<at_sms_rsp>("AT_smmode set", [](at_sms_rsp *r) { return AT_smmode(1, r); },
                             {.command = "AT+CMGF=1"}, "OK", {1, kNoError});
    row.input = {1, 0};
    row.parses = false;
    check_member(modem, row);
}

at_cscb_info broadcast(uint8_t mode, const std::string &mids, const std::string &dcss,
                       uint32_t err) {
    at_cscb_info record{};
    record.mode = mode;
    memcpy(record.mids, mids.data(), mids.size());
    memcpy(record.dcss, dcss.data(), dcss.size());
    record.err = err;
    return record;
}

TEST(AtSmsSettings, CellBroadcast) {
    AtStandIn modem;
    auto row = mapped<at_cscb_info>(
        "AT_cscb query", [](at_cscb_info *r) { return AT_cscb(0, r); }, {.command = "AT+CSCB?"},
        "+CSCB: 1,\"0-5,320\",\"0,17\"", broadcast(1, "0-5,320", "0,17", kNoError));
    check_member(modem, row);

    const std::string long_mids(1219, '4');
    struct {
        std::string mids, dcss, command;
    } const sets[] = {{"", "", "AT+CSCB=1"},
                      {"", "0,17", "AT+CSCB=1"},
                      {"0-5,320", "", "AT+CSCB=1,\"0-5,320\""},
                      {"50", "0,17", "AT+CSCB=1,\"50\",\"0,17\""},
                      {long_mids, "0", "AT+CSCB=1,\"" + long_mids.substr(0, 628)}};
    for (const auto &set : sets) {
        row = mapped<at_cscb_info>(
            "AT_cscb set", [](at_cscb_info *r) { return AT_cscb(1, r); }, {.command = set.command},
            "OK", broadcast(1, set.mids, set.dcss, kNoError));
        row.input = broadcast(1, set.mids, set.dcss, 0);
        row.parses = false;
        check_member(modem, row);
    }
}

TEST(AtSmsSettings, CellBroadcastReply) {
    AtStandIn modem;
    struct {
        std::string reply, mids, dcss;
        std::vector<std::string> lines;
    } const rows[] = {
        {"+CSCB: 257", "kept", "kept", {}},
        {"+CSCB: 1,\"320,50\"", "320,50", "kept", {"4 AT_cscb_Check mids = 320!\n"}},
        {"+CSCB: 1,\"" + std::string(1300, '4') + "\",\"" + std::string(80, '1') + "\"",
         std::string(1219, '4'),
         std::string(63, '1'),
         {}},
    };
    for (const auto &row : rows) {
        LogCapture log;
        at_cscb_info record = broadcast(0, "kept", "kept", 0);
        modem.answer({{AT_RET_SUCCESS, row.reply}});
        EXPECT_EQ(AT_cscb_Check(&record), 0);
        EXPECT_EQ(record.mode, 1);
        EXPECT_EQ(record.mids, row.mids);
        EXPECT_EQ(record.dcss, row.dcss);
        if (row.mids.size() < 1000) {
            EXPECT_EQ(log.texts(kSource), row.lines);
        }
    }
}

TEST(AtSmsSettings, Indication) {
    AtStandIn modem;
    auto row = mapped<at_cnmi_info>("AT_cnmi query", [](at_cnmi_info *r) { return AT_cnmi(0, r); },
                                    {.command = "AT+CNMI?"}, "+CNMI: 2,1,0,2,1",
                                    {2, 1, 0, 2, 1, kNoError});
    check_member(modem, row);
    row =
        mapped<at_cnmi_info>("AT_cnmi set", [](at_cnmi_info *r) { return AT_cnmi(1, r); },
                             {.command = "AT+CNMI=255,1,0,2,1"}, "OK", {255, 1, 0, 2, 1, kNoError});
    row.input = {255, 1, 0, 2, 1, 0};
    row.parses = false;
    check_member(modem, row);
}

TEST(AtSmsSettings, MemoryFull) {
    AtStandIn modem;
    MemberCase<at_smmemfull_info> row{.name = "AT_smmemfull",
                                      .call = AT_smmemfull,
                                      .sent = {.timeout = 1, .req_param = -1},
                                      .reply = "^SMMEMFULL: \"SM\"",
                                      .expected = {"SM", kNoError},
                                      .err = offsetof(at_smmemfull_info, err)};
    check_member(modem, row);
    row.reply = "^SMMEMFULL: \"MEMORYLONG\"";
    row.expected = {"MEMORYL", kNoError};
    check_member(modem, row);
}

// Queries whose reply cannot be parsed: some tell so.
TEST(AtSmsSettings, UnparsedRepliesAreLogged) {
    at_cpms_info memories{};
    at_csca_info centre{};
    at_sms_rsp mode{};
    at_cscb_info broadcasts{};
    at_cnmi_info indication{};
    at_smmemfull_info full{};
    struct {
        std::function<int32_t()> call;
        std::vector<std::string> lines;
    } const rows[] = {
        {[&] { return AT_Cpms_Check(&memories); }, {}},
        {[&] { return AT_Cpms_Execute(&memories, &memories); }, {}},
        {[&] { return AT_smmemfull(&full); }, {}},
        {[&] { return AT_Csca_Check(&centre); }, {"4 at_cmd_parse csca command failed!\n"}},
        {[&] { return AT_smmode_Check(&mode); }, {"4 at_cmd_parse cmgf command failed!\n"}},
        {[&] { return AT_cscb_Check(&broadcasts); }, {"4 at_cmd_parse cscb command failed!\n"}},
        {[&] { return AT_cnmi_Check(&indication); }, {"4 at_cmd_parse cnmi command failed!\n"}},
    };
    AtStandIn modem;
    for (const auto &row : rows) {
        LogCapture log;
        modem.answer({{AT_RET_SUCCESS, "OK"}});
        EXPECT_EQ(row.call(), -1);
        EXPECT_EQ(log.texts(kSource), row.lines);
    }
}

TEST(AtSmsSettings, Dispatchers) {
    at_cpms_info memories{};
    at_csca_info centre{};
    at_sms_rsp answer{};
    at_cscb_info broadcasts{};
    at_cnmi_info indication{};
    struct {
        std::function<int32_t(int32_t)> call;
        int32_t unknown;
    } const rows[] = {
        {[&](int32_t action) { return AT_Cpms(action, &memories, &memories); }, -1},
        {[&](int32_t action) { return AT_Cmsr(action, 1, &answer); }, -1},
        {[&](int32_t action) { return AT_Csca(action, &centre, &centre); }, 0},
        {[&](int32_t action) { return AT_smmode(action, &answer); }, 0},
        {[&](int32_t action) { return AT_cscb(action, &broadcasts); }, 0},
        {[&](int32_t action) { return AT_cnmi(action, &indication); }, 0},
    };
    AtStandIn modem;
    for (const auto &row : rows) {
        modem.answer({{0, "", 7}});
        EXPECT_EQ(row.call(2), row.unknown);
        EXPECT_EQ(row.call(-1), row.unknown);
        EXPECT_TRUE(modem.requests().empty());
        // What the channel gave is hidden, unless it is -1.
        EXPECT_EQ(row.call(0), 0);
        EXPECT_EQ(row.call(1), 0);
        EXPECT_EQ(modem.requests().size(), 2u);
        modem.answer({});
        EXPECT_EQ(row.call(0), -1);
        EXPECT_EQ(row.call(1), -1);
    }
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cpms(1, nullptr, &memories), -1);
    EXPECT_EQ(AT_Cpms(1, &memories, nullptr), -1);
    EXPECT_EQ(AT_Csca(1, nullptr, &centre), -1);
    EXPECT_EQ(AT_Csca(1, &centre, nullptr), -1);
    EXPECT_TRUE(modem.requests().empty());
}

}  // namespace
