// The receive thread: reading frames, handing them on, and coming back after a loss.

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "base/bytes.h"
#include "base/guard.h"
#include "base/log.h"
#include "hearth/notify_recv.h"
#include "hearth/threadpool.h"
#include "hearth/webserver.h"
#include "libnotify_client.h"

namespace {

using namespace hearth::notify;

constexpr hearth::LogSource kLogSource{"notify_client",
                                       "notify/linux/notify_client/src/libnotify_client"};

constexpr uint32_t kReadAtOnce = 1024;

// Zero bytes behind each body: a text without an end, or two words that are not there, are read
// from these.
constexpr size_t kSlack = 8;

// Whether a frame of this length can be told by recv_msg's result.
bool fits_result(uint32_t data_len) {
    return data_len <= static_cast<uint32_t>(INT32_MAX) - sizeof(msg_header);
}

msg_header *allocate_frame(const msg_header &header) {
    if (!fits_result(header.data_len)) {
        return nullptr;
    }
    size_t size = sizeof header + header.data_len;
    uint8_t *bytes = static_cast<uint8_t *>(malloc(size + kSlack));
    if (bytes == nullptr) {
        return nullptr;
    }
    memcpy(bytes, &header, sizeof header);
    memset(bytes + size, 0, kSlack);
    return reinterpret_cast<msg_header *>(bytes);
}

// Reads a body away for which there is no memory, so that the next header is found.
void read_away(int32_t fd, uint32_t size) {
    uint8_t sink[kReadAtOnce];
    while (size > 0) {
        uint32_t part = std::min(size, kReadAtOnce);
        if (recv_ex(fd, sink, part) < 1) {
            return;  // the next read meets the same end or error
        }
        size -= part;
    }
}

void hand_over(pool_job_function job, msg_header *frame) {
    if (peek(g_init_thread_pool) == 0) {
        job(frame);
    } else if (pool_add_worker(job, frame) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "handle_recv_msg-->>pool_add_worker return error !\n");
        free(frame);
    }
}

void dispatch(msg_header *frame) {
    bool is_answer = frame->ack_tag == NOTIFY_ANSWER || frame->ack_tag == NOTIFY_NOTICE;
    if (frame->sync_tag == NOTIFY_CALL && is_answer) {
        handle_ack_msg(frame);
    } else if (frame->sync_tag == NOTIFY_CALL) {
        hand_over(handle_syn_msg, frame);
    } else if (frame->sync_tag == NOTIFY_ONE_WAY) {
        hand_over(handle_asy_msg, frame);
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "handle_recv_msg-->>wrong data \n");
        free(frame);
    }
}

// What a request's handler gives back.
struct Answer {
    void *output = nullptr;
    uint32_t size = 0;
    uint32_t result = 0;
};

Answer ask_web_hook(msg_header *frame) {
    Answer answer;
    if (frame->ack_len == 0) {
        return answer;
    }
    // A body too short to be a request finds no hook.
    answer.output =
        frame->data_len >= kWebRequestSize ? webserver_handle_normal(body_of(frame)) : nullptr;
    if (answer.output == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "handle_syn_msg-->> webserver_handle_normal return NULL!\n");
        return answer;
    }
    answer.size = static_cast<uint32_t>(strlen(static_cast<char *>(answer.output)) + 1);
    return answer;
}

Answer ask_handler(msg_header *frame) {
    Answer answer;
    notify_sync_handler handler =
        notify_sync_handlers[frame->des_mid].load(std::memory_order_acquire);
    if (handler == nullptr) {
        return answer;
    }
    if (frame->ack_len != 0) {
        answer.output = calloc(1, frame->ack_len);
        answer.size = frame->ack_len;
        if (answer.output == nullptr) {
            HEARTH_LOG(OSA_LOG_ERROR, "handle_syn_msg-->> malloc return NULL!\n");
        }
    }
    answer.result = handler(frame->msg_id, body_of(frame), answer.output);
    return answer;
}

void send_answer(const msg_header *frame, const Answer &answer) {
    send_msg_param request{MSG_ACK,
                           frame->src_mid,
                           frame->msg_id,
                           reinterpret_cast<uintptr_t>(frame),
                           reinterpret_cast<uintptr_t>(answer.output),
                           0,
                           answer.size,
                           static_cast<int32_t>(answer.result),
                           0};
    if (send_msgex(&request) == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "handle_syn_msg-->> send ack msg return error \n");
    }
}

