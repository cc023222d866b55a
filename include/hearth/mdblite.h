/*
 * Hearth: the table store.
 *
 * A table is a file of fixed-size records in numbered slots. While it is open all of it is held in
 * memory: reads never touch the file, and every change goes to the file first and to memory after
 * that write succeeded. A record is known by its pointer into that memory, which stays valid until
 * the record is deleted or the table truncated or closed. The last byte of each record belongs to
 * the store, so a record of size n carries n - 1 bytes of the caller's.
 *
 * The usual order: mdbl_JournalRestore once; then per table mdbl_OpenTable, mdbl_TableCache until
 * it no longer returns MDBL_MORE_TO_CACHE, and mdbl_TableCreateIndex for each index, since
 * indexes are never stored.
 *
 * Nothing is locked. A table, its record sets and the journal belong to one thread at a time, and
 * no two processes may hold one table open for writing. Callbacks run on the calling thread and
 * must not change the table they are called for. Calls that read or write files wait for the
 * kernel; only with the journal enabled do updates wait for the disk.
 */
#ifndef HEARTH_MDBLITE_H
#define HEARTH_MDBLITE_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Results. Where nothing else is said a function returns MDBL_OK, or MDBL_ERR_GENERAL for a NULL
 * argument, a failed read or write, and a table that is not fully cached where it has to be. */
enum {
    MDBL_OK = 0,
    MDBL_ERR_GENERAL = 1,      /* NULL argument, failed read or write, bad state */
    MDBL_ERR_INDEX_NUMBER = 2, /* index number out of range */
    MDBL_ERR_NO_MEMORY = 3,    /* allocation failed */
    MDBL_ERR_TABLE_FULL = 4,   /* no free slot */
    MDBL_ERR_EXISTS = 5,       /* the table exists already */
    MDBL_ERR_NO_FILE = 6,      /* the file does not exist */
    MDBL_ERR_STREAM_7 = 7,     /* reserved */
    MDBL_ERR_RENAME = 8,       /* rename failed, or size unreadable */
    MDBL_ERR_INDEX_EXISTS = 9, /* the index or secondary index exists */
    MDBL_ERR_PARAM = 10,       /* size, count or length out of limits */
    MDBL_MORE_TO_CACHE = 11,   /* success, and the end of the table is not yet in memory */
    MDBL_ERR_NO_INDEX = 12,    /* no such index */
    MDBL_ERR_EMPTY = 13,       /* the table is empty */
    MDBL_ERR_NOT_FOUND = 14,   /* no matching record, or position out of range */
    MDBL_ERR_RS_EMPTY = 15,    /* the record set is empty or has fewer records than asked */
    MDBL_ERR_STREAM_16 = 16,   /* reserved */
    MDBL_ERR_BAD_MAGIC = 17,   /* the file is no table */
    MDBL_ERR_BAD_VERSION = 18  /* the table's version is not 1 */
};

enum {
    MDBL_MAX_RECORD_SIZE = 1024, /* record sizes are 4 to 1024, in steps of 4 */
    MDBL_MAX_RECORDS = 3000,     /* maximum record counts are 1 to 3000 */
    MDBL_MAX_INDEXES = 5,        /* index numbers are 1 to 5 */
    MDBL_BLOCK_SIZE = 16384,     /* memory is taken in blocks of this many bytes */
    MDBL_RS_GROW = 32            /* record sets grow in steps of this many entries */
};

/* An open table. */
typedef struct MDBL_Table MDBL_Table;
/* The result of a select. */
typedef struct MDBL_RecordSet MDBL_RecordSet;

/* Compares a record with a key, or with another record: negative, zero or positive. */
typedef int (*MDBL_Compare)(const void *element, const void *key);
/* Judges a record: 0 takes it, other values leave it out. */
typedef int (*MDBL_Filter)(const void *record, const void *argument);
/* Changes a copy of a record in place, of which the first record size - 1 bytes count. The result
 * is ignored. */
typedef int (*MDBL_Update)(void *record, void *argument);
/* Looks at a record. A result of 0 ends the walk. */
typedef int (*MDBL_Enumerate)(void *record, void *argument);

