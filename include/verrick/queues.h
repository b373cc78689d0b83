/**
 * @file
 * Queues of whole messages between threads. The calls stand in flat/queues.h; here is the record
 * behind a MsgQueue*, which belongs to the calls alone.
 */
#ifndef VERRICK_QUEUES_H
#define VERRICK_QUEUES_H

#include <verrick/flat/queues.h>

#include <atomic>

/**
 * A queue. The store is a ring of m_maxMsgs slots of m_maxMsgLength + 4 bytes each: a 32-bit length
 * in the processor's byte order, then the message. While the lock is free the queued messages are
 * the m_numMsgs slots from m_getIndex forward, and m_putIndex is the slot behind the last of them.
 */
struct MsgQueue {
    int m_maxMsgs;               /**< constant after creation, like the next */
    unsigned int m_maxMsgLength; /**< bytes */
    std::atomic<int> m_numMsgs;  /**< changes under the lock; read relaxed by MsgQNumMsgs */
    HANDLE m_notifyEvent;        /**< set after every send and receive that moved a message */
    HANDLE m_wakeEvent;          /**< set likewise; blocked senders and receivers wait on it */
    HANDLE m_lockEvent;          /**< the lock, signalled while it is free */
    char* m_store;               /**< owned; the pointer is constant after creation */
    int m_putIndex;              /**< guarded by the lock, like the next */
    int m_getIndex;              /**< the slot of the next receive */
};

#endif
