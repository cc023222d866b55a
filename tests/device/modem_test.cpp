// The simulated modem behind the AT server, inside it and as a program of its own on a terminal,
// asked through the library's functions.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <string>

#include "hearth/at_k7.h"
#include "hearth/at_ndis.h"
#include "hearth/at_network.h"
#include "hearth/at_statistics.h"
#include "hearth/at_stk.h"
#include "hearth/at_usim.h"
#include "hearth/at_ussd.h"
#include "support/desk.h"

using namespace hearth::test;

namespace {

// One question, and the answer that the table expects.
struct Row {
    const char *name;
    std::function<std::string()> ask;
    const char *answer;
};

void check(std::initializer_list<Row> rows) {
    for (const Row &row : rows) {
        EXPECT_EQ(row.ask(), row.answer) << row.name;
    }
}

std::string text(const std::string &value) {
    return value;
}
std::string text(int64_t value) {
    return std::to_string(value);
}

// The values with blanks between them.
template <typename First, typename... Rest>
std::string words(First first, Rest... rest) {
    std::string line = text(first);
    ((line += " " + text(rest)), ...);
    return line;
}

// Asks with a cleared record, and shows what a good answer left there.
template <typename Record, typename Ask, typename Show>
std::function<std::string()> asked(Ask ask, Show show) {
    return [=] {
        Record record{};
        int32_t result = ask(&record);
        return result == 0 ? show(record) : "result " + std::to_string(result);
    };
}

#define ASK(record, call, ...)                    \
    asked<record>([](record *r) { return call; }, \
                  [](const record &r) { return words(__VA_ARGS__); })

void check_network() {
    check({
        {"registration", ASK(at_creg_info, AT_Creg(0, r), r.n, r.stat), "0 1"},
        {"with the cell", ASK(at_creg_info, (r->n = 2, AT_Creg(1, r)), r.err), "-2"},
        {"registration and cell", ASK(at_creg_info, AT_Creg(0, r), r.n, r.stat, r.lac, r.ci),
         "2 1 1A2B 01C3D4E5"},
        {"packets", ASK(at_creg_info, AT_Cgreg(0, r), r.stat), "1"},
        {"attached", ASK(at_cgatt_info, AT_Cgatt(0, r), r.state), "1"},
        {"operator", ASK(at_cops_info, AT_Cops(r), r.mode, r.oper, r.rat), "0 Test Network 7"},
        {"names", ASK(at_eons_info, AT_Eons(5, nullptr, r), r.plmn_id, r.plmn_short, r.spn),
         "00101 TestNet Test Network"},
        {"names of another", ASK(at_eons_info, AT_Eons(5, "00102", r), r.plmn_long),
         "Valley Mobile"},
        {"full name", ASK(at_cpnn_info, AT_Cpnn(1, r), r.full_name, r.short_name),
         "Test Network TestNet"},
        {"provider", ASK(at_spn_info, AT_GetSpn(1, r), r.disp_rplmn, r.spn_name), "1 Test Network"},
        {"state",
         ASK(at_sysinfo, AT_SysInfo(r), r.srv_status, r.srv_domain, r.roam_status, r.sys_mode,
             r.sim_state),
         "2 3 0 9 1"},
        {"extended state", ASK(at_sysinfoex, AT_SysInfoEx(r), r.sim_state, r.sysmode_name),
         "1 LTE"},
        {"both domains", ASK(at_cgcatt_info, AT_Cgcatt(0, r), r.psState, r.csState), "1 1"},
        {"roaming cell", ASK(at_cellroam_info, AT_Cellroam(r), r.cell_roam_state, r.rat), "0 7"},
        {"signal", ASK(at_hcsq_info, AT_Hcsq(r), r.sysmode, r.value1, r.value2, r.value3, r.value4),
         "2 42 49 170 24"},
        {"WCDMA signal", ASK(at_csnr_info, AT_Csnr(r), r.rscp, r.ecio), "-85 -6"},
        {"LTE signal", ASK(at_rsrp_info, AT_Rsrp(r), r.rsrp, r.rsrq), "-92 -8"},
        {"LTE cell", ASK(at_cellid_info, AT_Cellid(r), r.Plmn, r.Ci, r.Pci, r.Tac),
         "00101 01C3D4E5 101 1A2B"},
        {"carriers",
         ASK(at_lcacell_info, AT_LCACELL(r), r.cells[0].cell_id, r.cells[1].cell_id,
             r.cells[1].ul_cfg, r.cells[1].act),
         "101 205 0 1"},
        {"test code", ASK(at_cwas_info, (r->value = 7, AT_SC_test(r)), r.code, r.err), "7 -2"},
        {"fast dormancy", [] { return words(AT_FASTDORM(1, 2)); }, "0"},
        {"service reports", ASK(at_value_set, (r->value = 1, AT_Srvst(1, r)), r.err), "-2"},
        {"mode reports", ASK(at_value_set, (r->value = 1, AT_Mode(1, r)), r.err), "-2"},
        {"roaming", ASK(at_prefroam_info, (r->prefroam = 1, AT_PrefRoam(1, r)), r.err), "-2"},
    });
}

// What is set is read back.
void check_settings() {
    check({
        {"configuration",
         [] {
             at_syscfg_req in{"14", "2", "680380", "0", "1"};
             at_syscfg_info out{};
             int32_t set = AT_SysConfig(1, &in, &out);
             int32_t read = AT_SysConfig(0, &in, &out);
             return words(set, read, out.mode, out.acqorder, out.band, out.roam, out.srvdomain);
         },
         "0 0 14 2 680380 0 1"},
        {"wrong configuration",
         [] {
             at_syscfg_req in{"99", "2", "680380", "0", "1"};
             at_syscfg_info out{};
             int32_t set = AT_SysConfig(1, &in, &out);
             return words(set, out.err);
         },
         "0 -1"},
        {"extended configuration",
         [] {
             at_syscfgex_info in{"0302", "400380", "1", "2", "45", "", "", 0};
             at_syscfgex_info out{};
             int32_t set = AT_SysConfigEx(1, &in);
             int32_t read = AT_SysConfigEx(0, &out);
             return words(set, read, out.acqorder, out.band, out.roam, out.srvdomain, out.lteband);
         },
         "0 0 0302 400380 1 2 45"},
        {"choices",
         ASK(at_syscfg_test, AT_Syscfg_test(r), r.mode_count, r.modes[0], r.acqorder_count,
             r.acqorders[3], r.band_count, r.bands[1].band_name),
         "4 2 4 3 2 GSM and WCDMA"},
        {"extended choices",
         ASK(at_syscfgex_test, AT_Syscfgex_test(r), r.acqorder_count, r.acqorders[3],
             r.bands[0].band_name, r.ltebands[1].lteband_name),
         "4 03 All bands LTE 1800"},
        {"radio",
         [] {
             int32_t off = 0;
             at_rfswitch_info out{};
             int32_t set = AT_RFSwitch(1, &off, &out);
             int32_t read = AT_RFSwitch(0, &off, &out);
             return words(set, read, out.rf_status);
         },
         "0 0 0"},
        {"thresholds",
         [] {
             at_hoparaset_req in{-100, -90, -80, 1, 2, 3};
             at_hoparaset_info out{};
             int32_t set = AT_HOPARASET(1, &in, &out);
             int32_t read = AT_HOPARASET(0, &in, &out);
             return words(set, read, out.rsrp_thresh1, out.rsrp_thresh3, out.sinr_thresh3);
         },
         "0 0 -100 -80 3"},
        {"measuring",
         [] {
             int32_t mode = 2;
             at_ltemeasmode_info out{};
             int32_t set = AT_LTEMEASMODE(1, &mode, &out);
             int32_t read = AT_LTEMEASMODE(0, &mode, &out);
             return words(set, read, out.mode);
         },
         "0 0 2"},
        {"USSD mode",
         [] {
             at_ussd_mode mode{1, 0};
             int32_t set = AT_UssdMode(1, &mode);
             mode.mode = 9;
             int32_t read = AT_UssdMode(0, &mode);
             return words(set, read, mode.mode);
         },
         "0 0 1"},
        {"addresses", ASK(at_ipv6_cap_info, at_ipv6_cap(r), r.cfg_value), "7"},
    });
}

std::string list_of_operators() {
    at_opl_list records{};
    int32_t result = AT_GetOPList(1, &records);
    std::string line =
        words(result, records.count, records.opl_list[2].numeric, records.opl_list[2].index);
    free(records.opl_list);
    return line;
}

std::string list_of_names(int32_t first, int32_t last) {
    at_pnn_req in{first, last};
    uint32_t count = 0;
    at_pnn_entry *names = nullptr;
    int32_t result = AT_GetPnnList(&in, &count, &names);
    std::string line = words(result, count);
    line += names == nullptr ? "" : std::string(" ") + names[0].long_name;
    free(names);
    return line;
}

std::string own_numbers() {
    at_cnum_list numbers{};
    int32_t result = AT_Cnum(&numbers);
    std::string line = words(result, numbers.count);
    if (numbers.entries != nullptr) {
        line += " " + words(numbers.entries[0].num, numbers.entries[0].type);
    }
    free(numbers.entries);
    return line;
}

std::string file(int32_t id, const char *data) {
    at_crsm_req request{data == nullptr ? 176 : 214,
                        id,
                        0,
                        0,
                        data == nullptr ? 255 : static_cast<int32_t>(strlen(data) / 2),
                        data};
    at_crsm_rsp response{};
    int32_t result = AT_Crsm(&request, &response);
    std::string line = words(result, response.sw1, response.sw2);
    line += response.response == nullptr ? "" : std::string(" ") + response.response;
    free(response.response);
    return line;
}

void check_card() {
    check({
        {"operators", list_of_operators, "0 3 00103 3"},
        {"names", [] { return list_of_names(2, 3); }, "0 2 Valley Mobile"},
        {"names from one on", [] { return list_of_names(1, -1); }, "0 3 Test Network"},
        {"numbers", own_numbers, "0 1 +15550100 145"},
        {"card", ASK(at_scid_info, AT_SCID(r), r.scid_num), "8900101012345678901"},
        {"card again", ASK(at_iccid_info, AT_Iccid(r), r.iccid), "8900101012345678901"},
        {"system", ASK(at_currsid_info, AT_Currsid(r), r.curr_sid, r.curr_nid), "0 0"},
        {"kind", ASK(at_cardmode_info, AT_cardmode(r), r.sim_type), "2"},
        {"APN",
         [] {
             char apn[33] = "";
             int32_t result = AT_get_sim_apn(apn);
             return words(result, apn);
         },
         "0 testnet.home"},
        {"network code", [] { return words(AT_get_mnc_length()); }, "2"},
        {"group",
         [] {
             char group[16] = "";
             int32_t result = AT_get_sim_gid1(group, sizeof group);
             return words(result, group);
         },
         "0 0123"},
        {"IMSI file", [] { return file(0x6F07, nullptr); }, "0 144 0 080910101032547698"},
        {"no file", [] { return file(0x6FFF, nullptr); }, "0 106 130"},
        {"write", [] { return file(0x6F3E, "ABCD"); }, "0 144 0"},
        {"what was written", [] { return file(0x6F3E, nullptr); }, "0 144 0 ABCD"},
        {"too much to write", [] { return file(0x6F3E, "ABCDEF"); }, "0 103 0"},
    });
}

at_profile_info profile(const char *apn) {
    at_profile_info info{};
    info.apn_is_static = 1;
    strcpy(info.apn_name, apn);
    strcpy(info.username, "office");
    info.auth_mode = '1';
    return info;
}

void check_connection() {
    check({
        {"define",
         [] {
             at_cgdcont_info in{1, "IPV4V6", "testnet.business", 0};
             at_cgdcont_info out{};
             int32_t set = AT_cgdcont(&in);
             int32_t read = AT_getcgdcont(&out);
             return words(set, read, out.cid, out.PDP_type, out.APN);
         },
         "0 0 1 IPV4V6 testnet.business"},
        {"authenticate",
         [] {
             at_authdata_info in{1, 2, "00101", "secret", "me", 0};
             at_authdata_info out{};
             int32_t set = AT_authdata(&in);
             int32_t read = AT_getauthdata(&out);
             return words(set, read, out.Auth_type, out.passwd, out.username, out.PLMN);
         },
         "0 0 2 secret me 00101"},
        {"names of hosts",
         [] {
             at_profile_info in{};
             strcpy(in.primary_dns, "192.0.2.1");
             strcpy(in.secondary_dns, "192.0.2.2");
             at_profile_info out{};
             int32_t set = AT_Cgdns(1, 1, &in);
             int32_t read = AT_Cgdns(0, 1, &out);
             return words(set, read, out.primary_dns, out.secondary_dns);
         },
         "0 0 192.0.2.1 192.0.2.2"},
        {"link names",
         [] {
             at_profile_info in{};
             strcpy(in.primary_dns, "192.0.2.1");
             strcpy(in.secondary_dns, "192.0.2.2");
             int32_t first = AT_dnsp(1, &in);
             int32_t second = AT_dnss(1, &in);
             return words(first, second, in.err);
         },
         "0 0 -2"},
        {"detach and attach",
         [] {
             at_cgatt_info record{0, 0};
             int32_t off = AT_Cgatt(1, &record);
             int32_t dialled = AT_ndisdup(1, 1, nullptr);
             record.state = 1;
             int32_t on = AT_Cgatt(1, &record);
             return words(off, dialled, on);
         },
         "0 -1 0"},
        {"not connected", ASK(at_ppp_info, at_ppp_state(0, r), r.IPV4, r.IPV6), "0 0"},
        {"no address", ASK(at_dhcp_info, AT_dhcp(1, r), r.IPAddr), "result -1"},
        {"dial",
         [] {
             at_profile_info in = profile("testnet.home");
             int32_t result = AT_ndisdup(1, 1, &in);
             return words(result, in.err);
         },
         "0 -2"},
        {"connected", ASK(at_ppp_info, at_ppp_state(0, r), r.IPV4, r.IPV6), "1 1"},
        {"address",
         ASK(at_dhcp_info, AT_dhcp(1, r), r.IPAddr, r.NetMask, r.GateWay, r.pDNS, r.sDNS,
             r.max_rx_data),
         "10.64.0.2 255.255.255.252 10.64.0.1 192.0.2.53 192.0.2.54 150000000"},
        {"sixth version", ASK(at_dhcpv6_info, AT_dhcpv6(1, r), r.clip_v6, r.pDNS_v6, r.max_tx_data),
         "2001:DB8:1::2 2001:DB8::53 50000000"},
        {"advertisement",
         ASK(at_aprainfo_info, AT_aprainfo(1, r), r.ipv6_mtu, r.prefix, r.valid_lifetime),
         "1500 2001:DB8:1:: 86400"},
        {"context in use", ASK(at_cgdcont_info, AT_getcgdcont(r), r.APN), "testnet.home"},
        {"profile",
         [] {
             at_pdp_req in{2, "Work", "testnet.work", "office", "secret", 1};
             return words(AT_PDP(&in));
         },
         "0"},
        {"profile of the maker",
         [] {
             at_pdp_req in{1, "Mine", "x", "", "", 0};
             return words(AT_PDP(&in));
         },
         "-1"},
        {"no error", ASK(at_glasterr_info, (r->type = 1, AT_Glasterr(r)), r.type, r.code), "1 0"},
    });
}

void check_flow() {
    at_dsflow_info first{};
    at_dsflow_info second{};
    ASSERT_EQ(AT_Dsflowrpt(1), 0);
    usleep(1100000);
    ASSERT_EQ(AT_Dsflowqry(&first), 0);
    EXPECT_GE(first.last_ds_time, 1u);
    EXPECT_GE(first.last_rx_flow, 150000u);
    EXPECT_GE(first.last_tx_flow, 20000u);
    usleep(50000);
    ASSERT_EQ(AT_Dsflowqry(&second), 0);
    EXPECT_GT(second.last_rx_flow, first.last_rx_flow);
    EXPECT_EQ(second.total_rx_flow, second.last_rx_flow);

    ASSERT_EQ(AT_ndisdup(1, 0, nullptr), 0);
    ASSERT_EQ(AT_Dsflowqry(&first), 0);
    usleep(50000);
    ASSERT_EQ(AT_Dsflowqry(&second), 0);
    EXPECT_EQ(second.last_rx_flow, first.last_rx_flow);
    at_ppp_info state{};
    ASSERT_EQ(at_ppp_state(0, &state), 0);
    EXPECT_EQ(state.IPV4, 0);

    // A second connection begins at nothing; the total goes on.
    ASSERT_EQ(AT_ndisdup(1, 1, nullptr), 0);
    ASSERT_EQ(AT_Dsflowqry(&second), 0);
    EXPECT_LT(second.last_rx_flow, first.last_rx_flow);
    EXPECT_GE(second.total_rx_flow, first.total_rx_flow);
    uint32_t result = 0;
    ASSERT_EQ(AT_Dsflowclr(&result), 0);
    at_dataflow_info flow{};
    ASSERT_EQ(at_dataflow(&flow), 0);
    EXPECT_LT(flow.total_rx_flow, first.total_rx_flow);
}

void check_ussd() {
    auto send = [](const char *string, int32_t n) {
        at_cusd_req request{};
        request.n = n;
        request.dcs = 15;
        request.str_length = static_cast<uint32_t>(strlen(string));
        memcpy(request.str, string, strlen(string));
        int32_t result = AT_Cusd_Msg_Send(1, &request);
        return words(result, static_cast<int32_t>(request.err));
    };
    EXPECT_EQ(send("\"*100#\"", 1), "0 -2");
    EXPECT_EQ(send("\"*111#\"", 1), "0 -2");
    EXPECT_EQ(send("\"2\"", 1), "0 -2");
    EXPECT_EQ(send("", 2), "0 -2");
}

using Fetch = int32_t (*)(uint32_t *, const at_stgi_req *, at_stk_item **);

// The lines of a proactive command, and one value of the first.
std::string fetched(Fetch fetch, uint8_t kind, std::string (*show)(const at_stk_item &)) {
    at_stgi_req request{kind, 0};
    uint32_t count = 0;
    at_stk_item *list = nullptr;
    int32_t result = fetch(&count, &request, &list);
    std::string line = words(result, count);
    line += list == nullptr ? "" : " " + show(list[0]);
    free(list);
    return line;
}

int32_t answered(uint8_t kind, uint8_t number, const char *input) {
    at_stgr_req request{kind, 0, 4, static_cast<uint8_t>(input == nullptr ? 0 : 1), number, ""};
    strcpy(request.text, input == nullptr ? "" : input);
    uint32_t result = 7;
    EXPECT_EQ(AT_Stgr(1, &request, &result), 0);
    return static_cast<int32_t>(result);
}

void check_toolkit() {
    auto menu = [](const at_stk_item &item) {
        return words(item.Identifier, item.NbItems, item.MenuName);
    };
    auto shown = [](const at_stk_item &item) {
        return words(item.TextInfo, item.SizeMin, item.SizeMax, item.DurationTime);
    };
    auto page = [](const at_stk_item &item) { return words(item.URL); };
    at_stsf_info settings{};
    ASSERT_EQ(AT_Stsf(0, nullptr, &settings), 0);
    EXPECT_EQ(words(settings.Mode, settings.Timeout), "1 60");
    EXPECT_EQ(fetched(AT_Stgi_Execute, 37, menu), "0 3 1 3 Balance");
    // Nothing is chosen yet: a refusal leaves the count alone.
    EXPECT_EQ(fetched(AT_StgiText_Execute, 33, shown), "0 0");
    EXPECT_EQ(answered(37, 1, nullptr), -2);
    EXPECT_EQ(fetched(AT_StgiText_Execute, 33, shown), "0 1 Balance: 12.50 0 0 10");
    EXPECT_EQ(answered(37, 3, nullptr), -2);
    EXPECT_EQ(fetched(AT_StgiBrowser_Execute, 21, page), "0 1 http://help.test/");
    EXPECT_EQ(answered(37, 2, nullptr), -2);
    EXPECT_EQ(fetched(AT_StgiInput_Execute, 35, shown), "0 1 Number of the voucher 4 16 0");
    // Too short an answer is refused, and the question stays.
    EXPECT_EQ(answered(35, 0, "123"), 7);
    EXPECT_EQ(answered(35, 0, "12345678"), -2);
    EXPECT_EQ(fetched(AT_StgiText_Execute, 33, shown), "0 1 The voucher is on its way 0 0 0");
    EXPECT_EQ(answered(37, 4, nullptr), 7);
    uint8_t off = 0;
    ASSERT_EQ(AT_Stsf(1, &off, &settings), 0);
    EXPECT_EQ(fetched(AT_Stgi_Execute, 37, menu), "0 0");
}

void check_time() {
    time_t before = time(nullptr);
    at_nwtime_info told{};
    ASSERT_EQ(AT_NWTime(&told), 0);
    EXPECT_STREQ(told.zone, "GMT+01:00");
    tm clock{};
    clock.tm_sec = told.second;
    clock.tm_min = told.minute;
    clock.tm_hour = told.hour - 1;
    clock.tm_mday = told.day;
    clock.tm_mon = told.month;
    clock.tm_year = told.year;
    time_t when = timegm(&clock);
    EXPECT_GE(when, before);
    EXPECT_LE(when, time(nullptr));
}

#define ASK_TEXT(call) ASK(at_text_reply, call, r.text)

void check_identity() {
    check({
        {"IMSI", ASK_TEXT(AT_imsi(r)), "001010123456789"},
        {"model", ASK_TEXT(AT_cgmm(r)), "Desk Modem"},
        {"IMEI", ASK_TEXT(AT_imei(r)), "490154203237518"},
        {"maker", ASK_TEXT(at_cgmi(r)), "Hearth"},
        {"IMEI again", ASK(at_cgsn_info, AT_CGSN(r), r.flag, r.text), "1 490154203237518"},
        {"software", ASK(at_version_info, AT_Cgmr(r), r.software_flag, r.soft),
         "1 11.450.01.00.00"},
        {"hardware", ASK(at_version_info, AT_Hwver(r), r.hardware_flag, r.hard), "1 DM1"},
        {"serial number", ASK_TEXT(AT_sn(r)), " HD00000001"},
        {"card", ASK_TEXT(at_get_scid(r)), "8900101012345678901"},
        {"version", ASK_TEXT(at_get_version("AT^APVER?", r)), "21.100.03.00.00"},
        {"number", ASK_TEXT(at_phone_numbner_get(r)), "\"+15550100\""},
        {"MEID", ASK(at_meid_info, AT_Meid(r), r.meid), "A0000012345678"},
        {"ESN", ASK(at_esn_info, AT_Esn(r), r.esn), "2147483647"},
        {"versions", ASK(at_version_reply, at_version(r), r.extd, r.exth, r.exts),
         "EXTD:Desk Modem EXTH:DM1 EXTS:21.100.03.00.00"},
        {"numbers", ASK(at_phynum_list, at_QryPhynum(r), r.count), "2"},
        {"provider", ASK_TEXT(at_spn_get(r)), "Test Network"},
        {"host",
         [] {
             at_hs_req in{0, 3};
             at_hs_info out{};
             int32_t result = AT_HS(&in, &out);
             return words(result, out.id, out.IsOffline);
         },
         "0 1 0"},
    });
}

void check_device() {
    check({
        {"activity", ASK(at_phone_activity, AT_PhoneActSt(1, r), r.pactstatus), "4"},
        {"LTE", ASK(at_ltescinfo, AT_LTESCINFO(r), r.ci, r.dl_sinr, r.num_ant, r.dl_bw),
         "29611237 14 2 20"},
        {"charger", ASK(at_charger_info, AT_ChargerInfo(r), r.ChargerState, r.BatteryVoltage),
         "charging 3900"},
        {"battery", ASK(at_battery_state, at_query_battery_state(r), r.chargerState, r.batterylvl),
         "1 80"},
        {"standard battery", ASK(at_battery_state_std, at_query_battery_state_std(r), r.bcl), "80"},
        {"battery text", ASK_TEXT(at_battery_get(r)), "1,80"},
        {"antenna", ASK(at_anquery_info, AT_ANQuery(r), r.rscp, r.rssi, r.antenna_level, r.cellid),
         "-85 -79 3 01C3D4E5"},
        {"bars", ASK(at_csqlvlext_info, AT_csqlvlext(0, r), r.rssilv, r.ber), "3 99"},
        {"percent", ASK(at_csqlvl_info, AT_Csqlvl(r), r.uiPercent, r.newRssiCode), "54 17"},
        {"frequency",
         ASK(at_hfreqinfo_info, at_hfreqinfo(0, 0, r), r.sysmode, r.band_class, r.dl_fcn1,
             r.ul_fcn1),
         "6 3 1300 19300"},
        {"throughput", ASK(at_throughput_info, at_throughoutput(r), r.tx, r.rx), "20000 150000"},
        {"time up",
         [] {
             at_pwrontime_info record{};
             int32_t result = at_pwrontime(&record);
             return words(result, record.pwrontime_counters < 60 ? "seconds" : "too long");
         },
         "0 seconds"},
        {"profile",
         [] {
             at_profile_info record{};
             int32_t result = AT_getprofile(2, &record);
             return words(result, record.profile_name, record.apn_name, record.username);
         },
         "0 Work testnet.work office"},
    });
}

int32_t set_nvram(const char *name, const char *value) {
    return at_set_nvram(name, value);
}

void check_memory() {
    check({
        {"profile in use", ASK_TEXT(at_current_profile_get(r)), "1"},
        {"password", ASK_TEXT(at_password_nvram_content_get(r)), "\"admin\""},
        {"users", ASK_TEXT(at_wifi_number_get(r)), "32"},
        {"WPS", ASK_TEXT(at_wps_pin_get(r)), "\"12345670\""},
        {"packets", [] { return words(set_nvram("AT^APMTU", "1400")); }, "0"},
        {"too small packets", [] { return words(set_nvram("AT^APMTU", "1")); }, "-1"},
        {"packets read back", ASK_TEXT(at_mtu_get(r)), "1400"},
        {"ports", ASK_TEXT(at_virserver_nvram_content_get(r)),
         "[1,1,\"192.168.8.2\",6,1,8080,80,\"web\"],[2,0,\"192.168.8.3\",17,0,5060,5060,\"phone\"],"
         "[]"},
        {"filters", ASK_TEXT(at_ipfilter_nvram_content_get(r)),
         "[1,1,\"192.168.8.100\",\"8.8.8.8\",6,1,1,65535,80,80,\"no web\"],[]"},
        {"applications", ASK_TEXT(at_specialappli_nvram_content_get(r)),
         "[1,1,6,17,1,40,41,5000,5001,0,0,0,0,0,0,0,0,\"game\"],[]"},
        {"set DMZ", [] { return words(set_nvram("AT^APDMZ", "1,C0A80805")); }, "0"},
        {"DMZ", ASK_TEXT(at_dmz_get(r)), "[1, \"192.168.8.5\"]"},
        {"on demand", ASK_TEXT(at_on_demand_get(r)), "[0,600]"},
        {"saved PIN", ASK_TEXT(at_save_pin_content_get(r)), "[0, \"\"]"},
        {"web user",
         [] {
             int32_t code = 0;
             int32_t result = at_nvram_web_use_get(1, &code);
             return words(result, code);
         },
         "0 17"},
        {"web texts", ASK(at_web_user, at_nvram_web_sms_get(2, r), r.code, r.Reserve2), "en 4"},
        {"no web user", ASK(at_web_user, at_nvram_web_sms_get(9, r), r.code), "result -1"},
        {"dial mode", ASK(at_dial_mode_info, at_dial_mode(r), r.dial_mode), "1"},
        {"set idle time",
         ASK(at_apdialmode_info, (r->dialmode = 1, r->idletime = 30, AT_apdialmode(1, r)),
             r.idletime),
         "30"},
        {"idle time", ASK(at_apdialmode_info, AT_apdialmode(0, r), r.dialmode, r.idletime), "1 30"},
        {"set version", ASK(at_rrcver_info, (r->rrcver = 8, AT_RRCVer(1, r)), r.err), "-2"},
        {"radio version", ASK(at_rrcver_info, AT_RRCVer(0, r), r.rrcver), "8"},
        {"voice mail",
         [] {
             at_cvmnq_req in{0, "+15550111"};
             at_cvmnq_info out{};
             int32_t set = AT_cvmnq(1, &in, &out);
             int32_t read = AT_cvmnq(0, nullptr, &out);
             return words(set, read, out.voice_mail_number, out.nv_number);
         },
         "0 0 +15550100 +15550111"},
        {"time zone", ASK(at_timezone_info, at_TimeZone(r), r.timezone), "0"},
        {"web kind",
         [] {
             char out[1500] = "";
             int32_t set = at_set_xml_infotype("3");
             int32_t read = at_get_xml_infotype(out);
             return words(set, read, out);
         },
         "0 0 3"},
        {"backup", ASK(at_nv_result, at_nvbackup(r), r.err), "-2"},
        {"backup state", ASK(at_nv_result, at_nvrststts(r), r.err), "-2"},
        {"restore", [] { return words(at_restore()); }, "0"},
        {"packets after it", ASK_TEXT(at_mtu_get(r)), "1500"},
    });
}

// The radio and the registration that goes with it.
void check_radio() {
    auto registration = ASK(at_creg_info, AT_Creg(0, r), r.stat);
    ASSERT_EQ(AT_Cfun(4), 0);
    EXPECT_EQ(registration(), "0");
    at_ppp_info connection{};
    ASSERT_EQ(at_ppp_state(0, &connection), 0);
    EXPECT_EQ(connection.IPV4, 0);
    at_cusd_req request{1, "\"*100#\"", 7, 15, 0};
    EXPECT_EQ(AT_Cusd_Msg_Send(1, &request), -1);
    EXPECT_EQ(static_cast<int32_t>(request.err), -3);
    at_nwtime_info told{};
    EXPECT_EQ(AT_NWTime(&told), 1);
    ASSERT_EQ(AT_Cfun(1), 0);
    EXPECT_EQ(registration(), "1");
    ASSERT_EQ(AT_ReBoot(), 0);
    EXPECT_EQ(registration(), "1");
    for (auto bare : {at_SetCsdflt, at_SetModemInforbu, at_factoryreset, at_counter_clear}) {
        EXPECT_EQ(bare(), 0);
    }
    EXPECT_EQ(AT_SD(), 0);
    EXPECT_EQ(at_dial_command("AT+CFUN=1"), 0);
    char out[1500] = "";
    EXPECT_EQ(AT_CommenCmd("AT+CGMM", nullptr, out), 0);
    EXPECT_STREQ(out, "Desk Modem");
    EXPECT_EQ(AT_CommenCmd("AT^NOSUCH", nullptr, out), -1);
    EXPECT_EQ(at_godload(), 0);
    EXPECT_EQ(registration(), "0");
    EXPECT_EQ(AT_SDload(), 0);
}

void check_home() {
    // The signal of the home scenario changes for two seconds.
    usleep(2200000);
    check_identity();
    check_network();
    check_settings();
    check_card();
    check_connection();
    check_device();
    check_flow();
    check_ussd();
    check_toolkit();
    check_time();
    check_memory();
    check_radio();
}

TEST(Modem, AnswersInTheServer) {
    Desk desk(Desk::shipped("home"), Desk::kInServer);
    check_home();
}

TEST(Modem, AnswersOnATerminal) {
    Desk desk(Desk::shipped("home"), Desk::kOnTerminal);
    check_home();
}

}  // namespace
