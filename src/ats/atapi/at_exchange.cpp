#include "ats/atapi/at_exchange.h"

#include <string.h>

#include <algorithm>
#include <charconv>

#include "base/bytes.h"
#include "base/text.h"
#include "hearth/at_comm.h"
#include "hearth/at_utils.h"
#include "hearth/osa_pthread.h"
#include "hearth/osa_task.h"

namespace hearth::at {

namespace {

void store_integer(void *field, size_t width, uint64_t value) {
    switch (width) {
        case 1:
            store_native(field, static_cast<uint8_t>(value));
            break;
        case 2:
            store_native(field, static_cast<uint16_t>(value));
            break;
        case 4:
            store_native(field, static_cast<uint32_t>(value));
            break;
        default:
            store_native(field, value);
            break;
    }
}

int32_t load_integer(const void *field, const Argument &argument) {
    bool is_signed = argument.kind == ArgumentKind::kSigned;
    switch (argument.width) {
        case 1:
            return is_signed ? load_native<int8_t>(field) : load_native<uint8_t>(field);
        case 2:
            return is_signed ? load_native<int16_t>(field) : load_native<uint16_t>(field);
        default:
            return load_native<int32_t>(field);
    }
}

std::string_view load_text(const char *field, const Argument &argument) {
    if (argument.kind == ArgumentKind::kPointer) {
        const char *text = load_native<const char *>(field);
        return text == nullptr ? std::string_view() : std::string_view(text);
    }
    return field_text(field, argument.width);
}

// Writes into a buffer, and drops what does not fit.
struct Writer {
    char *next;
    char *end;

