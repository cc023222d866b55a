// State of the modem: replies whose named values go into the record.
#include <stdlib.h>
#include <string.h>

#include <atomic>

#include "ats/atapi/at_exchange.h"
#include "base/bytes.h"
#include "base/text.h"
#include "hearth/at_k7.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_k7"};
constexpr LogText kNoRecord{OSA_LOG_INFO, "para is NULL"};

enum Table : uint32_t {
    kNetwork = 1,
    kSms = 3,
    kDevice = 4,
    kSystem = 15,
    kProfile = 22,
    kThroughput = 27,
    kPowerOn = 29,
    kDialMode = 31,
    kSignalExt = 32,
    kSignal = 33
};

// The number that the modem gave last. Every thread that writes it writes what the modem told.
std::atomic<int32_t> real_id = 0;

// A query whose key is its match; the members that differ change what differs.
constexpr Member query(const char *command, const char *match, const char *key, uint32_t table,
                       std::span<const Field> fields, int32_t err,
                       Refusal refusal = Refusal::kFail) {
    return {.command = command,
            .match = match,
            .refusal = refusal,
            .key = key,
            .table = table,
            .fields = fields,
            .err = err,
            .source = &kLogSource,
            .no_record = kNoRecord};
}

constexpr Member with_timeout(Member row, int32_t seconds) {
    row.timeout = seconds;
    return row;
}

constexpr Member without_param(Member row) {
    row.req_param = -1;
    return row;
}

constexpr Field kHwverFields[] = {AT_FIELD_AS(at_version_info, hard, "hardversion")};
constexpr Member kHwver = member({.command = "AT^HWVER",
                                  .key = "^HWVER",
                                  .table = kDevice,
                                  .fields = kHwverFields,
                                  .source = &kLogSource,
                                  .no_record = kNoRecord});

struct HsValues {
    int32_t id;
    int32_t value;
};
constexpr Argument kHsArguments[] = {AT_ARGUMENT(HsValues, id), AT_ARGUMENT(HsValues, value)};

// The modem's number goes to the record, and out with the next command.
void store_id(void *field, size_t width, const char *value) {
    store_number(field, width, value);
    real_id = safe_atoi(value);
}

constexpr Field kHsFields[] = {AT_FIELD_WITH(at_hs_info, id, "id", store_id),
                               AT_FIELD(at_hs_info, protocol),
                               AT_FIELD(at_hs_info, IsOffline),
                               AT_FIELD(at_hs_info, p_class),
                               AT_FIELD(at_hs_info, p_id),
                               AT_FIELD(at_hs_info, s_id)};
constexpr Member kHs = member({.command = "AT^HS=%d,%d",
                               .arguments = kHsArguments,
                               .key = "^HS",
                               .table = kDevice,
                               .fields = kHsFields,
                               .err = AT_ERR(at_hs_info),
                               .source = &kLogSource,
                               .no_record = kNoRecord});

void store_cleared_text(void *field, size_t width, const char *value) {
    memset(field, 0, width);
    store_text(field, width, value);
}

// Decimal, 64 bits.
void store_decimal64(void *field, size_t, const char *value) {
    hearth::store_native<uint64_t>(field, value == nullptr ? 0 : strtoull(value, nullptr, 10));
}

constexpr Field kMeidFields[] = {AT_FIELD_WITH(at_meid_info, meid, "meid", store_cleared_text)};
constexpr Member kMeid =
    member(query("AT^MEID", "^MEID", "^MEID", kDevice, kMeidFields, AT_ERR(at_meid_info)));
static_assert(offsetof(at_meid_info, err) == 16);

constexpr Field kEsnFields[] = {AT_FIELD(at_esn_info, esn)};
constexpr Member kEsn =
    member(query("AT+ESN", "", "+ESN", kDevice, kEsnFields, AT_ERR(at_esn_info)));

