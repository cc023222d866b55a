// hearth at: questions to the modem, through the AT server.

#include "hearth/at_lib.h"

#include <signal.h>

#include <cstring>

#include "at.h"
#include "hearth/at_k7.h"
#include "hearth/at_network.h"
#include "hearth/at_security.h"
#include "hearth/osa_pthread.h"
#include "tool.h"

namespace hearth::tool {

void need_at_server() {
    int32_t id = get_ats_task_id();
    if (id <= 0 || (kill(id, 0) != 0 && errno != EPERM)) {
        throw Failure("no AT server: start hearth-at-server, or ./demo --shell", kExitNoServer);
    }
}

void expect_at(const std::string &what, int32_t result, uint32_t err) {
    if (result != 0) {
        need_at_server();
        throw Failure(what, kAtResults, result);
    }
    if (err != static_cast<uint32_t>(AT_ERR_NONE) && err != 0) {
        throw Failure(what, kAtErrors, static_cast<int32_t>(err));
    }
}

void expect_at(const std::string &what, int32_t result, int32_t err) {
    expect_at(what, result, static_cast<uint32_t>(err));
}

Option check_number(Option option) {
    return option.check(
        [](const std::string &text) -> std::string {
            size_t sign = text.rfind('+', 0) == 0 ? 1 : 0;
            bool good = text.size() > sign && text.size() <= sign + 20 &&
                        text.find_first_not_of("0123456789*#abcABC", sign) == std::string::npos;
            return good ? "" : "expected 1 to 20 digits, with + in front of a country code";
        },
        "1 to 20 digits");
}

namespace {

// 3GPP TS 27.007, 7.2.
constexpr const char *kRegistration[] = {"not registered", "registered, home network",
                                         "searching",      "denied",
                                         "unknown",        "registered, roaming"};
// 3GPP TS 27.007, 7.3.
constexpr const char *kAvailability[] = {"unknown", "available", "current", "forbidden"};
constexpr const char *kTechnology[] = {"GSM",         "GSM compact", "UTRAN",      "GSM EGPRS",
                                       "UTRAN HSDPA", "UTRAN HSUPA", "UTRAN HSPA", "LTE"};

template <size_t N>
std::string name_of(const char *const (&names)[N], int64_t number) {
    bool known = number >= 0 && number < static_cast<int64_t>(N);
    return known ? names[number] : "number " + std::to_string(number);
}

// The name of a number that came as a text.
template <size_t N>
Json name_of_text(const char *const (&names)[N], const std::string &text) {
    bool digits = !text.empty() && text.size() < 9 &&
                  text.find_first_not_of("0123456789") == std::string::npos;
    return digits ? Json(name_of(names, std::stoi(text))) : Json(nullptr);
}

struct RawOptions {
    std::string command;
    std::string match;
    int32_t timeout = 30;
    bool one_line = false;
};

void run_raw(const RawOptions &options) {
    at_server_msg message{};
    // What a caller's command and match may take of the message.
    if (options.command.size() >= 640 || options.match.size() >= sizeof message.match) {
        throw Failure("the command has 639 characters at most, the match 63", kExitUsage);
    }
    need_at_server();
    message.mtype = osa_pthread_getid();
    message.req_param = -1;
    message.multi_line = options.one_line ? 0 : 1;
    message.timeout = options.timeout;
    memcpy(message.match, options.match.data(), options.match.size());
    memcpy(message.report, options.command.data(), options.command.size());
    int32_t result = GetDataFromAtServer(&message);
    if (result != 0) {
        need_at_server();
        throw Failure("no reply to " + options.command + " within " +
                          std::to_string(options.timeout) + " seconds",
                      kAtResults, result);
    }
    std::string report(message.report,
                       std::min<size_t>(message.report_len, sizeof message.report - 1));
    if (message.Ret_val != AT_RET_SUCCESS) {
        Failure failure(options.command + " gave \"" + printable(report) + "\"", kAtOutcomes,
                        message.Ret_val);
        failure.details["reply"] = printable(report);
        throw failure;
    }
    std::string lines;
    Json list = Json::array();
    for (size_t at = 0; at < report.size();) {
        size_t end = std::min(report.find("\r\n", at), report.size());
        if (end > at) {
            list.push_back(printable(report.substr(at, end - at)));
            lines += list.back().get<std::string>() + "\n";
        }
        at = end + 2;
    }
    show({{"command", options.command}, {"lines", list}}, lines.empty() ? "OK\n" : lines);
}

void add_sim(Json &status) {
    at_pin_info_ex pin{};
    expect_at("SIM state", AT_PinManagementEx(AT_CMD_TYPE_CHECK, nullptr, nullptr, &pin), pin.err);
    status["sim"] = field(pin.code);
}

void add_imsi(Json &status) {
    at_text_reply imsi{};
    expect_at("IMSI", AT_imsi(&imsi), imsi.err);
    status["imsi"] = field(imsi.text);
}

void add_registration(Json &status) {
    at_creg_info info{};
    expect_at("registration", AT_Creg(AT_CMD_TYPE_CHECK, &info), info.err);
    status["registration"] = name_of(kRegistration, info.stat);
    // Told only when the unsolicited report with the place is on.
    if (info.lac[0] != '\0') {
        status["area"] = field(info.lac);
        status["cell"] = field(info.ci);
    }
}

void add_packet(Json &status) {
    at_cgatt_info info{};
    expect_at("packet domain", AT_Cgatt(AT_CMD_TYPE_CHECK, &info), info.err);
    status["packet_domain"] = info.state == 1 ? "attached" : "detached";
}

void add_operator(Json &status) {
    at_cops_info info{};
    expect_at("operator", AT_Cops(&info));
    status["operator"] = field(info.oper);
    status["technology"] = name_of_text(kTechnology, field(info.rat));
}

// What the server keeps of the modem's reports or, as long as none has come, the modem's answer.
int rssi_told() {
    char text[8] = {};
    if (AT_Rssi(text) == 0) {
        return atoi(text);
    }
    char reply[1500] = "";
    expect_at("signal", AT_CommenCmd("AT+CSQ", "+CSQ:", reply));
    const char *value = strchr(reply, ':');
    return atoi(value == nullptr ? reply : value + 1);
}

// 3GPP TS 27.007, 8.5: 0 is -113 dBm or less, each step 2 dBm, 99 unknown.
void add_signal(Json &status) {
    int rssi = rssi_told();
    status["rssi"] = rssi;
    if (rssi >= 0 && rssi <= 31) {
        status["signal_dbm"] = -113 + 2 * rssi;
    }
}

struct NoOptions {};

// Each question is asked for itself: one that fails stands under "unanswered" with its reason.
void run_status(const NoOptions &) {
    constexpr void (*kQuestions[])(Json &) = {add_sim,    add_imsi,     add_registration,
                                              add_packet, add_operator, add_signal};
    need_at_server();
    Json status = Json::object();
    Json unanswered = Json::array();
    for (auto ask : kQuestions) {
        try {
            ask(status);
        } catch (const Failure &failure) {
            if (failure.status == kExitNoServer) {
                throw;
            }
            unanswered.push_back({{"unanswered", failure.details["what"]},
                                  {"result", failure.details["result"]},
                                  {"reason", failure.details.value("meaning", "")}});
        }
    }
    if (status.empty()) {
        throw Failure("the modem answers no question; the first was " +
                      unanswered[0]["unanswered"].get<std::string>() + ": " +
                      unanswered[0]["reason"].get<std::string>());
    }
    if (!unanswered.empty()) {
        status["unanswered"] = unanswered;
    }
    show(status);
}

void run_operators(const NoOptions &) {
    need_at_server();
    at_operator_list list{};
    at_operators out{};
    out.list = &list;
    at_cops_info unused{};
    expect_at("operator search", AT_ChoseOperators(2, &unused, &out), out.err);
    Json rows = Json::array();
    for (int32_t i = 0; i < std::min<int32_t>(list.count, std::size(list.entries)); i++) {
        const at_operator &entry = list.entries[i];
        rows.push_back({{"number", field(entry.numeric_oper)},
                        {"name", printable(field(entry.long_oper))},
                        {"short", printable(field(entry.short_oper))},
                        {"state", name_of_text(kAvailability, field(entry.stat))},
                        {"technology", name_of_text(kTechnology, field(entry.rat))}});
    }
    show(rows);
}

}  // namespace

void add_at_commands(Command app) {
    Command at = app.group("at", "ask the modem, through the AT server");

    Command raw = at.command("raw", "send one command and print what comes back");
    RawOptions &options = on_run(raw, run_raw);
    raw.option("COMMAND", options.command, "command line, such as AT+CSQ").required();
    Option match =
        raw.option("--match", options.match, "text of the line that is wanted, such as +CSQ:");
    raw.option("--timeout", options.timeout, "seconds to wait").range(1, 600).show_default();
    raw.flag("--one-line", options.one_line, "ask for the matching line alone").needs(match);

    on_run(at.command("status", "SIM, registration, operator and signal"), run_status);
    on_run(at.command("operators", "search for operators; takes up to 4 minutes"), run_operators);
    add_sms_commands(at);
    add_phonebook_commands(at);
    add_pin_commands(at);
}

}  // namespace hearth::tool
