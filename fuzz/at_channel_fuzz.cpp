// What stands on the server's queue, through the client's side of the channel. Input: messages;
// each is a byte that moves its number away from the request's, two bytes of length, and its bytes
// from the front of the message on.
// libFuzzer: -max_len=5000
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <span>

#include "exact_copy.h"
#include "hearth/at_lib.h"

using hearth::fuzz::require;

namespace {

constexpr int32_t kReplies = 7;
constexpr int32_t kRequests = 8;
constexpr size_t kHead = 3;
constexpr size_t kThroughSeq = offsetof(at_server_msg, seq) + sizeof(uint32_t);

std::span<const uint8_t> g_messages;
uint32_t g_seq;

}  // namespace

// Stand in for the queues, the event and the server's process.
extern "C" {

int32_t osa_task_name_to_id(const char *) {
    return 1;
}

int32_t osa_task_bExist(int32_t) {
    return 1;
}

int32_t osa_get_msgQ_id(int32_t number) {
    return number == AT_QUEUE_REPLIES ? kReplies : kRequests;
}

int32_t osa_event_send(int32_t, uint32_t) {
    return 1;
}

int32_t osa_msgQex_send(int32_t queue, const void *message, uint32_t size, int32_t) {
    require(queue == kRequests && size == sizeof(at_server_msg));
    g_seq = static_cast<const at_server_msg *>(message)->seq;
    return 1;
}

int32_t osa_msgQex_recv(int32_t queue, void *message, uint32_t size, int32_t timeout_ms, int32_t) {
    if (queue != kReplies || g_messages.size() < kHead) {
        return -1;
    }
    require(size == sizeof(at_server_msg) && timeout_ms == 1000);
    auto distance = static_cast<int8_t>(g_messages[0]);
    size_t length = g_messages[1] | static_cast<size_t>(g_messages[2]) << 8;
    g_messages = g_messages.subspan(kHead);
    std::span<const uint8_t> bytes = g_messages.first(std::min(length, g_messages.size()));
    g_messages = g_messages.subspan(bytes.size());
    size_t got = std::min<size_t>(bytes.size(), size);
    memset(message, 0, kThroughSeq);
    memcpy(message, bytes.data(), got);
    static_cast<at_server_msg *>(message)->seq = g_seq + static_cast<uint32_t>(distance);
    return static_cast<int32_t>(std::max(got, kThroughSeq) - sizeof(int32_t));
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    g_messages = {data, size};
    auto message = std::make_unique<at_server_msg>();
    message->mtype = 1;
    message->timeout = 1;
    memset(message->match, 'm', sizeof message->match - 1);
    memset(message->report, 'r', sizeof message->report - 1);
    int32_t result = GetDataFromAtServer(message.get());
    require(result == 0 || result == -1);
    require(memchr(message->match, 0, sizeof message->match) != nullptr);
    require(memchr(message->report, 0, sizeof message->report) != nullptr);
    require(result == 0 ? message->seq == g_seq : message->report[0] == '\0');
    return 0;
}

}  // extern "C"
