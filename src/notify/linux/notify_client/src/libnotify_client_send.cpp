// Sending: frames, synchronous calls and posts.

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>

#include "base/guard.h"
#include "base/log.h"
#include "hearth/notify_recv.h"
#include "hearth/threadpool.h"
#include "libnotify_client.h"

namespace hearth::notify {

pthread_mutex_t lock_send = PTHREAD_MUTEX_INITIALIZER;

}  // namespace hearth::notify

namespace {

using namespace hearth::notify;

constexpr hearth::LogSource kLogSource{"notify_client",
                                       "notify/linux/notify_client/src/libnotify_client"};

constexpr uint32_t kKinds = MSG_ACK + 1;

struct KindTags {
    uint32_t sync_tag;
    uint32_t ack_tag;
};

// By en_msg_type; an invalid type goes out like MSG_ASYN, without a body.
constexpr KindTags kKindTags[kKinds + 1] = {
    {NOTIFY_ONE_WAY, NOTIFY_PLAIN}, {NOTIFY_CALL, NOTIFY_PLAIN},    {NOTIFY_ONE_WAY, NOTIFY_PLAIN},
    {NOTIFY_CALL, NOTIFY_ANSWER},   {NOTIFY_ONE_WAY, NOTIFY_PLAIN},
};

std::atomic<uint32_t> g_send_seq_num;  // written under lock_seq_num
pthread_mutex_t lock_seq_num = PTHREAD_MUTEX_INITIALIZER;

// The pieces of a frame: the header and up to two parts of the body.
struct Pieces {
    iovec vector[3];
    size_t count = 0;

    void add(const void *bytes, size_t size) {
        if (bytes != nullptr && size != 0) {
            vector[count++] = {const_cast<void *>(bytes), size};
        }
    }
};

const void *at_address(uintptr_t address) {
    return reinterpret_cast<const void *>(address);
}

uint32_t take_seq_num() {
    hearth::MutexLock lock(lock_seq_num);
    uint32_t taken = peek(g_send_seq_num);
    put(g_send_seq_num, taken + 1);
    return taken;
}

void fill_header(const send_msg_param &request, msg_header *header) {
    const KindTags &tags = kKindTags[std::min(request.type, kKinds)];
    *header = {};
    header->msg_id = request.msg_id;
    header->seq_num = take_seq_num();
    header->src_mid = peek(g_my_mid);
    header->des_mid = request.des_mid;
    header->sync_tag = tags.sync_tag;
    header->ack_tag = tags.ack_tag;
    header->ret_val = request.ret;
    header->ex_flag = request.flag;
    switch (request.type) {
        case MSG_ASYN:
            // Counted however the pointers stand: required.
            header->data1_len = request.len1;
            header->data2_len = request.len2;
            header->data_len = request.len1 + request.len2;
            break;
        case MSG_SYNC:
            header->data_len = request.data1 != 0 ? request.len1 : 0;
            header->ack_len = request.data2 != 0 ? request.len2 : 0;
            break;
        case MSG_REGISTER:
            header->msg_id = 0;
            header->des_mid = NOTIFY_MID_SERVER;
            header->src_mid = *static_cast<const uint32_t *>(at_address(request.data1));
            break;
        case MSG_ACK:
            header->data_len = request.data2 != 0 ? request.len2 : 0;
            if (request.data1 != 0) {
                header->seq_num =
                    static_cast<const msg_header *>(at_address(request.data1))->seq_num;
            }
            break;
        default:
            HEARTH_LOG(OSA_LOG_ERROR, "send_msgex-->>exit !en_msg_type is invalide!\n");
            break;
    }
}

Pieces gather(const send_msg_param &request, const msg_header &header) {
    Pieces pieces;
    pieces.add(&header, sizeof header);
    if (request.type == MSG_ASYN) {
        pieces.add(at_address(request.data1), request.len1);
        pieces.add(at_address(request.data2), request.len2);
    } else {
        pieces.add(at_address(request.type == MSG_ACK ? request.data2 : request.data1),
                   header.data_len);
    }
    return pieces;
}

// Sends the pieces whole, however often the socket takes only some or a signal comes. Returns
// the bytes sent; fewer than all means failure, with errno set.
size_t send_whole(int fd, Pieces *pieces) {
    msghdr message{};
    message.msg_iov = pieces->vector;
    message.msg_iovlen = static_cast<decltype(message.msg_iovlen)>(pieces->count);
    size_t total = 0;
    while (message.msg_iovlen > 0) {
        ssize_t sent = sendmsg(fd, &message, 0);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            break;
        }
        total += static_cast<size_t>(sent);
        size_t left = static_cast<size_t>(sent);
        while (message.msg_iovlen > 0 && left >= message.msg_iov->iov_len) {
            left -= message.msg_iov->iov_len;
            message.msg_iov++;
            message.msg_iovlen--;
        }
        if (message.msg_iovlen > 0) {
            message.msg_iov->iov_base = static_cast<uint8_t *>(message.msg_iov->iov_base) + left;
            message.msg_iov->iov_len -= left;
        }
    }
    return total;
}

