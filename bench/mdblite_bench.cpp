// The table store beside LMDB without sync, SQLite with a write-ahead log and without sync, and
// the bare system call that a change costs at least. Each change is handed to the kernel on its
// own. Times of work are processor time, of one operation. Runs in a device root.
// packages: liblmdb-dev libsqlite3-dev
// link: lmdb sqlite3
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <lmdb.h>
#include <malloc.h>
#include <sqlite3.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include "bench/processes.h"
#include "hearth/mdblite.h"

namespace {

bool g_syncs_count;

}  // namespace

// The library's syncs pass through here, to be left out where peers leave theirs out.
extern "C" __attribute__((visibility("default"))) int fdatasync(int fd) {
    static auto *real = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "fdatasync"));
    return g_syncs_count ? real(fd) : 0;
}

namespace {

constexpr uint32_t kRecords = 3000;
constexpr uint16_t kSize = 64;
constexpr const char *kFolder = "/data/userdata/bench";
constexpr const char *kTable = "/data/userdata/bench/table";

struct Record {
    uint32_t key;
    char data[kSize - 4];
};
static_assert(sizeof(Record) == kSize);

Record record_of(uint32_t key) {
    Record record{};
    record.key = key;
    memset(record.data, 'a' + static_cast<int>(key % 26), sizeof record.data - 1);
    return record;
}

void require(bool fine) {
    if (!fine) {
        abort();
    }
}

class Hearth {
  public:
    explicit Hearth(uint32_t capacity = kRecords) {
        require(mdbl_CreateTable(kTable, kSize, static_cast<uint16_t>(capacity), 0) == MDBL_OK);
        open();
        build_index();
    }
    ~Hearth() { mdbl_TableClose(table_); }
    Hearth(const Hearth &) = delete;
    Hearth &operator=(const Hearth &) = delete;

    void open() {
        int32_t result = mdbl_OpenTable(kTable, 0, 0, 0, &table_);
        while (result == MDBL_MORE_TO_CACHE) {
            result = mdbl_TableCache(table_);
        }
        require(result == MDBL_OK);
    }
    void close() {
        mdbl_TableClose(table_);
        table_ = nullptr;
    }
    void build_index() { require(mdbl_TableCreateIndex(table_, 1, compare) == MDBL_OK); }
    void destroy_index() { mdbl_TableDestroyIndex(table_, 1); }

    void insert(uint32_t key) {
        Record record = record_of(key);
        require(mdbl_TableInsert(table_, &record, nullptr) == MDBL_OK);
    }
    void update(uint32_t key) {
        auto change = [](void *record, void *) {
            static_cast<Record *>(record)->data[0]++;
            return 0;
        };
        require(mdbl_TableUpdate(table_, 1, compare, change, &key, nullptr) == MDBL_OK);
    }
    void remove(uint32_t key) { require(mdbl_TableDelete(table_, 1, compare, &key) == MDBL_OK); }
    uint32_t select(uint32_t key) {
        MDBL_RecordSet *set = mdbl_TableSelect(table_, 1, compare, &key, 0);
        void *record = nullptr;
        require(mdbl_RSNext(set, MDBL_READ_POINTER, &record) == MDBL_OK);
        uint32_t found = static_cast<Record *>(record)->key;
        mdbl_RSDestroy(set);
        return found;
    }

  private:
    static int compare(const void *a, const void *b) {
        uint32_t left = static_cast<const Record *>(a)->key;
        uint32_t right = *static_cast<const uint32_t *>(b);
        return left < right ? -1 : left > right;
    }

