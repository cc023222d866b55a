// Lists kept in the modem's memory. The server returns the stored entries one after the other;
// each becomes one element of an array in text form.
#include <stdlib.h>
#include <string.h>

#include "ats/atapi/at_address.h"
#include "ats/atapi/at_exchange.h"
#include "ats/atapi/at_k7_spn.h"
#include "base/text.h"
#include "hearth/at_k7.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_k7"};

constexpr Member nvram_row(const char *command, const char *key, uint32_t table,
                           std::span<const Field> fields, int32_t timeout = 5) {
    return {.command = command,
            .match = key,
            .timeout = timeout,
            .refusal = Refusal::kMap,
            .key = key,
            .table = table,
            .fields = fields,
            .err = AT_ERR(at_text_reply),
            .source = &kLogSource,
            .no_record = {OSA_LOG_INFO, "para is NULL"}};
}

#define ADDRESS(record, member) AT_FIELD_WITH(record, member, #member, store_address)

constexpr Field kProfileFields[] = {
    AT_FIELD(at_profile_info, index),         AT_FIELD(at_profile_info, is_valid),
    AT_FIELD(at_profile_info, profile_name),  AT_FIELD(at_profile_info, apn_is_static),
    AT_FIELD(at_profile_info, apn_name),      AT_FIELD(at_profile_info, username),
    AT_FIELD(at_profile_info, password),      AT_FIELD(at_profile_info, auth_mode),
    AT_FIELD(at_profile_info, ip_is_static),  ADDRESS(at_profile_info, addr),
    AT_FIELD(at_profile_info, dns_is_static), ADDRESS(at_profile_info, primary_dns),
    ADDRESS(at_profile_info, secondary_dns),  AT_FIELD(at_profile_info, read_only)};
constexpr Member kProfiles = member(nvram_row("AT^APPROFALL?", "^APPROFALL", 16, kProfileFields));

struct Filter {
    uint8_t index;
    uint8_t is_valid;
    char ip_src[16];
    char ip_des[16];
    uint8_t proto;
    uint8_t flags;
    uint16_t ports_src_0;
    uint16_t ports_src_1;
    uint16_t ports_des_0;
    uint16_t ports_des_1;
    char desc[128];
};
constexpr Field kFilterFields[] = {
    AT_FIELD(Filter, index),       AT_FIELD(Filter, is_valid),    ADDRESS(Filter, ip_src),
    ADDRESS(Filter, ip_des),       AT_FIELD(Filter, proto),       AT_FIELD(Filter, flags),
    AT_FIELD(Filter, ports_src_0), AT_FIELD(Filter, ports_src_1), AT_FIELD(Filter, ports_des_0),
    AT_FIELD(Filter, ports_des_1), AT_FIELD(Filter, desc)};
constexpr Member kFilters = member(nvram_row("AT^APIPRDALL?", "^APIPRDALL", 17, kFilterFields));

struct VirtualServer {
    uint8_t index;
    uint8_t is_valid;
    char ip_lan[16];
    uint8_t proto;
    uint8_t flags;
    uint16_t ports_wan;
    uint16_t ports_lan;
    char desc[128];
};
constexpr Field kServerFields[] = {
    AT_FIELD(VirtualServer, index),     AT_FIELD(VirtualServer, is_valid),
    ADDRESS(VirtualServer, ip_lan),     AT_FIELD(VirtualServer, proto),
    AT_FIELD(VirtualServer, flags),     AT_FIELD(VirtualServer, ports_wan),
    AT_FIELD(VirtualServer, ports_lan), AT_FIELD(VirtualServer, desc)};
constexpr Member kServers = member(nvram_row("AT^APPFRALL?", "^APPFRALL", 18, kServerFields));

struct SpecialApplication {
    uint8_t index;
    uint8_t is_valid;
    uint8_t proto_trigger;
    uint8_t proto_open;
    uint8_t flags;
    uint16_t ports_trigger_0;
    uint16_t ports_trigger_1;
    uint32_t port_start_0, port_start_1, port_start_2, port_start_3, port_start_4;
    uint32_t port_end_0, port_end_1, port_end_2, port_end_3, port_end_4;
    char desc[128];
};

// The trigger ports are cut to eight bits. Required.
void store_octet(void *field, size_t width, const char *value) {
    memset(field, 0, width);
    uint16_t octet = static_cast<uint8_t>(safe_atoi(value));
    memcpy(field, &octet, sizeof octet);
}