// The address of a part of the body; null for an empty one and for one that reaches beyond it.
uintptr_t part_address(msg_header *frame, uint32_t offset, uint32_t size) {
    bool inside = offset <= frame->data_len && size <= frame->data_len - offset;
    return size != 0 && inside ? reinterpret_cast<uintptr_t>(body_of(frame) + offset) : 0;
}

// A 32-bit word of the body; 0 where there is none.
uintptr_t word_at(msg_header *frame, uint32_t offset) {
    bool inside =
        frame->data_len >= sizeof(uint32_t) && offset <= frame->data_len - sizeof(uint32_t);
    return inside ? hearth::load_native<uint32_t>(body_of(frame) + offset) : 0;
}

void notify_handler(msg_header *frame, notify_asyn_handler handler) {
    uintptr_t arg1 = 0;
    uintptr_t arg2 = 0;
    if (frame->ex_flag != 0) {
        arg1 = part_address(frame, 0, frame->data1_len);
        arg2 = part_address(frame, frame->data1_len, frame->data2_len);
    } else {
        arg1 = word_at(frame, 0);
        arg2 = word_at(frame, frame->data1_len);
    }
    handler(frame->msg_id, arg1, arg2);
}

void note_death(uint32_t mid) {
    put(g_des_mod_online[mid], int32_t{-1});
    // Without lock_wait: a sender that has not yet noted its number misses this. Required.
    pthread_cond_broadcast(&ack_data);
    if (mid == NOTIFY_MID_WEB) {
        register_restfulhandle_again();
    }
}

void *run_local_post(void *argument) {
    local_post *record = static_cast<local_post *>(argument);
    notify_asyn_handler handler = notify_asyn_handlers[record->mid].load(std::memory_order_acquire);
    if (handler != nullptr) {
        handler(record->msg_id, record->arg1, record->arg2);
    }
    free(record);
    return nullptr;
}

}  // namespace

extern "C" HEARTH_API int32_t recv_ex(int32_t fd, void *buffer, uint32_t length) {
    if (buffer == nullptr || fd == -1) {
        return -1;
    }
    uint8_t *bytes = static_cast<uint8_t *>(buffer);
    uint32_t done = 0;
    while (done < length) {
        ssize_t got = recv(fd, bytes + done, std::min(length - done, kReadAtOnce), 0);
        if (got > 0) {
            done += static_cast<uint32_t>(got);
        } else if (got == 0) {
            HEARTH_LOG(OSA_LOG_ERROR, "recv_ex-->>recv() retrun 0 server close !\n ");
            return 0;
        } else if (errno != EAGAIN) {
            HEARTH_LOG(OSA_LOG_ERROR, "recv_ex-->>recv() retrun error=%d and %s\n ",
                       static_cast<int>(got), strerror(errno));
            return static_cast<int32_t>(got);
        }
    }
    return static_cast<int32_t>(done);
}

extern "C" HEARTH_API int32_t recv_msg(int32_t fd, msg_header **out) {
    *out = nullptr;
    msg_header header;
    int32_t got = recv_ex(fd, &header, sizeof header);
    if (got < 1) {
        HEARTH_LOG(OSA_LOG_ERROR, "recv_msg-->>msg header recv() return error!\n");
        return got;
    }
    HEARTH_LOG(OSA_LOG_INFO,
               "recv_msg-->>src_mid= %u, des_mid= %u; sync_tag= %d, ack_tag= %d, seq_num= %u, "
               "date_len= %d\n",
               header.src_mid, header.des_mid, header.sync_tag, header.ack_tag, header.seq_num,
               header.data_len);
    hearth::HeapBlock<msg_header> frame(allocate_frame(header));
    if (!frame) {
        HEARTH_LOG(OSA_LOG_ERROR, "recv_msg-->>malloc retrun error :total_msg is null!\n");
        read_away(fd, header.data_len);
        return -1;
    }
    if (header.data_len != 0) {
        got = recv_ex(fd, body_of(frame.get()), header.data_len);
        if (got < 1) {
            HEARTH_LOG(OSA_LOG_ERROR, "recv_msg-->>revc data retrun error !\n");
            return got;
        }
        if (static_cast<uint32_t>(got) != header.data_len) {
            HEARTH_LOG(OSA_LOG_ERROR,
                       "recv_msg-->>actually the length of msg data that we receivedis unequal "
                       "to msg_header->data_len !\n");
            return -1;
        }
    }
    *out = frame.release();
    return static_cast<int32_t>(sizeof header + header.data_len);
}

