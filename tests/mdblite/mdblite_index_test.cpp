#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <random>

#include "mdblite/table_support.h"

namespace {

using namespace hearth::test;

constexpr uint16_t kSize = 32;

TablePointer new_table(const std::vector<uint32_t> &keys, uint16_t size = kSize) {
    mdbl_DropTable(kTablePath);
    make_table(size, 100, 1);
    TablePointer table = open_table();
    for (uint32_t key : keys) {
        EXPECT_EQ(insert_key(table.get(), size, key), MDBL_OK);
    }
    return table;
}

std::vector<uint32_t> group_heads(MDBL_Table *table) {
    return keys_of(own(mdbl_TableSelectOnSecondaryIndex(table, 1)).get());
}

TEST(TableIndex, CallsCheckTheirArguments) {
    TablePointer owner = new_table({});
    MDBL_Table *t = owner.get();
    Bytes key = make_record(kSize, 1);
    auto nothing = [](void *, void *) { return 0; };
    const uint16_t offset = 0;
    const uint32_t type = MDBL_FIELD_INT32;
    const uint8_t up = 0;
    struct Case {
        const char *name;
        int32_t result;
        int32_t expected;
    };
    const Case before[] = {
        {"create 0", mdbl_TableCreateIndex(t, 0, compare_keys), MDBL_ERR_INDEX_NUMBER},
        {"create 6", mdbl_TableCreateIndex(t, 6, compare_keys), MDBL_ERR_INDEX_NUMBER},
        {"createEx 6", mdbl_TableCreateIndexEx(t, 6, 1, &offset, &type, &up),
         MDBL_ERR_INDEX_NUMBER},
        {"delete no index", mdbl_TableDelete(t, 1, compare_keys, key.data()), MDBL_ERR_NO_INDEX},
        {"delete 0", mdbl_TableDelete(t, 0, compare_keys, key.data()), MDBL_ERR_INDEX_NUMBER},
        {"update empty, no index", mdbl_TableUpdate(t, 1, compare_keys, nothing, key.data(), t),
         MDBL_ERR_EMPTY},
        {"update 6", mdbl_TableUpdate(t, 6, compare_keys, nothing, key.data(), t),
         MDBL_ERR_INDEX_NUMBER},
        {"enumerate 6", mdbl_TableEnumerate(t, 6, nothing, nullptr), MDBL_ERR_INDEX_NUMBER},
        {"enumerate 1", mdbl_TableEnumerate(t, 1, nothing, nullptr), MDBL_ERR_NO_INDEX},
        {"secondary 0", mdbl_TableCreateSecondaryIndex(t, 0, compare_tens), MDBL_ERR_GENERAL},
        {"secondary no index", mdbl_TableCreateSecondaryIndex(t, 1, compare_tens),
         MDBL_ERR_NO_INDEX},
        {"create", mdbl_TableCreateIndex(t, 1, compare_keys), MDBL_OK},
        {"create again", mdbl_TableCreateIndex(t, 1, compare_keys), MDBL_ERR_INDEX_EXISTS},
        {"createEx again", mdbl_TableCreateIndexEx(t, 1, 1, &offset, &type, &up),
         MDBL_ERR_INDEX_EXISTS},
        {"delete empty", mdbl_TableDelete(t, 1, compare_keys, key.data()), MDBL_ERR_EMPTY},
        {"secondary", mdbl_TableCreateSecondaryIndex(t, 1, compare_tens), MDBL_OK},
        {"secondary again", mdbl_TableCreateSecondaryIndex(t, 1, compare_tens),
         MDBL_ERR_INDEX_EXISTS},
        {"insert", insert_key(t, kSize, 5), MDBL_OK},
        // One record, and the key is another: the boundaries alone could not tell.
        {"delete no match", mdbl_TableDelete(t, 1, compare_keys, key.data()), MDBL_ERR_NOT_FOUND},
        {"update no match", mdbl_TableUpdate(t, 1, compare_keys, nothing, key.data(), t),
         MDBL_ERR_NOT_FOUND},
        {"update no index", mdbl_TableUpdate(t, 2, compare_keys, nothing, key.data(), t),
         MDBL_ERR_NO_INDEX},
    };
    for (const Case &c : before) {
        EXPECT_EQ(c.result, c.expected) << c.name;
    }
    EXPECT_EQ(mdbl_TableCount(t, 1, compare_keys, nullptr, key.data(), nullptr), 0u);
    EXPECT_EQ(mdbl_TableCount(t, 2, compare_keys, nullptr, key.data(), nullptr), 0u);
    EXPECT_EQ(mdbl_TableCount(t, 9, compare_keys, nullptr, key.data(), nullptr), 0u);
    EXPECT_EQ(mdbl_TableGetFirstEmptySlotIndex(nullptr), 1u);
    mdbl_TableDestroyIndex(t, 1);
    mdbl_TableDestroyIndex(t, 1);
    mdbl_TableDestroyIndex(t, 0);
    mdbl_TableDestroyIndex(t, 6);
    EXPECT_EQ(mdbl_TableCreateIndex(t, 1, compare_keys), MDBL_OK);
}

struct Field {
    uint16_t offset;
    uint32_t type;
    uint8_t descending;
};

// Which of two records, told apart by their last byte, an index over one field puts first.
char first_of(const Bytes &first, const Bytes &second, Field field) {
    TablePointer table = new_table({});
    EXPECT_EQ(mdbl_TableInsert(table.get(), first.data(), nullptr), MDBL_OK);
    EXPECT_EQ(mdbl_TableInsert(table.get(), second.data(), nullptr), MDBL_OK);
    EXPECT_EQ(
        mdbl_TableCreateIndexEx(table.get(), 1, 1, &field.offset, &field.type, &field.descending),
        MDBL_OK);
    char found = 0;
    mdbl_TableEnumerate(
        table.get(), 1,
        [](void *record, void *argument) {
            *static_cast<char *>(argument) = static_cast<char *>(record)[kSize - 2];
            return 0;
        },
        &found);
    return found;
}

// Negative, zero or positive, as the index has it: equal records keep no order of their own.
int order_of(const Bytes &a, const Bytes &b, Field field) {
    auto record = [&](const Bytes &content, char name) {
        Bytes all(kSize, 'z');
        std::copy(content.begin(), content.end(), all.begin() + field.offset);
        all[kSize - 2] = static_cast<uint8_t>(name);
        return all;
    };
    char one = first_of(record(a, 'a'), record(b, 'b'), field);
    char other = first_of(record(b, 'b'), record(a, 'a'), field);
    return one != other ? 0 : one == 'a' ? -1 : 1;
}

TEST(TableIndex, FieldsCompareByTheirType) {
    struct Case {
        const char *name;
        Bytes a;
        Bytes b;
        uint32_t type;
        int expected;
    };
    const Case cases[] = {
        {"int", {1, 0, 0, 0}, {2, 0, 0, 0}, MDBL_FIELD_INT32, -1},
        {"negative int", {0xFF, 0xFF, 0xFF, 0xFF}, {1, 0, 0, 0}, MDBL_FIELD_INT32, -1},
        // Required: the difference wraps, so the smallest is above the largest.
        {"wrap", {0, 0, 0, 0x80}, {0xFF, 0xFF, 0xFF, 0x7F}, MDBL_FIELD_INT32, 1},
        {"equal int", {7, 1, 0, 0}, {7, 1, 0, 0}, MDBL_FIELD_INT32, 0},
        {"text", {'a', 'b', 0}, {'a', 'c', 0}, MDBL_FIELD_TEXT, -1},
        {"text prefix", {'a', 0}, {'a', 'a', 0}, MDBL_FIELD_TEXT, -1},
        {"text high byte", {0x80, 0}, {0x7F, 0}, MDBL_FIELD_TEXT, 1},
        {"text behind its end", {'a', 0, 'x'}, {'a', 0, 'y'}, MDBL_FIELD_TEXT, 0},
        {"wide", {0, 1, 0, 0}, {0xFF, 0, 0, 0}, MDBL_FIELD_WIDE, 1},
        {"wide equal", {'a', 0, 0, 0, 1}, {'a', 0, 0, 0, 2}, MDBL_FIELD_WIDE, 0},
        {"unknown type", {1}, {2}, 3, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(order_of(c.a, c.b, {0, c.type, 0}), c.expected);
        EXPECT_EQ(order_of(c.b, c.a, {0, c.type, 0}), -c.expected);
        EXPECT_EQ(order_of(c.a, c.b, {4, c.type, 7}), -c.expected);
    }
    // Texts without an end stop at the record's own.
    EXPECT_EQ(order_of({'a'}, {'b'}, {1, MDBL_FIELD_TEXT, 0}), -1);
    TablePointer table = new_table({1, 2});
    for (Field field : {Field{kSize - 3, MDBL_FIELD_INT32, 0}, Field{kSize, MDBL_FIELD_TEXT, 0},
                        Field{65535, MDBL_FIELD_WIDE, 0}}) {
        EXPECT_EQ(mdbl_TableCreateIndexEx(table.get(), 1, 1, &field.offset, &field.type,
                                          &field.descending),
                  MDBL_ERR_PARAM);
    }
}

// Without fields the index has the order of the slots.
TEST(TableIndex, NoFieldsMeanNoOrder) {
    TablePointer table = new_table({3, 1, 2});
    ASSERT_EQ(mdbl_TableCreateIndexEx(table.get(), 5, 0, nullptr, nullptr, nullptr), MDBL_OK);
    EXPECT_EQ(keys_in_order(table.get(), 5), (std::vector<uint32_t>{3, 1, 2}));
}

TEST(TableIndex, FiltersCountWhatTheyTake) {
    TablePointer table = new_table({1, 2, 12, 3});
    ASSERT_EQ(mdbl_TableCreateIndex(table.get(), 1, compare_tens), MDBL_OK);
    auto odd = [](const void *record, const void *argument) {
        EXPECT_EQ(*static_cast<const int *>(argument), 99);
        return key_of(record) % 2 == 1 ? 0 : 1;
    };
    int argument = 99;
    EXPECT_EQ(
        mdbl_TableCount(table.get(), 1, compare_tens, odd, make_record(kSize, 0).data(), &argument),
        2u);
}

TEST(TableIndex, EnumeratingStopsOnZero) {
    TablePointer table = new_table({1, 2, 3});
    ASSERT_EQ(mdbl_TableCreateIndex(table.get(), 1, compare_keys), MDBL_OK);
    for (uint32_t number : {0u, 1u}) {
        int calls = 0;
        EXPECT_EQ(mdbl_TableEnumerate(
                      table.get(), number,
                      [](void *, void *argument) {
                          return static_cast<int>(++*static_cast<int *>(argument) < 2);
                      },
                      &calls),
                  MDBL_OK);
        EXPECT_EQ(calls, 2);
    }
}

// A key that moves a record within its own matches does not skip or repeat any of them.
TEST(TableIndex, UpdatingManyMovesEachOnce) {
    TablePointer table = new_table({10, 11, 12, 13, 14, 25});
    ASSERT_EQ(mdbl_TableCreateIndex(table.get(), 1, compare_keys), MDBL_OK);
    ASSERT_EQ(mdbl_TableUpdate(
                  table.get(), 1, compare_tens,
                  [](void *record, void *) {
                      uint32_t key = key_of(record) == 12 ? 90 : 29 - key_of(record);
                      memcpy(record, &key, 4);
                      return 0;
                  },
                  make_record(kSize, 10).data(), nullptr),
              MDBL_OK);
    EXPECT_EQ(keys_in_slots(table.get()), (std::vector<uint32_t>{19, 18, 90, 16, 15, 25}));
    EXPECT_EQ(keys_in_order(table.get(), 1), (std::vector<uint32_t>{15, 16, 18, 19, 25, 90}));
}

TEST(SecondaryIndex, GroupsAreTheSameHoweverTheyCameAbout) {
    EXPECT_EQ(mdbl_TableSelectOnSecondaryIndex(new_table({1}).get(), 1), nullptr);
    struct Case {
        std::vector<uint32_t> keys;
        std::vector<uint32_t> heads;
    };
    const Case cases[] = {
        {{}, {}},
        {{5}, {}},
        {{5, 6}, {5}},
        {{6, 5}, {5}},
        {{5, 16}, {5, 16}},
        {{16, 5}, {5, 16}},
        {{5, 6, 27}, {5, 27}},
        {{27, 6, 5}, {5, 27}},
        {{5, 27, 16, 6, 17, 28}, {5, 16, 27}},
        {{27, 16, 15, 5, 4, 26}, {4, 15, 26}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.keys.size());
        for (size_t built_after = 0; built_after <= c.keys.size(); built_after++) {
            TablePointer table = new_table(
                {c.keys.begin(), c.keys.begin() + static_cast<std::ptrdiff_t>(built_after)});
            ASSERT_EQ(mdbl_TableCreateIndex(table.get(), 1, compare_keys), MDBL_OK);
            ASSERT_EQ(mdbl_TableCreateSecondaryIndex(table.get(), 1, compare_tens), MDBL_OK);
            for (size_t i = built_after; i < c.keys.size(); i++) {
                ASSERT_EQ(insert_key(table.get(), kSize, c.keys[i]), MDBL_OK);
            }
            EXPECT_EQ(group_heads(table.get()), c.heads) << built_after;
        }
    }
}

TEST(SecondaryIndex, DeletingClosesGroups) {
    TablePointer table = new_table({1, 2, 13});
    ASSERT_EQ(mdbl_TableCreateIndex(table.get(), 1, compare_keys), MDBL_OK);
    ASSERT_EQ(mdbl_TableCreateSecondaryIndex(table.get(), 1, compare_tens), MDBL_OK);
    EXPECT_EQ(group_heads(table.get()), (std::vector<uint32_t>{1, 13}));
    EXPECT_EQ(delete_key(table.get(), kSize, 13), MDBL_OK);
    EXPECT_EQ(group_heads(table.get()), (std::vector<uint32_t>{1}));
    EXPECT_EQ(delete_key(table.get(), kSize, 1), MDBL_OK);
    EXPECT_EQ(group_heads(table.get()), std::vector<uint32_t>{});
}

}  // namespace
