// A command line taken apart, and the tables of commands of the simulated modem.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "modem.h"

namespace hearth::device {

struct SimState;

enum class Form { kExecute, kQuery, kTest, kSet };

// "AT+CMGD=3,1" is the set form of "+CMGD" with the arguments "3" and "1".
struct SimCommand {
    std::string name;
    Form form = Form::kExecute;
    // Blanks around an argument and the quotation marks around a text are gone.
    std::vector<std::string> arguments;
    // All that stands behind the "=", for arguments that hold any byte.
    std::string raw;
    // Behind the prompt of a two-stage send, with the closing 0x1A of a PDU.
    std::string body;

    // Argument i as a number; `missing` when it is absent, empty or no number.
    int number(size_t i, int missing = -1) const;
    std::string text(size_t i) const { return i < arguments.size() ? arguments[i] : ""; }
};

SimCommand parse_command(const Command &command);

// One row of a command table: the name and what the modem does.
struct SimHandler {
    std::string_view name;
    Reply (*run)(SimState &state, const SimCommand &command);
};

// The tables, one for each family.
std::span<const SimHandler> identity_handlers();
std::span<const SimHandler> network_handlers();
std::span<const SimHandler> pin_handlers();
std::span<const SimHandler> sms_handlers();
std::span<const SimHandler> phonebook_handlers();
std::span<const SimHandler> system_handlers();
std::span<const SimHandler> signal_handlers();
std::span<const SimHandler> name_handlers();
std::span<const SimHandler> connection_handlers();
std::span<const SimHandler> flow_handlers();
std::span<const SimHandler> device_handlers();
std::span<const SimHandler> setting_handlers();
std::span<const SimHandler> file_handlers();
std::span<const SimHandler> ussd_handlers();
std::span<const SimHandler> toolkit_handlers();

// Replies.
Reply line_reply(std::string line);
Reply error(int cme_code);
Reply sms_error(int cms_code);
// The one answer of many commands to a form that they don't have: "ERROR".
Reply plain_error();

// "OK", or the error when it is not 0.
Reply outcome(int cme_code);

// printf into a string.
std::string format(const char *pattern, ...) __attribute__((format(printf, 1, 2)));

}  // namespace hearth::device
