#include "tty_modem.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace hearth::device {

namespace {

constexpr std::chrono::seconds kReopenEvery{1};
// How long a modem may take to say that it has ended a command.
constexpr std::chrono::seconds kAbortTime{2};
constexpr std::chrono::seconds kSettingTime{2};
// Answers that an earlier user may have left.
constexpr int kMostOwed = 8;
// What a line may hold before it is taken for rubbish.
constexpr size_t kLongestLine = 8192;
// ITU-T V.250, 5.7.1: the numeric final results, which stand alone on their line.
constexpr std::string_view kNumericFinals[] = {"0", "3", "4", "6", "7", "8"};
constexpr std::array<std::string_view, 6> kNumericMeanings = {
    "OK", "NO CARRIER", "ERROR", "NO DIALTONE", "BUSY", "NO ANSWER"};
constexpr std::string_view kFinals[] = {
    "OK",   "ERROR",     "NO CARRIER",          "NO DIALTONE",        "NO DIAL TONE",
    "BUSY", "NO ANSWER", "COMMAND NOT SUPPORT", "TOO MANY PARAMETERS"};
constexpr std::string_view kFinalHeads[] = {"+CME ERROR:", "+CMS ERROR:"};
// Reports that come whenever the modem likes, also between the lines of a reply.
constexpr std::string_view kReportHeads[] = {
    "^RSSI:",      "^HCSQ:",    "^MODE:",    "^SRVST:",     "^SIMST:",    "^BOOT:",
    "^DSFLOWRPT:", "^STIN:",    "^NWTIME:",  "^SMMEMFULL:", "+CMTI:",     "+CDSI:",
    "^CERSSI:",    "^LTERSRP:", "^ANLEVEL:", "RING",        "^NDISSTAT:", "+CUSD:"};

// A line that the command in hand asked for is no report, whatever it begins with.
bool is_report(const std::string &line, const std::string &command) {
    for (std::string_view head : kReportHeads) {
        if (line.compare(0, head.size(), head) == 0) {
            std::string_view name = head.substr(0, head.find(':'));
            return command.find(name) == std::string::npos;
        }
    }
    // "+CREG: 1" is a report, "+CREG: 0,1" an answer.
    for (std::string_view head : {"+CREG:", "+CGREG:", "+CEREG:"}) {
        if (line.compare(0, head.size(), head) == 0) {
            return command.find(head.substr(0, head.size() - 1)) == std::string::npos;
        }
    }
    return false;
}

// The final result that a line is, in words; empty for any other line.
std::string final_result(const std::string &line, bool numeric) {
    for (size_t i = 0; numeric && i < std::size(kNumericFinals); i++) {
        if (line == kNumericFinals[i]) {
            return std::string(kNumericMeanings[i]);
        }
    }
    for (std::string_view text : kFinals) {
        if (line == text) {
            return line;
        }
    }
    for (std::string_view head : kFinalHeads) {
        if (line.compare(0, head.size(), head) == 0) {
            return line;
        }
    }
    return "";
}

void make_raw(int fd) {
    termios settings{};
    if (tcgetattr(fd, &settings) == 0) {
        cfmakeraw(&settings);
        cfsetspeed(&settings, B115200);
        settings.c_cflag |= CLOCAL | CREAD;
        tcsetattr(fd, TCSANOW, &settings);
    }
    // What was said to a server before this one is no answer to it.
    tcflush(fd, TCIFLUSH);
}

}  // namespace

TtyModem::TtyModem(std::string path) : path_(std::move(path)) {
    open();
}

// Nobody is there any more to hear about what is in hand.
TtyModem::~TtyModem() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

void TtyModem::open() {
    reopen_at_ = Clock::now() + kReopenEvery;
    fd_ = ::open(path_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd_ < 0) {
        tell_absence();
        return;
    }
    absence_told_ = false;
    fprintf(stderr, "at_server: the modem is on %s\n", path_.c_str());
    make_raw(fd_);
    // Echo off, results in words, errors by number, and whether all that was answered, before
    // anything else.
    waiting_.push_front({{"AT+CMEE?", ""}, kSettingTime, [this](const Reply &reply) {
                             check_step(reply, kMostOwed);
                         }});
    for (const char *setting : {"AT+CMEE=1", "ATV1", "ATE0"}) {
        waiting_.push_front({{setting, ""}, kSettingTime, [](const Reply &) {}});
    }
    settling_ = 4;
    // Ends what an earlier user may have left in hand.
    send("\r");
    send_next();
}

