// Table files: creating, opening, truncating and dropping them.
#include <string.h>

#include <algorithm>
#include <bit>
#include <string_view>

#include "base/text.h"
#include "hearth/mdblite.h"
#include "mdblite/mdblite_internal.h"

static_assert(std::endian::native == std::endian::little, "table files are read as they stand");

namespace hearth::mdblite {

static_assert(sizeof(TableHeader) == 10 && offsetof(TableHeader, version) == 2 &&
              offsetof(TableHeader, record_size) == 4 && offsetof(TableHeader, max_records) == 6 &&
              offsetof(TableHeader, preallocated) == 8);

int32_t Mdbl_Error_Mapping(int32_t stream_result) {
    switch (stream_result) {
        case PBASE_OK:
            return MDBL_OK;
        case PBASE_ERR_FILE_EXISTS:
            return MDBL_ERR_EXISTS;
        case PBASE_ERR_FILE_NOT_FOUND:
            return MDBL_ERR_NO_FILE;
        case 0x101010F:
            return MDBL_ERR_STREAM_7;
        case 0x1010115:
            return MDBL_ERR_STREAM_16;
        default:
            return MDBL_ERR_GENERAL;
    }
}

}  // namespace hearth::mdblite

using namespace hearth::mdblite;
using hearth::copy_text;

