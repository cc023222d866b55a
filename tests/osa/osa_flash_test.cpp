#include "hearth/osa_flash.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "support/capture.h"

namespace {

using hearth::test::StdoutCapture;

TEST(OsaFlash, FourIndexesNameOneFile) {
    mkdir("/data/userdata", 0755);
    int32_t fd = osa_flash_open(0, -1);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(osa_flash_write("firmware", 8, 4, fd), 8);
    char text[16] = "";
    EXPECT_EQ(osa_flash_read(text, sizeof text, 6, fd), 6);
    EXPECT_STREQ(text, "rmware");
    EXPECT_EQ(osa_flash_read(text, 1, 12, fd), -1) << "the end of the file is no count of 0";
    EXPECT_EQ(osa_flash_close(fd), 0);
    for (uint32_t index = 0; index < 4; index++) {
        EXPECT_EQ(osa_get_dload_pkg_size(index), 12);
    }
    EXPECT_EQ(osa_get_dload_pkg_size(4), 0);
    EXPECT_EQ(access("/var/firmware1.bin", F_OK), 0);

    fd = osa_flash_open(3, 0);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(osa_get_dload_pkg_size(0), 12) << "only mode -1 empties the file";
    osa_flash_close(fd);
    osa_flash_close(osa_flash_open(2, -1));
    EXPECT_EQ(osa_get_dload_pkg_size(0), 0);
    EXPECT_EQ(osa_flash_delete(1), 0);
    EXPECT_NE(access("/var/firmware1.bin", F_OK), 0);

    EXPECT_EQ(osa_flash_open(4, 0), -1) << "without mode -1 the file must exist";
    EXPECT_GE(osa_flash_open(4, -1), 0);
    EXPECT_EQ(access("/data/userdata/update_info.bin", F_OK), 0);
}

TEST(OsaFlash, BadArgumentsAndFailures) {
    char text[4];
    StdoutCapture capture;
    EXPECT_EQ(osa_flash_open(5, -1), -1);
    EXPECT_EQ(osa_flash_close(-1), -1);
    EXPECT_EQ(osa_flash_close(1000), 0);
    EXPECT_EQ(osa_flash_read(nullptr, 1, 0, 0), -1);
    EXPECT_EQ(osa_flash_read(text, 0, 0, 0), -1);
    EXPECT_EQ(osa_flash_read(text, 1, 0, -1), -1);
    EXPECT_EQ(osa_flash_write(nullptr, 0, 0, 0), -1);
    EXPECT_EQ(osa_flash_write(text, 0, 0, 1000), 0);
    EXPECT_EQ(osa_flash_write(text, 1, 0, 1000), -1);
    EXPECT_EQ(osa_flash_delete(5), -1);
    EXPECT_EQ(osa_flash_freespace(3), -1);
    EXPECT_EQ(capture.text(), "");
    StdoutCapture second;
    EXPECT_EQ(osa_flash_delete(0), -1);
    EXPECT_EQ(osa_get_dload_pkg_size(5), -1);
    EXPECT_EQ(second.text(),
              "Error!in osa_remove, stat failed. errno = No such file or directory\n"
              "Error!in osa_get_dload_pkg_size, param illegal.\n");
}

TEST(OsaFlash, FreeSpaceIsThatOfOnlineForAllPartitions) {
    struct statfs status {};
    ASSERT_EQ(statfs("/online", &status), 0);
    for (uint32_t partition = 0; partition < 3; partition++) {
        EXPECT_EQ(static_cast<uint32_t>(osa_flash_freespace(partition)),
                  static_cast<uint32_t>(status.f_bsize * status.f_bfree));
    }
}

}  // namespace
