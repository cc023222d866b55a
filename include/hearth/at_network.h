/*
 * Hearth: the modem's network state: registration, operator, system mode and bands, signal,
 * cells, network time and radio settings.
 *
 * Every function is one blocking exchange with the AT server and may be called from any thread.
 * It blocks for up to 30 seconds unless it says otherwise. The caller owns the records; fields
 * that the reply lacks stay as they were, so clear a record before the call. Texts are
 * zero-terminated, and cut to their fields.
 *
 * The result is 0 when a reply came and was handled, with `err` -2 in records that have it, and -1
 * for a null record, an unknown action, without a server or a reply, when the modem refuses, and
 * when the reply cannot be read. "Reports refusals" says that a refusal by the modem gives 0
 * instead, with the error id in `err`.
 *
 * An action is AT_CMD_TYPE_CHECK for a query or AT_CMD_TYPE_SET. Numbers such as service states
 * and system modes are those of the modem's command set.
 */
#ifndef HEARTH_AT_NETWORK_H
#define HEARTH_AT_NETWORK_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* For AT_Csnr. */
typedef struct at_csnr_info {
    int32_t rscp; /* received signal code power, dBm */
    int32_t ecio; /* signal to interference, dB */
    int32_t err;  /* error id */
} at_csnr_info;

/* For AT_Eons. */
typedef struct at_eons_info {
    int32_t type;         /* kind of name */
    char plmn_id[65];     /* number of the network */
    char plmn_long[129];  /* long name */
    char plmn_short[129]; /* short name */
    uint8_t spn_cond;     /* display condition of the provider's name */
    char spn[65];         /* provider's name on the SIM */
} at_eons_info;

/* For AT_Cops and AT_ChoseOperators. */
typedef struct at_cops_info {
    char mode[5];   /* way of selection, a number */
    char format[5]; /* form of `oper`, a number */
    char oper[64];  /* operator */
    char rat[11];   /* access technology, a number; empty when not told */
} at_cops_info;

/* For AT_Creg and AT_Cgreg. */
typedef struct at_creg_info {
    int32_t n;    /* mode of the unsolicited report */
    int32_t stat; /* registration state */
    char lac[16]; /* location area, hexadecimal */
    char ci[16];  /* cell, hexadecimal */
    int32_t err;  /* error id */
} at_creg_info;

/* For AT_Cgatt. */
typedef struct at_cgatt_info {
    int32_t state; /* 1 attached to the packet domain */
    int32_t err;   /* error id */
} at_cgatt_info;

/* For AT_SysConfig. */
typedef struct at_syscfg_req {
    char mode[5];      /* system mode, a number */
    char acqorder[5];  /* acquisition order, a number */
    char band[20];     /* bands, a hexadecimal mask */
    char roam[5];      /* roaming, a number */
    char srvdomain[5]; /* service domain, a number */
} at_syscfg_req;

/* For AT_SysConfig. */
typedef struct at_syscfg_info {
    int32_t reserved;  /* left alone */
    char mode[5];      /* as in at_syscfg_req */
    char acqorder[5];  /* as in at_syscfg_req */
    char band[20];     /* as in at_syscfg_req */
    char roam[5];      /* as in at_syscfg_req */
    char srvdomain[5]; /* as in at_syscfg_req */
    int32_t err;       /* error id */
} at_syscfg_info;

/* For AT_SysConfigEx. */
typedef struct at_syscfgex_info {
    char acqorder[20];   /* acquisition order, two digits a technology */
    char band[20];       /* bands, a hexadecimal mask */
    char roam[8];        /* roaming, a number */
    char srvdomain[8];   /* service domain, a number */
    char lteband[20];    /* LTE bands, a hexadecimal mask */
    char parameter1[12]; /* sixth parameter of a set; a query leaves it alone */
    char parameter2[12]; /* seventh parameter of a set; a query leaves it alone */
    int32_t err;         /* error id */
} at_syscfgex_info;

/* For AT_SysInfo. */
typedef struct at_sysinfo {
    int32_t srv_status;  /* service state */
    int32_t srv_domain;  /* service domain */
    int32_t roam_status; /* 1 when roaming */
    int32_t sys_mode;    /* system mode */
    int32_t sim_state;   /* SIM state */
    int32_t lock_state;  /* lock state */
    int32_t sys_submode; /* system submode */
    int32_t err;         /* error id */
} at_sysinfo;

/* For AT_SysInfoEx. */
typedef struct at_sysinfoex {
    int32_t srv_status;    /* service state */
    int32_t srv_domain;    /* service domain */
    int32_t roam_status;   /* 1 when roaming */
    int32_t sim_state;     /* SIM state */
    int32_t lock_state;    /* lock state */
    int32_t sysmode;       /* system mode */
    char sysmode_name[20]; /* its name */
    int32_t submode;       /* system submode */
    char submode_name[20]; /* its name */
    int32_t err;           /* error id */
} at_sysinfoex;

