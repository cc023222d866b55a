// Fields between commas, on their way from a text into a chain.
#pragma once

#include <stdint.h>

namespace hearth {

// The length of the chain of a format and a text.
uint32_t field_count(const char *format, const char *text, const char *separator);

// Splits both into arrays of `length` nulls; what is beyond `length` is left out. Without memory
// AT_RETURN_MALLOC_ERR, and the array that it ran out on is all null again.
int32_t split_both(const char *format, const char *text, char **names, char **values,
                   uint32_t length);

// Splits one text in the same way and stores the number of fields.
int32_t split_fields(const char *text, char **fields, uint32_t length, uint32_t *count);

// Frees strings and sets their places to null.
void free_strings(char **strings, uint32_t count);

}  // namespace hearth
