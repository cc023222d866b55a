/*
 * Hearth: compression.
 *
 * First zlib under the prefix QC_: each QC_NAME takes and returns what zlib's NAME does, with
 * zlib's own types, constants and records, and blocks as that does. Then what is added to the gzip
 * file layer, and the cl_gz_ helpers for files, memory and flash.
 *
 * A stream or a gzip file belongs to one thread at a time; there is no other shared state.
 */
#ifndef HEARTH_GZ_H
#define HEARTH_GZ_H

#include <zlib.h>

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* A gzip file opened by QC_gzopen, gz_open_offset or QC_gzdopen; closed by QC_gzclose. */
typedef struct QC_gzFile_s *QC_gzFile;

/* The version of zlib behind this library, and how it was built. */
HEARTH_API const char *QC_zlibVersion(void);
HEARTH_API uLong QC_zlibCompileFlags(void);

/* Compression of a stream. */
HEARTH_API int QC_deflateInit_(z_streamp stream, int level, const char *version, int stream_size);
HEARTH_API int QC_deflateInit2_(z_streamp stream, int level, int method, int window_bits,
                                int memory_level, int strategy, const char *version,
                                int stream_size);
HEARTH_API int QC_deflate(z_streamp stream, int flush);
HEARTH_API int QC_deflateEnd(z_streamp stream);
HEARTH_API int QC_deflateSetDictionary(z_streamp stream, const Bytef *dictionary, uInt length);
HEARTH_API int QC_deflateCopy(z_streamp target, z_streamp source);
HEARTH_API int QC_deflateReset(z_streamp stream);
HEARTH_API int QC_deflateParams(z_streamp stream, int level, int strategy);
HEARTH_API int QC_deflateTune(z_streamp stream, int good_length, int max_lazy, int nice_length,
                              int max_chain);
HEARTH_API uLong QC_deflateBound(z_streamp stream, uLong length);
HEARTH_API int QC_deflatePrime(z_streamp stream, int bits, int value);
HEARTH_API int QC_deflateSetHeader(z_streamp stream, gz_headerp header);

/* Decompression of a stream. */
HEARTH_API int QC_inflateInit_(z_streamp stream, const char *version, int stream_size);
HEARTH_API int QC_inflateInit2_(z_streamp stream, int window_bits, const char *version,
                                int stream_size);
HEARTH_API int QC_inflate(z_streamp stream, int flush);
HEARTH_API int QC_inflateEnd(z_streamp stream);
HEARTH_API int QC_inflateSetDictionary(z_streamp stream, const Bytef *dictionary, uInt length);
HEARTH_API int QC_inflateSync(z_streamp stream);
HEARTH_API int QC_inflateSyncPoint(z_streamp stream);
HEARTH_API int QC_inflateCopy(z_streamp target, z_streamp source);
HEARTH_API int QC_inflateReset(z_streamp stream);
HEARTH_API int QC_inflatePrime(z_streamp stream, int bits, int value);
HEARTH_API int QC_inflateGetHeader(z_streamp stream, gz_headerp header);
HEARTH_API int QC_inflateBackInit_(z_streamp stream, int window_bits, unsigned char *window,
                                   const char *version, int stream_size);
HEARTH_API int QC_inflateBack(z_streamp stream, in_func in, void *in_argument, out_func out,
                              void *out_argument);
HEARTH_API int QC_inflateBackEnd(z_streamp stream);

/* The forms in which the functions above that end in "_" are called, as zlib has them. */
#define QC_deflateInit(stream, level) \
    QC_deflateInit_((stream), (level), ZLIB_VERSION, (int)sizeof(z_stream))
#define QC_deflateInit2(stream, level, method, window_bits, memory_level, strategy)          \
    QC_deflateInit2_((stream), (level), (method), (window_bits), (memory_level), (strategy), \
                     ZLIB_VERSION, (int)sizeof(z_stream))
