// A table beside its model. The model outlives the worker, so that the next one can tell whether
// the table holds what it held before the change that a kill interrupted, or what it was to hold.
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include <memory>
#include <vector>

#include "hearth/mdblite.h"
#include "soak/worker.h"

namespace hearth::soak {

namespace {

constexpr const char *kJournal = "/data/userdata/journal_file";
constexpr off_t kJournalSize = 1288;
constexpr uint32_t kGroups = 20;
enum Index : uint32_t { kBySerial = 1, kByGroup = 2 };

struct Record {
    uint32_t serial;
    uint32_t group;
    uint32_t version;
    uint32_t sum;  // of the three before it: a record is one version or another, not both
    char text[44];
    char stores_own[4];
};
static_assert(sizeof(Record) == 64);

Record make_record(uint32_t serial, uint32_t group, uint32_t version) {
    Record record{serial, group, version, 0, {}, {}};
    record.sum = mix(&record, offsetof(Record, sum));
    memset(record.text, static_cast<int>('a' + version % 26), sizeof record.text - 1);
    return record;
}

bool is_whole(const Record &record) {
    Record made = make_record(record.serial, record.group, record.version);
    return record.serial < kRecords && memcmp(&made, &record, offsetof(Record, stores_own)) == 0;
}

template <uint32_t Record::*Field>
int compare(const void *element, const void *key) {
    uint32_t a = static_cast<const Record *>(element)->*Field;
    uint32_t b = static_cast<const Record *>(key)->*Field;
    return a < b ? -1 : a > b;
}

constexpr MDBL_Compare kCompares[] = {nullptr, compare<&Record::serial>, compare<&Record::group>};

int set_version(void *record, void *version) {
    auto *present = static_cast<Record *>(record);
    *present = make_record(present->serial, present->group, *static_cast<uint32_t *>(version));
    return 0;
}

int collect(void *record, void *records) {
    static_cast<std::vector<Record> *>(records)->push_back(*static_cast<Record *>(record));
    return 1;
}

using TablePointer = std::unique_ptr<MDBL_Table, decltype(&mdbl_TableClose)>;
using Kind = TableModel::Kind;

class Keeper {
  public:
    Keeper(Hand &hand, TableModel &model, const char *path, bool journal)
        : hand_(hand), model_(model), path_(path), journal_(journal) {}

    bool start() {
        if (journal_ && !restore()) {
            return false;
        }
        if (!open()) {
            return false;
        }
        return !model_.begun ? (model_.begun = true) : look_after_kill();
    }

    void step() {
        switch (hand_.pick(100)) {
            case 0:
                reopen();
                break;
            case 1:
                expect(MDBL_OK, "commit", mdbl_TableCommit(table_.get()));
                break;
            case 2:
                change({.kind = Kind::kTruncate});
                break;
            case 3:
                change({.kind = Kind::kRecreate});
                break;
            case 4:
                compare_all();
                break;
            default:
                change_records();
                break;
        }
        count(kChanges);
    }

  private:
    struct Wanted {
        Kind kind;
        bool whole_group = false;
        uint32_t serial = 0;
    };

    // Only a journal that was never written is damaged.
    bool restore() {
        struct stat status {};
        bool complete = stat(kJournal, &status) == 0 && status.st_size == kJournalSize;
        int32_t result = hand_.call("mdbl_JournalRestore", 0, mdbl_JournalRestore);
        mdbl_JournalEnable();
        return result == MDBL_ERR_GENERAL && !complete ? true : expect(MDBL_OK, "restore", result);
    }

    bool open() {
        int32_t made = mdbl_CreateTable(path_, sizeof(Record), kRecords, 0);
        if (made != MDBL_OK && made != MDBL_ERR_EXISTS) {
            return expect(MDBL_OK, "create", made);
        }
        MDBL_Table *table = nullptr;
        int32_t result = mdbl_OpenTable(path_, 0, 0, 0, &table);
        while (result == MDBL_MORE_TO_CACHE) {
            result = mdbl_TableCache(table);
        }
        table_.reset(table);
        return expect(MDBL_OK, "open", result) &&
               expect(MDBL_OK, "index",
                      mdbl_TableCreateIndex(table, kBySerial, kCompares[kBySerial])) &&
               expect(MDBL_OK, "index",
                      mdbl_TableCreateIndex(table, kByGroup, kCompares[kByGroup]));
    }

    void reopen() {
        table_.reset();
        open();
    }

    bool expect(int32_t wanted, const char *what, int32_t result) const {
        if (result != wanted) {
            fail("table %s: %s gave %d, not %d", path_, what, result, wanted);
        }
        return result == wanted;
    }

