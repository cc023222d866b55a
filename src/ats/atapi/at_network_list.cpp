// Network commands whose replies hold lists.
#include <stdio.h>
#include <string.h>

#include "ats/atapi/at_exchange.h"
#include "hearth/at_network.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_network"};
constexpr uint32_t kNetwork = 1;
constexpr uint32_t kSystem = 15;
bool is_named(const at_parse_result *group, const char *name) {
    return safe_strcmp(group->AtFieldName, name) == 0;
}

// A search of the whole air takes minutes.
constexpr int32_t kSearchSeconds = 240;

constexpr Argument kSelectArguments[] = {
    AT_ARGUMENT(at_cops_info, mode), AT_ARGUMENT(at_cops_info, format),
    AT_ARGUMENT(at_cops_info, oper), AT_ARGUMENT(at_cops_info, rat)};
constexpr Member kSelect = member({.command = "AT+COPS=%s,%s,\"%s\"",
                                   .arguments = std::span(kSelectArguments).first(3),
                                   .match = "+COPS:",
                                   .timeout = kSearchSeconds,
                                   .refusal = Refusal::kMap,
                                   .err = AT_ERR(at_operators)});
constexpr Member kSelectWithRat = member({.command = "AT+COPS=%s,%s,\"%s\",%s",
                                          .arguments = kSelectArguments,
                                          .match = "+COPS:",
                                          .timeout = kSearchSeconds,
                                          .refusal = Refusal::kMap,
                                          .err = AT_ERR(at_operators)});
constexpr Field kOperatorFields[] = {AT_FIELD(at_operator, stat), AT_FIELD(at_operator, long_oper),
                                     AT_FIELD(at_operator, short_oper),
                                     AT_FIELD(at_operator, numeric_oper),
                                     AT_FIELD(at_operator, rat)};
constexpr Member kSearch = member({.command = "AT+COPS=?",
                                   .match = "+COPS:",
                                   .timeout = kSearchSeconds,
                                   .refusal = Refusal::kMap,
                                   .key = "+COPS",
                                   .table = kNetwork,
                                   .action = AT_ACTION_TEST,
                                   .fields = kOperatorFields,
                                   .err = AT_ERR(at_operators)});

bool sends_rat(const at_cops_info &in) {
    for (const char *rat : {"0", "2", "7"}) {
        if (strncmp(in.rat, rat, sizeof in.rat) == 0) {
            return true;
        }
    }
    return false;
}

void fill_operators(const at_parse_result *group, at_operator_list *list) {
    constexpr int32_t kMaxOperators = sizeof list->entries / sizeof list->entries[0];
    int32_t count = 0;
    for (; group != nullptr && is_named(group, "option"); group = group->next_group) {
        if (count == kMaxOperators) {
            HEARTH_LOG(OSA_LOG_WARNING, "AT+COPS=? return too many operators(>20)!\n");
            break;
        }
        fill(kOperatorFields, group->next_field, &list->entries[count]);
        count++;
    }
    list->count = count;
}

int32_t search_operators(at_operators *out) {
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kSearch, &message, out, nullptr, &result)) {
        return result;
    }
    // A reply that cannot be read leaves -2 too: required.
    out->err = AT_ERR_NONE;
    hearth::ResultList groups = parse(kSearch, &message);
    if (!groups) {
        return -1;
    }
    fill_operators(groups.get(), out->list);
    return 0;
}

constexpr Member kOpl = member({.command = "AT^OPL=%d",
                                .arguments = kNumber,
                                .multi_line = 1,
                                .refusal = Refusal::kMap,
                                .err = AT_ERR(at_opl_list)});
constexpr Field kOplFields[] = {AT_FIELD(at_opl_entry, numeric), AT_FIELD(at_opl_entry, index)};
constexpr Member kOplLine =
    member({.key = "^OPL", .table = kSystem, .fields = kOplFields, .source = &kLogSource});
