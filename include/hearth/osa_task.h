/*
 * Hearth: tasks, which are processes, and the way from a task's name to its id.
 *
 * A task that wants to be found writes its process id, as one decimal number at the start of the
 * file, to /var/run/pidfile/NAME.pid.
 */
#ifndef HEARTH_OSA_TASK_H
#define HEARTH_OSA_TASK_H

#include <sys/types.h>

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Tasks are not created through this layer: all arguments are ignored. Returns -1. */
HEARTH_API int32_t osa_task_create(uintptr_t name, uintptr_t priority, uintptr_t stack_size,
                                   uintptr_t entry);

/* Returns the caller's process id. */
HEARTH_API int32_t osa_task_getid(void);

/*
 * Tells whether a process exists that the caller may signal. Does not block.
 *   task  process id, -1 for none
 * Returns 1 when it does, 0 otherwise.
 */
HEARTH_API int32_t osa_task_bExist(int32_t task);

/*
 * Reads the id from a task's pid file. That the process lives is not checked: ask
 * osa_task_bExist.
 *   name  name of the task, such as "ats"
 * Returns the id, -1 for null, when the file cannot be read and when it holds no number.
 */
HEARTH_API int32_t osa_task_name_to_id(const char *name);

/* As waitpid(2). Blocks unless the options say otherwise. */
HEARTH_API pid_t osa_waitpid(pid_t task, int *status, int options);

/* As wait(2). Blocks. */
HEARTH_API pid_t osa_wait(int *status);

/* As system(3). Blocks until the command has ended. */
HEARTH_API int osa_system(const char *command);

HEARTH_END_DECLS

#endif
