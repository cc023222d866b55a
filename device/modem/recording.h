// Recordings: what was said to a modem and what it answered, in a text file, and a modem that
// answers from one.
//
// A recording is made of blocks with an empty line between them. An exchange begins with the
// command, behind '>' and the milliseconds since the recording began; the lines of the reply and,
// as the last one, the final result stand behind '<' with theirs. A command that was never answered
// stands alone. A block that begins with '<' is a report. What stands behind the prompt of a
// two-stage send follows its command and a "\r". Bytes that are no text, and the backslash, are
// written as "\xNN", "\r" and "\\". Lines that begin with '#' are comments.
#pragma once

#include <stdio.h>

#include <deque>
#include <list>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "modem.h"

namespace hearth::device {

// Tells file, line and what was expected.
struct RecordingError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// `at` counts from the beginning of the recording, `delay` from the command to its answer.
struct Exchange {
    std::chrono::milliseconds at{0};
    std::chrono::milliseconds delay{0};
    Reply reply;
    bool answered = false;
};
struct Report {
    std::chrono::milliseconds at{0};
    std::string line;
};
struct Recording {
    std::map<std::string, std::deque<Exchange>> exchanges;
    std::deque<Report> reports;  // in the order of their times
};

// Throws RecordingError.
Recording read_recording(const std::string &path);

// Stands in front of a modem and writes down what passes.
class RecordingModem : public Modem {
  public:
    // Throws RecordingError when the file cannot be made. The modem must outlive this one.
    RecordingModem(Modem &modem, const std::string &path);
    // Writes the commands that were never answered.
    ~RecordingModem() override;

    void start(const Command &command, std::chrono::seconds timeout, Done done) override;
    int descriptor() const override { return modem_.descriptor(); }
    void readable() override { modem_.readable(); }
    std::optional<Clock::time_point> next_tick() const override { return modem_.next_tick(); }
    void tick() override { modem_.tick(); }

  private:
    struct Open {
        Clock::time_point when;
        std::string text;
    };

    std::string stamped(char direction, Clock::time_point when, const std::string &text) const;
    void write(const std::string &block);

    Modem &modem_;
    std::string path_;
    std::unique_ptr<FILE, int (*)(FILE *)> file_;
    Clock::time_point begin_ = Clock::now();
    std::list<Open> open_;
};

// Answers as the recorded modem did, after the time that it took. The same command is answered by
// one exchange after the other, and by the last one from then on; a command that was not recorded
// is answered with "ERROR", and told on standard error.
class ReplayModem : public Modem {
  public:
    // Reads the recording; throws RecordingError.
    explicit ReplayModem(const std::string &path);

    void start(const Command &command, std::chrono::seconds timeout, Done done) override;
    std::optional<Clock::time_point> next_tick() const override;
    void tick() override;

  private:
    struct Late {
        Clock::time_point due;
        Reply reply;
        Done done;
    };

    Recording recording_;
    Clock::time_point begin_ = Clock::now();
    std::deque<Late> late_;
};

}  // namespace hearth::device
