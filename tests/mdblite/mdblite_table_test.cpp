#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <numeric>

#include "mdblite/table_support.h"

namespace {

using namespace hearth::test;

TEST(TableFile, NewTablesHaveTheirExactBytes) {
    ASSERT_EQ(mdbl_CreateTableEx(kTablePath, 8, 3, 0), MDBL_OK);
    const Bytes grown = {0x42, 0xDB, 1, 0, 8, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
    EXPECT_EQ(read_file(kTablePath), grown);
    ASSERT_EQ(mdbl_CreateTableEx(kTablePath, 8, 3, 1), MDBL_OK);
    Bytes whole = grown;
    whole[8] = 1;
    whole.resize(34);
    EXPECT_EQ(read_file(kTablePath), whole);
    // The plain call preallocates whatever it is told; a remainder follows the whole pieces.
    ASSERT_EQ(mdbl_CreateTable(kTablePath, 1024, 3000, 0), MDBL_OK);
    EXPECT_EQ(read_file(kTablePath).size(), 10u + 1024 * 3000);
    EXPECT_FALSE(file_exists("/data/userdata/mdbl_temptable"));
}

TEST(TableFile, CreationChecksItsArguments) {
    struct Case {
        std::string path;
        uint16_t size;
        uint16_t count;
        int32_t expected;
        bool made;
    };
    const std::string longest = "/data/userdata/" + std::string(225, 'n');
    const Case cases[] = {
        {"/data/userdata/a", 4, 1, MDBL_OK, true},
        {"/data/userdata/b", 1024, 3000, MDBL_OK, true},
        {"/data/userdata/c", 0, 1, MDBL_ERR_PARAM, false},
        {"/data/userdata/c", 6, 1, MDBL_ERR_PARAM, false},
        {"/data/userdata/c", 1026, 1, MDBL_ERR_PARAM, false},
        {"/data/userdata/c", 1028, 1, MDBL_ERR_PARAM, false},
        {"/data/userdata/c", 4, 0, MDBL_ERR_PARAM, false},
        {"/data/userdata/c", 4, 3001, MDBL_ERR_PARAM, false},
        {"/data/userdata/", 4, 1, MDBL_OK, false},
        {"/data/userdata/none/", 4, 1, MDBL_OK, false},
        {"/data/none/c", 4, 1, MDBL_ERR_RENAME, false},
        {longest, 4, 1, MDBL_OK, true},
        {longest + "n", 4, 1, MDBL_ERR_PARAM, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.path + " " + std::to_string(c.size) + " " + std::to_string(c.count));
        EXPECT_EQ(mdbl_CreateTable(c.path.c_str(), c.size, c.count, 0), c.expected);
        struct stat status {};
        EXPECT_EQ(stat(c.path.c_str(), &status) == 0 && S_ISREG(status.st_mode), c.made);
    }
    EXPECT_EQ(mdbl_CreateTable(nullptr, 4, 1, 0), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_CreateTable("/data/userdata", 4, 1, 0), MDBL_ERR_NO_MEMORY);
    EXPECT_EQ(mdbl_CreateTableEx((longest + "n").c_str(), 4, 1, 0), MDBL_OK);
}

TEST(TableFile, TheStoresHomeIsMadeByThePlainCallAlone) {
    ASSERT_EQ(rename("/data/userdata", "/data/away"), 0);
    EXPECT_EQ(mdbl_CreateTableEx(kTablePath, 4, 1, 0), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_CreateTable(kTablePath, 4, 1, 0), MDBL_OK);
    ASSERT_EQ(rename("/data/userdata", "/data/away2"), 0);
    write_file("/data/userdata", {});
    EXPECT_EQ(mdbl_CreateTable(kTablePath, 4, 1, 0), MDBL_ERR_GENERAL);
}

TEST(TableFile, CreatingAgainKeepsTheSameTableAndReplacesAnother) {
    make_table(8, 3, 1);
    ASSERT_EQ(insert_key(open_table().get(), 8, 7), MDBL_OK);
    EXPECT_EQ(mdbl_CreateTableEx(kTablePath, 8, 3, 1), MDBL_ERR_EXISTS);
    EXPECT_EQ(mdbl_TableSize(open_table().get()), 1u);
    EXPECT_EQ(mdbl_CreateTableEx(kTablePath, 8, 4, 1), MDBL_OK);
    EXPECT_EQ(mdbl_TableSize(open_table().get()), 0u);
    write_file(kTablePath, {0x42});
    EXPECT_EQ(mdbl_CreateTableEx(kTablePath, 8, 4, 1), MDBL_OK);
}

TEST(TableFile, OpeningTellsWhatIsWrong) {
    make_table(8, 3, 1);
    const Bytes good = read_file(kTablePath);
    struct Case {
        size_t at;
        uint8_t value;
        int32_t expected;
    };
    const Case cases[] = {
        {0, 0x43, MDBL_ERR_BAD_MAGIC},
        {1, 0xDA, MDBL_ERR_BAD_MAGIC},
        {2, 2, MDBL_ERR_BAD_VERSION},
        {2, 0, MDBL_ERR_BAD_VERSION},
        {3, 9, MDBL_OK},
        {4, 0, MDBL_ERR_GENERAL},
        {4, 6, MDBL_ERR_GENERAL},
        {5, 5, MDBL_ERR_GENERAL},
        {6, 0, MDBL_ERR_GENERAL},
        {7, 12, MDBL_ERR_GENERAL},
        {8, 0, MDBL_OK},
        {9, 9, MDBL_OK},
        {17, 3, MDBL_OK},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::to_string(c.at) + "=" + std::to_string(c.value));
        Bytes bytes = good;
        bytes[c.at] = c.value;
        write_file(kTablePath, bytes);
        int32_t result = -1;
        open_table(kTablePath, &result);
        EXPECT_EQ(result, c.expected);
    }
    MDBL_Table *untouched = nullptr;
    write_file(kTablePath, good);
    EXPECT_EQ(mdbl_OpenTable(kTablePath, 1, 0, 0, &untouched), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_OpenTable(kTablePath, 0, 0, 0, nullptr), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_OpenTable(nullptr, 0, 0, 0, &untouched), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_OpenTable("/data/none", 0, 0, 0, &untouched), MDBL_ERR_NO_FILE);
    EXPECT_EQ(mdbl_OpenTable(std::string(241, 'x').c_str(), 0, 0, 0, &untouched), MDBL_ERR_PARAM);
    EXPECT_EQ(mdbl_OpenTableEx(std::string(241, 'x').c_str(), 0, 0, 0, &untouched),
              MDBL_ERR_NO_FILE);
    EXPECT_EQ(mdbl_OpenTableEx(std::string(256, 'x').c_str(), 0, 0, 0, &untouched), MDBL_ERR_PARAM);
    EXPECT_EQ(untouched, nullptr);
}

// The flags that the file holds after each step; the order of the writes is that of the bytes.
TEST(TableFile, FlagsFollowEveryStep) {
    for (uint8_t preallocate : {uint8_t{0}, uint8_t{1}}) {
        SCOPED_TRACE(int{preallocate});
        make_table(8, 4, preallocate);
        TablePointer table = open_indexed();
        auto flags = [&] {
            Bytes all = file_flags();
            all.resize(4);
            return all;
        };
        auto remove = [&](uint32_t key) { return delete_key(table.get(), 8, key); };
        EXPECT_EQ(flags(), (Bytes{2, 0, 0, 0}));
        EXPECT_EQ(insert_key(table.get(), 8, 10), MDBL_OK);
        EXPECT_EQ(flags(), (Bytes{3, 0, 0, 0}));
        EXPECT_EQ(insert_key(table.get(), 8, 11), MDBL_OK);
        EXPECT_EQ(flags(), (Bytes{1, 3, 0, 0}));
        EXPECT_EQ(insert_key(table.get(), 8, 12), MDBL_OK);
        EXPECT_EQ(remove(11), MDBL_OK);
        EXPECT_EQ(flags(), (Bytes{1, 0, 3, 0}));
        EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(table.get()), 2u);
        EXPECT_EQ(insert_key(table.get(), 8, 13), MDBL_OK);
        EXPECT_EQ(flags(), (Bytes{1, 1, 3, 0}));
        EXPECT_EQ(remove(12), MDBL_OK);
        EXPECT_EQ(flags(), (Bytes{1, 1, 2, 0}));
        EXPECT_EQ(insert_key(table.get(), 8, 14), MDBL_OK);
        EXPECT_EQ(flags(), (Bytes{1, 1, 3, 0}));
        EXPECT_EQ(insert_key(table.get(), 8, 15), MDBL_OK);
        EXPECT_EQ(insert_key(table.get(), 8, 16), MDBL_ERR_TABLE_FULL);
        EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(table.get()), 0u);
        EXPECT_EQ(remove(10), MDBL_OK);
        EXPECT_EQ(flags(), (Bytes{0, 1, 1, 3}));
        EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(table.get()), 1u);
        // A deleted record's bytes stay in the file.
        EXPECT_EQ(read_file(kTablePath)[10], 10);
        EXPECT_EQ(keys_in_slots(open_table().get()), (std::vector<uint32_t>{13, 14, 15}));
        mdbl_DropTable(kTablePath);
    }
}