constexpr Field kActivityFields[] = {AT_FIELD(at_phone_activity, pactstatus)};
constexpr Member kActivity = [] {
    Member row = query("AT+CPAS", "+CPAS:", "+CPAS", kNetwork, kActivityFields,
                       AT_ERR(at_phone_activity), Refusal::kMap);
    row.action = AT_ACTION_EXECUTE;
    return row;
}();

constexpr Field kLtescFields[] = {AT_FIELD(at_ltescinfo, ci), AT_FIELD(at_ltescinfo, dl_sinr),
                                  AT_FIELD(at_ltescinfo, num_ant), AT_FIELD(at_ltescinfo, dl_bw)};
constexpr Member kLtesc =
    member(query("AT^LTESCINFO?", "", "^LTESCINFO", kSystem, kLtescFields, AT_ERR(at_ltescinfo)));

constexpr Field kRrcverFields[] = {AT_FIELD(at_rrcver_info, rrcver)};
constexpr Argument kRrcverArguments[] = {AT_ARGUMENT(at_rrcver_info, rrcver)};
constexpr Member kRrcverCheck =
    member(query("AT^RRCVer?", "", "^RRCVer", kSystem, kRrcverFields, AT_ERR(at_rrcver_info)));
constexpr Member kRrcverSet = member(
    {.command = "AT^RRCVer=%d", .arguments = kRrcverArguments, .err = AT_ERR(at_rrcver_info)});

constexpr Field kTimezoneFields[] = {AT_FIELD(at_timezone_info, timezone)};
constexpr Member kTimezone = member(with_timeout(
    query("AT^APTIMEZONE?", "^APTIMEZONE", "^APTIMEZONE", kSystem, kTimezoneFields, kNoErr), 3));

constexpr Field kProfileFields[] = {
    AT_FIELD(at_profile_info, index),         AT_FIELD(at_profile_info, is_valid),
    AT_FIELD(at_profile_info, profile_name),  AT_FIELD(at_profile_info, apn_is_static),
    AT_FIELD(at_profile_info, apn_name),      AT_FIELD(at_profile_info, username),
    AT_FIELD(at_profile_info, password),      AT_FIELD(at_profile_info, auth_mode),
    AT_FIELD(at_profile_info, ip_is_static),  AT_FIELD(at_profile_info, addr),
    AT_FIELD(at_profile_info, dns_is_static), AT_FIELD(at_profile_info, primary_dns),
    AT_FIELD(at_profile_info, secondary_dns)};
constexpr Member kGetProfile = member({.command = "AT^APPROFRD=%d",
                                       .arguments = kNumber,
                                       .match = "^APPROFRD",
                                       .req_param = -1,
                                       .refusal = Refusal::kIgnore,
                                       .key = "^APPROFRD",
                                       .table = kProfile,
                                       .fields = kProfileFields,
                                       .err = AT_ERR(at_profile_info),
                                       .source = &kLogSource,
                                       .no_record = kNoRecord});

constexpr Field kCvmnqFields[] = {AT_FIELD(at_cvmnq_info, voice_mail_number),
                                  AT_FIELD(at_cvmnq_info, nv_number)};
constexpr Argument kCvmnqArguments[] = {AT_ARGUMENT(at_cvmnq_req, text)};
constexpr Member kCvmnqCheck = member(query("AT+CVMNQ?", "+CVMNQ:", "+CVMNQ", kSms, kCvmnqFields,
                                            AT_ERR(at_cvmnq_info), Refusal::kMap));
constexpr Member kCvmnqSet = member({.command = "AT+CVMNQ=%s",
                                     .arguments = kCvmnqArguments,
                                     .match = "+CVMNQ",
                                     .refusal = Refusal::kMap,
                                     .err = AT_ERR(at_cvmnq_info),
                                     .source = &kLogSource,
                                     .no_record = kNoRecord});

