/**
 * @file
 * Counting semaphores with a maximum and an optional name. They stand for sem_t.
 *
 * Objects of one process that are made under one name share one semaphore. It lives until the last
 * of them is gone. Names are compared without case. Null and the empty name share nothing. Names
 * mean nothing outside the process. Unlike ReleaseSemaphore (handles.h), a release posts as many
 * counts as fit.
 *
 * Memory order: what a thread did before Release is seen by the thread whose Wait it lets through.
 */
#ifndef VERRICK_SEMAPHORE_H
#define VERRICK_SEMAPHORE_H

#include <verrick/critical_section.h>
#include <verrick/detail/api.h>
#include <verrick/frame.h>
#include <verrick/interlocked.h>
#include <verrick/list.h>

#include <semaphore.h>
#include <wchar.h>

/**
 * The interface of semaphores. Every operation may be called from any thread.
 *
 * The owner destroys a semaphore object when no thread is inside an operation. A thread that is
 * blocked is not woken. One exception: the thread that took the last count of a Release may destroy
 * the object, because Release touches nothing after its last post. Other objects of the same name
 * are not affected.
 */
class VERRICK_API ISemaphore {
public:
    ISemaphore();
    virtual ~ISemaphore();

    /**
     * Raises the count by count, or by as much as fits below the maximum, and wakes as many waiting
     * threads. Drops what doesn't fit, and doesn't say so. While other threads wait, the count can
     * look one too high for a moment for each of them. Stands for sem_post. Takes no lock and
     * doesn't block. Async-signal-safe. 0 does nothing.
     */
    virtual void Release(unsigned int count) = 0;

    /**
     * Takes one count. Stands for sem_wait and sem_timedwait. A cancellation point; a cancelled
     * thread takes no count.
     *
     * @param timeoutMs milliseconds; -1 waits for ever. 0 only looks. Below -1 the time is over
     * already, and the call looks, too.
     * @return WAIT_RESULT_OK with the count, WAIT_RESULT_TIMEOUT when the time ran out.
     * WAIT_RESULT_FAILED when a signal handler interrupted the wait, or when a time-out below -1
     * makes no valid deadline.
     */
    virtual wait_result_t Wait(int timeoutMs) = 0;

    ISemaphore(ISemaphore const&) = delete;
    ISemaphore& operator=(ISemaphore const&) = delete;
};

/** A semaphore, as an application creates it. The operations are those of ISemaphore. */
class VERRICK_API DSemaphore : public ISemaphore {
public:
    /**
     * Makes a semaphore, or shares the one of that name as it is, with its counts. Throws
     * std::bad_alloc.
     *
     * @param initialCount the count to begin with; it may be above maxCount. A count that sem_init
     * refuses is not reported.
     * @param maxCount what no release passes. Above INT_MAX it counts as negative, so that nothing
     * is ever released.
     * @param name copied; null or empty for a semaphore of its own.
     */
    DSemaphore(unsigned int initialCount, unsigned int maxCount, wchar_t const* name);
    ~DSemaphore() override;

    void Release(unsigned int count) override;
    wait_result_t Wait(int timeoutMs) override;

private:
    ISemaphore* m_impl; /* owned; constant after construction */
};

class CSemaphoreNode;

/** The work behind DSemaphore. Applications create a DSemaphore. */
class VERRICK_API DSemaphoreImpl : public ISemaphore {
public:
    /** Takes the arguments of DSemaphore. */
    DSemaphoreImpl(unsigned int initialCount, unsigned int maxCount, wchar_t const* name);
    ~DSemaphoreImpl() override;

    void Release(unsigned int count) override;
    wait_result_t Wait(int timeoutMs) override;

private:
    CSemaphoreNode* m_node; /* one reference on it; constant after construction */
};

/** One semaphore, shared by its owners. */
class VERRICK_API CSemaphoreNode : public DListItem {
public:
    /**
     * Makes a node with one reference. A null name makes a node that no list holds. Throws
     * std::bad_alloc.
     */
    CSemaphoreNode(unsigned int initialCount, unsigned int maxCount, wchar_t const* name);

    /** Adds a reference to a named node. The caller holds the registry's lock. */
    void AddRef();

    /** Drops one reference. The last one takes the node off the registry and deletes it. */
    void Release();

    ~CSemaphoreNode();

    CSemaphoreNode(CSemaphoreNode const&) = delete;
    CSemaphoreNode& operator=(CSemaphoreNode const&) = delete;

private:
    friend class CSemaphoreList;
    friend class DSemaphoreImpl;

    wchar_t* m_name; /* owned, or null; constant after construction */
    sem_t m_sem;
    int m_max; /* constant after construction */
    /* The count as the library sees it. It rises before the posts and falls after a wait. */
    DInterlockedValue m_count;
    DInterlockedValue m_refCount; /* changes under the registry's lock, if the node has a name */
    std::atomic<int> m_bank;      /* the part of m_count that is not in m_sem yet */
};

/** The registry of named nodes, newest first. */
class VERRICK_API CSemaphoreList : public DList {
public:
    CSemaphoreList();
    ~CSemaphoreList();

    /**
     * Returns the node of that name with a new reference, which the caller owns. Makes the node if
     * there is none. Throws std::bad_alloc. Any thread may call it.
     */
    CSemaphoreNode* Create(unsigned int initialCount, unsigned int maxCount, wchar_t const* name);

private:
    friend class CSemaphoreNode;

    /*
     * Guards the list and the references of its nodes together. Otherwise a creation could revive a
     * node that goes. Nothing is taken under it.
     */
    DCriticalSection m_lock;
};

#endif
