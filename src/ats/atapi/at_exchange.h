// The one exchange behind the AT command functions: clear the message, fill it, send it, judge
// Ret_val, parse the reply, fill the caller's record by field name, free the list.
//
// A member of a family is a row:
//
//     constexpr Field kCregFields[] = {AT_FIELD(at_creg_info, n), AT_FIELD(at_creg_info, lac)};
//     constexpr Member kCregCheck = member({.command = "AT+CREG?", .match = "+CREG:",
//         .refusal = Refusal::kMap, .key = "+CREG", .table = 1, .fields = kCregFields,
//         .err = AT_ERR(at_creg_info)});
//     constexpr Argument kCregValues[] = {AT_ARGUMENT(at_creg_info, n)};
//     constexpr Member kCregSet = member({.command = "AT+CREG=%d", .arguments = kCregValues,
//         .err = AT_ERR(at_creg_info)});
//
// and a function: return run(kCregCheck, record), or run(kCregSet, out, in) when the values of the
// command stand in a record of their own. The type of a member of the record decides how it is
// stored and sent: a char array is text, held to its width; an integer is a number, cut to its
// width; a `const char *` is sent as text. AT_FIELD_AS names another key, AT_FIELD_WITH another
// way of storing. %d, %s and %c are known in commands.
//
// What stands apart takes the steps one by one: ask() up to a reply with Ret_val 2 (or prepare(),
// deliver() and judge(), with own work between them), then parse() and fill(). A reply of several
// lines that becomes a list on the heap goes through fill_lines().
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>
#include <string_view>
#include <type_traits>

#include "ats/atapi/at_result.h"
#include "base/log.h"
#include "hearth/at_lib.h"
#include "hearth/at_parse.h"

namespace hearth::at {

// Puts a value of the reply into a field. `value` may be null.
using Store = void (*)(void *field, size_t width, const char *value);

void store_number(void *field, size_t width, const char *value);  // decimal; null gives 0
void store_hex(void *field, size_t width, const char *value);     // hexadecimal; null gives 0
void store_text(void *field, size_t width, const char *value);    // cut to fit; null stores nothing

// Where a named value of the reply goes in the record.
struct Field {
    const char *name;
    uint32_t offset;
    uint32_t width;
    Store store;
};

enum class ArgumentKind : uint8_t { kSigned, kUnsigned, kText, kPointer };

// Where a value of the command stands in the record.
struct Argument {
    uint32_t offset;
    uint32_t width;
    ArgumentKind kind;
};

template <typename T>
constexpr Store store_of() {
    return std::is_array_v<T> ? store_text : store_number;
}

template <typename T>
constexpr ArgumentKind kind_of() {
    if (std::is_pointer_v<T>) {
        return ArgumentKind::kPointer;
    }
    if (std::is_array_v<T>) {
        return ArgumentKind::kText;
    }
    return std::is_signed_v<T> ? ArgumentKind::kSigned : ArgumentKind::kUnsigned;
}

#define AT_FIELD_WITH(record, member, key, how)                                           \
    hearth::at::Field {                                                                   \
        key, static_cast<uint32_t>(offsetof(record, member)), sizeof(record::member), how \
    }
#define AT_FIELD_AS(record, member, key) \
    AT_FIELD_WITH(record, member, key, hearth::at::store_of<decltype(record::member)>())
#define AT_FIELD(record, member) AT_FIELD_AS(record, member, #member)
#define AT_ARGUMENT(record, member)                                              \
    hearth::at::Argument {                                                       \
        static_cast<uint32_t>(offsetof(record, member)), sizeof(record::member), \
            hearth::at::kind_of<decltype(record::member)>()                      \
    }
#define AT_ERR(record) static_cast<int32_t>(offsetof(record, err))

// For a command with one number, when the values are that number.
inline constexpr Argument kNumber[] = {{0, sizeof(int32_t), ArgumentKind::kSigned}};

constexpr int32_t kNoErr = -1;

// What happens at Ret_val 3 and 4.
enum class Refusal : uint8_t {
    kFail,        // as at any other value: -1, `err` is left alone
    kMap,         // the error id goes to `err`, result 0
    kMapAndFail,  // the error id goes to `err`, result -1
    kIgnore       // nothing is stored, result 0
};

// A log line of a member. Its text may hold one %d: for what the channel gave in `failed`, else for
// Ret_val.
struct LogText {
    uint32_t level = 0;
    const char *text = nullptr;
    uint32_t line = __builtin_LINE();
};

struct Member {
    const char *command = "";  // a format when there are arguments
    std::span<const Argument> arguments{};
    uint32_t limit = 640;  // bytes of `report` for the command, terminator included
    const char *match = "";
    int32_t timeout = 30;
    int32_t req_class = 0;
    int32_t req_param = 0;
    int32_t multi_line = 0;
    bool asks_as_process = false;  // `mtype` is the process id

    bool hides_failure = false;  // a failed exchange gives -1, whatever it gave itself
    Refusal refusal = Refusal::kFail;