/* For AT_GetSpn. */
typedef struct at_spn_info {
    int32_t disp_rplmn; /* whether the registered network is shown */
    int32_t coding;     /* coding of the name */
    char spn_name[40];  /* provider's name as the SIM has it */
    int32_t err;        /* error id */
} at_spn_info;

/* For AT_Cpnn. */
typedef struct at_cpnn_info {
    char full_name[128];       /* full name of the network */
    int32_t full_name_coding;  /* its coding */
    int32_t full_name_ci;      /* 1 when the country's initials go with it */
    char short_name[128];      /* short name of the network */
    int32_t short_name_coding; /* its coding */
    int32_t shor_name_ci;      /* 1 when the country's initials go with it */
    int32_t err;               /* error id */
} at_cpnn_info;

/* For AT_Hcsq. */
typedef struct at_hcsq_info {
    int32_t sysmode; /* 0 GSM, 1 WCDMA, 2 LTE, 3 CDMA, 4 EVDO, -1 no service */
    int32_t value1;  /* signal values; what each is depends on the system mode */
    int32_t value2;
    int32_t value3;
    int32_t value4;
    int32_t value5;
} at_hcsq_info;

/* For AT_Cellroam. */
typedef struct at_cellroam_info {
    int32_t cell_roam_state; /* roaming state of the cell */
    int32_t rat;             /* access technology */
    int32_t err;             /* error id */
} at_cellroam_info;

/* For AT_Cgcatt. */
typedef struct at_cgcatt_info {
    int32_t state;   /* first parameter of a set */
    int32_t err;     /* second parameter of a set; after the call the error id */
    int32_t psState; /* packet domain */
    int32_t csState; /* circuit domain */
} at_cgcatt_info;

/* For AT_Rsrp. */
typedef struct at_rsrp_info {
    char rsrp[8]; /* reference signal received power, dBm */
    char rsrq[8]; /* reference signal received quality, dB */
    int32_t err;  /* error id */
} at_rsrp_info;

/* For AT_Cellid. */
typedef struct at_cellid_info {
    char Plmn[8]; /* network */
    char Ci[16];  /* cell */
    char Pci[8];  /* physical cell */
    char Tac[8];  /* tracking area */
    int32_t err;  /* error id */
} at_cellid_info;

/* For AT_RFSwitch. */
typedef struct at_rfswitch_info {
    int32_t rf_status; /* state of the radio */
    int32_t reserved;  /* left alone */
    int32_t err;       /* error id */
} at_rfswitch_info;

/* For AT_HOPARASET. */
typedef struct at_hoparaset_req {
    int32_t rsrp_thresh1; /* handover thresholds of the received power */
    int32_t rsrp_thresh2;
    int32_t rsrp_thresh3;
    int32_t sinr_thresh1; /* and of the signal to noise ratio */
    int32_t sinr_thresh2;
    int32_t sinr_thresh3;
} at_hoparaset_req;

/* For AT_HOPARASET. */
typedef struct at_hoparaset_info {
    int32_t rsrp_thresh1; /* as in at_hoparaset_req */
    int32_t rsrp_thresh2;
    int32_t rsrp_thresh3;
    int32_t sinr_thresh1;
    int32_t sinr_thresh2;
    int32_t sinr_thresh3;
    int32_t reserved; /* left alone */
    int32_t err;      /* error id */
} at_hoparaset_info;

/* For AT_LTEMEASMODE. */
typedef struct at_ltemeasmode_info {
    int32_t mode;     /* measuring mode */
    int32_t reserved; /* left alone */
    int32_t err;      /* error id */
} at_ltemeasmode_info;

/* For AT_Srvst and AT_Mode. */
typedef struct at_value_set {
    int32_t value; /* the value to set */
    int32_t err;   /* error id */
} at_value_set;

/* For AT_PrefRoam. */
typedef struct at_prefroam_info {
    int32_t prefroam; /* preferred roaming */
    int32_t err;      /* error id */
} at_prefroam_info;

/* For AT_PDP. */
typedef struct at_pdp_req {
    int32_t index; /* the parameters of the profile, in the order of the command */
    char name[20];
    char apn[64];
    char username[260];
    char password[260];
    int32_t auth;
} at_pdp_req;

/* In at_operator_list. */
typedef struct at_operator {
    char stat[5];          /* availability, a number */
    char long_oper[128];   /* long name */
    char short_oper[128];  /* short name */
    char numeric_oper[16]; /* number */
    char rat[11];          /* access technology, a number */
} at_operator;

/* In at_operators. */
typedef struct at_operator_list {
    int32_t count;           /* operators that follow */
    at_operator entries[20]; /* what a search found */
} at_operator_list;