extern "C" HEARTH_API void handle_recv_msg(void) {
    msg_header *frame = nullptr;
    int32_t result = recv_msg(peek(g_sock_fd), &frame);
    if (result > 0 && frame != nullptr) {
        dispatch(frame);
    } else if (result == 0) {
        HEARTH_LOG(OSA_LOG_ERROR,
                   "handle_recv_msg -->>recv return error , notify server had closed !\n");
        clear_socketfd();
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "handle_recv_msg -->>recv return error= %d !\n", result);
    }
}  // NOLINT(clang-analyzer-unix.Malloc): the frame of a late answer is not freed

extern "C" HEARTH_API int32_t handle_msg(void) {
    while (peek(g_recv_thraed_run) != 0) {
        int fd = peek(g_sock_fd);
        if (fd == -1) {
            register_again();
            sleep(1);
            continue;
        }
        fd_set sockets;  // built anew each time, so a closed descriptor never lingers in it
        FD_ZERO(&sockets);
        FD_SET(fd, &sockets);
        int ready = select(fd + 1, &sockets, nullptr, nullptr, nullptr);
        if (ready == -1) {
            HEARTH_LOG(OSA_LOG_ERROR, " handle_msg -->>select return erro -1!\n");
        } else if (ready > 0) {
            handle_recv_msg();
        }
    }
    return 0;
}

extern "C" HEARTH_API void *recv_msg_thread(void *) {
    handle_msg();
    return nullptr;
}

extern "C" HEARTH_API void handle_ack_msg(msg_header *frame) {
    if (!check_ack_seq_is_exist(frame->seq_num)) {
        // The frame of a late answer is not freed: required.
        HEARTH_LOG(OSA_LOG_FATAL, "[handle_ack_msg]->>[check_ack_seq_is_exist] seq_num= %d\n",
                   frame->seq_num);
        return;
    }
    ack_node *node = malloc_list_node();
    hearth::MutexLock lock(lock_wait);
    if (node != nullptr) {
        node->seq_num = frame->seq_num;
        node->message = frame;
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "handle_ack_msg-->> malloc_list_node return error !!!\n");
        free(frame);
    }
    add_node_to_list(node);
    pthread_cond_broadcast(&ack_data);
}

extern "C" HEARTH_API void *handle_syn_msg(void *argument) {
    hearth::HeapBlock<msg_header> frame(static_cast<msg_header *>(argument));
    bool is_web = frame->msg_id == kWebRequest;
    if (!is_web && frame->des_mid > NOTIFY_MID_MAX) {
        return nullptr;
    }
    Answer answer = is_web ? ask_web_hook(frame.get()) : ask_handler(frame.get());
    if (frame->src_mid != NOTIFY_MID_SERVER) {
        send_answer(frame.get(), answer);
    }
    if (!is_web) {
        free(answer.output);
    } else if (answer.output != nullptr) {
        release_web_text(body_of(frame.get()), static_cast<char *>(answer.output));
    }
    return nullptr;
}

extern "C" HEARTH_API void *handle_asy_msg(void *argument) {
    hearth::HeapBlock<msg_header> frame(static_cast<msg_header *>(argument));
    if (frame->des_mid > NOTIFY_MID_MAX) {
        return nullptr;
    }
    notify_asyn_handler handler =
        notify_asyn_handlers[frame->des_mid].load(std::memory_order_acquire);
    if (handler != nullptr && frame->ack_tag == NOTIFY_PLAIN) {
        notify_handler(frame.get(), handler);
    } else if (frame->ack_tag == NOTIFY_NOTICE && frame->msg_id <= NOTIFY_MID_MAX) {
        note_death(frame->msg_id);
    }
    return nullptr;
}

extern "C" HEARTH_API void *handle_asy_callback(void *record) {
    return run_local_post(record);
}

extern "C" HEARTH_API void *handle_asy_cb(void *record) {
    return run_local_post(record);
}
