// What the library's result numbers mean, as data.
#pragma once

#include <cstdint>
#include <span>

namespace hearth::tool {

struct Meaning {
    int64_t number;
    const char *name;
    const char *text;
};

struct Facility {
    const char *name;
    std::span<const Meaning> meanings;
};

extern const Facility kConfigResults;
extern const Facility kXmlResults;
extern const Facility kTableResults;
extern const Facility kTextResults;
extern const Facility kGzResults;
extern const Facility kAtResults;   // of the command functions
extern const Facility kAtErrors;    // error ids
extern const Facility kAtOutcomes;  // Ret_val
extern const Facility kBusResults;

// The row of a number, or null.
const Meaning *meaning_of(const Facility &facility, int64_t number);

}  // namespace hearth::tool
