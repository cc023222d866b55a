#include "hearth/osa_timer.h"

#include <gtest/gtest.h>
#include <semaphore.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "support/capture.h"
#include "support/faults.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#else
#define __lsan_disable() (void)0
#define __lsan_enable() (void)0
#endif

namespace {

using hearth::test::StdoutCapture;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int kTimers = 20;

void count(void *counter) {
    ++*static_cast<std::atomic<int> *>(counter);
}

// True once the condition holds; false after ten seconds.
template <typename Condition>
bool eventually(Condition condition) {
    auto limit = steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (steady_clock::now() > limit) {
            return false;
        }
        usleep(1000);
    }
    return true;
}

// Starts a timer as soon as there is a free slot.
osa_timer_t *start_when_free(std::atomic<int> &counter) {
    osa_timer_t *timer = nullptr;
    eventually([&] { return (timer = osa_timer_create_ex(3600000, 0, count, &counter)); });
    return timer;
}

TEST(OsaTimer, OneShotRunsOnceAfterItsPeriod) {
    std::atomic<int> calls = 0;
    auto start = steady_clock::now();
    osa_timer_t *timer = osa_timer_create_ex(60, 0, count, &calls);
    ASSERT_NE(timer, nullptr);
    ASSERT_TRUE(eventually([&] { return calls == 1; }));
    EXPECT_GE(steady_clock::now() - start, milliseconds(55));
    usleep(100000);
    EXPECT_EQ(calls, 1);
    osa_timer_delete_ex(timer);
}

TEST(OsaTimer, RepeatingRunsUntilDeleted) {
    std::atomic<int> calls = 0;
    osa_timer_t *timer = osa_timer_create_ex(5, 1, count, &calls);
    ASSERT_TRUE(eventually([&] { return calls >= 3; }));
    osa_timer_delete_ex(timer);
    usleep(20000);
    int after = calls;
    usleep(50000);
    EXPECT_EQ(calls, after);
}

TEST(OsaTimer, TwentyFirstTimerFailsUntilASlotIsFree) {
    std::atomic<int> calls = 0;
    StdoutCapture capture;
    std::vector<osa_timer_t *> timers;
    for (int i = 0; i < kTimers; i++) {
        // The first has expired when the others are made, and keeps its slot all the same.
        timers.push_back(osa_timer_create_ex(i == 0 ? 0 : 3600000, 0, count, &calls));
        ASSERT_NE(timers.back(), nullptr);
        ASSERT_TRUE(i != 0 || eventually([&] { return calls == 1; }));
    }
    EXPECT_EQ(osa_timer_create_ex(1, 0, count, &calls), nullptr);
    EXPECT_EQ(capture.text(), "Info, init t_exit_cond. pid: " + std::to_string(getpid()) +
                                  "\nError!timer_id is out range.\n");
    // A running timer and a finished one both give their slot back, the former before its time.
    for (int deleted : {7, 0}) {
        osa_timer_delete_ex(timers[deleted]);
        StdoutCapture ignored;
        timers[deleted] = start_when_free(calls);
        ASSERT_NE(timers[deleted], nullptr);
        EXPECT_EQ(osa_timer_create_ex(1, 0, count, &calls), nullptr);
    }
    EXPECT_EQ(calls, 1);
    for (osa_timer_t *timer : timers) {
        osa_timer_delete_ex(timer);
    }
}

struct Slow {
    sem_t entered;
    sem_t go_on;
    std::atomic<int> calls = 0;
};

void slow(void *argument) {
    auto *state = static_cast<Slow *>(argument);
    sem_post(&state->entered);
    sem_wait(&state->go_on);
    state->calls++;
}

TEST(OsaTimer, DeletionDuringTheCallbackLetsItFinish) {
    std::atomic<int> unused = 0;
    Slow state;
    sem_init(&state.entered, 0, 0);
    sem_init(&state.go_on, 0, 0);
    osa_timer_t *timer = osa_timer_create_ex(1, 1, slow, &state);
    sem_wait(&state.entered);
    osa_timer_delete_ex(timer);
    EXPECT_EQ(state.calls, 0) << "the deletion does not wait";
    sem_post(&state.go_on);
    EXPECT_TRUE(eventually([&] { return state.calls == 1; }));
    // All twenty slots come free, so the thread has ended without another call.
    std::vector<osa_timer_t *> timers;
    StdoutCapture ignored;
    for (int i = 0; i < kTimers; i++) {
        timers.push_back(start_when_free(unused));
        ASSERT_NE(timers.back(), nullptr);
    }
    EXPECT_EQ(state.calls, 1);
    for (osa_timer_t *other : timers) {
        osa_timer_delete_ex(other);
    }
}

struct Own {
    std::atomic<osa_timer_t *> timer = nullptr;
    std::atomic<int> calls = 0;
    std::atomic<int> behind = 0;
};

void delete_itself(void *argument) {
    auto *own = static_cast<Own *>(argument);
    own->calls++;
    while (own->timer == nullptr) {
        usleep(100);
    }
    osa_timer_delete_ex(own->timer);
    own->behind++;
}

