// The five characters that a document cannot hold as they are.
#pragma once

#include <string_view>

namespace hearth::xml {

// What stands for a character in a document; empty for one that needs nothing.
constexpr std::string_view escape_of(char c) {
    switch (c) {
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '&':
            return "&amp;";
        case '\'':
            return "&apos;";
        case '"':
            return "&quot;";
        default:
            return {};
    }
}

// Takes the next piece of an escaped text off `rest`, which is not empty: the characters up to the
// next one that needs an escape, or that escape.
inline std::string_view next_escaped(std::string_view *rest) {
    std::string_view escape = escape_of(rest->front());
    if (!escape.empty()) {
        rest->remove_prefix(1);
        return escape;
    }
    std::string_view plain = rest->substr(0, rest->find_first_of("<>&'\""));
    rest->remove_prefix(plain.size());
    return plain;
}

}  // namespace hearth::xml
