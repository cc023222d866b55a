// The notify server against clients that speak its protocol, and against some that do not.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <fstream>
#include <functional>
#include <random>

#include "support/bus.h"

namespace {

using hearth::test::Frame;
using hearth::test::make_frame;
using hearth::test::make_registration;
using hearth::test::Peer;
using hearth::test::ServerProcess;

Frame make_request(uint32_t src_mid, uint32_t des_mid, uint32_t seq, std::string body = "") {
    Frame frame = make_frame(NOTIFY_CALL, NOTIFY_PLAIN, src_mid, des_mid, 77, std::move(body));
    frame.header.seq_num = seq;
    return frame;
}

// Waits until the server has handled what the peer sent so far.
void settle(const Peer &peer, uint32_t mid) {
    peer.send(make_request(mid, NOTIFY_MID_SERVER, 424242));
    auto answer = peer.receive();
    ASSERT_TRUE(answer);
    ASSERT_EQ(answer->header.seq_num, 424242u);
}

Peer register_peer(std::initializer_list<uint32_t> modules) {
    Peer peer = Peer::connect_to_server();
    for (uint32_t mid : modules) {
        peer.send(make_registration(mid));
    }
    settle(peer, *modules.begin());
    return peer;
}

long resident_kb(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("VmRSS:", 0) == 0) {
            return std::stol(line.substr(6));
        }
    }
    return -1;
}

TEST(NotifyServer, ForwardsFramesUnchanged) {
    ServerProcess server;
    Peer a = register_peer({12});
    Peer b = register_peer({17});
    for (size_t size : {0ul, 1ul, 4096ul, 300000ul}) {
        Frame sent = make_request(12, 17, 5, std::string(size, 'x'));
        sent.header.ack_len = 9;
        sent.header.data1_len = 3;
        sent.header.ex_flag = 1;
        ASSERT_TRUE(a.send(sent));
        auto got = b.receive();
        ASSERT_TRUE(got);
        EXPECT_EQ(memcmp(&got->header, &sent.header, sizeof sent.header), 0);
        EXPECT_EQ(got->body, sent.body);
    }
    // An answer needs no registration of its source: it is found by its destination alone.
    Frame answer = make_frame(NOTIFY_CALL, NOTIFY_ANSWER, 40, 12, 77, "ok");
    ASSERT_TRUE(b.send(answer));
    auto got = a.receive();
    ASSERT_TRUE(got);
    EXPECT_EQ(got->body, "ok");
}

TEST(NotifyServer, FansOutToEveryModuleWithItsOwnId) {
    ServerProcess server;
    Peer a = register_peer({12});
    Peer b = register_peer({17, 3});
    ASSERT_TRUE(
        a.send(make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, 12, NOTIFY_MID_ALL, 9, "abcdefgh")));
    EXPECT_EQ(a.receive()->header.des_mid, 12u);
    EXPECT_EQ(b.receive()->header.des_mid, 3u);
    auto last = b.receive();
    EXPECT_EQ(last->header.des_mid, 17u);
    EXPECT_EQ(last->header.src_mid, 12u);
    EXPECT_EQ(last->body, "abcdefgh");
}

TEST(NotifyServer, TellsOthersOfADeathOncePerModule) {
    ServerProcess server;
    Peer a = register_peer({12, 13});
    Peer b = register_peer({17, 18});
    b.hang_up();
    for (uint32_t dead : {17u, 18u}) {
        auto notice = a.receive();
        ASSERT_TRUE(notice);
        EXPECT_EQ(notice->header.msg_id, dead);
        EXPECT_EQ(notice->header.sync_tag, 0u);
        EXPECT_EQ(notice->header.ack_tag, 3u);
        EXPECT_EQ(notice->header.src_mid, 30u);
        EXPECT_EQ(notice->header.des_mid, 12u);
    }
    settle(a, 12);
}

TEST(NotifyServer, ARestartedDaemonTakesItsIdOver) {
    ServerProcess server;
    Peer a = register_peer({12});
    Peer old_one = register_peer({17});
    Peer new_one = register_peer({17});
    EXPECT_EQ(a.receive()->header.msg_id, 17u);
    ASSERT_TRUE(a.send(make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, 12, 17, 1, "x")));
    EXPECT_EQ(new_one.receive()->body, "x");
    // Its end is no death of the id any more.
    old_one.hang_up();
    settle(a, 12);
}

