/*
 * Hearth: the files of a firmware update, by index.
 *
 * Indexes 0 to 3 are four names of the firmware image, 4 is the information about the update.
 * All functions block as the file system does and may be called from any thread.
 */
#ifndef HEARTH_OSA_FLASH_H
#define HEARTH_OSA_FLASH_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Number of indexes. */
#define OSA_FLASH_FILES 5

/*
 * Opens an update file for reading and writing.
 *   index  0 to 4
 *   mode   -1 makes the file anew and empty; any other opens the file that is there
 * Returns the descriptor, which the caller closes with osa_flash_close, or -1.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t osa_flash_open(uint32_t index, int32_t mode);

/* Closes the file. Returns 0, or -1 for the descriptor -1. */
HEARTH_API int32_t osa_flash_close(int32_t descriptor);

/*
 * Reads up to `length` bytes at `offset` from the start of the file.
 *   buffer  holds `length` bytes
 * Returns the bytes read, at least 1; -1 at the end of the file, on failure, for a null buffer and
 * for a length of 0.
 */
HEARTH_API int32_t osa_flash_read(void *buffer, uint32_t length, uint32_t offset,
                                  int32_t descriptor);

/*
 * Writes `length` bytes at `offset` from the start of the file and waits until they are on the
 * disk.
 * Returns `length`, or -1 on failure, also when only a part was written. A length of 0 gives 0.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t osa_flash_write(const void *buffer, uint32_t length,
                                                     uint32_t offset, int32_t descriptor);

/* Removes an update file. Returns 0, or -1. */
HEARTH_API int32_t osa_flash_delete(uint32_t index);

/*
 * Free space for update files, the same for each partition.
 *   partition  0 to 2
 * Returns the free bytes, in 32 bits: a number below -1 is an unsigned one of 2 GiB and more.
 * Returns -1 on failure.
 */
HEARTH_API int32_t osa_flash_freespace(uint32_t partition);

/* Returns the size of an update file, low 32 bits; 0 when there is none, -1 for a bad index. */
HEARTH_API int32_t osa_get_dload_pkg_size(uint32_t index);

HEARTH_END_DECLS

#endif
