#include "soak/driver.h"

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "base/io.h"
#include "soak/worker.h"
#include "support/bus.h"
#include "support/process.h"

namespace hearth::soak {

namespace {

constexpr int64_t kTickMs = 20;
constexpr int64_t kReadyMs = 20000;
constexpr int64_t kEndMs = 10000;
// A module dies every few seconds.
constexpr int64_t kWokenMs = 120000;
// Queues of the AT server; of semaphores and shared memory the library has none.
constexpr int kQueues = 2;

bool at_server_is_ready(pid_t id) {
    std::ifstream file("/var/run/pidfile/ats.pid");
    pid_t written = 0;
    return file >> written && written == id;
}

bool notify_server_is_ready(pid_t) {
    return test::Peer::connect_to_server(0).fd() >= 0;
}

// What a server says on standard error in its present life.
std::string log_of(const std::string &name) {
    return "/data/" + name + ".log";
}

// The library tells some failures on standard output.
void silence() {
    int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
}

}  // namespace

Driver::Driver(int64_t seconds, uint32_t seed)
    : seconds_(seconds), seed_(seed), random_(seed), log_("/online/log/webapp.log") {
    add_players();
}

void Driver::add_server(const char *name, Service &service, std::vector<std::string> command,
                        std::function<bool(pid_t)> ready) {
    std::string program = command[0];
    command.erase(command.begin());
    Player player{};
    player.name = name;
    player.killed = true;
    player.service = &service;
    player.start = [=](uint32_t) { return test::launch(program, command, log_of(name)); };
    player.ready = std::move(ready);
    players_.push_back(std::move(player));
}

void Driver::add_worker(const char *name, bool killed, std::function<void(const Worker &)> body,
                        Service *service) {
    int slot = static_cast<int>(players_.size());
    Player player{};
    player.name = name;
    player.killed = killed;
    player.service = service;
    player.start = [=, this](uint32_t life) {
        fflush(nullptr);
        pid_t id = fork();
        if (id == 0) {
            silence();
            body({slot, life, seed_ + static_cast<uint32_t>(slot) * 7919 + life * 104729});
            _exit(0);
        }
        return id;
    };
    players_.push_back(std::move(player));
}

void Driver::add_players() {
    Board &shared = board();
    add_server("at server", shared.at_server,
               {"at_server/hearth-at-server", "--scenario",
                HEARTH_SOURCE_DIR "/device/scenarios/home.toml"},
               at_server_is_ready);
    add_server("notify server", shared.notify_server, {"notify_server/hearth-notify-server"},
               notify_server_is_ready);
    for (bool killed : {false, true}) {
        add_worker(killed ? "commands, killed" : "commands", killed,
                   [=](const Worker &worker) { ask_modem(worker, killed ? 1 : 3); });
        uint32_t answering = killed ? kMortal : kImmortal;
        add_worker(
            killed ? "answers, killed" : "answers", killed,
            [=](const Worker &worker) { answer_calls(worker, answering); },
            &shared.modules[answering]);
        add_worker(killed ? "calls, killed" : "calls", killed, [=](const Worker &worker) {
            make_calls(worker, killed ? 20 : 21, killed ? 1 : 3);
        });
        add_worker(killed ? "log, killed" : "log", killed,
                   [=](const Worker &worker) { write_log(worker, killed ? 1 : 2); });
    }
    add_worker("settings, killed", true, own_settings);
    add_worker("lookups", false, look_up_settings);
    add_worker("table with journal, killed", true, [&](const Worker &worker) {
        keep_table(worker, shared.tables[0], "/data/userdata/journalled.mdb", true);
    });
    add_worker("table, killed", true, [&](const Worker &worker) {
        keep_table(worker, shared.tables[1], "/data/userdata/plain.mdb", false);
    });
    add_worker("table", false, [&](const Worker &worker) {
        keep_table(worker, shared.tables[2], "/data/userdata/steady.mdb", false);
    });
}

int Driver::run() {
    printf("soak: seed %u, %lld s, %zu processes\n", seed_, static_cast<long long>(seconds_),
           players_.size());
    int64_t end_ms = monotonic_ms() + seconds_ * 1000;
    for (int64_t now; (now = monotonic_ms()) < end_ms && board().failures == 0;) {
        tick(now);
        usleep(kTickMs * 1000);
    }
    end();
    report();
    return board().failures == 0 ? 0 : 1;
}

void Driver::tick(int64_t now) {
    reap();
    start_due(now);
    watch_calls(now);
    if (now >= next_kill_) {
        kill_one(now);
        next_kill_ = now + 50 + random_() % 700;
    }
    if (now >= next_measure_) {
        measure();
        next_measure_ = now + 500;
    }
}

void Driver::start_due(int64_t now) {
    for (Player &player : players_) {
        if (player.id == 0 && now >= player.start_at) {
            player.life++;
            player.id = player.start(player.life);
            player.start_at = now;
        }
        if (player.ready && !player.service->is_up()) {
            if (player.ready(player.id)) {
                player.service->up();
            } else if (now > player.start_at + kReadyMs) {
                fail("the %s is not ready after %lld ms", player.name,
                     static_cast<long long>(kReadyMs));
            }
        }
    }
}

// One of those that may be killed, at whatever it is just doing; it comes back after a while.
void Driver::kill_one(int64_t now) {
    std::vector<Player *> living;
    for (Player &player : players_) {
        if (player.killed && player.id != 0) {
            living.push_back(&player);
        }
    }
    if (living.empty()) {
        return;
    }
    Player &victim = *living[random_() % living.size()];
    if (victim.service != nullptr) {
        victim.service->down();
    }
    kill(victim.id, SIGKILL);
    int status = 0;
    waitpid(victim.id, &status, 0);
    if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL) {
        fail("%s ended by itself with status %x", victim.name, static_cast<unsigned>(status));
    }
    if (victim.service == &board().notify_server) {
        bear_with_calls();
    }
    for (Watch &watch : board().slots[&victim - players_.data()].watches) {
        watch.call = nullptr;
    }
    victim.id = 0;
    victim.start_at = now + random_() % 600;
    (victim.ready ? server_kills_ : worker_kills_)++;
}