/* --- Tables --- */

/*
 * Makes an empty table whose file holds all slots from the start. Makes "/data/userdata/" if it is
 * missing, where the file is built under a temporary name before it takes its own.
 *   path         full path, at most 240 characters; nothing is made for a path that ends in "/"
 *   record_size  bytes, a multiple of 4 from 4 to 1024
 *   max_records  1 to 3000
 *   ignored      is not looked at
 * Returns MDBL_OK; MDBL_ERR_EXISTS if the same table exists, which is left alone (a file that
 * differs in any parameter is replaced by the empty table); MDBL_ERR_PARAM; MDBL_ERR_NO_MEMORY;
 * MDBL_ERR_RENAME; MDBL_ERR_GENERAL.
 */
HEARTH_API int32_t mdbl_CreateTable(const char *path, uint16_t record_size, uint16_t max_records,
                                    uint8_t ignored);

/* The same with a path of up to 255 characters, in directories that exist. With `preallocate` 0
 * the file grows as slots are first used. */
HEARTH_API int32_t mdbl_CreateTableEx(const char *path, uint16_t record_size, uint16_t max_records,
                                      uint8_t preallocate);

/*
 * Opens a table and reads its first block.
 *   path                  full path, at most 240 characters
 *   zero                  must be 0
 *   reserved1, reserved2  are not looked at
 *   table                 receives the table, which mdbl_TableClose ends; untouched on failure
 * MDBL_OK and MDBL_MORE_TO_CACHE leave an open table. Otherwise MDBL_ERR_NO_FILE,
 * MDBL_ERR_BAD_MAGIC, MDBL_ERR_BAD_VERSION, MDBL_ERR_PARAM for the path, MDBL_ERR_NO_MEMORY, or
 * MDBL_ERR_GENERAL, also for a header outside the limits of creation.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t mdbl_OpenTable(const char *path, uint32_t zero,
                                                    uint32_t reserved1, uint32_t reserved2,
                                                    MDBL_Table **table);

/* The same with a path of up to 255 characters. */
HEARTH_API HEARTH_MUST_CHECK int32_t mdbl_OpenTableEx(const char *path, uint32_t zero,
                                                      uint32_t reserved1, uint32_t reserved2,
                                                      MDBL_Table **table);

/* Frees the table with its indexes and closes the file. Nothing is written. NULL is ignored. */
HEARTH_API void mdbl_TableClose(MDBL_Table *table);

/* Closes the table's file and opens it again. For fully cached tables: on another one,
 * mdbl_TableCache fails afterwards. Returns MDBL_OK (also for NULL) or MDBL_ERR_GENERAL, after
 * which every change to the table fails. */
HEARTH_API int32_t mdbl_TableCommit(MDBL_Table *table);

/* Removes a closed table's file; the path has at most 240 characters. MDBL_ERR_NO_FILE if there is
 * none, MDBL_ERR_PARAM for the path. */
HEARTH_API int32_t mdbl_DropTable(const char *path);

/* Empties an open table; its indexes stay, empty. A table whose file grows is emptied in the file
 * alone, and the result is MDBL_ERR_GENERAL: close it and open it again. Pointers to its records
 * are invalid afterwards. */
HEARTH_API int32_t mdbl_TableTruncate(MDBL_Table *table);

/*
 * Truncates a closed table to its first slots.
 *   name     file name below "/data/userdata/", at most 240 characters
 *   records  slots to keep, of which those that hold a record go on holding it
 * Returns MDBL_OK; MDBL_ERR_PARAM if the file has fewer slots; MDBL_ERR_GENERAL for a table whose
 * file grows, although it was truncated; the codes of opening.
 */
HEARTH_API int32_t mdbl_TruncateTableWithOffset(const char *name, uint16_t records);

/* The same with no slot kept. */
HEARTH_API int32_t mdbl_TruncateTable(const char *name);

/* Tells the record size of a closed table, in bytes with the store's own.
 *   name  file name below "/data/userdata/", at most 240 characters
 * Returns MDBL_OK, MDBL_ERR_PARAM or a code of opening. */
