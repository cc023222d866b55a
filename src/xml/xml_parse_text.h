// References in the texts of a document.
#pragma once

#include <stddef.h>

namespace hearth::xml {

// Copies `length` bytes with their references resolved; `to` has room for as many. Returns the
// end of the copy, or NULL for an "&" that is no reference.
char *copy_decoded(const char *from, size_t length, char *to);

}  // namespace hearth::xml
