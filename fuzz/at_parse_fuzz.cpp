// Replies through the parser of any table, row and action, and through the parsers with a format
// of the fuzzer's own. Input: table, row, action, then the text; beyond the last table the text
// begins with a format that ends at its first zero byte.
// libFuzzer: -max_len=1600 -dict=fuzz/at.dict
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include <memory>
#include <string>

#include "hearth/at_handlers.h"
#include "hearth/at_parse.h"

namespace {

void check(bool holds) {
    if (!holds) {
        abort();
    }
}

// A block of exact size, so that a sanitizer sees a step beyond the text.
std::unique_ptr<char[]> copy_of(const std::string &text) {
    std::unique_ptr<char[]> copy(new char[text.size() + 1]);
    copy[text.copy(copy.get(), text.size())] = '\0';
    return copy;
}

void parse_by_table(uint32_t table, uint32_t position, uint32_t action, const std::string &text) {
    const at_cfg_handler *rows = parse_func_type(table);
    uint32_t count = 0;
    while (rows[count].AtName != nullptr) {
        ++count;
    }
    const char *key = count == 0 ? "+CREG" : rows[position % count].AtName;
    // Both with the key in front, which most texts would never hit upon, and as it came.
    for (const std::string &reply : {key + text, text}) {
        std::unique_ptr<char[]> copy = copy_of(reply);
        at_parse_result *list = nullptr;
        int32_t code = at_cmd_parse(&list, key, copy.get(), table, action);
        check(code <= 0 && code >= AT_RETURN_MALLOC_ERR);
        check(code == AT_PARSE_OK || list == nullptr);
        print_operator(list);
        free_at_cmd(list);
    }
}

void parse_by_format(uint32_t position, const std::string &format, const std::string &text) {
    constexpr at_parse_func kParsers[] = {
        parse_common_at_str,
        parse_soft_str,
        parse_sms_cmgr_at_str,
        parse_cmgi_list_at_str,
        parse_sms_index_list_at_str,
        parse_operator_list,
        parse_cops_at_str,
        parse_band_at_str,
        parse_syscfg_at_str,
        parse_syscfgex_at_str,
        parse_sms_media,
    };
    std::unique_ptr<char[]> copy = copy_of(text);
    at_parse_result *list = nullptr;
    int32_t code = kParsers[position % (sizeof kParsers / sizeof kParsers[0])](
        &list, format.c_str(), copy.get(), "");
    check(code == AT_PARSE_OK || list == nullptr);
    free_at_cmd(list);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 3) {
        return 0;
    }
    std::string text(reinterpret_cast<const char *>(data) + 3, size - 3);
    if (data[0] < AT_TABLE_COUNT) {
        parse_by_table(data[0], data[1], data[2] % 4, text.c_str());
    } else {
        std::string format = text.c_str();
        size_t behind = format.size() < text.size() ? format.size() + 1 : text.size();
        parse_by_format(data[1], format, text.c_str() + behind);
    }
    return 0;
}
