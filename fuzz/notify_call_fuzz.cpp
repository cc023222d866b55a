// Frames that come while a call of the bus waits for its answer. Input: the kind of call, the room
// for the answer, then the frames; the number of one whose first bit is not set becomes that of the
// call. When all have come, the module that was called dies.
// libFuzzer: -max_len=2048
#include <dlfcn.h>
#include <pthread.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <string>

#include "bus_stand_in.h"
#include "exact_copy.h"
#include "hearth/notify_recv.h"
#include "hearth/webserver.h"

namespace {

using hearth::fuzz::Exact;
using hearth::fuzz::require;

constexpr uint32_t kOwn = 12;
constexpr uint32_t kCalled = 20;

// What is still to come, and the call that waits for it.
std::string g_stream;
uint32_t g_seq;
bool g_waits;

void deliver_death() {
    auto *frame = static_cast<msg_header *>(calloc(1, sizeof(msg_header)));
    frame->msg_id = kCalled;
    frame->sync_tag = NOTIFY_ONE_WAY;
    frame->ack_tag = NOTIFY_NOTICE;
    handle_asy_msg(frame);
}

// The next frame, or the end.
void deliver() {
    msg_header header;
    if (g_stream.size() < sizeof header) {
        deliver_death();
        return;
    }
    memcpy(&header, g_stream.data(), sizeof header);
    header.data_len = std::min<uint32_t>(header.data_len & 0xfff,
                                         static_cast<uint32_t>(g_stream.size() - sizeof header));
    header.ack_len &= 0xffff;
    header.seq_num = header.seq_num >> 31 == 0 ? g_seq : header.seq_num;
    memcpy(g_stream.data(), &header, sizeof header);
    size_t length = sizeof header + header.data_len;
    require(write(hearth::fuzz::g_server_end, g_stream.data(), length) ==
            static_cast<ssize_t>(length));
    g_stream.erase(0, length);
    handle_recv_msg();
}

void call_module(uint32_t room) {
    Exact<uint8_t> in(8);
    Exact<uint8_t> out(room);
    std::fill_n(in.get(), 8, uint8_t{1});
    send_notify(kCalled, 1, in.get(), out.get(), 8, room);
}

void call_web_hook(uint32_t room) {
    web_request request{kCalled, 0, "/", "status"};
    char *out = static_cast<char *>(malloc(std::max(room, 1u)));
    send_notify_webserver(kCalled, 26002, &request, &out, sizeof request, room);
    hearth::fuzz::g_sink = static_cast<unsigned>(out[0]);
    free(out);
}

uint32_t on_request(uint32_t, void *, void *) {
    return 0;
}

}  // namespace

extern "C" {

ssize_t sendmsg(int, const msghdr *message, int) {
    msg_header header;
    memcpy(&header, message->msg_iov[0].iov_base, sizeof header);
    if (header.sync_tag == NOTIFY_CALL && header.ack_tag == NOTIFY_PLAIN) {
        g_seq = header.seq_num;
    }
    return hearth::fuzz::read_pieces(message);
}

// The sleep of a call: one frame comes meanwhile.
int pthread_cond_wait(pthread_cond_t *condition, pthread_mutex_t *mutex) {
    static const auto real = reinterpret_cast<int (*)(pthread_cond_t *, pthread_mutex_t *)>(
        dlsym(RTLD_NEXT, "pthread_cond_wait"));
    if (!g_waits) {
        return real(condition, mutex);
    }
    pthread_mutex_unlock(mutex);
    deliver();
    pthread_mutex_lock(mutex);
    return 0;
}

// Nothing comes while the call is awake.
int sched_yield() noexcept {
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) {
        return 0;
    }
    hearth::fuzz::connect_library();
    if (register_notify_handler(kOwn, on_request, nullptr) != 0) {
        abort();
    }
    g_stream.assign(reinterpret_cast<const char *>(data) + 2, size - 2);
    g_waits = true;
    (data[0] % 2 == 0 ? call_module : call_web_hook)(data[1] * 4u);
    g_waits = false;
    clear_socketfd();
    close(hearth::fuzz::g_server_end);
    return 0;
}

}  // extern "C"
