#include "recording.h"

#include <errno.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <fstream>

#include "sim_command.h"

namespace hearth::device {

namespace {

using std::chrono::milliseconds;

// A command and what follows its prompt, as one text.
std::string whole(const Command &command) {
    return command.body.empty() ? command.line : command.line + "\r" + command.body;
}

std::string escaped(const std::string &text) {
    std::string result;
    for (char each : text) {
        auto c = static_cast<unsigned char>(each);
        if (c == '\r') {
            result += "\\r";
        } else if (c == '\\') {
            result += "\\\\";
        } else if (c < 32 || c >= 127) {
            result += format("\\x%02X", c);
        } else {
            result += each;
        }
    }
    return result;
}

// Reads a recording line by line.
class Reader {
  public:
    explicit Reader(const std::string &path) : path_(path) {}

    Recording read() {
        std::ifstream file(path_);
        if (!file) {
            throw RecordingError(path_ + ": cannot be read: " + strerror(errno));
        }
        std::string line;
        while (std::getline(file, line)) {
            number_++;
            take(line);
        }
        if (file.bad()) {
            throw RecordingError(path_ + ": cannot be read");
        }
        end_block();
        if (recording_.exchanges.empty()) {
            fail("expected at least one exchange, \"> MILLISECONDS COMMAND\"");
        }
        std::stable_sort(recording_.reports.begin(), recording_.reports.end(),
                         [](const Report &a, const Report &b) { return a.at < b.at; });
        return std::move(recording_);
    }

  private:
    void take(const std::string &line) {
        if (line.empty()) {
            end_block();
        } else if (line[0] == '>') {
            if (in_block_) {
                fail("expected an empty line in front of a command");
            }
            take_text(line);
            command_ = text_;
            asked_at_ = time_;
            in_block_ = true;
        } else if (line[0] == '<') {
            take_text(line);
            take_answer();
        } else if (line[0] != '#') {
            fail("expected a line that begins with '>', '<' or '#', or an empty one");
        }
    }

    void take_answer() {
        if (command_.empty()) {
            recording_.reports.push_back({time_, text_});
            in_block_ = true;
            return;
        }
        if (time_ < asked_at_) {
            fail("expected a time that is not before its command's");
        }
        exchange_.reply.lines.push_back(text_);
        exchange_.delay = time_ - asked_at_;
        exchange_.answered = true;
    }

    void end_block() {
        if (!command_.empty()) {
            if (exchange_.answered) {
                exchange_.reply.final_result = exchange_.reply.lines.back();
                exchange_.reply.lines.pop_back();
            }
            exchange_.at = asked_at_;
            recording_.exchanges[command_].push_back(exchange_);
        }
        command_.clear();
        exchange_ = {};
        in_block_ = false;
    }

    // "> MILLISECONDS TEXT"
    void take_text(const std::string &line) {
        const char *end = line.data() + line.size();
        const char *at = line.data() + 1;
        uint32_t count = 0;
        if (at == end || *at != ' ') {
            fail("expected a blank and milliseconds behind the first character");
        }
        auto [rest, problem] = std::from_chars(at + 1, end, count);
        if (problem != std::errc() || rest == end || *rest != ' ') {
            fail("expected milliseconds and a blank");
        }
        time_ = milliseconds(count);
        text_ = unescaped(line.substr(static_cast<size_t>(rest + 1 - line.data())));
        if (text_.empty()) {
            fail("expected a text behind the milliseconds");
        }
    }

    std::string unescaped(const std::string &text) const {
        std::string result;
        for (size_t i = 0; i < text.size(); i++) {
            if (text[i] != '\\') {
                result += text[i];
                continue;
            }
            char kind = i + 1 < text.size() ? text[++i] : '\0';
            unsigned value = 0;
            if (kind == 'r') {
                result += '\r';
            } else if (kind == '\\') {
                result += '\\';
            } else if (kind == 'x' && i + 2 < text.size() &&
                       std::from_chars(&text[i + 1], &text[i] + 3, value, 16).ptr == &text[i] + 3) {
                result += static_cast<char>(value);
                i += 2;
            } else {
                fail("expected \"\\xNN\", \"\\r\" or \"\\\\\" at a backslash");
            }
        }
        return result;
    }

