/*
 * Hearth: message queues between processes.
 *
 * A queue is named by a small number that its users agree on, and is addressed by the id that the
 * kernel gives it. A message is a buffer whose first four bytes are its type, a signed number
 * above 0. Every size that goes in counts the whole buffer with these four bytes; the sizes that
 * come back from a receive do not count them. Messages of up to 8196 bytes can pass.
 *
 * Any thread may call any function.
 */
#ifndef HEARTH_OSA_QUEUE_H
#define HEARTH_OSA_QUEUE_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/*
 * Creates a queue that does not exist yet. Does not block.
 *   number        number of the queue
 *   max_messages  at most 1000
 *   max_size      bytes of the largest message, at most 8192; max_messages times max_size is at
 *                 most 16384, and is the room of the queue
 * Returns the queue id, -1 for a bad argument, when the queue exists and on failure. The queue
 * outlives the process.
 */
HEARTH_API int32_t osa_msgQ_create(int32_t number, uint32_t max_messages, uint32_t max_size);

/* As osa_msgQ_create. */
HEARTH_API int32_t osa_msgQex_create(int32_t number, uint32_t max_messages, uint32_t max_size);

/*
 * Finds a queue that another process created. Does not block, and never creates.
 *   number  number of the queue
 * Returns the queue id, -1 when there is none.
 */
HEARTH_API int32_t osa_get_msgQ_id(int32_t number);

/*
 * Removes a queue with all its messages. Does not block.
 * Returns 1 when removed, 0 otherwise.
 */
HEARTH_API int32_t osa_msgQ_delete(int32_t queue);

/* As osa_msgQ_delete. */
HEARTH_API int32_t osa_msgQex_delete(int32_t queue);

/*
 * Sends a message; blocks while the queue is full.
 *   queue    queue id
 *   message  the message, type first
 *   size     bytes of the message, type included
 *   unused   ignored
 * Returns 1 when sent, 0 otherwise.
 */
HEARTH_API int32_t osa_msgQ_send(int32_t queue, const void *message, uint32_t size, int32_t unused);

/*
 * Sends a message.
 *   queue    queue id
 *   message  the message, type first
 *   size     bytes of the message, type included
 *   wait     0 fails at once when the queue is full, any other value blocks until there is room
 * Returns 1 when sent, 0 otherwise.
 */
HEARTH_API int32_t osa_msgQex_send(int32_t queue, const void *message, uint32_t size, int32_t wait);

/*
 * Takes the oldest message of a queue. A message that is longer than the buffer stays where it is.
 *   queue       queue id
 *   message     buffer of `size` bytes; receives the type and the text
 *   size        bytes of the buffer, type included
 *   timeout_ms  above 0: the longest wait, in steps of 10 ms; 0: no wait; -1: no limit; any other
 *               value: the queue is not looked at
 * Returns the bytes of text received, -1 when there is no message and on failure; 0 also for a
 * timeout below -1.
 */
HEARTH_API int32_t osa_msgQ_recv(int32_t queue, void *message, uint32_t size, int32_t timeout_ms);

/*
 * As osa_msgQ_recv, but takes only messages of one type, and a timeout below -1 gives -1.
 *   type  type of the message
 */
HEARTH_API int32_t osa_msgQex_recv(int32_t queue, void *message, uint32_t size, int32_t timeout_ms,
                                   int32_t type);

/* Returns the number of messages now in the queue, -1 on failure. Does not block. */
HEARTH_API int32_t osa_msgQ_num(int32_t queue);

/* As osa_msgQ_num. */
HEARTH_API int32_t osa_msgQex_num(int32_t queue);

HEARTH_END_DECLS

#endif
