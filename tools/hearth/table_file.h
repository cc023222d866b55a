// A table's file and the journal as bytes (docs/table-store.md), read without the library, so that
// damage can be told.
#pragma once

#include <string>

#include "tool.h"

namespace hearth::tool {

struct TableHeader {
    uint32_t version;
    uint32_t record_size;
    uint32_t max_records;
    bool preallocated;
};

// Failure when the file is too short, or no table, or out of limits.
TableHeader read_table_header(const std::string &path);

// What was found in the slots.
struct TableReport {
    uint32_t slots = 0;    // up to the end of the table
    uint32_t records = 0;  // among them
    std::vector<std::string> problems;
};

TableReport examine_table(const std::string &path);

constexpr const char *kJournalPath = "/data/userdata/journal_file";

// "state" and, for a pending update, where its bytes go.
Json read_journal();

}  // namespace hearth::tool
