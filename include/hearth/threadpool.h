/*
 * Hearth: the pool of threads that runs the bus handlers. One per process.
 *
 * init_notify makes it, unless the daemon did so before; a daemon may give it jobs of its own.
 */
#ifndef HEARTH_THREADPOOL_H
#define HEARTH_THREADPOOL_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* A job; its result is ignored. */
typedef void *(*pool_job_function)(void *argument);

/*
 * Makes the pool with n threads, at least 1. A pool that is there already stays as it is. Returns
 * 0, or -1 if memory or threads ran out; there is no pool then.
 */
HEARTH_API int32_t pool_init(int32_t n);

/*
 * Queues a job; jobs start in the order of their arrival. Does not wait.
 *   function  the job
 *   argument  passed to it; the job owns what it points to. Null, or at least 20 readable bytes
 * Returns 0, or -1 without a pool or memory. While more than 30 jobs wait, an argument whose
 * third, fourth and fifth 32-bit words are 31, 19 and 0 - a notification from module 31 to 19 -
 * is dropped without being released, and the result is 0.
 */
HEARTH_API int32_t pool_add_worker(pool_job_function function, void *argument);

/*
 * Ends the pool: jobs that wait are dropped, without their arguments being released, and each
 * thread ends after the job it runs. Does not wait for them.
 */
HEARTH_API void pool_destroy(void);

HEARTH_END_DECLS

#endif
