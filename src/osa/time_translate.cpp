#include "hearth/time_translate.h"

#include "base/number.h"

namespace {

using hearth::wrapping_add;

constexpr int32_t days_of_month[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

constexpr int32_t kFebruary = 2;
constexpr int32_t kMonths = 12;
constexpr int32_t kQuartersPerHour = 4;
constexpr int32_t kMinutesPerQuarter = 15;

// Brings a value back below its limit by one turn, and returns the turn.
int32_t carry(int32_t *value, int32_t limit) {
    if (*value >= limit) {
        *value -= limit;
        return 1;
    }
    if (*value < 0) {
        *value += limit;
        return -1;
    }
    return 0;
}

}  // namespace

int32_t is_leap_year(int32_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int32_t get_month_day(int32_t year, int32_t month) {
    if (month < 1 || month > kMonths) {
        return 0;
    }
    return days_of_month[month - 1] + (month == kFebruary ? is_leap_year(year) : 0);
}

void adjust_localdate(const osa_time_t *utc, int32_t step, osa_time_t *local) {
    if (utc == nullptr || local == nullptr) {
        return;
    }
    int32_t day = wrapping_add(utc->day, step);
    int32_t month = utc->month;
    int32_t year = utc->year;
    if (day == 0) {
        year = month == 1 ? wrapping_add(year, -1) : year;
        month = month == 1 ? kMonths : wrapping_add(month, -1);
        day = get_month_day(year, month);
    } else if (day > get_month_day(year, month)) {
        day = 1;
        year = month == kMonths ? wrapping_add(year, 1) : year;
        month = month == kMonths ? 1 : wrapping_add(month, 1);
    }
    local->day = day;
    local->month = month;
    local->year = year;
}

void universaltime_to_localtime(const osa_time_t *utc, osa_time_t *local) {
    if (utc == nullptr || local == nullptr) {
        return;
    }
    int32_t quarters = utc->zone_quarters;
    int32_t minute = wrapping_add(utc->minute, quarters % kQuartersPerHour * kMinutesPerQuarter);
    int32_t hour = wrapping_add(utc->hour, quarters / kQuartersPerHour);
    hour = wrapping_add(hour, carry(&minute, 60));
    int32_t step = carry(&hour, 24);
    local->second = utc->second;
    local->zone_quarters = quarters;
    local->minute = minute;
    local->hour = hour;
    adjust_localdate(utc, step, local);
}
