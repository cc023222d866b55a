#include "hearth/at_lib.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <atomic>

#include "base/log.h"
#include "hearth/osa_event.h"
#include "hearth/osa_queue.h"
#include "hearth/osa_task.h"

namespace {

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_lib"};
constexpr const char *kServerTask = "ats";
constexpr int32_t kUnknown = -1;
constexpr uint32_t kMessageSize = sizeof(at_server_msg);

static_assert(sizeof(at_server_msg) == 1600);
static_assert(offsetof(at_server_msg, seq) == 16);
static_assert(offsetof(at_server_msg, match) == 28);
static_assert(offsetof(at_server_msg, report) == 92);
static_assert(offsetof(at_server_msg, Ret_val) == 1592);
static_assert(sizeof(at_error_code) == 12);

// The server as this process last saw it. No lock: every thread that writes these words writes
// the same values. The queues are named from the server's side: it receives on the one and sends
// on the other.
std::atomic<int32_t> g_ats_lib_task_id{kUnknown};
std::atomic<int32_t> g_ats_lib_rcv_mq_id{kUnknown};
std::atomic<int32_t> g_ats_lib_snd_mq_id{kUnknown};

// Two threads may draw the same number without harm: it is compared only among the messages of
// one thread.
std::atomic<uint32_t> send_msg_id{1};

int32_t get(const std::atomic<int32_t> &word) {
    return word.load(std::memory_order_relaxed);
}

void set(std::atomic<int32_t> &word, int32_t value) {
    word.store(value, std::memory_order_relaxed);
}

int32_t to_ms(int32_t seconds) {
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{1000} * seconds, INT32_MIN, INT32_MAX));
}

// Zeroes all that belongs to the answer, so that a failed wait leaves nothing of the request for
// the caller to take for a reply. What stands before is needed for the wait.
void clear_answer(at_server_msg *message) {
    memset(message->match, 0, sizeof *message - offsetof(at_server_msg, match));
}

// Takes the next message of a type. What a short message lacks is zero, and its texts end within
// their fields.
bool receive(int32_t queue, int32_t type, int32_t timeout_ms, at_server_msg *message) {
    int32_t got = osa_msgQex_recv(queue, message, kMessageSize, timeout_ms, type);
    if (got == -1) {
        return false;
    }
    size_t length = std::min(sizeof message->mtype + static_cast<size_t>(got), sizeof *message);
    memset(reinterpret_cast<char *>(message) + length, 0, sizeof *message - length);
    message->match[sizeof message->match - 1] = '\0';
    message->report[sizeof message->report - 1] = '\0';
    return true;
}

bool find_queue(std::atomic<int32_t> &queue, int32_t number) {
    if (get(queue) == kUnknown) {
        set(queue, osa_get_msgQ_id(number));
    }
    return get(queue) != kUnknown;
}

// A server that was started anew has new queues.
bool find_server() {
    set(g_ats_lib_task_id, get_ats_task_id());
    if (check_ats_id() != 0) {
        return false;
    }
    set(g_ats_lib_rcv_mq_id, osa_get_msgQ_id(AT_QUEUE_REQUESTS));
    set(g_ats_lib_snd_mq_id, osa_get_msgQ_id(AT_QUEUE_REPLIES));
    return true;
}

}  // namespace

int32_t GetDataFromAtServer(at_server_msg *message) {
    if (message == nullptr) {
        return -1;
    }
    if (check_ats_id() != 0 && !find_server()) {
        return -1;
    }
    return ReadDataFromAtSrvProc(message);
}

