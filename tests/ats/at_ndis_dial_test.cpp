#include <gtest/gtest.h>

#include <cstddef>

#include "hearth/at_ndis.h"
#include "support/at_member.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

at_profile_info profile(uint8_t apn_is_static, uint8_t ip_is_static) {
    at_profile_info profile{};
    profile.apn_is_static = apn_is_static;
    profile.ip_is_static = ip_is_static;
    strcpy(profile.apn_name, "internet");
    strcpy(profile.username, "u");
    strcpy(profile.password, "p");
    strcpy(profile.addr, "10.0.0.9");
    profile.auth_mode = '1';
    return profile;
}

TEST(AtNdisDial, FiveForms) {
    struct Case {
        at_profile_info profile;
        const char *command;
    };
    const Case cases[] = {
        {profile(1, 1), "AT^NDISDUP=1,0,\"internet\",\"u\",\"p\",1,\"10.0.0.9\""},
        {profile(1, 0), "AT^NDISDUP=1,0,\"internet\",\"u\",\"p\",1"},
        {profile(0, 1), "AT^NDISDUP=1,0,,\"u\",\"p\",1,\"10.0.0.9\""},
        {profile(2, 2), "AT^NDISDUP=1,0,,\"u\",\"p\",1"},
    };
    AtStandIn modem;
    for (const Case &c : cases) {
        at_profile_info done = c.profile;
        done.err = -2;
        check_member(modem,
                     MemberCase<at_profile_info>{
                         .name = c.command,
                         .call = [](at_profile_info *record) { return AT_ndisdup(1, 0, record); },
                         .sent = {.command = c.command, .match = "^NDISDUP"},
                         .reply = "OK",
                         .input = c.profile,
                         .expected = done,
                         .err = offsetof(at_profile_info, err),
                         .parses = false,
                         .null_record = false});
    }
    LogCapture log;
    modem.answer({{AT_RET_SUCCESS, "OK"}, {AT_RET_ERROR, "ERROR"}, {0, "", -1}});
    EXPECT_EQ(AT_ndisdup(1, -1, nullptr), 0);
    expect_sent(modem.requests().at(0), {.command = "AT^NDISDUP=1,-1", .match = "^NDISDUP"});
    EXPECT_EQ(AT_ndisdup(1, 1, nullptr), -1);
    EXPECT_EQ(log.texts().back(), "8 AT^NDISUP config error!\n");
    EXPECT_EQ(AT_ndisdup(1, 1, nullptr), -1);
    EXPECT_EQ(log.texts().back(), "8 AT^NDISDUP run failed!\n");
}

