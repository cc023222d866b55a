#include "hearth/at_usim.h"

#include <stdlib.h>
#include <string.h>

#include "ats/atapi/at_exchange.h"
#include "base/text.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_usim"};
constexpr uint32_t kSystem = 15;

constexpr Argument kCrsmArguments[] = {
    AT_ARGUMENT(at_crsm_req, command), AT_ARGUMENT(at_crsm_req, fileid),
    AT_ARGUMENT(at_crsm_req, p1),      AT_ARGUMENT(at_crsm_req, p2),
    AT_ARGUMENT(at_crsm_req, p3),      AT_ARGUMENT(at_crsm_req, data)};
constexpr Field kCrsmFields[] = {AT_FIELD(at_crsm_rsp, sw1), AT_FIELD(at_crsm_rsp, sw2)};

constexpr Member crsm(const char *command, std::span<const Argument> arguments) {
    return {.command = command,
            .arguments = arguments,
            .key = "+CRSM",
            .table = kSystem,
            .fields = kCrsmFields,
            .err = AT_ERR(at_crsm_rsp),
            .source = &kLogSource};
}

constexpr Member kCrsmRead =
    member(crsm("AT+CRSM=%d,%d,%d,%d,%d", std::span(kCrsmArguments).first(5)));
constexpr Member kCrsmWrite = member(crsm("AT+CRSM=%d,%d,%d,%d,%d,%s", kCrsmArguments));

constexpr Field kCnumFields[] = {AT_FIELD(at_cnum_entry, name), AT_FIELD(at_cnum_entry, num),
                                 AT_FIELD(at_cnum_entry, type)};
constexpr Member kCnum = member({.command = "AT+CNUM",
                                 .timeout = 5,
                                 .multi_line = 1,
                                 .refusal = Refusal::kMap,
                                 .err = AT_ERR(at_cnum_list)});
constexpr Member kCnumLine = member({.key = "+CNUM",
                                     .table = kSystem,
                                     .fields = kCnumFields,
                                     .source = &kLogSource,
                                     .no_list = {OSA_LOG_ERROR, "at_cmd_parse error!\n"}});
constexpr LineList kCnumLines{.marker = "+CNUM",
                              .limit = 255,
                              .entry_size = sizeof(at_cnum_entry),
                              .no_line = {OSA_LOG_INFO, "phone number list size equal zero\n"},
                              .no_memory = {OSA_LOG_INFO, "phone number osa_malloc list failed\n"},
                              .begin_line = {OSA_LOG_INFO, "begin cnum parse %s \n"}};

constexpr LogText kNoRecord{OSA_LOG_ERROR, "Input param is null!\n"};

constexpr Member kScid = member({.command = "AT^SCID",
                                 .match = "^SCID",
                                 .hides_failure = true,
                                 .refusal = Refusal::kMap,
                                 .err = AT_ERR(at_scid_info),
                                 .source = &kLogSource,
                                 .no_record = kNoRecord});

// Both log the words of the first. Required.
constexpr Member identity(const char *command, const char *match, std::span<const Field> fields,
                          int32_t err) {
    return {.command = command,
            .match = match,
            .hides_failure = true,
            .key = match,
            .table = kSystem,
            .fields = fields,
            .err = err,
            .source = &kLogSource,
            .no_record = kNoRecord,
            .failed = {OSA_LOG_ERROR, "[AT_Iccid] GetDataFromAtServer return error!\n"}};
}

constexpr Field kIccidFields[] = {AT_FIELD(at_iccid_info, iccid)};
constexpr Member kIccid =
    member(identity("AT^ICCID?", "^ICCID", kIccidFields, AT_ERR(at_iccid_info)));
constexpr Field kCurrsidFields[] = {AT_FIELD(at_currsid_info, curr_sid),
                                    AT_FIELD(at_currsid_info, curr_nid),
                                    AT_FIELD(at_currsid_info, curr_evdo_subnetid)};