#define QC_inflateInit(stream) QC_inflateInit_((stream), ZLIB_VERSION, (int)sizeof(z_stream))
#define QC_inflateInit2(stream, window_bits) \
    QC_inflateInit2_((stream), (window_bits), ZLIB_VERSION, (int)sizeof(z_stream))
#define QC_inflateBackInit(stream, window_bits, window) \
    QC_inflateBackInit_((stream), (window_bits), (window), ZLIB_VERSION, (int)sizeof(z_stream))

/* Whole buffers. */
HEARTH_API int QC_compress(Bytef *target, uLongf *target_length, const Bytef *source, uLong length);
HEARTH_API int QC_compress2(Bytef *target, uLongf *target_length, const Bytef *source, uLong length,
                            int level);
HEARTH_API uLong QC_compressBound(uLong length);
HEARTH_API int QC_uncompress(Bytef *target, uLongf *target_length, const Bytef *source,
                             uLong length);

/* Checksums and texts. */
HEARTH_API uLong QC_adler32(uLong adler, const Bytef *data, uInt length);
HEARTH_API uLong QC_adler32_combine(uLong first, uLong second, z_off_t second_length);
HEARTH_API uLong QC_crc32(uLong crc, const Bytef *data, uInt length);
HEARTH_API uLong QC_crc32_combine(uLong first, uLong second, z_off_t second_length);
HEARTH_API const z_crc_t *QC_get_crc_table(void);
HEARTH_API const char *QC_zError(int error);

/*
 * Opens a gzip file, or for reading any file: one without a gzip header is read as it is.
 *   path    path of the file, used as it is
 *   mode    as zlib's gzopen has it, such as "rb" or "wb9"
 *   offset  0 for all of the file; otherwise bytes from its start to the gzip stream, as for
 *           gz_open_offset
 * Returns the file, or NULL. A file opened for reading is read up to behind its gzip header.
 */
HEARTH_API HEARTH_MUST_CHECK QC_gzFile QC_gzopen(const char *path, const char *mode,
                                                 z_off_t offset);

/*
 * Opens a gzip stream that begins inside a file: seeks before the gzip header is read or written.
 *   path        path of the file; with a descriptor just the name in messages
 *   mode        as above
 *   descriptor  -1 to open the path; otherwise the file, which the result takes over
 *   offset      bytes from the start of the file to the gzip stream
 * Returns the file, or NULL. A seek that fails closes the descriptor.
 */
HEARTH_API HEARTH_MUST_CHECK QC_gzFile gz_open_offset(const char *path, const char *mode,
                                                      int descriptor, z_off_t offset);

/* The gzip file layer. QC_gzerror gives zlib's texts; one is valid until the next call with the
 * same file. */
HEARTH_API HEARTH_MUST_CHECK QC_gzFile QC_gzdopen(int descriptor, const char *mode);
HEARTH_API int QC_gzsetparams(QC_gzFile file, int level, int strategy);
HEARTH_API int QC_gzread(QC_gzFile file, voidp buffer, unsigned length);
HEARTH_API int QC_gzwrite(QC_gzFile file, voidpc buffer, unsigned length);
HEARTH_API int QC_gzprintf(QC_gzFile file, const char *format, ...) HEARTH_PRINTF(2, 3);
HEARTH_API int QC_gzputs(QC_gzFile file, const char *text);
HEARTH_API char *QC_gzgets(QC_gzFile file, char *buffer, int capacity);
HEARTH_API int QC_gzputc(QC_gzFile file, int character);
HEARTH_API int QC_gzgetc(QC_gzFile file);
HEARTH_API int QC_gzungetc(int character, QC_gzFile file);
HEARTH_API int QC_gzflush(QC_gzFile file, int flush);
HEARTH_API z_off_t QC_gzseek(QC_gzFile file, z_off_t offset, int whence);
HEARTH_API int QC_gzrewind(QC_gzFile file);
HEARTH_API z_off_t QC_gztell(QC_gzFile file);
HEARTH_API int QC_gzeof(QC_gzFile file);
HEARTH_API int QC_gzdirect(QC_gzFile file);
HEARTH_API int QC_gzclose(QC_gzFile file);
HEARTH_API const char *QC_gzerror(QC_gzFile file, int *error);
HEARTH_API void QC_gzclearerr(QC_gzFile file);