/* For AT_ChoseOperators. */
typedef struct at_operators {
    int32_t reserved1;      /* left alone */
    at_operator_list *list; /* the caller's list, filled by action 2 */
    int32_t reserved2;      /* left alone */
    int32_t reserved3;      /* left alone */
    int32_t err;            /* error id */
} at_operators;

/* In at_opl_list. */
typedef struct at_opl_entry {
    char numeric[80]; /* network */
    int32_t index;    /* record of its name */
} at_opl_entry;

/* For AT_GetOPList. */
typedef struct at_opl_list {
    at_opl_entry *opl_list; /* from malloc; the caller frees it */
    uint32_t count;         /* entries */
    int32_t err;            /* error id */
} at_opl_list;

/* For AT_GetPnnList. */
typedef struct at_pnn_req {
    int32_t first;  /* first parameter */
    int32_t second; /* second parameter, 0 or more; -1 for none */
} at_pnn_req;

/* For AT_GetPnnList. */
typedef struct at_pnn_entry {
    char long_name[128];  /* full name of a network */
    char short_name[128]; /* short name */
    char reserved[128];   /* third value of the line */
    int32_t err;          /* -2 */
} at_pnn_entry;

/* For AT_SC_test. */
typedef struct at_cwas_info {
    int32_t value;     /* parameter of the command */
    int32_t reserved1; /* left alone */
    int32_t reserved2; /* left alone */
    int32_t code;      /* number at the start of the reply */
    int32_t err;       /* error id */
} at_cwas_info;

/* In at_lcacell_info. */
typedef struct at_lcacell_entry {
    int32_t cell_id; /* cell */
    int32_t ul_cfg;  /* uplink configured */
    int32_t dl_cfg;  /* downlink configured */
    int32_t act;     /* activated */
} at_lcacell_entry;

/* For AT_LCACELL. */
typedef struct at_lcacell_info {
    at_lcacell_entry cells[8]; /* cells of the carrier aggregation */
    int32_t err;               /* error id */
} at_lcacell_info;

/* For AT_NWTime. */
typedef struct at_nwtime_info {
    int32_t second; /* 0 to 59 */
    int32_t minute; /* 0 to 59 */
    int32_t hour;   /* 0 to 23 */
    int32_t day;    /* of the month, from 1 */
    int32_t month;  /* from 0 */
    int32_t year;   /* less 1900 */
    char zone[12];  /* such as "GMT+08:00" */
    int32_t err;    /* error id */
} at_nwtime_info;

/* In at_syscfg_test and at_syscfgex_test. */
typedef struct at_band {
    char band[16];      /* a hexadecimal mask */
    char band_name[64]; /* its name */
} at_band;

/* In at_syscfgex_test. */
typedef struct at_lteband {
    char lteband[16];      /* a hexadecimal mask */
    char lteband_name[64]; /* its name */
} at_lteband;

/* For AT_Syscfg_test. */
typedef struct at_syscfg_test {
    int32_t modes[10];      /* system modes */
    int32_t mode_count;     /* of them */
    int32_t acqorders[10];  /* acquisition orders */
    int32_t acqorder_count; /* of them */
    at_band bands[20];      /* bands */
    int32_t band_count;     /* of them */
    int32_t reserved[17];   /* left alone */
    int32_t err;            /* error id */
} at_syscfg_test;

/* For AT_Syscfgex_test. */
typedef struct at_syscfgex_test {
    int32_t acqorder_count;  /* acquisition orders that follow */
    char acqorders[10][20];  /* acquisition orders, two digits a technology */
    at_band bands[20];       /* bands */
    int32_t band_count;      /* of them */
    at_lteband ltebands[20]; /* LTE bands */
    int32_t lteband_count;   /* of them */
    int32_t err;             /* error id */
} at_syscfgex_test;

