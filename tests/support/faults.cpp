#include "support/faults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/msg.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>

#include <atomic>

namespace hearth::test {

namespace {

std::atomic<bool> g_armed;
std::atomic<bool> g_fired;
std::atomic<int> g_left;
Fault g_fault;
uint32_t g_calls;
int g_error;
uintptr_t g_begin;
uintptr_t g_end;

int find_library(dl_phdr_info *info, size_t, void *) {
    if (info->dlpi_name == nullptr || strstr(info->dlpi_name, "libhearth.so") == nullptr) {
        return 0;
    }
    for (int i = 0; i < info->dlpi_phnum; i++) {
        const auto &header = info->dlpi_phdr[i];
        if (header.p_type == PT_LOAD && (header.p_flags & PF_X) != 0) {
            g_begin = info->dlpi_addr + header.p_vaddr;
            g_end = g_begin + header.p_memsz;
        }
    }
    return 1;
}

// What the armed fault makes of one call from `caller`.
enum class Verdict { kPass, kFail, kShort };

Verdict judge(uint32_t kind, const void *caller) {
    auto address = reinterpret_cast<uintptr_t>(caller);
    if (!g_armed.load(std::memory_order_relaxed) || (g_calls & kind) == 0 || address < g_begin ||
        address >= g_end || g_left.fetch_sub(1) != 1) {
        return Verdict::kPass;
    }
    g_fired = true;
    switch (g_fault) {
        case Fault::kCrash:
            _exit(kCrashed);
        case Fault::kShort:
            return Verdict::kShort;
        default:
            errno = g_error;
            return Verdict::kFail;
    }
}

// Allocations made while the real allocator is being looked up.
alignas(16) char g_early[65536];
std::atomic<size_t> g_early_used;

void *early(size_t size) {
    size_t at = g_early_used.fetch_add((size + 15) / 16 * 16);
    return at + size <= sizeof g_early ? g_early + at : nullptr;
}

bool is_early(const void *memory) {
    return memory >= g_early && memory < g_early + sizeof g_early;
}

thread_local bool g_looking_up __attribute__((tls_model("initial-exec")));

template <typename Function>
Function *next(const char *name, std::atomic<Function *> &known) {
    Function *function = known.load(std::memory_order_relaxed);
    if (function == nullptr && !g_looking_up) {
        g_looking_up = true;
        function = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
        g_looking_up = false;
        known = function;
    }
    return function;
}

}  // namespace

void arm_fault(Fault fault, uint32_t calls, int n, int error) {
    if (g_begin == 0) {
        dl_iterate_phdr(find_library, nullptr);
    }
    g_fault = fault;
    g_calls = calls;
    g_error = error;
    g_left = n;
    g_fired = false;
    g_armed = true;
}

bool disarm_fault() {
    g_armed = false;
    return g_fired;
}

}  // namespace hearth::test

using hearth::test::Verdict;

