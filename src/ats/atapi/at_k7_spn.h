// The name of the service provider: from the modem's coding to UTF-8.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace hearth::at {

// Bytes of a name with its terminator.
constexpr size_t kSpnSize = 33;

// Writes the UTF-8 form of a name over it, at most 31 characters. False when it has none.
bool handle_spn_name(int32_t coding, char (&name)[kSpnSize]);

}  // namespace hearth::at
