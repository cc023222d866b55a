// Messages as PDUs: send, store, read, list and delete.
#include "hearth/at_sms.h"

#include <stdlib.h>

#include "ats/atapi/at_exchange.h"
#include "hearth/at_lib.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_sms"};

constexpr uint32_t kTable = 3;
// Of the commands that carry a message or an index.
constexpr uint32_t kMessageRoom = 639;

constexpr Field kReference[] = {AT_FIELD_AS(at_sms_rsp, value, "mr")};
constexpr Field kIndex[] = {AT_FIELD_AS(at_sms_rsp, value, "index")};

// 0x1A ends the message behind the modem's prompt.
constexpr Argument kCmgsValues[] = {AT_ARGUMENT(at_sms_pdu_req, length),
                                    AT_ARGUMENT(at_sms_pdu_req, pdu)};
constexpr Member kCmgs =
    member({.command = "AT+CMGS=%d\r%s\x1a",
            .arguments = kCmgsValues,
            .limit = kMessageRoom,
            .match = "+CMGS:",
            .key = "+CMGS",
            .table = kTable,
            .action = AT_ACTION_EXECUTE,
            .err_before_list = true,
            .fields = kReference,
            .err = AT_ERR(at_sms_rsp),
            .source = &kLogSource,
            .failed = {OSA_LOG_WARNING, "execute at+cmgs command error\n"},
            .refused = {OSA_LOG_WARNING, "get cmgs at error command\n"},
            .no_list = {OSA_LOG_WARNING, "at_cmd_parse cmgs command failed!\n"}});

constexpr Argument kCmgwValues[] = {AT_ARGUMENT(at_sms_pdu_req, length),
                                    AT_ARGUMENT(at_sms_pdu_req, stat),
                                    AT_ARGUMENT(at_sms_pdu_req, pdu)};
constexpr Member kCmgw =
    member({.command = "AT+CMGW=%d,%d\r%s\x1a",
            .arguments = kCmgwValues,
            .limit = kMessageRoom,
            .match = "+CMGW:",
            .key = "+CMGW",
            .table = kTable,
            .action = AT_ACTION_EXECUTE,
            .err_before_list = true,
            .fields = kIndex,
            .err = AT_ERR(at_sms_rsp),
            .source = &kLogSource,
            .failed = {OSA_LOG_WARNING, "execute at+cmgw command error\n"},
            .refused = {OSA_LOG_WARNING, "get cmgw at error command\n"},
            .no_list = {OSA_LOG_WARNING, "at_cmd_parse cmgw command failed!\n"}});

// As scanf: a value that is no number leaves the field alone.
void store_scanned(void *field, size_t width, const char *value) {
    if (value == nullptr) {
        return;
    }
    char *end = nullptr;
    strtoul(value, &end, 10);
    if (end != value) {
        store_number(field, width, value);
    }
}

constexpr Argument kCmgrValues[] = {AT_ARGUMENT(at_cmgr_msg, index)};
constexpr Field kCmgrFields[] = {AT_FIELD(at_cmgr_msg, stat),
                                 AT_FIELD_WITH(at_cmgr_msg, length, "length", store_scanned),
                                 AT_FIELD(at_cmgr_msg, pdu)};
constexpr Member kCmgr =
    member({.command = "AT+CMGR=%d",
            .arguments = kCmgrValues,
            .limit = kMessageRoom,
            .match = "+CMGR:",
            .key = "+CMGR",
            .table = kTable,
            .err_before_list = true,
            .fields = kCmgrFields,
            .err = AT_ERR(at_cmgr_msg),
            .source = &kLogSource,
            .failed = {OSA_LOG_WARNING, "execute at+cmgr command error\n"},
            .refused = {OSA_LOG_WARNING, "get cmgr at error command\n"},
            .no_list = {OSA_LOG_WARNING, "at_cmd_parse cmgr command failed!\n"}});

