// Moving through record sets, and changing records and entries one at a time.
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "hearth/mdblite.h"
#include "mdblite/mdblite_internal.h"

namespace hearth::mdblite {

namespace {

// Hands out copies of entries, which the caller frees or has made room for.
int32_t copy_out(const MDBL_RecordSet *set, uint32_t position, uint32_t count, int32_t mode,
                 void *out) {
    uint32_t size = set->table->record_size;
    auto *to = static_cast<uint8_t *>(out);
    if (mode == MDBL_READ_COPY) {
        to = count == 0 ? nullptr : static_cast<uint8_t *>(calloc(count, size));
        if (to == nullptr && count != 0) {
            return MDBL_ERR_NO_MEMORY;
        }
        *static_cast<void **>(out) = to;
    }
    for (uint32_t i = 0; i < count; i++) {
        memcpy(to + i * size, set->records[position + i], size);
    }
    return MDBL_OK;
}

int32_t read_one(const MDBL_RecordSet *set, uint32_t position, int32_t mode, void *out) {
    if (mode == MDBL_READ_POINTER) {
        *static_cast<void **>(out) = set->records[position];
        return MDBL_OK;
    }
    return copy_out(set, position, 1, mode, out);
}

int32_t read_several(const MDBL_RecordSet *set, uint32_t position, uint32_t count, int32_t mode,
                     void *out) {
    if (mode == MDBL_READ_POINTER) {
        *static_cast<uint8_t ***>(out) = set->records + position;
        return MDBL_OK;
    }
    return copy_out(set, position, count, mode, out);
}

// After an entry went: a cursor behind the end goes to the first entry.
void fix_cursor(MDBL_RecordSet *set) {
    if (set->size == 0) {
        set->cursor = -1;
    } else if (set->cursor == set->size) {
        set->cursor = 0;
    }
}

int32_t deleteRSRecord(MDBL_RecordSet *set, uint32_t position) {
    MDBL_Table *table = set->table;
    uint8_t *record = set->records[position];
    if (deleteRecordInFileAndCache(table, record) != MDBL_OK) {
        return MDBL_ERR_GENERAL;
    }
    // The block's count is not lowered, as required, so the record's block stays.
    freeEmptyCacheBlocks_UpdateFreeIndx(table);
    if (updateIndexesAfterRecDeleted(table, 0, 0, record) != MDBL_OK) {
        return MDBL_ERR_GENERAL;
    }
    table->valid_count--;
    remove_entry(set, position);
    fix_cursor(set);
    return MDBL_OK;
}

int32_t removeRSRecord(MDBL_RecordSet *set, uint32_t position) {
    if (set->cursor < 0) {
        return MDBL_ERR_GENERAL;
    }
    remove_entry(set, position);
    fix_cursor(set);
    return MDBL_OK;
}

bool is_empty(const MDBL_RecordSet *set) {
    return set == nullptr || set->size == 0;
}

// MDBL_OK if there is an entry at the position.
int32_t check_position(const MDBL_RecordSet *set, uint32_t position) {
    if (is_empty(set)) {
        return MDBL_ERR_GENERAL;
    }
    return position < set->size ? MDBL_OK : MDBL_ERR_NOT_FOUND;
}

// The position of the cursor; behind the end if there is none.
uint32_t cursor_of(const MDBL_RecordSet *set) {
    return static_cast<uint32_t>(set->cursor);
}

bool make_room(MDBL_RecordSet *set) {
    if (set->size < set->capacity) {
        return true;
    }
    uint32_t capacity = set->capacity + MDBL_RS_GROW;
    void *records = realloc(set->records, capacity * sizeof(uint8_t *));
    if (records == nullptr) {
        return false;
    }
    set->records = static_cast<uint8_t **>(records);
    if (set->marks != nullptr) {
        void *marks = realloc(set->marks, capacity);
        if (marks == nullptr) {
            return false;
        }
        set->marks = static_cast<uint8_t *>(marks);
        memset(set->marks + set->capacity, 0, capacity - set->capacity);
    }
    set->capacity = capacity;
    return true;
}

// Where a record belongs in a set.
uint32_t position_for(const MDBL_RecordSet *set, const uint8_t *record) {
    if (set->compare == nullptr || set->size == 0) {
        return set->size;
    }
    auto *search = set->descending != 0 ? binarySearchDesc : binarySearchAsc;
    int32_t insertion = 0;
    int32_t hit = search(set->records, set->compare, 0, set->size - 1, record, &insertion);
    return static_cast<uint32_t>(hit < 0 ? insertion : hit);
}

void insertMarkInfoToAddedRecArr(MDBL_RecordSet *set, uint32_t position) {
    if (set->marks != nullptr) {
        memmove(set->marks + position + 1, set->marks + position, set->size - position);
        set->marks[position] = 0;
    }
}

void deleteIndexFromCharArr(uint8_t *array, uint32_t count, uint32_t position) {
    memmove(array + position, array + position + 1, count - position - 1);
    array[count - 1] = 0;
}

}  // namespace

void remove_entry(MDBL_RecordSet *set, uint32_t position) {
    deleteIndexFromPtrArr(set->records, set->size, position);
    if (set->marks != nullptr) {
        deleteIndexFromCharArr(set->marks, set->capacity, position);
    }
    set->size--;
}

int32_t updateRSRecord(MDBL_RecordSet *set, uint8_t *record, MDBL_Update update, void *argument,
                       uint32_t offset, uint32_t length) {
    int32_t result =
        updateRecordInFileAndCache(set->table, record, update, argument, offset, length);
    if (result == MDBL_OK) {
        result = updateIndexesForUpdatedRecord(set->table, record, 0, 0);
    }
    return result == MDBL_OK ? MDBL_OK : MDBL_ERR_GENERAL;
}

}  // namespace hearth::mdblite

