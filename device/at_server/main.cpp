// hearth-at-server: the AT server of the desk.

#include <csignal>
#include <cstdio>
#include <functional>

#include "options.h"
#include "recording.h"
#include "scenario.h"
#include "server.h"
#include "sim_modem.h"
#include "tty_modem.h"

namespace {

volatile int g_stop = 0;
volatile int g_reload = 0;

void on_stop(int) {
    g_stop = 1;
}

void on_reload(int) {
    g_reload = 1;
}

void catch_signal(int number, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(number, &action, nullptr);
}

using hearth::device::AtServer;
using hearth::device::Modem;
using hearth::device::RecordingError;
using hearth::device::RecordingModem;
using hearth::device::ReplayModem;
using hearth::device::ScenarioError;
using hearth::device::SimModem;
using hearth::device::TtyModem;

int run(Modem &modem, const std::function<void()> &idle) {
    AtServer server(modem);
    catch_signal(SIGTERM, on_stop);
    catch_signal(SIGINT, on_stop);
    catch_signal(SIGHUP, on_reload);
    if (!server.open()) {
        return 1;
    }
    server.run(g_stop, idle);
    return 0;
}

int serve(
    Modem &modem, const std::string &record, const std::function<void()> &idle = [] {}) {
    if (record.empty()) {
        return run(modem, idle);
    }
    RecordingModem recording(modem, record);
    return run(recording, idle);
}

int serve_scenario(const std::string &path, const std::string &record) {
    SimModem modem(hearth::device::read_scenario(path));
    return serve(modem, record, [&] {
        if (g_reload == 0) {
            return;
        }
        g_reload = 0;
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
