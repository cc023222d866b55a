/*
 * Hearth: files and directories.
 *
 * Two conventions stand side by side, and callers must mind which is which. The first group
 * passes on the system's result, with -1 or NULL for failure; the second group gives 1 for
 * success and 0 for failure. Arguments that cannot be used, such as a null path, give the failure
 * result and a line on standard output.
 *
 * All functions block as the file system does. They may be called from any thread; a stream or a
 * directory handle belongs to one thread at a time. Except for osa_getfullpath and
 * osa_get_websdk_config_fullpath, paths are used as they stand.
 */
#ifndef HEARTH_OSA_FILE_H
#define HEARTH_OSA_FILE_H

#include <stdarg.h>
#include <stdio.h>
#include <sys/types.h>

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* st_atime may be a macro of <sys/stat.h> that stands for st_atim.tv_sec; both names work. */
struct osa_stat_atim {
    uint32_t tv_sec; /* seconds since 1970 */
};

#pragma push_macro("st_atime")
#undef st_atime

/* File status. */
typedef struct osa_stat_t {
    uint64_t st_dev;     /* device that holds the file */
    uint32_t st_ino;     /* inode, low 32 bits */
    uint32_t st_mode;    /* type and permissions, as in struct stat */
    uint32_t st_nlink;   /* hard links */
    uint32_t st_uid;     /* owner */
    uint32_t st_gid;     /* group */
    uint64_t st_rdev;    /* device number of a device file */
    int64_t st_size;     /* bytes */
    uint32_t st_blksize; /* preferred block size in bytes */
    uint32_t st_blocks;  /* blocks of 512 bytes in use, low 32 bits */
    union {
        uint32_t st_atime; /* last access, seconds since 1970, low 32 bits */
        struct osa_stat_atim st_atim;
    };
} osa_stat_t;

#pragma pop_macro("st_atime")

/* File system status; counts too large for their field keep their low 32 bits. */
typedef struct osa_statfs_t {
    uint32_t f_type;   /* kind of file system */
    uint32_t f_bsize;  /* block size in bytes */
    uint32_t f_blocks; /* blocks in all */
    uint32_t f_bfree;  /* free blocks */
    uint32_t f_bavail; /* free blocks for everyone but root */
    uint32_t f_files;  /* inodes in all */
    uint32_t f_ffree;  /* free inodes */
} osa_statfs_t;

/* One entry of a directory. */
typedef struct osa_dirent_t {
    uint32_t is_dir; /* 1 for a directory, otherwise 0 */
    uint32_t size;   /* bytes, low 32 bits */
    char name[256];  /* name without its path */
} osa_dirent_t;

/* An open directory; made by osa_opendir, ended by osa_closedir. */
typedef struct osa_dir_t osa_dir_t;

/* --- The system's calls with their arguments checked: -1 or NULL on failure. --- */

/*
 * Opens a file.
 *   flags  as for open(); a file made by O_CREAT gets the mode 0644
 * Returns the descriptor, which the caller closes, or -1.
 */
HEARTH_API int osa_open(const char *path, int flags);

/*
 * Reads up to `count` bytes into `buffer`, or writes them from it.
 * Returns the bytes read (0 at the end of the file) or written, or -1, also for a null buffer or
 * a negative descriptor.
 */
HEARTH_API ssize_t osa_read(int descriptor, void *buffer, size_t count);
HEARTH_API ssize_t osa_write(int descriptor, const void *buffer, size_t count);

/* Closes a descriptor. Returns 0, or -1; a negative descriptor prints nothing. */
HEARTH_API int osa_close(int descriptor);

/* Moves the position of a descriptor as lseek(). Returns the new position, or -1. */
HEARTH_API off_t osa_lseek(int descriptor, off_t offset, int whence);

/* Opens a stream as fopen(). Returns the stream, which the caller closes, or NULL. */
HEARTH_API FILE *osa_fopen(const char *path, const char *mode);

/* Closes a stream. Returns 0, or -1 (EOF). */
HEARTH_API int osa_fclose(FILE *stream);

/* Reads a character. Returns it, or -1 (EOF). */
HEARTH_API int osa_fgetc(FILE *stream);

/*
 * Reads a line as fgets() into `buffer`, which holds `size` bytes.
 * Returns `buffer`, or NULL at the end, on failure, for null pointers and a negative size.
 */
HEARTH_API char *osa_fgets(char *buffer, int size, FILE *stream);

/* Moves the position of a stream as fseek(). Returns 0, or -1. */
HEARTH_API int osa_fseek(FILE *stream, long offset, int whence);

/* Returns the position of a stream, or -1. */
HEARTH_API long osa_ftell(FILE *stream);

/*
 * Reads or writes up to `count` elements of `size` bytes.
 * Returns the whole elements read or written; (size_t)-1 for a null buffer or stream.
 */
HEARTH_API size_t osa_fread(void *buffer, size_t size, size_t count, FILE *stream);
HEARTH_API size_t osa_fwrite(const void *buffer, size_t size, size_t count, FILE *stream);

