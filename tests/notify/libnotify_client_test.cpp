// The client against a scripted server: frames, results, logs and states.

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "hearth/notify.h"
#include "hearth/threadpool.h"
#include "notify/client_fixture.h"
#include "support/bus.h"

// The frame of a late answer is lost by design, and so is a post that a full pool drops.
extern "C" const char *__lsan_default_suppressions() {
    return "leak:recv_msg\nleak:post_notify_ex";
}

namespace {

using namespace hearth::test;

TEST(Connect, NeedsADirectoryAndAServer) {
    LogCapture log;
    EXPECT_EQ(register_notify_handler(kMe, nullptr, nullptr), -1);
    EXPECT_EQ(send_notify(kOther, 1, nullptr, nullptr, 0, 0), -1);
    EXPECT_EQ(raise_notify(1, 2, 3), -1);
    EXPECT_EQ(broadcast_notify(1, nullptr, nullptr, 0), -1);
    post_notify(kOther, 1, 2, 3);
    EXPECT_EQ(failures(log), (std::vector<std::string>{
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
    auto texts = failures(log);
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
    EXPECT_EQ(failures(log),
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
    EXPECT_EQ(failures(log),
              (std::vector<std::string>{"2 init_notify-->>module has initialized!\n"}));
    log.clear();
    for (uint32_t mid : {0u, 55u, 0xffffffffu}) {
        EXPECT_EQ(register_notify_handler(mid, nullptr, nullptr), -1);
    }
    EXPECT_EQ(failures(log),
              std::vector<std::string>(3, "2 register_notify_handler-->>mid is wrong!\n"));
    EXPECT_EQ(send_notify(kOther, 1, nullptr, nullptr, 0, 0), -1) << "not registered yet";
}

// Exit status 0 when of several threads that connect at once one does, with one socket.
void connect_at_once() {
    constexpr int kThreads = 4;
    int first_free = dup(0);
    close(first_free);
    std::atomic<int> ready{0};
    std::atomic<int> connected{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; t++) {
        threads.emplace_back([&] {
            for (ready++; ready < kThreads;) {
            }
            connected += init_notify() == 0;
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    _exit(connected == 1 && dup(0) == first_free + 1 ? 0 : 1);
}

TEST(Connect, OneOfManyThreadsConnects) {
    ScriptedServer server;
    for (int round = 0; round < 60; round++) {
        pid_t child = fork();
        if (child == 0) {
            connect_at_once();
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_EQ(status, 0) << "round " << round;
        server.accept();
    }
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
    EXPECT_LT(hearth::monotonic_ms() - start, 2900) << "the limit and one look of the timer";
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
    EXPECT_EQ(failures(log)[0], "2 [add_new_timeout_node] input param error \n");
    EXPECT_EQ(failures(log)[1].substr(0, 55),
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

// Required: read as a frame, such a record is a notification from module 31 to module 19.
TEST_F(Client, AFullPoolDropsLocalPostsThatLookLikeTheFlood) {
    ASSERT_EQ(register_notify_handler(20, wait_at_gate, on_buffers), 0);
    expect_frame();
    constexpr int kRequests = 5 + 31;  // one for each pool thread, and more than 30 that wait
    for (int i = 0; i < kRequests; i++) {
        peer_->send(make_frame(NOTIFY_CALL, NOTIFY_PLAIN, kOther, 20, 1));
    }
    usleep(200000);
    std::string first(31, 'a');
    std::string second(19, 'b');
    post_notify_ex(20, 2, nullptr, second.data(), 31, 19);
    post_notify_ex(20, 3, first.data(), second.data(), 31, 19);
    post_notify_ex(20, 4, nullptr, second.data(), 30, 19);
    g_open_gate = true;
    EXPECT_EQ(next_call()->msg_id + next_call()->msg_id, 3u + 4u);
    for (int i = 0; i < kRequests; i++) {
        expect_frame();
    }
    settle();
    std::lock_guard lock(g_mutex);
    EXPECT_TRUE(g_calls.empty());
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

TEST(Connect, RunsHandlersOnAPoolThatTheDaemonMade) {
    ScriptedServer server;
    ASSERT_EQ(pool_init(1), 0);
    ASSERT_EQ(init_notify(), 0);
    Peer peer = server.accept();
    ASSERT_EQ(register_notify_handler(kMe, call_back, nullptr), 0);
    peer.receive();
    peer.send(make_frame(NOTIFY_CALL, NOTIFY_PLAIN, kOther, kMe, 1));
    auto request = peer.receive();
    ASSERT_TRUE(request);
    // On the receive thread the handler could not see this answer.
    peer.send(answer_to(*request, 6));
    auto answer = peer.receive();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->header.ret_val, 7);
}

TEST_F(Client, WhatIsNoFrameOfOursIsDropped) {
    LogCapture log;
    for (uint32_t tag : {2u, 0xffffffffu}) {
        peer_->send(make_frame(tag, NOTIFY_PLAIN, kOther, kMe, 1, "x"));
    }
    settle();
    auto texts = failures(log);
    EXPECT_EQ(std::count(texts.begin(), texts.end(), "2 handle_recv_msg-->>wrong data \n"), 2);
}

}  // namespace
