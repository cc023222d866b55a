// What the driver of the soak and its workers share, in memory that outlives every one of them:
// counts, failures, what each thread is doing, and what the files must hold after a kill.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <atomic>

namespace hearth::soak {

enum Count {
    kCommands,
    kCommandsLost,
    kLookups,
    kWrites,
    kChanges,
    kCalls,
    kCallsLost,
    kCallsCrossed,
    kCallsLate,
    kPosts,
    kHeard,
    kLines,
    kRestores,
    kRefused,
    kCounts
};

constexpr int kSlots = 24;
constexpr int kThreads = 4;
constexpr int kModules = 55;
// The modules that answer on the bus: one that is killed now and then, and one that is not.
constexpr uint32_t kMortal = 10;
constexpr uint32_t kImmortal = 11;
inline constexpr char kBusCall[] = "send_notify_ex";
constexpr uint32_t kRecords = 200;

// Since when something is there, on the monotonic clock; 0 while it is not.
struct Service {
    std::atomic<int64_t> up_since;

    void up();
    void down() { up_since = 0; }
    bool is_up() const { return up_since != 0; }
    // Whether it was there from `settle_ms` before `start_ms` until now.
    bool was_up(int64_t start_ms, int64_t settle_ms) const {
        int64_t since = up_since;
        return since != 0 && since + settle_ms <= start_ms;
    }
};

// A call that a thread has under way: the driver calls it hanging when its time is over.
struct Watch {
    std::atomic<const char *> call;  // null between calls
    std::atomic<int64_t> end_ms;
};

// A number that is written to a file: the last one that is surely there, and the one that may be.
struct Pending {
    std::atomic<uint32_t> stored;
    std::atomic<uint32_t> intended;

    bool may_be(uint32_t number) const { return number == stored || number == intended; }
};

// The records that a table must hold, by serial number, and the change under way.
struct TableModel {
    enum Kind : uint32_t { kNone, kInsert, kDelete, kUpdate, kTruncate, kRecreate };
    struct Entry {
        bool present;
        uint32_t group;
        uint32_t version;
    };
    struct Change {
        std::atomic<uint32_t> kind;
        bool whole_group;  // all records of `group` rather than that of `serial`
        uint32_t serial;
        uint32_t group;
        uint32_t version;
    };

    bool begun;
    Entry entries[kRecords];
    Change change;

    // What becomes of an entry by the change.
    Entry changed(uint32_t serial) const;
    bool touches(uint32_t serial) const;
};

struct Board {
    std::atomic<bool> stop;
    std::atomic<uint64_t> counts[kCounts];
    std::atomic<int> failures;
    char failure_texts[16][240];
    Service at_server;
    Service notify_server;
    Service modules[kModules];
    Pending fixed;     // a setting whose length never changes
    Pending variable;  // one whose length does
    TableModel tables[3];
    struct Slot {
        Watch watches[kThreads];
    } slots[kSlots];
};

// Makes the board; before the first worker.
void make_board();
Board &board();

inline void count(Count what, uint64_t more = 1) {
    board().counts[what].fetch_add(more, std::memory_order_relaxed);
}

// Notes a failure; the driver ends the run.
void fail(const char *format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace hearth::soak