TEST(OsaTimer, DeletionOnItsOwnThreadEndsTheThreadAndFreesTheSlot) {
    StdoutCapture capture;
    for (int round = 0; round < kTimers + 1; round++) {
        static Own own;
        own.timer = nullptr;
        own.calls = 0;
        __lsan_disable();
        osa_timer_t *timer = osa_timer_create_ex(1, 1, delete_itself, &own);
        __lsan_enable();
        ASSERT_NE(timer, nullptr);
        own.timer = timer;
        ASSERT_TRUE(eventually([&] { return own.calls == 1; }));
        usleep(5000);
        EXPECT_EQ(own.calls, 1);
        EXPECT_EQ(own.behind, 0);
    }
}

// A thread that got the id of a finished timer's thread is not that timer's own thread.
TEST(OsaTimer, RecycledThreadIdIsAnotherThread) {
    std::atomic<int> calls = 0;
    osa_timer_t *timer = osa_timer_create_ex(0, 0, count, &calls);
    ASSERT_TRUE(eventually([&] { return calls == 1; }));
    usleep(20000);
    std::atomic<int> behind = 0;
    std::vector<osa_timer_t *> others;
    // The deletion runs on a timer's thread, started where the first one ended.
    struct Job {
        osa_timer_t *victim;
        std::atomic<int> *behind;
    } job{timer, &behind};
    auto work = [](void *argument) {
        auto *todo = static_cast<Job *>(argument);
        osa_timer_delete_ex(todo->victim);
        ++*todo->behind;
    };
    osa_timer_t *deleter = osa_timer_create_ex(0, 0, work, &job);
    EXPECT_TRUE(eventually([&] { return behind == 1; })) << "the thread was ended";
    osa_timer_delete_ex(deleter);
}

// Each callback starts the next timer and deletes one that still runs.
TEST(OsaTimer, CallbacksMayCreateAndDelete) {
    constexpr int kSteps = 5;
    struct Chain {
        std::atomic<int> steps = 0;
        std::atomic<int> done = 0;
        osa_timer_t *running[kSteps];
        osa_timer_t *next[kSteps];
    };
    static Chain chain;
    static void (*step)(void *) = [](void *) {
        int at = chain.steps++;
        osa_timer_delete_ex(chain.running[at]);
        chain.next[at] = osa_timer_create_ex(1, 0, at + 1 < kSteps ? step : nullptr, nullptr);
        chain.done++;
    };
    for (osa_timer_t *&timer : chain.running) {
        timer = osa_timer_create_ex(3600000, 1, step, nullptr);
    }
    osa_timer_t *first = osa_timer_create_ex(1, 0, step, nullptr);
    EXPECT_TRUE(eventually([&] { return chain.done == kSteps; }));
    osa_timer_delete_ex(first);
    for (osa_timer_t *timer : chain.next) {
        osa_timer_delete_ex(timer);
    }
}

// Expiry and deletion meet at every distance; slots must all come back.
TEST(OsaTimer, DeletionRacesWithExpiry) {
    StdoutCapture ignored;
    std::atomic<int> calls = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; t++) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 100; i++) {
                osa_timer_t *timer = nullptr;
                while ((timer = osa_timer_create_ex(1, i % 2, count, &calls)) == nullptr) {
                    usleep(500);
                }
                usleep(900 + (i * 37 + t * 11) % 300);
                osa_timer_delete_ex(timer);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    std::vector<osa_timer_t *> timers;
    for (int i = 0; i < kTimers; i++) {
        timers.push_back(start_when_free(calls));
        ASSERT_NE(timers.back(), nullptr) << "slot " << i << " is lost";
    }
    for (osa_timer_t *timer : timers) {
        osa_timer_delete_ex(timer);
    }
}

TEST(OsaTimer, FailuresGiveNoTimer) {
    using namespace hearth::test;
    StdoutCapture capture;
    osa_timer_delete_ex(nullptr);
    for (int n : {1, 2}) {
        arm_fault(Fault::kFail, kAllocations, n, ENOMEM);
        EXPECT_EQ(osa_timer_create_ex(1, 0, count, nullptr), nullptr);
        EXPECT_TRUE(disarm_fault());
    }
    arm_fault(Fault::kFail, kThreads, 1);
    EXPECT_EQ(osa_timer_create_ex(1, 0, count, nullptr), nullptr);
    EXPECT_TRUE(disarm_fault());
    std::vector<osa_timer_t *> timers;
    for (int i = 0; i < kTimers - 1; i++) {
        timers.push_back(osa_timer_create_ex(3600000, 0, nullptr, nullptr));
        ASSERT_NE(timers.back(), nullptr);
    }
    EXPECT_EQ(osa_timer_create_ex(1, 0, nullptr, nullptr), nullptr) << "the slot is lost";
    EXPECT_EQ(capture.text(),
              "Error!in osa_timer_delete_ex, param illegal.\n"
              "Error!osa_timer_create_ex, timer malloc failed.\n"
              "Error!osa_timer_create_ex, malloc failed.\n"
              "Info, init t_exit_cond. pid: " +
                  std::to_string(getpid()) +
                  "\n"
                  "Error!create  the new pthread failed. errno = Resource temporarily unavailable\n"
                  "Error! creat thread failed! errno = Resource temporarily unavailable\n"
                  "Error!timer_id is out range.\n");
    for (osa_timer_t *timer : timers) {
        osa_timer_delete_ex(timer);
    }
}

}  // namespace
