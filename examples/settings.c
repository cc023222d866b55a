/*
 * A settings daemon: module 7 of the bus. Message 1 asks it for a setting, message 2 changes one,
 * message 3 is an event that it notes.
 */

#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "hearth/config.h"
#include "hearth/notify.h"

enum { SETTINGS_MODULE = 7, MSG_GET = 1, MSG_SET = 2, MSG_NOTE = 3, ROOM = 64 };

/* What both messages carry; the answer to MSG_GET is the value alone. */
struct setting {
    char directory[ROOM];
    char item[ROOM];
    char value[ROOM];
};

static uint32_t on_request(uint32_t msg_id, void *in, void *out) {
    struct setting *asked = in;
    uint32_t length = ROOM;
    if (asked == NULL) {
        return CFG_BAD_INPUT;
    }
    if (msg_id == MSG_GET && out != NULL) {
        return (uint32_t)cfg_get_config(asked->directory, asked->item, out, &length);
    }
    if (msg_id == MSG_SET) {
        return (uint32_t)cfg_set_config(asked->directory, asked->item, asked->value);
    }
    return CFG_BAD_INPUT;
}

static uint32_t on_event(uint32_t msg_id, uintptr_t arg1, uintptr_t arg2) {
    printf("settings: event %u with %lu and %lu\n", msg_id, (unsigned long)arg1,
           (unsigned long)arg2);
    fflush(stdout);
    return 0;
}

int main(void) {
    if (init_notify() != 0 || register_notify_handler(SETTINGS_MODULE, on_request, on_event) != 0) {
        fputs("settings: cannot reach the notify server\n", stderr);
        return 1;
    }
    puts("settings: module 7 is on the bus");
    fflush(stdout);
    for (;;) {
        pause();
    }
}
