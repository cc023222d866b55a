// The state of the system: service, mode, card, activity, and the network's time.

#include <time.h>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

// How the system modes are numbered, by 3GPP TS 27.007's number of the access technology.
struct Mode {
    int technology;
    const char *name;
    int mode;
    int submode;
    int extended_mode;
    int extended_submode;
    const char *submode_name;
};

constexpr Mode kModes[] = {
    {0, "GSM", 3, 1, 1, 1, "GSM"},
    {2, "WCDMA", 5, 4, 3, 41, "WCDMA"},
    {7, "LTE", 9, 9, 6, 101, "LTE"},
};
constexpr Mode kNoMode = {-1, "NO SERVICE", 0, 0, 0, 0, "NO SERVICE"};

const Mode &mode_of(const SimState &state) {
    if (const Operator *op = state.serving()) {
        for (const Mode &mode : kModes) {
            if (mode.technology == op->technology) {
                return mode;
            }
        }
    }
    return kNoMode;
}

// 255: no card; 1: one that can be used; 0: one that waits for its PIN.
int card_state(const SimState &state) {
    return !state.sim.inserted ? 255 : state.card_error() == 0 ? 1 : 0;
}

Reply sysinfo(SimState &state, const SimCommand &) {
    const Mode &mode = mode_of(state);
    bool service = state.has_service();
    int domain = !service ? 0 : state.network.attached ? 3 : 1;
    return line_reply(format("^SYSINFO:%d,%d,%d,%d,%d,,%d", service ? 2 : 0, domain,
                             state.registration() == 5 ? 1 : 0, mode.mode, card_state(state),
                             mode.submode));
}

Reply sysinfoex(SimState &state, const SimCommand &) {
    const Mode &mode = mode_of(state);
    bool service = state.has_service();
    int domain = !service ? 0 : state.network.attached ? 3 : 1;
    return line_reply(format("^SYSINFOEX:%d,%d,%d,%d,,%d,\"%s\",%d,\"%s\"", service ? 2 : 0, domain,
                             state.registration() == 5 ? 1 : 0, card_state(state),
                             mode.extended_mode, mode.name, mode.extended_submode,
                             mode.submode_name));
}

// Both domains at once. One circuit domain goes with the registration.
Reply both_attached(SimState &state, const SimCommand &command) {
    if (command.form != Form::kSet) {
        bool service = state.has_service();
        return line_reply(
            format("^CGCATT:%d,%d", service && state.network.attached ? 1 : 0, service ? 1 : 0));
    }
    if (command.number(0) != 0 && command.number(0) != 1) {
        return error(kOperationNotSupported);
    }
    if (!state.has_service()) {
        return error(kNoNetworkService);
    }
    state.network.attached = command.number(0) == 1;
    if (!state.network.attached) {
        hang_up(state);
    }
    return {};
}

// 3GPP TS 27.007, 8.1: ready, or with a connection in progress.
Reply activity(SimState &state, const SimCommand &) {
    return line_reply(format("+CPAS: %d", state.connection.dialled != 0 ? 4 : 0));
}

// Universal time with the zone behind it in quarter hours. Before a network has told the time the
// clock stands at its beginning.
Reply network_time(SimState &state, const SimCommand &) {
    if (!state.has_service() || !state.network.tells_time) {
        return line_reply("^NWTIME: 90/01/06,00:00:00+00,0");
    }
    time_t now = time(nullptr);
    tm utc{};
    gmtime_r(&now, &utc);
    return line_reply(format("^NWTIME: %02d/%02d/%02d,%02d:%02d:%02d%+03d,%d", utc.tm_year % 100,
                             utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                             state.network.zone, state.network.summer));
}

Reply roaming_cell(SimState &state, const SimCommand &) {
    const Operator *op = state.serving();
    return line_reply(
        format("^CELLROAM:%d,%d", state.registration() == 5 ? 1 : 0, op ? op->technology : 0));
}

constexpr SimHandler kHandlers[] = {
    {"^SYSINFO", sysinfo}, {"^SYSINFOEX", sysinfoex}, {"^CGCATT", both_attached},
    {"+CPAS", activity},   {"^NWTIME", network_time}, {"^CELLROAM", roaming_cell},
};

}  // namespace

std::span<const SimHandler> system_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
