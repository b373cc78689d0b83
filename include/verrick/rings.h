/**
 * @file
 * Byte rings between threads. The calls stand in flat/queues.h; here is the record behind a
 * RingBuffer*, which belongs to the calls alone.
 */
#ifndef VERRICK_RINGS_H
#define VERRICK_RINGS_H

#include <verrick/flat/queues.h>

/**
 * A ring. While m_lock is free:
 * 1. m_count lies in 0 to m_size. It alone tells an empty ring from a full one.
 * 2. In a ring of a size above 0 both indexes lie in 0 to m_size - 1, and m_putIndex is
 *    (m_getIndex + m_count) modulo m_size.
 */
struct RingBuffer {
    char* m_store;           /**< m_size bytes, owned; constant after creation, like the size */
    int m_size;              /**< bytes */
    int m_putIndex;          /**< where the next byte goes; guarded by m_lock, like the next two */
    int m_getIndex;          /**< where the next byte comes from */
    int m_count;             /**< bytes held */
    CRITICAL_SECTION m_lock; /**< nothing is taken under it */
};

#endif
