// Every call below the operating system functions fails, comes short or is interrupted in turn.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "hearth/osa_event.h"
#include "hearth/osa_file.h"
#include "hearth/osa_flash.h"
#include "hearth/osa_log.h"
#include "hearth/osa_pthread.h"
#include "hearth/osa_queue.h"
#include "hearth/osa_semaphore.h"
#include "hearth/osa_task.h"
#include "hearth/osa_timer.h"
#include "support/sweep.h"

namespace {

using namespace hearth::test;
namespace fs = std::filesystem;

void write_text(const char *path, const char *text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path) << text;
}

std::string read_text(const char *path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Of the system's own memory use inside a forwarded call nothing is known here.
constexpr uint32_t kNoMemory = kAll & ~kAllocations;

struct Message {
    int32_t type;
    char text[12];
};

int32_t g_queue = -1;
Message g_message = {1, "a message"};

void new_queue() {
    g_queue = osa_msgQ_create(7, 10, 64);
    ASSERT_GE(g_queue, 0);
}

void drop_queue(int32_t) {
    osa_msgQ_delete(osa_get_msgQ_id(7));
}

const Sweep kQueue[] = {
    // Of the room it is told on standard output alone.
    {"queue: create",
     nullptr,
     [] { return osa_msgQ_create(7, 10, 64) < 0 ? -1 : 0; },
     drop_queue,
     0,
     {-1},
     "msgctl"},
    {"queue: find", new_queue, [] { return osa_get_msgQ_id(7) == g_queue ? 0 : -1; }, drop_queue},
    {"queue: send",
     new_queue,
     [] { return osa_msgQex_send(g_queue, &g_message, 16, 0); },
     [](int32_t result) {
         EXPECT_EQ(osa_msgQ_num(g_queue), result);
         drop_queue(0);
     },
     1,
     {0}},
    {"queue: receive",
     [] {
         new_queue();
         ASSERT_EQ(osa_msgQ_send(g_queue, &g_message, 16, 0), 1);
     },
     [] {
         Message got{};
         return osa_msgQ_recv(g_queue, &got, sizeof got, 0);
     },
     // What was not received is still there.
     [](int32_t result) {
         EXPECT_EQ(osa_msgQ_num(g_queue), result == 12 ? 0 : 1);
         drop_queue(0);
     },
     12},
    // A wait with a limit asks again.
    {"queue: receive within a limit",
     [] {
         new_queue();
         ASSERT_EQ(osa_msgQ_send(g_queue, &g_message, 16, 0), 1);
     },
     [] {
         Message got{};
         return osa_msgQex_recv(g_queue, &got, sizeof got, 100, 1);
     },
     drop_queue,
     12,
     {-1},
     "msgrcv"},
    {"queue: count and delete", new_queue,
     [] { return osa_msgQ_num(g_queue) == 0 && osa_msgQ_delete(g_queue) == 1 ? 0 : -1; },
     drop_queue},
};

int32_t g_event;

const Sweep kProcesses[] = {
    {"event: send",
     [] { osa_event_init(1); },
     [] { return osa_event_send(getpid(), 1); },
     [](int32_t result) {
         if (result == 1) {
             EXPECT_EQ(osa_event_recv(1, 1, &g_event), 1);
         }
     },
     1,
     {0}},
    // The signal is blocked already, so that a mask that cannot be set makes no difference.
    {"event: receive",
     [] {
         osa_event_init(1);
         ASSERT_EQ(osa_event_send(getpid(), 1), 1);
         g_event = 0;
     },
     [] { return osa_event_recv(1, 1, &g_event); },
     [](int32_t result) {
         EXPECT_EQ(g_event, result);
         if (result != 1) {
             EXPECT_EQ(osa_event_recv(1, 1, &g_event), 1);
         }
     },
     1,
     {0},
     "syscall"},
    {"task: id of a name",
     [] { write_text("/var/run/pidfile/x.pid", "77\n"); },
     [] { return osa_task_name_to_id("x"); },
     nullptr,
     77,
     {-1},
     "fclose"},
    {"task: is there", nullptr, [] { return osa_task_bExist(getpid()); }, nullptr, 1, {0}},
};

std::atomic<int> g_runs;

const Sweep kThreads[] = {
    {"thread: create",
     [] { g_runs = 0; },
     [] {
         return osa_pthread_create(
                    "t", 0, 0,
                    [](void *) -> void * {
                        g_runs++;
                        return nullptr;
                    },
                    nullptr) == 0
                    ? -1
                    : 0;
     },
     [](int32_t result) {
         usleep(2000);
         for (int i = 0; i < 100 && g_runs != (result == 0); i++) {
             usleep(2000);
         }
         EXPECT_EQ(g_runs, result == 0);
     },
     // The system's own stack size serves as well.
     0,
     {-1},
     "pthread_attr_setstacksize"},
    // A slot whose thread could not be made is lost, so that there is no more than one fault each.
    {"timer: create and delete",
     [] { g_runs = 0; },
     [] {
         osa_timer_t *timer = osa_timer_create_ex(
             1, 0, [](void *) { g_runs++; }, nullptr);
         if (timer == nullptr) {
             return -1;
         }
         for (int i = 0; i < 500 && g_runs == 0; i++) {
             usleep(2000);
         }
         osa_timer_delete_ex(timer);
         return g_runs == 1 ? 0 : -2;
     },
     nullptr,
     0,
     {-1},
     "pthread_attr_setstacksize"},
    {"semaphore: create, give, take",
     nullptr,
     [] {
         uintptr_t semaphore = osa_sem_create(0);
         if (semaphore == 0) {
             return -1;
         }
         int32_t done = osa_sem_give(semaphore) + osa_sem_take(semaphore, -1) * 2;
         osa_sem_delete(semaphore);
         return done;
     },
     nullptr,
     3,
     {-1, 1},
     // Without a count the take would wait for ever: that the give fails is tried alone.
     "",
     kAll & ~(kWaits | kGives)},
    {"semaphore: give",
     nullptr,
     [] {
         uintptr_t semaphore = osa_sem_create(0);
         int32_t done = semaphore == 0 ? 0 : osa_sem_give(semaphore);
         osa_sem_delete(semaphore);
         return done;
     },
     nullptr,
     1,
     {0},
     "",
     kAll},
    {"semaphore: take",
     nullptr,
     [] {
         uintptr_t semaphore = osa_sem_create(1);
         int32_t done = semaphore == 0 ? 0 : osa_sem_take(semaphore, -1);
         osa_sem_delete(semaphore);
         return done;
     },
     nullptr,
     1,
     {0},
     "",
     kAll},
};

constexpr const char *kFile = "/data/file";
constexpr const char *kOther = "/data/other";

// The number of the step that failed, 0 when none did.
int32_t use_descriptor() {
    char text[8] = "";
    osa_stat_t status{};
    int fd = osa_open(kFile, O_RDWR | O_CREAT | O_TRUNC);
    if (fd == -1) {
        return 1;
    }
    int32_t step = osa_write(fd, "text", 4) != 4     ? 2
                   : osa_lseek(fd, 0, SEEK_SET) != 0 ? 3
                   : osa_read(fd, text, 4) != 4      ? 4
                   : osa_fsync(fd) != 1              ? 5
                   : osa_ftruncate(fd, 2) != 1       ? 6
                   : osa_fstat(fd, &status) != 0     ? 7
                   : status.st_size != 2             ? 8
                                                     : 0;
    return osa_close(fd) != 0 && step == 0 ? 9 : step;
}

int32_t use_stream() {
    char text[8] = "";
    FILE *file = osa_fopen(kFile, "w+");
    if (file == nullptr) {
        return 1;
    }
    int32_t step = osa_fwrite("12", 1, 2, file) != 2     ? 2
                   : osa_fputs("34", file) == EOF        ? 3
                   : osa_fputc('5', file) == EOF         ? 4
                   : osa_fprintf(file, "%d", 6) != 1     ? 5
                   : osa_fflush(file) != 0               ? 6
                   : osa_fseek(file, 0, SEEK_SET) != 0   ? 7
                   : osa_fread(text, 1, 2, file) != 2    ? 8
                   : osa_fgetc(file) != '3'              ? 9
                   : osa_fgets(text, 8, file) == nullptr ? 10
                   : osa_ftell(file) != 6                ? 11
                                                         : 0;
    return osa_fclose(file) != 0 && step == 0 ? 12 : step;
}

int32_t use_names() {
    return osa_mkdir("/data/d") != 1               ? 1
           : osa_rename("/data/d", "/data/e") != 1 ? 2
           : osa_symlink(kFile, "/data/link") != 1 ? 3
           : osa_unlink("/data/link") != 1         ? 4
           : osa_rmdir("/data/e") != 1             ? 5
           : osa_chdir("/data") != 1               ? 6
                                                   : 0;
}

int32_t walk_directory() {
    osa_dir_t *directory = osa_opendir("/data/tree");
    if (directory == nullptr) {
        return -1;
    }
    osa_dirent_t entry{};
    int32_t count = 0;
    while (osa_readdir_next(directory, &entry) == 1) {
        count++;
    }
    return osa_closedir(directory) == 1 ? count : -1;
}

void make_tree() {
    write_text("/data/tree/a", "a");
    write_text("/data/tree/b", "b");
}

const Sweep kFiles[] = {
    {"file: descriptor",
     nullptr,
     use_descriptor,
     nullptr,
     0,
     {1, 2, 3, 4, 5, 6, 7, 9},
     "",
     kNoMemory,
     true},
    {"file: stream",
     nullptr,
     use_stream,
     nullptr,
     0,
     {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
     "",
     kNoMemory,
     true},
    {"file: names",
     [] { write_text(kFile, "x"); },
     use_names,
     [](int32_t) {
         for (const char *left : {"/data/d", "/data/e", "/data/link"}) {
             remove(left);
         }
     },
     0,
     {1, 2, 3, 4, 5, 6},
     "",
     kNoMemory,
     true},
    // An entry that cannot be looked at ends the walk.
    {"file: walk a directory", make_tree, walk_directory, nullptr, 2, {-1, 0, 1, 2}},
    {"file: remove a directory",
     make_tree,
     [] { return osa_remove("/data/tree"); },
     [](int32_t result) {
         if (result == 1) {
             EXPECT_FALSE(fs::exists("/data/tree"));
         }
         fs::remove_all("/data/tree");
     },
     1,
     {0},
     "closedir readdir"},
    {"file: status", [] { write_text(kFile, "x"); },
     [] {
         osa_stat_t status{};
         osa_statfs_t system{};
         return osa_stat(kFile, &status) == 0 && osa_statfs("/data", &system) == 1 ? 0 : -1;
     }},
    {"flash: write and read back",
     [] { write_text("/data/userdata/update_info.bin", "old"); },
     [] {
         char text[8] = "";
         int32_t fd = osa_flash_open(4, 0);
         if (fd == -1) {
             return -1;
         }
         int32_t written = osa_flash_write("image", 5, 2, fd);
         int32_t got = osa_flash_read(text, 5, 2, fd);
         int32_t closed = osa_flash_close(fd);
         return written != 5 ? -2 : got == 5 ? closed : -3;
     },
     nullptr,
     0,
     {-1, -2, -3},
     "fsync close"},
    {"flash: delete and sizes", [] { write_text("/var/firmware1.bin", "old"); },
     [] {
         return osa_get_dload_pkg_size(0) == 3 && osa_flash_freespace(0) != -1 ? osa_flash_delete(0)
                                                                               : -1;
     },
     [](int32_t result) { EXPECT_EQ(fs::exists("/var/firmware1.bin"), result != 0); }},
};

TEST(OsaFaults, Queues) {
    sweep_all(kQueue);
}

TEST(OsaFaults, EventsAndTasks) {
    sweep_all(kProcesses);
}

TEST(OsaFaults, ThreadsTimersAndSemaphores) {
    sweep_all(kThreads);
}

TEST(OsaFaults, FilesAndFlash) {
    sweep_all(kFiles);
}

constexpr const char *kLog = "/online/log/webapp.log";
constexpr const char *kSettings = "/app/webroot/data/userdata/log/logs.xml";

// The library's own; the name alone is that of the test support.
void write_line(const char *text) {
    static auto *const print = reinterpret_cast<decltype(osa_print_log_ex) *>(
        dlsym(dlopen("libhearth.so.1", RTLD_NOW | RTLD_NOLOAD), "osa_print_log_ex"));
    print("m", "src/x", 1, OSA_LOG_ERROR, "%s\n", text);
}

// A line may be lost with a failure, but no later one, and none is cut but by a short write.
TEST(OsaFaults, TheLogGoesOnAfterEachFailure) {
    write_text(kSettings,
               "<Log><Where>2</Where><Size>64</Size><Modules>"
               "<Module><name>default</name><mask>31</mask></Module></Modules></Log>");
    Sweep row{"log: a line in the file",
              [] {
                  write_line("zeroth");
                  osa_update_cfg();
              },
              [] {
                  write_line("first");
                  return 0;
              },
              [](int32_t) {
                  write_line("second");
                  EXPECT_NE(read_text(kLog).find("second"), std::string::npos);
                  truncate(kLog, 0);
              },
              0,
              {0}};
    sweep_all({&row, 1});
    row.name = "log: settings";
    row.run = [] { return osa_log_load_cfg(); };
    row.good = 1;
    row.quiet = "fclose close";
    sweep_all({&row, 1});
    row.name = "log: tell of new settings";
    row.run = [] { return osa_update_cfg(); };
    row.quiet = "close";
    sweep_all({&row, 1});
}

// A file at its limit is emptied between two lines. A line is written by one call: a stop before
// that leaves whole lines, one in the middle of it a last line without its end.
TEST(OsaFaults, AStopWhileLoggingLeavesWholeLines) {
    write_text(kSettings,
               "<Log><Where>2</Where><Size>1</Size><Modules>"
               "<Module><name>default</name><mask>31</mask></Module></Modules></Log>");
    write_line("of them fill it");
    for (Fault fault : {Fault::kCrash, Fault::kTorn}) {
        int stops = for_each_crash(
            kOpens | kWrites | kNames,
            [] {
                for (int i = 0; i < 40; i++) {
                    write_line("a line of a good length, so that some thirty of them fill it");
                }
            },
            [fault](int n) {
                std::string text = read_text(kLog);
                size_t end = text.rfind('\n');
                std::string rest = end == std::string::npos ? text : text.substr(end + 1);
                EXPECT_TRUE(fault == Fault::kTorn || rest.empty()) << n << rest;
                EXPECT_LE(text.size(), 1200u);
                std::istringstream lines(text.substr(0, text.size() - rest.size()));
                for (std::string line; std::getline(lines, line);) {
                    EXPECT_TRUE(line.ends_with("of them fill it")) << n << line;
                }
                truncate(kLog, 0);
            },
            fault);
        EXPECT_GT(stops, 40);
    }
}

}  // namespace
