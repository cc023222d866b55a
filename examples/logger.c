/*
 * Logs a numbered line under a module's name, ten times a second:
 *     logger MODULE SECONDS
 * and tells all processes that the log's settings have changed:
 *     logger reload
 */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "hearth/osa_log.h"
#include "hearth/osa_time.h"

int main(int count, char **arguments) {
    if (count == 2 && strcmp(arguments[1], "reload") == 0) {
        return osa_update_cfg() == 1 ? 0 : 1;
    }
    if (count != 3) {
        fputs("usage: logger MODULE SECONDS | logger reload\n", stderr);
        return 2;
    }
    for (int i = 1; i <= 10 * atoi(arguments[2]); i++) {
        osa_print_log_ex(arguments[1], "examples/logger", __LINE__, OSA_LOG_INFO, "line %d\n", i);
        osa_sleep(100);
    }
    return 0;
}
