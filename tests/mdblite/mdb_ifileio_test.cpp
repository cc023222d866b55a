#include "hearth/mdb_ifileio.h"

#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/faults.h"

namespace {

using namespace hearth::test;

constexpr const char *kPath = "/data/file";

// A path of exactly `length` characters whose directories exist.
std::string long_path(size_t length) {
    std::string path = "/data/" + std::string(100, 'd');
    mkdir(path.c_str(), 0755);
    return path + "/" + std::string(length - path.size() - 1, 'f');
}

PBase_IFileStream *open_new(const char *path = kPath) {
    PBase_IFileStream *stream = nullptr;
    EXPECT_EQ(PBase_IFileStream_openFile(path, PBASE_MODE_CREATE, &stream), PBASE_OK);
    return stream;
}

TEST(MdbStream, OpensByModeAndRefusesTheRest) {
    struct Case {
        const char *path;
        int32_t mode;
        int32_t expected;
    };
    std::string fits = long_path(255);
    std::string too_long = long_path(256);
    const Case cases[] = {
        {kPath, PBASE_MODE_READ, PBASE_ERR_FILE_NOT_FOUND},
        {kPath, PBASE_MODE_UPDATE, PBASE_ERR_FILE_NOT_FOUND},
        {kPath, PBASE_MODE_APPEND, PBASE_ERR_FILE_NOT_FOUND},
        {kPath, PBASE_MODE_CREATE, PBASE_OK},
        {kPath, PBASE_MODE_CREATE2, PBASE_OK},
        {kPath, PBASE_MODE_READ, PBASE_OK},
        {kPath, PBASE_MODE_UPDATE, PBASE_OK},
        {kPath, PBASE_MODE_APPEND, PBASE_OK},
        {kPath, 1, PBASE_ERR_GENERAL},
        {nullptr, PBASE_MODE_READ, PBASE_ERR_GENERAL},
        {"/data/none/file", PBASE_MODE_CREATE, PBASE_ERR_GENERAL},
        {"/data", PBASE_MODE_UPDATE, PBASE_ERR_GENERAL},
        {fits.c_str(), PBASE_MODE_CREATE, PBASE_OK},
        {too_long.c_str(), PBASE_MODE_CREATE, PBASE_ERR_NAME_TOO_LONG},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.path == nullptr ? "" : c.path) + " " + std::to_string(c.mode));
        PBase_IFileStream unset{};
        PBase_IFileStream *stream = &unset;
        EXPECT_EQ(PBase_IFileStream_openFile(c.path, c.mode, &stream), c.expected);
        EXPECT_EQ(stream != nullptr, c.expected == PBASE_OK);
        if (c.expected == PBASE_OK) {
            EXPECT_STREQ(stream->path, c.path);
            EXPECT_EQ(PBase_IFileStream_close(stream), PBASE_OK);
        }
    }
}

TEST(MdbStream, WritesReachTheFileAtOnce) {
    PBase_IFileStream *stream = open_new();
    uint32_t count = 0;
    EXPECT_EQ(PBase_IFileStream_write_without_EFSCheck(stream, "abcdef", 6, &count), PBASE_OK);
    EXPECT_EQ(count, 6u);
    struct stat status {};
    EXPECT_EQ(stat(kPath, &status), 0);
    EXPECT_EQ(status.st_size, 6);

    uint32_t position = 0;
    EXPECT_EQ(PBase_IFileStream_skip(stream, -2, SEEK_END, &position), PBASE_OK);
    EXPECT_EQ(position, 4u);
    char buffer[8] = {};
    EXPECT_EQ(PBase_IFileStream_read(stream, buffer, sizeof buffer, &count), PBASE_OK);
    EXPECT_EQ(count, 2u);
    EXPECT_STREQ(buffer, "ef");
    EXPECT_EQ(PBase_IFileStream_tell(stream), 6);
    EXPECT_EQ(PBase_IFileStream_read(stream, buffer, sizeof buffer, &count), PBASE_ERR_GENERAL);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(PBase_IFileStream_skip(stream, -1, SEEK_SET, nullptr), PBASE_ERR_GENERAL);

    PBase_FileInfo info;
    memset(&info, 0x55, sizeof info);
    EXPECT_EQ(PBase_IFileStream_getFileInfo(stream, &info), PBASE_OK);
    EXPECT_EQ(info.reserved0, 0u);
    EXPECT_EQ(info.reserved1, 0x55555555u);
    EXPECT_EQ(info.size, 6u);
    EXPECT_STREQ(info.name, kPath);
    EXPECT_EQ(PBase_IFileStream_truncate(stream, 0), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_IFileStream_close(stream), PBASE_OK);
}

