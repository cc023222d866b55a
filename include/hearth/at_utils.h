/*
 * Hearth: text helpers of the AT client. None of them blocks or allocates.
 */
#ifndef HEARTH_AT_UTILS_H
#define HEARTH_AT_UTILS_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* As strcpy(3). Returns `to`; null, with nothing copied, when either argument is null. */
HEARTH_API char *safe_strcpy(char *to, const char *from);

/* As strncpy(3), for `size` bytes. Returns `to`; null when either pointer is null. */
HEARTH_API char *safe_strncpy(char *to, const char *from, size_t size);

/* As strcmp(3). Two nulls give 0, a null `a` -1, a null `b` 1. */
HEARTH_API int32_t safe_strcmp(const char *a, const char *b);

/* As atoi(3); null gives 0. What overflows keeps its low 32 bits. */
HEARTH_API int32_t safe_atoi(const char *text);

/* As atol(3); null gives 0. */
HEARTH_API long safe_atol(const char *text);

/*
 * Compares two texts without regard to ASCII case until `count` bytes are compared, a pair
 * differs or a text ends; the first pair is always compared.
 * Returns the difference of the last pair, 0 when either text is null.
 */
HEARTH_API int32_t At_strncasecmp(const char *a, const char *b, uint32_t count);

/* Removes every leading and trailing `ch` of a text in place. Returns the text; null stays null. */
HEARTH_API char *split_space(char *text, char ch);

/*
 * Counts a separator outside double quotation marks.
 *   separator  its first character is the separator
 * Returns the count, 0 when either argument is null.
 */
HEARTH_API uint32_t count_separator(const char *text, const char *separator);

/*
 * Finds the next `ch` outside double quotation marks.
 * Returns a pointer into the text; null when there is none, for a null text and when `ch` is the
 * quotation mark.
 */
HEARTH_API char *get_next_seperator(const char *text, char ch);

/* Returns 0 when all bytes of a text are decimal digits or it is empty, -1 otherwise and for
 * null. */
HEARTH_API int32_t test_str_num(const char *text);

/*
 * Value of a hexadecimal digit.
 *   digit  a byte above 0x60 is replaced by its upper case, 0x20 below
 * Returns the value of a decimal digit, the byte less 0x37 for any other byte, -1 for null.
 */
HEARTH_API int32_t char_to_hex(char *digit);

/*
 * Value of a hexadecimal text, which is turned into upper case. Letters beyond "F" count as
 * char_to_hex has them.
 * Returns the low 32 bits of the value, -1 for null and when a byte is neither digit nor letter.
 */
HEARTH_API int32_t get_hex_from_str(char *text);

/* Returns the value of a hexadecimal text of either case, its low 64 bits; 0 for null and for a
 * bad character. */
HEARTH_API uint64_t hex_str_to_uinteger(const char *text);

/*
 * Unpacks GSM 7-bit packing.
 *   packed  `size` octets
 *   output  room for size * 8 / 7 + 1 bytes; receives one septet a byte and a terminator
 *   size    octets to unpack
 * Returns the number of septets, 0 for null.
 */
HEARTH_API uint32_t decode_7bit(const uint8_t *packed, uint8_t *output, uint32_t size);

HEARTH_END_DECLS

#endif
