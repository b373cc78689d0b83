/*
 * Threads behind handles, for C++ programs with verrick/win32.h.
 *
 * TerminateThread is left out. It would end a thread between any two instructions, with locks held
 * and memory half written. No library can make that sound on POSIX. Let the thread's function
 * return instead, for example on an event that it waits for. SuspendThread is left out because it
 * would stop a thread that holds a lock.
 */
#ifndef VERRICK_DETAIL_WIN32_THREADS_H
#define VERRICK_DETAIL_WIN32_THREADS_H

#ifdef __cplusplus

#include <verrick/detail/win32_errors.h>
#include <verrick/detail/win32_types.h>
#include <verrick/handles.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#define CREATE_SUSPENDED 0x4U
#define STACK_SIZE_PARAM_IS_A_RESERVATION 0x10000U
#define STILL_ACTIVE 259U

namespace verrick {
namespace win32 {

constexpr unsigned long kThreadTypeTag = 0x7EADC0DEUL;

/* The moment at which a wait ends. It is on the system's clock, as in all waits of the library. */
class WaitEnd {
public:
    explicit WaitEnd(unsigned long timeoutMs)
        : m_never((timeoutMs & 0xFFFFFFFFUL) == INFINITE),
          m_time(std::chrono::system_clock::now() +
                 std::chrono::milliseconds(timeoutMs & 0xFFFFFFFFUL)) {}

    /* Waits until the condition holds. Returns false if the time runs out first. */
    template<typename Condition>
    bool Await(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
               Condition condition) const {
        if (m_never) {
            changed.wait(lock, condition);
            return true;
        }
        return changed.wait_until(lock, m_time, condition);
    }

    /* Returns 0, ETIMEDOUT or another error of the join. */
    int Join(pthread_t thread) const {
        if (m_never) {
            return pthread_join(thread, nullptr);
        }
        std::chrono::nanoseconds const sinceEpoch = m_time.time_since_epoch();
        constexpr long long second = 1000000000;
        timespec deadline;
        deadline.tv_sec = static_cast<time_t>(sinceEpoch.count() / second);
        deadline.tv_nsec = static_cast<long>(sinceEpoch.count() % second);
        return pthread_timedjoin_np(thread, nullptr, &deadline);
    }

private:
    bool m_never;
    std::chrono::system_clock::time_point m_time;
};

/*
 * What the handle and the thread share. It lives until both have let go of it.
 *
 * One waiter joins the POSIX thread, so that after a wait no code of the thread runs any more. The
 * other waiters wait for its result. If its time runs out, the next one joins.
 */
class Thread {
public:
    Thread(LPTHREAD_START_ROUTINE routine, LPVOID argument, bool isSuspended)
        : m_routine(routine), m_argument(argument), m_thread(), m_exitRounds(0),
          m_isSuspended(isSuspended), m_hasEnded(false), m_exits(false), m_join(kNotJoined),
          m_id(0), m_exitCode(STILL_ACTIVE) {}

    /* Returns 0, or the error of the system, which then made no thread. */
    static int Start(std::shared_ptr<Thread> const& thread, std::size_t stackBytes, DWORD flags) {
        std::unique_ptr<std::shared_ptr<Thread>> argument(new std::shared_ptr<Thread>(thread));
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        SetStackSize(&attributes, stackBytes, flags);
        int const error = pthread_create(&thread->m_thread, &attributes, &Main, argument.get());
        pthread_attr_destroy(&attributes);
        if (error == 0) {
            static_cast<void>(argument.release());
        }
        return error;
    }

    /* Waits for the thread's first step. */
    DWORD AwaitId() {
        std::unique_lock<std::mutex> lock(m_lock);
        m_changed.wait(lock, [this] { return m_id != 0; });
        return m_id;
    }

    /* Returns how often the thread was suspended before: 1 or 0. */
    DWORD Resume() {
        std::lock_guard<std::mutex> const lock(m_lock);
        DWORD const count = m_isSuspended ? 1 : 0;
        m_isSuspended = false;
        m_changed.notify_all();
        return count;
    }

    DWORD ExitCode() {
        std::lock_guard<std::mutex> const lock(m_lock);
        return m_exitCode;
    }

    unsigned long AwaitEnd(unsigned long timeoutMs) {
        WaitEnd const end(timeoutMs);
        std::unique_lock<std::mutex> lock(m_lock);
        if (!end.Await(m_changed, lock, [this] { return m_hasEnded && m_join != kJoining; })) {
            return WAIT_TIMEOUT;
        }
        if (m_join == kJoined) {
            return WAIT_OBJECT_0;
        }
        m_join = kJoining;
        lock.unlock();
        int const error = end.Join(m_thread);
        lock.lock();
        m_join = error == 0 ? kJoined : kNotJoined;
        m_changed.notify_all();
        lock.unlock();
        if (error == ETIMEDOUT) {
            return WAIT_TIMEOUT;
        }
        return error == 0 ? WAIT_OBJECT_0 : WAIT_FAILED;
    }

