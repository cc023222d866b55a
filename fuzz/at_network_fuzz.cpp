// Replies through the network commands. at_member.h tells the form of the input.
// libFuzzer: -max_len=1600 -dict=fuzz/at.dict
#include "at_member.h"
#include "hearth/at_network.h"

namespace {

using hearth::fuzz::call;
using hearth::fuzz::call_with;
using hearth::fuzz::take_list;

constexpr char kNetwork[] = "00101";

// Four characters may come without a terminator.
void rssi() {
    auto text = std::make_unique<char[]>(4);
    (void)!AT_Rssi(text.get());
}

void search_operators() {
    auto list = std::make_unique<at_operator_list>();
    auto out = std::make_unique<at_operators>();
    out->list = list.get();
    (void)!AT_ChoseOperators(2, nullptr, out.get());
}

void opl() {
    auto list = std::make_unique<at_opl_list>();
    int32_t result = AT_GetOPList(1, list.get());
    take_list(result, list->opl_list, list->count);
}

template <int32_t Second>
void pnn() {
    at_pnn_req in{1, Second};
    uint32_t count = 0;
    at_pnn_entry *list = nullptr;
    int32_t result = AT_GetPnnList(&in, &count, &list);
    take_list(result, list, count);
}

constexpr hearth::fuzz::AtMember kMembers[] = {
    rssi,
    call<AT_Csnr>,
    call<AT_Eons, 5, nullptr>,
    call<AT_Eons, 1, kNetwork>,
    call<AT_Cops>,
    call<AT_Creg, AT_CMD_TYPE_CHECK>,
    call<AT_Creg, AT_CMD_TYPE_SET>,
    call<AT_Cgreg, AT_CMD_TYPE_CHECK>,
    call<AT_Cgreg, AT_CMD_TYPE_SET>,
    call<AT_Cgatt, AT_CMD_TYPE_CHECK>,
    call<AT_Cgatt, AT_CMD_TYPE_SET>,
    call<AT_SysConfig, AT_CMD_TYPE_CHECK>,
    call<AT_SysConfig, AT_CMD_TYPE_SET>,
    call<AT_SysConfigEx, AT_CMD_TYPE_CHECK>,
    call<AT_SysConfigEx, AT_CMD_TYPE_SET>,
    call<AT_SysInfo>,
    call<AT_SysInfoEx>,
    call<AT_GetSpn, 1>,
    call<AT_Cpnn, 1>,
    call<AT_Hcsq>,
    call<AT_Cellroam>,
    call<AT_Cgcatt, AT_CMD_TYPE_CHECK>,
    call<AT_Cgcatt, AT_CMD_TYPE_SET>,
    call<AT_Rsrp>,
    call<AT_Cellid>,
    call<AT_RFSwitch, AT_CMD_TYPE_CHECK>,
    call<AT_RFSwitch, AT_CMD_TYPE_SET>,
    call<AT_HOPARASET, AT_CMD_TYPE_CHECK>,
    call<AT_HOPARASET, AT_CMD_TYPE_SET>,
    call<AT_LTEMEASMODE, AT_CMD_TYPE_CHECK>,
    call<AT_LTEMEASMODE, AT_CMD_TYPE_SET>,
    call<AT_Srvst, AT_CMD_TYPE_SET>,
    call<AT_Mode, AT_CMD_TYPE_SET>,
    call<AT_PDP>,
    call<AT_FASTDORM, 1, 2>,
    call<AT_PrefRoam, AT_CMD_TYPE_CHECK>,
    call<AT_PrefRoam, AT_CMD_TYPE_SET>,
    call<AT_ChoseOperators, 1>,
    search_operators,
    opl,
    pnn<1>,
    pnn<-1>,
    pnn<-2>,
    call<AT_SC_test>,
    call<AT_LCACELL>,
    call<AT_NWTime>,
    call<AT_Syscfg_test>,
    call<AT_Syscfgex_test>,
};

}  // namespace

std::span<const hearth::fuzz::AtMember> hearth::fuzz::members() {
    return kMembers;
}
