// Who the modem and the card are.

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

constexpr int kReset = 6;

Reply manufacturer(SimState &state, const SimCommand &) {
    return line_reply(state.identity.manufacturer);
}

Reply model(SimState &state, const SimCommand &) {
    return line_reply(state.identity.model);
}

Reply revision(SimState &state, const SimCommand &) {
    return line_reply(state.identity.revision);
}

Reply imei(SimState &state, const SimCommand &) {
    return line_reply(state.identity.imei);
}

Reply serial(SimState &state, const SimCommand &) {
    return line_reply("^SN: " + state.identity.serial);
}

Reply hardware(SimState &state, const SimCommand &) {
    return line_reply("^HWVER:\"" + state.identity.hardware + "\"");
}

Reply imsi(SimState &state, const SimCommand &) {
    int refusal = state.card_error();
    return refusal != 0 ? error(refusal) : line_reply(state.sim.imsi);
}

Reply card_id(SimState &state, const SimCommand &) {
    if (!state.sim.inserted) {
        return error(kSimNotInserted);
    }
    return line_reply("^ICCID: " + state.sim.iccid);
}

// As after power-up: the card waits for its PIN again.
void restart(SimState &state) {
    hang_up(state);
    state.sim.verified = false;
    state.ussd.waiting = false;
    state.toolkit.current = 0;
    state.powered = std::chrono::steady_clock::now();
    state.functionality = 1;
}

Reply functionality(SimState &state, const SimCommand &command) {
    if (command.form == Form::kQuery) {
        return line_reply(format("+CFUN: %d", state.functionality));
    }
    int value = command.number(0);
    if (command.form != Form::kSet || value < 0 || value > 7) {
        return plain_error();
    }
    if (value == kReset) {
        restart(state);
    } else {
        state.functionality = value;
    }
    return {};
}

constexpr SimHandler kHandlers[] = {
    {"+CGMI", manufacturer}, {"+CGMM", model},     {"+CGMR", revision},
    {"+CGSN", imei},         {"+CIMI", imsi},      {"+CFUN", functionality},
    {"^SN", serial},         {"^HWVER", hardware}, {"^ICCID", card_id},
};

}  // namespace

std::span<const SimHandler> identity_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