// REAL(name): the call behind this one.
#define REAL(name)                                                 \
    ([] {                                                          \
        static std::atomic<decltype(::name) *> known;              \
        return hearth::test::next<decltype(::name)>(#name, known); \
    }())

#define JUDGE(kind) hearth::test::judge(hearth::test::kind, __builtin_return_address(0))

// Weak, so that a test may have a stand-in of its own.
#define STAND_IN extern "C" __attribute__((weak, visibility("default")))

#pragma GCC diagnostic ignored "-Wattributes"
#pragma GCC diagnostic ignored "-Wignored-attributes"
#pragma GCC diagnostic ignored "-Wnonnull-compare"

STAND_IN void *malloc(size_t size) noexcept {
    auto *real = REAL(malloc);
    if (real == nullptr) {
        return hearth::test::early(size);
    }
    return JUDGE(kAllocations) == Verdict::kFail ? nullptr : real(size);
}

STAND_IN void *calloc(size_t count, size_t size) noexcept {
    auto *real = REAL(calloc);
    if (real == nullptr) {
        return hearth::test::early(count * size);
    }
    return JUDGE(kAllocations) == Verdict::kFail ? nullptr : real(count, size);
}

STAND_IN void *realloc(void *memory, size_t size) noexcept {
    auto *real = REAL(realloc);
    if (real == nullptr || hearth::test::is_early(memory)) {
        void *moved = malloc(size);
        if (moved != nullptr && memory != nullptr) {
            memcpy(moved, memory, size);
        }
        return moved;
    }
    return JUDGE(kAllocations) == Verdict::kFail ? nullptr : real(memory, size);
}

STAND_IN void free(void *memory) noexcept {
    auto *real = REAL(free);
    if (real != nullptr && !hearth::test::is_early(memory)) {
        real(memory);
    }
}

// Calls that fail or pass.
#define FAIL_OR_PASS(kind, result, name, failed, parameters, values, qualifier) \
    STAND_IN result name parameters qualifier {                                 \
        return JUDGE(kind) == Verdict::kFail ? failed : REAL(name) values;      \
    }

FAIL_OR_PASS(kAllocations, char *, strdup, nullptr, (const char *a), (a), noexcept)
FAIL_OR_PASS(kOpens, FILE *, fopen, nullptr, (const char *a, const char *b), (a, b), )
FAIL_OR_PASS(kOpens, DIR *, opendir, nullptr, (const char *a), (a), )
FAIL_OR_PASS(kReads, char *, fgets, nullptr, (char *a, int b, FILE *c), (a, b, c), )
FAIL_OR_PASS(kWrites, int, fputs, EOF, (const char *a, FILE *b), (a, b), )
FAIL_OR_PASS(kWrites, int, fflush, EOF, (FILE * a), (a), )
FAIL_OR_PASS(kWrites, int, ftruncate, -1, (int a, off_t b), (a, b), noexcept)
FAIL_OR_PASS(kWrites, int, fsync, -1, (int a), (a), )
FAIL_OR_PASS(kWrites, int, fdatasync, -1, (int a), (a), )
FAIL_OR_PASS(kWrites, ssize_t, writev, -1, (int a, const iovec *b, int c), (a, b, c), )
FAIL_OR_PASS(kNames, int, rename, -1, (const char *a, const char *b), (a, b), noexcept)
FAIL_OR_PASS(kNames, int, unlink, -1, (const char *a), (a), noexcept)
FAIL_OR_PASS(kNames, int, remove, -1, (const char *a), (a), noexcept)
FAIL_OR_PASS(kNames, int, rmdir, -1, (const char *a), (a), noexcept)
FAIL_OR_PASS(kNames, int, mkdir, -1, (const char *a, mode_t b), (a, b), noexcept)
FAIL_OR_PASS(kQueues, int, msgget, -1, (key_t a, int b), (a, b), noexcept)
FAIL_OR_PASS(kQueues, int, msgctl, -1, (int a, int b, msqid_ds *c), (a, b, c), noexcept)
FAIL_OR_PASS(kQueues, int, msgsnd, -1, (int a, const void *b, size_t c, int d), (a, b, c, d), )
FAIL_OR_PASS(kQueues, ssize_t, msgrcv, -1, (int a, void *b, size_t c, long d, int e),
             (a, b, c, d, e), )
FAIL_OR_PASS(kMaps, void *, mmap, MAP_FAILED, (void *a, size_t b, int c, int d, int e, off_t f),
             (a, b, c, d, e, f), noexcept)
FAIL_OR_PASS(kSockets, int, socket, -1, (int a, int b, int c), (a, b, c), noexcept)
FAIL_OR_PASS(kSockets, int, connect, -1, (int a, const sockaddr *b, socklen_t c), (a, b, c), )

STAND_IN int pthread_create(pthread_t *thread, const pthread_attr_t *attributes,
                            void *(*start)(void *), void *argument) noexcept {
    // Unlike the others, this one returns its error.
    return JUDGE(kThreads) == Verdict::kFail
               ? EAGAIN
               : REAL(pthread_create)(thread, attributes, start, argument);
}

STAND_IN int open(const char *path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    mode_t mode = (flags & O_CREAT) != 0 ? va_arg(values, mode_t) : 0;
    va_end(values);
    return JUDGE(kOpens) == Verdict::kFail ? -1 : REAL(open)(path, flags, mode);
}

// Transfers: these can also come back short.
#define TRANSFER(kind, name, parameters, size, values) \
    STAND_IN ssize_t name parameters {                 \
        switch (JUDGE(kind)) {                         \
            case Verdict::kFail:                       \
                return -1;                             \
            case Verdict::kShort:                      \
                size = size > 1 ? size / 2 : size;     \
                break;                                 \
            default:                                   \
                break;                                 \
        }                                              \
        return REAL(name) values;                      \
    }

TRANSFER(kReads, read, (int a, void *b, size_t c), c, (a, b, c))
TRANSFER(kReads, pread, (int a, void *b, size_t c, off_t d), c, (a, b, c, d))
TRANSFER(kReads, recv, (int a, void *b, size_t c, int d), c, (a, b, c, d))
TRANSFER(kWrites, write, (int a, const void *b, size_t c), c, (a, b, c))
TRANSFER(kWrites, pwrite, (int a, const void *b, size_t c, off_t d), c, (a, b, c, d))
TRANSFER(kWrites, send, (int a, const void *b, size_t c, int d), c, (a, b, c, d))

STAND_IN size_t fread(void *data, size_t size, size_t count, FILE *file) {
    Verdict verdict = JUDGE(kReads);
    if (verdict == Verdict::kFail) {
        return 0;
    }
    return REAL(fread)(data, size, verdict == Verdict::kShort ? count / 2 : count, file);
}

STAND_IN size_t fwrite(const void *data, size_t size, size_t count, FILE *file) {
    Verdict verdict = JUDGE(kWrites);
    if (verdict == Verdict::kFail) {
        return 0;
    }
    return REAL(fwrite)(data, size, verdict == Verdict::kShort ? count / 2 : count, file);
}
