#include "hearth/osa_semaphore.h"

#include <semaphore.h>
#include <stdio.h>

#include "base/guard.h"

namespace {

sem_t *semaphore_of(uintptr_t handle) {
    return reinterpret_cast<sem_t *>(handle);
}

// The text of a failed call, and its result.
int32_t failed(const char *text) {
    puts(text);
    return 0;
}

}  // namespace

uintptr_t osa_sem_create(uint32_t count) {
    auto semaphore = hearth::allocate_zeroed<sem_t>(1);
    if (!semaphore) {
        puts("Error!in sem_create, psem malloc error ");
        return 0;
    }
    if (sem_init(semaphore.get(), 0, count) != 0) {
        puts("Error! sem_init failed. ");
        return 0;
    }
    return reinterpret_cast<uintptr_t>(semaphore.release());
}

int32_t osa_sem_delete(uintptr_t handle) {
    if (handle == 0) {
        return failed("Error!in osa_sem_delete, SemId illegal.");
    }
    hearth::HeapBlock<sem_t> semaphore(semaphore_of(handle));
    if (sem_destroy(semaphore.get()) != 0) {
        return failed("Error! in sem_delete, sem_destroy failed!");
    }
    return 1;
}

int32_t osa_sem_give(uintptr_t handle) {
    if (handle == 0) {
        return failed("Error!in osa_sem_give, SemId illegal.");
    }
    if (sem_post(semaphore_of(handle)) != 0) {
        return failed("Error! in sem_give, sem_post failed.");
    }
    return 1;
}

int32_t osa_sem_take(uintptr_t handle, int32_t /*limit*/) {
    if (handle == 0) {
        return failed("Error!in osa_sem_take, SemId illegal.");
    }
    // Without a limit whatever the caller passed, as is required.
    if (sem_wait(semaphore_of(handle)) != 0) {
        return failed("Error! int sem_take, sem_wait failed.");
    }
    return 1;
}
