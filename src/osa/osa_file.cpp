// The forwarding file calls and file status.
#include "hearth/osa_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <iterator>
#include <type_traits>

namespace {

enum class Call : uint8_t {
    kOpen,
    kRead,
    kWrite,
    kClose,
    kLseek,
    kFopen,
    kFclose,
    kFgetc,
    kFgets,
    kFseek,
    kFtell,
    kFread,
    kFwrite,
    kFputs,
    kFputc,
    kFeof,
    kFflush,
    kFprintf,
    kVfprintf,
    kMkdir,
    kRename,
    kRmdir,
    kChdir,
    kSymlink,
    kUnlink,
    kFsync,
    kFtruncate,
    kCount
};

// What a call with bad arguments prints and, unless it returns a pointer, gives.
struct Refusal {
    Call call;
    int result;
    const char *text;
};

constexpr Refusal kRefusals[] = {
    {Call::kOpen, -1, "Error!in osa_open, the argument pathname  is NULL."},
    {Call::kRead, -1, "Error!in osa_read, the argument buf or filedes less than zero is NULL."},
    {Call::kWrite, -1, "Error!in osa_write, the argument buf or filedes less than zero is NULL."},
    {Call::kClose, -1, nullptr},
    {Call::kLseek, -1, "Error!in osa_lseek, the argument  filedes less than zero is NULL."},
    {Call::kFopen, 0, "Error!in osa_fopen, the argument pathname or type is NULL."},
    {Call::kFclose, -1, "Error!in osa_fclose, the argument fp is NULL."},
    {Call::kFgetc, -1, "Error!in osa_fgetc, the argument fp is NULL."},
    {Call::kFgets, 0, "Error!in osa_fgets, the argument buf or fp is NULL."},
    {Call::kFseek, -1, "Error!in osa_fseek, the argument fp is NULL."},
    {Call::kFtell, -1, "Error!in osa_ftell, the argument fp is NULL."},
    {Call::kFread, -1, "Error!in osa_fread, the argument buf or fp is NULL."},
    {Call::kFwrite, -1, "Error!in osa_fwrite, the argument buf or fp is NULL."},
    {Call::kFputs, -1, "Error!in osa_fputs, the argument buf or fp is NULL."},
    {Call::kFputc, -1, "Error!in osa_fputc, param illegal."},
    {Call::kFeof, -1, "Error!in osa_feof, param illegal."},
    {Call::kFflush, 0, "Error!in osa_fflush, param illegal."},
    {Call::kFprintf, -1, "Error!in osa_fprintf, param illegal."},
    {Call::kVfprintf, -1, "Error!in osa_vfprintf, param illegal."},
    {Call::kMkdir, 0, "Error!in osa_mkdir, the argument path is NULL."},
    {Call::kRename, 0, "Error!in osa_rename, the argument is NULL."},
    {Call::kRmdir, 0, "Error!in osa_rmdir, the argument is NULL."},
    {Call::kChdir, 0, "Error!in osa_chdir, the argument is NULL."},
    {Call::kSymlink, 0, "Error!in osa_symlink, the argument is NULL."},
    {Call::kUnlink, 0, "Error!in osa_unlink, the argument is NULL."},
    {Call::kFsync, 0, "Error!in osa_fsync, param illegal."},
    {Call::kFtruncate, 0, "Error!in osa_ftruncate, param illegal."},
};

constexpr bool rows_match_calls() {
    size_t row = 0;
    for (const Refusal &refusal : kRefusals) {
        if (static_cast<size_t>(refusal.call) != row++) {
            return false;
        }
    }
    return row == static_cast<size_t>(Call::kCount);
}
static_assert(rows_match_calls());

// A pointer is usable when it is not null, a descriptor, length or size when it is not negative.
template <typename Value>
bool usable_value(Value value) {
    if constexpr (std::is_pointer_v<Value>) {
        return value != nullptr;
    } else {
        return value >= 0;
    }
}
template <typename... Values>
bool usable(Values... values) {
    return (usable_value(values) && ...);
}

template <typename Result>
Result refuse(Call call) {
    const Refusal &refusal = kRefusals[static_cast<size_t>(call)];
    if (refusal.text != nullptr) {
        puts(refusal.text);
    }
    if constexpr (std::is_pointer_v<Result>) {
        return nullptr;
    } else {
        return static_cast<Result>(refusal.result);
    }
}

// First group: the system's result, as it is.
template <auto Function, typename... Args>
auto forward(Call call, bool valid, Args... args) {
    using Result = decltype(Function(args...));
    return valid ? Function(args...) : refuse<Result>(call);
}

// Second group: 1 for the system's 0, and 0 for failure.
template <auto Function, typename... Args>
int32_t succeeds(Call call, bool valid, Args... args) {
    return valid ? Function(args...) == 0 : refuse<int32_t>(call);
}

int open_with_mode(const char *path, int flags) {
    return open(path, flags, (flags & O_CREAT) != 0 ? 0644 : 0);
}

osa_stat_t to_record(const struct stat &from) {
    osa_stat_t record{};
    record.st_dev = from.st_dev;
    record.st_ino = static_cast<uint32_t>(from.st_ino);
    record.st_mode = from.st_mode;
    record.st_nlink = static_cast<uint32_t>(from.st_nlink);
    record.st_uid = from.st_uid;
    record.st_gid = from.st_gid;
    record.st_rdev = from.st_rdev;
    record.st_size = from.st_size;
    record.st_blksize = static_cast<uint32_t>(from.st_blksize);
    record.st_blocks = static_cast<uint32_t>(from.st_blocks);
    record.st_atime = static_cast<uint32_t>(from.st_atime);
    return record;
}

}  // namespace

