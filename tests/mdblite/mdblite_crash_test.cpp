// Stops before, and failures of, each call that changes a file; allocation failures.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "mdblite/table_support.h"
#include "support/faults.h"

namespace {

using namespace hearth::test;

constexpr uint32_t kChanges = kWrites | kNames | kOpens | kCloses;
struct Operation {
    const char *name;
    int steps;
    bool may_come_short;  // a single byte cannot
    bool needs_journal;   // to be whole after a write that was cut
    int32_t (*run)(MDBL_Table *table);
};

// Inserts into the gap of slot 1 first, so that the next insert moves the end mark.
int32_t insert_two(MDBL_Table *table) {
    int32_t first = insert_key(table, kSmallSize, 5, "new");
    int32_t second = insert_key(table, kSmallSize, 6, "new");
    return first == MDBL_OK ? second : first;
}

const Operation kOperations[] = {
    {"insert into a gap", 1, true, false,
     [](MDBL_Table *t) { return insert_key(t, kSmallSize, 5, "new"); }},
    {"insert into a gap and behind the end", 2, true, false, insert_two},
    {"delete the first", 1, false, false,
     [](MDBL_Table *t) { return delete_key(t, kSmallSize, 1); }},
    {"delete the last", 1, false, false,
     [](MDBL_Table *t) { return delete_key(t, kSmallSize, 4); }},
    {"update", 1, true, true, [](MDBL_Table *t) { return set_text(t, 3, "updated"); }},
    {"truncate", 1, false, false, [](MDBL_Table *t) { return mdbl_TableTruncate(t); }},
};

// What the file holds is what it held before, or after, or after one of the operation's own
// steps; never anything in between.
TEST(TableCrash, AStopBeforeAnyWriteLeavesAWholeState) {
    for (auto [fault, journal] : {std::pair{Fault::kCrash, false},
                                  {Fault::kCrash, true},
                                  {Fault::kTorn, false},
                                  {Fault::kTorn, true}}) {
        for (const Operation &operation : kOperations) {
            if (fault == Fault::kTorn && operation.needs_journal && !journal) {
                continue;
            }
            SCOPED_TRACE(operation.name);
            std::vector<Contents> allowed;
            auto start = [&] {
                mdbl_JournalClose();
                unlink(kJournalPath);
                prepare_small(1);
            };
            start();
            {
                allowed.push_back(contents_of_file());
                TablePointer table = open_indexed();
                if (operation.steps == 2) {
                    insert_key(table.get(), kSmallSize, 5, "new");
                    allowed.push_back(contents_of_file());
                }
            }
            start();
            operation.run(open_indexed().get());
            allowed.push_back(contents_of_file());
            start();
            size_t last_seen = 0;
            int stops = for_each_crash(
                kChanges,
                [&] {
                    if (journal) {
                        mdbl_JournalEnable();
                    }
                    TablePointer table = open_indexed();
                    operation.run(table.get());
                },
                [&](int n) {
                    SCOPED_TRACE(n);
                    if (file_exists(kJournalPath) && read_file(kJournalPath).size() == 1288) {
                        ASSERT_EQ(mdbl_JournalRestore(), MDBL_OK);
                        mdbl_JournalClose();
                    }
                    Contents found = contents_of_file();
                    auto state = std::find(allowed.begin(), allowed.end(), found);
                    ASSERT_NE(state, allowed.end());
                    // A later stop never shows an earlier state.
                    ASSERT_GE(static_cast<size_t>(state - allowed.begin()), last_seen);
                    last_seen = static_cast<size_t>(state - allowed.begin());
                    start();
                },
                fault);
            EXPECT_EQ(last_seen, allowed.size() - 1);
            EXPECT_GE(stops, 1);
        }
    }
}

// A power cut in the middle of the one write of an insert or delete: any part of it, from its
// front, may be on the disk.
TEST(TableCrash, ATornWriteLeavesTheStateBefore) {
    for (uint8_t preallocate : {uint8_t{0}, uint8_t{1}}) {
        for (bool behind_the_end : {false, true}) {
            prepare_small(preallocate);
            if (behind_the_end) {
                insert_key(open_table().get(), kSmallSize, 9, "gap");
            }
            const Bytes before = read_file(kTablePath);
            Contents old_contents = contents_of_file();
            ASSERT_EQ(insert_key(open_table().get(), kSmallSize, 5, "new"), MDBL_OK);
            const Bytes after = read_file(kTablePath);
            size_t slot = behind_the_end ? 4 : 1;
            size_t first = 10 + slot * kSmallSize - (behind_the_end ? 1 : 0);
            for (size_t end = first; end < 10 + (slot + 1) * kSmallSize; end++) {
                SCOPED_TRACE(end);
                Bytes torn(after.begin(), after.begin() + static_cast<std::ptrdiff_t>(end));
                if (end < before.size()) {
                    torn.insert(torn.end(), before.begin() + static_cast<std::ptrdiff_t>(end),
                                before.end());
                }
                write_file(kTablePath, torn);
                ASSERT_EQ(contents_of_file(), old_contents);
                // And the table goes on from there.
                ASSERT_EQ(insert_key(open_table().get(), kSmallSize, 6, "new"), MDBL_OK);
                ASSERT_EQ(contents_of_file().size(), old_contents.size() + 1);
            }
        }
    }
}

TEST(TableCrash, AStopDuringCreationLeavesNoHalfTable) {
    for (Fault fault : {Fault::kCrash, Fault::kTorn}) {
        int stops = for_each_crash(
            kChanges, [] { mdbl_CreateTable(kTablePath, 1024, 30, 0); },
            [](int n) {
                SCOPED_TRACE(n);
                if (file_exists(kTablePath)) {
                    ASSERT_EQ(mdbl_TableSize(open_table().get()), 0u);
                    ASSERT_EQ(read_file(kTablePath).size(), 10u + 30 * 1024);
                } else {
                    ASSERT_EQ(mdbl_CreateTable(kTablePath, 1024, 30, 0), MDBL_OK);
                }
                ASSERT_FALSE(file_exists("/data/userdata/mdbl_temptable"));
                mdbl_DropTable(kTablePath);
            },
            fault);
        EXPECT_GE(stops, 6);
    }
}

// The end mark is a byte of its own, which is there or not.
TEST(TableCrash, AStopDuringATruncationByName) {
    prepare_small(1);
    const Contents before = contents_of_file();
    int stops = for_each_crash(
        kChanges, [] { mdbl_TruncateTable("table"); },
        [&](int n) {
            Contents found = contents_of_file();
            EXPECT_TRUE(found == before || found.empty()) << n;
            prepare_small(1);
        });
    EXPECT_GE(stops, 1);
}

// Runs an operation on a fresh table with its n-th write failing; false once none fails.
bool run_with_failed_write(const Operation &operation, uint8_t preallocate, Fault fault, int n) {
    prepare_small(preallocate);
    TablePointer table = open_indexed();
    Contents before = contents(table.get());
    arm_fault(fault, kWrites, n, ENOSPC);
    int32_t result = operation.run(table.get());
    bool fired = disarm_fault();
    if (fired && operation.steps == 1) {
        EXPECT_EQ(result, MDBL_ERR_GENERAL);
        EXPECT_EQ(contents(table.get()), before);
    }
    if (preallocate != 0 || strcmp(operation.name, "truncate") != 0) {
        EXPECT_EQ(contents_of_file(), contents(table.get()));
        EXPECT_EQ(insert_key(table.get(), kSmallSize, 30), MDBL_OK);
        EXPECT_EQ(contents_of_file(), contents(table.get()));
    }
    return fired;
}

// Memory stays as it was and agrees with the file, and the table goes on working.
TEST(TableFaults, AFailedWriteChangesNothing) {
    for (Fault fault : {Fault::kFail, Fault::kShort}) {
        for (uint8_t preallocate : {uint8_t{0}, uint8_t{1}}) {
            for (const Operation &operation : kOperations) {
                if (fault == Fault::kShort && !operation.may_come_short) {
                    continue;
                }
                SCOPED_TRACE(operation.name);
                int n = 1;
                while (run_with_failed_write(operation, preallocate, fault, n)) {
                    n++;
                }
                EXPECT_EQ(n - 1, operation.steps);
            }
        }
    }
}

TEST(TableFaults, AFailedCreationLeavesNothing) {
    int failures = for_each_fault(Fault::kFail, kChanges, ENOSPC, [] {
        int32_t result = mdbl_CreateTable(kTablePath, 1024, 20, 0);
        EXPECT_EQ(file_exists(kTablePath), result == MDBL_OK);
        unlink(kTablePath);
    });
    EXPECT_GE(failures, 7);
    failures = for_each_fault(Fault::kShort, kWrites, 0, [] {
        int32_t result = mdbl_CreateTable(kTablePath, 1024, 20, 0);
        EXPECT_EQ(file_exists(kTablePath), result == MDBL_OK);
        unlink(kTablePath);
    });
    EXPECT_GE(failures, 4);
}

// With each allocation failing in turn, calls say so and nothing is lost or leaked.
TEST(TableFaults, AllocationFailuresAreReported) {
    make_table(1024, 40, 1);
    {
        TablePointer table = open_table();
        for (uint32_t key = 0; key < 16; key++) {
            ASSERT_EQ(insert_key(table.get(), 1024, key), MDBL_OK);
        }
    }
    const Bytes full_block = read_file(kTablePath);
    int failures = for_each_fault(Fault::kFail, kAllocations, ENOMEM, [&] {
        write_file(kTablePath, full_block);
        int32_t result = 0;
        TablePointer table = open_table(kTablePath, &result);
        if (table == nullptr) {
            EXPECT_TRUE(result == MDBL_ERR_NO_MEMORY || result == MDBL_ERR_GENERAL);
            return;
        }
        const uint16_t offset = 0;
        const uint32_t type = MDBL_FIELD_INT32;
        const uint8_t up = 0;
        for (int32_t code : {mdbl_TableCreateIndex(table.get(), 1, compare_keys),
                             mdbl_TableCreateIndexEx(table.get(), 2, 1, &offset, &type, &up)}) {
            EXPECT_TRUE(code == MDBL_OK || code == MDBL_ERR_NO_MEMORY);
        }
        int32_t code = mdbl_TableCreateSecondaryIndex(table.get(), 1, compare_keys);
        EXPECT_TRUE(code == MDBL_OK || code == MDBL_ERR_NO_INDEX || code == MDBL_ERR_NO_MEMORY);
        // The 17th record needs a second block.
        code = insert_key(table.get(), 1024, 16);
        EXPECT_EQ(mdbl_TableSize(table.get()), code == MDBL_OK ? 17u : 16u);
        EXPECT_TRUE(code == MDBL_OK || code == MDBL_ERR_NO_MEMORY);

        SetPointer set = own(mdbl_TableSelectWithoutIndex(
            table.get(), [](const void *, const void *) { return 0; }, nullptr));
        mdbl_RSMarkAll(set.get());
        void *copy = nullptr;
        code = mdbl_RSGetAt(set.get(), 0, MDBL_READ_COPY, &copy);
        EXPECT_TRUE(code == MDBL_OK || set == nullptr || code == MDBL_ERR_NO_MEMORY);
        free(copy);
        void **marked = nullptr;
        uint32_t count = mdbl_RSGetMarked(set.get(), &marked);
        EXPECT_EQ(count != 0, marked != nullptr);
        free(marked);
        void *record = nullptr;
        for (int i = 0; i < 40 && mdbl_RSGetAt(set.get(), 0, MDBL_READ_POINTER, &record) == 0;
             i++) {
            int32_t at = mdbl_RSAdd(set.get(), record);
            EXPECT_TRUE(at == static_cast<int32_t>(mdbl_RSSize(set.get())) - 1 || at == -1);
        }
        code = mdbl_TableTruncate(table.get());
        EXPECT_TRUE(code == MDBL_OK || code == MDBL_ERR_NO_MEMORY);
    });
    EXPECT_GE(failures, 12);
}

}  // namespace