constexpr Field kApplicationFields[] = {
    AT_FIELD(SpecialApplication, index),
    AT_FIELD(SpecialApplication, is_valid),
    AT_FIELD(SpecialApplication, proto_trigger),
    AT_FIELD(SpecialApplication, proto_open),
    AT_FIELD(SpecialApplication, flags),
    AT_FIELD_WITH(SpecialApplication, ports_trigger_0, "ports_trigger_0", store_octet),
    AT_FIELD_WITH(SpecialApplication, ports_trigger_1, "ports_trigger_1", store_octet),
    AT_FIELD(SpecialApplication, port_start_0),
    AT_FIELD(SpecialApplication, port_start_1),
    AT_FIELD(SpecialApplication, port_start_2),
    AT_FIELD(SpecialApplication, port_start_3),
    AT_FIELD(SpecialApplication, port_start_4),
    AT_FIELD(SpecialApplication, port_end_0),
    AT_FIELD(SpecialApplication, port_end_1),
    AT_FIELD(SpecialApplication, port_end_2),
    AT_FIELD(SpecialApplication, port_end_3),
    AT_FIELD(SpecialApplication, port_end_4),
    AT_FIELD(SpecialApplication, desc)};
constexpr Member kApplications =
    member(nvram_row("AT^APPTRALL?", "^APPTRALL", 21, kApplicationFields));

struct SavedPin {
    int32_t enable;
    char pin[16];
};
constexpr Field kPinFields[] = {AT_FIELD(SavedPin, enable), AT_FIELD(SavedPin, pin)};
constexpr Member kSavedPin = member(nvram_row("AT^APPINVF?", "^APPINVF", 26, kPinFields));

struct Dmz {
    int32_t enable;
    char dmz_ipaddr[16];
};
constexpr Field kDmzFields[] = {AT_FIELD(Dmz, enable), ADDRESS(Dmz, dmz_ipaddr)};
constexpr Member kDmz = member(nvram_row("AT^APDMZ?", "^APDMZ", 19, kDmzFields));

struct OnDemand {
    int32_t enable;
    int32_t ondemand_time;
};
constexpr Field kOnDemandFields[] = {AT_FIELD(OnDemand, enable), AT_FIELD(OnDemand, ondemand_time)};
constexpr Member kOnDemand =
    member(nvram_row("AT^APNEEDDIAL?", "^APNEEDDIAL", 23, kOnDemandFields));

struct Provider {
    int32_t disp_rplmn;
    int32_t coding;
    char spn_name[kSpnSize];
};
constexpr Field kProviderFields[] = {AT_FIELD(Provider, disp_rplmn), AT_FIELD(Provider, coding),
                                     AT_FIELD(Provider, spn_name)};
constexpr Member kProvider = member(nvram_row("AT^SPN=1", "^SPN", 24, kProviderFields, 1));

constexpr Field kWebFields[] = {AT_FIELD(at_web_user, index), AT_FIELD(at_web_user, code),
                                AT_FIELD(at_web_user, Reserve1), AT_FIELD(at_web_user, Reserve2)};
constexpr Member kWebUser = member({.command = "AT^APWEBUSERD=%d",
                                    .arguments = kNumber,
                                    .match = "^APWEBUSERD",
                                    .timeout = 5,
                                    .key = "^APWEBUSERD",
                                    .table = 25,
                                    .fields = kWebFields});

// The text of a reply under way; what does not fit is cut.
class Text {
  public:
    explicit Text(at_text_reply *record) : record_(record) { record_->text[0] = '\0'; }

    template <typename... Values>
    void put(const char *format, Values... values) {
        size_t used = strlen(record_->text);
        hearth::format_text(record_->text + used, sizeof record_->text - used, format, values...);
    }

  private:
    at_text_reply *record_;
};

// Parses one entry into a cleared record. A reply that cannot be read leaves it so.
template <typename Entry>
Entry read_entry(const Member &kind, char *text) {
    Entry entry{};
    hearth::ResultList list;
    at_cmd_parse(list.out(), kind.key, text, kind.table, kind.action);
    fill(kind.fields, list.get(), &entry);
    return entry;
}

// Asks for a list and hands each entry to `write`. `close` ends the text.
template <typename Entry, typename Write>
int32_t get_list(const Member &kind, at_text_reply *record, const char *close, Write write) {
    at_server_msg message;
    int32_t result = 0;
    if (record == nullptr) {
        return run(kind, nullptr);
    }
    if (!ask(kind, &message, record, nullptr, &result)) {
        return result;
    }
    clear_err(kind, record);
    Text text(record);
    char *piece = strstr(message.report, kind.key);
    while (piece != nullptr) {
        char *next = strstr(piece + 1, kind.key);
        char first = next == nullptr ? '\0' : *next;
        if (next != nullptr) {
            *next = '\0';
        }
        write(text, read_entry<Entry>(kind, piece));
        if (next != nullptr) {
            *next = first;
        }
        piece = next;
    }
    text.put("%s", close);
    return 0;
}

// The same for a reply of one entry.
template <typename Entry, typename Write>
int32_t get_entry(const Member &kind, at_text_reply *record, Write write) {
    at_server_msg message;
    int32_t result = 0;
    if (record == nullptr) {
        return run(kind, nullptr);
    }
    if (!ask(kind, &message, record, nullptr, &result)) {
        return result;
    }
    clear_err(kind, record);
    Text text(record);
    write(text, read_entry<Entry>(kind, message.report));
    return 0;
}