TEST(TableFile, TruncationOfAnOpenTable) {
    make_table(16, 2000, 1);
    TablePointer table = open_indexed();
    for (uint32_t key = 0; key < 1500; key++) {
        ASSERT_EQ(insert_key(table.get(), 16, key), MDBL_OK);
    }
    SetPointer stale =
        own(mdbl_TableSelect(table.get(), 1, compare_keys, make_record(16, 7).data(), 0));
    EXPECT_EQ(mdbl_TableTruncate(table.get()), MDBL_OK);
    EXPECT_EQ(mdbl_RSDelete(stale.get()), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_TableSize(table.get()), 0u);
    EXPECT_EQ(file_flags()[0], 2);
    EXPECT_EQ(file_flags()[1], 1);  // stale, behind the end mark
    EXPECT_EQ(mdbl_TableSize(open_table().get()), 0u);
    for (uint32_t key = 5; key > 2; key--) {
        ASSERT_EQ(insert_key(table.get(), 16, key), MDBL_OK);
    }
    EXPECT_EQ(keys_in_slots(open_table().get()), (std::vector<uint32_t>{5, 4, 3}));
    EXPECT_EQ(
        mdbl_TableCount(table.get(), 1, compare_keys, nullptr, make_record(16, 4).data(), nullptr),
        1u);
    EXPECT_EQ(mdbl_TableTruncate(nullptr), MDBL_ERR_GENERAL);
}

