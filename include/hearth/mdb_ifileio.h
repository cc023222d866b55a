/*
 * Hearth: the file streams below the table store.
 *
 * A stream is a stdio file that remembers its path. It belongs to one thread at a time. All calls
 * run to their end before they return and may wait for the disk. Nothing is held back in the
 * process: what a write has taken is with the kernel, though not necessarily on the flash.
 */
#ifndef HEARTH_MDB_IFILEIO_H
#define HEARTH_MDB_IFILEIO_H

#include <stdio.h>

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Results. Where nothing else is said: PBASE_OK, or PBASE_ERR_GENERAL for a NULL stream, a stream
 * that holds no file any more, a NULL out pointer, and a system call that failed. */
enum {
    PBASE_OK = 0,
    PBASE_ERR_GENERAL = 1,
    PBASE_ERR_FILE_NOT_FOUND = 0x1010108, /* the file does not exist */
    PBASE_ERR_FILE_EXISTS = 0x101010D,    /* the target of a rename exists */
    PBASE_ERR_NAME_TOO_LONG = 0x1010116   /* a path of 256 characters or more */
};

/* How PBase_IFileStream_openFile opens. */
enum {
    PBASE_MODE_READ = 0,       /* read an existing file */
    PBASE_MODE_UPDATE = 2,     /* read and write an existing file */
    PBASE_MODE_CREATE = 100,   /* make the file, or empty it, and read and write it */
    PBASE_MODE_CREATE2 = 1000, /* the same */
    PBASE_MODE_APPEND = 2000   /* write at the end of an existing file */
};

/* An open stream, on the heap. */
typedef struct {
    FILE *file;     /* NULL after a failed PBase_IFileStream_fflush */
    char path[256]; /* at most 255 characters, terminated */
} PBase_IFileStream;

/* What PBase_IFileStream_getFileInfo tells. */
typedef struct {
    uint32_t reserved0; /* set to 0 */
    uint32_t reserved1; /* left alone */
    uint32_t size;      /* of the file, in bytes */
    char name[256];     /* the stream's path */
} PBase_FileInfo;

/*
 * Opens a file.
 *   path    at most 255 characters
 *   mode    one of PBASE_MODE_*; any other number gives PBASE_ERR_GENERAL
 *   stream  receives the stream, which PBase_IFileStream_close ends; NULL on failure
 * Returns PBASE_OK, PBASE_ERR_FILE_NOT_FOUND for a mode that needs the file, or
 * PBASE_ERR_NAME_TOO_LONG, or PBASE_ERR_GENERAL.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t PBase_IFileStream_openFile(const char *path, int32_t mode,
                                                                PBase_IFileStream **stream);

/*
 * Reads up to `length` bytes into `buffer` and stores how many in `count`. A short read is a
 * success; a count of 0, which is also the end of the file, gives PBASE_ERR_GENERAL.
 */
HEARTH_API int32_t PBase_IFileStream_read(PBase_IFileStream *stream, void *buffer, uint32_t length,
                                          uint32_t *count);

/*
 * Writes `length` bytes of `buffer`, hands them to the kernel and stores how many were written in
 * `count`. A short write is a success, so callers compare the count; a count of 0 gives
 * PBASE_ERR_GENERAL.
 */
HEARTH_API int32_t PBase_IFileStream_write_without_EFSCheck(PBase_IFileStream *stream,
                                                            const void *buffer, uint32_t length,
                                                            uint32_t *count);

/* Closes the file and frees the stream, also when closing reports a failure. A stream that holds
 * no file is not freed here: its owner calls free(). */
HEARTH_API int32_t PBase_IFileStream_close(PBase_IFileStream *stream);

/*
 * Moves the position.
 *   offset    in bytes
 *   whence    SEEK_SET, SEEK_CUR or SEEK_END
 *   position  receives the new position, or NULL
 */
HEARTH_API int32_t PBase_IFileStream_skip(PBase_IFileStream *stream, int32_t offset, int32_t whence,
                                          uint32_t *position);

/* Returns the position in bytes, or 1 on failure, which cannot be told from position 1. */
HEARTH_API int32_t PBase_IFileStream_tell(PBase_IFileStream *stream);

/* Does nothing, whatever the length, and always returns PBASE_ERR_GENERAL. */
HEARTH_API int32_t PBase_IFileStream_truncate(PBase_IFileStream *stream, uint32_t length);

/* Tells the file's size and path. */
HEARTH_API int32_t PBase_IFileStream_getFileInfo(PBase_IFileStream *stream, PBase_FileInfo *info);

/*
 * Commits: closes the file and opens the same path again for reading and writing, at position 0.
 * When it cannot be opened again the result is PBASE_ERR_GENERAL and the stream holds no file;
 * every later call with it gives PBASE_ERR_GENERAL.
 */
HEARTH_API int32_t PBase_IFileStream_fflush(PBase_IFileStream *stream);

/* Returns 1 if the file or directory exists, else 0. One "/" at the end is left out of account. A
 * NULL or empty path gives 1, one of more than 255 characters 0. */
HEARTH_API int32_t PBase_File_exists(const char *path);

/* Removes a file. PBASE_ERR_FILE_NOT_FOUND if there is none, else 0 or the -1 of remove(). */
HEARTH_API int32_t PBase_File_removeFile(const char *path);

/*
 * Gives a file a new path, which must be free. Returns PBASE_ERR_FILE_NOT_FOUND if there is no old
 * file, PBASE_ERR_FILE_EXISTS if the new one exists or the two are equal,
 * PBASE_ERR_NAME_TOO_LONG, else 0 or the -1 of rename().
 */
HEARTH_API int32_t PBase_File_rename(const char *old_path, const char *new_path);

/* Makes a directory with the mode 0755. One "/" at the end is left out of account. Returns 0 for
 * success; PBASE_ERR_GENERAL also for a NULL or empty path. */
HEARTH_API int32_t PBase_File_mkDir(const char *path);

HEARTH_END_DECLS

#endif
