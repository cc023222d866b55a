#include "hearth/osa_time.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <chrono>
#include <fstream>

#include "support/capture.h"

namespace {

using hearth::test::StdoutCapture;

void set_zone(const char *zone) {
    setenv("TZ", zone, 1);
}

// A stand-in of the device, loaded so that its name alone finds it.
void load_platform(const std::string &library) {
    ASSERT_NE(dlopen((HEARTH_PLATFORM_DIR "/" + library).c_str(), RTLD_NOW), nullptr) << dlerror();
}

osa_time_t sample() {
    osa_time_t time{};
    time.second = 59;
    time.minute = 58;
    time.hour = 23;
    time.day = 29;
    time.month = 2;
    time.year = 2024;
    time.weekday = 4;
    time.yearday = 59;
    return time;
}

TEST(OsaTime, BrokenDownTimeIsLocal) {
    time_t when = 1709251139;  // 2024-02-29 23:58:59 UTC
    osa_time_t time{};
    strcpy(time.zone, "kept");
    set_zone("UTC0");
    osa_gmtime(&when, &time);
    osa_time_t expected = sample();
    EXPECT_EQ(memcmp(&time, &expected, offsetof(osa_time_t, zone)), 0);
    EXPECT_STREQ(time.zone, "kept");
    set_zone("EAST-3");
    osa_gmtime(&when, &time);
    EXPECT_EQ(time.hour, 2) << "a change of the zone is seen";
    EXPECT_EQ(time.day, 1);
    EXPECT_EQ(time.month, 3);
    EXPECT_EQ(osa_mktime(&time), when);
    set_zone("MEZ-1MESZ,M3.5.0,M10.5.0/3");
    time = sample();
    time.month = 7;
    EXPECT_EQ(osa_mktime(&time), 1722293939) << "29 July 23:58:59 at +1, not +2";
}

TEST(OsaTime, FormatNeedsAMonth) {
    osa_time_t time = sample();
    char text[64] = "";
    EXPECT_EQ(osa_strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S %a %j", &time), 27u);
    EXPECT_STREQ(text, "2024-02-29 23:58:59 Thu 060");
    EXPECT_EQ(osa_strftime(text, 5, "%Y-%m", &time), 0u);
    for (int32_t month : {0, 13, INT32_MIN}) {
        time.month = month;
        EXPECT_EQ(osa_strftime(text, sizeof text, "%Y", &time), 0u);
    }
}

TEST(OsaTime, BadArgumentsPrintTheirText) {
    time_t when = 0;
    osa_time_t time{};
    char text[8];
    StdoutCapture capture;
    osa_gmtime(nullptr, &time);
    osa_gmtime(&when, nullptr);
    EXPECT_EQ(osa_mktime(nullptr), 0);
    EXPECT_EQ(osa_strftime(text, sizeof text, "%Y", nullptr), 0u);
    osa_get_time(1, nullptr);
    EXPECT_EQ(osa_settime(nullptr, 0), 0);
    EXPECT_EQ(osa_settime(&time, 6), 0);
    EXPECT_EQ(osa_gettime(nullptr), 0);
    EXPECT_EQ(capture.text(),
              "Error! in osa_gmtime param is NULL\n"
              "Error! in osa_gmtime param is NULL\n"
              "Error! in osa_mktime, pointer t NULL\n"
              "Error! the ptr pointer is NULL\n"
              "Error!in osa_get_time, param illegal.\n");
}

TEST(OsaTime, DurationsAndClocks) {
    osa_time_t time{};
    osa_get_time(((27 * 60 + 59) * 60 + 58) * 1000 + 999, &time);
    EXPECT_EQ(time.hour, 27);
    EXPECT_EQ(time.minute, 59);
    EXPECT_EQ(time.second, 58);
    EXPECT_EQ(osa_difftime(5, 9), 4);
    EXPECT_EQ(osa_difftime(9, 5), 4);
    time_t stored = 0;
    EXPECT_EQ(osa_time(&stored), stored);
    EXPECT_LE(osa_difftime(stored, ::time(nullptr)), 1);
    EXPECT_LT(osa_gettimeofusec(), 1000000u);

    auto clock = [] { return std::chrono::steady_clock::now().time_since_epoch(); };
    auto before = std::chrono::duration_cast<std::chrono::seconds>(clock()).count();
    EXPECT_LE(osa_elapse() - before, 1);
    auto start = clock();
    EXPECT_EQ(osa_sleep(30), 0);
    EXPECT_GE(clock() - start, std::chrono::milliseconds(30));
}

TEST(OsaTime, SleepOfManyHoursDoesNotWrap) {
    signal(SIGALRM, [](int) {});
    alarm(1);
    EXPECT_EQ(osa_sleep(4294968), -1) << "one second more than 2^32 microseconds";
}

TEST(OsaTime, WithoutTheServiceThereIsNoTime) {
    osa_time_t time = sample();
    StdoutCapture capture;
    EXPECT_EQ(osa_settime(&time, 0), 0);
    EXPECT_EQ(osa_gettime(&time), 0);
    EXPECT_EQ(InitTimeClonedl(), 0);
    std::string missing = ": cannot open shared object file: No such file or directory";
    EXPECT_EQ(capture.text(), "Failed to link g_pdlSyncTimeHandle libnetplatform.so" + missing +
                                  "[osa_settime] init_sync_timedl failed .\n"
                                  "Failed to link g_pdlSyncTimeHandle libnetplatform.so" +
                                  missing +
                                  "[osa_gettime] init_sync_timedl failed .\n"
                                  "Failed to link SetTimeCloneCfg libSetTimeCloneCfg.so" +
                                  missing);
    EXPECT_EQ(time.year, 2024);
}

TEST(OsaTime, ServiceTakesAndGivesTheTime) {
    set_zone("UTC0");
    load_platform("libnetplatform.so");
    osa_time_t time = sample();
    memcpy(time.zone, "twelve bytes", 12);
    EXPECT_EQ(osa_settime(&time, 5), 1);
    osa_time_t got{};
    got.zone_quarters = 17;
    EXPECT_EQ(osa_gettime(&got), 1);
    EXPECT_LE(osa_difftime(osa_mktime(&got), osa_mktime(&time)), 2);
    EXPECT_EQ(got.source, 5u);
    EXPECT_STREQ(got.zone, "twelve byte");
    EXPECT_EQ(got.zone_quarters, 17);
    EXPECT_EQ(init_sync_timedl(), 1);

    ASSERT_EQ(truncate("/data/time_service", 0), 0);
    got = {};
    EXPECT_EQ(osa_gettime(&got), 1);
    EXPECT_LE(osa_difftime(osa_mktime(&got), ::time(nullptr)), 2);
    time.month = 13;
    EXPECT_EQ(osa_settime(&time, 0), 0) << "the service refuses";
}

TEST(OsaTime, CloneFunctionIsResolvedOnce) {
    load_platform("libSetTimeCloneCfg.so");
    EXPECT_EQ(pSetTimeCloneCfg, nullptr);
    StdoutCapture capture;
    EXPECT_EQ(InitTimeClonedl(), 1);
    EXPECT_EQ(InitTimeClonedl(), 1);
    EXPECT_EQ(capture.text(), "g_pdlTimeCloneHandle is not NULL!\n");
    ASSERT_NE(pSetTimeCloneCfg, nullptr);
    pSetTimeCloneCfg();
    EXPECT_EQ(access("/data/time_clone_requested", F_OK), 0);
}

}  // namespace
