// Replies through the commands of the data connection and of its counters. at_member.h tells the
// form of the input.
// libFuzzer: -max_len=1600 -dict=fuzz/at.dict
#include "at_member.h"
#include "hearth/at_ndis.h"
#include "hearth/at_statistics.h"

namespace {

using hearth::fuzz::call;

constexpr char kPin[] = "1234";

template <uint8_t ApnIsStatic, uint8_t IpIsStatic>
void dial() {
    auto profile = std::make_unique<at_profile_info>();
    profile->apn_is_static = ApnIsStatic;
    profile->ip_is_static = IpIsStatic;
    (void)!AT_ndisdup(1, 1, profile.get());
}

constexpr hearth::fuzz::AtMember kMembers[] = {
    call<AT_cardmode>,
    call<AT_getauthdata>,
    call<AT_getcgdcont>,
    call<AT_dnsp, AT_CMD_TYPE_CHECK>,
    call<AT_dnsp, AT_CMD_TYPE_SET>,
    call<AT_dnss, AT_CMD_TYPE_CHECK>,
    call<AT_dnss, AT_CMD_TYPE_SET>,
    call<AT_ndisdup, 1, 0, nullptr>,
    dial<0, 0>,
    dial<0, 1>,
    dial<1, 0>,
    dial<1, 1>,
    call<AT_cgdcont>,
    call<AT_authdata>,
    call<AT_dhcp, 1>,
    call<AT_dhcp, 2>,
    call<AT_dhcpv6, 1>,
    call<AT_dhcpv6, 2>,
    call<AT_aprainfo, 1>,
    call<AT_aprainfo, 2>,
    call<AT_lan_addr>,
    call<at_ppp_state, AT_CMD_TYPE_CHECK>,
    call<at_ppp_state, AT_CMD_TYPE_SET>,
    call<AT_Cgdns, AT_CMD_TYPE_CHECK, 1>,
    call<AT_Cgdns, AT_CMD_TYPE_SET, 1>,
    call<AT_Glasterr>,
    call<at_ipv6_cap>,
    call<AT_cpin_check>,
    call<AT_cpin_execute, kPin, kPin>,
    call<AT_Dsflowrpt, 1>,
    call<AT_Dsflowclr>,
    call<AT_Dsflowqry>,
    call<at_dataflow>,
};

}  // namespace

std::span<const hearth::fuzz::AtMember> hearth::fuzz::members() {
    return kMembers;
}