void write_profile(Text &text, const at_profile_info &p) {
    constexpr uint32_t kOwnProfile = 1;
    if (p.index == kOwnProfile) {
        return;
    }
    text.put(
        ",[\"%s\",\"%s\",\"%s\",%d,[\"%s\",\"%s\",\"%s\",\"%s\",\"%s\",\"%s\",\"%s\",%d,%d,%d,%d]]",
        "00001", p.profile_name, "*99#", p.read_only, "Contract", p.apn_name, p.username,
        p.password, p.primary_dns, p.secondary_dns, p.addr, p.auth_mode, p.apn_is_static,
        p.ip_is_static, p.dns_is_static);
}

void write_filter(Text &text, const Filter &f) {
    text.put("[%d,%d,\"%s\",\"%s\",%d,%d,%d,%d,%d,%d,\"%s\"],", f.index, f.is_valid, f.ip_src,
             f.ip_des, f.proto, f.flags, f.ports_src_0, f.ports_src_1, f.ports_des_0, f.ports_des_1,
             f.desc);
}

void write_server(Text &text, const VirtualServer &s) {
    text.put("[%d,%d,\"%s\",%d,%d,%d,%d,\"%s\"],", s.index, s.is_valid, s.ip_lan, s.proto, s.flags,
             s.ports_wan, s.ports_lan, s.desc);
}

void write_application(Text &text, const SpecialApplication &a) {
    text.put("[%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,\"%s\"],", a.index, a.is_valid,
             a.proto_trigger, a.proto_open, a.flags, a.ports_trigger_0, a.ports_trigger_1,
             a.port_start_0, a.port_end_0, a.port_start_1, a.port_end_1, a.port_start_2,
             a.port_end_2, a.port_start_3, a.port_end_3, a.port_start_4, a.port_end_4, a.desc);
}

// One entry of the web user data.
int32_t get_web_user(int32_t index, at_web_user *entry) {
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kWebUser, &message, nullptr, &index, &result)) {
        return result;
    }
    hearth::ResultList list = parse(kWebUser, &message);
    fill(kWebUser.fields, list.get(), entry);
    return 0;
}

}  // namespace

int32_t at_profile_nvram_content_get(at_text_reply *record) {
    return get_list<at_profile_info>(kProfiles, record, "", write_profile);
}

int32_t at_ipfilter_nvram_content_get(at_text_reply *record) {
    return get_list<Filter>(kFilters, record, "[]", write_filter);
}

int32_t at_virserver_nvram_content_get(at_text_reply *record) {
    return get_list<VirtualServer>(kServers, record, "[]", write_server);
}

int32_t at_specialappli_nvram_content_get(at_text_reply *record) {
    return get_list<SpecialApplication>(kApplications, record, "[]", write_application);
}

int32_t at_save_pin_content_get(at_text_reply *record) {
    return get_entry<SavedPin>(kSavedPin, record, [](Text &text, const SavedPin &saved) {
        text.put("[%d, \"%s\"]", saved.enable, saved.pin);
    });
}

int32_t at_dmz_get(at_text_reply *record) {
    return get_entry<Dmz>(kDmz, record, [](Text &text, const Dmz &dmz) {
        text.put("[%d, \"%s\"]", dmz.enable, dmz.dmz_ipaddr);
    });
}

int32_t at_on_demand_get(at_text_reply *record) {
    return get_entry<OnDemand>(kOnDemand, record, [](Text &text, const OnDemand &on_demand) {
        text.put("[%d,%d]", on_demand.enable, on_demand.ondemand_time);
    });
}

int32_t at_spn_get(at_text_reply *record) {
    return get_entry<Provider>(kProvider, record, [](Text &text, const Provider &provider) {
        char name[kSpnUtf8Size];
        if (handle_spn_name(provider.coding, provider.spn_name, name)) {
            text.put("%s", name);
        }
    });
}

int32_t at_nvram_web_use_get(int32_t index, int32_t *out) {
    at_web_user entry{};
    if (out == nullptr) {
        return -1;
    }
    int32_t result = get_web_user(index, &entry);
    if (result == 0) {
        *out = safe_atoi(entry.code);
    }
    return result;
}

int32_t at_nvram_web_sms_get(int32_t index, at_web_user *record) {
    return record == nullptr ? -1 : get_web_user(index, record);
}

int32_t at_nvram_web_use_orange_url_id(int32_t index, at_text_reply *record) {
    at_web_user entry{};
    if (record == nullptr) {
        return -1;
    }
    int32_t result = get_web_user(index, &entry);
    if (result == 0) {
        record->err = AT_ERR_NONE;
        hearth::copy_text(record->text, entry.code);
    }
    return result;
}
