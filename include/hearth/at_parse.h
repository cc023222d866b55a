/*
 * Hearth: the AT response parser.
 *
 * Turns the text of a modem's response into a list of names and values. What a response looks
 * like stands in the tables of hearth/at_handlers.h; a caller names the response, the table and
 * the kind of command it sent, and walks the list by field name:
 *
 *     at_parse_result *list = NULL;
 *     at_cmd_parse(&list, "+CREG", msg.report, 1, AT_ACTION_READ);
 *     for (const at_parse_result *field = list; field != NULL; field = field->next_field)
 *         if (safe_strcmp(field->AtFieldName, "stat") == 0) stat = safe_atoi(field->AtFieldValue);
 *     free_at_cmd(list);
 *
 * No function here blocks or keeps state; any thread may call any of them at any time. Texts are
 * zero-terminated. The result keeps no pointer into a response or a format.
 */
#ifndef HEARTH_AT_PARSE_H
#define HEARTH_AT_PARSE_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/*
 * One node of a result. A flat result is a chain of fields through next_field. A grouped result
 * is a chain of groups through next_group; a group has a name, no value, and its fields behind
 * next_field. A name is null where the response has more fields than the format, a value is null
 * where it has fewer.
 */
typedef struct at_parse_result {
    char *AtFieldName;                  /* owned; from the format, or null */
    char *AtFieldValue;                 /* owned; from the response without its quotes, or null */
    struct at_parse_result *next_group; /* the next group, or null */
    struct at_parse_result *next_field; /* the next field of this chain, or null */
} at_parse_result;

/* Results of the parse functions. */
enum {
    AT_PARSE_OK = 0,            /* the result is stored */
    AT_PARSE_ERROR = -1,        /* name not found, null name, or no usable final result */
    AT_PARSE_MISMATCH = -2,     /* null argument, or the response doesn't fit the format */
    AT_PARSE_BAD_ACTION = -3,   /* the action is not one of AT_ACTION_* */
    AT_PARSE_PART_MISSING = -4, /* the response lacks a part that the parser needs */
    AT_RETURN_MALLOC_ERR = -5   /* no memory */
};

/* The kind of command line whose response is parsed. */
enum {
    AT_ACTION_READ = 0,    /* a line that ends in '?' */
    AT_ACTION_EXECUTE = 1, /* a set or execute command that returns data */
    AT_ACTION_TEST = 2,    /* a line that ends in "=?" */
    AT_ACTION_REPORT = 3   /* an unsolicited report */
};

/* The most fields that parse_field takes; longer responses go through parse_many_field. */
#define AT_PARSE_FIELDS 128

/*
 * The form of all parsers that a table row can hold.
 *   result  where the list is stored; left alone on failure
 *   format  the format of the response, or null
 *   text    the response; some parsers change it
 *   name    the text to look for in the response
 * Returns one of AT_PARSE_*. The caller owns the list and releases it with free_at_cmd.
 */
typedef int32_t (*at_parse_func)(at_parse_result **result, const char *format, char *text,
                                 const char *name);

/*
 * Parses a response by the tables.
 *   result  where the list is stored; set it to null beforehand, it is left alone on failure
 *   name    key of the row, such as "+CREG"
 *   text    the response; changed in place by some parsers
 *   table   number of the table, 0 to 37
 *   action  one of AT_ACTION_*
 * Returns what the row's parser returns; -1 for a null name or one that the table lacks, -2 for a
 * null text or an unknown table, -3 for an unknown action. A row without a parser for the action
 * gives the result of parse_final_result. The caller releases the list with free_at_cmd.
 */
HEARTH_API int32_t at_cmd_parse(at_parse_result **result, const char *name, char *text,
                                uint32_t table, uint32_t action);

/*
 * One flat line of fields, "KEY:value,value". A null format or a text without the name goes to
 * parse_final_result. Arguments as in at_parse_func; the text is not changed.
 * Returns 0, -2 for another null argument or a format or text without a ':', -5 without memory.
 */
HEARTH_API int32_t parse_common_at_str(at_parse_result **result, const char *format, char *text,
                                       const char *name);

