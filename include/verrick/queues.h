/**
 * @file
 * The record of a message queue. The calls are declared in flat/queues.h. Programs use the calls
 * and leave the record alone.
 */
#ifndef VERRICK_QUEUES_H
#define VERRICK_QUEUES_H

#include <verrick/flat/queues.h>

#include <atomic>

/**
 * A queue. MsgQCreate makes it with more behind it, the queue's lock among that, so no program can
 * make or copy one.
 *
 * The store is a ring of m_maxMsgs slots. A slot is a length of 32 bits in the processor's byte
 * order, and m_maxMsgLength bytes for the message. While the queue's lock is free:
 *
 * 1. m_numMsgs lies in 0 to m_maxMsgs.
 * 2. The messages are the m_numMsgs slots from m_getIndex on, in the order of receipt.
 * 3. m_putIndex is the slot after the last of them.
 * 4. m_lockEvent is signalled.
 */
struct MsgQueue {
    int m_maxMsgs;               /**< capacity in messages; constant after creation */
    unsigned int m_maxMsgLength; /**< bytes; constant after creation */
    std::atomic<int> m_numMsgs;  /**< changes under the lock; MsgQNumMsgs reads it without */
    HANDLE m_notifyEvent;        /**< auto-reset; set after each send and receive of a message */
    HANDLE m_wakeEvent; /**< auto-reset; set likewise, unless a call waits: that is woken */
    HANDLE m_lockEvent; /**< auto-reset; a program that takes it keeps the calls waiting */
    char* m_store;      /**< owned by the queue; constant after creation */
    int m_putIndex;     /**< the slot of the next normal message; guarded by the lock */
    int m_getIndex;     /**< the slot of the next receive; guarded by the lock */
};

#endif
