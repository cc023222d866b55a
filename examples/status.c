/*
 * A status daemon: asks the modem for what a status page shows, prints the page, and logs what has
 * changed.
 *     status            once
 *     status SECONDS    again and again, with a pause of so many seconds
 */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "hearth/at_k7.h"
#include "hearth/at_lib.h"
#include "hearth/at_network.h"
#include "hearth/osa_log.h"
#include "hearth/osa_time.h"

enum { ROOM = 128 };

/* Each of these puts its text into ROOM bytes and returns 1, or 0 without an answer. Records are
 * cleared first: fields that a reply lacks stay as they were. */
static int ask_card(char *text) {
    at_text_reply imsi;
    memset(&imsi, 0, sizeof imsi);
    if (AT_imsi(&imsi) != 0 || imsi.err != AT_ERR_NONE) {
        return 0;
    }
    snprintf(text, ROOM, "%s", imsi.text);
    return 1;
}

static int ask_registration(char *text) {
    static const char *const kTexts[] = {"not registered", "home network", "searching",
                                         "denied",         "unknown",      "roaming"};
    at_creg_info registration;
    memset(&registration, 0, sizeof registration);
    if (AT_Creg(AT_CMD_TYPE_CHECK, &registration) != 0 || registration.err != AT_ERR_NONE) {
        return 0;
    }
    int known = registration.stat >= 0 && registration.stat < 6;
    snprintf(text, ROOM, "%s", kTexts[known ? registration.stat : 4]);
    return 1;
}

static int ask_operator(char *text) {
    at_cops_info selected;
    memset(&selected, 0, sizeof selected);
    if (AT_Cops(&selected) != 0) {
        return 0;
    }
    snprintf(text, ROOM, "%s", selected.oper);
    return 1;
}

/* A report that the AT server keeps; there may be none yet. Not terminated when it is full. */
static int ask_signal(char *text) {
    memset(text, 0, ROOM);
    return AT_Rssi(text) == 0;
}

static struct line {
    const char *name;
    int (*ask)(char *text);
    char shown[ROOM];
} lines[] = {{"SIM", ask_card, ""},
             {"Registration", ask_registration, ""},
             {"Operator", ask_operator, ""},
             {"Signal", ask_signal, ""}};

/* Returns whether the modem has answered. */
static int refresh(struct line *line) {
    char text[ROOM] = "";
    int answered = line->ask(text);
    if (!answered) {
        snprintf(text, ROOM, "no answer");
    }
    if (strcmp(text, line->shown) != 0) {
        memcpy(line->shown, text, ROOM);
        printf("%-14s %s\n", line->name, text);
        osa_print_log_ex("status", "examples/status", __LINE__,
                         answered ? OSA_LOG_INFO : OSA_LOG_ERROR, "%s: %s\n", line->name, text);
    }
    return answered;
}

int main(int count, char **arguments) {
    unsigned long seconds = count > 1 ? strtoul(arguments[1], NULL, 10) : 0;
    size_t answers = 0;
    setvbuf(stdout, NULL, _IOLBF, 0);
    do {
        answers = 0;
        for (size_t i = 0; i < sizeof lines / sizeof lines[0]; i++) {
            answers += (size_t)refresh(&lines[i]);
        }
    } while (seconds > 0 && osa_sleep((uint32_t)seconds * 1000) == 0);
    return answers > 0 ? 0 : 1;
}
