/* A web hook: module 9 answers the web server's requests for "device". */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "hearth/config.h"
#include "hearth/notify.h"
#include "hearth/webserver.h"
#include "hearth/xml.h"

enum { HOOK_MODULE = 9, NOT_SUPPORTED = 100002, BUSY = 100004 };
enum { TARGET_SIZE = sizeof((web_request *)0)->target };

/* Returns a text from malloc, or NULL without memory. */
static char *ssid_response(const char *ssid) {
    static const char kFormat[] = "<response><ssid>%s</ssid></response>";
    char *escaped = NULL;
    char *answer = NULL;
    if (ssid[0] != '\0' && cl_xmlReplaceToQuot(ssid, &escaped) != XML_RESULT_OK) {
        cl_xmlFreeMem(escaped);
        return NULL;
    }
    const char *text = escaped != NULL ? escaped : "";
    size_t size = sizeof kFormat + strlen(text);
    answer = malloc(size);
    if (answer != NULL) {
        snprintf(answer, size, kFormat, text);
    }
    cl_xmlFreeMem(escaped);
    return answer;
}

/* Runs on a thread of the library, for each request. The addresses are the library's; the text
 * that is returned goes to global_release_msg once it has been sent. A target of full length has no
 * terminator. */
static char *on_request(char *target, uint32_t param, char *content) {
    char *answer = NULL;
    (void)param;
    (void)content;
    if (strncmp(target, "/api/wlan", TARGET_SIZE) != 0) {
        return global_get_error_msg(NOT_SUPPORTED);
    }
    char ssid[64] = "";
    uint32_t length = sizeof ssid;
    if (cfg_get_config("wlan", "ssid", ssid, &length) == CFG_OK) {
        answer = ssid_response(ssid);
    }
    return answer != NULL ? answer : global_get_error_msg(BUSY);
}

int main(void) {
    setvbuf(stdout, NULL, _IOLBF, 0);
    if (init_notify() != 0 || register_notify_handler(HOOK_MODULE, NULL, NULL) != 0) {
        fputs("hook: cannot reach the notify server\n", stderr);
        return 1;
    }
    /* Waits until the web server is there. */
    if (webserver_register_hookfunction(HOOK_MODULE, "device", on_request, global_release_msg) !=
        0) {
        fputs("hook: the hook is not registered\n", stderr);
        return 1;
    }
    puts("hook: \"device\" is registered");
    for (;;) {
        pause();
    }
}
