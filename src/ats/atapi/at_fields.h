// Fields between commas, on their way from a text into a chain.
#pragma once

#include <stdint.h>

namespace hearth {

// The length of the chain of a format and a text.
uint32_t field_count(const char *format, const char *text, const char *separator);

// How many fields a text has.
struct FieldCounts {
    uint32_t stored;  // the strings that were stored
    uint32_t places;  // one for each comma, and one; a place at the very end may hold nothing
};

// Splits a text at commas outside double quotes, in one pass. What is beyond `room` fields is left
// out, and `places` is then greater than `room`. Without memory AT_RETURN_MALLOC_ERR and no field.
int32_t split_fields(const char *text, char **fields, uint32_t room, FieldCounts *counts);

// Frees strings and sets their places to null.
void free_strings(char **strings, uint32_t count);

}  // namespace hearth
