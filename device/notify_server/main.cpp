// hearth-notify-server: the message router of the bus.

#include <CLI/CLI.hpp>

#include "router.h"

int main(int count, char **arguments) {
    CLI::App app{"Notify server of the desk: routes the frames of the daemons on the bus."};
    hearth::notify_server::Limits limits;
    std::string path = "/var/run/notify/notifyserver";
    bool verbose = false;
    app.add_option("--path", path, "socket to listen on")->capture_default_str();
    app.add_option("--max-body", limits.body, "longest body in bytes that is forwarded")
        ->capture_default_str();
    app.add_option("--max-queue", limits.queue,
                   "bytes that wait for one daemon before its senders are paused")
        ->capture_default_str();
    app.add_option("--max-clients", limits.clients, "connections at a time")->capture_default_str();
    app.add_option("--stall", limits.stall_ms,
                   "milliseconds after which a daemon that blocks others is cut off")
        ->capture_default_str();
    app.add_flag("--verbose", verbose, "tell of each frame that is dropped");
    CLI11_PARSE(app, count, arguments);

    hearth::notify_server::Router router(limits, verbose);
    return router.open(path) && router.run() ? 0 : 1;
}
