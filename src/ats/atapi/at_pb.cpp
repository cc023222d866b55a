#include "hearth/at_pb.h"

#include <algorithm>

#include "ats/atapi/at_exchange.h"
#include "base/bytes.h"
#include "base/number.h"
#include "base/text.h"
#include "hearth/at_lib.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr uint32_t kTable = 8;

// A command that may hold zero bytes carries its length behind the room for commands.
constexpr size_t kCommandRoom = 640;

// What stands behind the name of an entry to be written: '"', ',' and the digit of the encoding.
constexpr size_t kClosingBytes = 3;

// The longest head is the one with a number that lacks its terminator.
static_assert(std::string_view("AT^CPBW=-2147483648,\"\",-2147483648,\"").size() +
                  sizeof(at_cpbw_req::number) + sizeof(at_cpbw_req::text) + kClosingBytes <=
              kCommandRoom);

constexpr Field kCpbsFields[] = {AT_FIELD(at_cpbs_info, storage), AT_FIELD(at_cpbs_info, used),
                                 AT_FIELD(at_cpbs_info, total)};
constexpr Member kCpbsCheck = member({.command = "AT+CPBS?",
                                      .match = "+CPBS:",
                                      .refusal = Refusal::kMap,
                                      .key = "+CPBS",
                                      .table = kTable,
                                      .err_before_list = true,
                                      .fields = kCpbsFields,
                                      .err = AT_ERR(at_cpbs_info)});
constexpr Argument kCpbsValues[] = {AT_ARGUMENT(at_cpbs_set, storage)};
constexpr Member kCpbsSet = member({.command = "AT+CPBS=\"%s\"",
                                    .arguments = kCpbsValues,
                                    .refusal = Refusal::kMap,
                                    .err = AT_ERR(at_cpbs_set)});

constexpr Argument kCpbwHead[] = {AT_ARGUMENT(at_cpbw_req, index), AT_ARGUMENT(at_cpbw_req, number),
                                  AT_ARGUMENT(at_cpbw_req, type)};
constexpr Member kCpbwWrite = member({.command = "AT^CPBW=%d,\"%s\",%d,\"",
                                      .arguments = kCpbwHead,
                                      .refusal = Refusal::kMap,
                                      .err = AT_ERR(at_cpbw_req)});
constexpr Member kCpbwDelete = member({.command = "AT^CPBW=%d",
                                       .arguments = std::span(kCpbwHead).first(1),
                                       .refusal = Refusal::kMap,
                                       .err = AT_ERR(at_cpbw_req)});

// Pads with zero bytes, since the field is raw bytes.
void store_name(void *field, size_t width, const char *value) {
    if (value != nullptr) {
        memset(field, 0, width);
        store_text(field, width, value);
    }
}

// "(1-250)" into the first and the last index, which stand side by side.
void store_range(void *field, size_t width, const char *value) {
    char range[64] = "";
    store_text(range, sizeof range, value);
    char *rest = nullptr;
    const char *first = strtok_r(range, "-", &rest);
    const char *last = strtok_r(nullptr, "-", &rest);
    size_t half = width / 2;
    if (first != nullptr) {
        store_number(field, half, first + 1);
    }
    if (last != nullptr) {
        store_number(static_cast<char *>(field) + half, half, last);
    }
}

static_assert(offsetof(at_cpbr_info, last_index) ==
              offsetof(at_cpbr_info, first_index) + sizeof(at_cpbr_info::first_index));

// The two reads put the error id of a refusal into the request. Required.
constexpr Argument kCpbrValues[] = {AT_ARGUMENT(at_cpbr_req, index)};
constexpr Field kCpbrFields[] = {AT_FIELD(at_cpbr_info, index), AT_FIELD(at_cpbr_info, type),
                                 AT_FIELD(at_cpbr_info, coding), AT_FIELD(at_cpbr_info, number),
                                 AT_FIELD_WITH(at_cpbr_info, text, "text", store_name)};
