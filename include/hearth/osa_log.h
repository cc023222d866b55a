/*
 * Hearth: the log entry points.
 *
 * A log call never fails towards its caller and may be made from any thread. A message that no
 * setting lets through is dropped; before any log setting has been loaded that is every message.
 */
#ifndef HEARTH_OSA_LOG_H
#define HEARTH_OSA_LOG_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Log levels: one bit each. */
enum {
    OSA_LOG_FATAL = 1,
    OSA_LOG_ERROR = 2,
    OSA_LOG_WARNING = 4,
    OSA_LOG_INFO = 8,
    OSA_LOG_DEBUG = 16
};

/*
 * Logs a message of a module.
 *   module  name of the module, such as "ats"
 *   level   one of OSA_LOG_*
 *   format  printf format, followed by its values
 */
HEARTH_API void osa_print_log(const char *module, uint32_t level, const char *format, ...)
    HEARTH_PRINTF(3, 4);

/*
 * Logs a message of a module together with its place in the source.
 *   module  name of the module, such as "ats"
 *   file    source path, such as "ats/atapi/at_lib"; must hold a "/", and only what stands
 *           behind the last one is printed
 *   line    line in that source
 *   level   one of OSA_LOG_*
 *   format  printf format, followed by its values
 */
HEARTH_API void osa_print_log_ex(const char *module, const char *file, uint32_t line,
                                 uint32_t level, const char *format, ...) HEARTH_PRINTF(5, 6);

HEARTH_END_DECLS

#endif
