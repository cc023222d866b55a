#include "hearth/osa_file.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <set>
#include <string>

#include "osa/osa_file_path.h"
#include "support/capture.h"

namespace {

using hearth::test::StdoutCapture;

int g_product_calls = 0;
int g_product_result = -1;
std::string g_product;

}  // namespace

extern "C" __attribute__((visibility("default"))) int32_t app_get_product_name(char *name) {
    g_product_calls++;
    strncpy(name, g_product.c_str(), 32);
    return g_product_result;
}

namespace {

void write_text(const std::string &path, const std::string &text = "") {
    std::ofstream(path) << text;
}

struct Refused {
    const char *printed;
    std::function<bool()> as_told;
};

void expect_refused(const std::vector<Refused> &rows) {
    for (const Refused &row : rows) {
        StdoutCapture capture;
        bool as_told = row.as_told();
        EXPECT_EQ(capture.text(), row.printed);
        EXPECT_TRUE(as_told) << row.printed;
    }
}

void print_values(FILE *stream, const char *format, int *result, ...) {
    va_list values;
    va_start(values, result);
    *result = osa_vfprintf(stream, format, values);
    va_end(values);
}

TEST(OsaFile, BadArgumentsPrintTheirTextAndGiveTheirFailure) {
    char buffer[4] = "abc";
    FILE *stream = tmpfile();
    FILE *none = nullptr;
    char *no_text = nullptr;
    const char *no_path = nullptr;
    osa_stat_t status{};
    osa_statfs_t fs{};
    expect_refused({
        {"Error!in osa_open, the argument pathname  is NULL.\n",
         [&] { return osa_open(no_path, O_RDONLY) == -1; }},
        {"Error!in osa_read, the argument buf or filedes less than zero is NULL.\n",
         [&] { return osa_read(0, no_text, 1) == -1; }},
        {"Error!in osa_read, the argument buf or filedes less than zero is NULL.\n",
         [&] { return osa_read(-1, buffer, 1) == -1; }},
        {"Error!in osa_write, the argument buf or filedes less than zero is NULL.\n",
         [&] { return osa_write(-2, buffer, 1) == -1; }},
        {"", [&] { return osa_close(-1) == -1; }},
        {"Error!in osa_lseek, the argument  filedes less than zero is NULL.\n",
         [&] { return osa_lseek(-1, 0, SEEK_SET) == -1; }},
        {"Error!in osa_fopen, the argument pathname or type is NULL.\n",
         [&] { return osa_fopen("/var/x", no_path) == nullptr; }},
        {"Error!in osa_fclose, the argument fp is NULL.\n", [&] { return osa_fclose(none) == -1; }},
        {"Error!in osa_fgetc, the argument fp is NULL.\n", [&] { return osa_fgetc(none) == -1; }},
        {"Error!in osa_fgets, the argument buf or fp is NULL.\n",
         [&] { return osa_fgets(buffer, -1, stream) == nullptr; }},
        {"Error!in osa_fgets, the argument buf or fp is NULL.\n",
         [&] { return osa_fgets(buffer, 4, none) == nullptr; }},
        {"Error!in osa_fseek, the argument fp is NULL.\n",
         [&] { return osa_fseek(none, 0, SEEK_SET) == -1; }},
        {"Error!in osa_ftell, the argument fp is NULL.\n", [&] { return osa_ftell(none) == -1; }},
        {"Error!in osa_fread, the argument buf or fp is NULL.\n",
         [&] { return osa_fread(no_text, 1, 1, stream) == static_cast<size_t>(-1); }},
        {"Error!in osa_fwrite, the argument buf or fp is NULL.\n",
         [&] { return osa_fwrite(buffer, 1, 1, none) == static_cast<size_t>(-1); }},
        {"Error!in osa_fputs, the argument buf or fp is NULL.\n",
         [&] { return osa_fputs(no_path, stream) == -1; }},
        {"Error!in osa_fputc, param illegal.\n", [&] { return osa_fputc('x', none) == -1; }},
        {"Error!in osa_feof, param illegal.\n", [&] { return osa_feof(none) == -1; }},
        {"Error!in osa_fflush, param illegal.\n", [&] { return osa_fflush(none) == 0; }},
        {"Error!in osa_fprintf, param illegal.\n",
         [&] { return osa_fprintf(none, "%s", "") == -1; }},
        {"Error!in osa_vfprintf, param illegal.\n",
         [&] {
             int result = 0;
             print_values(none, "%d", &result, 1);
             return result == -1;
         }},
        {"Error!in osa_mkdir, the argument path is NULL.\n",
         [&] { return osa_mkdir(no_path) == 0; }},
        {"Error!in osa_rename, the argument is NULL.\n",
         [&] { return osa_rename("/var/x", no_path) == 0; }},
        {"Error!in osa_rmdir, the argument is NULL.\n", [&] { return osa_rmdir(no_path) == 0; }},
        {"Error!in osa_chdir, the argument is NULL.\n", [&] { return osa_chdir(no_path) == 0; }},
        {"Error!in osa_symlink, the argument is NULL.\n",
         [&] { return osa_symlink(no_path, "/var/x") == 0; }},
        {"Error!in osa_unlink, the argument is NULL.\n", [&] { return osa_unlink(no_path) == 0; }},
        {"Error!in osa_fsync, param illegal.\n", [&] { return osa_fsync(-1) == 0; }},
        {"Error!in osa_ftruncate, param illegal.\n",
         [&] { return osa_ftruncate(fileno(stream), -1) == 0; }},
        {"Error!in osa_stat, param illegal.\n", [&] { return osa_stat(no_path, &status) == -1; }},
        {"Error!in osa_fstat, param illegal.\n", [&] { return osa_fstat(-1, &status) == -1; }},
        {"Error!in osa_fstat, fstat failed. errno = Bad file descriptor\n",
         [&] { return osa_fstat(1000, &status) == -1; }},
        {"Error!in osa_statfs, param illegal.\n", [&] { return osa_statfs("/", nullptr) == 0; }},
        {"Error!in osa_statfs, statfs failed. errno = No such file or directory\n",
         [&] { return osa_statfs("/var/none", &fs) == 0; }},
        {"Error!in osa_getfullpath, param illegal.\n",
         [&] { return osa_getfullpath(no_path, buffer) == -1; }},
        {"Error!in osa_getfullpath, param illegal.\n",
         [&] { return osa_get_websdk_config_fullpath(no_path, buffer, 4) == -1; }},
        {"", [&] { return osa_opendir(no_path) == nullptr; }},
        {"Error!in osa_opendir,the dir_path len overrun fixed-size :256\n",
         [&] { return osa_opendir(std::string(256, 'a').c_str()) == nullptr; }},
        {"Error!in osa_opendir, opendir failed. errno = No such file or directory\n",
         [&] { return osa_opendir(std::string(200, 'a').c_str()) == nullptr; }},
        {"Error!in osa_readdir_next, param illegal.\n",
         [&] { return osa_readdir_next(nullptr, nullptr) == 0; }},
        {"", [&] { return osa_closedir(nullptr) == 0; }},
        {"", [&] { return osa_remove(no_path) == 0; }},
        {"Error!in osa_remove, stat failed. errno = No such file or directory\n",
         [&] { return osa_remove("/var/none") == 0; }},
    });
    fclose(stream);
}

TEST(OsaFile, StreamsAndDescriptorsForward) {
    umask(0);
    int fd = osa_open("/var/f", O_RDWR | O_CREAT);
    ASSERT_GE(fd, 0);
    osa_stat_t status{};
    ASSERT_EQ(osa_fstat(fd, &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<uint32_t>(S_IFREG | 0644));
    EXPECT_EQ(osa_write(fd, "hello\n", 6), 6);
    EXPECT_EQ(osa_lseek(fd, 1, SEEK_SET), 1);
    char text[8] = "";
    EXPECT_EQ(osa_read(fd, text, 4), 4);
    EXPECT_STREQ(text, "ello");
    EXPECT_EQ(osa_fsync(fd), 1);
    EXPECT_EQ(osa_ftruncate(fd, 3), 1);
    EXPECT_EQ(osa_close(fd), 0);
    EXPECT_EQ(osa_open("/var/none", O_RDWR), -1);

    FILE *stream = osa_fopen("/var/f", "r+");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(osa_fgetc(stream), 'h');
    EXPECT_EQ(osa_fseek(stream, 0, SEEK_END), 0);
    EXPECT_EQ(osa_ftell(stream), 3);
    EXPECT_EQ(osa_fputs("p", stream), 1);
    EXPECT_EQ(osa_fputc('\n', stream), '\n');
    EXPECT_EQ(osa_fprintf(stream, "%d", 42), 2);
    EXPECT_EQ(osa_fwrite("ab", 1, 2, stream), 2u);
    EXPECT_EQ(osa_fflush(stream), 0);
    osa_rewind(stream);
    EXPECT_STREQ(osa_fgets(text, sizeof text, stream), "help\n");
    EXPECT_EQ(osa_fread(text, 1, sizeof text, stream), 4u);
    EXPECT_EQ(memcmp(text, "42ab", 4), 0);
    EXPECT_NE(osa_feof(stream), 0);
    EXPECT_EQ(osa_fclose(stream), 0);
}

TEST(OsaFile, RewindPrintsOnlyWhenTheSeekFails) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    FILE *stream = fdopen(ends[0], "r");
    StdoutCapture capture;
    osa_rewind(stream);
    EXPECT_EQ(capture.text(), "Error!in osa_rewind, fseek failed. errno = Illegal seek\n");
    fclose(stream);
    close(ends[1]);
}

TEST(OsaFile, SecondGroupGivesOneForSuccessAndZeroForFailure) {
    umask(0);
    osa_stat_t status{};
    EXPECT_EQ(osa_mkdir("/var/d"), 1);
    EXPECT_EQ(osa_mkdir("/var/d"), 0);
    ASSERT_EQ(osa_stat("/var/d", &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<uint32_t>(S_IFDIR | 0755));
    EXPECT_EQ(osa_rename("/var/d", "/var/e"), 1);
    EXPECT_EQ(osa_rename("/var/d", "/var/e"), 0);
    EXPECT_EQ(osa_symlink("/var/e", "/var/link"), 1);
    EXPECT_EQ(osa_symlink("/var/e", "/var/link"), 0);
    EXPECT_EQ(osa_chdir("/var/link"), 1);
    EXPECT_EQ(osa_chdir("/var/none"), 0);
    EXPECT_EQ(osa_rmdir("/var/link"), 0);
    EXPECT_EQ(osa_unlink("/var/link"), 1);
    EXPECT_EQ(osa_unlink("/var/link"), 0);
    EXPECT_EQ(osa_rmdir("/var/e"), 1);
    EXPECT_EQ(osa_ftruncate(1000, 0), 0);
}

// The system's own record is the independent source.
TEST(OsaFile, StatusHoldsWhatTheSystemSays) {
    write_text("/var/f", "12345");
    struct stat expected {};
    ASSERT_EQ(stat("/var/f", &expected), 0);
    osa_stat_t status{};
    ASSERT_EQ(osa_stat("/var/f", &status), 0);
    EXPECT_EQ(status.st_dev, expected.st_dev);
    EXPECT_EQ(status.st_ino, static_cast<uint32_t>(expected.st_ino));
    EXPECT_EQ(status.st_nlink, 1u);
    EXPECT_EQ(status.st_uid, expected.st_uid);
    EXPECT_EQ(status.st_gid, expected.st_gid);
    EXPECT_EQ(status.st_size, 5);
    EXPECT_EQ(status.st_blocks, static_cast<uint32_t>(expected.st_blocks));
    EXPECT_EQ(status.st_atime, static_cast<uint32_t>(expected.st_atime));

    StdoutCapture capture;
    EXPECT_EQ(osa_stat("/var/none", &status), -1);
    EXPECT_EQ(capture.text(), "");
    EXPECT_EQ(status.st_size, 5) << "a failure leaves the record alone";

    // As far as the host's own sizes reach.
    constexpr off_t kLarge = sizeof(off_t) > 4 ? static_cast<off_t>(5LL << 30) : 1 << 30;
    ASSERT_EQ(truncate("/var/f", kLarge), 0);
    ASSERT_EQ(osa_stat("/var/f", &status), 0);
    EXPECT_EQ(status.st_size, kLarge);

    osa_statfs_t fs{};
    EXPECT_EQ(osa_statfs("/var", &fs), 1);
    EXPECT_EQ(fs.f_type, 0x01021994u) << "a device root is on tmpfs";
    EXPECT_GE(fs.f_blocks, fs.f_bfree);
}

TEST(OsaFile, FullPathPutsTheWebRootInFrontOnce) {
    struct Case {
        const char *path;
        const char *expected;
    };
    for (const Case &c :
         {Case{"data", "/app/webroot/data"}, Case{"/data", "/app/webroot/data"},
          Case{"", "/app/webroot/"}, Case{"//x", "/app/webroot//x"},
          Case{"/app/webroot", "/app/webroot"}, Case{"/app/webrootx", "/app/webrootx"},
          Case{"/app/webroo", "/app/webroot/app/webroo"}}) {
        char out[256];
        EXPECT_EQ(osa_getfullpath(c.path, out), 0);
        EXPECT_STREQ(out, c.expected);
        EXPECT_EQ(osa_getfullpath(out, out), 0) << "in place, and a second time";
        EXPECT_STREQ(out, c.expected);
    }
    char in_place[32] = "data";
    EXPECT_EQ(osa_getfullpath(in_place, in_place), 0);
    EXPECT_STREQ(in_place, "/app/webroot/data");
}

TEST(OsaFile, BoundedFullPathRefusesWhatMightNotFit) {
    char out[sizeof "/app/webroot/data"];
    memset(out, 'x', sizeof out);
    EXPECT_TRUE(hearth::full_path("data", out));
    EXPECT_STREQ(out, "/app/webroot/data");
    EXPECT_FALSE(hearth::full_path("data1", out));
    EXPECT_STREQ(out, "/app/webroot/data");
}

TEST(OsaFile, ProductPathAsksForTheNameUntilThereIsOne) {
    char out[64];
    StdoutCapture capture;
    EXPECT_EQ(osa_get_websdk_config_fullpath("", out, sizeof out), 0);
    EXPECT_STREQ(out, "/app/config/");
    g_product = "router-name-of-more-than-32-characters";
    g_product_result = 0;
    EXPECT_EQ(osa_get_websdk_config_fullpath("/app/config/x", out, sizeof out), 0);
    EXPECT_STREQ(out, "/app/config/x");
    EXPECT_EQ(osa_get_websdk_config_fullpath("/a", out, sizeof out), 0);
    EXPECT_STREQ(out, "/app/config/router-name-of-more-than-32-cha/config/a");
    EXPECT_EQ(g_product_calls, 2) << "a name that was found is kept, cut to its field";
    EXPECT_EQ(capture.text(),
              "[config]osa_get_websdk_config_fullpath: call app_get_product_name failed\n");
}

TEST(OsaFile, ProductPathStaysInItsBuffer) {
    g_product = "p";
    g_product_result = 0;
    const std::string whole = "/app/config/p/config/name";
    for (uint32_t size = 1; size <= whole.size() + 2; size++) {
        std::string out(size + 1, '!');
        EXPECT_EQ(osa_get_websdk_config_fullpath("name", out.data(), size), 0);
        EXPECT_EQ(out.c_str(), whole.substr(0, size - 1));
        EXPECT_EQ(out[size], '!');
    }
    char untouched = '!';
    EXPECT_EQ(osa_get_websdk_config_fullpath("name", &untouched, 0), -1);
    EXPECT_EQ(untouched, '!');
}

TEST(OsaFile, DirectoryWalkGivesEveryEntryOnce) {
    osa_mkdir("/var/d");
    osa_mkdir("/var/d/sub");
    write_text("/var/d/.hidden", "abc");
    write_text("/var/d/" + std::string(200, 'n'), "");
    for (const char *path : {"/var/d", "/var/d/"}) {
        osa_dir_t *directory = osa_opendir(path);
        ASSERT_NE(directory, nullptr);
        std::set<std::string> seen;
        osa_dirent_t entry{};
        while (osa_readdir_next(directory, &entry) == 1) {
            seen.insert(std::string(entry.name) + (entry.is_dir ? "/" : "") +
                        (entry.is_dir ? "" : std::to_string(entry.size)));
        }
        EXPECT_EQ(seen, (std::set<std::string>{"sub/", ".hidden3", std::string(200, 'n') + "0"}));
        EXPECT_EQ(osa_closedir(directory), 1);
    }
}

TEST(OsaFile, EntryWithoutStatusEndsTheWalkOnce) {
    osa_mkdir("/var/d");
    osa_symlink("/var/none", "/var/d/dangling");
    write_text("/var/d/file");
    osa_dir_t *directory = osa_opendir("/var/d");
    ASSERT_NE(directory, nullptr);
    StdoutCapture capture;
    osa_dirent_t entry{};
    int found = 0;
    for (int call = 0; call < 3; call++) {
        found += osa_readdir_next(directory, &entry);
    }
    EXPECT_EQ(found, 1) << "another call goes on behind the entry";
    EXPECT_EQ(capture.text(),
              "Error!in osa_readdir_next, stat failed. errno = No such file or directory\n");
    osa_closedir(directory);
}

// The cut path of the long name names another file, which must survive.
TEST(OsaFile, PathTooLongForAnEntryNeverTouchesAnotherFile) {
    std::string directory = "/var";
    while (directory.size() < 240) {
        directory += "/" + std::string(std::min<size_t>(240 - directory.size(), 100), 'd');
        osa_mkdir(directory.c_str());
    }
    std::string cut(255 - directory.size() - 1, 'n');
    write_text(directory + "/" + cut);
    ASSERT_EQ(chdir(directory.c_str()), 0);
    write_text(cut + "long");
    StdoutCapture capture;
    EXPECT_EQ(osa_remove(directory.c_str()), 0);
    EXPECT_EQ(access((cut + "long").c_str(), F_OK), 0);
}

TEST(OsaFile, RemoveTakesOneLevel) {
    osa_mkdir("/var/d");
    osa_mkdir("/var/d/empty");
    write_text("/var/d/file");
    EXPECT_EQ(osa_remove("/var/d"), 1);
    EXPECT_NE(access("/var/d", F_OK), 0);

    osa_mkdir("/var/d");
    osa_mkdir("/var/d/full");
    write_text("/var/d/full/file");
    EXPECT_EQ(osa_remove("/var/d"), 0);
    EXPECT_EQ(access("/var/d/full/file", F_OK), 0);
    EXPECT_EQ(osa_remove("/var/d/full/file"), 1);
}

}  // namespace
