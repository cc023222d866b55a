// The signal and the cell, as far as there is service.

#include <algorithm>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

constexpr int kUnknown = 99;
constexpr int kGsm = 0;
constexpr int kUtran = 2;
constexpr int kLte = 7;

bool on_lte(const SimState &state) {
    return state.serving() != nullptr && state.serving()->technology == kLte;
}

// 3GPP TS 27.007, 8.5: 0 is -113 dBm, and each step 2 dB.
int dbm(const SimState &state) {
    return -113 + 2 * state.signal.rssi;
}

int percent(const SimState &state) {
    bool known = state.has_service() && state.signal.rssi <= 31;
    return known ? state.signal.rssi * 100 / 31 : 0;
}

int bars(const SimState &state) {
    return (percent(state) + 19) / 20;
}

Reply csnr(SimState &state, const SimCommand &) {
    if (!state.has_service()) {
        return error(kNoNetworkService);
    }
    return line_reply(format("^CSNR: %d,%d", state.signal.rscp, state.signal.ecio));
}

// Each value is coded from 0 up: received power from -120 or -140 dBm, the signal to noise ratio
// in fifths of a decibel from -20, the quality in halves of one from -20.
Reply hcsq(SimState &state, const SimCommand &) {
    const Operator *op = state.serving();
    const Signal &signal = state.signal;
    int rssi = std::max(dbm(state) + 121, 0);
    if (op != nullptr && op->technology == kGsm) {
        return line_reply(format("^HCSQ:\"GSM\",%d", rssi));
    }
    if (op != nullptr && op->technology == kUtran) {
        return line_reply(format("^HCSQ:\"WCDMA\",%d,%d,%d", rssi, std::max(signal.rscp + 121, 0),
                                 std::max((signal.ecio + 32) * 2, 0)));
    }
    if (op != nullptr && op->technology == kLte) {
        return line_reply(format("^HCSQ:\"LTE\",%d,%d,%d,%d", rssi, std::max(signal.rsrp + 141, 0),
                                 std::max((signal.sinr + 20) * 5, 0),
                                 std::max((signal.rsrq + 20) * 2, 0)));
    }
    return line_reply("^HCSQ:\"NOSERVICE\"");
}

Reply lte_power(SimState &state, const SimCommand &) {
    if (!on_lte(state)) {
        return error(kOperationNotAllowed);
    }
    return line_reply(format("^LTERSRP:%d,%d", state.signal.rsrp, state.signal.rsrq));
}

Reply lte_cell(SimState &state, const SimCommand &) {
    if (!on_lte(state)) {
        return error(kOperationNotAllowed);
    }
    const Network &network = state.network;
    return line_reply(format("^CECELLID:\"%s\",\"%s\",\"%d\",\"%s\"",
                             state.serving()->numeric.c_str(), network.cell.c_str(),
                             network.physical_cell, network.area.c_str()));
}

Reply lte_serving(SimState &state, const SimCommand &) {
    if (!on_lte(state)) {
        return error(kOperationNotAllowed);
    }
    return line_reply(format("^LTESCINFO:%ld,%d,2,%d",
                             strtol(state.network.cell.c_str(), nullptr, 16), state.signal.sinr,
                             state.network.bandwidth));
}

Reply carriers(SimState &state, const SimCommand &) {
    if (!on_lte(state)) {
        return error(kOperationNotAllowed);
    }
    std::string line;
    for (const std::string &carrier : state.network.carriers) {
        line += (line.empty() ? "" : ",") + carrier;
    }
    return line_reply("^LCACELL:" + line);
}

Reply antenna(SimState &state, const SimCommand &) {
    if (!state.has_service()) {
        return error(kNoNetworkService);
    }
    return line_reply(format("^ANQUERY:%d,%d,%d,%d,%s", state.signal.rscp, state.signal.ecio,
                             dbm(state), bars(state), state.network.cell.c_str()));
}

Reply level(SimState &state, const SimCommand &) {
    int rssi = state.has_service() ? state.signal.rssi : kUnknown;
    return line_reply(format("+CSQLVL: %d,%d", percent(state), rssi));
}

Reply extended_level(SimState &state, const SimCommand &) {
    return line_reply(format("^CSQLVLEXT:%d,%d", bars(state), state.signal.bit_errors));
}

// Channels of the downlink, and of the uplink 18000 above; frequencies in units of 100 kHz.
Reply frequency(SimState &state, const SimCommand &command) {
    if (command.form == Form::kSet) {
        if (command.number(0) != 0 && command.number(0) != 1) {
            return error(kOperationNotSupported);
        }
        state.settings.values[command.name] = command.text(0);
        return {};
    }
    const Network &network = state.network;
    int switched = state.settings.number(command.name);
    if (!on_lte(state)) {
        return line_reply(format("^HFREQINFO:%d,0,0,0,0,0,0,0,0", switched));
    }
    int bandwidth = network.bandwidth * 1000;
    return line_reply(format("^HFREQINFO:%d,6,%d,%d,%d,%d,%d,%d,%d", switched, network.band,
                             network.channel, network.channel + 16850, bandwidth,
                             network.channel + 18000, network.channel + 15900, bandwidth));
}

constexpr SimHandler kHandlers[] = {
    {"^CSNR", csnr},
    {"^HCSQ", hcsq},
    {"^LTERSRP", lte_power},
    {"^CECELLID", lte_cell},
    {"^LTESCINFO", lte_serving},
    {"^LCACELL", carriers},
    {"^ANQUERY", antenna},
    {"+CSQLVL", level},
    {"^CSQLVLEXT", extended_level},
    {"^HFREQINFO", frequency},
};

}  // namespace

std::span<const SimHandler> signal_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
