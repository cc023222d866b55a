#include "hearth/osa_flash.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <iterator>

#include "hearth/osa_file.h"

namespace {

constexpr const char *g_update_file[] = {
    "/var/firmware1.bin",
    "/var/firmware1.bin",
    "/var/firmware1.bin",
    "/var/firmware1.bin",
    "/data/userdata/update_info.bin",
};
static_assert(std::size(g_update_file) == OSA_FLASH_FILES);

constexpr uint32_t kLastPartition = 2;
constexpr int32_t kNewFile = -1;

bool seek(int32_t descriptor, uint32_t offset) {
    return osa_lseek(descriptor, static_cast<off_t>(offset), SEEK_SET) != -1;
}

}  // namespace

int32_t osa_flash_open(uint32_t index, int32_t mode) {
    if (index >= OSA_FLASH_FILES) {
        return -1;
    }
    return osa_open(g_update_file[index], mode == kNewFile ? O_RDWR | O_CREAT | O_TRUNC : O_RDWR);
}

int32_t osa_flash_close(int32_t descriptor) {
    if (descriptor == -1) {
        return -1;
    }
    // The result of the close is not passed on: 0 is required.
    (void)osa_close(descriptor);
    return 0;
}

int32_t osa_flash_read(void *buffer, uint32_t length, uint32_t offset, int32_t descriptor) {
    if (buffer == nullptr || length == 0 || descriptor == -1 || !seek(descriptor, offset)) {
        return -1;
    }
    ssize_t count = osa_read(descriptor, buffer, length);
    return count < 1 ? -1 : static_cast<int32_t>(count);
}

int32_t osa_flash_write(const void *buffer, uint32_t length, uint32_t offset, int32_t descriptor) {
    if (buffer == nullptr || descriptor == -1) {
        return -1;
    }
    if (length == 0) {
        return 0;
    }
    if (!seek(descriptor, offset)) {
        return -1;
    }
    ssize_t count = osa_write(descriptor, buffer, length);
    if (count != static_cast<ssize_t>(length)) {
        return -1;
    }
    // The count is required whatever the flush says: some flash file systems have none.
    (void)osa_fsync(descriptor);
    return static_cast<int32_t>(count);
}

int32_t osa_flash_delete(uint32_t index) {
    return index < OSA_FLASH_FILES && osa_remove(g_update_file[index]) == 1 ? 0 : -1;
}

int32_t osa_flash_freespace(uint32_t partition) {
    struct statfs status {};
    if (partition > kLastPartition || statfs("/online", &status) != 0) {
        return -1;
    }
    return static_cast<int32_t>(static_cast<uint32_t>(status.f_bsize) *
                                static_cast<uint32_t>(status.f_bfree));
}

int32_t osa_get_dload_pkg_size(uint32_t index) {
    if (index >= OSA_FLASH_FILES) {
        puts("Error!in osa_get_dload_pkg_size, param illegal.");
        return -1;
    }
    osa_stat_t status{};
    if (osa_stat(g_update_file[index], &status) != 0) {
        return 0;
    }
    return static_cast<int32_t>(static_cast<uint32_t>(status.st_size));
}