HEARTH_API int32_t mdbl_getRecordSize(const char *name, uint32_t *record_size);

/* Returns the number of records; 1 for NULL. */
HEARTH_API uint32_t mdbl_TableSize(const MDBL_Table *table);

/* Reads one more block into memory. Returns MDBL_MORE_TO_CACHE until the end of the table is
 * reached, then MDBL_OK; MDBL_ERR_NO_MEMORY. */
HEARTH_API HEARTH_MUST_CHECK int32_t mdbl_TableCache(MDBL_Table *table);

/* Stores 1 in `cached` if the whole table is in memory, else 0. */
HEARTH_API int32_t mdbl_TableIsCached(const MDBL_Table *table, uint8_t *cached);

/* --- Records. All need the fully cached table. --- */

/*
 * Adds a record.
 *   record    record size bytes, of which the last is not looked at
 *   inserted  receives the record's pointer, or NULL
 * Returns MDBL_OK, MDBL_ERR_TABLE_FULL, MDBL_ERR_NO_MEMORY or MDBL_ERR_GENERAL.
 */
HEARTH_API int32_t mdbl_TableInsert(MDBL_Table *table, const void *record, void **inserted);

/*
 * Deletes all records equal to a key.
 *   number   index number, 1 to 5
 *   compare  is called with a record and `key`; agrees with the order of the index
 * Returns MDBL_OK, MDBL_ERR_INDEX_NUMBER, MDBL_ERR_NO_INDEX, MDBL_ERR_EMPTY, MDBL_ERR_NOT_FOUND or
 * MDBL_ERR_GENERAL; after a failure the records before it are deleted.
 */
HEARTH_API int32_t mdbl_TableDelete(MDBL_Table *table, uint32_t number, MDBL_Compare compare,
                                    const void *key);

/*
 * Updates all records equal to a key, one after the other.
 *   number    index number, 1 to 5
 *   compare   as in mdbl_TableDelete
 *   update    gets a copy of each record, and `argument`
 * Returns as mdbl_TableDelete does; also MDBL_ERR_NO_MEMORY. With the journal enabled each update
 * waits for the disk.
 */
HEARTH_API int32_t mdbl_TableUpdate(MDBL_Table *table, uint32_t number, MDBL_Compare compare,
                                    MDBL_Update update, const void *key, void *argument);

/* Counts the records equal to a key that `filter`, if not NULL, takes. 0 for bad arguments. */
HEARTH_API uint32_t mdbl_TableCount(MDBL_Table *table, uint32_t number, MDBL_Compare compare,
                                    MDBL_Filter filter, const void *key,
                                    const void *filter_argument);

/* Returns the number, from 1, of the first free slot; 0 if memory ran out, the table is full, or no
 * slot of a partly cached table is free in memory; 1 for NULL. */
HEARTH_API uint32_t mdbl_TableGetFirstEmptySlotIndex(MDBL_Table *table);

/* Calls `callback` for each record, in the order of an index or, for number 0, of the slots.
 * Returns MDBL_OK, MDBL_ERR_INDEX_NUMBER, MDBL_ERR_NO_INDEX or MDBL_ERR_GENERAL. */
HEARTH_API int32_t mdbl_TableEnumerate(MDBL_Table *table, uint32_t number, MDBL_Enumerate callback,
                                       void *argument);

/* --- Indexes. They live in memory, as long as the table is open. --- */

/*
 * Builds an index from the records, which the store keeps in step from then on.
 *   number   1 to 5
 *   compare  orders two records; kept
 * Returns MDBL_OK; MDBL_ERR_INDEX_NUMBER; MDBL_ERR_INDEX_EXISTS; MDBL_ERR_NO_MEMORY, also while
 * the table is not fully cached.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t mdbl_TableCreateIndex(MDBL_Table *table, uint32_t number,
                                                           MDBL_Compare compare);

/* Field types of mdbl_TableCreateIndexEx. Any other type compares as equal and ends the key. */
enum {
    MDBL_FIELD_INT32 = 0, /* 32-bit value, ordered by the sign of the wrapping difference */
    MDBL_FIELD_TEXT = 1,  /* bytes up to a NUL */
    MDBL_FIELD_WIDE = 2   /* 16-bit units up to a 0 */
};

