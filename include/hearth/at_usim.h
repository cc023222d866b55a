/*
 * Hearth: the SIM's files and identity.
 *
 * Every function is one blocking exchange with the AT server, of up to 30 seconds unless told
 * otherwise, and may be called from any thread. Fields that a reply lacks stay as they were.
 */
#ifndef HEARTH_AT_USIM_H
#define HEARTH_AT_USIM_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* A restricted access to the card, 3GPP TS 27.007, 8.18. */
typedef struct at_crsm_req {
    int32_t command; /* 176 reads a file of bytes, 178 a record */
    int32_t fileid;  /* number of the file */
    int32_t p1;      /* parameters of the command, ETSI TS 102 221 */
    int32_t p2;
    int32_t p3;
    const char *data; /* what to write, in hexadecimal; NULL for a read */
} at_crsm_req;

/* For AT_Crsm. */
typedef struct at_crsm_rsp {
    uint32_t sw1;   /* status of the card: 144 with sw2 0, or 145, is success */
    uint32_t sw2;   /* its second byte */
    char *response; /* what was read, in hexadecimal; goes back through ATS_FreeMemory */
    uint32_t err;   /* error id */
} at_crsm_rsp;

/* In at_cnum_list. */
typedef struct at_cnum_entry {
    char name[90]; /* name of the number */
    char num[42];  /* the number */
    int32_t type;  /* kind of the number, 145 for an international one */
} at_cnum_entry;

/* For AT_Cnum. */
typedef struct at_cnum_list {
    at_cnum_entry *entries; /* from malloc(): the caller frees it */
    uint32_t count;         /* entries */
    uint32_t err;           /* error id */
} at_cnum_list;

/* For AT_SCID. */
typedef struct at_scid_info {
    char scid_num[24]; /* number of the card, at most 20 digits */
    uint32_t err;      /* error id */
} at_scid_info;

/* For AT_Iccid. */
typedef struct at_iccid_info {
    char iccid[64]; /* number of the card */
    uint32_t err;   /* error id */
} at_iccid_info;

/* For AT_Currsid. */
typedef struct at_currsid_info {
    char curr_sid[64];           /* system */
    char curr_nid[64];           /* network */
    char curr_evdo_subnetid[64]; /* subnet */
    uint32_t err;                /* error id */
} at_currsid_info;

/*
 * Accesses a file of the card.
 *   response  on success its `response` is a fresh text if the card gave one
 * Returns 0; -1 for null, a refusal, a reply that cannot be read and no memory; else what the
 * channel gave.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Crsm(const at_crsm_req *request, at_crsm_rsp *response);

/*
 * Reads the card's own numbers, at most 255. Blocks for up to 5 seconds.
 *   list  a reply without a number leaves it as it was, but for `err`
 * Returns 0, also when the modem refuses, with the error id in `err`; -1 for null, no memory and a
 * reply that cannot be read, with `entries` NULL; else what the channel gave.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cnum(at_cnum_list *list);

/* Reads the number of the card. Returns 0, also when the modem refuses, with the error id in
 * `err`; -1 for null, without a reply and for one that cannot be read. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_SCID(at_scid_info *record);

/* Read the number of the card, and the identity of the network. Return 0; -1 for null, without a
 * reply, when the modem refuses and for a reply that cannot be read. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Iccid(at_iccid_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Currsid(at_currsid_info *record);

/*
 * Reads the first access point name of the card's control list (EF ACL, 3GPP TS 31.102, 4.2.48).
 *   apn  receives the name; 33 bytes
 * Returns 0, or -1 without one.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_get_sim_apn(char *apn);

/* Returns the number of digits of the network code in the IMSI (EF AD, 3GPP TS 31.102, 4.2.18), or
 * -1. */
HEARTH_API int32_t AT_get_mnc_length(void);

/*
 * Reads the group identifier of the card (EF GID1) in hexadecimal.
 *   gid1  receives the text, which lacks its terminator where it fills the capacity
 *   size  capacity in bytes
 * Returns 0 or -1.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_get_sim_gid1(char *gid1, uint32_t size);

HEARTH_END_DECLS

#endif
