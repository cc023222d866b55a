/*
 * Hearth: clocks, broken-down time and the device's time service.
 *
 * All functions may be called from any thread. Those of the time service may block as long as the
 * service takes; of the others only osa_sleep blocks.
 */
#ifndef HEARTH_OSA_TIME_H
#define HEARTH_OSA_TIME_H

#include <time.h>

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Broken-down time. */
typedef struct osa_time_t {
    int32_t second;        /* 0 to 59 */
    int32_t minute;        /* 0 to 59 */
    int32_t hour;          /* 0 to 23 */
    int32_t day;           /* of the month, from 1 */
    int32_t month;         /* 1 to 12 */
    int32_t year;          /* in full, such as 2024 */
    int32_t weekday;       /* 0 for Sunday to 6 */
    int32_t yearday;       /* 0 to 365 */
    char zone[12];         /* text of at most 11 characters, of the time service */
    uint32_t source;       /* where the time service has its time from */
    int32_t zone_quarters; /* offset from universal time in quarter hours, east is positive */
} osa_time_t;

/* Sources of the time service have numbers below this one. */
#define OSA_TIME_SOURCES 6

/*
 * What libnetplatform.so takes in SetTimeInfo and fills in GetTimeInfo; both return -2 on failure.
 * The middle is a struct tm of the device's 32-bit C library.
 */
typedef struct osa_time_service_t {
    uint32_t source;           /* below OSA_TIME_SOURCES */
    int32_t second;            /* 0 to 59 */
    int32_t minute;            /* 0 to 59 */
    int32_t hour;              /* 0 to 23 */
    int32_t day;               /* of the month, from 1 */
    int32_t month;             /* from 0 */
    int32_t year;              /* less 1900 */
    int32_t weekday;           /* 0 for Sunday to 6 */
    int32_t yearday;           /* 0 to 365 */
    int32_t reserved_daylight; /* set to 0, like the two below */
    int32_t reserved_offset;
    uint32_t reserved_name;
    char zone[12]; /* text of at most 11 characters */
} osa_time_service_t;

/*
 * Sleeps for that many milliseconds.
 * Returns 0, or -1 when a signal handler ended the sleep.
 */
HEARTH_API int32_t osa_sleep(uint32_t milliseconds);

/* Returns the whole seconds of the monotonic clock, or -1. */
HEARTH_API int32_t osa_elapse(void);

/* Returns the distance of two times in seconds, never negative. */
HEARTH_API time_t osa_difftime(time_t a, time_t b);

/* Returns the seconds since 1970, and stores them unless `out` is NULL. */
HEARTH_API time_t osa_time(time_t *out);

/*
 * Splits a time into local time, despite the name.
 *   out  receives second to yearday; the other fields stay as they are
 */
HEARTH_API void osa_gmtime(const time_t *time, osa_time_t *out);

/*
 * The seconds since 1970 of a local time, without daylight saving.
 *   from  second to year are looked at
 * Returns them, 0 for NULL, -1 when the time cannot be told.
 */
HEARTH_API time_t osa_mktime(const osa_time_t *from);

/*
 * Formats a time as strftime().
 *   buffer  receives at most `size` bytes, the terminator included
 *   from    second to yearday are looked at
 * Returns the length of the text; 0 when it does not fit, for null pointers and for a month that
 * there is not, with the buffer as it was or without meaning.
 */
HEARTH_API size_t osa_strftime(char *buffer, size_t size, const char *format,
                               const osa_time_t *from) __attribute__((format(strftime, 3, 0)));

/* Splits a duration: `out` receives whole hours, minutes and seconds in the fields so named. */
HEARTH_API void osa_get_time(uint32_t milliseconds, osa_time_t *out);

/* Returns the microseconds within the present second of the wall clock, or 0. */
HEARTH_API uint32_t osa_gettimeofusec(void);

/*
 * Hands a time to the time service.
 *   time    second to yearday and the zone are passed on
 *   source  below OSA_TIME_SOURCES
 * Returns 1, or 0 for bad arguments, without the service's library, and when the service fails.
 */
HEARTH_API int32_t osa_settime(const osa_time_t *time, uint32_t source);

/*
 * Asks the time service for the time.
 *   time  receives all fields but zone_quarters; untouched on failure
 * Returns 1, or 0 as osa_settime does.
 */
HEARTH_API int32_t osa_gettime(osa_time_t *time);

/* Loads the time service's library, once. Returns 1, or 0. The two functions above call it. */
HEARTH_API int32_t init_sync_timedl(void);

/* Loads the library of SetTimeCloneCfg, once, and sets pSetTimeCloneCfg. Returns 1, or 0. */
HEARTH_API int32_t InitTimeClonedl(void);

/* SetTimeCloneCfg once InitTimeClonedl has succeeded, NULL before. The library never calls it. */
HEARTH_API extern void (*pSetTimeCloneCfg)(void); /* NOLINT(bugprone-dynamic-static-*) */

HEARTH_END_DECLS

#endif
