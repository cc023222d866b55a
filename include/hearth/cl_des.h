/*
 * Hearth: DES and triple DES in ECB and CBC mode (FIPS 46), and printable cipher texts.
 *
 * A schedule is 32 words, a triple one 96; their contents are for the functions here alone. Data
 * are padded with zeros up to a multiple of 8 bytes and the padding is not removed on decryption:
 * the caller keeps the true length. All state is the caller's and no function blocks. These ciphers
 * serve old formats and peers; they are no protection by today's measure.
 *
 * Output buffers. The functions with an in-out output length test what goes in against the length
 * of the input, and give the length rounded up to a multiple of 8. The buffer therefore has room
 * for up to 7 bytes more than the input's length. Input and output may be the same buffer.
 */
#ifndef HEARTH_CL_DES_H
#define HEARTH_CL_DES_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

enum {
    CL_DES_BLOCK = 8,          /* bytes of a block and of a key */
    CL_DES_SCHEDULE = 32,      /* words of a schedule */
    CL_DES3_SCHEDULE = 3 * 32, /* words of a triple schedule */
    CL_DES_CBC_KEY = 16,       /* bytes of a key block: key of 8 and initial vector of 8 */
    CL_DES3_CBC_KEY = 32       /* bytes of a key block: three keys of 8 and initial vector of 8 */
};

/* Results of the functions here. */
enum {
    CL_CRYPT_OK = 0,
    CL_CRYPT_ARGUMENT = 1, /* bad argument */
    CL_CRYPT_ROOM = 6,     /* the output buffer is too small */
    CL_CRYPT_MEMORY = 7,   /* out of memory */
    CL_CRYPT_FAILED = -1   /* the cipher or the Base64 coding failed */
};

/*
 * Makes both schedules of a key.
 *   key         8 bytes; their lowest bits, the parity, do not matter
 *   encrypting  32 words, written
 *   decrypting  32 words, written: the encrypting ones in reversed pairs
 * Returns 0; 1 for NULL.
 */
HEARTH_API int32_t cl_desSetkey(const uint8_t *key, uint32_t *encrypting, uint32_t *decrypting);

/* Makes the encrypting schedule, 32 words, of a key of 8 bytes. Returns 0; 1 for NULL. */
HEARTH_API int32_t cl_desKeyScdu(const uint8_t *key, uint32_t *schedule);

/*
 * Makes the triple schedules, 96 words each, of two keys: the first is the third as well.
 * Returns 0; 1 for NULL.
 */
HEARTH_API int32_t cl_des3Set2keys(const uint8_t *key1, const uint8_t *key2, uint32_t *encrypting,
                                   uint32_t *decrypting);

/* Makes the triple schedules, 96 words each, of three keys. Returns 0; 1 for NULL. */
HEARTH_API int32_t cl_des3Set3keys(const uint8_t *key1, const uint8_t *key2, const uint8_t *key3,
                                   uint32_t *encrypting, uint32_t *decrypting);

/*
 * Runs one block of 8 bytes through a schedule.
 *   words  length of the schedule: 32, or 96 for a triple one
 *   out    8 bytes, written; may be the same as `in`
 * Returns 0; 1 for a bad argument.
 */
HEARTH_API int32_t cl_desCrypt(const uint32_t *schedule, uint32_t words, const uint8_t *in,
                               uint8_t *out);

/*
 * ECB encryption with an 8-byte key, or with a triple encrypting schedule.
 *   input          `length` bytes
 *   output         see above
 *   output_length  capacity going in, the length rounded up to a multiple of 8 coming out
 * Whole blocks go from the input to the output. A last partial block is taken from the output at
 * the same place, padded with zeros and encrypted there: it is encrypted correctly only when input
 * and output are the same buffer.
 * Returns 0; 1 for NULL or a length of 0; 6 for a capacity below the length. The length is left
 * alone on failure.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_desECBEncrypt(const uint8_t *key, const uint8_t *input,
                                                      uint32_t length, uint8_t *output,
                                                      uint32_t *output_length);
HEARTH_API HEARTH_MUST_CHECK int32_t cl_des3ECBEncrypt(const uint32_t *schedule,
                                                       const uint8_t *input, uint32_t length,
                                                       uint8_t *output, uint32_t *output_length);

/*
 * ECB decryption with an 8-byte key, or with a triple decrypting schedule. Arguments and results
 * as above, but only whole blocks are run: the input, too, holds the length rounded up to a
 * multiple of 8.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_desECBDecrypt(const uint8_t *key, const uint8_t *input,
                                                      uint32_t length, uint8_t *output,
                                                      uint32_t *output_length);
HEARTH_API HEARTH_MUST_CHECK int32_t cl_des3ECBDecrypt(const uint32_t *schedule,
                                                       const uint8_t *input, uint32_t length,
                                                       uint8_t *output, uint32_t *output_length);

/*
 * Fills an initial vector with eight digits and lower-case letters drawn from rand(), which the
 * caller seeds.
 *   iv  8 bytes, written
 * Returns 0; 1 for NULL.
 */
HEARTH_API int32_t cl_desCBCGenerateIV(uint8_t *iv);

/*
 * DES in CBC mode.
 *   key            16 bytes: 8 of key, 8 of initial vector
 *   input          `length` bytes, at least one
 *   output         see above
 *   output_length  capacity going in, the length rounded up to a multiple of 8 coming out
 * Returns 0; 1 for NULL or a length of 0, with 0 stored as the length; 6 for a capacity below the
 * length, with the length left alone; 7 out of memory; -1 if the cipher fails.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_desCBCEncrypt(const uint8_t *key, const uint8_t *input,
                                                      uint32_t length, uint8_t *output,
                                                      uint32_t *output_length);
HEARTH_API HEARTH_MUST_CHECK int32_t cl_desCBCDecrypt(const uint8_t *key, const uint8_t *input,
                                                      uint32_t length, uint8_t *output,
                                                      uint32_t *output_length);

/* Triple DES in CBC mode; as above with a key block of 32 bytes: 24 of key, 8 of initial vector. */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_Encrypt(const uint8_t *key, const uint8_t *input,
                                                uint32_t length, uint8_t *output,
                                                uint32_t *output_length);
HEARTH_API HEARTH_MUST_CHECK int32_t cl_Decrypt(const uint8_t *key, const uint8_t *input,
                                                uint32_t length, uint8_t *output,
                                                uint32_t *output_length);

/*
 * Encrypts a text with a key that is built into the library, and makes the result printable.
 * Anyone who has the library can read it: it hides a text from a glance and protects nothing.
 *   text         terminated by a NUL, not empty
 *   output       Base64 text, terminated
 *   output_size  capacity in bytes: at least 16 for each 8 bytes of the text begun, and one
 *   mode         1 single DES, 2 triple DES, both in CBC mode
 * Returns 0; 1 for a bad argument; 6 for a small capacity; 7 out of memory; -1 if the coding
 * fails.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t des_encrypt_base64(const char *text, char *output,
                                                        uint32_t output_size, int32_t mode);

/*
 * Reads a text that des_encrypt_base64 made.
 *   text         terminated by a NUL
 *   output       the plain text up to its first NUL; terminated if the capacity leaves room for it
 *   output_size  capacity in bytes
 *   mode         as it was encrypted
 * Returns 0; 1 for a bad argument; 6 for a plain text longer than the capacity; 7 out of memory;
 * -1 for a text that is not Base64 or holds no whole block.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t des_decrypt_base64(const char *text, char *output,
                                                        uint32_t output_size, int32_t mode);

HEARTH_END_DECLS

#endif
