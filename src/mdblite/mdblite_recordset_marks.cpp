// Marks and flags of a record set's entries, and the batches over marked entries.
#include <stdlib.h>

#include <algorithm>

#include "hearth/mdblite.h"
#include "mdblite/mdblite_internal.h"

namespace hearth::mdblite {

namespace {

constexpr uint8_t kMark = 0x80;
constexpr uint32_t kHighestFlag = 6;

bool ensure_marks(MDBL_RecordSet *set) {
    if (set->marks == nullptr) {
        set->marks = static_cast<uint8_t *>(calloc(set->capacity, 1));
    }
    return set->marks != nullptr;
}

// Lets `change` change the mark bytes of a range; with them batches start from the front again.
template <typename Change>
void change_marks(MDBL_RecordSet *set, uint32_t first, uint32_t count, Change change) {
    set->last_marked = -1;
    for (uint32_t i = first; i < first + count; i++) {
        set->marks[i] = static_cast<uint8_t>(change(set->marks[i]));
    }
}

bool has_entries(const MDBL_RecordSet *set) {
    return set != nullptr && set->size != 0;
}

bool is_marked(const MDBL_RecordSet *set, uint32_t position) {
    return (set->marks[position] & kMark) != 0;
}

// The first entry that the batches have not seen. Positions wrap in 16 bits, as they are kept.
uint32_t resume_point(const MDBL_RecordSet *set) {
    return static_cast<uint16_t>(set->last_marked + 1);
}

// Where the flag's byte is, NULL if the flag cannot be had.
uint8_t *flag_byte(const MDBL_RecordSet *set, uint32_t position, uint32_t flag) {
    bool possible =
        set != nullptr && set->marks != nullptr && position < set->size && flag <= kHighestFlag;
    return possible ? set->marks + position : nullptr;
}

// After batches of removals: `before` of the removed entries stood before the cursor.
void move_cursor_back(MDBL_RecordSet *set, int32_t before) {
    set->cursor -= before;
    if (set->size == 0) {
        set->cursor = -1;
    } else if (set->cursor == set->size) {
        set->cursor = 0;
    }
}

int32_t delete_marked(MDBL_RecordSet *set, uint32_t position) {
    MDBL_Table *table = set->table;
    uint8_t *record = set->records[position];
    int32_t result = deleteRecordInFileAndCache(table, record);
    if (result == MDBL_OK) {
        result = updateIndexesAfterRecDeleted(table, 0, 0, record);
    }
    if (result == MDBL_OK) {
        table->valid_count--;
        remove_entry(set, position);
        set->last_marked = static_cast<int16_t>(position - 1);
    }
    return result;
}

}  // namespace

}  // namespace hearth::mdblite

using namespace hearth::mdblite;

void mdbl_RSMark(MDBL_RecordSet *set) {
    if (has_entries(set) && ensure_marks(set)) {
        change_marks(set, static_cast<uint32_t>(set->cursor), 1,
                     [](uint8_t mark) { return mark | kMark; });
    }
}

void mdbl_RSUnmark(MDBL_RecordSet *set) {
    if (has_entries(set) && set->marks != nullptr) {
        change_marks(set, static_cast<uint32_t>(set->cursor), 1,
                     [](uint8_t mark) { return mark & ~kMark; });
    }
}

void mdbl_RSMarkAll(MDBL_RecordSet *set) {
    if (set != nullptr && ensure_marks(set)) {
        change_marks(set, 0, set->size, [](uint8_t mark) { return mark | kMark; });
    }
}

void mdbl_RSUnmarkAll(MDBL_RecordSet *set) {
    if (set != nullptr && set->marks != nullptr) {
        change_marks(set, 0, set->size, [](uint8_t mark) { return mark & ~kMark; });
    }
}

void mdbl_RSInvertMarked(MDBL_RecordSet *set) {
    if (set != nullptr && ensure_marks(set)) {
        change_marks(set, 0, set->size, [](uint8_t mark) { return mark ^ kMark; });
    }
}

int32_t mdbl_RSIsMarked(const MDBL_RecordSet *set) {
    return has_entries(set) && set->marks != nullptr &&
           is_marked(set, static_cast<uint32_t>(set->cursor));
}