constexpr Argument kCmgdValues[] = {AT_ARGUMENT(at_cmgd_req, index),
                                    AT_ARGUMENT(at_cmgd_req, delflag)};
constexpr Member kCmgdDelete = member({.command = "AT+CMGD=%d,%d",
                                       .arguments = kCmgdValues,
                                       .limit = kMessageRoom,
                                       .refusal = Refusal::kMap,
                                       .err = AT_ERR(at_cmgd_req)});
constexpr Member kCmgdList =
    member({.command = "AT+CMGD=?",
            .limit = kMessageRoom,
            .refusal = Refusal::kMap,
            .key = "+CMGD",
            .table = kTable,
            .err = AT_ERR(at_cmgd_list),
            .source = &kLogSource,
            .no_list = {OSA_LOG_WARNING, "at_cmd_parse cmgd command failed!\n"}});

constexpr Argument kCmssValues[] = {AT_ARGUMENT(at_cmss_req, index), AT_ARGUMENT(at_cmss_req, da),
                                    AT_ARGUMENT(at_cmss_req, toda)};
// A reply without a reference is no failure: required.
consteval Member cmss(const char *command, size_t values) {
    return member({.command = command,
                   .arguments = std::span(kCmssValues).first(values),
                   .limit = kMessageRoom,
                   .match = "+CMSS:",
                   .timeout = 50,
                   .refusal = Refusal::kMap,
                   .key = "+CMSS",
                   .table = kTable,
                   .action = AT_ACTION_EXECUTE,
                   .err_before_list = true,
                   .result_without_list = 0,
                   .fields = kReference,
                   .err = AT_ERR(at_sms_rsp)});
}
constexpr Member kCmss = cmss("AT+CMSS=%d", 1);
constexpr Member kCmssTo = cmss("AT+CMSS=%d,%s", 2);
constexpr Member kCmssToTyped = cmss("AT+CMSS=%d,%s,%d", 3);

// The table has no read parser for this key, so a good reply gives -1. Required.
constexpr Field kReadTag[] = {AT_FIELD_AS(at_sms_rsp, value, "ReadTag")};
constexpr Member kCmsrCheck = member({.command = "AT^CMSR?",
                                      .match = "^CMSR:",
                                      .refusal = Refusal::kMap,
                                      .key = "^CMSR",
                                      .table = kTable,
                                      .fields = kReadTag,
                                      .err = AT_ERR(at_sms_rsp)});
struct CmsrValues {
    int32_t value;
};
constexpr Argument kCmsrValues[] = {AT_ARGUMENT(CmsrValues, value)};
constexpr Member kCmsrSet = member({.command = "AT^CMSR=%d",
                                    .arguments = kCmsrValues,
                                    .refusal = Refusal::kMap,
                                    .err = AT_ERR(at_sms_rsp)});

// "AT+CGMI" for a reply of "^CMGI": required.
constexpr Member kUnread = member({.command = "AT+CGMI",
                                   .match = "^CMGI:",
                                   .timeout = 1,
                                   .req_param = -1,
                                   .refusal = Refusal::kIgnore,
                                   .key = "^CMGI",
                                   .table = kTable,
                                   .action = AT_ACTION_EXECUTE});

struct CmmtValues {
    int32_t index;
    int32_t value;
};
constexpr Argument kCmmtValues[] = {AT_ARGUMENT(CmmtValues, index), AT_ARGUMENT(CmmtValues, value)};
constexpr Member kCmmt = member({.command = "AT^CMMT=%d,%d",
                                 .arguments = kCmmtValues,
                                 .limit = kMessageRoom,
                                 .refusal = Refusal::kMap,
                                 .err = 0});

// As run(), with the reply in the log before it is parsed.
int32_t run_and_show(const Member &member, void *record, const void *values) {
    at_server_msg message;
    int32_t result = 0;
    if (!ask(member, &message, record, values, &result)) {
        return result;
    }
    HEARTH_LOG(OSA_LOG_INFO, "RSP--- [%s]--- \n", message.report);
    return take(member, &message, record);
}

