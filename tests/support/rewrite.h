// What a file can hold while it is rewritten in place.
#pragma once

#include <string>

namespace hearth::test {

// Whether a file holds the front of the new content, any part of it, and behind that what stood
// there before, or nothing.
inline bool is_rewrite_state(const std::string &found, const std::string &before,
                             const std::string &after) {
    size_t same = 0;
    while (same < found.size() && same < after.size() && found[same] == after[same]) {
        same++;
    }
    std::string rest = found.substr(same);
    return rest.empty() || (same <= before.size() && before.substr(same) == rest);
}

}  // namespace hearth::test
