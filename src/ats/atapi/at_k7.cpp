// Who the modem and the card are, and bare commands.
#include "hearth/at_k7.h"

#include <string.h>

#include "ats/atapi/at_exchange.h"
#include "base/text.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_k7"};
constexpr LogText kNoRecord{OSA_LOG_INFO, "para is NULL"};

// A query whose answer goes to the text of an at_text_reply.
constexpr Member text_row(const char *command, const char *match, int32_t timeout,
                          Refusal refusal) {
    return {.command = command,
            .match = match,
            .timeout = timeout,
            .refusal = refusal,
            .err = AT_ERR(at_text_reply),
            .source = &kLogSource,
            .no_record = kNoRecord};
}

constexpr Member kImsi = member(text_row("AT+CIMI", "", 30, Refusal::kFail));
constexpr Member kModel = member(text_row("AT+CGMM", "", 30, Refusal::kMap));
constexpr Member kImei = member(text_row("AT+CGSN", "", 30, Refusal::kMap));
constexpr Member kManufacturer = member(text_row("AT+CGMI", "", 5, Refusal::kMap));

constexpr Member kSn = member(text_row("AT^SN", "^SN:", 30, Refusal::kMap));
constexpr Member kProfile = member(text_row("AT^APCURPROF?", "^APCURPROF", 5, Refusal::kMap));
constexpr Member kPassword = member(text_row("AT^APWEBADMIN?", "^APWEBADMIN", 5, Refusal::kMap));
constexpr Member kWifi = member(text_row("AT^APWIFINUM?", "^APWIFINUM", 5, Refusal::kMap));
constexpr Member kMtu = member(text_row("AT^APMTU?", "^APMTU", 5, Refusal::kMap));
constexpr Member kWpsPin = member(text_row("AT^APWIFIPIN?", "^APWIFIPIN", 5, Refusal::kMap));
constexpr Member kBattery = member(text_row("AT^APBATLVL", "^APBATLVL", 5, Refusal::kFail));
constexpr Member kScid = member(text_row("AT^SCID", "^SCID", 5, Refusal::kMap));
constexpr Member kVersion = member(text_row("", "^APVER", 5, Refusal::kMap));
constexpr Member kNumberOfPhone = member(text_row("AT+CNUM", "+CNUM", 5, Refusal::kMap));

constexpr Member kCgsn = member({.command = "AT+CGSN",
                                 .match = "+CGSN",
                                 .req_param = -1,
                                 .refusal = Refusal::kMap,
                                 .err = AT_ERR(at_cgsn_info),
                                 .source = &kLogSource,
                                 .no_record = kNoRecord});
constexpr Member kCgmr = member({.command = "AT+CGMR", .hides_failure = true});

bool has_record(const Member &kind, const void *record) {
    if (record == nullptr) {
        log_text(kind, kind.no_record, 0);
    }
    return record != nullptr;
}

// Sends what stands in the message and stores the part of the answer that `take` picks; -1 when
// there is none.
template <typename Take>
int32_t ask_for_text(const Member &kind, at_server_msg *message, at_text_reply *record, Take take) {
    int32_t result = 0;
    if (!deliver(kind, message, &result) || !judge(kind, message, record, &result)) {
        return result;
    }
    clear_err(kind, record);
    return take(message->report, record);
}

int32_t take_whole(const char *report, at_text_reply *record) {
    hearth::copy_text(record->text, report);
    return 0;
}

int32_t take_behind_colon(const char *report, at_text_reply *record) {
    const char *colon = strchr(report, ':');
    if (colon == nullptr) {
        return -1;
    }
    hearth::copy_text(record->text, colon + 1);
    return 0;
}

// The part between the first two commas behind the colon.
bool prase_cnum(const char *report, at_text_reply *record) {
    const char *colon = strchr(report, ':');
    const char *first = colon == nullptr ? nullptr : strchr(colon, ',');
    const char *second = first == nullptr ? nullptr : strchr(first + 1, ',');
    if (second == nullptr) {
        return false;
    }
    hearth::copy_text(record->text,
                      std::string_view(first + 1, static_cast<size_t>(second - first - 1)));
    return true;
}

int32_t take_number(const char *report, at_text_reply *record) {
    if (prase_cnum(report, record)) {
        return 0;
    }
    record->text[0] = '\0';
    return -1;
}

int32_t whole_text(const Member &kind, at_text_reply *record) {
    at_server_msg message;
    if (!has_record(kind, record)) {
        return -1;
    }
    prepare(kind, nullptr, &message);
    return ask_for_text(kind, &message, record, take_whole);
}

