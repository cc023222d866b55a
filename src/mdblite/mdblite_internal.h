// The table store's records and the calls between its files. A table belongs to one thread.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "hearth/mdblite.h"
#include "mdblite/mdb_stream.h"

// The key fields of an index; all arrays are owned.
struct MDBL_IndexFields {
    uint16_t *offsets;
    uint32_t *types;
    uint8_t *descending;
    uint16_t count;
};

// Where the groups of an index begin, and at last the record count: groups + 1 entries. For fewer
// than two records it is the one entry 0.
struct MDBL_SecondaryIndex {
    uint16_t *starts;
    MDBL_Compare compare;
    uint16_t count;
};

// A sorted array of record pointers, as long as the table's valid count.
struct MDBL_Index {
    MDBL_IndexFields *fields;  // NULL for an index with a comparison function
    MDBL_Compare compare;      // NULL for an index over fields
    MDBL_SecondaryIndex *secondary;
    uint8_t *records[1];  // allocated with room for the maximum record count
};

struct MDBL_Table {
    PBase_IFileStream *stream;
    uint16_t record_size;
    uint16_t max_records;
    uint8_t preallocated;
    uint8_t fully_cached;
    MDBL_Index *indexes[MDBL_MAX_INDEXES];
    // No free slot of a block in memory lies below this one.
    uint32_t first_free_slot;
    uint16_t valid_count;
    uint16_t block_count;
    // Valid records in each block; deleting through a record set does not lower them.
    uint32_t *block_valid_counts;
    uint8_t *blocks[1];  // allocated with room for all blocks; NULL where none of a block is valid
};

struct MDBL_RecordSet {
    MDBL_Table *table;
    uint8_t **records;
    uint8_t *marks;  // NULL until the first mark; one byte per entry of the capacity
    MDBL_Compare compare;
    uint32_t capacity;
    int32_t cursor;
    int32_t descending;
    uint16_t size;
    int16_t last_marked;  // where the batch calls stopped, -1 for the start
};

