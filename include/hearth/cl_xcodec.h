/*
 * Hearth: the UCS-2 forms of SIM records, and texts in the quoted strings of AT commands.
 *
 * Form 80 is plain big-endian UCS-2. Forms 81 and 82 take a byte a character: a septet of the
 * default alphabet, or bit 7 and a distance from a base that the form states once. What the
 * status numbers and the in-out lengths mean stands in cl_text.h.
 */
#ifndef HEARTH_CL_XCODEC_H
#define HEARTH_CL_XCODEC_H

#include "hearth/cl_text.h"

HEARTH_BEGIN_DECLS

/*
 * Writes form 80: 0x80, then two bytes a character; not terminated.
 *   count   characters
 *   length  in: capacity, 2 * count + 1 at least; out: bytes
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_encode80(const uint16_t *text, uint32_t count, uint8_t *bytes,
                                uint32_t *length);

/*
 * Write form 81 (0x81, the count's low 8 bits, bits 14 to 7 of the base) and form 82 (0x82, the
 * count's low 8 bits, the base's high and low byte), then a byte a character; not terminated.
 *   count   characters
 *   bytes   room for count + 3 (form 81) or count + 4 (form 82)
 *   length  in: capacity, tested against 0 only; out: bytes
 * A character of the default alphabet's extension table never stands in the way of a form, but
 * is written relative to the base and comes back as another character unless the base suits it.
 * cl_encode81 prints a line on standard output for each character that the default alphabet
 * lacks.
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM, CL_TEXT_NOT_REPRESENTABLE when the
 * text does not fit the form; nothing is written then.
 */
HEARTH_API uint32_t cl_encode81(const uint16_t *text, uint32_t count, uint8_t *bytes,
                                uint32_t *length);
HEARTH_API uint32_t cl_encode82(const uint16_t *text, uint32_t count, uint8_t *bytes,
                                uint32_t *length);

/*
 * Reads form 80.
 *   count   bytes; a last odd byte is ignored
 *   text    characters and a 16-bit zero
 *   length  in: capacity, (count - 1) / 2 + 1 at least; out: characters
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, also for a first byte other than 0x80, which leaves
 * the length as it was; CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_decode80(const uint8_t *bytes, uint32_t count, uint16_t *text,
                                uint32_t *length);

/*
 * Read forms 81 and 82. The first byte is not tested.
 *   count   bytes; what the length field promises beyond them is not read
 *   text    room for one character more than the length field says, 256 at most; a 16-bit zero
 *           follows only where the last character is a septet
 *   length  in: capacity, tested against 0 only; out: characters
 * An escape before a byte that is no septet gives two blanks.
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_decode81(const uint8_t *bytes, uint32_t count, uint16_t *text,
                                uint32_t *length);
HEARTH_API uint32_t cl_decode82(const uint8_t *bytes, uint32_t count, uint16_t *text,
                                uint32_t *length);

/* What cl_encodeData may use. */
typedef struct {
    uint32_t charset;  /* 1: the channel carries 8-bit characters, else GSM septets */
    uint32_t compress; /* 1, with charset 0: forms 81 and 82 may be used, else form 80 alone */
} cl_codecProfile;

/* Coding of a quoted text. */
enum {
    CL_CODING_SEPTETS = 0, /* GSM septets, one a byte */
    CL_CODING_UCS2 = 1,    /* form 80, 81 or 82 as hexadecimal text */
    CL_CODING_8BIT = 2     /* one byte a character */
};

/*
 * Writes a text in quotation marks, by the cheapest coding that holds it.
 *   coding   where the coding chosen is stored, CL_CODING_*
 *   text     UCS-2, count units
 *   output   the quoted text and a zero byte; room for capacity + 2 bytes
 *   length   in: capacity, 4 * count + 9 always suffices; out: characters, both marks counted.
 *            A failure other than a bad argument leaves it as it was
 *   profile  not NULL
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM, CL_TEXT_NO_MEMORY. A text of no
 * units gives a pair of marks: with CL_TEXT_BAD_ARGUMENT as septets, with CL_TEXT_OK as 8-bit.
 */
HEARTH_API uint32_t cl_encodeData(uint32_t *coding, const uint16_t *text, uint32_t count,
                                  char *output, uint32_t *length, const cl_codecProfile *profile);

/*
 * Reads a text, without its quotation marks.
 *   coding   CL_CODING_*; CL_CODING_UCS2 also takes the bytes of a form as they stand, and
 *            hexadecimal text of septets
 *   source   `count` bytes
 *   text     UCS-2; a 16-bit zero follows for septets and form 80 only
 *   length   in: capacity; out: characters
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM, CL_TEXT_NO_MEMORY, that of
 * cl_7bitToUCS2 for septets, CL_TEXT_NOT_REPRESENTABLE for another coding or form.
 */
HEARTH_API uint32_t cl_decodeData(uint32_t coding, const char *source, uint32_t count,
                                  uint16_t *text, uint32_t *length);

HEARTH_END_DECLS

#endif
