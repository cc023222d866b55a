#include <unistd.h>

#include "mdblite/table_support.h"
#include "support/faults.h"

namespace {

using namespace hearth::test;

constexpr uint16_t kSize = 32;
using Keys = std::vector<uint32_t>;

int take_all(const void *, const void *) {
    return 0;
}

// A table with an index over its keys, and a set of all records in the order of the slots.
class RecordSet : public testing::Test {
  protected:
    void fill(const Keys &keys) {
        mdbl_DropTable(kTablePath);
        make_table(kSize, 200, 1);
        set_.reset();
        table_ = open_table();
        for (uint32_t key : keys) {
            ASSERT_EQ(insert_key(table_.get(), kSize, key), MDBL_OK);
        }
        ASSERT_EQ(mdbl_TableCreateIndex(table_.get(), 1, compare_keys), MDBL_OK);
        set_ = own(mdbl_TableSelectWithoutIndex(table_.get(), take_all, nullptr));
        ASSERT_NE(set_, nullptr);
    }

    MDBL_RecordSet *set() { return set_.get(); }

    Keys keys() { return keys_of(set()); }

    Keys marked() {
        void **records = nullptr;
        uint32_t count = mdbl_RSGetMarked(set(), &records);
        Keys keys;
        for (uint32_t i = 0; i < count; i++) {
            keys.push_back(key_of(records[i]));
        }
        EXPECT_EQ(count == 0, records == nullptr);
        free(records);
        return keys;
    }

    // Marks the entries at these positions and goes back to the first.
    void mark(const std::vector<int> &positions) {
        for (int position : positions) {
            seek_to(position);
            mdbl_RSMark(set());
        }
        mdbl_RSRewind(set());
    }

    void seek_to(int position) {
        mdbl_RSRewind(set());
        ASSERT_EQ(mdbl_RSSeek(set(), static_cast<int16_t>(position)), position);
    }

    static int add(void *record, void *argument) {
        uint32_t key = key_of(record) + *static_cast<uint32_t *>(argument);
        memcpy(record, &key, 4);
        return 0;
    }