// Asking for the free slot behind the end mark must not make the store take what is stale there
// for records.
TEST(TableFile, StaleRecordsBehindTheEndMarkAreFreeSlots) {
    make_table(8, 9, 1);
    for (uint32_t key = 1; key <= 5; key++) {
        ASSERT_EQ(insert_key(open_table().get(), 8, key), MDBL_OK);
    }
    ASSERT_EQ(mdbl_TruncateTableWithOffset("table", 2), MDBL_OK);
    TablePointer table = open_table();
    EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(table.get()), 3u);
    EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(table.get()), 3u);
    EXPECT_EQ(insert_key(table.get(), 8, 6), MDBL_OK);
    EXPECT_EQ(keys_in_slots(open_table().get()), (std::vector<uint32_t>{1, 2, 6}));
}

TEST(TableFile, TruncationOfATableThatGrowsReportsAFailure) {
    make_table(16, 20, 0);
    TablePointer table = open_table();
    for (uint32_t key = 0; key < 5; key++) {
        ASSERT_EQ(insert_key(table.get(), 16, key), MDBL_OK);
    }
    EXPECT_EQ(mdbl_TableTruncate(table.get()), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_TableSize(table.get()), 5u);
    EXPECT_EQ(mdbl_TableSize(open_table().get()), 0u);
}