constexpr LineList kOplLines{.marker = "^OPL",
                             .limit = 512,
                             .entry_size = sizeof(at_opl_entry),
                             .no_line = {OSA_LOG_INFO, "get opl list number is zero\n"},
                             .no_memory = {OSA_LOG_ERROR, "opllist->opl_list osa_malloc error\n"}};

constexpr Argument kPnnArguments[] = {AT_ARGUMENT(at_pnn_req, first),
                                      AT_ARGUMENT(at_pnn_req, second)};
constexpr Member kPnnOfTwo =
    member({.command = "AT^PNN=%d,%d", .arguments = kPnnArguments, .multi_line = 1});
constexpr Member kPnnOfOne = member(
    {.command = "AT^PNN=%d", .arguments = std::span(kPnnArguments).first(1), .multi_line = 1});
// A second number below -1 sends an empty command. Required.
constexpr Member kPnnOfNone = member({.multi_line = 1});
constexpr Field kPnnFields[] = {AT_FIELD(at_pnn_entry, long_name),
                                AT_FIELD(at_pnn_entry, short_name),
                                AT_FIELD(at_pnn_entry, reserved)};
constexpr Member kPnnLine = member({.key = "^PNN",
                                    .table = kSystem,
                                    .fields = kPnnFields,
                                    .err = AT_ERR(at_pnn_entry),
                                    .source = &kLogSource});
constexpr LineList kPnnLines{.marker = "^PNN",
                             .limit = 512,
                             .entry_size = sizeof(at_pnn_entry),
                             .zero_count_without_memory = true,
                             .no_line = {OSA_LOG_ERROR, "AT_GetPnnList get_substring error\n"},
                             .no_memory = {OSA_LOG_ERROR, "AT_GetPnnList osa_malloc error\n"}};

const Member &pnn_member(int32_t second) {
    if (second >= 0) {
        return kPnnOfTwo;
    }
    return second == -1 ? kPnnOfOne : kPnnOfNone;
}

constexpr int32_t kMaxValues = 10;
constexpr int32_t kMaxBands = 20;

constexpr Member kSyscfgTest = member({.command = "AT^SYSCFG=?",
                                       .match = "^SYSCFG",
                                       .key = "^SYSCFG",
                                       .table = kNetwork,
                                       .action = AT_ACTION_TEST,
                                       .err = AT_ERR(at_syscfg_test)});
constexpr Member kSyscfgexTest = member({.command = "AT^SYSCFGEX=?",
                                         .match = "^SYSCFGEX",
                                         .key = "^SYSCFGEX",
                                         .table = kNetwork,
                                         .action = AT_ACTION_TEST,
                                         .err = AT_ERR(at_syscfgex_test)});
constexpr Field kBandFields[] = {AT_FIELD(at_band, band), AT_FIELD(at_band, band_name)};
constexpr Field kLtebandFields[] = {AT_FIELD(at_lteband, lteband),
                                    AT_FIELD(at_lteband, lteband_name)};

void too_many_modes() {
    HEARTH_LOG(OSA_LOG_ERROR, "modes list is too many\n");
}

void too_many_acqorders() {
    puts("acqorder list is too many");
}

// Stores the values of a group that are there, at most ten. Returns their number.
int32_t store_numbers(const at_parse_result *group, int32_t *numbers, void (*too_many)()) {
    int32_t count = 0;
    for (const at_parse_result *node = group->next_field; node != nullptr;
         node = node->next_field) {
        if (node->AtFieldValue == nullptr) {
            continue;
        }
        if (count == kMaxValues) {
            too_many();
            break;
        }
        numbers[count++] = safe_atoi(node->AtFieldValue);
    }
    return count;
}

void fill_syscfg(const at_parse_result *group, at_syscfg_test *record) {
    int32_t bands = 0;
    for (; group != nullptr && bands < kMaxBands; group = group->next_group) {
        if (is_named(group, "modes")) {
            record->mode_count = store_numbers(group, record->modes, too_many_modes);
        } else if (is_named(group, "acqorders")) {
            record->acqorder_count = store_numbers(group, record->acqorders, too_many_acqorders);
        } else if (is_named(group, "bandlist")) {
            fill(kBandFields, group->next_field, &record->bands[bands]);
            record->band_count = ++bands;
        }
    }
}

