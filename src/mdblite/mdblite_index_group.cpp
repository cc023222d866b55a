// The secondary index: the groups of an index.
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "hearth/mdblite.h"
#include "mdblite/mdblite_internal.h"

namespace hearth::mdblite {

namespace {

enum class Joins { kPrevious, kNext, kNone };

// Fills the group starts of an index with `count` records.
void find_groups(MDBL_Index *index, uint32_t count) {
    MDBL_SecondaryIndex *groups = index->secondary;
    groups->starts[0] = 0;
    groups->count = 1;
    if (count < 2) {
        return;
    }
    for (uint32_t i = 1; i < count; i++) {
        if (groups->compare(index->records[i - 1], index->records[i]) != 0) {
            groups->starts[groups->count++] = static_cast<uint16_t>(i);
        }
    }
    groups->starts[groups->count++] = static_cast<uint16_t>(count);
}

// The first entry that is not below the position; the number of entries if all are.
uint32_t getGroupOfInsertedElemet(const uint16_t *starts, uint32_t position, uint32_t count) {
    return static_cast<uint32_t>(std::lower_bound(starts, starts + count, position) - starts);
}

// The first entry above the position; the number of entries if there is none.
uint32_t groupToWhichTheRecBelongs(const uint16_t *starts, uint32_t position, uint32_t count) {
    return static_cast<uint32_t>(std::upper_bound(starts, starts + count, position) - starts);
}

// Which neighbour's group an inserted record is in; the previous one's if both are the same.
Joins getInfoAboutTheNewRec(const MDBL_Index *index, uint32_t position, uint32_t count) {
    uint8_t *const *entry = index->records + position;
    MDBL_Compare compare = index->secondary->compare;
    if (position > 0 && compare(entry[-1], entry[0]) == 0) {
        return Joins::kPrevious;
    }
    bool like_next = position + 1 < count && compare(entry[0], entry[1]) == 0;
    return like_next ? Joins::kNext : Joins::kNone;
}

}  // namespace

void updateSecondaryIndexForInsertedRec(MDBL_Index *index, uint32_t position, uint32_t count) {
    MDBL_SecondaryIndex *groups = index->secondary;
    if (groups == nullptr) {
        return;
    }
    // Below three records there was no list of groups to begin with.
    if (count < 3) {
        find_groups(index, count);
        return;
    }
    uint16_t *starts = groups->starts;
    uint32_t entry = getGroupOfInsertedElemet(starts, position, groups->count);
    switch (getInfoAboutTheNewRec(index, position, count)) {
        case Joins::kPrevious:
            break;
        case Joins::kNext:
            entry++;  // that group still begins at the position
            break;
        case Joins::kNone:
            memmove(starts + entry + 1, starts + entry, (groups->count - entry) * sizeof *starts);
            starts[entry++] = static_cast<uint16_t>(position);
            groups->count++;
            break;
    }
    for (; entry < groups->count; entry++) {
        starts[entry]++;
    }
}

void updateSecondaryIndexForDeletedRec(MDBL_Index *index, uint32_t position, uint32_t count) {
    MDBL_SecondaryIndex *groups = index->secondary;
    if (groups == nullptr) {
        return;
    }
    if (count < 2) {
        groups->starts[0] = 0;
        groups->count = 1;
        return;
    }
    uint16_t *starts = groups->starts;
    uint32_t group = groupToWhichTheRecBelongs(starts, position, groups->count);
    for (uint32_t i = group; i < groups->count; i++) {
        starts[i]--;
    }
    if (group > 0 && group < groups->count && starts[group] == starts[group - 1]) {
        memmove(starts + group, starts + group + 1, (groups->count - group - 1) * sizeof *starts);
        groups->count--;
        starts[groups->count] = 0;
    }
}

}  // namespace hearth::mdblite

using namespace hearth::mdblite;

int32_t mdbl_TableCreateSecondaryIndex(MDBL_Table *table, uint32_t number, MDBL_Compare compare) {
    if (table == nullptr || compare == nullptr || !is_index_number(number)) {
        return MDBL_ERR_GENERAL;
    }
    MDBL_Index *index = index_of(table, number);
    if (index == nullptr) {
        return MDBL_ERR_NO_INDEX;
    }
    if (index->secondary != nullptr) {
        return MDBL_ERR_INDEX_EXISTS;
    }
    auto groups = hearth::allocate_zeroed<MDBL_SecondaryIndex>(1);
    auto starts = hearth::allocate_zeroed<uint16_t>(table->max_records + 1u);
    if (!groups || !starts) {
        return MDBL_ERR_NO_MEMORY;
    }
    groups->starts = starts.release();
    groups->compare = compare;
    index->secondary = groups.release();
    find_groups(index, table->valid_count);
    return MDBL_OK;
}
