// hearth at pin: the SIM's PIN.

#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

#include "at.h"
#include "hearth/at_lib.h"
#include "hearth/at_security.h"
#include "tool.h"

namespace hearth::tool {

namespace {

struct PinOptions {
    std::string pin;
    std::string new_pin;
};

void run_pin_status(const PinOptions &) {
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

// Asks on the terminal without showing what is typed; takes a line of anything else.
std::string ask_hidden(const char *what) {
    termios shown{};
    bool terminal = tcgetattr(STDIN_FILENO, &shown) == 0;
    if (terminal) {
        termios hidden = shown;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
        fprintf(stderr, "%s: ", what);
    }
    std::string text;
    std::getline(std::cin, text);
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
        fputc('\n', stderr);
    }
    return text;
}

std::string digits_problem(const std::string &text) {
    bool good = text.size() >= 4 && text.size() <= 8 &&
                text.find_first_not_of("0123456789") == std::string::npos;
    return good ? "" : "expected 4 to 8 digits";
}

void run_pin_enter(const PinOptions &options) {
    need_at_server();
    const char *asked = options.new_pin.empty() ? "PIN" : "PUK";
    std::string code = options.pin.empty() ? ask_hidden(asked) : options.pin;
    if (!digits_problem(code).empty()) {
        throw Failure(asked + (": " + digits_problem(code)), kExitUsage);
    }
    at_pin_info_ex pin{};
    int32_t result =
        AT_PinManagementEx(AT_CMD_TYPE_SET, code.c_str(),
                           options.new_pin.empty() ? nullptr : options.new_pin.c_str(), &pin);
    expect_at("the PIN was not accepted", result, pin.err);
    run_pin_status({});
}

void check_digits(Option option) {
    option.check(digits_problem, "4 to 8 digits");
}

}  // namespace

void add_pin_commands(Command at) {
    Command pin = at.group("pin", "the SIM's PIN");
    on_run(pin.command("status", "what the SIM waits for, and the tries left"), run_pin_status);
    Command enter =
        pin.command("enter", "enter the PIN, or the PUK with a new PIN; a wrong one costs a try");
    PinOptions &options = on_run(enter, run_pin_enter);
    check_digits(enter.option("PIN", options.pin,
                              "PIN, or PUK; without it you are asked, and it is not shown"));
    check_digits(enter.option("--new", options.new_pin, "new PIN, behind a PUK"));
}

}  // namespace hearth::tool
