// zlib's functions on streams and buffers under their own names here.

#include <type_traits>

#include "hearth/gz.h"

// A function that hands its arguments on to zlib's, whose type it must have.
#define QC_FORWARD(result, name, parameters, arguments)                                        \
    static_assert(std::is_same_v<decltype(QC_##name), decltype(name)>, "differs from zlib's"); \
    result QC_##name parameters {                                                              \
        return name arguments;                                                                 \
    }

QC_FORWARD(const char *, zlibVersion, (void), ())
QC_FORWARD(uLong, zlibCompileFlags, (void), ())

QC_FORWARD(int, deflateInit_, (z_streamp stream, int level, const char *version, int stream_size),
           (stream, level, version, stream_size))
QC_FORWARD(int, deflateInit2_,
           (z_streamp stream, int level, int method, int window_bits, int memory_level,
            int strategy, const char *version, int stream_size),
           (stream, level, method, window_bits, memory_level, strategy, version, stream_size))
QC_FORWARD(int, deflate, (z_streamp stream, int flush), (stream, flush))
QC_FORWARD(int, deflateEnd, (z_streamp stream), (stream))
QC_FORWARD(int, deflateSetDictionary, (z_streamp stream, const Bytef *dictionary, uInt length),
           (stream, dictionary, length))
QC_FORWARD(int, deflateCopy, (z_streamp target, z_streamp source), (target, source))
QC_FORWARD(int, deflateReset, (z_streamp stream), (stream))
QC_FORWARD(int, deflateParams, (z_streamp stream, int level, int strategy),
           (stream, level, strategy))
QC_FORWARD(int, deflateTune,
           (z_streamp stream, int good_length, int max_lazy, int nice_length, int max_chain),
           (stream, good_length, max_lazy, nice_length, max_chain))
QC_FORWARD(uLong, deflateBound, (z_streamp stream, uLong length), (stream, length))
QC_FORWARD(int, deflatePrime, (z_streamp stream, int bits, int value), (stream, bits, value))
QC_FORWARD(int, deflateSetHeader, (z_streamp stream, gz_headerp header), (stream, header))

QC_FORWARD(int, inflateInit_, (z_streamp stream, const char *version, int stream_size),
           (stream, version, stream_size))
QC_FORWARD(int, inflateInit2_,
           (z_streamp stream, int window_bits, const char *version, int stream_size),
           (stream, window_bits, version, stream_size))
QC_FORWARD(int, inflate, (z_streamp stream, int flush), (stream, flush))
QC_FORWARD(int, inflateEnd, (z_streamp stream), (stream))
QC_FORWARD(int, inflateSetDictionary, (z_streamp stream, const Bytef *dictionary, uInt length),
           (stream, dictionary, length))
QC_FORWARD(int, inflateSync, (z_streamp stream), (stream))
QC_FORWARD(int, inflateSyncPoint, (z_streamp stream), (stream))
QC_FORWARD(int, inflateCopy, (z_streamp target, z_streamp source), (target, source))
QC_FORWARD(int, inflateReset, (z_streamp stream), (stream))
QC_FORWARD(int, inflatePrime, (z_streamp stream, int bits, int value), (stream, bits, value))
QC_FORWARD(int, inflateGetHeader, (z_streamp stream, gz_headerp header), (stream, header))
QC_FORWARD(int, inflateBackInit_,
           (z_streamp stream, int window_bits, unsigned char *window, const char *version,
            int stream_size),
           (stream, window_bits, window, version, stream_size))
QC_FORWARD(int, inflateBack,
           (z_streamp stream, in_func in, void *in_argument, out_func out, void *out_argument),
           (stream, in, in_argument, out, out_argument))
QC_FORWARD(int, inflateBackEnd, (z_streamp stream), (stream))

QC_FORWARD(int, compress,
           (Bytef * target, uLongf *target_length, const Bytef *source, uLong length),
           (target, target_length, source, length))
QC_FORWARD(int, compress2,
           (Bytef * target, uLongf *target_length, const Bytef *source, uLong length, int level),
           (target, target_length, source, length, level))
QC_FORWARD(uLong, compressBound, (uLong length), (length))
QC_FORWARD(int, uncompress,
           (Bytef * target, uLongf *target_length, const Bytef *source, uLong length),
           (target, target_length, source, length))

QC_FORWARD(uLong, adler32, (uLong adler, const Bytef *data, uInt length), (adler, data, length))
QC_FORWARD(uLong, adler32_combine, (uLong first, uLong second, z_off_t second_length),
           (first, second, second_length))
QC_FORWARD(uLong, crc32, (uLong crc, const Bytef *data, uInt length), (crc, data, length))
QC_FORWARD(uLong, crc32_combine, (uLong first, uLong second, z_off_t second_length),
           (first, second, second_length))
QC_FORWARD(const z_crc_t *, get_crc_table, (void), ())
QC_FORWARD(const char *, zError, (int error), (error))
