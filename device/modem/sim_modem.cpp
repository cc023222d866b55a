#include "sim_modem.h"

#include <algorithm>
#include <utility>

namespace hearth::device {

const Operator *Network::current() const {
    auto found = std::find_if(operators.begin(), operators.end(),
                              [](const Operator &op) { return op.status == 2; });
    return found == operators.end() ? nullptr : &*found;
}

int SimState::card_error() const {
    if (!sim.inserted) {
        return kSimNotInserted;
    }
    if (sim.lock && !sim.verified) {
        return sim.pin_tries == 0 ? kSimPukRequired : kSimPinRequired;
    }
    return 0;
}

SimModem::SimModem(SimState state) : state_(std::move(state)), seen_(state_.sim) {
    for (auto table : {identity_handlers(), network_handlers(), pin_handlers(), sms_handlers(),
                       phonebook_handlers()}) {
        for (const SimHandler &handler : table) {
            handlers_[handler.name] = &handler;
        }
    }
}

Refusal *SimModem::refusal_for(const std::string &line) {
    auto found =
        std::find_if(state_.refusals.begin(), state_.refusals.end(), [&](const Refusal &refusal) {
            return line.compare(0, refusal.command.size(), refusal.command) == 0;
        });
    return found == state_.refusals.end() ? nullptr : &*found;
}

Reply SimModem::run(const Command &command) {
    SimCommand parsed = parse_command(command);
    if (parsed.name.empty()) {
        return {};
    }
    auto found = handlers_.find(parsed.name);
    return found == handlers_.end() ? plain_error() : found->second->run(state_, parsed);
}

void SimModem::start(const Command &command, std::chrono::seconds /*timeout*/, Done done) {
    std::chrono::milliseconds delay{0};
    std::string answer;
    if (Refusal *refusal = refusal_for(command.line)) {
        bool silent = refusal->silent;
        delay = refusal->delay;
        answer = refusal->answer;
        if (refusal->times > 0 && --refusal->times == 0) {
            state_.refusals.erase(state_.refusals.begin() + (refusal - state_.refusals.data()));
        }
        if (silent) {
            return;
        }
    }
    Reply reply = answer.empty() ? run(command) : Reply{{}, answer};
    notice_card();
    if (delay.count() == 0) {
        done(reply);
    } else {
        late_.push_back({Clock::now() + delay, std::move(reply), std::move(done)});
    }
    give_reports();
}

void SimModem::give_reports() {
    for (const std::string &line : std::exchange(state_.reports, {})) {
        report(line);
    }
}

std::optional<Clock::time_point> SimModem::next_tick() const {
    std::optional<Clock::time_point> next;
    if (next_moment_ < state_.moments.size()) {
        next = begin_ + state_.moments[next_moment_].at;
    }
    for (const Late &late : late_) {
        next = next ? std::min(*next, late.due) : late.due;
    }
    return next;
}

void SimModem::tick() {
    Clock::time_point now = Clock::now();
    while (next_moment_ < state_.moments.size() &&
           begin_ + state_.moments[next_moment_].at <= now) {
        apply(state_.moments[next_moment_++]);
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

void SimModem::apply(const Moment &moment) {
    if (moment.rssi) {
        state_.signal.rssi = *moment.rssi;
        report(format("^RSSI: %d", *moment.rssi));
    }
    if (moment.registration) {
        state_.network.registration = *moment.registration;
        state_.network.packet_registration = *moment.registration;
        if (state_.network.creg_mode > 0) {
            report(format("+CREG: %d", *moment.registration));
        }
    }
    if (moment.sim) {
        state_.sim = *moment.sim;
        notice_card();
    }
    if (!moment.message.empty()) {
        receive_message(state_, moment.message);
        give_reports();
    }
    if (!moment.report.empty()) {
        report(moment.report);
    }
}

void SimModem::replace(SimState state) {
    state_ = std::move(state);
    begin_ = Clock::now();
    next_moment_ = 0;
    notice_card();
}

// Reports a card that was inserted, removed, locked, unlocked or swapped.
void SimModem::notice_card() {
    const Sim &sim = state_.sim;
    bool same = sim.inserted == seen_.inserted && sim.imsi == seen_.imsi &&
                sim.lock == seen_.lock && sim.verified == seen_.verified &&
                (sim.pin_tries == 0) == (seen_.pin_tries == 0) &&
                (sim.puk_tries == 0) == (seen_.puk_tries == 0);
    seen_ = sim;
    if (!same) {
        // 255: no card.
        report(format("^SIMST:%d", sim.inserted ? 1 : 255));
    }
}

}  // namespace hearth::device
