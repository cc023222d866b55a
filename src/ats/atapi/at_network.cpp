#include "hearth/at_network.h"

#include <string.h>

#include <algorithm>

#include "ats/atapi/at_exchange.h"
#include "base/bytes.h"
#include "base/number.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_network"};

// The tables of responses that this family reads.
constexpr uint32_t kReports = 0;
constexpr uint32_t kNetwork = 1;
constexpr uint32_t kSystem = 15;
constexpr uint32_t kSpnTable = 24;

// Up to four characters; as many leave the caller's text without its end. Required.
void store_four(void *field, size_t width, const char *value) {
    safe_strncpy(static_cast<char *>(field), value, width);
}

constexpr Field kRssiFields[] = {{"rssi", 0, 4, store_four}};
constexpr Member kRssi = member({.req_class = 2,
                                 .req_param = 2,
                                 .key = "^RSSI",
                                 .table = kReports,
                                 .action = AT_ACTION_REPORT,
                                 .fields = kRssiFields});

constexpr Field kCsnrFields[] = {AT_FIELD(at_csnr_info, rscp), AT_FIELD(at_csnr_info, ecio)};
constexpr Member kCsnr = member({.command = "AT^CSNR?",
                                 .match = "^CSNR:",
                                 .key = "^CSNR",
                                 .table = kNetwork,
                                 .fields = kCsnrFields,
                                 .err = AT_ERR(at_csnr_info)});

struct EonsValues {
    int32_t type;
    const char *plmn;
};
constexpr Argument kEonsArguments[] = {AT_ARGUMENT(EonsValues, type),
                                       AT_ARGUMENT(EonsValues, plmn)};
constexpr Field kEonsFields[] = {
    AT_FIELD(at_eons_info, type),      AT_FIELD(at_eons_info, plmn_id),
    AT_FIELD(at_eons_info, plmn_long), AT_FIELD(at_eons_info, plmn_short),
    AT_FIELD(at_eons_info, spn_cond),  AT_FIELD(at_eons_info, spn)};
constexpr Member kEons = member({.command = "AT^EONS=%d",
                                 .arguments = kNumber,
                                 .match = "^EONS:",
                                 .key = "^EONS",
                                 .table = kNetwork,
                                 .fields = kEonsFields});
constexpr Member kEonsOfPlmn = member({.command = "AT^EONS=%d,\"%s\"",
                                       .arguments = kEonsArguments,
                                       .match = "^EONS:",
                                       .key = "^EONS",
                                       .table = kNetwork,
                                       .fields = kEonsFields});

constexpr Field kCopsFields[] = {AT_FIELD(at_cops_info, mode), AT_FIELD(at_cops_info, format),
                                 AT_FIELD(at_cops_info, oper), AT_FIELD(at_cops_info, rat)};
constexpr Member kCops = member({.command = "AT+COPS?",
                                 .match = "+COPS:",
                                 .key = "+COPS",
                                 .table = kNetwork,
                                 .fields = kCopsFields});

constexpr Argument kCregArguments[] = {AT_ARGUMENT(at_creg_info, n)};
constexpr Field kCregFields[] = {AT_FIELD(at_creg_info, n), AT_FIELD(at_creg_info, stat),
                                 AT_FIELD(at_creg_info, lac), AT_FIELD(at_creg_info, ci)};
constexpr Member kCregSet =
    member({.command = "AT+CREG=%d", .arguments = kCregArguments, .err = AT_ERR(at_creg_info)});
constexpr Member kCregCheck = member({.command = "AT+CREG?",
                                      .match = "+CREG:",
                                      .refusal = Refusal::kMap,
                                      .key = "+CREG",
                                      .table = kNetwork,
                                      .fields = kCregFields,
                                      .err = AT_ERR(at_creg_info)});
constexpr Member kCgregSet =
    member({.command = "AT+CGREG=%d", .arguments = kCregArguments, .err = AT_ERR(at_creg_info)});
