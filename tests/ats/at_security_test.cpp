#include "hearth/at_security.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "support/at_member.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

constexpr auto kNoError = static_cast<uint32_t>(AT_ERR_NONE);

TEST(AtSecurity, PinQueries) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_pin_info>{
                            .name = "AT_PinManagement query",
                            .call = [](at_pin_info *r) { return AT_PinManagement(0, "1", "2", r); },
                            .sent = {.command = "AT+CPIN?", .match = "+CPIN"},
                            .reply = "+CPIN: SIM PIN",
                            .expected = {"SIM PIN", kNoError},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_pin_info, err)});
    check_member(modem,
                 MemberCase<at_pin_info_ex>{
                     .name = "AT_PinManagementEx query",
                     .call = [](at_pin_info_ex *r) { return AT_PinManagementEx(0, "1", "2", r); },
                     .sent = {.command = "AT^CPIN?", .match = "^CPIN", .timeout = 5},
                     .reply = "^CPIN: \"SIM PUK\",9,9,0,10,3",
                     .expected = {"SIM PUK", "9", "9", "0", "10", "3", kNoError},
                     .refusal = OnRefusal::kMap,
                     .err = offsetof(at_pin_info_ex, err)});
}

TEST(AtSecurity, PinIsEnteredWithOrWithoutANewOne) {
    struct {
        const char *new_pin;
        const char *standard, *vendor;
    } const rows[] = {{nullptr, "AT+CPIN=1234", "AT^CPIN=\"1234\""},
                      {"", "AT+CPIN=1234,", "AT^CPIN=\"1234\",\"\""},
                      {"5678", "AT+CPIN=1234,5678", "AT^CPIN=\"1234\",\"5678\""}};
    AtStandIn modem;
    for (const auto &row : rows) {
        check_member(
            modem,
            MemberCase<at_pin_info>{
                .name = "AT_PinManagement enter",
                .call = [&](at_pin_info *r) { return AT_PinManagement(1, "1234", row.new_pin, r); },
                .sent = {.command = row.standard, .match = "+CPIN"},
                .reply = "OK",
                .input = {"kept", 7},
                .expected = {"kept", kNoError},
                .refusal = OnRefusal::kMap,
                .err = offsetof(at_pin_info, err),
                .parses = false});
        check_member(modem, MemberCase<at_pin_info_ex>{
                                .name = "AT_PinManagementEx enter",
                                .call =
                                    [&](at_pin_info_ex *r) {
                                        return AT_PinManagementEx(1, "1234", row.new_pin, r);
                                    },
                                .sent = {.command = row.vendor, .match = "^CPIN", .timeout = 5},
                                .reply = "OK",
                                .expected = {"", "", "", "", "", "", kNoError},
                                .refusal = OnRefusal::kMap,
                                .err = offsetof(at_pin_info_ex, err),
                                .parses = false});
    }
}

TEST(AtSecurity, Lock) {
    AtStandIn modem;
    auto call = [](const char *mode) {
        return [mode](at_clck_rsp *r) {
            at_clck_req in{"SC", "", "1234"};
            strcpy(in.mode, mode);
            return AT_PinEnableDisableCmd(1, &in, r);
        };
    };
    MemberCase<at_clck_rsp> row{
        .name = "query",
        .call = call("2"),
        .sent = {.command = "AT+CLCK=\"SC\", 2", .match = "+CLCK", .timeout = 5},
        .reply = "+CLCK: 1",
        .expected = {kNoError, "1"},
        .refusal = OnRefusal::kMap,
        .err = offsetof(at_clck_rsp, err)};
    check_member(modem, row);

    row.reply = "OK";
    row.expected = {kNoError, ""};
    row.parses = false;
    for (const char *mode : {"0", "1"}) {
        row.name = mode;
        row.call = call(mode);
        row.sent.command = std::string("AT+CLCK=\"SC\",") + mode + ",\"1234\"";
        check_member(modem, row);
    }
}

TEST(AtSecurity, LockLogsItsFailures) {
    AtStandIn modem;
    struct {
        const char *mode;
        AtStandIn::Answer answer;
        int32_t result;
        const char *text;
    } const rows[] = {
        {"2", {0, "", 6}, 6, "4 GetDataFromAtServer clck command failed!\n"},
        {"0", {0, "", 6}, 6, "4 GetDataFromAtServer clck command failed!\n"},
        {"2", {AT_RET_FAILURE, ""}, -1, "4 get clck at error command\n"},
        {"1", {AT_RET_FAILURE, ""}, -1, "4 get clck at error command\n"},
        {"2", {AT_RET_SUCCESS, "OK"}, -1, "4 at_cmd_parse clck command failed!\n"},
        {"2", {AT_RET_ERROR, "+CME ERROR: 16"}, 0, nullptr},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.answer.report);
        at_clck_req in{"SC", "", ""};
        strcpy(in.mode, row.mode);
        at_clck_rsp out{};
        modem.answer({row.answer});
        LogCapture log;
        EXPECT_EQ(AT_PinEnableDisableCmd(1, &in, &out), row.result);
        EXPECT_EQ(log.texts("ats/atapi/at_security"), row.text == nullptr
                                                          ? std::vector<std::string>{}
                                                          : std::vector<std::string>{row.text});
    }
}

