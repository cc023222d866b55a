// hearth at: questions to the modem, through the AT server.

#include "hearth/at_lib.h"

#include <signal.h>

#include <cstring>

#include "at.h"
#include "convert.h"
#include "hearth/at_k7.h"
#include "hearth/at_network.h"
#include "hearth/at_pb.h"
#include "hearth/at_security.h"
#include "hearth/cl_xcodec.h"
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

// 3GPP TS 27.007, 8.5: 0 is -113 dBm or less, each step 2 dBm, 99 unknown.
void add_signal(Json &status) {
    char text[8] = {};
    expect_at("signal", AT_Rssi(text));
    int rssi = atoi(text);
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

struct PhonebookOptions {
    uint32_t index = 0;
};

// The name by its coding; hexadecimal where it does not fit that.
std::string contact_name(const at_cpbr_info &info) {
    std::string bytes(info.text, std::min<size_t>(info.text_length, sizeof info.text));
    if (bytes.empty()) {
        return "";
    }
    std::u16string name;
    uint32_t status = converted(name, bytes.size() * 2 + 2, [&](char16_t *to, uint32_t *length) {
        return cl_decodeData(info.coding, bytes.data(), static_cast<uint32_t>(bytes.size()),
                             reinterpret_cast<uint16_t *>(to), length);
    });
    return status == CL_TEXT_OK ? printable(ucs2_to_utf8(name))
                                : std::string("0x").append(to_hex(bytes));
}

// False when the place is empty; Failure for all other refusals.
bool read_contact(uint32_t index, Json &contact) {
    at_cpbr_req request{index, static_cast<uint32_t>(AT_ERR_NONE)};
    at_cpbr_info info{};
    std::string what = "phonebook entry " + std::to_string(index);
    int32_t result = AT_Cpbr(1, &request, &info);
    if (result == 0 && request.err == static_cast<uint32_t>(AT_ERR_OTHER)) {
        return false;
    }
    expect_at(what, result, request.err);
    contact = {{"index", info.index},
               {"number", field(info.number)},
               {"name", contact_name(info)},
               {"international", info.type == 145}};
    return true;
}

void run_phonebook(const PhonebookOptions &options) {
    need_at_server();
    Json contact;
    if (options.index != 0) {
        if (!read_contact(options.index, contact)) {
            throw Failure("the phonebook has no entry " + std::to_string(options.index),
                          kExitNotFound);
        }
        show(contact);
        return;
    }
    at_cpbr_req request{0, static_cast<uint32_t>(AT_ERR_NONE)};
    at_cpbr_info limits{};
    expect_at("phonebook", AT_Cpbr(2, &request, &limits), request.err);
    Json rows = Json::array();
    // A phonebook of a SIM has at most 255 places of each kind; more is no answer to believe.
    uint32_t last = std::min(limits.last_index, limits.first_index + 1000);
    for (uint32_t index = limits.first_index; index <= last; index++) {
        if (read_contact(index, contact)) {
            rows.push_back(contact);
        }
    }
    show(rows);
}

void run_pin_status(const NoOptions &) {
    need_at_server();
    at_pin_info_ex pin{};
    expect_at("PIN state", AT_PinManagementEx(AT_CMD_TYPE_CHECK, nullptr, nullptr, &pin), pin.err);
    show({{"waits_for", field(pin.code)},
          {"tries", pin.times[0] != '\0' ? Json(field(pin.times)) : Json(nullptr)},
          {"pin_tries", field(pin.pin_times)},
          {"puk_tries", field(pin.puk_times)},
          {"pin2_tries", field(pin.pin2_times)},
          {"puk2_tries", field(pin.puk2_times)}});
}

struct PinOptions {
    std::string pin;
    std::string new_pin;
};

void run_pin_enter(const PinOptions &options) {
    need_at_server();
    at_pin_info_ex pin{};
    int32_t result =
        AT_PinManagementEx(AT_CMD_TYPE_SET, options.pin.c_str(),
                           options.new_pin.empty() ? nullptr : options.new_pin.c_str(), &pin);
    expect_at("the PIN was not accepted", result, pin.err);
    run_pin_status({});
}

void check_digits(CLI::Option *option) {
    option->check(
        [](const std::string &text) {
            bool good = text.size() >= 4 && text.size() <= 8 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
            return good ? "" : "expected 4 to 8 digits";
        },
        "4 to 8 digits");
}

void add_pin_commands(CLI::App &at) {
    CLI::App *pin = at.add_subcommand("pin", "the SIM's PIN");
    pin->require_subcommand(1);
    on_run(pin->add_subcommand("status", "what the SIM waits for, and the tries left"),
           run_pin_status);
    CLI::App *enter = pin->add_subcommand(
        "enter", "enter the PIN, or the PUK with a new PIN; a wrong one costs a try");
    PinOptions &options = on_run(enter, run_pin_enter);
    check_digits(enter->add_option("PIN", options.pin, "PIN, or PUK")->required());
    check_digits(enter->add_option("--new", options.new_pin, "new PIN, behind a PUK"));
}

}  // namespace

void add_at_commands(CLI::App &app) {
    CLI::App *at = app.add_subcommand("at", "ask the modem, through the AT server");
    at->require_subcommand(1);

    CLI::App *raw = at->add_subcommand("raw", "send one command and print what comes back");
    RawOptions &options = on_run(raw, run_raw);
    raw->add_option("COMMAND", options.command, "command line, such as AT+CSQ")->required();
    raw->add_option("--match", options.match, "text of the line that is wanted, such as +CSQ:");
    raw->add_option("--timeout", options.timeout, "seconds to wait")
        ->check(CLI::Range(1, 600))
        ->capture_default_str();
    raw->add_flag("--one-line", options.one_line, "ask for the matching line alone")
        ->needs("--match");

    on_run(at->add_subcommand("status", "SIM, registration, operator and signal"), run_status);
    on_run(at->add_subcommand("operators", "search for operators; takes up to 4 minutes"),
           run_operators);
    add_sms_commands(*at);

    CLI::App *phonebook = at->add_subcommand("phonebook", "the SIM's phonebook");
    phonebook->require_subcommand(1);
    CLI::App *get = phonebook->add_subcommand("get", "one entry, or all of them");
    PhonebookOptions &entry = on_run(get, run_phonebook);
    get->add_option("INDEX", entry.index, "place of the entry; all without it")
        ->check(CLI::Range(1, 65535));
    add_pin_commands(*at);
}

}  // namespace hearth::tool
