// The workers of the soak: daemons that use one part of the library each and log besides. A role's
// body runs in a process of its own until the board says stop, or until it is killed.
#pragma once

#include <unistd.h>

#include <random>
#include <thread>
#include <vector>

#include "base/io.h"
#include "soak/board.h"

namespace hearth::soak {

// What is allowed over a call's own limit on a machine that is busy with other things.
constexpr int64_t kSlackMs = 20000;

struct Worker {
    int slot;
    uint32_t life;  // how often the role was started, from 1
    uint32_t seed;
};

// One thread of a worker.
class Hand {
  public:
    Hand(const Worker &worker, int thread)
        : worker_(worker), thread_(thread), random_(worker.seed * kThreads + thread) {}

    uint32_t pick(uint32_t limit) { return static_cast<uint32_t>(random_() % limit); }
    bool stopped() const { return board().stop; }
    int thread() const { return thread_; }

    // Makes a call that has to end within `limit_ms`, and a slack.
    template <typename Call>
    auto call(const char *name, int64_t limit_ms, Call function) {
        Watch &watch = board().slots[worker_.slot].watches[thread_];
        watch.end_ms = monotonic_ms() + limit_ms + kSlackMs;
        watch.call = name;
        auto result = function();
        watch.call = nullptr;
        return result;
    }

    // Steps until the end, with a log line now and then and a rest of up to `rest_us`. The shorter
    // that is, the more kills meet the step.
    template <typename Step>
    void repeat(Step step, uint32_t rest_us = 3000) {
        for (uint32_t i = 0; !stopped(); i++) {
            step();
            if (i % 8 == 0) {
                log_line();
            }
            usleep(pick(rest_us));
        }
    }

    // Logs the thread's next line, whose every byte is known to the reader.
    void log_line();

  private:
    const Worker &worker_;
    int thread_;
    std::mt19937 random_;
    uint32_t lines_ = 0;
};

// Runs `body` in `count` threads of a worker.
template <typename Body>
void in_threads(const Worker &worker, int count, Body body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; i++) {
        threads.emplace_back([&worker, i, body] {
            Hand hand(worker, i);
            body(hand);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

// A 32-bit check of bytes (FNV-1a).
uint32_t mix(const void *data, size_t size);

void ask_modem(const Worker &worker, int threads);
void own_settings(const Worker &worker);
void look_up_settings(const Worker &worker);
void keep_table(const Worker &worker, TableModel &model, const char *path, bool journal);
void answer_calls(const Worker &worker, uint32_t module);
void make_calls(const Worker &worker, uint32_t module, int threads);
void write_log(const Worker &worker, int threads);

}  // namespace hearth::soak
