// How every text function begins.
#pragma once

#include "hearth/cl_text.h"

namespace hearth::text {

// True when the arguments will do. Otherwise the length, where there is one, is set to 0.
inline bool arguments_hold(const void *input, uint32_t count, const void *output,
                           uint32_t *length) {
    if (input != nullptr && count != 0 && output != nullptr && length != nullptr) {
        return true;
    }
    if (length != nullptr) {
        *length = 0;
    }
    return false;
}

// The status of the tests that most functions begin with: a capacity below `needed` has no room.
inline uint32_t check_arguments(const void *input, uint32_t count, const void *output,
                                uint32_t *length, uint64_t needed) {
    if (!arguments_hold(input, count, output, length)) {
        return CL_TEXT_BAD_ARGUMENT;
    }
    return *length < needed ? CL_TEXT_NO_ROOM : CL_TEXT_OK;
}

}  // namespace hearth::text
