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
#include "hearth/at_security.h"

HEARTH_BEGIN_DECLS

/* For AT_cardmode. */
typedef struct at_cardmode_info {
    int32_t sim_type; /* kind of the inserted card */
    int32_t err;      /* error id */
} at_cardmode_info;

/* For AT_getauthdata and AT_authdata. */
typedef struct at_authdata_info {
    int32_t cid;        /* connection number */
    int32_t Auth_type;  /* kind of authentication */
    char PLMN[35];      /* network that the data is for */
    char passwd[128];   /* password */
    char username[129]; /* user name */
    int32_t err;        /* error id */
} at_authdata_info;

/* For AT_getcgdcont and AT_cgdcont. */
typedef struct at_cgdcont_info {
    int32_t cid;       /* connection number */
    char PDP_type[35]; /* kind of addresses, such as IPV4V6 */
    char APN[65];      /* access point name */
    int32_t err;       /* error id */
} at_cgdcont_info;

/* What the network gave to an IPv4 connection; addresses are dotted. */
typedef struct at_dhcp_info {
    char IPAddr[16];      /* own address */
    char NetMask[16];     /* network mask */
    char GateWay[16];     /* gateway */
    char pDNS[16];        /* first name server */
    char sDNS[16];        /* second name server */
    uint8_t reserved[36]; /* left alone */
    int32_t max_rx_data;  /* highest rate to the device, bits a second */
    int32_t max_tx_data;  /* highest rate from the device, bits a second */
    int32_t err;          /* error id; -2 also when the reply cannot be read */
} at_dhcp_info;

/* The same for IPv6; addresses as the modem writes them. */
typedef struct at_dhcpv6_info {
    char clip_v6[65];    /* own address */
    char netmask_v6[65]; /* network mask */
    char gate_v6[65];    /* gateway */
    char pDNS_v6[65];    /* first name server */
    char sDNS_v6[65];    /* second name server */
    int32_t max_rx_data; /* highest rate to the device, bits a second */
    int32_t max_tx_data; /* highest rate from the device, bits a second */
    int32_t err;         /* error id; -2 also when the reply cannot be read */
} at_dhcpv6_info;

/* What a router advertisement told. */
typedef struct at_aprainfo_info {
    int32_t ipv6_mtu;           /* bytes of the longest packet */
    char prefix[64];            /* prefix of the network */
    int32_t preferred_lifetime; /* seconds */
    int32_t valid_lifetime;     /* seconds */
    int32_t err;                /* error id */
} at_aprainfo_info;

/* For AT_lan_addr. */
typedef struct at_lan_addr_info {
    char addr[64];     /* address */
    int32_t prefixlen; /* bits of the prefix */
    int32_t err;       /* error id */
} at_lan_addr_info;

/* For at_ppp_state. */
typedef struct at_ppp_info {
    int32_t reserved; /* left alone */
    int32_t IPV4;     /* state of the IPv4 connection */
    int32_t IPV6;     /* state of the IPv6 connection */
    int32_t err;      /* error id */
} at_ppp_info;

/* For AT_Glasterr. */
typedef struct at_glasterr_info {
    int32_t type; /* kind of error to ask for */
    int32_t code; /* the last error of that kind */
    int32_t err;  /* error id */
} at_glasterr_info;

/* For at_ipv6_cap. */
typedef struct at_ipv6_cap_info {
    int32_t cfg_value; /* kinds of addresses that the modem can do */
    int32_t err;       /* error id */
} at_ipv6_cap_info;

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

/*
 * Dials or ends the connection. Blocks for up to 30 seconds.
 *   first, second  connection number, and 1 to dial or 0 to end
 *   profile        what to dial with, or NULL for the modem's own. `auth_mode` is sent as a
 *                  character. Receives -2 in `err`
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_ndisdup(int32_t first, int32_t second,
                                                at_profile_info *profile);

/* Define the connection, and its authentication. Block for up to 30 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cgdcont(at_cgdcont_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_authdata(at_authdata_info *record);

/*
 * Read what the network gave. Block for up to 30 seconds.
 *   action  1; any other is sent to the modem as a setting, whose reply is read alike
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_dhcp(int32_t action, at_dhcp_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_dhcpv6(int32_t action, at_dhcpv6_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_aprainfo(int32_t action, at_aprainfo_info *record);

/* Asks for the address of the local network. Always gives -1 once the modem has answered. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_lan_addr(at_lan_addr_info *record);

/*
 * Reads the state of the connection. Blocks for up to 5 seconds.
 *   action  0; any other is sent to the modem as a setting, whose reply is read alike
 * A refusal of the modem gives 0 with the error id in `err`.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t at_ppp_state(int32_t action, at_ppp_info *record);

/*
 * Sets or reads the DNS addresses of a connection. Blocks for up to 30 seconds.
 *   action   AT_CMD_TYPE_SET or AT_CMD_TYPE_CHECK; any other gives -1
 *   cid      connection number of a set
 *   profile  `primary_dns` and `secondary_dns`
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cgdns(int32_t action, int32_t cid,
                                              at_profile_info *profile);

/* Reads the last error of the kind in `type`. Blocks for up to 30 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Glasterr(at_glasterr_info *record);

/* Reads which addresses the modem can do. Blocks for up to 5 seconds. A refusal of the modem gives
 * 0 with the error id in `err`. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_ipv6_cap(at_ipv6_cap_info *record);

/*
 * Ask what the SIM waits for, and enter what it waits for, as AT_PinManagement does.
 *   pin, new_pin  both present: the PUK or old PIN, and the new PIN
 * Return 0, or -1.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cpin_check(at_pin_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cpin_execute(const char *pin, const char *new_pin,
                                                     at_pin_info *record);

HEARTH_END_DECLS

#endif