TEST(AtNdisDial, Members) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_cgdcont_info>{
                            .name = "AT_cgdcont",
                            .call = AT_cgdcont,
                            .sent = {.command = "AT+CGDCONT=1,\"IP\",\"a\"", .match = "+CGDCONT"},
                            .reply = "OK",
                            .input = {1, "IP", "a", 0},
                            .expected = {1, "IP", "a", -2},
                            .err = offsetof(at_cgdcont_info, err),
                            .parses = false});
    check_member(modem, MemberCase<at_authdata_info>{
                            .name = "AT_authdata",
                            .call = AT_authdata,
                            .sent = {.command = "AT^AUTHDATA=1,2,\"00101\",\"pw\",\"u\"",
                                     .match = "^AUTHDATA"},
                            .reply = "OK",
                            .input = {1, 2, "00101", "pw", "u", 0},
                            .expected = {1, 2, "00101", "pw", "u", -2},
                            .err = offsetof(at_authdata_info, err),
                            .parses = false});
    at_dhcp_info dhcp{};
    strcpy(dhcp.IPAddr, "192.168.0.1");
    strcpy(dhcp.NetMask, "0.0.0.255");
    strcpy(dhcp.pDNS, "8.8.8.8");
    strcpy(dhcp.sDNS, "0.0.0.0");
    dhcp.max_rx_data = 100;
    dhcp.max_tx_data = 50;
    dhcp.err = -2;
    check_member(modem, MemberCase<at_dhcp_info>{
                            .name = "AT_dhcp",
                            .call = [](at_dhcp_info *record) { return AT_dhcp(1, record); },
                            .sent = {.command = "AT^DHCP?", .match = "^DHCP"},
                            // The gateway's address is too long and the last one is missing.
                            .reply = "^DHCP:0100A8C0,FF000000,123456789,01020304,08080808,,100,50",
                            .expected = dhcp,
                            .err = offsetof(at_dhcp_info, err),
                            .err_before_list = true});
    check_member(modem, MemberCase<at_dhcpv6_info>{
                            .name = "AT_dhcpv6 set",
                            .call = [](at_dhcpv6_info *record) { return AT_dhcpv6(0, record); },
                            .sent = {.command = "AT^DHCPV6=0", .match = "^DHCPV6"},
                            .reply = "^DHCPV6:fe80::1,64,fe80::2,x,::3,::4,7,8",
                            .expected = {"fe80::1", "64", "fe80::2", "::3", "::4", 7, 8, -2},
                            .err = offsetof(at_dhcpv6_info, err),
                            .err_before_list = true});
    check_member(modem, MemberCase<at_aprainfo_info>{
                            .name = "AT_aprainfo",
                            .call = [](at_aprainfo_info *record) { return AT_aprainfo(1, record); },
                            .sent = {.command = "AT^APRAINFO?", .match = "^APRAINFO"},
                            .reply = "^APRAINFO:1430,\"2001:db8::/64\",3600,7200",
                            .expected = {1430, "2001:db8::/64", 3600, 7200, -2},
                            .err = offsetof(at_aprainfo_info, err)});
    check_member(modem, MemberCase<at_glasterr_info>{
                            .name = "AT_Glasterr",
                            .call = AT_Glasterr,
                            .sent = {.command = "AT^GLASTERR=1", .match = "^GLASTERR:"},
                            .reply = "^GLASTERR:1,33",
                            .input = {1, 0, 0},
                            .expected = {1, 33, -2},
                            .err = offsetof(at_glasterr_info, err)});
    check_member(modem, MemberCase<at_ipv6_cap_info>{
                            .name = "at_ipv6_cap",
                            .call = at_ipv6_cap,
                            .sent = {.command = "AT^IPV6CAP?", .match = "^IPV6CAP", .timeout = 5},
                            .reply = "^IPV6CAP: 7",
                            .expected = {7, -2},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_ipv6_cap_info, err)});
}

TEST(AtNdisDial, LanAddressIsNeverRead) {
    AtStandIn modem;
    at_lan_addr_info record{};
    for (const char *reply : {"^APLANADDR:\"fe80::1\",64", "OK"}) {
        modem.answer({{AT_RET_SUCCESS, reply}});
        EXPECT_EQ(AT_lan_addr(&record), -1) << "required";
        EXPECT_STREQ(record.addr, "");
    }
    expect_sent(modem.requests().at(0), {.command = "AT^APLANADDR?", .match = "^APLANADDR"});
}

TEST(AtNdisDial, StatesStandInFrontOfTheirNames) {
    AtStandIn modem;
    struct Case {
        const char *reply;
        int32_t ipv4, ipv6;
    };
    for (const Case &c :
         {Case{"^APCONNST: 2,\"IPV4\",0,\"IPV6\"", 2, 0},
          Case{"^APCONNST: 1,\"IPV4\",3,\"IPV6\"", 1, 3}, Case{"^APCONNST: 2,\"IPV4\"", 0, 0}}) {
        at_ppp_info record{9, 9, 9, 9};
        modem.answer({{AT_RET_SUCCESS, c.reply}});
        EXPECT_EQ(at_ppp_state(0, &record), 0);
        EXPECT_EQ(record.reserved, 9);
        EXPECT_EQ(record.IPV6, c.ipv6) << c.reply;
        EXPECT_EQ(record.err, -2);
        if (c.ipv4 != 0) {
            EXPECT_EQ(record.IPV4, c.ipv4) << c.reply;
        }
    }
    expect_sent(modem.requests().at(0),
                {.command = "AT^APCONNST?", .match = "^APCONNST", .timeout = 5});
    at_ppp_info record{};
    modem.answer({{AT_RET_ERROR, "+CME ERROR: 30"}});
    EXPECT_EQ(at_ppp_state(1, &record), 0);
    EXPECT_EQ(record.err, -3);
    EXPECT_EQ(modem.commands().at(0), "AT^APCONNST=1");
    EXPECT_EQ(at_ppp_state(0, nullptr), -1);
}

