// The device around the radio: versions and numbers, battery, profiles, and what restarts it.

#include <algorithm>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

Reply meid(SimState &state, const SimCommand &) {
    return line_reply("^MEID:" + state.identity.meid);
}

Reply esn(SimState &state, const SimCommand &) {
    return line_reply("+ESN:" + state.identity.esn);
}

Reply versions(SimState &state, const SimCommand &) {
    const Identity &identity = state.identity;
    return {{"^VERSION:EXTB:" + identity.manufacturer, "^VERSION:EXTD:" + identity.model,
             "^VERSION:EXTH:" + identity.hardware, "^VERSION:EXTS:" + identity.software},
            "OK"};
}

Reply version(SimState &state, const SimCommand &) {
    return line_reply("^APVER:" + state.identity.software);
}

Reply physical_numbers(SimState &state, const SimCommand &) {
    return {{"^PHYNUM:IMEI," + state.identity.imei, "^PHYNUM:SN," + state.identity.serial}, "OK"};
}

// A host that has no number yet is given one.
Reply host(SimState &state, const SimCommand &command) {
    int id = command.number(0);
    if (command.form != Form::kSet || id < 0) {
        return error(kOperationNotSupported);
    }
    return line_reply(
        format("^HS:%d,0,%d,0,0,0", id == 0 ? 1 : id, state.functionality == 1 ? 0 : 1));
}

Reply charger(SimState &state, const SimCommand &) {
    const Battery &battery = state.battery;
    int current = battery.charging ? 500 : 0;
    return line_reply(format(
        "^APCHG:%s,0,%d,%d,%d,%d,%d,%d,%d,%d,0", battery.charging ? "charging" : "discharging",
        battery.charging ? 5000 : 0, battery.millivolts, current, battery.temperature,
        battery.temperature, battery.temperature, battery.temperature, battery.temperature));
}

Reply battery_level(SimState &state, const SimCommand &) {
    return line_reply(
        format("^APBATLVL:%d,%d", state.battery.charging ? 1 : 0, state.battery.level));
}

Reply battery_charge(SimState &state, const SimCommand &) {
    return line_reply(format("+CBC: %d,%d", state.battery.charging ? 1 : 0, state.battery.level));
}

Reply time_up(SimState &state, const SimCommand &) {
    auto up = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() -
                                                               state.powered);
    return line_reply(format("^APPWRONTIME:%lld", static_cast<long long>(up.count())));
}

// What all profiles and one profile have in common.
std::string profile_line(const Profile &profile) {
    return format("%d,1,\"%s\",%d,\"%s\",\"*99#\",\"%s\",\"%s\",%d,0,00000000,0,00000000,00000000",
                  profile.index, profile.name.c_str(), profile.apn.empty() ? 0 : 1,
                  profile.apn.c_str(), profile.username.c_str(), profile.password.c_str(),
                  profile.auth);
}

Reply all_profiles(SimState &state, const SimCommand &) {
    Reply reply;
    for (const Profile &profile : state.profiles) {
        reply.lines.push_back("^APPROFALL:" + profile_line(profile) +
                              (profile.read_only ? ",0,00000000,1" : ",0,00000000,0"));
    }
    return reply;
}

auto find_profile(SimState &state, int index) {
    return std::find_if(state.profiles.begin(), state.profiles.end(),
                        [&](const Profile &profile) { return profile.index == index; });
}

Reply one_profile(SimState &state, const SimCommand &command) {
    auto found = find_profile(state, command.number(0));
    return found == state.profiles.end() ? error(kInvalidIndex)
                                         : line_reply("^APPROFRD:" + profile_line(*found));
}

Reply change_profile(SimState &state, const SimCommand &command) {
    int index = command.number(0);
    if (command.arguments.size() != 6 || index < 1) {
        return error(kOperationNotSupported);
    }
    auto found = find_profile(state, index);
    if (found != state.profiles.end() && found->read_only) {
        return error(kOperationNotAllowed);
    }
    Profile changed{index,
                    command.text(1),
                    command.text(2),
                    command.text(3),
                    command.text(4),
                    command.number(5, 0),
                    false};
    if (found == state.profiles.end()) {
        state.profiles.push_back(changed);
    } else {
        *found = changed;
    }
    return {};
}

// Modes in which another program is loaded: the radio goes off.
Reply download(SimState &state, const SimCommand &) {
    state.functionality = 4;
    return {};
}

Reply ready(SimState &, const SimCommand &) {
    return {};
}

constexpr SimHandler kHandlers[] = {
    {"^MEID", meid},
    {"+ESN", esn},
    {"^VERSION", versions},
    {"^APVER", version},
    {"^PHYNUM", physical_numbers},
    {"^HS", host},
    {"^APCHG", charger},
    {"^APBATLVL", battery_level},
    {"+CBC", battery_charge},
    {"^APPWRONTIME", time_up},
    {"^APPROFALL", all_profiles},
    {"^APPROFRD", one_profile},
    {"^PDPROFMOD", change_profile},
    {"^GODLOAD", download},
    {"^SDLOAD", download},
    {"^SD", ready},
};

}  // namespace

std::span<const SimHandler> device_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