int32_t ReadDataFromAtSrvProc(at_server_msg *message) {
    if (message == nullptr || get_ats_queue_id() != 0) {
        return -1;
    }
    int32_t retcode = 0;
    message->seq = send_msg_id.fetch_add(1, std::memory_order_relaxed);
    clear_msg_from_queue(get(g_ats_lib_rcv_mq_id), message->mtype);
    if (send_to_msgqueue(get(g_ats_lib_rcv_mq_id), message, &retcode) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "Error: send message failed\n");
        return -1;
    }
    if (osa_event_send(get(g_ats_lib_task_id), AT_EVENT_REQUEST) != 1) {
        HEARTH_LOG(OSA_LOG_ERROR, "Error: send event failed\n");
        return -1;
    }
    clear_answer(message);
    int32_t result = read_from_msgqueue(get(g_ats_lib_snd_mq_id), message, 1, &retcode);
    HEARTH_LOG(OSA_LOG_INFO, "Ret_val is %d ,report is %s, match is %s \n", message->Ret_val,
               message->report, message->match);
    return result;
}

int32_t send_to_msgqueue(int32_t queue, const at_server_msg *message, int32_t *retcode) {
    if (message == nullptr || retcode == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, " qbuf  or retcode is  NULL!\n");
        return -1;
    }
    HEARTH_LOG(OSA_LOG_INFO, "send_to_msgqueue:AT cmd= %.*s, Id= %ld, seq = %lu\n",
               static_cast<int>(sizeof message->report), message->report,
               static_cast<long>(message->mtype), static_cast<unsigned long>(message->seq));
    if (osa_msgQex_send(queue, message, kMessageSize, 0) != 1) {
        HEARTH_LOG(OSA_LOG_INFO, "Error: send msg failed,task id = %d, qid = %d\n", message->mtype,
                   queue);
        return -1;
    }
    return 0;
}

int32_t read_from_msgqueue(int32_t queue, at_server_msg *message, int32_t check, int32_t *retcode) {
    if (retcode != nullptr) {
        *retcode = 0;
    }
    if (message == nullptr || retcode == nullptr || queue == kUnknown) {
        HEARTH_LOG(OSA_LOG_ERROR, " qbuf NULL!\n");
        return -1;
    }
    at_server_msg reply;
    while (receive(queue, message->mtype, to_ms(message->timeout), &reply)) {
        if (check != 1 || reply.seq == message->seq) {
            *message = reply;
            return 0;
        }
        if (reply.seq > message->seq) {
            HEARTH_LOG(OSA_LOG_ERROR, "Error:tmp_msg.seq= %d, pmsg->seq =%d\n",
                       static_cast<int32_t>(reply.seq), static_cast<int32_t>(message->seq));
            return -1;
        }
        // The late reply to a request that was given up; the right one may stand behind it.
        HEARTH_LOG(OSA_LOG_INFO, "Error:Msg seq erro,taskid = %d\n", message->mtype);
    }
    HEARTH_LOG(OSA_LOG_INFO, "There is no Message in the queue!Task id = %d\n", message->mtype);
    return -1;
}

// Cleared is the queue of requests: those of this thread that the server has not taken yet. Late
// replies are told by their number.
int32_t clear_msg_from_queue(int32_t queue, int32_t type) {
    at_server_msg old;
    while (receive(queue, type, 0, &old)) {
        HEARTH_LOG(OSA_LOG_INFO, "in clear_msg_from_queue, Error: Read a mtype=%d msg!\n",
                   old.mtype);
    }
    return 0;
}

int32_t get_ats_task_id(void) {
    return osa_task_name_to_id(kServerTask);
}

int32_t check_ats_id(void) {
    int32_t task = get(g_ats_lib_task_id);
    if (osa_task_bExist(task) != 1) {
        HEARTH_LOG(OSA_LOG_ERROR, "check_ats_id id = %d\n", task);
        return -1;
    }
    return 0;
}

int32_t get_ats_queue_id(void) {
    bool requests = find_queue(g_ats_lib_rcv_mq_id, AT_QUEUE_REQUESTS);
    bool replies = find_queue(g_ats_lib_snd_mq_id, AT_QUEUE_REPLIES);
    return requests && replies ? 0 : -1;
}

void ATS_FreeMemory(void *memory) {
    free(memory);
}
