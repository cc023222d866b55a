#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "base/bytes.h"
#include "hearth/config.h"
#include "support/config_tree.h"
#include "support/faults.h"
#include "support/log_capture.h"

using hearth::test::LogCapture;
using hearth::test::read_text;
using hearth::test::write_config;
using hearth::test::write_text;
using Clock = std::chrono::steady_clock;

namespace {

const std::string kOperators = "/app/webroot/WebApp/";

uint32_t counter() {
    std::string text = read_text("/var/log/global_shm");
    return text.size() == 4 ? hearth::load_native<uint32_t>(text.data()) : 0;
}

std::string item(const char *name, const char *directory = "lan") {
    char value[64] = "";
    uint32_t length = sizeof value;
    int32_t result = cfg_get_config(directory, name, value, &length);
    return result == CFG_OK ? value : "result " + std::to_string(result);
}

// What the AT server does when the card changes.
void announce(int state, const char *imsi) {
    ASSERT_EQ(cl_lockfile(), 0);
    cfg_set_config("global", "imsi_string", imsi);
    cfg_set_config("global", "sim_state", std::to_string(state).c_str());
    cl_touch_simst();
    ASSERT_EQ(cl_unlockfile(), 0);
}

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void make_operators() {
    write_config(kOperators + "00101/config/lan", "<apn>one</apn>");
    write_config(kOperators + "00202/config/lan", "<apn>two</apn>");
    write_config(kOperators + "common/config/lan", "<apn>common</apn>");
}

TEST(SimState, CounterIsMadeOnceAndWrapsFrom999To1) {
    EXPECT_EQ(cl_init_mmap(), 1);
    EXPECT_EQ(counter(), 1u);
    EXPECT_EQ(cl_is_simst_updated(), 0);
    for (int i = 0; i < 998; i++) {
        cl_touch_simst();
    }
    EXPECT_EQ(counter(), 999u);
    EXPECT_EQ(cl_is_simst_updated(), 1);
    EXPECT_EQ(cl_is_simst_updated(), 0);
    LogCapture log;
    cl_touch_simst();
    EXPECT_EQ(log.texts().back(), "8 shm is updated from (999) to (1).\n");
    EXPECT_EQ(counter(), 1u);
    EXPECT_EQ(cl_is_simst_updated(), 1) << "the wrap is a change";
}

TEST(SimState, AProcessThatAttachesLaterTakesThePresentCountAsSeen) {
    write_text("/var/log/global_shm", std::string("\x07\0\0\0", 4));
    EXPECT_EQ(cl_is_simst_updated(), 0);
    EXPECT_EQ(counter(), 7u);
    // A longer file is cut, which leaves its first word.
    EXPECT_EQ(cl_lockfile(), 0);
    EXPECT_EQ(cl_unlockfile(), 0);
}

TEST(SimState, WithoutAMappingNothingIsTouched) {
    LogCapture log;
    cl_touch_simst();
    EXPECT_EQ(log.texts(), std::vector<std::string>{"2 not inited.\n"});
    std::filesystem::remove_all("/var/log");
    EXPECT_EQ(cl_init_mmap(), 0);
    EXPECT_EQ(cl_lockfile(), -1);
    EXPECT_EQ(cl_is_simst_updated(), 0);
    simst_change_handle();
    EXPECT_EQ(log.texts().back(), "8 [config] imsi not updated.\n");
    std::filesystem::create_directories("/var/log");
    for (uint32_t kind : {hearth::test::kMaps, hearth::test::kWrites}) {
        hearth::test::arm_fault(hearth::test::Fault::kFail, kind, 1);
        EXPECT_EQ(cl_init_mmap(), 0);
        EXPECT_TRUE(hearth::test::disarm_fault());
    }
    EXPECT_EQ(cl_init_mmap(), 1);
}

TEST(SimState, LookupsOfAllProcessesFollowTheCard) {
    make_operators();
    cl_init_mmap();
    announce(CFG_SIMST_OK, "001010000000000");
    EXPECT_EQ(item("apn"), "one");
    EXPECT_EQ(item("custom_dir", "global"), "00101000");
    pid_t child = fork();
    if (child == 0) {
        announce(CFG_SIMST_OK, "002020000000000");
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_EQ(item("apn"), "two");
    EXPECT_EQ(item("custom_dir", "global"), "00202000");
    // A locked card keeps the prefix of the last good one.
    announce(CFG_SIMST_LOCK, "");
    EXPECT_EQ(item("apn"), "two");
    // An empty IMSI empties the prefix.
    announce(CFG_SIMST_OK, "");
    EXPECT_EQ(item("apn"), "common");
    EXPECT_EQ(item("custom_dir", "global"), "");
}

TEST(SimState, AnUnknownStateIsWaitedForOncePerChange) {
    make_operators();
    cfg_set_config("global", "sim_state", "7");
    LogCapture log;
    auto start = Clock::now();
    EXPECT_EQ(item("apn"), "common");
    EXPECT_GE(seconds_since(start), 4.15);
    EXPECT_LT(seconds_since(start), 6.0);
    int polls = 0;
    int invalid = 0;
    for (const std::string &text : log.texts()) {
        polls += text.find("wait for ats sim state notify (") != std::string::npos;
        invalid += text == "2 invalid sim_state (7)\n";
    }
    EXPECT_EQ(polls, 21);
    EXPECT_EQ(invalid, 21);
    start = Clock::now();
    EXPECT_EQ(item("apn"), "common");
    EXPECT_LT(seconds_since(start), 0.15) << "the wait is paid once";
}

TEST(SimState, OthersLookUpWhileOneWaitsAndAllSeeTheCardAtOnce) {
    make_operators();
    write_config(hearth::test::kUserTree + "lan", "<quick>q</quick>");
    cfg_set_config("global", "sim_state", "0");
    cl_init_mmap();
    std::thread waiting([] { EXPECT_EQ(item("apn"), "one"); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    auto start = Clock::now();
    EXPECT_EQ(item("quick"), "q");
    EXPECT_LT(seconds_since(start), 0.15);
    cfg_set_config("global", "imsi_string", "00101");
    cfg_set_config("global", "sim_state", "2");
    start = Clock::now();
    waiting.join();
    EXPECT_LT(seconds_since(start), 0.6);
}

TEST(SimState, AnUnreadableCardFallsBackOnTheLastPrefix) {
    make_operators();
    cfg_set_config("global", "custom_dir", "00202");
    cfg_set_config("global", "sim_state", "1");
    EXPECT_EQ(item("apn"), "two");
}

TEST(SimState, LookupsSurviveCardChangesFromEverywhere) {
    make_operators();
    cl_init_mmap();
    announce(CFG_SIMST_OK, "00101");
    pid_t child = fork();
    if (child == 0) {
        for (int i = 0; i < 30; i++) {
            announce(CFG_SIMST_OK, i % 2 == 0 ? "00202" : "00101");
            usleep(2000);
        }
        _exit(0);
    }
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++) {
        threads.emplace_back([&] {
            for (int i = 0; i < 40; i++) {
                std::string apn = item("apn");
                // The items are rewritten in place, so a reader may meet a document that is not
                // whole and fall back on another layer; a torn value it never sees.
                wrong += apn != "one" && apn != "two" && apn != "common";
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    waitpid(child, nullptr, 0);
    EXPECT_EQ(wrong, 0);
}

}  // namespace
