// hearth-modem: the simulated modem as a program of its own, speaking plain AT text on a pseudo
// terminal, as a modem on a serial line does: echo, results in words or numbers, error levels,
// the prompt of a two-stage send, reports between replies.

#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>

#include "options.h"
#include "scenario.h"
#include "sim_modem.h"

namespace {

using hearth::device::Clock;
using hearth::device::Command;
using hearth::device::Reply;
using hearth::device::SimModem;

volatile sig_atomic_t g_stop = 0;

void on_stop(int) {
    g_stop = 1;
}

// 3GPP TS 27.007, 9.2: the words for the errors that the simulated modem gives.
constexpr struct {
    int code;
    const char *words;
} kErrorWords[] = {
    {3, "operation not allowed"},
    {4, "operation not supported"},
    {10, "SIM not inserted"},
    {11, "SIM PIN required"},
    {12, "SIM PUK required"},
    {13, "SIM failure"},
    {15, "SIM wrong"},
    {16, "incorrect password"},
    {20, "memory full"},
    {21, "invalid index"},
    {22, "not found"},
    {30, "no network service"},
};

// Commands that are answered with a prompt, and how their body ends: behind a 0x1A, or after a
// fixed number of bytes.
constexpr struct {
    const char *head;
    size_t length;
} kPrompted[] = {{"AT+CMGS=", 0}, {"AT+CMGW=", 0}, {"AT^HCMGS=", 256}, {"AT^HCMGW=", 162}};

class Line {
  public:
    Line(int fd, SimModem &modem) : fd_(fd), modem_(modem) {
        modem_.on_report([this](const std::string &line) { say(line); });
    }

    void take(char c) {
        // ITU-T V.250, 5.6.1: whatever is typed ends a command that is being carried out, and is
        // nothing but that.
        if (in_hand_ && c != '\n') {
            turn_++;
            in_hand_ = false;
            finish("ERROR");
            return;
        }
        if (body_for_ >= 0) {
            take_body(c);
            return;
        }
        if (echo_) {
            put(std::string(1, c));
        }
        if (c == '\r') {
            std::string line;
            line.swap(line_);
            if (!line.empty()) {
                carry_out(line);
            }
        } else if (c != '\n' && line_.size() < 4096) {
            line_ += c;
        }
    }

  private:
    void take_body(char c) {
        size_t length = kPrompted[body_for_].length;
        if (length == 0 && c == '\x1b') {
            body_for_ = -1;
            finish("OK");
            return;
        }
        command_.body += c;
        bool whole = length == 0 ? c == '\x1a' : command_.body.size() == length;
        if (whole || command_.body.size() > 4096) {
            body_for_ = -1;
            start();
        }
    }

    void carry_out(const std::string &line) {
        if (set_flag(line, "ATE", &echo_) || set_flag(line, "ATV", &words_)) {
            finish("OK");
            return;
        }
        if (line.compare(0, 8, "AT+CMEE=") == 0) {
            error_level_ = atoi(line.c_str() + 8);
            finish("OK");
            return;
        }
        if (line == "AT+CMEE?") {
            say("+CMEE: " + std::to_string(error_level_));
            finish("OK");
            return;
        }
        command_ = {line, ""};
        for (int i = 0; i < static_cast<int>(std::size(kPrompted)); i++) {
            if (line.compare(0, strlen(kPrompted[i].head), kPrompted[i].head) == 0) {
                body_for_ = i;
                put("\r\n> ");
                return;
            }
        }
        start();
    }

    void start() {
        in_hand_ = true;
        modem_.start(command_, std::chrono::seconds(240), [this, turn = turn_](const Reply &reply) {
            if (turn != turn_) {
                return;
            }
            in_hand_ = false;
            turn_++;
            for (const std::string &line : reply.lines) {
                say(line);
            }
            finish(reply.final_result);
        });
    }

    static bool set_flag(const std::string &line, const char *head, bool *flag) {
        if (line.compare(0, 3, head) != 0 || line.size() > 4) {
            return false;
        }
        *flag = line.size() == 4 && line[3] == '1';
        return true;
    }

