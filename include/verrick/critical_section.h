/**
 * @file
 * A mutex and its scoped lock. They stand for pthread_mutex_lock and pthread_mutex_unlock on an
 * error-checking mutex. Plain classes without virtual operations.
 *
 * A critical section doesn't nest. A second Enter by the thread that has the section neither blocks
 * nor counts, and the first Leave frees it.
 */
#ifndef VERRICK_CRITICAL_SECTION_H
#define VERRICK_CRITICAL_SECTION_H

#include <verrick/detail/api.h>
#include <verrick/detail/thread_annotations.h>

#include <pthread.h>

/**
 * A mutex that doesn't nest. Every operation may be called from any thread. The owner destroys a
 * section when no thread is inside it or on its way in.
 */
class VERRICK_API VERRICK_LOCK DCriticalSection {
public:
    /** Makes a free section. A failure of the POSIX calls is not reported. */
    DCriticalSection();
    ~DCriticalSection();

    /** Waits for ever until the section is free, and takes it. Does nothing if the caller has it.
     */
    VERRICK_API_SHORT void Enter() VERRICK_ACQUIRE();

    /** Frees the section. Does nothing if the caller doesn't have it. Doesn't block. */
    VERRICK_API_SHORT void Leave() VERRICK_RELEASE();

    DCriticalSection(DCriticalSection const&) = delete;
    DCriticalSection& operator=(DCriticalSection const&) = delete;

private:
    pthread_mutexattr_t m_attr;
    pthread_mutex_t m_mutex;
};

/** Holds a critical section for a scope. Leaves it on every way out, also by an exception. */
class VERRICK_API VERRICK_SCOPED_LOCK DMonitor {
public:
    /** Enters the section. The monitor doesn't own it, and the section must outlive the monitor. */
    explicit DMonitor(DCriticalSection& section) VERRICK_ACQUIRE(section);
    ~DMonitor() VERRICK_RELEASE();

    DMonitor(DMonitor const&) = delete;
    DMonitor& operator=(DMonitor const&) = delete;

private:
    DCriticalSection& m_section;
};

#endif
