// Makes the n-th call of the library fail, come back short, be interrupted or end the process.
// Only calls that libhearth.so itself makes are counted; the test's own go through untouched.
#pragma once

#include <errno.h>
#include <stdint.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearth::test {

// The calls that can be made to fail, in groups. One fault may watch several.
enum : uint32_t {
    kAllocations = 1,  // malloc calloc realloc strdup
    kOpens = 2,        // open fopen opendir
    kReads = 4,        // read pread fread fgets recv
    kWrites = 8,       // write pwrite writev fwrite fputs fflush ftruncate fsync fdatasync send
    kNames = 16,       // rename unlink remove rmdir mkdir
    kQueues = 32,      // msgsnd msgrcv msgget msgctl
    kMaps = 64,        // mmap
    kThreads = 128,    // pthread_create
    kSockets = 256,    // socket connect
    kAll = 0xFFFFFFFFu
};

enum class Fault {
    kFail,   // fails with the given errno
    kShort,  // transfers half of what was asked (at least one unit); others pass
    kCrash   // ends the process at once with status kCrashed, before the call
};

constexpr int kCrashed = 77;

// Arms the fault: call number n (from 1) of the given kinds. One fault at a time.
void arm_fault(Fault fault, uint32_t calls, int n, int error = EIO);
// Disarms, and says whether the fault took place.
bool disarm_fault();

// Runs `operation` with its first, second, third … call failing, until it runs without a failure.
// Returns how many calls were made to fail.
template <typename Operation>
int for_each_fault(Fault fault, uint32_t calls, int error, Operation operation) {
    for (int n = 1;; n++) {
        arm_fault(fault, calls, n, error);
        operation();
        if (!disarm_fault()) {
            return n - 1;
        }
    }
}

// Runs `operation` in a child that ends before its first, second, third … call, and `check` in
// the parent after each. Returns how many stops were tried.
template <typename Operation, typename Check>
int for_each_crash(uint32_t calls, Operation operation, Check check) {
    for (int n = 1;; n++) {
        pid_t child = fork();
        if (child == 0) {
            arm_fault(Fault::kCrash, calls, n);
            operation();
            _exit(0);
        }
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        check(n);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != kCrashed) {
            return n - 1;
        }
    }
}

}  // namespace hearth::test
