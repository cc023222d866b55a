/*
 * Hearth: the checksums CRC-32 (as in gzip and Ethernet) and CRC-16/XMODEM.
 *
 * Nothing here keeps state or blocks.
 */
#ifndef HEARTH_CL_CRC_H
#define HEARTH_CL_CRC_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/*
 * Takes more data into a CRC-32.
 *   data    `length` bytes
 *   crc     the value so far, 0 before the first byte; replaced by the value with the data
 * Returns 0; 1 for a NULL argument.
 */
HEARTH_API int32_t cl_crc32(const void *data, uint32_t length, uint32_t *crc);

/* The 256 words of the CRC-32 table: entry i is the remainder of byte i. Not to be changed. */
HEARTH_API const uint32_t *cl_get_crc_table(void);

/*
 * The CRC-16/XMODEM of `length` bytes: polynomial 0x1021, from 0, most significant bit first. 0
 * for NULL.
 */
HEARTH_API uint16_t cl_CRC16(const void *data, uint32_t length);

HEARTH_END_DECLS

#endif
