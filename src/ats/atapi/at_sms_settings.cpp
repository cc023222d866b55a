// Message memories, service centre, format, cell broadcast and the report of new messages.
#include <iterator>

#include "ats/atapi/at_exchange.h"
#include "base/text.h"
#include "hearth/at_lib.h"
#include "hearth/at_sms.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_sms"};

constexpr uint32_t kTable = 3;

constexpr Field kMemories[] = {
    AT_FIELD(at_cpms_info, mem1), AT_FIELD(at_cpms_info, used1), AT_FIELD(at_cpms_info, total1),
    AT_FIELD(at_cpms_info, mem2), AT_FIELD(at_cpms_info, used2), AT_FIELD(at_cpms_info, total2),
    AT_FIELD(at_cpms_info, mem3), AT_FIELD(at_cpms_info, used3), AT_FIELD(at_cpms_info, total3)};
constexpr Member kCpmsCheck = member({.command = "AT+CPMS?",
                                      .match = "+CPMS:",
                                      .timeout = 4,
                                      .refusal = Refusal::kMap,
                                      .key = "+CPMS",
                                      .table = kTable,
                                      .err_before_list = true,
                                      .fields = kMemories,
                                      .err = AT_ERR(at_cpms_info)});

constexpr Argument kCpmsValues[] = {AT_ARGUMENT(at_cpms_info, mem1),
                                    AT_ARGUMENT(at_cpms_info, mem2),
                                    AT_ARGUMENT(at_cpms_info, mem3)};
constexpr Field kMemoryCounters[] = {AT_FIELD(at_cpms_info, used1), AT_FIELD(at_cpms_info, total1),
                                     AT_FIELD(at_cpms_info, used2), AT_FIELD(at_cpms_info, total2),
                                     AT_FIELD(at_cpms_info, used3), AT_FIELD(at_cpms_info, total3)};
constexpr Member kCpmsSet = member({.command = "AT+CPMS=\"%s\",\"%s\",\"%s\"",
                                    .arguments = kCpmsValues,
                                    .match = "+CPMS:",
                                    .timeout = 4,
                                    .refusal = Refusal::kMap,
                                    .key = "+CPMS",
                                    .table = kTable,
                                    .action = AT_ACTION_EXECUTE,
                                    .err_before_list = true,
                                    .fields = kMemoryCounters,
                                    .err = AT_ERR(at_cpms_info)});

constexpr Field kMediaPair[] = {AT_FIELD(at_cpms_pair, mem1), AT_FIELD(at_cpms_pair, mem2)};
constexpr Member kCpmsTest =
    member({.command = "AT+CPMS=?",
            .match = "+CPMS:",
            .timeout = 5,
            .key = "+CPMS",
            .table = kTable,
            .action = AT_ACTION_TEST,
            .err = AT_ERR(at_cpms_media),
            .source = &kLogSource,
            .failed = {OSA_LOG_ERROR, "execute AT+CPMS=? command error\n"},
            .refused = {OSA_LOG_ERROR, "AT+CPMS=? at error command\n"},
            .no_list = {OSA_LOG_ERROR, "at_cmd_parse AT+CPMS=? command failed!\n"}});

constexpr Field kCscaFields[] = {AT_FIELD(at_csca_info, sca), AT_FIELD(at_csca_info, tosca)};
constexpr Member kCscaCheck =
    member({.command = "AT+CSCA?",
            .match = "+CSCA:",
            .refusal = Refusal::kMap,
            .key = "+CSCA",
            .table = kTable,
            .fields = kCscaFields,
            .err = AT_ERR(at_csca_info),
            .source = &kLogSource,
            .no_list = {OSA_LOG_WARNING, "at_cmd_parse csca command failed!\n"}});
constexpr Argument kCscaValues[] = {AT_ARGUMENT(at_csca_info, sca),
                                    AT_ARGUMENT(at_csca_info, tosca)};
constexpr Member kCscaSet = member({.command = "AT+CSCA=\"%s\",%d",
                                    .arguments = kCscaValues,
                                    .refusal = Refusal::kMap,
                                    .err = AT_ERR(at_csca_info)});