constexpr Member kCgregCheck = member({.command = "AT+CGREG?",
                                       .match = "+CGREG:",
                                       .refusal = Refusal::kMap,
                                       .key = "+CGREG",
                                       .table = kNetwork,
                                       .fields = kCregFields,
                                       .err = AT_ERR(at_creg_info)});

constexpr Argument kCgattArguments[] = {AT_ARGUMENT(at_cgatt_info, state)};
constexpr Field kCgattFields[] = {AT_FIELD(at_cgatt_info, state)};
constexpr Member kCgattSet =
    member({.command = "AT+CGATT=%d", .arguments = kCgattArguments, .err = AT_ERR(at_cgatt_info)});
constexpr Member kCgattCheck = member({.command = "AT+CGATT?",
                                       .match = "+CGATT:",
                                       .refusal = Refusal::kMap,
                                       .key = "+CGATT",
                                       .table = kNetwork,
                                       .fields = kCgattFields,
                                       .err = AT_ERR(at_cgatt_info)});

constexpr Argument kSyscfgArguments[] = {
    AT_ARGUMENT(at_syscfg_req, mode), AT_ARGUMENT(at_syscfg_req, acqorder),
    AT_ARGUMENT(at_syscfg_req, band), AT_ARGUMENT(at_syscfg_req, roam),
    AT_ARGUMENT(at_syscfg_req, srvdomain)};
constexpr Field kSyscfgFields[] = {AT_FIELD(at_syscfg_info, mode),
                                   AT_FIELD(at_syscfg_info, acqorder),
                                   AT_FIELD(at_syscfg_info, band), AT_FIELD(at_syscfg_info, roam),
                                   AT_FIELD(at_syscfg_info, srvdomain)};
constexpr Member kSyscfgSet = member({.command = "AT^SYSCFG=%s,%s,%s,%s,%s",
                                      .arguments = kSyscfgArguments,
                                      .match = "^SYSCFG",
                                      .refusal = Refusal::kMap,
                                      .err = AT_ERR(at_syscfg_info)});
constexpr Member kSyscfgCheck = member({.command = "AT^SYSCFG?",
                                        .match = "^SYSCFG",
                                        .refusal = Refusal::kMap,
                                        .key = "^SYSCFG",
                                        .table = kNetwork,
                                        .fields = kSyscfgFields,
                                        .err = AT_ERR(at_syscfg_info)});

constexpr Argument kSyscfgexArguments[] = {
    AT_ARGUMENT(at_syscfgex_info, acqorder),  AT_ARGUMENT(at_syscfgex_info, band),
    AT_ARGUMENT(at_syscfgex_info, roam),      AT_ARGUMENT(at_syscfgex_info, srvdomain),
    AT_ARGUMENT(at_syscfgex_info, lteband),   AT_ARGUMENT(at_syscfgex_info, parameter1),
    AT_ARGUMENT(at_syscfgex_info, parameter2)};
constexpr Field kSyscfgexFields[] = {
    AT_FIELD(at_syscfgex_info, acqorder), AT_FIELD(at_syscfgex_info, band),
    AT_FIELD(at_syscfgex_info, roam), AT_FIELD(at_syscfgex_info, srvdomain),
    AT_FIELD(at_syscfgex_info, lteband)};
constexpr Member kSyscfgexSet = member({.command = "AT^SYSCFGEX=\"%s\",%s,%s,%s,%s,%s,%s",
                                        .arguments = kSyscfgexArguments,
                                        .err = AT_ERR(at_syscfgex_info)});
constexpr Member kSyscfgexCheck = member({.command = "AT^SYSCFGEX?",
                                          .key = "^SYSCFGEX",
                                          .table = kSystem,
                                          .fields = kSyscfgexFields,
                                          .err = AT_ERR(at_syscfgex_info)});

