#include "hearth/osa_queue.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/capture.h"

using hearth::test::StdoutCapture;

namespace {

// What the next msgrcv calls of the library do first: 0 is a real call, else an errno.
std::vector<int> g_receive_errors;
int g_receives;
int g_sleeps;
int g_control_error;

}  // namespace

extern "C" ssize_t msgrcv(int queue, void *message, size_t size, long type, int flags) {
    g_receives++;
    if (!g_receive_errors.empty()) {
        errno = g_receive_errors.front();
        g_receive_errors.erase(g_receive_errors.begin());
        if (errno != 0) {
            return -1;
        }
    }
    return syscall(SYS_msgrcv, queue, message, size, type, flags);
}

extern "C" int msgctl(int queue, int command, struct msqid_ds *state) {
    if (g_control_error != 0 && command != IPC_RMID) {
        errno = g_control_error;
        return -1;
    }
    return static_cast<int>(syscall(SYS_msgctl, queue, command, state));
}

extern "C" int usleep(useconds_t time) {
    EXPECT_EQ(time, 10000u);
    g_sleeps++;
    return 0;
}

namespace {

struct Message {
    int32_t type;
    char text[60];
};

struct LargeMessage {
    int32_t type;
    char text[8188];
};

TEST(OsaQueue, CreateHoldsTheLimits) {
    struct {
        uint32_t count, size;
        bool good;
    } const rows[] = {
        {1000, 16, true},       {1001, 1, false},       {2, 8192, true},   {1, 8193, false},
        {3, 8192, false},       {10, 1600, true},       {11, 1600, false}, {0x80000000, 2, false},
        {2, 0x80000000, false}, {0xffffffff, 0, false}, {0, 0, true},
    };
    for (const auto &row : rows) {
        StdoutCapture output;
        int32_t queue = osa_msgQ_create(5, row.count, row.size);
        EXPECT_EQ(queue >= 0, row.good) << row.count << " " << row.size;
        EXPECT_EQ(output.text(), row.good ? "" : "Error! osa_msgQ_create parameter error.\n");
        if (row.good) {
            msqid_ds state{};
            EXPECT_EQ(msgctl(queue, IPC_STAT, &state), 0);
            EXPECT_EQ(state.msg_qbytes, row.count * row.size);
            EXPECT_EQ(state.msg_perm.mode & 0777, 0660);
            EXPECT_EQ(osa_msgQ_delete(queue), 1);
        }
    }
}

TEST(OsaQueue, NumbersNameQueues) {
    EXPECT_EQ(osa_get_msgQ_id(1), -1);
    int32_t one = osa_msgQex_create(1, 10, 64);
    int32_t two = osa_msgQ_create(2, 10, 64);
    ASSERT_GE(one, 0);
    EXPECT_NE(one, two);
    EXPECT_EQ(osa_get_msgQ_id(1), one);
    EXPECT_EQ(osa_get_msgQ_id(2), two);
    EXPECT_EQ(msgget(ftok("/var/run", 1), 0), one);
    StdoutCapture output;
    EXPECT_EQ(osa_msgQ_create(1, 10, 64), -1);
    EXPECT_EQ(output.text(), "Error!create msg queue error nMsgQId = -1. errno = File exists\n");
    EXPECT_EQ(osa_msgQex_delete(one), 1);
    EXPECT_EQ(osa_msgQex_delete(one), 0);
    EXPECT_EQ(osa_get_msgQ_id(1), -1);
}

TEST(OsaQueue, FailureToSetTheRoomIsNotFatal) {
    g_control_error = EPERM;
    StdoutCapture output;
    int32_t queue = osa_msgQ_create(1, 2, 64);
    EXPECT_GE(queue, 0);
    EXPECT_EQ(output.text(),
              "Error!in osa_msgQ_create_msgctl_IPC_STAT. errno = Operation not permitted\n"
              "Error!in osa_msgQ_create_msgctl_IPC_SET. errno = Operation not permitted\n");
    EXPECT_EQ(osa_msgQ_num(queue), -1);
}

TEST(OsaQueue, NoKeyNoQueue) {
    ASSERT_EQ(rename("/var/run", "/var/gone"), 0);
    EXPECT_EQ(osa_get_msgQ_id(1), -1);
    StdoutCapture output;
    EXPECT_EQ(osa_msgQ_create(1, 2, 64), -1);
    EXPECT_EQ(output.text().substr(0, 48), "Error!create msg queue error nMsgQId = -1. errno");
}

// The kernel sees the type as its own and the rest as text, whatever the width of a long.
TEST(OsaQueue, KernelSeesTheSizeLessTheType) {
    int32_t queue = osa_msgQ_create(1, 10, 1600);
    Message message{7, "twelve bytes"};
    EXPECT_EQ(osa_msgQex_send(queue, &message, 16, 0), 1);
    struct {
        long type;
        char text[64];
    } kernel{};
    EXPECT_EQ(msgrcv(queue, &kernel, sizeof kernel.text, 0, 0), 12);
    EXPECT_EQ(kernel.type, 7);
    EXPECT_EQ(std::string(kernel.text, 12), "twelve bytes");

    kernel.type = 9;
    EXPECT_EQ(msgsnd(queue, &kernel, 12, 0), 0);
    memset(&message, 'x', sizeof message);
    EXPECT_EQ(osa_msgQ_recv(queue, &message, sizeof message, 0), 12);
    EXPECT_EQ(message.type, 9);
    EXPECT_EQ(std::string(message.text, 13), "twelve bytesx");
}

TEST(OsaQueue, MessagesOfEverySizePassWhole) {
    int32_t queue = osa_msgQ_create(1, 2, 8192);
    static LargeMessage sent, got;
    for (size_t i = 0; i < sizeof sent.text; i++) {
        sent.text[i] = static_cast<char>(i * 7);
    }
    for (uint32_t text : {0u, 1u, 3u, 4u, 5u, 1596u, 8188u}) {
        sent.type = static_cast<int32_t>(text + 1);
        memset(&got, 0, sizeof got);
        ASSERT_EQ(osa_msgQ_send(queue, &sent, text + 4, 0), 1);
        ASSERT_EQ(osa_msgQ_recv(queue, &got, text + 4, -1), static_cast<int32_t>(text));
        EXPECT_EQ(memcmp(&sent, &got, text + 4), 0);
    }
    for (uint32_t size : {0u, 3u, 8197u, 0xffffffffu}) {
        EXPECT_EQ(osa_msgQ_send(queue, &sent, size, 0), 0) << size;
        EXPECT_EQ(osa_msgQex_send(queue, &sent, size, 1), 0) << size;
    }
    EXPECT_EQ(osa_msgQ_recv(queue, &got, 3, 0), -1);
    EXPECT_EQ(osa_msgQ_send(queue, nullptr, 16, 0), 0);
    EXPECT_EQ(osa_msgQ_recv(queue, nullptr, 16, 0), -1);
    sent.type = 0;
    EXPECT_EQ(osa_msgQ_send(queue, &sent, 16, 0), 0);
    EXPECT_EQ(osa_msgQ_num(queue), 0);
}

TEST(OsaQueue, FullQueueFailsAtOnceWithoutWait) {
    int32_t queue = osa_msgQ_create(1, 2, 64);
    Message message{1, ""};
    EXPECT_EQ(osa_msgQex_send(queue, &message, sizeof message, 0), 1);
    EXPECT_EQ(osa_msgQex_send(queue, &message, sizeof message, 0), 1);
    EXPECT_EQ(osa_msgQex_send(queue, &message, sizeof message, 0), 0);
    EXPECT_EQ(osa_msgQ_num(queue), 2);
    EXPECT_EQ(osa_msgQex_num(queue), 2);
}

TEST(OsaQueue, TypesAreKeptApart) {
    int32_t queue = osa_msgQ_create(1, 10, 64);
    for (int32_t type : {1, 2, 1, 3}) {
        Message message{type, ""};
        message.text[0] = static_cast<char>('0' + osa_msgQ_num(queue));
        ASSERT_EQ(osa_msgQex_send(queue, &message, 8, 1), 1);
    }
    Message got{};
    EXPECT_EQ(osa_msgQex_recv(queue, &got, sizeof got, 0, 1), 4);
    EXPECT_STREQ(got.text, "0");
    EXPECT_EQ(osa_msgQex_recv(queue, &got, sizeof got, -1, 1), 4);
    EXPECT_STREQ(got.text, "2");
    EXPECT_EQ(osa_msgQex_recv(queue, &got, sizeof got, 0, 1), -1);
    EXPECT_EQ(osa_msgQ_recv(queue, &got, sizeof got, 0), 4);
    EXPECT_STREQ(got.text, "1");
    EXPECT_EQ(osa_msgQ_num(queue), 1);
}

TEST(OsaQueue, LongMessageIsNotTaken) {
    int32_t queue = osa_msgQ_create(1, 10, 64);
    Message message{1, ""};
    ASSERT_EQ(osa_msgQ_send(queue, &message, 32, 0), 1);
    EXPECT_EQ(osa_msgQ_recv(queue, &message, 31, 0), -1);
    EXPECT_EQ(osa_msgQex_recv(queue, &message, 31, 20, 1), -1);
    EXPECT_EQ(osa_msgQ_num(queue), 1);
    EXPECT_EQ(osa_msgQ_recv(queue, &message, 32, 0), 28);
}

TEST(OsaQueue, TimeoutsCountPolls) {
    int32_t queue = osa_msgQ_create(1, 10, 64);
    struct {
        int32_t timeout;
        std::vector<int> errors;
        int receives, sleeps;
        int32_t result, result_of_type;
    } const rows[] = {
        {25, {}, 3, 3, -1, -1},
        {10, {}, 1, 1, -1, -1},
        {11, {}, 2, 2, -1, -1},
        {0, {}, 1, 0, -1, -1},
        {-2, {}, 0, 0, 0, -1},
        {INT32_MIN, {}, 0, 0, 0, -1},
        {25, {EINTR, EINTR, 0, EINTR}, 6, 3, -1, -1},
        {0, {EINTR}, 1, 0, -1, -1},
        {-1, {EIDRM}, 1, 0, -1, -1},
    };
    for (const auto &row : rows) {
        for (bool of_type : {false, true}) {
            g_receives = g_sleeps = 0;
            g_receive_errors = row.errors;
            Message got{};
            int32_t result = of_type ? osa_msgQex_recv(queue, &got, sizeof got, row.timeout, 1)
                                     : osa_msgQ_recv(queue, &got, sizeof got, row.timeout);
            EXPECT_EQ(result, of_type ? row.result_of_type : row.result) << row.timeout;
            EXPECT_EQ(g_receives, row.receives) << row.timeout;
            EXPECT_EQ(g_sleeps, row.sleeps) << row.timeout;
        }
    }
}

// A message without text ends no timed wait: it is taken and forgotten.
TEST(OsaQueue, TimedWaitPassesOverMessagesWithoutText) {
    int32_t queue = osa_msgQ_create(1, 10, 64);
    Message message{1, "x"};
    ASSERT_EQ(osa_msgQ_send(queue, &message, 4, 0), 1);
    ASSERT_EQ(osa_msgQ_send(queue, &message, 8, 0), 1);
    EXPECT_EQ(osa_msgQex_recv(queue, &message, sizeof message, 20, 1), 4);
    EXPECT_EQ(g_sleeps, 1);
    ASSERT_EQ(osa_msgQ_send(queue, &message, 4, 0), 1);
    EXPECT_EQ(osa_msgQ_recv(queue, &message, sizeof message, 10), 0);
    ASSERT_EQ(osa_msgQ_send(queue, &message, 4, 0), 1);
    EXPECT_EQ(osa_msgQex_recv(queue, &message, sizeof message, 10, 1), -1);
    ASSERT_EQ(osa_msgQ_send(queue, &message, 4, 0), 1);
    EXPECT_EQ(osa_msgQex_recv(queue, &message, sizeof message, 0, 1), 0);
}

TEST(OsaQueue, TimedWaitOnNoQueueSaysSo) {
    Message message{};
    StdoutCapture output;
    EXPECT_EQ(osa_msgQ_recv(-1, &message, sizeof message, 50), -1);
    EXPECT_EQ(osa_msgQex_recv(-1, &message, sizeof message, 50, 1), -1);
    EXPECT_EQ(osa_msgQ_recv(-1, &message, sizeof message, 0), -1);
    EXPECT_EQ(output.text(),
              "Error! in osa_msgQ_recv, msgqid < 0. errno = Invalid argument\n"
              "Error! in osa_msgQex_recv, msgqid < 0. errno = Invalid argument\n");
    EXPECT_EQ(g_sleeps, 0);
}

}  // namespace
