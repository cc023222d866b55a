// Short messages: PDUs and the vendor's raw messages, their memories and settings.

#include <string.h>

#include <algorithm>
#include <cctype>
#include <ctime>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

// 3GPP TS 27.005, 3.2.5: the error numbers that the simulated modem gives.
enum CmsError {
    kCmsNotSupported = 303,
    kCmsBadPduParameter = 304,
    kCmsNoCard = 310,
    kCmsPinRequired = 311,
    kCmsCardFailure = 313,
    kCmsPukRequired = 316,
    kCmsInvalidIndex = 321,
    kCmsMemoryFull = 322,
    kCmsNoService = 331,
};

// What "+CMGR" and "+CMGD" work on, "+CMGW" and "+CMSS", and what comes in.
enum Purpose { kToRead, kToWrite, kToReceive };

enum Status { kUnread, kRead, kUnsent, kSent };

constexpr size_t kRawBody = 162;

int card_refusal(const SimState &state) {
    switch (state.card_error()) {
        case 0:
            return 0;
        case kSimNotInserted:
            return kCmsNoCard;
        case kSimPinRequired:
            return kCmsPinRequired;
        case kSimPukRequired:
            return kCmsPukRequired;
        default:
            return kCmsCardFailure;
    }
}

int sending_refusal(const SimState &state) {
    int refusal = card_refusal(state);
    bool service = state.functionality == 1 &&
                   (state.network.registration == 1 || state.network.registration == 5);
    return refusal != 0 ? refusal : service ? 0 : static_cast<int>(kCmsNoService);
}

MessageMemory &memory_for(SimState &state, Purpose purpose) {
    return state.sms.memories[state.sms.chosen[purpose]];
}

// Where a new message goes; 0 when all places are taken, which the modem reports.
int free_place(SimState &state, Purpose purpose) {
    MessageMemory &memory = memory_for(state, purpose);
    for (int index = 1; index <= memory.capacity; index++) {
        if (memory.messages.count(index) == 0) {
            return index;
        }
    }
    state.reports.push_back("^SMMEMFULL: \"" + state.sms.chosen[purpose] + "\"");
    return 0;
}

Reply sent(SimState &state, const std::string &name) {
    int reference = state.sms.next_reference;
    state.sms.next_reference = (reference + 1) % 256;
    return line_reply(format("%s: %d", name.c_str(), reference));
}

Reply done() {
    return {};
}

// The PDU of a two-stage send without the 0x1A that ends it; empty when that is missing.
std::string pdu_of(const SimCommand &command) {
    bool ended = !command.body.empty() && command.body.back() == '\x1a';
    return ended ? command.body.substr(0, command.body.size() - 1) : "";
}

Reply cmgs(SimState &state, const SimCommand &command) {
    if (int refusal = sending_refusal(state)) {
        return sms_error(refusal);
    }
    if (tpdu_length(pdu_of(command)) != command.number(0)) {
        return sms_error(kCmsBadPduParameter);
    }
    return sent(state, "+CMGS");
}

Reply cmgw(SimState &state, const SimCommand &command) {
    if (int refusal = card_refusal(state)) {
        return sms_error(refusal);
    }
    int status = command.number(1, kUnsent);
    if (tpdu_length(pdu_of(command)) != command.number(0) || status < kUnread || status > kSent) {
        return sms_error(kCmsBadPduParameter);
    }
    int index = free_place(state, kToWrite);
    if (index == 0) {
        return sms_error(kCmsMemoryFull);
    }
    memory_for(state, kToWrite).messages[index] = {status, pdu_of(command)};
    return line_reply(format("+CMGW: %d", index));
}

