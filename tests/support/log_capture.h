// The log lines that the library writes while a LogCapture lives. Using it replaces the library's
// osa_print_log_ex and osa_print_log in the test program.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace hearth::test {

struct LogLine {
    std::string module;
    std::string file;
    uint32_t level;
    std::string text;

    bool operator==(const LogLine &) const = default;
};

class LogCapture {
  public:
    LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;
    ~LogCapture();

    // The lines so far, of all threads, in order.
    std::vector<LogLine> lines() const;
    // The same as "LEVEL TEXT", for short expectations.
    std::vector<std::string> texts() const;
    // Those of one source file alone.
    std::vector<std::string> texts(const std::string &file) const;
    void clear();
};

// The library's lines go nowhere in a program that uses this, or while no LogCapture lives.
inline void silence_log() {
    LogCapture log;
}

}  // namespace hearth::test
