/*
 * Hearth: who and what the modem is, and the settings that it keeps.
 *
 * Every function is one blocking exchange with the AT server.
 */
#ifndef HEARTH_AT_K7_H
#define HEARTH_AT_K7_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* The record of most simple queries. */
typedef struct at_text_reply {
    int32_t value;  /* left alone */
    char text[128]; /* the answer, zero-terminated */
    int32_t err;    /* error id, -2 after a good reply */
} at_text_reply;

/*
 * Asks for the SIM's identity. Blocks for up to 30 seconds.
 *   record  on success `text` holds the IMSI and `err` -2; untouched otherwise
 * Returns 0, or -1 for null, when no reply came and when the modem refused.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_imsi(at_text_reply *record);

HEARTH_END_DECLS

#endif