    MDBL_Table *table_ = nullptr;
};

class HearthJournal : public Hearth {
  public:
    explicit HearthJournal(uint32_t capacity = kRecords) : Hearth(capacity) {
        mdbl_JournalEnable();
    }
    ~HearthJournal() {
        mdbl_JournalDisable();
        mdbl_JournalClose();
    }
};

// One write of what changes, where it belongs: what a change costs without any store.
class BareWrite {
  public:
    explicit BareWrite(uint32_t /*capacity*/ = kRecords)
        : fd_(open(kTable, O_RDWR | O_CREAT | O_TRUNC, 0644)) {
        require(ftruncate(fd_, kRecords * kSize) == 0);
    }
    ~BareWrite() { ::close(fd_); }
    BareWrite(const BareWrite &) = delete;
    BareWrite &operator=(const BareWrite &) = delete;

    void insert(uint32_t key) { write(key, kSize); }
    void update(uint32_t key) { write(key, kSize - 1); }
    void remove(uint32_t key) { write(key, 1); }

  private:
    void write(uint32_t key, size_t length) {
        Record record = record_of(key);
        require(pwrite(fd_, &record, length, static_cast<off_t>(key % kRecords * kSize)) ==
                static_cast<ssize_t>(length));
    }

    int fd_;
};

class Lmdb {
  public:
    explicit Lmdb(uint32_t /*capacity*/ = kRecords) {
        require(mdb_env_create(&env_) == 0 && mdb_env_set_mapsize(env_, 64 << 20) == 0 &&
                mdb_env_open(env_, kFolder, MDB_NOSYNC, 0644) == 0);
        MDB_txn *txn = begin(0);
        require(mdb_dbi_open(txn, nullptr, MDB_INTEGERKEY | MDB_CREATE, &dbi_) == 0);
        commit(txn);
        require(mdb_txn_begin(env_, nullptr, MDB_RDONLY, &reader_) == 0);
        mdb_txn_reset(reader_);
    }
    ~Lmdb() {
        mdb_txn_abort(reader_);
        mdb_env_close(env_);
    }
    Lmdb(const Lmdb &) = delete;
    Lmdb &operator=(const Lmdb &) = delete;

    void insert(uint32_t key) { put(record_of(key)); }
    void update(uint32_t key) {
        MDB_txn *txn = begin(0);
        Record record = get(txn, key);
        record.data[0]++;
        put_in(txn, record);
        commit(txn);
    }
    void remove(uint32_t key) {
        MDB_txn *txn = begin(0);
        MDB_val id{sizeof key, &key};
        require(mdb_del(txn, dbi_, &id, nullptr) == 0);
        commit(txn);
    }
    uint32_t select(uint32_t key) {
        require(mdb_txn_renew(reader_) == 0);
        uint32_t found = get(reader_, key).key;
        mdb_txn_reset(reader_);
        return found;
    }

  private:
    MDB_txn *begin(unsigned flags) {
        MDB_txn *txn = nullptr;
        require(mdb_txn_begin(env_, nullptr, flags, &txn) == 0);
        return txn;
    }
    static void commit(MDB_txn *txn) { require(mdb_txn_commit(txn) == 0); }
    void put(const Record &record) {
        MDB_txn *txn = begin(0);
        put_in(txn, record);
        commit(txn);
    }
    void put_in(MDB_txn *txn, Record record) {
        MDB_val id{sizeof record.key, &record.key};
        MDB_val data{sizeof record, &record};
        require(mdb_put(txn, dbi_, &id, &data, 0) == 0);
    }
    Record get(MDB_txn *txn, uint32_t key) {
        MDB_val id{sizeof key, &key};
        MDB_val data{};
        require(mdb_get(txn, dbi_, &id, &data) == 0 && data.mv_size == sizeof(Record));
        Record record;
        memcpy(&record, data.mv_data, sizeof record);
        return record;
    }

