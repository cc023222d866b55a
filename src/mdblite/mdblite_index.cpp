// The sorted indexes of a table.
#include "hearth/mdblite.h"

#include <stdlib.h>
#include <string.h>

#include "mdblite/mdblite_internal.h"

namespace hearth::mdblite {

namespace {

int compare_records(const MDBL_Table *table, const MDBL_Index *index, const uint8_t *a,
                    const uint8_t *b) {
    return index->fields != nullptr ? comparisonFn(index->fields, table->record_size, a, b)
                                    : index->compare(a, b);
}

// Where a record stands, or would stand, among an index's first `count` entries. The result tells
// which.
bool search_index(const MDBL_Table *table, const MDBL_Index *index, const uint8_t *record,
                  uint32_t count, int32_t *position) {
    auto high = static_cast<int32_t>(count) - 1;
    int32_t hit = index->fields != nullptr
                      ? binarySearchExAsc(index->records, index->fields, table->record_size, 0,
                                          high, record, position)
                      : binarySearchAsc(index->records, index->compare, 0, high, record, position);
    if (hit >= 0) {
        *position = hit;
    }
    return hit >= 0;
}

// The entry of a record, -1 for none. Every entry may be looked at, since a change may have left
// the record out of order, but the search begins where it most likely stands.
int32_t findIndexLocation(const MDBL_Table *table, const MDBL_Index *index, const uint8_t *record) {
    auto count = static_cast<int32_t>(table->valid_count);
    int32_t start = 0;
    search_index(table, index, record, table->valid_count, &start);
    for (int32_t low = start - 1, high = start; low >= 0 || high < count; low--, high++) {
        if (high < count && index->records[high] == record) {
            return high;
        }
        if (low >= 0 && index->records[low] == record) {
            return low;
        }
    }
    return -1;
}

// Enters a record among `count` entries.
void insert_entry(const MDBL_Table *table, MDBL_Index *index, uint8_t *record, uint32_t count) {
    int32_t found = 0;
    search_index(table, index, record, count, &found);
    auto position = static_cast<uint32_t>(found);
    insertRecToRecordArr(index->records, count, position, record);
    updateSecondaryIndexForInsertedRec(index, position, count + 1);
}

// Removes one of `count` entries.
void delete_entry(MDBL_Index *index, uint32_t position, uint32_t count) {
    deleteIndexFromPtrArr(index->records, count, position);
    updateSecondaryIndexForDeletedRec(index, position, count - 1);
}

bool isTableIndexArrSorted(const MDBL_Table *table, const MDBL_Index *index, uint32_t position) {
    uint8_t *const *entry = index->records + position;
    if (position > 0 && compare_records(table, index, entry[-1], entry[0]) > 0) {
        return false;
    }
    return position + 1u >= table->valid_count ||
           compare_records(table, index, entry[1], entry[0]) >= 0;
}

int32_t update_index(const MDBL_Table *table, MDBL_Index *index, uint8_t *record, uint32_t likely) {
    bool is_there = likely < table->valid_count && index->records[likely] == record;
    int32_t found =
        is_there ? static_cast<int32_t>(likely) : findIndexLocation(table, index, record);
    if (found < 0) {
        return MDBL_ERR_GENERAL;
    }
    auto position = static_cast<uint32_t>(found);
    uint32_t count = table->valid_count;
    if (!isTableIndexArrSorted(table, index, position)) {
        delete_entry(index, position, count);
        insert_entry(table, index, record, count - 1);
    } else {
        // In its place, but perhaps in another group.
        updateSecondaryIndexForDeletedRec(index, position, count - 1);
        updateSecondaryIndexForInsertedRec(index, position, count);
    }
    return MDBL_OK;
}

// An index with all valid records in the order of their slots; NULL when memory is out or the
// records in memory are not all.
MDBL_Index *indexAllValidRecords(const MDBL_Table *table) {
    size_t size = offsetof(MDBL_Index, records) + table->max_records * sizeof(uint8_t *);
    auto *index = static_cast<MDBL_Index *>(calloc(1, size));
    if (index == nullptr) {
        return nullptr;
    }
    uint32_t count = 0;
    for_each_record(table, [&](uint8_t *record) {
        if (count == table->valid_count) {
            count++;
            return false;
        }
        index->records[count++] = record;
        return true;
    });
    if (count != table->valid_count || table->fully_cached == 0) {
        free(index);
        return nullptr;
    }
    return index;
}

template <typename T>
bool copy_array(const T *from, uint16_t count, T **to) {
    // One element at least, so that NULL always means that memory is out.
    *to = static_cast<T *>(calloc(count + 1u, sizeof(T)));
    if (*to != nullptr && count != 0) {
        memcpy(*to, from, count * sizeof(T));
    }
    return *to != nullptr;
}

void destroy_fields(MDBL_IndexFields *fields) {
    if (fields != nullptr) {
        free(fields->offsets);
        free(fields->types);
        free(fields->descending);
        free(fields);
    }
}

MDBL_IndexFields *copy_fields(uint16_t count, const uint16_t *offsets, const uint32_t *types,
                              const uint8_t *descending) {
    auto *fields = static_cast<MDBL_IndexFields *>(calloc(1, sizeof(MDBL_IndexFields)));
    if (fields == nullptr) {
        return nullptr;
    }
    fields->count = count;
    if (!copy_array(offsets, count, &fields->offsets) ||
        !copy_array(types, count, &fields->types) ||
        !copy_array(descending, count, &fields->descending)) {
        destroy_fields(fields);
        return nullptr;
    }
    return fields;
}

// Whether a field of a type lies inside the record.
bool field_fits(const MDBL_Table *table, uint16_t offset, uint32_t type) {
    uint32_t width = type == MDBL_FIELD_INT32 ? 4 : 1;
    return offset + width <= table->record_size;
}

int32_t check_index_slot(const MDBL_Table *table, uint32_t number) {
    if (!is_index_number(number)) {
        return MDBL_ERR_INDEX_NUMBER;
    }
    return index_of(table, number) != nullptr ? MDBL_ERR_INDEX_EXISTS : MDBL_OK;
}

}  // namespace

void updateIndexesForInsertedRecord(MDBL_Table *table, uint8_t *record) {
    for (MDBL_Index *index : table->indexes) {
        if (index != nullptr) {
            insert_entry(table, index, record, table->valid_count - 1u);
        }
    }
}

int32_t updateIndexesAfterRecDeleted(MDBL_Table *table, uint32_t position, uint32_t number,
                                     const uint8_t *record) {
    for (uint32_t n = 1; n <= MDBL_MAX_INDEXES; n++) {
        MDBL_Index *index = index_of(table, n);
        if (index == nullptr) {
            continue;
        }
        int32_t found =
            n == number ? static_cast<int32_t>(position) : findIndexLocation(table, index, record);
        if (found < 0) {
            return MDBL_ERR_GENERAL;
        }
        delete_entry(index, static_cast<uint32_t>(found), table->valid_count);
    }
    return MDBL_OK;
}

int32_t updateIndexesForUpdatedRecord(MDBL_Table *table, uint8_t *record, uint32_t number,
                                      uint32_t position) {
    for (uint32_t n = 1; n <= MDBL_MAX_INDEXES; n++) {
        MDBL_Index *index = index_of(table, n);
        uint32_t likely = n == number ? position : table->valid_count;
        if (index != nullptr && update_index(table, index, record, likely) != MDBL_OK) {
            return MDBL_ERR_GENERAL;
        }
    }
    return MDBL_OK;
}

void destroyIndex(MDBL_Index *index) {
    if (index == nullptr) {
        return;
    }
    destroy_fields(index->fields);
    if (index->secondary != nullptr) {
        free(index->secondary->starts);
        free(index->secondary);
    }
    free(index);
}

}  // namespace hearth::mdblite

