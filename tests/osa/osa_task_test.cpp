#include "hearth/osa_task.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>

#include "hearth/osa_memory.h"
#include "hearth/osa_pthread.h"
#include "support/capture.h"

using hearth::test::StdoutCapture;

namespace {

void write_pid_file(const std::string &name, const std::string &text) {
    std::ofstream("/var/run/pidfile/" + name) << text;
}

int lowest_free_descriptor() {
    int fd = dup(0);
    close(fd);
    return fd;
}

TEST(OsaTask, PidFiles) {
    struct {
        std::string text;
        int32_t id;
    } const rows[] = {
        {"1234\n", 1234},
        {"1234", 1234},
        {"  42 and more\n99\n", 42},
        {"", -1},
        {"\n55\n", -1},
        {"ats\n", -1},
        {"0\n", -1},
        {"-7\n", -7},
        {std::string(300, '0') + "5", -1},
        {std::string("12\0"
                     "34",
                     5),
         12},
    };
    int free_descriptor = lowest_free_descriptor();
    for (const auto &row : rows) {
        write_pid_file("ats.pid", row.text);
        EXPECT_EQ(osa_task_name_to_id("ats"), row.id) << row.text;
    }
    EXPECT_EQ(osa_task_name_to_id("none"), -1);
    EXPECT_EQ(lowest_free_descriptor(), free_descriptor);
    StdoutCapture output;
    EXPECT_EQ(osa_task_name_to_id(nullptr), -1);
    EXPECT_EQ(output.text(), "Error!in osa_task_name_to_id, param illegal.\n");
}

// The path has 254 bytes, 17 of them for the folder; what does not fit is cut off.
TEST(OsaTask, LongNamesAreCut) {
    write_pid_file(std::string(233, 'n') + ".pid", "5");
    write_pid_file(std::string(237, 'n'), "6");
    EXPECT_EQ(osa_task_name_to_id(std::string(233, 'n').c_str()), 5);
    EXPECT_EQ(osa_task_name_to_id(std::string(234, 'n').c_str()), -1);
    EXPECT_EQ(osa_task_name_to_id(std::string(2000, 'n').c_str()), 6);
}

TEST(OsaTask, Existence) {
    EXPECT_EQ(osa_task_getid(), getpid());
    EXPECT_EQ(osa_task_bExist(getpid()), 1);
    pid_t child = fork();
    if (child == 0) {
        _exit(7);
    }
    int status = 0;
    EXPECT_EQ(osa_waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 7);
    StdoutCapture output;
    EXPECT_EQ(osa_task_bExist(-1), 0);
    EXPECT_EQ(osa_task_bExist(child), 0);
    EXPECT_EQ(output.text(), "Error! kill failed! errno = No such process\n");
}

TEST(OsaTask, Forwarders) {
    EXPECT_EQ(osa_task_create(1, 2, 3, 4), -1);
    int status = 0;
    EXPECT_EQ(osa_wait(&status), -1);
    EXPECT_EQ(WEXITSTATUS(osa_system("exit 3")), 3);
    char text[8] = "abcdefg";
    EXPECT_EQ(osa_memset(text, 'x', 2), text);
    EXPECT_EQ(osa_memcpy(text + 2, "yz", 2), text + 2);
    EXPECT_STREQ(text, "xxyzefg");
}

TEST(OsaTask, ThreadIds) {
    EXPECT_EQ(osa_pthread_getid(), getpid());
    int32_t other = 0;
    std::thread([&other] { other = osa_pthread_getid(); }).join();
    EXPECT_GT(other, 0);
    EXPECT_NE(other, getpid());
}

}  // namespace
