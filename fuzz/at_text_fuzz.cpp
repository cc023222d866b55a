// The text helpers of the AT client on any text. Input: a byte for a character or a count, then
// the text.
// libFuzzer: -max_len=1600
#include <stdint.h>
#include <string.h>

#include <string>

#include "exact_copy.h"
#include "hearth/at_comm.h"
#include "hearth/at_lib.h"
#include "hearth/at_sms.h"
#include "hearth/at_utils.h"

using hearth::fuzz::Exact;
using hearth::fuzz::require;

namespace {

// A zero-terminated copy without a byte behind it.
Exact<char> copy_of(const std::string &text) {
    return {reinterpret_cast<const uint8_t *>(text.c_str()), text.size() + 1};
}

void cut_lines(const std::string &text, uint32_t limit) {
    for (const char *marker : {"^PNN", "\r\n", "+"}) {
        Exact<char *> lines(limit);
        uint32_t count = limit;
        require(get_substring(copy_of(text).get(), lines.get(), &count, marker) == 0);
        require(count <= limit);
        std::string joined;
        for (uint32_t i = 0; i < count; i++) {
            joined += lines.get()[i];
        }
        require(text.compare(0, joined.size(), joined) == 0);
        reslease_substring(lines.get(), count);
    }
}

void read_numbers(const std::string &text) {
    at_error_code code{};
    cms_to_id(copy_of(text).get(), &code);
    cme_to_id(copy_of(text).get(), &code);
    require(Error_str_to_id(copy_of(text).get()) != AT_ERR_NONE);
    test_str_num(copy_of(text).get());
    get_hex_from_str(copy_of(text).get());
    hex_str_to_uinteger(copy_of(text).get());
    safe_atoi(copy_of(text).get());
    safe_atol(copy_of(text).get());
}

void find_parts(const std::string &text, char separator) {
    const char both[] = {separator, '\0'};
    Exact<char> copy = copy_of(text);
    uint32_t count = count_separator(copy.get(), both);
    require(count <= text.size());
    require((count == 0) ==
            (separator == '\0' || get_next_seperator(copy.get(), separator) == nullptr));
    const char *rest = split_space(copy.get(), separator);
    require(separator == '\0' || *rest == '\0' ||
            (*rest != separator && rest[strlen(rest) - 1] != separator));
    At_strncasecmp(copy.get(), text.c_str(), static_cast<uint32_t>(text.size()));
}

// The caller vouches that `length` bytes follow the line end.
void take_body(const std::string &text) {
    size_t line_end = text.find("\r\n", std::min(text.find(':'), text.size()));
    size_t start = line_end == std::string::npos ? text.size() : line_end + 2;
    auto length = static_cast<uint16_t>(std::min<size_t>(text.size() - start, UINT16_MAX));
    Exact<uint8_t> body(length + size_t{1});
    hcmgr_msg_parse(copy_of(text).get(), length, body.get());
}

void unpack(const uint8_t *data, size_t size) {
    Exact<uint8_t> packed(data, size);
    Exact<uint8_t> septets(size * 8 / 7 + 1);
    require(decode_7bit(packed.get(), septets.get(), static_cast<uint32_t>(size)) == size * 8 / 7);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) {
        return 0;
    }
    std::string bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
    std::string text = bytes.c_str();
    cut_lines(text, data[0] % 16u + 1);
    read_numbers(text);
    find_parts(text, static_cast<char>(data[0]));
    take_body(text);
    unpack(data + 1, size - 1);
    return 0;
}
