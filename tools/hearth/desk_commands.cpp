// hearth scenario, hearth recording: the files that drive the modem on the desk.

#include <algorithm>

#include "recording.h"
#include "scenario.h"
#include "sim_state.h"
#include "tool.h"

namespace hearth::tool {

namespace {

struct FileOptions {
    std::string path;
};

// Runs a reader, whose error tells file, line and what was expected.
template <typename Read>
auto read_or_fail(Read read, const std::string &path) {
    try {
        return read(path);
    } catch (const std::runtime_error &error) {
        throw Failure(error.what());
    }
}

void run_scenario_check(const FileOptions &options) {
    device::SimState state = read_or_fail(device::read_scenario, options.path);
    size_t messages = 0;
    for (const auto &[name, memory] : state.sms.memories) {
        messages += memory.messages.size();
    }
    size_t contacts = 0;
    for (const auto &[name, book] : state.phonebooks.books) {
        contacts += book.contacts.size();
    }
    show({{"scenario", options.path},
          {"imsi", state.sim.inserted ? Json(state.sim.imsi) : Json("no card")},
          {"operators", state.network.operators.size()},
          {"messages", messages},
          {"contacts", contacts},
          {"profiles", state.profiles.size()},
          {"refused", state.refusals.size()},
          {"moments", state.moments.size()}});
}

void run_recording_check(const FileOptions &options) {
    device::Recording recording = read_or_fail(device::read_recording, options.path);
    size_t silent = 0;
    size_t count = 0;
    for (const auto &[command, exchanges] : recording.exchanges) {
        count += exchanges.size();
        silent += static_cast<size_t>(std::count_if(
            exchanges.begin(), exchanges.end(), [](const auto &each) { return !each.answered; }));
    }
    show({{"recording", options.path},
          {"commands", recording.exchanges.size()},
          {"exchanges", count},
          {"unanswered", silent},
          {"reports", recording.reports.size()}});
}

// What finds room on a line for people; scripts get all of it.
std::string shortened(const std::string &text, size_t most) {
    bool whole = json_wanted() || text.size() <= most;
    return whole ? text : printable(text.substr(0, most - 3)) + "...";
}

Json exchange_row(const std::string &command, const device::Exchange &exchange) {
    std::string answer;
    for (const std::string &line : exchange.reply.lines) {
        answer += printable(line) + " | ";
    }
    answer += exchange.answered ? printable(exchange.reply.final_result) : "no answer";
    return {{"ms", exchange.at.count()},
            {"took", exchange.answered ? Json(exchange.delay.count()) : Json(nullptr)},
            {"command", shortened(printable(command), 40)},
            {"answer", shortened(answer, 60)}};
}

// In the order in which it happened.
void run_recording_show(const FileOptions &options) {
    device::Recording recording = read_or_fail(device::read_recording, options.path);
    Json rows = Json::array();
    for (const auto &[command, exchanges] : recording.exchanges) {
        for (const device::Exchange &exchange : exchanges) {
            rows.push_back(exchange_row(command, exchange));
        }
    }
    for (const device::Report &report : recording.reports) {
        rows.push_back({{"ms", report.at.count()},
                        {"took", nullptr},
                        {"command", ""},
                        {"answer", shortened(printable(report.line), 60)}});
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Json &a, const Json &b) { return a["ms"] < b["ms"]; });
    show(rows);
}

void add_command(Command group, const char *name, const char *text,
                 void (*run)(const FileOptions &)) {
    Command command = group.command(name, text);
    command.option("FILE", on_run(command, run).path, "the file").required();
}

}  // namespace

void add_desk_commands(Command app) {
    Command scenario = app.group("scenario", "files that drive the simulated modem");
    add_command(scenario, "check", "tell what a scenario has, or what is wrong with it",
                run_scenario_check);

    Command recording = app.group("recording", "what hearth-at-server has recorded");
    add_command(recording, "check", "tell what a recording has, or what is wrong with it",
                run_recording_check);
    add_command(recording, "show", "print what passed, in its order", run_recording_show);
}

}  // namespace hearth::tool
