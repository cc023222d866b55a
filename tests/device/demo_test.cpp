// The demo as a person meets it: its story, what a fault in it looks like, and its shell, on a
// pseudo terminal where one belongs.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/config_tree.h"

using hearth::test::read_text;
using hearth::test::write_text;

namespace {

constexpr const char *kStory = HEARTH_SOURCE_DIR "/device/demo/story.sh";

// story.sh on a terminal of its own.
class Session {
  public:
    explicit Session(const std::string &scenario = "") {
        pid_ = forkpty(&fd_, nullptr, nullptr, nullptr);
        if (pid_ == 0) {
            setenv("TERM", "xterm", 1);
            if (scenario.empty()) {
                execl("/bin/bash", "bash", kStory, nullptr);
            }
            execl("/bin/bash", "bash", kStory, "--shell", scenario.c_str(), nullptr);
            _exit(127);
        }
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session() { close(fd_); }

    // What is shown until `end` is, which is looked for behind what was asked for before.
    std::string until(const std::string &end) {
        std::string shown;
        size_t at = std::string::npos;
        pollfd wait = {fd_, POLLIN, 0};
        while ((at = unread_.find(end)) == std::string::npos && poll(&wait, 1, 30000) > 0) {
            char part[1024];
            ssize_t got = read(fd_, part, sizeof part);
            if (got <= 0) {
                break;
            }
            unread_.append(part, static_cast<size_t>(got));
        }
        EXPECT_NE(at, std::string::npos) << "waited for " << end << " in " << unread_;
        shown = unread_.substr(0, at == std::string::npos ? at : at + end.size());
        unread_.erase(0, shown.size());
        return shown;
    }

    std::string type(const std::string &keys, const std::string &end) {
        EXPECT_EQ(write(fd_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
        return until(end);
    }

    int ended() {
        char part[1024];
        while (read(fd_, part, sizeof part) > 0) {
        }
        int status = -1;
        waitpid(pid_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    pid_t pid_ = -1;
    int fd_ = -1;
    std::string unread_;
};

class Demo : public ::testing::Test {
  protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer wants to be loaded before the device's closed library";
#endif
        setenv("HEARTH_SOURCE", HEARTH_SOURCE_DIR, 1);
        setenv("HEARTH_BUILD", HEARTH_BINARY_DIR, 1);
    }

    static int run_plain() {
        int status = system(("bash " + std::string(kStory) + " >/data/told 2>&1").c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST_F(Demo, TellsItsWholeStory) {
    EXPECT_EQ(run_plain(), 0);
    std::string told = read_text("/data/told");
    EXPECT_EQ(told.find('\x1b'), std::string::npos);
    size_t summary = told.find("\nSummary\n");
    ASSERT_NE(summary, std::string::npos) << told;
    // What the summary must have shown, in this order.
    size_t at = summary;
    for (const char *what : {"First boot", "SIM is found", "signal over time", "stored in a table",
                             "operator layer answers", "Another SIM", "Two daemons talk",
                             "come back", "factory restore", "All "}) {
        size_t next = told.find(what, at);
        ASSERT_NE(next, std::string::npos) << what << " in\n" << told;
        at = next;
    }
    EXPECT_EQ(told.find("FAILED"), std::string::npos) << told;
}

TEST_F(Demo, AStepThatDoesNotHappenTurnsItRed) {
    const struct {
        const char *part;
        const char *told;
    } rows[] = {
        {"chapter \"Bad\"\nexpect more echo less\n", "missing: more"},
        {"chapter \"Bad\"\nexpect \"\" false\n", "exit status 1 of: false"},
        {"chapter \"Bad\"\nexpect \"\" no-such-program\n", "exit status 127"},
        {"chapter \"Bad\"\ncheck \"a file\" test -e /data/none\n", "missing: a file"},
        {"chapter \"Bad\"\n", "0 of 0 steps"},
    };
    setenv("HEARTH_STORY", "/data/story", 1);
    write_text("/data/story/part-10.sh", "chapter \"Good\"\nexpect fine echo fine\n");
    EXPECT_EQ(run_plain(), 0) << read_text("/data/told");
    for (const auto &row : rows) {
        write_text("/data/story/part-20.sh", row.part);
        EXPECT_EQ(run_plain(), 1) << row.part;
        std::string told = read_text("/data/told");
        EXPECT_NE(told.find(row.told), std::string::npos) << told;
        EXPECT_NE(told.find("shown   Good\n"), std::string::npos) << told;
        EXPECT_NE(told.find("FAILED  Bad: "), std::string::npos) << told;
    }
    // On a terminal in red, with the step that is being taken.
    Session session;
    std::string told = session.until("Not everything happened");
    EXPECT_NE(told.find("echo fine..."), std::string::npos) << told;
    EXPECT_NE(told.find("\x1b[32mshown"), std::string::npos) << told;
    EXPECT_NE(told.find("\x1b[31mFAILED"), std::string::npos) << told;
    EXPECT_EQ(session.ended(), 1);
}

TEST_F(Demo, TheShellIsAWorldToWorkIn) {
    Session session(HEARTH_SOURCE_DIR "/device/scenarios/home.toml");
    session.until("router:");
    std::string status = session.type("hearth at status\n", "router:");
    EXPECT_NE(status.find("registered, home network"), std::string::npos) << status;
    EXPECT_NE(status.find("signal dbm"), std::string::npos) << status;
    EXPECT_EQ(status.find("unanswered"), std::string::npos) << status;

    // Names are completed: one that is the only one, and a choice.
    EXPECT_NE(session.type("hearth at ope\t\n", "Harbour Telecom").find("operators"),
              std::string::npos);
    session.until("router:");
    session.type("hearth at sms send\t\t", "send-pdu");
    session.type("\x15", "");
    session.type("\n", "router:");

    // The log is followed, also that of a process which begins to write now.
    session.type("start newcomer sh -c 'sleep 1; echo I am new'\n", "router:");
    std::string log = session.type("hearth log tail -f\n", "newcomer: I am new");
    EXPECT_NE(log.find("at_server: the card is ready"), std::string::npos) << log;
    session.type("\x03", "router:");
    EXPECT_NE(session.type("echo status $?.\n", "status 0."), "");

    session.type("exit\n", "exit");
    EXPECT_EQ(session.ended(), 0);
}

TEST_F(Demo, AWrongScenarioIsTold) {
    write_text("/data/wrong.toml", "[sim]\nimsi = 1\n");
    Session session("/data/wrong.toml");
    session.until("hearth: /data/wrong.toml:2: \"imsi\" wants a text in quotation marks");
    EXPECT_EQ(session.ended(), 1);
}

TEST_F(Demo, ThePinIsAskedForUnseen) {
    write_text("/data/locked.toml", "[sim]\nlock = true\npin = \"4711\"\n");
    Session session("/data/locked.toml");
    session.until("router:");
    session.type("hearth at pin enter\n", "PIN: ");
    std::string refused = session.type("9876\n", "router:");
    EXPECT_EQ(refused.find("9876"), std::string::npos) << refused;
    EXPECT_NE(refused.find("hearth: the PIN was not accepted: result"), std::string::npos)
        << refused;
    session.type("hearth at pin enter\n", "PIN: ");
    std::string taken = session.type("4711\n", "router:");
    EXPECT_EQ(taken.find("4711"), std::string::npos) << taken;
    EXPECT_NE(taken.find("READY"), std::string::npos) << taken;
    // The terminal shows again what is typed.
    session.type("echo seen\n", "echo seen");
    session.type("exit\n", "exit");
    EXPECT_EQ(session.ended(), 0);
}

}  // namespace