namespace {

constexpr uint16_t kMagic = 56130;
constexpr uint8_t kVersion = 1;
constexpr char kHome[] = "/data/userdata/";
constexpr char kTemporary[] = "/data/userdata/mdbl_temp";
constexpr char kCardTemporary[] = "fs:/card0/messaging/umb/mdbl_temp";
constexpr size_t kPathLimit = 240;
constexpr size_t kExPathLimit = 255;
constexpr uint32_t kZeroPiece = 8192;

using Path = char[kExPathLimit + 1];

// MDBL_OK for a path of at most `limit` characters.
int32_t check_path(const char *path, size_t limit) {
    if (path == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    return strnlen(path, limit + 1) > limit ? MDBL_ERR_PARAM : MDBL_OK;
}

bool limits_hold(uint16_t record_size, uint16_t max_records) {
    return record_size != 0 && record_size <= MDBL_MAX_RECORD_SIZE && record_size % 4 == 0 &&
           max_records != 0 && max_records <= MDBL_MAX_RECORDS;
}

bool read_header(PBase_IFileStream *stream, TableHeader *header) {
    uint32_t count = 0;
    PBase_IFileStream_read(stream, header, sizeof *header, &count);
    return count == sizeof *header;
}

// Opens a table file; the stream then stands behind the header.
int32_t validateMDBLiteTable(const char *path, TableHeader *header, Stream *stream) {
    Stream opened;
    int32_t result = PBase_IFileStream_openFile(path, PBASE_MODE_UPDATE, opened.out());
    if (result != PBASE_OK) {
        return Mdbl_Error_Mapping(result);
    }
    if (!read_header(opened.get(), header)) {
        return MDBL_ERR_GENERAL;
    }
    if (header->magic != kMagic) {
        return MDBL_ERR_BAD_MAGIC;
    }
    if (header->version != kVersion) {
        return MDBL_ERR_BAD_VERSION;
    }
    if (!limits_hold(header->record_size, header->max_records)) {
        return MDBL_ERR_GENERAL;
    }
    stream->reset(opened.release());
    return MDBL_OK;
}

// The text after the last "/", or all of the path.
std::string_view parse_table_file_name(std::string_view path) {
    size_t slash = path.rfind('/');
    path.remove_prefix(slash == std::string_view::npos ? 0 : slash + 1);
    return path;
}

void temporary_name(std::string_view path, Path &name) {
    if (path.find("card0") != std::string_view::npos) {
        copy_text(name, kCardTemporary);
        return;
    }
    size_t length = copy_text(name, kTemporary);
    copy_text(name + length, sizeof name - length, parse_table_file_name(path));
}

// MDBL_OK once nothing stands in the way of the new file.
int32_t clear_way(const char *path, const TableHeader &wanted) {
    if (PBase_File_exists(path) == 0) {
        return MDBL_OK;
    }
    TableHeader found{};
    {
        Stream stream;
        if (PBase_IFileStream_openFile(path, PBASE_MODE_UPDATE, stream.out()) != PBASE_OK) {
            return MDBL_ERR_NO_MEMORY;  // required, odd as it is
        }
        read_header(stream.get(), &found);
    }
    if (found.magic == wanted.magic && found.version == wanted.version &&
        found.record_size == wanted.record_size && found.max_records == wanted.max_records &&
        found.preallocated == wanted.preallocated) {
        return MDBL_ERR_EXISTS;
    }
    return Mdbl_Error_Mapping(PBase_File_removeFile(path));
}

int32_t write_whole(PBase_IFileStream *stream, const void *data, uint32_t length) {
    uint32_t count = 0;
    PBase_IFileStream_write_without_EFSCheck(stream, data, length, &count);
    return count == length ? MDBL_OK : MDBL_ERR_GENERAL;
}

int32_t write_zeros(PBase_IFileStream *stream, uint32_t length) {
    auto zeros = hearth::allocate_zeroed<uint8_t>(kZeroPiece);
    if (!zeros) {
        return MDBL_ERR_NO_MEMORY;
    }
    int32_t result = MDBL_OK;
    for (; result == MDBL_OK && length >= kZeroPiece; length -= kZeroPiece) {
        result = write_whole(stream, zeros.get(), kZeroPiece);
    }
    return result == MDBL_OK ? write_whole(stream, zeros.get(), length) : result;
}

// The content of a new table: its header, and slot 0 with nothing but its flag.
int32_t write_new_table(PBase_IFileStream *stream, const TableHeader &header) {
    int32_t result = write_whole(stream, &header, sizeof header);
    if (result != MDBL_OK) {
        return result;
    }
    if (PBase_IFileStream_skip(stream, header.record_size - 1, SEEK_CUR, nullptr) != PBASE_OK) {
        return MDBL_ERR_GENERAL;
    }
    result = write_whole(stream, &kFlagEnd, 1);
    if (result != MDBL_OK || header.preallocated == 0) {
        return result;
    }
    return write_zeros(stream, uint32_t{header.record_size} * (header.max_records - 1u));
}

int32_t build_file(const char *temporary, const char *path, const TableHeader &header) {
    PBase_File_removeFile(temporary);  // usually there is none; a leftover is emptied below
    Stream stream;
    int32_t result = PBase_IFileStream_openFile(temporary, PBASE_MODE_CREATE, stream.out());
    if (result != PBASE_OK) {
        return Mdbl_Error_Mapping(result);
    }
    result = write_new_table(stream.get(), header);
    int32_t closed = PBase_IFileStream_close(stream.release());
    if (result == MDBL_OK) {
        result = Mdbl_Error_Mapping(closed);
    }
    if (result == MDBL_OK && PBase_File_rename(temporary, path) != PBASE_OK) {
        result = MDBL_ERR_RENAME;
    }
    return result;
}

// The file takes its name when it is whole, so a crash leaves at most a temporary file, which the
// next creation of the table removes.
int32_t createTable(const char *path, uint16_t record_size, uint16_t max_records,
                    uint8_t preallocate) {
    if (!limits_hold(record_size, max_records)) {
        return MDBL_ERR_PARAM;
    }
    std::string_view text(path);
    if (!text.empty() && text.back() == '/') {
        return MDBL_OK;  // required: names no file, so nothing is made
    }
    TableHeader header{kMagic, kVersion, 0, record_size, max_records, preallocate, 0};
    int32_t result = clear_way(path, header);
    if (result != MDBL_OK) {
        return result;
    }
    Path temporary;
    temporary_name(path, temporary);
    result = build_file(temporary, path, header);
    if (result != MDBL_OK) {
        PBase_File_removeFile(temporary);
    }
    return result;
}

// A handle with room for all blocks that the table can have.
MDBL_Table *new_handle(const TableHeader &header) {
    uint32_t per_block = MDBL_BLOCK_SIZE / header.record_size;
    uint32_t blocks =
        uint32_t{header.record_size} * header.max_records / (per_block * header.record_size) + 1;
    void *memory = calloc(1, offsetof(MDBL_Table, blocks) + blocks * sizeof(uint8_t *));
    auto *table = static_cast<MDBL_Table *>(memory);
    if (table != nullptr) {
        table->record_size = header.record_size;
        table->max_records = header.max_records;
        table->preallocated = header.preallocated;
    }
    return table;
}

int32_t openTable(const char *path, uint32_t zero, MDBL_Table **out) {
    if (zero != 0 || out == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    TableHeader header{};
    Stream stream;
    int32_t result = validateMDBLiteTable(path, &header, &stream);
    if (result != MDBL_OK) {
        return result;
    }
    MDBL_Table *table = new_handle(header);
    if (table == nullptr) {
        return MDBL_ERR_NO_MEMORY;
    }
    table->stream = stream.release();
    result = cacheNextBlock(table);
    if (result != MDBL_OK && result != MDBL_MORE_TO_CACHE) {
        mdbl_TableClose(table);
        return result;
    }
    *out = table;
    return result;
}

// Sets the end mark in a flag byte of the file. `overwrite` does so without looking at it.
int32_t truncateFileOperation(PBase_IFileStream *stream, uint32_t position, bool overwrite,
                              uint8_t preallocated) {
    uint8_t flag = 0;
    if (!overwrite && read_at(stream, position, &flag, 1) != 1) {
        return MDBL_ERR_GENERAL;
    }
    flag = static_cast<uint8_t>((flag & kFlagValid) | kFlagEnd);
    if (write_at(stream, position, &flag, 1) != 1) {
        return MDBL_ERR_GENERAL;
    }
    // Required to report a failure for a file that grows, though the end mark is set by now.
    return preallocated != 0 ? MDBL_OK
                             : Mdbl_Error_Mapping(PBase_IFileStream_truncate(stream, position + 1));
}

// Frees the blocks but one, which becomes the first, and empties the indexes. Secondary indexes
// are left as they are: the next insert starts them afresh.
void freeCacheAndIndexes(MDBL_Table *table) {
    uint8_t *kept = nullptr;
    for (uint32_t b = 0; b < table->block_count; b++) {
        uint8_t *&block = table->blocks[b];
        if (kept == nullptr) {
            kept = block;
        } else {
            free(block);
        }
        block = nullptr;
    }
    table->blocks[0] = kept;
    for (MDBL_Index *index : table->indexes) {
        if (index != nullptr) {
            memset(index->records, 0, table->valid_count * sizeof(uint8_t *));
        }
    }
}

// The path below the store's home.
int32_t home_path(const char *name, Path &path) {
    int32_t result = check_path(name, kPathLimit);
    if (result == MDBL_OK) {
        size_t length = copy_text(path, kHome);
        copy_text(path + length, sizeof path - length, name);
    }
    return result;
}

// Refuses an offset behind the end of the file.
int32_t check_inside(PBase_IFileStream *stream, uint32_t position) {
    PBase_FileInfo info{};
    if (PBase_IFileStream_getFileInfo(stream, &info) != PBASE_OK) {
        return MDBL_ERR_RENAME;  // required, odd as it is
    }
    return position < info.size ? MDBL_OK : MDBL_ERR_PARAM;
}

}  // namespace

int32_t mdbl_CreateTable(const char *path, uint16_t record_size, uint16_t max_records,
                         uint8_t /*ignored*/) {
    int32_t result = check_path(path, kPathLimit);
    if (result != MDBL_OK) {
        return result;
    }
    if (PBase_File_exists(kHome) == 0 && PBase_File_mkDir(kHome) != PBASE_OK) {
        return MDBL_ERR_GENERAL;
    }
    return createTable(path, record_size, max_records, 1);
}

int32_t mdbl_CreateTableEx(const char *path, uint16_t record_size, uint16_t max_records,
                           uint8_t preallocate) {
    int32_t result = check_path(path, kExPathLimit);
    return result == MDBL_OK ? createTable(path, record_size, max_records, preallocate) : result;
}

int32_t mdbl_OpenTable(const char *path, uint32_t zero, uint32_t /*reserved1*/,
                       uint32_t /*reserved2*/, MDBL_Table **table) {
    int32_t result = check_path(path, kPathLimit);
    return result == MDBL_OK ? openTable(path, zero, table) : result;
}

int32_t mdbl_OpenTableEx(const char *path, uint32_t zero, uint32_t /*reserved1*/,
                         uint32_t /*reserved2*/, MDBL_Table **table) {
    int32_t result = check_path(path, kExPathLimit);
    return result == MDBL_OK ? openTable(path, zero, table) : result;
}

void mdbl_TableClose(MDBL_Table *table) {
    if (table == nullptr) {
        return;
    }
    for (uint32_t b = 0; b < table->block_count; b++) {
        free(table->blocks[b]);
    }
    free(table->block_valid_counts);
    for (uint32_t number = 1; number <= MDBL_MAX_INDEXES; number++) {
        mdbl_TableDestroyIndex(table, number);
    }
    dispose_stream(table->stream);
    free(table);
}

int32_t mdbl_TableCommit(MDBL_Table *table) {
    return table == nullptr ? MDBL_OK : PBase_IFileStream_fflush(table->stream);
}

int32_t mdbl_DropTable(const char *path) {
    int32_t result = check_path(path, kPathLimit);
    return result == MDBL_OK ? Mdbl_Error_Mapping(PBase_File_removeFile(path)) : result;
}

int32_t mdbl_TableTruncate(MDBL_Table *table) {
    if (table == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    // Before the file is touched, so that running out of memory leaves all as it was.
    auto counts = hearth::allocate_zeroed<uint32_t>(1);
    if (!counts) {
        return MDBL_ERR_NO_MEMORY;
    }
    int32_t result =
        truncateFileOperation(table->stream, slot_offset(table, 1) - 1, true, table->preallocated);
    if (result != MDBL_OK) {
        return result;
    }
    freeCacheAndIndexes(table);
    // No flag may remain that a stale pointer could take for a record's.
    memset(table->blocks[0], 0, MDBL_BLOCK_SIZE);
    flag_of(table, table->blocks[0]) = kFlagEnd;
    table->first_free_slot = 0;
    table->fully_cached = 1;
    table->block_count = 1;
    free(table->block_valid_counts);
    table->block_valid_counts = counts.release();
    table->valid_count = 0;
    return MDBL_OK;
}

int32_t mdbl_TruncateTableWithOffset(const char *name, uint16_t records) {
    Path path;
    int32_t result = home_path(name, path);
    TableHeader header{};
    Stream stream;
    if (result == MDBL_OK) {
        result = validateMDBLiteTable(path, &header, &stream);
    }
    if (result != MDBL_OK) {
        return result;
    }
    uint32_t slots = std::max<uint32_t>(records, 1);
    uint32_t position = header.record_size * slots + kHeaderSize - 1;
    if (records != 0) {
        result = check_inside(stream.get(), position);
    }
    return result == MDBL_OK
               ? truncateFileOperation(stream.get(), position, records == 0, header.preallocated)
               : result;
}

int32_t mdbl_TruncateTable(const char *name) {
    return mdbl_TruncateTableWithOffset(name, 0);
}

int32_t mdbl_getRecordSize(const char *name, uint32_t *record_size) {
    if (record_size == nullptr) {
        return MDBL_ERR_GENERAL;
    }
    Path path;
    int32_t result = home_path(name, path);
    TableHeader header{};
    Stream stream;
    if (result == MDBL_OK) {
        result = validateMDBLiteTable(path, &header, &stream);
    }
    if (result == MDBL_OK) {
        *record_size = header.record_size;
    }
    return result;
}

uint32_t mdbl_TableSize(const MDBL_Table *table) {
    return table == nullptr ? 1 : table->valid_count;
}
