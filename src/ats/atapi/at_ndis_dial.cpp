// Dialling and configuring the data connection, and the addresses that the network gave.

#include "ats/atapi/at_address.h"
#include "ats/atapi/at_exchange.h"
#include "hearth/at_ndis.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_ndis"};

enum Table : uint32_t { kConnection = 20, kAddresses = 30, kRouter = 35 };

// The values of a command: one or two numbers and the profile.
struct Dial {
    int32_t first;
    int32_t second;
    at_profile_info profile;
};

#define DIAL(field) AT_ARGUMENT(Dial, field)
#define DIAL_PROFILE(field)                                                                \
    hearth::at::Argument {                                                                 \
        static_cast<uint32_t>(offsetof(Dial, profile) + offsetof(at_profile_info, field)), \
            sizeof(at_profile_info::field), kind_of<decltype(at_profile_info::field)>()    \
    }

constexpr Argument kBare[] = {DIAL(first), DIAL(second)};
constexpr Argument kApn[] = {DIAL(first),
                             DIAL(second),
                             DIAL_PROFILE(apn_name),
                             DIAL_PROFILE(username),
                             DIAL_PROFILE(password),
                             DIAL_PROFILE(auth_mode),
                             DIAL_PROFILE(addr)};
constexpr Argument kNoApn[] = {DIAL(first),
                               DIAL(second),
                               DIAL_PROFILE(username),
                               DIAL_PROFILE(password),
                               DIAL_PROFILE(auth_mode),
                               DIAL_PROFILE(addr)};

constexpr Member dial(const char *command, std::span<const Argument> arguments) {
    return {.command = command,
            .arguments = arguments,
            .match = "^NDISDUP",
            .err = AT_ERR(at_profile_info),
            .source = &kLogSource,
            .failed = {OSA_LOG_INFO, "AT^NDISDUP run failed!\n"},
            .refused = {OSA_LOG_INFO, "AT^NDISUP config error!\n"}};
}

constexpr Member kDialBare = member(dial("AT^NDISDUP=%d,%d", kBare));
constexpr Member kDialApnAddress =
    member(dial("AT^NDISDUP=%d,%d,\"%s\",\"%s\",\"%s\",%c,\"%s\"", kApn));
constexpr Member kDialApn =
    member(dial("AT^NDISDUP=%d,%d,\"%s\",\"%s\",\"%s\",%c", std::span(kApn).first(6)));
constexpr Member kDialAddress = member(dial("AT^NDISDUP=%d,%d,,\"%s\",\"%s\",%c,\"%s\"", kNoApn));
constexpr Member kDialPlain =
    member(dial("AT^NDISDUP=%d,%d,,\"%s\",\"%s\",%c", std::span(kNoApn).first(5)));

const Member &dial_member(const at_profile_info *profile) {
    if (profile == nullptr) {
        return kDialBare;
    }
    if (profile->apn_is_static == 1) {
        return profile->ip_is_static == 1 ? kDialApnAddress : kDialApn;
    }
    return profile->ip_is_static == 1 ? kDialAddress : kDialPlain;
}

constexpr Argument kCgdcontArguments[] = {AT_ARGUMENT(at_cgdcont_info, cid),
                                          AT_ARGUMENT(at_cgdcont_info, PDP_type),
                                          AT_ARGUMENT(at_cgdcont_info, APN)};
constexpr Member kSetCgdcont = member({.command = "AT+CGDCONT=%d,\"%s\",\"%s\"",
                                       .arguments = kCgdcontArguments,
                                       .match = "+CGDCONT",
                                       .err = AT_ERR(at_cgdcont_info)});

constexpr Argument kAuthdataArguments[] = {
    AT_ARGUMENT(at_authdata_info, cid), AT_ARGUMENT(at_authdata_info, Auth_type),
    AT_ARGUMENT(at_authdata_info, PLMN), AT_ARGUMENT(at_authdata_info, passwd),
    AT_ARGUMENT(at_authdata_info, username)};
