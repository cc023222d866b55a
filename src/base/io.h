// Whole reads and writes on descriptors, and time spans on the monotonic clock.
#pragma once

#include <errno.h>
#include <stdint.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

namespace hearth {

// Writes all of `size` bytes, however many calls that takes. False with errno set on failure.
inline bool write_all(int fd, const void *data, size_t size) {
    const char *next = static_cast<const char *>(data);
    while (size > 0) {
        ssize_t written = write(fd, next, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        next += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

// Calls `transfer(next, left, done)`, a read of `left` bytes to `next`, until `size` bytes are
// there or there are no more. Returns the bytes read, -1 with errno set on failure.
template <typename Transfer>
ssize_t read_with(void *data, size_t size, Transfer transfer) {
    size_t done = 0;
    while (done < size) {
        ssize_t got = transfer(static_cast<char *>(data) + done, size - done, done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return -1;
        }
        if (got == 0) {
            break;
        }
        done += static_cast<size_t>(got);
    }
    return static_cast<ssize_t>(done);
}

// Reads until `size` bytes are there or the file ends. Returns the bytes read, -1 with errno set
// on failure.
inline ssize_t read_all(int fd, void *data, size_t size) {
    return read_with(data, size,
                     [fd](char *next, size_t left, size_t) { return read(fd, next, left); });
}

// The same from a position of the file on.
inline ssize_t pread_all(int fd, void *data, size_t size, off_t from) {
    return read_with(data, size, [fd, from](char *next, size_t left, size_t done) {
        return pread(fd, next, left, from + static_cast<off_t>(done));
    });
}

// Milliseconds on the monotonic clock.
inline int64_t monotonic_ms() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

}  // namespace hearth