    TablePointer table_{nullptr, mdbl_TableClose};
    SetPointer set_{nullptr, mdbl_RSDestroy};
};

TEST_F(RecordSet, SelectsTakeWhatTheyShould) {
    fill({21, 12, 22, 11, 31, 23});
    auto select = [&](uint32_t key, int32_t descending) {
        return keys_of(own(mdbl_TableSelect(table_.get(), 1, compare_tens,
                                            make_record(kSize, key).data(), descending))
                           .get());
    };
    EXPECT_EQ(select(20, 0), (Keys{21, 22, 23}));
    EXPECT_EQ(select(20, 1), (Keys{23, 22, 21}));
    EXPECT_EQ(select(90, 0), Keys{});
    EXPECT_EQ(keys(), (Keys{21, 12, 22, 11, 31, 23}));

    auto until_31 = [](const void *record, const void *) {
        return key_of(record) == 31 ? -1 : static_cast<int>(key_of(record) / 10 - 2);
    };
    SetPointer walked = own(mdbl_TableSelectWithoutIndex(table_.get(), until_31, nullptr));
    // The results for the keys below 20 are negative, too.
    EXPECT_EQ(keys_of(walked.get()), (Keys{21}));

    Bytes one = make_record(kSize, 10);
    Bytes two = make_record(kSize, 20);
    Bytes none = make_record(kSize, 90);
    const void *wanted[] = {two.data(), none.data(), one.data(), two.data()};
    EXPECT_EQ(keys_of(own(mdbl_TableSelectIn(table_.get(), 1, compare_tens, wanted, 4)).get()),
              (Keys{21, 22, 23, 11, 12, 21, 22, 23}));
    auto odd = [](const void *record, const void *) {
        return static_cast<int>(key_of(record) % 2 == 0);
    };
    SetPointer part = own(mdbl_RSSelect(set(), odd, nullptr, 0));
    EXPECT_EQ(keys_of(part.get()), (Keys{21, 11, 31, 23}));
    EXPECT_EQ(mdbl_RSTell(part.get()), 0);

    EXPECT_EQ(mdbl_RSSelect(set(), odd, nullptr, 1), nullptr);
    EXPECT_EQ(mdbl_RSSelect(nullptr, odd, nullptr, 0), nullptr);
    EXPECT_EQ(mdbl_TableSelectIn(table_.get(), 1, compare_tens, wanted, 0), nullptr);
    EXPECT_EQ(mdbl_TableSelectIn(table_.get(), 1, compare_tens, nullptr, 1), nullptr);
    EXPECT_EQ(mdbl_TableSelect(table_.get(), 0, compare_tens, one.data(), 0), nullptr);
    EXPECT_EQ(mdbl_TableSelect(table_.get(), 2, compare_tens, one.data(), 0), nullptr);
    EXPECT_EQ(mdbl_TableSelect(table_.get(), 6, compare_tens, one.data(), 0), nullptr);
    EXPECT_EQ(mdbl_TableSelect(table_.get(), 1, nullptr, one.data(), 0), nullptr);
    EXPECT_EQ(mdbl_TableSelect(nullptr, 1, compare_tens, one.data(), 0), nullptr);
    EXPECT_EQ(mdbl_TableSelectWithoutIndex(table_.get(), nullptr, nullptr), nullptr);
    EXPECT_EQ(mdbl_TableSelectOnSecondaryIndex(table_.get(), 1), nullptr);
}

TEST_F(RecordSet, TheCursorGoesRoundOneByOneAndStopsInSeveral) {
    fill({0, 1, 2});
    void *record = nullptr;
    Keys seen;
    for (int i = 0; i < 4; i++) {
        ASSERT_EQ(mdbl_RSNext(set(), MDBL_READ_POINTER, &record), MDBL_OK);
        seen.push_back(key_of(record));
    }
    EXPECT_EQ(seen, (Keys{0, 1, 2, 0}));
    mdbl_RSRewind(set());
    ASSERT_EQ(mdbl_RSPrevious(set(), MDBL_READ_POINTER, &record), MDBL_OK);
    EXPECT_EQ(key_of(record), 2u);
    EXPECT_EQ(mdbl_RSTell(set()), 2);

    struct Seek {
        int16_t offset;
        int32_t expected;
    };
    for (Seek seek : {Seek{-1, 2}, Seek{7, 1}, Seek{0, 0}, Seek{-32768, 1}, Seek{32767, 1}}) {
        mdbl_RSRewind(set());
        EXPECT_EQ(mdbl_RSSeek(set(), seek.offset), seek.expected);
    }

    struct Several {
        bool next;
        int cursor;
        uint32_t count;
        int32_t expected;
        uint32_t given;
        int32_t cursor_after;
        uint32_t first;
    };
    const Several cases[] = {
        {true, 0, 2, MDBL_OK, 2, 2, 0},
        {true, 0, 3, MDBL_OK, 3, 2, 0},
        {true, 1, 5, MDBL_ERR_RS_EMPTY, 2, 2, 1},
        {true, 2, 1, MDBL_OK, 1, 2, 2},
        {true, 1, 0, MDBL_OK, 0, 1, 1},
        {false, 0, 1, MDBL_ERR_RS_EMPTY, 0, 0, 0},
        {false, 2, 1, MDBL_OK, 1, 1, 1},
        {false, 2, 2, MDBL_OK, 2, 0, 0},
        {false, 2, 5, MDBL_ERR_RS_EMPTY, 2, 0, 0},
    };
    for (const Several &c : cases) {
        for (int32_t mode : {0, 1, 2, 7}) {
            SCOPED_TRACE(&c - cases);
            seek_to(c.cursor);
            Bytes buffer(3 * kSize);
            void *pointer = nullptr;
            void *out = mode >= MDBL_READ_BUFFER ? buffer.data() : static_cast<void *>(&pointer);
            uint32_t given = 99;
            EXPECT_EQ((c.next ? mdbl_RSNextN : mdbl_RSPreviousN)(set(), c.count, mode, out, &given),
                      c.expected);
            EXPECT_EQ(given, c.given);
            EXPECT_EQ(mdbl_RSTell(set()), c.cursor_after);
            for (uint32_t i = 0; i < given; i++) {
                const uint8_t *copy =
                    mode == MDBL_READ_COPY ? static_cast<uint8_t *>(pointer) : buffer.data();
                const void *found =
                    mode == MDBL_READ_POINTER ? static_cast<void **>(pointer)[i] : copy + i * kSize;
                EXPECT_EQ(key_of(found), c.first + i);
            }
            if (mode == MDBL_READ_COPY) {
                free(pointer);
            }
        }
    }
}

TEST_F(RecordSet, EmptyAndNullSets) {
    fill({});
    void *out = nullptr;
    uint32_t count = 9;
    uint32_t one = 1;
    EXPECT_EQ(mdbl_RSTell(set()), -1);
    EXPECT_EQ(mdbl_RSSeek(set(), 1), -1);
    EXPECT_EQ(mdbl_RSGetAt(set(), 0, MDBL_READ_COPY, &out), MDBL_ERR_RS_EMPTY);
    EXPECT_EQ(mdbl_RSNext(set(), MDBL_READ_COPY, &out), MDBL_ERR_RS_EMPTY);
    EXPECT_EQ(mdbl_RSPrevious(set(), MDBL_READ_COPY, &out), MDBL_ERR_RS_EMPTY);
    EXPECT_EQ(mdbl_RSNextN(set(), 1, MDBL_READ_COPY, &out, &count), MDBL_ERR_RS_EMPTY);
    EXPECT_EQ(mdbl_RSPreviousN(set(), 1, MDBL_READ_COPY, &out, &count), MDBL_ERR_RS_EMPTY);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(mdbl_RSUpdateAt(set(), 0, add, &one), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_RSUpdate(set(), add, &one), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_RSDeleteAt(set(), 0), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_RSDelete(set()), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_RSRemoveAt(set(), 0), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_RSRemove(set()), MDBL_ERR_GENERAL);
    mdbl_RSMark(set());
    mdbl_RSMarkAll(set());
    EXPECT_EQ(mdbl_RSIsMarked(set()), 0);
    EXPECT_EQ(mdbl_RSRemoveMarked(set()), 0u);
    EXPECT_EQ(mdbl_RSUpdateMarked(set(), add, &one, 5, &count), MDBL_OK);
    EXPECT_EQ(mdbl_RSDeleteMarked(set(), 5, &count), MDBL_OK);
    mdbl_RSSort(set(), compare_keys);
    mdbl_RSReverse(set());
    EXPECT_EQ(mdbl_RSTell(set()), -1);

    EXPECT_EQ(mdbl_RSTell(nullptr), -1);
    EXPECT_EQ(mdbl_RSAdd(set(), &out), -1);
    EXPECT_EQ(mdbl_RSUpdateMarked(set(), add, nullptr, 5, &count), MDBL_ERR_GENERAL);
    for (auto *call : {mdbl_RSRewind, mdbl_RSMark, mdbl_RSUnmark, mdbl_RSMarkAll, mdbl_RSUnmarkAll,
                       mdbl_RSInvertMarked, mdbl_RSReverse, mdbl_RSDestroy}) {
        call(nullptr);
    }
}

TEST_F(RecordSet, RemovingLeavesTheTableAndDeletingDoesNot) {
    fill({0, 1, 2, 3});
    seek_to(3);
    EXPECT_EQ(mdbl_RSRemove(set()), MDBL_OK);
    EXPECT_EQ(mdbl_RSTell(set()), 0);
    EXPECT_EQ(mdbl_TableSize(table_.get()), 4u);
    EXPECT_EQ(mdbl_RSRemoveAt(set(), 3), MDBL_ERR_NOT_FOUND);
    seek_to(2);
    EXPECT_EQ(mdbl_RSDelete(set()), MDBL_OK);
    EXPECT_EQ(mdbl_RSTell(set()), 0);
    EXPECT_EQ(keys(), (Keys{0, 1}));
    EXPECT_EQ(mdbl_RSDeleteAt(set(), 2), MDBL_ERR_NOT_FOUND);
    EXPECT_EQ(mdbl_RSDeleteAt(set(), 0), MDBL_OK);
    EXPECT_EQ(mdbl_RSDelete(set()), MDBL_OK);
    EXPECT_EQ(mdbl_RSTell(set()), -1);
    EXPECT_EQ(keys_in_slots(table_.get()), (Keys{3}));
    EXPECT_EQ(keys_in_slots(open_table().get()), (Keys{3}));
}

// A record that another way has deleted is refused, and the counts stay right.
TEST_F(RecordSet, StaleEntriesAreRefused) {
    fill({0, 1, 2});
    SetPointer other = own(mdbl_TableSelectWithoutIndex(table_.get(), take_all, nullptr));
    ASSERT_EQ(mdbl_RSDelete(other.get()), MDBL_OK);
    uint32_t one = 1;
    EXPECT_EQ(mdbl_RSDelete(set()), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_RSUpdate(set(), add, &one), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_TableSize(table_.get()), 2u);
    EXPECT_EQ(mdbl_TableSize(open_table().get()), 2u);
}

TEST_F(RecordSet, AddingFollowsTheSetsOrder) {
    struct Case {
        Keys keys;
        int32_t descending;
        int cursor;
        uint32_t added;
        int32_t position;
        int32_t cursor_after;
    };
    const Case cases[] = {
        {{10, 30}, 0, 0, 20, 1, 0}, {{10, 30}, 0, 1, 20, 1, 2}, {{10, 30}, 0, 0, 5, 0, 1},
        {{10, 30}, 0, 1, 40, 2, 1}, {{10, 30}, 1, 0, 20, 1, 0}, {{10, 30}, 1, 0, 40, 0, 1},
        {{10, 30}, 1, 1, 5, 2, 1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(&c - cases);
        fill(c.keys);
        mdbl_RSSort(set(), compare_keys);
        if (c.descending != 0) {
            mdbl_RSReverse(set());
        }
        mark({0});
        seek_to(c.cursor);
        void *record = nullptr;
        ASSERT_EQ(mdbl_TableInsert(table_.get(), make_record(kSize, c.added).data(), &record),
                  MDBL_OK);
        EXPECT_EQ(mdbl_RSAdd(set(), record), c.position);
        EXPECT_EQ(mdbl_RSTell(set()), c.cursor_after);
        EXPECT_EQ(keys()[static_cast<size_t>(c.position)], c.added);
        EXPECT_EQ(marked(), (Keys{c.descending != 0 ? 30u : 10u}));
    }
    // Into an empty set, and past the first 32 entries, marks included.
    fill({});
    void *record = nullptr;
    for (uint32_t key = 0; key < 100; key++) {
        ASSERT_EQ(mdbl_TableInsert(table_.get(), make_record(kSize, key).data(), &record), MDBL_OK);
        ASSERT_EQ(mdbl_RSAdd(set(), record), static_cast<int32_t>(key));
        EXPECT_EQ(mdbl_RSTell(set()), 0);
        mdbl_RSMark(set());
    }
    EXPECT_EQ(mdbl_RSAdd(set(), static_cast<uint8_t *>(record) + 1), -1);
    EXPECT_EQ(marked(), (Keys{0}));
}

TEST_F(RecordSet, MarksAndFlagsFollowTheirEntries) {
    fill({0, 1, 2, 3, 4});
    mdbl_RSSetRecordFlag(set(), 1, 3);
    EXPECT_EQ(mdbl_RSGetRecordFlag(set(), 1, 3), 0);  // no marks yet, so no flags
    EXPECT_EQ(mdbl_RSIsMarked(set()), 0);
    mdbl_RSUnmark(set());
    mdbl_RSUnmarkAll(set());
    EXPECT_EQ(marked(), Keys{});
    mark({1, 3});
    EXPECT_EQ(marked(), (Keys{1, 3}));
    mdbl_RSSetRecordFlag(set(), 4, 6);
    mdbl_RSSetRecordFlag(set(), 4, 0);
    mdbl_RSSetRecordFlag(set(), 4, 7);
    mdbl_RSSetRecordFlag(set(), 5, 1);
    mdbl_RSResetRecordFlag(set(), 4, 0);
    EXPECT_EQ(mdbl_RSGetRecordFlag(set(), 4, 6), 1);
    EXPECT_EQ(mdbl_RSGetRecordFlag(set(), 4, 0), 0);
    EXPECT_EQ(mdbl_RSGetRecordFlag(set(), 4, 7), 0);
    mdbl_RSInvertMarked(set());
    EXPECT_EQ(marked(), (Keys{0, 2, 4}));
    EXPECT_EQ(mdbl_RSIsMarked(set()), 1);
    seek_to(3);
    EXPECT_EQ(mdbl_RSRemoveAt(set(), 0), MDBL_OK);
    EXPECT_EQ(mdbl_RSTell(set()), 3);
    EXPECT_EQ(marked(), (Keys{2, 4}));
    EXPECT_EQ(mdbl_RSGetRecordFlag(set(), 3, 6), 1);
    seek_to(0);
    mdbl_RSMark(set());
    seek_to(3);
    mdbl_RSUnmark(set());
    EXPECT_EQ(mdbl_RSRemoveMarked(set()), 2u);  // 1 and 2, before the cursor
    EXPECT_EQ(mdbl_RSTell(set()), 1);
    EXPECT_EQ(keys(), (Keys{3, 4}));
    EXPECT_EQ(mdbl_RSGetRecordFlag(set(), 1, 6), 1);
    mdbl_RSMarkAll(set());
    mdbl_RSReverse(set());
    EXPECT_EQ(mdbl_RSTell(set()), 0);
    EXPECT_EQ(mdbl_RSIsMarked(set()), 0);
    EXPECT_EQ(mdbl_RSGetRecordFlag(set(), 0, 6), 0);
    EXPECT_EQ(keys(), (Keys{4, 3}));
    mdbl_RSMarkAll(set());
    EXPECT_EQ(mdbl_RSRemoveMarked(set()), 2u);
    EXPECT_EQ(mdbl_RSTell(set()), -1);
    EXPECT_EQ(mdbl_TableSize(table_.get()), 5u);
}

TEST_F(RecordSet, MarkedUpdatesGoOnWhereTheyStopped) {
    fill({10, 20, 30, 40, 50, 60});
    mark({0, 1, 3, 4, 5});
    uint32_t one = 1;
    uint32_t count = 0;
    EXPECT_EQ(mdbl_RSUpdateMarked(set(), add, &one, 2, &count), MDBL_OK);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(keys(), (Keys{11, 21, 30, 40, 50, 60}));
    EXPECT_EQ(mdbl_RSUpdateMarked(set(), add, &one, 2, nullptr), MDBL_OK);
    EXPECT_EQ(keys(), (Keys{11, 21, 30, 41, 51, 60}));
    EXPECT_EQ(mdbl_RSUpdateMarked(set(), add, &one, 2, &count), MDBL_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(mdbl_RSUpdateMarked(set(), add, &one, 2, &count), MDBL_OK);
    EXPECT_EQ(count, 0u);
    mark({5});  // starts again from the front
    EXPECT_EQ(mdbl_RSUpdateMarked(set(), add, &one, 1, &count), MDBL_OK);
    EXPECT_EQ(keys(), (Keys{12, 21, 30, 41, 51, 61}));
    EXPECT_EQ(keys_in_slots(open_table().get()), keys());

    // Only the field's bytes are written back.
    struct Field {
        int32_t offset;
        uint32_t length;
        int32_t expected;
    };
    for (Field f : {Field{4, 1, MDBL_OK}, Field{-1, 1, MDBL_ERR_GENERAL},
                    Field{1024, 1, MDBL_ERR_GENERAL}, Field{30, 2, MDBL_ERR_GENERAL},
                    Field{4, 0xFFFFFFFE, MDBL_ERR_GENERAL}, Field{40, 0, MDBL_ERR_GENERAL}}) {
        SCOPED_TRACE(f.offset);
        mark({2});
        EXPECT_EQ(mdbl_RSUpdateMarkedField(set(), add, &one, 1, &count, f.offset, f.length),
                  f.expected);
        EXPECT_EQ(keys(), (Keys{12, 21, 30, 41, 51, 61}));
    }
}

TEST_F(RecordSet, MarkedDeletesTakeRecordsAndEntries) {
    fill({0, 1, 2, 3, 4, 5, 6});
    mark({1, 2, 4, 6});
    seek_to(5);
    uint32_t count = 0;
    EXPECT_EQ(mdbl_RSDeleteMarked(set(), 2, &count), MDBL_OK);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(keys(), (Keys{0, 3, 4, 5, 6}));
    EXPECT_EQ(mdbl_RSTell(set()), 3);
    // A failed write ends the batch; the entries before it are gone, the others stay.
    arm_fault(Fault::kFail, kWrites, 2);
    EXPECT_EQ(mdbl_RSDeleteMarked(set(), 9, &count), MDBL_ERR_GENERAL);
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(keys(), (Keys{0, 3, 5, 6}));
    EXPECT_EQ(mdbl_RSTell(set()), 2);
    EXPECT_EQ(mdbl_RSDeleteMarked(set(), 9, nullptr), MDBL_OK);
    EXPECT_EQ(keys(), (Keys{0, 3, 5}));
    EXPECT_EQ(keys_in_slots(open_table().get()), (Keys{0, 3, 5}));
    mdbl_RSMarkAll(set());
    EXPECT_EQ(mdbl_RSDeleteMarked(set(), 9, &count), MDBL_OK);
    EXPECT_EQ(mdbl_RSTell(set()), -1);
    EXPECT_EQ(mdbl_TableSize(table_.get()), 0u);
}

TEST_F(RecordSet, SortingAndUpdatingThroughASet) {
    fill({3, 1, 2});
    seek_to(2);
    mdbl_RSSort(set(), compare_keys_down);
    EXPECT_EQ(keys(), (Keys{3, 2, 1}));
    EXPECT_EQ(mdbl_RSTell(set()), 0);
    mdbl_RSSort(set(), nullptr);
    uint32_t ten = 10;
    EXPECT_EQ(mdbl_RSUpdateAt(set(), 2, add, &ten), MDBL_OK);
    EXPECT_EQ(keys(), (Keys{3, 2, 11}));  // the set keeps its order
    EXPECT_EQ(mdbl_RSUpdateAt(set(), 3, add, &ten), MDBL_ERR_NOT_FOUND);
    EXPECT_EQ(mdbl_RSUpdateAt(set(), 0, nullptr, &ten), MDBL_ERR_GENERAL);
    EXPECT_EQ(mdbl_RSUpdate(set(), add, &ten), MDBL_OK);
    EXPECT_EQ(mdbl_TableCount(table_.get(), 1, compare_keys, nullptr, make_record(kSize, 13).data(),
                              nullptr),
              1u);
    EXPECT_EQ(keys_in_slots(open_table().get()), (Keys{13, 11, 2}));
}

}  // namespace