static_assert(sizeof(osa_stat_t) == 64 && offsetof(osa_stat_t, st_rdev) == 32 &&
              offsetof(osa_stat_t, st_size) == 40 && offsetof(osa_stat_t, st_blksize) == 48);
static_assert(sizeof(osa_statfs_t) == 28);

int osa_open(const char *path, int flags) {
    return forward<open_with_mode>(Call::kOpen, usable(path), path, flags);
}

ssize_t osa_read(int descriptor, void *buffer, size_t count) {
    return forward<read>(Call::kRead, usable(buffer, descriptor), descriptor, buffer, count);
}

ssize_t osa_write(int descriptor, const void *buffer, size_t count) {
    return forward<write>(Call::kWrite, usable(buffer, descriptor), descriptor, buffer, count);
}

int osa_close(int descriptor) {
    return forward<close>(Call::kClose, usable(descriptor), descriptor);
}

off_t osa_lseek(int descriptor, off_t offset, int whence) {
    return forward<lseek>(Call::kLseek, usable(descriptor), descriptor, offset, whence);
}

FILE *osa_fopen(const char *path, const char *mode) {
    return forward<fopen>(Call::kFopen, usable(path, mode), path, mode);
}

int osa_fclose(FILE *stream) {
    return forward<fclose>(Call::kFclose, usable(stream), stream);
}

int osa_fgetc(FILE *stream) {
    return forward<fgetc>(Call::kFgetc, usable(stream), stream);
}

char *osa_fgets(char *buffer, int size, FILE *stream) {
    return forward<fgets>(Call::kFgets, usable(buffer, stream, size), buffer, size, stream);
}

int osa_fseek(FILE *stream, long offset, int whence) {
    return forward<fseek>(Call::kFseek, usable(stream), stream, offset, whence);
}

long osa_ftell(FILE *stream) {
    return forward<ftell>(Call::kFtell, usable(stream), stream);
}

size_t osa_fread(void *buffer, size_t size, size_t count, FILE *stream) {
    return forward<fread>(Call::kFread, usable(buffer, stream), buffer, size, count, stream);
}

size_t osa_fwrite(const void *buffer, size_t size, size_t count, FILE *stream) {
    return forward<fwrite>(Call::kFwrite, usable(buffer, stream), buffer, size, count, stream);
}

