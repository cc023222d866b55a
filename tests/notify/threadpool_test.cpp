#include "hearth/threadpool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

#include "base/io.h"
#include "support/faults.h"
#include "support/log_capture.h"

namespace {

std::atomic<bool> g_gate;
std::mutex g_mutex;
std::vector<intptr_t> g_order;

bool wait_for(const std::function<bool()> &condition) {
    int64_t end = hearth::monotonic_ms() + 3000;
    while (!condition()) {
        if (hearth::monotonic_ms() > end) {
            return false;
        }
        usleep(1000);
    }
    return true;
}

void *wait_at_gate(void *) {
    wait_for([] { return g_gate.load(); });
    return nullptr;
}

void *note_words(void *argument) {
    std::lock_guard lock(g_mutex);
    g_order.push_back(static_cast<const int32_t *>(argument)[0]);
    return nullptr;
}

size_t jobs_done() {
    std::lock_guard lock(g_mutex);
    return g_order.size();
}

TEST(ThreadPool, RefusesWhatItCannotDo) {
    hearth::test::LogCapture log;
    EXPECT_EQ(pool_add_worker(note_words, nullptr), -1);
    EXPECT_EQ(pool_init(0), -1);
    EXPECT_EQ(pool_init(-1), -1);
    pool_destroy();
    EXPECT_EQ(log.texts(), (std::vector<std::string>{"8 pool_add_worker-->>enter \n"}));
    EXPECT_EQ(log.lines()[0].file, "notify/linux/notify_client/src/threadpool");
}

TEST(ThreadPool, JobsStartInOrderAndTheFloodIsDroppedBehindThirty) {
    ASSERT_EQ(pool_init(1), 0);
    EXPECT_EQ(pool_init(4), 0) << "keeps the pool of one thread";
    ASSERT_EQ(pool_add_worker(wait_at_gate, nullptr), 0);
    usleep(50000);  // the thread takes that one; the rest waits
    std::vector<std::array<int32_t, 12>> frames(40);
    size_t expected = 0;
    for (int32_t i = 0; i < 40; i++) {
        // All from module 31; those to module 19 are kept while no more than 30 jobs wait.
        bool flood = i % 2 == 0;
        frames[static_cast<size_t>(i)] = {i, 0, 31, flood ? 19 : 18, 0};
        EXPECT_EQ(pool_add_worker(note_words, &frames[static_cast<size_t>(i)]), 0);
        expected += !flood || i <= 30;
    }
    std::array<int32_t, 12> near_miss = {99, 0, 31, 19, 1};
    EXPECT_EQ(pool_add_worker(note_words, &near_miss), 0);
    g_gate = true;
    ASSERT_TRUE(wait_for([&] { return jobs_done() == expected + 1; }));
    std::lock_guard lock(g_mutex);
    EXPECT_TRUE(std::is_sorted(g_order.begin(), g_order.end()));
}

TEST(ThreadPool, EndsWithoutWaitingForItsThreads) {
    hearth::test::LogCapture log;
    ASSERT_EQ(pool_init(3), 0);
    ASSERT_EQ(pool_add_worker(wait_at_gate, nullptr), 0);
    usleep(20000);
    pool_destroy();
    int32_t words[5] = {};
    EXPECT_EQ(pool_add_worker(note_words, words), -1);
    // A pool made anew is not joined by threads of the old one.
    ASSERT_EQ(pool_init(1), 0);
    g_gate = true;
    EXPECT_EQ(pool_add_worker(note_words, words), 0);
    EXPECT_TRUE(wait_for([] { return jobs_done() == 1; }));
    EXPECT_TRUE(wait_for([&] {
        auto texts = log.texts();
        return std::count_if(texts.begin(), texts.end(), [](const std::string &text) {
                   return text.find(" will exit\n") != std::string::npos;
               }) >= 2;
    }));
}

// A pool that cannot be made in full leaves nothing behind, at whichever call it fails.
TEST(ThreadPool, GivesUpWholeWhenMemoryOrThreadsRunOut) {
    using namespace hearth::test;
    int faults = for_each_fault(Fault::kFail, kAllocations | kThreads, ENOMEM, [] {
        if (pool_init(3) == 0) {
            pool_destroy();
        } else {
            int32_t words[5] = {};
            EXPECT_EQ(pool_add_worker(note_words, words), -1);
        }
    });
    EXPECT_EQ(faults, 5);
}

}  // namespace
