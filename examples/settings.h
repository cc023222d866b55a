/* What is said between the settings daemon and those who ask it. */
#ifndef SETTINGS_H
#define SETTINGS_H

enum { SETTINGS_MODULE = 7, SETTINGS_ROOM = 64 };

enum {
    SETTINGS_GET = 1, /* a request; its answer is the value, SETTINGS_ROOM bytes */
    SETTINGS_SET = 2, /* a request without an answer but its result, 0 or one of CFG_* */
    SETTINGS_NOTE = 3 /* a notification of two values */
};

/* The body of both requests; texts are terminated, and SETTINGS_GET does not look at `value`. */
struct setting {
    char directory[SETTINGS_ROOM];
    char item[SETTINGS_ROOM];
    char value[SETTINGS_ROOM];
};

#endif