// Both processes count their requests from 0.
TEST(NotifyServer, ARestartedDaemonGetsNoAnswerToItsPredecessor) {
    ServerProcess server;
    Peer b = register_peer({17});
    Peer old_one = register_peer({12});
    ASSERT_TRUE(old_one.send(make_request(12, 17, 1, "old")));
    EXPECT_EQ(b.receive()->body, "old");
    old_one.hang_up();
    EXPECT_EQ(b.receive()->header.msg_id, 12u);  // its death
    Peer new_one = register_peer({12});
    ASSERT_TRUE(new_one.send(make_request(12, 17, 2, "new")));
    EXPECT_EQ(b.receive()->body, "new");
    for (uint32_t seq : {1u, 2u}) {
        Frame answer = make_frame(NOTIFY_CALL, NOTIFY_ANSWER, 17, 12, 77);
        answer.header.seq_num = seq;
        ASSERT_TRUE(b.send(answer));
    }
    EXPECT_EQ(new_one.receive()->header.seq_num, 2u);
}

TEST(NotifyServer, AnswersRequestsThatFindNoModule) {
    ServerProcess server({"--max-body", "1000"});
    Peer a = register_peer({12});
    Peer b = register_peer({17});
    Frame greedy = make_request(12, 17, 1);
    greedy.header.ack_len = 1001;
    struct Case {
        const char *what;
        Frame frame;
    };
    for (const Case &c :
         {Case{"nobody has the id", make_request(12, 40, 2)}, Case{"id 0", make_request(12, 0, 3)},
          Case{"to all", make_request(12, NOTIFY_MID_ALL, 4)},
          Case{"id out of range", make_request(12, 0xffffffff, 5)},
          Case{"source of somebody else", make_request(17, 17, 6)},
          Case{"body too long", make_request(12, 17, 7, std::string(1001, 'x'))},
          Case{"answer too long", greedy}}) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(a.send(c.frame));
        auto answer = a.receive();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->header.sync_tag, 1u);
        EXPECT_EQ(answer->header.ack_tag, 3u);
        EXPECT_EQ(answer->header.seq_num, c.frame.header.seq_num);
        EXPECT_EQ(answer->header.msg_id, 77u);
    }
    settle(b, 17);  // nothing of all this came here
}

TEST(NotifyServer, DropsWhatOnlyItMaySayAndWhatGoesNowhere) {
    ServerProcess server;
    Peer a = register_peer({12});
    Peer b = register_peer({17});
    a.send(make_frame(NOTIFY_ONE_WAY, NOTIFY_NOTICE, 12, 17, 26));
    a.send(make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, NOTIFY_MID_SERVER, 17, 26));
    a.send(make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, 12, 0, 1, "x"));
    a.send(make_frame(NOTIFY_CALL, NOTIFY_ANSWER, 12, 99, 1, "x"));
    for (uint32_t mid : {0u, 30u, 55u, 0xffffffffu}) {
        a.send(make_registration(mid));
    }
    settle(a, 12);
    settle(b, 17);
}

// What a frame of any number of pieces is read from must not depend on the pieces.
TEST(NotifyServer, PutsFramesTogetherByteByByte) {
    ServerProcess server;
    Peer a = register_peer({12});
    Peer b = register_peer({17});
    Frame frame = make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, 12, 17, 1, "hello");
    std::string bytes(reinterpret_cast<char *>(&frame.header), sizeof frame.header);
    bytes += frame.body;
    for (char byte : bytes + bytes) {
        ASSERT_TRUE(a.send_bytes(std::string(1, byte)));
    }
    EXPECT_EQ(b.receive()->body, "hello");
    EXPECT_EQ(b.receive()->body, "hello");
}

TEST(NotifyServer, EndsAConnectionThatMakesNoSense) {
    ServerProcess server;
    Peer a = register_peer({12});
    Peer b = register_peer({17});
    a.send_bytes(std::string(48, '\xff'));
    EXPECT_TRUE(a.sees_end());
    EXPECT_EQ(b.receive()->header.msg_id, 12u);
    settle(b, 17);
}

