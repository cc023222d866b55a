// A command to the simulated modem and back, beside one message to another process and back over
// the same kind of queues. Both look for the answer every 10 ms. Runs in a device root.
#include <benchmark/benchmark.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "bench/processes.h"
#include "hearth/at_lib.h"
#include "hearth/at_network.h"

namespace {

using hearth::bench::cpu_seconds;

[[noreturn]] void fail(const char *what) {
    perror(what);
    exit(1);
}

// The two sides keep to processors of their own, so that the first look always comes too early and
// each round has one sleep.
void keep_to(int processor) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(processor, &one);
    // With a single processor the rounds are of two kinds.
    (void)!sched_setaffinity(0, sizeof one, &one);
}

// A child that runs `work` and dies with this process.
template <typename Work>
pid_t start(Work work) {
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        keep_to(1);
        work();
        _exit(1);
    }
    return pid;
}

pid_t start_server() {
    pid_t server = start([] {
        execl(HEARTH_BINARY_DIR "/device/at_server/hearth-at-server", "hearth-at-server",
              "--scenario", HEARTH_SOURCE_DIR "/device/scenarios/home.toml", nullptr);
    });
    for (int i = 0; i < 500 && get_ats_task_id() != server; i++) {
        usleep(10000);
    }
    if (get_ats_task_id() != server) {
        fail("hearth-at-server");
    }
    return server;
}

template <typename Ask>
void measure(benchmark::State &state, pid_t other, Ask ask) {
    keep_to(0);
    for (int i = 0; i < 3; i++) {
        ask();
    }
    double before = cpu_seconds({other});
    for (auto _ : state) {
        if (!ask()) {
            state.SkipWithError("no answer");
            break;
        }
    }
    state.counters["cpu_us"] =
        (cpu_seconds({other}) - before) * 1e6 / static_cast<double>(state.iterations());
}

void command(benchmark::State &state) {
    static const pid_t server = start_server();
    measure(state, server, [] {
        at_creg_info record{};
        return AT_Creg(AT_CMD_TYPE_CHECK, &record) == 0;
    });
}
BENCHMARK(command)->UseRealTime()->Iterations(100);

// As much as a message of the AT channel.
struct Message {
    long type;
    char text[sizeof(at_server_msg)];
};

void answer(int requests, int replies) {
    Message message;
    while (msgrcv(requests, &message, sizeof message.text, 0, 0) >= 0) {
        if (msgsnd(replies, &message, sizeof message.text, 0) != 0) {
            fail("msgsnd");
        }
    }
}

bool ask(int requests, int replies) {
    Message message{1, {}};
    if (msgsnd(requests, &message, sizeof message.text, 0) != 0) {
        return false;
    }
    while (msgrcv(replies, &message, sizeof message.text, 1, IPC_NOWAIT) < 0) {
        usleep(10000);
    }
    return true;
}

void ping_pong(benchmark::State &state) {
    static const int requests = msgget(IPC_PRIVATE, 0600);
    static const int replies = msgget(IPC_PRIVATE, 0600);
    static const pid_t answerer = start([] { answer(requests, replies); });
    measure(state, answerer, [] { return ask(requests, replies); });
}
BENCHMARK(ping_pong)->UseRealTime()->Iterations(100);

}  // namespace