/*
 * Builds an index over fields of the record; the arrays are copied.
 *   count       number of fields; with 0 the index starts out in the order of the slots
 *   offsets     where each field begins in the record, in bytes
 *   types       MDBL_FIELD_*
 *   descending  not 0 turns the order of a field round
 * Returns as mdbl_TableCreateIndex does; MDBL_ERR_PARAM for a field that begins or, with a fixed
 * width, ends outside the record.
 */
HEARTH_API int32_t mdbl_TableCreateIndexEx(MDBL_Table *table, uint32_t number, uint16_t count,
                                           const uint16_t *offsets, const uint32_t *types,
                                           const uint8_t *descending);

/* Frees an index with its secondary index. A number out of range is ignored. */
HEARTH_API void mdbl_TableDestroyIndex(MDBL_Table *table, uint32_t number);

/* Divides an index into groups of neighbours that `compare`, coarser than the index, calls equal.
 * Returns MDBL_OK, MDBL_ERR_NO_INDEX, MDBL_ERR_INDEX_EXISTS, MDBL_ERR_NO_MEMORY, or
 * MDBL_ERR_GENERAL, also for a number out of range. */
HEARTH_API int32_t mdbl_TableCreateSecondaryIndex(MDBL_Table *table, uint32_t number,
                                                  MDBL_Compare compare);

/* --- The journal: makes an update whole or not at all across a crash or power cut. It is one for
 * the process, and off at first. --- */

HEARTH_API void mdbl_JournalEnable(void);
HEARTH_API void mdbl_JournalDisable(void);

/* Closes the journal's file, which the next journalled update opens again. */
HEARTH_API void mdbl_JournalClose(void);

/*
 * Completes the update that a crash left pending in "/data/userdata/journal_file". Called once at
 * start, before tables are opened; a journal that this process has open is not closed. Returns
 * MDBL_OK when there is nothing to do or it is done; MDBL_ERR_GENERAL for a missing or damaged
 * journal; MDBL_ERR_NO_FILE for a missing table, and then the update stays pending.
 */
HEARTH_API int32_t mdbl_JournalRestore(void);

/* --- Record sets: ordered results with a cursor, marks and flags. A set must not outlive its
 * table; records deleted by other ways than through it leave stale pointers in it. --- */

/* Each select returns a new set, which mdbl_RSDestroy frees; an empty one if nothing matches, NULL
 * for bad arguments and when memory ran out. The cursor stands on the first entry. */

/* The records equal to a key, in the order of an index, or in reverse if `descending` is not 0. */
HEARTH_API HEARTH_MUST_CHECK MDBL_RecordSet *mdbl_TableSelect(MDBL_Table *table, uint32_t number,
                                                              MDBL_Compare compare, const void *key,
                                                              int32_t descending);

/* The records that a filter takes, in the order of the slots; a negative result ends the walk. */
HEARTH_API HEARTH_MUST_CHECK MDBL_RecordSet *mdbl_TableSelectWithoutIndex(MDBL_Table *table,
                                                                          MDBL_Filter filter,
                                                                          const void *argument);

/* All records equal to the first key, then to the second, and so on. NULL for no keys. */
HEARTH_API HEARTH_MUST_CHECK MDBL_RecordSet *mdbl_TableSelectIn(MDBL_Table *table, uint32_t number,
                                                                MDBL_Compare compare,
                                                                const void *const *keys,
                                                                uint32_t key_count);

/* The first record of each group of a secondary index; none for a table of fewer than two. */
HEARTH_API HEARTH_MUST_CHECK MDBL_RecordSet *mdbl_TableSelectOnSecondaryIndex(MDBL_Table *table,
                                                                              uint32_t number);

/* The entries of a set that a filter takes. NULL if `zero` is not 0. */
HEARTH_API HEARTH_MUST_CHECK MDBL_RecordSet *mdbl_RSSelect(const MDBL_RecordSet *set,
                                                           MDBL_Filter filter, const void *argument,
                                                           uint32_t zero);

