#include <unistd.h>

#include "mdblite/table_support.h"
#include "support/faults.h"

namespace {

using namespace hearth::test;

constexpr uint16_t kSize = 1024;

int32_t update_key(MDBL_Table *table, uint32_t key, char fill) {
    return mdbl_TableUpdate(
        table, 1, compare_keys,
        [](void *record, void *argument) {
            memset(static_cast<char *>(record) + 4, *static_cast<char *>(argument), kSize - 5);
            return 0;
        },
        make_record(kSize, key).data(), &fill);
}

void prepare() {
    mdbl_JournalClose();
    unlink(kJournalPath);
    mdbl_DropTable(kTablePath);
    make_table(kSize, 4, 1);
    TablePointer table = open_table();
    for (uint32_t key = 1; key <= 3; key++) {
        ASSERT_EQ(insert_key(table.get(), kSize, key), MDBL_OK);
    }
}

// A journal as it stands on the disk.
Bytes journal_of(uint8_t valid, uint16_t length, uint32_t offset, const std::string &path,
                 const std::string &data) {
    Bytes bytes(1288);
    bytes[0] = valid;
    memcpy(&bytes[2], &length, 2);
    memcpy(&bytes[4], &offset, 4);
    memcpy(&bytes[8], path.data(), std::min<size_t>(path.size(), 256));
    memcpy(&bytes[264], data.data(), std::min<size_t>(data.size(), 1024));
    return bytes;
}

TEST(Journal, HoldsTheUpdateAsItGoesToTheTable) {
    prepare();
    TablePointer table = open_indexed();
    EXPECT_EQ(update_key(table.get(), 2, 'a'), MDBL_OK);
    EXPECT_FALSE(file_exists(kJournalPath));
    mdbl_JournalEnable();
    EXPECT_EQ(update_key(table.get(), 2, 'b'), MDBL_OK);
    Bytes expected = journal_of(0, kSize - 1, 10 + 1024, kTablePath, "");
    Bytes table_file = read_file(kTablePath);
    memcpy(&expected[264], &table_file[10 + 1024], kSize - 1);
    EXPECT_EQ(read_file(kJournalPath), expected);
}

// Stops before every call; the last write before the stop may also have reached the disk in part,
// which the journal's next start cannot tell from all of it.
TEST(Journal, AnUpdateIsWholeOrNotAtAllAfterEveryStop) {
    for (bool torn : {false, true}) {
        prepare();
        const Bytes old_table = read_file(kTablePath);
        bool was_new = false;
        int stops = for_each_crash(
            kWrites,
            [] {
                mdbl_JournalEnable();
                TablePointer table = open_indexed();
                update_key(table.get(), 2, 'n');
            },
            [&](int n) {
                SCOPED_TRACE(n);
                Bytes journal = read_file(kJournalPath);
                if (torn && !journal.empty() && journal[0] == 1) {
                    // Pending: half of the record has been overwritten.
                    Bytes table = read_file(kTablePath);
                    memset(&table[10 + 1024 + 4], 'n', 500);
                    write_file(kTablePath, table);
                }
                int32_t restored = mdbl_JournalRestore();
                ASSERT_EQ(restored, journal.empty() ? MDBL_ERR_GENERAL : MDBL_OK);
                mdbl_JournalClose();
                ASSERT_EQ(mdbl_JournalRestore(), restored);
                mdbl_JournalClose();
                Bytes table = read_file(kTablePath);
                bool is_new = table[10 + 1024 + 4] == 'n';
                Bytes expected = old_table;
                if (is_new) {
                    memset(&expected[10 + 1024 + 4], 'n', kSize - 5);
                }
                ASSERT_EQ(table, expected);
                ASSERT_TRUE(is_new || !was_new);
                was_new = is_new;
                prepare();
            });
        EXPECT_EQ(stops, 10);  // creating the journal is a write and a sync
        EXPECT_TRUE(was_new);
    }
}

TEST(Journal, RestoreRefusesWhatIsDamaged) {
    prepare();
    const Bytes old_table = read_file(kTablePath);
    struct Case {
        const char *name;
        Bytes journal;
        int32_t expected;
        uint8_t valid_after;
    };
    Bytes unterminated = journal_of(1, 4, 10, std::string(256, 'x'), "abcd");
    Bytes shortened = journal_of(1, 4, 10, kTablePath, "abcd");
    shortened.resize(1);
    Bytes extended = journal_of(0, 4, 10, kTablePath, "abcd");
    extended.resize(5000);
    const Case cases[] = {
        {"no table", journal_of(1, 4, 10, "/data/userdata/none", "abcd"), MDBL_ERR_NO_FILE, 1},
        {"path without end", unterminated, MDBL_ERR_NO_FILE, 1},
        {"length 1024", journal_of(1, 1024, 10, kTablePath, "abcd"), MDBL_ERR_GENERAL, 1},
        {"length 65535", journal_of(1, 65535, 10, kTablePath, "abcd"), MDBL_ERR_GENERAL, 1},
        {"offset behind any table", journal_of(1, 4, 0xFFFFFFF0, kTablePath, "abcd"),
         MDBL_ERR_GENERAL, 1},
        {"nothing pending", journal_of(0, 4, 10, kTablePath, "abcd"), MDBL_OK, 0},
        {"nothing pending, bad offset", journal_of(0, 4, 0xFFFFFFF0, kTablePath, "abcd"), MDBL_OK,
         0},
        {"cut to a byte", shortened, MDBL_ERR_GENERAL, 1},
        {"too long", extended, MDBL_OK, 0},
        {"empty", {}, MDBL_ERR_GENERAL, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        mdbl_JournalClose();
        write_file(kJournalPath, c.journal);
        EXPECT_EQ(mdbl_JournalRestore(), c.expected);
        EXPECT_EQ(read_file(kTablePath), old_table);
        if (!c.journal.empty()) {
            EXPECT_EQ(read_file(kJournalPath)[0], c.valid_after);
        }
    }
    mdbl_JournalClose();
    unlink(kJournalPath);
    EXPECT_EQ(mdbl_JournalRestore(), MDBL_ERR_GENERAL);
    EXPECT_FALSE(file_exists(kJournalPath));

    write_file(kJournalPath, journal_of(1, 4, 10, kTablePath, "abcd"));
    EXPECT_EQ(mdbl_JournalRestore(), MDBL_OK);
    EXPECT_EQ(memcmp(&read_file(kTablePath)[10], "abcd", 4), 0);
    EXPECT_EQ(read_file(kJournalPath)[0], 0);
}

// A failure after the journal's record is laid down cancels it, and the cancelling's own result is
// the update's: required, though the update did not take place.
TEST(Journal, FailuresCancelTheEntry) {
    struct Case {
        int nth_write;
        int32_t result;
        bool changed;
    };
    // Record, sync, valid byte, sync, table, sync, invalidation, sync.
    const Case cases[] = {{1, MDBL_OK, false},         {2, MDBL_OK, false},
                          {3, MDBL_OK, false},         {4, MDBL_OK, false},
                          {5, MDBL_OK, false},         {6, MDBL_OK, true},
                          {7, MDBL_ERR_GENERAL, true}, {8, MDBL_ERR_GENERAL, true}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.nth_write);
        prepare();
        mdbl_JournalEnable();
        TablePointer table = open_indexed();
        ASSERT_EQ(update_key(table.get(), 1, 'x'), MDBL_OK);
        arm_fault(Fault::kFail, kWrites, c.nth_write);
        EXPECT_EQ(update_key(table.get(), 2, 'n'), c.result);
        EXPECT_TRUE(disarm_fault());
        EXPECT_EQ(read_file(kTablePath)[10 + 1024 + 4] == 'n', c.changed);
        // What stayed pending is complete in the table already.
        mdbl_JournalClose();
        EXPECT_EQ(mdbl_JournalRestore(), MDBL_OK);
        EXPECT_EQ(read_file(kTablePath)[10 + 1024 + 4] == 'n', c.changed);
        mdbl_JournalDisable();
    }
    // Without a journal file there is nothing to cancel, and the failure shows.
    prepare();
    mdbl_JournalEnable();
    TablePointer table = open_indexed();
    arm_fault(Fault::kFail, kWrites, 1, ENOSPC);
    EXPECT_EQ(update_key(table.get(), 2, 'n'), MDBL_ERR_GENERAL);
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(update_key(table.get(), 2, 'n'), MDBL_OK);
}

}  // namespace
