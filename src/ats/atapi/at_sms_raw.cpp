// The vendor's commands, which carry a message as raw bytes beside its numbers.
#include <algorithm>
#include <array>

#include "ats/atapi/at_exchange.h"
#include "base/text.h"
#include "hearth/at_lib.h"
#include "hearth/at_sms.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_sms"};

constexpr uint32_t kTable = 3;
constexpr std::string_view kLineEnd = "\r\n";

template <size_t N>
constexpr void add_arguments(Argument *&next, uint32_t offset, uint32_t width) {
    for (uint32_t i = 0; i < N; i++) {
        *next++ = {offset + i * width, width, ArgumentKind::kUnsigned};
    }
}

consteval std::array<Argument, 4> hsmsss_values() {
    std::array<Argument, 4> values{};
    Argument *next = values.data();
    add_arguments<4>(next, offsetof(at_hsmsss_req, values), sizeof(uint32_t));
    return values;
}

constexpr std::array<Argument, 4> kHsmsssValues = hsmsss_values();
constexpr Member kHsmsss = member({.command = "AT^HSMSSS=%d,%d,%d,%d",
                                   .arguments = kHsmsssValues,
                                   .refusal = Refusal::kMap,
                                   .err = 0});

constexpr Argument kHcmgsValues[] = {AT_ARGUMENT(at_hcmgs_req, number),
                                     AT_ARGUMENT(at_hcmgs_req, value)};
constexpr Member kHcmgs = member({.command = "AT^HCMGS=\"%s\",%d\r",
                                  .arguments = kHcmgsValues,
                                  .err = 0,
                                  .source = &kLogSource,
                                  .failed = {OSA_LOG_ERROR, "execute at^hcmgs command error\n"},
                                  .refused = {OSA_LOG_ERROR, "get hcmgs at error command\n"}});

consteval std::array<Argument, 13> hcmgw_values() {
    std::array<Argument, 13> values{};
    Argument *next = values.data();
    *next++ = AT_ARGUMENT(at_hcmgw_req, number);
    add_arguments<7>(next, offsetof(at_hcmgw_req, words), sizeof(uint16_t));
    add_arguments<5>(next, offsetof(at_hcmgw_req, bytes), sizeof(uint8_t));
    return values;
}

constexpr std::array<Argument, 13> kHcmgwValues = hcmgw_values();
constexpr Field kHcmgwFields[] = {AT_FIELD_AS(at_sms_rsp, value, "index")};
// "cmgw" in the text of a refusal is required.
constexpr Member kHcmgw =
    member({.command = "AT^HCMGW=\"%s\",%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d\r",
            .arguments = kHcmgwValues,
            .match = "^HCMGW:",
            .key = "^HCMGW",
            .table = kTable,
            .action = AT_ACTION_EXECUTE,
            .err_before_list = true,
            .fields = kHcmgwFields,
            .err = AT_ERR(at_sms_rsp),
            .source = &kLogSource,
            .failed = {OSA_LOG_ERROR, "execute at^hcmgw command error\n"},
            .refused = {OSA_LOG_ERROR, "get cmgw at error command\n"},
            .no_list = {OSA_LOG_ERROR, "at_cmd_parse hcmgw command failed!\n"}});

// A record never tells of more bytes than its body holds.
void store_length(void *field, size_t width, const char *value) {
    uint16_t length = 0;
    store_number(&length, sizeof length, value);
    length = std::min<uint16_t>(length, sizeof at_hcmgr_msg::body);
    memcpy(field, &length, width);
    HEARTH_LOG(OSA_LOG_DEBUG, "[AT_Hcmgr] Rsp->length = %d\n", length);
}

constexpr Argument kHcmgrValues[] = {AT_ARGUMENT(at_hcmgr_req, index),
                                     AT_ARGUMENT(at_hcmgr_req, value)};
constexpr Field kHcmgrFields[] = {
    AT_FIELD(at_hcmgr_msg, callerID), AT_FIELD(at_hcmgr_msg, year),
    AT_FIELD(at_hcmgr_msg, month),    AT_FIELD(at_hcmgr_msg, day),
    AT_FIELD(at_hcmgr_msg, hour),     AT_FIELD(at_hcmgr_msg, minute),
    AT_FIELD(at_hcmgr_msg, second),   AT_FIELD(at_hcmgr_msg, lang),
    AT_FIELD(at_hcmgr_msg, format),   AT_FIELD_WITH(at_hcmgr_msg, length, "length", store_length),
    AT_FIELD(at_hcmgr_msg, prt),      AT_FIELD(at_hcmgr_msg, prv),
    AT_FIELD(at_hcmgr_msg, type),     AT_FIELD(at_hcmgr_msg, stat)};
