/*
 * Hearth: the SIM PIN, its PUK and the passwords of the modem's locks.
 *
 * Every function is one blocking exchange with the AT server, and may be called from any thread.
 * The caller owns the records and texts; fields that the reply lacks stay as they were. Unless a
 * function says otherwise, the result is 0 when the modem answered: then `err` is AT_ERR_NONE
 * ((uint32_t)-2) or, when the modem refused (wrong PIN, no card), the error id. It is -1 for a null
 * argument or a bad action, with nothing sent, and also without a server or a reply, and when the
 * reply cannot be used; `err` then stays as it was. PINs and passwords that do not fit a command of
 * 638 bytes count as bad arguments, since half a PIN would cost one of the tries.
 */
#ifndef HEARTH_AT_SECURITY_H
#define HEARTH_AT_SECURITY_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Texts are zero-terminated. */
typedef struct at_pin_info {
    char code[32]; /* what the SIM waits for, such as "READY", "SIM PIN", "SIM PUK" */
    uint32_t err;  /* error id */
} at_pin_info;

/* For AT_PinManagementEx. */
typedef struct at_pin_info_ex {
    char code[32];      /* what the SIM waits for */
    char times[8];      /* tries left for what it waits for; decimal, as the four below */
    char puk_times[8];  /* tries left for the PUK */
    char pin_times[8];  /* for the PIN */
    char puk2_times[8]; /* for the second PUK */
    char pin2_times[8]; /* for the second PIN */
    uint32_t err;       /* error id */
} at_pin_info_ex;

/* For AT_PinEnableDisableCmd. */
typedef struct at_clck_req {
    char fac[5];       /* facility, such as "SC" for the SIM */
    char mode[5];      /* "0" unlock, "1" lock, "2" query */
    char password[32]; /* of the facility; not read by a query */
} at_clck_req;

/* For AT_PinEnableDisableCmd. */
typedef struct at_clck_rsp {
    uint32_t err;   /* error id */
    char status[8]; /* after a query: "1" locked, "0" not */
} at_clck_rsp;

/*
 * Asks what the SIM waits for, or enters a PIN.
 *   action   AT_CMD_TYPE_CHECK or AT_CMD_TYPE_SET
 *   pin      the PIN, or the PUK with a new PIN behind it; a query does not read it
 *   new_pin  the new PIN, or null to enter just `pin`; a query does not read it
 *   record   `code` is filled by a query
 * A failed exchange gives -1 or 0: any result of the channel but -1 becomes 0. Blocks for up to 30
 * seconds.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PinManagement(int32_t action, const char *pin,
                                                      const char *new_pin, at_pin_info *record);

/* The two halves of AT_PinManagement. They give a failed exchange's own result. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PinManagement_Check(at_pin_info *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PinManagement_Execute(const char *pin, const char *new_pin,
                                                              at_pin_info *record);

/* As AT_PinManagement, by the vendor's command, whose query tells the tries that are left. Blocks
 * for up to 5 seconds. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PinManagementEx(int32_t action, const char *pin,
                                                        const char *new_pin,
                                                        at_pin_info_ex *record);

/* The two halves of AT_PinManagementEx. They give a failed exchange's own result. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PinManagementEx_Check(at_pin_info_ex *record);
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PinManagementEx_Execute(const char *pin,
                                                                const char *new_pin,
                                                                at_pin_info_ex *record);

/*
 * Switches the lock of a facility on or off, or asks for its state.
 *   action  AT_CMD_TYPE_SET; any other gives -1
 *   in      what to do; another `mode` than "0", "1" and "2" gives -1
 *   out     `status` is filled by a query
 * A failed exchange gives the channel's own result. Blocks for up to 5 seconds.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PinEnableDisableCmd(int32_t action, const at_clck_req *in,
                                                            at_clck_rsp *out);

/*
 * Changes the password of a facility.
 *   facility      such as "SC" for the SIM PIN
 *   old_password  the password so far
 *   new_password  the password from now on
 *   err           receives the error id; AT_ERR_REJECTED when the old password is wrong
 * A failed exchange gives the channel's own result. Blocks for up to 30 seconds.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_PinModify(const char *facility, const char *old_password,
                                                  const char *new_password, uint32_t *err);

HEARTH_END_DECLS

#endif