TEST(AtNdisDial, DnsOfAConnection) {
    AtStandIn modem;
    LogCapture log;
    at_profile_info record{};
    strcpy(record.primary_dns, "10.0.0.1");
    strcpy(record.secondary_dns, "10.0.0.2");
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cgdns(1, 2, &record), 0);
    expect_sent(modem.requests().at(0),
                {.command = "AT^CGDNS =2,\"10.0.0.1\",\"10.0.0.2\"", .match = "^CGDNS"});
    EXPECT_EQ(record.err, -2);
    modem.answer({{AT_RET_SUCCESS, "^CGDNS: 1,\"9.9.9.9\",\"8.8.8.8\""}});
    EXPECT_EQ(AT_Cgdns(0, 2, &record), 0);
    expect_sent(modem.requests().at(0), {.command = "AT^CGDNS?", .match = "^CGDNS:"});
    EXPECT_STREQ(record.primary_dns, "9.9.9.9");
    EXPECT_STREQ(record.secondary_dns, "8.8.8.8");
    modem.answer({{AT_RET_ERROR, "ERROR"}});
    EXPECT_EQ(AT_Cgdns(1, 2, &record), -1);
    EXPECT_EQ(log.texts().back(), "8 AT^CGDNS config error=3\n");
    EXPECT_EQ(AT_Cgdns(2, 2, &record), -1);
    EXPECT_EQ(modem.requests().size(), 1u);
    // Texts without a terminator end with their field.
    memset(record.primary_dns, '1', sizeof record.primary_dns);
    memset(record.secondary_dns, '2', sizeof record.secondary_dns);
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Cgdns(1, 2, &record), 0);
    EXPECT_EQ(modem.commands().at(0), "AT^CGDNS =2,\"1111111111111111\",\"2222222222222222\"");
}

TEST(AtNdisDial, NullRecordsAreLoggedInTheirOwnWords) {
    AtStandIn modem;
    struct Case {
        std::function<int32_t()> call;
        const char *text;
    };
    for (const Case &c : {
             Case{[] { return AT_dhcp(1, nullptr); }, "8 no param, AT^DHCP   cmd not execute!\n"},
             Case{[] { return AT_dhcpv6(1, nullptr); },
                  "8 no param, AT^DHCPV6   cmd not execute!\n"},
             Case{[] { return AT_aprainfo(1, nullptr); },
                  "8 no param, AT^DHCP   cmd not execute!\n"},
             Case{[] { return AT_lan_addr(nullptr); },
                  "8 no param, AT^APLANADDR   cmd not execute!\n"},
             Case{[] { return AT_Cgdns(1, 1, nullptr); },
                  "8 no param, AT^CGDNS   cmd not execute!\n"},
             Case{[] { return AT_Glasterr(nullptr); },
                  "8 no param, AT^CLASTERR cmd not execute!\n"},
             Case{[] { return AT_cpin_check(nullptr); }, "4 Param is null!\n"},
             Case{[] { return AT_cpin_execute("1", "2", nullptr); }, "4 Param is error!\n"},
         }) {
        LogCapture log;
        EXPECT_EQ(c.call(), -1);
        EXPECT_EQ(log.texts(), std::vector<std::string>{c.text});
        EXPECT_EQ(log.lines()[0].file, "ats/atapi/at_ndis");
    }
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtNdisDial, PinThroughTheOtherFamily) {
    AtStandIn modem;
    LogCapture log;
    at_pin_info record{};
    modem.answer({{AT_RET_SUCCESS, "+CPIN: READY"}});
    EXPECT_EQ(AT_cpin_check(&record), 0);
    EXPECT_STREQ(record.code, "READY");
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_cpin_execute("12345678", "1234", &record), 0);
    EXPECT_EQ(modem.commands().at(0), "AT+CPIN=12345678,1234");
    EXPECT_EQ(AT_cpin_execute("1234", nullptr, &record), -1);
    EXPECT_EQ(log.texts().back(), "4 Param is error!\n");
    modem.answer({});
    EXPECT_EQ(AT_cpin_check(&record), -1);
    EXPECT_EQ(log.texts().back(), "2 AT return error!\n");
}

}  // namespace