/*
 * A final result line.
 *   result  where one node is stored
 *   text    the line
 * Returns -1 for every text as long as the first of at_parse_final_result has no comma, -2 for a
 * null argument, -5 without memory. (With a comma there: 0, or -4 for a text that is none of
 * at_parse_final_result.)
 */
HEARTH_API int32_t parse_final_result(at_parse_result **result, const char *text);

/* The final results, ended by a null. */
HEARTH_API extern const char *const at_parse_final_result[];

/*
 * Splits a format and a text in step and chains the fields. The chain is as long as the longer.
 *   result     where the chain is stored; left alone on failure
 *   format     names, separated by commas
 *   text       values, separated by commas; a comma within double quotes is plain text
 *   separator  its first character is counted for the length of the chain; ","
 * Returns 0, -1 for a null argument, -2 for more than AT_PARSE_FIELDS fields, -5 without memory.
 */
HEARTH_API int32_t parse_field(at_parse_result **result, const char *format, const char *text,
                               const char *separator);

/*
 * As parse_field, for any number of fields.
 * Returns 0, -1 for a null format, -2 for another null argument, -5 without memory.
 */
HEARTH_API int32_t parse_many_field(at_parse_result **result, const char *format, const char *text,
                                    const char *separator);

/*
 * Splits a text at commas outside double quotes, whatever the separator. Fields lose their outer
 * blanks and then their outer quotes. A comma at the very end adds no field.
 *   fields     where the strings are stored, each from malloc and owned by the caller; must have
 *              room for one more than count_separator(text, ",")
 *   text       the text
 *   separator  must not be null
 *   count      where the number of fields is stored
 * Returns 0, -1 for a null argument, -5 without memory (then no string stays allocated and the
 * count is 0).
 */
HEARTH_API int32_t at_const_parse(char **fields, const char *text, const char *separator,
                                  uint32_t *count);

/*
 * Chains names and values.
 *   names   `count` strings from malloc or nulls; the chain takes them over
 *   values  the same
 *   count   length of the chain
 * Returns the head of the chain, which the caller releases with free_at_cmd; null for a null
 * array, for a count of 0 and without memory. Without memory, the strings that were taken over
 * are freed and their places set to null; the rest stay with the caller.
 */
HEARTH_API at_parse_result *GreatLinkList_AT(char **names, char **values, uint32_t count);

/*
 * A range "LOW-HIGH" as one node for each number, with a null name and the number in decimal.
 *   result  where the chain is stored; left alone for an empty range and on failure
 *   format  must not be null
 *   text    the range; cut at the '-' in place
 * Returns 0, or -2 for a null argument, a text without '-', a range of more than 65536 numbers, or
 * without memory.
 */
HEARTH_API int32_t parse_sequence(at_parse_result **result, const char *format, char *text);

/*
 * A text such as "11.246.01" as one node: the part of the format behind its first '.' as the name
 * and that of the text as the value. A null format or a text without the name goes to
 * parse_final_result. Arguments as in at_parse_func; the text is not changed.
 * Returns 0, -2 for another null argument or a format or text without a '.', -5 without memory.
 */
HEARTH_API int32_t parse_soft_str(at_parse_result **result, const char *format, char *text,
                                  const char *name);

/*
 * A header line and a line of PDU digits, which becomes the last field. At most 49 bytes of the
 * format are used. The line break in the text becomes ", " in place. A text without a line break
 * goes to parse_final_result. Arguments as in at_parse_func.
 * Returns as parse_common_at_str; -1 for a format without a line break, -2 for a null argument.
 */
HEARTH_API int32_t parse_sms_cmgr_at_str(at_parse_result **result, const char *format, char *text,
                                         const char *name);

/*
 * A list of indexes, "KEY:1,4,9", as fields "index_0", "index_1" and so on. A null format or a
 * text without the name goes to parse_final_result. Arguments as in at_parse_func; the text is not
 * changed.
 * Returns 0, -2 for another null argument, -4 for a text without ':', -5 without memory; when only
 * the chain finds no memory, 0 with nothing stored.
 */