using namespace hearth::mdblite;

int32_t mdbl_TableCreateIndex(MDBL_Table *table, uint32_t number, MDBL_Compare compare) {
    if (table == nullptr || compare == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    int32_t result = check_index_slot(table, number);
    if (result != MDBL_OK) {
        return result;
    }
    MDBL_Index *index = indexAllValidRecords(table);
    if (index == nullptr) {
        return MDBL_ERR_NO_MEMORY;
    }
    index->compare = compare;
    heapsort(index->records, table->valid_count, compare);
    table->indexes[number - 1] = index;
    return MDBL_OK;
}

int32_t mdbl_TableCreateIndexEx(MDBL_Table *table, uint32_t number, uint16_t count,
                                const uint16_t *offsets, const uint32_t *types,
                                const uint8_t *descending) {
    bool complete = offsets != nullptr && types != nullptr && descending != nullptr;
    if (table == nullptr || (count != 0 && !complete)) {
        return MDBL_ERR_GENERAL;
    }
    int32_t result = check_index_slot(table, number);
    if (result != MDBL_OK) {
        return result;
    }
    for (uint32_t i = 0; i < count; i++) {
        if (!field_fits(table, offsets[i], types[i])) {
            return MDBL_ERR_PARAM;
        }
    }
    MDBL_Index *index = indexAllValidRecords(table);
    if (index == nullptr) {
        return MDBL_ERR_NO_MEMORY;
    }
    index->fields = copy_fields(count, offsets, types, descending);
    if (index->fields == nullptr) {
        destroyIndex(index);
        return MDBL_ERR_NO_MEMORY;
    }
    if (count != 0) {
        heapsortEx(index->records, table->valid_count, index->fields, table->record_size);
    }
    table->indexes[number - 1] = index;
    return MDBL_OK;
}

void mdbl_TableDestroyIndex(MDBL_Table *table, uint32_t number) {
    if (table != nullptr && is_index_number(number)) {
        destroyIndex(index_of(table, number));
        table->indexes[number - 1] = nullptr;
    }
}
