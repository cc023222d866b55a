/*
 * Hearth: the data connection.
 *
 * Every function is one blocking exchange with the AT server, and may be called from any thread.
 * The caller owns the records; fields that the reply lacks stay as they were. Unless a function
 * says otherwise, the result is 0 when a reply came and was handled, with `err` -2, and -1 for a
 * null record, without a server or a reply, when the modem refuses, and when the reply cannot be
 * read.
 */
#ifndef HEARTH_AT_NDIS_H
#define HEARTH_AT_NDIS_H

#include "hearth/api.h"
#include "hearth/at_profile.h"

HEARTH_BEGIN_DECLS

typedef struct at_cardmode_info {
    int32_t sim_type; /* kind of the inserted card */
    int32_t err;      /* error id */
} at_cardmode_info;

typedef struct at_authdata_info {
    int32_t cid;        /* connection number */
    int32_t Auth_type;  /* kind of authentication */
    char PLMN[35];      /* network that the data is for */
    char passwd[128];   /* password */
    char username[129]; /* user name */
    int32_t err;        /* error id */
} at_authdata_info;

typedef struct at_cgdcont_info {
    int32_t cid;       /* connection number */
    char PDP_type[35]; /* kind of addresses, such as IPV4V6 */
    char APN[65];      /* access point name */
    int32_t err;       /* error id */
} at_cgdcont_info;

/* Reads the kind of the inserted card. Blocks for up to 30 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cardmode(at_cardmode_info *record);

/* Reads the authentication data of the connection. Blocks for up to 30 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_getauthdata(at_authdata_info *record);

/* Reads the definition of the connection. Blocks for up to 30 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_getcgdcont(at_cgdcont_info *record);

/*
 * Sets the first DNS address of the data link. Blocks for up to 30 seconds.
 *   action  AT_CMD_TYPE_SET; a read (AT_CMD_TYPE_CHECK) always gives -1
 *   record  `primary_dns` is the address
 * Any other action gives -1.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_dnsp(int32_t action, at_profile_info *record);

/* As AT_dnsp, for the second DNS address, which is `secondary_dns`. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_dnss(int32_t action, at_profile_info *record);

HEARTH_END_DECLS

#endif
