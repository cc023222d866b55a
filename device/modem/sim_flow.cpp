// Time and bytes of the data connection, which grow while it stands.

#include "sim_flow.h"
#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

using std::chrono::milliseconds;

Reply clear(SimState &state, const SimCommand &) {
    state.connection.last = {};
    state.connection.before = {};
    state.connection.since = std::chrono::steady_clock::now();
    return {};
}

// Hexadecimal, eight digits for seconds and sixteen for bytes.
std::string in_hexadecimal(const Flow &flow) {
    return format(
        "%08llX,%016llX,%016llX", static_cast<unsigned long long>(flow.milliseconds / 1000),
        static_cast<unsigned long long>(flow.sent), static_cast<unsigned long long>(flow.received));
}

Reply query(SimState &state, const SimCommand &) {
    Flow last = last_flow(state.connection);
    return line_reply("^DSFLOWQRY:" + in_hexadecimal(last) + "," +
                      in_hexadecimal(last + state.connection.before));
}

Reply throughput(SimState &state, const SimCommand &) {
    bool up = state.connection.dialled != 0;
    return line_reply(format("^APTHROUGHPUT:%d,%d", up ? state.connection.sent_rate : 0,
                             up ? state.connection.received_rate : 0));
}

constexpr SimHandler kHandlers[] = {
    {"^DSFLOWCLR", clear}, {"^DSFLOWQRY", query}, {"^APTHROUGHPUT", throughput}};

}  // namespace

Flow operator+(const Flow &a, const Flow &b) {
    return {a.milliseconds + b.milliseconds, a.sent + b.sent, a.received + b.received};
}

Flow last_flow(const Connection &connection) {
    if (connection.dialled == 0) {
        return connection.last;
    }
    auto up = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() -
                                                       connection.since);
    auto time = static_cast<uint64_t>(up.count());
    return {time, time * static_cast<uint64_t>(connection.sent_rate) / 1000,
            time * static_cast<uint64_t>(connection.received_rate) / 1000};
}

std::string flow_report(const Connection &connection) {
    Flow flow = last_flow(connection);
    return format(
        "^DSFLOWRPT:%08llX,%08X,%08X,%016llX,%016llX,%08X,%08X",
        static_cast<unsigned long long>(flow.milliseconds / 1000),
        static_cast<unsigned>(connection.sent_rate),
        static_cast<unsigned>(connection.received_rate), static_cast<unsigned long long>(flow.sent),
        static_cast<unsigned long long>(flow.received), static_cast<unsigned>(connection.uplink),
        static_cast<unsigned>(connection.downlink));
}

std::span<const SimHandler> flow_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
