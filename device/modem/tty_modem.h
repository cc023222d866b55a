// A real modem on a serial device or a pseudo terminal, spoken to in plain AT text.
#pragma once

#include <deque>
#include <string>

#include "modem.h"

namespace hearth::device {

class TtyModem : public Modem {
  public:
    explicit TtyModem(std::string path);
    TtyModem(const TtyModem &) = delete;
    TtyModem &operator=(const TtyModem &) = delete;
    ~TtyModem() override;

    void start(const Command &command, std::chrono::seconds timeout, Done done) override;
    int descriptor() const override { return fd_; }
    void readable() override;
    std::optional<Clock::time_point> next_tick() const override;
    void tick() override;

  private:
    struct Waiting {
        Command command;
        std::chrono::seconds timeout;
        Done done;
    };

    void open();
    void tell_absence();
    void close_line();
    void send_next();
    void send(const std::string &text);
    void take_line(const std::string &line);
    void finish(const std::string &final_result);
    void give_up();
    void check_step(const Reply &reply, int most_owed);

    std::string path_;
    int fd_ = -1;
    Clock::time_point reopen_at_;
    std::string buffer_;
    std::deque<Waiting> waiting_;
    // The command in hand is the first of waiting_.
    bool busy_ = false;
    bool prompted_ = false;
    // Commands left of those that set the modem up; until then results may be numeric.
    int settling_ = 0;
    bool absence_told_ = false;
    Clock::time_point deadline_;
    Reply reply_;
};

}  // namespace hearth::device
