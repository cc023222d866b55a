// Replies through the network commands and the queries of the data connection. Input: member,
// Ret_val, then the reply.
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "hearth/at_lib.h"
#include "hearth/at_ndis.h"
#include "hearth/at_network.h"

namespace {

const uint8_t *g_reply;
size_t g_length;
int32_t g_ret_val;

// A record of exact size, so that a sanitizer sees a step beyond it.
template <auto Function, typename Record>
void query() {
    auto record = std::make_unique<Record>();
    (void)!Function(record.get());
}

template <auto Function, typename Record>
void query_by_action() {
    auto record = std::make_unique<Record>();
    (void)!Function(AT_CMD_TYPE_CHECK, record.get());
}

template <auto Function, typename Record>
void query_by_number() {
    auto record = std::make_unique<Record>();
    (void)!Function(1, record.get());
}

void rssi() {
    auto text = std::make_unique<char[]>(4);
    (void)!AT_Rssi(text.get());
}

void eons() {
    auto record = std::make_unique<at_eons_info>();
    (void)!AT_Eons(5, nullptr, record.get());
}

void sysconfig() {
    at_syscfg_req in{};
    auto record = std::make_unique<at_syscfg_info>();
    (void)!AT_SysConfig(AT_CMD_TYPE_CHECK, &in, record.get());
}

void operators() {
    auto list = std::make_unique<at_operator_list>();
    at_operators out{};
    out.list = list.get();
    (void)!AT_ChoseOperators(2, nullptr, &out);
}

void opl() {
    at_opl_list list{};
    (void)!AT_GetOPList(1, &list);
    free(list.opl_list);
}

void pnn() {
    at_pnn_req in{1, -1};
    uint32_t count = 0;
    at_pnn_entry *list = nullptr;
    (void)!AT_GetPnnList(&in, &count, &list);
    free(list);
}

constexpr void (*kMembers[])() = {
    rssi,
    eons,
    sysconfig,
    operators,
    opl,
    pnn,
    query<AT_Csnr, at_csnr_info>,
    query<AT_Cops, at_cops_info>,
    query_by_action<AT_Creg, at_creg_info>,
    query_by_action<AT_Cgreg, at_creg_info>,
    query_by_action<AT_Cgatt, at_cgatt_info>,
    query_by_action<AT_SysConfigEx, at_syscfgex_info>,
    query<AT_SysInfo, at_sysinfo>,
    query<AT_SysInfoEx, at_sysinfoex>,
    query_by_number<AT_GetSpn, at_spn_info>,
    query_by_number<AT_Cpnn, at_cpnn_info>,
    query<AT_Hcsq, at_hcsq_info>,
    query<AT_Cellroam, at_cellroam_info>,
    query_by_action<AT_Cgcatt, at_cgcatt_info>,
    query<AT_Rsrp, at_rsrp_info>,
    query<AT_Cellid, at_cellid_info>,
    query<AT_RFSwitch_Check, at_rfswitch_info>,
    query<AT_HOPARASET_Check, at_hoparaset_info>,
    query<AT_LTEMEASMODE_Check, at_ltemeasmode_info>,
    query<AT_SC_test, at_cwas_info>,
    query<AT_LCACELL, at_lcacell_info>,
    query<AT_NWTime, at_nwtime_info>,
    query<AT_Syscfg_test, at_syscfg_test>,
    query<AT_Syscfgex_test, at_syscfgex_test>,
    query_by_action<AT_PrefRoam, at_prefroam_info>,
    query<AT_cardmode, at_cardmode_info>,
    query<AT_getauthdata, at_authdata_info>,
    query<AT_getcgdcont, at_cgdcont_info>,
    query_by_action<AT_dnsp, at_profile_info>,
};

}  // namespace

// Stands in for the channel.
extern "C" int32_t GetDataFromAtServer(at_server_msg *message) {
    size_t length = std::min(g_length, sizeof message->report - 1);
    memset(message->report, 0, sizeof message->report);
    memcpy(message->report, g_reply, length);
    message->report_len = static_cast<uint32_t>(length);
    message->Ret_val = g_ret_val;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) {
        return 0;
    }
    g_ret_val = data[1] % 6;
    g_reply = data + 2;
    g_length = size - 2;
    kMembers[data[0] % std::size(kMembers)]();
    return 0;
}
