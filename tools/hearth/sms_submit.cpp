#include "sms_submit.h"

#include <algorithm>

#include "convert.h"
#include "hearth/cl_7bit.h"
#include "tool.h"

namespace hearth::tool {

namespace {

// First octet of an SMS-SUBMIT without a validity period, and its mark for a user data header.
constexpr uint8_t kSubmit = 0x01;
constexpr uint8_t kHasHeader = 0x40;
constexpr uint8_t kUcs2 = 0x08;
// User data has 140 octets; the header that joins parts takes 6, which is 7 septets.
constexpr size_t kHeaderOctets = 6;
constexpr size_t kHeaderSeptets = 7;
constexpr size_t kSeptetsAlone = 160;
constexpr size_t kSeptetsOfPart = kSeptetsAlone - kHeaderSeptets;
constexpr size_t kUnitsAlone = 70;
constexpr size_t kUnitsOfPart = (140 - kHeaderOctets) / 2;
constexpr size_t kMostParts = 255;
constexpr char kEscape = 0x1b;

std::string octets(std::initializer_list<size_t> values) {
    std::string out;
    for (size_t value : values) {
        out += static_cast<char>(value);
    }
    return out;
}

// Digits in pairs with their halves exchanged, an odd last one with a filler.
std::string address(const std::string &number) {
    constexpr char kDigits[] = "0123456789*#abc";
    bool international = number[0] == '+';
    std::string digits = number.substr(international ? 1 : 0);
    std::string out = octets({digits.size(), international ? 0x91u : 0x81u});
    auto value = [&](size_t i) {
        const char *end = std::end(kDigits) - 1;
        auto found = std::find(kDigits, end, static_cast<char>(tolower(digits[i])));
        return i < digits.size() ? static_cast<size_t>(found - kDigits) : 15;
    };
    for (size_t i = 0; i < digits.size(); i += 2) {
        out += octets({value(i) | value(i + 1) << 4});
    }
    return out;
}

// The header of part `part` of `parts`, counted from 1.
std::string joining_header(uint8_t reference, size_t part, size_t parts) {
    return octets({kHeaderOctets - 1, 0x00, 0x03, reference, parts, part});
}

// Pieces of at most `most` elements; `keep` tells of an element that must not be a piece's last.
template <typename Text, typename Keep>
std::vector<Text> pieces(const Text &text, size_t alone, size_t most, Keep keep) {
    if (text.size() <= alone) {
        return {text};
    }
    std::vector<Text> parts;
    for (size_t at = 0; at < text.size();) {
        size_t count = std::min(most, text.size() - at);
        count -= at + count < text.size() && keep(text[at + count - 1]) ? 1 : 0;
        parts.push_back(text.substr(at, count));
        at += count;
    }
    return parts;
}

// The header ends within a septet: the text is packed behind as many as it covers.
std::string septet_data(const std::string &septets, const std::string &header) {
    size_t covered = header.empty() ? 0 : kHeaderSeptets;
    std::string packed = pack_septets(std::string(covered, '\0') + septets);
    return octets({covered + septets.size()}) + header + packed.substr(header.size());
}

std::string unit_data(const std::u16string &units, const std::string &header) {
    std::string bytes = ucs2_to_bytes(units);
    return octets({header.size() + bytes.size()}) + header + bytes;
}

template <typename Text>
Submission assembled(const char *alphabet, const std::string &receiver, uint8_t coding,
                     uint8_t reference, const std::vector<Text> &parts,
                     std::string (*user_data)(const Text &, const std::string &)) {
    if (parts.size() > kMostParts) {
        throw Failure("the text needs " + std::to_string(parts.size()) + " messages, at most " +
                          std::to_string(kMostParts) + " can be joined",
                      kExitUsage);
    }
    Submission made = {alphabet, {}};
    bool joined = parts.size() > 1;
    for (size_t i = 0; i < parts.size(); i++) {
        std::string header = joined ? joining_header(reference, i + 1, parts.size()) : "";
        std::string pdu = octets({0, kSubmit | (joined ? kHasHeader : 0u), 0}) + receiver +
                          octets({0, coding}) + user_data(parts[i], header);
        made.pdus.push_back(to_hex(pdu));
    }
    return made;
}

}  // namespace

Submission submission(const std::string &number, const std::string &text, uint8_t reference) {
    bool beyond = std::any_of(text.begin(), text.end(),
                              [](char c) { return static_cast<unsigned char>(c) >= 0xf0; });
    if (beyond) {
        throw Failure("the text has a character above U+FFFF, which UCS-2 lacks", kExitUsage);
    }
    std::u16string units = utf8_to_ucs2(text);
    bool septets = std::all_of(units.begin(), units.end(),
                               [](char16_t unit) { return cl_7bitCheck(unit, nullptr) == 1; });
    if (septets) {
        auto parts = pieces(ucs2_to_septets(units), kSeptetsAlone, kSeptetsOfPart,
                            [](char septet) { return septet == kEscape; });
        return assembled("GSM 7-bit", address(number), 0, reference, parts, septet_data);
    }
    auto parts = pieces(units, kUnitsAlone, kUnitsOfPart, [](char16_t) { return false; });
    return assembled("UCS-2", address(number), kUcs2, reference, parts, unit_data);
}

}  // namespace hearth::tool
