// The blocks of memory that hold a table's records.
#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "hearth/mdblite.h"
#include "mdblite/mdblite_internal.h"

namespace hearth::mdblite {

namespace {

// Puts a zeroed block at a position: a NULL one, or the end.
bool add_block(MDBL_Table *table, uint32_t position) {
    auto block = allocate_zeroed<uint8_t>(MDBL_BLOCK_SIZE);
    if (!block) {
        return false;
    }
    if (position == table->block_count) {
        void *counts = realloc(table->block_valid_counts, (position + 1) * sizeof(uint32_t));
        if (counts == nullptr) {
            return false;
        }
        table->block_valid_counts = static_cast<uint32_t *>(counts);
        table->block_count++;
    }
    table->block_valid_counts[position] = 0;
    table->blocks[position] = block.release();
    return true;
}

void drop_last_block(MDBL_Table *table) {
    table->block_count--;
    free(table->blocks[table->block_count]);
    table->blocks[table->block_count] = nullptr;
}

// Reads what belongs into a block from where the stream stands. `left` receives how many bytes of
// the file come after it.
int32_t read_block(MDBL_Table *table, uint8_t *block, uint32_t *length, uint32_t *left) {
    PBase_FileInfo info{};
    int32_t result = PBase_IFileStream_getFileInfo(table->stream, &info);
    if (result != PBASE_OK) {
        return Mdbl_Error_Mapping(result);
    }
    auto position = static_cast<uint32_t>(PBase_IFileStream_tell(table->stream));
    if (position < kHeaderSize || position > info.size) {
        return MDBL_ERR_GENERAL;
    }
    uint32_t remaining = info.size - position;
    *length =
        remaining >= MDBL_BLOCK_SIZE ? records_per_block(table) * table->record_size : remaining;
    *left = remaining - *length;
    uint32_t count = 0;
    if (PBase_IFileStream_read(table->stream, block, *length, &count) == PBASE_OK &&
        count == *length) {
        return MDBL_OK;
    }
    // The next try starts at the same slot.
    PBase_IFileStream_skip(table->stream, static_cast<int32_t>(position), SEEK_SET, nullptr);
    return MDBL_ERR_GENERAL;
}

// Counts the valid records of a block's first `slots`, up to the end mark, and returns how many
// slots that are.
uint32_t updateValidRec(MDBL_Table *table, uint8_t *block, uint32_t slots) {
    uint32_t i = 0;
    while (i < slots && table->fully_cached == 0) {
        uint8_t flag = flag_of(table, block + i * table->record_size);
        table->valid_count = static_cast<uint16_t>(table->valid_count + (flag & kFlagValid));
        table->fully_cached = (flag & kFlagEnd) != 0;
        i++;
    }
    return i;
}

bool holds_end_mark(const MDBL_Table *table, uint8_t *block) {
    uint32_t slots = records_per_block(table);
    for (uint32_t i = 0; i < slots; i++) {
        if ((flag_of(table, block + i * table->record_size) & kFlagEnd) != 0) {
            return true;
        }
    }
    return false;
}

// The block that is never freed: the one with the end mark, or the last one as long as the end is
// not in memory. The mark can only be behind all other records, so the search runs backwards.
uint32_t block_to_keep(const MDBL_Table *table) {
    uint32_t last = 0;
    for (uint32_t b = table->block_count; b-- > 0;) {
        if (table->blocks[b] == nullptr) {
            continue;
        }
        if (holds_end_mark(table, table->blocks[b])) {
            return b;
        }
        last = std::max(last, b);
    }
    return last;
}

bool is_freeable(const MDBL_Table *table, uint32_t b) {
    return table->blocks[b] != nullptr && table->block_valid_counts[b] == 0;
}

// The first slot without a valid record at or after the first free slot, in the blocks that are
// there; behind the last one if there is none.
uint32_t find_free_slot(const MDBL_Table *table) {
    uint32_t per_block = records_per_block(table);
    uint32_t slot = table->first_free_slot == kNoFreeSlot ? 0 : table->first_free_slot;
    for (uint32_t b = slot / per_block; b < table->block_count; b++) {
        uint8_t *block = table->blocks[b];
        for (uint32_t i = slot % per_block; block != nullptr && i < per_block; i++) {
            uint8_t flag = flag_of(table, block + i * table->record_size);
            if ((flag & kFlagValid) == 0) {
                return b * per_block + i;
            }
            if ((flag & kFlagEnd) != 0) {
                return b * per_block + i + 1;
            }
        }
        slot = (b + 1) * per_block;
    }
    return slot;
}

// A new block at the first gap, or at the end; its first slot is free.
int32_t open_new_block(MDBL_Table *table) {
    uint8_t **end = table->blocks + table->block_count;
    auto position =
        static_cast<uint32_t>(std::find(&table->blocks[0], end, nullptr) - &table->blocks[0]);
    uint32_t slot = position * records_per_block(table);
    if (slot >= table->max_records) {
        return MDBL_ERR_TABLE_FULL;
    }
    if (!add_block(table, position)) {
        return MDBL_ERR_NO_MEMORY;
    }
    table->first_free_slot = slot;
    return MDBL_OK;
}

}  // namespace

int32_t cacheNextBlock(MDBL_Table *table) {
    uint32_t position = table->block_count;
    uint32_t first_slot = position * records_per_block(table);
    if (!add_block(table, position)) {
        return MDBL_ERR_NO_MEMORY;
    }
    uint8_t *block = table->blocks[position];
    uint32_t length = 0;
    uint32_t left = 0;
    int32_t result = read_block(table, block, &length, &left);
    if (result != MDBL_OK) {
        drop_last_block(table);
        return result;
    }
    // A file may hold more slots than the table can have; those are no records.
    uint32_t slots =
        std::min<uint32_t>(length / table->record_size, table->max_records - first_slot);
    uint16_t valid_before = table->valid_count;
    uint32_t walked = updateValidRec(table, block, slots);
    // What is stale in the file, behind the end mark, is free in memory.
    memset(block + walked * table->record_size, 0, MDBL_BLOCK_SIZE - walked * table->record_size);
    table->block_valid_counts[position] = table->valid_count - valid_before;
    bool at_end = left < table->record_size || first_slot + slots == table->max_records;
    if (table->fully_cached == 0 && at_end) {
        uint32_t last = slots == 0 ? 0 : slots - 1;
        flag_of(table, block + last * table->record_size) |= kFlagEnd;
        table->fully_cached = 1;
    }
    return table->fully_cached != 0 ? MDBL_OK : MDBL_MORE_TO_CACHE;
}

uint8_t *getCachePointerForCacheIndex(const MDBL_Table *table, uint32_t slot) {
    uint32_t per_block = records_per_block(table);
    uint32_t b = slot / per_block;
    if (b >= table->block_count || table->blocks[b] == nullptr) {
        return nullptr;
    }
    return table->blocks[b] + slot % per_block * table->record_size;
}

int32_t getCacheOffsetForRecord(const MDBL_Table *table, const void *record) {
    uint32_t per_block = records_per_block(table);
    auto address = reinterpret_cast<uintptr_t>(record);
    for (uint32_t b = 0; b < table->block_count; b++) {
        uintptr_t distance = address - reinterpret_cast<uintptr_t>(table->blocks[b]);
        if (table->blocks[b] == nullptr || distance >= per_block * table->record_size) {
            continue;
        }
        auto slot = static_cast<int32_t>(b * per_block + distance / table->record_size);
        return distance % table->record_size == 0 ? slot : -1;
    }
    return -1;
}

int32_t setFreeIndex(MDBL_Table *table) {
    if (table->valid_count == table->max_records) {
        table->first_free_slot = kNoFreeSlot;
        return MDBL_ERR_TABLE_FULL;
    }
    uint32_t slot = find_free_slot(table);
    auto present =
        static_cast<uint32_t>(std::count_if(&table->blocks[0], table->blocks + table->block_count,
                                            [](const uint8_t *block) { return block != nullptr; }));
    bool all_full = table->valid_count == present * records_per_block(table);
    // The free slots may also all lie in blocks that were freed, before a last one that is only
    // partly in use.
    if (all_full || slot >= table->max_records ||
        getCachePointerForCacheIndex(table, slot) == nullptr) {
        return open_new_block(table);
    }
    table->first_free_slot = slot;
    return MDBL_OK;
}

void freeEmptyCacheBlocks(MDBL_Table *table) {
    uint32_t b = 0;
    while (b < table->block_count && !is_freeable(table, b)) {
        b++;
    }
    if (b == table->block_count) {
        return;
    }
    uint32_t kept = block_to_keep(table);
    for (; b < table->block_count; b++) {
        if (b != kept && is_freeable(table, b)) {
            free(table->blocks[b]);
            table->blocks[b] = nullptr;
        }
    }
}

void freeEmptyCacheBlocks_UpdateFreeIndx(MDBL_Table *table) {
    freeEmptyCacheBlocks(table);
    if (table->first_free_slot == kNoFreeSlot) {
        return;
    }
    uint32_t per_block = records_per_block(table);
    uint32_t b = table->first_free_slot / per_block;
    uint32_t next = b;
    while (next < table->block_count && table->blocks[next] == nullptr) {
        next++;
    }
    if (next != b) {
        table->first_free_slot = next * per_block;
    }
}

}  // namespace hearth::mdblite

using namespace hearth::mdblite;

int32_t mdbl_TableCache(MDBL_Table *table) {
    if (table == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    int32_t result = table->fully_cached != 0 ? MDBL_OK : cacheNextBlock(table);
    if (table->fully_cached != 0) {
        freeEmptyCacheBlocks(table);
    }
    return result;
}

int32_t mdbl_TableIsCached(const MDBL_Table *table, uint8_t *cached) {
    if (table == nullptr || cached == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    *cached = table->fully_cached;
    return MDBL_OK;
}

uint32_t mdbl_TableGetFirstEmptySlotIndex(MDBL_Table *table) {
    if (table == nullptr) {
        return 1;
    }
    // As long as the end is not in memory, a new block would stand where the next one of the file
    // belongs.
    bool allowed = table->fully_cached != 0 ||
                   getCachePointerForCacheIndex(table, find_free_slot(table)) != nullptr;
    return allowed && setFreeIndex(table) == MDBL_OK ? table->first_free_slot + 1 : 0;
}