    /* Lets the thread run on by itself. Nobody waits for it any more.
     *
     * glibc's pthread_detach lets the thread free itself, and then reads of it once more (its bug
     * 19951). So the thread mustn't end meanwhile: either it can't exit yet, or it is gone. */
    void Detach() {
        std::lock_guard<std::mutex> const lock(m_lock);
        if (m_join != kNotJoined) {
            return;
        }
        if (m_exits) {
            AwaitExit();
        }
        pthread_detach(m_thread);
    }

    /* Sets the exit code of the calling thread. Does nothing if CreateThread didn't make it. */
    static void SetOwnExitCode(DWORD exitCode) { OwnEnd().exitCode = exitCode; }

private:
    enum JoinState { kNotJoined, kJoining, kJoined };

    /* Tells the waiters when the thread ends in any way: by return, ExitThread or pthread_exit. It
     * is the thread's first thread_local object, so all others are destroyed before it. */
    struct End {
        std::shared_ptr<Thread> thread; /* null in threads that CreateThread didn't make */
        DWORD exitCode = 0;
        ~End() {
            if (thread != nullptr) {
                thread->TellEnd(exitCode);
            }
        }
    };

    static End& OwnEnd() {
        static thread_local End end;
        return end;
    }

    /* The destructor of a key is the last code on a thread that the C library calls. A plug-in that
     * is unloaded gives its key back. */
    struct ExitKey {
        pthread_key_t key;
        bool exists;

        ExitKey() : key(), exists(pthread_key_create(&key, &Thread::OnExitRound) == 0) {}
        ~ExitKey() {
            if (exists) {
                pthread_key_delete(key);
            }
        }
        ExitKey(ExitKey const&) = delete;
        ExitKey& operator=(ExitKey const&) = delete;

        static ExitKey const& Get() {
            static ExitKey const exitKey;
            return exitKey;
        }
    };

    /* The thread_local objects are gone by now. The thread's other keys get two rounds first. */
    static void OnExitRound(void* argument) {
        std::unique_ptr<std::shared_ptr<Thread>> shared(
            static_cast<std::shared_ptr<Thread>*>(argument));
        Thread& thread = **shared;
        if (++thread.m_exitRounds < PTHREAD_DESTRUCTOR_ITERATIONS - 1 &&
            pthread_setspecific(ExitKey::Get().key, argument) == 0) {
            static_cast<void>(shared.release());
            return;
        }
        std::lock_guard<std::mutex> const lock(thread.m_lock);
        thread.m_exits = true;
    }

    /* The exit takes microseconds. It is waited for at most a second, because a destructor of
     * another key may hold the thread up. */
    void AwaitExit() const {
        int const errorBefore = errno;
        int cancelState = 0;
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState);
        for (int looks = GetCurrentThreadId() == m_id ? 1000 : 0;
             looks < 1000 && syscall(SYS_tgkill, getpid(), m_id, 0) == 0; ++looks) {
            static_cast<void>(looks < 20 ? sched_yield() : usleep(1000));
        }
        pthread_setcancelstate(cancelState, nullptr);
        errno = errorBefore;
    }

    /* Win32 takes the size for the part of the stack that is ready at once, unless flags say
     * otherwise. So the default size is the smallest. The system refuses what is too small. */
    static void SetStackSize(pthread_attr_t* attributes, std::size_t bytes, DWORD flags) {
        std::size_t defaultBytes = 0;
        pthread_attr_getstacksize(attributes, &defaultBytes);
        bool const isWholeStack = (flags & STACK_SIZE_PARAM_IS_A_RESERVATION) != 0 && bytes != 0;
        if (isWholeStack || bytes > defaultBytes) {
            pthread_attr_setstacksize(attributes, bytes);
        }
    }

    static void* Main(void* argument) {
        std::unique_ptr<std::shared_ptr<Thread>> shared(
            static_cast<std::shared_ptr<Thread>*>(argument));
        End& end = OwnEnd();
        end.thread = *shared;
        ExitKey const& exit = ExitKey::Get();
        if (exit.exists && pthread_setspecific(exit.key, argument) == 0) {
            static_cast<void>(shared.release());
        }
        shared.reset();
        Thread& thread = *end.thread;
        thread.Begin();
        SetOwnExitCode(thread.m_routine(thread.m_argument));
        return nullptr;
    }

