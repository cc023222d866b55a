// The selects: new record sets from a table or from another set.
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "hearth/mdblite.h"
#include "mdblite/mdblite_internal.h"

namespace hearth::mdblite {

namespace {

using RecordSet = Owned<MDBL_RecordSet, mdbl_RSDestroy>;

// An empty set with room for `room` records and some more.
RecordSet new_set(MDBL_Table *table, uint32_t room) {
    RecordSet set(static_cast<MDBL_RecordSet *>(calloc(1, sizeof(MDBL_RecordSet))));
    if (!set) {
        return set;
    }
    set->table = table;
    set->capacity = room + MDBL_RS_GROW;
    set->cursor = -1;
    set->last_marked = -1;
    set->records = static_cast<uint8_t **>(malloc(set->capacity * sizeof(uint8_t *)));
    if (set->records == nullptr) {
        set.reset(nullptr);
    }
    return set;
}

// Hands a filled set out, with the cursor on its first entry.
MDBL_RecordSet *finish(RecordSet &set) {
    set->cursor = set->size == 0 ? -1 : 0;
    return set.release();
}

// The index of a select, NULL for arguments that cannot be.
const MDBL_Index *index_for_select(const MDBL_Table *table, uint32_t number) {
    return table != nullptr && is_index_number(number) ? index_of(table, number) : nullptr;
}

}  // namespace

bool addnewRecToRs(MDBL_RecordSet *set, uint8_t *record) {
    if (set->size == UINT16_MAX) {
        return false;
    }
    if (set->size == set->capacity) {
        uint32_t capacity = set->size + 1u + MDBL_RS_GROW;
        void *records = realloc(set->records, capacity * sizeof(uint8_t *));
        if (records == nullptr) {
            return false;
        }
        set->records = static_cast<uint8_t **>(records);
        set->capacity = capacity;
    }
    set->records[set->size++] = record;
    return true;
}

}  // namespace hearth::mdblite

using namespace hearth::mdblite;

MDBL_RecordSet *mdbl_TableSelect(MDBL_Table *table, uint32_t number, MDBL_Compare compare,
                                 const void *key, int32_t descending) {
    const MDBL_Index *index = index_for_select(table, number);
    if (index == nullptr || compare == nullptr) {
        return nullptr;
    }
    Matches matches = findBoundaryIndexes(index->records, table->valid_count, compare, key);
    RecordSet set = new_set(table, matches.count);
    if (!set) {
        return nullptr;
    }
    uint8_t *const *first = index->records + matches.first;
    if (descending != 0) {
        std::reverse_copy(first, first + matches.count, set->records);
    } else {
        std::copy(first, first + matches.count, set->records);
    }
    set->size = static_cast<uint16_t>(matches.count);
    set->compare = index->compare;
    set->descending = descending != 0;
    return finish(set);
}

MDBL_RecordSet *mdbl_TableSelectWithoutIndex(MDBL_Table *table, MDBL_Filter filter,
                                             const void *argument) {
    if (table == nullptr || filter == nullptr) {
        return nullptr;
    }
    RecordSet set = new_set(table, 0);
    bool grown = static_cast<bool>(set);
    if (grown) {
        for_each_record(table, [&](uint8_t *record) {
            int verdict = filter(record, argument);
            if (verdict == 0) {
                grown = addnewRecToRs(set.get(), record);
            }
            return verdict >= 0 && grown;
        });
    }
    return grown ? finish(set) : nullptr;
}

MDBL_RecordSet *mdbl_TableSelectIn(MDBL_Table *table, uint32_t number, MDBL_Compare compare,
                                   const void *const *keys, uint32_t key_count) {
    const MDBL_Index *index = index_for_select(table, number);
    if (index == nullptr || compare == nullptr || keys == nullptr || key_count == 0) {
        return nullptr;
    }
    RecordSet set = new_set(table, 0);
    if (!set) {
        return nullptr;
    }
    for (uint32_t k = 0; k < key_count; k++) {
        Matches matches = findBoundaryIndexes(index->records, table->valid_count, compare, keys[k]);
        for (uint32_t i = 0; i < matches.count; i++) {
            if (!addnewRecToRs(set.get(), index->records[matches.first + i])) {
                return nullptr;
            }
        }
    }
    return finish(set);
}

MDBL_RecordSet *mdbl_TableSelectOnSecondaryIndex(MDBL_Table *table, uint32_t number) {
    const MDBL_Index *index = index_for_select(table, number);
    if (index == nullptr || index->secondary == nullptr) {
        return nullptr;
    }
    // After a truncation the groups are those of the records that are gone.
    uint32_t groups = index->secondary->count - 1u;
    RecordSet set = groups > table->valid_count ? RecordSet() : new_set(table, groups);
    if (!set) {
        return nullptr;
    }
    for (uint32_t group = 0; group < groups; group++) {
        set->records[set->size++] = index->records[index->secondary->starts[group]];
    }
    return finish(set);
}

MDBL_RecordSet *mdbl_RSSelect(const MDBL_RecordSet *from, MDBL_Filter filter, const void *argument,
                              uint32_t zero) {
    if (from == nullptr || filter == nullptr || zero != 0) {
        return nullptr;
    }
    RecordSet set = new_set(from->table, 0);
    if (!set) {
        return nullptr;
    }
    for (uint32_t i = 0; i < from->size; i++) {
        if (filter(from->records[i], argument) == 0 &&
            !addnewRecToRs(set.get(), from->records[i])) {
            return nullptr;
        }
    }
    set->compare = from->compare;
    set->descending = from->descending;
    return finish(set);
}

void mdbl_RSDestroy(MDBL_RecordSet *set) {
    if (set != nullptr) {
        free(set->records);
        free(set->marks);
        free(set);
    }
}
