// Full paths in buffers of a known size.
#pragma once

#include <stddef.h>
#include <string.h>

#include "hearth/osa_file.h"

namespace hearth {

// What osa_getfullpath puts in front: the web root and, where the path has none, a "/".
inline constexpr size_t kFullPathPrefix = sizeof "/app/webroot";

// osa_getfullpath into `capacity` bytes. False when the path is null or might not fit; nothing is
// written then.
inline bool full_path(const char *path, char *out, size_t capacity) {
    if (path != nullptr && strlen(path) + kFullPathPrefix >= capacity) {
        return false;
    }
    return osa_getfullpath(path, out) == 0;
}

template <size_t N>
bool full_path(const char *path, char (&out)[N]) {
    return full_path(path, out, N);
}

}  // namespace hearth
