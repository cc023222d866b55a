#include "hearth/at_security.h"

#include "ats/atapi/at_exchange.h"
#include "base/text.h"
#include "hearth/at_lib.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_security"};

static_assert(sizeof(at_pin_info) == 36);
static_assert(sizeof(at_pin_info_ex) == 76);

// The texts of a command, in their order.
struct Texts {
    const char *first;
    const char *second;
    const char *third;
};

constexpr Argument kTexts[] = {AT_ARGUMENT(Texts, first), AT_ARGUMENT(Texts, second),
                               AT_ARGUMENT(Texts, third)};
constexpr std::span<const Argument> kOneText = std::span(kTexts).first(1);
constexpr std::span<const Argument> kTwoTexts = std::span(kTexts).first(2);

constexpr Field kPinFields[] = {AT_FIELD(at_pin_info, code)};
constexpr Member kPinCheck = member({.command = "AT+CPIN?",
                                     .match = "+CPIN",
                                     .refusal = Refusal::kMap,
                                     .key = "+CPIN",
                                     .table = 2,
                                     .fields = kPinFields,
                                     .err = AT_ERR(at_pin_info)});
// The standard form has no quotation marks, the vendor's has them. Required.
constexpr Member kPinEnter = member({.command = "AT+CPIN=%s",
                                     .arguments = kOneText,
                                     .match = "+CPIN",
                                     .refusal = Refusal::kMap,
                                     .err = AT_ERR(at_pin_info)});
constexpr Member kPinReplace = member({.command = "AT+CPIN=%s,%s",
                                       .arguments = kTwoTexts,
                                       .match = "+CPIN",
                                       .refusal = Refusal::kMap,
                                       .err = AT_ERR(at_pin_info)});

constexpr Field kPinExFields[] = {
    AT_FIELD(at_pin_info_ex, code),       AT_FIELD(at_pin_info_ex, times),
    AT_FIELD(at_pin_info_ex, puk_times),  AT_FIELD(at_pin_info_ex, pin_times),
    AT_FIELD(at_pin_info_ex, puk2_times), AT_FIELD(at_pin_info_ex, pin2_times)};
constexpr Member kPinExCheck = member({.command = "AT^CPIN?",
                                       .match = "^CPIN",
                                       .timeout = 5,
                                       .refusal = Refusal::kMap,
                                       .key = "^CPIN",
                                       .table = 2,
                                       .fields = kPinExFields,
                                       .err = AT_ERR(at_pin_info_ex)});
constexpr Member kPinExEnter = member({.command = "AT^CPIN=\"%s\"",
                                       .arguments = kOneText,
                                       .match = "^CPIN",
                                       .timeout = 5,
                                       .refusal = Refusal::kMap,
                                       .err = AT_ERR(at_pin_info_ex)});
constexpr Member kPinExReplace = member({.command = "AT^CPIN=\"%s\",\"%s\"",
                                         .arguments = kTwoTexts,
                                         .match = "^CPIN",
                                         .timeout = 5,
                                         .refusal = Refusal::kMap,
                                         .err = AT_ERR(at_pin_info_ex)});

constexpr LogText kClckFailed{OSA_LOG_WARNING, "GetDataFromAtServer clck command failed!\n"};
constexpr LogText kClckRefused{OSA_LOG_WARNING, "get clck at error command\n"};
constexpr Field kClckFields[] = {AT_FIELD(at_clck_rsp, status)};
constexpr Argument kClckValues[] = {AT_ARGUMENT(at_clck_req, fac), AT_ARGUMENT(at_clck_req, mode),
                                    AT_ARGUMENT(at_clck_req, password)};
// The blank belongs to the query.
constexpr Member kClckQuery =
    member({.command = "AT+CLCK=\"%s\", %s",
            .arguments = std::span(kClckValues).first(2),
            .match = "+CLCK",
            .timeout = 5,
            .refusal = Refusal::kMap,
            .key = "+CLCK",
            .table = 2,
            .action = AT_ACTION_EXECUTE,
            .fields = kClckFields,
            .err = AT_ERR(at_clck_rsp),
            .source = &kLogSource,
            .failed = kClckFailed,
            .refused = kClckRefused,
            .no_list = {OSA_LOG_WARNING, "at_cmd_parse clck command failed!\n"}});