constexpr Member kCpbrRead = member({.command = "AT^CPBR=%d",
                                     .arguments = kCpbrValues,
                                     .multi_line = 1,
                                     .refusal = Refusal::kMap,
                                     .key = "^CPBR",
                                     .table = kTable,
                                     .action = AT_ACTION_EXECUTE,
                                     .fields = kCpbrFields,
                                     .err = AT_ERR(at_cpbr_req)});
constexpr Field kLimitFields[] = {AT_FIELD(at_cpbr_info, nlength), AT_FIELD(at_cpbr_info, tlength),
                                  AT_FIELD(at_cpbr_info, mlength),
                                  Field{"indexs", offsetof(at_cpbr_info, first_index),
                                        2 * sizeof(at_cpbr_info::first_index), store_range}};
constexpr Member kCpbrLimits = member({.command = "AT^CPBR=?",
                                       .match = "^CPBR:",
                                       .multi_line = 1,
                                       .refusal = Refusal::kMap,
                                       .key = "^CPBR",
                                       .table = kTable,
                                       .action = AT_ACTION_TEST,
                                       .fields = kLimitFields,
                                       .err = AT_ERR(at_cpbr_req)});

// An entry whose name holds zero bytes.
struct at_pb_entry {
    uint32_t index;
    uint32_t type;
    uint32_t coding;
    uint32_t text_length;
    char number[80];
    char text[512];
};

// Where the separators of an entry stand, 0 for one that is missing. All but the last stand in
// front of the name, and thus in front of any zero byte.
struct Separators {
    size_t colon;
    size_t commas[3];
    size_t last_comma;
};

size_t found_or_zero(size_t position) {
    return position == std::string_view::npos ? 0 : position;
}

Separators find_separators(std::string_view reply) {
    std::string_view head = hearth::first_part(reply, reply.find('\0'));
    Separators found{};
    found.colon = found_or_zero(head.find(':'));
    size_t from = 0;
    for (size_t &comma : found.commas) {
        size_t position = head.find(',', from);
        if (position == std::string_view::npos) {
            break;
        }
        comma = position;
        from = position + 1;
    }
    found.last_comma = found_or_zero(reply.rfind(','));
    return found;
}

// What stands in quotation marks between two commas; empty when there is no room for the marks.
// `opening` and `closing` are the positions of the commas.
std::string_view quoted(std::string_view reply, size_t opening, size_t closing) {
    size_t length = closing < opening + 3 ? 0 : closing - opening - 3;
    return {length == 0 ? reply.data() : reply.data() + opening + 2, length};
}

// Takes `index`,"`number`",`type`,"`text`",`coding` apart by the positions of its separators. The
// text may hold any byte: only the last comma counts behind it. The reply ends in a zero byte.
void pbat_parse(std::string_view reply, at_pb_entry *entry) {
    Separators at = find_separators(reply);
    entry->index = static_cast<uint32_t>(hearth::to_int32(reply.data() + at.colon + 1));
    entry->type = static_cast<uint32_t>(hearth::to_int32(reply.data() + at.commas[1] + 1));
    entry->coding = static_cast<uint32_t>(hearth::to_int32(reply.data() + at.last_comma + 1));
    if (at.commas[1] < at.commas[0] + 3) {
        return;
    }
    hearth::copy_text(entry->number, quoted(reply, at.commas[0], at.commas[1]));
    std::string_view text = quoted(reply, at.commas[2], at.last_comma);
    entry->text_length = static_cast<uint32_t>(std::min(text.size(), sizeof entry->text));
    memcpy(entry->text, text.data(), entry->text_length);
}

void take_raw_entry(std::string_view reply, at_cpbr_info *out) {
    at_pb_entry entry{};
    pbat_parse(reply, &entry);
    out->index = entry.index;
    out->type = entry.type;
    out->coding = entry.coding;
    out->text_length = entry.text_length;
    memcpy(out->number, entry.number, sizeof out->number);
    memcpy(out->text, entry.text, entry.text_length);
}