    // What the table holds, by serial number; false when a record is torn or there twice.
    bool read_all(std::vector<TableModel::Entry> &entries) {
        entries.assign(kRecords, {});
        for (uint32_t index : {kBySerial, kByGroup}) {
            std::vector<Record> records;
            expect(MDBL_OK, "enumerate",
                   mdbl_TableEnumerate(table_.get(), index, collect, &records));
            for (size_t i = 0; i < records.size(); i++) {
                const Record &record = records[i];
                if (!is_whole(record) ||
                    (i > 0 && kCompares[index](&records[i - 1], &record) >= (index == kByGroup))) {
                    fail("table %s: record %u, group %u, version %u is torn or out of order", path_,
                         record.serial, record.group, record.version);
                    return false;
                }
                entries[record.serial] = {true, record.group, record.version};
            }
        }
        return true;
    }

    static bool same(const TableModel::Entry &a, const TableModel::Entry &b) {
        return a.present == b.present &&
               (!a.present || (a.group == b.group && a.version == b.version));
    }

    bool compare_all() {
        std::vector<TableModel::Entry> found;
        if (!read_all(found)) {
            return false;
        }
        for (uint32_t serial = 0; serial < kRecords; serial++) {
            if (!same(found[serial], model_.entries[serial])) {
                fail("table %s: record %u is not as it was written", path_, serial);
                return false;
            }
        }
        return true;
    }

    // Each record is as before the change or as after it. Changes of several records go one after
    // the other; the others are all or nothing.
    bool look_after_kill() {
        count(kRestores);
        std::vector<TableModel::Entry> found;
        if (!read_all(found)) {
            return false;
        }
        uint32_t before = 0, after = 0;
        for (uint32_t serial = 0; serial < kRecords; serial++) {
            bool touched = model_.touches(serial);
            bool old = same(found[serial], model_.entries[serial]);
            if (!old && !(touched && same(found[serial], model_.changed(serial)))) {
                fail("table %s: after a kill in change %u record %u is neither old nor new", path_,
                     model_.change.kind.load(), serial);
                return false;
            }
            (old ? before : after) += touched;
        }
        if (before != 0 && after != 0 && !model_.change.whole_group) {
            fail("table %s: after a kill change %u is half done, %u of %u", path_,
                 model_.change.kind.load(), after, before + after);
            return false;
        }
        std::copy(found.begin(), found.end(), model_.entries);
        model_.change.kind = Kind::kNone;
        return true;
    }

    void change_records() {
        uint32_t serial = hand_.pick(kRecords);
        bool present = model_.entries[serial].present;
        if (!present) {
            change({Kind::kInsert, false, serial});
        } else {
            Kind kind = hand_.pick(3) == 0 ? Kind::kDelete : Kind::kUpdate;
            change({kind, hand_.pick(kind == Kind::kDelete ? 10 : 2) == 0, serial});
        }
    }

    // The model learns of the change before the table does, and that it is done after.
    void change(Wanted wanted) {
        TableModel::Change &change = model_.change;
        change.whole_group = wanted.whole_group;
        change.serial = wanted.serial;
        change.group = wanted.kind == Kind::kInsert ? hand_.pick(kGroups)
                                                    : model_.entries[wanted.serial].group;
        change.version = hand_.pick(1u << 30);
        change.kind = wanted.kind;
        hand_.call("a change of a table", 0, [&] { return carry_out(change) ? 1 : 0; });
        TableModel::Entry entries[kRecords];
        for (uint32_t serial = 0; serial < kRecords; serial++) {
            entries[serial] = model_.changed(serial);
        }
        // A kill from here to the end finds each entry old or new, as the table is.
        std::copy(std::begin(entries), std::end(entries), model_.entries);
        change.kind = Kind::kNone;
    }

    bool carry_out(TableModel::Change &change) {
        uint32_t index = change.whole_group ? kByGroup : kBySerial;
        Record record = make_record(change.serial, change.group, change.version);
        switch (change.kind) {
            case Kind::kInsert:
                return expect(MDBL_OK, "insert", mdbl_TableInsert(table_.get(), &record, nullptr));
            case Kind::kDelete:
                return expect(MDBL_OK, "delete",
                              mdbl_TableDelete(table_.get(), index, kCompares[index], &record));
            case Kind::kUpdate:
                return expect(MDBL_OK, "update",
                              mdbl_TableUpdate(table_.get(), index, kCompares[index], set_version,
                                               &record, &change.version));
            case Kind::kTruncate:
                return expect(MDBL_OK, "truncate", mdbl_TableTruncate(table_.get()));
            default:
                table_.reset();
                return expect(MDBL_OK, "drop", mdbl_DropTable(path_)) && open();
        }
    }

    Hand &hand_;
    TableModel &model_;
    const char *path_;
    bool journal_;
    TablePointer table_{nullptr, mdbl_TableClose};
};

}  // namespace

void keep_table(const Worker &worker, TableModel &model, const char *path, bool journal) {
    Hand hand(worker, 0);
    Keeper keeper(hand, model, path, journal);
    if (keeper.start()) {
        hand.repeat([&] { keeper.step(); }, 100);
    }
}

}  // namespace hearth::soak