    MDB_env *env_ = nullptr;
    MDB_dbi dbi_ = 0;
    MDB_txn *reader_ = nullptr;
};

class Sqlite {
  public:
    explicit Sqlite(uint32_t /*capacity*/ = kRecords) {
        require(sqlite3_open((std::string(kFolder) + "/sqlite").c_str(), &db_) == SQLITE_OK);
        run("PRAGMA journal_mode=WAL");
        run("PRAGMA synchronous=OFF");
        run("CREATE TABLE t(key INTEGER PRIMARY KEY, data BLOB)");
        insert_ = prepare("INSERT INTO t VALUES(?1, ?2)");
        update_ = prepare("UPDATE t SET data=?2 WHERE key=?1");
        delete_ = prepare("DELETE FROM t WHERE key=?1");
        select_ = prepare("SELECT data FROM t WHERE key=?1");
    }
    ~Sqlite() {
        for (sqlite3_stmt *statement : {insert_, update_, delete_, select_}) {
            sqlite3_finalize(statement);
        }
        sqlite3_close(db_);
    }
    Sqlite(const Sqlite &) = delete;
    Sqlite &operator=(const Sqlite &) = delete;

    void insert(uint32_t key) { change(insert_, key); }
    void update(uint32_t key) { change(update_, key); }
    void remove(uint32_t key) {
        sqlite3_bind_int64(delete_, 1, key);
        step(delete_, SQLITE_DONE);
    }
    uint32_t select(uint32_t key) {
        sqlite3_bind_int64(select_, 1, key);
        require(sqlite3_step(select_) == SQLITE_ROW);
        uint32_t found = static_cast<const Record *>(sqlite3_column_blob(select_, 0))->key;
        sqlite3_reset(select_);
        return found;
    }

  private:
    void run(const char *text) {
        require(sqlite3_exec(db_, text, nullptr, nullptr, nullptr) == SQLITE_OK);
    }
    sqlite3_stmt *prepare(const char *text) {
        sqlite3_stmt *statement = nullptr;
        require(sqlite3_prepare_v2(db_, text, -1, &statement, nullptr) == SQLITE_OK);
        return statement;
    }
    static void step(sqlite3_stmt *statement, int expected) {
        require(sqlite3_step(statement) == expected);
        sqlite3_reset(statement);
    }
    void change(sqlite3_stmt *statement, uint32_t key) {
        Record record = record_of(key);
        sqlite3_bind_int64(statement, 1, key);
        sqlite3_bind_blob(statement, 2, &record, sizeof record, SQLITE_STATIC);
        step(statement, SQLITE_DONE);
    }