    void Begin() {
        std::unique_lock<std::mutex> lock(m_lock);
        m_id = GetCurrentThreadId();
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_isSuspended; });
    }

    void TellEnd(DWORD exitCode) {
        std::lock_guard<std::mutex> const lock(m_lock);
        m_exitCode = exitCode;
        m_hasEnded = true;
        m_changed.notify_all();
    }

    LPTHREAD_START_ROUTINE const m_routine;
    LPVOID const m_argument;
    pthread_t m_thread; /* constant after Start; the thread itself doesn't read it */
    int m_exitRounds;   /* the thread's own: how often OnExitRound was called */
    std::mutex m_lock;
    std::condition_variable m_changed; /* after each change of what follows */
    /* All guarded by m_lock. */
    bool m_isSuspended;
    bool m_hasEnded; /* its function and its thread_local objects are through */
    bool m_exits;    /* the destructors of its keys are through, too */
    JoinState m_join;
    DWORD m_id; /* 0 before the thread's first step */
    DWORD m_exitCode;
};

/* The object behind the handle of a thread. */
class ThreadHandle : public XHandleObject {
public:
    explicit ThreadHandle(std::shared_ptr<Thread> const& thread)
        : XHandleObject(kThreadTypeTag), m_thread(thread) {}

    unsigned long WaitForSingleObject(unsigned long timeoutMs) override {
        return m_thread->AwaitEnd(timeoutMs);
    }
    int CloseHandle() override {
        m_thread->Detach();
        return 1;
    }
    int SetToSignaledState() override { return 0; }

    /* Returns the thread behind a handle, or null if the handle isn't a thread's. */
    static Thread* FromHandle(HANDLE handle) {
        XHandleObject* const object = ObjectFromHandle(handle, kThreadTypeTag);
        return object != nullptr ? static_cast<ThreadHandle*>(object)->m_thread.get() : nullptr;
    }

private:
    std::shared_ptr<Thread> const m_thread;
};

} // namespace win32
} // namespace verrick

/**
 * Starts a thread and returns a handle to it, which the caller closes. Returns null if routine is
 * null or the system refuses, and GetLastError tells the reason. Stands for pthread_create.
 *
 * WaitForSingleObject on the handle waits for the thread's end, and any number of threads may do
 * so. After it no code of the thread runs, the destructors of its thread_local objects included. A
 * thread that waits for itself waits until the time runs out.
 *
 * CloseHandle ends the handle alone and the thread runs on. It waits only for a thread that is just
 * exiting, at most a second. A suspended thread without a handle stays suspended for ever. Throws
 * std::bad_alloc.
 *
 * @param attributes ignored.
 * @param stackSize bytes that the stack has at least. It never gets less than the system's default,
 * unless flags ask for it.
 * @param routine the thread's body. Its result is the exit code.
 * @param argument passed to routine.
 * @param flags CREATE_SUSPENDED holds the thread back until ResumeThread.
 * STACK_SIZE_PARAM_IS_A_RESERVATION makes stackSize the whole size. Other bits are ignored.
 * @param threadId gets the kernel's id of the thread. May be null.
 */
inline HANDLE CreateThread(LPVOID attributes, SIZE_T stackSize, LPTHREAD_START_ROUTINE routine,
                           LPVOID argument, DWORD flags, LPDWORD threadId) {
    namespace win32 = verrick::win32;
    static_cast<void>(attributes);
    if (routine == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    std::shared_ptr<win32::Thread> const thread =
        std::make_shared<win32::Thread>(routine, argument, (flags & CREATE_SUSPENDED) != 0);
    std::unique_ptr<win32::ThreadHandle> handle(new win32::ThreadHandle(thread));
    int const error = win32::Thread::Start(thread, stackSize, flags);
    if (error != 0) {
        errno = error;
        return nullptr;
    }
    if (threadId != nullptr) {
        *threadId = thread->AwaitId();
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
 * for a thread that runs already, and 0xFFFFFFFF for a handle that isn't a thread's.
 */
inline DWORD ResumeThread(HANDLE handle) {
    verrick::win32::Thread* const thread = verrick::win32::ThreadHandle::FromHandle(handle);
    return thread != nullptr ? thread->Resume() : 0xFFFFFFFFU;
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
    *exitCode = thread->ExitCode();
    return TRUE;
}

/**
 * Ends the calling thread with an exit code. Stands for pthread_exit: unlike on Windows, the
 * destructors of the objects on its stack run. The code is lost on a thread that CreateThread
 * didn't make.
 */
__attribute__((noreturn)) inline void ExitThread(DWORD exitCode) {
    verrick::win32::Thread::SetOwnExitCode(exitCode);
    pthread_exit(nullptr);
}

/** As ExitThread. */
__attribute__((noreturn)) inline void _endthreadex(unsigned int exitCode) {
    ExitThread(exitCode);
}

#endif /* __cplusplus */

#endif