constexpr Field kSysinfoFields[] = {
    AT_FIELD(at_sysinfo, srv_status),  AT_FIELD(at_sysinfo, srv_domain),
    AT_FIELD(at_sysinfo, roam_status), AT_FIELD(at_sysinfo, sys_mode),
    AT_FIELD(at_sysinfo, sim_state),   AT_FIELD(at_sysinfo, lock_state),
    AT_FIELD(at_sysinfo, sys_submode)};
constexpr Member kSysinfo = member({.command = "AT^SYSINFO",
                                    .match = "^SYSINFO",
                                    .key = "^SYSINFO",
                                    .table = kSystem,
                                    .fields = kSysinfoFields,
                                    .err = AT_ERR(at_sysinfo)});

constexpr Field kSysinfoexFields[] = {
    AT_FIELD(at_sysinfoex, srv_status),   AT_FIELD(at_sysinfoex, srv_domain),
    AT_FIELD(at_sysinfoex, roam_status),  AT_FIELD(at_sysinfoex, sim_state),
    AT_FIELD(at_sysinfoex, lock_state),   AT_FIELD(at_sysinfoex, sysmode),
    AT_FIELD(at_sysinfoex, sysmode_name), AT_FIELD(at_sysinfoex, submode),
    AT_FIELD(at_sysinfoex, submode_name)};
constexpr Member kSysinfoex = member({.command = "AT^SYSINFOEX",
                                      .key = "^SYSINFOEX",
                                      .table = kSystem,
                                      .fields = kSysinfoexFields,
                                      .err = AT_ERR(at_sysinfoex)});

constexpr Field kSpnFields[] = {AT_FIELD(at_spn_info, disp_rplmn), AT_FIELD(at_spn_info, coding),
                                AT_FIELD(at_spn_info, spn_name)};
constexpr Member kSpn = member({.command = "AT^SPN=%d",
                                .arguments = kNumber,
                                .key = "^SPN",
                                .table = kSpnTable,
                                .fields = kSpnFields,
                                .err = AT_ERR(at_spn_info)});

constexpr Field kCpnnFields[] = {
    AT_FIELD(at_cpnn_info, full_name),         AT_FIELD(at_cpnn_info, full_name_coding),
    AT_FIELD(at_cpnn_info, full_name_ci),      AT_FIELD(at_cpnn_info, short_name),
    AT_FIELD(at_cpnn_info, short_name_coding), AT_FIELD(at_cpnn_info, shor_name_ci)};
constexpr Member kCpnn = member({.command = "AT^CPNN=%d",
                                 .arguments = kNumber,
                                 .key = "^CPNN",
                                 .table = kSystem,
                                 .fields = kCpnnFields,
                                 .err = AT_ERR(at_cpnn_info)});

// A system mode by its name; another name leaves the field as it was.
void store_sysmode(void *field, size_t /*width*/, const char *value) {
    constexpr struct {
        const char *name;
        int32_t mode;
    } kModes[] = {{"GSM", 0},  {"WCDMA", 1}, {"LTE", 2},
                  {"CDMA", 3}, {"EVDO", 4},  {"NOSERVICE", -1}};
    for (const auto &row : kModes) {
        if (safe_strcmp(row.name, value) == 0) {
            hearth::store_native(field, row.mode);
        }
    }
}

constexpr Field kHcsqFields[] = {AT_FIELD_WITH(at_hcsq_info, sysmode, "sysmode", store_sysmode),
                                 AT_FIELD(at_hcsq_info, value1),
                                 AT_FIELD(at_hcsq_info, value2),
                                 AT_FIELD(at_hcsq_info, value3),
                                 AT_FIELD(at_hcsq_info, value4),
                                 AT_FIELD(at_hcsq_info, value5)};
constexpr Member kHcsq = member({.command = "AT^HCSQ?",
                                 .match = "^HCSQ",
                                 .req_param = -1,
                                 .key = "^HCSQ",
                                 .table = kSystem,
                                 .fields = kHcsqFields});

