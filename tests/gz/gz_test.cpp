#include "hearth/gz.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/faults.h"

namespace {

void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void shell(const std::string &command) {
    ASSERT_EQ(system(command.c_str()), 0) << command;
}

// Text that compresses, or bytes that do not.
std::string sample(size_t size, bool compressible) {
    std::mt19937 random(5);
    std::string bytes;
    while (bytes.size() < size) {
        bytes += compressible ? "line " + std::to_string(bytes.size() / 7) + "\n"
                              : std::string(1, static_cast<char>(random()));
    }
    bytes.resize(size);
    return bytes;
}

// What gzip makes of a text.
std::string gzipped(const std::string &text) {
    write_file("/var/plain", text);
    shell("gzip -9c /var/plain >/var/plain.gz");
    return read_file("/var/plain.gz");
}

std::string read_all(QC_gzFile file) {
    std::string text;
    char piece[77];
    for (int got = 0; (got = QC_gzread(file, piece, sizeof piece)) > 0;) {
        text.append(piece, static_cast<size_t>(got));
    }
    return text;
}

TEST(Gz, FilesGoToAndFromGzip) {
    for (size_t size : {0, 1, 1023, 1024, 1025, 4096, 300000}) {
        for (bool compressible : {true, false}) {
            SCOPED_TRACE(size);
            std::string text = sample(size, compressible);
            write_file("/var/in", text);
            EXPECT_EQ(cl_gz_compressFile("/var/in", "/var/out.gz"), 0);
            shell("gzip -dc /var/out.gz >/var/back");
            EXPECT_EQ(read_file("/var/back"), text);
            write_file("/var/in.gz", gzipped(text));
            EXPECT_EQ(cl_gz_uncompressFile("/var/in.gz", "/var/back2"), 0);
            EXPECT_EQ(read_file("/var/back2"), text);
            uint32_t length = 77;
            EXPECT_EQ(cl_gz_uncompress_to_Flash("/var/in.gz", 1, &length), 0);
            EXPECT_EQ(length, size);
            EXPECT_EQ(read_file("/var/firmware1.bin"), text);
        }
    }
}

TEST(Gz, AFileWithoutHeaderIsCopied) {
    std::string text = sample(5000, true);
    write_file("/var/in", text);
    EXPECT_EQ(cl_gz_uncompressFile("/var/in", "/var/out"), 0);
    EXPECT_EQ(read_file("/var/out"), text);
}

TEST(Gz, FileHelpersFailWithOneNumber) {
    std::string packed = gzipped(sample(50000, false));
    write_file("/var/good", sample(50000, false));
    write_file("/var/good.gz", packed);
    write_file("/var/cut.gz", packed.substr(0, packed.size() - 9));
    std::string flipped = packed;
    flipped[packed.size() - 6] ^= 1;  // in the checksum
    write_file("/var/flipped.gz", flipped);
    using Helper = int32_t (*)(const char *, const char *);
    struct Case {
        Helper helper;
        const char *source;
        const char *target;
    };
    for (const Case &c : {Case{cl_gz_compressFile, nullptr, "/var/x"},
                          Case{cl_gz_compressFile, "/var/good", nullptr},
                          Case{cl_gz_compressFile, "/var/none", "/var/x"},
                          Case{cl_gz_compressFile, "/var/good", "/none/x"},
                          Case{cl_gz_compressFile, "/var", "/var/x"},
                          Case{cl_gz_compressFile, "/var/good", "/dev/full"},
                          Case{cl_gz_uncompressFile, nullptr, "/var/x"},
                          Case{cl_gz_uncompressFile, "/var/good.gz", nullptr},
                          Case{cl_gz_uncompressFile, "/var/none", "/var/x"},
                          Case{cl_gz_uncompressFile, "/var/good.gz", "/none/x"},
                          Case{cl_gz_uncompressFile, "/var", "/var/x"},
                          Case{cl_gz_uncompressFile, "/var/good.gz", "/dev/full"},
                          Case{cl_gz_uncompressFile, "/var/cut.gz", "/var/x"},
                          Case{cl_gz_uncompressFile, "/var/flipped.gz", "/var/x"},
                          Case{cl_gz_uncompress_for_update, nullptr, "/var"},
                          Case{cl_gz_uncompress_for_update, "/var/good.gz", nullptr},
                          Case{cl_gz_uncompress_for_update, "good.gz", "/var"}}) {
        EXPECT_EQ(c.helper(c.source, c.target), 21)
            << (c.source ? c.source : "-") << " " << (c.target ? c.target : "-");
    }
    uint32_t length = 7;
    EXPECT_EQ(cl_gz_uncompress_to_Flash(nullptr, 0, &length), 21);
    EXPECT_EQ(cl_gz_uncompress_to_Flash("/var/good.gz", 5, &length), 21);
    EXPECT_EQ(cl_gz_uncompress_to_Flash("/var/good.gz", 6, &length), 21);
    EXPECT_EQ(cl_gz_uncompress_to_Flash("/var/good.gz", 0, nullptr), 21);
    EXPECT_EQ(cl_gz_uncompress_to_Flash("/var/none", 0, &length), 21);
    EXPECT_EQ(cl_gz_uncompress_to_Flash("/var/cut.gz", 0, &length), 21);
    EXPECT_EQ(length, 7u);
}

TEST(Gz, EveryFailingCallIsReported) {
    write_file("/var/in", sample(5000, false));
    write_file("/var/in.gz", gzipped(sample(5000, false)));
    using namespace hearth::test;
    auto run = [](int helper) {
        uint32_t length = 0;
        return helper == 0   ? cl_gz_compressFile("/var/in", "/var/out")
               : helper == 1 ? cl_gz_uncompressFile("/var/in.gz", "/var/out")
                             : cl_gz_uncompress_to_Flash("/var/in.gz", 0, &length);
    };
    for (int helper = 0; helper < 3; helper++) {
        for (auto [fault, calls] : {std::pair{Fault::kFail, +kAllocations},
                                    {Fault::kFail, +kOpens},
                                    {Fault::kShort, +kWrites}}) {
            int result = 0;
            int failures = 0;
            int count = for_each_fault(fault, calls, ENOMEM, [&] {
                result = run(helper);
                failures += result == 21;
            });
            EXPECT_EQ(failures, count) << calls << " " << helper;
            // zlib writes gzip files by itself, out of reach.
            EXPECT_GT(count, helper == 0 && calls == kWrites ? -1 : 0) << calls << " " << helper;
            EXPECT_EQ(result, 0);
        }
    }
    int next = dup(0);
    EXPECT_LT(next, 32) << "descriptors leak";
    close(next);
}

TEST(Gz, UpdatePackagesAreNamedAfterTheirSource) {
    mkdir("/data/d", 0755);
    std::string packed = gzipped("image");
    for (auto [source, target, expected] :
         {std::array{"/var/fw.gz", "/data", "/data/fw.bin"},
          std::array{"/var/fw.gz", "/data/d/", "/data/d/fw.bin"},
          std::array{"/var/fw.tar.gz", "/data/d", "/data/d/fw.tar.bin"},
          std::array{"/var/fw", "/data/d", "/data/d/fwbin"},
          std::array{"/var/fw.gz", "/data/image.x", "/data/image.x"}}) {
        write_file(source, packed);
        EXPECT_EQ(cl_gz_uncompress_for_update(source, target), 0);
        EXPECT_EQ(read_file(expected), "image") << expected;
        unlink(expected);
    }
    std::string longest(5000, 'd');
    EXPECT_EQ(cl_gz_uncompress_for_update("/var/fw.gz", longest.c_str()), 21);
}

TEST(Gz, SavesTheLog) {
    EXPECT_EQ(osa_compress_log("/var/log.gz"), 0);
    shell("mkdir -p /online/log && echo entry >/online/log/webapp.log");
    EXPECT_EQ(osa_compress_log("/var/log.gz"), 1);
    shell("gzip -dc /var/log.gz | cmp - /online/log/webapp.log");
    EXPECT_EQ(osa_compress_log(nullptr), 0);
}

TEST(Gz, ReadsAStreamInsideAFile) {
    std::string text = sample(60000, true);
    std::string packed = gzipped(text);
    write_file("/var/image", std::string(100, '#') + packed);
    QC_gzFile file = QC_gzopen("/var/image", "rb", 100);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QC_isCompress(file), 1);
    EXPECT_EQ(read_all(file), text);
    EXPECT_EQ(QC_gzrewind(file), 0);
    EXPECT_EQ(read_all(file), text);
    EXPECT_EQ(QC_gzgetlength(file, static_cast<z_off_t>(100 + packed.size())), 60000);
    EXPECT_EQ(QC_gzgetlength(file, 20), 0x23232323);
    EXPECT_EQ(QC_gzgetlength(file, 19), -1);
    EXPECT_EQ(QC_gzgetlength(file, -1), -1);
    EXPECT_EQ(QC_gzgetlength(file, 1000000), -1);
    EXPECT_EQ(QC_gzclose(file), Z_OK);
    // Without the offset the same file is not gzip's.
    file = QC_gzopen("/var/image", "rb", 0);
    EXPECT_EQ(QC_isCompress(file), 0);
    EXPECT_EQ(read_all(file), read_file("/var/image"));
    EXPECT_EQ(QC_gzclose(file), Z_OK);
    // The length may be asked for before the first byte is read.
    write_file("/var/small.gz", gzipped("small"));
    file = QC_gzopen("/var/small.gz", "rb", 0);
    EXPECT_EQ(QC_gzgetlength(file, static_cast<z_off_t>(read_file("/var/small.gz").size())), 5);
    EXPECT_EQ(read_all(file), "small");
    EXPECT_EQ(QC_gzclose(file), Z_OK);
}