// The modem is in step when the question is answered, or when it owes nothing and is silent. Else
// what came was an answer to an earlier user, and one that is still owed is awaited.
void TtyModem::check_step(const Reply &reply, int most_owed) {
    bool answered =
        std::any_of(reply.lines.begin(), reply.lines.end(),
                    [](const std::string &line) { return line.compare(0, 6, "+CMEE:") == 0; });
    if (!answered && !reply.final_result.empty() && most_owed > 0) {
        waiting_.push_front({Command{}, kAbortTime, [this, most_owed](const Reply &next) {
                                 check_step(next, most_owed - 1);
                             }});
        settling_++;
    }
}

// Once, however often it is looked for.
void TtyModem::tell_absence() {
    if (!absence_told_) {
        fprintf(stderr, "at_server: no modem on %s: %s\n", path_.c_str(), strerror(errno));
    }
    absence_told_ = true;
}

// The modem went away: what is in hand has failed, what waits keeps waiting until its time is up.
void TtyModem::close_line() {
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
        fprintf(stderr, "at_server: the modem on %s is gone\n", path_.c_str());
    }
    buffer_.clear();
    reopen_at_ = Clock::now() + kReopenEvery;
    if (busy_) {
        finish("");
    }
    // The next line begins with settings of its own.
    waiting_.erase(waiting_.begin(), waiting_.begin() + settling_);
    settling_ = 0;
}

void TtyModem::start(const Command &command, std::chrono::seconds timeout, Done done) {
    waiting_.push_back({command, timeout, std::move(done)});
    send_next();
}

void TtyModem::send_next() {
    if (busy_ || waiting_.empty() || fd_ < 0) {
        return;
    }
    busy_ = true;
    prompted_ = false;
    reply_ = {};
    deadline_ = Clock::now() + waiting_.front().timeout;
    send(waiting_.front().command.line + "\r");
}

void TtyModem::send(const std::string &text) {
    size_t sent = 0;
    while (sent < text.size()) {
        ssize_t written = write(fd_, text.data() + sent, text.size() - sent);
        if (written > 0) {
            sent += static_cast<size_t>(written);
        } else if (written < 0 && errno == EAGAIN) {
            pollfd wait = {fd_, POLLOUT, 0};
            if (poll(&wait, 1, 1000) <= 0) {
                break;
            }
        } else if (written < 0 && errno != EINTR) {
            break;
        }
    }
    if (sent < text.size()) {
        close_line();
    }
}

void TtyModem::readable() {
    char part[1024];
    ssize_t got = read(fd_, part, sizeof part);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (got <= 0) {
        close_line();
        return;
    }
    buffer_.append(part, static_cast<size_t>(got));
    for (;;) {
        size_t end = buffer_.find_first_of("\r\n");
        if (end == std::string::npos) {
            break;
        }
        std::string line = buffer_.substr(0, end);
        buffer_.erase(0, end + 1);
        if (!line.empty()) {
            take_line(line);
        }
    }
    // The prompt has no line end: "> ".
    bool body_due = busy_ && !prompted_ && !waiting_.front().command.body.empty();
    if (body_due && !buffer_.empty() && buffer_.front() == '>') {
        buffer_.clear();
        prompted_ = true;
        send(waiting_.front().command.body);
    }
    if (buffer_.size() > kLongestLine) {
        buffer_.clear();
    }
}

void TtyModem::take_line(const std::string &line) {
    if (!busy_ || is_report(line, waiting_.front().command.line)) {
        report(line);
        return;
    }
    // An echo, from a modem that has not taken "ATE0" yet.
    if (line == waiting_.front().command.line) {
        return;
    }
    if (prompted_ && line == waiting_.front().command.body) {
        return;
    }
    std::string result = final_result(line, settling_ > 0);
    if (result.empty()) {
        reply_.lines.push_back(line);
    } else {
        finish(result);
    }
}

void TtyModem::finish(const std::string &final_result) {
    reply_.final_result = final_result;
    Reply reply = std::move(reply_);
    Done done = std::move(waiting_.front().done);
    waiting_.pop_front();
    busy_ = false;
    settling_ = std::max(settling_ - 1, 0);
    done(reply);
    send_next();
}

std::optional<Clock::time_point> TtyModem::next_tick() const {
    if (busy_) {
        return deadline_;
    }
    return fd_ < 0 ? std::optional(reopen_at_) : std::nullopt;
}

void TtyModem::tick() {
    if (busy_ && Clock::now() >= deadline_) {
        give_up();
    }
    if (fd_ < 0 && Clock::now() >= reopen_at_) {
        open();
    }
}

// ITU-T V.250, 5.6.1: any character ends a command that is still being carried out. What the modem
// says to that belongs to no later command: a wait of its own stands in front of them.
void TtyModem::give_up() {
    bool abort = !waiting_.front().command.line.empty();
    if (abort && fd_ >= 0) {
        waiting_.insert(waiting_.begin() + 1, {Command{}, kAbortTime, [](const Reply &) {}});
    }
    finish("");
}

}  // namespace hearth::device
