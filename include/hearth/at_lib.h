/*
 * Hearth: the channel to the AT server.
 *
 * The AT server, whose task name is "ats", owns the modem. A client fills a message, hands it to
 * GetDataFromAtServer and finds the reply in the same message. Requests travel on queue 2, replies
 * on queue 1; event 1 wakes the server. Any thread of any process may talk to the server at the
 * same time.
 *
 * What a server does: creates both queues (osa_msgQ_create), writes its pid file, waits for
 * event 1, then takes every message from queue 2, and answers each with a whole message on queue 1
 * that keeps `mtype` and `seq`.
 */
#ifndef HEARTH_AT_LIB_H
#define HEARTH_AT_LIB_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Numbers of the two queues, and the event that wakes the server. */
enum { AT_QUEUE_REPLIES = 1, AT_QUEUE_REQUESTS = 2, AT_EVENT_REQUEST = 1 };

/* Actions of the command functions that take one. */
enum { AT_CMD_TYPE_CHECK = 0, AT_CMD_TYPE_SET = 1 };

/* Values of `Ret_val`; any other is a failure without text. */
enum {
    AT_RET_SUCCESS = 2, /* `report` holds the response */
    AT_RET_ERROR = 3,   /* the modem refused; `report` holds its final error line */
    AT_RET_REFUSED = 4, /* the same */
    AT_RET_FAILURE = 5  /* a failure that only a few commands tell apart */
};

/* Error ids, as stored in the `err` field of most records. */
enum {
    AT_ERR_NONE = -2,            /* no error */
    AT_ERR_SIM_PIN = 11,         /* SIM PIN required */
    AT_ERR_SIM_PUK = 12,         /* SIM PUK required */
    AT_ERR_SIM_FAILURE = 13,     /* SIM missing or failed */
    AT_ERR_REJECTED = -3,        /* wrong password, or no network service */
    AT_ERR_OTHER = -1,           /* some other modem error */
    AT_ERR_NO_ERROR_LINE = 65535 /* the text is not a modem error line */
};

/* The one message of the channel, sent whole in both directions, in host byte order. */
typedef struct at_server_msg {
    int32_t mtype;       /* above 0: the thread that asks; kept in the reply */
    int32_t req_class;   /* 0 a command to the modem, 2 a value that the server holds */
    int32_t req_param;   /* 0 or -1 for a command; else which value: 2 the latest "^RSSI" */
    int32_t req_option;  /* 0 */
    uint32_t seq;        /* number of the request, set by the channel; kept in the reply */
    int32_t multi_line;  /* 1 when the response runs over several lines, else 0 */
    int32_t timeout;     /* seconds to wait for the reply */
    char match[64];      /* marks the line of the response that is wanted; may be empty */
    char report[1500];   /* the command without line ending; in a reply the response */
    int32_t Ret_val;     /* outcome, one of AT_RET_* */
    uint32_t report_len; /* bytes of the response, which may hold zero bytes */
} at_server_msg;

/* A modem error, as cms_to_id and cme_to_id fill it. */
typedef struct at_error_code {
    int32_t type; /* 3 */
    int32_t cms;  /* number of a "+CMS" error */
    int32_t cme;  /* number of a "+CME" error */
} at_error_code;

/*
 * Sends a request to the AT server and waits for its reply. Blocks for up to `timeout` seconds,
 * and for as long again after each late reply to an earlier request.
 *   message  the request, with all fields but `seq`, `Ret_val` and `report_len` filled in; `mtype`
 *            is the id of the calling thread. The reply overwrites it whole. When the request was
 *            sent but not answered, all from `match` on is zero and the rest stands as sent.
 * Returns 0 when the reply stands in the message, which says nothing about the command's success:
 * that is `Ret_val`. -1 for null, when there is no server, when the request could not be sent and
 * when no reply came.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t GetDataFromAtServer(at_server_msg *message);

/* The exchange of GetDataFromAtServer without its look whether the server lives. Results and
 * blocking as there. */
HEARTH_API HEARTH_MUST_CHECK int32_t ReadDataFromAtSrvProc(at_server_msg *message);

/*
 * Puts a message on a queue. Does not block.
 *   queue    queue id
 *   message  the message
 *   retcode  not null; nothing is stored
 * Returns 0 when sent, -1 for null and when the queue is full or gone.
 */
HEARTH_API int32_t send_to_msgqueue(int32_t queue, const at_server_msg *message, int32_t *retcode);

/*
 * Waits for a message of the type `mtype`, for up to `timeout` seconds, both as they stand in
 * `message`; blocks.
 *   queue    queue id, -1 for none
 *   message  on success overwritten whole by what came
 *   check    1 accepts only a message with the same `seq`, drops older ones (each gives the wait
 *            its full time again) and fails at a newer one; any other value takes what comes first
 *   retcode  not null; 0 is stored
 * Returns 0 when a message was copied, -1 otherwise.
 */
HEARTH_API int32_t read_from_msgqueue(int32_t queue, at_server_msg *message, int32_t check,
                                      int32_t *retcode);

/* Throws away all messages of one type that now stand in a queue. Does not block. Returns 0. */
HEARTH_API int32_t clear_msg_from_queue(int32_t queue, int32_t type);

/* Returns the process id in the AT server's pid file, -1 for none. */
HEARTH_API int32_t get_ats_task_id(void);

/* Returns 0 when the AT server that this process knows lives, -1 otherwise. */
HEARTH_API int32_t check_ats_id(void);

/* Looks up the queues that this process does not know yet. Returns 0 when it knows both, else -1.
 */
HEARTH_API int32_t get_ats_queue_id(void);

/*
 * Reads what follows "+CMS ERROR:".
 *   text  decimal digits; an empty text counts as 0
 *   code  receives `type` and `cms`
 * Returns 0, or -1 for null and when the text is not a number.
 */
HEARTH_API int32_t cms_to_id(const char *text, at_error_code *code);

/*
 * Reads what follows "+CME ERROR:".
 *   text  decimal digits, or the modem's message to the letter
 *   code  receives `type` and `cme`
 * Returns 0, or -1 for null and when the message is unknown.
 */
HEARTH_API int32_t cme_to_id(const char *text, at_error_code *code);

/*
 * Turns the final error line of a response into an error id.
 *   text  the line; cut at its first ':' by the call
 * Returns one of AT_ERR_*, never AT_ERR_NONE.
 */
HEARTH_API int32_t Error_str_to_id(char *text);

/* Frees memory that a command function allocated for its caller; null is ignored. */
HEARTH_API void ATS_FreeMemory(void *memory);

HEARTH_END_DECLS

#endif