TEST(Gz, WritesBehindAnOffset) {
    QC_gzFile file = gz_open_offset("/var/x", "wb", -1, 10);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QC_isCompress(file), 1);
    EXPECT_EQ(QC_gzputs(file, "text"), 4);
    EXPECT_EQ(QC_gzclose(file), Z_OK);
    EXPECT_EQ(read_file("/var/x").substr(0, 10), std::string(10, '\0'));
    shell("tail -c +11 /var/x | gzip -dc | grep -qx text");
    // A descriptor is taken over and sought as well.
    int descriptor = open("/var/x", O_RDONLY);
    file = gz_open_offset("a name", "rb", descriptor, 10);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(read_all(file), "text");
    EXPECT_EQ(QC_gzclose(file), Z_OK);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
    file = QC_gzopen("/var/y", "wb", 0);
    EXPECT_EQ(QC_gzgetlength(file, 20), -1);  // not open for reading
    QC_gzclose(file);
    // What cannot be sought is closed.
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_EQ(gz_open_offset("a name", "rb", ends[0], 10), nullptr);
    EXPECT_EQ(fcntl(ends[0], F_GETFD), -1);
    close(ends[1]);
}

TEST(Gz, RefusesModesAndPathsWithoutTouchingTheFile) {
    write_file("/var/kept", "kept");
    for (const char *mode : {"", "b9", "w+", "+", "r+b", "rT"}) {
        EXPECT_EQ(QC_gzopen("/var/kept", mode, 0), nullptr) << mode;
    }
    EXPECT_EQ(QC_gzopen("/var/kept", "wx", 0), nullptr);
    EXPECT_EQ(QC_gzopen("/var/kept", nullptr, 0), nullptr);
    EXPECT_EQ(QC_gzopen(nullptr, "rb", 0), nullptr);
    EXPECT_EQ(QC_gzopen("/var/none", "rb", 0), nullptr);
    EXPECT_EQ(QC_gzdopen(-1, "rb"), nullptr);
    EXPECT_EQ(QC_gzdopen(0, nullptr), nullptr);
    EXPECT_EQ(QC_gzdopen(0, "b"), nullptr);
    EXPECT_EQ(fcntl(0, F_GETFD) == -1, false);
    EXPECT_EQ(read_file("/var/kept"), "kept");
}

