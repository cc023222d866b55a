/*
 * Hearth: threads.
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

HEARTH_END_DECLS

#endif
