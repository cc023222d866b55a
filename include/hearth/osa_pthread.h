/*
 * Hearth: threads.
 *
 * All threads are alike: detached, so that nobody joins them, with a stack of 64 KiB.
 */
#ifndef HEARTH_OSA_PTHREAD_H
#define HEARTH_OSA_PTHREAD_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/*
 * Returns the kernel's id of the calling thread, which no other living thread of any process has;
 * that of the main thread is the process id.
 */
HEARTH_API int32_t osa_pthread_getid(void);

/*
 * Starts a thread.
 *   name, priority, third  not used
 *   function               what the thread runs, with `argument`; its result goes nowhere
 * Returns the thread id of the POSIX threads, or 0. The id may be another thread's as soon as the
 * thread has ended. Does not block.
 */
HEARTH_API unsigned long osa_pthread_create(const char *name, int32_t priority, int32_t third,
                                            void *(*function)(void *argument), void *argument);

/*
 * Ends the calling thread and does not return.
 *   value  must not be NULL: with NULL the call prints a line and returns
 */
HEARTH_API void osa_pthread_exit(void *value);

/* Detaches a thread as pthread_detach(). Returns 0 or an error number. */
HEARTH_API int32_t osa_pthread_detach(unsigned long thread);

HEARTH_END_DECLS

#endif
