/*
 * Hearth: the receive side of the bus, piece by piece.
 *
 * A daemon needs none of this: init_notify starts a thread that runs recv_msg_thread. It is for
 * programs that drive the receive side themselves, such as tests.
 */
#ifndef HEARTH_NOTIFY_RECV_H
#define HEARTH_NOTIFY_RECV_H

#include "hearth/api.h"
#include "hearth/notify_frame.h"

HEARTH_BEGIN_DECLS

/*
 * Reads exactly `length` bytes, however many reads that takes. Blocks.
 * Returns `length`; 0 when the peer has closed, also in the middle; a negative number on failure,
 * for a null buffer, or for a descriptor of -1.
 */
HEARTH_API int32_t recv_ex(int32_t fd, void *buffer, uint32_t length);

/*
 * Reads one frame. Blocks.
 *   out  receives the frame, which the caller frees with free(); null on failure
 * Returns the frame's length with its header; 0 when the peer has closed; a negative number on
 * failure. A body for which there is no memory is read away, and the result is -1.
 */
HEARTH_API int32_t recv_msg(int32_t fd, msg_header **out);

/*
 * Reads one frame of this process's connection and hands it to where it belongs: an answer to
 * its sender, everything else to the pool, or without a pool to the handler. Closes the
 * connection when the server has closed it. Blocks until a frame is there.
 */
HEARTH_API void handle_recv_msg(void);

/*
 * Receives until the process ends, and connects again when the connection is closed: the work of
 * the receive thread. Returns 0 when that shall no longer run.
 */
HEARTH_API int32_t handle_msg(void);

/* Runs handle_msg; the argument is ignored and the result null. */
HEARTH_API void *recv_msg_thread(void *argument);

/*
 * Handles one kind of frame, and takes the frame over.
 *   handle_ack_msg  files an answer and wakes the senders. An answer that nobody waits for is
 *                   not freed
 *   handle_syn_msg  runs the handler of a request and sends its answer
 *   handle_asy_msg  runs the handler of a notification, or notes the death of a module. For the
 *                   web server's it blocks until all hooks are registered again
 * The latter two are jobs of the pool and return null.
 */
HEARTH_API void handle_ack_msg(msg_header *frame);
HEARTH_API void *handle_syn_msg(void *frame);
HEARTH_API void *handle_asy_msg(void *frame);

/*
 * Jobs of the pool that deliver a post within the process, of post_notify and of post_notify_ex.
 * They free the record and return null.
 */
HEARTH_API void *handle_asy_callback(void *record);
HEARTH_API void *handle_asy_cb(void *record);

HEARTH_END_DECLS

#endif
