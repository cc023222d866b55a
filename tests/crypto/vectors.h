// Test vectors from data files. A file has stretches, each headed by a line "title: ..." and a line
// "source: ...", of rows whose fields stand between " | ". A field of bytes is hexadecimal, 'text',
// COUNT*'text', pattern:LENGTH or "-" for none.
#pragma once

#include <gtest/gtest.h>
#include <stdint.h>

#include <fstream>
#include <string>
#include <vector>

namespace hearth::test {

using Bytes = std::vector<uint8_t>;

struct VectorRow {
    std::string title;
    std::vector<std::string> fields;
};

// Byte i of the pattern is the low byte of 7 i + 3.
inline Bytes pattern(size_t length) {
    Bytes bytes(length);
    for (size_t i = 0; i < length; i++) {
        bytes[i] = static_cast<uint8_t>(i * 7 + 3);
    }
    return bytes;
}

inline Bytes bytes_of(const std::string &field) {
    size_t quote = field.find('\'');
    Bytes bytes;
    if (field.starts_with("pattern:")) {
        return pattern(std::stoul(field.substr(8)));
    }
    if (quote != std::string::npos) {
        std::string text = field.substr(quote + 1, field.size() - quote - 2);
        for (size_t left = quote == 0 ? 1 : std::stoul(field); left > 0; left--) {
            bytes.insert(bytes.end(), text.begin(), text.end());
        }
        return bytes;
    }
    for (size_t i = 0; i + 1 < field.size(); i += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoul(field.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

inline std::vector<VectorRow> load_vectors(const std::string &name) {
    std::ifstream file(HEARTH_SOURCE_DIR "/tests/crypto/vectors/" + name);
    std::vector<VectorRow> rows;
    std::string line, title;
    while (std::getline(file, line)) {
        if (line.starts_with("title: ")) {
            title = line.substr(7);
        } else if (!line.starts_with("source: ")) {
            VectorRow row{title, {}};
            for (size_t end = 0; end != std::string::npos;) {
                end = line.find(" | ");
                row.fields.push_back(line.substr(0, end));
                line.erase(0, end == std::string::npos ? end : end + 3);
            }
            rows.push_back(row);
        }
    }
    EXPECT_FALSE(rows.empty()) << name;
    return rows;
}

}  // namespace hearth::test
