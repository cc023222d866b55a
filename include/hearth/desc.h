/*
 * Hearth: DES, DESX and triple DES in CBC mode, a piece at a time.
 *
 * The chain between blocks lasts from one update to the next. All state is in the caller's
 * context, which holds key material: wipe it when it is no longer needed. No function blocks.
 */
#ifndef HEARTH_DESC_H
#define HEARTH_DESC_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* What an update gives for a length that is no multiple of 8, or for NULL. */
#define DES_CBC_BAD_LENGTH 1030

/* Blocks are held as two halves, the first byte most significant. */
typedef struct DES_CBC_Context {
    uint32_t subkeys[32]; /* schedule of the direction */
    uint32_t chain[2];    /* what the next block is chained to */
    uint32_t initial[2];  /* the saved initial vector */
    int32_t encrypt;      /* non-zero: encrypt */
} DES_CBC_Context;

/* For the functions of DESX. */
typedef struct DESX_CBC_Context {
    uint32_t subkeys[32]; /* as in DES_CBC_Context, like all but the whiteners */
    uint32_t chain[2];
    uint32_t initial[2];
    uint32_t input_whitener[2]; /* mixed into what comes in, and what goes out */
    uint32_t output_whitener[2];
    int32_t encrypt;
} DESX_CBC_Context;

/* For the functions of triple DES. */
typedef struct DES3_CBC_Context {
    uint32_t subkeys[3][32]; /* in the order in which they are run */
    uint32_t chain[2];       /* as in DES_CBC_Context, like those below */
    uint32_t initial[2];
    int32_t encrypt;
} DES3_CBC_Context;

/*
 * Sets a context up.
 *   key      DES: 8 bytes; DESX: 8 bytes of key, 8 of input and 8 of output whitener; triple DES:
 *            three keys of 8 bytes, used in this order to encrypt and in the reverse to decrypt
 *   iv       8 bytes
 *   encrypt  non-zero to encrypt, 0 to decrypt
 */
HEARTH_API void DES_CBCInit(DES_CBC_Context *context, const uint8_t *key, const uint8_t *iv,
                            int32_t encrypt);
HEARTH_API void DESX_CBCInit(DESX_CBC_Context *context, const uint8_t *key, const uint8_t *iv,
                             int32_t encrypt);
HEARTH_API void DES3_CBCInit(DES3_CBC_Context *context, const uint8_t *key, const uint8_t *iv,
                             int32_t encrypt);

/*
 * Runs whole blocks.
 *   output  `length` bytes, written; may be the same as `input`
 *   length  multiple of 8
 * On success DES and DESX return 1 and triple DES returns 0. Returns 1030 for NULL and for any
 * other length, with nothing done.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t DES_CBCUpdate(DES_CBC_Context *context, uint8_t *output,
                                                   const uint8_t *input, uint32_t length);
HEARTH_API HEARTH_MUST_CHECK int32_t DESX_CBCUpdate(DESX_CBC_Context *context, uint8_t *output,
                                                    const uint8_t *input, uint32_t length);
HEARTH_API HEARTH_MUST_CHECK int32_t DES3_CBCUpdate(DES3_CBC_Context *context, uint8_t *output,
                                                    const uint8_t *input, uint32_t length);

/* Goes back to the saved initial vector. */
HEARTH_API void DES_CBCRestart(DES_CBC_Context *context);
HEARTH_API void DESX_CBCRestart(DESX_CBC_Context *context);
HEARTH_API void DES3_CBCRestart(DES3_CBC_Context *context);

HEARTH_END_DECLS

#endif