HEARTH_API int32_t parse_cmgi_list_at_str(at_parse_result **result, const char *format, char *text,
                                          const char *name);

/*
 * A bracketed list of indexes, "KEY: (1,4,9),(0-4)", as parse_cmgi_list_at_str. The text is cut
 * behind the list and cleaned in place.
 * Returns as parse_cmgi_list_at_str, but -2 for a text without ':' or without "),".
 */
HEARTH_API int32_t parse_sms_index_list_at_str(at_parse_result **result, const char *format,
                                               char *text, const char *name);

/*
 * Groups "(...),(...)" of operators, each with its fields; a bracket within double quotes is
 * plain text.
 *   result  where the chain of groups is stored; left alone on failure and without a group
 *   format  names of a group's fields; at most 49 bytes are used
 *   text    the groups; changed in place
 *   name    name of each group
 * Returns 0, -1 for a null argument, -5 without memory, and the failures of parse_field.
 */
HEARTH_API int32_t parse_operator_list(at_parse_result **result, const char *format, char *text,
                                       const char *name);

/*
 * The operator list of "AT+COPS=?": a group "option" for each operator, then the groups "mode" and
 * "format". At most 149 bytes of the format are used; the text is changed in place. A null format
 * or a text without the name goes to parse_final_result. Arguments as in at_parse_func.
 * Returns 0, -2 for another null argument, -4 for a format or text without ':', ",," or a ')'
 * behind it, -5 without memory, and the failures of parse_field.
 */
HEARTH_API int32_t parse_cops_at_str(at_parse_result **result, const char *format, char *text,
                                     const char *name);

/*
 * Groups "(...)" within a larger list.
 *   result  where the chain of groups is stored, null when there is none; left alone on failure
 *   format  names of a group's fields, with or without brackets; at most 127 bytes are used
 *   text    the list; changed in place
 *   name    name of each group
 * Returns 0, -2 for a null argument, -5 without memory, and the failures of parse_field.
 */
HEARTH_API int32_t parse_band_at_str(at_parse_result **result, const char *format, char *text,
                                     const char *name);

/*
 * The response to "AT^SYSCFG=?": groups "modes", "acqorders" and one "bandlist" for each band.
 * Acquisition orders that are a list and no range stand under "modes", in place of the modes, and
 * "acqorders" is empty. At most 149 bytes of the format are used; the text is changed in place.
 * Arguments as in at_parse_func. Returns 0, or -2 for every failure.
 */
HEARTH_API int32_t parse_syscfg_at_str(at_parse_result **result, const char *format, char *text,
                                       const char *name);

/*
 * The response to "AT^SYSCFGEX=?": groups "acqorders", the first "bandlist", and one "LTElist" for
 * each LTE band, if the response has any. At most 149 bytes of the format are used; the text is
 * changed in place. Arguments as in at_parse_func. Returns 0, or -2 for every failure.
 */
HEARTH_API int32_t parse_syscfgex_at_str(at_parse_result **result, const char *format, char *text,
                                         const char *name);

/*
 * The memories of "AT+CPMS=?": one group "SmsMediaList" for each bracket, with the field names of
 * the format's first bracket. At most 63 bytes of the format are used; the text is changed in
 * place. Arguments as in at_parse_func. Returns 0, or -2 for every failure.
 */
HEARTH_API int32_t parse_sms_media(at_parse_result **result, const char *format, char *text,
                                   const char *name);

/* Releases a result of either shape with all its strings; null is ignored. */
HEARTH_API void free_at_cmd(at_parse_result *head);

/* The same. */
HEARTH_API void free_cops_link(at_parse_result *head);

/* Releases one chain through next_field; groups behind its nodes are not followed. */
HEARTH_API void free_at_res_link(at_parse_result *head);

/* Releases one node with its two strings; null is ignored. */
HEARTH_API void free_node(at_parse_result *node);

/* As free_at_res_link, from the end of the chain to its head. */
HEARTH_API void free_at_res_tree(at_parse_result *node);

/* Walks a result of either shape and does nothing more. Returns 0. */
HEARTH_API int32_t print_operator(const at_parse_result *head);

HEARTH_END_DECLS

#endif
