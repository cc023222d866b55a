// The tokeniser, the chain, and the lists that are chained by position.
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "ats/atapi/at_fields.h"
#include "ats/atapi/at_result.h"
#include "base/log.h"
#include "base/text.h"
#include "hearth/at_parse.h"
#include "hearth/at_utils.h"

namespace hearth {
namespace {

constexpr LogSource kLogSource{"ats", "ats/atapi/at_parse"};

// A copy of [first, last) without outer blanks and, once those are gone, outer quotes. Null without
// memory. At `last` is a comma or the end of the text, which stops each walk from the left.
char *copy_field(const char *first, const char *last) {
    while (*first == ' ') {
        ++first;
    }
    while (first != last && last[-1] == ' ') {
        --last;
    }
    while (*first == '"') {
        ++first;
    }
    while (first < last && last[-1] == '"') {
        --last;
    }
    size_t length = static_cast<size_t>(last - first);
    char *copy = static_cast<char *>(malloc(length + 1));
    if (copy != nullptr) {
        memcpy(copy, first, length);
        copy[length] = '\0';
    }
    return copy;
}

// The first comma outside quotes, or the end of the text. Most characters are above all marks.
const char *field_end(const char *text) {
    for (;; ++text) {
        while (static_cast<uint8_t>(*text) > ',') {
            ++text;
        }
        if (*text == ',') {
            return text;
        }
        if (*text == '"') {
            do {
                ++text;
            } while (*text != '\0' && *text != '"');
        }
        if (*text == '\0') {
            return text;
        }
    }
}

// Stores a copy of the field at `*place` and goes to the place behind its comma, null when there is
// none. At no place, and at one at the very end of the text, there is no field: null is stored.
// False without memory.
bool take_field(const char **place, char **field) {
    const char *text = *place;
    *place = nullptr;
    if (text == nullptr || *text == '\0') {
        *field = nullptr;
        return true;
    }
    const char *end = field_end(text);
    if (*end == ',') {
        *place = end + 1;
    }
    *field = copy_field(text, end);
    return *field != nullptr;
}

// Links an empty node behind the last one; null without memory.
at_parse_result *append_node(at_parse_result ***link) {
    at_parse_result *node = new_node();
    if (node != nullptr) {
        **link = node;
        *link = &node->next_field;
    }
    return node;
}

void tell_of_no_node() {
    HEARTH_LOG(OSA_LOG_INFO, "[%s, %d] GreatLinkList_AT: malloc failed\n", kLogSource.path,
               __LINE__);
}

// The chain of a format and a text, of `most` fields at most. It is as long as the commas say;
// another separator, which splits nothing, says only how long it is.
int32_t chain_fields(at_parse_result **result, const char *format, const char *text,
                     const char *separator, uint32_t most) {
    uint32_t length = *separator == ',' ? 0 : field_count(format, text, separator);
    if (length > most) {
        return AT_PARSE_MISMATCH;
    }
    ResultList head;
    at_parse_result **link = head.out();
    for (uint32_t i = 0; length == 0 ? format != nullptr || text != nullptr : i < length; ++i) {
        if (i == most) {
            return AT_PARSE_MISMATCH;
        }
        HeapBlock<char> name;
        HeapBlock<char> value;
        if (!take_field(&format, name.out()) || !take_field(&text, value.out())) {
            return AT_RETURN_MALLOC_ERR;
        }
        at_parse_result *node = append_node(&link);
        if (node == nullptr) {
            head.reset(nullptr);
            tell_of_no_node();
            HEARTH_LOG(OSA_LOG_INFO, "AT_RETURN_MALLOC_ERR\n");
            return AT_RETURN_MALLOC_ERR;
        }
        node->AtFieldName = name.release();
        node->AtFieldValue = value.release();
    }
    *result = head.release();
    return AT_PARSE_OK;
}

// Names "index_0", "index_1" and so on.
int32_t name_indexes(char **names, uint32_t count) {
    constexpr std::string_view kPrefix = "index_";
    constexpr size_t kRoom = sizeof "index_4294967295";
    for (uint32_t i = 0; i < count; ++i) {
        char *name = static_cast<char *>(malloc(kRoom));
        if (name == nullptr) {
            return AT_RETURN_MALLOC_ERR;
        }
        memcpy(name, kPrefix.data(), kPrefix.size());
        *std::to_chars(name + kPrefix.size(), name + kRoom - 1, i).ptr = '\0';
        names[i] = name;
    }
    return AT_PARSE_OK;
}

int32_t chain_indexes(at_parse_result **result, const char *text) {
    uint32_t length = count_separator(text, ",") + 1;
    HeapBlock<char *> names = allocate_zeroed<char *>(length);
    HeapBlock<char *> values = allocate_zeroed<char *>(length);
    if (!names || !values) {
        return AT_RETURN_MALLOC_ERR;
    }
    uint32_t stored = 0;
    int32_t code = split_fields(text, values.get(), length, &stored);
    if (code == AT_PARSE_OK) {
        code = name_indexes(names.get(), length);
    }
    if (code == AT_PARSE_OK) {
        at_parse_result *head = GreatLinkList_AT(names.get(), values.get(), length);
        if (head != nullptr) {
            *result = head;
            return AT_PARSE_OK;
        }
        // Required: a chain that found no memory counts as success, with nothing stored.
    }
    free_strings(names.get(), length);
    free_strings(values.get(), length);
    return code;
}

}  // namespace

uint32_t field_count(const char *format, const char *text, const char *separator) {
    return std::max(count_separator(format, separator), count_separator(text, separator)) + 1;
}

void free_strings(char **strings, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        free(strings[i]);
        strings[i] = nullptr;
    }
}

