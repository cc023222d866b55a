// The data connection: contexts, dialling, and the addresses that the network gives.

#include <arpa/inet.h>

#include <algorithm>

#include "sim_command.h"
#include "sim_flow.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

// 3GPP TS 24.008, 10.5.6.6: missing or unknown APN.
constexpr int kUnknownApn = 27;
constexpr int kContexts = 16;

bool is_context(int cid) {
    return cid >= 1 && cid <= kContexts;
}

// The context of a query: the one in use, else the first.
int shown_context(const Connection &connection) {
    if (connection.dialled != 0 || connection.contexts.empty()) {
        return connection.dialled;
    }
    return connection.contexts.begin()->first;
}

Reply cgdcont(SimState &state, const SimCommand &command) {
    auto &contexts = state.connection.contexts;
    if (command.form == Form::kTest) {
        return line_reply("+CGDCONT: (1-16),\"IPV4V6\",,,(0-2),(0-4)");
    }
    if (command.form == Form::kSet) {
        int cid = command.number(0);
        std::string type = command.arguments.size() > 1 ? command.text(1) : "IP";
        if (!is_context(cid) || (type != "IP" && type != "IPV6" && type != "IPV4V6")) {
            return error(kOperationNotSupported);
        }
        contexts[cid].type = type;
        contexts[cid].apn = command.text(2);
        return {};
    }
    Reply reply;
    for (const auto &[cid, context] : contexts) {
        reply.lines.push_back(format("+CGDCONT: %d,\"%s\",\"%s\",\"\",0,0,0,0", cid,
                                     context.type.c_str(), context.apn.c_str()));
    }
    return reply;
}

Reply authdata(SimState &state, const SimCommand &command) {
    Connection &connection = state.connection;
    if (command.form == Form::kSet) {
        int cid = command.number(0);
        if (!is_context(cid) || command.number(1) < 0 || command.number(1) > 3) {
            return error(kOperationNotSupported);
        }
        Context &context = connection.contexts[cid];
        context.auth = command.number(1);
        context.plmn = command.text(2);
        context.password = command.text(3);
        context.username = command.text(4);
        return {};
    }
    int cid = shown_context(connection);
    const Context &context = connection.contexts[cid];
    return line_reply(format("^AUTHDATA:%d,%d,\"%s\",\"%s\",\"%s\"", cid, context.auth,
                             context.password.c_str(), context.username.c_str(),
                             context.plmn.c_str()));
}

Reply cgdns(SimState &state, const SimCommand &command) {
    Connection &connection = state.connection;
    if (command.form == Form::kSet) {
        int cid = command.number(0);
        in_addr address;
        bool good = inet_pton(AF_INET, command.text(1).c_str(), &address) == 1;
        if (!is_context(cid) || !good) {
            return error(kOperationNotSupported);
        }
        connection.contexts[cid].primary_dns = command.text(1);
        connection.contexts[cid].secondary_dns = command.text(2);
        return {};
    }
    int cid = shown_context(connection);
    const Context &context = connection.contexts[cid];
    return line_reply(format("^CGDNS: %d,\"%s\",\"%s\"", cid, context.primary_dns.c_str(),
                             context.secondary_dns.c_str()));
}

bool network_takes(const Connection &connection, const std::string &apn) {
    const auto &apns = connection.apns;
    return apns.empty() || std::find(apns.begin(), apns.end(), apn) != apns.end();
}

Reply dial(SimState &state, const SimCommand &command) {
    Connection &connection = state.connection;
    int cid = command.number(0);
    if (!is_context(cid)) {
        return error(kOperationNotSupported);
    }
    if (!state.has_service() || !state.network.attached) {
        return error(kNoNetworkService);
    }
    Context &context = connection.contexts[cid];
    std::string apn = command.text(2).empty() ? context.apn : command.text(2);
    if (!network_takes(connection, apn)) {
        connection.last_error = kUnknownApn;
        return error(kOperationNotAllowed);
    }
    context.apn = apn;
    if (command.arguments.size() > 5) {
        context.username = command.text(3);
        context.password = command.text(4);
        context.auth = command.number(5, context.auth);
    }
    hang_up(state);
    connection.before = connection.before + connection.last;
    connection.last = {};
    connection.dialled = cid;
    connection.since = std::chrono::steady_clock::now();
    state.reports.push_back("^NDISSTAT:1,,,\"IPV4\"");
    return {};
}