// Finds a message by the first argument. Null with *refusal when there is none.
Message *find_message(SimState &state, const SimCommand &command, Purpose purpose, Reply *refusal) {
    if (int code = card_refusal(state)) {
        *refusal = sms_error(code);
        return nullptr;
    }
    auto &messages = memory_for(state, purpose).messages;
    auto found = messages.find(command.number(0));
    *refusal = sms_error(kCmsInvalidIndex);
    return found == messages.end() ? nullptr : &found->second;
}

void mark_read(Message &message) {
    message.status = message.status == kUnread ? kRead : message.status;
}

Reply cmgr(SimState &state, const SimCommand &command) {
    Reply refusal;
    Message *message = find_message(state, command, kToRead, &refusal);
    if (message == nullptr) {
        return refusal;
    }
    Reply reply = line_reply(format("+CMGR: %d,,%d", message->status, tpdu_length(message->pdu)));
    reply.lines.push_back(message->pdu);
    mark_read(*message);
    return reply;
}

std::string joined_indexes(const MessageMemory &memory, bool (*wanted)(const Message &)) {
    std::string list;
    for (const auto &[index, message] : memory.messages) {
        if (wanted(message)) {
            list += list.empty() ? "" : ",";
            list += std::to_string(index);
        }
    }
    return list;
}

// 3GPP TS 27.005, 3.5.4: 1 all that was read, 2 also what was sent, 3 also what is unsent, 4 all.
bool goes_with(const Message &message, int flag) {
    switch (message.status) {
        case kRead:
            return flag >= 1;
        case kSent:
            return flag >= 2;
        case kUnsent:
            return flag >= 3;
        default:
            return flag >= 4;
    }
}

Reply cmgd(SimState &state, const SimCommand &command) {
    if (int refusal = card_refusal(state)) {
        return sms_error(refusal);
    }
    MessageMemory &memory = memory_for(state, kToRead);
    if (command.form == Form::kTest) {
        std::string all = joined_indexes(memory, [](const Message &) { return true; });
        return line_reply("+CMGD: (" + all + "),(0-4)");
    }
    int flag = command.number(1, 0);
    if (flag < 0 || flag > 4) {
        return sms_error(kCmsNotSupported);
    }
    if (flag > 0) {
        std::erase_if(memory.messages,
                      [&](const auto &entry) { return goes_with(entry.second, flag); });
        return done();
    }
    return memory.messages.erase(command.number(0)) == 1 ? done() : sms_error(kCmsInvalidIndex);
}

Reply cmss(SimState &state, const SimCommand &command) {
    if (int refusal = sending_refusal(state)) {
        return sms_error(refusal);
    }
    Reply refusal;
    Message *message = find_message(state, command, kToWrite, &refusal);
    if (message == nullptr) {
        return refusal;
    }
    message->status = message->status == kUnsent ? static_cast<int>(kSent) : message->status;
    return sent(state, "+CMSS");
}

Reply unread(SimState &state, const SimCommand &) {
    if (int refusal = card_refusal(state)) {
        return sms_error(refusal);
    }
    std::string list = joined_indexes(memory_for(state, kToRead), [](const Message &message) {
        return message.status == kUnread;
    });
    return list.empty() ? done() : line_reply("^CMGI: " + list);
}

Reply cmmt(SimState &state, const SimCommand &command) {
    Reply refusal;
    Message *message = find_message(state, command, kToRead, &refusal);
    if (message == nullptr) {
        return refusal;
    }
    mark_read(*message);
    return done();
}

std::string counters(const SimState &state, bool with_names) {
    std::string line = "+CPMS: ";
    for (const std::string &name : state.sms.chosen) {
        const MessageMemory &memory = state.sms.memories.at(name);
        line += line.back() == ' ' ? "" : ",";
        line += with_names ? "\"" + name + "\"," : "";
        line += format("%zu,%d", memory.messages.size(), memory.capacity);
    }
    return line;
}

