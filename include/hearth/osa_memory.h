/*
 * Hearth: memory calls.
 */
#ifndef HEARTH_OSA_MEMORY_H
#define HEARTH_OSA_MEMORY_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* As memset(3). Returns `memory`. */
HEARTH_API void *osa_memset(void *memory, int value, size_t size);

/* As memcpy(3): the two areas may not overlap. Returns `to`. */
HEARTH_API void *osa_memcpy(void *to, const void *from, size_t size);

HEARTH_END_DECLS

#endif
