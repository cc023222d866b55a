// The redo journal: one record in one file, for all tables of the process.
#include <errno.h>
#include <fcntl.h>
#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "base/text.h"
#include "hearth/mdblite.h"
#include "mdblite/mdblite_internal.h"

namespace hearth::mdblite {

namespace {

constexpr char kJournalPath[] = "/data/userdata/journal_file";
constexpr char kJournalFolder[] = "/data/userdata";
constexpr uint32_t kHeadSize = 264;
constexpr uint32_t kLargestOffset = kHeaderSize + MDBL_MAX_RECORDS * MDBL_MAX_RECORD_SIZE;

// The whole of the journal file.
struct MDBL_JournalRecord {
    uint8_t valid;
    uint8_t reserved;
    uint16_t length;
    uint32_t offset;
    char path[256];
    uint8_t data[1024];
};
static_assert(sizeof(MDBL_JournalRecord) == 1288 && offsetof(MDBL_JournalRecord, length) == 2 &&
              offsetof(MDBL_JournalRecord, offset) == 4 &&
              offsetof(MDBL_JournalRecord, path) == 8 &&
              offsetof(MDBL_JournalRecord, data) == kHeadSize);

// The journal belongs to the one thread that updates tables, as they do.
PBase_IFileStream *g_stream;
bool g_enabled;

int32_t write_whole(PBase_IFileStream *stream, uint32_t offset, const void *data, size_t length) {
    return write_at(stream, offset, data, length) == length ? MDBL_OK : MDBL_ERR_GENERAL;
}

// The new file's name has to be on the disk before the first update relies on it.
bool sync_folder() {
    Descriptor folder(open(kJournalFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Not every file system can sync a directory.
    return folder && (fsync(folder.get()) == 0 || errno == EINVAL);
}

int32_t make_journal() {
    Stream stream;
    int32_t result = PBase_IFileStream_openFile(kJournalPath, PBASE_MODE_CREATE, stream.out());
    if (result != PBASE_OK) {
        return Mdbl_Error_Mapping(result);
    }
    MDBL_JournalRecord empty{};
    if (write_whole(stream.get(), 0, &empty, sizeof empty) != MDBL_OK || !sync_folder()) {
        return MDBL_ERR_GENERAL;
    }
    g_stream = stream.release();
    return MDBL_OK;
}

int32_t journalCreate(bool create_if_missing) {
    if (g_stream != nullptr) {
        return MDBL_OK;
    }
    if (PBase_IFileStream_openFile(kJournalPath, PBASE_MODE_UPDATE, &g_stream) == PBASE_OK) {
        return MDBL_OK;
    }
    return create_if_missing ? make_journal() : MDBL_ERR_GENERAL;
}

// The record comes with its valid byte 0, which stays so while the rest is laid down; the write of
// the single byte 1 commits.
int32_t journalWrite(const MDBL_JournalRecord &record) {
    int32_t result = journalCreate(true);
    if (result != MDBL_OK) {
        return result;
    }
    size_t length = kHeadSize + record.length + 1u;
    constexpr uint8_t kValid = 1;
    if (write_whole(g_stream, 0, &record, length) != MDBL_OK || !sync_stream(g_stream) ||
        write_whole(g_stream, 0, &kValid, 1) != MDBL_OK || !sync_stream(g_stream)) {
        return MDBL_ERR_GENERAL;
    }
    return MDBL_OK;
}

// Synced, too: an entry that came back after a power cut would be replayed over what has been
// written to its place since, or together with parts of the next record.
int32_t journalInvalidate(uint8_t byte) {
    bool done = write_whole(g_stream, 0, &byte, 1) == MDBL_OK && sync_stream(g_stream);
    return done ? MDBL_OK : MDBL_ERR_GENERAL;
}

// Writes what the journal holds into its table.
int32_t journalRestore(const char *path, const MDBL_JournalRecord &record) {
    Stream table;
    int32_t result = PBase_IFileStream_openFile(path, PBASE_MODE_UPDATE, table.out());
    if (result != PBASE_OK) {
        return Mdbl_Error_Mapping(result);
    }
    result = write_whole(table.get(), record.offset, record.data, record.length);
    return result == MDBL_OK && !sync_stream(table.get()) ? MDBL_ERR_GENERAL : result;
}

// Reads the journal as far as it goes.
bool read_journal(MDBL_JournalRecord *record) {
    PBase_FileInfo info{};
    if (PBase_IFileStream_getFileInfo(g_stream, &info) != PBASE_OK || info.size == 0) {
        return false;
    }
    size_t length = std::min<size_t>(info.size, sizeof *record);
    return read_at(g_stream, 0, record, length) == length;
}

}  // namespace

bool journal_is_on() {
    return g_enabled;
}

int32_t journal_begin(const PBase_IFileStream *stream, uint32_t offset, const void *data,
                      uint32_t length) {
    MDBL_JournalRecord record;
    memset(&record, 0, kHeadSize + length + 1);  // as far as it is written
    record.length = static_cast<uint16_t>(length);
    record.offset = offset;
    copy_text(record.path, stream->path);
    memcpy(record.data, data, length);
    return journalWrite(record);
}

int32_t journal_finish(int32_t result) {
    return g_stream != nullptr ? journalInvalidate(0) : result;
}

}  // namespace hearth::mdblite

using namespace hearth::mdblite;

void mdbl_JournalEnable(void) {
    g_enabled = true;
}

void mdbl_JournalDisable(void) {
    g_enabled = false;
}

void mdbl_JournalClose(void) {
    dispose_stream(g_stream);
    g_stream = nullptr;
}

int32_t mdbl_JournalRestore(void) {
    // Required to forget an open stream without closing it.
    g_stream = nullptr;
    MDBL_JournalRecord record{};
    int32_t result = journalCreate(false);
    if (result != MDBL_OK) {
        return result;
    }
    if (!read_journal(&record) || record.length >= sizeof record.data) {
        return MDBL_ERR_GENERAL;
    }
    record.path[sizeof record.path - 1] = '\0';
    if (record.valid == 0) {
        return MDBL_OK;
    }
    if (record.offset > kLargestOffset) {
        return MDBL_ERR_GENERAL;
    }
    result = journalRestore(record.path, record);
    return result == MDBL_OK ? journalInvalidate(0) : result;
}
