#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "hearth/at_ndis.h"
#include "support/at_member.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

TEST(AtNdisQuery, Members) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_cardmode_info>{
                            .name = "AT_cardmode",
                            .call = AT_cardmode,
                            .sent = {.command = "AT^CARDMODE", .match = "^CARDMODE"},
                            .reply = "^CARDMODE:2",
                            .expected = {2, -2},
                            .err = offsetof(at_cardmode_info, err)});
    check_member(modem, MemberCase<at_authdata_info>{
                            .name = "AT_getauthdata",
                            .call = AT_getauthdata,
                            .sent = {.command = "AT^AUTHDATA?", .match = "^AUTHDATA"},
                            .reply = "^AUTHDATA: 1,2,\"secret\",\"user\",\"46001\"",
                            .expected = {1, 2, "46001", "secret", "user", -2},
                            .err = offsetof(at_authdata_info, err)});
    check_member(modem, MemberCase<at_cgdcont_info>{
                            .name = "AT_getcgdcont",
                            .call = AT_getcgdcont,
                            .sent = {.command = "AT+CGDCONT?", .match = "+CGDCONT"},
                            .reply = "+CGDCONT: 1,\"IPV4V6\",\"internet\",\"0.0.0.0\",0,0,0,0",
                            .expected = {1, "IPV4V6", "internet", -2},
                            .err = offsetof(at_cgdcont_info, err)});
}

TEST(AtNdisQuery, LongValuesAreCutToTheirFields) {
    AtStandIn modem;
    std::string apn(200, 'a');
    modem.answer({{AT_RET_SUCCESS, "+CGDCONT: 1," + std::string(99, 't') + "," + apn}});
    at_cgdcont_info record{};
    ASSERT_EQ(AT_getcgdcont(&record), 0);
    EXPECT_EQ(record.PDP_type, std::string(34, 't'));
    EXPECT_EQ(record.APN, std::string(64, 'a'));
}

TEST(AtNdisQuery, DnsAddresses) {
    struct {
        int32_t (*function)(int32_t, at_profile_info *);
        std::string name, command;
    } const rows[] = {{AT_dnsp, "AT_dnsp", "AT^DNSP"}, {AT_dnss, "AT_dnss", "AT^DNSS"}};
    AtStandIn modem;
    for (const auto &row : rows) {
        at_profile_info set{};
        strcpy(set.primary_dns, row.name == "AT_dnsp" ? "10.0.0.1" : "unused");
        strcpy(set.secondary_dns, row.name == "AT_dnss" ? "10.0.0.1" : "unused");
        at_profile_info done = set;
        done.err = -2;
        std::string match = row.command.substr(2);
        check_member(
            modem, MemberCase<at_profile_info>{
                       .name = "set",
                       .call = [&row](at_profile_info *record) { return row.function(1, record); },
                       .sent = {.command = row.command + "=10.0.0.1", .match = match},
                       .reply = "OK",
                       .input = set,
                       .expected = done,
                       .err = offsetof(at_profile_info, err),
                       .parses = false});

        // The read does not work, whatever the modem answers.
        at_profile_info record = set;
        modem.answer({{AT_RET_SUCCESS, match + ": \"10.0.0.2\""}});
        EXPECT_EQ(row.function(0, &record), -1);
        EXPECT_EQ(memcmp(&record, &set, sizeof set), 0);
        ASSERT_EQ(modem.requests().size(), 1u);
        expect_sent(modem.requests()[0], {.command = row.command + "?", .match = match + ":"});

        LogCapture log;
        modem.answer({{7, ""}});
        EXPECT_EQ(row.function(1, &record), -1);
        EXPECT_EQ(row.function(1, nullptr), -1);
        EXPECT_EQ(row.function(2, &record), -1);
        EXPECT_EQ(modem.requests().size(), 1u);
        std::string prefix = "8 [" + row.name + "]";
        EXPECT_EQ(log.texts(), (std::vector<std::string>{
                                   prefix + row.command + " config error=7\n",
                                   prefix + "no param, " + row.command + " cmd not execute!\n"}));
        EXPECT_EQ(log.lines()[0].file, "ats/atapi/at_ndis");
    }
}

}  // namespace
