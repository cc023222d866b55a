#include "hearth/osa_log.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/capture.h"
#include "support/faults.h"

namespace {

using hearth::test::arm_fault;
using hearth::test::disarm_fault;
using hearth::test::Fault;
using hearth::test::StdoutCapture;

constexpr const char *kSettings = "/app/webroot/data/userdata/log/logs.xml";
constexpr const char *kLogFile = "/online/log/webapp.log";

// 2024-02-29 19:05:07.042 UTC
constexpr time_t kNow = 1709233507;

}  // namespace

extern "C" __attribute__((visibility("default"))) time_t time(time_t *out) noexcept {
    if (out != nullptr) {
        *out = kNow;
    }
    return kNow;
}

extern "C" __attribute__((visibility("default"))) int gettimeofday(timeval *out, void *) noexcept {
    *out = {kNow, 42999};
    return 0;
}

namespace {

// The library's own log calls; the names alone are those of the test support.
template <typename Function>
Function *own(const char *name) {
    void *library = dlopen("libhearth.so.1", RTLD_NOW | RTLD_NOLOAD);
    return reinterpret_cast<Function *>(dlsym(library, name));
}
auto *const print_log = own<decltype(osa_print_log)>("osa_print_log");
auto *const print_log_ex = own<decltype(osa_print_log_ex)>("osa_print_log_ex");

struct Entry {
    const char *name;
    int mask;
};

void write_text(const char *path, const std::string &text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::trunc) << text;
}

void write_settings(int where, const std::vector<Entry> &entries, const char *size = "1024") {
    std::ostringstream text;
    text << "<log><Where>" << where << "</Where><Size>" << size << "</Size><Modules>";
    for (const Entry &entry : entries) {
        text << "<m><name>" << entry.name << "</name><mask>" << entry.mask << "</mask></m>";
    }
    text << "</Modules></log>";
    write_text(kSettings, text.str());
}