    void put(std::string_view text) {
        next = std::copy_n(text.begin(), std::min<ptrdiff_t>(std::ssize(text), end - next), next);
    }
};

void put_argument(Writer *writer, char conversion, const Argument &argument, const void *values) {
    const char *field = static_cast<const char *>(values) + argument.offset;
    if (conversion == 's') {
        writer->put(load_text(field, argument));
        return;
    }
    int32_t number = load_integer(field, argument);
    char digits[12];
    if (conversion == 'c') {
        digits[0] = static_cast<char>(number);
        writer->put({digits, 1});
        return;
    }
    std::to_chars_result written = std::to_chars(digits, digits + sizeof digits, number);
    writer->put({digits, static_cast<size_t>(written.ptr - digits)});
}

// As snprintf into `limit` bytes, with the values taken from a record. Returns the bytes written.
size_t format_command(char *to, const Member &member, const void *values) {
    Writer writer{to, to + member.limit - 1};
    const Argument *argument = member.arguments.data();
    std::string_view rest = member.command;
    while (!rest.empty() && !member.arguments.empty()) {
        size_t percent = rest.find('%');
        writer.put(first_part(rest, percent));
        if (percent == std::string_view::npos) {
            rest = {};
            break;
        }
        put_argument(&writer, rest[percent + 1], *argument++, values);
        rest.remove_prefix(percent + 2);
    }
    writer.put(rest);
    *writer.next = '\0';
    return static_cast<size_t>(writer.next - to);
}

void set_err(const Member &member, void *record, int32_t id) {
    if (member.err != kNoErr) {
        store_native(static_cast<char *>(record) + member.err, id);
    }
}

bool lacks_arguments(const Member &member, const void *record, const void *values) {
    bool fills = member.err != kNoErr || !member.fields.empty();
    return (fills && record == nullptr) || (!member.arguments.empty() && values == nullptr);
}

// A value beyond the fields of its format has no name.
const Field *find_field(std::span<const Field> fields, const char *name) {
    for (const Field &field : fields) {
        if (name != nullptr && same_text(field.name, name)) {
            return &field;
        }
    }
    return nullptr;
}

bool fill_entry(const Member &line, const LineList &lines, char *text, void *entry) {
    if (lines.begin_line.text != nullptr) {
        osa_print_log_ex(line.source->module, line.source->path, lines.begin_line.line,
                         lines.begin_line.level, lines.begin_line.text, text);
    }
    ResultList list;
    at_cmd_parse(list.out(), line.key, text, line.table, line.action);
    if (!list) {
        log_text(line, line.no_list, 0);
        return false;
    }
    clear_err(line, entry);
    fill(line.fields, list.get(), entry);
    return true;
}

}  // namespace

void store_number(void *field, size_t width, const char *value) {
    store_integer(field, width, static_cast<uint64_t>(safe_atoi(value)));
}

void store_hex(void *field, size_t width, const char *value) {
    store_integer(field, width, hex_str_to_uinteger(value));
}

void store_text(void *field, size_t width, const char *value) {
    if (value != nullptr) {
        copy_text(static_cast<char *>(field), width, value);
    }
}

int32_t run(const Member &member, void *record, const void *values) {
    if (lacks_arguments(member, record, values)) {
        log_text(member, member.no_record, 0);
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (!ask(member, &message, record, values, &result)) {
        return result;
    }
    return take(member, &message, record);
}

int32_t run(const Member &member, void *record) {
    return run(member, record, record);
}

int32_t run_action(int32_t action, const Member &check, const Member &set, void *record) {
    if (action == AT_CMD_TYPE_CHECK || record == nullptr) {
        return run(check, record);
    }
    return action == AT_CMD_TYPE_SET ? run(set, record) : -1;
}

int32_t thread_type() {
    int32_t id = osa_pthread_getid();
    return id < 1 ? -id : id;
}

size_t prepare(const Member &member, const void *values, at_server_msg *message) {
    *message = {};
    message->mtype = member.asks_as_process ? osa_task_getid() : thread_type();
    message->req_class = member.req_class;
    message->req_param = member.req_param;
    message->multi_line = member.multi_line;
    message->timeout = member.timeout;
    copy_text(message->match, member.match);
    return format_command(message->report, member, values);
}

bool deliver(const Member &member, at_server_msg *message, int32_t *result) {
    *result = GetDataFromAtServer(message);
    if (*result == 0) {
        return true;
    }
    log_text(member, member.failed, *result);
    if (member.hides_failure) {
        *result = -1;
    }
    return false;
}

bool judge(const Member &member, at_server_msg *message, void *record, int32_t *result) {
    if (message->Ret_val == AT_RET_SUCCESS) {
        return true;
    }
    bool refused = message->Ret_val == AT_RET_ERROR || message->Ret_val == AT_RET_REFUSED;
    if (!refused || member.refusal == Refusal::kFail) {
        log_text(member, member.refused, message->Ret_val);
        *result = -1;
        return false;
    }
    if (member.refusal != Refusal::kIgnore) {
        set_err(member, record, Error_str_to_id(message->report));
    }
    *result = member.refusal == Refusal::kMapAndFail ? -1 : 0;
    return false;
}

bool ask(const Member &member, at_server_msg *message, void *record, const void *values,
         int32_t *result) {
    prepare(member, values, message);
    return deliver(member, message, result) && judge(member, message, record, result);
}

ResultList parse(const Member &member, at_server_msg *message) {
    ResultList list;
    at_cmd_parse(list.out(), member.key, message->report, member.table, member.action);
    if (!list) {
        log_text(member, member.no_list, message->Ret_val);
    }
    return list;
}

void fill(std::span<const Field> fields, const at_parse_result *chain, void *record) {
    for (const at_parse_result *node = chain; node != nullptr; node = node->next_field) {
        const Field *field = find_field(fields, node->AtFieldName);
        if (field != nullptr) {
            field->store(static_cast<char *>(record) + field->offset, field->width,
                         node->AtFieldValue);
        }
    }
}

int32_t take(const Member &member, at_server_msg *message, void *record) {
    if (member.key == nullptr || member.err_before_list) {
        clear_err(member, record);
    }
    if (member.key == nullptr) {
        return 0;
    }
    ResultList list = parse(member, message);
    if (!list) {
        return member.result_without_list;
    }
    clear_err(member, record);
    fill(member.fields, list.get(), record);
    return 0;
}

void clear_err(const Member &member, void *record) {
    set_err(member, record, AT_ERR_NONE);
}

void log_text(const Member &member, const LogText &log, int32_t value) {
    if (log.text != nullptr) {
        osa_print_log_ex(member.source->module, member.source->path, log.line, log.level, log.text,
                         value);
    }
}

int32_t fill_lines(const Member &line, const LineList &lines, at_server_msg *message, void **list,
                   uint32_t *count) {
    char *texts[kMaxLines];
    uint32_t made = std::min(lines.limit, kMaxLines);
    get_substring(message->report, texts, &made, lines.marker);
    *count = made;
    *list = nullptr;
    if (made == 0) {
        log_text(line, lines.no_line, 0);
        return -1;
    }
    HeapBlock<char> entries = allocate_zeroed<char>(size_t{made} * lines.entry_size);
    if (!entries) {
        log_text(line, lines.no_memory, 0);
    }
    bool good = static_cast<bool>(entries);
    for (uint32_t i = 0; good && i < made; i++) {
        good = fill_entry(line, lines, texts[i], entries.get() + size_t{i} * lines.entry_size);
    }
    if (!entries && lines.zero_count_without_memory) {
        *count = 0;
    }
    reslease_substring(texts, made);
    if (!good) {
        return -1;
    }
    *list = entries.release();
    return 0;
}

}  // namespace hearth::at
