#include "hearth/osa_event.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "support/capture.h"

using hearth::test::StdoutCapture;

namespace {

// A process that blocks `mask` and then writes each event that it receives as a byte. It tells
// when it is ready by a byte 0 and waits for the first order before its first wait.
class Receiver {
  public:
    explicit Receiver(int32_t mask) {
        EXPECT_EQ(pipe(orders_), 0);
        EXPECT_EQ(pipe(answers_), 0);
        pid_ = fork();
        if (pid_ == 0) {
            run(mask);
        }
        EXPECT_EQ(next(), 0);
    }
    ~Receiver() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }

    pid_t pid() const { return pid_; }
    // Has it wait once, with a limit of one second, and returns the event, 0 for none.
    int receive() {
        EXPECT_EQ(write(orders_[1], "", 1), 1);
        return next();
    }

  private:
    int next() {
        char event = -1;
        EXPECT_EQ(read(answers_[0], &event, 1), 1);
        return event;
    }

    [[noreturn]] void run(int32_t mask) {
        char event = static_cast<char>(osa_event_init(mask) == 1 ? 0 : -1);
        char order = 0;
        while (write(answers_[1], &event, 1) == 1 && read(orders_[0], &order, 1) == 1) {
            int32_t received = 0;
            osa_event_recv(mask, 1, &received);
            event = static_cast<char>(received);
        }
        _exit(0);
    }

    int orders_[2];
    int answers_[2];
    pid_t pid_;
};

TEST(OsaEvent, EachEventCrossesBetweenProcesses) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "ThreadSanitizer delivers signals in its own way";
#endif
    Receiver receiver(15);
    for (int32_t event : {1, 2, 4, 8}) {
        ASSERT_EQ(osa_event_send(receiver.pid(), event), 1);
        EXPECT_EQ(receiver.receive(), event);
    }
    // One that came between two waits was kept; two of a kind count as one, save for event 8.
    for (int32_t event : {1, 2, 4, 8}) {
        ASSERT_EQ(osa_event_send(receiver.pid(), event), 1);
        ASSERT_EQ(osa_event_send(receiver.pid(), event), 1);
        EXPECT_EQ(receiver.receive(), event);
        EXPECT_EQ(receiver.receive(), event == 8 ? 8 : 0);
    }
}

TEST(OsaEvent, WaitWithoutLimitAndForOneOfMany) {
    ASSERT_EQ(osa_event_init(15), 1);
    for (int32_t timeout : {-1, 0, 5}) {
        int32_t received = 0;
        ASSERT_EQ(osa_event_send(getpid(), 8), 1);
        ASSERT_EQ(osa_event_send(getpid(), 2), 1);
        EXPECT_EQ(osa_event_recv(8, timeout, &received), 1);
        EXPECT_EQ(received, 8);
        // Bits above the fourth are not looked at.
        EXPECT_EQ(osa_event_recv(0xf2, timeout, &received), 1);
        EXPECT_EQ(received, 2);
        EXPECT_EQ(alarm(0), 0u);
    }
}

TEST(OsaEvent, WaitEndsWithTheTime) {
    int32_t received = 77;
    StdoutCapture output;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(osa_event_recv(9, 1, &received), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    EXPECT_EQ(output.text(), "Error!in osa_event_recv, e = -1\n");
    EXPECT_EQ(received, 77);
}

void ignore(int) {}

TEST(OsaEvent, OtherSignalsDoNotEndAWait) {
    struct sigaction action {};
    action.sa_handler = ignore;
    sigaction(SIGWINCH, &action, nullptr);
    pid_t parent = getpid();
    ASSERT_EQ(osa_event_init(1), 1);
    pid_t child = fork();
    if (child == 0) {
        usleep(50000);
        kill(parent, SIGWINCH);
        usleep(50000);
        osa_event_send(parent, 1);
        _exit(0);
    }
    int32_t received = 0;
    EXPECT_EQ(osa_event_recv(1, -1, &received), 1);
    EXPECT_EQ(received, 1);
    waitpid(child, nullptr, 0);
}

TEST(OsaEvent, BadArguments) {
    struct {
        int32_t task, event;
        const char *text;
    } const rows[] = {
        {0, 1, "Error!in osa_event_send, param illegal.\n"},
        {-5, 1, "Error!in osa_event_send, param illegal.\n"},
        {getpid(), -1, "Error!in osa_event_send, param illegal.\n"},
        {getpid(), 3, "Error!in osa_event_send, sig = -1\n"},
        {getpid(), 0, "Error!in osa_event_send, sig = -1\n"},
        {getpid(), 16, "Error!in osa_event_send, sig = -1\n"},
        {0x7ffffff0, 1, ""},
    };
    for (const auto &row : rows) {
        StdoutCapture output;
        EXPECT_EQ(osa_event_send(row.task, row.event), 0);
        EXPECT_EQ(output.text(), row.text);
    }
    int32_t received = 0;
    StdoutCapture output;
    EXPECT_EQ(osa_event_recv(-1, 1, &received), 0);
    EXPECT_EQ(osa_event_recv(1, 1, nullptr), 0);
    EXPECT_EQ(output.text(),
              "Error!in osa_event_recv, param illegal.\nError!in osa_event_recv, param illegal.\n");
    EXPECT_EQ(osa_event_clear(), 0);
}

}  // namespace