constexpr Field kCellroamFields[] = {AT_FIELD(at_cellroam_info, cell_roam_state),
                                     AT_FIELD(at_cellroam_info, rat)};
constexpr Member kCellroam = member({.command = "AT^CELLROAM?",
                                     .match = "^CELLROAM",
                                     .timeout = 5,
                                     .refusal = Refusal::kMap,
                                     .key = "^CELLROAM",
                                     .table = kNetwork,
                                     .fields = kCellroamFields,
                                     .err = AT_ERR(at_cellroam_info)});

// `err` is the set's second parameter as well, which is gone after it. Required.
constexpr Argument kCgcattArguments[] = {AT_ARGUMENT(at_cgcatt_info, state),
                                         AT_ARGUMENT(at_cgcatt_info, err)};
constexpr Field kCgcattFields[] = {AT_FIELD(at_cgcatt_info, psState),
                                   AT_FIELD(at_cgcatt_info, csState)};
constexpr Member kCgcattSet = member(
    {.command = "AT^CGCATT=%d,%d", .arguments = kCgcattArguments, .err = AT_ERR(at_cgcatt_info)});
constexpr Member kCgcattCheck = member({.command = "AT^CGCATT?",
                                        .match = "^CGCATT:",
                                        .refusal = Refusal::kMap,
                                        .key = "^CGCATT",
                                        .table = kNetwork,
                                        .fields = kCgcattFields,
                                        .err = AT_ERR(at_cgcatt_info)});

constexpr Field kRsrpFields[] = {AT_FIELD(at_rsrp_info, rsrp), AT_FIELD(at_rsrp_info, rsrq)};
constexpr Member kRsrp = member({.command = "AT^LTERSRP?",
                                 .match = "^LTERSRP",
                                 .key = "^LTERSRP",
                                 .table = kNetwork,
                                 .fields = kRsrpFields,
                                 .err = AT_ERR(at_rsrp_info)});

constexpr Field kCellidFields[] = {AT_FIELD(at_cellid_info, Plmn), AT_FIELD(at_cellid_info, Ci),
                                   AT_FIELD(at_cellid_info, Pci), AT_FIELD(at_cellid_info, Tac)};
constexpr Member kCellid = member({.command = "AT^CECELLID?",
                                   .match = "^CECELLID",
                                   .key = "^CECELLID",
                                   .table = kNetwork,
                                   .fields = kCellidFields,
                                   .err = AT_ERR(at_cellid_info)});

constexpr Argument kSrvstArguments[] = {AT_ARGUMENT(at_value_set, value)};
constexpr Member kSrvst =
    member({.command = "AT^SRVST=%d", .arguments = kSrvstArguments, .err = AT_ERR(at_value_set)});
constexpr Member kMode =
    member({.command = "AT^MODE=%d", .arguments = kSrvstArguments, .err = AT_ERR(at_value_set)});

constexpr Argument kPdpArguments[] = {
    AT_ARGUMENT(at_pdp_req, index),    AT_ARGUMENT(at_pdp_req, name),
    AT_ARGUMENT(at_pdp_req, apn),      AT_ARGUMENT(at_pdp_req, username),
    AT_ARGUMENT(at_pdp_req, password), AT_ARGUMENT(at_pdp_req, auth)};
constexpr Member kPdp = member({.command = "AT^PDPROFMOD=%d,\"%s\",\"%s\",\"%s\",\"%s\",%d",
                                .arguments = kPdpArguments,
                                .match = "^PDPROFMOD"});

struct FastdormValues {
    int32_t a;
    int32_t b;
};
constexpr Argument kFastdormArguments[] = {AT_ARGUMENT(FastdormValues, a),
                                           AT_ARGUMENT(FastdormValues, b)};
constexpr Member kFastdorm =
    member({.command = "AT^FASTDORM=%d,%d", .arguments = kFastdormArguments, .match = "^FASTDORM"});

