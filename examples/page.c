/* What a status page needs, from the identity of the modem to the menu of the card's toolkit. */

#include <stdio.h>
#include <stdlib.h>

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
    at_text_reply maker = {0};
    at_text_reply model = {0};
    at_text_reply imei = {0};
    if (good("Modem", at_cgmi(&maker)) && good("Modem", AT_cgmm(&model)) &&
        good("Modem", AT_imei(&imei))) {
        printf("%-12s %s %s, IMEI %s\n", "Modem", maker.text, model.text, imei.text);
    }
}

static void show_card(void) {
    at_text_reply imsi = {0};
    at_pin_info pin = {0};
    at_scid_info card = {0};
    at_cnum_list numbers = {0};
    if (good("SIM", AT_imsi(&imsi)) && good("SIM", AT_SCID(&card)) &&
        good("SIM", AT_cpin_check(&pin)) && good("SIM", AT_Cnum(&numbers))) {
        printf("%-12s %s, IMSI %s, card %s, number %s\n", "SIM", pin.code, imsi.text, card.scid_num,
               numbers.count > 0 ? numbers.entries[0].num : "unknown");
    }
    free(numbers.entries);
}

static void show_network(void) {
    at_sysinfoex system = {0};
    at_cops_info selected = {0};
    at_creg_info registration = {0};
    at_hcsq_info signal = {0};
    at_csqlvl_info level = {0};
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
    at_ppp_info state = {0};
    at_dhcp_info address = {0};
    at_dsflow_info flow = {0};
    if (!good("Connection", AT_ndisdup(1, 1, NULL))) {
        return;
    }
    if (good("Connection", at_ppp_state(AT_CMD_TYPE_CHECK, &state)) &&
        good("Connection", AT_dhcp(1, &address))) {
        printf("%-12s %s, address %s, name server %s\n", "Connection",
               state.IPV4 == 1 ? "up" : "down", address.IPAddr, address.pDNS);
    }
    osa_sleep(300);
    if (good("Flow", AT_Dsflowqry(&flow))) {
        printf("%-12s %llu bytes received, %llu sent\n", "Flow",
               (unsigned long long)flow.last_rx_flow, (unsigned long long)flow.last_tx_flow);
    }
    (void)good("Connection", AT_ndisdup(1, 0, NULL));
}

static void show_time(void) {
    at_nwtime_info now = {0};
    if (good("Time", AT_NWTime(&now))) {
        printf("%-12s %04d-%02d-%02d, %s\n", "Time", now.year + 1900, now.month + 1, now.day,
               now.zone);
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
            printf("%s %u %s", i > 0 ? "," : "", (unsigned)items[i].Identifier, items[i].MenuName);
        }
        printf("\n");
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
