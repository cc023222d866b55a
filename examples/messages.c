/* A message daemon: lists the messages of the card, answers the first, and looks up its sender. */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "hearth/at_lib.h"
#include "hearth/at_parse.h"
#include "hearth/at_pb.h"
#include "hearth/at_sms.h"

/* The records of these commands hold their error id as an unsigned word. */
static int good(int32_t result, uint32_t err) {
    return result == 0 && err == (uint32_t)AT_ERR_NONE;
}

static int list_messages(void) {
    at_cmgd_list list;
    memset(&list, 0, sizeof list);
    int32_t result = AT_Cmgd(AT_CMD_TYPE_CHECK, NULL, &list);
    if (!good(result, list.err)) {
        printf("no list of messages (error id %d)\n", (int)list.err);
        return 1;
    }
    for (uint32_t i = 0; i < list.count; i++) {
        at_cmgr_msg message;
        memset(&message, 0, sizeof message);
        message.index = list.indexes[i];
        if (AT_Cmgr(&message) == 0) {
            printf("message %u, status %u: %s\n", (unsigned)message.index, (unsigned)message.stat,
                   message.pdu);
        }
    }
    free(list.indexes);
    return 0;
}

static int send_answer(void) {
    /* To +15550100, "hellohello" in the GSM alphabet; no service centre of its own. */
    static const char kPdu[] = "00010008915155100000000AE8329BFD4697D9EC37";
    at_sms_pdu_req request;
    at_sms_rsp reply;
    memset(&request, 0, sizeof request);
    memset(&reply, 0, sizeof reply);
    strcpy(request.pdu, kPdu);
    request.length = (uint16_t)(strlen(kPdu) / 2 - 1);
    int32_t result = AT_Cmgs(&request, &reply);
    if (!good(result, reply.err)) {
        printf("the answer was not sent\n");
        return 1;
    }
    printf("answered, reference %u\n", (unsigned)reply.value);
    return 0;
}

static int show_contact(uint32_t index) {
    at_cpbs_info storage;
    at_cpbr_req request;
    at_cpbr_info entry;
    memset(&storage, 0, sizeof storage);
    memset(&request, 0, sizeof request);
    memset(&entry, 0, sizeof entry);
    request.index = index;
    /* A refusal is told in the request. */
    request.err = (uint32_t)AT_ERR_NONE;
    int32_t result = AT_Cpbs(AT_CMD_TYPE_CHECK, NULL, &storage);
    if (good(result, storage.err)) {
        result = AT_Cpbr(AT_ACTION_EXECUTE, &request, &entry);
    }
    if (!good(result, request.err) || !good(result, storage.err)) {
        printf("no phonebook entry %u (error id %d)\n", (unsigned)index, (int)request.err);
        return 1;
    }
    printf("phonebook %s, %u of %u: %.*s %s\n", storage.storage, (unsigned)storage.used,
           (unsigned)storage.total, (int)entry.text_length, entry.text, entry.number);
    return 0;
}

int main(void) {
    return list_messages() | send_answer() | show_contact(1);
}