constexpr Field kModeFields[] = {AT_FIELD_AS(at_sms_rsp, value, "mode")};
constexpr Member kModeCheck =
    member({.command = "AT+CMGF?",
            .refusal = Refusal::kMap,
            .key = "+CMGF",
            .table = kTable,
            .fields = kModeFields,
            .err = AT_ERR(at_sms_rsp),
            .source = &kLogSource,
            .no_list = {OSA_LOG_WARNING, "at_cmd_parse cmgf command failed!\n"}});
constexpr Argument kModeValues[] = {AT_ARGUMENT(at_sms_rsp, value)};
constexpr Member kModeSet = member({.command = "AT+CMGF=%d",
                                    .arguments = kModeValues,
                                    .refusal = Refusal::kMap,
                                    .err = AT_ERR(at_sms_rsp)});

void store_mids(void *field, size_t width, const char *value) {
    if (value != nullptr) {
        store_text(field, width, value);
        HEARTH_LOG(OSA_LOG_WARNING, "AT_cscb_Check mids = %d!\n", safe_atoi(value));
    }
}

void store_dcss(void *field, size_t width, const char *value) {
    if (value != nullptr) {
        store_text(field, width, value);
        HEARTH_LOG(OSA_LOG_WARNING, "AT_cscb_Check dcss = %d!\n", safe_atoi(value));
    }
}

constexpr Field kCscbFields[] = {AT_FIELD(at_cscb_info, mode),
                                 AT_FIELD_WITH(at_cscb_info, mids, "mids", store_mids),
                                 AT_FIELD_WITH(at_cscb_info, dcss, "dcss", store_dcss)};
constexpr Member kCscbCheck =
    member({.command = "AT+CSCB?",
            .refusal = Refusal::kMap,
            .key = "+CSCB",
            .table = kTable,
            .fields = kCscbFields,
            .err = AT_ERR(at_cscb_info),
            .source = &kLogSource,
            .no_list = {OSA_LOG_WARNING, "at_cmd_parse cscb command failed!\n"}});
constexpr Argument kCscbValues[] = {AT_ARGUMENT(at_cscb_info, mode),
                                    AT_ARGUMENT(at_cscb_info, mids),
                                    AT_ARGUMENT(at_cscb_info, dcss)};
consteval Member cscb_set(const char *command, size_t values) {
    return member({.command = command,
                   .arguments = std::span(kCscbValues).first(values),
                   .refusal = Refusal::kMap,
                   .err = AT_ERR(at_cscb_info)});
}
constexpr Member kCscbMode = cscb_set("AT+CSCB=%d", 1);
constexpr Member kCscbMids = cscb_set("AT+CSCB=%d,\"%s\"", 2);
constexpr Member kCscbDcss = cscb_set("AT+CSCB=%d,\"%s\",\"%s\"", 3);

constexpr Field kCnmiFields[] = {AT_FIELD(at_cnmi_info, mode), AT_FIELD(at_cnmi_info, mt),
                                 AT_FIELD(at_cnmi_info, bm), AT_FIELD(at_cnmi_info, ds),
                                 AT_FIELD(at_cnmi_info, bfr)};
constexpr Member kCnmiCheck =
    member({.command = "AT+CNMI?",
            .refusal = Refusal::kMap,
            .key = "+CNMI",
            .table = kTable,
            .fields = kCnmiFields,
            .err = AT_ERR(at_cnmi_info),
            .source = &kLogSource,
            .no_list = {OSA_LOG_WARNING, "at_cmd_parse cnmi command failed!\n"}});
constexpr Argument kCnmiValues[] = {AT_ARGUMENT(at_cnmi_info, mode), AT_ARGUMENT(at_cnmi_info, mt),
                                    AT_ARGUMENT(at_cnmi_info, bm), AT_ARGUMENT(at_cnmi_info, ds),
                                    AT_ARGUMENT(at_cnmi_info, bfr)};
constexpr Member kCnmiSet = member({.command = "AT+CNMI=%d,%d,%d,%d,%d",
                                    .arguments = kCnmiValues,
                                    .refusal = Refusal::kMap,
                                    .err = AT_ERR(at_cnmi_info)});

// No command: the server answers with the report.
constexpr Field kFullFields[] = {AT_FIELD(at_smmemfull_info, mem_type)};
constexpr Member kMemoryFull = member({.timeout = 1,
                                       .req_param = -1,
                                       .key = "^SMMEMFULL",
                                       .table = 0,
                                       .action = AT_ACTION_REPORT,
                                       .fields = kFullFields,
                                       .err = AT_ERR(at_smmemfull_info)});

