#include "hearth/osa_memory.h"

#include <string.h>

void *osa_memset(void *memory, int value, size_t size) {
    return memset(memory, value, size);
}

void *osa_memcpy(void *to, const void *from, size_t size) {
    return memcpy(to, from, size);
}
