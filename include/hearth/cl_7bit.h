/*
 * Hearth: GSM 7-bit text.
 *
 * Text becomes packed octets in two steps, and the caller does both: text to septets, one
 * septet a byte, by an alphabet; septets to octets by packing. The way back is the same.
 * What the status numbers and the in-out lengths mean stands in cl_text.h.
 */
#ifndef HEARTH_CL_7BIT_H
#define HEARTH_CL_7BIT_H

#include "hearth/cl_text.h"

HEARTH_BEGIN_DECLS

/*
 * Selects alphabets. The two directions read its words differently: fill it for the function
 * that gets it. A NULL pointer to it means two words of 0, the default alphabet.
 *
 * cl_asciiTo7BITEx, cl_ucs2To7BITEx and cl_7bitToASCIIEx read
 *   language  2 Turkish, 3 Portuguese, 4 Spanish, anything else default
 *   flags     bit 1 (value 2): decode with the language's base table; no effect on encoding
 * cl_7bitToUCS2Ex reads national language identifiers
 *   locking_table  base table: 1 Turkish, 3 Portuguese, anything else default
 *   shift_table    extension table: 1 Turkish, 2 Spanish, 3 Portuguese, anything else default
 */
typedef struct {
    union {
        uint32_t language;
        uint32_t locking_table;
    };
    union {
        uint32_t flags;
        uint32_t shift_table;
    };
} cl_7bitLanguage;

/*
 * Packs septets into octets, the least significant bit first.
 *   septets  one a byte; not masked to seven bits
 *   count    septets
 *   packed   room for count * 7 / 8 octets, rounded up; not terminated
 *   length   in: capacity, tested in whole groups of 7 octets only; out: octets written
 * Seven spare bits in the last octet are filled with a carriage return.
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_7bitEncode(const uint8_t *septets, uint32_t count, uint8_t *packed,
                                  uint32_t *length);

/*
 * Unpacks octets into septets from bit 0 of the first octet on.
 *   packed   octets
 *   count    octets
 *   septets  one a byte, a zero byte behind them; room for count * 8 / 7 bytes and one more
 *   length   in: capacity, tested in whole groups of 8 septets only; out: septets written
 * Seven octets always give eight septets, padding included: the caller cuts the result to the
 * septet count of the message's header.
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_7bitDecode(const uint8_t *packed, uint32_t count, uint8_t *septets,
                                  uint32_t *length);

/*
 * Unpacks octets that begin with fill bits, as text behind a user data header does.
 *   packed, count, septets  as in cl_7bitDecode
 *   length  in: capacity, tested against all octets but the first; out: septets written, one
 *           less than the buffer holds when there is one fill bit
 *   shift   7 minus the number of fill bits: 6 for one down to 0 for seven
 * Status: as cl_7bitDecode; a single octet and a shift above 6 are bad arguments.
 */
HEARTH_API uint32_t cl_7bitDecodeEx(const uint8_t *packed, uint32_t count, uint8_t *septets,
                                    uint32_t *length, uint16_t shift);

/*
 * Turn text into septets of the default alphabet. A character of the extension table becomes
 * an escape (0x1B) and a septet. A character of neither is left out.
 *   text     8-bit characters or UCS-2
 *   count    characters
 *   septets  one a byte, a zero byte behind them; room for 2 * count + 1 bytes
 *   length   in: capacity, tested against 0 only; out: septets written, two for an escape pair
 *   language its extension table is used; NULL for the default one
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM, and CL_TEXT_NO_SEPTET when a
 * character was left out: septets and length are then valid for the others.
 */
HEARTH_API uint32_t cl_asciiTo7BIT(const char *text, uint32_t count, uint8_t *septets,
                                   uint32_t *length);
HEARTH_API uint32_t cl_asciiTo7BITEx(const char *text, uint32_t count, uint8_t *septets,
                                     uint32_t *length, const cl_7bitLanguage *language);
HEARTH_API uint32_t cl_ucs2To7BIT(const uint16_t *text, uint32_t count, uint8_t *septets,
                                  uint32_t *length);
HEARTH_API uint32_t cl_ucs2To7BITEx(const uint16_t *text, uint32_t count, uint8_t *septets,
                                    uint32_t *length, const cl_7bitLanguage *language);

