/* Asks the modem for the identity of the SIM and prints it. */

#include <stdio.h>
#include <string.h>

#include "hearth/at_k7.h"
#include "hearth/at_lib.h"

int main(void) {
    at_text_reply reply;
    memset(&reply, 0, sizeof reply);
    if (AT_imsi(&reply) != 0 || reply.err != AT_ERR_NONE) {
        fputs("no IMSI: is the AT server running, and a SIM inserted?\n", stderr);
        return 1;
    }
    printf("IMSI %s\n", reply.text);
    return 0;
}
