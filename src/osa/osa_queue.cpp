#include "hearth/osa_queue.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include <algorithm>

#include "base/bytes.h"

namespace {

constexpr const char *kKeyPath = "/var/run";
constexpr uint32_t kMaxMessages = 1000;
constexpr uint32_t kMaxMessageSize = 8192;
constexpr uint64_t kMaxQueueBytes = 16384;
constexpr int32_t kPollMs = 10;
constexpr int32_t kForever = -1;
constexpr uint32_t kTypeSize = sizeof(int32_t);
constexpr int kCreateFlags = IPC_CREAT | IPC_EXCL | 0660;
static_assert(kCreateFlags == 0x7b0);

// A message as the kernel has it. Its type is a long, so on 64-bit hosts the text of the caller's
// buffer cannot be handed over in place: each message passes through one of these.
struct KernelMessage {
    long type;
    char text[kMaxMessageSize];
};

int32_t get_queue(int32_t number, int flags) {
    key_t key = ftok(kKeyPath, number);
    return key == -1 ? -1 : msgget(key, flags);
}

void set_room(int32_t queue, uint32_t bytes) {
    msqid_ds state{};
    if (msgctl(queue, IPC_STAT, &state) < 0) {
        printf("Error!in osa_msgQ_create_msgctl_IPC_STAT. errno = %s\n", strerror(errno));
    }
    state.msg_qbytes = bytes;
    if (msgctl(queue, IPC_SET, &state) < 0) {
        printf("Error!in osa_msgQ_create_msgctl_IPC_SET. errno = %s\n", strerror(errno));
    }
}

int32_t send_message(int32_t queue, const void *message, uint32_t size, int flags) {
    KernelMessage kernel;
    if (message == nullptr || size < kTypeSize || size - kTypeSize > sizeof kernel.text) {
        errno = EINVAL;
        return 0;
    }
    uint32_t text_size = size - kTypeSize;
    kernel.type = hearth::load_native<int32_t>(message);
    memcpy(kernel.text, static_cast<const char *>(message) + kTypeSize, text_size);
    return msgsnd(queue, &kernel, text_size, flags) == 0 ? 1 : 0;
}

// One msgrcv; without MSG_NOERROR, so a message that is too long for the buffer is not taken.
int32_t take_message(int32_t queue, void *message, uint32_t size, int32_t type, int flags) {
    KernelMessage kernel;
    if (message == nullptr || size < kTypeSize) {
        errno = EINVAL;
        return -1;
    }
    size_t room = std::min<size_t>(size - kTypeSize, sizeof kernel.text);
    ssize_t got = msgrcv(queue, &kernel, room, type, flags);
    if (got < 0) {
        return -1;
    }
    hearth::store_native(message, static_cast<int32_t>(kernel.type));
    memcpy(static_cast<char *>(message) + kTypeSize, kernel.text, static_cast<size_t>(got));
    return static_cast<int32_t>(got);
}

// What the two receive functions differ in.
struct Receiver {
    const char *bad_queue_text;
    int32_t not_run_result;
    bool last_result_at_end;
};

constexpr Receiver kAnyType{"Error! in osa_msgQ_recv, msgqid < 0. errno = %s\n", 0, true};
constexpr Receiver kOneType{"Error! in osa_msgQex_recv, msgqid < 0. errno = %s\n", -1, false};

int32_t receive(const Receiver &receiver, int32_t queue, void *message, uint32_t size,
                int32_t timeout_ms, int32_t type) {
    if (timeout_ms == kForever || timeout_ms == 0) {
        return take_message(queue, message, size, type, timeout_ms == 0 ? IPC_NOWAIT : 0);
    }
    int32_t result = receiver.not_run_result;
    for (int32_t remaining = timeout_ms; remaining > 0;) {
        result = take_message(queue, message, size, type, IPC_NOWAIT);
        if (result > 0) {
            return result;
        }
        if (result == -1 && errno == EINTR) {
            continue;
        }
        if (result == -1 && queue < 0) {
            printf(receiver.bad_queue_text, strerror(errno));
            return -1;
        }
        usleep(kPollMs * 1000);
        remaining -= kPollMs;
    }
    return receiver.last_result_at_end ? result : -1;
}

}  // namespace

int32_t osa_msgQ_create(int32_t number, uint32_t max_messages, uint32_t max_size) {
    uint64_t room = static_cast<uint64_t>(max_messages) * max_size;
    if (max_messages > kMaxMessages || max_size > kMaxMessageSize || room > kMaxQueueBytes) {
        puts("Error! osa_msgQ_create parameter error.");
        return -1;
    }
    int32_t queue = get_queue(number, kCreateFlags);
    if (queue < 0) {
        printf("Error!create msg queue error nMsgQId = %d. errno = %s\n", queue, strerror(errno));
        return -1;
    }
    set_room(queue, static_cast<uint32_t>(room));
    return queue;
}

int32_t osa_msgQex_create(int32_t number, uint32_t max_messages, uint32_t max_size) {
    return osa_msgQ_create(number, max_messages, max_size);
}

int32_t osa_get_msgQ_id(int32_t number) {
    int32_t queue = get_queue(number, 0);
    return queue < 0 ? -1 : queue;
}

int32_t osa_msgQ_delete(int32_t queue) {
    return msgctl(queue, IPC_RMID, nullptr) == 0 ? 1 : 0;
}

int32_t osa_msgQex_delete(int32_t queue) {
    return osa_msgQ_delete(queue);
}

int32_t osa_msgQ_send(int32_t queue, const void *message, uint32_t size, int32_t /*unused*/) {
    return send_message(queue, message, size, 0);
}

int32_t osa_msgQex_send(int32_t queue, const void *message, uint32_t size, int32_t wait) {
    return send_message(queue, message, size, wait == 0 ? IPC_NOWAIT : 0);
}

int32_t osa_msgQ_recv(int32_t queue, void *message, uint32_t size, int32_t timeout_ms) {
    return receive(kAnyType, queue, message, size, timeout_ms, 0);
}

int32_t osa_msgQex_recv(int32_t queue, void *message, uint32_t size, int32_t timeout_ms,
                        int32_t type) {
    return receive(kOneType, queue, message, size, timeout_ms, type);
}

int32_t osa_msgQ_num(int32_t queue) {
    msqid_ds state{};
    if (msgctl(queue, IPC_STAT, &state) < 0) {
        return -1;
    }
    return static_cast<int32_t>(state.msg_qnum);
}

int32_t osa_msgQex_num(int32_t queue) {
    return osa_msgQ_num(queue);
}
