#include "record_layout.h"

#include <charconv>
#include <cstring>

#include "convert.h"

namespace hearth::tool {

namespace {

constexpr size_t kMostBytes = 1024;

// A type with a width of its own, or one that takes a count of elements in brackets.
struct Type {
    const char *name;
    FieldKind kind;
    size_t width;
    bool counted;
};

constexpr Type kTypes[] = {
    {"u8", FieldKind::kUnsigned, 1, false},  {"u16", FieldKind::kUnsigned, 2, false},
    {"u32", FieldKind::kUnsigned, 4, false}, {"u64", FieldKind::kUnsigned, 8, false},
    {"s8", FieldKind::kSigned, 1, false},    {"s16", FieldKind::kSigned, 2, false},
    {"s32", FieldKind::kSigned, 4, false},   {"s64", FieldKind::kSigned, 8, false},
    {"text", FieldKind::kText, 1, true},     {"wide", FieldKind::kWide, 2, true},
    {"bytes", FieldKind::kBytes, 1, true},   {"pad", FieldKind::kPad, 1, true},
};

class Scanner {
  public:
    explicit Scanner(const std::string &text) : text_(text) {}

    bool at_end() {
        skip_blanks();
        return at_ == text_.size();
    }
    std::string word() {
        skip_blanks();
        size_t from = at_;
        while (at_ < text_.size() &&
               (isalnum(static_cast<unsigned char>(text_[at_])) != 0 || text_[at_] == '_')) {
            at_++;
        }
        return text_.substr(from, at_ - from);
    }
    bool take(char c) {
        skip_blanks();
        bool there = at_ < text_.size() && text_[at_] == c;
        at_ += there ? 1 : 0;
        return there;
    }
    [[noreturn]] void fail(const std::string &expected) {
        skip_blanks();
        throw Failure("layout, column " + std::to_string(at_ + 1) + ": expected " + expected +
                          (at_ < text_.size() ? ", found \"" + text_.substr(at_, 12) + "\""
                                              : ", found the end"),
                      kExitUsage);
    }

  private:
    void skip_blanks() {
        while (at_ < text_.size() && isspace(static_cast<unsigned char>(text_[at_])) != 0) {
            at_++;
        }
    }

    const std::string &text_;
    size_t at_ = 0;
};

const Type &scan_type(Scanner &scanner) {
    Scanner before = scanner;
    std::string word = scanner.word();
    for (const Type &type : kTypes) {
        if (word == type.name) {
            return type;
        }
    }
    before.fail("a type (u8 u16 u32 u64 s8 s16 s32 s64 text[N] wide[N] bytes[N] pad[N])");
}

size_t scan_count(Scanner &scanner) {
    if (!scanner.take('[')) {
        scanner.fail("\"[\" and a count");
    }
    Scanner before = scanner;
    std::string word = scanner.word();
    size_t count = 0;
    auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), count);
    if (error != std::errc() || end != word.data() + word.size() || count == 0 ||
        count > kMostBytes) {
        before.fail("a count from 1 to " + std::to_string(kMostBytes));
    }
    if (!scanner.take(']')) {
        scanner.fail("\"]\"");
    }
    return count;
}

template <typename Number>
Number parse_number(const RecordField &field, const std::string &text) {
    bool hex = text.rfind("0x", 0) == 0;
    const char *from = text.data() + (hex ? 2 : 0);
    const char *end = text.data() + text.size();
    Number value{};
    auto [stop, error] = std::from_chars(from, end, value, hex ? 16 : 10);
    if (error != std::errc() || stop != end || from == end) {
        throw Failure(
            field.name + " is a " + field.type + ", and \"" + text + "\" is no such number",
            kExitUsage);
    }
    return value;
}

// The bytes of a value, at most as wide as the field. The device is little-endian, as is the desk.
std::string encode(const RecordField &field, const std::string &text) {
    std::string bytes;
    if (field.kind == FieldKind::kUnsigned || field.kind == FieldKind::kSigned) {
        uint64_t value = 0;
        bool fits = false;
        size_t bits = field.width * 8;
        if (field.kind == FieldKind::kUnsigned) {
            value = parse_number<uint64_t>(field, text);
            fits = bits == 64 || value >> bits == 0;
        } else {
            auto number = parse_number<int64_t>(field, text);
            int64_t limit = bits == 64 ? 0 : int64_t{1} << (bits - 1);
            fits = bits == 64 || (number >= -limit && number < limit);
            value = static_cast<uint64_t>(number);
        }
        if (!fits) {
            throw Failure(text + " does not fit " + field.name + ", a " + field.type, kExitUsage);
        }
        bytes.assign(reinterpret_cast<const char *>(&value), field.width);
    } else if (field.kind == FieldKind::kText) {
        bytes = text;
    } else if (field.kind == FieldKind::kWide) {
        std::u16string units = utf8_to_ucs2(text);
        bytes.assign(reinterpret_cast<const char *>(units.data()), units.size() * 2);
    } else {
        bytes = from_hex(text);
    }
    return bytes;
}

