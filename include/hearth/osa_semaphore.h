/*
 * Hearth: counting semaphores by handle, private to the process.
 *
 * All functions may be called from any thread.
 */
#ifndef HEARTH_OSA_SEMAPHORE_H
#define HEARTH_OSA_SEMAPHORE_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/*
 * Makes a semaphore.
 *   count  what it starts with
 * Returns its handle, which the caller ends with osa_sem_delete, or 0.
 */
HEARTH_API HEARTH_MUST_CHECK uintptr_t osa_sem_create(uint32_t count);

/*
 * Frees a semaphore. No thread may be waiting on it, and the handle is dead afterwards.
 * Returns 1, or 0 on failure and for the handle 0.
 */
HEARTH_API int32_t osa_sem_delete(uintptr_t handle);

/* Adds 1 to the count and wakes a waiting thread. Returns 1, or 0. Never blocks. */
HEARTH_API int32_t osa_sem_give(uintptr_t handle);

/*
 * Takes 1 from the count; blocks while that is 0.
 *   limit  not used: the wait has no limit. Callers pass -1.
 * Returns 1, or 0 on failure, for the handle 0, and when a signal handler interrupts the wait.
 */
HEARTH_API int32_t osa_sem_take(uintptr_t handle, int32_t limit);

HEARTH_END_DECLS

#endif
