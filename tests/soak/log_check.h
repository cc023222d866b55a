// Reads the log that all workers write: every line is whole, and none of a thread is missing
// between two others.
#pragma once

#include <stdint.h>

#include <map>
#include <string>
#include <string_view>
#include <tuple>

namespace hearth::soak {

struct LogStamp {
    int slot;
    uint32_t life;
    int thread;
    uint32_t number;
};

// The text that a line with this stamp has.
std::string text_of(const LogStamp &stamp);

class LogCheck {
  public:
    explicit LogCheck(std::string path) : path_(std::move(path)) {}

    // Looks at what has come since the last time. A line may be torn by a kill only, and then only
    // where the kernel writes in two steps: between two pages of the file.
    void look(uint64_t kills);

    uint64_t lines() const { return lines_; }
    uint64_t torn() const { return torn_; }
    uint64_t restarts() const { return restarts_; }

  private:
    bool same_file(const std::string &head) const;
    void line(std::string_view text, uint64_t offset, uint64_t kills);

    std::string path_;
    std::string head_;     // how the file begins, to tell that it was emptied
    uint64_t offset_ = 0;  // what is before has been looked at
    std::map<std::tuple<int, uint32_t, int>, uint32_t> last_;
    uint64_t lines_ = 0;
    uint64_t torn_ = 0;
    uint64_t restarts_ = 0;
};

}  // namespace hearth::soak