namespace hearth::mdblite {

constexpr uint8_t kFlagValid = 1;
constexpr uint8_t kFlagEnd = 2;
constexpr uint32_t kNoFreeSlot = 0xFFFFFFFF;

// The head of a table file.
struct TableHeader {
    uint16_t magic;
    uint8_t version;
    uint8_t reserved0;
    uint16_t record_size;
    uint16_t max_records;
    uint8_t preallocated;
    uint8_t reserved1;
};
constexpr uint32_t kHeaderSize = sizeof(TableHeader);

inline uint8_t &flag_of(const MDBL_Table *table, uint8_t *record) {
    return record[table->record_size - 1];
}

inline uint32_t records_per_block(const MDBL_Table *table) {
    return MDBL_BLOCK_SIZE / table->record_size;
}

inline uint32_t slot_offset(const MDBL_Table *table, uint32_t slot) {
    return kHeaderSize + slot * table->record_size;
}

// The index of a number from 1 to 5, NULL if it is absent.
inline MDBL_Index *index_of(const MDBL_Table *table, uint32_t number) {
    return table->indexes[number - 1];
}

inline bool is_index_number(uint32_t number) {
    return number >= 1 && number <= MDBL_MAX_INDEXES;
}

// mdblite_table.cpp

// The store's code for a result of the stream layer.
int32_t Mdbl_Error_Mapping(int32_t stream_result);

// mdblite_cache.cpp

// Reads the next block from where the stream stands.
int32_t cacheNextBlock(MDBL_Table *table);
// Where a slot lies in memory, NULL if its block is not there.
uint8_t *getCachePointerForCacheIndex(const MDBL_Table *table, uint32_t slot);
// The slot of a record pointer, -1 if no slot in memory begins there.
int32_t getCacheOffsetForRecord(const MDBL_Table *table, const void *record);
// Finds the slot for an insert and stores it as the first free slot, with its block in memory.
int32_t setFreeIndex(MDBL_Table *table);
// Frees blocks without a valid record, apart from the one that holds the end mark: a mark that
// memory forgot would be lost in the file with the next insert.
void freeEmptyCacheBlocks(MDBL_Table *table);
// The same, and moves the first free slot out of what was freed.
void freeEmptyCacheBlocks_UpdateFreeIndx(MDBL_Table *table);
// Walks the valid records in the order of their slots, up to the end mark, until `visit` returns
// false.
template <typename Visit>
void for_each_record(const MDBL_Table *table, Visit visit) {
    uint32_t per_block = records_per_block(table);
    for (uint32_t b = 0; b < table->block_count; b++) {
        uint8_t *record = table->blocks[b];
        for (uint32_t i = 0; record != nullptr && i < per_block; i++) {
            uint8_t flag = flag_of(table, record);
            if ((flag & kFlagValid) != 0 && !visit(record)) {
                return;
            }
            if ((flag & kFlagEnd) != 0) {
                return;
            }
            // The callback may have emptied the block.
            record = table->blocks[b] == nullptr ? nullptr : record + table->record_size;
        }
    }
}

// mdblite_record.cpp

// Marks a record's slot as free, in the file and in memory. The caller lowers the counts.
int32_t deleteRecordInFileAndCache(MDBL_Table *table, uint8_t *record);
// Lets `update` change a copy of the record and writes `length` bytes at `offset` of it back.
int32_t updateRecordInFileAndCache(MDBL_Table *table, uint8_t *record, MDBL_Update update,
                                   void *argument, uint32_t offset, uint32_t length);

// mdblite_index_search.cpp

// Any position from low to high whose element equals the key, or -1 with the position where it
// would stand in `insertion`, which may be NULL. The order is ascending, or descending.
int32_t binarySearchAsc(uint8_t *const *array, MDBL_Compare compare, int32_t low, int32_t high,
                        const void *key, int32_t *insertion);
int32_t binarySearchDesc(uint8_t *const *array, MDBL_Compare compare, int32_t low, int32_t high,
                         const void *key, int32_t *insertion);
// The same over the fields of an index. `record_size` bounds the texts in them.
int32_t binarySearchExAsc(uint8_t *const *array, const MDBL_IndexFields *fields,
                          uint32_t record_size, int32_t low, int32_t high, const uint8_t *key,
                          int32_t *insertion);
// The elements of an ascending array that equal a key.
struct Matches {
    uint32_t first;
    uint32_t count;  // 0 for none
};
Matches findBoundaryIndexes(uint8_t *const *array, uint32_t count, MDBL_Compare compare,
                            const void *key);
// Compares two records by the fields of an index.
int comparisonFn(const MDBL_IndexFields *fields, uint32_t record_size, const uint8_t *a,
                 const uint8_t *b);
// Sort an array of record pointers, ascending; not stable.
void heapsort(uint8_t **array, uint32_t count, MDBL_Compare compare);
void heapsortEx(uint8_t **array, uint32_t count, const MDBL_IndexFields *fields,
                uint32_t record_size);
// Insert into and delete from an array of `count` pointers.
void insertRecToRecordArr(uint8_t **array, uint32_t count, uint32_t position, uint8_t *record);
void deleteIndexFromPtrArr(uint8_t **array, uint32_t count, uint32_t position);

// mdblite_index.cpp

// Enters a record that the valid count already counts into all indexes.
void updateIndexesForInsertedRecord(MDBL_Table *table, uint8_t *record);
// Removes a record that the valid count still counts from all indexes. Its position in the index
// `number` is known; number 0 for none.
int32_t updateIndexesAfterRecDeleted(MDBL_Table *table, uint32_t position, uint32_t number,
                                     const uint8_t *record);
// Puts a changed record where it belongs in all indexes. In the index `number` it most likely
// stands at `position`; number 0 for no such hint.
int32_t updateIndexesForUpdatedRecord(MDBL_Table *table, uint8_t *record, uint32_t number,
                                      uint32_t position);
void destroyIndex(MDBL_Index *index);

// mdblite_index_group.cpp

// Keep the groups in step. `count` is the number of records after the change, `position` that of
// the record in the index; an inserted record is already in its place.
void updateSecondaryIndexForInsertedRec(MDBL_Index *index, uint32_t position, uint32_t count);
void updateSecondaryIndexForDeletedRec(MDBL_Index *index, uint32_t position, uint32_t count);

// mdblite_recordset.cpp

// Adds a record behind the entries of a set without marks.
bool addnewRecToRs(MDBL_RecordSet *set, uint8_t *record);
// Takes an entry out of the arrays of a set and lowers its size.
void remove_entry(MDBL_RecordSet *set, uint32_t position);
// Updates a record and puts it where it belongs in the indexes.
int32_t updateRSRecord(MDBL_RecordSet *set, uint8_t *record, MDBL_Update update, void *argument,
                       uint32_t offset, uint32_t length);

// mdblite_journal.cpp

bool journal_is_on();
// Lays down what is about to be written to a table file. On success the caller writes it, syncs
// the table and calls journal_finish.
int32_t journal_begin(const PBase_IFileStream *stream, uint32_t offset, const void *data,
                      uint32_t length);
// Cancels the entry if the journal is open, whatever became of the update. The result, if there
// is a journal, takes the place of the update's own; that precedence is required.
int32_t journal_finish(int32_t result);

}  // namespace hearth::mdblite