// By design a call that is under way when the notify server goes is woken by the next answer that
// its process gets or by the next death of a module, not by its limit.
void Driver::bear_with_calls() {
    for (auto &slot : board().slots) {
        for (Watch &watch : slot.watches) {
            if (watch.call == kBusCall) {
                watch.end_ms += kWokenMs;
            }
        }
    }
}

void Driver::reap() {
    int status = 0;
    for (pid_t id; (id = waitpid(-1, &status, WNOHANG)) > 0;) {
        for (Player &player : players_) {
            if (player.id == id) {
                player.id = 0;
                fail("%s ended by itself with status %x", player.name,
                     static_cast<unsigned>(status));
            }
        }
    }
}

bool Driver::is_in_call(const Player &player) const {
    const auto &watches = board().slots[&player - players_.data()].watches;
    return std::any_of(std::begin(watches), std::end(watches),
                       [](const Watch &watch) { return watch.call != nullptr; });
}

void Driver::watch_calls(int64_t now) {
    for (size_t slot = 0; slot < players_.size(); slot++) {
        for (Watch &watch : board().slots[slot].watches) {
            const char *call = watch.call;
            if (call != nullptr && now > watch.end_ms) {
                fail("%s: %s has not returned %lld ms after its limit", players_[slot].name, call,
                     static_cast<long long>(now - watch.end_ms + kSlackMs));
                watch.call = nullptr;
            }
        }
    }
}

void Driver::measure() {
    log_.look(worker_kills_);
    for (Player &player : players_) {
        Holdings holdings{};
        if (!player.killed && player.id != 0 && read_holdings(player.id, &holdings)) {
            player.trend.add(holdings);
        }
    }
    constexpr struct {
        const char *kind;
        int limit;
    } kLimits[] = {{"msg", kQueues}, {"sem", 0}, {"shm", 0}};
    for (const auto &limit : kLimits) {
        int present = count_system_v(limit.kind);
        if (present > limit.limit) {
            fail("%d System V objects of the kind %s, more than %d", present, limit.kind,
                 limit.limit);
        }
    }
}

