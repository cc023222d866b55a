#include "hearth/threadpool.h"

#include <pthread.h>
#include <stdlib.h>

#include <atomic>

#include "base/bytes.h"
#include "base/guard.h"
#include "base/log.h"
#include "hearth/osa_pthread.h"

namespace {

constexpr hearth::LogSource kLogSource{"notify_client",
                                       "notify/linux/notify_client/src/threadpool"};

struct Job {
    pool_job_function function;
    void *argument;
    Job *next;
};

struct Pool {
    Job *queue_head;
    Job **queue_end;  // where the next job is linked in
    int shutdown;
    unsigned long *threadid;  // one per thread
    int max_thread_num;
    int cur_queue_size;  // jobs waiting
    int users;           // threads that still look at this record; the last one frees it
};

// Guards the pool and everything in it. Lock and condition outlive the pool, so that a thread that
// ends late, or a signal that comes late, still has them.
pthread_mutex_t g_queue_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t g_queue_ready = PTHREAD_COND_INITIALIZER;  // signalled for each new job
Pool *g_pool;

std::atomic<int> g_routine_run;  // pool threads shall run
int g_userfull_thread;           // threads asleep on the condition; guarded by the queue lock

constexpr int kFloodLimit = 30;

// Read as a frame, a notification from module 31 to module 19. Required, by number.
bool is_flood(const void *argument) {
    if (argument == nullptr) {
        return false;
    }
    const uint32_t *words = static_cast<const uint32_t *>(argument);
    return words[2] == 31 && words[3] == 19 && words[4] == 0;
}

// A thread of the pool is about to end. Needs the queue lock.
void leave(Pool *pool) {
    pool->users--;
    if (pool->users == 0 && pool->shutdown != 0) {
        free(pool);
    }
}

// Waits for the next job and takes it; null when the thread shall end.
Job *take_job(Pool *pool) {
    hearth::MutexLock lock(g_queue_lock);
    while (pool->cur_queue_size == 0 && pool->shutdown == 0) {
        g_userfull_thread++;
        pthread_cond_wait(&g_queue_ready, &g_queue_lock);
        g_userfull_thread--;
    }
    if (pool->shutdown != 0) {
        return nullptr;
    }
    Job *job = pool->queue_head;
    if (job != nullptr) {
        pool->cur_queue_size--;
        pool->queue_head = job->next;
        if (pool->queue_head == nullptr) {
            pool->queue_end = &pool->queue_head;
        }
    }
    return job;
}

void *thread_routine(void *argument) {
    Pool *pool = static_cast<Pool *>(argument);
    HEARTH_LOG(OSA_LOG_INFO, "starting thread %d\n", osa_pthread_getid());
    while (g_routine_run.load(std::memory_order_relaxed) != 0) {
        Job *job = take_job(pool);
        if (job == nullptr) {
            HEARTH_LOG(OSA_LOG_INFO, "thread %d will exit\n", osa_pthread_getid());
            break;
        }
        job->function(job->argument);
        free(job);
    }
    hearth::MutexLock lock(g_queue_lock);
    leave(pool);
    return nullptr;
}

Pool *make_pool(int32_t n) {
    hearth::HeapBlock<Pool> pool = hearth::allocate_zeroed<Pool>(1);
    hearth::HeapBlock<unsigned long> ids =
        hearth::allocate_zeroed<unsigned long>(static_cast<size_t>(n));
    if (!pool || !ids) {
        return nullptr;
    }
    pool->queue_end = &pool->queue_head;
    pool->max_thread_num = n;
    pool->threadid = ids.release();
    return pool.release();
}

// Starts the threads of g_pool. Needs the queue lock, which keeps them from their first job until
// all of them are there.
bool start_threads() {
    for (int i = 0; i < g_pool->max_thread_num; i++) {
        g_pool->threadid[i] = osa_pthread_create("thread_routine", 0, 0, thread_routine, g_pool);
        if (g_pool->threadid[i] == 0) {
            return false;
        }
        g_pool->users++;
    }
    return true;
}

}  // namespace

extern "C" HEARTH_API int32_t pool_init(int32_t n) {
    bool started = false;
    {
        hearth::MutexLock lock(g_queue_lock);
        if (n < 1) {
            return -1;
        }
        if (g_pool != nullptr) {
            return 0;  // whoever comes second works with the pool that is there
        }
        g_pool = make_pool(n);
        if (g_pool == nullptr) {
            return -1;
        }
        g_routine_run.store(1, std::memory_order_relaxed);
        started = start_threads();
    }
    if (!started) {
        HEARTH_LOG(OSA_LOG_ERROR, "pool_init failed !\n");
        g_routine_run.store(0, std::memory_order_relaxed);
        pool_destroy();
        return -1;
    }
    return 0;
}

extern "C" HEARTH_API int32_t pool_add_worker(pool_job_function function, void *argument) {
    HEARTH_LOG(OSA_LOG_INFO, "pool_add_worker-->>enter \n");
    {
        hearth::MutexLock lock(g_queue_lock);
        if (g_pool == nullptr) {
            return -1;
        }
        if (g_pool->cur_queue_size > kFloodLimit && is_flood(argument)) {
            // What the argument points to is not released: required.
            return 0;
        }
        Job *job = static_cast<Job *>(malloc(sizeof(Job)));
        if (job == nullptr) {
            return -1;
        }
        *job = {function, argument, nullptr};
        *g_pool->queue_end = job;
        g_pool->queue_end = &job->next;
        g_pool->cur_queue_size++;
    }
    pthread_cond_signal(&g_queue_ready);
    return 0;
}

extern "C" HEARTH_API void pool_destroy(void) {
    hearth::MutexLock lock(g_queue_lock);
    Pool *pool = g_pool;
    if (pool == nullptr || pool->shutdown != 0) {
        return;
    }
    pool->shutdown = 1;
    g_routine_run.store(0, std::memory_order_relaxed);
    pthread_cond_broadcast(&g_queue_ready);
    free(pool->threadid);
    pool->threadid = nullptr;
    while (pool->queue_head != nullptr) {
        Job *job = pool->queue_head;
        pool->queue_head = job->next;
        free(job);
    }
    pool->cur_queue_size = 0;
    g_pool = nullptr;
    if (pool->users == 0) {
        free(pool);
    }
}
