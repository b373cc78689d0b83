/**
 * @file
 * The flat calls that move data between the threads of a process: byte rings, which never wait for
 * data or room, and queues of whole messages, which can.
 *
 * Any number of threads may use one ring or one queue at once. The creator deletes it when no
 * thread is inside a call on it or will make one. No call prints anything or sets errno.
 */
#ifndef VERRICK_FLAT_QUEUES_H
#define VERRICK_FLAT_QUEUES_H

#include <verrick/detail/api.h>
#include <verrick/flat/handles.h>

/** A ring; its record belongs to the calls. */
typedef struct RingBuffer RingBuffer;
/** A queue; its record belongs to the calls. */
typedef struct MsgQueue MsgQueue;

/** What MsgQSend takes as a priority. */
enum {
    MSGQ_PRIORITY_URGENT = 1 /**< puts a message in front of all others */
};

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Makes a ring that holds size bytes, 0 included. Gives null if it can't be allocated or the size
 * is negative.
 */
VERRICK_API RingBuffer* RingCreate(int size);

/** Frees the ring. Does nothing for a null ring. */
VERRICK_API void RingDelete(RingBuffer* ring);

/** Drops what the ring holds. Does nothing for a null ring. */
VERRICK_API void RingFlush(RingBuffer* ring);

/**
 * Moves as many bytes to buffer as can be had at this moment, at most nBytes, in one step that no
 * other thread sees half done. Gives the bytes moved, or -1 for a null ring.
 */
VERRICK_API int RingBufGet(RingBuffer* ring, char* buffer, int nBytes);

/** The same from buffer, as far as there is room; what doesn't fit stays with the caller. */
VERRICK_API int RingBufPut(RingBuffer* ring, char const* buffer, int nBytes);

/** The room left, in bytes; -1 for a null ring. */
VERRICK_API int RingFreeBytes(RingBuffer* ring);

/** The bytes held; -1 for a null ring. */
VERRICK_API int RingNBytes(RingBuffer* ring);

/** 1 for a ring that holds nothing, one of size 0 too, else 0; 0 for a null ring. */
VERRICK_API int RingIsEmpty(RingBuffer* ring);

/** 1 for a ring without room, one of size 0 too, else 0; 0 for a null ring. */
VERRICK_API int RingIsFull(RingBuffer* ring);

/**
 * Makes a queue of at most maxMsgs messages of at most maxMsgLength bytes. Gives null if it can't
 * be allocated, if maxMsgs is negative, or if (maxMsgLength + 4) * maxMsgs doesn't fit in 32 bits.
 */
VERRICK_API MsgQueue* MsgQCreate(int maxMsgs, unsigned int maxMsgLength);

/** Frees the queue, and nothing for a null one. Gives 0. */
VERRICK_API int MsgQDelete(MsgQueue* queue);

/**
 * Copies a message into the queue, cut to the queue's maximum without a report, behind all others;
 * or in front of them if priority is MSGQ_PRIORITY_URGENT.
 *
 * @param queue the queue.
 * @param message may be null if length is 0.
 * @param length bytes.
 * @param timeoutMs milliseconds to wait for room; 0 doesn't wait, INFINITE waits for ever. A waiter
 * that is woken and finds no room starts its time anew. Real-time senders and receivers of
 * different priorities share a queue safely, though one that had to pass a wake-up on may sleep a
 * millisecond.
 *
 * Gives 0, or -1 when the message was not queued: a null queue, or no room in time.
 */
VERRICK_API int MsgQSend(MsgQueue* queue, void const* message, unsigned int length,
                         unsigned long timeoutMs, int priority);

/**
 * Takes the first message out of the queue and copies at most bufferLength bytes of it; the rest is
 * lost without a report. timeoutMs: as above, to wait for a message. buffer may be null if
 * bufferLength is 0.
 *
 * Gives the bytes copied, or -1 when no message was taken: a null queue, or none in time.
 */
VERRICK_API int MsgQReceive(MsgQueue* queue, void* buffer, unsigned int bufferLength,
                            unsigned long timeoutMs);

/** The messages in the queue, read without its lock; -1 for a null queue. */
VERRICK_API int MsgQNumMsgs(MsgQueue* queue);

#ifdef __cplusplus
}
#endif

#endif
