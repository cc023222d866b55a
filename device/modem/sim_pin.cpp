// The card's PIN: what it waits for, entering, unblocking, switching the lock, changing it.

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

constexpr int kPinTries = 3;

bool blocked(const Sim &sim) {
    return sim.pin_tries == 0;
}

// 3GPP TS 27.007, 8.3: what the card waits for.
const char *awaited(const Sim &sim) {
    if (!sim.lock || sim.verified) {
        return "READY";
    }
    return blocked(sim) ? "SIM PUK" : "SIM PIN";
}

// Compares a PIN with the card's and counts the tries. 0 for the right one, else the error.
int verify(Sim &sim, const std::string &pin) {
    if (blocked(sim)) {
        return kSimPukRequired;
    }
    if (pin != sim.pin) {
        sim.pin_tries--;
        return blocked(sim) ? kSimPukRequired : kIncorrectPassword;
    }
    sim.pin_tries = kPinTries;
    return 0;
}

// The same with the PUK, which sets a new PIN.
int unblock(Sim &sim, const std::string &puk, const std::string &new_pin) {
    if (sim.puk_tries == 0) {
        return kSimFailure;
    }
    if (puk != sim.puk) {
        sim.puk_tries--;
        return kIncorrectPassword;
    }
    sim.pin = new_pin;
    sim.pin_tries = kPinTries;
    return 0;
}

Reply enter(Sim &sim, const SimCommand &command) {
    if (!sim.lock || sim.verified) {
        return error(kOperationNotAllowed);
    }
    int code = 0;
    if (blocked(sim)) {
        code = command.arguments.size() < 2 ? static_cast<int>(kSimPukRequired)
                                            : unblock(sim, command.text(0), command.text(1));
    } else {
        code = verify(sim, command.text(0));
    }
    sim.verified = code == 0;
    return outcome(code);
}

Reply cpin(SimState &state, const SimCommand &command) {
    if (!state.sim.inserted) {
        return error(kSimNotInserted);
    }
    if (command.form == Form::kSet) {
        return enter(state.sim, command);
    }
    return line_reply(format("+CPIN: %s", awaited(state.sim)));
}

// The same with the tries that are left: of what is awaited, then PUK, PIN, PUK2, PIN2.
Reply vendor_cpin(SimState &state, const SimCommand &command) {
    Sim &sim = state.sim;
    if (!sim.inserted) {
        return error(kSimNotInserted);
    }
    if (command.form == Form::kSet) {
        return enter(sim, command);
    }
    const char *code = awaited(sim);
    std::string left =
        *code == 'R' ? "" : format("%d", blocked(sim) ? sim.puk_tries : sim.pin_tries);
    return line_reply(
        format("^CPIN: %s,%s,%d,%d,10,3", code, left.c_str(), sim.puk_tries, sim.pin_tries));
}

// 3GPP TS 27.007, 7.4, facility "SC" alone: the lock of the card.
Reply clck(SimState &state, const SimCommand &command) {
    Sim &sim = state.sim;
    if (!sim.inserted) {
        return error(kSimNotInserted);
    }
    if (command.form != Form::kSet || command.text(0) != "SC") {
        return error(kOperationNotSupported);
    }
    int mode = command.number(1);
    if (mode == 2) {
        return line_reply(format("+CLCK: %d", sim.lock ? 1 : 0));
    }
    if (mode != 0 && mode != 1) {
        return error(kOperationNotSupported);
    }
    int code = verify(sim, command.text(2));
    if (code == 0) {
        sim.lock = mode == 1;
        sim.verified = true;
    }
    return outcome(code);
}

Reply cpwd(SimState &state, const SimCommand &command) {
    Sim &sim = state.sim;
    if (!sim.inserted) {
        return error(kSimNotInserted);
    }
    if (command.text(0) != "SC") {
        return error(kOperationNotSupported);
    }
    if (!sim.lock) {
        return error(kOperationNotAllowed);
    }
    int code = verify(sim, command.text(1));
    if (code == 0) {
        sim.pin = command.text(2);
    }
    return outcome(code);
}

constexpr SimHandler kHandlers[] = {
    {"+CPIN", cpin},
    {"^CPIN", vendor_cpin},
    {"+CLCK", clck},
    {"+CPWD", cpwd},
};

}  // namespace

std::span<const SimHandler> pin_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
