// Where senders and the receive thread meet: the list of numbers that are waited for, with the
// timer that wakes those whose time has run out, and the list of answers to be collected.

#include <sched.h>
#include <stdlib.h>
#include <time.h>

#include "base/guard.h"
#include "base/log.h"
#include "hearth/osa_timer.h"
#include "libnotify_client.h"
#include "sdk_list.h"

namespace hearth::notify {

pthread_mutex_t lock_wait = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t ack_data = PTHREAD_COND_INITIALIZER;

// An entry of the timeout list. It may leave the list - by its number, which can be another
// call's, or by a reconnection - while its caller still looks at it; who of the two is last frees
// it.
struct send_seq_num {
    sdk_list links;
    int32_t seq_num;
    int32_t send_timeout;  // seconds
    timespec start;        // on the monotonic clock
    bool listed;
    bool held;  // by the caller of add_new_timeout_node
};

}  // namespace hearth::notify

namespace {

using namespace hearth::notify;

constexpr hearth::LogSource kLogSource{"notify_client",
                                       "notify/linux/notify_client/src/libnotify_client"};

enum { ERR_OK = 0, ERR_FAILED = -1 };

struct ack_list {
    uint32_t count;
    pthread_mutex_t mutex;
    ack_node *head;
    ack_node *tail;
};

sdk_list timeout_list = {&timeout_list, &timeout_list};
pthread_mutex_t lock_wait_timeout = PTHREAD_MUTEX_INITIALIZER;  // guards timeout_list

ack_list g_ack_msg_list;

// To fall asleep and be woken on another processor costs more than a short answer takes. A lone
// caller therefore looks out for a moment before it sleeps, and lets others run meanwhile. When
// that was in vain, or others ran for longer than the moment, the next calls sleep at once: on a
// busy processor a sleeper comes back sooner than who has given way, so that less than one call in
// a hundred may try.
constexpr int64_t kAwakeNanoseconds = 60000;
constexpr int kMostYields = 1000;  // should the clock stand still
constexpr uint32_t kSleepsAfterMiss = 256;
std::atomic<uint32_t> g_answers_filed;
std::atomic<uint32_t> g_callers_awake;
std::atomic<uint32_t> g_sleeps_left;
std::atomic<bool> g_ack_list_ready;

constexpr uint32_t g_wake_time = 1000;  // milliseconds
osa_timer_t *g_sync_timeout_wake;
std::atomic<int> g_timeout_thread_flag;

int32_t get_current_time(timespec *now) {
    return clock_gettime(CLOCK_MONOTONIC, now) == 0 ? ERR_OK : ERR_FAILED;
}

int64_t monotonic_ns() {
    timespec now{};
    get_current_time(&now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

int32_t set_seq_num_list_info(send_seq_num *entry, int32_t seq_num, int32_t timeout) {
    entry->seq_num = seq_num;
    entry->send_timeout = timeout;
    return get_current_time(&entry->start);
}

int32_t new_timeout_fun(send_seq_num *entry) {
    if (pthread_mutex_lock(&lock_wait_timeout) != 0) {
        return ERR_FAILED;
    }
    sdk_list_add_tail(&entry->links, &timeout_list);
    entry->listed = true;
    entry->held = true;
    pthread_mutex_unlock(&lock_wait_timeout);
    return ERR_OK;
}

send_seq_num *entry_at(sdk_list *links) {
    return reinterpret_cast<send_seq_num *>(links);
}

// The entry of a number, null if there is none. Needs lock_wait_timeout.
send_seq_num *find_entry(uint32_t seq_num) {
    for (sdk_list *at = timeout_list.next; at != &timeout_list; at = at->next) {
        if (static_cast<uint32_t>(entry_at(at)->seq_num) == seq_num) {
            return entry_at(at);
        }
    }
    return nullptr;
}

// Needs lock_wait_timeout.
void unlist(send_seq_num *entry) {
    sdk_list_del(&entry->links);
    entry->listed = false;
    if (!entry->held) {
        free(entry);
    }
}

// Only whole seconds count.
bool has_run_out(const send_seq_num *entry, const timespec &now) {
    return now.tv_sec - entry->start.tv_sec >= entry->send_timeout;
}

// On the timer's thread. One broadcast wakes all, and each tests its own entry.
void check_timeout_thread_fun(void *) {
    hearth::MutexLock lock(lock_wait_timeout);
    if (sdk_list_empty(&timeout_list)) {
        return;
    }
    timespec now;
    if (get_current_time(&now) != ERR_OK) {
        HEARTH_LOG(OSA_LOG_ERROR, "[check_timeout_thread_fun]-->get time error:\n");
        return;
    }
    for (sdk_list *at = timeout_list.next; at != &timeout_list; at = at->next) {
        if (has_run_out(entry_at(at), now)) {
            // Without lock_wait: whoever is about to sleep is woken a period later. Required.
            pthread_cond_broadcast(&ack_data);
            return;
        }
    }
}

}  // namespace

namespace hearth::notify {

void reset_timeout_list() {
    MutexLock lock(lock_wait_timeout);
    while (!sdk_list_empty(&timeout_list)) {
        unlist(entry_at(timeout_list.next));  // NOLINT(clang-analyzer-unix.Malloc): it is unlinked
    }
}

void create_timeout_thread() {
    if (g_sync_timeout_wake != nullptr) {
        osa_timer_delete_ex(g_sync_timeout_wake);
    }
    g_sync_timeout_wake = osa_timer_create_ex(g_wake_time, 1, check_timeout_thread_fun, nullptr);
    if (g_sync_timeout_wake != nullptr) {
        put(g_timeout_thread_flag, 1);
    }
}

send_seq_num *add_new_timeout_node(int32_t seq_num, int32_t timeout) {
    if (seq_num < 0 || timeout < 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "[add_new_timeout_node] input param error \n");
        return nullptr;
    }
    HeapBlock<send_seq_num> entry = allocate_zeroed<send_seq_num>(1);
    if (!entry) {
        HEARTH_LOG(OSA_LOG_ERROR, "[add_new_timeout_node] malloc send_seq_num return NULL\n");
        return nullptr;
    }
    if (set_seq_num_list_info(entry.get(), seq_num, timeout) != ERR_OK) {
        HEARTH_LOG(OSA_LOG_ERROR,
                   "[add_new_timeout_node]set_seq_num_list_info return ERR_FAILED \n");
        return nullptr;
    }
    if (new_timeout_fun(entry.get()) != ERR_OK) {
        HEARTH_LOG(OSA_LOG_ERROR, "[add_new_timeout_node]new_timeout_fun return ERR_FAILED \n");
        return nullptr;
    }
    return entry.release();
}

bool send_seq_num_is_timeout(const send_seq_num *entry) {
    timespec now;
    if (get_current_time(&now) != ERR_OK) {
        return false;
    }
    HEARTH_LOG(OSA_LOG_INFO,
               "[send_seq_num_is_timeout]!seq_num= [%d],end_time[%d] -start = "
               "[%d],seq_num->send_timeout =[%d]\n",
               entry->seq_num, static_cast<int>(now.tv_sec), static_cast<int>(entry->start.tv_sec),
               entry->send_timeout);
    return has_run_out(entry, now);
}

void remove_timer_list(uint32_t seq_num) {
    MutexLock lock(lock_wait_timeout);
    send_seq_num *entry = find_entry(seq_num);
    if (entry != nullptr) {
        unlist(entry);
    }
}

void release_timeout_node(send_seq_num *entry) {
    MutexLock lock(lock_wait_timeout);
    entry->held = false;
    if (!entry->listed) {
        free(entry);
    }
}

bool check_ack_seq_is_exist(uint32_t seq_num) {
    MutexLock lock(lock_wait_timeout);
    return find_entry(seq_num) != nullptr;
}

void init_ack_list() {
    if (!g_ack_list_ready.exchange(true)) {
        pthread_mutex_init(&g_ack_msg_list.mutex, nullptr);
    }
}

ack_node *malloc_list_node() {
    return allocate_zeroed<ack_node>(1).release();
}

void add_node_to_list(ack_node *node) {
    if (node == nullptr) {
        return;
    }
    MutexLock lock(g_ack_msg_list.mutex);
    if (g_ack_msg_list.tail == nullptr) {
        g_ack_msg_list.head = node;
    } else {
        g_ack_msg_list.tail->next = node;
    }
    g_ack_msg_list.tail = node;
    g_ack_msg_list.count++;
    put(g_answers_filed, peek(g_answers_filed) + 1);
}

bool find_node_for_seq(uint32_t seq_num) {
    MutexLock lock(g_ack_msg_list.mutex);
    const ack_node *node = g_ack_msg_list.head;
    while (node != nullptr && node->seq_num != seq_num) {
        node = node->next;
    }
    return node != nullptr;
}

ack_node *removed_node_from_list(uint32_t seq_num) {
    MutexLock lock(g_ack_msg_list.mutex);
    ack_node *before = nullptr;
    ack_node *node = g_ack_msg_list.head;
    while (node != nullptr && node->seq_num != seq_num) {
        before = node;
        node = node->next;
    }
    if (node == nullptr) {
        return nullptr;
    }
    (before == nullptr ? g_ack_msg_list.head : before->next) = node->next;
    if (g_ack_msg_list.tail == node) {
        g_ack_msg_list.tail = before;
    }
    node->next = nullptr;
    g_ack_msg_list.count--;
    return node;
}

bool wait_awake() {
    uint32_t sleeps_left = peek(g_sleeps_left);
    if (sleeps_left > 0) {
        put(g_sleeps_left, sleeps_left - 1);
        return false;
    }
    if (peek(g_callers_awake) != 0) {
        return false;
    }
    uint32_t filed = peek(g_answers_filed);
    put(g_callers_awake, 1u);
    pthread_mutex_unlock(&lock_wait);
    int64_t end = monotonic_ns() + kAwakeNanoseconds;
    bool in_time = false;
    for (int i = 0; i < kMostYields && monotonic_ns() < end; i++) {
        in_time = peek(g_answers_filed) != filed;
        if (in_time) {
            break;
        }
        sched_yield();
    }
    pthread_mutex_lock(&lock_wait);
    put(g_callers_awake, 0u);
    if (!in_time) {
        put(g_sleeps_left, kSleepsAfterMiss);
    }
    return true;
}

void free_list_node(ack_node *node) {
    free(node->message);
    free(node);
}

}  // namespace hearth::notify
