// hearth table: tables and their records.

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "hearth/mdblite.h"
#include "record_layout.h"
#include "table_file.h"
#include "tool.h"

namespace hearth::tool {

namespace {

struct TableOptions {
    std::string path;
    std::string layout;
    bool packed = false;
    std::vector<std::string> where;
    std::vector<std::string> values;
    std::string order;
    uint32_t limit = 0;
    uint16_t max_records = 100;
    bool preallocate = false;
    bool replace = false;
    bool all = false;
    bool restore = false;
    bool journal = false;
};

void expect_ok(const std::string &what, int32_t result) {
    if (result != MDBL_OK) {
        throw Failure(what, kTableResults, result,
                      result == MDBL_ERR_NO_FILE ? kExitNotFound : kExitFailed);
    }
}

struct CloseTable {
    void operator()(MDBL_Table *table) const { mdbl_TableClose(table); }
};
struct DestroySet {
    void operator()(MDBL_RecordSet *set) const { mdbl_RSDestroy(set); }
};
using Table = std::unique_ptr<MDBL_Table, CloseTable>;
using RecordSet = std::unique_ptr<MDBL_RecordSet, DestroySet>;

Table open_table(const std::string &path) {
    MDBL_Table *table = nullptr;
    int32_t result = mdbl_OpenTableEx(path.c_str(), 0, 0, 0, &table);
    Table opened(result == MDBL_OK || result == MDBL_MORE_TO_CACHE ? table : nullptr);
    while (result == MDBL_MORE_TO_CACHE) {
        result = mdbl_TableCache(table);
    }
    expect_ok("cannot open " + path, result);
    return opened;
}

// The layout, which must lie within the table's record.
RecordLayout layout_for(const TableOptions &options, const TableHeader &header) {
    RecordLayout layout(options.layout, options.packed);
    if (layout.record_size() > header.record_size) {
        throw Failure("the layout needs records of " + std::to_string(layout.record_size()) +
                          " bytes, and those of " + options.path + " have " +
                          std::to_string(header.record_size),
                      kExitUsage);
    }
    return layout;
}

void run_create(const TableOptions &options) {
    RecordLayout layout(options.layout, options.packed);
    auto size = static_cast<uint16_t>(layout.record_size());
    // The store itself would replace a table with other sizes by an empty one.
    struct stat status {};
    if (!options.replace && stat(options.path.c_str(), &status) == 0) {
        throw Failure("cannot make " + options.path, kTableResults, MDBL_ERR_EXISTS);
    }
    expect_ok("cannot make " + options.path,
              mdbl_CreateTableEx(options.path.c_str(), size, options.max_records,
                                 options.preallocate ? 1 : 0));
    Json fields = Json::array();
    for (const RecordField &field : layout.fields()) {
        fields.push_back({{"offset", field.offset}, {"type", field.type}, {"field", field.name}});
    }
    show({{"table", options.path},
          {"record_size", size},
          {"most_records", options.max_records},
          {"fields", fields}});
}

void run_info(const TableOptions &options) {
    TableHeader header = read_table_header(options.path);
    Table table = open_table(options.path);
    struct stat status {};
    stat(options.path.c_str(), &status);
    show({{"table", options.path},
          {"version", header.version},
          {"record_size", header.record_size},
          {"records", mdbl_TableSize(table.get())},
          {"most_records", header.max_records},
          {"preallocated", header.preallocated},
          {"file_size", status.st_size}});
}

struct Condition {
    const RecordLayout *layout;
    const std::vector<std::string> *where;
};

int take_matching(const void *record, const void *argument) {
    const auto *condition = static_cast<const Condition *>(argument);
    bool all = std::all_of(condition->where->begin(), condition->where->end(),
                           [&](const std::string &assignment) {
                               return condition->layout->matches(record, assignment);
                           });
    return all ? 0 : 1;
}

RecordSet select(MDBL_Table *table, const Condition &condition) {
    // A wrong condition is told here, not from within the library.
    std::string probe(MDBL_MAX_RECORD_SIZE, '\0');
    take_matching(probe.data(), &condition);
    RecordSet set(mdbl_TableSelectWithoutIndex(table, take_matching, &condition));
    if (set == nullptr) {
        throw Failure("cannot select records", kTableResults, MDBL_ERR_NO_MEMORY);
    }
    return set;
}

void sort_rows(Json &rows, const RecordLayout &layout, const std::string &order) {
    bool descending = order[0] == '-';
    std::string name = layout.find(order.substr(descending ? 1 : 0)).name;
    std::stable_sort(rows.begin(), rows.end(), [&](const Json &a, const Json &b) {
        return descending ? b[name] < a[name] : a[name] < b[name];
    });
}

void run_dump(const TableOptions &options) {
    TableHeader header = read_table_header(options.path);
    std::string hex = "bytes[" + std::to_string(header.record_size - 1) + "] record";
    RecordLayout layout =
        options.layout.empty() ? RecordLayout(hex, true) : layout_for(options, header);
    Table table = open_table(options.path);
    RecordSet set = select(table.get(), {&layout, &options.where});
    Json rows = Json::array();
    for (uint32_t i = 0; i < mdbl_RSSize(set.get()); i++) {
        void *record = nullptr;
        expect_ok("cannot read a record", mdbl_RSGetAt(set.get(), i, MDBL_READ_POINTER, &record));
        rows.push_back(layout.read(record));
    }
    if (!options.order.empty()) {
        sort_rows(rows, layout, options.order);
    }
    if (options.limit != 0 && rows.size() > options.limit) {
        rows.erase(rows.begin() + options.limit, rows.end());
    }
    show(rows);
}

void run_insert(const TableOptions &options) {
    TableHeader header = read_table_header(options.path);
    RecordLayout layout = layout_for(options, header);
    std::string record(header.record_size, '\0');
    for (const std::string &value : options.values) {
        layout.write(record, value);
    }
    Table table = open_table(options.path);
    uint32_t slot = mdbl_TableGetFirstEmptySlotIndex(table.get());
    expect_ok("cannot insert into " + options.path,
              mdbl_TableInsert(table.get(), record.data(), nullptr));
    show({{"slot", slot}, {"records", mdbl_TableSize(table.get())}});
}

struct Change {
    const RecordLayout *layout;
    const std::vector<std::string> *values;
    size_t size;
};

int apply(void *record, void *argument) {
    const auto *change = static_cast<const Change *>(argument);
    std::string bytes(static_cast<const char *>(record), change->size);
    for (const std::string &value : *change->values) {
        change->layout->write(bytes, value);
    }
    memcpy(record, bytes.data(), change->size - 1);
    return 0;
}

void run_update(const TableOptions &options) {
    if (options.where.empty() && !options.all) {
        throw Failure("tell which records with --where FIELD=VALUE, or --all", kExitUsage);
    }
    TableHeader header = read_table_header(options.path);
    RecordLayout layout = layout_for(options, header);
    Change change = {&layout, &options.values, header.record_size};
    // A wrong value is told here, not from within the library.
    std::string probe(header.record_size, '\0');
    apply(probe.data(), &change);
    if (options.journal) {
        mdbl_JournalEnable();
    }
    Table table = open_table(options.path);
    RecordSet set = select(table.get(), {&layout, &options.where});
    uint32_t count = mdbl_RSSize(set.get());
    if (count == 0 && !options.all) {
        throw Failure("nothing updated", kTableResults, MDBL_ERR_NOT_FOUND, kExitNotFound);
    }
    for (uint32_t i = 0; i < count; i++) {
        expect_ok("cannot update a record, after " + std::to_string(i),
                  mdbl_RSUpdateAt(set.get(), i, apply, &change));
    }
    show({{"updated", count}, {"records", mdbl_TableSize(table.get())}});
}

void run_delete(const TableOptions &options) {
    if (options.where.empty() && !options.all) {
        throw Failure("tell which records with --where FIELD=VALUE, or --all", kExitUsage);
    }
    TableHeader header = read_table_header(options.path);
    RecordLayout layout =
        options.layout.empty() ? RecordLayout("pad[1]", true) : layout_for(options, header);
    Table table = open_table(options.path);
    RecordSet set = select(table.get(), {&layout, &options.where});
    uint32_t deleted = 0;
    while (mdbl_RSSize(set.get()) > 0) {
        expect_ok("cannot delete a record, after " + std::to_string(deleted),
                  mdbl_RSDeleteAt(set.get(), 0));
        deleted++;
    }
    if (deleted == 0 && !options.all) {
        throw Failure("nothing deleted", kTableResults, MDBL_ERR_NOT_FOUND, kExitNotFound);
    }
    show({{"deleted", deleted}, {"records", mdbl_TableSize(table.get())}});
}

void run_check(const TableOptions &options) {
    TableReport report = examine_table(options.path);
    Table table = open_table(options.path);
    if (mdbl_TableSize(table.get()) != report.records) {
        report.problems.push_back("the store reads " + std::to_string(mdbl_TableSize(table.get())) +
                                  " records, the file has " + std::to_string(report.records));
    }
    Json problems = Json::array();
    for (const std::string &problem : report.problems) {
        problems.push_back({{"problem", problem}});
    }
    Json document = {{"table", options.path},
                     {"slots", report.slots},
                     {"records", report.records},
                     {"sound", report.problems.empty()}};
    if (!problems.empty()) {
        document["problems"] = problems;
    }
    show(document);
    if (!report.problems.empty()) {
        throw Quiet{kExitFailed};
    }
}

void run_journal(const TableOptions &options) {
    Json journal = read_journal();
    if (options.restore && journal["state"] != "absent") {
        int32_t result = mdbl_JournalRestore();
        expect_ok("cannot complete the pending update", result);
        journal = read_journal();
    }
    show(journal);
}

void add_layout(Command command, TableOptions &options, bool required) {
    command
        .option("--layout", options.layout,
                "fields of a record, such as \"u32 index, text[24] number\"; types are "
                "u8 to u64, s8 to s64, text[N], wide[N] (16-bit units), bytes[N], pad[N]")
        .from_environment("HEARTH_LAYOUT")
        .required(required);
    command.flag("--packed", options.packed,
                 "fields lie back to back, not as a C compiler lays them");
}

void add_where(Command command, TableOptions &options) {
    command
        .option("--where", options.where,
                "FIELD=VALUE that a record must have; may be told several times")
        .one_at_a_time();
}

struct TableCommand {
    Command command;
    TableOptions &options;
};

TableCommand add_command(Command table, const char *name, const char *text,
                         void (*run)(const TableOptions &)) {
    Command command = table.command(name, text);
    TableOptions &options = on_run(command, run);
    command.option("FILE", options.path, "the table's file").required();
    return {command, options};
}

}  // namespace

void add_table_commands(Command app) {
    Command table = app.group("table", "look into tables, and change them");
    table.explain("Change a table only while no daemon holds it open.");

    auto [create, creating] = add_command(table, "create", "make an empty table", run_create);
    add_layout(create, creating, true);
    create.option("--max", creating.max_records, "most records that it holds")
        .range(1, MDBL_MAX_RECORDS)
        .show_default();
    create.flag("--preallocate", creating.preallocate, "the file has all slots from the start");
    create.flag("--replace", creating.replace,
                "replace a table of other sizes, with all its records");

    add_command(table, "info", "sizes and counts", run_info);

    auto [dump, dumping] = add_command(table, "dump", "print the records", run_dump);
    add_layout(dump, dumping, false);
    add_where(dump, dumping);
    dump.explain("Without --layout records are shown in hexadecimal.");
    dump.option("--order", dumping.order, "field to sort by; -FIELD for descending");
    dump.option("--limit", dumping.limit, "most records that are printed");

    auto [insert, inserting] = add_command(table, "insert", "add a record", run_insert);
    insert.option("VALUES", inserting.values, "FIELD=VALUE; what is not told is zero").required();
    add_layout(insert, inserting, true);

    auto [update, updating] = add_command(table, "update", "change fields of records", run_update);
    update.option("VALUES", updating.values, "FIELD=VALUE; other fields stay").required();
    add_layout(update, updating, true);
    add_where(update, updating);
    update.flag("--all", updating.all, "change every record");
    update.flag("--journal", updating.journal,
                "each record changes whole or not at all, whatever crashes");

    auto [remove, removing] = add_command(table, "delete", "delete records", run_delete);
    add_layout(remove, removing, false);
    add_where(remove, removing);
    remove.flag("--all", removing.all, "delete every record");

    add_command(table, "check", "look for damage in the file; fails if there is any", run_check);

    Command journal = table.command("journal", "show the update that a crash left pending");
    journal.flag("--restore", on_run(journal, run_journal).restore, "complete it");
}

}  // namespace hearth::tool
