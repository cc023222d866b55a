/*
 * Hearth: short messages.
 *
 * Messages are PDUs: the caller hands over hexadecimal text and gets hexadecimal text back. Only
 * the vendor's AT_Hcmg* commands carry raw bytes.
 *
 * Every function is one blocking exchange with the AT server, and may be called from any thread.
 * The caller owns the records; fields that the reply lacks stay as they were. The result is
 *
 *     0   the exchange ran; `err` is AT_ERR_NONE ((uint32_t)-2) or the error id of a refusal
 *    -1   a null record or a value out of range, with nothing sent; no server or no reply; a reply
 *         that cannot be used
 *
 * or any other number, as the channel gave it. "Refusal: -1" at a function says that the modem's
 * refusal gives -1 and stores no id. Unless a function names another time, it blocks for up to 30
 * seconds.
 */
#ifndef HEARTH_AT_SMS_H
#define HEARTH_AT_SMS_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Texts are zero-terminated. */

typedef struct at_sms_pdu_req {
    uint16_t length; /* bytes of the TPDU, as the command line tells it */
    uint32_t stat;   /* AT_Cmgw: storage status, such as 2 for a message to be sent */
    char pdu[640];   /* hexadecimal; what does not fit the command's 638 bytes is cut, and its end
                        mark with it */
} at_sms_pdu_req;

/* For AT_Cmgs, AT_Cmgw, AT_Cmsr, AT_smmode, AT_Cmss and AT_Hcmgw. */
typedef struct at_sms_rsp {
    uint32_t value; /* message reference, index, mode or read tag; see the function */
    uint32_t err;   /* error id */
} at_sms_rsp;

/* For AT_Cmgr. */
typedef struct at_cmgr_msg {
    uint32_t index;  /* in: place of the message */
    uint32_t stat;   /* storage status: 0 unread, 1 read, 2 unsent, 3 sent */
    uint16_t length; /* bytes of the TPDU */
    char pdu[513];   /* hexadecimal */
    uint32_t err;    /* error id */
} at_cmgr_msg;

/* For AT_Cmgd. */
typedef struct at_cmgd_req {
    uint32_t index;   /* place of the message */
    uint32_t delflag; /* 0 for that message alone; 1 to 4 for more, as the modem tells */
    uint32_t err;     /* error id */
} at_cmgd_req;

/* For AT_Cmgd. */
typedef struct at_cmgd_list {
    uint32_t *indexes; /* places in use; from malloc, for the caller to free; NULL for none */
    uint32_t count;    /* of indexes */
    uint32_t err;      /* error id */
} at_cmgd_list;

/* Message memories: 1 to read and delete, 2 to write and send, 3 for what comes in. Counters are
 * decimal texts. */
typedef struct at_cpms_info {
    char mem1[5];   /* name, such as "SM" or "ME" */
    char used1[5];  /* messages in it */
    char total1[5]; /* messages that find room; the same for the other two */
    char mem2[5];
    char used2[5];
    char total2[5];
    char mem3[5];
    char used3[5];
    char total3[5];
    uint32_t err; /* error id */
} at_cpms_info;

/* In at_cpms_media. */
typedef struct at_cpms_pair {
    char mem1[5]; /* one name */
    char mem2[5]; /* the other; empty when there is none */
} at_cpms_pair;

/* For AT_Cpms_test. */
typedef struct at_cpms_media {
    at_cpms_pair pairs[3]; /* the names that each of the three memories can have */
    uint32_t err;          /* error id */
} at_cpms_media;

/* For AT_Csca. */
typedef struct at_csca_info {
    char sca[32];   /* number of the service centre */
    uint32_t tosca; /* its type of address: 129, or 145 for international */
    uint32_t err;   /* error id */
} at_csca_info;

/* For AT_cscb. */
typedef struct at_cscb_info {
    uint8_t mode;    /* 0 accept what is listed, 1 all but that */
    char mids[1220]; /* message identifiers, such as "0-5,50" */
    char dcss[64];   /* data coding schemes */
    uint32_t err;    /* error id */
} at_cscb_info;

