// Tables of the tests: opening, looking at the file's own bytes, and records with a key.
#pragma once

#include <gtest/gtest.h>
#include <string.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "hearth/mdblite.h"

namespace hearth::test {

using Bytes = std::vector<uint8_t>;

constexpr const char *kTablePath = "/data/userdata/table";
constexpr const char *kJournalPath = "/data/userdata/journal_file";

inline Bytes read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(file)), {});
}

inline void write_file(const std::string &path, const Bytes &bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

inline bool file_exists(const std::string &path) {
    return std::ifstream(path).good();
}

using TablePointer = std::unique_ptr<MDBL_Table, decltype(&mdbl_TableClose)>;
using SetPointer = std::unique_ptr<MDBL_RecordSet, decltype(&mdbl_RSDestroy)>;

// Opens a table and caches all of it; empty on failure, with the code in `result`.
inline TablePointer open_table(const char *path = kTablePath, int32_t *result = nullptr) {
    MDBL_Table *table = nullptr;
    int32_t code = mdbl_OpenTable(path, 0, 0, 0, &table);
    while (code == MDBL_MORE_TO_CACHE) {
        code = mdbl_TableCache(table);
    }
    if (result != nullptr) {
        *result = code;
    }
    TablePointer guard(table, mdbl_TableClose);
    return code == MDBL_OK ? std::move(guard) : TablePointer(nullptr, mdbl_TableClose);
}

inline SetPointer own(MDBL_RecordSet *set) {
    return SetPointer(set, mdbl_RSDestroy);
}

// A record of `size` bytes that begins with a 32-bit key and goes on with a text.
inline Bytes make_record(uint16_t size, uint32_t key, const std::string &text = "") {
    Bytes record(size);
    memcpy(record.data(), &key, 3);  // the smallest record has three bytes of its own
    if (size > 4) {
        memcpy(record.data(), &key, 4);
        memcpy(record.data() + 4, text.data(), std::min<size_t>(text.size(), size - 5u));
    }
    return record;
}

// The key in the first three bytes, which every record has.
inline uint32_t key_of(const void *record) {
    uint32_t key = 0;
    memcpy(&key, record, 3);
    return key;
}

inline int compare_keys(const void *a, const void *b) {
    uint32_t left = key_of(a);
    uint32_t right = key_of(b);
    return left < right ? -1 : left > right;
}

inline int compare_keys_down(const void *a, const void *b) {
    return compare_keys(b, a);
}

// Coarser: calls ten keys equal.
inline int compare_tens(const void *a, const void *b) {
    return static_cast<int>(key_of(a) / 10) - static_cast<int>(key_of(b) / 10);
}

// The whole table with an index over its keys as number 1.
inline TablePointer open_indexed() {
    TablePointer table = open_table();
    EXPECT_EQ(mdbl_TableCreateIndex(table.get(), 1, compare_keys), MDBL_OK);
    return table;
}

inline int32_t insert_key(MDBL_Table *table, uint16_t size, uint32_t key,
                          const std::string &text = "") {
    return mdbl_TableInsert(table, make_record(size, key, text).data(), nullptr);
}

inline void make_table(uint16_t size, uint16_t count, uint8_t preallocate,
                       const char *path = kTablePath) {
    ASSERT_EQ(mdbl_CreateTableEx(path, size, count, preallocate), MDBL_OK);
}

// The flag bytes of a table file, as far as it goes.
inline Bytes file_flags(const std::string &path = kTablePath) {
    Bytes bytes = read_file(path);
    Bytes flags;
    size_t size = bytes.size() < 10 ? 0 : bytes[4] | bytes[5] << 8;
    for (size_t at = 9 + size; size != 0 && at < bytes.size(); at += size) {
        flags.push_back(bytes[at]);
    }
    return flags;
}

// The keys of all records, in the order of an index or, for number 0, of the slots.
inline std::vector<uint32_t> keys_in_order(MDBL_Table *table, uint32_t number) {
    std::vector<uint32_t> keys;
    auto collect = [](void *record, void *argument) {
        static_cast<std::vector<uint32_t> *>(argument)->push_back(key_of(record));
        return 1;
    };
    EXPECT_EQ(mdbl_TableEnumerate(table, number, collect, &keys), MDBL_OK);
    return keys;
}

inline std::vector<uint32_t> keys_in_slots(MDBL_Table *table) {
    return keys_in_order(table, 0);
}

// The keys of a set's entries.
inline std::vector<uint32_t> keys_of(MDBL_RecordSet *set) {
    std::vector<uint32_t> keys;
    for (uint32_t i = 0; i < mdbl_RSSize(set); i++) {
        void *record = nullptr;
        EXPECT_EQ(mdbl_RSGetAt(set, i, MDBL_READ_POINTER, &record), MDBL_OK);
        keys.push_back(key_of(record));
    }
    return keys;
}

inline int32_t delete_key(MDBL_Table *table, uint16_t size, uint32_t key) {
    return mdbl_TableDelete(table, 1, compare_keys, make_record(size, key).data());
}

// The size of the records of the tables below.
constexpr uint16_t kSmallSize = 16;

using Contents = std::vector<std::string>;

// Key and text of every record, in the order of the slots.
inline Contents contents(MDBL_Table *table) {
    Contents all;
    mdbl_TableEnumerate(
        table, 0,
        [](void *record, void *argument) {
            const char *text = static_cast<const char *>(record) + 4;
            static_cast<Contents *>(argument)->push_back(std::to_string(key_of(record)) + text);
            return 1;
        },
        &all);
    return all;
}

inline Contents contents_of_file() {
    TablePointer table = open_table();
    EXPECT_NE(table, nullptr);
    return table == nullptr ? Contents{} : contents(table.get());
}

inline int32_t set_text(MDBL_Table *table, uint32_t key, const char *text) {
    return mdbl_TableUpdate(
        table, 1, compare_keys,
        [](void *record, void *argument) {
            strcpy(static_cast<char *>(record) + 4, static_cast<const char *>(argument));
            return 0;
        },
        make_record(kSmallSize, key).data(), const_cast<char *>(text));
}

// A table with the records 1 to 4, of which 2 was deleted.
inline void prepare_small(uint8_t preallocate) {
    mdbl_DropTable(kTablePath);
    make_table(kSmallSize, 6, preallocate);
    TablePointer table = open_indexed();
    for (uint32_t key = 1; key <= 4; key++) {
        ASSERT_EQ(insert_key(table.get(), kSmallSize, key, "old"), MDBL_OK);
    }
    ASSERT_EQ(delete_key(table.get(), kSmallSize, 2), MDBL_OK);
}

}  // namespace hearth::test
