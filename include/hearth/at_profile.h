/*
 * Hearth: the connection profile, which the network, connection and device commands share.
 */
#ifndef HEARTH_AT_PROFILE_H
#define HEARTH_AT_PROFILE_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Texts are zero-terminated. */
typedef struct at_profile_info {
    uint32_t index;         /* profile number, a byte's value */
    uint8_t is_valid;       /* 1 when the profile is in use */
    char profile_name[135]; /* name for the user */
    uint8_t apn_is_static;  /* 1 when `apn_name` is to be used */
    char apn_name[64];      /* access point name */
    char username[128];     /* user name for the access point */
    char password[128];     /* password for the access point */
    uint8_t auth_mode;      /* authentication; for a dial a character such as '1' */
    uint8_t reserved1;      /* left alone */
    uint8_t ip_is_static;   /* 1 when `addr` is to be used */
    char addr[81];          /* own address, dotted */
    uint8_t dns_is_static;  /* 1 when the two DNS addresses are to be used */
    char primary_dns[16];   /* first DNS address, dotted */
    char secondary_dns[16]; /* second DNS address, dotted */
    uint8_t reserved2[130]; /* left alone */
    int32_t read_only;      /* not 0 when the user may not change the profile */
    int32_t reserved3;      /* left alone */
    int32_t err;            /* error id */
} at_profile_info;

HEARTH_END_DECLS

#endif
