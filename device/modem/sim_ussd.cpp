// USSD: strings go to the network, whose answers are reported.

#include <algorithm>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

// 3GPP TS 27.007, 7.15: what follows an answer.
enum Outcome { kDone = 0, kMore = 1, kEnded = 2, kNotSupported = 4 };

// Coding of the answers: GSM 7-bit, language unspecified.
constexpr int kPlainText = 15;

const UssdCode *find_code(const Ussd &ussd, const std::string &text) {
    auto found = std::find_if(ussd.codes.begin(), ussd.codes.end(), [&](const UssdCode &code) {
        return code.code == text && code.inside == ussd.waiting;
    });
    return found == ussd.codes.end() ? nullptr : &*found;
}

void answer(SimState &state, const std::string &text, bool reported) {
    const UssdCode *code = find_code(state.ussd, text);
    state.ussd.waiting = code != nullptr && code->more;
    if (!reported) {
        return;
    }
    if (code == nullptr) {
        state.reports.push_back(format("+CUSD: %d", kNotSupported));
    } else {
        state.reports.push_back(format("+CUSD: %d,\"%s\",%d", code->more ? kMore : kDone,
                                       code->answer.c_str(), kPlainText));
    }
}

Reply cusd(SimState &state, const SimCommand &command) {
    if (command.form != Form::kSet) {
        return line_reply("+CUSD: (0-2)");
    }
    int mode = command.number(0);
    if (mode < 0 || mode > 2) {
        return error(kOperationNotSupported);
    }
    if (mode == 2) {
        if (state.ussd.waiting) {
            state.reports.push_back(format("+CUSD: %d", kEnded));
        }
        state.ussd.waiting = false;
        return {};
    }
    if (command.arguments.size() < 2) {
        return {};
    }
    if (!state.has_service()) {
        return error(kNoNetworkService);
    }
    answer(state, command.text(1), mode == 1);
    return {};
}

constexpr SimHandler kHandlers[] = {{"+CUSD", cusd}};

}  // namespace

std::span<const SimHandler> ussd_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
