/*
 * Hearth: Base64 with the alphabet of RFC 4648, without line breaks.
 *
 * What the status numbers and the in-out lengths mean stands in cl_text.h. Input and output may
 * begin at the same place.
 */
#ifndef HEARTH_CL_BASE64_H
#define HEARTH_CL_BASE64_H

#include "hearth/cl_text.h"

HEARTH_BEGIN_DECLS

/*
 * Writes bytes as Base64 text; not terminated. For a text of more than some hundred characters it
 * takes a work buffer from the heap for the length of the call.
 *   count   bytes
 *   length  in: capacity; out: characters, a multiple of 4
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM, CL_TEXT_BASE64_FAILED without
 * memory.
 */
HEARTH_API uint32_t cl_base64Encode(const uint8_t *bytes, uint32_t count, char *text,
                                    uint32_t *length);

/*
 * Reads Base64 text.
 *   text    ends at the first "=" or at its zero byte, which it must have
 *   count   not 0, otherwise ignored
 *   bytes   not terminated
 *   length  in: capacity; out: bytes
 * Characters that fill no group of four are dropped. A character outside the alphabet goes
 * unnoticed and leaves its group misaligned.
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM, CL_TEXT_BASE64_FAILED for a text
 * of less than one group.
 */
HEARTH_API uint32_t cl_base64Decode(const char *text, uint32_t count, uint8_t *bytes,
                                    uint32_t *length);

HEARTH_END_DECLS

#endif
