#include "hearth/at_comm.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>

namespace {

// The block of the last line of a text.
constexpr size_t kLastLineSize = 512;

char *copy_line(const char *from, size_t length, size_t block) {
    char *line = static_cast<char *>(malloc(block));
    if (line != nullptr) {
        memcpy(line, from, length);
        line[length] = '\0';
    }
    return line;
}

// Takes the line at `text` and moves `text` to the next one, null when this was the last.
char *take_line(const char **text, const char *marker) {
    const char *start = *text;
    // From the second character on: the first ones are this line's own marker.
    const char *next = strstr(start + 1, marker);
    *text = next;
    if (next != nullptr) {
        size_t length = static_cast<size_t>(next - start);
        return copy_line(start, length, length + 1);
    }
    return copy_line(start, std::min(strlen(start), kLastLineSize - 1), kLastLineSize);
}

}  // namespace

int32_t get_substring(const char *text, char **lines, uint32_t *count, const char *marker) {
    if (text == nullptr || lines == nullptr || count == nullptr || marker == nullptr) {
        return -1;
    }
    uint32_t limit = *count;
    *count = 0;
    while (text != nullptr && *text != '\0' && *count < limit) {
        char *line = take_line(&text, marker);
        if (line == nullptr) {
            reslease_substring(lines, *count);
            *count = 0;
            return -1;
        }
        lines[(*count)++] = line;
    }
    return 0;
}

void reslease_substring(char **lines, uint32_t count) {
    if (lines == nullptr) {
        return;
    }
    for (uint32_t i = 0; i < count; i++) {
        free(lines[i]);
        lines[i] = nullptr;
    }
}