constexpr Member kSetAuthdata = member({.command = "AT^AUTHDATA=%d,%d,\"%s\",\"%s\",\"%s\"",
                                        .arguments = kAuthdataArguments,
                                        .match = "^AUTHDATA",
                                        .err = AT_ERR(at_authdata_info)});

#define DHCP_ADDRESS(field) AT_FIELD_WITH(at_dhcp_info, field, #field, store_reversed_address)
constexpr Field kDhcpFields[] = {DHCP_ADDRESS(IPAddr),
                                 DHCP_ADDRESS(NetMask),
                                 DHCP_ADDRESS(GateWay),
                                 DHCP_ADDRESS(pDNS),
                                 DHCP_ADDRESS(sDNS),
                                 AT_FIELD(at_dhcp_info, max_rx_data),
                                 AT_FIELD(at_dhcp_info, max_tx_data)};
constexpr Field kDhcpv6Fields[] = {
    AT_FIELD(at_dhcpv6_info, clip_v6),    AT_FIELD(at_dhcpv6_info, netmask_v6),
    AT_FIELD(at_dhcpv6_info, gate_v6),    AT_FIELD(at_dhcpv6_info, pDNS_v6),
    AT_FIELD(at_dhcpv6_info, sDNS_v6),    AT_FIELD(at_dhcpv6_info, max_rx_data),
    AT_FIELD(at_dhcpv6_info, max_tx_data)};
constexpr Field kAprainfoFields[] = {
    AT_FIELD(at_aprainfo_info, ipv6_mtu), AT_FIELD(at_aprainfo_info, prefix),
    AT_FIELD(at_aprainfo_info, preferred_lifetime), AT_FIELD(at_aprainfo_info, valid_lifetime)};

// The log lines of one member.
struct Lines {
    const char *no_record;
    const char *failed;
    const char *refused;
};

// One row of a query whose set form sends the action; the reply of both is read alike.
constexpr Member address_row(const char *command, std::span<const Argument> arguments,
                             const char *match, uint32_t table, std::span<const Field> fields,
                             int32_t err, const Lines &lines) {
    return {.command = command,
            .arguments = arguments,
            .match = match,
            .key = match,
            .table = table,
            .err_before_list = table == kAddresses,
            .fields = fields,
            .err = err,
            .source = &kLogSource,
            .no_record = {OSA_LOG_INFO, lines.no_record},
            .failed = {OSA_LOG_INFO, lines.failed},
            .refused = {OSA_LOG_INFO, lines.refused}};
}

constexpr Lines kDhcpLines{"no param, AT^DHCP   cmd not execute!\n",
                           "AT^DHCP result parse failed!\n", "AT^DHCP query error!\n"};
constexpr Lines kDhcpv6Lines{"no param, AT^DHCPV6   cmd not execute!\n",
                             "AT^DHCPV6 result parse failed!\n", "AT^DHCPV6 query error!\n"};
// The words of another command for a null record. Required.
constexpr Lines kAprainfoLines{"no param, AT^DHCP   cmd not execute!\n",
                               "AT^APRAINFO result parse failed!\n", "AT^APRAINFO query error!\n"};
constexpr Lines kLanAddrLines{"no param, AT^APLANADDR   cmd not execute!\n",
                              "AT^APLANADDR result parse failed!\n", "AT^APLANADDR query error!\n"};

// Action 1 asks; any other is sent as it stands.
struct ByAction {
    Member query;
    Member set;
};

consteval ByAction by_action(const char *query, const char *set, const char *match, uint32_t table,
                             std::span<const Field> fields, int32_t err, const Lines &lines) {
    return {member(address_row(query, {}, match, table, fields, err, lines)),
            member(address_row(set, kNumber, match, table, fields, err, lines))};
}

constexpr ByAction kDhcp = by_action("AT^DHCP?", "AT^DHCP=%d", "^DHCP", kAddresses, kDhcpFields,
                                     AT_ERR(at_dhcp_info), kDhcpLines);
constexpr ByAction kDhcpv6 = by_action("AT^DHCPV6?", "AT^DHCPV6=%d", "^DHCPV6", kAddresses,
                                       kDhcpv6Fields, AT_ERR(at_dhcpv6_info), kDhcpv6Lines);
