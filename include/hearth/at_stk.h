/*
 * Hearth: the SIM application toolkit.
 *
 * The daemon holds the dialogue. The report "^STIN" tells of a proactive command of the card; the
 * daemon fetches it with the function of its kind and answers with AT_Stgr. What the numbers mean
 * is the modem's published command set. Every function is one blocking exchange of up to 30
 * seconds with the AT server, and may be called from any thread.
 */
#ifndef HEARTH_AT_STK_H
#define HEARTH_AT_STK_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* One line of a proactive command. Each kind fills its own fields; the others are 0. */
typedef struct at_stk_item {
    uint8_t Identifier;        /* menu: number of the entry */
    uint8_t NbItems;           /* menu: number of entries */
    char MenuName[256];        /* menu: text of the entry */
    uint8_t MenuHelpInfo;      /* menu: whether there is help */
    uint8_t TextFormat;        /* text, input, inkey: coding of TextInfo */
    uint8_t ClearMode;         /* text: how the text goes away */
    uint8_t DurationTime;      /* text: how long it is shown */
    char TextInfo[512];        /* text, input, inkey: the text */
    uint8_t RspFormat;         /* input, inkey: coding of the answer */
    uint8_t PackMode;          /* input: whether the answer is packed */
    uint8_t EchoMode;          /* input: whether the answer is shown */
    uint8_t SizeMin;           /* input: characters of the answer, at least */
    uint8_t SizeMax;           /* input: characters of the answer, at most */
    uint8_t HelpInfo;          /* input, inkey: whether there is help */
    uint8_t DefaultTextCode;   /* input: coding of DefaultTextInfo */
    char DefaultTextInfo[512]; /* input: answer that is offered */
    uint8_t RefreshType;       /* refresh: what has changed on the card */
    char URL[256];             /* browser: address */
    uint8_t LaunchMode;        /* browser: how it is started */
    uint8_t TimeOut;           /* inkey: how long to wait for a key */
    uint32_t err;              /* -2 once the line has been read */
} at_stk_item;

/* Which command to fetch. */
typedef struct at_stgi_req {
    uint8_t cmd_type;  /* kind of the command, from "^STIN" */
    uint8_t cmd_index; /* its number */
} at_stgi_req;

/* Toolkit settings. */
typedef struct at_stsf_info {
    uint8_t Mode;     /* whether the toolkit is on, and in which form */
    char Config[64];  /* the terminal's profile */
    uint32_t Timeout; /* seconds until a dialogue ends by itself */
    uint32_t err;     /* error id */
} at_stsf_info;

/* The answer to a command. */
typedef struct at_stgr_req {
    uint8_t cmd_type;  /* kind of the command */
    uint8_t status;    /* what the user did */
    uint8_t data_type; /* coding of the answer */
    uint8_t form;      /* 0: a number is sent; 1: a text; other: neither, nor data_type */
    uint8_t number;    /* the chosen entry or key, for form 0 */
    char text[512];    /* the text, for form 1; what a command has no room for is cut */
} at_stgr_req;

/*
 * Reads (action 0) or sets (action 1) the toolkit settings.
 *   mode  the mode to set; not used by a read
 *   info  receives the settings, or -2 in `err` after a set
 * Returns 0 when a reply came, also for a refused read with the error id in `err`; -1 for another
 * action, null, a refused set and a reply that cannot be read; else what the channel gave.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Stsf(int32_t action, const uint8_t *mode,
                                             at_stsf_info *info);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Stsf_Check(at_stsf_info *info);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Stsf_Execute(const uint8_t *mode, at_stsf_info *info);

/*
 * Fetch a proactive command of one kind.
 *   action   1; with 0 they give -1, with any other value 0, and nothing is sent
 *   count    receives the number of lines, at most 255
 *   request  which command
 *   list     receives the lines, from malloc(): the caller frees them
 * Return 0, also when the modem refuses, and then count and list stay as they were: set the count
 * to 0 before the call. -1 for null, without a reply, and when a line cannot be read; the list is
 * then NULL where it was touched.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Stgi(int32_t action, uint32_t *count,
                                             const at_stgi_req *request, at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiText(int32_t action, uint32_t *count,
                                                 const at_stgi_req *request, at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiInput(int32_t action, uint32_t *count,
                                                  const at_stgi_req *request, at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiInkey(int32_t action, uint32_t *count,
                                                  const at_stgi_req *request, at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiRefresh(int32_t action, uint32_t *count,
                                                    const at_stgi_req *request, at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiBrowser(int32_t action, uint32_t *count,
                                                    const at_stgi_req *request, at_stk_item **list);

/* The same without an action; a failed exchange gives what the channel gave. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Stgi_Execute(uint32_t *count, const at_stgi_req *request,
                                                     at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiText_Execute(uint32_t *count,
                                                         const at_stgi_req *request,
                                                         at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiInput_Execute(uint32_t *count,
                                                          const at_stgi_req *request,
                                                          at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiInkey_Execute(uint32_t *count,
                                                          const at_stgi_req *request,
                                                          at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiRefresh_Execute(uint32_t *count,
                                                            const at_stgi_req *request,
                                                            at_stk_item **list);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_StgiBrowser_Execute(uint32_t *count,
                                                            const at_stgi_req *request,
                                                            at_stk_item **list);

/*
 * Answers a proactive command.
 *   action   1; any other gives -1, and nothing is sent
 *   request  the answer
 *   result   receives -2; left alone when the modem refuses
 * Returns 0 when a reply came, also a refusal; -1 for null and another failure of the modem; else
 * what the channel gave.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Stgr(int32_t action, const at_stgr_req *request,
                                             uint32_t *result);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Stgr_Execute(const at_stgr_req *request, uint32_t *result);

HEARTH_END_DECLS

#endif
