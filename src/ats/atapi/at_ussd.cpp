#include "hearth/at_ussd.h"

#include <string.h>

#include "ats/atapi/at_exchange.h"
#include "base/text.h"

namespace {

using namespace hearth::at;

constexpr int32_t kEndSession = 2;
constexpr uint32_t kCommandRoom = 640;

constexpr Argument kCusdMode[] = {AT_ARGUMENT(at_cusd_req, n)};
constexpr Member kCancel =
    member({.command = "AT+CUSD=%d", .arguments = kCusdMode, .err = AT_ERR(at_cusd_req)});
// What is sent and its coding follow behind this head.
constexpr Member kSend =
    member({.command = "AT+CUSD=%d,", .arguments = kCusdMode, .err = AT_ERR(at_cusd_req)});

constexpr Field kModeFields[] = {AT_FIELD(at_ussd_mode, mode)};
constexpr Member kModeCheck = member({.command = "AT^USSDMODE?",
                                      .match = "^USSDMODE:",
                                      .key = "^USSDMODE",
                                      .table = 34,
                                      .fields = kModeFields,
                                      .err = AT_ERR(at_ussd_mode)});
constexpr Argument kMode[] = {AT_ARGUMENT(at_ussd_mode, mode)};
constexpr Member kModeSet =
    member({.command = "AT^USSDMODE=%d", .arguments = kMode, .err = AT_ERR(at_ussd_mode)});

}  // namespace

int32_t AT_Cusd_Msg_Send(int32_t action, at_cusd_req *request) {
    if (action != AT_CMD_TYPE_SET || request == nullptr) {
        return -1;
    }
    bool cancels = request->n == kEndSession;
    if (!cancels && request->str_length > sizeof request->str) {
        return -1;
    }
    const Member &kind = cancels ? kCancel : kSend;
    at_server_msg message;
    int32_t result = 0;
    size_t used = prepare(kind, request, &message);
    if (!cancels) {
        memcpy(message.report + used, request->str, request->str_length);
        used += request->str_length;
        hearth::format_text(message.report + used, kCommandRoom - used, ",%d",
                            static_cast<int32_t>(request->dcs));
    }
    if (!deliver(kind, &message, &result)) {
        return result;
    }
    if (message.Ret_val == AT_RET_FAILURE) {
        // A failure, unlike for the one other command that tells this value apart. Required.
        request->err = static_cast<uint32_t>(AT_ERR_REJECTED);
        return -1;
    }
    if (!judge(kind, &message, request, &result)) {
        return result;
    }
    clear_err(kind, request);
    return 0;
}

int32_t AT_UssdMode(int32_t action, at_ussd_mode *record) {
    return run_action(action, kModeCheck, kModeSet, record);
}