constexpr Member kClckSet = member({.command = "AT+CLCK=\"%s\",%s,\"%s\"",
                                    .arguments = kClckValues,
                                    .match = "+CLCK",
                                    .timeout = 5,
                                    .refusal = Refusal::kMap,
                                    .err = AT_ERR(at_clck_rsp),
                                    .source = &kLogSource,
                                    .failed = kClckFailed,
                                    .refused = kClckRefused});

constexpr Member kPinModify = member({.command = "AT+CPWD=\"%s\",\"%s\",\"%s\"",
                                      .arguments = kTexts,
                                      .match = "+CPWD",
                                      .refusal = Refusal::kMap,
                                      .err = 0});

// Sends what the modem takes for a password. Half of one would cost a try: a command that was cut
// is not sent.
bool deliver_secret(const Member &member, const Texts &texts, at_server_msg *message,
                    int32_t *result) {
    if (prepare(member, &texts, message) + 1 >= member.limit) {
        *result = -1;
        return false;
    }
    return deliver(member, message, result);
}

int32_t enter(const Member &one, const Member &two, const char *pin, const char *new_pin,
              void *record) {
    if (pin == nullptr || record == nullptr) {
        return -1;
    }
    const Member &member = new_pin == nullptr ? one : two;
    at_server_msg message;
    int32_t result = 0;
    if (deliver_secret(member, {pin, new_pin, nullptr}, &message, &result) &&
        judge(member, &message, record, &result)) {
        clear_err(member, record);
    }
    return result;
}

}  // namespace

int32_t AT_PinManagement_Check(at_pin_info *record) {
    return run(kPinCheck, record);
}

int32_t AT_PinManagement_Execute(const char *pin, const char *new_pin, at_pin_info *record) {
    return enter(kPinEnter, kPinReplace, pin, new_pin, record);
}

int32_t AT_PinManagement(int32_t action, const char *pin, const char *new_pin,
                         at_pin_info *record) {
    return dispatch(
        action, -1, [&] { return AT_PinManagement_Check(record); },
        [&] { return AT_PinManagement_Execute(pin, new_pin, record); });
}

int32_t AT_PinManagementEx_Check(at_pin_info_ex *record) {
    return run(kPinExCheck, record);
}

int32_t AT_PinManagementEx_Execute(const char *pin, const char *new_pin, at_pin_info_ex *record) {
    return enter(kPinExEnter, kPinExReplace, pin, new_pin, record);
}

int32_t AT_PinManagementEx(int32_t action, const char *pin, const char *new_pin,
                           at_pin_info_ex *record) {
    return dispatch(
        action, -1, [&] { return AT_PinManagementEx_Check(record); },
        [&] { return AT_PinManagementEx_Execute(pin, new_pin, record); });
}

int32_t AT_PinEnableDisableCmd(int32_t action, const at_clck_req *in, at_clck_rsp *out) {
    if (in == nullptr || out == nullptr || action != AT_CMD_TYPE_SET) {
        return -1;
    }
    std::string_view mode = hearth::field_text(in->mode);
    if (mode == "2") {
        return run(kClckQuery, out, in);
    }
    return mode == "0" || mode == "1" ? run(kClckSet, out, in) : -1;
}

int32_t AT_PinModify(const char *facility, const char *old_password, const char *new_password,
                     uint32_t *err) {
    if (facility == nullptr || old_password == nullptr || new_password == nullptr ||
        err == nullptr) {
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (!deliver_secret(kPinModify, {facility, old_password, new_password}, &message, &result)) {
        return result;
    }
    if (message.Ret_val == AT_RET_FAILURE) {
        *err = static_cast<uint32_t>(AT_ERR_REJECTED);
        return 0;
    }
    if (judge(kPinModify, &message, err, &result)) {
        clear_err(kPinModify, err);
    }
    return result;
}