TEST(Gz, EveryFileFunctionWorksOnTheHandle) {
    QC_gzFile file = QC_gzopen("/var/f.gz", "wb1", 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QC_gzsetparams(file, 9, Z_DEFAULT_STRATEGY), Z_OK);
    EXPECT_EQ(QC_gzwrite(file, "one\n", 4), 4);
    EXPECT_EQ(QC_gzprintf(file, "%s %d\n", "two", 2), 6);
    EXPECT_EQ(QC_gzputc(file, '3'), '3');
    EXPECT_EQ(QC_gzflush(file, Z_SYNC_FLUSH), Z_OK);
    EXPECT_EQ(QC_gzputs(file, "\n"), 1);
    EXPECT_EQ(QC_gztell(file), 12);
    EXPECT_EQ(QC_gzclose(file), Z_OK);

    file = QC_gzdopen(open("/var/f.gz", O_RDONLY), "rb");
    ASSERT_NE(file, nullptr);
    char line[16];
    EXPECT_STREQ(QC_gzgets(file, line, sizeof line), "one\n");
    EXPECT_EQ(QC_gzgetc(file), 't');
    EXPECT_EQ(QC_gzungetc('T', file), 'T');
    EXPECT_STREQ(QC_gzgets(file, line, sizeof line), "Two 2\n");
    EXPECT_EQ(QC_gzseek(file, 10, SEEK_SET), 10);
    EXPECT_STREQ(QC_gzgets(file, line, sizeof line), "3\n");
    EXPECT_EQ(QC_gzgetc(file), -1);
    EXPECT_EQ(QC_gzeof(file), 1);
    EXPECT_EQ(QC_gzdirect(file), 0);
    EXPECT_EQ(QC_gzclose(file), Z_OK);

    file = QC_gzopen("/var/f.gz", "ab", 0);
    EXPECT_EQ(QC_gzputs(file, "four\n"), 5);
    EXPECT_EQ(QC_gzclose(file), Z_OK);
    shell("gzip -dc /var/f.gz | tail -n 1 | grep -qx four");
}

