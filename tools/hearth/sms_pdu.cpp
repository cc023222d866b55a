#include "sms_pdu.h"

#include <algorithm>

#include "convert.h"

namespace hearth::tool {

namespace {

struct Broken {};

// Walks the bytes of a PDU and never leaves them.
class Reader {
  public:
    explicit Reader(const std::string &bytes) : bytes_(bytes) {}

    uint8_t byte() { return static_cast<uint8_t>(take(1)[0]); }
    std::string take(size_t count) {
        if (count > bytes_.size() - at_) {
            throw Broken{};
        }
        at_ += count;
        return bytes_.substr(at_ - count, count);
    }

  private:
    const std::string &bytes_;
    size_t at_ = 0;
};

// Two digits a byte, the first in the low half; other values are those of dialling.
std::string digits(const std::string &bytes) {
    constexpr char kDigits[] = "0123456789*#abc";
    std::string text;
    for (unsigned char byte : bytes) {
        for (unsigned digit : {byte & 15u, byte / 16u}) {
            if (digit != 15) {
                text += kDigits[digit];
            }
        }
    }
    return text;
}

std::string address(Reader &reader) {
    size_t count = reader.byte();
    uint8_t type = reader.byte();
    std::string bytes = reader.take((count + 1) / 2);
    if ((type & 0x70) == 0x50) {
        return ucs2_to_utf8(septets_to_ucs2(unpack_septets(bytes, 0, count * 4 / 7)));
    }
    return ((type & 0x70) == 0x10 ? "+" : "") + digits(bytes);
}

std::string time_stamp(Reader &reader) {
    std::string t = digits(reader.take(7));
    if (t.size() != 14 || t.find_first_not_of("0123456789") < 12) {
        return "";
    }
    return std::string("20") + t.substr(0, 2) + "-" + t.substr(2, 2) + "-" + t.substr(4, 2) + " " +
           t.substr(6, 2) + ":" + t.substr(8, 2) + ":" + t.substr(10, 2);
}

enum Alphabet { kSeptets, kBytes, kUcs2 };

// 3GPP TS 23.038, 4.
Alphabet alphabet_of(uint8_t coding) {
    if ((coding & 0x80) == 0) {
        constexpr Alphabet kAlphabets[] = {kSeptets, kBytes, kUcs2, kSeptets};
        return kAlphabets[coding >> 2 & 3];
    }
    if ((coding & 0xf0) == 0xf0) {
        return (coding & 4) != 0 ? kBytes : kSeptets;
    }
    return (coding & 0xf0) == 0xe0 ? kUcs2 : kSeptets;
}

// What the header tells of a message in parts: elements 0 and 8, which differ in the width of the
// reference.
void read_header(const std::string &header, Json &message) {
    Reader reader(header);
    for (size_t left = reader.byte(); left >= 2;) {
        uint8_t element = reader.byte();
        std::string value = reader.take(reader.byte());
        left -= std::min(left, value.size() + 2);
        bool wide = element == 8;
        if ((element == 0 || wide) && value.size() == (wide ? 4u : 3u)) {
            Reader fields(value);
            unsigned high = wide ? fields.byte() * 256u : 0;
            message["reference"] = high + fields.byte();
            message["parts"] = fields.byte();
            message["part"] = fields.byte();
        }
    }
}

std::string user_data(Reader &reader, uint8_t coding, bool has_header, Json &message) {
    size_t length = reader.byte();
    Alphabet alphabet = alphabet_of(coding);
    std::string bytes = reader.take(alphabet == kSeptets ? (length * 7 + 7) / 8 : length);
    size_t header = 0;
    if (has_header) {
        header = bytes.empty() ? 0 : static_cast<uint8_t>(bytes[0]) + 1u;
        if (header > bytes.size()) {
            throw Broken{};
        }
        read_header(bytes.substr(0, header), message);
    }
    if (alphabet == kSeptets) {
        size_t header_septets = (header * 8 + 6) / 7;
        size_t count = length > header_septets ? length - header_septets : 0;
        return ucs2_to_utf8(septets_to_ucs2(unpack_septets(bytes, header_septets, count)));
    }
    std::string text = bytes.substr(header);
    return alphabet == kUcs2 ? ucs2_to_utf8(bytes_to_ucs2(text))
                             : std::string("0x").append(to_hex(text));
}

Json read(Reader &reader) {
    reader.take(reader.byte());
    uint8_t first = reader.byte();
    bool has_header = (first & 0x40) != 0;
    Json message = Json::object();
    if ((first & 3) == 0) {
        message["from"] = printable(address(reader));
        reader.byte();
        uint8_t coding = reader.byte();
        message["time"] = time_stamp(reader);
        std::string text = user_data(reader, coding, has_header, message);
        message["text"] = printable(text);
    } else if ((first & 3) == 1) {
        reader.byte();
        message["to"] = printable(address(reader));
        reader.byte();
        uint8_t coding = reader.byte();
        constexpr size_t kValidity[] = {0, 7, 1, 7};
        reader.take(kValidity[first >> 3 & 3]);
        std::string text = user_data(reader, coding, has_header, message);
        message["text"] = printable(text);
    }
    return message;
}

}  // namespace

size_t tpdu_length(const std::string &pdu) {
    std::string bytes = from_hex(pdu);
    size_t centre = bytes.empty() ? 0 : static_cast<uint8_t>(bytes[0]) + 1u;
    if (bytes.size() <= centre) {
        throw Failure(
            "the PDU ends within the service centre's address, whose length is its first "
            "byte; 00 for none",
            kExitUsage);
    }
    return bytes.size() - centre;
}

Json read_pdu(const std::string &pdu) {
    try {
        std::string bytes = from_hex(pdu);
        Reader reader(bytes);
        return read(reader);
    } catch (const Broken &) {
    } catch (const Failure &) {
    }
    return Json::object();
}

}  // namespace hearth::tool