    sqlite3 *db_ = nullptr;
    sqlite3_stmt *insert_ = nullptr;
    sqlite3_stmt *update_ = nullptr;
    sqlite3_stmt *delete_ = nullptr;
    sqlite3_stmt *select_ = nullptr;
};

void clean_folder() {
    std::filesystem::remove_all(kFolder);
    std::filesystem::create_directories(kFolder);
}

std::vector<uint32_t> random_keys(uint32_t count) {
    std::vector<uint32_t> keys(count);
    std::iota(keys.begin(), keys.end(), 0u);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

enum class Work { kInsert, kUpdate, kDelete, kSelect };

template <typename Store>
void run_one(Store &store, Work work, uint32_t key) {
    if constexpr (requires { store.select(key); }) {
        if (work == Work::kSelect) {
            benchmark::DoNotOptimize(store.select(key));
        }
    }
    switch (work) {
        case Work::kInsert:
            return store.insert(key);
        case Work::kUpdate:
            return store.update(key);
        case Work::kDelete:
            return store.remove(key);
        case Work::kSelect:
            return;
    }
}

// Each iteration is one pass over all keys in random order on a fresh store, timed as a whole; the
// reported time is a pass divided by its operations.
template <typename Store, Work kWork>
void work(benchmark::State &state) {
    auto count = static_cast<uint32_t>(state.range(0));
    std::vector<uint32_t> keys = random_keys(count);
    for (auto _ : state) {
        clean_folder();
        Store store(count);
        if (kWork != Work::kInsert) {
            for (uint32_t key : keys) {
                store.insert(key);
            }
        }
        double start = hearth::bench::cpu_seconds();
        for (uint32_t key : keys) {
            run_one(store, kWork, key);
        }
        state.SetIterationTime((hearth::bench::cpu_seconds() - start) / count);
    }
}

#define WORK(store, kind) \
    BENCHMARK(work<store, Work::kind>)->Arg(kRecords)->UseManualTime()->Iterations(20)
WORK(BareWrite, kInsert);
WORK(Hearth, kInsert);
WORK(Lmdb, kInsert);
WORK(Sqlite, kInsert);
WORK(BareWrite, kUpdate);
WORK(Hearth, kUpdate);
WORK(HearthJournal, kUpdate);
WORK(Lmdb, kUpdate);
WORK(Sqlite, kUpdate);
WORK(BareWrite, kDelete);
WORK(Hearth, kDelete);
WORK(Lmdb, kDelete);
WORK(Sqlite, kDelete);
WORK(Hearth, kSelect);
WORK(Lmdb, kSelect);
WORK(Sqlite, kSelect);
// How the store grows.
BENCHMARK(work<Hearth, Work::kInsert>)
    ->Arg(100)
    ->Arg(300)
    ->Arg(1000)
    ->UseManualTime()
    ->Iterations(20);
BENCHMARK(work<Hearth, Work::kSelect>)
    ->Arg(100)
    ->Arg(300)
    ->Arg(1000)
    ->UseManualTime()
    ->Iterations(20);

// What a filled store takes, a record: of the heap, and on the disk.
template <typename Store>
void records(benchmark::State &state) {
    for (auto _ : state) {
        clean_folder();
        auto heap = [] {
            struct mallinfo2 info = mallinfo2();
            return static_cast<double>(info.uordblks + info.hblkhd);
        };
        double before = heap();
        Store store;
        for (uint32_t key : random_keys(kRecords)) {
            store.insert(key);
        }
        state.counters["memory"] = (heap() - before) / kRecords;
        uintmax_t size = 0;
        for (const auto &entry : std::filesystem::directory_iterator(kFolder)) {
            size += entry.file_size();
        }
        state.counters["file"] = static_cast<double>(size) / kRecords;
    }
}
BENCHMARK(records<Hearth>)->Iterations(1);
BENCHMARK(records<Lmdb>)->Iterations(1);
BENCHMARK(records<Sqlite>)->Iterations(1);

void open_and_cache(benchmark::State &state) {
    clean_folder();
    Hearth store;
    for (uint32_t key : random_keys(kRecords)) {
        store.insert(key);
    }
    for (auto _ : state) {
        store.close();
        store.open();
    }
    state.SetBytesProcessed(state.iterations() * kRecords * kSize);
}
BENCHMARK(open_and_cache);

void build_index(benchmark::State &state) {
    clean_folder();
    Hearth store;
    for (uint32_t key : random_keys(kRecords)) {
        store.insert(key);
    }
    for (auto _ : state) {
        store.destroy_index();
        store.build_index();
    }
    state.SetItemsProcessed(state.iterations() * kRecords);
}
BENCHMARK(build_index);

// The floor of an open: the file's bytes read into memory.
void read_file(benchmark::State &state) {
    clean_folder();
    BareWrite file;
    std::vector<char> bytes(kRecords * kSize);
    for (auto _ : state) {
        int fd = open(kTable, O_RDONLY);
        require(read(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
        ::close(fd);
    }
    state.SetBytesProcessed(state.iterations() * kRecords * kSize);
}
BENCHMARK(read_file);

// What one sync of one byte costs on the disk under the working directory: a journalled update
// has four of them.
void disk_sync(benchmark::State &state) {
    int fd = open("mdblite_bench.tmp", O_RDWR | O_CREAT | O_TRUNC, 0644);
    require(fd >= 0);
    g_syncs_count = true;
    char byte = 0;
    for (auto _ : state) {
        byte ^= 1;
        require(pwrite(fd, &byte, 1, 0) == 1 && fdatasync(fd) == 0);
    }
    g_syncs_count = false;
    ::close(fd);
    unlink("mdblite_bench.tmp");
}
BENCHMARK(disk_sync)->UseRealTime()->Iterations(200);

}  // namespace
