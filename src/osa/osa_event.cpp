#include "hearth/osa_event.h"

#include <errno.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <iterator>

namespace {

struct EventMap {
    int32_t event;
    int32_t signal;
};

constexpr EventMap event_maps[] = {{1, 10}, {2, 12}, {4, 31}, {8, 32}, {-1, -1}};
constexpr int32_t kEventBits = 4;
static_assert(std::size(event_maps) == kEventBits + 1 && event_maps[kEventBits].event == -1);
static_assert(event_maps[0].signal == SIGUSR1 && event_maps[1].signal == SIGUSR2);

// The signal set and the signal calls of the kernel. Those of the C library will not do: it keeps
// signal 32 to itself, and takes it out of every set that it is given.
struct KernelSignals {
    static constexpr int kWordBits = sizeof(unsigned long) * CHAR_BIT;
    unsigned long words[64 / kWordBits];

    void add(int32_t signal) {
        words[(signal - 1) / kWordBits] |= 1UL << ((signal - 1) % kWordBits);
    }
};

bool block(const KernelSignals &set) {
    return syscall(SYS_rt_sigprocmask, SIG_BLOCK, &set, nullptr, sizeof set) == 0;
}

// Waits without limit. Returns the signal that came, 0 on failure.
int32_t wait_for(const KernelSignals &set) {
    long signal = -1;
    do {
        signal = syscall(SYS_rt_sigtimedwait, &set, nullptr, nullptr, sizeof set);
    } while (signal < 0 && errno == EINTR);
    return signal > 0 ? static_cast<int32_t>(signal) : 0;
}

KernelSignals signals_of(int32_t events) {
    KernelSignals set{};
    for (int32_t bit = 0; bit < kEventBits; bit++) {
        if ((events & (1 << bit)) != 0) {
            set.add(event_maps[bit].signal);
        }
    }
    return set;
}

int32_t signal_of(int32_t event) {
    const EventMap *row = event_maps;
    while (row->event != -1 && row->event != event) {
        row++;
    }
    return row->signal;
}

int32_t event_of(int32_t signal) {
    const EventMap *row = event_maps;
    while (row->signal != -1 && row->signal != signal) {
        row++;
    }
    return row->event;
}

}  // namespace

int32_t osa_event_init(int32_t events) {
    return block(signals_of(events)) ? 1 : 0;
}

int32_t osa_event_send(int32_t task, int32_t event) {
    if (task < 1 || event == -1) {
        puts("Error!in osa_event_send, param illegal.");
        return 0;
    }
    int32_t signal = signal_of(event);
    if (signal == -1) {
        puts("Error!in osa_event_send, sig = -1");
        return 0;
    }
    return kill(task, signal) == 0 ? 1 : 0;
}

int32_t osa_event_recv(int32_t events, int32_t timeout_seconds, int32_t *received) {
    if (events == -1 || received == nullptr) {
        puts("Error!in osa_event_recv, param illegal.");
        return 0;
    }
    KernelSignals set = signals_of(events);
    block(set);
    int32_t signal = 0;
    if (timeout_seconds < 0) {
        signal = wait_for(set);
    } else {
        set.add(SIGALRM);
        block(set);
        // A limit of 0 arms no alarm: such a wait has no limit.
        alarm(static_cast<unsigned>(timeout_seconds));
        signal = wait_for(set);
        alarm(0);
    }
    if (signal == 0) {
        printf("Error!in osa_event_recv, sigwait failed. errno = %s\n", strerror(errno));
        return 0;
    }
    int32_t event = event_of(signal);
    if (event == -1) {
        puts("Error!in osa_event_recv, e = -1");
        return 0;
    }
    *received = event;
    return 1;
}

int32_t osa_event_clear(void) {
    return 0;
}
