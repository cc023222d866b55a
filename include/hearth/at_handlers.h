/*
 * Hearth: the catalogue of AT responses.
 *
 * Thirty-eight tables, selected by number. A row names a response by its key and has, for each of
 * the four actions of hearth/at_parse.h, a format with the names of the fields and a parser. The
 * tables are constant and shared by all threads. Each ends with a row of a null key.
 */
#ifndef HEARTH_AT_HANDLERS_H
#define HEARTH_AT_HANDLERS_H

#include "hearth/at_parse.h"

HEARTH_BEGIN_DECLS

/* One row of a table. A null format or parser means that there is none for the action. */
typedef struct at_cfg_handler {
    const char *AtName;                       /* the key; null in the end row */
    int32_t func_type;                        /* number of the table; not used by the parser */
    const char *read_format;                  /* format for AT_ACTION_READ */
    const char *execute_format;               /* format for AT_ACTION_EXECUTE */
    const char *test_format;                  /* format for AT_ACTION_TEST */
    const char *report_format;                /* format for AT_ACTION_REPORT */
    at_parse_func parse_read_func;            /* parser for AT_ACTION_READ */
    at_parse_func parse_execute_func;         /* parser for AT_ACTION_EXECUTE */
    at_parse_func parse_test_func;            /* parser for AT_ACTION_TEST */
    at_parse_func parse_report_func;          /* parser for AT_ACTION_REPORT */
    void (*free_func)(at_parse_result *head); /* releases a result, or null; use free_at_cmd */
} at_cfg_handler;

/* How many tables there are. */
#define AT_TABLE_COUNT 38

/* The table of a number, null from AT_TABLE_COUNT on. Does not block. */
HEARTH_API const at_cfg_handler *parse_func_type(uint32_t table);

/* The tables, by number. Table 0 is the catalogue of unsolicited reports. */
HEARTH_API extern const at_cfg_handler initivatve_report_handlers[];  /* 0 */
HEARTH_API extern const at_cfg_handler network_cfg_handlers[];        /* 1 */
HEARTH_API extern const at_cfg_handler pin_cfg_handlers[];            /* 2 */
HEARTH_API extern const at_cfg_handler sms_cfg_handlers[];            /* 3 */
HEARTH_API extern const at_cfg_handler basic_info_cfg_handlers[];     /* 4 */
HEARTH_API extern const at_cfg_handler voice_call_cfg_handlers[];     /* 5 */
HEARTH_API extern const at_cfg_handler add_operation_cfg_handlers[];  /* 6 */
HEARTH_API extern const at_cfg_handler data_operation_cfg_handlers[]; /* 7 */
HEARTH_API extern const at_cfg_handler phone_record_cfg_handlers[];   /* 8 */
HEARTH_API extern const at_cfg_handler stk_menu_cfg_handlers[];       /* 9 */
HEARTH_API extern const at_cfg_handler stk_text_cfg_handlers[];       /* 10 */
HEARTH_API extern const at_cfg_handler stk_input_cfg_handlers[];      /* 11 */
HEARTH_API extern const at_cfg_handler stk_inkey_cfg_handlers[];      /* 12 */
HEARTH_API extern const at_cfg_handler stk_refresh_cfg_handlers[];    /* 13 */
HEARTH_API extern const at_cfg_handler stk_browser_cfg_handlers[];    /* 14 */
HEARTH_API extern const at_cfg_handler sys_cfg_handlers[];            /* 15 */
HEARTH_API extern const at_cfg_handler profile_cfg_handlers[];        /* 16 */
HEARTH_API extern const at_cfg_handler ipfilter_cfg_handlers[];       /* 17 */
HEARTH_API extern const at_cfg_handler virserver_cfg_handlers[];      /* 18 */
HEARTH_API extern const at_cfg_handler dmz_cfg_handlers[];            /* 19 */
HEARTH_API extern const at_cfg_handler connect_cfg_handlers[];        /* 20 */
HEARTH_API extern const at_cfg_handler specappli_cfg_handlers[];      /* 21 */
HEARTH_API extern const at_cfg_handler aprofile_cfg_handlers[];       /* 22 */
HEARTH_API extern const at_cfg_handler ondemand_cfg_handlers[];       /* 23 */
HEARTH_API extern const at_cfg_handler spn_cfg_handlers[];            /* 24 */
HEARTH_API extern const at_cfg_handler webuse_cfg_handlers[];         /* 25 */
HEARTH_API extern const at_cfg_handler pinvf_cfg_handlers[];          /* 26 */
HEARTH_API extern const at_cfg_handler throughput_cfg_handlers[];     /* 27 */
HEARTH_API extern const at_cfg_handler dataflow_cfg_handlers[];       /* 28 */
HEARTH_API extern const at_cfg_handler pwrontime_cfg_handlers[];      /* 29 */
HEARTH_API extern const at_cfg_handler dhcp_cfg_handlers[];           /* 30 */
HEARTH_API extern const at_cfg_handler dialmode_info_handlers[];      /* 31 */
HEARTH_API extern const at_cfg_handler csqlvext_info_handlers[];      /* 32 */
HEARTH_API extern const at_cfg_handler csqlvl_info_handlers[];        /* 33 */
HEARTH_API extern const at_cfg_handler ussd_cfg_handlers[];           /* 34 */
HEARTH_API extern const at_cfg_handler ipv6_router_handlers[];        /* 35 */
HEARTH_API extern const at_cfg_handler authdata_cfg_handlers[];       /* 36 */
HEARTH_API extern const at_cfg_handler cgdcont_cfg_handlers[];        /* 37 */

HEARTH_END_DECLS

#endif
