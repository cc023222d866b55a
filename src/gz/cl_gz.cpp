#include <limits.h>
#include <stdio.h>
#include <string.h>

#include <string_view>

#include "base/guard.h"
#include "base/text.h"
#include "hearth/gz.h"
#include "hearth/osa_flash.h"

namespace {

constexpr unsigned kPiece = 1024;
constexpr char kVersion[] = "1.2.3";
constexpr char kLogFile[] = "/online/log/webapp.log";
constexpr uint32_t kRefusedPartition = 5;

using GzFile = hearth::Owned<QC_gzFile_s, QC_gzclose>;
using Piece = hearth::HeapBlock<uint8_t>;

// What every file helper returns.
int32_t file_result(bool done) {
    return cl_gz_transformErr(done ? Z_OK : Z_ERRNO);
}

int error_state(QC_gzFile file) {
    int state = Z_OK;
    QC_gzerror(file, &state);
    return state;
}

bool compress_file(const char *source_path, const char *target_path) {
    Piece piece = hearth::allocate_zeroed<uint8_t>(kPiece);
    hearth::StdioFile source(piece ? fopen(source_path, "rb") : nullptr);
    GzFile target(source ? QC_gzopen(target_path, "wb", 0) : nullptr);
    if (!target) {
        return false;
    }
    for (bool end = false; !end;) {
        auto got = static_cast<unsigned>(fread(piece.get(), 1, kPiece, source.get()));
        if (ferror(source.get()) != 0) {
            return false;
        }
        end = feof(source.get()) != 0;
        int state = error_state(target.get());
        int written = QC_gzwrite(target.get(), piece.get(), got);
        if (written < 0 || static_cast<unsigned>(written) < got || state < 0) {
            return false;
        }
    }
    // Much of the data leaves only now.
    return QC_gzclose(target.release()) == Z_OK;
}

// Reads a gzip file to its end and hands each piece to `write`.
template <typename Write>
bool uncompress_pieces(QC_gzFile source, uint8_t *piece, Write write) {
    for (bool end = false; !end;) {
        int got = QC_gzread(source, piece, kPiece);
        if (got < 0 || error_state(source) < 0) {
            return false;
        }
        end = QC_gzeof(source) != 0;
        if (!write(piece, static_cast<uint32_t>(got))) {
            return false;
        }
    }
    return true;
}

bool uncompress_file(const char *source_path, const char *target_path) {
    Piece piece = hearth::allocate_zeroed<uint8_t>(kPiece);
    GzFile source(piece ? QC_gzopen(source_path, "rb", 0) : nullptr);
    hearth::StdioFile target(source ? fopen(target_path, "wb") : nullptr);
    if (!target) {
        return false;
    }
    bool done = uncompress_pieces(source.get(), piece.get(), [&](uint8_t *data, uint32_t size) {
        return fwrite(data, 1, size, target.get()) == size && ferror(target.get()) == 0;
    });
    return fclose(target.release()) == 0 && done;
}

bool uncompress_to_flash(const char *source_path, int32_t flash, uint32_t *length) {
    Piece piece = hearth::allocate_zeroed<uint8_t>(kPiece);
    GzFile source(piece ? QC_gzopen(source_path, "rb", 0) : nullptr);
    if (!source) {
        return false;
    }
    uint32_t offset = 0;
    auto write = [&](uint8_t *data, uint32_t size) {
        if (size > UINT32_MAX - offset || osa_flash_write(data, size, offset, flash) == -1) {
            return false;
        }
        offset += size;
        return true;
    };
    if (!uncompress_pieces(source.get(), piece.get(), write)) {
        return false;
    }
    int32_t rest = osa_flash_write(piece.get(), 0, offset, flash);
    *length = offset + static_cast<uint32_t>(rest);
    return true;
}

// The target of an update package in a directory. False if it finds no room.
bool name_update_target(std::string_view source, const char *directory, char *target,
                        size_t capacity) {
    target[0] = '\0';
    size_t slash = source.rfind('/');
    if (slash == std::string_view::npos) {
        return true;  // opening the empty name fails
    }
    std::string_view kept = source;
    kept.remove_prefix(slash + 1);
    size_t dot = kept.rfind('.');
    kept.remove_suffix(dot == std::string_view::npos ? 0 : kept.size() - dot - 1);
    return hearth::format_text(target, capacity, "%s/%.*sbin", directory,
                               static_cast<int>(kept.size()), kept.data());
}

// Gives zlib one byte of input and room for one byte of output.
void open_windows(z_stream *stream) {
    stream->avail_in = 1;
    stream->avail_out = 1;
}

int deflate_all(z_stream *stream, uint32_t input_length, uint32_t output_length) {
    while (stream->total_in != input_length && stream->total_out < output_length) {
        open_windows(stream);
        int result = QC_deflate(stream, Z_NO_FLUSH);
        if (result != Z_OK) {
            return result;
        }
    }
    // Required: the end of the stream does not look at the output length.
    int result = Z_OK;
    while (result == Z_OK) {
        stream->avail_out = 1;
        result = QC_deflate(stream, Z_FINISH);
    }
    return result == Z_STREAM_END ? Z_OK : result;
}

int inflate_all(z_stream *stream, uint32_t input_length, uint32_t output_length) {
    int result = Z_OK;
    while (result == Z_OK && stream->total_out < output_length && stream->total_in < input_length) {
        open_windows(stream);
        result = QC_inflate(stream, Z_NO_FLUSH);
    }
    return result == Z_STREAM_END ? Z_OK : result;
}

// One direction of the stream helpers.
struct StreamCoder {
    int (*start)(z_stream *stream);
    int (*run)(z_stream *stream, uint32_t input_length, uint32_t output_length);
    int (*end)(z_stream *stream);
};

constexpr StreamCoder kDeflate = {[](z_stream *stream) {
                                      return QC_deflateInit_(stream, Z_DEFAULT_COMPRESSION,
                                                             kVersion, sizeof *stream);
                                  },
                                  deflate_all, QC_deflateEnd};

constexpr StreamCoder kInflate = {
    [](z_stream *stream) { return QC_inflateInit_(stream, kVersion, sizeof *stream); }, inflate_all,
    QC_inflateEnd};

int32_t code_stream(const StreamCoder &coder, const uint8_t *input, uint32_t input_length,
                    uint8_t *output, uint32_t *output_length) {
    if (input == nullptr || output == nullptr || output_length == nullptr) {
        return cl_gz_transformErr(Z_STREAM_ERROR);
    }
    z_stream stream{};
    stream.next_in = const_cast<Bytef *>(input);
    stream.next_out = output;
    int result = coder.start(&stream);
    if (result != Z_OK) {
        return cl_gz_transformErr(result);
    }
    result = coder.run(&stream, input_length, *output_length);
    if (result == Z_OK) {
        *output_length = static_cast<uint32_t>(stream.total_out);
    }
    coder.end(&stream);
    return cl_gz_transformErr(result);
}

}  // namespace

