// What the sources of the bus client share. One connection, one pool and one set of tables per
// process.
//
// Lock order: lock_connect, which only init_notify takes, then lock_wait, then any one of
// lock_wait_timeout, lock_seq_num, lock_send or the acknowledgement list's own mutex; those are not
// nested among themselves.
//
// The connection's state and the liveness of destinations are read and written without a lock, by
// design: relaxed atomics, so that a reader sees an old or a new value and nothing else.
#pragma once

#include <pthread.h>
#include <stdint.h>

#include <atomic>

#include "hearth/notify.h"
#include "hearth/notify_frame.h"

namespace hearth::notify {

constexpr uint32_t kModules = NOTIFY_MID_MAX + 1;  // slot 0 stays empty
constexpr int32_t kSyncLimitSeconds = 240;

enum en_msg_type : uint32_t { MSG_ASYN = 0, MSG_SYNC = 1, MSG_REGISTER = 2, MSG_ACK = 3 };

// What is to be sent.
struct send_msg_param {
    uint32_t type;  // en_msg_type
    uint32_t des_mid;
    uint32_t msg_id;
    uintptr_t data1;  // address of the input; MSG_ACK: the request's frame; MSG_REGISTER: the id
    uintptr_t data2;  // MSG_ASYN: second part; MSG_SYNC: output, tested for null; MSG_ACK: output
    uint32_t len1;
    uint32_t len2;
    int32_t ret;    // -1 unless MSG_ACK
    uint32_t flag;  // for ex_flag
};

// A post to a module of this process. What it copies follows behind it.
struct local_post {
    uint32_t mid;
    uint32_t msg_id;
    uint32_t len1;
    uint32_t len2;
    uintptr_t arg1;
    uintptr_t arg2;
};
static_assert(sizeof(local_post) == 16 + 2 * sizeof(uintptr_t));

// A received answer that waits to be collected. Owns the frame.
struct ack_node {
    uint32_t seq_num;
    msg_header *message;
    ack_node *next;
};

// The frame's fields are words in native order, as both ends are on one machine.
static_assert(sizeof(msg_header) == 48 && offsetof(msg_header, data_len) == 24 &&
              offsetof(msg_header, ack_len) == 36 && offsetof(msg_header, ex_flag) == 44);

extern std::atomic<int> g_sock_fd;
extern std::atomic<int> g_has_registed;
extern std::atomic<int> g_init_thread_pool;
extern std::atomic<int> g_recv_thraed_run;
extern std::atomic<uint32_t> g_my_mid;  // written under lock_g_my_mid
extern std::atomic<notify_sync_handler> notify_sync_handlers[kModules];
extern std::atomic<notify_asyn_handler> notify_asyn_handlers[kModules];
extern std::atomic<int32_t> g_des_mod_online[kModules];  // -1: dead

extern pthread_mutex_t lock_wait;  // the wait for an answer and its filing
extern pthread_mutex_t lock_send;  // the socket's write side
extern pthread_cond_t ack_data;    // all waiting senders, with lock_wait

template <typename T>
T peek(const std::atomic<T> &word) {
    return word.load(std::memory_order_relaxed);
}

template <typename T>
void put(std::atomic<T> &word, T value) {
    word.store(value, std::memory_order_relaxed);
}

inline bool is_valid_mid(uint32_t mid) {
    return mid >= 1 && mid <= NOTIFY_MID_MAX;
}

inline bool is_registered() {
    return peek(g_sock_fd) != -1 && peek(g_has_registed) != 0;
}

inline uint8_t *body_of(msg_header *frame) {
    return reinterpret_cast<uint8_t *>(frame + 1);
}

// libnotify_client_send.cpp. Results: the frame's sequence number, or -1.
int32_t send_msgex(const send_msg_param *request);
int32_t send_registration(uint32_t mid);
// Waits for the answer, which then is in the acknowledgement list unless the time ran out.
int32_t send_sync_msg_ex(uint32_t mid, uint32_t msg_id, const void *in, const void *out,
                         uint32_t in_len, uint32_t out_len, int32_t timeout);
// The number that the next frame is likely to get; another thread may take it first.
uint32_t next_seq_num();

// libnotify_client_wait.cpp: the timeout list and the acknowledgement list.
struct send_seq_num;
void init_ack_list();
void reset_timeout_list();
void create_timeout_thread();
send_seq_num *add_new_timeout_node(int32_t seq_num, int32_t timeout);
bool send_seq_num_is_timeout(const send_seq_num *entry);
void remove_timer_list(uint32_t seq_num);
// The caller of add_new_timeout_node is done with its entry.
void release_timeout_node(send_seq_num *entry);
bool check_ack_seq_is_exist(uint32_t seq_num);
ack_node *malloc_list_node();
void add_node_to_list(ack_node *node);
bool find_node_for_seq(uint32_t seq_num);
ack_node *removed_node_from_list(uint32_t seq_num);
void free_list_node(ack_node *node);
// Waits for an answer in place of a first sleep on ack_data, where answers have been quick; with
// lock_wait, which it gives up meanwhile. False if it did not wait.
bool wait_awake();

// libnotify_client_signal.cpp
extern char g_client_name[128];
void install_sig_handle();

// libnotify_client_web.cpp
constexpr uint32_t kWebRequest = 26002;
constexpr uint32_t kWebRequestSize = 88;  // before the content
// Gives a hook's text back to where it came from.
void release_web_text(const uint8_t *request, char *text);

}  // namespace hearth::notify
