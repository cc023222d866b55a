// A table file, a journal file and a short list of operations. Input: two bytes of the table's
// length, its bytes, 1288 bytes of the journal, and an operation a byte. The journal names the
// table, whatever the input has there, so that nothing else is written to. Runs in a device root.

#include <stdint.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>

#include "exact_copy.h"
#include "hearth/mdblite.h"

namespace {

using hearth::fuzz::require;

constexpr const char *kTable = "/data/userdata/fuzz_table";
constexpr const char *kJournal = "/data/userdata/journal_file";
constexpr size_t kJournalSize = 1288;
constexpr size_t kOperations = 64;

void write_file(const char *path, const uint8_t *data, size_t size) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
}

int compare(const void *a, const void *b) {
    return memcmp(a, b, 3);
}

int compare_first_byte(const void *a, const void *b) {
    return *static_cast<const uint8_t *>(a) - *static_cast<const uint8_t *>(b);
}

int change(void *record, void *argument) {
    static_cast<uint8_t *>(record)[0] ^= *static_cast<uint8_t *>(argument);
    return 0;
}

int take(const void *record, const void *argument) {
    return (*static_cast<const uint8_t *>(record) & *static_cast<const uint8_t *>(argument)) == 0;
}

int count(void *, void *argument) {
    ++*static_cast<uint32_t *>(argument);
    return 1;
}

using Table = std::unique_ptr<MDBL_Table, decltype(&mdbl_TableClose)>;
using Set = std::unique_ptr<MDBL_RecordSet, decltype(&mdbl_RSDestroy)>;

Table open_table() {
    MDBL_Table *table = nullptr;
    int32_t result = mdbl_OpenTable(kTable, 0, 0, 0, &table);
    while (result == MDBL_MORE_TO_CACHE) {
        result = mdbl_TableCache(table);
    }
    Table guard(table, mdbl_TableClose);
    return result == MDBL_OK ? std::move(guard) : Table(nullptr, mdbl_TableClose);
}

void add_indexes(MDBL_Table *table) {
    const uint16_t offsets[] = {0, 2};
    const uint32_t types[] = {MDBL_FIELD_WIDE, MDBL_FIELD_TEXT};
    const uint8_t descending[] = {1, 0};
    require(mdbl_TableCreateIndex(table, 1, compare) == MDBL_OK);
    require(mdbl_TableCreateIndexEx(table, 2, 2, offsets, types, descending) == MDBL_OK);
    require(mdbl_TableCreateSecondaryIndex(table, 1, compare_first_byte) == MDBL_OK);
}

uint32_t records_in(MDBL_Table *table, uint32_t number) {
    uint32_t records = 0;
    require(mdbl_TableEnumerate(table, number, count, &records) == MDBL_OK);
    return records;
}

void change_through_set(MDBL_Table *table, uint8_t operation) {
    uint8_t mask = 0x0F;
    Set set(mdbl_TableSelectWithoutIndex(table, take, &mask), mdbl_RSDestroy);
    require(set != nullptr);
    mdbl_RSSeek(set.get(), operation);
    switch (operation % 5) {
        case 0:
            mdbl_RSDelete(set.get());
            break;
        case 1:
            mdbl_RSUpdate(set.get(), change, &operation);
            break;
        case 2:
            mdbl_RSInvertMarked(set.get());
            mdbl_RSUnmark(set.get());
            mdbl_RSDeleteMarked(set.get(), operation, nullptr);
            break;
        case 3:
            mdbl_RSMark(set.get());
            mdbl_RSUpdateMarkedField(set.get(), change, &operation, 9, nullptr, operation % 7, 2);
            break;
        default:
            mdbl_RSSort(set.get(), compare_first_byte);
            mdbl_RSMarkAll(set.get());
            mdbl_RSRemoveMarked(set.get());
            break;
    }
}

// A table whose file grows is truncated in the file alone, and has to be opened again.
void truncate(Table &table) {
    if (mdbl_TableTruncate(table.get()) != MDBL_OK) {
        table = open_table();
        require(table != nullptr && mdbl_TableSize(table.get()) == 0);
        add_indexes(table.get());
    }
}

void operate(Table &owner, uint8_t operation) {
    MDBL_Table *table = owner.get();
    uint8_t record[MDBL_MAX_RECORD_SIZE];
    memset(record, operation, sizeof record);
    switch (operation >> 5) {
        case 0:
        case 1:
        case 2:
            mdbl_TableInsert(table, record, nullptr);
            break;
        case 3:
            mdbl_TableDelete(table, 1, compare_first_byte, record);
            break;
        case 4:
            mdbl_TableUpdate(table, 1, compare_first_byte, change, record, &operation);
            break;
        case 5:
            change_through_set(table, operation);
            break;
        case 6:
            Set(mdbl_TableSelectOnSecondaryIndex(table, 1), mdbl_RSDestroy);
            mdbl_TableGetFirstEmptySlotIndex(table);
            break;
        default:
            if (operation % 2 == 0) {
                mdbl_TableCommit(table);
            } else {
                truncate(owner);
            }
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    size_t length = size < 2 ? 0 : std::min<size_t>(data[0] | size_t{data[1]} << 8, size - 2);
    const uint8_t *table_bytes = data + std::min<size_t>(size, 2);
    const uint8_t *rest = table_bytes + length;
    auto rest_size = static_cast<size_t>(data + size - rest);
    write_file(kTable, table_bytes, length);
    uint8_t journal[kJournalSize] = {};
    size_t journal_size = std::min(rest_size, kJournalSize);
    memcpy(journal, rest, journal_size);
    strcpy(reinterpret_cast<char *>(journal) + 8, kTable);
    mdbl_JournalClose();
    write_file(kJournal, journal, journal_size);
    mdbl_JournalRestore();

    Table table = open_table();
    if (table == nullptr) {
        return 0;
    }
    add_indexes(table.get());
    mdbl_JournalEnable();
    const uint8_t *next = rest + journal_size;
    const uint8_t *end = next + std::min<size_t>(kOperations, rest_size - journal_size);
    for (; next < end; next++) {
        operate(table, *next);
    }
    mdbl_JournalDisable();
    uint32_t records = mdbl_TableSize(table.get());
    for (uint32_t number = 0; number <= 2; number++) {
        require(records_in(table.get(), number) == records);
    }
    table = open_table();
    require(table != nullptr && mdbl_TableSize(table.get()) == records);
    return 0;
}
