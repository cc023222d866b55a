/*
 * Hearth: a daemon on the local message bus.
 *
 * A daemon calls init_notify once, then register_notify_handler for each of its modules, and may
 * then send to any module by its id, 1 to 54. Requests and notifications for its modules run its
 * handlers on a small pool of threads. When the notify server goes away, the library connects and
 * registers again by itself; until then sending calls fail.
 *
 * All functions may be called from any thread, also from handlers. A handler may make synchronous
 * calls; handlers that block keep their pool thread, and while all are taken, further requests
 * wait.
 */
#ifndef HEARTH_NOTIFY_H
#define HEARTH_NOTIFY_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Result of a synchronous call whose answer was not a module's: nobody has that id. */
#define NOTIFY_NO_ANSWER 3000

/*
 * Handles a request.
 *   msg_id  command, chosen by the sender
 *   in      the input; for a request from another process it is valid during the call only
 *   out     room for the answer, as many bytes as the sender takes, zeroed; all of it travels
 *           back. Null if the sender takes none
 * Returns the result that the sender gets.
 */
typedef uint32_t (*notify_sync_handler)(uint32_t msg_id, void *in, void *out);

/*
 * Handles a notification.
 *   msg_id      event, chosen by the sender
 *   arg1, arg2  two 32-bit values, or the addresses of two buffers which are valid during the
 *               call only (0 for an empty one), as the two sides have agreed for this event
 * The result is ignored.
 */
typedef uint32_t (*notify_asyn_handler)(uint32_t msg_id, uintptr_t arg1, uintptr_t arg2);

/*
 * Connects to the notify server and starts the library's threads: one that receives, the pool,
 * and a timer. Ignores SIGPIPE for the process. /var/run/notify must exist.
 * Returns 0, or -1 if already connected or on failure. Blocks up to 2 seconds while the server
 * can't be reached.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t init_notify(void);

/*
 * Registers a module of this process, or replaces its handlers. The first id registered is the
 * one that all messages of this process carry as their source.
 *   mid           module id, 1 to 54
 *   sync_handler  for requests, or null: they are then answered with 0
 *   asyn_handler  for notifications, or null: they are then dropped
 * Returns 0, or -1 if not connected, for a wrong id, or if sending fails. Does not wait for the
 * server: there is no telling whether it has taken the registration.
 */
HEARTH_API HEARTH_MUST_CHECK int32_t register_notify_handler(uint32_t mid,
                                                             notify_sync_handler sync_handler,
                                                             notify_asyn_handler asyn_handler);

/*
 * Sets the number of pool threads, 5 by default. Takes effect only before the first init_notify.
 * Returns n.
 */
HEARTH_API int32_t set_pool_thread_num(int32_t n);

/*
 * Sends a request and waits for its answer, up to 240 seconds. If the module has a synchronous
 * handler in this process, that is called here and now, connected or not.
 *   mid      destination, 1 to 54
 *   msg_id   command
 *   in       input of in_len bytes, or null
 *   out      receives at most out_len bytes of answer; null if none is wanted. What the answer
 *            does not fill stays untouched
 * Returns the handler's result; -1 when sending failed, the time ran out or the module died;
 * NOTIFY_NO_ANSWER when the server has no such module. Blocks.
 */
HEARTH_API int32_t send_notify(uint32_t mid, uint32_t msg_id, void *in, void *out, uint32_t in_len,
                               uint32_t out_len);

/*
 * The same with a limit of `timeout` seconds, to which up to one more second may come. Always
 * goes through the server, also to a module of this process.
 */
HEARTH_API int32_t send_notify_ex(uint32_t mid, uint32_t msg_id, void *in, void *out,
                                  uint32_t in_len, uint32_t out_len, int32_t timeout);

/*
 * Posts two 32-bit values to a module's asynchronous handler, which for a module of this process
 * runs on a pool thread here. Nothing tells whether the message arrives. Does not wait.
 *   mid         destination, 1 to 54
 *   msg_id      event
 *   arg1, arg2  values
 * The result means nothing.
 */
HEARTH_API int32_t post_notify(uint32_t mid, uint32_t msg_id, uint32_t arg1, uint32_t arg2);

/*
 * The same with two buffers, which are copied before the call returns.
 *   data1, data2  buffers of len1 and len2 bytes. The length of a null buffer must be 0
 * The result means nothing.
 */
HEARTH_API int32_t post_notify_ex(uint32_t mid, uint32_t msg_id, const void *data1,
                                  const void *data2, uint32_t len1, uint32_t len2);

/*
 * Sends a request without answer to each module in turn, the server left out, as send_notify
 * does: one after the other, each waited for up to 240 seconds.
 *   in      input of in_len bytes, or null
 *   unused  ignored
 * Returns 0, whatever became of the requests, or -1 if not registered. Blocks.
 */
HEARTH_API int32_t broadcast_notify(uint32_t msg_id, void *in, void *unused, uint32_t in_len);

/*
 * Posts two 32-bit values to all modules on the bus, by way of the server. Does not wait.
 * The result means nothing.
 */
HEARTH_API int32_t raise_notify(uint32_t msg_id, uint32_t arg1, uint32_t arg2);

/*
 * Closes the connection: sends are refused from now on and all modules count as dead. Calls that
 * wait for an answer find out when they next wake.
 */
HEARTH_API void clear_socketfd(void);

/*
 * Connects as init_notify does and repeats the registrations. The library does this by itself
 * when the server went away. Blocks up to 2 seconds.
 */
HEARTH_API void register_again(void);

HEARTH_END_DECLS

#endif
