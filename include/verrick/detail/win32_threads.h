/*
 * Threads behind handles, for C++ programs with verrick/win32.h.
 *
 * TerminateThread is left out. It would end a thread between any two instructions, with locks held
 * and memory half written; no library can make that sound on POSIX. Let the thread's function
 * return instead, for example on an event that it waits for.
 */
#ifndef VERRICK_DETAIL_WIN32_THREADS_H
#define VERRICK_DETAIL_WIN32_THREADS_H

#ifdef __cplusplus

#include <verrick/detail/win32_errors.h>
#include <verrick/detail/win32_types.h>
#include <verrick/handles.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <pthread.h>

#define CREATE_SUSPENDED 0x4U
#define STILL_ACTIVE 259U

namespace verrick {
namespace win32 {

constexpr unsigned long kThreadTypeTag = 0x7EADC0DEUL;

/* Closes a handle at the end of its owner. */
class OwnedHandle {
public:
    explicit OwnedHandle(HANDLE handle) : m_handle(handle) {}
    ~OwnedHandle() { ::CloseHandle(m_handle); }
    HANDLE Get() const { return m_handle; }
    OwnedHandle(OwnedHandle const&) = delete;
    OwnedHandle& operator=(OwnedHandle const&) = delete;

private:
    HANDLE m_handle;
};

/* What the handle and the thread share. It lives until both are done with it. */
struct Thread {
    Thread(LPTHREAD_START_ROUTINE threadRoutine, LPVOID threadArgument)
        : routine(threadRoutine), argument(threadArgument), exitCode(STILL_ACTIVE), id(0),
          suspended(0), identified(CreateEvent(nullptr, 1, 0, nullptr)),
          resumed(CreateEvent(nullptr, 1, 0, nullptr)), ended(CreateEvent(nullptr, 1, 0, nullptr)) {
    }

    LPTHREAD_START_ROUTINE const routine;
    LPVOID const argument;
    /* Ordered by the events: exitCode by ended, id by identified. */
    std::atomic<DWORD> exitCode;
    std::atomic<DWORD> id;
    std::atomic<int> suspended; /* 1 until ResumeThread */
    /* Manual-reset events. */
    OwnedHandle identified;
    OwnedHandle resumed;
    OwnedHandle ended;
};

typedef std::shared_ptr<Thread> SharedThread;

/* The calling thread, if CreateThread made it; else null. */
inline Thread*& CurrentThread() {
    static thread_local Thread* current = nullptr;
    return current;
}

/* Tells the waiters on every way out of the thread: by return, by ExitThread and by pthread_exit.
 */
struct ThreadEnd {
    explicit ThreadEnd(Thread& endingThread) : thread(endingThread) {}
    ~ThreadEnd() {
        DWORD running = STILL_ACTIVE;
        thread.exitCode.compare_exchange_strong(running, 0U);
        ::SetEvent(thread.ended.Get());
    }
    Thread& thread;
};

inline void* ThreadEntry(void* argument) {
    std::unique_ptr<SharedThread> const owned(static_cast<SharedThread*>(argument));
    Thread& thread = **owned;
    ThreadEnd const end(thread);
    CurrentThread() = &thread;
    thread.id.store(GetCurrentThreadId());
    ::SetEvent(thread.identified.Get());
    ::WaitForSingleObject(thread.resumed.Get(), INFINITE);
    thread.exitCode.store(thread.routine(thread.argument));
    return nullptr;
}

/* The object behind the handle of a thread. Closing it leaves the thread running. */
class ThreadHandle : public XHandleObject {
public:
    explicit ThreadHandle(SharedThread const& thread)
        : XHandleObject(kThreadTypeTag), m_thread(thread) {}

    unsigned long WaitForSingleObject(unsigned long timeoutMs) override {
        return ::WaitForSingleObject(m_thread->ended.Get(), timeoutMs);
    }
    int CloseHandle() override { return 1; }
    int SetToSignaledState() override { return 0; }