constexpr ByAction kAprainfo = by_action("AT^APRAINFO?", "AT^APRAINFO=%d", "^APRAINFO", kRouter,
                                         kAprainfoFields, AT_ERR(at_aprainfo_info), kAprainfoLines);

int32_t run_by_action(const ByAction &members, int32_t action, void *record) {
    return action == 1 ? run(members.query, record) : run(members.set, record, &action);
}

// The reply is looked up under another command's row, so that a good one gives -1. Required.
constexpr Member kLanAddr = [] {
    Member row = address_row("AT^APLANADDR?", {}, "^APLANADDR", kRouter, {},
                             AT_ERR(at_lan_addr_info), kLanAddrLines);
    row.key = "^APRAINFO";
    return row;
}();

constexpr Member ppp_row(const char *command, std::span<const Argument> arguments) {
    return {.command = command,
            .arguments = arguments,
            .match = "^APCONNST",
            .timeout = 5,
            .refusal = Refusal::kMap,
            .key = "^APCONNST",
            .table = kConnection,
            .err = AT_ERR(at_ppp_info)};
}
constexpr Member kPppCheck = member(ppp_row("AT^APCONNST?", {}));
constexpr Member kPppSet = member(ppp_row("AT^APCONNST=%d", kNumber));

// Each status stands in front of the name that it belongs to.
void fill_ppp(const at_parse_result *chain, at_ppp_info *record) {
    int32_t status = 0;
    bool first = true;
    for (const at_parse_result *node = chain; node != nullptr; node = node->next_field) {
        if (safe_strcmp(node->AtFieldName, "status") == 0) {
            status = safe_atoi(node->AtFieldValue);
            record->IPV4 = first ? status : record->IPV4;
            first = false;
        } else if (safe_strcmp(node->AtFieldName, "IPV4") == 0) {
            record->IPV4 = status;
        } else if (safe_strcmp(node->AtFieldName, "IPV6") == 0) {
            record->IPV6 = status;
        }
    }
}

constexpr Argument kCgdnsArguments[] = {DIAL(first), DIAL_PROFILE(primary_dns),
                                        DIAL_PROFILE(secondary_dns)};
constexpr Field kCgdnsFields[] = {AT_FIELD_AS(at_profile_info, primary_dns, "PriDns"),
                                  AT_FIELD_AS(at_profile_info, secondary_dns, "SecDns")};
constexpr LogText kNoCgdns{OSA_LOG_INFO, "no param, AT^CGDNS   cmd not execute!\n"};
constexpr LogText kCgdnsFailed{OSA_LOG_INFO, "AT^CGDNS result parse failed!\n"};
constexpr LogText kCgdnsRefused{OSA_LOG_INFO, "AT^CGDNS config error=%d\n"};
// The blank in front of the sign is required.
constexpr Member kCgdnsSet = member({.command = "AT^CGDNS =%d,\"%s\",\"%s\"",
                                     .arguments = kCgdnsArguments,
                                     .match = "^CGDNS",
                                     .err = AT_ERR(at_profile_info),
                                     .source = &kLogSource,
                                     .no_record = kNoCgdns,
                                     .failed = kCgdnsFailed,
                                     .refused = kCgdnsRefused});
constexpr Member kCgdnsCheck = member({.command = "AT^CGDNS?",
                                       .match = "^CGDNS:",
                                       .key = "^CGDNS",
                                       .table = kConnection,
                                       .fields = kCgdnsFields,
                                       .err = AT_ERR(at_profile_info),
                                       .source = &kLogSource,
                                       .no_record = kNoCgdns,
                                       .failed = kCgdnsFailed,
                                       .refused = kCgdnsRefused});

constexpr Argument kGlasterrArguments[] = {AT_ARGUMENT(at_glasterr_info, type)};
constexpr Field kGlasterrFields[] = {AT_FIELD(at_glasterr_info, type),
                                     AT_FIELD(at_glasterr_info, code)};