int osa_fputs(const char *text, FILE *stream) {
    return forward<fputs>(Call::kFputs, usable(text, stream), text, stream);
}

int osa_fputc(int character, FILE *stream) {
    return forward<fputc>(Call::kFputc, usable(stream), character, stream);
}

int osa_feof(FILE *stream) {
    return forward<feof>(Call::kFeof, usable(stream), stream);
}

int osa_fflush(FILE *stream) {
    return forward<fflush>(Call::kFflush, usable(stream), stream);
}

int osa_fprintf(FILE *stream, const char *format, ...) {
    va_list values;
    va_start(values, format);
    int result = forward<vfprintf>(Call::kFprintf, usable(stream, format), stream, format, values);
    va_end(values);
    return result;
}

int osa_vfprintf(FILE *stream, const char *format, va_list values) {
    return forward<vfprintf>(Call::kVfprintf, usable(stream, format), stream, format, values);
}

void osa_rewind(FILE *stream) {
    if (stream != nullptr && fseek(stream, 0, SEEK_SET) != 0) {
        printf("Error!in osa_rewind, fseek failed. errno = %s\n", strerror(errno));
        clearerr(stream);
    }
}

void osa_sync(void) {
    sync();
}

int32_t osa_mkdir(const char *path) {
    return succeeds<mkdir>(Call::kMkdir, usable(path), path, mode_t{0755});
}

int32_t osa_rename(const char *from, const char *to) {
    return succeeds<rename>(Call::kRename, usable(from, to), from, to);
}

int32_t osa_rmdir(const char *path) {
    return succeeds<rmdir>(Call::kRmdir, usable(path), path);
}

int32_t osa_chdir(const char *path) {
    return succeeds<chdir>(Call::kChdir, usable(path), path);
}

int32_t osa_symlink(const char *target, const char *path) {
    return succeeds<symlink>(Call::kSymlink, usable(target, path), target, path);
}

int32_t osa_unlink(const char *path) {
    return succeeds<unlink>(Call::kUnlink, usable(path), path);
}

int32_t osa_fsync(int descriptor) {
    return succeeds<fsync>(Call::kFsync, usable(descriptor), descriptor);
}

int32_t osa_ftruncate(int descriptor, off_t length) {
    return succeeds<ftruncate>(Call::kFtruncate, usable(descriptor, length), descriptor, length);
}

int32_t osa_stat(const char *path, osa_stat_t *status) {
    if (path == nullptr || status == nullptr) {
        puts("Error!in osa_stat, param illegal.");
        return -1;
    }
    struct stat found {};
    int result = stat(path, &found);
    if (result == 0) {
        *status = to_record(found);
    }
    return result;
}

int32_t osa_fstat(int descriptor, osa_stat_t *status) {
    if (descriptor < 0 || status == nullptr) {
        puts("Error!in osa_fstat, param illegal.");
        return -1;
    }
    struct stat found {};
    if (fstat(descriptor, &found) != 0) {
        printf("Error!in osa_fstat, fstat failed. errno = %s\n", strerror(errno));
        return -1;
    }
    *status = to_record(found);
    return 0;
}

int32_t osa_statfs(const char *path, osa_statfs_t *status) {
    if (path == nullptr || status == nullptr) {
        puts("Error!in osa_statfs, param illegal.");
        return 0;
    }
    struct statfs found {};
    if (statfs(path, &found) != 0) {
        printf("Error!in osa_statfs, statfs failed. errno = %s\n", strerror(errno));
        return 0;
    }
    *status = {static_cast<uint32_t>(found.f_type),   static_cast<uint32_t>(found.f_bsize),
               static_cast<uint32_t>(found.f_blocks), static_cast<uint32_t>(found.f_bfree),
               static_cast<uint32_t>(found.f_bavail), static_cast<uint32_t>(found.f_files),
               static_cast<uint32_t>(found.f_ffree)};
    return 1;
}
