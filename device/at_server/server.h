// The AT server's side of the channel: requests from queue 2, replies to queue 1.
#pragma once

#include <functional>
#include <memory>
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

    // Blocks the event in the caller, makes the queues and writes the pid file. Tells on standard
    // error what failed.
    bool open();

    // Serves until `stop` is set by a signal handler. `idle` runs after each wake-up.
    void run(const volatile int &stop, const std::function<void()> &idle);

  private:
    bool wait();
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
    int event_descriptor_ = -1;
    int requests_ = -1;
    int replies_ = -1;
};

}  // namespace hearth::device
