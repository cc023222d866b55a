// Copying and emptying trees of files.

#include <stdio.h>

#include "config/src/global_config.h"
#include "hearth/osa_file.h"

using hearth::allocate_zeroed;
using hearth::HeapBlock;
using hearth::Owned;
using hearth::config::ConfigLock;
using hearth::config::kPathSize;
using hearth::config::Path;

namespace {

constexpr const auto &kLogSource = hearth::config::kConfigLog;
constexpr size_t kCopySize = 2048;

using OpenDirectory = Owned<osa_dir_t, osa_closedir>;
using OpenFile = Owned<FILE, osa_fclose>;

// Copies what is left of a stream. False when a write falls short, and when what there is cannot be
// read: a tree that lacks the rest of a file must not be taken for a complete one.
bool copy_stream(FILE *from, FILE *to, char *buffer) {
    size_t got = 0;
    while ((got = osa_fread(buffer, 1, kCopySize, from)) > 0) {
        if (osa_fwrite(buffer, 1, got, to) != got) {
            return false;
        }
    }
    return ferror(from) == 0;
}

// Removes one entry of a directory with what is below it. False when it could not be removed.
bool remove_entry(const char *path, bool is_directory) {
    if (is_directory && remove_files(path) == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "remove files from dir[%s] failed!\n", path);
    }
    if (osa_remove(path) == 1) {
        return true;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "osa_remove empty document %s failed!\n", path);
    return false;
}

int32_t empty_directory(const char *directory) {
    OpenDirectory open(osa_opendir(directory));
    if (!open) {
        HEARTH_LOG(OSA_LOG_ERROR, "osa_opendir dir(%s) failed!\n", directory);
        return -1;
    }
    HeapBlock<osa_dirent_t> entry = allocate_zeroed<osa_dirent_t>(1);
    Path path;
    if (!entry || !path.allocated()) {
        HEARTH_LOG(OSA_LOG_ERROR, "malloc failed\n");
        return -1;
    }
    while (osa_readdir_next(open.get(), entry.get()) == 1) {
        if (strlen(directory) + strlen(entry->name) + 1 > kPathSize - 1) {
            // Required: the rest of the directory stays, and the result is a success.
            HEARTH_LOG(OSA_LOG_ERROR, "fullpath of target (file or dir) is too long !\n");
            break;
        }
        path.buffer()[0] = '\0';
        path.append(directory).append_name(entry->name);
        if (!remove_entry(path.text(), entry->is_dir == 1)) {
            break;
        }
    }
    return 0;
}

// Makes the target of a tree's copy. False without memory; a target that cannot be made shows
// with its first file.
bool provide_target(const char *target) {
    Path path;
    if (!path.allocated()) {
        return false;
    }
    // Required: a target without a "/" at its end leaves the path empty here.
    if (*target != '\0' && target[strlen(target) - 1] == '/') {
        path.append(target).cut_slash();
    }
    if (path.exists()) {
        return true;
    }
    HEARTH_LOG(OSA_LOG_INFO, "mkpath [%s]!\n", path.text());
    if (osa_mkdir(path.text()) != 1) {
        HEARTH_LOG(OSA_LOG_ERROR, "mkpath[%s] failed!\n", path.text());
    }
    return true;
}

// Copies one entry of a directory. False ends the copy.
bool copy_entry(const osa_dirent_t &entry, Path &from, Path &to) {
    if (entry.is_dir == 1) {
        from.append("/");
        to.append("/");
        if (!from.valid() || !to.valid() || cfg_copy_dir(from.text(), to.text()) != 0) {
            HEARTH_LOG(OSA_LOG_ERROR, "copy dir failed(Src path:[%s] Dst path:[%s])!\n",
                       from.text(), to.text());
            return false;
        }
        return true;
    }
    if (!from.valid() || !to.valid() || cl_cfg_copy_file(from.text(), to.text()) == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "copy file failed(Src path:[%s] Dst path:[%s])!\n", from.text(),
                   to.text());
        return false;
    }
    return true;
}

}  // namespace

int32_t remove_files(const char *directory) {
    if (directory == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
        return -1;
    }
    HEARTH_LOG(OSA_LOG_DEBUG, "enter remove_files, pszSrcDir = %s!\n", directory);
    int32_t result = empty_directory(directory);
    HEARTH_LOG(OSA_LOG_DEBUG, "leave remove_files!\n");
    return result;
}

int32_t cl_remove_files(const char *directory) {
    ConfigLock lock;
    return remove_files(directory);
}

int32_t cl_cfg_copy_file(const char *source, const char *target) {
    if (source == nullptr || target == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
        return 1;
    }
    HeapBlock<char> buffer = allocate_zeroed<char>(kCopySize);
    if (!buffer) {
        return 0;
    }
    OpenFile from(osa_fopen(source, "rb"));
    if (!from) {
        HEARTH_LOG(OSA_LOG_ERROR, "open file[%s] failed!\n", source);
        return 9;
    }
    osa_fseek(from.get(), 0, SEEK_END);
    if (osa_ftell(from.get()) == 0) {
        HEARTH_LOG(OSA_LOG_INFO, "file[%s] is empty!\n", source);
        return 0;
    }
    osa_fseek(from.get(), 0, SEEK_SET);
    OpenFile to(osa_fopen(target, "wb"));
    if (!to) {
        HEARTH_LOG(OSA_LOG_ERROR, "open file[%s] failed!\n", target);
        return 9;
    }
    bool copied = copy_stream(from.get(), to.get(), buffer.get());
    // What the stream still holds back is written by the close, which can fall short too.
    return osa_fclose(to.release()) == 0 && copied ? 0 : -1;
}

int32_t cfg_copy_dir(const char *source, const char *target) {
    if (source == nullptr || target == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
        return -1;
    }
    if (!provide_target(target)) {
        return -1;
    }
    OpenDirectory open(osa_opendir(source));
    if (!open) {
        HEARTH_LOG(OSA_LOG_ERROR, "open dir(%s) failed!\n", source);
        return -1;
    }
    HeapBlock<osa_dirent_t> entry = allocate_zeroed<osa_dirent_t>(1);
    if (!entry) {
        return -1;
    }
    while (osa_readdir_next(open.get(), entry.get()) == 1) {
        Path from;
        Path to;
        if (!from.allocated() || !to.allocated()) {
            return -1;
        }
        from.append(source).append_name(entry->name);
        to.append(target).append_name(entry->name);
        HEARTH_LOG(OSA_LOG_INFO, "get file path is: [%s]!\n", from.text());
        if (!copy_entry(*entry.get(), from, to)) {
            return -1;
        }
    }
    return 0;
}
