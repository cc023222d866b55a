// Every call of a bus client fails, comes short or is interrupted in turn, against the real server.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <atomic>

#include "base/io.h"
#include "hearth/notify.h"
#include "hearth/threadpool.h"
#include "support/bus.h"
#include "support/log_capture.h"
#include "support/sweep.h"

namespace {

using namespace hearth::test;

constexpr uint32_t kMe = 12;
constexpr uint32_t kOther = 17;
constexpr uint32_t kWord = 42;

uint32_t answer(uint32_t, void *, void *out) {
    if (out != nullptr) {
        memcpy(out, "pong", 5);
    }
    return kWord;
}

std::atomic<int> g_heard;

uint32_t hear(uint32_t, uintptr_t, uintptr_t) {
    g_heard++;
    return 0;
}

// Another client, which answers.
pid_t start_other() {
    pid_t child = fork();
    if (child == 0) {
        while (init_notify() != 0) {
        }
        if (register_notify_handler(kOther, answer, nullptr) != 0) {
            _exit(1);
        }
        for (;;) {
            pause();
        }
    }
    return child;
}

int32_t call() {
    char in[] = "ping";
    char out[8] = "";
    return send_notify_ex(kOther, 1, in, out, sizeof in, sizeof out, 1);
}

bool connect_client() {
    return init_notify() == 0 && register_notify_handler(kMe, answer, hear) == 0;
}

// After a fault the client works again within some seconds, without anybody's help.
bool recovers() {
    int64_t end = hearth::monotonic_ms() + 8000;
    while (call() != static_cast<int32_t>(kWord)) {
        if (hearth::monotonic_ms() > end) {
            return false;
        }
        usleep(20000);
    }
    return true;
}

constexpr int32_t kDead = -1000;

int32_t connect_and_register() {
    bool connected = connect_client();
    disarm_fault();
    if (!connected) {
        // What was refused may be the registration alone; the client is connected then.
        (void)!init_notify();
        if (register_notify_handler(kMe, answer, hear) != 0) {
            return kDead;
        }
    }
    return !recovers() ? kDead : connected ? 0 : -1;
}

// On a connection that was made without a fault.
template <int32_t (*kOperation)()>
int32_t when_connected() {
    hold_fault(true);
    if (!connect_client() || !recovers()) {
        return kDead;
    }
    hold_fault(false);
    int32_t result = kOperation();
    disarm_fault();
    return recovers() ? result : kDead;
}

int32_t post_to_self() {
    g_heard = 0;
    int32_t result = post_notify(kMe, 1, 2, 3);
    for (int i = 0; i < 500 && result == 0 && g_heard == 0; i++) {
        usleep(1000);
    }
    return result != 0 ? -1 : g_heard == 1 ? 0 : -2;
}

int32_t post_to_all() {
    return raise_notify(1, 2, 3);
}

// What the threads of the client meet is not told to whoever calls at that time.
constexpr const char *kThreads =
    "malloc calloc unlink connect close pthread_create pthread_attr_init "
    "pthread_attr_setdetachstate pthread_attr_setstacksize pthread_cond_init";

// Each run in a client of its own, with the real server and another client that answers.
void sweep_client(const char *name, int32_t (*run)(), int32_t good, std::vector<int32_t> bad) {
    silence_log();
    ServerProcess server;
    pid_t other = start_other();
    Sweep row{name, nullptr, run, nullptr, good, std::move(bad), kThreads};
    row.in_child = true;
    // A caller whose connection breaks sleeps until the next answer, as is required. Here is no
    // other caller, so that receiving works throughout.
    row.calls = kLikely & ~(kReads | kWaits);
    sweep_all({&row, 1});
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
}

TEST(NotifyFaults, Connect) {
    sweep_client("notify: connect and register", connect_and_register, 0, {-1});
}

TEST(NotifyFaults, Call) {
    sweep_client("notify: call", when_connected<call>, kWord, {-1, NOTIFY_NO_ANSWER});
}

TEST(NotifyFaults, PostToItself) {
    sweep_client("notify: post to itself", when_connected<post_to_self>, 0, {-1, -2});
}

TEST(NotifyFaults, PostToAll) {
    sweep_client("notify: post to all", when_connected<post_to_all>, 0, {-1});
}

void *count(void *) {
    g_heard++;
    return nullptr;
}

const Sweep kPool[] = {
    {"pool: start, work, end",
     [] { g_heard = 0; },
     [] {
         if (pool_init(3) != 0) {
             return -1;
         }
         int32_t added = pool_add_worker(count, nullptr);
         for (int i = 0; i < 1000 && added == 0 && g_heard == 0; i++) {
             usleep(1000);
         }
         pool_destroy();
         return added != 0 ? -2 : g_heard == 1 ? 0 : -3;
     },
     nullptr,
     0,
     {-1, -2},
     "pthread_attr_setstacksize"},
};

TEST(NotifyFaults, Pool) {
    silence_log();
    sweep_all(kPool);
}

}  // namespace
