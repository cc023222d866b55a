// The card's files and numbers.

#include <algorithm>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

// 3GPP TS 27.007, 8.18, and ETSI TS 102 221, 10.2.1: commands, and status words of the card.
enum Command { kReadBinary = 176, kGetResponse = 192, kUpdateBinary = 214, kStatus = 242 };
constexpr const char *kGood = "+CRSM: 144,0";
constexpr const char *kNoFile = "+CRSM: 106,130";
constexpr const char *kBadOffset = "+CRSM: 107,0";
constexpr const char *kBadLength = "+CRSM: 103,0";
constexpr const char *kBadCommand = "+CRSM: 109,0";

std::string hexadecimal(const std::string &bytes) {
    std::string text;
    for (char byte : bytes) {
        text += format("%02X", static_cast<unsigned char>(byte));
    }
    return text;
}

// Digits two by two, the first in the low half; an odd one is filled up.
std::string swapped(std::string digits) {
    digits += digits.size() % 2 == 1 ? "F" : "";
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        std::swap(digits[i], digits[i + 1]);
    }
    return digits;
}

// 3GPP TS 31.102, 4.2.48: a count, then each name with its tag, in labels that begin with their
// length.
std::string control_list(const Sim &sim) {
    if (sim.apns.empty()) {
        return "00FFFFFF";
    }
    std::string text = format("%02zX", sim.apns.size());
    for (const std::string &apn : sim.apns) {
        std::string labels;
        for (size_t at = 0; at <= apn.size();) {
            size_t end = std::min(apn.find('.', at), apn.size());
            labels += static_cast<char>(end - at);
            labels += apn.substr(at, end - at);
            at = end + 1;
        }
        text += format("DD%02zX", labels.size()) + hexadecimal(labels);
    }
    return text;
}

// 3GPP TS 31.102, 4.2.2: the length, and the digits behind a half byte of parity.
std::string identity_file(const Sim &sim) {
    std::string digits = swapped((sim.imsi.size() % 2 == 1 ? "9" : "1") + sim.imsi);
    return format("%02zX", digits.size() / 2) + digits;
}

struct File {
    int id;
    std::string (*content)(const Sim &sim);
};

constexpr File kFiles[] = {
    {0x2FE2, [](const Sim &sim) { return swapped(sim.iccid); }},
    {0x6F07, identity_file},
    {0x6F3E, [](const Sim &sim) { return sim.group; }},
    {0x6F46,
     [](const Sim &sim) {
         std::string text = (sim.show_network ? "01" : "00") + hexadecimal(sim.provider);
         text.resize(34, 'F');
         return text;
     }},
    {0x6F57, control_list},
    {0x6FAD, [](const Sim &sim) { return format("000000%02X", sim.mnc_length); }},
};

std::optional<std::string> content_of(const Sim &sim, int id) {
    if (auto written = sim.files.find(id); written != sim.files.end()) {
        return written->second;
    }
    for (const File &file : kFiles) {
        if (file.id == id) {
            return file.content(sim);
        }
    }
    return std::nullopt;
}

// A read past the end gives what there is, so that a caller may ask for the most that a file can
// hold. A length of 0 means 256.
Reply read_file(const std::string &content, size_t offset, size_t length) {
    if (offset * 2 > content.size()) {
        return line_reply(kBadOffset);
    }
    std::string part = content.substr(offset * 2, (length == 0 ? 256 : length) * 2);
    return line_reply(std::string(kGood) + ",\"" + part + "\"");
}

Reply write_file(Sim &sim, int id, std::string content, size_t offset, const std::string &data) {
    bool hexadecimal = data.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
    if (!hexadecimal || data.size() % 2 != 0 || offset * 2 + data.size() > content.size()) {
        return line_reply(kBadLength);
    }
    sim.files[id] = content.replace(offset * 2, data.size(), data);
    return line_reply(kGood);
}

Reply crsm(SimState &state, const SimCommand &command) {
    if (int refusal = state.card_error()) {
        return error(refusal);
    }
    if (command.form != Form::kSet) {
        return error(kOperationNotSupported);
    }
    int id = command.number(1);
    auto content = content_of(state.sim, id);
    if (command.number(0) == kStatus) {
        return line_reply(kGood);
    }
    if (!content) {
        return line_reply(kNoFile);
    }
    auto offset =
        static_cast<size_t>((command.number(2, 0) & 255) << 8 | (command.number(3, 0) & 255));
    switch (command.number(0)) {
        case kReadBinary:
            return read_file(*content, offset, static_cast<size_t>(command.number(4, 0) & 255));
        case kUpdateBinary:
            return write_file(state.sim, id, *content, offset, command.text(5));
        case kGetResponse:
            return line_reply(std::string(kGood) + format(",\"8202412183%02X%04X8002%04zX\"", 2, id,
                                                          content->size() / 2));
        default:
            return line_reply(kBadCommand);
    }
}

Reply own_numbers(SimState &state, const SimCommand &) {
    if (int refusal = state.card_error()) {
        return error(refusal);
    }
    Reply reply;
    for (const std::string &number : state.sim.numbers) {
        int type = number.compare(0, 1, "+") == 0 ? 145 : 129;
        reply.lines.push_back(
            format("+CNUM: \"%s\",\"%s\",%d", state.sim.provider.c_str(), number.c_str(), type));
    }
    return reply;
}

Reply card_number(SimState &state, const SimCommand &) {
    if (!state.sim.inserted) {
        return error(kSimNotInserted);
    }
    return line_reply("^SCID:" + state.sim.iccid);
}

// A card with USIM.
Reply card_kind(SimState &state, const SimCommand &) {
    return state.sim.inserted ? line_reply("^CARDMODE:2") : error(kSimNotInserted);
}

constexpr SimHandler kHandlers[] = {
    {"+CRSM", crsm}, {"+CNUM", own_numbers}, {"^SCID", card_number}, {"^CARDMODE", card_kind}};

}  // namespace

std::span<const SimHandler> file_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
