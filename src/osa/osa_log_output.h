// The last stage of the log: a message that passed becomes a line at each of its destinations.
#pragma once

#include <stdint.h>

namespace hearth {

struct LogMessage {
    const char *name;  // of the filter entry
    const char *file;  // source path
    uint32_t line;
    uint32_t level;
    const char *text;
};

// Where lines go.
struct LogTargets {
    uint32_t where;       // sum of kLogTo*
    uint64_t size_limit;  // of the file, in KiB
};

enum : uint32_t { kLogToOutput = 1, kLogToFile = 2, kLogToOperations = 4 };

// Both are called with the log's lock held.
void print_log(const LogMessage &message, const LogTargets &targets);
void print_log_ex(const LogMessage &message, const LogTargets &targets);

}  // namespace hearth
