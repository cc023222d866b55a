// A modem as the AT server sees it: something that takes one command line and answers with lines
// and a final result. The simulated one stands in sim_modem.h, a real one on a terminal in
// tty_modem.h.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace hearth::device {

using Clock = std::chrono::steady_clock;

// What goes to the modem: a command line without line ending and, for a two-stage send, what
// follows the modem's prompt, its closing 0x1A included.
struct Command {
    std::string line;
    std::string body;
};

// What the modem said to one command: the information lines, then the final result, such as "OK",
// "ERROR" or "+CME ERROR: 10".
struct Reply {
    std::vector<std::string> lines;
    std::string final_result = "OK";

    bool ok() const { return final_result == "OK"; }
};

class Modem {
  public:
    // Runs with the reply; never runs when the modem stays silent.
    using Done = std::function<void(const Reply &)>;
    // Runs with each line that answers no command, such as "^RSSI: 17".
    using Report = std::function<void(const std::string &)>;

    virtual ~Modem() = default;

    // Takes a command; commands are carried out in the order in which they come.
    virtual void start(const Command &command, std::chrono::seconds timeout, Done done) = 0;

    // The descriptor to wait on, -1 for none, and what to do when it is readable.
    virtual int descriptor() const { return -1; }
    virtual void readable() {}

    // When tick() wants to run next, and what it does.
    virtual std::optional<Clock::time_point> next_tick() const { return std::nullopt; }
    virtual void tick() {}

    void on_report(Report report) { report_ = std::move(report); }

  protected:
    void report(const std::string &line) const {
        if (report_) {
            report_(line);
        }
    }

  private:
    Report report_;
};

}  // namespace hearth::device
