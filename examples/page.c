/* What a status page needs: identity, SIM and PIN, operator, registration, signal, the data
 * connection with its flow, the network's time, and the card's toolkit menu. */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "hearth/at_k7.h"
#include "hearth/at_lib.h"
#include "hearth/at_ndis.h"
#include "hearth/at_network.h"
#include "hearth/at_security.h"
#include "hearth/at_statistics.h"
#include "hearth/at_stk.h"
#include "hearth/at_usim.h"
#include "hearth/osa_time.h"

static int failures;

/* True for a good answer; anything else becomes a line that says so. */
static int good(const char *what, int32_t result) {
    if (result != 0) {
        printf("%-12s no answer (result %d)\n", what, (int)result);
        failures++;
    }
    return result == 0;
}

static void show_identity(void) {
    at_text_reply maker = {0, "", 0};
    at_text_reply model = {0, "", 0};
    at_text_reply imei = {0, "", 0};
    if (good("Modem", at_cgmi(&maker)) && good("Modem", AT_cgmm(&model)) &&
        good("Modem", AT_imei(&imei))) {
        printf("%-12s %s %s, IMEI %s\n", "Modem", maker.text, model.text, imei.text);
    }
}

static void show_card(void) {
    at_text_reply imsi = {0, "", 0};
    at_pin_info pin;
    at_scid_info card;
    at_cnum_list numbers = {NULL, 0, 0};
    memset(&pin, 0, sizeof pin);
    memset(&card, 0, sizeof card);
    if (good("SIM", AT_imsi(&imsi)) && good("SIM", AT_SCID(&card)) &&
        good("SIM", AT_cpin_check(&pin)) && good("SIM", AT_Cnum(&numbers))) {
        printf("%-12s %s, IMSI %s, card %s, number %s\n", "SIM", pin.code, imsi.text, card.scid_num,
               numbers.count > 0 ? numbers.entries[0].num : "unknown");
    }
    free(numbers.entries);
}

static void show_network(void) {
    at_sysinfoex system;
    at_cops_info selected;
    at_creg_info registration;
    at_hcsq_info signal;
    at_csqlvl_info level;
    memset(&system, 0, sizeof system);
    memset(&selected, 0, sizeof selected);
    memset(&registration, 0, sizeof registration);
    memset(&signal, 0, sizeof signal);
    memset(&level, 0, sizeof level);
    if (good("Network", AT_SysInfoEx(&system)) && good("Network", AT_Cops(&selected)) &&
        good("Network", AT_Creg(AT_CMD_TYPE_CHECK, &registration))) {
        printf("%-12s %s, %s%s, %s\n", "Network", selected.oper,
               registration.stat == 1 || registration.stat == 5 ? "registered" : "not registered",
               system.roam_status == 1 ? ", roaming" : "", system.sysmode_name);
    }
    if (good("Signal", AT_Hcsq(&signal)) && good("Signal", AT_Csqlvl(&level))) {
        printf("%-12s %d %%, power %d dBm\n", "Signal", (int)level.uiPercent,
               (int)signal.value2 - 141);
    }
}

static void show_connection(void) {
    at_ppp_info state;
    at_dhcp_info address;
    at_dsflow_info flow;
    memset(&state, 0, sizeof state);
    memset(&address, 0, sizeof address);
    memset(&flow, 0, sizeof flow);
    if (!good("Connection", AT_ndisdup(1, 1, NULL)) ||
        !good("Connection", at_ppp_state(AT_CMD_TYPE_CHECK, &state)) ||
        !good("Connection", AT_dhcp(1, &address))) {
        return;
    }
    printf("%-12s %s, address %s, name server %s\n", "Connection", state.IPV4 == 1 ? "up" : "down",
           address.IPAddr, address.pDNS);
    osa_sleep(300);
    if (good("Flow", AT_Dsflowqry(&flow))) {
        printf("%-12s %llu bytes received, %llu sent\n", "Flow",
               (unsigned long long)flow.last_rx_flow, (unsigned long long)flow.last_tx_flow);
    }
    (void)good("Connection", AT_ndisdup(1, 0, NULL));
}

static void show_time(void) {
    at_nwtime_info now;
    memset(&now, 0, sizeof now);
    if (good("Time", AT_NWTime(&now))) {
        printf("%-12s %04d-%02d-%02d, %s\n", "Time", (int)now.year + 1900, (int)now.month + 1,
               (int)now.day, now.zone);
    }
}

static void show_menu(void) {
    /* 37 is the menu among the kinds of proactive commands, ETSI TS 102 223, 9.4. */
    at_stgi_req request = {37, 0};
    at_stk_item *items = NULL;
    uint32_t count = 0;
    if (good("Toolkit", AT_Stgi(AT_CMD_TYPE_SET, &count, &request, &items))) {
        printf("%-12s", "Toolkit");
        for (uint32_t i = 0; i < count; i++) {
            printf(" %u %s%s", (unsigned)items[i].Identifier, items[i].MenuName,
                   i + 1 < count ? "," : "\n");
        }
    }
    free(items);
}

int main(void) {
    show_identity();
    show_card();
    show_network();
    show_connection();
    show_time();
    show_menu();
    return failures == 0 ? 0 : 1;
}