/* Writes a text. Returns a number that is not negative, or -1 (EOF). */
HEARTH_API int osa_fputs(const char *text, FILE *stream);

/* Writes a character. Returns it, or -1 (EOF). */
HEARTH_API int osa_fputc(int character, FILE *stream);

/* Returns non-zero when the end of the stream has been met, 0 otherwise, -1 for a null stream. */
HEARTH_API int osa_feof(FILE *stream);

/* Writes out what the stream holds back. Returns 0, also for a null stream, or -1 (EOF). */
HEARTH_API int osa_fflush(FILE *stream);

/* Write formatted text. Return the bytes written, or a negative number. */
HEARTH_API int osa_fprintf(FILE *stream, const char *format, ...) HEARTH_PRINTF(2, 3);
HEARTH_API int osa_vfprintf(FILE *stream, const char *format, va_list values) HEARTH_PRINTF(2, 0);

/* Goes back to the start of a stream; does nothing for a null stream. */
HEARTH_API void osa_rewind(FILE *stream);

/* Writes all file data held back by the system to the disks. */
HEARTH_API void osa_sync(void);

/* --- Calls that return 1 for success and 0 for failure. --- */

/* Makes a directory with the mode 0755; the one above it must exist. Returns 1 or 0. */
HEARTH_API int32_t osa_mkdir(const char *path);

/* Gives a file or directory another name, replacing what has that name. Returns 1 or 0. */
HEARTH_API int32_t osa_rename(const char *from, const char *to);

/* Removes an empty directory. Returns 1 or 0. */
HEARTH_API int32_t osa_rmdir(const char *path);

/* Changes the working directory of the process. Returns 1 or 0. */
HEARTH_API int32_t osa_chdir(const char *path);

/* Makes `path` a symbolic link to `target`. Returns 1 or 0. */
HEARTH_API int32_t osa_symlink(const char *target, const char *path);

/* Removes a name that is no directory's. Returns 1 or 0. */
HEARTH_API int32_t osa_unlink(const char *path);

/* Waits until the data of an open file is on the disk. Returns 1 or 0. */
HEARTH_API int32_t osa_fsync(int descriptor);

/* Cuts or extends an open file to `length` bytes. Returns 1 or 0. */
HEARTH_API int32_t osa_ftruncate(int descriptor, off_t length);

/*
 * Removes a file, or a directory with what is directly in it: its files and its empty
 * directories. A directory that is not empty stops the call, after what came before it is gone.
 * Returns 1 when the path is gone, 0 otherwise.
 */
HEARTH_API int32_t osa_remove(const char *path);

/*
 * Status of the file system that holds `path`.
 *   status  filled on success, untouched otherwise
 * Returns 1 or 0.
 */
HEARTH_API int32_t osa_statfs(const char *path, osa_statfs_t *status);

/* --- Status and paths: 0 for success, -1 for failure. --- */

/*
 * Status of a file, of what it points to for a symbolic link.
 *   status  filled on success, untouched otherwise
 * Returns 0, or -1. A path that does not exist prints nothing: this is the test for existence.
 */
HEARTH_API int32_t osa_stat(const char *path, osa_stat_t *status);

/* The same for an open file; a failure is printed. */
HEARTH_API int32_t osa_fstat(int descriptor, osa_stat_t *status);

/*
 * Maps a logical path to the disk: "/data/x" and "data/x" give "/app/webroot/data/x". A path that
 * begins with "/app/webroot" stays as it is.
 *   out  receives the path and its terminator; the length is not tested, so it must hold
 *        strlen(path) + 14 bytes
 * Returns 0, or -1 for null arguments.
 */
HEARTH_API int32_t osa_getfullpath(const char *path, char *out);

/*
 * Maps a name to the product's configuration: "x" gives "/app/config/PRODUCT/config/x", or
 * "/app/config/x" while the product has no name. A name that begins with "/app/config" stays as
 * it is.
 *   out   receives the path, cut to what fits, and its terminator
 *   size  capacity of `out` in bytes
 * Returns 0, or -1 for null arguments or a size of 0.
 */
HEARTH_API int32_t osa_get_websdk_config_fullpath(const char *name, char *out, uint32_t size);

/* --- Directories. --- */

/*
 * Opens a directory.
 *   path  of at most 255 characters
 * Returns a handle, which the caller ends with osa_closedir, or NULL.
 */
HEARTH_API osa_dir_t *osa_opendir(const char *path);

/*
 * The next entry of a directory, "." and ".." left out.
 * Returns 1 with `entry` filled, 0 at the end. An entry whose status cannot be read, such as a
 * link that leads nowhere, gives 0 as well; another call goes on behind it.
 */
HEARTH_API int32_t osa_readdir_next(osa_dir_t *directory, osa_dirent_t *entry);

/* Closes a directory and frees its handle. Returns 1, or 0 on failure and for a null handle. */
HEARTH_API int32_t osa_closedir(osa_dir_t *directory);

HEARTH_END_DECLS

#endif
