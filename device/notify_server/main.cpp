// hearth-notify-server: the message router of the bus.

#include "options.h"
#include "router.h"

int main(int count, char **arguments) {
    hearth::options::CommandLine line(
        "Notify server of the desk: routes the frames of the daemons on the bus.");
    hearth::notify_server::Limits limits;
    std::string path = "/var/run/notify/notifyserver";
    bool verbose = false;
    line.option("--path", path, "socket to listen on").show_default();
    line.option("--max-body", limits.body, "longest body in bytes that is forwarded")
        .show_default();
    line.option("--max-queue", limits.queue,
                "bytes that wait for one daemon before its senders are paused")
        .show_default();
    line.option("--max-clients", limits.clients, "connections at a time").show_default();
    line.option("--stall", limits.stall_ms,
                "milliseconds after which a daemon that blocks others is cut off")
        .show_default();
    line.flag("--verbose", verbose, "tell of each frame that is dropped");
    line.parse_or_exit(count, arguments);

    hearth::notify_server::Router router(limits, verbose);
    return router.open(path) && router.run() ? 0 : 1;
}
