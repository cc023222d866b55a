// The gzip file layer. zlib keeps the descriptor of a gzip file to itself, so files are opened
// here, and a handle holds the descriptor beside zlib's own handle.

#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "base/guard.h"
#include "base/io.h"
#include "hearth/gz.h"

struct QC_gzFile_s {
    gzFile stream;
    int descriptor;
    char *path;     // the name in messages; NULL for zlib's own, which names the descriptor
    char *message;  // the last one that QC_gzerror put together
};

namespace {

gzFile stream_of(QC_gzFile file) {
    return file != nullptr ? file->stream : nullptr;
}

void free_handle(QC_gzFile file) {
    free(file->path);
    free(file->message);
    free(file);
}

using Handle = hearth::Owned<QC_gzFile_s, free_handle>;

// The flags for open() of a mode; -1 for one that zlib refuses.
int open_flags(const char *mode) {
    int access = -1;
    int more = 0;
    bool transparent = false;
    for (; *mode != '\0'; mode++) {
        switch (*mode) {
            case 'r':
                access = O_RDONLY;
                break;
            case 'w':
                access = O_WRONLY | O_CREAT | O_TRUNC;
                break;
            case 'a':
                access = O_WRONLY | O_CREAT | O_APPEND;
                break;
            case 'e':
                more |= O_CLOEXEC;
                break;
            case 'x':
                more |= O_EXCL;
                break;
            case 'T':
                transparent = true;
                break;
            case '+':
                return -1;
            default:
                break;
        }
    }
    if (access == -1 || (access == O_RDONLY && transparent)) {
        return -1;
    }
    return access | (access == O_RDONLY ? more & ~O_EXCL : more);
}

// Makes the handle of a descriptor that stands where the gzip stream begins. The descriptor
// belongs to the handle on success alone.
QC_gzFile make_file(const char *path, const char *mode, int descriptor) {
    Handle file(hearth::allocate_zeroed<QC_gzFile_s>(1).release());
    if (!file) {
        return nullptr;
    }
    if (path != nullptr && (file->path = strdup(path)) == nullptr) {
        return nullptr;
    }
    file->descriptor = descriptor;
    file->stream = gzdopen(descriptor, mode);
    if (file->stream == nullptr) {
        return nullptr;
    }
    // The gzip header is read now, as the position may be moved before the first data are.
    gzdirect(file->stream);
    return file.release();
}

// As gz_open_offset; without a place to seek to if `offset` is NULL.
QC_gzFile open_file(const char *path, const char *mode, int descriptor, const z_off_t *offset) {
    int flags = path != nullptr && mode != nullptr ? open_flags(mode) : -1;
    if (flags == -1) {
        return nullptr;
    }
#if defined(O_LARGEFILE)
    flags |= O_LARGEFILE;
#endif
    hearth::Descriptor opened(descriptor == -1 ? open(path, flags, 0666) : -1);
    int used = descriptor == -1 ? opened.get() : descriptor;
    if (used < 0) {
        return nullptr;
    }
    if (offset != nullptr && lseek(used, *offset, SEEK_SET) == -1) {
        if (!opened) {
            close(used);
        }
        return nullptr;
    }
    QC_gzFile file = make_file(path, mode, used);
    if (file != nullptr) {
        opened.release();
    }
    return file;
}

}  // namespace

QC_gzFile QC_gzopen(const char *path, const char *mode, z_off_t offset) {
    return offset == 0 ? open_file(path, mode, -1, nullptr)
                       : gz_open_offset(path, mode, -1, offset);
}

QC_gzFile gz_open_offset(const char *path, const char *mode, int descriptor, z_off_t offset) {
    return open_file(path, mode, descriptor, &offset);
}

QC_gzFile QC_gzdopen(int descriptor, const char *mode) {
    return descriptor >= 0 && mode != nullptr ? make_file(nullptr, mode, descriptor) : nullptr;
}

int QC_gzclose(QC_gzFile file) {
    if (file == nullptr) {
        return Z_STREAM_ERROR;
    }
    int result = gzclose(file->stream);
    free_handle(file);
    return result;
}

