// Makes the n-th call of the library fail, come back short, be interrupted or end the process.
// Only calls that libhearth.so itself makes are counted; the test's own go through untouched.
#pragma once

#include <errno.h>
#include <stdint.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearth::test {

// The calls that can be made to fail, in groups. One fault may watch several. The rows of
// faults.cpp say which call is in which group.
enum : uint32_t {
    kAllocations = 1,
    kOpens = 2,
    kReads = 4,
    kWrites = 8,
    kNames = 16,
    kQueues = 32,
    kMaps = 64,
    kThreads = 128,
    kSockets = 256,
    kCloses = 512,
    kLooks = 1024,   // how long a file is, what a directory holds
    kWaits = 2048,   // for a lock, a descriptor, a process
    kMakers = 4096,  // of semaphores, locks and conditions
    kSeeks = 8192,   // in a file
    kGives = 16384,  // of a semaphore
    kAll = 0xFFFFFFFFu,
    // Without those that do not fail where they are used as they should be.
    kLikely = kAll & ~(kSeeks | kGives)
};

enum class Fault {
    kFail,       // fails with the given errno
    kShort,      // transfers half of what was asked (at least one unit)
    kInterrupt,  // fails with EINTR, where the system may do so
    kCrash,      // ends the process at once with status kCrashed, before the call
    kTorn        // the same, but half of what a write or a flush was to transfer is in the file
};

constexpr int kCrashed = 77;

// Arms the fault: call number n (from 1) of the given kinds that it can be done to. One fault at a
// time. With the error 0 each call fails with the one that it is likely to fail with.
void arm_fault(Fault fault, uint32_t calls, int n, int error = EIO);
// Disarms, and says whether the fault took place.
bool disarm_fault();
// While held, calls are not counted.
void hold_fault(bool held);
// The call that the last fault befell.
const char *last_fault();

// Counts calls of every caller, so that a function that only forwards is reached. The operation
// then must not make calls of its own.
void watch_all_callers(bool all);

// What the process holds: blocks of memory, and descriptors and mappings.
struct Holdings {
    long blocks;
    long others;
};
Holdings holdings();

// Counted, and printed when the process ends.
void count_faults(int faults);
void count_stops(int stops);

// Runs `operation` with its first, second, third … call failing, until it runs without a failure.
// Returns how many calls were made to fail.
template <typename Operation>
int for_each_fault(Fault fault, uint32_t calls, int error, Operation operation) {
    for (int n = 1;; n++) {
        arm_fault(fault, calls, n, error);
        operation();
        if (!disarm_fault()) {
            count_faults(n - 1);
            return n - 1;
        }
    }
}

// Runs `operation` in a child that ends before its first, second, third … call, and `check` in
// the parent after each. Returns how many stops were tried, -1 if the child ended by a signal.
template <typename Operation, typename Check>
int for_each_crash(uint32_t calls, Operation operation, Check check, Fault fault = Fault::kCrash) {
    for (int n = 1;; n++) {
        pid_t child = fork();
        if (child == 0) {
            arm_fault(fault, calls, n);
            operation();
            _exit(0);
        }
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        check(n);
        if (!WIFEXITED(status)) {
            return -1;  // it ended in a way of its own
        }
        if (WEXITSTATUS(status) != kCrashed) {
            count_stops(n - 1);
            return n - 1;
        }
    }
}

}  // namespace hearth::test
