/*
 * Hearth: the MD5 digest (RFC 1321), of memory, of files and of flash partitions.
 *
 * All state is in the caller's context. The functions for memory do not block. MD5 tells damage
 * from health; it is no protection against an attacker.
 */
#ifndef HEARTH_CL_MD5_H
#define HEARTH_CL_MD5_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

enum { CL_MD5_DIGEST_SIZE = 16 };

/* A digest in the making. */
typedef struct cl_md5_context {
    uint32_t state[4]; /* digest so far */
    uint64_t length;   /* bytes taken so far */
    uint8_t block[64]; /* the last length % 64 bytes of them, not yet digested */
} cl_md5_context;

/* Starts a digest. Returns 0; 1 for NULL. */
HEARTH_API int32_t cl_md5_init(cl_md5_context *context);

/*
 * Takes more data.
 *   data    `length` bytes; NULL only with length 0
 * Returns 0; 1 for a bad argument.
 */
HEARTH_API int32_t cl_md5_update(cl_md5_context *context, const void *data, uint32_t length);

/*
 * Ends a digest and wipes the context.
 *   digest  16 bytes, written
 * Returns 0; 1 for NULL.
 */
HEARTH_API int32_t cl_md5_final(cl_md5_context *context, uint8_t *digest);

/*
 * The digest of `length` bytes.
 *   digest  16 bytes, written on success
 * Returns 0; 1 for a NULL argument; 12 if the digest failed.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_md5Stream(const void *data, uint32_t length,
                                                  uint8_t *digest);

/*
 * The digest of a file. Blocks for the reads.
 *   path    path of the file, used as it is
 *   digest  16 bytes, written on success
 * Returns 0; 1 for a NULL digest; 9 if the file cannot be opened; 12 if it cannot be read to its
 * end, or the digest failed.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_md5File(const char *path, uint8_t *digest);

/*
 * The digest of the first bytes of a flash partition, which is not changed. Blocks for the reads.
 *   partition  0 to 4, as osa_flash_open numbers them
 *   length     number of bytes
 *   digest     16 bytes, written on success
 * Returns 0; 1 for a bad argument; 9 if the partition cannot be opened; 12 if it holds fewer
 * bytes, cannot be read, or the digest failed.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_md5Flash(uint32_t partition, uint32_t length,
                                                 uint8_t *digest);

HEARTH_END_DECLS

#endif