// Stores the values of a chain as numbers, at most `capacity`. Returns how many there were.
uint32_t store_values(const at_parse_result *chain, uint32_t *values, uint32_t capacity) {
    uint32_t count = 0;
    for (; chain != nullptr && count < capacity; chain = chain->next_field) {
        values[count++] = static_cast<uint32_t>(safe_atoi(chain->AtFieldValue));
    }
    return count;
}

uint32_t chain_length(const at_parse_result *chain) {
    uint32_t length = 0;
    for (; chain != nullptr; chain = chain->next_field) {
        length++;
    }
    return length;
}

int32_t list_messages(at_cmgd_list *list) {
    list->indexes = nullptr;
    list->count = 0;
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kCmgdList, &message, list, list, &result)) {
        return result;
    }
    hearth::ResultList values = parse(kCmgdList, &message);
    if (!values) {
        return -1;
    }
    uint32_t count = chain_length(values.get());
    list->indexes = static_cast<uint32_t *>(malloc(size_t{count} * sizeof(uint32_t)));
    if (list->indexes == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "at_cmd_parse osa_malloc mem failed!\n");
        return -1;
    }
    list->count = store_values(values.get(), list->indexes, count);
    clear_err(kCmgdList, list);
    return 0;
}

}  // namespace

int32_t AT_Cmgs(const at_sms_pdu_req *in, at_sms_rsp *out) {
    return run(kCmgs, out, in);
}

int32_t AT_Cmgw(const at_sms_pdu_req *in, at_sms_rsp *out) {
    return run(kCmgw, out, in);
}

int32_t AT_Cmgs_Text(void) {
    HEARTH_LOG(OSA_LOG_WARNING, "AT_Cmgs_Text function is not support \n");
    return -1;
}

int32_t AT_Cmgw_Text(void) {
    HEARTH_LOG(OSA_LOG_WARNING, "AT_Cmgw_Text function is not support \n");
    return -1;
}

int32_t AT_Cmgr(at_cmgr_msg *record) {
    return run(kCmgr, record);
}

int32_t AT_Cmgd(int32_t action, at_cmgd_req *request, at_cmgd_list *list) {
    if (action == AT_CMD_TYPE_SET) {
        return run(kCmgdDelete, request);
    }
    return action == AT_CMD_TYPE_CHECK && list != nullptr ? list_messages(list) : -1;
}

int32_t AT_Cmss(const at_cmss_req *in, at_sms_rsp *out) {
    if (in == nullptr || out == nullptr) {
        return -1;
    }
    if (in->da[0] == '\0') {
        return run_and_show(kCmss, out, in);
    }
    return run_and_show(in->toda == -1 ? kCmssTo : kCmssToTyped, out, in);
}

int32_t AT_Cmsr_Check(at_sms_rsp *record) {
    return record == nullptr ? -1 : run_and_show(kCmsrCheck, record, nullptr);
}

int32_t AT_Cmsr_Execute(int32_t value, at_sms_rsp *record) {
    if (value != 0 && value != 1) {
        return -1;
    }
    CmsrValues values{value};
    return run(kCmsrSet, record, &values);
}

int32_t AT_Cmgi_unread_sms(uint32_t *indexes, uint32_t capacity, uint32_t *count) {
    if (indexes == nullptr || count == nullptr) {
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kUnread, &message, nullptr, nullptr, &result)) {
        return result;
    }
    HEARTH_LOG(OSA_LOG_INFO, "RSP--- [%s]--- \n", message.report);
    *count = store_values(parse(kUnread, &message).get(), indexes, capacity);
    return 0;
}

int32_t AT_Cmmt(int32_t index, int32_t value, uint32_t *err) {
    if (err == nullptr || index < 0 || value != 1) {
        return -1;
    }
    CmmtValues values{index, value};
    at_server_msg message;
    int32_t result = 0;
    ask(kCmmt, &message, err, &values, &result);
    return result;
}