/* Frees a set; the records stay. NULL is ignored. */
HEARTH_API void mdbl_RSDestroy(MDBL_RecordSet *set);

/*
 * How records are handed out. `out` is in
 *   MDBL_READ_COPY     the address of a pointer, which receives a copy that the caller frees
 *   MDBL_READ_POINTER  the address of a pointer, which receives the record's own; in the calls for
 *                      several records, that of the set's array of record pointers
 *   MDBL_READ_BUFFER   (and any other value) the caller's buffer itself, record size bytes for
 *                      each record
 * Copies hold record size bytes, the store's own included, back to back.
 */
enum { MDBL_READ_COPY = 0, MDBL_READ_POINTER = 1, MDBL_READ_BUFFER = 2 };

/* The readers return MDBL_OK; MDBL_ERR_RS_EMPTY for an empty set; MDBL_ERR_NO_MEMORY when a copy
 * cannot be made; MDBL_ERR_GENERAL for NULL. */

/* The entry at a position from 0. MDBL_ERR_NOT_FOUND behind the end. The cursor stays. */
HEARTH_API int32_t mdbl_RSGetAt(const MDBL_RecordSet *set, uint32_t position, int32_t mode,
                                void *out);

/* The entry at the cursor, which then moves on, from the last entry to the first. */
HEARTH_API int32_t mdbl_RSNext(MDBL_RecordSet *set, int32_t mode, void *out);

/* Moves the cursor back, from the first entry to the last, and gives the entry there. */
HEARTH_API int32_t mdbl_RSPrevious(MDBL_RecordSet *set, int32_t mode, void *out);

/*
 * Up to `count` entries from the cursor on, which moves behind them but stops at the last entry.
 * `out_count` receives their number. MDBL_ERR_RS_EMPTY if they are fewer than asked.
 */
HEARTH_API int32_t mdbl_RSNextN(MDBL_RecordSet *set, uint32_t count, int32_t mode, void *out,
                                uint32_t *out_count);

/* Up to `count` entries that end just before the cursor, which moves to the first of them.
 * MDBL_ERR_RS_EMPTY if they are fewer than asked, or the cursor stands on the first entry. */
HEARTH_API int32_t mdbl_RSPreviousN(MDBL_RecordSet *set, uint32_t count, int32_t mode, void *out,
                                    uint32_t *out_count);

/* Moves the cursor to the first entry. */
HEARTH_API void mdbl_RSRewind(MDBL_RecordSet *set);

/* Returns the cursor; -1 for NULL or an empty set. */
HEARTH_API int32_t mdbl_RSTell(const MDBL_RecordSet *set);

/* Moves the cursor by `offset` entries, round the ends, and returns it; -1 for NULL or empty. */
HEARTH_API int32_t mdbl_RSSeek(MDBL_RecordSet *set, int16_t offset);

/* Returns the number of entries; 0 for NULL. */
HEARTH_API uint32_t mdbl_RSSize(const MDBL_RecordSet *set);

/* Updates the record of an entry, as mdbl_TableUpdate does; the set keeps its order. `argument`
 * must not be NULL. MDBL_ERR_NOT_FOUND behind the end, MDBL_ERR_GENERAL for all other failures. */
HEARTH_API int32_t mdbl_RSUpdateAt(MDBL_RecordSet *set, uint32_t position, MDBL_Update update,
                                   void *argument);

/* The same at the cursor; MDBL_ERR_GENERAL for all failures. */
HEARTH_API int32_t mdbl_RSUpdate(MDBL_RecordSet *set, MDBL_Update update, void *argument);

/* Deletes the record of an entry and the entry. A cursor behind the last entry goes to the first.
 * MDBL_ERR_NOT_FOUND behind the end, MDBL_ERR_GENERAL for all other failures. */
HEARTH_API int32_t mdbl_RSDeleteAt(MDBL_RecordSet *set, uint32_t position);
/* The same at the cursor. */
HEARTH_API int32_t mdbl_RSDelete(MDBL_RecordSet *set);

