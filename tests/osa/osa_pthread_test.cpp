#include "hearth/osa_pthread.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>

#include "support/capture.h"
#include "support/faults.h"

namespace {

using hearth::test::StdoutCapture;

struct Seen {
    sem_t done;
    unsigned long id = 0;
    int detached = -1;
    size_t stack = 0;
    bool behind_null_exit = false;
    bool behind_exit = false;
};

void *look(void *argument) {
    auto *seen = static_cast<Seen *>(argument);
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getdetachstate(&attributes, &seen->detached);
    pthread_attr_getstacksize(&attributes, &seen->stack);
    pthread_attr_destroy(&attributes);
    seen->id = pthread_self();
    sem_post(&seen->done);
    return nullptr;
}

void *leave(void *argument) {
    auto *seen = static_cast<Seen *>(argument);
    pthread_cleanup_push([](void *done) { sem_post(static_cast<sem_t *>(done)); }, &seen->done);
    errno = EAGAIN;
    osa_pthread_exit(nullptr);
    seen->behind_null_exit = true;
    osa_pthread_exit(seen);
    seen->behind_exit = true;
    pthread_cleanup_pop(0);
    return nullptr;
}

TEST(OsaPthread, ThreadsAreDetachedWithSmallStacks) {
    Seen seen;
    sem_init(&seen.done, 0, 0);
    unsigned long id = osa_pthread_create("name", 100, 1 << 20, look, &seen);
    ASSERT_NE(id, 0u);
    sem_wait(&seen.done);
    EXPECT_EQ(seen.id, id);
    EXPECT_EQ(seen.detached, PTHREAD_CREATE_DETACHED);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_EQ(seen.stack, 65536u);
#endif
}

TEST(OsaPthread, ExitWithNullReturnsToItsCaller) {
    Seen seen;
    sem_init(&seen.done, 0, 0);
    StdoutCapture capture;
    ASSERT_NE(osa_pthread_create(nullptr, 0, 0, leave, &seen), 0u);
    sem_wait(&seen.done);
    EXPECT_TRUE(seen.behind_null_exit);
    EXPECT_FALSE(seen.behind_exit);
    EXPECT_EQ(capture.text(),
              "Error!in pthread_exit, param illegal. errno = Resource temporarily unavailable\n");
}

TEST(OsaPthread, FailuresGiveNoThread) {
    StdoutCapture capture;
    EXPECT_EQ(osa_pthread_create("name", 0, 0, nullptr, nullptr), 0u);
    hearth::test::arm_fault(hearth::test::Fault::kFail, hearth::test::kThreads, 1);
    EXPECT_EQ(osa_pthread_create("name", 0, 0, look, nullptr), 0u);
    EXPECT_TRUE(hearth::test::disarm_fault());
    EXPECT_EQ(capture.text(),
              "Error! the argument pFun illegal.\n"
              "Error!create  the new pthread failed. errno = Resource temporarily unavailable\n");
}

TEST(OsaPthread, DetachForwards) {
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, nullptr, [](void *none) { return none; }, nullptr),
              0);
    EXPECT_EQ(osa_pthread_detach(thread), 0);
}

}  // namespace