TEST(Gz, ErrorsNameThePath) {
    std::string packed = gzipped(sample(1000, true));
    write_file("/var/cut.gz", packed.substr(0, packed.size() / 2));
    QC_gzFile file = QC_gzopen("/var/cut.gz", "rb", 0);
    int error = 7;
    EXPECT_STREQ(QC_gzerror(file, &error), "");
    EXPECT_EQ(error, Z_OK);
    read_all(file);
    EXPECT_STREQ(QC_gzerror(file, &error), "/var/cut.gz: unexpected end of file");
    EXPECT_EQ(error, Z_BUF_ERROR);
    EXPECT_STREQ(QC_gzerror(file, nullptr), "/var/cut.gz: unexpected end of file");
    QC_gzclearerr(file);
    QC_gzerror(file, &error);
    EXPECT_EQ(error, Z_OK);
    QC_gzclose(file);
    EXPECT_STREQ(QC_gzerror(nullptr, &error), "stream error");
    EXPECT_EQ(error, Z_STREAM_ERROR);
    EXPECT_EQ(QC_gzclose(nullptr), Z_STREAM_ERROR);
    EXPECT_EQ(QC_gzread(nullptr, &error, 1), -1);
    EXPECT_EQ(QC_isCompress(nullptr), 0);
    EXPECT_EQ(QC_gzgetlength(nullptr, 100), -1);
}

const Bytef *bytes(const std::string &text) {
    return reinterpret_cast<const Bytef *>(text.data());
}

TEST(Gz, StreamsGoToAndFromZlib) {
    for (size_t size : {0, 1, 10, 5000}) {
        for (bool compressible : {true, false}) {
            SCOPED_TRACE(size);
            std::string text = sample(size, compressible);
            std::string packed(QC_compressBound(size), '\0');
            auto *out = reinterpret_cast<Bytef *>(packed.data());
            auto length = static_cast<uint32_t>(packed.size());
            ASSERT_EQ(cl_gz_compressStream(bytes(text), static_cast<uint32_t>(size), out, &length),
                      0);
            std::string back(size + 1, '\0');
            auto *to = reinterpret_cast<Bytef *>(back.data());
            uLongf back_length = back.size();
            EXPECT_EQ(QC_uncompress(to, &back_length, out, length), Z_OK);
            EXPECT_EQ(back.substr(0, back_length), text);

            uLongf other_length = packed.size();
            EXPECT_EQ(QC_compress2(out, &other_length, bytes(text), size, 9), Z_OK);
            auto capacity = static_cast<uint32_t>(back.size());
            back.assign(back.size(), '\0');
            EXPECT_EQ(
                cl_gz_uncompressStream(out, static_cast<uint32_t>(other_length), to, &capacity), 0);
            EXPECT_EQ(back.substr(0, capacity), text);
        }
    }
}