std::string read_text(const char *path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string log_text() {
    return read_text(kLogFile);
}

// What is in the log file since the last call.
std::string take_log() {
    std::string text = log_text();
    EXPECT_EQ(truncate(kLogFile, 0), 0);
    return text;
}

std::string id() {
    return std::to_string(getpid());
}

class OsaLog : public testing::Test {
  protected:
    OsaLog() { setenv("TZ", "UTC0", 1); }
};

TEST_F(OsaLog, LinesAreExact) {
    write_settings(3, {{"default", 2}, {"ats", 31}});
    StdoutCapture capture;
    print_log("ats", OSA_LOG_INFO, "%s %d\n", "text", 5);
    print_log_ex("ats", "ats/atapi/at_lib", 77, OSA_LOG_ERROR, "text\n");
    print_log_ex("other", "x/y", 1, OSA_LOG_ERROR, "no end");
    print_log_ex("ats", "/", 4294967295u, 3, "\n");
    EXPECT_EQ(log_text(), "27:5:7.42 ats (  " + id() +
                              "): <INFO> text 5\n"
                              "27:05:07.042 ats (  " +
                              id() +
                              "): <ERRO> at_lib:77 text\n"
                              "27:05:07.042  (  " +
                              id() +
                              "): <ERRO> y:1 no end"
                              "27:05:07.042 ats (  " +
                              id() + "): <NONE> :-1 \n");
    EXPECT_EQ(capture.text(), "ats (  " + id() +
                                  "): <INFO>  27:5:7.42  text 5\n"
                                  "27:05:07.042  ats (  " +
                                  id() +
                                  "): <ERRO> at_lib:77  text\n"
                                  "27:05:07.042   (  " +
                                  id() +
                                  "): <ERRO> y:1  no end"
                                  "27:05:07.042  ats (  " +
                                  id() + "): <NONE> :-1  \n");
}

TEST_F(OsaLog, StampsFollowTheZoneWithinASecond) {
    write_settings(2, {{"default", 2}});
    std::string rest = ":05:07.042  (  " + id() + "): <ERRO> b:1 ";
    for (const auto &[zone, hour] : std::map<std::string, std::string>{
             {"", "27"}, {"UTC0", "27"}, {"WEST4", "23"}, {"WEST3", "24"}, {"EAST-5", "08"}}) {
        setenv("TZ", zone.c_str(), 1);
        print_log_ex("m", "a/b", 1, 2, "%s", "");
        EXPECT_EQ(take_log(), hour + rest) << zone;
    }
}

TEST_F(OsaLog, LevelsHaveTheirTags) {
    const std::map<uint32_t, std::string> tags = {
        {0, "<NONE>"}, {1, "<FATL>"},  {2, "<ERRO>"},  {3, "<NONE>"},         {4, "<WARN>"},
        {8, "<INFO>"}, {16, "<DEBG>"}, {32, "<NONE>"}, {0x80000002, "<NONE>"}};
    for (const auto &[level, tag] : tags) {
        EXPECT_EQ(LEVEL_S(level), tag);
    }
}

TEST_F(OsaLog, TextsAndPlacesAreCut) {
    write_settings(2, {{"default", 2}});
    std::string text(1000, 't');
    print_log_ex("m", "a/b", 1, 2, "%s", text.c_str());
    EXPECT_EQ(take_log(), "27:05:07.042  (  " + id() + "): <ERRO> b:1 " + std::string(255, 't'));
    std::string file = "a/" + std::string(200, 'f');
    print_log_ex("m", file.c_str(), 1, 2, "text");
    std::string prefix = " (  " + id() + "): <ERRO> " + file.substr(2);
    EXPECT_EQ(take_log(), "27:05:07.042 " + prefix.substr(0, 127) + "text");
}

TEST_F(OsaLog, PlaceWithoutASlashLosesTheMessage) {
    write_settings(3, {{"default", 2}});
    StdoutCapture capture;
    errno = ENOENT;
    print_log_ex("m", "at_lib", 1, 2, "text\n");
    errno = ENOENT;
    print_log_ex("m", nullptr, 1, 2, "text\n");
    std::string line = "error!in print_log_ex, filetmp NULL. err = No such file or directory\n";
    EXPECT_EQ(capture.text(), line + line);
    EXPECT_EQ(log_text(), "");
}

TEST_F(OsaLog, NothingPassesBeforeSettingsAreThere) {
    StdoutCapture capture;
    print_log("ats", 0xFFFFFFFF, "text");
    EXPECT_EQ(read_text("/var/log/applog_shm"), std::string("\1\0\0\0", 4));
    write_settings(2, {{"default", 31}});
    print_log("ats", 0xFFFFFFFF, "text");
    EXPECT_FALSE(std::filesystem::exists(kLogFile)) << "looked at again only when told";
    EXPECT_EQ(osa_update_cfg(), 1);
    print_log("ats", 1, "text");
    EXPECT_NE(log_text(), "");
    EXPECT_EQ(capture.text(), "");
}

// Which modules pass at which level after each load, the earlier ones still in force. Two of them
// share a place in what is looked at before the lock.
TEST_F(OsaLog, EntriesAddUpUntilAllRemovesThem) {
    struct Step {
        std::vector<Entry> entries;
        std::map<std::string, uint32_t> masks;
    };
    const Step steps[] = {
        {{{"ats", 2}, {"bss", 1}, {"config", 8}},
         {{"ats", 2}, {"bss", 1}, {"config", 8}, {"global", 0}}},
        {{{"ats", 16}, {"default", 4}}, {{"ats", 16}, {"config", 8}, {"global", 4}, {"", 4}}},
        {{{"", 1}, {"notify_client", 1}}, {{"ats", 16}, {"global", 4}, {"notify_client", 1}}},
        {{{"ats", 31}, {"all", 2}, {"config", 1}},
         {{"ats", 2}, {"config", 1}, {"notify_client", 2}}},
        {{}, {{"ats", 2}, {"bss", 2}, {"config", 1}}},
    };
    for (const Step &step : steps) {
        write_settings(2, step.entries);
        osa_update_cfg();
        for (const auto &[module, mask] : step.masks) {
            uint32_t passed = 0;
            uint32_t written = 0;
            for (uint32_t level = 1; level <= 16; level *= 2) {
                size_t before = log_text().size();
                print_log(module.c_str(), level, "line\n");
                written |= log_text().size() > before ? level : 0;
                const log_setting *entry = nullptr;
                passed |= default_log_filter(module.c_str(), level, &entry) != 0 ? level : 0;
                ASSERT_NE(entry, nullptr);
                EXPECT_EQ(entry->mask, mask);
                EXPECT_TRUE(entry->name == module || entry->name[0] == '\0');
            }
            EXPECT_EQ(passed, mask) << module << " in step " << &step - steps;
            EXPECT_EQ(written, mask) << module << " in step " << &step - steps;
        }
    }
    EXPECT_EQ(default_log_filter("ats", 2, nullptr), 0);
    const log_setting *entry = nullptr;
    EXPECT_NE(default_log_filter(nullptr, 2, &entry), 0);
    EXPECT_NE(default_log_filter("ats", 3, &entry), 0) << "one common bit is enough";
}

TEST_F(OsaLog, LongNamesStayInTheirEntry) {
    std::string longest(27, 'n');
    std::string longer(60, 'n');
    osa_set_log_mask("before", 4);
    osa_set_log_mask(longer.c_str(), 8);
    osa_set_log_mask("behind", 16);
    osa_set_log_mask(longer.c_str(), 2);
    const log_setting *entry = nullptr;
    EXPECT_NE(default_log_filter(longer.c_str(), 2, &entry), 0);
    EXPECT_EQ(entry->name, longest);
    const log_setting *next = entry->next;
    EXPECT_STREQ(next->name, "before") << "set again, not added again";
    EXPECT_NE(default_log_filter("before", 4, &entry), 0);
    EXPECT_NE(default_log_filter("behind", 16, &entry), 0);
    EXPECT_EQ(default_log_filter(longest.c_str(), 2, &entry), 0) << "the rest of a name counts";
    osa_set_log_mask(longest.c_str(), 1);
    EXPECT_NE(default_log_filter(longest.c_str(), 1, &entry), 0);
    EXPECT_EQ(default_log_filter(longer.c_str(), 1, &entry), 0);
}

TEST_F(OsaLog, SettingsInPart) {
    struct Case {
        const char *text;
        int32_t result;
        const char *printed;
        bool passes;
    };
    const char *kWhereNull = "Error! nodeWhere NULL.\n";
    for (const Case &c : std::initializer_list<Case>{
             {"<l><Where>2</Where><Size>9</Size><Modules><m><name>m</name><mask>2</mask></m>"
              "</Modules></l>",
              1, "", true},
             {"<l><Size>9</Size><Modules><x><mask>2x</mask><name>m</name></x></Modules></l>", 1,
              kWhereNull, true},
             {"<l><Where>2</Where><Modules/></l>", 1, "Error! nodeSize NULL.\n", false},
             {"<l><Where/><Size/><Modules><m><name/><mask>2</mask></m></Modules></l>", 1, "",
              false},
             {"<l><Where>2</Where><Size>9</Size></l>", 0, "Error! nodeModule NULL.\n", false},
             {"<l><Where>2</Where><Size>9</Size><Modules><m><name>m</name></m><m><name>m</name>"
              "<mask>2</mask></m></Modules></l>",
              1, "Error! nodeModule NULL.\n", true},
             {"<l><Where>2", 0, "", false},
             {"", 0, "", false},
         }) {
        write_text(kSettings, c.text);
        osa_set_log_mask("all", 0);
        StdoutCapture capture;
        int32_t result = osa_log_load_cfg();
        EXPECT_EQ(capture.text(), c.printed) << c.text;
        EXPECT_EQ(result, c.result) << c.text;
        const log_setting *entry = nullptr;
        // The counter exists, so the filter loads nothing by itself.
        write_text(kSettings, "");
        EXPECT_EQ(default_log_filter("m", 2, &entry) != 0, c.passes) << c.text;
    }
    EXPECT_STREQ(osa_get_log_cfgpath(), kSettings);
}

TEST_F(OsaLog, ForkedProcessShowsItsOwnId) {
    write_settings(2, {{"default", 2}});
    print_log("m", 2, "\n");
    std::string expected = "27:5:7.42  (  " + id() + "): <ERRO> \n";
    pid_t child = fork();
    if (child == 0) {
        print_log("m", 2, "\n");
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_EQ(log_text(), expected + "27:5:7.42  (  " + std::to_string(child) + "): <ERRO> \n");
}

TEST_F(OsaLog, WhereOfZeroStopsTheProcessForGood) {
    int go[2];
    ASSERT_EQ(pipe(go), 0);
    pid_t child = fork();
    if (child == 0) {
        // Another process, which makes its first log call when the settings are back.
        char byte = 0;
        bool told = read(go[0], &byte, 1) == 1;
        print_log("m", 2, "other\n");
        _exit(told ? 0 : 1);
    }
    write_settings(2, {{"default", 2}});
    print_log("m", 2, "first\n");
    write_settings(0, {{"default", 2}});
    osa_update_cfg();
    print_log("m", 2, "taken over before the filter, so not written\n");
    write_settings(2, {{"default", 2}});
    osa_update_cfg();
    print_log("m", 2, "never seen\n");
    ASSERT_EQ(write(go[1], "x", 1), 1);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(log_text(), "27:5:7.42  (  " + id() + "): <ERRO> first\n27:5:7.42  (  " +
                              std::to_string(child) + "): <ERRO> other\n");
}

TEST_F(OsaLog, FileIsEmptiedAtItsLimit) {
    write_settings(2, {{"default", 2}}, "2");
    std::string text(99, 'x');
    size_t largest = 0;
    int cuts = 0;
    size_t before = 0;
    for (int i = 0; i < 100; i++) {
        print_log("m", 2, "%s\n", text.c_str());
        auto size = static_cast<size_t>(std::filesystem::file_size(kLogFile));
        largest = std::max(largest, size);
        cuts += size < before ? 1 : 0;
        before = size;
    }
    EXPECT_GE(largest, 2048u) << "it reaches the limit before it is cut";
    EXPECT_LT(largest, 2048u + 160);
    EXPECT_GE(cuts, 4);
    write_settings(2, {{"default", 2}}, "-1");
    osa_update_cfg();
    for (int i = 0; i < 50; i++) {
        print_log("m", 2, "%s\n", text.c_str());
    }
    EXPECT_GT(std::filesystem::file_size(kLogFile), 5000u) << "a negative size is no limit";
}

TEST_F(OsaLog, DeletedFileIsNotMadeAnew) {
    write_settings(2, {{"default", 2}});
    print_log("m", 2, "first\n");
    int fd = open(kLogFile, O_RDONLY);
    unlink(kLogFile);
    print_log("m", 2, "second\n");
    EXPECT_FALSE(std::filesystem::exists(kLogFile));
    char text[200] = "";
    EXPECT_GT(pread(fd, text, sizeof text - 1, 0), 0);
    EXPECT_EQ(text, "27:5:7.42  (  " + id() + "): <ERRO> second\n") << "emptied, still written";
    close(fd);
}

TEST_F(OsaLog, FailuresOfTheFileArePrinted) {
    write_settings(2, {{"default", 2}});
    print_log("m", 16, "loads the settings");
    std::string err = "Input/output error\n";
    StdoutCapture capture;
    arm_fault(Fault::kFail, hearth::test::kWrites, 1);
    print_log("m", 2, "lost\n");
    EXPECT_TRUE(disarm_fault());
    unlink(kLogFile);
    arm_fault(Fault::kFail, hearth::test::kWrites, 1);
    print_log("m", 2, "written\n");
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(capture.text(),
              "writev = -1, err: " + err + "Warn! webapp.log ftruncate failed. err: " + err);
}

TEST_F(OsaLog, WithoutAFolderThereIsNoFile) {
    std::filesystem::remove_all("/online/log");
    write_text("/online/log", "a file in its place");
    write_settings(2, {{"default", 2}});
    StdoutCapture capture;
    print_log("m", 2, "lost\n");
    EXPECT_EQ(capture.text(), "Warn! webapp.log ftruncate failed. err: Bad file descriptor\n");
    std::filesystem::remove("/online/log");
    print_log("m", 2, "found\n");
    EXPECT_NE(log_text(), "") << "the folder is made";
}

TEST_F(OsaLog, FailuresOfTheCounterDropTheMessageAndAreTriedAgain) {
    using namespace hearth::test;
    write_settings(2, {{"default", 2}});
    testing::internal::CaptureStderr();
    EXPECT_EQ(osa_update_cfg(), 0) << "nobody has logged yet";
    std::filesystem::rename("/var/log", "/var/gone");
    print_log("m", 2, "no folder\n");
    std::filesystem::rename("/var/gone", "/var/log");
    arm_fault(Fault::kFail, kWrites, 1);
    print_log("m", 2, "no size\n");
    EXPECT_TRUE(disarm_fault());
    unlink("/var/log/applog_shm");
    arm_fault(Fault::kFail, kMaps, 1);
    print_log("m", 2, "no map\n");
    EXPECT_TRUE(disarm_fault());
    for (uint32_t kind : {kOpens, kWrites, kMaps}) {
        arm_fault(Fault::kFail, kind, kind == kOpens ? 2 : 1);
        print_log("m", 2, "not the creator\n");
        EXPECT_TRUE(disarm_fault());
    }
    for (uint32_t kind : {kWrites, kMaps}) {
        arm_fault(Fault::kFail, kind, 1);
        EXPECT_EQ(osa_update_cfg(), 0);
        EXPECT_TRUE(disarm_fault());
    }
    std::string eio = " error: Input/output error \n ";
    std::string enoent = " error: No such file or directory \n ";
    std::string filter = "default_log_filter ";
    std::string update = "osa_update_cfg ";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              update + "shm_open" + enoent + filter + "shm_open" + enoent + filter + "ftruncate" +
                  eio + filter + "mmap" + eio + filter + "shm_open" + eio + filter + "ftruncate" +
                  eio + filter + "mmap" + eio + update + "ftruncate" + eio + update + "mmap" + eio);
    EXPECT_FALSE(std::filesystem::exists(kLogFile));
    // A counter that was never started stands at 0, and so tells of no settings.
    EXPECT_EQ(osa_update_cfg(), 1);
    print_log("m", 2, "at last\n");
    EXPECT_NE(log_text(), "");
}

TEST_F(OsaLog, OutOfMemoryLosesNothingButTheMessage) {
    write_settings(2, {{"default", 2}, {"m", 2}, {"n", 2}});
    StdoutCapture capture;
    hearth::test::for_each_fault(Fault::kFail, hearth::test::kAllocations, ENOMEM, [] {
        osa_set_log_mask("all", 0);
        osa_log_load_cfg();
        osa_set_log_mask("o", 2);
    });
    const log_setting *entry = nullptr;
    EXPECT_NE(default_log_filter("o", 2, &entry), 0);
    EXPECT_STREQ(entry->name, "o");
}

TEST_F(OsaLog, OperationsLogGetsSeverities) {
    ASSERT_NE(dlopen(HEARTH_PLATFORM_DIR "/libplatform.so", RTLD_NOW), nullptr);
    write_settings(4, {{"default", 31}});
    for (uint32_t level : {1, 2, 4, 8, 16, 3}) {
        print_log_ex("m", "a/b", 9, level, "%%d\n");
    }
    print_log("m", 2, "not this one\n");
    std::string id_text = "(  " + id() + "): ";
    EXPECT_EQ(read_text("/var/log/operations.log"),
              "[33500] 1 " + id_text + "<FATL> b:9 %d\n" + "[33500] 1 " + id_text +
                  "<ERRO> b:9 %d\n" + "[33500] 2 " + id_text + "<WARN> b:9 %d\n" + "[33500] 4 " +
                  id_text + "<INFO> b:9 %d\n" + "[33500] 3 " + id_text + "<DEBG> b:9 %d\n" +
                  "[33500] 0 " + id_text + "<NONE> b:9 %d\n");
}

TEST_F(OsaLog, WithoutThePlatformTheOtherDestinationsGoOn) {
    write_settings(6, {{"default", 2}});
    testing::internal::CaptureStderr();
    print_log_ex("m", "a/b", 9, 2, "one\n");
    print_log_ex("m", "a/b", 9, 2, "two\n");
    std::string line =
        "dlopen libplatform.so: cannot open shared object file: No such file or directory\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);
    std::string prefix = "27:05:07.042  (  " + id() + "): <ERRO> b:9 ";
    EXPECT_EQ(log_text(), prefix + "one\n" + prefix + "two\n");
}

TEST_F(OsaLog, CallerKeepsErrno) {
    write_settings(2, {{"default", 2}});
    for (uint32_t level : {16, 2, 16, 2}) {
        errno = ERANGE;
        print_log_ex("m", "x/y", 1, level, "%m\n");
        EXPECT_EQ(errno, ERANGE);
    }
    EXPECT_NE(log_text().find("y:1 Numerical result out of range\n"), std::string::npos);
}

// A first log call parses the settings; the whole of it fits half a library thread's stack.
TEST_F(OsaLog, FirstCallFitsHalfASmallStack) {
    write_settings(2, std::vector<Entry>(200, Entry{"module", 2}));
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 32768), 0);
#endif
    auto work = [](void *) -> void * {
        print_log_ex("module", "a/b", 1, 2, "%s %f\n", std::string(300, 'x').c_str(), 1e300);
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, work, nullptr), 0);
    pthread_join(thread, nullptr);
    EXPECT_NE(log_text(), "");
}

