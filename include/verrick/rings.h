/**
 * @file
 * The record of a byte ring. The calls are declared in flat/queues.h. Programs use the calls and
 * leave the record alone.
 */
#ifndef VERRICK_RINGS_H
#define VERRICK_RINGS_H

#include <verrick/flat/queues.h>

/**
 * A ring. The calls hold m_lock while they use the other fields. While m_lock is free:
 *
 * 1. m_count lies in 0 to m_size. It alone tells an empty ring from a full one.
 * 2. In a ring with a size above 0, both indexes lie in 0 to m_size - 1.
 * 3. m_putIndex is (m_getIndex + m_count) modulo m_size.
 */
struct RingBuffer {
    char* m_store;           /**< m_size bytes, owned by the ring; constant after creation */
    int m_size;              /**< bytes; constant after creation */
    int m_putIndex;          /**< where the next byte is written; guarded by m_lock */
    int m_getIndex;          /**< where the next byte is read; guarded by m_lock */
    int m_count;             /**< bytes held; guarded by m_lock */
    CRITICAL_SECTION m_lock; /**< no other lock is taken under it */
};

#endif
