#include "hearth/time_translate.h"

#include <gtest/gtest.h>
#include <time.h>

namespace {

TEST(TimeTranslate, LeapYearsAndMonths) {
    EXPECT_EQ(is_leap_year(2000), 1);
    EXPECT_EQ(is_leap_year(1900), 0);
    EXPECT_EQ(is_leap_year(2012), 1);
    EXPECT_EQ(is_leap_year(2011), 0);
    EXPECT_EQ(get_month_day(2011, 2), 28);
    EXPECT_EQ(get_month_day(2012, 2), 29);
    EXPECT_EQ(get_month_day(2012, 12), 31);
    EXPECT_EQ(get_month_day(2012, 0), 0);
    EXPECT_EQ(get_month_day(2012, 13), 0);
}

osa_time_t at(int32_t year, int32_t month, int32_t day, int32_t hour, int32_t minute,
              int32_t zone) {
    osa_time_t time{};
    time.second = 7;
    time.minute = minute;
    time.hour = hour;
    time.day = day;
    time.month = month;
    time.year = year;
    time.zone_quarters = zone;
    return time;
}

// The C library's calendar is the independent source: each zone of the network, at the turns of
// day, month and year.
TEST(TimeTranslate, EveryZoneAgreesWithTheCalendar) {
    struct Date {
        int32_t year, month, day;
    };
    for (const Date &date :
         {Date{1999, 12, 31}, Date{2000, 1, 1}, Date{2000, 2, 29}, Date{2000, 3, 1},
          Date{2011, 2, 28}, Date{2012, 2, 28}, Date{2012, 4, 30}, Date{2012, 12, 31}}) {
        for (int32_t zone = -95; zone <= 95; zone++) {
            for (int32_t minutes : {0, 10, 14, 15, 59, 12 * 60, 20 * 60 + 45, 24 * 60 - 1}) {
                osa_time_t utc =
                    at(date.year, date.month, date.day, minutes / 60, minutes % 60, zone);
                osa_time_t local{};
                universaltime_to_localtime(&utc, &local);
                tm expected{};
                expected.tm_year = date.year - 1900;
                expected.tm_mon = date.month - 1;
                expected.tm_mday = date.day;
                expected.tm_min = minutes + zone * 15;
                expected.tm_sec = 7;
                timegm(&expected);
                ASSERT_EQ(local.year, expected.tm_year + 1900) << zone << " " << minutes;
                ASSERT_EQ(local.month, expected.tm_mon + 1) << zone << " " << minutes;
                ASSERT_EQ(local.day, expected.tm_mday) << zone << " " << minutes;
                ASSERT_EQ(local.hour, expected.tm_hour) << zone << " " << minutes;
                ASSERT_EQ(local.minute, expected.tm_min) << zone << " " << minutes;
                ASSERT_EQ(local.second, 7);
                ASSERT_EQ(local.zone_quarters, zone);
                universaltime_to_localtime(&utc, &utc);
                ASSERT_EQ(utc.hour, local.hour) << "in place";
                ASSERT_EQ(utc.day, local.day);
            }
        }
    }
}

TEST(TimeTranslate, NullDoesNothingAndNonsenseIsSafe) {
    osa_time_t time = at(2012, 1, 1, 0, 0, 4);
    universaltime_to_localtime(nullptr, &time);
    universaltime_to_localtime(&time, nullptr);
    adjust_localdate(nullptr, 1, &time);
    EXPECT_EQ(time.hour, 0);
    EXPECT_EQ(time.day, 1);
    for (int32_t value : {INT32_MIN, -1, 0, 13, INT32_MAX}) {
        osa_time_t nonsense = at(value, value, value, value, value, value);
        osa_time_t local{};
        universaltime_to_localtime(&nonsense, &local);
        EXPECT_EQ(local.zone_quarters, value);
    }
}

}  // namespace
