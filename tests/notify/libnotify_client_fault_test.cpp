// The client when memory, the socket or the server fails it.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <atomic>
#include <future>
#include <thread>

#include "hearth/notify.h"
#include "notify/client_fixture.h"
#include "support/bus.h"
#include "support/faults.h"

// The frame of a late answer is lost by design.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:recv_msg";
}

namespace {

std::atomic<bool> g_stingy;         // the socket takes seven bytes at a time and is interrupted
std::atomic<int> g_send_limit{-1};  // bytes of a frame that leave before the connection breaks

}  // namespace

// Stands in for the library's way out.
extern "C" ssize_t sendmsg(int fd, const msghdr *message, int flags) {
    static std::atomic<int> calls;
    msghdr copy = *message;
    iovec first = message->msg_iov[0];
    int limit = g_send_limit;
    if (g_stingy && ++calls % 3 == 0) {
        errno = EINTR;
        return -1;
    }
    if (g_stingy || limit >= 0) {
        size_t most = g_stingy ? 7 : first.iov_len == 48 ? static_cast<size_t>(limit) : 0;
        first.iov_len = std::min(first.iov_len, most);
        copy.msg_iov = &first;
        copy.msg_iovlen = 1;
        if (first.iov_len == 0) {
            errno = EPIPE;
            return -1;
        }
    }
    return syscall(SYS_sendmsg, fd, &copy, flags);
}

namespace {
using namespace hearth::test;

// A body for which there is no memory is read away: the stream stays in step.
TEST_F(Client, ABodyTooLongForTheMemoryIsReadAway) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the address space cannot be limited under a sanitizer";
#endif
    rlimit saved{};
    getrlimit(RLIMIT_AS, &saved);
    rlimit small{1 << 28, saved.rlim_max};
    LogCapture log;
    setrlimit(RLIMIT_AS, &small);
    Frame frame = make_frame(NOTIFY_CALL, NOTIFY_PLAIN, kOther, kMe, 1);
    frame.header.data_len = 1 << 28;
    peer_->send(frame);
    std::string piece(1 << 16, 'x');
    for (int i = 0; i < (1 << 12); i++) {
        ASSERT_TRUE(peer_->send_bytes(piece));
    }
    settle();
    setrlimit(RLIMIT_AS, &saved);
    EXPECT_TRUE(contains(log.texts(), "2 recv_msg-->>malloc retrun error :total_msg is null!\n"));
    EXPECT_TRUE(contains(log.texts(), "2 handle_recv_msg -->>recv return error= -1 !\n"));
}

TEST_F(Client, ComesBackWithItsModulesAfterALoss) {
    ASSERT_EQ(register_notify_handler(20, nullptr, nullptr), 0);
    expect_frame();
    LogCapture log;
    auto waiting = std::async(std::launch::async,
                              [] { return send_notify(kOther, 1, nullptr, nullptr, 0, 0); });
    expect_frame();
    usleep(50000);
    peer_.reset();
    peer_.emplace(server_.accept());
    EXPECT_EQ(expect_frame().header.src_mid, kMe);
    EXPECT_EQ(expect_frame().header.src_mid, 20u);
    EXPECT_TRUE(contains(log.texts(),
                         "2 handle_recv_msg -->>recv return error , notify server had closed !\n"));
    // The sender from before wakes with the next broadcast, which any answer brings.
    ASSERT_TRUE(wait_for([] { return post_notify(18, 2, 0, 0) == 0; }));
    EXPECT_EQ(expect_frame().header.msg_id, 2u);
    auto call = std::async(std::launch::async,
                           [] { return send_notify_ex(18, 3, nullptr, nullptr, 0, 0, 10); });
    answer(8);
    EXPECT_EQ(call.get(), 8);
    EXPECT_EQ(waiting.get(), -1);
}

// However little the socket takes at a time, and whatever interrupts it, frames leave whole and one
// after the other.
TEST_F(Client, FramesLeaveWholeFromASocketThatTakesLittle) {
    constexpr int kThreads = 4;
    constexpr int kPosts = 50;
    g_stingy = true;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; t++) {
        threads.emplace_back([t] {
            std::string first(static_cast<size_t>(t) * 30 + 1, static_cast<char>('a' + t));
            for (int i = 0; i < kPosts; i++) {
                post_notify_ex(kOther, 1, first.data(), "end", static_cast<uint32_t>(first.size()),
                               3);
            }
        });
    }
    for (int i = 0; i < kThreads * kPosts; i++) {
        Frame frame = expect_frame();
        size_t length = frame.header.data1_len;
        ASSERT_EQ(frame.body.size(), length + 3);
        char letter = static_cast<char>('a' + (length - 1) / 30);
        ASSERT_EQ(frame.body, std::string(length, letter) + "end");
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    g_stingy = false;
}

TEST_F(Client, ASendThatFailsIsToldByItsPlace) {
    LogCapture log;
    g_send_limit = 0;
    EXPECT_EQ(send_notify_ex(kOther, 1, nullptr, nullptr, 0, 0, 5), -1);
    g_send_limit = 48;
    post_notify(kOther, 1, 2, 3);
    g_send_limit = -1;
    EXPECT_EQ(failures(log),
              (std::vector<std::string>{
                  "2 send_msgex-->>exit !send() msg_heaer return  errno= Broken pipe\n",
                  "2 send_sync_msg-->>send_msgex return -1 exit!\n",
                  "2 send_notify-->>send_sync_msg retrun err\n",
                  "2 send_msgex-->>exit! send() msg_data return  errno= Broken pipe\n",
                  "2 post_notify-->>send_msgex return -1 exit!\n",
              }));
}

// A message may be lost when memory runs out, but the client goes on.
TEST_F(Client, GoesOnAfterEachFailedAllocation) {
    using namespace hearth::test;
    ASSERT_EQ(register_notify_handler(20, nullptr, on_buffers), 0);
    expect_frame();
    int faults = for_each_fault(Fault::kFail, kAllocations, ENOMEM, [&] {
        Frame request = make_frame(NOTIFY_CALL, NOTIFY_PLAIN, kOther, kMe, 1, "ping");
        request.header.ack_len = 8;
        peer_->send(request);
        post_notify(kMe, 1, 2, 3);
        post_notify_ex(20, 1, "a", "b", 2, 2);
        auto call = std::async(std::launch::async,
                               [] { return send_notify_ex(kOther, 1, nullptr, nullptr, 0, 0, 0); });
        call.get();
        usleep(20000);
    });
    EXPECT_GE(faults, 8);
    while (peer_->receive(50)) {
    }
    settle();
}

// The rest of a frame that the server cut short must not be taken for the start of another.
TEST_F(Client, AFrameCutShortEndsTheConnection) {
    LogCapture log;
    Frame frame = make_frame(NOTIFY_CALL, NOTIFY_PLAIN, kOther, kMe, 1);
    frame.header.data_len = 100;
    frame.body = "only this";
    peer_->send(frame);
    peer_.reset();
    peer_.emplace(server_.accept());
    EXPECT_EQ(expect_frame().header.src_mid, kMe);
    EXPECT_TRUE(contains(log.texts(), "2 recv_msg-->>revc data retrun error !\n"));
    std::lock_guard lock(g_mutex);
    EXPECT_TRUE(g_calls.empty());
}

}  // namespace