    void finish(const std::string &result) {
        std::string text = result;
        if (result.compare(0, 11, "+CME ERROR:") == 0) {
            text = error_text(atoi(result.c_str() + 11));
        }
        if (!words_ && (text == "OK" || text == "ERROR")) {
            put(text == "OK" ? "0\r" : "4\r");
        } else {
            say(text);
        }
    }

    std::string error_text(int code) const {
        if (error_level_ == 0) {
            return "ERROR";
        }
        if (error_level_ == 2) {
            for (const auto &row : kErrorWords) {
                if (row.code == code) {
                    return std::string("+CME ERROR: ") + row.words;
                }
            }
        }
        return "+CME ERROR: " + std::to_string(code);
    }

    void say(const std::string &line) { put("\r\n" + line + "\r\n"); }

    // What nobody reads is lost after a while, as on a line without flow control.
    void put(const std::string &text) {
        size_t sent = 0;
        while (sent < text.size() && g_stop == 0) {
            ssize_t written = write(fd_, text.data() + sent, text.size() - sent);
            pollfd wait = {fd_, POLLOUT, 0};
            if (written > 0) {
                sent += static_cast<size_t>(written);
                unread_ = false;
            } else if (errno == EAGAIN && poll(&wait, 1, unread_ ? 0 : 500) <= 0) {
                unread_ = true;
                return;
            } else if (errno != EAGAIN && errno != EINTR) {
                return;
            }
        }
    }

    int fd_;
    SimModem &modem_;
    std::string line_;
    Command command_;
    int body_for_ = -1;
    // A command is being carried out; a reply to one of an earlier turn comes too late.
    bool in_hand_ = false;
    int turn_ = 0;
    bool unread_ = false;
    bool echo_ = true;
    bool words_ = true;
    int error_level_ = 0;
};

int open_terminal(const std::string &link) {
    int fd = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0 || grantpt(fd) != 0 || unlockpt(fd) != 0) {
        perror("hearth-modem: cannot open a pseudo terminal");
        return -1;
    }
    const char *name = ptsname(fd);
    // Kept open here, so that the line stays up while nobody else has it open.
    int slave = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    if (slave >= 0 && tcgetattr(slave, &settings) == 0) {
        cfmakeraw(&settings);
        tcsetattr(slave, TCSANOW, &settings);
    }
    if (!link.empty()) {
        unlink(link.c_str());
        if (symlink(name, link.c_str()) != 0) {
            fprintf(stderr, "hearth-modem: cannot link %s: %s\n", link.c_str(), strerror(errno));
            return -1;
        }
    }
    printf("%s\n", name);
    fflush(stdout);
    return fd;
}

void serve(int fd, SimModem &modem) {
    Line line(fd, modem);
    while (g_stop == 0) {
        int timeout = -1;
        if (auto next = modem.next_tick()) {
            auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now());
            timeout = static_cast<int>(std::clamp<int64_t>(left.count(), 0, 60000));
        }
        pollfd wait = {fd, POLLIN, 0};
        if (poll(&wait, 1, timeout) > 0) {
            char part[1024];
            ssize_t got = read(fd, part, sizeof part);
            for (ssize_t i = 0; i < got; i++) {
                line.take(part[i]);
            }
        }
        modem.tick();
    }
}

}  // namespace

int main(int count, char **arguments) {
    hearth::options::CommandLine line(
        "The simulated modem on a pseudo terminal, whose name it prints.");
    std::string scenario;
    std::string link;
    line.option("--scenario", scenario, "scenario file").required().existing_file();
    line.option("--pty", link, "make this path a link to the terminal");
    line.parse_or_exit(count, arguments);
    try {
        SimModem modem(hearth::device::read_scenario(scenario));
        struct sigaction action = {};
        action.sa_handler = on_stop;
        sigaction(SIGTERM, &action, nullptr);
        sigaction(SIGINT, &action, nullptr);
        int fd = open_terminal(link);
        if (fd < 0) {
            return 1;
        }
        serve(fd, modem);
        unlink(link.c_str());
    } catch (const hearth::device::ScenarioError &error) {
        fprintf(stderr, "hearth-modem: %s\n", error.what());
        return 1;
    }
    return 0;
}