TEST(TableFile, TruncationOfAClosedTable) {
    for (uint8_t preallocate : {uint8_t{0}, uint8_t{1}}) {
        SCOPED_TRACE(int{preallocate});
        make_table(8, 4, preallocate);
        {
            TablePointer table = open_table();
            for (uint32_t key = 0; key < 4; key++) {
                ASSERT_EQ(insert_key(table.get(), 8, key), MDBL_OK);
            }
        }
        Bytes before = read_file(kTablePath);
        EXPECT_EQ(mdbl_TruncateTableWithOffset("table", 5), MDBL_ERR_PARAM);
        EXPECT_EQ(read_file(kTablePath), before);
        int32_t expected = preallocate != 0 ? MDBL_OK : MDBL_ERR_GENERAL;
        EXPECT_EQ(mdbl_TruncateTableWithOffset("table", 2), expected);
        EXPECT_EQ(keys_in_slots(open_table().get()), (std::vector<uint32_t>{0, 1}));
        EXPECT_EQ(mdbl_TruncateTable("table"), expected);
        EXPECT_EQ(mdbl_TableSize(open_table().get()), 0u);
        EXPECT_EQ(read_file(kTablePath).size(), before.size());
        mdbl_DropTable(kTablePath);
    }
    EXPECT_EQ(mdbl_TruncateTable("none"), MDBL_ERR_NO_FILE);
    EXPECT_EQ(mdbl_TruncateTable(nullptr), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_TruncateTable(std::string(241, 'x').c_str()), MDBL_ERR_PARAM);
}

TEST(TableFile, SizesDropAndCommit) {
    make_table(12, 4, 1);
    uint32_t size = 0;
    EXPECT_EQ(mdbl_getRecordSize("table", &size), MDBL_OK);
    EXPECT_EQ(size, 12u);
    EXPECT_EQ(mdbl_getRecordSize("table", nullptr), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_getRecordSize(kTablePath, &size), MDBL_ERR_NO_FILE);
    EXPECT_EQ(mdbl_TableSize(nullptr), 1u);
    TablePointer table = open_table();
    EXPECT_EQ(mdbl_TableCommit(table.get()), MDBL_OK);
    EXPECT_EQ(mdbl_TableCommit(nullptr), MDBL_OK);
    EXPECT_EQ(insert_key(table.get(), 12, 1), MDBL_OK);
    EXPECT_EQ(mdbl_DropTable(kTablePath), MDBL_OK);
    EXPECT_EQ(mdbl_DropTable(kTablePath), MDBL_ERR_NO_FILE);
    EXPECT_EQ(mdbl_TableCommit(table.get()), MDBL_ERR_GENERAL);
    EXPECT_EQ(insert_key(table.get(), 12, 1), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_TableSize(table.get()), 1u);
}

TEST(TableCache, BlocksComeOneByOne) {
    make_table(1024, 40, 0);
    {
        TablePointer table = open_table();
        for (uint32_t key = 0; key < 33; key++) {
            ASSERT_EQ(insert_key(table.get(), 1024, key), MDBL_OK);
        }
    }
    MDBL_Table *raw = nullptr;
    ASSERT_EQ(mdbl_OpenTable(kTablePath, 0, 0, 0, &raw), MDBL_MORE_TO_CACHE);
    TablePointer table(raw, mdbl_TableClose);
    uint8_t cached = 9;
    EXPECT_EQ(mdbl_TableIsCached(raw, &cached), MDBL_OK);
    EXPECT_EQ(cached, 0);
    EXPECT_EQ(mdbl_TableSize(raw), 16u);
    // Half a table takes no insert, has no index, and hands out no slot.
    EXPECT_EQ(insert_key(raw, 1024, 99), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_TableCreateIndex(raw, 1, compare_keys), MDBL_ERR_NO_MEMORY);
    EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(raw), 0u);
    EXPECT_EQ(mdbl_TableCache(raw), MDBL_MORE_TO_CACHE);
    EXPECT_EQ(mdbl_TableCache(raw), MDBL_OK);
    EXPECT_EQ(mdbl_TableCache(raw), MDBL_OK);
    EXPECT_EQ(mdbl_TableSize(raw), 33u);
    EXPECT_EQ(mdbl_TableIsCached(raw, &cached), MDBL_OK);
    EXPECT_EQ(cached, 1);
    EXPECT_EQ(mdbl_TableIsCached(nullptr, &cached), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_TableCache(nullptr), MDBL_ERR_GENERAL);
    EXPECT_EQ(insert_key(raw, 1024, 33), MDBL_OK);
    EXPECT_EQ(keys_in_slots(open_table().get()).size(), 34u);
}

