#include "hearth/osa_time.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/time.h>
#include <unistd.h>

#include "base/number.h"

namespace {

using hearth::wrapping_add;

constexpr int32_t kFirstYear = 1900;

tm to_tm(const osa_time_t &from) {
    tm result{};
    result.tm_sec = from.second;
    result.tm_min = from.minute;
    result.tm_hour = from.hour;
    result.tm_mday = from.day;
    result.tm_mon = wrapping_add(from.month, -1);
    result.tm_year = wrapping_add(from.year, -kFirstYear);
    return result;
}

}  // namespace

int32_t osa_sleep(uint32_t milliseconds) {
    // The longest whole number of milliseconds that fits usleep's argument.
    constexpr uint32_t kLongest = UINT32_MAX / 1000;
    int result = 0;
    while (milliseconds > kLongest && result == 0) {
        result = usleep(kLongest * 1000);
        milliseconds -= kLongest;
    }
    return result == 0 ? usleep(milliseconds * 1000) : result;
}

int32_t osa_elapse(void) {
    timespec now{};
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0 || now.tv_sec < 0) {
        printf("osa_elapse errno = %s", strerror(errno));
        return -1;
    }
    return static_cast<int32_t>(now.tv_sec);
}

time_t osa_difftime(time_t a, time_t b) {
    return a > b ? static_cast<time_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b))
                 : static_cast<time_t>(static_cast<uint64_t>(b) - static_cast<uint64_t>(a));
}

time_t osa_time(time_t *out) {
    return time(out);
}

void osa_gmtime(const time_t *time, osa_time_t *out) {
    if (time == nullptr || out == nullptr) {
        puts("Error! in osa_gmtime param is NULL");
        return;
    }
    // Local time is required. localtime_r alone would miss a change of the zone.
    tzset();
    tm local{};
    if (localtime_r(time, &local) == nullptr) {
        return;
    }
    out->second = local.tm_sec;
    out->minute = local.tm_min;
    out->hour = local.tm_hour;
    out->day = local.tm_mday;
    out->month = local.tm_mon + 1;
    out->year = wrapping_add(local.tm_year, kFirstYear);
    out->weekday = local.tm_wday;
    out->yearday = local.tm_yday;
}

time_t osa_mktime(const osa_time_t *from) {
    if (from == nullptr) {
        puts("Error! in osa_mktime, pointer t NULL");
        return 0;
    }
    tm local = to_tm(*from);
    return mktime(&local);
}

size_t osa_strftime(char *buffer, size_t size, const char *format, const osa_time_t *from) {
    if (from == nullptr) {
        puts("Error! the ptr pointer is NULL");
        return 0;
    }
    if (buffer == nullptr || format == nullptr || from->month < 1 || from->month > 12) {
        return 0;
    }
    tm time = to_tm(*from);
    time.tm_wday = from->weekday;
    time.tm_yday = from->yearday;
    return strftime(buffer, size, format, &time);
}

void osa_get_time(uint32_t milliseconds, osa_time_t *out) {
    if (out == nullptr) {
        puts("Error!in osa_get_time, param illegal.");
        return;
    }
    uint32_t seconds = milliseconds / 1000;
    out->second = static_cast<int32_t>(seconds % 60);
    out->minute = static_cast<int32_t>(seconds / 60 % 60);
    out->hour = static_cast<int32_t>(seconds / 3600);
}

uint32_t osa_gettimeofusec(void) {
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0) {
        printf("Error! gettimeofday failed. errno = %s\n", strerror(errno));
        return 0;
    }
    return static_cast<uint32_t>(now.tv_usec);
}