constexpr Field kChargerFields[] = {
    AT_FIELD(at_charger_info, ChargerState),   AT_FIELD(at_charger_info, ChargerTime),
    AT_FIELD(at_charger_info, ChargerVoltage), AT_FIELD(at_charger_info, BatteryVoltage),
    AT_FIELD(at_charger_info, ChargerCurrent), AT_FIELD(at_charger_info, BatteryTemp),
    AT_FIELD(at_charger_info, BoardTemp),      AT_FIELD(at_charger_info, SimTemp),
    AT_FIELD(at_charger_info, MsmTemp),        AT_FIELD(at_charger_info, PaTemp),
    AT_FIELD(at_charger_info, IsOffChg)};
constexpr Member kCharger =
    member(without_param(query("AT^APCHG?", "^APCHG", "^APCHG", kSystem, kChargerFields,
                               AT_ERR(at_charger_info), Refusal::kMap)));

constexpr Field kBatteryFields[] = {AT_FIELD(at_battery_state, chargerState),
                                    AT_FIELD(at_battery_state, batterylvl)};
constexpr Member kBattery =
    member(without_param(query("AT^APBATLVL", "^APBATLVL", "^APBATLVL", kSystem, kBatteryFields,
                               AT_ERR(at_battery_state), Refusal::kMapAndFail)));
// The format calls the first value "cbs", so that `bcs` is never found. Required.
constexpr Field kBatteryStdFields[] = {AT_FIELD(at_battery_state_std, bcs),
                                       AT_FIELD(at_battery_state_std, bcl)};
constexpr Member kBatteryStd =
    member(without_param(query("AT+CBC", "+CBC", "+CBC", kSystem, kBatteryStdFields,
                               AT_ERR(at_battery_state_std), Refusal::kMapAndFail)));

constexpr Field kAnqueryFields[] = {
    AT_FIELD(at_anquery_info, rscp), AT_FIELD(at_anquery_info, ecio),
    AT_FIELD(at_anquery_info, rssi), AT_FIELD(at_anquery_info, antenna_level),
    AT_FIELD(at_anquery_info, cellid)};
constexpr Member kAnquery = [] {
    Member row = without_param(query("AT^ANQUERY?", "^ANQUERY", "^ANQUERY", kSystem, kAnqueryFields,
                                     AT_ERR(at_anquery_info), Refusal::kMap));
    row.no_record = {OSA_LOG_ERROR, "Error:para is NULL"};
    return row;
}();

constexpr Field kApdialmodeFields[] = {AT_FIELD(at_apdialmode_info, dialmode),
                                       AT_FIELD(at_apdialmode_info, idletime)};
constexpr Argument kApdialmodeArguments[] = {AT_ARGUMENT(at_apdialmode_info, dialmode),
                                             AT_ARGUMENT(at_apdialmode_info, idletime)};
constexpr Member kApdialmodeCheck =
    member(query("AT^APDIALMODE?", "^APDIALMODE:", "^APDIALMODE", kDialMode, kApdialmodeFields,
                 AT_ERR(at_apdialmode_info)));
// A set leaves `err` alone. Required.
constexpr Member kApdialmodeSet = member(
    {.command = "AT^APDIALMODE=%d,%d", .arguments = kApdialmodeArguments, .match = "^APDIALMODE"});

constexpr Field kDialModeFields[] = {AT_FIELD(at_dial_mode_info, dial_mode)};
constexpr Member kDialModeQuery = [] {
    Member row = with_timeout(query("AT^APDIALM?", "^APDIALM", "^APDIALM", kSystem, kDialModeFields,
                                    AT_ERR(at_dial_mode_info)),
                              5);
    row.result_without_list = 0;
    return row;
}();

constexpr Field kCsqlvlextFields[] = {AT_FIELD(at_csqlvlext_info, rssilv),
                                      AT_FIELD(at_csqlvlext_info, ber)};
