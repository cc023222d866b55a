#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "crypto/vectors.h"
#include "hearth/cl_md5.h"
#include "hearth/osa_flash.h"

namespace {

using hearth::test::Bytes;
using hearth::test::bytes_of;
using hearth::test::load_vectors;
using hearth::test::pattern;
using hearth::test::VectorRow;

// How many more updates go well, -1 for all.
int g_updates_left = -1;

void write_file(const char *path, const Bytes &bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()), static_cast<long>(bytes.size()));
}

}  // namespace

// Stands in for the library's own, to let an update fail.
extern "C" __attribute__((visibility("default"))) int32_t cl_md5_update(cl_md5_context *context,
                                                                        const void *data,
                                                                        uint32_t length) {
    static auto real = reinterpret_cast<int32_t (*)(cl_md5_context *, const void *, uint32_t)>(
        dlsym(RTLD_NEXT, "cl_md5_update"));
    return g_updates_left == 0
               ? 1
               : (g_updates_left -= g_updates_left > 0, real(context, data, length));
}

namespace {

TEST(Md5File, DigestsFilesAndPartitions) {
    for (const VectorRow &row : load_vectors("md5.txt")) {
        SCOPED_TRACE(row.title + ": " + row.fields[0]);
        Bytes message = bytes_of(row.fields[0]);
        write_file("/var/firmware1.bin", message);
        auto length = static_cast<uint32_t>(message.size());
        Bytes digest(16);
        EXPECT_EQ(cl_md5File("/var/firmware1.bin", digest.data()), 0);
        EXPECT_EQ(digest, bytes_of(row.fields[1]));
        digest.assign(16, 0);
        EXPECT_EQ(cl_md5Flash(2, length, digest.data()), 0);
        EXPECT_EQ(digest, bytes_of(row.fields[1]));
        // Nothing of the partition is lost, and the end of it is not passed.
        EXPECT_EQ(osa_get_dload_pkg_size(2), static_cast<int32_t>(length));
        EXPECT_EQ(cl_md5Flash(2, length + 1, digest.data()), 12);
    }
}

TEST(Md5File, TellsWhatWentWrong) {
    uint8_t digest[16];
    EXPECT_EQ(cl_md5File("/var/missing", digest), 9);
    EXPECT_EQ(cl_md5File(nullptr, digest), 9);
    EXPECT_EQ(cl_md5File("/var", digest), 12);  // opens, but cannot be read
    EXPECT_EQ(cl_md5File("/var/missing", nullptr), 1);
    EXPECT_EQ(cl_md5Flash(5, 1, digest), 1);
    EXPECT_EQ(cl_md5Flash(0, 1, nullptr), 1);
    EXPECT_EQ(cl_md5Flash(4, 1, digest), 9);
}

TEST(Md5File, FailsWithEachFailingUpdate) {
    write_file("/var/firmware1.bin", pattern(20000));
    uint8_t digest[16];
    for (int good = 0; good < 3; good++) {
        g_updates_left = good;
        EXPECT_EQ(cl_md5File("/var/firmware1.bin", digest), 12) << good;
        g_updates_left = good;
        EXPECT_EQ(cl_md5Flash(0, 20000, digest), 12) << good;
    }
    g_updates_left = 0;
    EXPECT_EQ(cl_md5Stream("a", 1, digest), 12);
    // The descriptors came back: the next one is the lowest free one again.
    g_updates_left = -1;
    int before = dup(0);
    close(before);
    EXPECT_EQ(cl_md5Flash(0, 20001, digest), 12);
    EXPECT_EQ(cl_md5File("/var", digest), 12);
    int after = dup(0);
    close(after);
    EXPECT_EQ(after, before);
}

}  // namespace
