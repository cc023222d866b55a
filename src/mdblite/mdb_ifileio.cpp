#include "hearth/mdb_ifileio.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <limits>

#include "base/guard.h"
#include "base/text.h"
#include "hearth/osa_file.h"
#include "mdblite/mdb_stream.h"

using hearth::copy_text;

namespace {

constexpr size_t kPathCapacity = sizeof(PBase_IFileStream::path);

struct Mode {
    const char *stdio;
    int32_t number;
    bool needs_file;
};

constexpr Mode kModes[] = {
    {"rbe", PBASE_MODE_READ, true},     {"rb+e", PBASE_MODE_UPDATE, true},
    {"wb+e", PBASE_MODE_CREATE, false}, {"wb+e", PBASE_MODE_CREATE2, false},
    {"abe", PBASE_MODE_APPEND, true},
};

bool is_open(const PBase_IFileStream *stream) {
    return stream != nullptr && stream->file != nullptr;
}

// Without a stdio buffer: nothing is read around a seek, and positioned transfers on the
// descriptor never meet bytes that stdio holds back.
FILE *open_unbuffered(const char *path, const char *mode) {
    FILE *file = fopen(path, mode);
    if (file != nullptr) {
        setvbuf(file, nullptr, _IONBF, 0);
    }
    return file;
}

// The path without one "/" at its end; the root directory stays. False if it has no room.
bool trim_path(const char *path, char (&to)[kPathCapacity]) {
    size_t length = strnlen(path, kPathCapacity + 1);
    if (length > 1 && path[length - 1] == '/') {
        length--;
    }
    return copy_text(to, {path, length}) == length;
}

int32_t result_of(bool success) {
    return success ? PBASE_OK : PBASE_ERR_GENERAL;
}

}  // namespace

int32_t PBase_IFileStream_openFile(const char *path, int32_t mode, PBase_IFileStream **stream) {
    if (stream == nullptr) {
        return PBASE_ERR_GENERAL;
    }
    *stream = nullptr;
    const Mode *found = std::find_if(std::begin(kModes), std::end(kModes),
                                     [mode](const Mode &m) { return m.number == mode; });
    if (path == nullptr || found == std::end(kModes)) {
        return PBASE_ERR_GENERAL;
    }
    if (strnlen(path, kPathCapacity) == kPathCapacity) {
        return PBASE_ERR_NAME_TOO_LONG;
    }
    if (found->needs_file && PBase_File_exists(path) == 0) {
        return PBASE_ERR_FILE_NOT_FOUND;
    }
    auto opened = hearth::allocate_zeroed<PBase_IFileStream>(1);
    if (!opened) {
        return PBASE_ERR_GENERAL;
    }
    opened->file = open_unbuffered(path, found->stdio);
    if (opened->file == nullptr) {
        return PBASE_ERR_GENERAL;
    }
    copy_text(opened->path, path);
    *stream = opened.release();
    return PBASE_OK;
}

int32_t PBase_IFileStream_read(PBase_IFileStream *stream, void *buffer, uint32_t length,
                               uint32_t *count) {
    if (!is_open(stream) || buffer == nullptr || count == nullptr) {
        return PBASE_ERR_GENERAL;
    }
    *count = static_cast<uint32_t>(fread(buffer, 1, length, stream->file));
    return result_of(*count != 0);
}

int32_t PBase_IFileStream_write_without_EFSCheck(PBase_IFileStream *stream, const void *buffer,
                                                 uint32_t length, uint32_t *count) {
    if (!is_open(stream) || buffer == nullptr || count == nullptr) {
        return PBASE_ERR_GENERAL;
    }
    *count = static_cast<uint32_t>(fwrite(buffer, 1, length, stream->file));
    if (*count != 0 && fflush(stream->file) != 0) {
        *count = 0;
    }
    return result_of(*count != 0);
}

int32_t PBase_IFileStream_close(PBase_IFileStream *stream) {
    if (!is_open(stream)) {
        return PBASE_ERR_GENERAL;
    }
    int failed = fclose(stream->file);
    free(stream);
    return result_of(failed == 0);
}

int32_t PBase_IFileStream_skip(PBase_IFileStream *stream, int32_t offset, int32_t whence,
                               uint32_t *position) {
    if (!is_open(stream) || fseek(stream->file, offset, whence) != 0) {
        return PBASE_ERR_GENERAL;
    }
    if (position == nullptr) {
        return PBASE_OK;
    }
    long reached = ftell(stream->file);
    if (reached < 0) {
        return PBASE_ERR_GENERAL;
    }
    *position = static_cast<uint32_t>(reached);
    return PBASE_OK;
}

