#include "hearth/osa_pthread.h"

#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

namespace {

#if defined(__has_feature)
#define HEARTH_HAS_FEATURE(name) __has_feature(name)
#else
#define HEARTH_HAS_FEATURE(name) 0
#endif

// Sanitizers need room of their own on each stack.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    HEARTH_HAS_FEATURE(address_sanitizer) || HEARTH_HAS_FEATURE(thread_sanitizer)
constexpr size_t kStackSize = 1024 * 1024;
#else
constexpr size_t kStackSize = 65536;
#endif

using ThreadFunction = void *(*)(void *);

unsigned long start(pthread_attr_t *attributes, ThreadFunction function, void *argument) {
    if (pthread_attr_setdetachstate(attributes, PTHREAD_CREATE_DETACHED) != 0) {
        return 0;
    }
    // A stack of the system's size serves as well where this one is refused.
    (void)pthread_attr_setstacksize(attributes, kStackSize);
    pthread_t thread{};
    int result = pthread_create(&thread, attributes, function, argument);
    if (result != 0) {
        printf("Error!create  the new pthread failed. errno = %s\n", strerror(result));
        // These calls return their error; callers look for it here.
        errno = result;
        return 0;
    }
    return reinterpret_cast<unsigned long>(thread);
}

}  // namespace

unsigned long osa_pthread_create(const char * /*name*/, int32_t /*priority*/, int32_t /*third*/,
                                 ThreadFunction function, void *argument) {
    if (function == nullptr) {
        puts("Error! the argument pFun illegal.");
        return 0;
    }
    pthread_attr_t attributes;
    int result = pthread_attr_init(&attributes);
    if (result != 0) {
        printf("Error! in osa_pthread_create, err != 0. errno = %s\n", strerror(result));
        return 0;
    }
    unsigned long thread = start(&attributes, function, argument);
    if (thread == 0) {
        // Those of a thread that runs are left as they are.
        pthread_attr_destroy(&attributes);
    }
    return thread;
}

void osa_pthread_exit(void *value) {
    if (value == nullptr) {
        printf("Error!in pthread_exit, param illegal. errno = %s\n", strerror(errno));
        return;
    }
    pthread_exit(value);
}

int32_t osa_pthread_detach(unsigned long thread) {
    return pthread_detach(reinterpret_cast<pthread_t>(thread));
}
