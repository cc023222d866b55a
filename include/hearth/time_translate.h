/*
 * Hearth: from the network's universal time to local time.
 *
 * Pure arithmetic: nothing blocks, any thread may call.
 */
#ifndef HEARTH_TIME_TRANSLATE_H
#define HEARTH_TIME_TRANSLATE_H

#include "hearth/osa_time.h"

HEARTH_BEGIN_DECLS

/*
 * Adds the offset in `zone_quarters` to a universal time.
 *   utc    a valid date and time with an offset of less than a day
 *   local  receives second, minute, hour, day, month, year and zone_quarters; may be `utc`
 * Null arguments do nothing.
 */
HEARTH_API void universaltime_to_localtime(const osa_time_t *utc, osa_time_t *local);

/*
 * Moves a date by a day.
 *   step   -1, 0 or 1
 *   local  receives day, month and year; may be `utc`
 * Null arguments do nothing.
 */
HEARTH_API void adjust_localdate(const osa_time_t *utc, int32_t step, osa_time_t *local);

/* Returns 1 for a leap year, otherwise 0. */
HEARTH_API int32_t is_leap_year(int32_t year);

/* Returns the days of a month, 1 to 12, of that year; 0 for any other month. */
HEARTH_API int32_t get_month_day(int32_t year, int32_t month);

HEARTH_END_DECLS

#endif