constexpr Member kHcmgr =
    member({.command = "AT^HCMGR=%d,%d",
            .arguments = kHcmgrValues,
            .match = "^HCMGR:",
            .key = "^HCMGR",
            .table = kTable,
            .err_before_list = true,
            .fields = kHcmgrFields,
            .err = AT_ERR(at_hcmgr_msg),
            .source = &kLogSource,
            .refused = {OSA_LOG_ERROR, "get hcmgr at error command\n"},
            .no_list = {OSA_LOG_ERROR, "at_cmd_parse hcmgr command failed!\n"}});

// The longest head is far from the end of `report`: the body finds room behind it.
template <size_t N>
bool deliver_with_body(const Member &member, const void *values, const uint8_t (&body)[N],
                       at_server_msg *message, int32_t *result) {
    size_t head = prepare(member, values, message);
    memcpy(message->report + head, body, N);
    return deliver(member, message, result);
}

static_assert(kHcmgs.limit + sizeof at_hcmgs_req::body <= sizeof at_server_msg::report);
static_assert(kHcmgw.limit + sizeof at_hcmgw_req::body <= sizeof at_server_msg::report);

int32_t store_raw(const at_hcmgw_req *in, at_sms_rsp *out) {
    if (in == nullptr || out == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "[AT_Hcmgw] para is NULL,return \n");
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (deliver_with_body(kHcmgw, in, in->body, &message, &result) &&
        judge(kHcmgw, &message, out, &result)) {
        result = take(kHcmgw, &message, out);
    }
    return result;
}

// A reply, and behind it as many zero bytes as a body can be longer than what came.
struct RawReply {
    char text[sizeof at_server_msg::report + sizeof at_hcmgr_msg::body];
};

int32_t take_body(const RawReply &reply, at_hcmgr_msg *out) {
    uint8_t body[sizeof out->body + 1];
    if (hcmgr_msg_parse(reply.text, out->length, body) == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "at_cmd_parse hcmgr command failed!\n");
        return -1;
    }
    memcpy(out->body, body, std::min<size_t>(out->length + 1u, sizeof out->body));
    return 0;
}

}  // namespace

int32_t AT_Hsmsss(const at_hsmsss_req *in, uint32_t *err) {
    return run(kHsmsss, err, in);
}

int32_t AT_Hcmgs(const at_hcmgs_req *in, uint32_t *err) {
    HEARTH_LOG(OSA_LOG_DEBUG, "[AT_Hcmgs]enter...\n");
    HEARTH_LOG(OSA_LOG_DEBUG, "[AT_Hcmgs]Test...\n");
    if (in == nullptr || err == nullptr) {
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (deliver_with_body(kHcmgs, in, in->body, &message, &result) &&
        judge(kHcmgs, &message, err, &result)) {
        result = take(kHcmgs, &message, err);
    }
    return result;
}

int32_t AT_Hcmgw(const at_hcmgw_req *in, at_sms_rsp *out) {
    // The same words at both ends: required.
    HEARTH_LOG(OSA_LOG_DEBUG, "[AT_Hcmgw] enter... \n");
    int32_t result = store_raw(in, out);
    HEARTH_LOG(OSA_LOG_DEBUG, "[AT_Hcmgw] enter... \n");
    return result;
}

int32_t AT_Hcmgr(const at_hcmgr_req *in, at_hcmgr_msg *out) {
    if (in == nullptr || out == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "[AT_Hcmgr]para is NULL, return!\n");
        return -1;
    }
    at_server_msg message;
    prepare(kHcmgr, in, &message);
    // Any other result of the channel goes on to the reply, and the line end is looked for before
    // Ret_val: both are required.
    if (GetDataFromAtServer(&message) == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "execute at^hcmgr command error\n");
        return -1;
    }
    // The parser must never see the body.
    RawReply reply{};
    memcpy(reply.text, message.report, sizeof message.report);
    char *end = strstr(message.report, kLineEnd.data());
    if (end == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "hcmgr_first_line not find : [\\r\\n]\n");
        return -1;
    }
    *end = '\0';
    int32_t result = 0;
    if (!judge(kHcmgr, &message, out, &result)) {
        return result;
    }
    if (take(kHcmgr, &message, out) != 0) {
        return -1;
    }
    result = take_body(reply, out);
    HEARTH_LOG(OSA_LOG_DEBUG, "[AT_Hcmgr]end.\n");
    return result;
}

int32_t hcmgr_msg_parse(const char *text, uint16_t length, uint8_t *body) {
    if (text == nullptr || body == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "hcmgr_msg_parse para is null \n");
        return -1;
    }
    const char *colon = strchr(text, ':');
    if (colon == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "hcmgr_msg_parse p_str1 not find : \r\n");
        return -1;
    }
    const char *end = strstr(colon, kLineEnd.data());
    if (end == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "hcmgr_msg_parse not find : \r\n");
        return -1;
    }
    memcpy(body, end + kLineEnd.size(), length);
    body[length] = '\0';
    return 0;
}
