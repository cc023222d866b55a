// Benchmarks in which several processes take part: what they use of the processor, and the clock.
#pragma once

#include <stdint.h>
#include <sys/types.h>
#include <time.h>

#include <vector>

namespace hearth::bench {

inline double seconds_of(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Processor time so far of this process and of others.
inline double cpu_seconds(const std::vector<pid_t> &others = {}) {
    double sum = seconds_of(CLOCK_PROCESS_CPUTIME_ID);
    for (pid_t pid : others) {
        clockid_t clock{};
        sum += clock_getcpuclockid(pid, &clock) == 0 ? seconds_of(clock) : 0;
    }
    return sum;
}

inline int64_t now_ns() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

}  // namespace hearth::bench