// Texts keep room for their terminator.
size_t room_of(const RecordField &field) {
    return field.kind == FieldKind::kText   ? field.width - 1
           : field.kind == FieldKind::kWide ? field.width - 2
                                            : field.width;
}

Json decode(const RecordField &field, const char *at) {
    uint64_t value = 0;
    switch (field.kind) {
        case FieldKind::kUnsigned:
            memcpy(&value, at, field.width);
            return value;
        case FieldKind::kSigned: {
            memcpy(&value, at, field.width);
            size_t shift = 64 - field.width * 8;
            return static_cast<int64_t>(value << shift) >> shift;
        }
        case FieldKind::kText:
            return printable(std::string(at, strnlen(at, field.width)));
        case FieldKind::kWide: {
            std::u16string units(field.width / 2, u'\0');
            memcpy(units.data(), at, field.width);
            return printable(ucs2_to_utf8(units.substr(0, units.find(u'\0'))));
        }
        default:
            return to_hex(std::string(at, field.width));
    }
}

}  // namespace

RecordLayout::RecordLayout(const std::string &text, bool packed) {
    Scanner scanner(text);
    do {
        const Type &type = scan_type(scanner);
        size_t count = type.counted ? scan_count(scanner) : 1;
        std::string told = type.name;
        if (type.counted) {
            told += "[" + std::to_string(count) + "]";
        }
        Scanner before = scanner;
        std::string name = type.kind == FieldKind::kPad ? "" : scanner.word();
        if (name.empty() && type.kind != FieldKind::kPad) {
            scanner.fail("a name behind " + told);
        }
        for (const RecordField &field : fields_) {
            if (!name.empty() && field.name == name) {
                before.fail("another name, since one field is called so already");
            }
        }
        add({name, told, type.kind, 0, type.width * count}, packed, type.width);
        if (end_ >= kMostBytes) {
            throw Failure("the layout has more than 1023 bytes, the most that a record carries",
                          kExitUsage);
        }
    } while (scanner.take(','));
    if (!scanner.at_end()) {
        scanner.fail("\",\" or the end");
    }
}

void RecordLayout::add(const RecordField &field, bool packed, size_t alignment) {
    if (!packed) {
        end_ = (end_ + alignment - 1) / alignment * alignment;
    }
    fields_.push_back(field);
    fields_.back().offset = end_;
    end_ += field.width;
}

Json RecordLayout::read(const void *record) const {
    Json row = Json::object();
    for (const RecordField &field : fields_) {
        if (field.kind != FieldKind::kPad) {
            row[field.name] = decode(field, static_cast<const char *>(record) + field.offset);
        }
    }
    return row;
}

const RecordField &RecordLayout::find(const std::string &name) const {
    std::string known;
    for (const RecordField &field : fields_) {
        if (field.kind == FieldKind::kPad) {
            continue;
        }
        if (field.name == name) {
            return field;
        }
        known += " " + field.name;
    }
    throw Failure("the layout has no field \"" + name + "\"; it has" + known, kExitUsage);
}

const RecordField &RecordLayout::split(const std::string &assignment, std::string &value) const {
    size_t sign = assignment.find('=');
    if (sign == std::string::npos) {
        throw Failure("expected FIELD=VALUE, got \"" + assignment + "\"", kExitUsage);
    }
    value = assignment.substr(sign + 1);
    return find(assignment.substr(0, sign));
}

void RecordLayout::write(std::string &record, const std::string &assignment) const {
    std::string value;
    const RecordField &field = split(assignment, value);
    std::string bytes = encode(field, value);
    if (bytes.size() > room_of(field)) {
        throw Failure("\"" + value + "\" does not fit " + field.name + ", a " + field.type,
                      kExitUsage);
    }
    bytes.resize(field.width, '\0');
    record.replace(field.offset, field.width, bytes);
}

bool RecordLayout::matches(const void *record, const std::string &assignment) const {
    std::string wanted(record_size(), '\0');
    write(wanted, assignment);
    std::string value;
    const RecordField &field = split(assignment, value);
    return decode(field, static_cast<const char *>(record) + field.offset) ==
           decode(field, wanted.data() + field.offset);
}

}  // namespace hearth::tool
