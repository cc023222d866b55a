// Calls and posts over the bus: each proves by its answer, or by its own bytes, that it came whole.
#include <string.h>

#include <algorithm>

#include "hearth/notify.h"
#include "soak/worker.h"

namespace hearth::soak {

namespace {

constexpr int32_t kSeconds = 5;
constexpr uint32_t kMost = 6000;
constexpr uint32_t kQuestion = 1;
constexpr uint32_t kEvent = 2;
constexpr uint32_t kTwoValues = 3;
// A module is found again this long after it or the server has come back.
constexpr int64_t kSettleMs = 10000;
constexpr uint32_t kAnswering[] = {kMortal, kImmortal};

struct Question {
    uint32_t size;  // of the whole
    uint32_t sum;   // of the bytes
    uint8_t bytes[kMost];

    uint32_t length() const { return size - uint32_t{offsetof(Question, bytes)}; }
    uint32_t own_sum() const { return mix(bytes, length()); }
};

// Sends the question back, and its sum as the result.
uint32_t answer(uint32_t id, void *in, void *out) {
    const auto *question = static_cast<const Question *>(in);
    if (id != kQuestion || question->sum != question->own_sum()) {
        fail("bus: request %u came damaged", id);
        return 0;
    }
    if (out != nullptr) {
        memcpy(out, question, question->size);
    }
    return question->sum & 0x7fffffff;
}

uint32_t hear(uint32_t id, uintptr_t first, uintptr_t second) {
    count(kHeard);
    if (id == kTwoValues) {
        if (second != (first ^ 0x5a5a5a5a)) {
            fail("bus: event came as %lx %lx", static_cast<unsigned long>(first),
                 static_cast<unsigned long>(second));
        }
        return 0;
    }
    const auto *head = reinterpret_cast<const uint32_t *>(first);
    if (id != kEvent || head == nullptr ||
        mix(reinterpret_cast<const void *>(second), head[0]) != head[1]) {
        fail("bus: notification %u came damaged", id);
    }
    return 0;
}

void fill(Hand &hand, Question &question) {
    question.size = static_cast<uint32_t>(offsetof(Question, bytes)) +
                    (hand.pick(4) == 0 ? hand.pick(kMost) : hand.pick(60));
    uint32_t start = hand.pick(1u << 30);
    for (uint32_t i = 0; i < question.length(); i++) {
        question.bytes[i] = static_cast<uint8_t>((start + i) * 2654435761u >> 24);
    }
    question.sum = question.own_sum();
}

// A call that another thread's post takes the number from runs into its limit: accepted, if rare.
// Any other is lost only when a side was away.
void judge_lost(uint32_t module, int32_t result, int64_t start, bool alone) {
    int64_t took = monotonic_ms() - start;
    if (!board().notify_server.was_up(start, kSettleMs) ||
        !board().modules[module].was_up(start, kSettleMs)) {
        count(kCallsLost);
        if (took > (kSeconds + 2) * 1000) {
            count(kCallsLate);
        }
    } else if (!alone && took >= (kSeconds - 1) * 1000) {
        count(kCallsCrossed);
    } else {
        fail("bus: module %u gave %d after %lld ms although all were there", module, result,
             static_cast<long long>(took));
    }
}

void ask(Hand &hand, bool alone) {
    uint32_t module = kAnswering[hand.pick(2)];
    Question question;
    fill(hand, question);
    Question echo;
    echo.size = 0;
    int64_t start = monotonic_ms();
    int32_t result = hand.call(kBusCall, (kSeconds + 1) * 1000, [&] {
        return send_notify_ex(module, kQuestion, &question, &echo, question.size, question.size,
                              kSeconds);
    });
    if (result == -1 || result == NOTIFY_NO_ANSWER) {
        judge_lost(module, result, start, alone);
        return;
    }
    count(kCalls);
    if (static_cast<uint32_t>(result) != (question.sum & 0x7fffffff) ||
        memcmp(&echo, &question, question.size) != 0) {
        fail("bus: module %u answered process %d after %lld ms: %u bytes, %d; not %u, %u", module,
             getpid(), static_cast<long long>(monotonic_ms() - start), echo.size, result,
             question.size, question.sum & 0x7fffffff);
    }
}

void post(Hand &hand) {
    uint32_t module = kAnswering[hand.pick(2)];
    count(kPosts);
    // A receiver that is behind holds its senders up, as long as the server bears with it.
    if (hand.pick(2) == 0) {
        uint32_t value = hand.pick(1u << 30);
        hand.call("post_notify", 10000,
                  [&] { return post_notify(module, kTwoValues, value, value ^ 0x5a5a5a5a); });
        return;
    }
    Question body;
    fill(hand, body);
    uint32_t head[] = {body.length(), body.sum};
    hand.call("post_notify_ex", 10000, [&] {
        return post_notify_ex(module, kEvent, head, body.bytes, sizeof head, body.length());
    });
}

// False when the end came first.
bool join_bus(Hand &hand, uint32_t module) {
    while (hand.call("init_notify", 2000, [] { return init_notify(); }) != 0) {
        if (hand.stopped()) {
            return false;
        }
        usleep(100000);
    }
    // The server may have died since; the library connects and registers again.
    while (register_notify_handler(module, answer, hear) != 0) {
        if (hand.stopped()) {
            return false;
        }
        usleep(100000);
    }
    board().modules[module].up();
    return true;
}

}  // namespace

void answer_calls(const Worker &worker, uint32_t module) {
    Hand hand(worker, 0);
    if (join_bus(hand, module)) {
        hand.repeat([] { usleep(20000); });
    }
}

void make_calls(const Worker &worker, uint32_t module, int threads) {
    Hand first(worker, 0);
    if (!join_bus(first, module)) {
        return;
    }
    in_threads(worker, threads, [threads](Hand &hand) {
        hand.repeat([&] { hand.pick(3) == 0 ? post(hand) : ask(hand, threads == 1); });
    });
}

}  // namespace hearth::soak