// The answer of a module into the caller's buffer; frees the node.
int32_t collect_answer(ack_node *node, void *out, uint32_t out_len) {
    const msg_header *frame = node->message;
    int32_t result = NOTIFY_NO_ANSWER;
    if (frame != nullptr && frame->ack_tag == NOTIFY_ANSWER) {
        uint32_t size = std::min(frame->data_len, out_len);
        if (size != 0 && out != nullptr) {
            memcpy(out, frame + 1, size);
        }
        result = frame->ret_val;
    } else {
        HEARTH_LOG(OSA_LOG_INFO, "send_notify-->>recv msg  is NULL return ! \n");
    }
    free_list_node(node);
    return result;
}

// Sleeps until the answer is filed, the time runs out or the destination is dead; lock_wait is
// held at both ends. Returns the number, or -1 for a dead destination.
int32_t wait_for_answer(uint32_t mid, int32_t seq_num, const send_seq_num *entry) {
    uint32_t key = static_cast<uint32_t>(seq_num);
    bool sleeps = false;
    while (!find_node_for_seq(key) && !send_seq_num_is_timeout(entry)) {
        if (sleeps || !wait_awake()) {
            pthread_cond_wait(&ack_data, &lock_wait);
        }
        sleeps = true;
        if (peek(g_des_mod_online[mid]) == -1) {
            remove_timer_list(key);
            HEARTH_LOG(OSA_LOG_ERROR,
                       "send_sync_msg-->>exit seq_num= %d, des module=%d  is dead, return  \n",
                       seq_num, mid);
            return -1;
        }
    }
    remove_timer_list(key);
    return seq_num;
}

// Gives a job its record; the record goes with the job, or not at all.
int32_t post_locally(pool_job_function job, local_post *record) {
    if (pool_add_worker(job, record) != 0) {
        free(record);
        return -1;
    }
    return 0;
}

int32_t post_to_handler(uint32_t mid, uint32_t msg_id, uint32_t arg1, uint32_t arg2) {
    local_post *record = static_cast<local_post *>(malloc(sizeof(local_post)));
    if (record == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "post_notify_ex-->> malloc  error retrun \n");
        return -1;
    }
    *record = {mid, msg_id, 0, 0, arg1, arg2};
    return post_locally(handle_asy_callback, record);
}

int32_t post_copies_to_handler(uint32_t mid, uint32_t msg_id, const void *data1, const void *data2,
                               uint32_t len1, uint32_t len2) {
    size_t size = sizeof(local_post) + 1;
    local_post *record = nullptr;
    if (!__builtin_add_overflow(size, len1, &size) && !__builtin_add_overflow(size, len2, &size)) {
        record = static_cast<local_post *>(calloc(1, size));
    }
    if (record == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "post_notify_ex-->> malloc  error retrun \n");
        return -1;
    }
    uint8_t *copies = reinterpret_cast<uint8_t *>(record + 1);
    *record = {mid, msg_id, len1, len2, 0, 0};
    if (data1 != nullptr) {
        record->arg1 = reinterpret_cast<uintptr_t>(memcpy(copies, data1, len1));
    }
    if (data2 != nullptr) {
        record->arg2 = reinterpret_cast<uintptr_t>(memcpy(copies + len1, data2, len2));
    }
    return post_locally(handle_asy_cb, record);
}

