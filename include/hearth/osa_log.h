/*
 * Hearth: the log.
 *
 * A message is filtered by its module and level and goes to up to three places: standard output,
 * the file /online/log/webapp.log that all processes share, and the operations log of the device.
 * One XML file holds the settings for all processes, /app/webroot/data/userdata/log/logs.xml:
 *
 *     <log>
 *       <Where>2</Where>                   sum of 1 output, 2 file, 4 operations log
 *       <Size>1024</Size>                  KiB at which the file is emptied and begun anew
 *       <Modules>
 *         <m><name>default</name><mask>3</mask></m>     modules without an entry of their own
 *         <m><name>ats</name><mask>31</mask></m>        sum of OSA_LOG_*
 *       </Modules>
 *     </log>
 *
 * A process loads it at its first log call, and again after osa_update_cfg. An entry that the file
 * no longer has stays in force; the name "all" sets the default and removes the entries before it.
 * After a Where of 0 a process logs nothing until it is started anew.
 *
 * A log call never fails towards its caller, keeps errno, and may be made from any thread. It
 * blocks as its destinations do. A message that no setting lets through is dropped; before any
 * setting has been loaded that is every message. The first line leaves the file open.
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

/* One entry of the filter. */
typedef struct log_setting {
    char name[28];            /* module, cut to 27 characters; empty in the default entry */
    uint32_t mask;            /* levels that pass */
    struct log_setting *next; /* another entry, or NULL */
} log_setting;

/*
 * Logs a message of a module.
 *   module  name of the module, such as "ats"
 *   level   one of OSA_LOG_*
 *   format  printf format, followed by its values; the text is cut to 255 characters and brings
 *           its own line end
 * The line shows the local time, its hour 8 too high, and the name of the filter entry that let it
 * through, empty for a module without one. It never goes to the operations log.
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
 *   format  as for osa_print_log
 */
HEARTH_API void osa_print_log_ex(const char *module, const char *file, uint32_t line,
                                 uint32_t level, const char *format, ...) HEARTH_PRINTF(5, 6);

/*
 * Tells whether a message would pass, after loading the settings where they have changed.
 *   module   name; NULL and "" are modules without an entry
 *   setting  receives the entry that decided, which lives until the settings are next loaded; left
 *            alone when the settings cannot be watched
 * Returns non-zero if the message passes, 0 if not and for a NULL setting.
 */
HEARTH_API int32_t default_log_filter(const char *module, uint32_t level,
                                      const log_setting **setting);

/* Loads the settings from their file. Returns 1 when its "Modules" were read, otherwise 0. */
HEARTH_API int32_t osa_log_load_cfg(void);

/*
 * Sets what passes, in this process only.
 *   name  a module; NULL, "" and "default" for all modules without an entry; "all" for every
 *         module, by removing the entries
 *   mask  sum of OSA_LOG_*
 */
HEARTH_API void osa_set_log_mask(const char *name, uint32_t mask);

/*
 * Tells all processes that the settings have changed; each loads them at its next log call.
 * Returns 1, or 0 on failure and while no process has logged yet.
 */
HEARTH_API int32_t osa_update_cfg(void);

/* Returns the path of the settings on the disk, in memory of the library, or NULL. */
HEARTH_API const char *osa_get_log_cfgpath(void);

/* Returns the tag of a level, such as "<ERRO>"; "<NONE>" for what is not one of OSA_LOG_*. */
HEARTH_API const char *LEVEL_S(uint32_t level);

HEARTH_END_DECLS

#endif