/* How the modem tells of new messages; the numbers are those of "+CNMI". */
typedef struct at_cnmi_info {
    uint8_t mode; /* numbers of the command, 3GPP TS 27.005, 3.4.1 */
    uint32_t mt;
    uint32_t bm;
    uint32_t ds;
    uint32_t bfr;
    uint32_t err; /* error id */
} at_cnmi_info;

/* For AT_Cmss. */
typedef struct at_cmss_req {
    uint32_t index; /* place of the stored message */
    char da[24];    /* another number to send it to; empty for its own */
    int32_t toda;   /* type of address of `da`, -1 when absent */
} at_cmss_req;

/* For AT_smmemfull. */
typedef struct at_smmemfull_info {
    char mem_type[8]; /* the memory that is full */
    uint32_t err;     /* error id */
} at_smmemfull_info;

/* For AT_Hcmgs. */
typedef struct at_hcmgs_req {
    char number[24];   /* receiver */
    uint32_t value;    /* number behind it, opaque to the library */
    uint8_t body[256]; /* sent whole; the caller clears what it does not fill */
} at_hcmgs_req;

/* For AT_Hcmgr. */
typedef struct at_hcmgr_req {
    uint32_t index; /* place of the message */
    uint32_t value; /* number behind it, opaque to the library */
} at_hcmgr_req;

/* For AT_Hcmgr. */
typedef struct at_hcmgr_msg {
    uint16_t year; /* when the message was sent */
    uint8_t month;
    uint8_t day;
    uint8_t hour;
    uint8_t minute;
    uint8_t second;
    uint16_t lang;     /* language */
    uint16_t format;   /* of the body */
    uint16_t length;   /* bytes of the body, at most 162 */
    uint16_t prt;      /* priority */
    uint16_t prv;      /* privacy */
    uint16_t type;     /* kind of message */
    uint16_t stat;     /* storage status */
    char callerID[22]; /* sender, cut to 21 bytes */
    uint8_t body[162]; /* may hold any byte */
    uint32_t err;      /* error id */
} at_hcmgr_msg;

/* The numbers are sent in this order and are opaque to the library. */
typedef struct at_hcmgw_req {
    uint16_t words[7]; /* sent first */
    uint8_t bytes[5];  /* sent behind them */
    char number[22];   /* receiver */
    uint8_t body[162]; /* stored whole; the caller clears what it does not fill */
} at_hcmgw_req;

/* For AT_Hsmsss. */
typedef struct at_hsmsss_req {
    uint32_t values[4]; /* sent in order, opaque to the library */
} at_hsmsss_req;

/* Sends a message. `out->value` is its reference. Refusal: -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmgs(const at_sms_pdu_req *in, at_sms_rsp *out);

/* Stores a message. `out->value` is its index. Refusal: -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmgw(const at_sms_pdu_req *in, at_sms_rsp *out);

/* Text mode is not supported: both log so and return -1. */
HEARTH_API int32_t AT_Cmgs_Text(void);
HEARTH_API int32_t AT_Cmgw_Text(void);

