// Starts servers and workers, kills and restarts them at random, and watches.
#pragma once

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "soak/board.h"
#include "soak/log_check.h"
#include "soak/measure.h"

namespace hearth::soak {

// A server or a worker, over all its lives.
struct Player {
    const char *name;
    bool killed;       // now and then; else it has to live through the whole run
    Service *service;  // what it offers; null for none
    std::function<pid_t(uint32_t life)> start;
    std::function<bool(pid_t)> ready;  // whether a server can be reached; empty for a worker

    pid_t id = 0;
    uint32_t life = 0;
    int64_t start_at = 0;
    Trend trend;
};

class Driver {
  public:
    Driver(int64_t seconds, uint32_t seed);

    // The whole run. Returns the exit status, with all that went wrong on standard error.
    int run();

  private:
    void add_server(const char *name, Service &service, std::vector<std::string> command,
                    std::function<bool(pid_t)> ready);
    void add_worker(const char *name, bool killed, std::function<void(const struct Worker &)> body,
                    Service *service = nullptr);
    void add_players();
    void tick(int64_t now);
    void start_due(int64_t now);
    void kill_one(int64_t now);
    void bear_with_calls();
    void reap();
    bool is_in_call(const Player &player) const;
    void watch_calls(int64_t now);
    void measure();
    void end();
    void end_workers();
    void end_servers();
    void report() const;

    int64_t seconds_;
    uint32_t seed_;
    std::mt19937 random_;
    std::vector<Player> players_;
    LogCheck log_;
    int64_t next_kill_ = 0;
    int64_t next_measure_ = 0;
    uint64_t server_kills_ = 0;
    uint64_t worker_kills_ = 0;
};

}  // namespace hearth::soak