uint32_t mdbl_RSGetMarked(const MDBL_RecordSet *set, void ***records) {
    if (records == nullptr) {
        return 0;
    }
    *records = nullptr;
    if (!has_entries(set) || set->marks == nullptr) {
        return 0;
    }
    auto marked = static_cast<uint32_t>(std::count_if(
        set->marks, set->marks + set->size, [](uint8_t mark) { return (mark & kMark) != 0; }));
    void **found = marked == 0 ? nullptr : static_cast<void **>(calloc(marked, sizeof(void *)));
    if (found == nullptr) {
        return 0;
    }
    uint32_t next = 0;
    for (uint32_t i = 0; i < set->size; i++) {
        if (is_marked(set, i)) {
            found[next++] = set->records[i];
        }
    }
    *records = found;
    return marked;
}

uint32_t mdbl_RSRemoveMarked(MDBL_RecordSet *set) {
    if (!has_entries(set) || set->marks == nullptr) {
        return 0;
    }
    uint32_t kept = 0;
    int32_t before_cursor = 0;
    for (uint32_t i = 0; i < set->size; i++) {
        if (is_marked(set, i)) {
            before_cursor += static_cast<int32_t>(i) < set->cursor;
        } else {
            set->records[kept] = set->records[i];
            set->marks[kept++] = set->marks[i];
        }
    }
    uint32_t removed = set->size - kept;
    std::fill(set->marks + kept, set->marks + set->size, uint8_t{0});
    set->size = static_cast<uint16_t>(kept);
    set->last_marked = -1;
    move_cursor_back(set, before_cursor);
    return removed;
}

int32_t mdbl_RSGetRecordFlag(const MDBL_RecordSet *set, uint32_t position, uint32_t flag) {
    const uint8_t *byte = flag_byte(set, position, flag);
    return byte == nullptr ? 0 : *byte >> flag & 1;
}

void mdbl_RSSetRecordFlag(MDBL_RecordSet *set, uint32_t position, uint32_t flag) {
    uint8_t *byte = flag_byte(set, position, flag);
    if (byte != nullptr) {
        *byte = static_cast<uint8_t>(*byte | 1u << flag);
    }
}

void mdbl_RSResetRecordFlag(MDBL_RecordSet *set, uint32_t position, uint32_t flag) {
    uint8_t *byte = flag_byte(set, position, flag);
    if (byte != nullptr) {
        *byte = static_cast<uint8_t>(*byte & ~(1u << flag));
    }
}

int32_t mdbl_RSUpdateMarkedField(MDBL_RecordSet *set, MDBL_Update update, void *argument,
                                 uint32_t max_count, uint32_t *out_count, int32_t offset,
                                 uint32_t length) {
    if (set == nullptr || update == nullptr || argument == nullptr || offset < 0 ||
        offset >= MDBL_MAX_RECORD_SIZE) {
        return MDBL_ERR_GENERAL;
    }
    int32_t result = MDBL_OK;
    uint32_t updated = 0;
    if (set->marks != nullptr) {
        for (uint32_t i = resume_point(set); i < set->size && updated < max_count; i++) {
            if (!is_marked(set, i)) {
                continue;
            }
            result = updateRSRecord(set, set->records[i], update, argument,
                                    static_cast<uint32_t>(offset), length);
            if (result != MDBL_OK) {
                break;
            }
            set->last_marked = static_cast<int16_t>(i);
            updated++;
        }
    }
    if (out_count != nullptr) {
        *out_count = updated;
    }
    return result;
}

int32_t mdbl_RSUpdateMarked(MDBL_RecordSet *set, MDBL_Update update, void *argument,
                            uint32_t max_count, uint32_t *out_count) {
    return set == nullptr ? MDBL_ERR_GENERAL
                          : mdbl_RSUpdateMarkedField(set, update, argument, max_count, out_count, 0,
                                                     set->table->record_size - 1u);
}

int32_t mdbl_RSDeleteMarked(MDBL_RecordSet *set, uint32_t max_count, uint32_t *out_count) {
    if (set == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    int32_t result = MDBL_OK;
    uint32_t deleted = 0;
    if (set->marks != nullptr) {
        int32_t before_cursor = 0;
        for (uint32_t i = resume_point(set); i < set->size && deleted < max_count;) {
            if (!is_marked(set, i)) {
                i++;
                continue;
            }
            result = delete_marked(set, i);
            if (result != MDBL_OK) {
                break;
            }
            // The entries close up: the i-th is now the next one.
            before_cursor += static_cast<int32_t>(i + deleted) < set->cursor;
            deleted++;
        }
        freeEmptyCacheBlocks_UpdateFreeIndx(set->table);
        move_cursor_back(set, before_cursor);
    }
    if (out_count != nullptr) {
        *out_count = deleted;
    }
    return result;
}