void fill_media(const at_parse_result *groups, at_cpms_media *record) {
    size_t number = 0;
    for (const at_parse_result *group = groups; group != nullptr; group = group->next_group) {
        if (safe_strcmp(group->AtFieldName, "SmsMediaList") != 0) {
            continue;
        }
        if (number >= std::size(record->pairs)) {
            HEARTH_LOG(OSA_LOG_ERROR, "cpms list is too many\n");
            continue;
        }
        fill(kMediaPair, group->next_field, &record->pairs[number++]);
    }
}

}  // namespace

int32_t AT_Cpms_Check(at_cpms_info *out) {
    return run(kCpmsCheck, out);
}

int32_t AT_Cpms_Execute(const at_cpms_info *in, at_cpms_info *out) {
    return run(kCpmsSet, out, in);
}

int32_t AT_Cpms(int32_t action, const at_cpms_info *in, at_cpms_info *out) {
    return dispatch(
        action, -1, [&] { return AT_Cpms_Check(out); }, [&] { return AT_Cpms_Execute(in, out); });
}

int32_t AT_Cpms_test(at_cpms_media *record) {
    at_server_msg message;
    int32_t result = -1;
    if (record == nullptr || !ask(kCpmsTest, &message, record, record, &result)) {
        return result;
    }
    clear_err(kCpmsTest, record);
    hearth::ResultList list = parse(kCpmsTest, &message);
    if (!list) {
        return -1;
    }
    fill_media(list.get(), record);
    return 0;
}

int32_t AT_Cmsr(int32_t action, int32_t value, at_sms_rsp *record) {
    return dispatch(
        action, -1, [&] { return AT_Cmsr_Check(record); },
        [&] { return AT_Cmsr_Execute(value, record); });
}

int32_t AT_Csca_Check(at_csca_info *out) {
    return run(kCscaCheck, out);
}

int32_t AT_Csca_Execute(const at_csca_info *in, at_csca_info *out) {
    if (in == nullptr) {
        return -1;
    }
    // A type that the caller states is not sent. Required.
    at_csca_info values = *in;
    values.tosca = in->tosca == 0 && in->sca[0] == '+' ? 145 : 129;
    return run(kCscaSet, out, &values);
}

int32_t AT_Csca(int32_t action, const at_csca_info *in, at_csca_info *out) {
    // Another action is no failure: required, as in the three below.
    return dispatch(
        action, 0, [&] { return AT_Csca_Check(out); }, [&] { return AT_Csca_Execute(in, out); });
}

int32_t AT_smmode_Check(at_sms_rsp *record) {
    return run(kModeCheck, record);
}

int32_t AT_smmode_Execute(at_sms_rsp *record) {
    return run(kModeSet, record);
}

int32_t AT_smmode(int32_t action, at_sms_rsp *record) {
    return dispatch(
        action, 0, [&] { return AT_smmode_Check(record); },
        [&] { return AT_smmode_Execute(record); });
}

int32_t AT_cscb_Check(at_cscb_info *record) {
    return run(kCscbCheck, record);
}

int32_t AT_cscb_Execute(at_cscb_info *record) {
    if (record == nullptr || record->mids[0] == '\0') {
        return run(kCscbMode, record);
    }
    return run(record->dcss[0] == '\0' ? kCscbMids : kCscbDcss, record);
}

int32_t AT_cscb(int32_t action, at_cscb_info *record) {
    return dispatch(
        action, 0, [&] { return AT_cscb_Check(record); }, [&] { return AT_cscb_Execute(record); });
}

int32_t AT_cnmi_Check(at_cnmi_info *record) {
    return run(kCnmiCheck, record);
}

int32_t AT_cnmi_Execute(at_cnmi_info *record) {
    return run(kCnmiSet, record);
}

int32_t AT_cnmi(int32_t action, at_cnmi_info *record) {
    return dispatch(
        action, 0, [&] { return AT_cnmi_Check(record); }, [&] { return AT_cnmi_Execute(record); });
}

int32_t AT_smmemfull(at_smmemfull_info *record) {
    return run(kMemoryFull, record);
}