// zlib begins most of its texts with the name of the file, which it knows by its descriptor only:
// the path takes the place of that.
const char *QC_gzerror(QC_gzFile file, int *error) {
    if (file == nullptr) {
        if (error != nullptr) {
            *error = Z_STREAM_ERROR;
        }
        return zError(Z_STREAM_ERROR);
    }
    int ignored = Z_OK;
    const char *text = gzerror(file->stream, error != nullptr ? error : &ignored);
    char name[32];
    auto length = static_cast<size_t>(snprintf(name, sizeof name, "<fd:%d>", file->descriptor));
    if (text == nullptr || file->path == nullptr || strncmp(text, name, length) != 0) {
        return text;
    }
    free(file->message);
    size_t size = strlen(file->path) + strlen(text + length) + 1;
    file->message = static_cast<char *>(malloc(size));
    if (file->message == nullptr) {
        return text;
    }
    snprintf(file->message, size, "%s%s", file->path, text + length);
    return file->message;
}

int QC_gzprintf(QC_gzFile file, const char *format, ...) {
    va_list values;
    va_start(values, format);
    int result = gzvprintf(stream_of(file), format, values);
    va_end(values);
    return result;
}

int QC_isCompress(QC_gzFile file) {
    return file != nullptr && gzdirect(file->stream) == 0 ? 1 : 0;
}

int32_t QC_gzgetlength(QC_gzFile file, z_off_t end) {
    constexpr z_off_t kShortest = 20;  // header, an empty block and trailer
    if (file == nullptr || end < kShortest ||
        lseek(file->descriptor, end - static_cast<z_off_t>(sizeof(int32_t)), SEEK_SET) == -1) {
        return -1;
    }
    int32_t length = 0;
    ssize_t got = hearth::read_all(file->descriptor, &length, sizeof length);
    return got == static_cast<ssize_t>(sizeof length) ? length : -1;
}

// zlib has a macro over this function.
#undef gzgetc

// A function that hands its arguments on to zlib's, with zlib's handle in place of ours.
#define QC_FORWARD_FILE(result, name, parameters, arguments) \
    result QC_##name parameters {                            \
        return name arguments;                               \
    }

QC_FORWARD_FILE(int, gzsetparams, (QC_gzFile file, int level, int strategy),
                (stream_of(file), level, strategy))
QC_FORWARD_FILE(int, gzread, (QC_gzFile file, voidp buffer, unsigned length),
                (stream_of(file), buffer, length))
QC_FORWARD_FILE(int, gzwrite, (QC_gzFile file, voidpc buffer, unsigned length),
                (stream_of(file), buffer, length))
QC_FORWARD_FILE(int, gzputs, (QC_gzFile file, const char *text), (stream_of(file), text))
QC_FORWARD_FILE(char *, gzgets, (QC_gzFile file, char *buffer, int capacity),
                (stream_of(file), buffer, capacity))
QC_FORWARD_FILE(int, gzputc, (QC_gzFile file, int character), (stream_of(file), character))
QC_FORWARD_FILE(int, gzgetc, (QC_gzFile file), (stream_of(file)))
QC_FORWARD_FILE(int, gzungetc, (int character, QC_gzFile file), (character, stream_of(file)))
QC_FORWARD_FILE(int, gzflush, (QC_gzFile file, int flush), (stream_of(file), flush))
QC_FORWARD_FILE(z_off_t, gzseek, (QC_gzFile file, z_off_t offset, int whence),
                (stream_of(file), offset, whence))
QC_FORWARD_FILE(int, gzrewind, (QC_gzFile file), (stream_of(file)))
QC_FORWARD_FILE(z_off_t, gztell, (QC_gzFile file), (stream_of(file)))
QC_FORWARD_FILE(int, gzeof, (QC_gzFile file), (stream_of(file)))
QC_FORWARD_FILE(int, gzdirect, (QC_gzFile file), (stream_of(file)))
QC_FORWARD_FILE(void, gzclearerr, (QC_gzFile file), (stream_of(file)))
