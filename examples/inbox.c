/*
 * An inbox in a table: received messages, kept on flash, read by two indexes.
 *     inbox add NUMBER TEXT     inbox list time|number
 *     inbox read SERIAL         inbox churn          (marks messages read and unread for ever)
 */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "hearth/mdblite.h"

static const char kPath[] = "/data/userdata/inbox.mdb";
enum { MOST_MESSAGES = 100, BY_SERIAL = 1, BY_NUMBER = 2 };

struct message {
    uint32_t serial; /* of its slot; nothing is deleted here, so they count up with time */
    uint32_t received;
    uint32_t read;
    char number[24];
    char text[160];
    char stores_own[4]; /* the last byte of a record belongs to the store */
};

static int by_serial(const void *element, const void *key) {
    uint32_t a = ((const struct message *)element)->serial;
    uint32_t b = ((const struct message *)key)->serial;
    return a < b ? -1 : a > b;
}

static int by_number(const void *element, const void *key) {
    return strcmp(((const struct message *)element)->number, ((const struct message *)key)->number);
}

static int print(void *record, void *unused) {
    const struct message *message = record;
    (void)unused;
    printf("%3u %-14s %-6s %s\n", (unsigned)message->serial, message->number,
           message->read != 0 ? "read" : "new", message->text);
    return 1;
}

static int set_read(void *record, void *value) {
    ((struct message *)record)->read = *(uint32_t *)value;
    return 0;
}

/* Completes what a crash left pending, opens the table, reads it all and builds its indexes. */
static int32_t open_inbox(MDBL_Table **table) {
    mdbl_JournalEnable();
    /* Before the first update there is no journal, and nothing to complete. */
    (void)mdbl_JournalRestore();
    int32_t result = mdbl_CreateTable(kPath, sizeof(struct message), MOST_MESSAGES, 0);
    if (result == MDBL_OK || result == MDBL_ERR_EXISTS) {
        result = mdbl_OpenTable(kPath, 0, 0, 0, table);
    }
    while (result == MDBL_MORE_TO_CACHE) {
        result = mdbl_TableCache(*table);
    }
    if (result == MDBL_OK) {
        result = mdbl_TableCreateIndex(*table, BY_SERIAL, by_serial);
    }
    if (result == MDBL_OK) {
        result = mdbl_TableCreateIndex(*table, BY_NUMBER, by_number);
    }
    return result;
}

static int32_t add(MDBL_Table *table, const char *number, const char *text) {
    struct message message;
    memset(&message, 0, sizeof message);
    message.serial = mdbl_TableGetFirstEmptySlotIndex(table);
    message.received = (uint32_t)time(NULL);
    snprintf(message.number, sizeof message.number, "%s", number);
    snprintf(message.text, sizeof message.text, "%s", text);
    return mdbl_TableInsert(table, &message, NULL);
}

static int32_t mark(MDBL_Table *table, uint32_t serial, uint32_t read) {
    struct message key;
    memset(&key, 0, sizeof key);
    key.serial = serial;
    return mdbl_TableUpdate(table, BY_SERIAL, by_serial, set_read, &key, &read);
}

int main(int count, char **arguments) {
    const char *verb = count > 1 ? arguments[1] : "";
    MDBL_Table *table = NULL;
    int32_t result = open_inbox(&table);
    if (result == MDBL_OK && count == 4 && strcmp(verb, "add") == 0) {
        result = add(table, arguments[2], arguments[3]);
    } else if (result == MDBL_OK && count == 3 && strcmp(verb, "list") == 0) {
        int number = strcmp(arguments[2], "number") == 0;
        result = mdbl_TableEnumerate(table, number ? BY_NUMBER : BY_SERIAL, print, NULL);
    } else if (result == MDBL_OK && count == 3 && strcmp(verb, "read") == 0) {
        result = mark(table, (uint32_t)strtoul(arguments[2], NULL, 10), 1);
    } else if (result == MDBL_OK && count == 2 && strcmp(verb, "churn") == 0) {
        for (uint32_t i = 0; result == MDBL_OK; i++) {
            result = mark(table, 1 + i % 3, i / 3 % 2);
        }
    } else if (result == MDBL_OK) {
        fputs("usage: inbox add NUMBER TEXT | list time|number | read SERIAL | churn\n", stderr);
        mdbl_TableClose(table);
        return 2;
    }
    mdbl_TableClose(table);
    if (result != MDBL_OK) {
        fprintf(stderr, "inbox: %s: result %d\n", kPath, (int)result);
    }
    return result == MDBL_OK ? 0 : 1;
}