// In lower case and with blanks. Required.
constexpr Argument kPrefroamArguments[] = {AT_ARGUMENT(at_prefroam_info, prefroam)};
constexpr Member kPrefroamSet = member({.command = "at^prefroam = %d",
                                        .arguments = kPrefroamArguments,
                                        .err = AT_ERR(at_prefroam_info)});
// No table has this key, so the query always fails. Required.
constexpr Member kPrefroamCheck = member({.command = "at^prefroam?",
                                          .match = "prefroam:",
                                          .key = "^prefroam",
                                          .table = kSystem,
                                          .err = AT_ERR(at_prefroam_info)});

constexpr Argument kCwasArguments[] = {AT_ARGUMENT(at_cwas_info, value)};
constexpr Member kCwas =
    member({.command = "AT^CWAS=%d", .arguments = kCwasArguments, .err = AT_ERR(at_cwas_info)});

// Four numbers with a blank between them; what a short value lacks is left alone.
void store_cell(void *field, size_t /*width*/, const char *value) {
    auto *cell = static_cast<at_lcacell_entry *>(field);
    for (int32_t *word : {&cell->cell_id, &cell->ul_cfg, &cell->dl_cfg, &cell->act}) {
        if (value == nullptr || *value == '\0') {
            return;
        }
        *word = safe_atoi(value);
        const char *blank = strchr(value, ' ');
        value = blank == nullptr ? nullptr : blank + 1;
    }
}

constexpr Field kLcacellFields[] = {
    AT_FIELD_WITH(at_lcacell_info, cells[0], "lcacell0", store_cell),
    AT_FIELD_WITH(at_lcacell_info, cells[1], "lcacell1", store_cell),
    AT_FIELD_WITH(at_lcacell_info, cells[2], "lcacell2", store_cell),
    AT_FIELD_WITH(at_lcacell_info, cells[3], "lcacell3", store_cell),
    AT_FIELD_WITH(at_lcacell_info, cells[4], "lcacell4", store_cell),
    AT_FIELD_WITH(at_lcacell_info, cells[5], "lcacell5", store_cell),
    AT_FIELD_WITH(at_lcacell_info, cells[6], "lcacell6", store_cell),
    AT_FIELD_WITH(at_lcacell_info, cells[7], "lcacell7", store_cell)};
constexpr Member kLcacell = member({.command = "AT^LCACELL?",
                                    .key = "^LCACELL",
                                    .table = kNetwork,
                                    .fields = kLcacellFields,
                                    .err = AT_ERR(at_lcacell_info)});

}  // namespace

int32_t AT_Rssi(char *text) {
    return run(kRssi, text);
}

int32_t AT_Csnr(at_csnr_info *record) {
    return run(kCsnr, record);
}

int32_t AT_Eons(int32_t type, const char *plmn, at_eons_info *record) {
    EonsValues values{type, plmn};
    bool any = plmn == nullptr || *plmn == '\0';
    return run(any ? kEons : kEonsOfPlmn, record, &values);
}

int32_t AT_Cops(at_cops_info *record) {
    return run(kCops, record);
}

int32_t AT_Creg(int32_t action, at_creg_info *record) {
    return run_action(action, kCregCheck, kCregSet, record);
}

int32_t AT_Cgreg(int32_t action, at_creg_info *record) {
    return run_action(action, kCgregCheck, kCgregSet, record);
}

int32_t AT_Cgatt(int32_t action, at_cgatt_info *record) {
    return run_action(action, kCgattCheck, kCgattSet, record);
}

int32_t AT_SysConfig(int32_t action, const at_syscfg_req *in, at_syscfg_info *out) {
    if (in == nullptr || out == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "at sysconfig param is null\n");
        return -1;
    }
    if (action == AT_CMD_TYPE_SET) {
        return run(kSyscfgSet, out, in);
    }
    return action == AT_CMD_TYPE_CHECK ? run(kSyscfgCheck, out) : -1;
}

