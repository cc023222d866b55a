#include "server.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "hearth/osa_event.h"
#include "hearth/osa_queue.h"

namespace hearth::device {

namespace {

constexpr const char *kPidFile = "/var/run/pidfile/ats.pid";
// A queue holds 16384 bytes, which is ten messages.
constexpr uint32_t kQueueMessages = 10;
// Callers hold a command to this many bytes of `report`; a command that holds zero bytes carries
// its length in the word behind them.
constexpr size_t kCommandRoom = 640;
// What a server itself answers: the latest "^RSSI" report.
constexpr int32_t kServerValue = 2;
constexpr int32_t kLatestRssi = 2;

// Commands whose body is of fixed length and has no closing 0x1A.
constexpr struct {
    const char *head;
    size_t body;
} kRawBodies[] = {{"AT^HCMGS=", 256}, {"AT^HCMGW=", 162}};

// A request for unread messages names another command and awaits this.
constexpr std::string_view kUnreadMessages = "^CMGI:";

// Lists whose entries all go into the response of a request for one line.
constexpr std::string_view kStoredLists[] = {"^APPROFALL", "^APIPRDALL", "^APPFRALL", "^APPTRALL"};

// A failure without text.
constexpr int32_t kRetNothing = 1;

// The event is this signal.
constexpr int kRequestSignal = SIGUSR1;
constexpr int kTickSignal = SIGALRM;

size_t counted_length(const at_server_msg &request) {
    uint32_t length = 0;
    memcpy(&length, request.report + kCommandRoom, sizeof length);
    return length <= kCommandRoom ? length : 0;
}

// The text in a field that may lack its terminator.
std::string_view text_in(const char *field, size_t room) {
    return {field, strnlen(field, room)};
}

// The response text: every line for a multi-line request, else the line that the caller wants.
std::string response_text(const at_server_msg &message, const Reply &reply) {
    std::string_view match = text_in(message.match, sizeof message.match);
    bool list = std::find(std::begin(kStoredLists), std::end(kStoredLists), match) !=
                std::end(kStoredLists);
    if (message.multi_line == 0 && !match.empty() && !list) {
        for (size_t i = 0; i < reply.lines.size(); i++) {
            const std::string &line = reply.lines[i];
            if (line.find(match) != std::string::npos) {
                // A PDU or a raw body, which may hold any byte, stands on the line behind its
                // header.
                bool header = i + 1 < reply.lines.size() &&
                              (line.starts_with("^HCMGR:") ||
                               reply.lines[i + 1].find(':') == std::string::npos);
                return header ? line + "\r\n" + reply.lines[i + 1] : line;
            }
        }
    }
    // Lines that each begin with what the caller looks for are cut there, and need no line ends,
    // which would stand in their last values.
    bool cut = !match.empty() &&
               std::all_of(reply.lines.begin(), reply.lines.end(),
                           [&](const std::string &line) { return line.starts_with(match); });
    std::string text;
    for (const std::string &line : reply.lines) {
        text += text.empty() || cut ? line : "\r\n" + line;
    }
    return text;
}

// Wrong passwords and a network that is not there have a result of their own in two commands.
int32_t refusal_result(std::string_view command, const std::string &final_result) {
    bool password = command.starts_with("AT+CPWD=") && final_result == "+CME ERROR: 16";
    bool network = command.starts_with("AT+CUSD=") && final_result == "+CME ERROR: 30";
    if (password || network) {
        return AT_RET_FAILURE;
    }
    return final_result.starts_with("+CMS") ? AT_RET_REFUSED : AT_RET_ERROR;
}

sigset_t our_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (int signal : {kRequestSignal, kTickSignal, SIGHUP, SIGTERM, SIGINT}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

bool process_lives(int32_t id) {
    return kill(id, 0) == 0 || errno == EPERM;
}

}  // namespace

Command command_of(const at_server_msg &request) {
    if (text_in(request.match, sizeof request.match) == kUnreadMessages) {
        return {"AT^CMGI", ""};
    }
    if (size_t length = counted_length(request)) {
        return {{request.report, length}, ""};
    }
    std::string_view text = text_in(request.report, kCommandRoom);
    size_t end = text.find('\r');
    if (end == std::string::npos) {
        return {std::string(text), ""};
    }
    Command command{std::string(text.substr(0, end)), std::string(text.substr(end + 1))};
    for (const auto &raw : kRawBodies) {
        if (command.line.starts_with(raw.head)) {
            command.body.assign(request.report + end + 1, raw.body);
        }
    }
    return command;
}

void fill_reply(at_server_msg &message, const Reply &reply) {
    std::string text = reply.ok() ? response_text(message, reply) : reply.final_result;
    if (reply.ok()) {
        message.Ret_val = AT_RET_SUCCESS;
    } else {
        message.Ret_val = text.empty()
                              ? kRetNothing
                              : refusal_result(text_in(message.report, kCommandRoom), text);
    }
    size_t length = std::min(text.size(), sizeof message.report - 1);
    memcpy(message.report, text.data(), length);
    memset(message.report + length, 0, sizeof message.report - length);
    message.report_len = static_cast<uint32_t>(length);
}

AtServer::AtServer(Modem &modem) : modem_(modem), card_(modem), signals_(our_signals()) {
    modem_.on_report([this](const std::string &line) {
        card_.notice(line);
        if (line.starts_with("^RSSI")) {
            last_rssi_ = line;
        } else if (line.starts_with("^SMMEMFULL")) {
            last_memory_full_ = line;
        }
    });
}

AtServer::~AtServer() {
    if (signal_descriptor_ >= 0) {
        close(signal_descriptor_);
    }
    if (requests_ >= 0) {
        osa_msgQ_delete(requests_);
        osa_msgQ_delete(replies_);
        unlink(kPidFile);
    }
}

void AtServer::block_signals() {
    sigset_t signals = our_signals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

bool AtServer::open() {
    if (osa_event_init(AT_EVENT_REQUEST) != 1) {
        fprintf(stderr, "at_server: cannot block the request event: %s\n", strerror(errno));
        return false;
    }
    signal_descriptor_ = signalfd(-1, &signals_, SFD_CLOEXEC | SFD_NONBLOCK);
    // A server that was killed left its queues behind; clients look for new ones.
    for (int number : {AT_QUEUE_REQUESTS, AT_QUEUE_REPLIES}) {
        int old = osa_get_msgQ_id(number);
        if (old >= 0) {
            osa_msgQ_delete(old);
        }
    }
    requests_ = osa_msgQ_create(AT_QUEUE_REQUESTS, kQueueMessages, sizeof(at_server_msg));
    replies_ = osa_msgQ_create(AT_QUEUE_REPLIES, kQueueMessages, sizeof(at_server_msg));
    if (signal_descriptor_ < 0 || requests_ < 0 || replies_ < 0) {
        fprintf(stderr, "at_server: cannot make the queues: %s\n", strerror(errno));
        return false;
    }
    mkdir("/var/run/pidfile", 0755);
    FILE *file = fopen(kPidFile, "we");
    bool written = file != nullptr && fprintf(file, "%d\n", getpid()) > 0;
    written = file != nullptr && fclose(file) == 0 && written;
    if (!written) {
        fprintf(stderr, "at_server: cannot write %s: %s\n", kPidFile, strerror(errno));
    }
    return written;
}

void AtServer::run(const std::function<void()> &reload) {
    card_.look();
    for (;;) {
        set_alarm();
        switch (wait()) {
            case kRequestSignal:
                drain();
                break;
            case kTickSignal:
                alarm_.reset();
                modem_.tick();
                break;
            case SIGHUP:
                reload();
                break;
            case SIGTERM:
            case SIGINT:
                return;
        }
    }
}

// Has the signal sent when the modem's next tick is due.
void AtServer::set_alarm() {
    auto next = modem_.next_tick();
    if (next == alarm_) {
        return;
    }
    alarm_ = next;
    itimerval time = {};
    if (next) {
        auto left = std::chrono::ceil<std::chrono::microseconds>(*next - Clock::now());
        left = std::max(left, std::chrono::microseconds(1));
        time.it_value.tv_sec = static_cast<time_t>(left.count() / 1000000);
        time.it_value.tv_usec = static_cast<suseconds_t>(left.count() % 1000000);
    }
    setitimer(ITIMER_REAL, &time, nullptr);
}

// Waits for one of our signals, or for the modem. Returns the signal, 0 for none. Signals of a kind
// do not pile up: whoever takes one takes what there is.
int AtServer::wait() {
    if (modem_.descriptor() < 0) {
        // One call waits for a signal and takes it.
        return std::max(sigwaitinfo(&signals_, nullptr), 0);
    }
    pollfd waits[] = {{signal_descriptor_, POLLIN, 0}, {modem_.descriptor(), POLLIN, 0}};
    if (poll(waits, 2, -1) <= 0) {
        return 0;
    }
    if (waits[1].revents != 0) {
        modem_.readable();
    }
    signalfd_siginfo taken;
    bool came = waits[0].revents != 0 && read(signal_descriptor_, &taken, sizeof taken) > 0;
    return came ? static_cast<int>(taken.ssi_signo) : 0;
}

void AtServer::drain() {
    for (;;) {
        // A request that still waits for the modem keeps its message.
        if (message_.use_count() != 1) {
            message_ = std::make_shared<at_server_msg>();
        }
        if (osa_msgQ_recv(requests_, message_.get(), sizeof *message_, 0) < 0) {
            return;
        }
        take(message_);
    }
}

void AtServer::take(const std::shared_ptr<at_server_msg> &message) {
    const std::string *line = report_for(*message);
    if (line != nullptr || message->req_class == kServerValue) {
        bool known = line != nullptr && !line->empty();
        fill_reply(*message, known ? Reply{{*line}, "OK"} : Reply{{}, ""});
        send(*message);
        return;
    }
    modem_.start(command_of(*message), std::chrono::seconds(std::max(message->timeout, 1)),
                 [this, message](const Reply &answer) {
                     fill_reply(*message, answer);
                     send(*message);
                 });
}

const std::string *AtServer::report_for(const at_server_msg &request) const {
    if (request.req_class == kServerValue) {
        return request.req_param == kLatestRssi ? &last_rssi_ : nullptr;
    }
    // The full memory is asked for without a word.
    bool empty = request.report[0] == '\0' && request.multi_line == 0 && request.req_param == -1;
    return empty ? &last_memory_full_ : nullptr;
}

void AtServer::send(const at_server_msg &reply) {
    if (osa_msgQex_send(replies_, &reply, sizeof reply, 0) == 1) {
        return;
    }
    if (!make_room() || osa_msgQex_send(replies_, &reply, sizeof reply, 0) != 1) {
        fprintf(stderr, "at_server: no room for a reply to %d, dropped\n", reply.mtype);
    }
}

// The reply queue is full of what nobody took. Replies to threads that are gone are thrown away;
// the others go back in their order.
bool AtServer::make_room() {
    bool freed = false;
    int waiting = osa_msgQ_num(replies_);
    at_server_msg message;
    for (int i = 0; i < waiting; i++) {
        if (osa_msgQ_recv(replies_, &message, sizeof message, 0) < 0) {
            break;
        }
        if (process_lives(message.mtype)) {
            osa_msgQex_send(replies_, &message, sizeof message, 0);
        } else {
            freed = true;
        }
    }
    return freed;
}

}  // namespace hearth::device
