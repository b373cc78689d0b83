/**
 * @file
 * A thread that runs work for one callback object.
 *
 * DWorkerThread::DoWork copies a small block of bytes in. The worker's thread then calls the
 * callback object with a copy of the block. There is no queue: a new block replaces one that still
 * waits, and one callback sees the newest.
 *
 * The application owns the callback object, which must outlive the worker or be taken out of it.
 */
#ifndef VERRICK_WORKER_THREAD_H
#define VERRICK_WORKER_THREAD_H

#include <verrick/critical_section.h>
#include <verrick/detail/api.h>
#include <verrick/detail/thread_annotations.h>
#include <verrick/event.h>
#include <verrick/thread.h>

/** What an application supplies. The worker never deletes it. */
class IWorkerCallbackObj {
public:
    virtual ~IWorkerCallbackObj() {}

    /**
     * Called on the worker's thread, with no lock held. It may use its worker and destroy it, and
     * it may end its thread by pthread_exit: then the worker calls nobody any more.
     *
     * @param data a copy of the newest block, valid until the call returns. No later DoWork changes
     * it. Its size isn't passed, so a block describes itself. The bytes after it are left from
     * earlier, longer blocks.
     */
    virtual void DoCallback(void* data) = 0;
};

/** A worker, as an application creates it. */
class VERRICK_API DWorkerThread : public DThread {
public:
    /**
     * Creates the thread and starts it. The parameters and exceptions are those of DThread. If bit
     * 0 of flags is set, there is no thread until DThread::Create and Start are called.
     *
     * A class with a Run of its own sets bit 0, and calls Create and Start when the object is
     * whole. Otherwise its Run may come too late: the thread can get to Run during this
     * constructor.
     */
    DWorkerThread(char const* name, int priority, int stackSize, int flags);

    /**
     * Ends the thread. A block that waits is dropped, and no callback begins any more.
     *
     * Blocks up to a second for a callback that is under way, or for a Run of a derived class. Then
     * the thread is detached, with a line on standard output. When that callback returns, the
     * thread ends without touching the object. A callback that destroys its own worker isn't waited
     * for. A worker without a started thread prints the line of WaitForThreadDeath.
     */
    ~DWorkerThread() override;

    /**
     * Replaces the callback object. Safe from any thread, also from a callback. Doesn't wait for a
     * callback under way, which may still use the previous object.
     *
     * @param callback the new one, or null for none. Not owned.
     * @return the previous one, or null.
     */
    IWorkerCallbackObj* AddCallbackObject(IWorkerCallbackObj* callback);

    /**
     * Copies a block of bytes and announces it. The worker drops the block if it has no callback
     * object by then. Safe from any thread, also from a callback. Allocates nothing, and never
     * waits for a callback.
     *
     * @param size bytes, 1 to 127.
     * @param data the block. It may go as soon as the call returns.
     * @return true. False, with nothing done, for a size of 0 or less and for null data.
     */
    bool DoWork(signed char size, void* data);

    /** The body of the worker's thread. Not for applications. */
    void Run() override;

private:
    struct Work;
    struct Steps;

    unsigned char m_data[255] VERRICK_GUARDED_BY(m_csWork); /* the newest block */
    bool m_busy VERRICK_GUARDED_BY(m_csWork); /* a block waits or is being worked on */
    DCriticalSection m_csWork;                /* innermost; not held in a callback */
    DEvent m_workEvent;
    DEvent m_stopEvent;
    IWorkerCallbackObj* m_callback VERRICK_GUARDED_BY(m_csWork); /* not owned */
    bool m_pending VERRICK_GUARDED_BY(m_csWork);                 /* m_data is yet to be taken */
};

#endif