void Driver::end() {
    board().stop = true;
    for (Player &player : players_) {
        if (player.service == &board().modules[kMortal] && player.id != 0) {
            kill(player.id, SIGKILL);  // wakes the calls that need it
            test::ended(player.id);
            player.id = 0;
        }
    }
    end_workers();
    end_servers();
    measure();
    if (board().counts[kCallsCrossed] > 10 + board().counts[kCalls] / 100) {
        fail("more than one bus call of a hundred is lost to crossing posts");
    }
    if (count_system_v("msg") != 0) {
        fail("the queues of the AT server are left");
    }
    for (Player &player : players_) {
        if (!player.killed) {
            player.trend.judge(player.name);
        }
    }
}

void Driver::end_workers() {
    int64_t end_ms = monotonic_ms() + kEndMs;
    for (Player &player : players_) {
        if (player.ready || player.id == 0) {
            continue;
        }
        int status = 0;
        pid_t ended = 0;
        while ((ended = waitpid(player.id, &status, WNOHANG)) == 0 && monotonic_ms() < end_ms) {
            watch_calls(monotonic_ms());
            usleep(kTickMs * 1000);
        }
        if (ended == 0) {
            // A call that waits for an AT server which was killed under it has longer.
            if (!is_in_call(player)) {
                fail("%s does not end", player.name);
            }
            kill(player.id, SIGKILL);
            waitpid(player.id, &status, 0);
        } else if (status != 0) {
            fail("%s ended with status %x", player.name, static_cast<unsigned>(status));
        }
        player.id = 0;
    }
}

void Driver::end_servers() {
    int64_t end_ms = monotonic_ms() + kEndMs;
    for (Player &player : players_) {
        if (player.id != 0) {
            // One that was started just now has not yet cleared away what a killed one left.
            while (!player.ready(player.id) && monotonic_ms() < end_ms) {
                usleep(1000);
            }
            kill(player.id, SIGTERM);
            int status = test::ended(player.id);
            // One that was started just now may not have been listening to the signal yet.
            if (status != 0 && player.service->is_up()) {
                fail("the %s ended with status %x", player.name, static_cast<unsigned>(status));
            }
            player.id = 0;
        }
    }
}

void Driver::report() const {
    auto number = [](Count what) {
        return static_cast<unsigned long long>(board().counts[what].load());
    };
    printf("  AT commands   %8llu, %llu lost while the server was away\n", number(kCommands),
           number(kCommandsLost));
    printf(
        "  bus calls     %8llu, %llu lost while one side was away, %llu of them woken late; "
        "%llu lost to a crossing post\n",
        number(kCalls), number(kCallsLost), number(kCallsLate), number(kCallsCrossed));
    printf("  posts         %8llu, %llu heard\n", number(kPosts), number(kHeard));
    printf("  lookups       %8llu; %llu writes, %llu files refused after a kill\n",
           number(kLookups), number(kWrites), number(kRefused));
    printf("  table changes %8llu; %llu looks at a table after a kill\n", number(kChanges),
           number(kRestores));
    printf("  log lines     %8llu; %llu looked at in %llu files, %llu torn by a kill\n",
           number(kLines), static_cast<unsigned long long>(log_.lines()),
           static_cast<unsigned long long>(log_.restarts() + 1),
           static_cast<unsigned long long>(log_.torn()));
    printf("  kills         %8llu of servers, %llu of workers\n",
           static_cast<unsigned long long>(server_kills_),
           static_cast<unsigned long long>(worker_kills_));
    for (const Player &player : players_) {
        if (!player.killed) {
            printf("  %-9s %s\n", player.name, player.trend.text().c_str());
        }
    }
    fflush(stdout);
    int failures = board().failures;
    for (int i = 0; i < std::min(failures, static_cast<int>(std::size(board().failure_texts)));
         i++) {
        fprintf(stderr, "soak: %s\n", board().failure_texts[i]);
    }
    if (failures > 0) {
        for (const Player &player : players_) {
            std::ifstream log(log_of(player.name));
            for (std::string line; player.ready && std::getline(log, line);) {
                fprintf(stderr, "  %s\n", line.c_str());
            }
        }
        fprintf(stderr, "soak: %d failures; again with --seed %u\n", failures, seed_);
    }
}

}  // namespace hearth::soak