constexpr Member kCurrsid =
    member(identity("AT^CURRSID?", "^CURRSID", kCurrsidFields, AT_ERR(at_currsid_info)));

// READ BINARY of the files that are read here: ACL, AD and GID1 (3GPP TS 31.102).
constexpr at_crsm_req kApnFile{176, 0x6F57, 0, 0, 255, nullptr};
constexpr at_crsm_req kAdminFile{176, 0x6FAD, 0, 0, 4, nullptr};
constexpr at_crsm_req kGroupFile{176, 0x6F3E, 0, 0, 0, nullptr};

// An APN that AT_get_sim_apn takes, and its terminator.
constexpr size_t kApnSize = 33;

using Response = hearth::HeapBlock<char>;

// Keeps a fresh copy of the text "response" of the reply. False without memory.
bool keep_response(const at_parse_result *chain, at_crsm_rsp *out) {
    for (const at_parse_result *node = chain; node != nullptr; node = node->next_field) {
        if (safe_strcmp(node->AtFieldName, "response") != 0 || node->AtFieldValue == nullptr) {
            continue;
        }
        out->response = static_cast<char *>(malloc(strlen(node->AtFieldValue) + 1));
        if (out->response == nullptr) {
            HEARTH_LOG(OSA_LOG_ERROR, "crsmResult->response malloc error!\n");
            return false;
        }
        safe_strcpy(out->response, node->AtFieldValue);
        break;
    }
    return true;
}

bool is_success(const at_crsm_rsp &answer) {
    return (answer.sw1 == 144 && answer.sw2 == 0) || answer.sw1 == 145;
}

// Two hexadecimal characters to a byte; -1 at the end of the text or for anything else.
int32_t take_byte(const char **text) {
    int high = hearth::hex_value((*text)[0]);
    int low = high < 0 ? -1 : hearth::hex_value((*text)[1]);
    if (low < 0) {
        return -1;
    }
    *text += 2;
    return high << 4 | low;
}

// An APN under way into a buffer of kApnSize bytes.
struct ApnText {
    char *to;
    size_t used = 0;

    void put(char c) {
        if (used < kApnSize - 1) {
            to[used++] = c;
        }
    }
};

// The labels of one APN, `left` bytes in all, with dots between them.
void take_labels(const char *text, int32_t left, ApnText apn) {
    while (left >= 1) {
        int32_t label = take_byte(&text);
        if (label < 1) {
            return;
        }
        for (; label > 0 && left > 0; label--, left--) {
            int32_t byte = take_byte(&text);
            if (byte < 0) {
                return;
            }
            apn.put(static_cast<char>(byte));
        }
        if (left < 1) {
            return;
        }
        apn.put('.');
        left--;
    }
}

// The first APN of the file, in a zeroed buffer of kApnSize bytes.
int32_t parse_sim_apn(const char *text, char *output) {
    if (text == nullptr || output == nullptr || take_byte(&text) < 1) {
        return -1;
    }
    if (text[0] == '\0' || text[1] == '\0') {
        return -1;
    }
    // One character of the tag is enough. Required.
    if (text[0] != 'D' && text[1] != 'D') {
        return -1;
    }
    text += 2;
    int32_t length = take_byte(&text);
    if (length < 1) {
        return -1;
    }
    take_labels(text, length - 1, {output});
    return 0;
}

}  // namespace

int32_t AT_Crsm(const at_crsm_req *request, at_crsm_rsp *response) {
    if (request == nullptr || response == nullptr) {
        return -1;
    }
    const Member &kind = request->data == nullptr ? kCrsmRead : kCrsmWrite;
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kind, &message, response, request, &result)) {
        return result;
    }
    hearth::ResultList list = parse(kind, &message);
    if (!list) {
        return -1;
    }
    clear_err(kind, response);
    fill(kind.fields, list.get(), response);
    return keep_response(list.get(), response) ? 0 : -1;
}

