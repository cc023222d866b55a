// Fields between commas, on their way from a text into a chain.
#pragma once

#include <stdint.h>

namespace hearth {

// The length of the chain of a format and a text.
uint32_t field_count(const char *format, const char *text, const char *separator);

// Splits a text at commas outside double quotes into `room` fields at most, and stores their
// number. Without memory AT_RETURN_MALLOC_ERR and no field.
int32_t split_fields(const char *text, char **fields, uint32_t room, uint32_t *count);

// Frees strings and sets their places to null.
void free_strings(char **strings, uint32_t count);

}  // namespace hearth
