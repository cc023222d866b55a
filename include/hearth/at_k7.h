/*
 * Hearth: who and what the modem is, and the settings that it keeps.
 *
 * Every function is one blocking exchange with the AT server, of up to 30 seconds unless told
 * otherwise, and may be called from any thread. The caller owns the records; fields that a reply
 * lacks stay as they were. Unless a function says otherwise it returns 0 when a reply came and was
 * handled; -1 for null, for an action that it doesn't know, when the modem refuses and for a reply
 * that cannot be read; else what the channel gave. "Maps" says that a refusal of the modem gives 0
 * with the error id in `err`.
 */
#ifndef HEARTH_AT_K7_H
#define HEARTH_AT_K7_H

#include "hearth/api.h"
#include "hearth/at_profile.h"

HEARTH_BEGIN_DECLS

/* The record of most simple queries. */
typedef struct at_text_reply {
    int32_t value;  /* left alone */
    char text[128]; /* the answer, zero-terminated; what it has no room for is cut */
    int32_t err;    /* error id, -2 after a good reply */
} at_text_reply;

/* --- The modem's and the card's identity --- */

/* The whole answer as text. All but AT_imsi map; at_cgmi blocks for up to 5 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_imsi(at_text_reply *record); /* of the SIM */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cgmm(at_text_reply *record); /* model */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_imei(at_text_reply *record); /* of the modem */
HEARTH_API HEARTH_MUST_CHECK int32_t at_cgmi(at_text_reply *record); /* manufacturer */

/* For AT_CGSN. */
typedef struct at_cgsn_info {
    uint8_t flag;  /* 1 after a good reply */
    char text[16]; /* serial number */
    int32_t err;   /* error id */
} at_cgsn_info;

/* Reads the serial number into a record that is cleared first. Maps. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_CGSN(at_cgsn_info *record);

/* For AT_Cgmr and AT_Hwver. */
typedef struct at_version_info {
    uint8_t software_flag; /* 1 once `soft` has been read */
    uint8_t hardware_flag; /* 1 once `hard` has been read */
    char soft[32];         /* software version */
    char hard[32];         /* hardware version */
} at_version_info;

/* Appends the software version to `soft`, which the caller has cleared. -1 also for an empty
 * answer. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cgmr(at_version_info *version);

/* Reads the hardware version. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Hwver(at_version_info *version);

/* What stands behind the first colon of the answer, blanks included. All but at_battery_get map;
 * all but AT_sn block for up to 5 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_sn(at_text_reply *record); /* serial number */