/* Takes an entry out of the set; its record stays in the table. Results as mdbl_RSDeleteAt. */
HEARTH_API int32_t mdbl_RSRemoveAt(MDBL_RecordSet *set, uint32_t position);
/* The same at the cursor. */
HEARTH_API int32_t mdbl_RSRemove(MDBL_RecordSet *set);

/* Puts a record of the table into the set, in order if the set has one, else at the end. Returns
 * its position, or -1 for a pointer that is no record's or when memory ran out. */
HEARTH_API int32_t mdbl_RSAdd(MDBL_RecordSet *set, void *record);

/* --- Marks and flags of entries. These ignore NULL, and do nothing when memory ran out. --- */

HEARTH_API void mdbl_RSMark(MDBL_RecordSet *set);         /* the entry at the cursor */
HEARTH_API void mdbl_RSUnmark(MDBL_RecordSet *set);       /* the entry at the cursor */
HEARTH_API void mdbl_RSMarkAll(MDBL_RecordSet *set);      /* all entries */
HEARTH_API void mdbl_RSUnmarkAll(MDBL_RecordSet *set);    /* all entries */
HEARTH_API void mdbl_RSInvertMarked(MDBL_RecordSet *set); /* all entries */

/* Returns 1 if the entry at the cursor is marked, else 0. */
HEARTH_API int32_t mdbl_RSIsMarked(const MDBL_RecordSet *set);

/* Returns the number of marked entries and stores in `records` an array of their record pointers,
 * which the caller frees; NULL if there are none. */
HEARTH_API uint32_t mdbl_RSGetMarked(const MDBL_RecordSet *set, void ***records);

/* Takes the marked entries out of the set and returns their number. */
HEARTH_API uint32_t mdbl_RSRemoveMarked(MDBL_RecordSet *set);

/* Flags of the entry at a position, numbers 0 to 6. They can be set from the first mark on, until
 * the set is sorted or reversed; before, and for numbers out of range, these do nothing. */
HEARTH_API int32_t mdbl_RSGetRecordFlag(const MDBL_RecordSet *set, uint32_t position,
                                        uint32_t flag); /* returns 1 or 0 */
HEARTH_API void mdbl_RSSetRecordFlag(MDBL_RecordSet *set, uint32_t position, uint32_t flag);
HEARTH_API void mdbl_RSResetRecordFlag(MDBL_RecordSet *set, uint32_t position, uint32_t flag);

/*
 * Updates a part of the marked records, in pieces: each call goes on behind the last one, until a
 * mark is set or cleared.
 *   argument   not NULL
 *   max_count  updates of this call at most
 *   out_count  receives how many were made, or NULL
 *   offset     first byte that is written back, 0 to 1023
 *   length     bytes that are written back, which end before the record's last byte
 * Returns MDBL_OK or MDBL_ERR_GENERAL.
 */
HEARTH_API int32_t mdbl_RSUpdateMarkedField(MDBL_RecordSet *set, MDBL_Update update, void *argument,
                                            uint32_t max_count, uint32_t *out_count, int32_t offset,
                                            uint32_t length);

/* The same for whole records. */
HEARTH_API int32_t mdbl_RSUpdateMarked(MDBL_RecordSet *set, MDBL_Update update, void *argument,
                                       uint32_t max_count, uint32_t *out_count);

/* Deletes marked records with their entries, `max_count` at most, and stores how many in
 * `out_count`, which may be NULL. After a failure the records before it are deleted. */
HEARTH_API int32_t mdbl_RSDeleteMarked(MDBL_RecordSet *set, uint32_t max_count,
                                       uint32_t *out_count);

/* Sorts the entries, keeps `compare` as the set's order, and drops marks and flags. The cursor
 * goes to the first entry. NULL does nothing. */
HEARTH_API void mdbl_RSSort(MDBL_RecordSet *set, MDBL_Compare compare);

/* Turns the order of the entries round and drops marks and flags. The cursor goes to the first
 * entry. */
HEARTH_API void mdbl_RSReverse(MDBL_RecordSet *set);

HEARTH_END_DECLS

#endif
