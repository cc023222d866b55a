#include "hearth/at_ndis.h"

#include "ats/atapi/at_exchange.h"
#include "hearth/at_lib.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_ndis"};

static_assert(offsetof(at_profile_info, apn_is_static) == 140);
static_assert(offsetof(at_profile_info, ip_is_static) == 463);
static_assert(offsetof(at_profile_info, primary_dns) == 546);
static_assert(offsetof(at_profile_info, read_only) == 708);
static_assert(sizeof(at_profile_info) == 720);

constexpr Field kCardmodeFields[] = {AT_FIELD(at_cardmode_info, sim_type)};
constexpr Member kCardmode = member({.command = "AT^CARDMODE",
                                     .match = "^CARDMODE",
                                     .key = "^CARDMODE",
                                     .table = 2,
                                     .fields = kCardmodeFields,
                                     .err = AT_ERR(at_cardmode_info)});

constexpr Field kAuthdataFields[] = {
    AT_FIELD(at_authdata_info, cid), AT_FIELD(at_authdata_info, Auth_type),
    AT_FIELD(at_authdata_info, PLMN), AT_FIELD(at_authdata_info, passwd),
    AT_FIELD(at_authdata_info, username)};
constexpr Member kGetAuthdata = member({.command = "AT^AUTHDATA?",
                                        .match = "^AUTHDATA",
                                        .key = "^AUTHDATA",
                                        .table = 36,
                                        .fields = kAuthdataFields,
                                        .err = AT_ERR(at_authdata_info)});

constexpr Field kCgdcontFields[] = {AT_FIELD(at_cgdcont_info, cid),
                                    AT_FIELD(at_cgdcont_info, PDP_type),
                                    AT_FIELD(at_cgdcont_info, APN)};
constexpr Member kGetCgdcont = member({.command = "AT+CGDCONT?",
                                       .match = "+CGDCONT",
                                       .key = "+CGDCONT",
                                       .table = 37,
                                       .fields = kCgdcontFields,
                                       .err = AT_ERR(at_cgdcont_info)});

// Both reads ask table 20, which has no such rows, and thus never give an address. Required.
constexpr Argument kPrimaryDns[] = {AT_ARGUMENT(at_profile_info, primary_dns)};
constexpr Member kDnspSet =
    member({.command = "AT^DNSP=%s",
            .arguments = kPrimaryDns,
            .match = "^DNSP",
            .err = AT_ERR(at_profile_info),
            .source = &kLogSource,
            .refused = {OSA_LOG_INFO, "[AT_dnsp]AT^DNSP config error=%d\n"}});
constexpr Member kDnspCheck =
    member({.command = "AT^DNSP?",
            .match = "^DNSP:",
            .key = "^DNSP",
            .table = 20,
            .err = AT_ERR(at_profile_info),
            .source = &kLogSource,
            .no_record = {OSA_LOG_INFO, "[AT_dnsp]no param, AT^DNSP cmd not execute!\n"}});

constexpr Argument kSecondaryDns[] = {AT_ARGUMENT(at_profile_info, secondary_dns)};
constexpr Member kDnssSet =
    member({.command = "AT^DNSS=%s",
            .arguments = kSecondaryDns,
            .match = "^DNSS",
            .err = AT_ERR(at_profile_info),
            .source = &kLogSource,
            .refused = {OSA_LOG_INFO, "[AT_dnss]AT^DNSS config error=%d\n"}});
constexpr Member kDnssCheck =
    member({.command = "AT^DNSS?",
            .match = "^DNSS:",
            .key = "^DNSS",
            .table = 20,
            .err = AT_ERR(at_profile_info),
            .source = &kLogSource,
            .no_record = {OSA_LOG_INFO, "[AT_dnss]no param, AT^DNSS cmd not execute!\n"}});

}  // namespace

int32_t AT_cardmode(at_cardmode_info *record) {
    return run(kCardmode, record);
}

int32_t AT_getauthdata(at_authdata_info *record) {
    return run(kGetAuthdata, record);
}

int32_t AT_getcgdcont(at_cgdcont_info *record) {
    return run(kGetCgdcont, record);
}

int32_t AT_dnsp(int32_t action, at_profile_info *record) {
    return run_action(action, kDnspCheck, kDnspSet, record);
}

int32_t AT_dnss(int32_t action, at_profile_info *record) {
    return run_action(action, kDnssCheck, kDnssSet, record);
}
