// hearth-at-server: the AT server of the desk.

#include <cstdio>
#include <functional>

#include "options.h"
#include "recording.h"
#include "scenario.h"
#include "server.h"
#include "sim_modem.h"
#include "tty_modem.h"

namespace {

using hearth::device::AtServer;
using hearth::device::Modem;
using hearth::device::RecordingError;
using hearth::device::RecordingModem;
using hearth::device::ReplayModem;
using hearth::device::ScenarioError;
using hearth::device::SimModem;
using hearth::device::TtyModem;

int run(Modem &modem, const std::function<void()> &reload) {
    AtServer server(modem);
    if (!server.open()) {
        return 1;
    }
    server.run(reload);
    return 0;
}

int serve(
    Modem &modem, const std::string &record, const std::function<void()> &reload = [] {}) {
    if (record.empty()) {
        return run(modem, reload);
    }
    RecordingModem recording(modem, record);
    return run(recording, reload);
}

int serve_scenario(const std::string &path, const std::string &record) {
    SimModem modem(hearth::device::read_scenario(path));
    return serve(modem, record, [&] {
        try {
            modem.replace(hearth::device::read_scenario(path));
            fprintf(stderr, "at_server: the scenario is read again\n");
        } catch (const ScenarioError &error) {
            fprintf(stderr, "at_server: %s; the scenario stays as it was\n", error.what());
        }
    });
}

int serve_tty(const std::string &path, const std::string &record) {
    TtyModem modem(path);
    return serve(modem, record);
}

int serve_recording(const std::string &path, const std::string &record) {
    ReplayModem modem(path);
    return serve(modem, record);
}

}  // namespace

int main(int count, char **arguments) {
    AtServer::block_signals();
    hearth::options::CommandLine line(
        "AT server of the desk: answers the daemons' AT commands from a modem.");
    std::string scenario;
    std::string tty;
    auto source = line.alternatives("modem", "where the answers come from");
    source
        .option("--scenario", scenario,
                "scenario file of the simulated modem; SIGHUP reads it again")
        .existing_file();
    source.option("--tty", tty, "serial device or pseudo terminal of a real modem");
    std::string replay;
    source.option("--replay", replay, "recording to answer from").existing_file();
    std::string record;
    line.option("--record", record, "write what passes between the server and the modem here");
    line.parse_or_exit(count, arguments);

    try {
        if (!scenario.empty()) {
            return serve_scenario(scenario, record);
        }
        return tty.empty() ? serve_recording(replay, record) : serve_tty(tty, record);
    } catch (const ScenarioError &error) {
        fprintf(stderr, "at_server: %s\n", error.what());
    } catch (const RecordingError &error) {
        fprintf(stderr, "at_server: %s\n", error.what());
    }
    return 1;
}
