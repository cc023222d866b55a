#include "hearth/osa_semaphore.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "support/capture.h"
#include "support/faults.h"

namespace {

using hearth::test::StdoutCapture;

bool g_destroy_fails = false;

TEST(OsaSemaphore, CountsGivesAndTakes) {
    uintptr_t handle = osa_sem_create(2);
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(osa_sem_take(handle, -1), 1);
    EXPECT_EQ(osa_sem_take(handle, -1), 1);
    EXPECT_EQ(osa_sem_give(handle), 1);
    EXPECT_EQ(osa_sem_take(handle, -1), 1);
    EXPECT_EQ(osa_sem_delete(handle), 1);
}

TEST(OsaSemaphore, LimitOfZeroStillWaits) {
    uintptr_t handle = osa_sem_create(0);
    std::atomic<bool> taken = false;
    std::thread waiting([&] {
        EXPECT_EQ(osa_sem_take(handle, 0), 1);
        taken = true;
    });
    usleep(50000);
    EXPECT_FALSE(taken);
    EXPECT_EQ(osa_sem_give(handle), 1);
    waiting.join();
    EXPECT_TRUE(taken);
    osa_sem_delete(handle);
}

TEST(OsaSemaphore, FailuresPrintTheirText) {
    StdoutCapture capture;
    EXPECT_EQ(osa_sem_delete(0), 0);
    EXPECT_EQ(osa_sem_give(0), 0);
    EXPECT_EQ(osa_sem_take(0, -1), 0);
    EXPECT_EQ(osa_sem_create(1u + SEM_VALUE_MAX), 0u);
    hearth::test::arm_fault(hearth::test::Fault::kFail, hearth::test::kAllocations, 1, ENOMEM);
    EXPECT_EQ(osa_sem_create(1), 0u);
    EXPECT_TRUE(hearth::test::disarm_fault());
    uintptr_t full = osa_sem_create(SEM_VALUE_MAX);
    EXPECT_EQ(osa_sem_give(full), 0);
    g_destroy_fails = true;
    EXPECT_EQ(osa_sem_delete(full), 0);
    EXPECT_EQ(capture.text(),
              "Error!in osa_sem_delete, SemId illegal.\n"
              "Error!in osa_sem_give, SemId illegal.\n"
              "Error!in osa_sem_take, SemId illegal.\n"
              "Error! sem_init failed. \n"
              "Error!in sem_create, psem malloc error \n"
              "Error! in sem_give, sem_post failed.\n"
              "Error! in sem_delete, sem_destroy failed!\n");
}

TEST(OsaSemaphore, SignalHandlerEndsTheWait) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    uintptr_t handle = osa_sem_create(0);
    StdoutCapture capture;
    alarm(1);
    EXPECT_EQ(osa_sem_take(handle, -1), 0);
    EXPECT_EQ(capture.text(), "Error! int sem_take, sem_wait failed.\n");
    osa_sem_delete(handle);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int sem_destroy(sem_t *) noexcept {
    return g_destroy_fails ? -1 : 0;
}
