// Names of networks and of the card's provider.

#include <algorithm>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

// 3GPP TS 31.102, 4.2.12: the first bit asks for the registered network's name.
Reply provider(SimState &state, const SimCommand &) {
    int refusal = state.card_error();
    if (refusal != 0) {
        return error(refusal);
    }
    return line_reply(
        format("^SPN:%d,0,\"%s\"", state.sim.show_network ? 1 : 0, state.sim.provider.c_str()));
}

Reply current_names(SimState &state, const SimCommand &) {
    const Operator *op = state.serving();
    if (op == nullptr) {
        return error(kNoNetworkService);
    }
    return line_reply(
        format("^CPNN:\"%s\",0,0,\"%s\",0,0", op->long_name.c_str(), op->short_name.c_str()));
}

Reply names_of(SimState &state, const SimCommand &command) {
    const Operator *op = state.serving();
    if (command.arguments.size() > 1) {
        auto &operators = state.network.operators;
        auto found = std::find_if(operators.begin(), operators.end(), [&](const Operator &each) {
            return each.numeric == command.text(1);
        });
        op = found == operators.end() ? nullptr : &*found;
    }
    if (op == nullptr) {
        return error(kNotFound);
    }
    return line_reply(format("^EONS:%d,\"%s\",\"%s\",\"%s\",%d,\"%s\"", command.number(0, 0),
                             op->numeric.c_str(), op->long_name.c_str(), op->short_name.c_str(),
                             state.sim.show_network ? 1 : 0, state.sim.provider.c_str()));
}

// EF OPL and EF PNN of the card: one record for each operator of the scenario.
Reply operator_records(SimState &state, const SimCommand &) {
    int refusal = state.card_error();
    if (refusal != 0) {
        return error(refusal);
    }
    Reply reply;
    int index = 0;
    for (const Operator &op : state.network.operators) {
        reply.lines.push_back(format("^OPL:\"%s\",\"0000-FFFE\",%d", op.numeric.c_str(), ++index));
    }
    return reply;
}

// "^PNN=FIRST" gives the records from one on, "^PNN=FIRST,LAST" those up to another.
Reply name_records(SimState &state, const SimCommand &command) {
    int refusal = state.card_error();
    if (refusal != 0) {
        return error(refusal);
    }
    int first = command.number(0, 1);
    int last = command.number(1, INT32_MAX);
    Reply reply;
    int index = 0;
    for (const Operator &op : state.network.operators) {
        index++;
        if (index >= first && index <= last) {
            reply.lines.push_back(
                format("^PNN:\"%s\",\"%s\",\"\"", op.long_name.c_str(), op.short_name.c_str()));
        }
    }
    return reply;
}

constexpr SimHandler kHandlers[] = {
    {"^SPN", provider},         {"^CPNN", current_names}, {"^EONS", names_of},
    {"^OPL", operator_records}, {"^PNN", name_records},
};

}  // namespace

std::span<const SimHandler> name_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