constexpr Member kGlasterr =
    member({.command = "AT^GLASTERR=%d",
            .arguments = kGlasterrArguments,
            .match = "^GLASTERR:",
            .key = "^GLASTERR",
            .table = kConnection,
            .fields = kGlasterrFields,
            .err = AT_ERR(at_glasterr_info),
            .source = &kLogSource,
            .no_record = {OSA_LOG_INFO, "no param, AT^CLASTERR cmd not execute!\n"},
            .failed = {OSA_LOG_WARNING, "AT^GLASTERR=1 result parse failed!\n"},
            .refused = {OSA_LOG_WARNING, "AT^GLASTERR=1 error!\n"}});

constexpr Field kIpv6CapFields[] = {AT_FIELD(at_ipv6_cap_info, cfg_value)};
constexpr Member kIpv6Cap = member({.command = "AT^IPV6CAP?",
                                    .match = "^IPV6CAP",
                                    .timeout = 5,
                                    .refusal = Refusal::kMap,
                                    .key = "^IPV6CAP",
                                    .table = kConnection,
                                    .fields = kIpv6CapFields,
                                    .err = AT_ERR(at_ipv6_cap_info)});

int32_t tell_failure(int32_t result) {
    if (result != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "AT return error!\n");
    }
    return result;
}

}  // namespace

int32_t AT_ndisdup(int32_t first, int32_t second, at_profile_info *profile) {
    Dial values{first, second, {}};
    if (profile != nullptr) {
        values.profile = *profile;
    }
    const Member &kind = dial_member(profile);
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kind, &message, profile, &values, &result)) {
        return result;
    }
    if (profile != nullptr) {
        clear_err(kind, profile);
    }
    return 0;
}

int32_t AT_cgdcont(at_cgdcont_info *record) {
    return run(kSetCgdcont, record);
}

int32_t AT_authdata(at_authdata_info *record) {
    return run(kSetAuthdata, record);
}

int32_t AT_dhcp(int32_t action, at_dhcp_info *record) {
    return run_by_action(kDhcp, action, record);
}

int32_t AT_dhcpv6(int32_t action, at_dhcpv6_info *record) {
    return run_by_action(kDhcpv6, action, record);
}

int32_t AT_aprainfo(int32_t action, at_aprainfo_info *record) {
    return run_by_action(kAprainfo, action, record);
}

int32_t AT_lan_addr(at_lan_addr_info *record) {
    return run(kLanAddr, record);
}

int32_t at_ppp_state(int32_t action, at_ppp_info *record) {
    if (record == nullptr) {
        return -1;
    }
    const Member &kind = action == AT_CMD_TYPE_CHECK ? kPppCheck : kPppSet;
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kind, &message, record, &action, &result)) {
        return result;
    }
    hearth::ResultList list = parse(kind, &message);
    if (!list) {
        return -1;
    }
    clear_err(kind, record);
    fill_ppp(list.get(), record);
    return 0;
}

int32_t AT_Cgdns(int32_t action, int32_t cid, at_profile_info *profile) {
    if (action == AT_CMD_TYPE_CHECK || profile == nullptr) {
        return run(kCgdnsCheck, profile);
    }
    Dial values{cid, 0, *profile};
    return action == AT_CMD_TYPE_SET ? run(kCgdnsSet, profile, &values) : -1;
}

int32_t AT_Glasterr(at_glasterr_info *record) {
    return run(kGlasterr, record);
}

int32_t at_ipv6_cap(at_ipv6_cap_info *record) {
    return run(kIpv6Cap, record);
}

int32_t AT_cpin_check(at_pin_info *record) {
    if (record == nullptr) {
        HEARTH_LOG(OSA_LOG_WARNING, "Param is null!\n");
        return -1;
    }
    return tell_failure(AT_PinManagement(AT_CMD_TYPE_CHECK, nullptr, nullptr, record));
}

int32_t AT_cpin_execute(const char *pin, const char *new_pin, at_pin_info *record) {
    if ((pin == nullptr) != (new_pin == nullptr) || record == nullptr) {
        HEARTH_LOG(OSA_LOG_WARNING, "Param is error!\n");
        return -1;
    }
    return tell_failure(AT_PinManagement(AT_CMD_TYPE_SET, pin, new_pin, record));
}
