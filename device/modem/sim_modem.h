// The simulated modem: it answers from its state, and the scenario's moments change the state.
#pragma once

#include <deque>
#include <string_view>
#include <unordered_map>

#include "modem.h"
#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

class SimModem : public Modem {
  public:
    explicit SimModem(SimState state);

    void start(const Command &command, std::chrono::seconds timeout, Done done) override;
    std::optional<Clock::time_point> next_tick() const override;
    void tick() override;

    // Takes up another scenario, as if the card and the radio around the modem had changed.
    void replace(SimState state);

    const SimState &state() const { return state_; }

  private:
    struct Late {
        Clock::time_point due;
        Reply reply;
        Done done;
    };

    Reply run(const Command &command);
    Refusal *refusal_for(const std::string &line);
    void apply(const Moment &moment);
    void give_reports();
    void notice_card();
    void notice_service();
    bool reports_flow() const;

    SimState state_;
    Sim seen_;
    // Circuit and packet domain.
    std::array<int, 2> seen_registration_;
    Clock::time_point next_flow_;
    std::unordered_map<std::string_view, const SimHandler *> handlers_;
    Clock::time_point begin_ = Clock::now();
    std::deque<Late> late_;
    size_t next_moment_ = 0;
};

}  // namespace hearth::device