// A slot that is free in memory is told before the rest of the table is there.
TEST(TableCache, AFreeSlotOfHalfATableIsFound) {
    make_table(1024, 40, 0);
    for (uint32_t key = 0; key < 20; key++) {
        ASSERT_EQ(insert_key(open_table().get(), 1024, key), MDBL_OK);
    }
    MDBL_Table *raw = nullptr;
    ASSERT_EQ(mdbl_OpenTable(kTablePath, 0, 0, 0, &raw), MDBL_MORE_TO_CACHE);
    TablePointer table(raw, mdbl_TableClose);
    auto take_all = [](const void *, const void *) { return 0; };
    SetPointer set = own(mdbl_TableSelectWithoutIndex(raw, take_all, nullptr));
    ASSERT_EQ(mdbl_RSDeleteAt(set.get(), 3), MDBL_OK);
    EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(raw), 4u);
    ASSERT_EQ(mdbl_TableCache(raw), MDBL_OK);
    EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(raw), 4u);
    EXPECT_EQ(insert_key(raw, 1024, 99), MDBL_OK);
    EXPECT_EQ(keys_in_slots(open_table().get())[3], 99u);
}

// A commit takes the reading position away: on a table that is not all in memory that shows.
TEST(TableCache, ACommitBeforeTheEndIsSeen) {
    make_table(1024, 40, 1);
    Bytes bytes = read_file(kTablePath);
    bytes[9 + 1024] = 0;
    write_file(kTablePath, bytes);
    MDBL_Table *raw = nullptr;
    ASSERT_EQ(mdbl_OpenTable(kTablePath, 0, 0, 0, &raw), MDBL_MORE_TO_CACHE);
    TablePointer table(raw, mdbl_TableClose);
    EXPECT_EQ(mdbl_TableCommit(raw), MDBL_OK);
    EXPECT_EQ(mdbl_TableCache(raw), MDBL_ERR_GENERAL);
}

// The block that was emptied at the end keeps the mark, whatever else is deleted, and with it
// every record that is inserted later.
TEST(TableCache, TheBlockOfTheEndMarkOutlivesItsRecords) {
    make_table(1024, 64, 0);
    TablePointer table = open_indexed();
    std::map<uint32_t, void *> pointers;
    for (uint32_t key = 0; key < 40; key++) {
        ASSERT_EQ(mdbl_TableInsert(table.get(), make_record(1024, key).data(), &pointers[key]),
                  MDBL_OK);
    }
    auto remove = [&](uint32_t from, uint32_t to) {
        for (uint32_t key = from; key < to; key++) {
            ASSERT_EQ(delete_key(table.get(), 1024, key), MDBL_OK);
        }
    };
    remove(32, 40);
    remove(0, 16);
    for (uint32_t key = 16; key < 32; key++) {
        EXPECT_EQ(key_of(pointers[key]), key);
    }
    EXPECT_EQ(file_flags()[39], 2);
    // The free slots of the blocks in memory go first, then those of the freed block.
    for (uint32_t key = 100; key < 148; key++) {
        ASSERT_EQ(insert_key(table.get(), 1024, key), MDBL_OK) << key;
    }
    EXPECT_EQ(insert_key(table.get(), 1024, 200), MDBL_ERR_TABLE_FULL);
    Bytes flags(63, 1);
    flags.push_back(3);
    EXPECT_EQ(file_flags(), flags);
    std::vector<uint32_t> keys = keys_in_slots(open_table().get());
    EXPECT_EQ(keys, keys_in_slots(table.get()));
    EXPECT_EQ(keys.size(), 64u);
}