HEARTH_API HEARTH_MUST_CHECK int32_t at_current_profile_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_password_nvram_content_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_wifi_number_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_mtu_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_wps_pin_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_battery_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_get_scid(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_get_version(const char *command, at_text_reply *record);

/* Reads the own number, its quotation marks included, into `text`, which is emptied when there is
 * none. Blocks for up to 5 seconds. Maps. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_phone_numbner_get(at_text_reply *record);

/* --- State of the modem --- */

typedef struct at_hs_req {
    int32_t reserved; /* not sent: the number that the modem gave last is */
    int32_t value;    /* second value of the command */
} at_hs_req;

/* For AT_HS. */
typedef struct at_hs_info {
    int32_t id;       /* number that the modem gave, sent with the next call */
    int32_t protocol; /* as the modem tells it, like the four below */
    int32_t IsOffline;
    int32_t p_class;
    int32_t p_id;
    int32_t s_id;
    int32_t err; /* error id */
} at_hs_info;

/* Sends `value` with the id of the last reply, and reads the reply. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_HS(const at_hs_req *in, at_hs_info *out);

/* For AT_Meid. */
typedef struct at_meid_info {
    char meid[15]; /* equipment number, at most 14 digits */
    int32_t err;   /* error id */
} at_meid_info;
/* Reads the equipment identifier. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Meid(at_meid_info *record);

/* For AT_Esn. */
typedef struct at_esn_info {
    int32_t esn; /* equipment number */
    int32_t err; /* error id */
} at_esn_info;
/* Reads the equipment number. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Esn(at_esn_info *record);

/* For AT_PhoneActSt. */
typedef struct at_phone_activity {
    int32_t reserved;    /* left alone */
    int32_t err;         /* error id */
    char pactstatus[16]; /* activity, 3GPP TS 27.007, 8.1 */
} at_phone_activity;
/* Action 1 alone is known. Maps. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PhoneActSt(int32_t action, at_phone_activity *record);

/* For AT_LTESCINFO. */
typedef struct at_ltescinfo {
    int32_t ci;      /* cell */
    int32_t dl_sinr; /* signal to noise ratio of the downlink */
    int32_t num_ant; /* antennas */
    int32_t dl_bw;   /* bandwidth of the downlink */
    int32_t err;     /* error id */
} at_ltescinfo;
/* Reads what the modem tells of its LTE cell. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_LTESCINFO(at_ltescinfo *record);

/* For AT_RRCVer. */
typedef struct at_rrcver_info {
    int32_t rrcver; /* version of the radio resource control */
    int32_t err;    /* error id */
} at_rrcver_info;
/* Reads (action 0) or sets (action 1); a set does not look at the modem's outcome. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_RRCVer(int32_t action, at_rrcver_info *record);

/* For at_TimeZone. */
typedef struct at_timezone_info {
    int32_t timezone; /* the modem's number of the time zone */
} at_timezone_info;
/* Blocks for up to 3 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_TimeZone(at_timezone_info *record);

/* Reads a profile; addresses as they stand. A refusal gives 0 with nothing stored. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_getprofile(int32_t index, at_profile_info *profile);

/* For AT_cvmnq. */
typedef struct at_cvmnq_req {
    int32_t reserved; /* not sent */
    char text[64];    /* number of the voice mail */
} at_cvmnq_req;
/* For AT_cvmnq. */
typedef struct at_cvmnq_info {
    int32_t reserved;           /* left alone */
    char voice_mail_number[25]; /* of the SIM */
    char nv_number[27];         /* of the modem */
    int32_t err;                /* error id */
} at_cvmnq_info;
/* Reads (action 0) or sets (action 1) the number of the voice mail; `in` is for a set. Maps. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_cvmnq(int32_t action, const at_cvmnq_req *in,
                                              at_cvmnq_info *out);

/* For AT_ChargerInfo. */
typedef struct at_charger_info {
    char ChargerState[32];  /* state, as the modem names it */
    int32_t ChargerTime;    /* since the charger is there */
    int32_t ChargerVoltage; /* mV */
    int32_t BatteryVoltage; /* mV */
    int32_t ChargerCurrent; /* mA */
    int32_t BatteryTemp;    /* temperatures as the modem tells them */
    int32_t BoardTemp;
    int32_t SimTemp;
    int32_t MsmTemp;
    int32_t PaTemp;
    int32_t IsOffChg; /* whether it charges while off */
    int32_t err;      /* error id */
} at_charger_info;
/* Maps. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_ChargerInfo(at_charger_info *record);

/* For at_query_battery_state. */
typedef struct at_battery_state {
    int32_t chargerState; /* whether it charges */
    int32_t batterylvl;   /* level, percent */
    int32_t err;          /* error id */
} at_battery_state;
/* A refusal gives -1 with the error id in `err`. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_query_battery_state(at_battery_state *record);

/* For at_query_battery_state_std. */
typedef struct at_battery_state_std {
    int32_t bcs; /* never read, and left alone */
    int32_t bcl; /* level, percent */
    int32_t err; /* error id */
} at_battery_state_std;
/* A refusal gives -1 with the error id in `err`. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_query_battery_state_std(at_battery_state_std *record);

/* For AT_ANQuery. */
typedef struct at_anquery_info {
    char rscp[8];          /* received power */
    char ecio[8];          /* energy to interference */
    char rssi[8];          /* signal strength */
    int32_t antenna_level; /* bars to show */
    char cellid[64];       /* cell */
    int32_t err;           /* error id */
} at_anquery_info;
/* Maps. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_ANQuery(at_anquery_info *record);

/* For AT_apdialmode. */
typedef struct at_apdialmode_info {
    int32_t dialmode; /* when to dial */
    int32_t idletime; /* seconds until an idle connection ends */
    int32_t err;      /* error id; left alone by a set */
} at_apdialmode_info;
/* Reads (action 0) or sets (action 1). */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_apdialmode(int32_t action, at_apdialmode_info *record);

/* For at_dial_mode. */
typedef struct at_dial_mode_info {
    int32_t dial_mode; /* when to dial */
    int32_t err;       /* error id */
} at_dial_mode_info;
/* Blocks for up to 5 seconds. A reply that cannot be read gives 0 too, with nothing stored. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_dial_mode(at_dial_mode_info *record);

/* For AT_csqlvlext. */
typedef struct at_csqlvlext_info {
    int32_t rssilv; /* level of the signal */
    int32_t ber;    /* bit errors */
    int32_t err;    /* error id */
} at_csqlvlext_info;
/* Action 0 alone is known. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_csqlvlext(int32_t action, at_csqlvlext_info *record);

/* For AT_Csqlvl. */
typedef struct at_csqlvl_info {
    int32_t uiPercent;   /* strength of the signal, percent */
    int32_t newRssiCode; /* the same as the modem codes it */
    int32_t err;         /* error id */
} at_csqlvl_info;
/* Maps. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Csqlvl(at_csqlvl_info *record);

/* For at_nvbackup and at_nvrststts. */
typedef struct at_nv_result {
    int32_t result_code; /* never read, and left alone */
    int32_t err;         /* error id */
} at_nv_result;
/* Save and restore the modem's settings. A refusal gives -1 with the error id in `err`. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_nvbackup(at_nv_result *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_nvrststts(at_nv_result *record);

/* For at_hfreqinfo. */
typedef struct at_hfreqinfo_info {
    int32_t switch_on;  /* whether reports are on */
    int32_t sysmode;    /* system mode */
    int32_t band_class; /* band */
    int32_t dl_fcn1;    /* channel of the downlink */
    int32_t dl_freq1;   /* its frequency */
    int32_t dl_bw1;     /* its bandwidth */
    int32_t ul_fcn1;    /* the same of the uplink */
    int32_t ul_freq1;
    int32_t ul_bw1;
    int32_t err; /* error id */
} at_hfreqinfo_info;
/* Action 1 with a value of 0 or 1 switches the reports; anything else reads. A refusal gives -1
 * with the error id in `err`. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_hfreqinfo(int32_t action, int32_t value,
                                                  at_hfreqinfo_info *record);

/* For at_throughoutput. */
typedef struct at_throughput_info {
    int32_t tx;  /* rate from the device */
    int32_t rx;  /* rate to the device */
    int32_t err; /* error id */
} at_throughput_info;
/* Blocks for up to 5 seconds. Maps. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_throughoutput(at_throughput_info *record);

/* For at_pwrontime. */
typedef struct at_pwrontime_info {
    uint64_t pwrontime_counters; /* time since power-up */
    int32_t err;                 /* error id */
} at_pwrontime_info;
/* Blocks for up to 5 seconds. Maps. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_pwrontime(at_pwrontime_info *record);

/* For at_version. */
typedef struct at_version_reply {
    char extd[128];   /* the value that holds "EXTD" */
    char exth[128];   /* the value that holds "EXTH" */
    char exts[128];   /* the value that holds "EXTS" */
    int32_t reserved; /* left alone */
    int32_t err;      /* 0 once one has been found */
} at_version_reply;
/* Reads the versions, which the first success keeps for the life of the process. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_version(at_version_reply *record);

/* For at_QryPhynum. */
typedef struct at_phynum_list {
    char lines[10][129]; /* one line of the answer each */
    int32_t count;       /* lines used */
} at_phynum_list;
/* Reads the numbers of the device, a line each. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_QryPhynum(at_phynum_list *record);

/* --- Lists kept in the modem's memory, as texts for the web --- */

/* Each puts its entries into `text` as an array; entries that have no room are cut. They block
 * for up to 5 seconds (at_spn_get: 1) and map. A reply that cannot be read leaves empty values. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_profile_nvram_content_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_ipfilter_nvram_content_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_virserver_nvram_content_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_specialappli_nvram_content_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_save_pin_content_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_dmz_get(at_text_reply *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_on_demand_get(at_text_reply *record);
/* The name of the service provider in UTF-8; empty when there is none. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_spn_get(at_text_reply *record);

/* For at_nvram_web_sms_get. */
typedef struct at_web_user {
    int32_t index;    /* of the entry */
    char code[8];     /* its code */
    int32_t Reserve1; /* two more numbers of the entry */
    int32_t Reserve2;
} at_web_user;
/* Read an entry of the web user data: its code as a number, whole, and its code as text. They block
 * for up to 5 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_nvram_web_use_get(int32_t index, int32_t *out);
HEARTH_API HEARTH_MUST_CHECK int32_t at_nvram_web_sms_get(int32_t index, at_web_user *record);
HEARTH_API HEARTH_MUST_CHECK int32_t at_nvram_web_use_orange_url_id(int32_t index,
                                                                    at_text_reply *record);

/*
 * Turns the name of a service provider into UCS-2.
 *   coding  0: the text is GSM 7-bit, one character a byte; else the forms of ETSI TS 102 221,
 *           Annex A, in binary or in hexadecimal
 *   length  bytes of `text`
 *   out     16 characters; what a form has no room for is cut
 * Returns 0, or -1 for null.
 */
HEARTH_API int32_t Decode_SPN_to_UCS2(int32_t coding, const char *text, uint32_t length,
                                      uint16_t *out);

/* --- Bare commands --- */

HEARTH_API HEARTH_MUST_CHECK int32_t AT_Cfun(int32_t value); /* functionality */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_ReBoot(void);        /* two exchanges */
HEARTH_API HEARTH_MUST_CHECK int32_t at_SetCsdflt(void);
HEARTH_API HEARTH_MUST_CHECK int32_t at_SetModemInforbu(void);
HEARTH_API HEARTH_MUST_CHECK int32_t at_factoryreset(void);
HEARTH_API HEARTH_MUST_CHECK int32_t at_godload(void);
/* These block for up to 5 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_restore(void);
HEARTH_API HEARTH_MUST_CHECK int32_t at_counter_clear(void);
HEARTH_API HEARTH_MUST_CHECK int32_t at_dial_command(const char *command);
HEARTH_API HEARTH_MUST_CHECK int32_t at_set_nvram(const char *name, const char *value);

/* Returns 1 when the modem answered so, 0 for success, -1 otherwise. */
HEARTH_API int32_t AT_SDload(void);
/* Returns 0 for success, 1 when the modem refused. */
HEARTH_API int32_t AT_SD(void);

/* Sets the kind of information; the command is held to 127 bytes. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_set_xml_infotype(const char *text);
/* Copies what stands behind the first colon to `out`, without a terminator; 1500 bytes. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_get_xml_infotype(char *out);

/*
 * Sends any command.
 *   command  up to 639 bytes are taken
 *   match    text of the line that is wanted, up to 63 bytes; NULL for any
 *   out      receives the answer, 1500 bytes; NULL for none
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_CommenCmd(const char *command, const char *match,
                                                  char *out);

HEARTH_END_DECLS

#endif