TEST(Gz, StreamsStopAtTheirLimits) {
    std::string text = sample(500, true);
    std::string packed(600, '\0');
    auto *out = reinterpret_cast<Bytef *>(packed.data());
    uint32_t packed_length = 600;
    ASSERT_EQ(cl_gz_compressStream(bytes(text), 500, out, &packed_length), 0);
    std::string back(500, '!');
    auto *to = reinterpret_cast<Bytef *>(back.data());
    uint32_t length = 100;
    EXPECT_EQ(cl_gz_uncompressStream(out, packed_length, to, &length), 0);
    EXPECT_EQ(length, 100u);
    EXPECT_EQ(back, text.substr(0, 100) + std::string(400, '!'));
    length = 500;
    EXPECT_EQ(cl_gz_uncompressStream(out, packed_length / 2, to, &length), 0);
    EXPECT_LT(length, 500u);
    EXPECT_EQ(back.substr(0, length), text.substr(0, length));
    // The length stops the input, and the end of the stream goes beyond it.
    length = 1;
    EXPECT_EQ(cl_gz_compressStream(bytes(text), 500, out, &length), 0);
    EXPECT_GT(length, 1u);
    uLongf part = 500;
    EXPECT_EQ(QC_uncompress(to, &part, out, length), Z_OK);
    EXPECT_EQ(back.substr(0, part), text.substr(0, part));
}

TEST(Gz, StreamsRefuseWhatIsNone) {
    uint8_t out[100];
    uint32_t length = 100;
    std::string packed = "\x78\x9c\x4b\xfa";
    EXPECT_EQ(cl_gz_uncompressStream(bytes("text"), 4, out, &length), 23);
    EXPECT_EQ(length, 100u);
    // A stream that needs a dictionary.
    EXPECT_EQ(cl_gz_uncompressStream(bytes("\x78\xbb\x01\x02\x03\x04\x01"), 7, out, &length), 21);
    EXPECT_EQ(cl_gz_uncompressStream(nullptr, 4, out, &length), 22);
    EXPECT_EQ(cl_gz_uncompressStream(bytes(packed), 4, nullptr, &length), 22);
    EXPECT_EQ(cl_gz_uncompressStream(bytes(packed), 4, out, nullptr), 22);
    EXPECT_EQ(cl_gz_compressStream(nullptr, 4, out, &length), 22);
    EXPECT_EQ(cl_gz_compressStream(bytes(packed), 4, nullptr, &length), 22);
    EXPECT_EQ(cl_gz_compressStream(bytes(packed), 4, out, nullptr), 22);
    EXPECT_EQ(length, 100u);
}

TEST(Gz, ResultsOfZlibHaveNumbers) {
    for (auto [result, number] : {std::pair{0, 0},
                                  {1, 0},
                                  {-1, 21},
                                  {-2, 22},
                                  {-3, 23},
                                  {-4, 24},
                                  {-5, 25},
                                  {-6, 26},
                                  {2, 21},
                                  {-7, 21},
                                  {1000, 21}}) {
        EXPECT_EQ(cl_gz_transformErr(result), number) << result;
    }
}

size_t give(void *next, unsigned char **data) {
    auto *text = static_cast<std::string *>(next);
    *data = reinterpret_cast<unsigned char *>(text->data());
    return text->size();
}