TEST(NotifyServer, SurvivesRubbishFromMany) {
    ServerProcess server({"--max-body", "2000"});
    Peer witness = register_peer({50});
    std::mt19937 random(7);
    for (int round = 0; round < 60; round++) {
        Peer peer = Peer::connect_to_server();
        for (int i = 0; i < 50; i++) {
            Frame frame;
            uint32_t *words = reinterpret_cast<uint32_t *>(&frame.header);
            for (size_t w = 0; w < sizeof frame.header / 4; w++) {
                words[w] = static_cast<uint32_t>(random() % 3 ? random() % 64 : random());
            }
            frame.header.des_mid += frame.header.des_mid == 50;
            frame.body.assign(random() % 100, 'r');
            if (!peer.send(frame)) {
                break;
            }
        }
    }
    // It still serves; the deaths of what registered by chance may be told in between.
    witness.send(make_request(50, 31, 99));
    for (;;) {
        auto frame = witness.receive();
        ASSERT_TRUE(frame);
        if (frame->header.sync_tag == 1 && frame->header.seq_num == 99) {
            break;
        }
    }
}

// A daemon that reads late loses nothing: its senders are held up instead.
TEST(NotifyServer, HoldsSendersUpWhileAReceiverIsBusy) {
    ServerProcess server({"--max-queue", "100000", "--stall", "60000"});
    Peer a = register_peer({12});
    Peer b = register_peer({17});
    constexpr int kFrames = 3000;
    pid_t sender = fork();
    if (sender == 0) {
        for (uint32_t i = 0; i < kFrames; i++) {
            Frame frame =
                make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, 12, 17, i, std::string(2000, 'x'));
            if (!a.send(frame)) {
                _exit(1);
            }
        }
        _exit(0);
    }
    usleep(300000);
    EXPECT_LT(resident_kb(server.pid()), 20000);
    EXPECT_EQ(waitpid(sender, nullptr, WNOHANG), 0) << "the sender was not held up";
    for (uint32_t i = 0; i < kFrames; i++) {
        auto frame = b.receive();
        ASSERT_TRUE(frame);
        ASSERT_EQ(frame->header.msg_id, i);
    }
    int status = -1;
    waitpid(sender, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(NotifyServer, CutsOffWhoBlocksOthersAndDoesNotRead) {
    ServerProcess server({"--max-queue", "50000", "--stall", "500"});
    Peer a = register_peer({12});
    Peer stalled = register_peer({17});
    Peer c = register_peer({20});
    for (int i = 0; i < 1000; i++) {
        ASSERT_TRUE(
            a.send(make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, 12, 17, 1, std::string(2000, 'x'))));
    }
    EXPECT_EQ(a.receive()->header.msg_id, 17u);
    EXPECT_EQ(c.receive()->header.msg_id, 17u);
    settle(a, 12);
}

// What a daemon posts just before it ends still arrives, also when the server cannot write to it
// any more.
TEST(NotifyServer, DeliversTheLastWordsOfADaemon) {
    ServerProcess server;
    Peer a = register_peer({12});
    Peer b = register_peer({17});
    kill(server.pid(), SIGSTOP);
    for (uint32_t i = 0; i < 20; i++) {
        b.send(make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, 17, 12, i));
        a.send(make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, 12, 17, i));
    }
    b.hang_up();
    kill(server.pid(), SIGCONT);
    for (uint32_t i = 0; i < 20; i++) {
        ASSERT_EQ(a.receive()->header.msg_id, i);
    }
    EXPECT_EQ(a.receive()->header.ack_tag, 3u);
}

TEST(NotifyServer, KeepsWorkingWhenDescriptorsOrConnectionsRunOut) {
    for (const char *limit : {"10", "1000"}) {
        ServerProcess server({"--max-clients", limit});
        Peer witness = register_peer({12});
        rlimit few{30, 30};
        prlimit(server.pid(), RLIMIT_NOFILE, &few, nullptr);
        {
            std::vector<Peer> many;
            for (int i = 0; i < 60; i++) {
                many.push_back(Peer::connect_to_server());
            }
            EXPECT_TRUE(many.back().sees_end());
            settle(witness, 12);
        }
        settle(witness, 12);
        Peer later = register_peer({13});
    }
}

TEST(NotifyServer, ReplacesAStalePathButNotALivingServer) {
    ServerProcess server;
    Peer::connect_to_server();
    ServerProcess second;
    int status = 0;
    waitpid(second.pid(), &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 1);
    server.stop(SIGKILL);
    EXPECT_EQ(access(hearth::test::kServerPath, F_OK), 0);
    server.start();
    register_peer({12});
    EXPECT_EQ(server.stop(SIGTERM), 0);
    EXPECT_NE(access(hearth::test::kServerPath, F_OK), 0);
}

}  // namespace
