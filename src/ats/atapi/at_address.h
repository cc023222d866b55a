// IPv4 addresses as the modem writes them: up to eight hexadecimal digits.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace hearth::at {

constexpr size_t kAddressSize = 16;

// Dotted text in the order of the digits; what is left out on the left counts as 0. Returns 0, or
// -1 for a null or longer text, and then the output is left alone.
int32_t convert_ip_to_string(const char *digits, char (&out)[kAddressSize]);

// Stores an address in the order of the digits, or in the reverse one, which is the usual order
// where the modem puts the least significant byte first.
void store_address(void *field, size_t width, const char *value);
void store_reversed_address(void *field, size_t width, const char *value);

}  // namespace hearth::at
