#include "support/faults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdio_ext.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/msg.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>

namespace hearth::test {

namespace {

std::atomic<bool> g_armed;
std::atomic<bool> g_fired;
std::atomic<int> g_left;
Fault g_fault;
uint32_t g_calls;
int g_error;
const char *g_name = "";
bool g_all_callers;
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

// What can be done to a call besides letting it fail.
enum Trait : uint32_t {
    kPlain = 0,
    kSlow = 1,    // a signal may interrupt it
    kMoves = 2,   // moves data: may come back short, or be torn
    kStores = 4,  // writes out what was moved before: may be torn
};

// What the armed fault makes of one call.
enum class Verdict { kPass, kFail, kShort, kTorn };

bool can_befall(Fault fault, uint32_t traits) {
    switch (fault) {
        case Fault::kShort:
            return (traits & kMoves) != 0;
        case Fault::kInterrupt:
            return (traits & kSlow) != 0;
        default:
            return true;
    }
}

struct LikelyError {
    uint32_t kinds;
    int error;
};
constexpr LikelyError kLikelyErrors[] = {
    {kAllocations | kMaps | kMakers, ENOMEM},
    {kOpens, EMFILE},
    {kReads | kCloses | kLooks | kSeeks, EIO},
    {kWrites, ENOSPC},
    {kNames, EACCES},
    {kQueues | kWaits | kGives, EINVAL},
    {kThreads, EAGAIN},
    {kSockets, ENOBUFS},
};

int likely_error(uint32_t kind) {
    for (const LikelyError &row : kLikelyErrors) {
        if ((row.kinds & kind) != 0) {
            return row.error;
        }
    }
    return EIO;
}

Verdict judge(uint32_t kind, uint32_t traits, const char *name, const void *caller) {
    auto address = reinterpret_cast<uintptr_t>(caller);
    if (!g_armed.load(std::memory_order_relaxed) || (g_calls & kind) == 0 ||
        (!g_all_callers && (address < g_begin || address >= g_end)) ||
        !can_befall(g_fault, traits) || g_left.fetch_sub(1) != 1) {
        return Verdict::kPass;
    }
    g_fired = true;
    g_name = name;
    switch (g_fault) {
        case Fault::kTorn:
            if ((kind & (kWrites | kCloses)) != 0 && (traits & (kMoves | kStores)) != 0) {
                g_armed = false;
                return Verdict::kTorn;
            }
            _exit(kCrashed);
        case Fault::kCrash:
            _exit(kCrashed);
        case Fault::kShort:
            return Verdict::kShort;
        case Fault::kInterrupt:
            errno = EINTR;
            return Verdict::kFail;
        default:
            errno = g_error != 0 ? g_error : likely_error(kind);
            return Verdict::kFail;
    }
}

// All allocations of the process, the library's among them, and its mappings.
std::atomic<long> g_blocks;
std::atomic<long> g_mappings;

std::atomic<long> g_faults_tried;
std::atomic<long> g_stops_tried;

__attribute__((destructor)) void print_counts() {
    if (g_faults_tried != 0) {
        printf("%ld faults tried\n", g_faults_tried.load());
    }
    if (g_stops_tried != 0) {
        printf("%ld stops tried\n", g_stops_tried.load());
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

void hold_fault(bool held) {
    g_armed = !held;
}

const char *last_fault() {
    return g_name;
}

void watch_all_callers(bool all) {
    g_all_callers = all;
}

Holdings holdings() {
    constexpr int kDescriptors = 256;
    long others = g_mappings;
    for (int fd = 0; fd < kDescriptors; fd++) {
        others += fcntl(fd, F_GETFD) != -1;
    }
    return {g_blocks, others};
}

void count_faults(int faults) {
    g_faults_tried += faults;
}

void count_stops(int stops) {
    g_stops_tried += stops;
}

namespace {

bool from_library(const void *caller) {
    auto address = reinterpret_cast<uintptr_t>(caller);
    return address >= g_begin && address < g_end;
}

void *counted(void *memory) {
    g_blocks += memory != nullptr;
    return memory;
}

// A stream after a failure of the system below it.
void mark_failed(FILE *file) {
    file->_flags |= 0x20;  // what ferror looks at
}

// Half of what a stream holds back, as if the system had stopped in the middle of the write.
[[noreturn]] void tear(FILE *file) {
    auto held = static_cast<long>(__fpending(file));
    if (held > 1) {
        long place = ftell(file) - held;
        (void)!pwrite(fileno(file), file->_IO_write_base, static_cast<size_t>(held / 2), place);
    }
    _exit(kCrashed);
}

}  // namespace

}  // namespace hearth::test

using hearth::test::kMoves;
using hearth::test::kPlain;
using hearth::test::kSlow;
using hearth::test::kStores;
using hearth::test::Verdict;

// REAL(name): the call behind this one.
#define REAL(name)                                                 \
    ([] {                                                          \
        static std::atomic<decltype(::name) *> known;              \
        return hearth::test::next<decltype(::name)>(#name, known); \
    }())

#define JUDGE(kind, traits, name) \
    hearth::test::judge(hearth::test::kind, traits, #name, __builtin_return_address(0))

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
    return JUDGE(kAllocations, kPlain, malloc) == Verdict::kFail
               ? nullptr
               : hearth::test::counted(real(size));
}

STAND_IN void *calloc(size_t count, size_t size) noexcept {
    auto *real = REAL(calloc);
    if (real == nullptr) {
        return hearth::test::early(count * size);
    }
    return JUDGE(kAllocations, kPlain, calloc) == Verdict::kFail
               ? nullptr
               : hearth::test::counted(real(count, size));
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
    if (JUDGE(kAllocations, kPlain, realloc) == Verdict::kFail) {
        return nullptr;
    }
    void *moved = real(memory, size);
    if (memory == nullptr) {
        hearth::test::counted(moved);
    } else if (size == 0 && moved == nullptr) {
        hearth::test::g_blocks--;
    }
    return moved;
}

STAND_IN void free(void *memory) noexcept {
    auto *real = REAL(free);
    if (real != nullptr && memory != nullptr && !hearth::test::is_early(memory)) {
        hearth::test::g_blocks--;
        real(memory);
    }
}

// Of its own, so that its block is counted as what free is given.
STAND_IN char *strdup(const char *text) noexcept {
    if (JUDGE(kAllocations, kPlain, strdup) == Verdict::kFail) {
        return nullptr;
    }
    size_t size = strlen(text) + 1;
    void *copy = malloc(size);
    return copy == nullptr ? nullptr : static_cast<char *>(memcpy(copy, text, size));
}

// Calls that fail or pass: the group, what else can befall them, the result of a failure.
#define FAIL_OR_PASS(kind, traits, result, name, failed, parameters, values, qualifier)  \
    STAND_IN result name parameters qualifier {                                          \
        return JUDGE(kind, traits, name) == Verdict::kFail ? failed : REAL(name) values; \
    }

FAIL_OR_PASS(kOpens, kPlain, FILE *, fopen, nullptr, (const char *a, const char *b), (a, b), )
FAIL_OR_PASS(kOpens, kPlain, DIR *, opendir, nullptr, (const char *a), (a), )
FAIL_OR_PASS(kWrites, kPlain, int, ftruncate, -1, (int a, off_t b), (a, b), noexcept)
FAIL_OR_PASS(kWrites, kPlain, int, fsync, -1, (int a), (a), )
FAIL_OR_PASS(kWrites, kPlain, int, fdatasync, -1, (int a), (a), )
FAIL_OR_PASS(kNames, kPlain, int, rename, -1, (const char *a, const char *b), (a, b), noexcept)
FAIL_OR_PASS(kNames, kPlain, int, unlink, -1, (const char *a), (a), noexcept)
FAIL_OR_PASS(kNames, kPlain, int, remove, -1, (const char *a), (a), noexcept)
FAIL_OR_PASS(kNames, kPlain, int, rmdir, -1, (const char *a), (a), noexcept)
FAIL_OR_PASS(kNames, kPlain, int, mkdir, -1, (const char *a, mode_t b), (a, b), noexcept)
FAIL_OR_PASS(kNames, kPlain, int, symlink, -1, (const char *a, const char *b), (a, b), noexcept)
FAIL_OR_PASS(kNames, kPlain, int, chdir, -1, (const char *a), (a), noexcept)
FAIL_OR_PASS(kQueues, kPlain, int, msgget, -1, (key_t a, int b), (a, b), noexcept)
FAIL_OR_PASS(kQueues, kPlain, int, msgctl, -1, (int a, int b, msqid_ds *c), (a, b, c), noexcept)
FAIL_OR_PASS(kQueues, kSlow, int, msgsnd, -1, (int a, const void *b, size_t c, int d),
             (a, b, c, d), )
FAIL_OR_PASS(kQueues, kSlow, ssize_t, msgrcv, -1, (int a, void *b, size_t c, long d, int e),
             (a, b, c, d, e), )
FAIL_OR_PASS(kQueues, kPlain, key_t, ftok, -1, (const char *a, int b), (a, b), noexcept)
FAIL_OR_PASS(kSockets, kPlain, int, socket, -1, (int a, int b, int c), (a, b, c), noexcept)
FAIL_OR_PASS(kSockets, kPlain, int, bind, -1, (int a, const sockaddr *b, socklen_t c), (a, b, c),
             noexcept)
FAIL_OR_PASS(kSockets, kSlow, int, connect, -1, (int a, const sockaddr *b, socklen_t c),
             (a, b, c), )
FAIL_OR_PASS(kSeeks, kPlain, int, fseek, -1, (FILE * a, long b, int c), (a, b, c), )
FAIL_OR_PASS(kSeeks, kPlain, long, ftell, -1, (FILE * a), (a), )
FAIL_OR_PASS(kSeeks, kPlain, off_t, lseek, -1, (int a, off_t b, int c), (a, b, c), noexcept)
FAIL_OR_PASS(kLooks, kPlain, int, stat, -1, (const char *a, struct stat *b), (a, b), noexcept)
FAIL_OR_PASS(kLooks, kPlain, int, fstat, -1, (int a, struct stat *b), (a, b), noexcept)
FAIL_OR_PASS(kLooks, kPlain, int, statfs, -1, (const char *a, struct statfs *b), (a, b), noexcept)
FAIL_OR_PASS(kLooks, kPlain, dirent *, readdir, nullptr, (DIR * a), (a), )
FAIL_OR_PASS(kWaits, kSlow, int, select, -1, (int a, fd_set *b, fd_set *c, fd_set *d, timeval *e),
             (a, b, c, d, e), )
FAIL_OR_PASS(kWaits, kSlow, int, flock, -1, (int a, int b), (a, b), noexcept)
FAIL_OR_PASS(kWaits, kSlow, int, sem_wait, -1, (sem_t * a), (a), )
FAIL_OR_PASS(kGives, kPlain, int, sem_post, -1, (sem_t * a), (a), noexcept)
FAIL_OR_PASS(kWaits, kPlain, int, kill, -1, (pid_t a, int b), (a, b), noexcept)
FAIL_OR_PASS(kMakers, kPlain, int, sem_init, -1, (sem_t * a, int b, unsigned c), (a, b, c),
             noexcept)
// These return their error.
FAIL_OR_PASS(kThreads, kPlain, int, pthread_create, EAGAIN,
             (pthread_t * a, const pthread_attr_t *b, void *(*c)(void *), void *d), (a, b, c, d),
             noexcept)
FAIL_OR_PASS(kMakers, kPlain, int, pthread_attr_init, ENOMEM, (pthread_attr_t * a), (a), noexcept)
FAIL_OR_PASS(kMakers, kPlain, int, pthread_attr_setstacksize, EINVAL,
             (pthread_attr_t * a, size_t b), (a, b), noexcept)
FAIL_OR_PASS(kMakers, kPlain, int, pthread_attr_setdetachstate, EINVAL, (pthread_attr_t * a, int b),
             (a, b), noexcept)
FAIL_OR_PASS(kMakers, kPlain, int, pthread_cond_init, ENOMEM,
             (pthread_cond_t * a, const pthread_condattr_t *b), (a, b), noexcept)

STAND_IN int open(const char *path, int flags, ...) {
    va_list values;
    va_start(values, flags);
    mode_t mode = (flags & O_CREAT) != 0 ? va_arg(values, mode_t) : 0;
    va_end(values);
    return JUDGE(kOpens, kSlow, open) == Verdict::kFail ? -1 : REAL(open)(path, flags, mode);
}

STAND_IN long syscall(long number, ...) noexcept {
    va_list values;
    va_start(values, number);
    long a[6];
    for (long &value : a) {
        value = va_arg(values, long);
    }
    va_end(values);
    // The thread's own id is always told.
    return number != SYS_gettid && JUDGE(kWaits, kSlow, syscall) == Verdict::kFail
               ? -1
               : REAL(syscall)(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

STAND_IN void *mmap(void *a, size_t b, int c, int d, int e, off_t f) noexcept {
    if (JUDGE(kMaps, kPlain, mmap) == Verdict::kFail) {
        return MAP_FAILED;
    }
    void *memory = REAL(mmap)(a, b, c, d, e, f);
    hearth::test::g_mappings +=
        memory != MAP_FAILED && hearth::test::from_library(__builtin_return_address(0));
    return memory;
}

STAND_IN int munmap(void *memory, size_t size) noexcept {
    hearth::test::g_mappings -= hearth::test::from_library(__builtin_return_address(0));
    return REAL(munmap)(memory, size);
}

// A close that fails has closed all the same; what a stream held back is lost.
#define CLOSES(traits, name, failed, parameters, value, lose, torn) \
    STAND_IN int name parameters {                                  \
        Verdict verdict = JUDGE(kCloses, traits, name);             \
        if (verdict == Verdict::kTorn) {                            \
            torn;                                                   \
        }                                                           \
        if (verdict == Verdict::kFail) {                            \
            int error = errno;                                      \
            lose;                                                   \
            REAL(name)(value);                                      \
            errno = error;                                          \
            return failed;                                          \
        }                                                           \
        return REAL(name)(value);                                   \
    }

CLOSES(kSlow, close, -1, (int a), a, , )
CLOSES(kPlain, closedir, -1, (DIR * a), a, , )
CLOSES(kSlow | kStores, fclose, EOF, (FILE * a), a, __fpurge(a), hearth::test::tear(a))

// Transfers on descriptors.
#define TRANSFER(kind, name, parameters, size, values)       \
    STAND_IN ssize_t name parameters {                       \
        Verdict verdict = JUDGE(kind, kMoves | kSlow, name); \
        if (verdict == Verdict::kFail) {                     \
            return -1;                                       \
        }                                                    \
        if (verdict != Verdict::kPass) {                     \
            size = size > 1 ? size / 2 : size;               \
        }                                                    \
        ssize_t done = REAL(name) values;                    \
        if (verdict == Verdict::kTorn) {                     \
            _exit(hearth::test::kCrashed);                   \
        }                                                    \
        return done;                                         \
    }

TRANSFER(kReads, read, (int a, void *b, size_t c), c, (a, b, c))
TRANSFER(kReads, pread, (int a, void *b, size_t c, off_t d), c, (a, b, c, d))
TRANSFER(kWrites, write, (int a, const void *b, size_t c), c, (a, b, c))
TRANSFER(kWrites, pwrite, (int a, const void *b, size_t c, off_t d), c, (a, b, c, d))
TRANSFER(kWrites, send, (int a, const void *b, size_t c, int d), c, (a, b, c, d))

// A receive that fails has met the end of the connection. Nothing interrupts it: the thread that
// receives has all signals blocked.
STAND_IN ssize_t recv(int fd, void *data, size_t size, int flags) {
    Verdict verdict = JUDGE(kReads, kMoves, recv);
    if (verdict == Verdict::kFail) {
        shutdown(fd, SHUT_RDWR);
        errno = ECONNRESET;
        return -1;
    }
    return REAL(recv)(fd, data, verdict == Verdict::kPass || size < 2 ? size : size / 2, flags);
}

// Half of a vector is half of its first part.
STAND_IN ssize_t writev(int fd, const iovec *parts, int count) {
    Verdict verdict = JUDGE(kWrites, kMoves | kSlow, writev);
    if (verdict == Verdict::kFail) {
        return -1;
    }
    iovec half{parts->iov_base, parts->iov_len / 2};
    bool whole = verdict == Verdict::kPass;
    ssize_t done = REAL(writev)(fd, whole ? parts : &half, whole ? count : 1);
    if (verdict == Verdict::kTorn) {
        _exit(hearth::test::kCrashed);
    }
    return done;
}

STAND_IN ssize_t sendmsg(int fd, const msghdr *message, int flags) {
    Verdict verdict = JUDGE(kWrites, kMoves | kSlow, sendmsg);
    if (verdict == Verdict::kFail) {
        return -1;
    }
    msghdr copy = *message;
    iovec half = *message->msg_iov;
    if (verdict != Verdict::kPass) {
        half.iov_len = half.iov_len > 1 ? half.iov_len / 2 : half.iov_len;
        copy.msg_iov = &half;
        copy.msg_iovlen = 1;
    }
    ssize_t done = REAL(sendmsg)(fd, &copy, flags);
    if (verdict == Verdict::kTorn) {
        _exit(hearth::test::kCrashed);
    }
    return done;
}

// Calls on streams.
#define STREAM(kind, traits, result, name, failed, parameters, values, file) \
    STAND_IN result name parameters {                                        \
        Verdict verdict = JUDGE(kind, traits, name);                         \
        if (verdict == Verdict::kTorn) {                                     \
            hearth::test::tear(file);                                        \
        }                                                                    \
        if (verdict == Verdict::kFail) {                                     \
            hearth::test::mark_failed(file);                                 \
            return failed;                                                   \
        }                                                                    \
        return REAL(name) values;                                            \
    }

STREAM(kReads, kSlow, char *, fgets, nullptr, (char *a, int b, FILE *c), (a, b, c), c)
STREAM(kReads, kSlow, int, fgetc, EOF, (FILE * a), (a), a)
STREAM(kWrites, kSlow, int, fputs, EOF, (const char *a, FILE *b), (a, b), b)
STREAM(kWrites, kSlow, int, fputc, EOF, (int a, FILE *b), (a, b), b)
STREAM(kWrites, kSlow, int, vfprintf, -1, (FILE * a, const char *b, va_list c), (a, b, c), a)
STREAM(kWrites, kSlow | kStores, int, fflush, EOF, (FILE * a), (a), a)

// A stream that comes back short has met an error, or, reading, the end: here always the error.
#define STREAM_TRANSFER(kind, name, type)                                                          \
    STAND_IN size_t name(type data, size_t size, size_t count, FILE *file) {                       \
        Verdict verdict = JUDGE(kind, kMoves | kSlow, name);                                       \
        if (verdict == Verdict::kPass) {                                                           \
            return REAL(name)(data, size, count, file);                                            \
        }                                                                                          \
        size_t done = verdict == Verdict::kFail ? 0 : REAL(name)(data, 1, size * count / 2, file); \
        if (verdict == Verdict::kTorn) {                                                           \
            hearth::test::tear(file);                                                              \
        }                                                                                          \
        hearth::test::mark_failed(file);                                                           \
        return size == 0 ? 0 : done / size;                                                        \
    }

STREAM_TRANSFER(kReads, fread, void *)
STREAM_TRANSFER(kWrites, fwrite, const void *)