// Lines of several threads in several processes, while the settings change all the time.
TEST_F(OsaLog, LinesOfManyWritersNeverMix) {
    constexpr int kProcesses = 3;
    constexpr int kThreads = 3;
    constexpr int kLines = 200;
    write_settings(2, {{"default", 2}});
    print_log("m", 16, "makes the counter");
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; p++) {
        pid_t child = fork();
        if (child == 0) {
            std::vector<std::thread> threads;
            for (int t = 0; t < kThreads; t++) {
                threads.emplace_back([t] {
                    std::string text(static_cast<size_t>(50 + t * 90), static_cast<char>('a' + t));
                    for (int i = 0; i < kLines; i++) {
                        print_log_ex("m", "x/y", 1, 2, "%s\n", text.c_str());
                        print_log_ex("m", "x/y", 1, 8, "refused\n");
                        if (i % 50 == t) {
                            osa_update_cfg();
                        }
                    }
                });
            }
            for (std::thread &thread : threads) {
                thread.join();
            }
            _exit(0);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    std::istringstream lines(log_text());
    std::string line;
    std::map<std::string, int> seen;
    while (std::getline(lines, line)) {
        size_t at = line.find("y:1 ");
        ASSERT_NE(at, std::string::npos) << line;
        EXPECT_TRUE(line.starts_with("27:05:07.042  (  ")) << line;
        seen[line.substr(at + 4)]++;
    }
    EXPECT_EQ(seen.size(), static_cast<size_t>(kThreads));
    for (const auto &[text, times] : seen) {
        EXPECT_EQ(times, kProcesses * kLines) << text;
    }
}

}  // namespace