int32_t AT_Cnum(at_cnum_list *list) {
    if (list == nullptr) {
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kCnum, &message, list, nullptr, &result)) {
        return result;
    }
    clear_err(kCnum, list);
    if (message.report[0] == '\0') {
        return 0;
    }
    void *entries = nullptr;
    result = fill_lines(kCnumLine, kCnumLines, &message, &entries, &list->count);
    list->entries = static_cast<at_cnum_entry *>(entries);
    return result;
}

int32_t AT_SCID(at_scid_info *record) {
    if (record == nullptr) {
        log_text(kScid, kScid.no_record, 0);
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kScid, &message, record, nullptr, &result)) {
        return result;
    }
    hearth::ResultList list;
    if (at_cmd_parse(list.out(), "^SCID", message.report, kSystem, AT_ACTION_READ) != 0) {
        return -1;
    }
    constexpr size_t kDigits = 20;
    for (const at_parse_result *node = list.get(); node != nullptr; node = node->next_field) {
        if (safe_strcmp(node->AtFieldName, "scid_num") == 0) {
            safe_strncpy(record->scid_num, node->AtFieldValue, kDigits);
            record->scid_num[kDigits] = '\0';
            clear_err(kScid, record);
            break;
        }
    }
    return 0;
}

int32_t AT_Iccid(at_iccid_info *record) {
    return run(kIccid, record);
}

int32_t AT_Currsid(at_currsid_info *record) {
    return run(kCurrsid, record);
}

int32_t AT_get_sim_apn(char *apn) {
    at_crsm_rsp answer{};
    if (apn == nullptr || AT_Crsm(&kApnFile, &answer) != 0) {
        return -1;
    }
    Response response(answer.response);
    if (!is_success(answer) || !response) {
        return -1;
    }
    const char *text = response.get();
    if (strlen(text) > 3 && text[2] == 'F' && text[3] == 'F') {
        return -1;
    }
    char parsed[kApnSize] = "";
    if (parse_sim_apn(text, parsed) != 0) {
        return -1;
    }
    HEARTH_LOG(OSA_LOG_INFO, "AT_get_sim_apn parse_sim_apn succeed!\n");
    strcpy(apn, parsed);
    return 0;
}

int32_t AT_get_mnc_length(void) {
    constexpr size_t kDigit = 7;
    at_crsm_rsp answer{};
    if (AT_Crsm(&kAdminFile, &answer) != 0) {
        return -1;
    }
    Response response(answer.response);
    if (!is_success(answer)) {
        return -1;
    }
    if (!response) {
        HEARTH_LOG(OSA_LOG_ERROR, "[AT mnc] response data error!\n");
        return -1;
    }
    if (strlen(response.get()) <= kDigit) {
        HEARTH_LOG(OSA_LOG_ERROR, "[AT mnc] response data length error!\n");
        return -1;
    }
    const char digit[] = {response.get()[kDigit], '\0'};
    return static_cast<int32_t>(hex_str_to_uinteger(digit));
}

int32_t AT_get_sim_gid1(char *gid1, uint32_t size) {
    if (gid1 == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "[AT_get_sim_gid1] pstResult == NULL \n");
        return -1;
    }
    HEARTH_LOG(OSA_LOG_INFO, "[AT_get_sim_gid1] Enter>>>> !\n");
    at_crsm_rsp answer{};
    if (AT_Crsm(&kGroupFile, &answer) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "[AT_get_sim_gid1] AT_Crsm failed!\n");
        return -1;
    }
    Response response(answer.response);
    if (!response) {
        HEARTH_LOG(OSA_LOG_ERROR, "[AT_get_sim_gid1] AT_Crsm NULL == stCrsmResult.response!\n");
        return -1;
    }
    strncpy(gid1, response.get(), size);
    HEARTH_LOG(OSA_LOG_INFO, "[AT_get_sim_gid1] gid1=%.*s, Leave<<<< !\n", static_cast<int>(size),
               gid1);
    return 0;
}
