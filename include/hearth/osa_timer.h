/*
 * Hearth: timers that run a callback on a thread of their own.
 *
 * A process has at most 20 timers. All functions may be called from any thread, also from
 * callbacks. None waits for a callback.
 */
#ifndef HEARTH_OSA_TIMER_H
#define HEARTH_OSA_TIMER_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* A timer; made by osa_timer_create_ex, ended by osa_timer_delete_ex. */
typedef struct osa_timer_t osa_timer_t;

/*
 * Starts a timer.
 *   milliseconds  the period, measured on the wall clock
 *   repeat        0 for one expiry; any other value for one after the other, where the next
 *                 period starts when the callback has returned
 *   callback      called with `argument` on the timer's thread, whose stack has 64 KiB; may be
 *                 NULL
 * Returns a handle, or NULL. A timer keeps its place among the 20 until it is deleted, also when
 * it has expired.
 */
HEARTH_API HEARTH_MUST_CHECK osa_timer_t *osa_timer_create_ex(uint32_t milliseconds,
                                                              uint32_t repeat,
                                                              void (*callback)(void *argument),
                                                              void *argument);

/*
 * Deletes a timer; the handle is dead afterwards. A callback that is running finishes, and does
 * not run again. The timer's place becomes free when its thread has ended.
 *
 * Called by the timer's own callback, it ends the thread there and does not return.
 */
HEARTH_API void osa_timer_delete_ex(osa_timer_t *timer);

HEARTH_END_DECLS

#endif
