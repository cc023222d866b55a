// A client of the bus against a scripted server, with handlers that note what they are called with.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <mutex>

#include "hearth/notify.h"
#include "support/bus.h"
#include "support/log_capture.h"

namespace hearth::test {

inline constexpr uint32_t kMe = 12;
inline constexpr uint32_t kOther = 17;

inline bool contains(const std::vector<std::string> &texts, const std::string &text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// The lines that tell of failures: what threads say of themselves comes at any time.
inline std::vector<std::string> failures(const LogCapture &log) {
    std::vector<std::string> texts = log.texts();
    std::erase_if(texts, [](const std::string &text) { return text[0] != '1' && text[0] != '2'; });
    return texts;
}

// Waits until a condition holds.
inline bool wait_for(const std::function<bool()> &condition, int limit_ms = 3000) {
    int64_t end = hearth::monotonic_ms() + limit_ms;
    while (!condition()) {
        if (hearth::monotonic_ms() > end) {
            return false;
        }
        usleep(2000);
    }
    return true;
}

inline Frame answer_to(const Frame &request, int32_t result, std::string body = "",
                       uint32_t ack_tag = NOTIFY_ANSWER) {
    Frame answer = make_frame(NOTIFY_CALL, ack_tag, request.header.des_mid, request.header.src_mid,
                              request.header.msg_id, std::move(body));
    answer.header.seq_num = request.header.seq_num;
    answer.header.ret_val = result;
    return answer;
}

// What the handlers below were called with.
struct Call {
    uint32_t msg_id;
    uintptr_t arg1;
    uintptr_t arg2;
    std::string in;
    bool has_out;
    pid_t thread;
};
inline std::mutex g_mutex;
inline std::deque<Call> g_calls;

inline void note(Call call) {
    std::lock_guard lock(g_mutex);
    call.thread = gettid();
    g_calls.push_back(std::move(call));
}

inline std::optional<Call> next_call() {
    std::optional<Call> call;
    wait_for([&] {
        std::lock_guard lock(g_mutex);
        if (!g_calls.empty()) {
            call = g_calls.front();
            g_calls.pop_front();
        }
        return call.has_value();
    });
    return call;
}

inline uint32_t on_request(uint32_t msg_id, void *in, void *out) {
    note({msg_id, 0, 0, in != nullptr ? static_cast<char *>(in) : "", out != nullptr, 0});
    if (out != nullptr) {
        memcpy(out, "pong", 4);
    }
    return 42;
}

inline uint32_t on_values(uint32_t msg_id, uintptr_t arg1, uintptr_t arg2) {
    note({msg_id, arg1, arg2, "", false, 0});
    return 0;
}

inline uint32_t on_buffers(uint32_t msg_id, uintptr_t arg1, uintptr_t arg2) {
    std::string text;
    for (uintptr_t part : {arg1, arg2}) {
        text += part != 0 ? reinterpret_cast<const char *>(part) : "-";
        text += '|';
    }
    note({msg_id, arg1, arg2, text, false, 0});
    return 0;
}

// A connected client with module 12 registered, and the server's end of its connection.
class Client : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(init_notify(), 0);
        peer_.emplace(server_.accept());
        ASSERT_EQ(register_notify_handler(kMe, on_request, on_values), 0);
        auto registration = peer_->receive();
        ASSERT_TRUE(registration);
        ASSERT_EQ(registration->header.src_mid, kMe);
    }

    Frame expect_frame() {
        auto frame = peer_->receive();
        EXPECT_TRUE(frame);
        return frame.value_or(Frame{});
    }

    // Answers the next request.
    void answer(int32_t result, std::string body = "", uint32_t ack_tag = NOTIFY_ANSWER) {
        peer_->send(answer_to(expect_frame(), result, std::move(body), ack_tag));
    }

    // Goes through the receive thread and back, after all frames sent before; pool jobs may
    // still run.
    void settle() {
        Frame request = make_frame(NOTIFY_CALL, NOTIFY_PLAIN, 40, kMe, 4711);
        peer_->send(request);
        while (expect_frame().header.msg_id != 4711) {
        }
        std::lock_guard lock(g_mutex);
        std::erase_if(g_calls, [](const Call &call) { return call.msg_id == 4711; });
    }

    ScriptedServer server_;
    std::optional<Peer> peer_;
};

}  // namespace hearth::test
