/*
 * Hearth: the configuration that daemons read their settings from.
 *
 * A setting is an item of an XML file named by a directory key, such as "global", and a file
 * name, "config.xml" unless told otherwise. The same directory exists in up to four layers, and
 * the first one that holds the item answers:
 *
 *     1 user data  /app/webroot/data/userdata/DIRECTORY           the only one that is written
 *     2 product    /app/config/PRODUCT/config/DIRECTORY
 *     3 operator   /app/webroot/WebApp/PREFIX/config/DIRECTORY    8 to 5 first digits of the IMSI
 *     4 common     /app/webroot/WebApp/common/config/DIRECTORY
 *
 * An item name without a dot is a direct child of the document's root. One with dots is a path
 * that begins with the root's own name, such as "config.lan.port".
 *
 * Directory keys and file names must keep a path under 256 bytes; longer ones are not found. In
 * every function a buffer is paired with a pointer to its capacity in bytes, terminator included.
 *
 * Lookups and writes of one process go one after the other. A lookup that reaches the operator
 * layer while the SIM's state is not known waits for it, 4.2 seconds at most, once per SIM change;
 * other threads' lookups go on meanwhile. Any thread may call any function. Between processes
 * nothing is locked: two writers of one file can lose an update. A lookup leaves a descriptor open.
 */
#ifndef HEARTH_CONFIG_H
#define HEARTH_CONFIG_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Results of the lookups; other values are codes of cl_xmlParseFile. */
enum {
    CFG_OK = 0,        /* found; an item without a value is found too, with an empty buffer */
    CFG_BAD_INPUT = 1, /* a required argument is null */
    CFG_NO_ITEM = 3,   /* the file holds no such item */
    CFG_TOO_SMALL = 6, /* the buffer is too small or null; the length needed has been stored */
    CFG_NO_FILE = 9,   /* no such directory or file in the layer tried last */
    CFG_INTERNAL = -1  /* memory or a path failed */
};

/* The SIM's states: the number in the item `sim_state` of the directory "global". */
enum {
    CFG_SIMST_IDLE = 0, /* not known yet */
    CFG_SIMST_IN = 1,   /* a SIM is in, but not ready */
    CFG_SIMST_OK = 2,   /* `imsi_string` can be read */
    CFG_SIMST_LOCK = 3  /* the SIM is locked */
};

/* --- Reading --- */

/*
 * Looks an item up in all layers; cfg_get_config in "config.xml".
 *   directory  directory key
 *   file       file name
 *   item       item name
 *   value      receives the text; NULL asks for the length needed
 *   length     in: capacity of `value`; out: the length needed, for CFG_TOO_SMALL alone
 * Returns one of CFG_*. A null argument of cfg_get_file_config other than `value` gives
 * CFG_BAD_INPUT and leaves the lookups of the process blocked for good.
 */
HEARTH_API int32_t cfg_get_config(const char *directory, const char *item, char *value,
                                  uint32_t *length);
HEARTH_API int32_t cfg_get_file_config(const char *directory, const char *file, const char *item,
                                       char *value, uint32_t *length);

/* The same in the user data and the common layer alone, file "config.xml". Never waits for the
 * SIM. */
HEARTH_API int32_t cfg_get_config_common(const char *directory, const char *item, char *value,
                                         uint32_t *length);

/* The same in the product layer alone. Never waits for the SIM. */
HEARTH_API int32_t cfg_get_websdk_config(const char *directory, const char *file, const char *item,
                                         char *value, uint32_t *length);

/* Looks an item up in one file, named by its path on the disk. Takes no lock. */
HEARTH_API int32_t cfg_local_get_config(const char *path, const char *item, char *value,
                                        uint32_t *length);

/* --- Paths --- */

/*
 * Builds the path of a file in one layer and tests that it exists.
 *   base       path of the layer; goes through osa_getfullpath
 *   directory  directory key
 *   file       file name, NULL for "config.xml"
 *   out        receives the path, cut to fit; must hold 256 bytes whatever `size` says
 *   size       bytes of `out` to use for the path
 * Returns CFG_OK, CFG_BAD_INPUT or CFG_NO_FILE.
 */
HEARTH_API int32_t cfg_get_full_path(const char *base, const char *directory, const char *file,
                                     char *out, uint32_t size);

/*
 * The path of a file in the operator or else the common layer. May wait for the SIM.
 *   file    file name, NULL for "config.xml"
 *   out     receives the path; NULL asks for the length needed
 *   length  in: capacity of `out`; out: the length needed, for CFG_TOO_SMALL alone
 */
HEARTH_API int32_t cfg_get_config_path(const char *directory, const char *file, char *out,
                                       uint32_t *length);

/*
 * The path of a file in the first layer that has it; the user data are looked for in
 * "/data/userdata/" as it stands. May wait for the SIM.
 *   out     receives the path; must hold 256 bytes
 *   length  as for cfg_get_config_path, which looks when the first two layers don't have the file
 */
HEARTH_API int32_t cfg_get_file_fullpath(const char *directory, const char *file, char *out,
                                         uint32_t *length);

