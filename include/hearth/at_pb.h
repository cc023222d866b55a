/*
 * Hearth: the phonebook of the SIM.
 *
 * Every function is one blocking exchange of up to 30 seconds with the AT server, and may be called
 * from any thread. The caller owns the records; fields that the reply lacks stay as they were.
 * Unless a function says otherwise, the result is 0 when the modem answered: then `err` is
 * AT_ERR_NONE ((uint32_t)-2) or, when the modem refused, the error id. It is -1 for a null record
 * or a bad value, with nothing sent, and also without a server or a reply, and when the reply
 * cannot be used.
 *
 * A name is raw bytes with a length, may hold zero bytes, and is not interpreted here: its encoding
 * is told by the modem's `coding` number.
 */
#ifndef HEARTH_AT_PB_H
#define HEARTH_AT_PB_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Numbers and storages are zero-terminated texts. */
typedef struct at_cpbs_set {
    char storage[28]; /* phonebook to choose, such as "SM" */
    uint32_t err;     /* error id */
} at_cpbs_set;

/* For AT_Cpbs. */
typedef struct at_cpbs_info {
    uint32_t used;   /* entries in use */
    uint32_t total;  /* entries that find room */
    char storage[8]; /* phonebook chosen */
    uint32_t err;    /* error id */
} at_cpbs_info;

/* What AT_Cpbw does. Both write operations do the same. */
enum { AT_CPBW_ADD = 0, AT_CPBW_CHANGE = 1, AT_CPBW_DELETE = 2 };

/* For AT_Cpbw. */
typedef struct at_cpbw_req {
    uint32_t op;          /* one of AT_CPBW_* */
    uint32_t index;       /* place of the entry */
    uint32_t type;        /* type of address of `number`: 129, or 145 for international */
    uint32_t coding;      /* encoding of the name: 0, 1 or 2; any other is sent as 0 */
    uint32_t text_length; /* bytes of the name, at most 512 */
    char number[80];      /* telephone number */
    char text[512];       /* name */
    uint32_t err;         /* error id */
} at_cpbw_req;

/* For AT_Cpbr. */
typedef struct at_cpbr_req {
    uint32_t index; /* place to read; not read by a test */
    uint32_t err;   /* error id of a refusal; left alone otherwise */
} at_cpbr_req;

/* For AT_Cpbr. */
typedef struct at_cpbr_info {
    uint32_t nlength;     /* test: longest number */
    uint32_t tlength;     /* test: longest name in bytes */
    uint32_t mlength;     /* test: the modem's third length */
    uint32_t index;       /* place of the entry */
    uint32_t type;        /* type of address of `number` */
    uint32_t first_index; /* test: first place */
    uint32_t last_index;  /* test: last place */
    uint32_t coding;      /* encoding of the name */
    uint32_t text_length; /* bytes of the name */
    char number[80];      /* telephone number */
    char text[512];       /* name; cut to 511 bytes, or 512 when it holds zero bytes */
    uint32_t err;         /* AT_ERR_NONE after a good reply; left alone by a refusal */
} at_cpbr_info;

/*
 * Reads which phonebook is chosen, or chooses one.
 *   action  AT_CMD_TYPE_CHECK fills `out`, AT_CMD_TYPE_SET sends `in`; any other gives 0, and
 *           nothing is done
 * The record that the action does not use may be null. Any result of the channel but -1 becomes 0.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpbs(int32_t action, at_cpbs_set *in, at_cpbs_info *out);

/* The two halves of AT_Cpbs. They give a failed exchange's own result. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpbs_Check(at_cpbs_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpbs_Execute(at_cpbs_set *record);

/*
 * Reads an entry, or the limits of the phonebook.
 *   action  1 reads the entry at `index`, 2 the limits; any other gives 0, and nothing is done
 *   in      not null; `err` receives the error id of a refusal
 *   out     not null; what is read
 * Any result of the channel but -1 becomes 0.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpbr(int32_t action, at_cpbr_req *in, at_cpbr_info *out);

/* The two halves of AT_Cpbr. They give a failed exchange's own result. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpbr_Execute(at_cpbr_req *in, at_cpbr_info *out);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpbr_Test(at_cpbr_req *in, at_cpbr_info *out);

/*
 * Writes or deletes an entry.
 *   action  1 does so; 2 gives -1 when `flag` is 0; else the result is 0, and nothing is done
 *   record  the entry and the operation
 *   flag    see above
 * Any result of the channel but -1 becomes 0.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpbw(int32_t action, at_cpbw_req *record, int32_t flag);

/* The work of AT_Cpbw. Gives a failed exchange's own result. An unknown `op` and a name that is
 * too long give -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpbw_Execute(at_cpbw_req *record);

HEARTH_END_DECLS

#endif