// The rest of the forwarders, once each, against what zlib's manual says of them.
TEST(Gz, StreamFunctionsAreZlibs) {
    EXPECT_EQ(QC_zlibVersion()[0], ZLIB_VERSION[0]);
    EXPECT_EQ(QC_zlibCompileFlags() & 3, 1u);  // unsigned int has 32 bits
    EXPECT_STREQ(QC_zError(Z_DATA_ERROR), "data error");
    EXPECT_EQ(QC_crc32(0, bytes("123456789"), 9), 0xcbf43926u);
    EXPECT_EQ(QC_crc32(5, nullptr, 9), 0u);
    EXPECT_EQ(QC_adler32(1, bytes("123456789"), 9), 0x091e01deu);
    EXPECT_EQ(QC_crc32_combine(QC_crc32(0, bytes("1234"), 4), QC_crc32(0, bytes("56789"), 5), 5),
              0xcbf43926u);
    EXPECT_EQ(
        QC_adler32_combine(QC_adler32(1, bytes("1234"), 4), QC_adler32(1, bytes("56789"), 5), 5),
        0x091e01deu);
    EXPECT_EQ(QC_get_crc_table()[255], 0x2d02ef8du);

    std::string text = sample(3000, true), packed(4000, '\0'), back(3000, '\0');
    z_stream stream{}, copy{};
    gz_header header{};
    header.os = 3;
    ASSERT_EQ(QC_deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
    EXPECT_EQ(QC_deflateSetHeader(&stream, &header), Z_OK);
    EXPECT_EQ(QC_deflateTune(&stream, 4, 4, 8, 4), Z_OK);
    EXPECT_GT(QC_deflateBound(&stream, 3000), 0u);
    stream.next_in = const_cast<Bytef *>(bytes(text));
    stream.avail_in = 3000;
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = 4000;
    EXPECT_EQ(QC_deflateParams(&stream, 9, Z_DEFAULT_STRATEGY), Z_OK);
    EXPECT_EQ(QC_deflateCopy(&copy, &stream), Z_OK);
    EXPECT_EQ(QC_deflate(&copy, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(QC_deflateReset(&stream), Z_OK);
    EXPECT_EQ(QC_deflatePrime(&stream, 0, 0), Z_OK);
    QC_deflateEnd(&stream);
    uLong packed_length = copy.total_out;
    EXPECT_EQ(QC_deflateEnd(&copy), Z_OK);

    stream = {};
    gz_header got{};
    ASSERT_EQ(QC_inflateInit2(&stream, 15 + 16), Z_OK);
    EXPECT_EQ(QC_inflateGetHeader(&stream, &got), Z_OK);
    EXPECT_EQ(QC_inflateReset(&stream), Z_OK);
    EXPECT_EQ(QC_inflateGetHeader(&stream, &got), Z_OK);
    EXPECT_EQ(QC_inflatePrime(&stream, 0, 0), Z_OK);
    EXPECT_EQ(QC_inflateSyncPoint(&stream), 0);
    stream.next_in = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_in = static_cast<uInt>(packed_length);
    stream.next_out = reinterpret_cast<Bytef *>(back.data());
    stream.avail_out = 1000;
    EXPECT_EQ(QC_inflate(&stream, Z_NO_FLUSH), Z_OK);
    EXPECT_EQ(QC_inflateCopy(&copy, &stream), Z_OK);
    EXPECT_EQ(QC_inflateSync(&stream), Z_DATA_ERROR);
    EXPECT_EQ(QC_inflateEnd(&stream), Z_OK);
    copy.avail_out = 2000;
    EXPECT_EQ(QC_inflate(&copy, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(QC_inflateEnd(&copy), Z_OK);
    EXPECT_EQ(back, text);
    EXPECT_EQ(got.os, 3);
}

TEST(Gz, DictionariesAndCallbacksAreZlibs) {
    std::string dictionary = sample(500, true), packed(600, '\0'), back(500, '\0');
    z_stream stream{};
    ASSERT_EQ(QC_deflateInit(&stream, 9), Z_OK);
    EXPECT_EQ(QC_deflateSetDictionary(&stream, bytes(dictionary), 500), Z_OK);
    stream.next_in = const_cast<Bytef *>(bytes(dictionary));
    stream.avail_in = 500;
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = 600;
    EXPECT_EQ(QC_deflate(&stream, Z_FINISH), Z_STREAM_END);
    uLong packed_length = stream.total_out;
    QC_deflateEnd(&stream);
    stream = {};
    stream.next_in = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_in = static_cast<uInt>(packed_length);
    stream.next_out = reinterpret_cast<Bytef *>(back.data());
    stream.avail_out = 500;
    ASSERT_EQ(QC_inflateInit(&stream), Z_OK);
    EXPECT_EQ(QC_inflate(&stream, Z_FINISH), Z_NEED_DICT);
    EXPECT_EQ(QC_inflateSetDictionary(&stream, bytes(dictionary), 500), Z_OK);
    EXPECT_EQ(QC_inflate(&stream, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(back, dictionary);
    QC_inflateEnd(&stream);

    // A raw stream: one stored block with "raw".
    std::string raw("\x01\x03\x00\xfc\xffraw", 8), out;
    unsigned char window[1 << 15];
    stream = {};
    ASSERT_EQ(QC_inflateBackInit(&stream, 15, window), Z_OK);
    auto take = [](void *to, unsigned char *data, unsigned size) {
        static_cast<std::string *>(to)->append(reinterpret_cast<char *>(data), size);
        return 0;
    };
    EXPECT_EQ(QC_inflateBack(
                  &stream,
                  [](void *next, unsigned char **data) {
                      return static_cast<unsigned>(give(next, data));
                  },
                  &raw, take, &out),
              Z_STREAM_END);
    EXPECT_EQ(QC_inflateBackEnd(&stream), Z_OK);
    EXPECT_EQ(out, "raw");
    uLongf length = packed.size();
    EXPECT_EQ(QC_compress(reinterpret_cast<Bytef *>(packed.data()), &length, bytes(raw), 8), Z_OK);
}

}  // namespace
