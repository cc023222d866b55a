// The card's toolkit: a menu, and the command that each choice brings. The modem reports what
// waits for the user ("^STIN"), gives it when it is fetched, and takes the user's answer.

#include <algorithm>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

constexpr int kChosen = 0;

const ToolkitItem *find_item(const Toolkit &toolkit, int id) {
    auto found = std::find_if(toolkit.items.begin(), toolkit.items.end(),
                              [&](const ToolkitItem &item) { return item.id == id; });
    return found == toolkit.items.end() ? nullptr : &*found;
}

Reply refusal(const SimState &state) {
    if (int code = state.card_error()) {
        return error(code);
    }
    return state.toolkit.mode == 0 ? error(kOperationNotAllowed) : Reply{};
}

Reply settings(SimState &state, const SimCommand &command) {
    Toolkit &toolkit = state.toolkit;
    if (command.form != Form::kSet) {
        return line_reply(
            format("^STSF:%d,\"%s\",%d", toolkit.mode, toolkit.profile.c_str(), toolkit.timeout));
    }
    int mode = command.number(0);
    if (mode < 0 || mode > 2) {
        return error(kOperationNotSupported);
    }
    toolkit.mode = mode;
    toolkit.current = 0;
    if (mode != 0 && !toolkit.items.empty()) {
        state.reports.push_back(format("^STIN:%d,0,0", kSetUpMenu));
    }
    return {};
}

Reply menu(const Toolkit &toolkit) {
    auto visible = [](const ToolkitItem &item) { return !item.hidden; };
    auto count = std::count_if(toolkit.items.begin(), toolkit.items.end(), visible);
    Reply reply;
    for (const ToolkitItem &item : toolkit.items) {
        if (visible(item)) {
            reply.lines.push_back(format("^STGI:%d,%d,\"%s\",%d", item.id, static_cast<int>(count),
                                         item.name.c_str(), item.help ? 1 : 0));
        }
    }
    return reply.lines.empty() ? error(kNotFound) : reply;
}

Reply command_line(const ToolkitItem &item) {
    const char *text = item.text.c_str();
    switch (item.kind) {
        case kDisplayText:
            return line_reply(format("^STGI:\"%s\",%d,1,%d", text, item.coding, item.seconds));
        case kGetInput:
            return line_reply(format("^STGI:\"%s\",%d,%d,0,1,%d,%d,%d,\"%s\",%d", text, item.coding,
                                     item.coding, item.minimum, item.maximum, item.help ? 1 : 0,
                                     item.offered.c_str(), item.coding));
        case kGetInkey:
            return line_reply(format("^STGI:\"%s\",%d,%d,%d,%d", text, item.coding, item.coding,
                                     item.help ? 1 : 0, item.seconds));
        case kRefresh:
            return line_reply(format("^STGI:%d", item.coding));
        default:
            return line_reply(format("^STGI:\"%s\",0", text));
    }
}

// A command is fetched by its kind; the menu can be fetched at any time.
Reply fetch(SimState &state, const SimCommand &command) {
    if (Reply refused = refusal(state); !refused.ok()) {
        return refused;
    }
    if (command.number(0) == kSetUpMenu) {
        return menu(state.toolkit);
    }
    const ToolkitItem *item = find_item(state.toolkit, state.toolkit.current);
    if (item == nullptr || command.number(0) != item->kind) {
        return error(kNotFound);
    }
    return command_line(*item);
}

// Brings up the command of an entry, or ends the session.
void bring(SimState &state, int id) {
    const ToolkitItem *item = find_item(state.toolkit, id);
    state.toolkit.current = item == nullptr ? 0 : id;
    state.reports.push_back(format("^STIN:%d,0,0", item == nullptr ? kSessionEnd : item->kind));
}

bool fits(const ToolkitItem &item, const SimCommand &command) {
    if (item.kind == kGetInkey) {
        return command.text(3).size() == 1;
    }
    auto length = static_cast<int>(command.text(3).size());
    return item.kind != kGetInput || (length >= item.minimum && length <= item.maximum);
}

// "^STGR=KIND,STATUS[,CODING,ANSWER]". A status other than 0 is a user who went back or gave up.
Reply answer(SimState &state, const SimCommand &command) {
    if (Reply refused = refusal(state); !refused.ok()) {
        return refused;
    }
    Toolkit &toolkit = state.toolkit;
    bool chosen = command.number(1) == kChosen;
    if (command.number(0) == kSetUpMenu) {
        const ToolkitItem *item = find_item(toolkit, command.number(3));
        if (chosen && (item == nullptr || item->hidden)) {
            return error(kInvalidIndex);
        }
        bring(state, chosen ? item->id : 0);
        return {};
    }
    const ToolkitItem *item = find_item(toolkit, toolkit.current);
    if (item == nullptr || command.number(0) != item->kind) {
        return error(kOperationNotAllowed);
    }
    if (chosen && !fits(*item, command)) {
        return error(kOperationNotSupported);
    }
    toolkit.last_answer = command.text(3);
    bring(state, chosen ? item->then : 0);
    return {};
}

constexpr SimHandler kHandlers[] = {{"^STSF", settings}, {"^STGI", fetch}, {"^STGR", answer}};

}  // namespace

std::span<const SimHandler> toolkit_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
