/* A status daemon: asks the modem for what a status page shows, logs it and prints it. */

#include <stdio.h>
#include <string.h>

#include "hearth/at_k7.h"
#include "hearth/at_lib.h"
#include "hearth/at_network.h"
#include "hearth/osa_log.h"

static const char *registration_text(int32_t stat) {
    static const char *const kTexts[] = {"not registered", "home network", "searching",
                                         "denied",         "unknown",      "roaming"};
    return stat >= 0 && stat < 6 ? kTexts[stat] : "unknown";
}

/* One line of the page, or what kept it from being filled. */
static void show(const char *name, int32_t result, int32_t err, const char *text) {
    if (result != 0 || (err != AT_ERR_NONE && err != 0)) {
        printf("%-14s no answer (result %d, error id %d)\n", name, result, err);
    } else {
        printf("%-14s %s\n", name, text);
    }
    osa_print_log_ex("status", "examples/status", __LINE__, OSA_LOG_INFO, "%s: %s\n", name, text);
}

int main(void) {
    at_text_reply imsi;
    at_creg_info registration;
    at_cops_info operator_name;
    char rssi[8] = "";
    memset(&imsi, 0, sizeof imsi);
    memset(&registration, 0, sizeof registration);
    memset(&operator_name, 0, sizeof operator_name);

    int32_t result = AT_imsi(&imsi);
    show("SIM", result, imsi.err, imsi.text);
    result = AT_Creg(0, &registration);
    show("Registration", result, registration.err, registration_text(registration.stat));
    result = AT_Cops(&operator_name);
    show("Operator", result, 0, operator_name.oper);
    /* The signal is a report that the AT server keeps; there may be none yet. */
    result = AT_Rssi(rssi);
    show("Signal", result, 0, rssi);
    return 0;
}