int32_t AT_SysConfigEx(int32_t action, at_syscfgex_info *record) {
    return run_action(action, kSyscfgexCheck, kSyscfgexSet, record);
}

int32_t AT_SysInfo(at_sysinfo *record) {
    return run(kSysinfo, record);
}

int32_t AT_SysInfoEx(at_sysinfoex *record) {
    return run(kSysinfoex, record);
}

int32_t AT_GetSpn(int32_t number, at_spn_info *record) {
    return run(kSpn, record, &number);
}

int32_t AT_Cpnn(int32_t number, at_cpnn_info *record) {
    return run(kCpnn, record, &number);
}

int32_t AT_Hcsq(at_hcsq_info *record) {
    at_server_msg message;
    int32_t result = -1;
    if (record == nullptr || !ask(kHcsq, &message, record, nullptr, &result)) {
        return result;
    }
    hearth::ResultList list = parse(kHcsq, &message);
    if (!list) {
        return -1;
    }
    for (const at_parse_result *node = list.get(); node != nullptr; node = node->next_field) {
        HEARTH_LOG(OSA_LOG_INFO, "AT_Hcsq , AtFieldName = %s.\n",
                   node->AtFieldName == nullptr ? "" : node->AtFieldName);
    }
    fill(kHcsq.fields, list.get(), record);
    return 0;
}

int32_t AT_Cellroam(at_cellroam_info *record) {
    return run(kCellroam, record);
}

int32_t AT_Cgcatt(int32_t action, at_cgcatt_info *record) {
    return run_action(action, kCgcattCheck, kCgcattSet, record);
}

int32_t AT_Rsrp(at_rsrp_info *record) {
    return run(kRsrp, record);
}

int32_t AT_Cellid(at_cellid_info *record) {
    return run(kCellid, record);
}

int32_t AT_Srvst(int32_t action, at_value_set *record) {
    return action == AT_CMD_TYPE_SET ? run(kSrvst, record) : -1;
}

int32_t AT_Mode(int32_t action, at_value_set *record) {
    return action == AT_CMD_TYPE_SET ? run(kMode, record) : -1;
}

int32_t AT_PDP(const at_pdp_req *record) {
    return run(kPdp, nullptr, record);
}

int32_t AT_FASTDORM(int32_t a, int32_t b) {
    FastdormValues values{a, b};
    return run(kFastdorm, nullptr, &values);
}

int32_t AT_PrefRoam(int32_t action, at_prefroam_info *record) {
    return run_action(action, kPrefroamCheck, kPrefroamSet, record);
}

int32_t AT_SC_test(at_cwas_info *record) {
    at_server_msg message;
    int32_t result = -1;
    if (record == nullptr || !ask(kCwas, &message, record, record, &result)) {
        return result;
    }
    record->code = safe_atoi(message.report);
    record->err = AT_ERR_NONE;
    HEARTH_LOG(OSA_LOG_INFO, "[AT_SC_test] scrcode is %s !\n", message.report);
    return 0;
}

int32_t AT_LCACELL(at_lcacell_info *record) {
    int32_t result = run(kLcacell, record);
    if (result != 0) {
        return result;
    }
    for (int32_t i = 0; i < 8; i++) {
        const at_lcacell_entry &cell = record->cells[i];
        HEARTH_LOG(OSA_LOG_INFO, "lte_cacell_info[%d].cell_id=%d.\n", i, cell.cell_id);
        HEARTH_LOG(OSA_LOG_INFO, "lte_cacell_info[%d].ul_cfg=%d.\n", i, cell.ul_cfg);
        HEARTH_LOG(OSA_LOG_INFO, "lte_cacell_info[%d].dl_cfg=%d.\n", i, cell.dl_cfg);
        HEARTH_LOG(OSA_LOG_INFO, "lte_cacell_info[%d].act=%d.\n", i, cell.act);
    }
    return 0;
}
