#include "hearth/osa_timer.h"

#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <sys/time.h>
#include <unistd.h>

#include "base/guard.h"
#include "hearth/osa_pthread.h"

// What the caller holds.
struct osa_timer_t {
    uint32_t slot;
    unsigned long thread;
};

namespace {

enum State : uint32_t { kFree, kRunning, kFinished, kBeingDeleted };

struct timer_info {
    State t_state;
    pthread_cond_t t_exit_cond;
};

constexpr uint32_t kTimers = 20;
constexpr uint32_t kNoSlot = kTimers;

pthread_mutex_t t_state_lock = PTHREAD_MUTEX_INITIALIZER;
// Both guarded by t_state_lock.
timer_info g_timers[kTimers];
bool g_conditions_wanted = true;

// The slot that the calling thread serves. A thread id alone does not tell a timer's own thread:
// the system gives the id of a finished thread to a new one.
thread_local uint32_t t_own_slot = kNoSlot;

// What a timer's thread owns.
struct Parameter {
    uint32_t milliseconds;
    uint32_t repeat;
    void (*callback)(void *);
    uint32_t slot;
    void *argument;
};

bool prepare_conditions() {
    hearth::MutexLock lock(t_state_lock);
    if (!g_conditions_wanted) {
        return true;
    }
    for (timer_info &timer : g_timers) {
        if (pthread_cond_init(&timer.t_exit_cond, nullptr) != 0) {
            puts("Error!osa_timer_create_ex, init t_exit_cond failed");
            return false;
        }
    }
    printf("Info, init t_exit_cond. pid: %d\n", getpid());
    g_conditions_wanted = false;
    return true;
}

uint32_t take_slot() {
    hearth::MutexLock lock(t_state_lock);
    for (uint32_t slot = 0; slot < kTimers; slot++) {
        if (g_timers[slot].t_state == kFree) {
            g_timers[slot].t_state = kRunning;
            return slot;
        }
    }
    return kNoSlot;
}

// The end of a period that starts now, on the wall clock as the wait wants it.
timespec period_end(uint32_t milliseconds) {
    constexpr long kNanosecondsPerSecond = 1000000000;
    timeval now{};
    gettimeofday(&now, nullptr);
    long nanoseconds =
        static_cast<long>(now.tv_usec) * 1000 + static_cast<long>(milliseconds % 1000) * 1000000;
    timespec end{};
    end.tv_sec =
        now.tv_sec + static_cast<time_t>(milliseconds / 1000) + nanoseconds / kNanosecondsPerSecond;
    end.tv_nsec = nanoseconds % kNanosecondsPerSecond;
    return end;
}

// Waits for the end of a period or for the deletion, whichever comes first. The wait's result is
// not looked at: a spurious wake-up counts as the end, as is required.
State wait_period(timer_info &timer, uint32_t milliseconds) {
    timespec end = period_end(milliseconds);
    hearth::MutexLock lock(t_state_lock);
    // A deletion during the callback has already signalled.
    if (timer.t_state != kBeingDeleted) {
        pthread_cond_timedwait(&timer.t_exit_cond, &t_state_lock, &end);
    }
    return timer.t_state;
}

State state_of(const timer_info &timer) {
    hearth::MutexLock lock(t_state_lock);
    return timer.t_state;
}

void run_timer(const Parameter &parameter) {
    timer_info &timer = g_timers[parameter.slot];
    for (;;) {
        State state = wait_period(timer, parameter.milliseconds);
        if (state == kBeingDeleted) {
            return;
        }
        if (parameter.callback != nullptr && state == kRunning) {
            parameter.callback(parameter.argument);
        }
        if (parameter.repeat == 0) {
            return;
        }
        state = state_of(timer);
        if (state == kFinished || state == kBeingDeleted) {
            return;
        }
    }
}

void *timer_thread(void *argument) {
    // The thread is detached from its start.
    hearth::HeapBlock<Parameter> parameter(static_cast<Parameter *>(argument));
    if (!parameter) {
        puts("Error! in timer_thread, param illegal.");
        return nullptr;
    }
    t_own_slot = parameter->slot;
    run_timer(*parameter.get());
    hearth::MutexLock lock(t_state_lock);
    State &state = g_timers[parameter->slot].t_state;
    state = state == kBeingDeleted ? kFree : kFinished;
    return nullptr;
}

[[noreturn]] void delete_own(uint32_t slot) {
    {
        hearth::MutexLock lock(t_state_lock);
        g_timers[slot].t_state = kFree;
    }
    // The handle and the parameter record stay allocated, as is required.
    pthread_exit(nullptr);
}

}  // namespace

osa_timer_t *osa_timer_create_ex(uint32_t milliseconds, uint32_t repeat, void (*callback)(void *),
                                 void *argument) {
    auto timer = hearth::allocate_zeroed<osa_timer_t>(1);
    if (!timer) {
        puts("Error!osa_timer_create_ex, timer malloc failed.");
        return nullptr;
    }
    auto parameter = hearth::allocate_zeroed<Parameter>(1);
    if (!parameter) {
        puts("Error!osa_timer_create_ex, malloc failed.");
        return nullptr;
    }
    if (!prepare_conditions()) {
        return nullptr;
    }
    timer->slot = take_slot();
    if (timer->slot == kNoSlot) {
        puts("Error!timer_id is out range.");
        return nullptr;
    }
    *parameter.get() = {milliseconds, repeat, callback, timer->slot, argument};
    timer->thread = osa_pthread_create("timer", 0, 0, timer_thread, parameter.get());
    if (timer->thread == 0) {
        // The slot stays taken and is lost, as is required.
        printf("Error! creat thread failed! errno = %s\n", strerror(errno));
        return nullptr;
    }
    parameter.release();
    return timer.release();
}

void osa_timer_delete_ex(osa_timer_t *timer) {
    if (timer == nullptr) {
        puts("Error!in osa_timer_delete_ex, param illegal.");
        return;
    }
    if (timer->slot == t_own_slot && pthread_self() == timer->thread) {
        delete_own(timer->slot);
    }
    hearth::HeapBlock<osa_timer_t> owned(timer);
    hearth::MutexLock lock(t_state_lock);
    timer_info &info = g_timers[timer->slot];
    if (info.t_state == kFinished) {
        info.t_state = kFree;
    } else {
        info.t_state = kBeingDeleted;
        pthread_cond_signal(&info.t_exit_cond);
    }
}
