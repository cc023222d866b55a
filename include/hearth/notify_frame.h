/*
 * Hearth: the frame of the local message bus.
 *
 * Daemons exchange frames through the notify server, over Unix stream sockets in /var/run/notify.
 * A frame is a header of 48 bytes and a body of `data_len` bytes, in native byte order. What the
 * server does with frames is told in docs/bus.md.
 */
#ifndef HEARTH_NOTIFY_FRAME_H
#define HEARTH_NOTIFY_FRAME_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Module ids. */
enum {
    NOTIFY_MID_MAX = 54,    /* ids of modules are 1 to this */
    NOTIFY_MID_WEB = 26,    /* the web server */
    NOTIFY_MID_SERVER = 30, /* the notify server itself */
    NOTIFY_MID_ALL = 55     /* destination of what goes to all modules */
};

/* Values of `sync_tag`. */
enum {
    NOTIFY_ONE_WAY = 0, /* notification, registration or notice of a module's death */
    NOTIFY_CALL = 1     /* request or the answer to one */
};

/* Values of `ack_tag`. */
enum {
    NOTIFY_PLAIN = 1,  /* request, notification or registration */
    NOTIFY_ANSWER = 2, /* answer by a module */
    NOTIFY_NOTICE = 3  /* by the server: a module died, or a request found no module */
};

/* Header of a frame. */
typedef struct msg_header {
    uint32_t msg_id;    /* event or command; in a death notice the dead module's id */
    uint32_t seq_num;   /* sender's number of the frame; an answer repeats the request's */
    uint32_t src_mid;   /* module that sends; in a registration the id being registered */
    uint32_t des_mid;   /* module that receives */
    uint32_t sync_tag;  /* NOTIFY_ONE_WAY or NOTIFY_CALL */
    uint32_t ack_tag;   /* NOTIFY_PLAIN, NOTIFY_ANSWER or NOTIFY_NOTICE */
    uint32_t data_len;  /* bytes of body */
    uint32_t data1_len; /* notification: bytes of the body's first part; otherwise 0 */
    uint32_t data2_len; /* notification: bytes of its second part; otherwise 0 */
    uint32_t ack_len;   /* request: bytes of answer that the sender takes; otherwise 0 */
    int32_t ret_val;    /* answer: result of the handler; otherwise -1 */
    uint32_t ex_flag;   /* notification: 1 for parts passed by address, 0 for two 32-bit values */
} msg_header;

HEARTH_END_DECLS

#endif
