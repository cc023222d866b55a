// The name of the service provider: from the modem's coding to UTF-8.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace hearth::at {

// Bytes of a name with its terminator: as the modem codes it, and of its UTF-8 form, which has at
// most 31 characters of three bytes.
constexpr size_t kSpnSize = 33;
constexpr size_t kSpnUtf8Size = 31 * 3 + 1;

// Writes the UTF-8 form of a name. False when it has none.
bool handle_spn_name(int32_t coding, const char (&name)[kSpnSize], char (&out)[kSpnUtf8Size]);

}  // namespace hearth::at
