/**
 * @file
 * Counting semaphores with a maximum and an optional name, over sem_t.
 *
 * Objects of one process that are made under one name share one semaphore, which lives until the
 * last of them is gone. Names are compared without case; null and the empty name share nothing.
 * Names mean nothing outside the process. Unlike CreateSemaphore (handles.h), a release posts as
 * many counts as fit.
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
 * The interface of semaphores. Every operation may be called from any thread. The owner destroys a
 * semaphore object when no thread is inside an operation: nobody who is blocked in it is woken.
 * Other objects of its name are not affected.
 */
class VERRICK_API ISemaphore {
public:
    ISemaphore();
    virtual ~ISemaphore();

    /**
     * Raises the count by count, or by as much as fits under the maximum, and wakes as many
     * waiters. What didn't fit is dropped. The maximum can be missed by one while other threads
     * wait or release.
     */
    virtual void Release(unsigned int count) = 0;

    /**
     * Takes one count within timeoutMs milliseconds, -1 for ever.
     *
     * Gives WAIT_RESULT_OK with the count, WAIT_RESULT_TIMEOUT when the time ran out, and
     * WAIT_RESULT_FAILED when a signal handler interrupted the wait or a time-out under -1 made no
     * valid deadline.
     */
    virtual wait_result_t Wait(int timeoutMs) = 0;

    ISemaphore(ISemaphore const&) = delete;
    ISemaphore& operator=(ISemaphore const&) = delete;
};

/** A semaphore, as an application creates it. */
class VERRICK_API DSemaphore : public ISemaphore {
public:
    /**
     * Makes a semaphore, or shares the one of that name as it is: its counts stay. name is copied.
     * initialCount may be above maxCount. A maximum above INT_MAX counts as negative, so that
     * nothing is ever released; a count that sem_init refuses is not reported. Throws
     * std::bad_alloc.
     */
    DSemaphore(unsigned int initialCount, unsigned int maxCount, wchar_t const* name);
    ~DSemaphore() override;

    void Release(unsigned int count) override;
    wait_result_t Wait(int timeoutMs) override;

private:
    ISemaphore* m_impl; /* owned; constant after construction */
};

class CSemaphoreNode;

/** The work behind DSemaphore. */
class VERRICK_API DSemaphoreImpl : public ISemaphore {
public:
    /** As DSemaphore. */
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
    /** Starts with one reference. A null name makes a node that no list holds. */
    CSemaphoreNode(unsigned int initialCount, unsigned int maxCount, wchar_t const* name);

    /** Adds a reference to a named node; the caller holds the registry's lock. */
    void AddRef();

    /** Gives back one reference; the last one takes the node off the registry and deletes it. */
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
     * Gives the node of that name with one new reference for the caller, or makes one. Throws
     * std::bad_alloc.
     */
    CSemaphoreNode* Create(unsigned int initialCount, unsigned int maxCount, wchar_t const* name);

private:
    friend class CSemaphoreNode;

    CSemaphoreNode* FindAndAddRef(wchar_t const* name);

    /*
     * Guards the list and the references of its nodes, both in one hold, so that no creation
     * revives a node that goes. Outer lock: the nodes' counters lock inside it.
     */
    DCriticalSection m_lock;
};

#endif