/* Whether a file is really compressed: 1, or 0 if it had no gzip header and is read as it is, and
 * for NULL. */
HEARTH_API int QC_isCompress(QC_gzFile file);

/*
 * The length of the uncompressed data, as the end of a gzip stream tells it in 32 bits.
 *   end  position in the file of the end of the gzip stream, at least 20
 * Returns the length, in 32 bits: a number below -1 is an unsigned one of 2 GiB and more. Returns
 * -1 for a smaller position, or if the length cannot be read. Moves the position of the file
 * underneath and leaves it there, so what zlib has not read yet is read from the wrong place.
 */
HEARTH_API int32_t QC_gzgetlength(QC_gzFile file, z_off_t end);

/* Results of the helpers. */
enum {
    CL_GZ_OK = 0,
    CL_GZ_FAILED = 21, /* Z_ERRNO, any failure of a file helper, and what is not listed here */
    CL_GZ_STREAM = 22, /* Z_STREAM_ERROR: bad argument */
    CL_GZ_DATA = 23,   /* Z_DATA_ERROR: the input is no zlib stream */
    CL_GZ_MEMORY = 24, /* Z_MEM_ERROR */
    CL_GZ_BUFFER = 25, /* Z_BUF_ERROR */
    CL_GZ_VERSION = 26 /* Z_VERSION_ERROR */
};

/* The number above for a result of zlib: 0 for Z_OK and Z_STREAM_END. */
HEARTH_API int32_t cl_gz_transformErr(int32_t zlib_result);

/*
 * The file helpers block for reads and writes, take paths as they are, and return 0 or 21. A target
 * is not removed after a failure.
 */

/* Compresses a file into a gzip file. */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_gz_compressFile(const char *source, const char *target);

/* Uncompresses a gzip file; a source without a gzip header is copied. */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_gz_uncompressFile(const char *source, const char *target);

/*
 * Uncompresses an update package.
 *   source  path of the gzip file
 *   target  path of the target if it holds a "."; otherwise a directory, in which the target gets
 *           the source's name with "bin" in place of its extension: "/tmp/fw.gz" and "/data" give
 *           "/data/fw.bin". Without a "/" in the source that fails.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_gz_uncompress_for_update(const char *source,
                                                                 const char *target);

/*
 * Uncompresses a gzip file into a flash partition, which is emptied first, even if the source
 * cannot be opened.
 *   source     path of the gzip file
 *   partition  as osa_flash_open numbers them, 0 to 4
 *   length     set to the number of bytes written; left alone on failure
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_gz_uncompress_to_Flash(const char *source,
                                                               uint32_t partition,
                                                               uint32_t *length);

/*
 * Compresses memory into a zlib stream, byte by byte.
 *   output         must have room for QC_compressBound(input_length) bytes, whatever the length
 *                  going in says
 *   output_length  going in, the number of bytes after which no more input is taken: then the
 *                  stream is ended, which the length does not bound; coming out on success, the
 *                  bytes written
 * Returns 0 or a number above.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_gz_compressStream(const uint8_t *input,
                                                          uint32_t input_length, uint8_t *output,
                                                          uint32_t *output_length);

/*
 * Uncompresses a zlib stream in memory, byte by byte.
 *   output         `*output_length` bytes
 *   output_length  capacity going in, bytes written coming out; left alone on failure
 * Output that is full and input that ends early are both success, with what was written until
 * then. Returns 0 or a number above.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t cl_gz_uncompressStream(const uint8_t *input,
                                                            uint32_t input_length, uint8_t *output,
                                                            uint32_t *output_length);

/*
 * Saves the log file "/online/log/webapp.log" as a gzip file at `destination`. Blocks for reads and
 * writes. Returns 1, or 0 on failure.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t osa_compress_log(const char *destination);

HEARTH_END_DECLS

#endif
