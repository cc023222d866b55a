// What processes and the system hold, and whether it grows.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace hearth::soak {

struct Holdings {
    long private_kb;
    long threads;
    long descriptors;
};

// False when the process is gone.
bool read_holdings(pid_t id, Holdings *holdings);

// System V objects of this device root: queues, semaphores or shared memory ("msg", "sem", "shm").
int count_system_v(const char *kind);

// The holdings of one process over time.
class Trend {
  public:
    void add(const Holdings &holdings) { samples_.push_back(holdings); }

    // Notes a failure when the middle of the last quarter is above that of the second one: memory
    // by more than a bound, threads and descriptors at all. Says nothing of a short run.
    void judge(const char *name) const;

    std::string text() const;

  private:
    // The median of a quarter of the samples, 0 to 3.
    long middle(long Holdings::*what, int quarter) const;

    std::vector<Holdings> samples_;
};

}  // namespace hearth::soak