Reply cpms(SimState &state, const SimCommand &command) {
    if (int refusal = card_refusal(state)) {
        return sms_error(refusal);
    }
    if (command.form == Form::kTest) {
        std::string names;
        for (const auto &[name, memory] : state.sms.memories) {
            names += (names.empty() ? "(\"" : ",\"") + name + "\"";
        }
        return line_reply("+CPMS: " + names + ")," + names + ")," + names + ")");
    }
    if (command.form != Form::kSet) {
        return line_reply(counters(state, true));
    }
    for (size_t i = 0; i < 3 && i < command.arguments.size(); i++) {
        if (state.sms.memories.count(command.text(i)) == 0) {
            return sms_error(kCmsNotSupported);
        }
    }
    for (size_t i = 0; i < 3 && i < command.arguments.size(); i++) {
        state.sms.chosen[i] = command.text(i);
    }
    return line_reply(counters(state, false));
}

Reply csca(SimState &state, const SimCommand &command) {
    if (int refusal = card_refusal(state)) {
        return sms_error(refusal);
    }
    Sms &sms = state.sms;
    if (command.form == Form::kSet) {
        sms.centre = command.text(0);
        sms.centre_type = command.number(1, sms.centre.substr(0, 1) == "+" ? 145 : 129);
        return done();
    }
    return line_reply(format("+CSCA: \"%s\",%d", sms.centre.c_str(), sms.centre_type));
}

// PDU mode alone.
Reply cmgf(SimState &, const SimCommand &command) {
    if (command.form == Form::kTest) {
        return line_reply("+CMGF: (0)");
    }
    if (command.form == Form::kSet) {
        return command.number(0) == 0 ? done() : sms_error(kCmsNotSupported);
    }
    return line_reply("+CMGF: 0");
}

Reply cscb(SimState &state, const SimCommand &command) {
    Sms &sms = state.sms;
    if (command.form != Form::kSet) {
        return line_reply(format("+CSCB: %d,\"%s\",\"%s\"", sms.broadcast_mode,
                                 sms.broadcast_ids.c_str(), sms.broadcast_codings.c_str()));
    }
    int mode = command.number(0);
    if (mode != 0 && mode != 1) {
        return sms_error(kCmsNotSupported);
    }
    sms.broadcast_mode = mode;
    sms.broadcast_ids = command.text(1);
    sms.broadcast_codings = command.text(2);
    return done();
}

Reply cnmi(SimState &state, const SimCommand &command) {
    std::array<int, 5> &values = state.sms.indication;
    if (command.form == Form::kTest) {
        return line_reply("+CNMI: (0-3),(0-3),(0-3),(0-2),(0,1)");
    }
    if (command.form != Form::kSet) {
        return line_reply(
            format("+CNMI: %d,%d,%d,%d,%d", values[0], values[1], values[2], values[3], values[4]));
    }
    std::array<int, 5> wanted = values;
    for (size_t i = 0; i < wanted.size(); i++) {
        wanted[i] = command.number(i, wanted[i]);
        if (wanted[i] < 0 || wanted[i] > 3) {
            return sms_error(kCmsNotSupported);
        }
    }
    values = wanted;
    return done();
}

Reply cmsr(SimState &state, const SimCommand &command) {
    if (command.form == Form::kQuery) {
        return line_reply(format("^CMSR: %d", state.sms.read_tag));
    }
    int value = command.number(0);
    if (value != 0 && value != 1) {
        return sms_error(kCmsNotSupported);
    }
    state.sms.read_tag = value;
    return done();
}

// The outcome of a raw message comes as a report of its own.
Reply hcmgs(SimState &state, const SimCommand &command) {
    if (int refusal = sending_refusal(state)) {
        return sms_error(refusal);
    }
    if (command.text(0).empty() || command.body.empty()) {
        return sms_error(kCmsBadPduParameter);
    }
    Reply reply = sent(state, "^HCMGS");
    state.reports.push_back("^HCMGSS" + reply.lines[0].substr(strlen("^HCMGS")));
    return reply;
}

