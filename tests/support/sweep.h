// Runs an operation with its first, second, third … call failing, coming back short or being
// interrupted, until it runs without a fault, and looks after each run at what it said, at what the
// row's own check looks at, and that it holds no more memory, descriptors and mappings than before.
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "support/faults.h"

namespace hearth::test {

struct Sweep {
    const char *name;
    std::function<void()> set_up;               // before each run; may be empty
    std::function<int32_t()> run;               // with the fault
    std::function<void(int32_t result)> check;  // after each run; gives back what is left
    int32_t good = 0;                           // the result without a fault
    std::vector<int32_t> bad = {-1};            // the results that tell of a failure
    const char *quiet = "";                     // calls whose failure is not told, by name
    uint32_t calls = kLikely;
    bool all_callers = false;  // see watch_all_callers
    bool in_child = false;     // for what a process does once; what it keeps is not looked at
};

// Prints how many faults of each row were tried, which is one at least.
void sweep_all(std::span<const Sweep> rows);

}  // namespace hearth::test
