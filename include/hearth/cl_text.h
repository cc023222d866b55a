/*
 * Hearth: what the text functions have in common.
 *
 * All of them are pure: they work on the caller's buffers, block on nothing, and may be called
 * from any thread at the same time.
 *
 * UCS-2 text is an array of uint16_t in the host's byte order. A length that is passed as a
 * pointer is a capacity going in and the count produced coming out, in bytes or in 16-bit units
 * as the buffer has them. The capacity does not count the terminator, which a function that
 * terminates its output writes one element past the count: the buffer holds one element more
 * than its capacity. Where a function needs more room than that, it says so.
 *
 * Input and output may not overlap.
 */
#ifndef HEARTH_CL_TEXT_H
#define HEARTH_CL_TEXT_H

#include "hearth/api.h"

/* Status of the text functions. */
enum {
    CL_TEXT_OK = 0,
    /* A NULL pointer or an input of length 0. A length that was passed as a pointer is now 0. */
    CL_TEXT_BAD_ARGUMENT = 1,
    /* A septet without a character. */
    CL_TEXT_NO_CHARACTER = 2,
    /* The character is not in the alphabet or the table that was searched. */
    CL_TEXT_NOT_IN_ALPHABET = 3,
    /* A byte that no UTF-8 sequence starts with, or a sequence that the text cuts off. */
    CL_TEXT_BAD_UTF8 = 4,
    /* The capacity is 0 or too small, or septets end behind an escape. */
    CL_TEXT_NO_ROOM = 6,
    CL_TEXT_NO_MEMORY = 7,
    /* The text does not fit the form that was asked for, or the coding or radix is unknown. */
    CL_TEXT_NOT_REPRESENTABLE = 8,
    /* A character without a septet, or a byte that is no septet. */
    CL_TEXT_NO_SEPTET = 11
};

/* The one status of a Base64 text that cannot be made or read. */
#define CL_TEXT_BASE64_FAILED ((uint32_t)-1)

#endif
