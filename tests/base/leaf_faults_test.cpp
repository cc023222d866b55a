// Every call below the leaf modules fails, comes short or is interrupted in turn: compression,
// digests of files, ciphers, codings.
#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>

#include "hearth/cl_des.h"
#include "hearth/cl_md5.h"
#include "hearth/gz.h"
#include "support/sweep.h"

namespace {

using namespace hearth::test;

constexpr const char *kPlain = "/var/plain";
constexpr const char *kPacked = "/var/packed.gz";
constexpr const char *kOut = "/var/out";
const std::string kText(20000, 't');

std::string read_text(const char *path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void make_files() {
    std::ofstream(kPlain, std::ios::binary) << kText;
    if (access(kPacked, F_OK) != 0) {
        ASSERT_EQ(cl_gz_compressFile(kPlain, kPacked), 0);
    }
    unlink(kOut);
}

uint8_t g_digest[16];
uint32_t g_length;

const Sweep kSweeps[] = {
    {"gz: compress a file",
     make_files,
     [] { return cl_gz_compressFile(kPlain, kOut); },
     [](int32_t result) {
         if (result == 0) {
             unlink(kPlain);
             EXPECT_EQ(cl_gz_uncompressFile(kOut, kPlain), 0);
             EXPECT_EQ(read_text(kPlain), kText);
         }
     },
     0,
     {21},
     "fclose"},
    {"gz: uncompress a file",
     make_files,
     [] { return cl_gz_uncompressFile(kPacked, kOut); },
     [](int32_t result) {
         if (result == 0) {
             EXPECT_EQ(read_text(kOut), kText);
         }
     },
     0,
     {21}},
    {"gz: uncompress to flash",
     make_files,
     [] { return cl_gz_uncompress_to_Flash(kPacked, 0, &g_length); },
     [](int32_t result) {
         if (result == 0) {
             EXPECT_EQ(read_text("/var/firmware1.bin"), kText);
         }
     },
     // Flash without a flush is as good; a close has nothing left to write.
     0,
     {21},
     "fsync close"},
    {"md5: file",
     make_files,
     [] { return cl_md5File(kPlain, g_digest); },
     nullptr,
     0,
     {9, 12},
     "fclose"},
    {"md5: flash",
     [] { std::ofstream("/var/firmware1.bin", std::ios::binary) << kText; },
     [] { return cl_md5Flash(2, 20000, g_digest); },
     nullptr,
     0,
     {9, 12},
     "close"},
    {"des: encrypt and decrypt",
     nullptr,
     [] {
         char packed[256];
         char back[256];
         memset(packed, 0, sizeof packed);
         int32_t result = des_encrypt_base64("a text", packed, sizeof packed, 1);
         return result != 0 ? result : des_decrypt_base64(packed, back, sizeof back, 1);
     },
     nullptr,
     0,
     {7, -1}},
};

TEST(LeafFaults, EveryFailureIsTold) {
    sweep_all(kSweeps);
}

}  // namespace
