// The client against a scripted server: frames, results, logs and states.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

#include "hearth/notify.h"
#include "hearth/notify_recv.h"
#include "support/bus.h"
#include "support/faults.h"
#include "support/log_capture.h"

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

using hearth::test::Frame;
using hearth::test::LogCapture;
using hearth::test::make_frame;
using hearth::test::Peer;
using hearth::test::ScriptedServer;

constexpr uint32_t kMe = 12;
constexpr uint32_t kOther = 17;

bool contains(const std::vector<std::string> &texts, const std::string &text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// Waits until a condition holds.
bool wait_for(const std::function<bool()> &condition, int limit_ms = 3000) {
    int64_t end = hearth::monotonic_ms() + limit_ms;
    while (!condition()) {
        if (hearth::monotonic_ms() > end) {
            return false;
        }
        usleep(2000);
    }
    return true;
}

Frame answer_to(const Frame &request, int32_t result, std::string body = "",
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
std::mutex g_mutex;
std::deque<Call> g_calls;

void note(Call call) {
    std::lock_guard lock(g_mutex);
    call.thread = gettid();
    g_calls.push_back(std::move(call));
}

std::optional<Call> next_call() {
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

uint32_t on_request(uint32_t msg_id, void *in, void *out) {
    note({msg_id, 0, 0, in != nullptr ? static_cast<char *>(in) : "", out != nullptr, 0});
    if (out != nullptr) {
        memcpy(out, "pong", 4);
    }
    return 42;
}

uint32_t on_values(uint32_t msg_id, uintptr_t arg1, uintptr_t arg2) {
    note({msg_id, arg1, arg2, "", false, 0});
    return 0;
}

uint32_t on_buffers(uint32_t msg_id, uintptr_t arg1, uintptr_t arg2) {
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

TEST(Connect, NeedsADirectoryAndAServer) {
    LogCapture log;
    EXPECT_EQ(register_notify_handler(kMe, nullptr, nullptr), -1);
    EXPECT_EQ(send_notify(kOther, 1, nullptr, nullptr, 0, 0), -1);
    EXPECT_EQ(raise_notify(1, 2, 3), -1);
    EXPECT_EQ(broadcast_notify(1, nullptr, nullptr, 0), -1);
    post_notify(kOther, 1, 2, 3);
    EXPECT_EQ(log.texts(), (std::vector<std::string>{
                               "2 register_notify_handler-->>g_sock_fd= -1!\n",
                               "2 send_sync_msg-->>g_sock_fd=-1 , g_has_registed=0 \n",
                               "2 send_notify-->>send_sync_msg retrun err\n",
                               "2 raise_notify-->>g_sock_fd= -1 , g_has_registed= 0 \n",
                               "2 broadcast_notify-->>g_sock_fd= -1 , g_has_registed= 0 \n",
                               "2 post_notify-->>g_sock_fd= -1 , g_has_registed= 0 \n",
                           }));
    EXPECT_EQ(log.lines()[0].module, "notify_client");
    EXPECT_EQ(log.lines()[0].file, "notify/linux/notify_client/src/libnotify_client");

    log.clear();
    int64_t start = hearth::monotonic_ms();
    EXPECT_EQ(init_notify(), -1);
    EXPECT_GE(hearth::monotonic_ms() - start, 2000);
    auto texts = log.texts();
    ASSERT_EQ(texts.size(), 21u);
    EXPECT_EQ(
        texts[0],
        "2 init_notify-->>connect socket fail! time is 1, errno= No such file or directory\n");
    EXPECT_EQ(
        texts[20],
        "2 init_notify-->>connect socket fail! all failed!errno= No such file or directory\n");

    log.clear();
    rename("/var/run/notify", "/var/run/elsewhere");
    EXPECT_EQ(init_notify(), -1);
    EXPECT_EQ(log.texts(),
              (std::vector<std::string>{"2 init_notify-->>Bind socket fail! errno= No such file or "
                                        "directory \n"}));
}

TEST(Connect, TakesItsOwnPathAndReplacesAStaleFile) {
    ScriptedServer server;
    char path[64];
    snprintf(path, sizeof path, "/var/run/notify/notifyclient%05d", getpid());
    fclose(fopen(path, "w"));
    ASSERT_EQ(init_notify(), 0);
    Peer peer = server.accept();
    sockaddr_un address{};
    socklen_t length = sizeof address;
    ASSERT_EQ(getpeername(peer.fd(), reinterpret_cast<sockaddr *>(&address), &length), 0);
    EXPECT_STREQ(address.sun_path, path);
    EXPECT_EQ(length, strlen(path) + 2 + 1);  // the system's own count takes the end in

    LogCapture log;
    EXPECT_EQ(init_notify(), -1);
    EXPECT_EQ(log.texts(),
              (std::vector<std::string>{"2 init_notify-->>module has initialized!\n"}));
    log.clear();
    for (uint32_t mid : {0u, 55u, 0xffffffffu}) {
        EXPECT_EQ(register_notify_handler(mid, nullptr, nullptr), -1);
    }
    EXPECT_EQ(log.texts(),
              std::vector<std::string>(3, "2 register_notify_handler-->>mid is wrong!\n"));
    EXPECT_EQ(send_notify(kOther, 1, nullptr, nullptr, 0, 0), -1) << "not registered yet";
}

TEST(Connect, RunsSevenThreads) {
    ScriptedServer server;
    ASSERT_EQ(init_notify(), 0);
    auto threads = [] {
        FILE *file = popen(("ls /proc/" + std::to_string(getpid()) + "/task | wc -l").c_str(), "r");
        int count = 0;
        EXPECT_EQ(fscanf(file, "%d", &count), 1);
        pclose(file);
        return count;
    };
    int base = 1;
#if defined(__SANITIZE_THREAD__)
    base = 2;  // the sanitizer's own
#endif
    EXPECT_TRUE(wait_for([&] { return threads() == base + 7; })) << threads();
}

TEST_F(Client, RegistersEachModuleAndSpeaksAsTheFirst) {
    ASSERT_EQ(register_notify_handler(kOther, nullptr, nullptr), 0);
    Frame registration = expect_frame();
    msg_header expected{};
    expected.seq_num = registration.header.seq_num;
    expected.src_mid = kOther;
    expected.des_mid = NOTIFY_MID_SERVER;
    expected.ack_tag = 1;
    expected.ret_val = -1;
    EXPECT_EQ(memcmp(&registration.header, &expected, sizeof expected), 0);
    raise_notify(5, 6, 7);
    Frame raised = expect_frame();
    EXPECT_EQ(raised.header.src_mid, kMe);
    EXPECT_EQ(raised.header.seq_num, registration.header.seq_num + 1);
}

TEST_F(Client, FillsTheHeaderOfEachKind) {
    struct Case {
        const char *what;
        std::function<void()> send;
        std::vector<uint32_t> words;  // msg_id, then des_mid to ex_flag
        std::string body;
    };
    std::string values("\x02\0\0\0\x03\0\0\0", 8);
    const uint32_t none = 0xffffffff;
    for (const Case &c : {
             Case{"two values",
                  [] { post_notify(kOther, 5, 2, 3); },
                  {5, kOther, 0, 1, 8, 4, 4, 0, none, 0},
                  values},
             Case{"two buffers",
                  [] { post_notify_ex(kOther, 6, "abc", "de", 4, 2); },
                  {6, kOther, 0, 1, 6, 4, 2, 0, none, 1},
                  std::string("abc\0de", 6)},
             Case{"second buffer only",
                  [] { post_notify_ex(kOther, 6, nullptr, "de", 0, 2); },
                  {6, kOther, 0, 1, 2, 0, 2, 0, none, 1},
                  "de"},
             Case{"no buffers",
                  [] { post_notify_ex(kOther, 6, nullptr, nullptr, 0, 0); },
                  {6, kOther, 0, 1, 0, 0, 0, 0, none, 1},
                  ""},
             Case{"to all",
                  [] { raise_notify(7, 2, 3); },
                  {7, 55, 0, 1, 8, 4, 4, 0, none, 0},
                  values},
             Case{"call without answer",
                  [] { send_notify_ex(kOther, 8, const_cast<char *>("in"), nullptr, 2, 9, 0); },
                  {8, kOther, 1, 1, 2, 0, 0, 0, none, 0},
                  "in"},
             Case{"call without input",
                  [] {
                      char out[9];
                      send_notify_ex(kOther, 8, nullptr, out, 2, 9, 0);
                  },
                  {8, kOther, 1, 1, 0, 0, 0, 9, none, 0},
                  ""},
         }) {
        SCOPED_TRACE(c.what);
        c.send();
        Frame frame = expect_frame();
        const uint32_t *words = reinterpret_cast<const uint32_t *>(&frame.header);
        EXPECT_EQ(words[0], c.words[0]);
        EXPECT_EQ(words[2], kMe);
        EXPECT_EQ(std::vector<uint32_t>(words + 3, words + 12),
                  std::vector<uint32_t>(c.words.begin() + 1, c.words.end()));
        EXPECT_EQ(frame.body, c.body);
    }
}

TEST_F(Client, CollectsTheAnswer) {
    struct Case {
        const char *what;
        uint32_t out_len;
        int32_t result;
        std::string body;
        uint32_t ack_tag;
        int32_t expected;
        const char *out;
    };
    for (const Case &c : {
             Case{"fits", 4, 7, "abcd", 2, 7, "abcd...."},
             Case{"cut", 2, -9, "abcd", 2, -9, "ab......"},
             Case{"shorter", 8, 0, "a", 2, 0, "a......."},
             Case{"none", 8, 1, "", 2, 1, "........"},
             Case{"from the server", 8, 1, "abcd", 3, 3000, "........"},
         }) {
        SCOPED_TRACE(c.what);
        char out[9] = "........";
        auto call = std::async(std::launch::async,
                               [&] { return send_notify(kOther, 1, nullptr, out, 0, c.out_len); });
        answer(c.result, c.body, c.ack_tag);
        EXPECT_EQ(call.get(), c.expected);
        EXPECT_STREQ(out, c.out);
    }
    EXPECT_EQ(send_notify(0, 1, nullptr, nullptr, 0, 0), -1);
    EXPECT_EQ(send_notify(55, 1, nullptr, nullptr, 0, 0), -1);
}

TEST_F(Client, AnswersFindTheirCallersInAnyOrder) {
    constexpr int kCalls = 8;
    std::vector<std::future<int32_t>> calls;
    std::vector<Frame> requests;
    for (int i = 0; i < kCalls; i++) {
        calls.push_back(std::async(std::launch::async, [i] {
            uint32_t in = static_cast<uint32_t>(i);
            uint32_t out = 0;
            int32_t result = send_notify(kOther, 1, &in, &out, 4, 4);
            return result == i && out == in ? i : -1;
        }));
    }
    for (int i = 0; i < kCalls; i++) {
        requests.push_back(expect_frame());
    }
    for (auto request = requests.rbegin(); request != requests.rend(); ++request) {
        peer_->send(answer_to(*request, request->body[0], request->body));
    }
    for (int i = 0; i < kCalls; i++) {
        EXPECT_EQ(calls[i].get(), i);
    }
}

TEST_F(Client, ACallRunsOutAndItsLateAnswerIsDropped) {
    LogCapture log;
    int64_t start = hearth::monotonic_ms();
    EXPECT_EQ(send_notify_ex(kOther, 1, nullptr, nullptr, 0, 0, 1), -1);
    EXPECT_LT(hearth::monotonic_ms() - start, 3500);
    EXPECT_TRUE(contains(log.texts(), "2 send_notify-->>removed_node_from_list retrun NULL\n"));
    Frame request = expect_frame();
    peer_->send(answer_to(request, 5));
    settle();
    std::string late = "1 [handle_ack_msg]->>[check_ack_seq_is_exist] seq_num= " +
                       std::to_string(request.header.seq_num) + "\n";
    EXPECT_TRUE(contains(log.texts(), late));
    // A limit of 0 does not wait, and a negative one is refused.
    EXPECT_EQ(send_notify_ex(kOther, 1, nullptr, nullptr, 0, 0, 0), -1);
    log.clear();
    EXPECT_EQ(send_notify_ex(kOther, 1, nullptr, nullptr, 0, 0, -1), -1);
    EXPECT_EQ(log.texts()[0], "2 [add_new_timeout_node] input param error \n");
    EXPECT_EQ(log.texts()[1].substr(0, 55),
              "1 [send_sync_msg_ex][add_new_timeout_node]return NULL s");
}

TEST_F(Client, ADeathEndsTheWaitForThatModuleAlone) {
    auto doomed = std::async(std::launch::async,
                             [] { return send_notify(kOther, 1, nullptr, nullptr, 0, 0); });
    expect_frame();
    auto other =
        std::async(std::launch::async, [] { return send_notify(18, 2, nullptr, nullptr, 0, 0); });
    Frame pending = expect_frame();
    usleep(50000);  // both note their number after sending
    peer_->send(make_frame(NOTIFY_ONE_WAY, NOTIFY_NOTICE, NOTIFY_MID_SERVER, kMe, kOther));
    EXPECT_EQ(doomed.get(), -1);
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    peer_->send(answer_to(pending, 3));
    EXPECT_EQ(other.get(), 3);
    // The next call tries again.
    auto again = std::async(std::launch::async,
                            [] { return send_notify(kOther, 1, nullptr, nullptr, 0, 0); });
    answer(4);
    EXPECT_EQ(again.get(), 4);
}

TEST_F(Client, RunsHandlersOfRequestsAndAnswersThem) {
    struct Case {
        const char *what;
        uint32_t des_mid;
        uint32_t src_mid;
        uint32_t ack_len;
        bool called;
        bool answered;
        int32_t result;
        std::string body;
    };
    for (const Case &c : {
             Case{"with output", kMe, kOther, 6, true, true, 42, std::string("pong\0\0", 6)},
             Case{"without output", kMe, kOther, 0, true, true, 42, ""},
             Case{"from the server", kMe, NOTIFY_MID_SERVER, 6, true, false, 0, ""},
             Case{"no handler", 33, kOther, 6, false, true, 0, ""},
             Case{"slot 0", 0, kOther, 6, false, true, 0, ""},
             Case{"no module", 55, kOther, 6, false, false, 0, ""},
         }) {
        SCOPED_TRACE(c.what);
        Frame request = make_frame(NOTIFY_CALL, NOTIFY_PLAIN, c.src_mid, c.des_mid, 31, "ping");
        request.header.seq_num = 1000;
        request.header.ack_len = c.ack_len;
        peer_->send(request);
        if (c.called) {
            auto call = next_call();
            ASSERT_TRUE(call);
            EXPECT_EQ(call->in, "ping");
            EXPECT_EQ(call->has_out, c.ack_len != 0);
            EXPECT_NE(call->thread, getpid());
        }
        if (c.answered) {
            Frame answer = expect_frame();
            EXPECT_EQ(answer.header.msg_id, 31u);
            EXPECT_EQ(answer.header.seq_num, 1000u);
            EXPECT_EQ(answer.header.src_mid, kMe);
            EXPECT_EQ(answer.header.des_mid, kOther);
            EXPECT_EQ(answer.header.sync_tag, 1u);
            EXPECT_EQ(answer.header.ack_tag, 2u);
            EXPECT_EQ(answer.header.ret_val, c.result);
            EXPECT_EQ(answer.body, c.body);
        }
        settle();
    }
}

TEST_F(Client, RunsHandlersOfNotifications) {
    ASSERT_EQ(register_notify_handler(20, nullptr, on_buffers), 0);
    expect_frame();
    struct Case {
        const char *what;
        uint32_t des_mid;
        uint32_t ack_tag;
        uint32_t ex_flag;
        uint32_t len1;
        uint32_t len2;
        std::string body;
        bool called;
        uintptr_t arg1;
        uintptr_t arg2;
        const char *text;
    };
    std::string two("\x05\0\0\0\x06\0\0\x80", 8);
    std::string parts("ab\0cde\0", 7);
    for (const Case &c : {
             Case{"values", kMe, 1, 0, 4, 4, two, true, 5, 0x80000006u, ""},
             Case{"values without lengths", kMe, 1, 0, 0, 0, two, true, 5, 5, ""},
             Case{"empty body", kMe, 1, 0, 4, 4, "", true, 0, 0, ""},
             Case{"short body", kMe, 1, 0, 4, 4, "\x05\x01\x01\x01\x01", true, 0x01010105, 0, ""},
             Case{"offset beyond", kMe, 1, 0, 0xfffffffc, 4, two, true, 5, 0, ""},
             Case{"odd tag", kMe, 7, 0, 4, 4, two, false, 0, 0, ""},
             Case{"no such module", 55, 1, 0, 4, 4, two, false, 0, 0, ""},
             Case{"buffers", 20, 1, 1, 3, 4, parts, true, 1, 1, "ab|cde|"},
             Case{"second empty", 20, 1, 1, 7, 0, parts, true, 1, 0, "ab|-|"},
             Case{"first empty", 20, 1, 1, 0, 7, parts, true, 0, 1, "-|ab|"},
             Case{"part beyond the body", 20, 1, 1, 3, 5, parts, true, 1, 0, "ab|-|"},
             Case{"both beyond", 20, 1, 1, 0xfffffff0, 0x20, parts, true, 0, 0, "-|-|"},
         }) {
        SCOPED_TRACE(c.what);
        Frame frame = make_frame(NOTIFY_ONE_WAY, c.ack_tag, kOther, c.des_mid, 31, c.body);
        frame.header.ex_flag = c.ex_flag;
        frame.header.data1_len = c.len1;
        frame.header.data2_len = c.len2;
        peer_->send(frame);
        if (c.called) {
            auto call = next_call();
            ASSERT_TRUE(call);
            EXPECT_EQ(call->in, c.text);
            EXPECT_EQ(c.ex_flag != 0 ? call->arg1 != 0 : call->arg1, c.arg1);
            EXPECT_EQ(c.ex_flag != 0 ? call->arg2 != 0 : call->arg2, c.arg2);
        }
        settle();
        std::lock_guard lock(g_mutex);
        EXPECT_TRUE(g_calls.empty());
    }
}

TEST_F(Client, PostsWithinTheProcess) {
    ASSERT_EQ(register_notify_handler(20, nullptr, on_buffers), 0);
    expect_frame();
    post_notify(kMe, 9, 0xffffffff, 3);
    auto call = next_call();
    ASSERT_TRUE(call);
    EXPECT_EQ(call->arg1, 0xffffffffu);
    EXPECT_EQ(call->arg2, 3u);
    EXPECT_NE(call->thread, gettid());
    {
        std::string first = "first";
        post_notify_ex(20, 9, first.c_str(), "second", 6, 7);
        first = "XXXXX";
    }
    EXPECT_EQ(next_call()->in, "first|second|");
    post_notify_ex(20, 9, nullptr, "second", 0, 7);
    EXPECT_EQ(next_call()->in, "-|second|");
    settle();  // nothing went to the server
}

TEST_F(Client, CallsAModuleOfTheProcessOnTheCallersThread) {
    char out[4];
    EXPECT_EQ(send_notify(kMe, 9, const_cast<char *>("x"), out, 0, 0), 42);
    auto call = next_call();
    EXPECT_EQ(call->thread, gettid());
    EXPECT_TRUE(call->has_out);
    // With a limit it takes the way through the server.
    auto remote = std::async(std::launch::async,
                             [] { return send_notify_ex(kMe, 9, nullptr, nullptr, 0, 0, 10); });
    Frame request = expect_frame();
    EXPECT_EQ(request.header.des_mid, kMe);
    peer_->send(request);
    next_call();
    peer_->send(expect_frame());
    EXPECT_EQ(remote.get(), 42);
}

TEST_F(Client, BroadcastCallsAllButTheServerInTurn) {
    auto done = std::async(std::launch::async,
                           [] { return broadcast_notify(9, const_cast<char *>("x"), nullptr, 2); });
    for (uint32_t mid = 1; mid <= 54; mid++) {
        if (mid != NOTIFY_MID_SERVER && mid != kMe) {
            Frame request = expect_frame();
            EXPECT_EQ(request.header.des_mid, mid);
            EXPECT_EQ(request.header.ack_len, 0u);
            peer_->send(answer_to(request, 0));
        }
    }
    EXPECT_EQ(done.get(), 0);
    EXPECT_EQ(next_call()->msg_id, 9u);  // its own module, here
}

std::atomic<bool> g_open_gate;

uint32_t wait_at_gate(uint32_t, void *, void *) {
    wait_for([] { return g_open_gate.load(); }, 20000);
    return 1;
}

TEST_F(Client, AnswersFlowWhileAllPoolThreadsAreTaken) {
    ASSERT_EQ(register_notify_handler(20, wait_at_gate, nullptr), 0);
    expect_frame();
    for (int i = 0; i < 20; i++) {
        peer_->send(make_frame(NOTIFY_CALL, NOTIFY_PLAIN, kOther, 20, 1));
    }
    auto call = std::async(std::launch::async,
                           [] { return send_notify(kOther, 2, nullptr, nullptr, 0, 0); });
    answer(9);
    EXPECT_EQ(call.get(), 9);
    g_open_gate = true;
    for (int i = 0; i < 20; i++) {
        EXPECT_EQ(expect_frame().header.ret_val, 1);
    }
}

uint32_t call_back(uint32_t msg_id, void *, void *) {
    return static_cast<uint32_t>(send_notify(kOther, msg_id + 1, nullptr, nullptr, 0, 0)) + 1;
}

TEST_F(Client, AHandlerMayCallBack) {
    ASSERT_EQ(register_notify_handler(20, call_back, nullptr), 0);
    expect_frame();
    peer_->send(make_frame(NOTIFY_CALL, NOTIFY_PLAIN, kOther, 20, 1));
    answer(6);
    EXPECT_EQ(expect_frame().header.ret_val, 7);
}

TEST_F(Client, WhatIsNoFrameOfOursIsDropped) {
    LogCapture log;
    for (uint32_t tag : {2u, 0xffffffffu}) {
        peer_->send(make_frame(tag, NOTIFY_PLAIN, kOther, kMe, 1, "x"));
    }
    settle();
    auto texts = log.texts();
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "2 handle_recv_msg-->>wrong data \n"), 2);
}

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
    ASSERT_TRUE(wait_for([] { return send_notify(18, 1, nullptr, nullptr, 0, 0) == -1; }));
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
    EXPECT_EQ(log.texts(),
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
