// Every call below the table store fails, comes short or is interrupted in turn.
#include <unistd.h>

#include "mdblite/table_support.h"
#include "support/sweep.h"

namespace {

using namespace hearth::test;

// What the calls report: out of memory, or that something failed.
const std::vector<int32_t> kFailures = {MDBL_ERR_GENERAL, MDBL_ERR_NO_MEMORY};

TablePointer g_table(nullptr, mdbl_TableClose);
Contents g_before;
SetPointer g_set(nullptr, mdbl_RSDestroy);

void open_small() {
    prepare_small(1);
    g_table = open_indexed();
    ASSERT_EQ(mdbl_TableCreateSecondaryIndex(g_table.get(), 1, compare_tens), MDBL_OK);
    g_before = contents(g_table.get());
}

void open_journalled() {
    mdbl_JournalClose();
    unlink(kJournalPath);
    mdbl_JournalEnable();
    open_small();
}

void close_all() {
    mdbl_JournalDisable();
    mdbl_JournalClose();
    g_set.reset();
    g_table.reset();
}

// Memory and file agree; without success they hold what they held. And the table goes on.
void expect_whole(int32_t result) {
    Contents now = contents(g_table.get());
    EXPECT_EQ(contents_of_file(), now);
    EXPECT_EQ(result == MDBL_OK, now != g_before);
    EXPECT_EQ(insert_key(g_table.get(), kSmallSize, 9, "next"), MDBL_OK);
    EXPECT_EQ(contents_of_file(), contents(g_table.get()));
    close_all();
}

// The same where a failure behind the write is told though the write is done, as a sync's is.
void expect_agreement(int32_t) {
    EXPECT_EQ(contents_of_file(), contents(g_table.get()));
    close_all();
}

// A journal with one entry pending: a new text for the record in slot 2.
void leave_entry() {
    prepare_small(1);
    Bytes journal(1288);
    journal[0] = 1;
    uint16_t length = kSmallSize - 1;
    uint32_t offset = 10 + 2 * kSmallSize;
    memcpy(&journal[2], &length, 2);
    memcpy(&journal[4], &offset, 4);
    strcpy(reinterpret_cast<char *>(&journal[8]), kTablePath);
    memcpy(&journal[264], make_record(kSmallSize, 3, "pending").data(), length);
    write_file(kJournalPath, journal);
}

int keep_all(const void *, const void *) {
    return 0;
}

// Selects, marks, copies, narrows and adds; the number of the step that failed.
int32_t use_sets() {
    g_set = own(mdbl_TableSelectWithoutIndex(g_table.get(), keep_all, nullptr));
    if (g_set == nullptr) {
        return 1;
    }
    mdbl_RSMarkAll(g_set.get());
    void *copy = nullptr;
    if (mdbl_RSGetAt(g_set.get(), 0, MDBL_READ_COPY, &copy) != MDBL_OK) {
        return 2;
    }
    free(copy);
    void **marked = nullptr;
    if (mdbl_RSGetMarked(g_set.get(), &marked) != 3) {
        return 3;
    }
    void *record = marked[0];
    free(marked);
    SetPointer narrower = own(mdbl_RSSelect(g_set.get(), keep_all, nullptr, 0));
    if (narrower == nullptr) {
        return 4;
    }
    for (int i = 0; i < 40; i++) {
        if (mdbl_RSAdd(narrower.get(), record) < 0) {
            return 5;
        }
    }
    SetPointer first = own(mdbl_TableSelectOnSecondaryIndex(g_table.get(), 1));
    return first == nullptr ? 6 : mdbl_RSSize(narrower.get()) == 43 ? 0 : 7;
}

const Sweep kTables[] = {
    {"table: create",
     [] { mdbl_DropTable(kTablePath); },
     [] { return mdbl_CreateTable(kTablePath, 1024, 20, 0); },
     [](int32_t result) {
         EXPECT_EQ(file_exists(kTablePath), result == MDBL_OK);
         if (result == MDBL_OK) {
             EXPECT_EQ(read_file(kTablePath).size(), 10u + 20 * 1024);
         }
         EXPECT_NE(mdbl_CreateTable(kTablePath, 1024, 20, 0), MDBL_ERR_GENERAL);
     },
     MDBL_OK,
     {MDBL_ERR_GENERAL, MDBL_ERR_NO_MEMORY, MDBL_ERR_RENAME, MDBL_ERR_NO_FILE},
     // Of what is not there yet.
     "stat"},
    {"table: open and index",
     [] { prepare_small(1); },
     [] {
         int32_t result = 0;
         g_table = open_table(kTablePath, &result);
         return result == MDBL_OK ? mdbl_TableCreateIndex(g_table.get(), 1, compare_keys) : result;
     },
     [](int32_t result) {
         if (result == MDBL_OK) {
             EXPECT_EQ(keys_in_order(g_table.get(), 1), (std::vector<uint32_t>{1, 3, 4}));
         }
         close_all();
     },
     MDBL_OK,
     {MDBL_ERR_GENERAL, MDBL_ERR_NO_MEMORY, MDBL_ERR_NO_FILE}},
    {"table: insert", open_small, [] { return insert_key(g_table.get(), kSmallSize, 5, "new"); },
     expect_whole, MDBL_OK, kFailures},
    {"table: delete", open_small, [] { return delete_key(g_table.get(), kSmallSize, 3); },
     expect_whole, MDBL_OK, kFailures},
    {"table: update", open_small, [] { return set_text(g_table.get(), 3, "updated"); },
     expect_whole, MDBL_OK, kFailures},
    {"table: update with journal", open_journalled,
     [] { return set_text(g_table.get(), 3, "updated"); }, expect_agreement, MDBL_OK, kFailures,
     // The journal is made when it cannot be opened. A stream without a buffer loses nothing.
     // Required: once the journal is written, the result is that of taking its entry back.
     "fopen stat fclose close pwrite fdatasync"},
    {"table: truncate", open_small, [] { return mdbl_TableTruncate(g_table.get()); }, expect_whole,
     MDBL_OK, kFailures},
    {"table: truncate by name",
     [] {
         prepare_small(1);
         g_before = contents_of_file();
     },
     [] { return mdbl_TruncateTable("table"); },
     [](int32_t result) {
         EXPECT_EQ(contents_of_file(), result == MDBL_OK ? Contents{} : g_before);
     },
     MDBL_OK,
     {MDBL_ERR_GENERAL, MDBL_ERR_NO_MEMORY, MDBL_ERR_NO_FILE},
     "fclose"},
    {"table: flush", open_small, [] { return mdbl_TableCommit(g_table.get()); },
     [](int32_t result) {
         EXPECT_EQ(contents(g_table.get()), g_before);
         // A stream that could not be opened again refuses what would be written to it.
         EXPECT_EQ(insert_key(g_table.get(), kSmallSize, 5), result);
         close_all();
     },
     MDBL_OK, kFailures, "fclose"},
    {"table: record sets",
     open_small,
     use_sets,
     [](int32_t) {
         EXPECT_EQ(contents(g_table.get()), g_before);
         close_all();
     },
     0,
     {1, 2, 3, 4, 5, 6}},
    {"table: restore from the journal",
     leave_entry,
     mdbl_JournalRestore,
     [](int32_t result) {
         mdbl_JournalClose();
         // Whatever came in between, the next restore brings the pending text.
         if (result != MDBL_OK) {
             EXPECT_EQ(mdbl_JournalRestore(), MDBL_OK);
             mdbl_JournalClose();
         }
         EXPECT_EQ(contents_of_file(), (Contents{"1old", "3pending", "4old"}));
     },
     MDBL_OK,
     {MDBL_ERR_GENERAL, MDBL_ERR_NO_MEMORY, MDBL_ERR_NO_FILE},
     "fclose"},
    {"table: drop",
     [] { prepare_small(1); },
     [] { return mdbl_DropTable(kTablePath); },
     [](int32_t result) { EXPECT_EQ(file_exists(kTablePath), result != MDBL_OK); },
     MDBL_OK,
     {MDBL_ERR_GENERAL, MDBL_ERR_NO_FILE}},
};

TEST(TableFaults, Sweeps) {
    sweep_all(kTables);
}

}  // namespace
