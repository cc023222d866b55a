/*
 * Hearth: small helpers for text. Letters are those of ASCII, whatever the locale.
 *
 * None of these functions blocks; all may be called from any thread.
 */
#ifndef HEARTH_OSA_STRING_H
#define HEARTH_OSA_STRING_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/*
 * Compares two texts byte by byte without regard to case.
 * Returns 0 for equal texts, otherwise the difference of the first pair of bytes that differ, in
 * lower case; -1 for a null pointer.
 */
HEARTH_API int32_t osa_stricmp(const char *a, const char *b);

/* Turns a text into lower case, in place. Returns `text`. */
HEARTH_API char *osa_strlwr(char *text);

/*
 * A copy of `text` in which the first `old` is replaced. An empty `old` stands before the first
 * character.
 * Returns the new text, which the caller frees; NULL for a null pointer, when `old` is not in the
 * text, and when memory is out.
 */
HEARTH_API HEARTH_MUST_CHECK char *osa_str_replace(const char *text, const char *old,
                                                   const char *replacement);

/*
 * Writes the characters of `source` in reverse order.
 *   target  receives strlen(source) characters and no terminator: clear it beforehand
 *   size    capacity of `target` in bytes, which must be greater than strlen(source)
 * Returns 0, or -1 with nothing written.
 */
HEARTH_API int32_t osa_string_reverse(const char *source, char *target, uint32_t size);

/*
 * Looks for a script tag in one of its four escaped forms, in upper or lower case.
 *   body    of a web request; what stands behind a NUL is not looked at
 *   length  bytes of it
 * Returns 0 for a clean or empty body, -1 when a tag is in it, -2 when memory is out.
 */
HEARTH_API int32_t osa_check_restful_body(const char *body, uint32_t length);

HEARTH_END_DECLS

#endif
