// Inserting, deleting and updating records: the file first, then memory, then the indexes.
#include <string.h>

#include <algorithm>

#include "hearth/mdblite.h"
#include "mdblite/mdblite_internal.h"

namespace hearth::mdblite {

namespace {

// Matches of an update for which no memory is allocated.
constexpr uint32_t kFewMatches = 16;

bool is_valid_record(const MDBL_Table *table, const uint8_t *record) {
    return (record[table->record_size - 1] & kFlagValid) != 0;
}

// Writes a record into a free slot. When the slot before carries the end mark, one contiguous
// write takes the mark off there and sets it with the new record, so there is no moment in which
// the file has no end mark.
int32_t write_inserted(MDBL_Table *table, uint32_t slot, uint8_t *previous, const uint8_t *record) {
    size_t extra = previous != nullptr ? 1 : 0;
    uint8_t buffer[1 + MDBL_MAX_RECORD_SIZE];
    if (previous != nullptr) {
        buffer[0] = flag_of(table, previous) & kFlagValid;
    }
    memcpy(buffer + extra, record, table->record_size);
    auto offset = static_cast<uint32_t>(slot_offset(table, slot) - extra);
    size_t length = extra + table->record_size;
    size_t written = write_at(table->stream, offset, buffer, length);
    if (written == length) {
        return MDBL_OK;
    }
    if (previous != nullptr && written > 0) {
        // The mark is off and the record is not whole: put the mark back.
        write_at(table->stream, offset, &flag_of(table, previous), 1);
    }
    return MDBL_ERR_GENERAL;
}

// Changes a part of a record in the table file and then in memory.
int32_t write_updated(MDBL_Table *table, uint8_t *record, uint32_t file_offset, const uint8_t *data,
                      uint32_t offset, uint32_t length) {
    size_t written = write_at(table->stream, file_offset, data + offset, length);
    if (written != length) {
        // What went is put back, so that the file holds one record and not parts of two.
        if (written > 0) {
            write_at(table->stream, file_offset, record + offset, written);
        }
        return MDBL_ERR_GENERAL;
    }
    memcpy(record + offset, data + offset, length);
    return MDBL_OK;
}

// Deletes the record at a position of an index, with its index entries.
int32_t delete_match(MDBL_Table *table, uint32_t number, uint32_t position) {
    uint8_t *record = index_of(table, number)->records[position];
    int32_t slot = getCacheOffsetForRecord(table, record);
    int32_t result = deleteRecordInFileAndCache(table, record);
    if (result != MDBL_OK) {
        return result;
    }
    table->block_valid_counts[static_cast<uint32_t>(slot) / records_per_block(table)]--;
    result = updateIndexesAfterRecDeleted(table, position, number, record);
    if (result == MDBL_OK) {
        table->valid_count--;
    }
    return result;
}

}  // namespace

int32_t deleteRecordInFileAndCache(MDBL_Table *table, uint8_t *record) {
    int32_t slot = getCacheOffsetForRecord(table, record);
    if (slot < 0 || !is_valid_record(table, record) || table->valid_count == 0) {
        return MDBL_ERR_GENERAL;
    }
    auto number = static_cast<uint32_t>(slot);
    uint8_t flag = flag_of(table, record) & kFlagEnd;
    if (write_at(table->stream, slot_offset(table, number + 1) - 1, &flag, 1) != 1) {
        return MDBL_ERR_GENERAL;
    }
    flag_of(table, record) = flag;
    if (table->first_free_slot > number) {
        table->first_free_slot = number;
    }
    return MDBL_OK;
}

int32_t updateRecordInFileAndCache(MDBL_Table *table, uint8_t *record, MDBL_Update update,
                                   void *argument, uint32_t offset, uint32_t length) {
    int32_t slot = getCacheOffsetForRecord(table, record);
    uint32_t usable = table->record_size - 1u;
    if (slot < 0 || !is_valid_record(table, record) || offset > usable ||
        length > usable - offset || table->stream->file == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    alignas(8) uint8_t copy[MDBL_MAX_RECORD_SIZE];
    memcpy(copy, record, usable);
    update(copy, argument);
    uint32_t file_offset = slot_offset(table, static_cast<uint32_t>(slot)) + offset;
    if (!journal_is_on()) {
        return write_updated(table, record, file_offset, copy, offset, length);
    }
    int32_t result = journal_begin(table->stream, file_offset, copy + offset, length);
    if (result == MDBL_OK) {
        result = write_updated(table, record, file_offset, copy, offset, length);
    }
    if (result == MDBL_OK && !sync_stream(table->stream)) {
        result = MDBL_ERR_GENERAL;
    }
    return journal_finish(result);
}

}  // namespace hearth::mdblite

using namespace hearth::mdblite;

int32_t mdbl_TableInsert(MDBL_Table *table, const void *record, void **inserted) {
    if (table == nullptr || record == nullptr || table->fully_cached == 0) {
        return MDBL_ERR_GENERAL;
    }
    int32_t result = setFreeIndex(table);
    if (result != MDBL_OK) {
        return result;
    }
    uint32_t slot = table->first_free_slot;
    uint8_t *place = getCachePointerForCacheIndex(table, slot);
    uint8_t *previous = slot == 0 ? nullptr : getCachePointerForCacheIndex(table, slot - 1);
    if (previous != nullptr && (flag_of(table, previous) & kFlagEnd) == 0) {
        previous = nullptr;
    }
    // The slot may be the end slot itself, emptied: then the mark stays.
    bool at_end = previous != nullptr || (flag_of(table, place) & kFlagEnd) != 0;
    uint8_t copy[MDBL_MAX_RECORD_SIZE];
    memcpy(copy, record, table->record_size - 1u);
    copy[table->record_size - 1] = at_end ? kFlagValid | kFlagEnd : kFlagValid;
    result = write_inserted(table, slot, previous, copy);
    if (result != MDBL_OK) {
        return result;
    }
    if (previous != nullptr) {
        flag_of(table, previous) &= kFlagValid;
    }
    memcpy(place, copy, table->record_size);
    table->valid_count++;
    updateIndexesForInsertedRecord(table, place);
    table->block_valid_counts[slot / records_per_block(table)]++;
    if (inserted != nullptr) {
        *inserted = place;
    }
    return MDBL_OK;
}

int32_t mdbl_TableDelete(MDBL_Table *table, uint32_t number, MDBL_Compare compare,
                         const void *key) {
    if (table == nullptr || compare == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    if (!is_index_number(number)) {
        return MDBL_ERR_INDEX_NUMBER;
    }
    const MDBL_Index *index = index_of(table, number);
    if (index == nullptr) {
        return MDBL_ERR_NO_INDEX;
    }
    if (table->fully_cached == 0) {
        return MDBL_ERR_GENERAL;
    }
    if (table->valid_count == 0) {
        return MDBL_ERR_EMPTY;
    }
    Matches matches = findBoundaryIndexes(index->records, table->valid_count, compare, key);
    if (matches.count == 0) {
        return MDBL_ERR_NOT_FOUND;
    }
    // The array closes up, so the next match moves to the place of the first.
    for (uint32_t i = 0; i < matches.count; i++) {
        int32_t result = delete_match(table, number, matches.first);
        if (result != MDBL_OK) {
            return result;
        }
    }
    freeEmptyCacheBlocks_UpdateFreeIndx(table);
    return MDBL_OK;
}

int32_t mdbl_TableUpdate(MDBL_Table *table, uint32_t number, MDBL_Compare compare,
                         MDBL_Update update, const void *key, void *argument) {
    if (table == nullptr || compare == nullptr || update == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    if (!is_index_number(number)) {
        return MDBL_ERR_INDEX_NUMBER;
    }
    if (table->valid_count == 0) {
        return MDBL_ERR_EMPTY;
    }
    if (table->fully_cached == 0) {
        return MDBL_ERR_GENERAL;
    }
    const MDBL_Index *index = index_of(table, number);
    if (index == nullptr) {
        return MDBL_ERR_NO_INDEX;
    }
    Matches matches = findBoundaryIndexes(index->records, table->valid_count, compare, key);
    if (matches.count == 0) {
        return MDBL_ERR_NOT_FOUND;
    }
    // A copy, since an update may move entries inside the index.
    uint8_t *few[kFewMatches];
    hearth::HeapBlock<uint8_t *> many;
    if (matches.count > kFewMatches) {
        many.reset(static_cast<uint8_t **>(calloc(matches.count, sizeof(uint8_t *))));
        if (!many) {
            return MDBL_ERR_NO_MEMORY;
        }
    }
    uint8_t **records = many ? many.get() : few;
    std::copy_n(index->records + matches.first, matches.count, records);
    for (uint32_t i = 0; i < matches.count; i++) {
        if (updateRecordInFileAndCache(table, records[i], update, argument, 0,
                                       table->record_size - 1u) != MDBL_OK ||
            updateIndexesForUpdatedRecord(table, records[i], number, matches.first + i) !=
                MDBL_OK) {
            return MDBL_ERR_GENERAL;
        }
    }
    return MDBL_OK;
}

uint32_t mdbl_TableCount(MDBL_Table *table, uint32_t number, MDBL_Compare compare,
                         MDBL_Filter filter, const void *key, const void *filter_argument) {
    if (table == nullptr || compare == nullptr || !is_index_number(number) ||
        index_of(table, number) == nullptr) {
        return 0;
    }
    const MDBL_Index *index = index_of(table, number);
    Matches matches = findBoundaryIndexes(index->records, table->valid_count, compare, key);
    if (filter == nullptr) {
        return matches.count;
    }
    uint8_t *const *first = index->records + matches.first;
    return static_cast<uint32_t>(
        std::count_if(first, first + matches.count,
                      [=](const uint8_t *record) { return filter(record, filter_argument) == 0; }));
}

int32_t mdbl_TableEnumerate(MDBL_Table *table, uint32_t number, MDBL_Enumerate callback,
                            void *argument) {
    if (table == nullptr || callback == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    if (number == 0) {
        for_each_record(table, [=](uint8_t *record) { return callback(record, argument) != 0; });
        return MDBL_OK;
    }
    if (!is_index_number(number)) {
        return MDBL_ERR_INDEX_NUMBER;
    }
    const MDBL_Index *index = index_of(table, number);
    if (index == nullptr) {
        return MDBL_ERR_NO_INDEX;
    }
    for (uint32_t i = 0; i < table->valid_count; i++) {
        if (callback(index->records[i], argument) == 0) {
            break;
        }
    }
    return MDBL_OK;
}
