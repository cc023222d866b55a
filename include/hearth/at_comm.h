/*
 * Hearth: responses of several lines.
 */
#ifndef HEARTH_AT_COMM_H
#define HEARTH_AT_COMM_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/*
 * Cuts a text into lines, each of which begins at a marker, the first one at the start of the
 * text. Does not block.
 *   text    the text; not changed
 *   lines   room for *count pointers; receives the lines, each a block from malloc
 *   count   in: the most lines that are made; out: the lines that were made
 *   marker  text that begins a line, such as "^PNN"
 * The last line is cut to 511 bytes. An empty text has no line. Returns 0, or -1 for null and
 * without memory, with no line made. Release the lines with reslease_substring.
 */
HEARTH_API int32_t get_substring(const char *text, char **lines, uint32_t *count,
                                 const char *marker);

/* Frees lines and sets their pointers to null; a null among them is ignored. Returns nothing. */
HEARTH_API void reslease_substring(char **lines, uint32_t count);

HEARTH_END_DECLS

#endif