void store_acqorders(const at_parse_result *group, at_syscfgex_test *record) {
    int32_t count = 0;
    for (const at_parse_result *node = group->next_field; node != nullptr;
         node = node->next_field) {
        if (node->AtFieldValue == nullptr) {
            continue;
        }
        if (count == kMaxValues) {
            HEARTH_LOG(OSA_LOG_ERROR, "acqorder list is too many\n");
            break;
        }
        store_text(record->acqorders[count++], sizeof record->acqorders[0], node->AtFieldValue);
    }
    record->acqorder_count = count;
}

void fill_syscfgex(const at_parse_result *group, at_syscfgex_test *record) {
    for (; group != nullptr; group = group->next_group) {
        if (is_named(group, "acqorders")) {
            store_acqorders(group, record);
        } else if (is_named(group, "bandlist")) {
            if (record->band_count == kMaxBands) {
                HEARTH_LOG(OSA_LOG_ERROR, "syscfgex band list is too many\n");
                continue;
            }
            fill(kBandFields, group->next_field, &record->bands[record->band_count++]);
        } else if (is_named(group, "LTElist")) {
            if (record->lteband_count == kMaxBands) {
                HEARTH_LOG(OSA_LOG_ERROR, "syscfgex lte band list is too many\n");
                continue;
            }
            fill(kLtebandFields, group->next_field, &record->ltebands[record->lteband_count++]);
        }
    }
}

// The exchange of a test command, whose groups go through `fill_groups`.
template <typename Record>
int32_t run_test(const Member &test, Record *record,
                 void (*fill_groups)(const at_parse_result *, Record *)) {
    at_server_msg message;
    int32_t result = 0;
    if (!ask(test, &message, record, nullptr, &result)) {
        return result;
    }
    hearth::ResultList groups = parse(test, &message);
    if (!groups) {
        return -1;
    }
    clear_err(test, record);
    fill_groups(groups.get(), record);
    return 0;
}

}  // namespace

int32_t AT_ChoseOperators(int32_t action, const at_cops_info *in, at_operators *out) {
    if (out == nullptr) {
        return -1;
    }
    if (action == 1 && in != nullptr) {
        return run(sends_rat(*in) ? kSelectWithRat : kSelect, out, in);
    }
    return action == 2 && out->list != nullptr ? search_operators(out) : -1;
}

int32_t AT_GetOPList(int32_t number, at_opl_list *record) {
    at_server_msg message;
    int32_t result = -1;
    if (record == nullptr || !ask(kOpl, &message, record, &number, &result)) {
        return result;
    }
    record->err = AT_ERR_NONE;
    if (message.report[0] == '\0') {
        return 0;
    }
    void *list = nullptr;
    result = fill_lines(kOplLine, kOplLines, &message, &list, &record->count);
    record->opl_list = static_cast<at_opl_entry *>(list);
    return result;
}

int32_t AT_GetPnnList(const at_pnn_req *in, uint32_t *count, at_pnn_entry **list) {
    if (in == nullptr || count == nullptr || list == nullptr) {
        return -1;
    }
    at_server_msg message;
    int32_t result = -1;
    if (!ask(pnn_member(in->second), &message, nullptr, in, &result)) {
        return result;
    }
    if (message.report[0] == '\0') {
        *count = 0;
        return 0;
    }
    void *entries = nullptr;
    result = fill_lines(kPnnLine, kPnnLines, &message, &entries, count);
    *list = static_cast<at_pnn_entry *>(entries);
    return result;
}

int32_t AT_Syscfg_test(at_syscfg_test *record) {
    return record == nullptr ? -1 : run_test(kSyscfgTest, record, fill_syscfg);
}

int32_t AT_Syscfgex_test(at_syscfgex_test *record) {
    if (record == nullptr) {
        return -1;
    }
    *record = {};
    return run_test(kSyscfgexTest, record, fill_syscfgex);
}