    const char *key = nullptr;  // null: nothing is parsed
    uint32_t table = 0;
    uint32_t action = AT_ACTION_READ;
    bool err_before_list = false;  // `err` becomes -2 before the list is looked at
    int32_t result_without_list = -1;
    std::span<const Field> fields{};
    int32_t err = kNoErr;  // offset of `err` in the record

    const LogSource *source = nullptr;  // of the log lines
    LogText no_record{};                // a null record
    LogText failed{};                   // the exchange failed
    LogText refused{};                  // Ret_val tells of a failure
    LogText no_list{};                  // the reply could not be parsed
};

// Not there: a call of it makes the compiler name this text.
void columns_of_this_row_disagree();

// Fails to compile when a row's columns disagree.
consteval Member member(Member row) {
    size_t conversions = 0;
    std::string_view command = row.command;
    for (size_t i = 0; i + 1 < command.size(); i++) {
        conversions += command[i] == '%';
    }
    bool logs = row.no_record.text != nullptr || row.failed.text != nullptr ||
                row.refused.text != nullptr || row.no_list.text != nullptr;
    bool good =
        conversions == row.arguments.size() && row.limit <= sizeof(at_server_msg::report) &&
        std::string_view(row.match).size() < sizeof(at_server_msg::match) &&
        (row.key != nullptr || row.fields.empty()) &&
        (row.refusal == Refusal::kFail || row.refusal == Refusal::kIgnore || row.err != kNoErr) &&
        (!logs || row.source != nullptr);
    if (!good) {
        columns_of_this_row_disagree();
    }
    return row;
}

// The whole exchange. A record or values that the member needs and that are null give -1, and
// nothing is sent.
//   record  is filled
//   values  hold the values of the command
// Returns 0 when a reply came and was handled, -1 otherwise, and what the channel gave when the
// exchange failed.
int32_t run(const Member &member, void *record, const void *values);
int32_t run(const Member &member, void *record);

// Runs one of two members by the action: AT_CMD_TYPE_CHECK the first, AT_CMD_TYPE_SET the second.
// Any other action gives -1, and nothing is sent. A null record is the first member's to log.
int32_t run_action(int32_t action, const Member &check, const Member &set, void *record);

// The result of a dispatcher that hides what the channel gave, unless it is -1.
constexpr int32_t hide_channel(int32_t result) {
    return result == -1 ? -1 : 0;
}

// Such a dispatcher: AT_CMD_TYPE_CHECK calls `check`, AT_CMD_TYPE_SET `execute`, any other action
// gives `unknown`.
template <typename Check, typename Execute>
int32_t dispatch(int32_t action, int32_t unknown, Check check, Execute execute) {
    switch (action) {
        case AT_CMD_TYPE_CHECK:
            return hide_channel(check());
        case AT_CMD_TYPE_SET:
            return hide_channel(execute());
        default:
            return unknown;
    }
}

// The message type of the calling thread.
int32_t thread_type();

// The steps. prepare() clears and fills the message and returns the length of the command.
size_t prepare(const Member &member, const void *values, at_server_msg *message);

// Sends the message and waits for its reply. False when that failed; then *result is the result.
bool deliver(const Member &member, at_server_msg *message, int32_t *result);

// Looks at Ret_val. False when it is not 2; then `err` is stored as the member wants it and
// *result is the result.
bool judge(const Member &member, at_server_msg *message, void *record, int32_t *result);

// prepare, deliver and judge in one.
bool ask(const Member &member, at_server_msg *message, void *record, const void *values,
         int32_t *result);

// The list of the reply; empty when it cannot be parsed.
ResultList parse(const Member &member, at_server_msg *message);

// Stores every value of a chain whose name is among the fields.
void fill(std::span<const Field> fields, const at_parse_result *chain, void *record);

// What run() does with a reply of Ret_val 2: parses it and fills the record. Returns the result.
int32_t take(const Member &member, at_server_msg *message, void *record);

// Stores -2 in `err`, if the record has one.
void clear_err(const Member &member, void *record);

void log_text(const Member &member, const LogText &log, int32_t value);

// How a reply of several lines becomes a list on the heap. The fields and the `err` offset of
// `line` are those of an entry; its key, table and action are those of a line.
struct LineList {
    const char *marker;  // each line begins with it
    uint32_t limit;      // of lines; at most kMaxLines
    uint32_t entry_size;
    bool zero_count_without_memory = false;
    LogText no_line{};
    LogText no_memory{};
    LogText begin_line{};  // its text has a %s for the line
};

constexpr uint32_t kMaxLines = 512;

// Cuts `report` into lines, stores their number, and fills one entry of a zeroed list from each.
// The caller of the member frees the list. Returns 0, or -1 with *list null.
int32_t fill_lines(const Member &line, const LineList &lines, at_server_msg *message, void **list,
                   uint32_t *count);

}  // namespace hearth::at