// A partly used last block must not make the store write behind the last slot.
TEST(TableCache, FreeSlotsOfAFreedBlockAreFoundBehindAPartlyUsedLastOne) {
    make_table(1024, 20, 1);
    TablePointer table = open_indexed();
    for (uint32_t key = 0; key < 20; key++) {
        ASSERT_EQ(insert_key(table.get(), 1024, key), MDBL_OK);
    }
    for (uint32_t key = 0; key < 16; key++) {
        ASSERT_EQ(delete_key(table.get(), 1024, key), MDBL_OK);
    }
    EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(table.get()), 1u);
    EXPECT_EQ(insert_key(table.get(), 1024, 50), MDBL_OK);
    EXPECT_EQ(read_file(kTablePath).size(), 10u + 20 * 1024);
    EXPECT_EQ(keys_in_slots(open_table().get()), (std::vector<uint32_t>{50, 16, 17, 18, 19}));
}

// Every byte of the header and every flag in turn takes every value of interest; files are cut and
// extended at every length. What comes out must be readable, hold at most the slots it may, and
// take a record.
TEST(TableFile, DamagedFilesAreRefusedOrReadable) {
    make_table(8, 6, 1);
    {
        TablePointer table = open_table();
        for (uint32_t key = 1; key < 5; key++) {
            ASSERT_EQ(insert_key(table.get(), 8, key), MDBL_OK);
        }
    }
    const Bytes good = read_file(kTablePath);
    auto check = [&](const Bytes &bytes) {
        write_file(kTablePath, bytes);
        TablePointer table = open_table();
        if (table == nullptr) {
            return;
        }
        uint32_t size = mdbl_TableSize(table.get());
        ASSERT_EQ(keys_in_slots(table.get()).size(), size);
        ASSERT_EQ(mdbl_TableCreateIndex(table.get(), 1, compare_keys), MDBL_OK);
        int32_t result = mdbl_TableInsert(table.get(), Bytes(1024, 7).data(), nullptr);
        ASSERT_TRUE(result == MDBL_OK || result == MDBL_ERR_TABLE_FULL);
        EXPECT_EQ(mdbl_TableSize(open_table().get()), size + (result == MDBL_OK));
    };
    std::vector<size_t> places = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (size_t flag = 17; flag < good.size(); flag += 8) {
        places.push_back(flag);
    }
    for (size_t at : places) {
        for (int value : {0, 1, 2, 3, 4, 8, 127, 128, 254, 255}) {
            SCOPED_TRACE(std::to_string(at) + "=" + std::to_string(value));
            Bytes bytes = good;
            bytes[at] = static_cast<uint8_t>(value);
            check(bytes);
        }
    }
    for (size_t length = 0; length <= good.size() + 40; length++) {
        SCOPED_TRACE(length);
        Bytes bytes = good;
        bytes.resize(length, 0xFF);
        check(bytes);
    }
}

TEST(TableFile, WithoutAnEndMarkTheLastRecordCarriesItInMemory) {
    make_table(8, 6, 0);
    {
        TablePointer table = open_table();
        insert_key(table.get(), 8, 1);
        insert_key(table.get(), 8, 2);
    }
    Bytes bytes = read_file(kTablePath);
    bytes[10 + 15] = 1;
    write_file(kTablePath, bytes);
    TablePointer table = open_table();
    EXPECT_EQ(keys_in_slots(table.get()), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(read_file(kTablePath), bytes);
    EXPECT_EQ(insert_key(table.get(), 8, 3), MDBL_OK);
    EXPECT_EQ(file_flags(), (Bytes{1, 1, 3}));
}

}  // namespace
