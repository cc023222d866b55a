// The inbox of inbox.c in C++: received messages in a table, kept on flash, read by two indexes.
//     inbox add NUMBER TEXT     inbox list time|number
//     inbox read SERIAL         inbox churn          (marks messages read and unread for ever)

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string_view>

#include "hearth/mdblite.h"

namespace {

constexpr const char *kPath = "/data/userdata/inbox.mdb";
constexpr uint16_t kMost = 100;
enum Index : uint32_t { kBySerial = 1, kByNumber = 2 };

struct Message {
    uint32_t serial;  // of its slot; nothing is deleted here, so they count up with time
    uint32_t received;
    uint32_t read;
    char number[24];
    char text[160];
    char stores_own[4];  // the last byte of a record belongs to the store
};
static_assert(sizeof(Message) % 4 == 0 && sizeof(Message) <= MDBL_MAX_RECORD_SIZE);

struct Close {
    void operator()(MDBL_Table *table) const { mdbl_TableClose(table); }
};
using Table = std::unique_ptr<MDBL_Table, Close>;

int by_serial(const void *element, const void *key) {
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

// Completes what a crash left pending, opens the table, reads it all and builds its indexes.
int32_t open_inbox(Table &table) {
    mdbl_JournalEnable();
    // Before the first update there is no journal, and nothing to complete.
    (void)mdbl_JournalRestore();
    int32_t result = mdbl_CreateTable(kPath, sizeof(Message), kMost, 0);
    if (result == MDBL_OK || result == MDBL_ERR_EXISTS) {
        MDBL_Table *opened = nullptr;
        result = mdbl_OpenTable(kPath, 0, 0, 0, &opened);
        table.reset(opened);
    }
    while (result == MDBL_MORE_TO_CACHE) {
        result = mdbl_TableCache(table.get());
    }
    if (result == MDBL_OK) {
        result = mdbl_TableCreateIndex(table.get(), kBySerial, by_serial);
    }
    return result == MDBL_OK ? mdbl_TableCreateIndex(table.get(), kByNumber, by_number) : result;
}

int32_t add(const Table &table, const char *number, const char *text) {
    Message message{};
    message.serial = mdbl_TableGetFirstEmptySlotIndex(table.get());
    message.received = static_cast<uint32_t>(time(nullptr));
    snprintf(message.number, sizeof message.number, "%s", number);
    snprintf(message.text, sizeof message.text, "%s", text);
    return mdbl_TableInsert(table.get(), &message, nullptr);
}

int32_t mark(const Table &table, uint32_t serial, uint32_t read) {
    Message key{};
    key.serial = serial;
    return mdbl_TableUpdate(table.get(), kBySerial, by_serial, set_read, &key, &read);
}

}  // namespace

int main(int count, char **arguments) {
    std::string_view verb = count > 1 ? arguments[1] : "";
    std::string_view order = count > 2 ? arguments[2] : "";
    Table table;
    int32_t result = open_inbox(table);
    if (result == MDBL_OK && count == 4 && verb == "add") {
        result = add(table, arguments[2], arguments[3]);
    } else if (result == MDBL_OK && count == 3 && verb == "list") {
        result = mdbl_TableEnumerate(table.get(), order == "number" ? kByNumber : kBySerial, print,
                                     nullptr);
    } else if (result == MDBL_OK && count == 3 && verb == "read") {
        result = mark(table, static_cast<uint32_t>(atoi(arguments[2])), 1);
    } else if (result == MDBL_OK && count == 2 && verb == "churn") {
        for (uint32_t i = 0; result == MDBL_OK; i++) {
            result = mark(table, 1 + i % 3, i / 3 % 2);
        }
    } else if (result == MDBL_OK) {
        fputs("usage: inbox add NUMBER TEXT | list time|number | read SERIAL | churn\n", stderr);
        return 2;
    }
    if (result != MDBL_OK) {
        fprintf(stderr, "inbox: %s: result %d\n", kPath, result);
    }
    return result == MDBL_OK ? 0 : 1;
}
