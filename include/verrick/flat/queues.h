/**
 * @file
 * The flat calls that move data between the threads of a process. Byte rings never wait for data or
 * room. Queues of whole messages can wait.
 *
 * **Threads.** Any number of threads may use one ring or one queue at once. What a thread did
 * before a put or a send is seen by the thread that gets those bytes or receives that message.
 *
 * **Lifetime.** The creator deletes a ring when no thread is inside a call on it or will make one.
 * The same holds for a queue, with one relief: a thread that received a message may delete the
 * queue although the call that sent this message hasn't returned yet. The library keeps no pointer
 * to a buffer after a call.
 *
 * **Errors.** A call returns its failure result. No call prints anything, throws, or changes errno.
 *
 * **Cancellation.** The waits of MsgQSend and MsgQReceive are cancellation points. A cancelled call
 * moves no message, and the other calls go on without it.
 */
#ifndef VERRICK_FLAT_QUEUES_H
#define VERRICK_FLAT_QUEUES_H

#include <verrick/detail/api.h>
#include <verrick/flat/handles.h>

/** A ring. Its record belongs to the calls. */
typedef struct RingBuffer RingBuffer;
/** A queue. Its record belongs to the calls. */
typedef struct MsgQueue MsgQueue;

/** The priority of MsgQSend that is not the normal one. */
enum {
    MSGQ_PRIORITY_URGENT = 1 /**< the message goes in front of all others */
};

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Makes an empty ring.
 * @param size the capacity in bytes. A ring of 0 bytes is both empty and full.
 *
 * Returns the ring, or null if the memory is short or size is negative. RingDelete frees it.
 */
VERRICK_API RingBuffer* RingCreate(int size);

/**
 * Frees a ring and the bytes that it holds. Takes no lock: no other thread may use the ring.
 * @param ring may be null; then nothing happens.
 */
VERRICK_API void RingDelete(RingBuffer* ring);

/**
 * Drops all bytes that a ring holds. Blocks for its short lock only.
 * @param ring may be null; then nothing happens.
 */
VERRICK_API void RingFlush(RingBuffer* ring);

/**
 * Takes bytes out of a ring, the oldest first. It doesn't wait for bytes: it moves what there is at
 * this moment. No other thread sees the transfer half done. Blocks for the ring's short lock only.
 * @param ring may be null.
 * @param buffer has room for nBytes. It may be null if nBytes is 0.
 * @param nBytes the most bytes to move. A number below 0 counts as 0.
 *
 * Returns the number of bytes moved, 0 to nBytes, or -1 for a null ring.
 */
VERRICK_API int RingBufGet(RingBuffer* ring, char* buffer, int nBytes);

/**
 * Puts bytes into a ring, after those that it holds. It doesn't wait for room: it moves what fits
 * at this moment, and the rest stays with the caller. No other thread sees the transfer half done,
 * so the bytes of two puts don't mix. Blocks for the ring's short lock only.
 * @param ring may be null.
 * @param buffer holds nBytes. It may be null if nBytes is 0.
 * @param nBytes the bytes offered. A number below 0 counts as 0.
 *
 * Returns the number of bytes moved, 0 to nBytes, or -1 for a null ring.
 */
VERRICK_API int RingBufPut(RingBuffer* ring, char const* buffer, int nBytes);

/**
 * Returns the free room of a ring in bytes, or -1 for a null ring. Another thread may change it at
 * any time. Blocks for the ring's short lock only, like the next three.
 */
VERRICK_API int RingFreeBytes(RingBuffer* ring);

/** Returns the number of bytes that a ring holds, or -1 for a null ring. */
VERRICK_API int RingNBytes(RingBuffer* ring);

/** Returns 1 for a ring that holds no byte, else 0. Returns 0 for a null ring. */
VERRICK_API int RingIsEmpty(RingBuffer* ring);

/** Returns 1 for a ring without room, else 0. Returns 0 for a null ring. */
VERRICK_API int RingIsFull(RingBuffer* ring);

/**
 * Makes an empty queue.
 * @param maxMsgs the capacity in messages. A queue of 0 messages is always empty and always full.
 * @param maxMsgLength the longest message in bytes, at most INT_MAX. Each message takes a slot of
 * maxMsgLength + 4 bytes, however short it is.
 *
 * Returns the queue. Returns null if the memory is short, if a number is out of its range, or if
 * all slots together have more than 2^32 - 1 bytes. MsgQDelete frees it.
 */
VERRICK_API MsgQueue* MsgQCreate(int maxMsgs, unsigned int maxMsgLength);

/**
 * Frees a queue and the messages in it. It wakes nobody: no thread may wait in a call on the queue.
 * @param queue may be null; then nothing happens.
 *
 * Returns 0.
 */
VERRICK_API int MsgQDelete(MsgQueue* queue);

/**
 * Copies a message into a queue, after all others or in front of them.
 * @param queue may be null.
 * @param message the bytes. It may be null if length is 0.
 * @param length the number of bytes. A message longer than the queue's maximum is cut, and the
 * result doesn't tell that.
 * @param timeoutMs milliseconds to wait for room. 0 doesn't wait, and INFINITE waits for ever. A
 * call that is woken and finds the room taken starts its time anew.
 * @param priority MSGQ_PRIORITY_URGENT puts the message in front. Any other value is normal.
 *
 * Blocks while the queue is full, and for its short lock. When room comes, the call that has waited
 * longest is woken. Returns 0, or -1 if the message was not queued: a null queue, or no room in
 * time.
 */
VERRICK_API int MsgQSend(MsgQueue* queue, void const* message, unsigned int length,
                         unsigned long timeoutMs, int priority);

/**
 * Takes the first message out of a queue and copies it.
 * @param queue may be null.
 * @param buffer has room for bufferLength bytes. It may be null if bufferLength is 0.
 * @param bufferLength the most bytes to copy. The rest of a longer message is lost, and the result
 * doesn't tell that.
 * @param timeoutMs milliseconds to wait for a message. 0 doesn't wait, and INFINITE waits for ever.
 * A call that is woken and finds the message taken starts its time anew.
 *
 * Blocks while the queue is empty, and for its short lock. When a message comes, the call that has
 * waited longest is woken. Returns the number of bytes copied, 0 for an empty message. Returns -1
 * if no message was taken: a null queue, or none in time.
 */
VERRICK_API int MsgQReceive(MsgQueue* queue, void* buffer, unsigned int bufferLength,
                            unsigned long timeoutMs);

/**
 * Returns the number of messages in a queue, or -1 for a null queue. Reads it without the queue's
 * lock, so it never blocks. The number may be out of date, and it orders no memory: take a message
 * to see what its sender did.
 */
VERRICK_API int MsgQNumMsgs(MsgQueue* queue);

#ifdef __cplusplus
}
#endif

#endif
