// Building and releasing AT result lists.
#pragma once

#include <stdlib.h>
#include <string.h>

#include "base/guard.h"
#include "hearth/at_parse.h"

namespace hearth {

// A result list, released at the end of the scope.
using ResultList = Owned<at_parse_result, free_at_cmd>;

// An empty node; null without memory.
inline at_parse_result *new_node() {
    at_parse_result *node = static_cast<at_parse_result *>(malloc(sizeof(at_parse_result)));
    if (node != nullptr) {
        *node = {};
    }
    return node;
}

}  // namespace hearth
