/**
 * @file
 * A thread that runs work for one callback object: DoWork copies a small block of bytes in, and the
 * callback is called with it on the worker's thread. There is no queue: the newest block replaces
 * one that is still waiting, and one callback sees it.
 */
#ifndef VERRICK_WORKER_THREAD_H
#define VERRICK_WORKER_THREAD_H

#include <verrick/critical_section.h>
#include <verrick/detail/api.h>
#include <verrick/event.h>
#include <verrick/thread.h>

/** What an application supplies. The worker never deletes it. */
class IWorkerCallbackObj {
public:
    virtual ~IWorkerCallbackObj() {}

    /**
     * Called on the worker's thread, with no lock held. data is a copy of the newest block, which
     * no later DoWork changes, and valid until the call returns. Its size isn't passed: a block
     * describes itself. The bytes behind it are left from earlier, longer blocks.
     */
    virtual void DoCallback(void* data) = 0;
};

/** A worker, as an application creates it. */
class VERRICK_API DWorkerThread : public DThread {
public:
    /** As DThread, but started at once. With bit 0 of flags set, call DThread::Create and Start. */
    DWorkerThread(char const* name, int priority, int stackSize, int flags);

    /**
     * Ends the thread; an announced block is dropped, and no callback starts any more. Waits up to
     * a second for a callback under way, and then detaches the thread, with a line on standard
     * output: when that callback returns, the thread ends without touching the object.
     */
    ~DWorkerThread() override;

    /**
     * Makes callback, null for none, the one callback object, and gives the one before it. Doesn't
     * wait for a callback under way. Safe from any thread, also from a callback.
     */
    IWorkerCallbackObj* AddCallbackObject(IWorkerCallbackObj* callback);

    /**
     * Copies size bytes, 1 to 127, from data and announces them. Gives true; false, with nothing
     * done, for a size of 0 or less. Without a callback object the block is dropped in its turn.
     * Allocates nothing and never waits for a callback. Safe from any thread, also from a callback.
     */
    bool DoWork(signed char size, void* data);

    /** The thread's own; not for applications. */
    void Run() override;

private:
    struct Work;

    bool TakeWork(Work& work);

    unsigned char m_data[255]; /* the newest block; guarded by m_csWork */
    bool m_busy;               /* a block is announced or being worked on; guarded by m_csWork */
    DCriticalSection m_csWork; /* never held during a callback */
    DEvent m_workEvent;
    DEvent m_stopEvent;
    IWorkerCallbackObj* m_callback; /* not owned; guarded by m_csWork */
    bool m_pending;                 /* m_data is yet to be taken; guarded by m_csWork */
};

#endif
