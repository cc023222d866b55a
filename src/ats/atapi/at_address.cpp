#include "ats/atapi/at_address.h"

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string_view>

#include "base/log.h"
#include "base/text.h"
#include "hearth/at_utils.h"

namespace hearth::at {

namespace {

constexpr LogSource kLogSource{"ats", "ats/atapi/at_ndis"};
constexpr size_t kDigits = 8;

// Turns a dotted address round in place.
int32_t reverse_ip_addr_to_normal(char (&text)[kAddressSize]) {
    HEARTH_LOG(OSA_LOG_INFO, "the input ip is :[%s]!\n", text);
    int parts[4] = {};
    if (sscanf(text, "%d.%d.%d.%d", &parts[0], &parts[1], &parts[2], &parts[3]) != 4) {
        return -1;
    }
    format_text(text, sizeof text, "%d.%d.%d.%d", parts[3], parts[2], parts[1], parts[0]);
    HEARTH_LOG(OSA_LOG_INFO, "the output ip is :[%s]!\n", text);
    return 0;
}

}  // namespace

int32_t convert_ip_to_string(const char *digits, char (&out)[kAddressSize]) {
    if (digits == nullptr || strlen(digits) > kDigits) {
        return -1;
    }
    char padded[kDigits + 1] = "00000000";
    size_t count = strlen(digits);
    std::copy_n(digits, count, padded + kDigits - count);
    int32_t parts[4];
    for (size_t i = 0; i < 4; i++) {
        int32_t high = char_to_hex(&padded[2 * i]);
        parts[i] = high * 16 + char_to_hex(&padded[2 * i + 1]);
    }
    format_text(out, sizeof out, "%d.%d.%d.%d", parts[0], parts[1], parts[2], parts[3]);
    return 0;
}

void store_address(void *field, size_t width, const char *value) {
    char address[kAddressSize];
    if (convert_ip_to_string(value, address) == 0) {
        copy_text(static_cast<char *>(field), width, address);
    }
}

void store_reversed_address(void *field, size_t width, const char *value) {
    char address[kAddressSize];
    if (convert_ip_to_string(value, address) == 0 && reverse_ip_addr_to_normal(address) == 0) {
        copy_text(static_cast<char *>(field), width, address);
    }
}

}  // namespace hearth::at
