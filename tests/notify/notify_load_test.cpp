// The bus under load and faults: several processes through the notify server.
//
// HEARTH_SOAK_CALLS sets the number of calls of the load test (10,000 without it)
// and HEARTH_SOAK_RESTARTS that of the restarts (3 without it).

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "hearth/notify.h"
#include "support/bus.h"

extern "C" const char *__lsan_default_suppressions() {
    return "leak:recv_msg";
}

namespace {

using hearth::monotonic_ms;
using hearth::test::ServerProcess;

int from_environment(const char *name, int otherwise) {
    const char *value = getenv(name);
    return value != nullptr ? atoi(value) : otherwise;
}

// Counters that all processes see.
struct Shared {
    std::atomic<int> ready;
    std::atomic<bool> stop;
    std::atomic<int> good;
    std::atomic<int> wrong;
    std::atomic<int> lost;
    std::atomic<int> heard;
};

Shared *make_shared_counters() {
    void *memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return new (memory) Shared{};
}

bool wait_for(const std::function<bool()> &condition, int limit_ms = 20000) {
    int64_t end = monotonic_ms() + limit_ms;
    while (!condition()) {
        if (monotonic_ms() > end) {
            return false;
        }
        usleep(2000);
    }
    return true;
}

// A daemon in a process of its own.
template <typename Body>
pid_t start_daemon(uint32_t mid, notify_sync_handler on_request, notify_asyn_handler on_event,
                   Body body) {
    pid_t pid = fork();
    if (pid == 0) {
        bool up = init_notify() == 0 && register_notify_handler(mid, on_request, on_event) == 0;
        _exit(up ? body() : 99);
    }
    return pid;
}

int finish(pid_t pid) {
    int status = -1;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

struct Question {
    uint32_t caller;
    uint32_t number;
    char padding[40];
};

uint32_t mix(const Question &question) {
    return question.caller * 2654435761u + question.number * 40503u + 17;
}

// Proves by its answer which question it saw.
uint32_t answer_question(uint32_t, void *in, void *out) {
    const Question *question = static_cast<const Question *>(in);
    if (out != nullptr) {
        memcpy(out, question, sizeof *question);
    }
    return mix(*question) & 0x7fffffff;
}

enum class Outcome { kGood, kWrong, kLost };

Outcome ask(uint32_t mid, uint32_t caller, uint32_t number, int32_t timeout) {
    Question question{caller, number, {}};
    Question echo{};
    int32_t result =
        send_notify_ex(mid, 1, &question, &echo, sizeof question, sizeof echo, timeout);
    if (result == -1 || result == NOTIFY_NO_ANSWER) {
        return Outcome::kLost;
    }
    bool good = static_cast<uint32_t>(result) == (mix(question) & 0x7fffffff) &&
                memcmp(&echo, &question, sizeof echo) == 0;
    return good ? Outcome::kGood : Outcome::kWrong;
}

void count(Shared *shared, Outcome outcome) {
    (outcome == Outcome::kGood    ? shared->good
     : outcome == Outcome::kWrong ? shared->wrong
                                  : shared->lost)++;
}

// Two processes ask with 16 threads each, two answer: no answer goes astray and none is lost.
TEST(NotifyLoad, EveryAnswerIsAtItsCaller) {
    const int calls = from_environment("HEARTH_SOAK_CALLS", 10000);
    constexpr int kThreads = 16;
    ServerProcess server;
    Shared *shared = make_shared_counters();
    std::vector<pid_t> answering, asking;
    for (uint32_t mid : {10u, 11u}) {
        answering.push_back(start_daemon(mid, answer_question, nullptr, [=] {
            shared->ready++;
            wait_for([=] { return shared->stop.load(); }, 600000);
            return 0;
        }));
    }
    ASSERT_TRUE(wait_for([=] { return shared->ready == 2; }));
    for (uint32_t mid : {20u, 21u}) {
        asking.push_back(start_daemon(mid, nullptr, nullptr, [=] {
            std::vector<std::thread> threads;
            for (uint32_t t = 0; t < kThreads; t++) {
                threads.emplace_back([=] {
                    for (int i = 0; i < calls / (2 * kThreads); i++) {
                        uint32_t number = static_cast<uint32_t>(i);
                        count(shared, ask(10 + number % 2, mid * 100 + t, number, 60));
                    }
                });
            }
            for (std::thread &thread : threads) {
                thread.join();
            }
            return 0;
        }));
    }
    for (pid_t pid : asking) {
        EXPECT_EQ(finish(pid), 0);
    }
    shared->stop = true;
    for (pid_t pid : answering) {
        EXPECT_EQ(finish(pid), 0);
    }
    EXPECT_EQ(shared->wrong, 0);
    EXPECT_EQ(shared->lost, 0);
    EXPECT_EQ(shared->good, calls / (2 * kThreads) * (2 * kThreads));
}

// All processes ask, answer and post at a time. A post or an answer may take the number that a
// call has counted on; that call then runs out. What must never happen is a wrong answer.
TEST(NotifyLoad, MixedTrafficNeverGivesAWrongAnswer) {
    ServerProcess server;
    Shared *shared = make_shared_counters();
    std::vector<pid_t> daemons;
    constexpr int kRounds = 60;
    for (uint32_t mid : {10u, 11u, 12u, 13u}) {
        daemons.push_back(start_daemon(mid, answer_question, nullptr, [=] {
            shared->ready++;
            wait_for([=] { return shared->ready == 4; });
            std::vector<std::thread> threads;
            for (uint32_t t = 0; t < 8; t++) {
                threads.emplace_back([=] {
                    for (uint32_t i = 0; i < kRounds; i++) {
                        count(shared, ask(10 + (mid + i) % 4, mid * 100 + t, i, 1));
                        post_notify(10 + (mid + 1) % 4, 1, i, i);
                        raise_notify(2, i, i);
                    }
                });
            }
            for (std::thread &thread : threads) {
                thread.join();
            }
            shared->heard++;
            wait_for([=] { return shared->heard == 4; }, 600000);
            return 0;
        }));
    }
    for (pid_t pid : daemons) {
        EXPECT_EQ(finish(pid), 0);
    }
    EXPECT_EQ(shared->wrong, 0);
    EXPECT_EQ(shared->good + shared->lost, 4 * 8 * kRounds);
    EXPECT_GT(shared->good, 4 * 8 * kRounds / 4);
}

Shared *g_shared;

uint32_t count_post(uint32_t, uintptr_t arg1, uintptr_t) {
    g_shared->heard += static_cast<int>(arg1);
    return 0;
}

TEST(NotifyLoad, NoPostIsLost) {
    ServerProcess server;
    Shared *shared = g_shared = make_shared_counters();
    constexpr int kPosts = 20000;
    pid_t hears = start_daemon(10, nullptr, count_post, [=] {
        shared->ready++;
        return wait_for([=] { return shared->heard == 3 * kPosts; }, 60000) ? 0 : 1;
    });
    ASSERT_TRUE(wait_for([=] { return shared->ready == 1; }));
    std::vector<pid_t> posting;
    for (uint32_t mid : {20u, 21u, 22u}) {
        posting.push_back(start_daemon(mid, nullptr, nullptr, [] {
            for (int i = 0; i < kPosts; i++) {
                if (post_notify(10, 1, 1, 0) != 0) {
                    return 1;
                }
            }
            return 0;  // with its last posts still on the way
        }));
    }
    for (pid_t pid : posting) {
        EXPECT_EQ(finish(pid), 0);
    }
    EXPECT_EQ(finish(hears), 0) << shared->heard;
}

// The server is killed and started again under load: calls fail meanwhile, and then all goes on
// without help.
TEST(NotifyLoad, DaemonsComeBackAfterEachRestartOfTheServer) {
    const int restarts = from_environment("HEARTH_SOAK_RESTARTS", 3);
    ServerProcess server;
    Shared *shared = make_shared_counters();
    pid_t answering = start_daemon(10, answer_question, nullptr, [=] {
        shared->ready++;
        wait_for([=] { return shared->stop.load(); }, 600000);
        return 0;
    });
    ASSERT_TRUE(wait_for([=] { return shared->ready == 1; }));
    pid_t asking = start_daemon(20, nullptr, nullptr, [=] {
        shared->ready++;
        std::vector<std::thread> threads;
        for (uint32_t t = 1; t < 8; t++) {
            threads.emplace_back([=] {
                for (uint32_t i = 0; !shared->stop; i++) {
                    Outcome outcome = ask(10, t, i, 2);
                    count(shared, outcome);
                    if (outcome != Outcome::kGood) {
                        usleep(20000);
                    }
                }
            });
        }
        // A sender from before a restart sleeps until another's answer wakes it, so new calls
        // have to come from somewhere.
        std::atomic<bool> *done = new std::atomic<bool>(false);
        std::thread waker([=] {
            for (uint32_t i = 0; !*done; i++) {
                std::thread([=] { ask(10, 0, i, 2); }).detach();
                usleep(50000);
            }
        });
        for (std::thread &thread : threads) {
            thread.join();
        }
        *done = true;
        waker.join();
        return 0;
    });
    ASSERT_TRUE(wait_for([=] { return shared->ready == 2 && shared->good > 100; }));
    for (int i = 0; i < restarts; i++) {
        server.stop(SIGKILL);
        usleep(i % 2 == 0 ? 1000 : 300000);
        server.start();
        int before = shared->good;
        EXPECT_TRUE(wait_for([=] { return shared->good > before + 200; })) << "restart " << i;
    }
    shared->stop = true;
    EXPECT_EQ(finish(asking), 0);
    EXPECT_EQ(finish(answering), 0);
    EXPECT_EQ(shared->wrong, 0);
}

uint32_t die(uint32_t, void *, void *) {
    usleep(100000);  // a death before the caller has noted its number is missed, by design
    _exit(3);
}

TEST(NotifyLoad, APeerThatDiesInItsHandlerEndsTheCallAtOnce) {
    ServerProcess server;
    Shared *shared = make_shared_counters();
    pid_t asking = start_daemon(20, nullptr, nullptr, [=] {
        shared->ready++;
        for (int i = 0; i < 5; i++) {
            if (!wait_for([=] { return shared->heard == i + 1; })) {
                return 1;
            }
            int64_t start = monotonic_ms();
            int32_t result = NOTIFY_NO_ANSWER;
            while (result == NOTIFY_NO_ANSWER && monotonic_ms() - start < 10000) {
                usleep(5000);  // the server may still be about to learn of the other's module
                result = send_notify(10, 1, nullptr, nullptr, 0, 0);
            }
            // Gone for good: the server itself answers.
            int32_t next = send_notify(10, 1, nullptr, nullptr, 0, 0);
            if (result != -1 || next != NOTIFY_NO_ANSWER || monotonic_ms() - start > 20000) {
                return 2;
            }
            shared->good++;
        }
        return 0;
    });
    ASSERT_TRUE(wait_for([=] { return shared->ready == 1; }));
    for (int i = 0; i < 5; i++) {
        pid_t doomed = start_daemon(10, die, nullptr, [=] {
            shared->heard++;
            wait_for([] { return false; });
            return 0;
        });
        EXPECT_EQ(finish(doomed), 3);
        EXPECT_TRUE(wait_for([=] { return shared->good == i + 1; }));
    }
    EXPECT_EQ(finish(asking), 0);
}

uint32_t ask_on(uint32_t msg_id, void *, void *) {
    // 20 asks 10, 10 asks 20 back, and so on.
    if (msg_id == 0) {
        return 0;
    }
    uint32_t next = msg_id % 2 == 0 ? 10 : 20;
    return static_cast<uint32_t>(send_notify_ex(next, msg_id - 1, nullptr, nullptr, 0, 0, 20)) + 1;
}

TEST(NotifyLoad, HandlersCallEachOtherBack) {
    ServerProcess server;
    Shared *shared = make_shared_counters();
    pid_t other = start_daemon(10, ask_on, nullptr, [=] {
        shared->ready++;
        wait_for([=] { return shared->stop.load(); });
        return 0;
    });
    ASSERT_TRUE(wait_for([=] { return shared->ready == 1; }));
    pid_t first = start_daemon(20, ask_on, nullptr,
                               [] { return send_notify_ex(10, 5, nullptr, nullptr, 0, 0, 20); });
    EXPECT_EQ(finish(first), 5);
    shared->stop = true;
    EXPECT_EQ(finish(other), 0);
}

}  // namespace
