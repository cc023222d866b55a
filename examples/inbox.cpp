// An inbox in a table: received messages, kept on flash, read by two indexes.
//     inbox add NUMBER TEXT     inbox list time|number
//     inbox read SERIAL         inbox churn          (marks messages read and unread for ever)

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "hearth/mdblite.h"

namespace {

constexpr const char *kPath = "/data/userdata/inbox.mdb";
constexpr uint16_t kMost = 100;
enum Index : uint32_t { kByTime = 1, kByNumber = 2 };

struct Message {
    uint32_t serial;
    uint32_t received;
    uint32_t read;
    char number[24];
    char text[160];
    char stores_own[4];  // the last byte of a record belongs to the store
};
static_assert(sizeof(Message) % 4 == 0);

int by_time(const void *element, const void *key) {
    auto a = static_cast<const Message *>(element)->serial;
    auto b = static_cast<const Message *>(key)->serial;
    return a < b ? -1 : a > b;
}

int by_number(const void *element, const void *key) {
    return strcmp(static_cast<const Message *>(element)->number,
                  static_cast<const Message *>(key)->number);
}

int print(void *record, void *) {
    const auto *message = static_cast<const Message *>(record);
    printf("%3u %-14s %-6s %s\n", message->serial, message->number,
           message->read != 0 ? "read" : "new", message->text);
    return 1;
}

int set_read(void *record, void *value) {
    static_cast<Message *>(record)->read = *static_cast<uint32_t *>(value);
    return 0;
}

// Completes what a crash left pending, then opens the table with its indexes.
MDBL_Table *open_inbox() {
    MDBL_Table *table = nullptr;
    mdbl_JournalEnable();
    mdbl_JournalRestore();
    int32_t result = mdbl_CreateTable(kPath, sizeof(Message), kMost, 0);
    if (result == MDBL_OK || result == MDBL_ERR_EXISTS) {
        result = mdbl_OpenTable(kPath, 0, 0, 0, &table);
    }
    while (result == MDBL_MORE_TO_CACHE) {
        result = mdbl_TableCache(table);
    }
    if (result == MDBL_OK) {
        mdbl_TableCreateIndex(table, kByTime, by_time);
        mdbl_TableCreateIndex(table, kByNumber, by_number);
        return table;
    }
    fprintf(stderr, "inbox: cannot open %s, result %d\n", kPath, result);
    return nullptr;
}

int add(MDBL_Table *table, const char *number, const char *text) {
    Message message{};
    message.serial = mdbl_TableGetFirstEmptySlotIndex(table);
    message.received = static_cast<uint32_t>(time(nullptr));
    snprintf(message.number, sizeof message.number, "%s", number);
    snprintf(message.text, sizeof message.text, "%s", text);
    return mdbl_TableInsert(table, &message, nullptr);
}

int mark(MDBL_Table *table, uint32_t serial, uint32_t read) {
    Message key{};
    key.serial = serial;
    return mdbl_TableUpdate(table, kByTime, by_time, set_read, &key, &read);
}

}  // namespace

int main(int count, char **arguments) {
    std::string_view verb = count > 1 ? arguments[1] : "";
    MDBL_Table *table = open_inbox();
    int result = 1;
    if (table != nullptr && verb == "add" && count > 3) {
        result = add(table, arguments[2], arguments[3]);
    } else if (table != nullptr && verb == "list" && count > 2) {
        Index index = std::string_view(arguments[2]) == "number" ? kByNumber : kByTime;
        result = mdbl_TableEnumerate(table, index, print, nullptr);
    } else if (table != nullptr && verb == "read" && count > 2) {
        result = mark(table, static_cast<uint32_t>(atoi(arguments[2])), 1);
    } else if (table != nullptr && verb == "churn") {
        for (uint32_t i = 0; mark(table, 1 + i % 3, i / 3 % 2) == MDBL_OK; i++) {
        }
    } else {
        fputs("usage: inbox add NUMBER TEXT | list time|number | read SERIAL | churn\n", stderr);
    }
    mdbl_TableClose(table);
    return result;
}
