// The AT server's side of the channel: requests from queue 2, replies to queue 1.
#pragma once

#include <signal.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "card_watcher.h"
#include "hearth/at_lib.h"
#include "modem.h"

namespace hearth::device {

// What stands in a request: the command line and what follows the prompt of a two-stage send.
Command command_of(const at_server_msg &request);

// Writes the reply of the modem over the request that it answers.
void fill_reply(at_server_msg &message, const Reply &reply);

class AtServer {
  public:
    explicit AtServer(Modem &modem);
    AtServer(const AtServer &) = delete;
    AtServer &operator=(const AtServer &) = delete;
    ~AtServer();

    // Blocks the signals that run() waits for, so that one that comes earlier waits for it.
    static void block_signals();

    // Makes the queues and writes the pid file. Tells on standard error what failed.
    bool open();

    // Serves until SIGTERM or SIGINT comes. At SIGHUP `reload` runs.
    void run(const std::function<void()> &reload);

  private:
    void set_alarm();
    int wait();
    void drain();
    void take(const std::shared_ptr<at_server_msg> &message);
    // The report that answers a request without a command; null for any other request.
    const std::string *report_for(const at_server_msg &request) const;
    void send(const at_server_msg &reply);
    bool make_room();

    Modem &modem_;
    CardWatcher card_;
    // The request in hand; its reply is written over it.
    std::shared_ptr<at_server_msg> message_;
    std::string last_rssi_;
    std::string last_memory_full_;
    // When the signal for the modem's tick is due.
    std::optional<Clock::time_point> alarm_;
    const sigset_t signals_;
    int signal_descriptor_ = -1;
    int requests_ = -1;
    int replies_ = -1;
};

}  // namespace hearth::device