int32_t behind_colon(const Member &kind, at_text_reply *record) {
    at_server_msg message;
    if (!has_record(kind, record)) {
        return -1;
    }
    prepare(kind, nullptr, &message);
    return ask_for_text(kind, &message, record, take_behind_colon);
}

// A command whose outcome alone counts.
constexpr Member bare_row(const char *command, const char *match, LogText log = {},
                          int32_t timeout = 30) {
    return {.command = command,
            .match = match,
            .timeout = timeout,
            .source = &kLogSource,
            .failed = log,
            .refused = log};
}

constexpr Argument kText[] = {{0, sizeof(const char *), ArgumentKind::kPointer}};
struct NameAndValue {
    const char *name;
    const char *value;
};
constexpr Argument kNameAndValue[] = {AT_ARGUMENT(NameAndValue, name),
                                      AT_ARGUMENT(NameAndValue, value)};

constexpr Member kCfun = member({.command = "AT+CFUN=%d", .arguments = kNumber, .match = "+CFUN:"});
constexpr Member kCsdflt =
    member(bare_row("AT^CSDFLT", "^CSDFLT", {OSA_LOG_INFO, "set csdflt, error\n"}));
constexpr Member kInforbu =
    member(bare_row("AT^INFORBU", "^INFORBU", {OSA_LOG_INFO, "set inforbu, error\n"}));
constexpr Member kFactoryReset = member(bare_row("AT&F", "", {OSA_LOG_INFO, "error=%d"}));
constexpr Member kGodload =
    member(bare_row("AT^GODLOAD", "^GODLOAD", {OSA_LOG_INFO, "AT^GODLOAD error\n"}));
constexpr Member kRestore = member(bare_row("AT^APRESTOREPARM", "", {}, 5));
constexpr Member kCounterClear = member(bare_row("AT^DSFLOWCLR", "", {}, 5));
constexpr Member kDialCommand = member({.command = "%s", .arguments = kText, .timeout = 5});
constexpr Member kSetNvram = member({.command = "%s=%s", .arguments = kNameAndValue, .timeout = 5});
constexpr Member kSetInfotype =
    member({.command = "AT^APXMLINFOTYPE=%s", .arguments = kText, .limit = 128});
constexpr Member kGetInfotype = member({.command = "AT^APXMLINFOTYPE?", .match = "^APXMLINFOTYPE"});

constexpr Member process_row(const char *command, const char *match, LogText refused = {}) {
    return {.command = command,
            .match = match,
            .req_param = -1,
            .asks_as_process = true,
            .source = &kLogSource,
            .refused = refused};
}
constexpr Member kRadioOff =
    member(process_row("AT+CFUN=4", "+CFUN", {OSA_LOG_ERROR, "Error:reboot"}));
constexpr Member kReset = member(process_row("AT+CFUN=6", "+CFUN", {OSA_LOG_INFO, "reboot error"}));
constexpr Member kSdload = member(process_row("AT^SDLOAD", ""));
constexpr Member kSd = member(process_row("AT^SD", ""));

constexpr Member kAnyCommand = member({.req_param = -1});

int32_t run_text(const Member &kind, const char *text) {
    return text == nullptr ? -1 : run(kind, nullptr, &text);
}

}  // namespace

int32_t AT_imsi(at_text_reply *record) {
    return whole_text(kImsi, record);
}

int32_t AT_cgmm(at_text_reply *record) {
    return whole_text(kModel, record);
}

int32_t AT_imei(at_text_reply *record) {
    return whole_text(kImei, record);
}

int32_t at_cgmi(at_text_reply *record) {
    return whole_text(kManufacturer, record);
}

int32_t AT_CGSN(at_cgsn_info *record) {
    at_server_msg message;
    int32_t result = 0;
    if (!has_record(kCgsn, record)) {
        return -1;
    }
    *record = {};
    if (!ask(kCgsn, &message, record, nullptr, &result)) {
        return result;
    }
    record->flag = 1;
    hearth::copy_text(record->text, message.report);
    clear_err(kCgsn, record);
    return 0;
}

