/*
 * Asks the settings daemon, over the bus:
 *     ask get DIRECTORY ITEM
 *     ask set DIRECTORY ITEM VALUE
 *     ask note NUMBER NUMBER
 */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "hearth/notify.h"
#include "settings.h"

enum { OWN_MODULE = 8, SECONDS = 5 };

/* Returns 0 for a text that the message has no room for. */
static int put(char *field, const char *text) {
    return snprintf(field, SETTINGS_ROOM, "%s", text) < SETTINGS_ROOM;
}

static int refused(int32_t result) {
    fprintf(stderr, "ask: result %d\n", (int)result);
    return 1;
}

static int get(struct setting *asked) {
    char value[SETTINGS_ROOM] = "";
    int32_t result = send_notify_ex(SETTINGS_MODULE, SETTINGS_GET, asked, value, sizeof *asked,
                                    sizeof value, SECONDS);
    if (result != 0) {
        return refused(result);
    }
    printf("%s %s = %.*s\n", asked->directory, asked->item, SETTINGS_ROOM, value);
    return 0;
}

static int set(struct setting *asked) {
    int32_t result =
        send_notify_ex(SETTINGS_MODULE, SETTINGS_SET, asked, NULL, sizeof *asked, 0, SECONDS);
    return result == 0 ? 0 : refused(result);
}

/* Nobody tells whether a notification has arrived. */
static int note(const char *first, const char *second) {
    post_notify(SETTINGS_MODULE, SETTINGS_NOTE, (uint32_t)strtoul(first, NULL, 10),
                (uint32_t)strtoul(second, NULL, 10));
    return 0;
}

static int usage(void) {
    fputs("usage: ask get DIRECTORY ITEM | set DIRECTORY ITEM VALUE | note NUMBER NUMBER\n",
          stderr);
    return 2;
}

int main(int count, char **arguments) {
    const char *verb = count > 3 ? arguments[1] : "";
    int getting = count == 4 && strcmp(verb, "get") == 0;
    int setting = count == 5 && strcmp(verb, "set") == 0;
    int noting = count == 4 && strcmp(verb, "note") == 0;
    struct setting asked;
    memset(&asked, 0, sizeof asked);
    if (!getting && !setting && !noting) {
        return usage();
    }
    if (!put(asked.directory, arguments[2]) || !put(asked.item, arguments[3]) ||
        (setting && !put(asked.value, arguments[4]))) {
        return usage();
    }
    if (init_notify() != 0 || register_notify_handler(OWN_MODULE, NULL, NULL) != 0) {
        fputs("ask: cannot reach the notify server\n", stderr);
        return 1;
    }
    if (noting) {
        return note(arguments[2], arguments[3]);
    }
    return getting ? get(&asked) : set(&asked);
}
