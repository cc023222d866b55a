// A small configuration tree in the device root, and the two calls of the device's closed library
// that the configuration asks.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace hearth::test {

inline const std::string kUserTree = "/app/webroot/data/userdata/";
inline const std::string kNextTree = "/app/webroot/data/userdata1/";
inline const std::string kFactoryTree = "/app/webroot/WebApp/common/factory/";

inline void write_text(const std::string &path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string read_text(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Writes the "config.xml" of a layer's directory with the given elements below the root.
inline void write_config(const std::string &layer_directory, const std::string &elements) {
    write_text(layer_directory + "/config.xml", "<config>" + elements + "</config>");
}

}  // namespace hearth::test
