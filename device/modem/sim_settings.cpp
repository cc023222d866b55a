// Settings that are stored and read back, the lists that the modem keeps for the router, and what
// saves and restores them.

#include <algorithm>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

struct SettingRow {
    std::string_view name;
    const char *factory;
    // How many values a set may bring, and how many of them are kept.
    size_t least = 1;
    size_t most = 1;
    // The range of the first value; none when both are 0.
    int low = 0;
    int high = 0;
    // What the test form answers.
    const char *choices = nullptr;
    // The name as replies spell it, when they differ.
    const char *spelling = nullptr;
};

constexpr SettingRow kSettings[] = {
    {"^SYSCFG", "2,0,3FFFFFFF,1,2", 5, 5, 2, 38,
     "(2,13,14,38),(0-3),((3FFFFFFF,\"All bands\"),(00680380,\"GSM and WCDMA\")),(0-2),(0-4)"},
    {"^SYSCFGEX", "\"030201\",3FFFFFFF,1,2,7FFFFFFF", 5, 7, 0, 0,
     "(\"00\",\"01\",\"02\",\"03\"),((3FFFFFFF,\"All bands\")),(0-2),(0-4),"
     "((7FFFFFFF,\"All LTE bands\"),(00000004,\"LTE 1800\"))"},
    {"^RFSWITCH", "1", 1, 1, 0, 1},
    {"^HOPARASET", "-110,-105,-100,0,5,10", 6, 6},
    {"^LTEMEASMODE", "0", 1, 1, 0, 2},
    {"^SRVST", "0", 1, 1, 0, 1},
    {"^MODE", "0", 1, 1, 0, 1},
    {"^FASTDORM", "0,0", 2, 2},
    {"^PREFROAM", "0"},
    {"^RRCVER", "9", 1, 1, 0, 0, nullptr, "^RRCVer"},
    {"^USSDMODE", "0", 1, 1, 0, 1},
    {"^DSFLOWRPT", "0", 1, 1, 0, 1},
    {"^HFREQINFO", "0", 1, 1, 0, 1},
    {"^DNSP", "0.0.0.0"},
    {"^DNSS", "0.0.0.0"},
    {"^IPV6CAP", "7", 1, 1, 1, 7},
    {"^U2DIAG", "0"},
    {"^PRLVER", "1"},
    {"^CURRSID", "0,0,\"0\"", 3, 3},
    {"^CWAS", "0"},
    {"^APCURPROF", "1"},
    {"^APWEBADMIN", "\"admin\""},
    {"^APWIFINUM", "32"},
    {"^APMTU", "1500", 1, 1, 576, 9000},
    {"^APWIFIPIN", "\"12345670\""},
    {"^APXMLINFOTYPE", "0"},
    {"^APTIMEZONE", "0"},
    {"^APDIALM", "1", 1, 1, 0, 2},
    {"^APDIALMODE", "0,600", 2, 2},
    {"^APNEEDDIAL", "0,600", 2, 2, 0, 1},
    {"^APDMZ", "0,00000000", 2, 2, 0, 1},
    {"^APPINVF", "0,\"\",\"\"", 3, 3, 0, 1},
    {"+CVMNQ", "\"\""},
};

constexpr std::string_view kLists[] = {"^APIPRDALL", "^APPFRALL", "^APPTRALL", "^APWEBUSERD"};

// Values of a set beyond these are taken and forgotten.
constexpr size_t kKept = 6;

const SettingRow *row_of(std::string_view name) {
    auto found = std::find_if(std::begin(kSettings), std::end(kSettings),
                              [&](const SettingRow &row) { return row.name == name; });
    return found == std::end(kSettings) ? nullptr : found;
}

// The first `count` values of what stands behind an "=".
std::string first_values(const std::string &raw, size_t count) {
    bool quoted = false;
    for (size_t i = 0; i < raw.size(); i++) {
        quoted = raw[i] == '"' ? !quoted : quoted;
        if (raw[i] == ',' && !quoted && --count == 0) {
            return raw.substr(0, i);
        }
    }
    return raw;
}