int32_t split_fields(const char *text, char **fields, uint32_t room, uint32_t *count) {
    *count = 0;
    while (text != nullptr && *text != '\0' && *count < room) {
        if (!take_field(&text, &fields[*count])) {
            free_strings(fields, *count);
            *count = 0;
            return AT_RETURN_MALLOC_ERR;
        }
        ++*count;
    }
    return AT_PARSE_OK;
}

}  // namespace hearth

using hearth::kLogSource;

int32_t at_const_parse(char **fields, const char *text, const char *separator, uint32_t *count) {
    if (fields == nullptr || text == nullptr || separator == nullptr || count == nullptr) {
        return AT_PARSE_ERROR;
    }
    // Required: the separator is only checked, and commas split whatever it says.
    return hearth::split_fields(text, fields, UINT32_MAX, count);
}

at_parse_result *GreatLinkList_AT(char **names, char **values, uint32_t count) {
    if (names == nullptr || values == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "the mode_name or mode_value is NULL\n ");
        return nullptr;
    }
    hearth::ResultList head;
    at_parse_result **link = head.out();
    for (uint32_t i = 0; i < count; ++i) {
        at_parse_result *node = hearth::append_node(&link);
        if (node == nullptr) {
            head.reset(nullptr);
            // The strings went with the nodes: the caller must not free them once more.
            std::fill_n(names, i, nullptr);
            std::fill_n(values, i, nullptr);
            hearth::tell_of_no_node();
            return nullptr;
        }
        node->AtFieldName = names[i];
        node->AtFieldValue = values[i];
    }
    return head.release();
}

int32_t parse_field(at_parse_result **result, const char *format, const char *text,
                    const char *separator) {
    if (result == nullptr || format == nullptr || text == nullptr || separator == nullptr) {
        return AT_PARSE_ERROR;
    }
    return hearth::chain_fields(result, format, text, separator, AT_PARSE_FIELDS);
}

int32_t parse_many_field(at_parse_result **result, const char *format, const char *text,
                         const char *separator) {
    if (format == nullptr) {
        return AT_PARSE_ERROR;
    }
    if (text == nullptr || separator == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    if (result == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "THE result is NULL.\n");
        return AT_PARSE_MISMATCH;
    }
    return hearth::chain_fields(result, format, text, separator, UINT32_MAX);
}

int32_t parse_cmgi_list_at_str(at_parse_result **result, const char *format, char *text,
                               const char *name) {
    if (result == nullptr || text == nullptr || name == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    if (format == nullptr || strstr(text, name) == nullptr) {
        return parse_final_result(result, text);
    }
    const char *colon = strchr(text, ':');
    return colon != nullptr ? hearth::chain_indexes(result, colon + 1) : AT_PARSE_PART_MISSING;
}

int32_t parse_sms_index_list_at_str(at_parse_result **result, const char *format, char *text,
                                    const char *name) {
    if (result == nullptr || text == nullptr || name == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    if (format == nullptr || strstr(text, name) == nullptr) {
        return parse_final_result(result, text);
    }
    char *colon = strchr(text, ':');
    char *end = colon != nullptr ? strstr(colon, "),") : nullptr;
    if (end == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    *end = '\0';
    char *list = split_space(split_space(split_space(colon + 1, ' '), ')'), '(');
    return hearth::chain_indexes(result, list);
}