/*
 * Build the path of a file in the product or the user data layer, whether it exists or not. Take
 * no lock.
 *   file    file name, NULL for the path of the directory
 *   out     receives the path
 *   length  in: capacity of `out`; out: the length needed, for CFG_TOO_SMALL alone
 * Return CFG_OK, CFG_BAD_INPUT, CFG_TOO_SMALL or CFG_INTERNAL.
 */
HEARTH_API int32_t cfg_get_websdk_path(const char *directory, const char *file, char *out,
                                       uint32_t *length);
HEARTH_API int32_t cfg_get_userdata_path(const char *directory, const char *file, char *out,
                                         uint32_t *length);

/* --- Writing --- */

/*
 * Writes an item in the user data layer, making directories, file and elements as needed. The
 * file is rewritten in place. The first name of a dotted item stands for the root, whatever it
 * says. Blocks as the file system does.
 *   value  the text to store
 * Return 0, CFG_BAD_INPUT, CFG_INTERNAL, or the code of cl_xmlTransformFile. set_config and
 * cl_set_config take no lock.
 */
HEARTH_API int32_t cfg_set_config(const char *directory, const char *item, const char *value);
HEARTH_API int32_t set_config(const char *directory, const char *item, const char *value);
HEARTH_API int32_t cl_set_config(const char *directory, const char *item, const char *value);

/*
 * Makes a directory and those above it. Returns 1 when it is there afterwards, 0 on failure.
 *   path  path on the disk, under 256 bytes
 */
HEARTH_API int32_t cfg_recursively_mkdir(const char *path);

/* --- The user data tree: start-up and factory restore --- */

/*
 * Starts the configuration: completes the user data tree and sets `sim_state` to idle. The daemon
 * that boots first must call it, before any other process uses the configuration. Returns 0.
 */
HEARTH_API int32_t init_config(void);

/*
 * Brings the user data to a complete state from what the flags say, copying the factory tree on a
 * first boot. Returns 0 when it was completed now, -1 when it was complete already or a step
 * failed.
 */
HEARTH_API int32_t cl_copy_default_2_userdata(void);

/*
 * Looks for the flag of a complete tree.
 *   out   receives the path of the flag
 *   size  bytes of `out`
 * Returns 0 when it is absent, -1 when it is there or on failure.
 */
HEARTH_API int32_t check_finish_flag_exist(char *out, uint32_t size);

/* Provides a complete tree beside the live one. Returns 0 or -1. */
HEARTH_API int32_t check_start_flag_exist(void);

/* Swaps the live tree, kept under the next free number, for the one beside it. Returns 0 or -1. */
HEARTH_API int32_t rename_dir(void);

/* Prepares a factory restore: from its return on the next boot swaps the factory tree in. */
HEARTH_API void cl_resume_default_setting(void);

/* Starts a thread that removes old generations of the tree, when the live one is complete. */
HEARTH_API void cl_start_garbage_removal(void);

/* The function of that thread. The argument is not used. Returns NULL. */
HEARTH_API void *cfg_garbage_remover(void *argument);

/*
 * Empty a directory, keeping it; cl_remove_files while no lookup runs. Return 0, also when the
 * walk stopped at an entry that could not be removed, or -1 for null, a directory that cannot be
 * opened, and no memory.
 */
HEARTH_API int32_t cl_remove_files(const char *directory);
HEARTH_API int32_t remove_files(const char *directory);

/*
 * Copies a file. Returns 0, also for an empty source, which makes no target, and when memory is
 * out; 1 for null; 9 when a file cannot be opened; -1 when a write falls short.
 */
HEARTH_API int32_t cl_cfg_copy_file(const char *source, const char *target);

/*
 * Copies a tree.
 *   source  directory
 *   target  directory with a "/" at its end, made when it is missing
 * Returns 0 or -1. Files that cannot be opened are left out.
 */
HEARTH_API int32_t cfg_copy_dir(const char *source, const char *target);

/* --- The SIM's state, shared by all processes --- */

/*
 * Creates or attaches the change counter. Returns 1 mapped, 0 failed. A writer of `sim_state`
 * calls it, or cl_lockfile, before cl_touch_simst.
 */
HEARTH_API int32_t cl_init_mmap(void);

/* Take and release the lock that keeps resets of the caches out. Return 0, or -1. Taking it blocks
 * while another process holds it. */
HEARTH_API int32_t cl_lockfile(void);
HEARTH_API int32_t cl_unlockfile(void);

/* Tells all processes that the SIM items have changed; call it after writing them. */
HEARTH_API void cl_touch_simst(void);

/* Returns 1 when the counter has moved since this process last looked, 0 otherwise. */
HEARTH_API int32_t cl_is_simst_updated(void);

/* Forgets what this process knows of the SIM. */
HEARTH_API void cl_reset_imsi(void);

/* Forgets it when the counter has moved. */
HEARTH_API void simst_change_handle(void);

/*
 * The two steps by which a lookup learns the operator. They are called with the lock of the
 * lookups held, which the first gives up while it waits. Return 0, or -1 on failure.
 */
HEARTH_API int32_t cfg_get_imsi_custom_dir(void);
HEARTH_API int32_t cfg_get_imsi_value(void);

HEARTH_END_DECLS

#endif
