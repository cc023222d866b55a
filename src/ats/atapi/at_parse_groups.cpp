// Responses that are groups of "(...)". Their texts are taken apart in place.
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <charconv>

#include "ats/atapi/at_result.h"
#include "base/log.h"
#include "base/number.h"
#include "base/text.h"
#include "hearth/at_parse.h"
#include "hearth/at_utils.h"
#include "hearth/osa_task.h"

namespace {

using hearth::ResultList;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_parse"};

// No modem has a range this wide; a hostile one would take all memory.
constexpr int64_t kLongestSequence = 65536;

// Removes each of the characters, in their order, from both ends of a text.
char *strip_each(char *text, const char *characters) {
    for (; *characters != '\0'; ++characters) {
        split_space(text, *characters);
    }
    return text;
}

// The inside of the next "(...)" behind the cursor, cut at its ')'; the cursor moves behind that.
// Null when there is none.
char *take_bracket(char **cursor) {
    char *open = strchr(*cursor, '(');
    char *close = open != nullptr ? strchr(open, ')') : nullptr;
    if (close == nullptr) {
        return nullptr;
    }
    *close = '\0';
    *cursor = close + 1;
    return open + 1;
}

// The inside of the next list of brackets behind the cursor: from one character behind the start
// of `opening` through the next "))", of which the inner bracket stays. Null when there is none.
char *take_list(char **cursor, const char *opening) {
    char *open = strstr(*cursor, opening);
    char *close = open != nullptr ? strstr(open + 1, "))") : nullptr;
    if (close == nullptr) {
        return nullptr;
    }
    close[1] = '\0';
    *cursor = close + 2;
    return open + 1;
}

// Links a named group without fields at the tail of a list, and moves the tail. Null without
// memory.
at_parse_result *add_group(at_parse_result ***tail, const char *name) {
    at_parse_result *group = hearth::new_node();
    if (group == nullptr) {
        return nullptr;
    }
    **tail = group;
    *tail = &group->next_group;
    group->AtFieldName = strdup(name);
    return group->AtFieldName != nullptr ? group : nullptr;
}

int32_t add_group(at_parse_result ***tail, const char *name, const char *format, const char *text) {
    at_parse_result *group = add_group(tail, name);
    if (group == nullptr) {
        return AT_RETURN_MALLOC_ERR;
    }
    return parse_field(&group->next_field, format, text, ",");
}

at_parse_result **end_of_groups(ResultList &list) {
    at_parse_result **tail = list.out();
    while (*tail != nullptr) {
        tail = &(*tail)->next_group;
    }
    return tail;
}

at_parse_result *number_node(int64_t number) {
    constexpr size_t kRoom = 16;
    ResultList node(hearth::new_node());
    if (!node) {
        return nullptr;
    }
    char *value = static_cast<char *>(malloc(kRoom));
    if (value == nullptr) {
        return nullptr;
    }
    node->AtFieldValue = value;
    *std::to_chars(value, value + kRoom - 1, number).ptr = '\0';
    return node.release();
}

// The two parts of an operator response: the operators, and the lists behind the ",,".
struct CopsParts {
    char *operators;
    char *lists;
};

bool cut_cops(char *text, CopsParts *parts) {
    char *colon = strchr(text, ':');
    char *gap = colon != nullptr ? strstr(colon, ",,") : nullptr;
    if (gap == nullptr) {
        return false;
    }
    *gap = '\0';
    *parts = {colon + 1, gap + 2};
    return true;
}

// The two bracketed lists behind the operators.
struct CopsLists {
    char *modes;
    char *formats;
};

bool cut_lists(char *text, CopsLists *lists) {
    char *close = strchr(text, ')');
    if (close == nullptr) {
        return false;
    }
    *close = '\0';
    char *rest = close + 1;
    if (*rest != '\0') {
        ++rest;
    }
    *lists = {strip_each(text, "()"), strip_each(rest, "()")};
    return true;
}

int32_t cops_groups(ResultList &list, char *format, char *text) {
    CopsParts names{};
    CopsParts values{};
    if (!cut_cops(format, &names) || !cut_cops(text, &values)) {
        return AT_PARSE_PART_MISSING;
    }
    split_space(values.operators, ' ');
    int32_t code = parse_operator_list(list.out(), names.operators, values.operators, "option");
    HEARTH_LOG(OSA_LOG_INFO, "pid = %d, the parse operator list ret = %d \n", osa_task_getid(),
               code);
    if (code != AT_PARSE_OK) {
        return code;
    }
    CopsLists name_lists{};
    CopsLists value_lists{};
    if (!cut_lists(names.lists, &name_lists) || !cut_lists(values.lists, &value_lists)) {
        return AT_PARSE_PART_MISSING;
    }
    at_parse_result **tail = end_of_groups(list);
    code = add_group(&tail, "mode", name_lists.modes, value_lists.modes);
    if (code != AT_PARSE_OK) {
        return code;
    }
    return add_group(&tail, "format", name_lists.formats, value_lists.formats);
}

// The acquisition orders: a range fills their own group.
bool fill_acqorders(at_parse_result *modes, at_parse_result *acqorders, const char *format,
                    char *text) {
    if (strchr(text, '-') != nullptr) {
        return parse_sequence(&acqorders->next_field, format, text) == AT_PARSE_OK;
    }
    // Required: a list takes the place of the fields under "modes", and "acqorders" stays empty.
    free_at_res_link(modes->next_field);
    modes->next_field = nullptr;
    return parse_field(&modes->next_field, format, text, ",") == AT_PARSE_OK;
}

bool syscfg_groups(ResultList &list, char *format, char *text) {
    at_parse_result **tail = list.out();
    char *names = take_bracket(&format);
    char *values = take_bracket(&text);
    if (names == nullptr || values == nullptr ||
        add_group(&tail, "modes", names, values) != AT_PARSE_OK) {
        return false;
    }
    names = take_bracket(&format);
    values = take_bracket(&text);
    if (names == nullptr || values == nullptr) {
        return false;
    }
    at_parse_result *acqorders = add_group(&tail, "acqorders");
    if (acqorders == nullptr || !fill_acqorders(list.get(), acqorders, names, values)) {
        return false;
    }
    names = take_list(&format, "((");
    values = take_list(&text, "(");
    return names != nullptr && values != nullptr &&
           parse_band_at_str(tail, names, values, "bandlist") == AT_PARSE_OK;
}

// The LTE bands, which a response need not have.
bool lte_groups(at_parse_result **result, char *format, char *text) {
    if (strstr(text, "((") == nullptr) {
        return true;
    }
    char *names = take_list(&format, "((");
    char *values = take_list(&text, "((");
    if (names == nullptr || values == nullptr) {
        return false;
    }
    HEARTH_LOG(OSA_LOG_INFO, "parse_syscfgex_at_str LTEbandlist success.(begin_value=%s)\n",
               values);
    return parse_band_at_str(result, names, values, "LTElist") == AT_PARSE_OK;
}

bool syscfgex_groups(ResultList &list, char *format, char *text) {
    at_parse_result **tail = list.out();
    char *names = take_bracket(&format);
    char *values = take_bracket(&text);
    if (names == nullptr || values == nullptr ||
        add_group(&tail, "acqorders", names, values) != AT_PARSE_OK) {
        return false;
    }
    names = take_list(&format, "(");
    values = take_list(&text, "(");
    if (names == nullptr || values == nullptr) {
        return false;
    }
    HEARTH_LOG(OSA_LOG_INFO, "parse_syscfgex_at_str bandlist success.(begin_value=%s)\n", values);
    if (parse_band_at_str(tail, names, values, "bandlist") != AT_PARSE_OK) {
        return false;
    }
    ResultList lte;
    if (!lte_groups(lte.out(), format, text)) {
        return false;
    }
    // Required: the LTE list takes the place of all bands but the first.
    if (*tail != nullptr) {
        tail = &(*tail)->next_group;
        free_at_cmd(*tail);
    }
    *tail = lte.release();
    return true;
}

// What the two system configuration parsers share: their arguments, and one code for all failures.
int32_t parse_configuration(at_parse_result **result, const char *format, char *text,
                            const char *name, bool (*build)(ResultList &, char *, char *)) {
    if (result == nullptr || format == nullptr || text == nullptr || name == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    char names[150];
    hearth::copy_text(names, format);
    char *values = strstr(text, name);
    ResultList list;
    if (values == nullptr || !build(list, names, values)) {
        return AT_PARSE_MISMATCH;
    }
    *result = list.release();
    return AT_PARSE_OK;
}

}  // namespace

int32_t parse_sequence(at_parse_result **result, const char *format, char *text) {
    if (result == nullptr || format == nullptr || text == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    char *dash = strchr(text, '-');
    if (dash == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    *dash = '\0';
    int64_t low = hearth::to_int32(split_space(text, ' '));
    int64_t high = hearth::to_int32(split_space(dash + 1, ' '));
    if (high - low >= kLongestSequence) {
        return AT_PARSE_MISMATCH;
    }
    ResultList head;
    at_parse_result **link = head.out();
    for (int64_t number = low; number <= high; ++number) {
        at_parse_result *node = number_node(number);
        if (node == nullptr) {
            return AT_PARSE_MISMATCH;
        }
        *link = node;
        link = &node->next_field;
    }
    if (head) {
        *result = head.release();
    }
    return AT_PARSE_OK;
}

int32_t parse_band_at_str(at_parse_result **result, const char *format, char *text,
                          const char *name) {
    if (result == nullptr || format == nullptr || text == nullptr || name == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    char names[128];
    hearth::copy_text(names, format);
    strip_each(names, " ()");
    ResultList head;
    at_parse_result **tail = head.out();
    while (char *values = take_bracket(&text)) {
        int32_t code = add_group(&tail, name, names, split_space(values, ' '));
        if (code != AT_PARSE_OK) {
            return code;
        }
    }
    *result = head.release();
    return AT_PARSE_OK;
}

int32_t parse_operator_list(at_parse_result **result, const char *format, char *text,
                            const char *name) {
    if (result == nullptr || format == nullptr || text == nullptr || name == nullptr) {
        return AT_PARSE_ERROR;
    }
    char names[50];
    hearth::copy_text(names, format);
    strip_each(names, " )(");
    ResultList head;
    at_parse_result **tail = head.out();
    while (char *close = get_next_seperator(text, ')')) {
        *close = '\0';
        // The comma between two groups stands in front of the second.
        int32_t code = add_group(&tail, name, names, strip_each(text, " ,)("));
        if (code != AT_PARSE_OK) {
            return code;
        }
        text = close + 1;
    }
    if (head) {
        *result = head.release();
    }
    return AT_PARSE_OK;
}

int32_t parse_cops_at_str(at_parse_result **result, const char *format, char *text,
                          const char *name) {
    if (result == nullptr || text == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    if (format == nullptr) {
        return parse_final_result(result, text);
    }
    if (name == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    if (strstr(text, name) == nullptr) {
        return parse_final_result(result, text);
    }
    char names[150];
    hearth::copy_text(names, format);
    ResultList list;
    int32_t code = cops_groups(list, names, text);
    if (code == AT_PARSE_OK) {
        *result = list.release();
    }
    return code;
}

int32_t parse_syscfg_at_str(at_parse_result **result, const char *format, char *text,
                            const char *name) {
    return parse_configuration(result, format, text, name, syscfg_groups);
}

int32_t parse_syscfgex_at_str(at_parse_result **result, const char *format, char *text,
                              const char *name) {
    return parse_configuration(result, format, text, name, syscfgex_groups);
}

int32_t parse_sms_media(at_parse_result **result, const char *format, char *text,
                        const char *name) {
    if (result == nullptr || format == nullptr || text == nullptr || name == nullptr) {
        return AT_PARSE_MISMATCH;
    }
    char names[64];
    hearth::copy_text(names, format);
    char *cursor = names;
    const char *fields = take_bracket(&cursor);
    char *values = strstr(text, name);
    values = values != nullptr ? strchr(values + strlen(name), '(') : nullptr;
    if (fields == nullptr || values == nullptr ||
        parse_band_at_str(result, fields, values, "SmsMediaList") != AT_PARSE_OK) {
        return AT_PARSE_MISMATCH;
    }
    return AT_PARSE_OK;
}