TEST(MdbStream, CommitReopensAndAFailedOneLeavesADeadStream) {
    PBase_IFileStream *stream = open_new();
    uint32_t count = 0;
    PBase_IFileStream_write_without_EFSCheck(stream, "abc", 3, &count);
    EXPECT_EQ(PBase_IFileStream_fflush(stream), PBASE_OK);
    EXPECT_EQ(PBase_IFileStream_tell(stream), 0);

    unlink(kPath);
    EXPECT_EQ(PBase_IFileStream_fflush(stream), PBASE_ERR_GENERAL);
    ASSERT_EQ(stream->file, nullptr);
    char byte = 0;
    PBase_FileInfo info;
    EXPECT_EQ(PBase_IFileStream_read(stream, &byte, 1, &count), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_IFileStream_write_without_EFSCheck(stream, &byte, 1, &count),
              PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_IFileStream_skip(stream, 0, SEEK_SET, nullptr), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_IFileStream_tell(stream), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_IFileStream_getFileInfo(stream, &info), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_IFileStream_fflush(stream), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_IFileStream_close(stream), PBASE_ERR_GENERAL);
    free(stream);
}

TEST(MdbStream, ShortTransfersAreSuccessesAndNoneIsAFailure) {
    PBase_IFileStream *stream = open_new();
    uint32_t count = 0;
    arm_fault(Fault::kShort, kWrites, 1);
    EXPECT_EQ(PBase_IFileStream_write_without_EFSCheck(stream, "abcd", 4, &count), PBASE_OK);
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(count, 2u);
    arm_fault(Fault::kFail, kWrites, 1, ENOSPC);
    EXPECT_EQ(PBase_IFileStream_write_without_EFSCheck(stream, "abcd", 4, &count),
              PBASE_ERR_GENERAL);
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(PBase_IFileStream_close(stream), PBASE_OK);
}

TEST(MdbFile, NamesAreTestedRemovedRenamedAndMade) {
    PBase_IFileStream_close(open_new());
    EXPECT_EQ(PBase_File_exists(nullptr), 1);
    EXPECT_EQ(PBase_File_exists(""), 1);
    EXPECT_EQ(PBase_File_exists("/"), 1);
    EXPECT_EQ(PBase_File_exists(kPath), 1);
    EXPECT_EQ(PBase_File_exists("/data/userdata/"), 1);
    EXPECT_EQ(PBase_File_exists("/data/none"), 0);
    EXPECT_EQ(PBase_File_exists(std::string(257, '/').c_str()), 0);

    EXPECT_EQ(PBase_File_rename(nullptr, "/data/b"), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_File_rename(kPath, nullptr), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_File_rename("/data/none", "/data/b"), PBASE_ERR_FILE_NOT_FOUND);
    EXPECT_EQ(PBase_File_rename(kPath, kPath), PBASE_ERR_FILE_EXISTS);
    EXPECT_EQ(PBase_File_rename(kPath, "/data/userdata"), PBASE_ERR_FILE_EXISTS);
    EXPECT_EQ(PBase_File_rename(kPath, long_path(256).c_str()), PBASE_ERR_NAME_TOO_LONG);
    EXPECT_EQ(PBase_File_rename(kPath, "/data/none/b"), -1);
    EXPECT_EQ(PBase_File_rename(kPath, "/data/b"), PBASE_OK);
    EXPECT_EQ(PBase_File_removeFile("/data/b"), PBASE_OK);
    EXPECT_EQ(PBase_File_removeFile("/data/b"), PBASE_ERR_FILE_NOT_FOUND);

    EXPECT_EQ(PBase_File_mkDir(nullptr), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_File_mkDir(""), PBASE_ERR_GENERAL);
    EXPECT_EQ(PBase_File_mkDir("/data/new/"), PBASE_OK);
    EXPECT_EQ(PBase_File_exists("/data/new"), 1);
    EXPECT_EQ(PBase_File_mkDir("/data/new"), PBASE_ERR_GENERAL);
}

}  // namespace