// Exchange and parsing of the two reads. Without a list *result is the result.
hearth::ResultList read_entry(const Member &member, at_cpbr_req *in, at_cpbr_info *out,
                              at_server_msg *message, int32_t *result) {
    *result = -1;
    if (in == nullptr || out == nullptr || !ask(member, message, in, in, result)) {
        return {};
    }
    out->err = static_cast<uint32_t>(AT_ERR_NONE);
    *result = -1;
    return parse(member, message);
}

// Puts the name, its closing mark and the digit of its encoding behind the head of the command,
// and states the length of the whole.
void append_name(const at_cpbw_req &entry, size_t head, at_server_msg *message) {
    char digit = entry.coding == 1 ? '1' : entry.coding == 2 ? '2' : '0';
    const char closing[kClosingBytes] = {'"', ',', digit};
    char *next = message->report + head;
    memcpy(next, entry.text, entry.text_length);
    memcpy(next + entry.text_length, closing, sizeof closing);
    hearth::store_native(message->report + kCommandRoom,
                         static_cast<uint32_t>(head + entry.text_length + sizeof closing));
}

int32_t write_entry(at_cpbw_req *record) {
    if (record->text_length > sizeof record->text) {
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    append_name(*record, prepare(kCpbwWrite, record, &message), &message);
    if (deliver(kCpbwWrite, &message, &result) && judge(kCpbwWrite, &message, record, &result)) {
        clear_err(kCpbwWrite, record);
    }
    return result;
}

}  // namespace

int32_t AT_Cpbs_Check(at_cpbs_info *record) {
    return run(kCpbsCheck, record);
}

int32_t AT_Cpbs_Execute(at_cpbs_set *record) {
    return run(kCpbsSet, record);
}

int32_t AT_Cpbs(int32_t action, at_cpbs_set *in, at_cpbs_info *out) {
    // Another action is no failure: required, as in the two below.
    return dispatch(
        action, 0, [&] { return AT_Cpbs_Check(out); }, [&] { return AT_Cpbs_Execute(in); });
}

int32_t AT_Cpbr_Execute(at_cpbr_req *in, at_cpbr_info *out) {
    at_server_msg message;
    int32_t result = 0;
    hearth::ResultList list = read_entry(kCpbrRead, in, out, &message, &result);
    if (!list) {
        return result;
    }
    size_t text_length = strlen(message.report);
    size_t length = std::min<size_t>(message.report_len, sizeof message.report - 1);
    if (length < text_length) {
        return -1;
    }
    if (length > text_length) {
        take_raw_entry({message.report, length}, out);
        return 0;
    }
    fill(kCpbrRead.fields, list.get(), out);
    out->text_length = static_cast<uint32_t>(hearth::field_text(out->text).size());
    return 0;
}

int32_t AT_Cpbr_Test(at_cpbr_req *in, at_cpbr_info *out) {
    at_server_msg message;
    int32_t result = 0;
    hearth::ResultList list = read_entry(kCpbrLimits, in, out, &message, &result);
    if (!list) {
        return result;
    }
    fill(kCpbrLimits.fields, list.get(), out);
    return 0;
}

int32_t AT_Cpbr(int32_t action, at_cpbr_req *in, at_cpbr_info *out) {
    switch (action) {
        case AT_ACTION_EXECUTE:
            return hide_channel(AT_Cpbr_Execute(in, out));
        case AT_ACTION_TEST:
            return hide_channel(AT_Cpbr_Test(in, out));
        default:
            return 0;
    }
}

int32_t AT_Cpbw_Execute(at_cpbw_req *record) {
    if (record == nullptr || record->op > AT_CPBW_DELETE) {
        return -1;
    }
    return record->op == AT_CPBW_DELETE ? run(kCpbwDelete, record) : write_entry(record);
}

int32_t AT_Cpbw(int32_t action, at_cpbw_req *record, int32_t flag) {
    if (action == 1) {
        return hide_channel(AT_Cpbw_Execute(record));
    }
    return action == 2 && flag == 0 ? -1 : 0;
}