Reply ndisdup(SimState &state, const SimCommand &command) {
    if (command.form != Form::kSet) {
        return plain_error();
    }
    switch (command.number(1)) {
        case 0:
            hang_up(state);
            return {};
        case 1:
            return dial(state, command);
        default:
            return error(kOperationNotSupported);
    }
}

// The four bytes turned round, in hexadecimal.
std::string reversed(const std::string &text) {
    in_addr address{};
    inet_pton(AF_INET, text.c_str(), &address);
    return format("%08X", ntohl(__builtin_bswap32(address.s_addr)));
}

bool has_ipv4(const Connection &connection) {
    auto found = connection.contexts.find(connection.dialled);
    return found != connection.contexts.end() && found->second.type != "IPV6";
}

bool has_ipv6(const Connection &connection) {
    auto found = connection.contexts.find(connection.dialled);
    return found != connection.contexts.end() && found->second.type != "IP" &&
           !connection.address6.empty();
}

Reply dhcp(SimState &state, const SimCommand &) {
    const Connection &connection = state.connection;
    if (!has_ipv4(connection)) {
        return error(kOperationNotAllowed);
    }
    std::string line = "^DHCP:";
    for (const std::string *address :
         {&connection.address, &connection.mask, &connection.gateway, &connection.gateway,
          &connection.primary_dns, &connection.secondary_dns}) {
        line += reversed(*address) + ",";
    }
    return line_reply(line + format("%d,%d", connection.downlink, connection.uplink));
}

Reply dhcpv6(SimState &state, const SimCommand &) {
    const Connection &connection = state.connection;
    if (!has_ipv6(connection)) {
        return error(kOperationNotAllowed);
    }
    return line_reply(format("^DHCPV6:%s,64,%s,%s,%s,%s,%d,%d", connection.address6.c_str(),
                             connection.gateway6.c_str(), connection.gateway6.c_str(),
                             connection.primary_dns6.c_str(), connection.secondary_dns6.c_str(),
                             connection.downlink, connection.uplink));
}

Reply advertisement(SimState &state, const SimCommand &) {
    const Connection &connection = state.connection;
    if (!has_ipv6(connection)) {
        return error(kOperationNotAllowed);
    }
    return line_reply(format("^APRAINFO:%d,%s,%d,%d", connection.mtu, connection.prefix6.c_str(),
                             connection.prefix_seconds, connection.prefix_seconds));
}

Reply lan_address(SimState &state, const SimCommand &) {
    const Connection &connection = state.connection;
    if (!has_ipv6(connection)) {
        return error(kOperationNotAllowed);
    }
    return line_reply(format("^APLANADDR:%s1,64", connection.prefix6.c_str()));
}

Reply status(SimState &state, const SimCommand &) {
    return line_reply(format("^APCONNST:%d,\"IPV4\",%d,\"IPV6\"",
                             has_ipv4(state.connection) ? 1 : 0,
                             has_ipv6(state.connection) ? 1 : 0));
}

Reply last_error(SimState &state, const SimCommand &command) {
    return line_reply(
        format("^GLASTERR: %d,%d", command.number(0, 0), state.connection.last_error));
}

constexpr SimHandler kHandlers[] = {
    {"+CGDCONT", cgdcont},
    {"^AUTHDATA", authdata},
    {"^CGDNS", cgdns},
    {"^NDISDUP", ndisdup},
    {"^DHCP", dhcp},
    {"^DHCPV6", dhcpv6},
    {"^APRAINFO", advertisement},
    {"^APLANADDR", lan_address},
    {"^APCONNST", status},
    {"^GLASTERR", last_error},
};

}  // namespace

void hang_up(SimState &state) {
    Connection &connection = state.connection;
    if (connection.dialled == 0) {
        return;
    }
    connection.last = last_flow(connection);
    connection.dialled = 0;
    state.reports.push_back("^NDISSTAT:0,,,\"IPV4\"");
}

std::span<const SimHandler> connection_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