constexpr Member kCsqlvlext = member(query("AT^CSQLVLEXT", "^CSQLVLEXT:", "^CSQLVLEXT", kSignalExt,
                                           kCsqlvlextFields, AT_ERR(at_csqlvlext_info)));
constexpr Field kCsqlvlFields[] = {AT_FIELD(at_csqlvl_info, uiPercent),
                                   AT_FIELD(at_csqlvl_info, newRssiCode)};
constexpr Member kCsqlvl = member(query("AT+CSQLVL", "+CSQLVL", "+CSQLVL", kSignal, kCsqlvlFields,
                                        AT_ERR(at_csqlvl_info), Refusal::kMap));

// Neither reply has a format, so that nothing is ever read from it. Required.
constexpr Member nv_row(const char *command, const char *match) {
    Member row =
        query(command, match, match, kSystem, {}, AT_ERR(at_nv_result), Refusal::kMapAndFail);
    row.action = AT_ACTION_EXECUTE;
    row.err_before_list = true;
    row.result_without_list = 0;
    return row;
}
constexpr Member kNvbackup = member(without_param(nv_row("AT^NVBACKUP", "^NVBACKUP")));
constexpr Member kNvrststts = member(nv_row("AT^NVRSTSTTS", "^NVRSTSTTS"));

constexpr Field kHfreqFields[] = {AT_FIELD_AS(at_hfreqinfo_info, switch_on, "switch"),
                                  AT_FIELD(at_hfreqinfo_info, sysmode),
                                  AT_FIELD(at_hfreqinfo_info, band_class),
                                  AT_FIELD(at_hfreqinfo_info, dl_fcn1),
                                  AT_FIELD(at_hfreqinfo_info, dl_freq1),
                                  AT_FIELD(at_hfreqinfo_info, dl_bw1),
                                  AT_FIELD(at_hfreqinfo_info, ul_fcn1),
                                  AT_FIELD(at_hfreqinfo_info, ul_freq1),
                                  AT_FIELD(at_hfreqinfo_info, ul_bw1)};
constexpr Member kHfreqCheck =
    member(query("AT^HFREQINFO?", "^HFREQINFO", "^HFREQINFO", kNetwork, kHfreqFields,
                 AT_ERR(at_hfreqinfo_info), Refusal::kMapAndFail));
constexpr Member kHfreqSet = member({.command = "AT^HFREQINFO=%d",
                                     .arguments = kNumber,
                                     .match = "^HFREQINFO",
                                     .refusal = Refusal::kMapAndFail,
                                     .err = AT_ERR(at_hfreqinfo_info)});

constexpr Field kThroughputFields[] = {AT_FIELD(at_throughput_info, tx),
                                       AT_FIELD(at_throughput_info, rx)};
constexpr Member kThroughputQuery =
    member(with_timeout(query("AT^APTHROUGHPUT?", "^APTHROUGHPUT", "^APTHROUGHPUT", kThroughput,
                              kThroughputFields, AT_ERR(at_throughput_info), Refusal::kMap),
                        5));
constexpr Field kPwrontimeFields[] = {
    AT_FIELD_WITH(at_pwrontime_info, pwrontime_counters, "pwrontime_counters", store_decimal64)};
constexpr Member kPwrontime =
    member(with_timeout(query("AT^APPWRONTIME?", "^APPWRONTIME", "^APPWRONTIME", kPowerOn,
                              kPwrontimeFields, AT_ERR(at_pwrontime_info), Refusal::kMap),
                        5));

}  // namespace

int32_t AT_Hwver(at_version_info *version) {
    if (version == nullptr) {
        log_text(kHwver, kHwver.no_record, 0);
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kHwver, &message, version, nullptr, &result)) {
        return result;
    }
    hearth::ResultList list = parse(kHwver, &message);
    if (!list) {
        return -1;
    }
    for (const at_parse_result *node = list.get(); node != nullptr; node = node->next_field) {
        if (safe_strcmp(node->AtFieldName, "hardversion") == 0) {
            store_text(version->hard, sizeof version->hard, node->AtFieldValue);
            version->hardware_flag = 1;
            HEARTH_LOG(OSA_LOG_INFO, "the ver_res->hard = %s\n", version->hard);
            break;
        }
    }
    return 0;
}

