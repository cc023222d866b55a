/* Lists the operators in reach: a raw command, and its reply as named fields. */

#include <stdio.h>
#include <string.h>

#include "hearth/at_lib.h"
#include "hearth/at_parse.h"
#include "hearth/osa_pthread.h"

/* Table 1 of hearth/at_handlers.h: the network commands. */
enum { NETWORK_TABLE = 1 };

static void print_group(const at_parse_result *group) {
    printf("%s:", group->AtFieldName);
    for (const at_parse_result *field = group->next_field; field != NULL;
         field = field->next_field) {
        printf(" %s=%s", field->AtFieldName != NULL ? field->AtFieldName : "?",
               field->AtFieldValue != NULL ? field->AtFieldValue : "");
    }
    printf("\n");
}

int main(void) {
    at_server_msg msg;
    memset(&msg, 0, sizeof msg);
    msg.mtype = osa_pthread_getid();
    msg.timeout = 240;
    strcpy(msg.match, "+COPS:");
    strcpy(msg.report, "AT+COPS=?");
    if (GetDataFromAtServer(&msg) != 0 || msg.Ret_val != AT_RET_SUCCESS) {
        fputs("no operators: is the AT server running?\n", stderr);
        return 1;
    }
    msg.report[sizeof msg.report - 1] = '\0';
    at_parse_result *list = NULL;
    at_cmd_parse(&list, "+COPS", msg.report, NETWORK_TABLE, AT_ACTION_TEST);
    for (const at_parse_result *group = list; group != NULL; group = group->next_group) {
        print_group(group);
    }
    int failed = list == NULL;
    free_at_cmd(list);
    return failed;
}