/* Reads the message at `record->index` into the record. Refusal: -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmgr(at_cmgr_msg *record);

/*
 * Deletes messages, or tells which places are in use.
 *   action  AT_CMD_TYPE_CHECK needs `list`, AT_CMD_TYPE_SET needs `request`; any other gives -1
 *   list    its pointer is NULL when there is no list; the caller frees it. When the modem lists
 *           nothing, the list holds the one index 0
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmgd(int32_t action, at_cmgd_req *request,
                                             at_cmgd_list *list);

/*
 * The dispatchers: AT_CMD_TYPE_CHECK calls the function ending in _Check, AT_CMD_TYPE_SET the one
 * ending in _Execute. Any result of the channel but -1 becomes 0. Any other action gives -1 from
 * AT_Cpms and AT_Cmsr, and 0 from the other four; nothing is sent.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpms(int32_t action, const at_cpms_info *in,
                                             at_cpms_info *out);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmsr(int32_t action, int32_t value, at_sms_rsp *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Csca(int32_t action, const at_csca_info *in,
                                             at_csca_info *out);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_smmode(int32_t action, at_sms_rsp *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cscb(int32_t action, at_cscb_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cnmi(int32_t action, at_cnmi_info *record);

/* Reads the memories in use. Blocks for up to 4 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpms_Check(at_cpms_info *out);

/* Chooses the memories `mem1`, `mem2` and `mem3` of `in`; `out` receives their six counters.
 * Blocks for up to 4 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpms_Execute(const at_cpms_info *in, at_cpms_info *out);

/* Reads which memories can be chosen. Blocks for up to 5 seconds. Refusal: -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpms_test(at_cpms_media *record);

/* Reads the service centre's number. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Csca_Check(at_csca_info *out);

/*
 * Sets the service centre's number.
 *   in   `sca`; its type is sent as 145 when `tosca` is 0 and `sca` begins with "+", else as 129,
 *        whatever `tosca` is
 *   out  `err` alone
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Csca_Execute(const at_csca_info *in, at_csca_info *out);

/* Reads or sets the message format; `value` is 0 for PDUs and 1 for text. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_smmode_Check(at_sms_rsp *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_smmode_Execute(at_sms_rsp *record);

/* Reads or sets which cell broadcasts are accepted. An empty `mids` sends `mode` alone; a command
 * of more than 639 bytes is cut. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cscb_Check(at_cscb_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cscb_Execute(at_cscb_info *record);

/* Reads or sets how the modem tells of new messages. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cnmi_Check(at_cnmi_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cnmi_Execute(at_cnmi_info *record);

/* Sends a stored message. `out->value` is its reference; it stays as it was when the reply has
 * none. Blocks for up to 50 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmss(const at_cmss_req *in, at_sms_rsp *out);

/* Asks for the read tag. The reply cannot be read: a good one gives -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmsr_Check(at_sms_rsp *record);

/* Sets the read tag; a `value` other than 0 and 1 gives -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmsr_Execute(int32_t value, at_sms_rsp *record);

/*
 * Reads the indexes of unread messages. Blocks for up to 1 second.
 *   indexes   room for `capacity` indexes
 *   capacity  more are dropped
 *   count     receives how many were stored; left alone by a refusal, which gives 0
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmgi_unread_sms(uint32_t *indexes, uint32_t capacity,
                                                        uint32_t *count);

/*
 * Marks a message.
 *   index  place of the message, 0 or more
 *   value  1
 *   err    receives the error id of a refusal; left alone otherwise
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cmmt(int32_t index, int32_t value, uint32_t *err);

/* Asks the AT server for the report of a full memory. Blocks for up to 1 second. Refusal: -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_smmemfull(at_smmemfull_info *record);

/* The vendor's message settings. `err` receives the error id. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Hsmsss(const at_hsmsss_req *in, uint32_t *err);

/* Sends a message of raw bytes. `err` receives AT_ERR_NONE. Refusal: -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Hcmgs(const at_hcmgs_req *in, uint32_t *err);

/* Reads a message of raw bytes. Refusal: -1, as is any result of the channel but 0. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Hcmgr(const at_hcmgr_req *in, at_hcmgr_msg *out);

/* Stores a message of raw bytes. `out->value` is its index. Refusal: -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Hcmgw(const at_hcmgw_req *in, at_sms_rsp *out);

/*
 * Takes the body of a message of raw bytes from behind the first line end that follows the first
 * ':' of a reply. Does not block.
 *   text    the reply; at least `length` bytes behind that line end can be read
 *   length  bytes of the body, which may hold any byte
 *   body    room for `length` bytes and a zero byte
 * Returns 0, or -1 for null and when ':' or line end is missing.
 */
HEARTH_API int32_t hcmgr_msg_parse(const char *text, uint16_t length, uint8_t *body);

HEARTH_END_DECLS

#endif
