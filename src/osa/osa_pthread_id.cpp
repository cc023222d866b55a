#include <sys/syscall.h>
#include <unistd.h>

#include "hearth/osa_pthread.h"

int32_t osa_pthread_getid(void) {
    return static_cast<int32_t>(syscall(SYS_gettid));
}
