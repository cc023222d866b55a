// Directory walks, and the removal that takes directories.
#include <dirent.h>
#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

#include "base/guard.h"
#include "base/text.h"
#include "hearth/osa_file.h"

namespace {

constexpr size_t kPathSize = 256;

}  // namespace

struct osa_dir_t {
    DIR *stream;
    char path[kPathSize];
};

namespace {

using Handle = hearth::Owned<osa_dir_t, osa_closedir>;

// The path of an entry. A name that does not fit is refused rather than cut, because the cut path
// could be another file's.
bool entry_path(const char *directory, const char *name, char (&path)[kPathSize]) {
    const char *separator = std::string_view(directory).ends_with('/') ? "" : "/";
    if (!hearth::format_text(path, sizeof path, "%s%s%s", directory, separator, name)) {
        errno = ENAMETOOLONG;
        return false;
    }
    return true;
}

bool is_self_or_parent(const char *name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

bool remove_entry(const char *directory, const osa_dirent_t &entry) {
    char path[kPathSize];
    if (!entry_path(directory, entry.name, path)) {
        return false;
    }
    return (entry.is_dir != 0 ? rmdir(path) : remove(path)) == 0;
}

bool remove_entries(const char *path) {
    Handle directory(osa_opendir(path));
    if (!directory) {
        return false;
    }
    osa_dirent_t entry{};
    while (osa_readdir_next(directory.get(), &entry) != 0) {
        if (!remove_entry(path, entry)) {
            return false;
        }
    }
    return true;
}

}  // namespace

osa_dir_t *osa_opendir(const char *path) {
    if (path == nullptr) {
        return nullptr;
    }
    if (strlen(path) >= kPathSize) {
        printf("Error!in osa_opendir,the dir_path len overrun fixed-size :%d\n",
               static_cast<int>(kPathSize));
        return nullptr;
    }
    auto handle = hearth::allocate_zeroed<osa_dir_t>(1);
    if (!handle) {
        puts("Error!in osa_opendir, param illegal.");
        return nullptr;
    }
    handle->stream = opendir(path);
    if (handle->stream == nullptr) {
        printf("Error!in osa_opendir, opendir failed. errno = %s\n", strerror(errno));
        return nullptr;
    }
    hearth::copy_text(handle->path, path);
    return handle.release();
}

int32_t osa_readdir_next(osa_dir_t *directory, osa_dirent_t *entry) {
    if (directory == nullptr || entry == nullptr) {
        puts("Error!in osa_readdir_next, param illegal.");
        return 0;
    }
    const dirent *found = nullptr;
    do {
        found = readdir(directory->stream);
        if (found == nullptr) {
            return 0;
        }
    } while (is_self_or_parent(found->d_name));
    char path[kPathSize];
    struct stat status {};
    if (!entry_path(directory->path, found->d_name, path) || stat(path, &status) != 0) {
        printf("Error!in osa_readdir_next, stat failed. errno = %s\n", strerror(errno));
        return 0;
    }
    entry->is_dir = S_ISDIR(status.st_mode) ? 1 : 0;
    entry->size = static_cast<uint32_t>(status.st_size);
    hearth::copy_text(entry->name, found->d_name);
    return 1;
}

int32_t osa_closedir(osa_dir_t *directory) {
    if (directory == nullptr) {
        return 0;
    }
    int result = closedir(directory->stream);
    free(directory);
    return result == 0;
}

int32_t osa_remove(const char *path) {
    if (path == nullptr) {
        return 0;
    }
    struct stat status {};
    if (stat(path, &status) != 0) {
        printf("Error!in osa_remove, stat failed. errno = %s\n", strerror(errno));
        return 0;
    }
    if (!S_ISDIR(status.st_mode)) {
        return remove(path) == 0;
    }
    return remove_entries(path) && rmdir(path) == 0;
}
