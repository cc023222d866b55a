/*
 * A daemon on the bus that tells what it hears, and a way to talk to it:
 *     neighbour OWN                          stays as module OWN
 *     neighbour OWN call MODULE NUMBER       asks, and prints the answer
 *     neighbour OWN post MODULE NUMBER       tells one module
 *     neighbour OWN raise NUMBER             tells all, by way of the server
 *     neighbour OWN broadcast NUMBER         asks one module after the other
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "hearth/notify.h"

enum { kNumber = 100 };

static uint32_t own;

static uint32_t on_request(uint32_t msg_id, void *in, void *out) {
    uint32_t number = 0;
    if (msg_id != kNumber) {
        return 1;
    }
    memcpy(&number, in, sizeof number);
    printf("%u is asked %u\n", own, number);
    if (out != NULL) {
        number += 1000;
        memcpy(out, &number, sizeof number);
    }
    return 0;
}

static uint32_t on_event(uint32_t msg_id, uintptr_t arg1, uintptr_t arg2) {
    (void)arg2;
    printf("%u hears %u, event %u\n", own, (unsigned)arg1, msg_id);
    return 0;
}

static void stay(void) {
    for (;;) {
        pause();
    }
}

static int call(uint32_t module, uint32_t number) {
    uint32_t answer = 0;
    int32_t result =
        send_notify_ex(module, kNumber, &number, &answer, sizeof number, sizeof answer, 5);
    if (result != 0) {
        printf("%u does not answer, result %d\n", module, result);
        return 1;
    }
    printf("%u answers %u\n", module, answer);
    return 0;
}

int main(int count, char **arguments) {
    const char *verb = count > 2 ? arguments[2] : "";
    uint32_t first = count > 3 ? (uint32_t)strtoul(arguments[3], NULL, 10) : 0;
    uint32_t second = count > 4 ? (uint32_t)strtoul(arguments[4], NULL, 10) : 0;

    own = count > 1 ? (uint32_t)strtoul(arguments[1], NULL, 10) : 0;
    setvbuf(stdout, NULL, _IOLBF, 0);
    if (init_notify() != 0 || register_notify_handler(own, on_request, on_event) != 0) {
        fputs("neighbour: cannot reach the notify server\n", stderr);
        return 1;
    }
    if (count == 2) {
        stay();
    }
    if (count == 5 && strcmp(verb, "call") == 0) {
        return call(first, second);
    }
    if (count == 5 && strcmp(verb, "post") == 0) {
        return post_notify(first, kNumber, second, 0) == 0 ? 0 : 1;
    }
    if (count == 4 && strcmp(verb, "raise") == 0) {
        return raise_notify(kNumber, first, 0) == 0 ? 0 : 1;
    }
    if (count == 4 && strcmp(verb, "broadcast") == 0) {
        return broadcast_notify(kNumber, &first, NULL, sizeof first) == 0 ? 0 : 1;
    }
    fputs(
        "usage: neighbour OWN [call MODULE NUMBER | post MODULE NUMBER | raise NUMBER | "
        "broadcast NUMBER]\n",
        stderr);
    return 2;
}
