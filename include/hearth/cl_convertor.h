/*
 * Hearth: UCS-2, UTF-8, big-endian bytes, hexadecimal text and numbers.
 *
 * What the status numbers and the in-out lengths mean stands in cl_text.h.
 */
#ifndef HEARTH_CL_CONVERTOR_H
#define HEARTH_CL_CONVERTOR_H

#include "hearth/cl_text.h"

HEARTH_BEGIN_DECLS

/*
 * Turns UCS-2 into UTF-8, each unit by itself: surrogates are not paired. Ends at the count or
 * at a zero unit, whichever comes first.
 *   utf8    bytes and a zero byte
 *   length  in: capacity in bytes, not below count; three bytes a unit always suffice; out: bytes
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM: the length is then left as it was
 * and the whole characters that found room are terminated.
 */
HEARTH_API uint32_t cl_ucs2ToUTF8(const uint16_t *text, uint32_t count, char *utf8,
                                  uint32_t *length);

/*
 * The same, cut to a capacity: the output never ends in a broken character.
 *   utf8      room for capacity + 1 bytes; terminated
 *   capacity  bytes, not 0
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT.
 */
HEARTH_API uint32_t cl_ucs2ToUTF8ByLen(const uint16_t *text, uint32_t count, char *utf8,
                                       uint32_t capacity);

/*
 * Turns UTF-8 into UCS-2. Ends at the count or at a zero byte. Continuation bytes are not
 * tested. Sequences of four to six bytes are read whole and keep the low 16 bits of their value.
 *   text    units and a 16-bit zero
 *   length  in: capacity in units; out: units, also for CL_TEXT_BAD_UTF8
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_BAD_UTF8 and CL_TEXT_NO_ROOM: the units so
 * far are kept and terminated; without room the length is left as it was.
 */
HEARTH_API uint32_t cl_utf8ToUCS2(const char *utf8, uint32_t count, uint16_t *text,
                                  uint32_t *length);

/*
 * Writes UCS-2 units as bytes, the most significant first; not terminated.
 *   length  in: capacity, 2 * count at least; out: bytes
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_widecharToByteOrder(const uint16_t *text, uint32_t count, uint8_t *bytes,
                                           uint32_t *length);

/*
 * Reads UCS-2 units from bytes, the most significant first. A last odd byte is ignored.
 *   text    units and a 16-bit zero
 *   length  in: capacity, count / 2 + 1 at least; out: units
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_byteOrderToWideChar(const uint8_t *bytes, uint32_t count, uint16_t *text,
                                           uint32_t *length);

/*
 * Writes bytes as hexadecimal text, two upper-case digits each.
 *   text    digits and a zero byte
 *   length  in: capacity, 2 * count + 1 at least; out: digits
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_bytesToString(const uint8_t *bytes, uint32_t count, char *text,
                                     uint32_t *length);

/*
 * Reads bytes from hexadecimal text of either case. The digits are not tested: check the text
 * first where it may hold anything else. Ends at the count, at a zero byte that stands first in
 * a pair, and before a last digit without a partner.
 *   bytes   not terminated
 *   length  in: capacity, count / 2 at least; out: bytes
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_stringToBytes(const char *text, uint32_t count, uint8_t *bytes,
                                     uint32_t *length);

/*
 * Reads a number, without sign and without prefix. What exceeds 32 bits wraps.
 *   count  characters; none give 0
 *   radix  10 or 16
 *   value  stored for every text, also for CL_TEXT_BAD_ARGUMENT from a bad character
 * Characters that are no digits are skipped. Status: CL_TEXT_OK; CL_TEXT_BAD_ARGUMENT for a NULL
 * pointer, for any bad character in radix 10, and in radix 16 where the last character is bad;
 * CL_TEXT_NOT_REPRESENTABLE for another radix.
 */
HEARTH_API uint32_t cl_stringToNumeric(const char *text, uint32_t count, uint32_t radix,
                                       uint32_t *value);

HEARTH_END_DECLS

#endif
