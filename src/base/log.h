// The log macro. A file that logs defines kLogSource once, in an anonymous namespace:
//     constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_lib"};
#pragma once

#include "hearth/osa_log.h"

namespace hearth {

struct LogSource {
    const char *module;
    const char *path;
};

}  // namespace hearth

#define HEARTH_LOG(level, ...) \
    osa_print_log_ex(kLogSource.module, kLogSource.path, __LINE__, (level), __VA_ARGS__)
