/*
 * A settings daemon: the one process that writes the configuration. Others ask it over the bus,
 * by the messages of settings.h.
 */

#include <stdio.h>
#include <unistd.h>

#include "hearth/config.h"
#include "hearth/notify.h"
#include "settings.h"

/* The library hands over the sender's bytes as they came: a text may lack its end. */
static void terminate(struct setting *asked) {
    asked->directory[SETTINGS_ROOM - 1] = '\0';
    asked->item[SETTINGS_ROOM - 1] = '\0';
    asked->value[SETTINGS_ROOM - 1] = '\0';
}

/* Runs on a thread of the library. `in` and `out` are the library's, for this call alone. */
static uint32_t on_request(uint32_t msg_id, void *in, void *out) {
    struct setting *asked = in;
    uint32_t length = SETTINGS_ROOM;
    if (asked == NULL) {
        return CFG_BAD_INPUT;
    }
    terminate(asked);
    if (msg_id == SETTINGS_GET && out != NULL) {
        return (uint32_t)cfg_get_config(asked->directory, asked->item, out, &length);
    }
    if (msg_id == SETTINGS_SET) {
        return (uint32_t)cfg_set_config(asked->directory, asked->item, asked->value);
    }
    return CFG_BAD_INPUT;
}

static uint32_t on_event(uint32_t msg_id, uintptr_t arg1, uintptr_t arg2) {
    printf("settings: event %u with %lu and %lu\n", (unsigned)msg_id, (unsigned long)arg1,
           (unsigned long)arg2);
    return 0;
}

int main(void) {
    setvbuf(stdout, NULL, _IOLBF, 0);
    if (init_notify() != 0 || register_notify_handler(SETTINGS_MODULE, on_request, on_event) != 0) {
        fputs("settings: cannot reach the notify server\n", stderr);
        return 1;
    }
    puts("settings: module 7 is on the bus");
    for (;;) {
        pause();
    }
}