// The checks that all posts to one module begin with.
bool may_post(uint32_t mid) {
    if (!is_registered()) {
        HEARTH_LOG(OSA_LOG_ERROR, "post_notify-->>g_sock_fd= %d , g_has_registed= %d \n",
                   peek(g_sock_fd), peek(g_has_registed));
        return false;
    }
    if (!is_valid_mid(mid)) {
        HEARTH_LOG(OSA_LOG_ERROR, "post_notify-->>mid is wrong retrun\n");
        return false;
    }
    return true;
}

int32_t send_post(uint32_t mid, uint32_t msg_id, const void *data1, const void *data2,
                  uint32_t len1, uint32_t len2, uint32_t flag) {
    send_msg_param request{MSG_ASYN,
                           mid,
                           msg_id,
                           reinterpret_cast<uintptr_t>(data1),
                           reinterpret_cast<uintptr_t>(data2),
                           len1,
                           len2,
                           -1,
                           flag};
    return send_msgex(&request) == -1 ? -1 : 0;
}

}  // namespace

namespace hearth::notify {

uint32_t next_seq_num() {
    return peek(g_send_seq_num);
}

int32_t send_msgex(const send_msg_param *request) {
    if (request == nullptr) {
        return -1;
    }
    uint32_t both = 0;
    if (request->type == MSG_ASYN && __builtin_add_overflow(request->len1, request->len2, &both)) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_msgex-->>exit! send() msg_data return  errno= %s\n",
                   strerror(EMSGSIZE));
        return -1;
    }
    msg_header header;
    fill_header(*request, &header);
    Pieces pieces = gather(*request, header);
    size_t total = 0;
    for (size_t i = 0; i < pieces.count; i++) {
        total += pieces.vector[i].iov_len;
    }
    size_t sent = 0;
    int error = 0;
    {
        MutexLock lock(lock_send);
        sent = send_whole(peek(g_sock_fd), &pieces);
        error = errno;
    }
    if (sent < sizeof header) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_msgex-->>exit !send() msg_heaer return  errno= %s\n",
                   strerror(error));
        return -1;
    }
    if (sent < total) {
        // The server is left with a part of the frame: required.
        HEARTH_LOG(OSA_LOG_ERROR, "send_msgex-->>exit! send() msg_data return  errno= %s\n",
                   strerror(error));
        return -1;
    }
    return static_cast<int32_t>(header.seq_num);
}

int32_t send_registration(uint32_t mid) {
    send_msg_param request{};
    request.type = MSG_REGISTER;
    request.data1 = reinterpret_cast<uintptr_t>(&mid);
    request.ret = -1;
    return send_msgex(&request);
}

int32_t send_sync_msg_ex(uint32_t mid, uint32_t msg_id, const void *in, const void *out,
                         uint32_t in_len, uint32_t out_len, int32_t timeout) {
    if (!is_registered()) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_sync_msg-->>g_sock_fd=%d , g_has_registed=%d \n",
                   peek(g_sock_fd), peek(g_has_registed));
        return -1;
    }
    if (!is_valid_mid(mid)) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_sync_msg-->>mid is wrong\n");
        return -1;
    }
    send_msg_param request{MSG_SYNC,
                           mid,
                           msg_id,
                           reinterpret_cast<uintptr_t>(in),
                           reinterpret_cast<uintptr_t>(out),
                           in_len,
                           out_len,
                           -1,
                           0};
    send_seq_num *entry = nullptr;
    {
        MutexLock lock(lock_wait);
        // The number that the frame will get, unless a post or an answer takes it first. Then
        // the answer is not recognised and the call runs into its limit: required.
        int32_t expected = static_cast<int32_t>(next_seq_num());
        entry = add_new_timeout_node(expected, timeout);
        if (entry == nullptr) {
            HEARTH_LOG(OSA_LOG_FATAL,
                       "[send_sync_msg_ex][add_new_timeout_node]return NULL seq_num= %d! \n",
                       expected);
            return -1;
        }
        int32_t seq_num = send_msgex(&request);
        if (seq_num != -1) {
            put(g_des_mod_online[mid], seq_num);
            int32_t result = wait_for_answer(mid, seq_num, entry);
            release_timeout_node(entry);
            return result;
        }
    }
    // The counter has moved on, so the entry stays in the list: required.
    remove_timer_list(next_seq_num());
    release_timeout_node(entry);
    HEARTH_LOG(OSA_LOG_ERROR, "send_sync_msg-->>send_msgex return -1 exit!\n");
    return -1;
}

}  // namespace hearth::notify

