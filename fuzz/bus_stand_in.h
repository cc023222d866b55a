// What the targets of the bus client put in place of the outer world: the connection is one end of
// a socket pair; threads, the timer and pauses are left out, so that all happens on this thread.
#pragma once

#include <stdint.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "hearth/notify.h"
#include "hearth/osa_timer.h"

namespace hearth::fuzz {

inline int g_library_end = -1;
inline int g_server_end = -1;
inline volatile unsigned g_sink;

inline void connect_library() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
        abort();
    }
    g_library_end = ends[0];
    g_server_end = ends[1];
    if (init_notify() != 0) {
        abort();
    }
}

// Looks at all that is sent. Returns its length.
inline ssize_t read_pieces(const msghdr *message) {
    ssize_t total = 0;
    for (size_t i = 0; i < message->msg_iovlen; i++) {
        const iovec &piece = message->msg_iov[i];
        g_sink = static_cast<const uint8_t *>(piece.iov_base)[piece.iov_len - 1];
        total += static_cast<ssize_t>(piece.iov_len);
    }
    return total;
}

}  // namespace hearth::fuzz

extern "C" {

int socket(int, int, int) noexcept {
    return hearth::fuzz::g_library_end;
}

int bind(int, const sockaddr *, socklen_t) noexcept {
    return 0;
}

int connect(int, const sockaddr *, socklen_t) {
    return 0;
}

int usleep(useconds_t) {
    return 0;
}

unsigned long osa_pthread_create(const char *, int32_t, int32_t, void *(*)(void *), void *) {
    return 1;
}

int32_t pool_init(int32_t) {
    return -1;
}

osa_timer_t *osa_timer_create_ex(uint32_t, uint32_t, void (*)(void *), void *) {
    return nullptr;
}

// The frame of an answer that nobody waits for is lost by design.
const char *__lsan_default_suppressions() {
    return "leak:recv_msg";
}

}  // extern "C"
