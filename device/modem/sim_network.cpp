// Registration, operators and signal.

#include <algorithm>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

// "+CREG" and "+CGREG" are one command with two states.
Reply registration_reply(const SimCommand &command, const Network &network, int status, int *mode) {
    if (command.form == Form::kTest) {
        return line_reply(command.name + ": (0-2)");
    }
    if (command.form == Form::kSet) {
        int value = command.number(0);
        if (value < 0 || value > 2) {
            return error(kOperationNotSupported);
        }
        *mode = value;
        return {};
    }
    std::string line = command.name + ": " + std::to_string(*mode) + "," + std::to_string(status);
    if (*mode == 2 && (status == 1 || status == 5)) {
        line += ",\"" + network.area + "\",\"" + network.cell + "\"";
    }
    return line_reply(line);
}

Reply creg(SimState &state, const SimCommand &command) {
    return registration_reply(command, state.network, state.registration(),
                              &state.network.creg_mode);
}

Reply cgreg(SimState &state, const SimCommand &command) {
    return registration_reply(command, state.network, state.packet_registration(),
                              &state.network.cgreg_mode);
}

Reply attach(SimState &state, const SimCommand &command) {
    switch (command.form) {
        case Form::kTest:
            return line_reply("+CGATT: (0,1)");
        case Form::kSet:
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
        default:
            return line_reply(
                format("+CGATT: %d", state.has_service() && state.network.attached ? 1 : 0));
    }
}

std::string name_in_format(const Operator &op, int name_format) {
    return name_format == 0 ? op.long_name : name_format == 1 ? op.short_name : op.numeric;
}

Reply operator_list(const SimState &state) {
    std::string line = "+COPS: ";
    for (const Operator &op : state.network.operators) {
        line += format("(%d,\"%s\",\"%s\",\"%s\",%d),", op.status, op.long_name.c_str(),
                       op.short_name.c_str(), op.numeric.c_str(), op.technology);
    }
    return line_reply(line + ",(0-4),(0-2)");
}

// 3GPP TS 27.007, 7.3. A manual selection moves the mark of the current operator.
Reply select_operator(SimState &state, const SimCommand &command) {
    int mode = command.number(0);
    if (command.arguments.size() > 1) {
        state.network.name_format = std::clamp(command.number(1, 0), 0, 2);
    }
    if (mode == 3) {
        return {};
    }
    if (mode == 1 || mode == 4) {
        auto &operators = state.network.operators;
        auto wanted = std::find_if(operators.begin(), operators.end(), [&](const Operator &op) {
            return name_in_format(op, state.network.name_format) == command.text(2);
        });
        if (wanted == operators.end() || wanted->status == 3) {
            return error(kNoNetworkService);
        }
        for (Operator &op : operators) {
            op.status = op.status == 2 ? 1 : op.status;
        }
        wanted->status = 2;
        state.network.registration = 1;
        state.network.packet_registration = 1;
    } else if (mode == 2) {
        state.network.registration = 0;
        state.network.packet_registration = 0;
    } else if (mode != 0) {
        return error(kOperationNotSupported);
    }
    state.network.selection_mode = mode;
    return {};
}

Reply cops(SimState &state, const SimCommand &command) {
    if (command.form == Form::kTest) {
        return operator_list(state);
    }
    if (command.form == Form::kSet) {
        return select_operator(state, command);
    }
    const Operator *current = state.serving();
    if (current == nullptr) {
        return line_reply(format("+COPS: %d", state.network.selection_mode));
    }
    return line_reply(
        format("+COPS: %d,%d,\"%s\",%d", state.network.selection_mode, state.network.name_format,
               name_in_format(*current, state.network.name_format).c_str(), current->technology));
}

Reply csq(SimState &state, const SimCommand &) {
    int rssi = state.has_service() ? state.signal.rssi : 99;
    return line_reply(format("+CSQ: %d,%d", rssi, state.signal.bit_errors));
}

constexpr SimHandler kHandlers[] = {
    {"+CREG", creg}, {"+CGREG", cgreg}, {"+CGATT", attach}, {"+COPS", cops}, {"+CSQ", csq},
};

}  // namespace

std::span<const SimHandler> network_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
