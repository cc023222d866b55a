/*
 * Hearth: the SHA-256 digest (FIPS 180).
 *
 * All state is in the caller's context, and no function blocks. The processor's own SHA
 * instructions are used where it has them.
 */
#ifndef HEARTH_CL_SHA256_H
#define HEARTH_CL_SHA256_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

enum { SHA256_SIZE = 32 };

/* A digest in the making. */
typedef struct Sha256_Context {
    uint32_t state[8]; /* digest so far */
    uint64_t length;   /* bytes taken so far */
    uint8_t block[64]; /* the last length % 64 bytes of them, not yet digested */
} Sha256_Context;

/* Starts a digest. Returns 0; -1 for NULL. */
HEARTH_API int32_t Sha256_Init(Sha256_Context *context);

/*
 * Takes more data.
 *   data    `length` bytes; NULL only with length 0
 * Returns 0; -1 for a bad argument.
 */
HEARTH_API int32_t Sha256_Update(Sha256_Context *context, const void *data, uint32_t length);

/*
 * Ends a digest and wipes the context.
 *   digest  32 bytes, written
 * Returns 0; -1 for NULL.
 */
HEARTH_API int32_t Sha256_Final(Sha256_Context *context, uint8_t *digest);

/*
 * The digest of `length` bytes.
 *   data    at least one byte
 *   digest  32 bytes, written on success
 * Returns 0; -1 for a NULL argument or a length of 0.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t sha256(const void *data, uint32_t length, uint8_t *digest);

HEARTH_END_DECLS

#endif