int32_t PBase_IFileStream_tell(PBase_IFileStream *stream) {
    long position = is_open(stream) ? ftell(stream->file) : -1;
    return position < 0 ? PBASE_ERR_GENERAL : static_cast<int32_t>(position);
}

// Required to fail: what the table store reports for files that grow rests on this result.
int32_t PBase_IFileStream_truncate(PBase_IFileStream * /*stream*/, uint32_t /*length*/) {
    return PBASE_ERR_GENERAL;
}

int32_t PBase_IFileStream_getFileInfo(PBase_IFileStream *stream, PBase_FileInfo *info) {
    struct stat status {};
    if (!is_open(stream) || info == nullptr || fstat(fileno(stream->file), &status) != 0) {
        return PBASE_ERR_GENERAL;
    }
    constexpr off_t kLargest = std::numeric_limits<int32_t>::max();
    info->reserved0 = 0;
    info->size = static_cast<uint32_t>(std::min(status.st_size, kLargest));
    copy_text(info->name, stream->path);
    return PBASE_OK;
}

int32_t PBase_IFileStream_fflush(PBase_IFileStream *stream) {
    if (!is_open(stream)) {
        return PBASE_ERR_GENERAL;
    }
    // Nothing is buffered here, so closing has nothing to lose; the reopening alone decides.
    fclose(stream->file);
    stream->file = open_unbuffered(stream->path, "rb+e");
    return result_of(stream->file != nullptr);
}

int32_t PBase_File_exists(const char *path) {
    if (path == nullptr || *path == '\0') {
        return 1;
    }
    char trimmed[kPathCapacity];
    struct stat status {};
    return trim_path(path, trimmed) && stat(trimmed, &status) == 0 ? 1 : 0;
}

int32_t PBase_File_removeFile(const char *path) {
    if (path == nullptr) {
        return PBASE_ERR_GENERAL;
    }
    return PBase_File_exists(path) == 0 ? PBASE_ERR_FILE_NOT_FOUND : remove(path);
}

int32_t PBase_File_rename(const char *old_path, const char *new_path) {
    if (old_path == nullptr || new_path == nullptr) {
        return PBASE_ERR_GENERAL;
    }
    if (PBase_File_exists(old_path) == 0) {
        return PBASE_ERR_FILE_NOT_FOUND;
    }
    if (PBase_File_exists(new_path) == 1 || strcmp(old_path, new_path) == 0) {
        return PBASE_ERR_FILE_EXISTS;
    }
    if (strnlen(old_path, kPathCapacity) == kPathCapacity ||
        strnlen(new_path, kPathCapacity) == kPathCapacity) {
        return PBASE_ERR_NAME_TOO_LONG;
    }
    return rename(old_path, new_path);
}

int32_t PBase_File_mkDir(const char *path) {
    char trimmed[kPathCapacity];
    if (path == nullptr || *path == '\0' || !trim_path(path, trimmed)) {
        return PBASE_ERR_GENERAL;
    }
    return result_of(osa_mkdir(trimmed) == 1);
}

namespace hearth::mdblite {

size_t write_at(PBase_IFileStream *stream, uint32_t offset, const void *data, size_t length) {
    if (!is_open(stream)) {
        return 0;
    }
    ssize_t written = -1;
    do {
        written = pwrite(fileno(stream->file), data, length, static_cast<off_t>(offset));
    } while (written < 0 && errno == EINTR);
    return written < 0 ? 0 : static_cast<size_t>(written);
}

size_t read_at(PBase_IFileStream *stream, uint32_t offset, void *data, size_t length) {
    if (!is_open(stream)) {
        return 0;
    }
    ssize_t got = -1;
    do {
        got = pread(fileno(stream->file), data, length, static_cast<off_t>(offset));
    } while (got < 0 && errno == EINTR);
    return got < 0 ? 0 : static_cast<size_t>(got);
}

bool sync_stream(PBase_IFileStream *stream) {
    return is_open(stream) && fdatasync(fileno(stream->file)) == 0;
}

void dispose_stream(PBase_IFileStream *stream) {
    if (is_open(stream)) {
        PBase_IFileStream_close(stream);
    } else {
        free(stream);
    }
}

}  // namespace hearth::mdblite
