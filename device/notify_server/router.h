// The notify server: routes frames between the connections of the daemons. One thread, one event
// loop. docs/bus.md tells what it does with which frame.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "client.h"

namespace hearth::notify_server {

class Router {
  public:
    Router(const Limits &limits, bool verbose) : limits_(limits), verbose_(verbose) {}
    Router(const Router &) = delete;
    Router &operator=(const Router &) = delete;
    ~Router();

    // Listens on the path. False, with a line on standard error, if that can't be had or another
    // server is there.
    bool open(const std::string &path);
    // Serves until SIGTERM or SIGINT. False if waiting for events failed.
    bool run();

  private:
    bool open_loop();
    void accept_clients();
    bool turn_one_away();
    void on_event(Client *client, uint32_t events);
    // Routes the frames that a client's input holds, until one has to wait.
    void process(Client *client);
    // False when the frame has to wait for room at its destination.
    bool route(Client *from, const Frame &frame);
    bool fan_out(Client *from, const Frame &frame);
    void bind(Client *client, uint32_t module);
    // Answers a request that can't be delivered.
    void refuse(Client *from, const msg_header &request);
    void send(Client *to, const void *bytes, size_t size);
    bool has_room(Client *to);
    void send_unsent();
    void drop_frame(const Client *from, const msg_header &header, const char *why);
    // Tells all other connections that a module is gone.
    void announce_death(uint32_t module, const Client *except);

    void fail(Client *client, const char *why);
    void bury_failed();
    void drop_stalled();
    void resume_waiting(const Client *client);
    void watch(Client *client);
    __attribute__((format(printf, 2, 3))) void say(const char *format, ...) const;

    const Limits limits_;
    const bool verbose_;
    std::string path_;
    int listener_ = -1;
    int loop_ = -1;
    int signals_ = -1;
    int spare_ = -1;  // given up for a moment to turn a connection away when descriptors are out
    uint64_t accepted_ = 0;
    std::vector<std::unique_ptr<Client>> clients_;
    std::vector<std::unique_ptr<Client>> buried_;  // events at hand may still name them
    std::array<Client *, NOTIFY_MID_MAX + 1> owners_{};
    std::vector<Client *> unsent_;
    bool any_failed_ = false;
};

}  // namespace hearth::notify_server
