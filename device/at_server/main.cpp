// hearth-at-server: the AT server of the desk.

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>

#include "scenario.h"
#include "server.h"
#include "sim_modem.h"

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

}  // namespace

int main(int count, char **arguments) {
    CLI::App app{"AT server of the desk: answers the daemons' AT commands from a modem."};
    std::string scenario;
    app.add_option("--scenario", scenario,
                   "scenario file of the simulated modem; SIGHUP reads it again")
        ->required()
        ->check(CLI::ExistingFile);
    CLI11_PARSE(app, count, arguments);

    try {
        hearth::device::SimModem modem(hearth::device::read_scenario(scenario));
        hearth::device::AtServer server(modem);
        catch_signal(SIGTERM, on_stop);
        catch_signal(SIGINT, on_stop);
        catch_signal(SIGHUP, on_reload);
        if (!server.open()) {
            return 1;
        }
        server.run(g_stop, [&] {
            if (g_reload != 0) {
                g_reload = 0;
                try {
                    modem.replace(hearth::device::read_scenario(scenario));
                } catch (const hearth::device::ScenarioError &error) {
                    fprintf(stderr, "at_server: %s; the scenario stays as it was\n", error.what());
                }
            }
        });
    } catch (const hearth::device::ScenarioError &error) {
        fprintf(stderr, "at_server: %s\n", error.what());
        return 1;
    }
    return 0;
}
