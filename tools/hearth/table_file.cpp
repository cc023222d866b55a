#include "table_file.h"

#include <sys/stat.h>

#include <cstring>

#include "hearth/mdblite.h"

namespace hearth::tool {

namespace {

constexpr size_t kHeaderSize = 10;
// The two bits of a slot's flag.
constexpr unsigned kRecord = 1;
constexpr unsigned kEnd = 2;

constexpr size_t kJournalSize = 1288;
constexpr size_t kJournalPathSize = 256;
constexpr size_t kJournalPathAt = 8;
constexpr size_t kJournalDataSize = 1024;

uint32_t number(const std::string &bytes, size_t at, size_t width) {
    uint32_t value = 0;
    memcpy(&value, bytes.data() + at, width);
    return value;
}

TableHeader parse_header(const std::string &path, const std::string &bytes) {
    if (bytes.size() < kHeaderSize) {
        throw Failure(path + " has " + std::to_string(bytes.size()) +
                      " bytes, and the header of a table alone has 10");
    }
    if (memcmp(bytes.data(), "\x42\xdb", 2) != 0) {
        throw Failure("cannot open " + path, kTableResults, MDBL_ERR_BAD_MAGIC);
    }
    TableHeader header = {number(bytes, 2, 1), number(bytes, 4, 2), number(bytes, 6, 2),
                          bytes[8] != 0};
    if (header.version != 1) {
        throw Failure("cannot open " + path, kTableResults, MDBL_ERR_BAD_VERSION);
    }
    if (header.record_size < 4 || header.record_size > MDBL_MAX_RECORD_SIZE ||
        header.record_size % 4 != 0 || header.max_records == 0 ||
        header.max_records > MDBL_MAX_RECORDS) {
        throw Failure(path + " has a header out of limits: record size " +
                      std::to_string(header.record_size) + ", at most " +
                      std::to_string(header.max_records) + " records");
    }
    return header;
}

}  // namespace

TableHeader read_table_header(const std::string &path) {
    return parse_header(path, read_file(path));
}

TableReport examine_table(const std::string &path) {
    std::string bytes = read_file(path);
    TableHeader header = parse_header(path, bytes);
    TableReport report;
    size_t body = bytes.size() - kHeaderSize;
    size_t whole = std::min<size_t>(body / header.record_size, header.max_records);
    bool ended = false;
    for (size_t i = 0; i < whole && !ended; i++) {
        size_t flag_at = kHeaderSize + (i + 1) * header.record_size - 1;
        auto flag = static_cast<unsigned char>(bytes[flag_at]);
        if (flag > (kRecord | kEnd)) {
            report.problems.push_back("slot " + std::to_string(i) + " has the flag " +
                                      std::to_string(flag) + "; only its lowest two bits count");
        }
        report.slots++;
        report.records += flag & kRecord;
        ended = (flag & kEnd) != 0;
    }
    if (!ended) {
        report.problems.push_back(
            "no end mark: the table ends with its last whole slot, and the next insert marks it");
    }
    if (header.preallocated && whole < header.max_records) {
        report.problems.push_back("the file has " + std::to_string(whole) + " of its " +
                                  std::to_string(header.max_records) + " slots");
    }
    if (body > size_t{header.max_records} * header.record_size) {
        report.problems.push_back("bytes behind the last possible slot are ignored");
    } else if (body % header.record_size != 0) {
        report.problems.push_back(
            "the last slot is not whole: " + std::to_string(body % header.record_size) + " of " +
            std::to_string(header.record_size) + " bytes");
    }
    return report;
}

Json read_journal() {
    struct stat status {};
    if (stat(kJournalPath, &status) != 0) {
        return {{"journal", kJournalPath}, {"state", "absent"}};
    }
    std::string bytes = read_file(kJournalPath);
    if (bytes.size() < kJournalSize) {
        return {{"journal", kJournalPath},
                {"state", "damaged"},
                {"bytes", bytes.size()},
                {"expected_bytes", kJournalSize}};
    }
    if (bytes[0] != 1) {
        return {{"journal", kJournalPath}, {"state", "empty"}};
    }
    std::string path = bytes.substr(kJournalPathAt, kJournalPathSize);
    uint32_t length = number(bytes, 2, 2);
    return {{"journal", kJournalPath},
            {"state", length < kJournalDataSize ? "pending" : "damaged"},
            {"table", printable(path.substr(0, path.find('\0')))},
            {"offset", number(bytes, 4, 4)},
            {"bytes", length}};
}

}  // namespace hearth::tool
