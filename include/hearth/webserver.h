/*
 * Hearth: a daemon behind the web server.
 *
 * The web server is module 26 of the bus. A daemon registers a named hook with it; requests for
 * that name then run the hook in the daemon, and the text it gives back travels to the browser.
 */
#ifndef HEARTH_WEBSERVER_H
#define HEARTH_WEBSERVER_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Body of message 26002, a web request; its content follows behind the record. */
typedef struct web_request {
    uint32_t mid;         /* module that offers the hook */
    uint32_t param;       /* second argument of the hook */
    char target[64];      /* first argument of the hook, by address */
    char module_name[16]; /* name of the hook, NUL-terminated */
} web_request;

/* Body of message 26001, the registration of a hook. */
typedef struct web_hook_registration {
    uint32_t mid;         /* module that offers the hook */
    char module_name[16]; /* name of the hook, NUL-padded */
} web_hook_registration;

/*
 * Answers a web request.
 *   target   the request's target of up to 64 bytes; one of 64 has no terminator
 *   param    the request's parameter
 *   content  what the browser sent, behind the request's record
 * The addresses are valid during the call only. Returns a text, or null for no answer.
 */
typedef char *(*web_hook)(char *target, uint32_t param, char *content);

/* Frees a text that a hook returned. */
typedef void (*web_hook_release)(char *text);

/*
 * Registers a hook with the web server. The process must have registered a module before.
 *   mid          module of the hook
 *   module_name  name of the hook, 1 to 15 characters
 *   handler      the hook; runs on a pool thread
 *   release      frees its texts, or null
 * Returns 0, or -1 without a module or for a bad name. Blocks until the web server has taken the
 * registration, without limit. There is room for 32 hooks; a further one is not kept.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t webserver_register_hookfunction(uint32_t mid,
                                                                     const char *module_name,
                                                                     web_hook handler,
                                                                     web_hook_release release);

/*
 * Runs the hook that fits a request by name and module.
 *   request  a web_request
 * Returns the hook's text, which belongs to the hook's release function, or null if none fits.
 */
HEARTH_API char *webserver_handle_normal(void *request);

/*
 * The web server's side of a request, also for hooks of its own process.
 *   mid      destination
 *   msg_id   26002
 *   request  a web_request of in_len bytes
 *   out      address of the pointer to a buffer from malloc() of out_len bytes; the buffer grows,
 *            and may move, when the answer is longer. A null buffer takes no answer; the text
 *            of a hook of this process is then not released
 * Returns 0, also if the answer had to be given up; -1 if out is null or the request failed;
 * NOTIFY_NO_ANSWER when the server has no such module. Blocks up to 240 seconds.
 */
HEARTH_API int32_t send_notify_webserver(uint32_t mid, uint32_t msg_id, void *request, char **out,
                                         uint32_t in_len, uint32_t out_len);

/*
 * Registers all hooks again. The library does this by itself when the web server dies. Blocks
 * until the web server is back.
 */
HEARTH_API void register_restfulhandle_again(void);

/*
 * The XML body that tells of a result: success for 0, busy for 100004, otherwise an error with
 * the message that "error_code_msg.xml" of the configuration directory "global" has for the code,
 * or an empty one. Of the code's text the first 8 characters count. The message is not escaped.
 * Returns a text that goes back through global_release_msg; never null. Blocks as
 * cfg_get_config_path does.
 */
HEARTH_API HEARTH_MUST_CHECK char *global_get_error_msg(int32_t code);

/* Frees a text of global_get_error_msg or from malloc(); does nothing for null and for the fixed
 * bodies. */
HEARTH_API void global_release_msg(char *text);

/* Returns `size` zeroed bytes, which the caller frees; null for 0 or without memory. */
HEARTH_API HEARTH_MUST_CHECK void *global_get_response_memory(uint32_t size);

HEARTH_END_DECLS

#endif
