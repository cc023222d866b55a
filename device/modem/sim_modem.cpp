#include "sim_modem.h"

#include <algorithm>
#include <utility>

#include "sim_flow.h"

namespace hearth::device {

namespace {

constexpr int kHome = 1;
constexpr int kRoaming = 5;
constexpr std::chrono::seconds kFlowReports{2};

}  // namespace

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

int SimState::registration() const {
    return functionality == 1 && card_error() == 0 ? network.registration : 0;
}

int SimState::packet_registration() const {
    return functionality == 1 && card_error() == 0 ? network.packet_registration : 0;
}

bool SimState::has_service() const {
    return registration() == kHome || registration() == kRoaming;
}

const Operator *SimState::serving() const {
    return has_service() ? network.current() : nullptr;
}

SimModem::SimModem(SimState state)
    : state_(std::move(state)),
      seen_(state_.sim),
      seen_registration_{state_.registration(), state_.packet_registration()} {
    // Settings first: a family's own row for a setting takes the place of the general one.
    for (auto table : {setting_handlers(), identity_handlers(), network_handlers(), pin_handlers(),
                       sms_handlers(), phonebook_handlers(), system_handlers(), signal_handlers(),
                       name_handlers(), connection_handlers(), flow_handlers(), device_handlers(),
                       file_handlers(), ussd_handlers(), toolkit_handlers()}) {
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
    std::optional<Reply> given;
    if (Refusal *refusal = refusal_for(command.line)) {
        bool silent = refusal->silent;
        delay = refusal->delay;
        if (!refusal->answer.empty() || !refusal->lines.empty()) {
            given = {refusal->lines, refusal->answer.empty() ? "OK" : refusal->answer};
        }
        if (refusal->times > 0 && --refusal->times == 0) {
            state_.refusals.erase(state_.refusals.begin() + (refusal - state_.refusals.data()));
        }
        if (silent) {
            return;
        }
    }
    Reply reply = given ? *given : run(command);
    notice_card();
    notice_service();
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
    if (reports_flow()) {
        next = next ? std::min(*next, next_flow_) : next_flow_;
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
    if (reports_flow() && next_flow_ <= now) {
        next_flow_ = now + kFlowReports;
        report(flow_report(state_.connection));
    }
}

bool SimModem::reports_flow() const {
    return state_.connection.dialled != 0 && state_.settings.number("^DSFLOWRPT") == 1;
}

void SimModem::apply(const Moment &moment) {
    if (moment.rssi) {
        state_.signal.rssi = *moment.rssi;
        report(format("^RSSI: %d", *moment.rssi));
    }
    if (moment.registration) {
        state_.network.registration = *moment.registration;
        state_.network.packet_registration = *moment.registration;
    }
    if (moment.sim) {
        state_.sim = *moment.sim;
        notice_card();
    }
    if (!moment.message.empty()) {
        receive_message(state_, moment.message);
    }
    notice_service();
    give_reports();
    if (!moment.report.empty()) {
        report(moment.report);
    }
}

void SimModem::replace(SimState state) {
    state_ = std::move(state);
    begin_ = Clock::now();
    next_moment_ = 0;
    notice_card();
    notice_service();
    give_reports();
}

// Reports a card that was inserted, removed, locked, unlocked or swapped.
void SimModem::notice_card() {
    const Sim &sim = state_.sim;
    bool same = sim.inserted == seen_.inserted && sim.imsi == seen_.imsi &&
                sim.lock == seen_.lock && sim.verified == seen_.verified &&
                (sim.pin_tries == 0) == (seen_.pin_tries == 0) &&
                (sim.puk_tries == 0) == (seen_.puk_tries == 0);
    if (!same) {
        seen_ = sim;
        // 255: no card.
        report(format("^SIMST:%d", sim.inserted ? 1 : 255));
    }
}

// Reports a registration that has changed, to whom asked for it, and ends the connection without
// one.
void SimModem::notice_service() {
    std::array<int, 2> now = {state_.registration(), state_.packet_registration()};
    bool service = state_.has_service();
    if (!service) {
        hang_up(state_);
    }
    auto was = std::exchange(seen_registration_, now);
    const Network &network = state_.network;
    if (was[0] != now[0] && network.creg_mode > 0) {
        state_.reports.push_back(format("+CREG: %d", now[0]));
    }
    if (was[1] != now[1] && network.cgreg_mode > 0) {
        state_.reports.push_back(format("+CGREG: %d", now[1]));
    }
    bool served = was[0] == kHome || was[0] == kRoaming;
    if (served != service && state_.settings.number("^SRVST") == 1) {
        state_.reports.push_back(format("^SRVST:%d", service ? 2 : 0));
    }
}

}  // namespace hearth::device