bool takes(const SettingRow &row, const SimCommand &command) {
    size_t count = command.arguments.size();
    if (count < row.least || count > row.most || command.text(0).empty()) {
        return false;
    }
    int first = command.number(0);
    return (row.low == 0 && row.high == 0) || (first >= row.low && first <= row.high);
}

Reply setting(SimState &state, const SimCommand &command) {
    const SettingRow &row = *row_of(command.name);
    std::string head = row.spelling == nullptr ? command.name : row.spelling;
    if (command.form == Form::kTest) {
        return row.choices == nullptr ? Reply{} : line_reply(head + ":" + row.choices);
    }
    if (command.form != Form::kSet) {
        return line_reply(head + ":" + state.settings.value(command.name));
    }
    if (!takes(row, command)) {
        return error(kOperationNotSupported);
    }
    std::string raw = command.raw.substr(command.raw.find_first_not_of(' '));
    state.settings.values[command.name] = first_values(raw, std::min(row.least, kKept));
    return {};
}

Reply stored_list(SimState &state, const SimCommand &command) {
    Reply reply;
    for (const std::string &entry : state.settings.lists[command.name]) {
        if (command.form != Form::kSet || atoi(entry.c_str()) == command.number(0)) {
            reply.lines.push_back(command.name + ":" + entry);
        }
    }
    bool missing = command.form == Form::kSet && reply.lines.empty();
    return missing ? error(kInvalidIndex) : reply;
}

// The number of the voice mail on the card, and the one that was set.
Reply voice_mail(SimState &state, const SimCommand &command) {
    if (command.form == Form::kSet) {
        return setting(state, command);
    }
    std::string card = state.sim.numbers.empty() ? "" : state.sim.numbers[0];
    return line_reply("+CVMNQ:\"" + card + "\"," + state.settings.value("+CVMNQ"));
}

Reply test_code(SimState &state, const SimCommand &command) {
    Reply stored = setting(state, command);
    return stored.ok() ? line_reply(format("%d", command.number(0, 0))) : stored;
}

Reply factory(SimState &state, const SimCommand &) {
    state.settings.values.clear();
    return {};
}

Reply backup(SimState &state, const SimCommand &command) {
    state.settings.saved = state.settings.values;
    return line_reply(command.name + ":0");
}

Reply restored(SimState &state, const SimCommand &command) {
    bool same = state.settings.saved == state.settings.values;
    return line_reply(command.name + (same ? ":1" : ":0"));
}

constexpr SimHandler kSpecial[] = {
    {"+CVMNQ", voice_mail},      {"^CWAS", test_code},       {"&F", factory},
    {"^APRESTOREPARM", factory}, {"^CSDFLT", factory},       {"^NVBACKUP", backup},
    {"^INFORBU", backup},        {"^NVRSTSTTS", restored},   {"^APIPRDALL", stored_list},
    {"^APPFRALL", stored_list},  {"^APPTRALL", stored_list}, {"^APWEBUSERD", stored_list},
};

constexpr size_t kRows = std::size(kSettings) + std::size(kSpecial);

constexpr auto kHandlers = [] {
    std::array<SimHandler, kRows> handlers{};
    size_t used = 0;
    for (const SettingRow &row : kSettings) {
        handlers[used++] = {row.name, setting};
    }
    for (const SimHandler &special : kSpecial) {
        handlers[used++] = special;
    }
    return handlers;
}();

}  // namespace

std::string Settings::value(const std::string &name) const {
    auto found = values.find(name);
    if (found != values.end()) {
        return found->second;
    }
    const SettingRow *row = row_of(name);
    return row == nullptr ? "" : row->factory;
}

int Settings::number(const std::string &name) const {
    return atoi(value(name).c_str());
}

std::vector<std::string> setting_names() {
    std::vector<std::string> names;
    for (const SettingRow &row : kSettings) {
        names.emplace_back(row.name);
    }
    return names;
}

bool is_stored_list(const std::string &name) {
    return std::find(std::begin(kLists), std::end(kLists), name) != std::end(kLists);
}

std::span<const SimHandler> setting_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
