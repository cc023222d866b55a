/* A web hook: module 9 answers the web server's requests for "device". */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "hearth/config.h"
#include "hearth/notify.h"
#include "hearth/webserver.h"

enum { HOOK_MODULE = 9, ANSWER_SIZE = 256 };

/* Runs for each request; the library hands the text to release() once it has been sent. */
static char *on_request(char *target, uint32_t param, char *content) {
    char ssid[64] = "";
    uint32_t length = sizeof ssid;
    char *answer = NULL;
    (void)param;
    (void)content;
    if (strcmp(target, "/api/wlan") != 0) {
        return global_get_error_msg(100002);
    }
    answer = malloc(ANSWER_SIZE);
    if (answer != NULL && cfg_get_config("wlan", "ssid", ssid, &length) == CFG_OK) {
        snprintf(answer, ANSWER_SIZE, "<response><ssid>%s</ssid></response>", ssid);
        return answer;
    }
    free(answer);
    return global_get_error_msg(100005);
}

int main(void) {
    if (init_notify() != 0 || register_notify_handler(HOOK_MODULE, NULL, NULL) != 0) {
        fputs("hook: cannot reach the notify server\n", stderr);
        return 1;
    }
    /* Waits until the web server is there. */
    webserver_register_hookfunction(HOOK_MODULE, "device", on_request, global_release_msg);
    puts("hook: \"device\" is registered");
    fflush(stdout);
    for (;;) {
        pause();
    }
}
