// What the processor offers beyond the baseline that the library is compiled for.
#pragma once

#include <stdint.h>

namespace hearth {

constexpr uint32_t kCpuAsked = 1;   // the processor has been asked
constexpr uint32_t kCpuSha256 = 2;  // instructions for SHA-256
constexpr uint32_t kCpuCrc32 = 4;   // carry-less multiplication (x86) or CRC instructions (ARM)

// A set of the bits above. Asks the processor once.
uint32_t cpu_features();

}  // namespace hearth