    /* Returns the thread behind a handle, or null if the handle isn't a thread's. */
    static Thread* FromHandle(HANDLE handle) {
        XHandleObject* const object = ObjectFromHandle(handle, kThreadTypeTag);
        return object != nullptr ? static_cast<ThreadHandle*>(object)->m_thread.get() : nullptr;
    }

private:
    SharedThread const m_thread;
};

/* Starts a detached thread for an argument that it takes over. */
inline bool StartThread(std::size_t stackBytes, SharedThread* argument) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (stackBytes != 0) {
        pthread_attr_setstacksize(&attributes, stackBytes); /* refused if it is too small */
    }
    pthread_t created;
    bool const started = pthread_create(&created, &attributes, &ThreadEntry, argument) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace win32
} // namespace verrick

/**
 * Starts a thread and returns a handle to it, or null if the system refuses or routine is null.
 *
 * WaitForSingleObject on the handle waits for the thread's end. CloseHandle ends the handle alone:
 * the thread runs on. Throws std::bad_alloc.
 *
 * @param attributes ignored.
 * @param stackSize bytes; 0 and a size that the system refuses give its default size.
 * @param routine the thread's body; its result is the exit code.
 * @param argument passed to routine.
 * @param flags CREATE_SUSPENDED holds the thread back until ResumeThread; other bits are ignored.
 * @param threadId gets the kernel's id of the thread; may be null.
 */
inline HANDLE CreateThread(LPVOID attributes, SIZE_T stackSize, LPTHREAD_START_ROUTINE routine,
                           LPVOID argument, DWORD flags, LPDWORD threadId) {
    namespace win32 = verrick::win32;
    static_cast<void>(attributes);
    if (routine == nullptr) {
        return nullptr;
    }
    win32::SharedThread const thread = std::make_shared<win32::Thread>(routine, argument);
    std::unique_ptr<win32::ThreadHandle> handle(new win32::ThreadHandle(thread));
    std::unique_ptr<win32::SharedThread> entryArgument(new win32::SharedThread(thread));
    if (!win32::StartThread(stackSize, entryArgument.get())) {
        return nullptr;
    }
    static_cast<void>(entryArgument.release());
    thread->suspended.store((flags & CREATE_SUSPENDED) != 0 ? 1 : 0);
    if ((flags & CREATE_SUSPENDED) == 0) {
        ::SetEvent(thread->resumed.Get());
    }
    ::WaitForSingleObject(thread->identified.Get(), INFINITE);
    if (threadId != nullptr) {
        *threadId = thread->id.load();
    }
    return static_cast<XHandleObject*>(handle.release());
}

/**
 * As CreateThread, with the types of the C runtime. Returns 0 instead of null.
 */
inline UINT_PTR _beginthreadex(void* attributes, unsigned int stackSize,
                               unsigned int (*routine)(void*), void* argument, unsigned int flags,
                               unsigned int* threadId) {
    return reinterpret_cast<UINT_PTR>(
        CreateThread(attributes, stackSize, routine, argument, flags, threadId));
}

/**
 * Lets a thread that was created with CREATE_SUSPENDED run. Returns 1 for the call that does so, 0
 * for a thread that runs already, and 0xFFFFFFFF for a handle that isn't a thread's. Threads can't
 * be suspended again.
 */
inline DWORD ResumeThread(HANDLE handle) {
    verrick::win32::Thread* const thread = verrick::win32::ThreadHandle::FromHandle(handle);
    if (thread == nullptr) {
        return 0xFFFFFFFFU;
    }
    DWORD const wasSuspended = static_cast<DWORD>(thread->suspended.exchange(0));
    ::SetEvent(thread->resumed.Get());
    return wasSuspended;
}

/**
 * Stores a thread's exit code, or STILL_ACTIVE while it runs, and returns TRUE. Returns FALSE for a
 * handle that isn't a thread's and for a null exitCode.
 */
inline BOOL GetExitCodeThread(HANDLE handle, LPDWORD exitCode) {
    verrick::win32::Thread* const thread = verrick::win32::ThreadHandle::FromHandle(handle);
    if (thread == nullptr || exitCode == nullptr) {
        return FALSE;
    }
    *exitCode = thread->exitCode.load();
    return TRUE;
}

/**
 * Ends the calling thread with an exit code. Destructors of its stack run. The code is lost on a
 * thread that CreateThread didn't make.
 */
__attribute__((noreturn)) inline void ExitThread(DWORD exitCode) {
    if (verrick::win32::Thread* const thread = verrick::win32::CurrentThread()) {
        thread->exitCode.store(exitCode);
    }
    pthread_exit(nullptr);
}

__attribute__((noreturn)) inline void _endthreadex(unsigned int exitCode) {
    ExitThread(exitCode);
}

#endif /* __cplusplus */

#endif