int32_t AT_Cgmr(at_version_info *version) {
    if (version == nullptr) {
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    prepare(kCgmr, nullptr, &message);
    bool delivered = deliver(kCgmr, &message, &result);
    HEARTH_LOG(OSA_LOG_INFO, "snd_rcv_msg.rmsg.ret = %d,%s,%s\n", message.Ret_val, message.match,
               message.report);
    if (!delivered || !judge(kCgmr, &message, version, &result) || message.report[0] == '\0') {
        return -1;
    }
    version->software_flag = 1;
    size_t used = strnlen(version->soft, sizeof version->soft - 1);
    hearth::copy_text(version->soft + used, sizeof version->soft - used, message.report);
    return 0;
}

int32_t AT_sn(at_text_reply *record) {
    return behind_colon(kSn, record);
}

int32_t at_current_profile_get(at_text_reply *record) {
    return behind_colon(kProfile, record);
}

int32_t at_password_nvram_content_get(at_text_reply *record) {
    return behind_colon(kPassword, record);
}

int32_t at_wifi_number_get(at_text_reply *record) {
    return behind_colon(kWifi, record);
}

int32_t at_mtu_get(at_text_reply *record) {
    return behind_colon(kMtu, record);
}

int32_t at_wps_pin_get(at_text_reply *record) {
    return behind_colon(kWpsPin, record);
}

int32_t at_battery_get(at_text_reply *record) {
    return behind_colon(kBattery, record);
}

int32_t at_get_scid(at_text_reply *record) {
    return behind_colon(kScid, record);
}

int32_t at_get_version(const char *command, at_text_reply *record) {
    at_server_msg message;
    if (!has_record(kVersion, record) || command == nullptr) {
        return -1;
    }
    prepare(kVersion, nullptr, &message);
    hearth::copy_text(message.report, kVersion.limit, command);
    return ask_for_text(kVersion, &message, record, take_behind_colon);
}

int32_t at_phone_numbner_get(at_text_reply *record) {
    at_server_msg message;
    if (!has_record(kNumberOfPhone, record)) {
        return -1;
    }
    prepare(kNumberOfPhone, nullptr, &message);
    return ask_for_text(kNumberOfPhone, &message, record, take_number);
}

int32_t AT_Cfun(int32_t value) {
    int32_t result = run(kCfun, nullptr, &value);
    if (result != 0) {
        HEARTH_LOG(OSA_LOG_INFO, "cfun=%d, error\n", value);
    }
    return result;
}

int32_t AT_ReBoot(void) {
    int32_t result = run(kRadioOff, nullptr);
    return result != 0 ? result : run(kReset, nullptr);
}

int32_t at_SetCsdflt(void) {
    return run(kCsdflt, nullptr);
}

int32_t at_SetModemInforbu(void) {
    return run(kInforbu, nullptr);
}

int32_t at_factoryreset(void) {
    return run(kFactoryReset, nullptr);
}

int32_t at_godload(void) {
    return run(kGodload, nullptr);
}

int32_t at_restore(void) {
    return run(kRestore, nullptr);
}

int32_t at_counter_clear(void) {
    return run(kCounterClear, nullptr);
}

int32_t at_dial_command(const char *command) {
    return run_text(kDialCommand, command);
}

int32_t at_set_nvram(const char *name, const char *value) {
    NameAndValue values{name, value};
    return name == nullptr || value == nullptr ? -1 : run(kSetNvram, nullptr, &values);
}

int32_t AT_SDload(void) {
    at_server_msg message;
    int32_t result = 0;
    prepare(kSdload, nullptr, &message);
    if (!deliver(kSdload, &message, &result)) {
        return result;
    }
    if (message.Ret_val == 1) {
        return 1;
    }
    return message.Ret_val == AT_RET_SUCCESS ? 0 : -1;
}

int32_t AT_SD(void) {
    at_server_msg message;
    int32_t result = 0;
    prepare(kSd, nullptr, &message);
    if (!deliver(kSd, &message, &result)) {
        return result;
    }
    return message.Ret_val == AT_RET_SUCCESS ? 0 : 1;
}

int32_t at_set_xml_infotype(const char *text) {
    return run_text(kSetInfotype, text);
}

int32_t at_get_xml_infotype(char *out) {
    at_server_msg message;
    int32_t result = 0;
    if (out == nullptr) {
        return -1;
    }
    if (!ask(kGetInfotype, &message, nullptr, nullptr, &result)) {
        return result;
    }
    const char *colon = strchr(message.report, ':');
    if (colon == nullptr) {
        return -1;
    }
    // Without a terminator. Required.
    memcpy(out, colon + 1, strlen(colon + 1));
    return 0;
}

int32_t AT_CommenCmd(const char *command, const char *match, char *out) {
    at_server_msg message;
    int32_t result = 0;
    if (command == nullptr) {
        return -1;
    }
    prepare(kAnyCommand, nullptr, &message);
    hearth::copy_text(message.report, kAnyCommand.limit, command);
    if (match != nullptr) {
        hearth::copy_text(message.match, match);
    }
    HEARTH_LOG(OSA_LOG_INFO, "Client AT cmd is %s, client id =%x\n", message.report,
               static_cast<unsigned>(message.mtype));
    if (!deliver(kAnyCommand, &message, &result) ||
        !judge(kAnyCommand, &message, nullptr, &result)) {
        return result;
    }
    if (out != nullptr) {
        strcpy(out, message.report);
    }
    return 0;
}