/*
 * Asks the AT server, not the modem, for its latest signal report.
 *   text  receives up to 4 bytes of the signal strength; not terminated when it has 4 or more
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Rssi(char *text);

/* Reads the signal of a third generation cell. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Csnr(at_csnr_info *record);

/*
 * Reads the names of a network.
 *   type  kind of name
 *   plmn  number of the network; null or empty for the registered one
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Eons(int32_t type, const char *plmn, at_eons_info *record);

/* Reads the selected operator. A record without `err`. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cops(at_cops_info *record);

/* Reads the registration in the circuit domain (a query reports refusals), or sets the mode `n` of
 * its unsolicited report. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Creg(int32_t action, at_creg_info *record);

/* As AT_Creg, for the packet domain. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cgreg(int32_t action, at_creg_info *record);

/* Reads the attachment to the packet domain (a query reports refusals), or sets it to `state`. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cgatt(int32_t action, at_cgatt_info *record);

/*
 * Reads or sets the system configuration. Reports refusals.
 *   in   the values of a set; not null for a query either
 *   out  receives what a query reads, and `err`
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_SysConfig(int32_t action, const at_syscfg_req *in,
                                                  at_syscfg_info *out);

/* Reads or sets the extended system configuration. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_SysConfigEx(int32_t action, at_syscfgex_info *record);

/* Reads the state of the system. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_SysInfo(at_sysinfo *record);

/* Reads the state of the system, with the names of its modes. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_SysInfoEx(at_sysinfoex *record);

/* Reads the provider's name from the SIM. `number` is the command's parameter. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_GetSpn(int32_t number, at_spn_info *record);

/* Reads the names of the network. `number` is the command's parameter. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cpnn(int32_t number, at_cpnn_info *record);

/* Reads the signal in the current system mode. An unknown mode leaves `sysmode` as it was. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Hcsq(at_hcsq_info *record);

/* Reads whether the cell is a roaming one. Reports refusals. Blocks for up to 5 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cellroam(at_cellroam_info *record);

/* Reads the attachment to both domains (a query reports refusals), or sets it to the first two
 * words of the record, the second of which is `err`. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cgcatt(int32_t action, at_cgcatt_info *record);

/* Reads the signal of an LTE cell. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Rsrp(at_rsrp_info *record);

/* Reads the identity of the LTE cell. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cellid(at_cellid_info *record);

/*
 * Reads (AT_RFSwitch_Check) or sets (AT_RFSwitch_Execute) the radio.
 *   value   not null; the value to set
 *   record  receives the state, and `err`
 * AT_RFSwitch does either by its action.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_RFSwitch_Check(at_rfswitch_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_RFSwitch_Execute(const int32_t *value,
                                                         at_rfswitch_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_RFSwitch(int32_t action, const int32_t *value,
                                                 at_rfswitch_info *record);

/* As the three of AT_RFSwitch, for the handover thresholds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_HOPARASET_Check(at_hoparaset_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_HOPARASET_Execute(const at_hoparaset_req *values,
                                                          at_hoparaset_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_HOPARASET(int32_t action, const at_hoparaset_req *values,
                                                  at_hoparaset_info *record);

/* As the three of AT_RFSwitch, for the LTE measuring mode. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_LTEMEASMODE_Check(at_ltemeasmode_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_LTEMEASMODE_Execute(const int32_t *value,
                                                            at_ltemeasmode_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_LTEMEASMODE(int32_t action, const int32_t *value,
                                                    at_ltemeasmode_info *record);

/* Switches the unsolicited report of the service state. The only action is AT_CMD_TYPE_SET. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Srvst(int32_t action, at_value_set *record);

/* Switches the unsolicited report of the system mode. The only action is AT_CMD_TYPE_SET. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Mode(int32_t action, at_value_set *record);

/* Changes a connection profile in the modem. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PDP(const at_pdp_req *record);

/* Sets fast dormancy; `a` and `b` are the command's parameters. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_FASTDORM(int32_t a, int32_t b);

/* Sets preferred roaming. A query always gives -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PrefRoam(int32_t action, at_prefroam_info *record);

/*
 * Selects an operator or searches for operators. Reports refusals. Blocks for up to 240 seconds.
 *   action  1 select, 2 search; any other gives -1
 *   in      the operator to select; `rat` is sent when it is "0", "2" or "7"
 *   out     `list` receives up to 20 operators of a search; not null then. `err` is -2 also when
 * the reply cannot be read
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_ChoseOperators(int32_t action, const at_cops_info *in,
                                                       at_operators *out);

/*
 * Reads the SIM's operator list. Reports refusals.
 *   number  the command's parameter
 *   record  `opl_list` receives a list that the caller frees, null when it fails; an empty reply
 *           leaves it and `count` as they were
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_GetOPList(int32_t number, at_opl_list *record);

/*
 * Reads the SIM's network names.
 *   in     the command's parameters
 *   count  receives the number of entries
 *   list   receives a list that the caller frees, null when it fails; an empty reply leaves it as
 *          it was
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_GetPnnList(const at_pnn_req *in, uint32_t *count,
                                                   at_pnn_entry **list);

/* Sends the modem's test code `value` and reads the code that it gives. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_SC_test(at_cwas_info *record);

/* Reads the cells of the carrier aggregation. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_LCACELL(at_lcacell_info *record);

/* Reads the network's time, as local time. Returns 1 when the modem has none and the record holds
 * its date of 1990. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_NWTime(at_nwtime_info *record);

/* Reads the system configurations that the modem can have. A plain list of acquisition orders
 * stands under `modes`. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Syscfg_test(at_syscfg_test *record);

/* Reads the extended system configurations that the modem can have. The record is cleared first.
 * Only the first of several bands is read. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Syscfgex_test(at_syscfgex_test *record);

HEARTH_END_DECLS

#endif
