/*
 * Hearth: USSD sessions.
 *
 * Every function is one blocking exchange of up to 30 seconds with the AT server, and may be
 * called from any thread.
 */
#ifndef HEARTH_AT_USSD_H
#define HEARTH_AT_USSD_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* For AT_Cusd_Msg_Send. */
typedef struct at_cusd_req {
    int32_t n;           /* 0 or 1: whether answers are reported; 2 ends the session */
    char str[512];       /* what to send, any bytes; quotation marks are the caller's to put */
    uint32_t str_length; /* bytes of `str` */
    uint32_t dcs;        /* data coding scheme, 3GPP TS 23.038 */
    uint32_t err;        /* -2; -3 without a network service */
} at_cusd_req;

/* For AT_UssdMode. */
typedef struct at_ussd_mode {
    uint8_t mode; /* how the modem codes USSD texts */
    uint32_t err; /* error id */
} at_ussd_mode;

/*
 * Sends a USSD string, or ends the session.
 *   action  AT_CMD_TYPE_SET; any other gives -1, and nothing is sent
 * Returns 0; -1 for null, a length above 512 and a failure of the modem, with -3 in `err` if there
 * is no network service; else what the channel gave.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cusd_Msg_Send(int32_t action, at_cusd_req *request);

/*
 * Reads or sets the USSD mode.
 *   action  AT_CMD_TYPE_CHECK or AT_CMD_TYPE_SET; any other gives -1, and nothing is sent
 * Returns 0; -1 for null, a refusal and a reply that cannot be read; else what the channel gave.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_UssdMode(int32_t action, at_ussd_mode *record);

HEARTH_END_DECLS

#endif