    [[noreturn]] void fail(const std::string &what) const {
        throw RecordingError(path_ + ":" + std::to_string(number_) + ": " + what);
    }

    std::string path_;
    Recording recording_;
    int number_ = 0;
    bool in_block_ = false;
    std::string command_;
    milliseconds asked_at_{0};
    Exchange exchange_;
    milliseconds time_{0};
    std::string text_;
};

}  // namespace

RecordingModem::RecordingModem(Modem &modem, const std::string &path)
    : modem_(modem), path_(path), file_(fopen(path.c_str(), "we"), fclose) {
    if (!file_) {
        throw RecordingError(path + ": cannot be made: " + strerror(errno));
    }
    modem_.on_report([this](const std::string &line) {
        write(stamped('<', Clock::now(), line));
        report(line);
    });
}

RecordingModem::~RecordingModem() {
    modem_.on_report({});
    for (const Open &open : open_) {
        write(stamped('>', open.when, open.text));
    }
}

void RecordingModem::start(const Command &command, std::chrono::seconds timeout, Done done) {
    // A command without a text, such as the request for a report, is no exchange.
    if (command.line.empty()) {
        modem_.start(command, timeout, std::move(done));
        return;
    }
    auto open = open_.insert(open_.end(), {Clock::now(), whole(command)});
    modem_.start(command, timeout, [this, open, done](const Reply &reply) {
        std::string block = stamped('>', open->when, open->text);
        open_.erase(open);
        Clock::time_point now = Clock::now();
        // Without a final result the modem has given no answer, whatever lines came.
        for (size_t i = 0; !reply.final_result.empty() && i < reply.lines.size(); i++) {
            block += stamped('<', now, reply.lines[i]);
        }
        if (!reply.final_result.empty()) {
            block += stamped('<', now, reply.final_result);
        }
        write(block);
        done(reply);
    });
}

std::string RecordingModem::stamped(char direction, Clock::time_point when,
                                    const std::string &text) const {
    auto since = std::chrono::duration_cast<milliseconds>(when - begin_);
    return format("%c %lld ", direction, static_cast<long long>(since.count())) + escaped(text) +
           "\n";
}

void RecordingModem::write(const std::string &block) {
    if (!file_) {
        return;
    }
    if (fprintf(file_.get(), "%s\n", block.c_str()) < 0 || fflush(file_.get()) != 0) {
        fprintf(stderr, "at_server: cannot write %s: %s; the recording ends here\n", path_.c_str(),
                strerror(errno));
        file_.reset();
    }
}

Recording read_recording(const std::string &path) {
    return Reader(path).read();
}

ReplayModem::ReplayModem(const std::string &path) : recording_(read_recording(path)) {}

void ReplayModem::start(const Command &command, std::chrono::seconds /*timeout*/, Done done) {
    auto found = recording_.exchanges.find(whole(command));
    if (found == recording_.exchanges.end()) {
        fprintf(stderr, "at_server: the recording has no \"%s\"\n",
                escaped(whole(command)).c_str());
        done({{}, "ERROR"});
        return;
    }
    Exchange exchange = found->second.front();
    if (found->second.size() > 1) {
        found->second.pop_front();
    }
    if (exchange.answered) {
        late_.push_back({Clock::now() + exchange.delay, exchange.reply, std::move(done)});
    }
}

std::optional<Clock::time_point> ReplayModem::next_tick() const {
    std::optional<Clock::time_point> next;
    if (!recording_.reports.empty()) {
        next = begin_ + recording_.reports.front().at;
    }
    for (const Late &late : late_) {
        next = next ? std::min(*next, late.due) : late.due;
    }
    return next;
}

void ReplayModem::tick() {
    Clock::time_point now = Clock::now();
    while (!recording_.reports.empty() && begin_ + recording_.reports.front().at <= now) {
        report(recording_.reports.front().line);
        recording_.reports.pop_front();
    }
    for (size_t i = 0; i < late_.size();) {
        if (late_[i].due > now) {
            i++;
            continue;
        }
        Late late = std::move(late_[i]);
        late_.erase(late_.begin() + static_cast<std::ptrdiff_t>(i));
        late.done(late.reply);
    }
}

}  // namespace hearth::device