int32_t AT_HS(const at_hs_req *in, at_hs_info *out) {
    if (in == nullptr) {
        return run(kHs, nullptr);
    }
    HsValues values{real_id, in->value};
    return run(kHs, out, &values);
}

int32_t AT_Meid(at_meid_info *record) {
    return run(kMeid, record);
}

int32_t AT_Esn(at_esn_info *record) {
    return run(kEsn, record);
}

int32_t AT_PhoneActSt(int32_t action, at_phone_activity *record) {
    return action == 1 || record == nullptr ? run(kActivity, record) : -1;
}

int32_t AT_LTESCINFO(at_ltescinfo *record) {
    return run(kLtesc, record);
}

int32_t AT_RRCVer(int32_t action, at_rrcver_info *record) {
    if (action != AT_CMD_TYPE_SET || record == nullptr) {
        return action == AT_CMD_TYPE_CHECK || record == nullptr ? run(kRrcverCheck, record) : -1;
    }
    at_server_msg message;
    int32_t result = 0;
    prepare(kRrcverSet, record, &message);
    if (deliver(kRrcverSet, &message, &result)) {
        // The modem's outcome is not looked at. Required.
        clear_err(kRrcverSet, record);
    }
    return result;
}

int32_t at_TimeZone(at_timezone_info *record) {
    return run(kTimezone, record);
}

int32_t AT_getprofile(int32_t index, at_profile_info *profile) {
    return run(kGetProfile, profile, &index);
}

int32_t AT_cvmnq(int32_t action, const at_cvmnq_req *in, at_cvmnq_info *out) {
    if (action == AT_CMD_TYPE_CHECK) {
        return run(kCvmnqCheck, out);
    }
    return action == AT_CMD_TYPE_SET ? run(kCvmnqSet, out, in) : -1;
}

int32_t AT_ChargerInfo(at_charger_info *record) {
    return run(kCharger, record);
}

int32_t at_query_battery_state(at_battery_state *record) {
    return run(kBattery, record);
}

int32_t at_query_battery_state_std(at_battery_state_std *record) {
    return run(kBatteryStd, record);
}

int32_t AT_ANQuery(at_anquery_info *record) {
    return run(kAnquery, record);
}

int32_t AT_apdialmode(int32_t action, at_apdialmode_info *record) {
    return run_action(action, kApdialmodeCheck, kApdialmodeSet, record);
}

int32_t at_dial_mode(at_dial_mode_info *record) {
    return run(kDialModeQuery, record);
}

int32_t AT_csqlvlext(int32_t action, at_csqlvlext_info *record) {
    return action == AT_CMD_TYPE_CHECK || record == nullptr ? run(kCsqlvlext, record) : -1;
}

int32_t AT_Csqlvl(at_csqlvl_info *record) {
    return run(kCsqlvl, record);
}

int32_t at_nvbackup(at_nv_result *record) {
    return run(kNvbackup, record);
}

int32_t at_nvrststts(at_nv_result *record) {
    return run(kNvrststts, record);
}

int32_t at_hfreqinfo(int32_t action, int32_t value, at_hfreqinfo_info *record) {
    bool sets = action == AT_CMD_TYPE_SET && (value == 0 || value == 1);
    return sets && record != nullptr ? run(kHfreqSet, record, &value) : run(kHfreqCheck, record);
}

int32_t at_throughoutput(at_throughput_info *record) {
    return run(kThroughputQuery, record);
}

int32_t at_pwrontime(at_pwrontime_info *record) {
    return run(kPwrontime, record);
}