// The seven words are language, format, length, priority, privacy, type and status; the five bytes
// month, day, hour, minute and second.
Reply hcmgw(SimState &state, const SimCommand &command) {
    if (int refusal = card_refusal(state)) {
        return sms_error(refusal);
    }
    Sms &sms = state.sms;
    int index = 1;
    while (sms.raw_messages.count(index) != 0) {
        index++;
    }
    if (index > sms.raw_capacity) {
        return sms_error(kCmsMemoryFull);
    }
    RawMessage message{command.text(0), {}, {}, command.body};
    for (size_t i = 0; i < message.words.size(); i++) {
        message.words[i] = command.number(1 + i, 0);
    }
    for (size_t i = 0; i < message.time.size(); i++) {
        message.time[i] = command.number(1 + message.words.size() + i, 0);
    }
    sms.raw_messages[index] = std::move(message);
    return line_reply(format("^HCMGW: %d", index));
}

Reply hcmgr(SimState &state, const SimCommand &command) {
    auto found = state.sms.raw_messages.find(command.number(0));
    if (int refusal = card_refusal(state)) {
        return sms_error(refusal);
    }
    if (found == state.sms.raw_messages.end()) {
        return sms_error(kCmsInvalidIndex);
    }
    const RawMessage &message = found->second;
    const auto &t = message.time;
    const auto &w = message.words;
    time_t now = time(nullptr);
    int year = 1900 + localtime(&now)->tm_year;
    int length = std::clamp(w[2], 0, static_cast<int>(kRawBody));
    Reply reply = line_reply(format("^HCMGR: \"%s\",%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d",
                                    message.number.c_str(), year, t[0], t[1], t[2], t[3], t[4],
                                    w[0], w[1], length, w[3], w[4], w[5], w[6]));
    std::string body = message.body;
    body.resize(static_cast<size_t>(length), '\0');
    reply.lines.push_back(body);
    return reply;
}

Reply hsmsss(SimState &state, const SimCommand &command) {
    if (command.arguments.size() != state.sms.raw_settings.size()) {
        return plain_error();
    }
    for (size_t i = 0; i < state.sms.raw_settings.size(); i++) {
        state.sms.raw_settings[i] = command.number(i, 0);
    }
    return done();
}

constexpr SimHandler kHandlers[] = {
    {"+CMGS", cmgs},   {"+CMGW", cmgw},     {"+CMGR", cmgr}, {"+CMGD", cmgd},   {"+CMSS", cmss},
    {"^CMGI", unread}, {"^CMMT", cmmt},     {"+CPMS", cpms}, {"+CSCA", csca},   {"+CMGF", cmgf},
    {"+CSCB", cscb},   {"+CNMI", cnmi},     {"^CMSR", cmsr}, {"^HCMGS", hcmgs}, {"^HCMGW", hcmgw},
    {"^HCMGR", hcmgr}, {"^HSMSSS", hsmsss},
};

}  // namespace

int tpdu_length(const std::string &pdu) {
    auto digit = [](unsigned char c) { return std::isxdigit(c) != 0; };
    if (pdu.size() < 2 || pdu.size() % 2 != 0 || !std::all_of(pdu.begin(), pdu.end(), digit)) {
        return -1;
    }
    // The first octet is the length of the service centre's address, which does not count.
    int octets = static_cast<int>(pdu.size() / 2) - 1;
    return octets - std::stoi(pdu.substr(0, 2), nullptr, 16);
}

void receive_message(SimState &state, const std::string &pdu) {
    int index = free_place(state, kToReceive);
    if (index == 0) {
        return;
    }
    memory_for(state, kToReceive).messages[index] = {kUnread, pdu};
    if (state.sms.indication[1] == 1) {
        state.reports.push_back(
            format("+CMTI: \"%s\",%d", state.sms.chosen[kToReceive].c_str(), index));
    }
}

std::span<const SimHandler> sms_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
