// Replies of several lines: the versions and the own numbers.
#include <pthread.h>
#include <string.h>

#include "ats/atapi/at_exchange.h"
#include "base/text.h"
#include "hearth/at_comm.h"
#include "hearth/at_k7.h"
#include "hearth/at_utils.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_k7"};
constexpr uint32_t kVersionLines = 32;
constexpr uint32_t kPhynumLines = 10;

constexpr Member kVersion =
    member({.command = "AT^VERSION?",
            .match = "^VERSION",
            .multi_line = 1,
            .key = "^VERSION",
            .table = 15,
            .source = &kLogSource,
            .no_record = {OSA_LOG_ERROR, "[at_version] input param error!\n"},
            .failed = {OSA_LOG_WARNING, "AT^VERSION? result parse failed!\n"},
            .refused = {OSA_LOG_WARNING, "AT^VERSION? is abnormal!Error num is %d.\n"}});
constexpr Member kPhynum = member({.command = "AT^PHYNUM?", .match = "^PHYNUM", .multi_line = 1});

// The answer of the first success, kept for the life of the process. Guarded by the lock, so that
// no thread sees half of a copy.
pthread_mutex_t g_version_lock = PTHREAD_MUTEX_INITIALIZER;
at_version_reply tempversion_info;
bool flag_version = false;

// The lines of a reply, released at the end of the scope.
struct Lines {
    char *texts[kVersionLines];
    uint32_t count;

    Lines(const char *report, uint32_t limit, const char *marker) : count(limit) {
        get_substring(report, texts, &count, marker);
    }
    Lines(const Lines &) = delete;
    Lines &operator=(const Lines &) = delete;
    ~Lines() { reslease_substring(texts, count); }
};

// Puts a value into the text of the first word that it holds. Returns the word's bit, 0 for none.
uint32_t take_version(const char *value, at_version_reply *record) {
    struct {
        const char *word;
        char *text;
    } const places[] = {{"EXTD", record->extd}, {"EXTH", record->exth}, {"EXTS", record->exts}};
    for (uint32_t i = 0; value != nullptr && i < 3; i++) {
        if (strstr(value, places[i].word) != nullptr) {
            hearth::copy_text(places[i].text, sizeof record->extd, value);
            record->err = 0;
            return 1u << i;
        }
    }
    return 0;
}

// Reads line after line until all three have been found.
int32_t find_versions(const Lines &lines, at_version_reply *record) {
    constexpr uint32_t kAll = 7;
    uint32_t found = 0;
    for (uint32_t i = 0; i < lines.count; i++) {
        hearth::ResultList list;
        at_cmd_parse(list.out(), kVersion.key, lines.texts[i], kVersion.table, kVersion.action);
        if (!list) {
            HEARTH_LOG(OSA_LOG_ERROR, "at_cmd_parse error!\n");
            return -1;
        }
        found |= take_version(list->AtFieldValue, record);
        if (found == kAll) {
            return 0;
        }
    }
    HEARTH_LOG(OSA_LOG_INFO, "find EXTD failed.\n");
    return -1;
}

bool take_kept(at_version_reply *record) {
    hearth::MutexLock lock(g_version_lock);
    if (flag_version) {
        *record = tempversion_info;
    }
    return flag_version;
}

void keep(const at_version_reply &record) {
    hearth::MutexLock lock(g_version_lock);
    tempversion_info = record;
    flag_version = true;
}

}  // namespace

int32_t at_version(at_version_reply *record) {
    if (record == nullptr) {
        log_text(kVersion, kVersion.no_record, 0);
        return -1;
    }
    if (take_kept(record)) {
        HEARTH_LOG(OSA_LOG_INFO, "[at_version] get data from buffer!\n");
        return 0;
    }
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kVersion, &message, record, nullptr, &result)) {
        return result;
    }
    Lines lines(message.report, kVersionLines, kVersion.key);
    if (lines.count == 0) {
        HEARTH_LOG(OSA_LOG_INFO, "version number list size equal zero.\n");
        return -1;
    }
    if (find_versions(lines, record) != 0) {
        return -1;
    }
    keep(*record);
    return 0;
}

int32_t at_QryPhynum(at_phynum_list *record) {
    if (record == nullptr) {
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kPhynum, &message, nullptr, nullptr, &result)) {
        return result;
    }
    Lines lines(message.report, kPhynumLines, kPhynum.match);
    for (uint32_t i = 0; i < lines.count; i++) {
        hearth::copy_text(record->lines[i], lines.texts[i]);
    }
    record->count = static_cast<int32_t>(lines.count);
    return 0;
}
