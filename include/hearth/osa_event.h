/*
 * Hearth: events between processes.
 *
 * An event is one of four bits, carried by a signal: 1 by signal 10, 2 by 12, 4 by 31, 8 by 32.
 * A mask is an OR of events; its other bits are not looked at. Signals of a mask that were blocked
 * once stay blocked, so an event that comes between two waits is kept for the next one. Several
 * sends of event 1, 2 or 4 before a wait count as one; those of event 8 are queued.
 *
 * The functions work on the signal mask of the calling thread: block the signals in the thread
 * that waits, or before the process starts other threads.
 */
#ifndef HEARTH_OSA_EVENT_H
#define HEARTH_OSA_EVENT_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/*
 * Blocks the signals of a mask, so that a peer can send before the first wait. Does not block.
 *   events  event mask
 * Returns 1 when they are blocked now, 0 when the kernel refused.
 */
HEARTH_API int32_t osa_event_init(int32_t events);

/*
 * Sends an event to a process. Does not block.
 *   task   process id, above 0
 *   event  a single event bit
 * Returns 1 when sent, 0 for a bad argument and when there is no such process.
 */
HEARTH_API int32_t osa_event_send(int32_t task, int32_t event);

/*
 * Blocks the signals of a mask and waits for one of them. A wait with a limit uses the process's
 * alarm clock, SIGALRM, which stays blocked too.
 *   events           event mask, not -1
 *   timeout_seconds  above 0: the longest wait; 0 and below: no limit
 *   received         where the event that came is stored, only when the result is 1
 * Returns 1 when an event came, 0 when the time ran out, for a bad argument and on failure.
 */
HEARTH_API int32_t osa_event_recv(int32_t events, int32_t timeout_seconds, int32_t *received);

/* Does nothing. Returns 0. */
HEARTH_API int32_t osa_event_clear(void);

HEARTH_END_DECLS

#endif