TEST(AtSecurity, PasswordChange) {
    AtStandIn modem;
    struct {
        AtStandIn::Answer answer;
        int32_t result;
        uint32_t err;
    } const rows[] = {
        {{AT_RET_SUCCESS, "OK"}, 0, kNoError},
        {{AT_RET_ERROR, "+CME ERROR: 12"}, 0, AT_ERR_SIM_PUK},
        {{AT_RET_REFUSED, "+CMS ERROR: 313"}, 0, AT_ERR_SIM_FAILURE},
        {{AT_RET_FAILURE, ""}, 0, static_cast<uint32_t>(AT_ERR_REJECTED)},
        {{0, ""}, -1, 99},
        {{0, "", -1}, -1, 99},
        {{0, "", 4}, 4, 99},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.answer.ret_val);
        modem.answer({row.answer});
        uint32_t err = 99;
        EXPECT_EQ(AT_PinModify("SC", "1234", "4321", &err), row.result);
        EXPECT_EQ(err, row.err);
        ASSERT_EQ(modem.requests().size(), 1u);
        expect_sent(modem.requests()[0],
                    {.command = "AT+CPWD=\"SC\",\"1234\",\"4321\"", .match = "+CPWD"});
    }
}

TEST(AtSecurity, DispatchersHideOtherResultsOfTheChannel) {
    AtStandIn modem;
    modem.answer({{0, "", 5}});
    at_pin_info pin{};
    at_pin_info_ex pin_ex{};
    EXPECT_EQ(AT_PinManagement_Check(&pin), 5);
    EXPECT_EQ(AT_PinManagement_Execute("1234", nullptr, &pin), 5);
    EXPECT_EQ(AT_PinManagementEx_Check(&pin_ex), 5);
    EXPECT_EQ(AT_PinManagementEx_Execute("1234", nullptr, &pin_ex), 5);
    for (int32_t action : {0, 1}) {
        EXPECT_EQ(AT_PinManagement(action, "1234", nullptr, &pin), 0);
        EXPECT_EQ(AT_PinManagementEx(action, "1234", nullptr, &pin_ex), 0);
    }
}

TEST(AtSecurity, NothingIsSentForBadArguments) {
    AtStandIn modem;
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    at_pin_info pin{};
    at_pin_info_ex pin_ex{};
    at_clck_req in{"SC", "3", ""};
    at_clck_rsp out{};
    uint32_t err = 0;
    std::string half(320, '1');
    EXPECT_EQ(AT_PinManagement(2, "1234", nullptr, &pin), -1);
    EXPECT_EQ(AT_PinManagement(1, nullptr, nullptr, &pin), -1);
    EXPECT_EQ(AT_PinManagement(1, half.c_str(), half.c_str(), &pin), -1);
    EXPECT_EQ(AT_PinManagementEx(-1, "1234", nullptr, &pin_ex), -1);
    EXPECT_EQ(AT_PinManagementEx(1, nullptr, nullptr, &pin_ex), -1);
    EXPECT_EQ(AT_PinManagementEx(1, half.c_str(), half.c_str(), &pin_ex), -1);
    EXPECT_EQ(AT_PinEnableDisableCmd(1, &in, &out), -1);
    strcpy(in.mode, "22");
    EXPECT_EQ(AT_PinEnableDisableCmd(1, &in, &out), -1);
    strcpy(in.mode, "2");
    EXPECT_EQ(AT_PinEnableDisableCmd(0, &in, &out), -1);
    EXPECT_EQ(AT_PinEnableDisableCmd(2, &in, &out), -1);
    EXPECT_EQ(AT_PinEnableDisableCmd(1, nullptr, &out), -1);
    EXPECT_EQ(AT_PinModify(nullptr, "1", "2", &err), -1);
    EXPECT_EQ(AT_PinModify("SC", nullptr, "2", &err), -1);
    EXPECT_EQ(AT_PinModify("SC", "1", nullptr, &err), -1);
    EXPECT_EQ(AT_PinModify("SC", "1", "2", nullptr), -1);
    EXPECT_EQ(AT_PinModify("SC", half.c_str(), half.c_str(), &err), -1);
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtSecurity, LongValuesAreCutToTheirFields) {
    AtStandIn modem;
    std::string value(100, '9');
    modem.answer({{AT_RET_SUCCESS, "^CPIN: " + value + "," + value + ",1"}});
    at_pin_info_ex record{};
    ASSERT_EQ(AT_PinManagementEx_Check(&record), 0);
    EXPECT_EQ(record.code, std::string(31, '9'));
    EXPECT_EQ(record.times, std::string(7, '9'));
    EXPECT_STREQ(record.puk_times, "1");
}

}  // namespace
