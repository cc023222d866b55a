// Scenario files: how a simulated modem begins and what happens to it. TOML, checked key by key;
// docs/scenario.md tells every table and key.
#pragma once

#include <stdexcept>
#include <string>

#include "sim_state.h"

namespace hearth::device {

// Tells file, line and what was expected.
struct ScenarioError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Reads a scenario file; throws ScenarioError.
SimState read_scenario(const std::string &path);

}  // namespace hearth::device