extern "C" HEARTH_API int32_t send_notify_ex(uint32_t mid, uint32_t msg_id, void *in, void *out,
                                             uint32_t in_len, uint32_t out_len, int32_t timeout) {
    int32_t seq_num = send_sync_msg_ex(mid, msg_id, in, out, in_len, out_len, timeout);
    if (seq_num == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_notify-->>send_sync_msg retrun err\n");
        return -1;
    }
    ack_node *node = removed_node_from_list(static_cast<uint32_t>(seq_num));
    if (node == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_notify-->>removed_node_from_list retrun NULL\n");
        return -1;
    }
    return collect_answer(node, out, out_len);
}

extern "C" HEARTH_API int32_t send_notify(uint32_t mid, uint32_t msg_id, void *in, void *out,
                                          uint32_t in_len, uint32_t out_len) {
    if (is_valid_mid(mid)) {
        notify_sync_handler handler = notify_sync_handlers[mid].load(std::memory_order_acquire);
        if (handler != nullptr) {
            HEARTH_LOG(OSA_LOG_INFO, "send_sync_msg-->> found notify_sync_handlers[%d]\n", mid);
            return static_cast<int32_t>(handler(msg_id, in, out));
        }
    }
    return send_notify_ex(mid, msg_id, in, out, in_len, out_len, kSyncLimitSeconds);
}

extern "C" HEARTH_API int32_t post_notify(uint32_t mid, uint32_t msg_id, uint32_t arg1,
                                          uint32_t arg2) {
    if (!may_post(mid)) {
        return -1;
    }
    if (notify_asyn_handlers[mid].load(std::memory_order_acquire) != nullptr) {
        return post_to_handler(mid, msg_id, arg1, arg2);
    }
    int32_t result = send_post(mid, msg_id, &arg1, &arg2, sizeof arg1, sizeof arg2, 0);
    if (result == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "post_notify-->>send_msgex return -1 exit!\n");
    }
    return result;
}

extern "C" HEARTH_API int32_t post_notify_ex(uint32_t mid, uint32_t msg_id, const void *data1,
                                             const void *data2, uint32_t len1, uint32_t len2) {
    if (!may_post(mid)) {
        return -1;
    }
    if (notify_asyn_handlers[mid].load(std::memory_order_acquire) != nullptr) {
        return post_copies_to_handler(mid, msg_id, data1, data2, len1, len2);
    }
    return send_post(mid, msg_id, data1, data2, len1, len2, 1);
}

extern "C" HEARTH_API int32_t broadcast_notify(uint32_t msg_id, void *in, void *, uint32_t in_len) {
    if (!is_registered()) {
        HEARTH_LOG(OSA_LOG_ERROR, "broadcast_notify-->>g_sock_fd= %d , g_has_registed= %d \n",
                   peek(g_sock_fd), peek(g_has_registed));
        return -1;
    }
    // From 0 on, which is refused and logged each time: required.
    for (uint32_t mid = 0; mid <= NOTIFY_MID_MAX; mid++) {
        if (mid != NOTIFY_MID_SERVER) {
            (void)send_notify(mid, msg_id, in, nullptr, in_len, 0);
        }
    }
    return 0;
}

extern "C" HEARTH_API int32_t raise_notify(uint32_t msg_id, uint32_t arg1, uint32_t arg2) {
    if (!is_registered()) {
        HEARTH_LOG(OSA_LOG_ERROR, "raise_notify-->>g_sock_fd= %d , g_has_registed= %d \n",
                   peek(g_sock_fd), peek(g_has_registed));
        return -1;
    }
    int32_t result = send_post(NOTIFY_MID_ALL, msg_id, &arg1, &arg2, sizeof arg1, sizeof arg2, 0);
    if (result == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "raise_notify-->>send_msgex return error exit!\n");
    }
    return result;
}
