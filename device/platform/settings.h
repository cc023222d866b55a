// The settings of the desk: "NAME=VALUE" lines of /data/platform.conf, each overridden by an
// environment variable.
#pragma once

#include <stdlib.h>

#include <fstream>
#include <string>

namespace hearth::platform {

inline constexpr const char *kSettings = "/data/platform.conf";

// Empty where neither the variable nor the file has it.
inline std::string setting(const std::string &name, const char *variable) {
    if (const char *value = getenv(variable)) {
        return value;
    }
    std::ifstream file(kSettings);
    std::string line;
    while (std::getline(file, line)) {
        if (line.starts_with(name + "=")) {
            return line.substr(name.size() + 1);
        }
    }
    return {};
}

}  // namespace hearth::platform