int32_t cl_gz_transformErr(int32_t zlib_result) {
    switch (zlib_result) {
        case Z_OK:
        case Z_STREAM_END:
            return CL_GZ_OK;
        case Z_STREAM_ERROR:
            return CL_GZ_STREAM;
        case Z_DATA_ERROR:
            return CL_GZ_DATA;
        case Z_MEM_ERROR:
            return CL_GZ_MEMORY;
        case Z_BUF_ERROR:
            return CL_GZ_BUFFER;
        case Z_VERSION_ERROR:
            return CL_GZ_VERSION;
        default:
            return CL_GZ_FAILED;
    }
}

int32_t cl_gz_compressFile(const char *source, const char *target) {
    return file_result(source != nullptr && target != nullptr && compress_file(source, target));
}

int32_t cl_gz_uncompressFile(const char *source, const char *target) {
    return file_result(source != nullptr && target != nullptr && uncompress_file(source, target));
}

int32_t cl_gz_uncompress_for_update(const char *source, const char *target) {
    if (source == nullptr || target == nullptr) {
        return file_result(false);
    }
    if (strchr(target, '.') != nullptr) {
        return cl_gz_uncompressFile(source, target);
    }
    char named[PATH_MAX];
    return name_update_target(source, target, named, sizeof named)
               ? cl_gz_uncompressFile(source, named)
               : file_result(false);
}

int32_t cl_gz_uncompress_to_Flash(const char *source, uint32_t partition, uint32_t *length) {
    if (source == nullptr || length == nullptr || partition == kRefusedPartition) {
        return file_result(false);
    }
    int32_t flash = osa_flash_open(partition, -1);
    if (flash < 0) {
        return file_result(false);
    }
    bool done = uncompress_to_flash(source, flash, length);
    osa_flash_close(flash);
    return file_result(done);
}

int32_t cl_gz_compressStream(const uint8_t *input, uint32_t input_length, uint8_t *output,
                             uint32_t *output_length) {
    return code_stream(kDeflate, input, input_length, output, output_length);
}

int32_t cl_gz_uncompressStream(const uint8_t *input, uint32_t input_length, uint8_t *output,
                               uint32_t *output_length) {
    return code_stream(kInflate, input, input_length, output, output_length);
}

int32_t osa_compress_log(const char *destination) {
    return cl_gz_compressFile(kLogFile, destination) == CL_GZ_OK ? 1 : 0;
}