/*
 * Turn septets into 8-bit text. A character above 255 becomes a blank.
 *   septets  one a byte
 *   count    bytes
 *   text     characters and a zero byte
 *   length   in: capacity; out: characters, left as it was on every failure but a bad argument
 *   language its extension table is used, and its base table where flags ask for it
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM, CL_TEXT_NO_CHARACTER for a septet
 * that the table in use lacks, CL_TEXT_NO_SEPTET for a byte above 0x80.
 */
HEARTH_API uint32_t cl_7bitToASCII(const uint8_t *septets, uint32_t count, char *text,
                                   uint32_t *length);
HEARTH_API uint32_t cl_7bitToASCIIEx(const uint8_t *septets, uint32_t count, char *text,
                                     uint32_t *length, const cl_7bitLanguage *language);

/*
 * Turn septets into UCS-2 text, as cl_7bitToASCII but for this: an escape before a septet that
 * the extension table lacks is dropped, and the septet is read from the base table; and what
 * becomes a blank are characters above U+20AC, or above U+20BC with the Spanish or Portuguese
 * extension table.
 */
HEARTH_API uint32_t cl_7bitToUCS2(const uint8_t *septets, uint32_t count, uint16_t *text,
                                  uint32_t *length);
HEARTH_API uint32_t cl_7bitToUCS2Ex(const uint8_t *septets, uint32_t count, uint16_t *text,
                                    uint32_t *length, const cl_7bitLanguage *language);

/*
 * Tell whether a UCS-2 character can be written in septets: 1 yes, 0 no.
 *   language  extension table: 2 Turkish, 3 Portuguese, 4 Spanish, anything else default; the
 *             base table is the default one always
 *   escaped   set to 1 where the character takes an escape pair, else to 0; may be NULL
 */
HEARTH_API uint32_t cl_7bitCheck(uint16_t character, uint32_t *escaped);
HEARTH_API uint32_t cl_7bitCheck_Ex(uint16_t character, uint32_t language, uint32_t *escaped);

/*
 * Copies 8-bit data, silently cut to the capacity; not terminated.
 *   length  in: capacity; out: bytes copied
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM for a capacity of 0.
 */
HEARTH_API uint32_t cl_8bitEncode(const uint8_t *bytes, uint32_t count, uint8_t *output,
                                  uint32_t *length);

/*
 * Widens each byte to one UCS-2 unit, a 16-bit zero behind them.
 *   length  in: capacity, count + 1 at least; out: count
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NO_ROOM.
 */
HEARTH_API uint32_t cl_8bitDecode(const uint8_t *bytes, uint32_t count, uint16_t *text,
                                  uint32_t *length);

/*
 * Folds an accented character that the default alphabet lacks to a plain ASCII letter.
 *   folded  the letter, or the character itself where there is none
 * Status: CL_TEXT_OK, CL_TEXT_BAD_ARGUMENT, CL_TEXT_NOT_IN_ALPHABET when nothing was folded.
 */
HEARTH_API uint32_t cl_convert_Spanish_to_gsmdef(uint16_t character, uint16_t *folded);

/* Septet to character for GSM_7BitToWCHAR; 0xFFFF marks a septet without one. */
HEARTH_API extern const uint32_t arrayGSM_7DefaultTable[128];
HEARTH_API extern const uint32_t arrayGSM_7ExtTable[128];

/*
 * Turns septets into UCS-2 text by the two tables above: the decoder of the device queries.
 * Base characters above U+03A9 and extension characters above U+20AC become blanks.
 *   septets   one a byte
 *   count     bytes; 0 and below give an empty text
 *   text      characters and a 16-bit zero; not NULL
 *   capacity  characters; 0 asks for the count alone, and the zero then goes to text[0]
 *   length    characters, stored on success only
 * Returns 0, or -1 on a NULL pointer, a negative capacity, a byte above 0x7F, an escape at the
 * end or before a septet without an entry, and when the text exceeds the capacity.
 */
HEARTH_API int32_t GSM_7BitToWCHAR(const uint8_t *septets, int32_t count, uint16_t *text,
                                   int32_t capacity, int32_t *length);

HEARTH_END_DECLS

#endif