using namespace hearth::mdblite;

int32_t mdbl_RSGetAt(const MDBL_RecordSet *set, uint32_t position, int32_t mode, void *out) {
    if (set == nullptr || out == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    if (set->size == 0) {
        return MDBL_ERR_RS_EMPTY;
    }
    return position < set->size ? read_one(set, position, mode, out) : MDBL_ERR_NOT_FOUND;
}

int32_t mdbl_RSNext(MDBL_RecordSet *set, int32_t mode, void *out) {
    if (set == nullptr || out == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    if (set->size == 0) {
        return MDBL_ERR_RS_EMPTY;
    }
    int32_t result = read_one(set, cursor_of(set), mode, out);
    if (result == MDBL_OK) {
        set->cursor = set->cursor + 1 == set->size ? 0 : set->cursor + 1;
    }
    return result;
}

int32_t mdbl_RSPrevious(MDBL_RecordSet *set, int32_t mode, void *out) {
    if (set == nullptr || out == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    if (set->size == 0) {
        return MDBL_ERR_RS_EMPTY;
    }
    set->cursor = set->cursor == 0 ? set->size - 1 : set->cursor - 1;
    return read_one(set, cursor_of(set), mode, out);
}

int32_t mdbl_RSNextN(MDBL_RecordSet *set, uint32_t count, int32_t mode, void *out,
                     uint32_t *out_count) {
    if (set == nullptr || out == nullptr || out_count == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    *out_count = 0;
    if (set->size == 0) {
        return MDBL_ERR_RS_EMPTY;
    }
    uint32_t given = std::min(count, set->size - cursor_of(set));
    int32_t result = read_several(set, cursor_of(set), given, mode, out);
    if (result != MDBL_OK) {
        return result;
    }
    *out_count = given;
    set->cursor = std::min(set->cursor + static_cast<int32_t>(given), set->size - 1);
    return given < count ? MDBL_ERR_RS_EMPTY : MDBL_OK;
}

int32_t mdbl_RSPreviousN(MDBL_RecordSet *set, uint32_t count, int32_t mode, void *out,
                         uint32_t *out_count) {
    if (set == nullptr || out == nullptr || out_count == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    *out_count = 0;
    if (set->size == 0 || set->cursor == 0) {
        return MDBL_ERR_RS_EMPTY;
    }
    uint32_t given = std::min(count, cursor_of(set));
    int32_t result = read_several(set, cursor_of(set) - given, given, mode, out);
    if (result != MDBL_OK) {
        return result;
    }
    *out_count = given;
    set->cursor -= static_cast<int32_t>(given);
    return given < count ? MDBL_ERR_RS_EMPTY : MDBL_OK;
}

void mdbl_RSRewind(MDBL_RecordSet *set) {
    if (!is_empty(set)) {
        set->cursor = 0;
    }
}

int32_t mdbl_RSTell(const MDBL_RecordSet *set) {
    return is_empty(set) ? -1 : set->cursor;
}

int32_t mdbl_RSSeek(MDBL_RecordSet *set, int16_t offset) {
    if (is_empty(set)) {
        return -1;
    }
    set->cursor = (set->cursor + set->size + offset % set->size) % set->size;
    return set->cursor;
}

uint32_t mdbl_RSSize(const MDBL_RecordSet *set) {
    return set == nullptr ? 0 : set->size;
}

int32_t mdbl_RSUpdateAt(MDBL_RecordSet *set, uint32_t position, MDBL_Update update,
                        void *argument) {
    if (update == nullptr || argument == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    int32_t result = check_position(set, position);
    if (result != MDBL_OK) {
        return result;
    }
    return updateRSRecord(set, set->records[position], update, argument, 0,
                          set->table->record_size - 1u);
}

int32_t mdbl_RSUpdate(MDBL_RecordSet *set, MDBL_Update update, void *argument) {
    return is_empty(set) ? MDBL_ERR_GENERAL
                         : mdbl_RSUpdateAt(set, cursor_of(set), update, argument);
}

int32_t mdbl_RSDeleteAt(MDBL_RecordSet *set, uint32_t position) {
    int32_t result = check_position(set, position);
    return result == MDBL_OK ? deleteRSRecord(set, position) : result;
}

int32_t mdbl_RSDelete(MDBL_RecordSet *set) {
    return is_empty(set) ? MDBL_ERR_GENERAL : deleteRSRecord(set, cursor_of(set));
}

int32_t mdbl_RSRemoveAt(MDBL_RecordSet *set, uint32_t position) {
    int32_t result = check_position(set, position);
    return result == MDBL_OK ? removeRSRecord(set, position) : result;
}

int32_t mdbl_RSRemove(MDBL_RecordSet *set) {
    return is_empty(set) ? MDBL_ERR_GENERAL : removeRSRecord(set, cursor_of(set));
}

int32_t mdbl_RSAdd(MDBL_RecordSet *set, void *record) {
    auto *added = static_cast<uint8_t *>(record);
    if (set == nullptr || record == nullptr || set->size == UINT16_MAX ||
        getCacheOffsetForRecord(set->table, added) < 0 || !make_room(set)) {
        return -1;
    }
    uint32_t position = position_for(set, added);
    insertMarkInfoToAddedRecArr(set, position);
    insertRecToRecordArr(set->records, set->size, position, added);
    bool before = set->size != 0 && cursor_of(set) < position;
    set->size++;
    if (!before) {
        set->cursor++;
    }
    return static_cast<int32_t>(position);
}

void mdbl_RSSort(MDBL_RecordSet *set, MDBL_Compare compare) {
    if (set == nullptr || compare == nullptr) {
        return;
    }
    heapsort(set->records, set->size, compare);
    mdbl_RSRewind(set);
    set->compare = compare;
    set->descending = 0;
    free(set->marks);
    set->marks = nullptr;
}

void mdbl_RSReverse(MDBL_RecordSet *set) {
    if (set == nullptr) {
        return;
    }
    std::reverse(set->records, set->records + set->size);
    mdbl_RSRewind(set);
    set->descending = set->descending == 0;
    free(set->marks);
    set->marks = nullptr;
}
