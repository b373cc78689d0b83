/**
 * @file
 * The flat calls of handles: events and semaphores behind handles, waits on them, and critical
 * sections in records of the caller's.
 *
 * A handle is valid inside the process, from its creation to CloseHandle. It is closed once, and
 * nothing uses it afterwards. A null handle is refused without a message. So is one of the wrong
 * kind, where a call takes one kind. A value that never was a handle is not detected.
 *
 * Any thread may call any of these calls.
 *
 * Memory order: what a thread did before SetEvent or ReleaseSemaphore is seen by the thread whose
 * WaitForSingleObject it lets through.
 */
#ifndef VERRICK_FLAT_HANDLES_H
#define VERRICK_FLAT_HANDLES_H

#include <verrick/detail/api.h>
#include <verrick/detail/thread_annotations.h>

#include <pthread.h>
#include <wchar.h>

/** An event or a semaphore. Opaque: it is an address inside the library. */
typedef void* HANDLE;

/*
 * Results of WaitForSingleObject, and the time-out that never runs out.
 */
#ifdef __cplusplus
/** A wait's result: the event was signalled, or a count was taken. */
constexpr unsigned long WAIT_OBJECT_0 = 0;
/** A wait's result: the time ran out first. */
constexpr unsigned long WAIT_TIMEOUT = 258;
/** A wait's result: any other outcome. */
constexpr unsigned long WAIT_FAILED = 0xFFFFFFFFUL;
#ifndef INFINITE /* the headers of other libraries define the same value as a macro */
/**
 * The time-out that never runs out. Only the low 32 bits of a time-out count, so that a converted
 * -1 means for ever where a long has 64 bits, too.
 */
constexpr unsigned long INFINITE = 0xFFFFFFFFUL;
#endif
#else
enum { WAIT_OBJECT_0 = 0, WAIT_TIMEOUT = 258 };
#define WAIT_FAILED 0xFFFFFFFFUL /* beyond what an enumerator holds */
#ifndef INFINITE
#define INFINITE 0xFFFFFFFFUL
#endif
#endif

/**
 * A critical section: an error-checking mutex, so it doesn't nest. The record is the caller's and
 * must stay where it was initialised.
 */
typedef struct VERRICK_LOCK CRITICAL_SECTION {
    pthread_mutex_t mutex;    /**< belongs to the calls, like the next */
    pthread_mutexattr_t attr; /**< lives as long as the mutex */
} CRITICAL_SECTION;

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Makes an event. Stands for a mutex with a condition variable, whose failure is not reported.
 *
 * @param attributes ignored.
 * @param manualReset 0 for an auto-reset event, which lets one wait through for each signal and
 * doesn't count signals. Else a manual-reset event, which lets every wait through from SetEvent
 * until ResetEvent.
 * @param initialState not 0 for a signalled event.
 * @param name ignored: a name shares nothing.
 * @return the handle, which the caller closes. Throws std::bad_alloc into C++.
 */
VERRICK_API HANDLE CreateEvent(void* attributes, int manualReset, int initialState,
                               wchar_t const* name);

/**
 * Signals an event. Wakes one waiting thread of an auto-reset event, all of a manual-reset one. If
 * none waits, or the event is a manual-reset one, the event is signalled afterwards. Doesn't block.
 *
 * Of an auto-reset event, the thread that waits longest has the signal, also if its time runs out
 * at that moment. A signal can be lost if it comes before the thread that the last one woke has
 * left its wait.
 *
 * So keep what there is to see under a lock of your own, or use a semaphore or a manual-reset
 * event.
 *
 * @return 1; 0 for a handle of no event, and for an event that is being closed.
 */
VERRICK_API int SetEvent(HANDLE event);

/**
 * Wakes one waiting thread at most, of a manual-reset event too, and leaves the event unsignalled.
 * Doesn't block. Returns 1, or 0 for a handle of no event.
 */
VERRICK_API int PulseEvent(HANDLE event);

/**
 * Makes an event unsignalled. Threads that were woken before go on all the same. Doesn't block.
 * Returns 1, or 0 for a handle of no event.
 */
VERRICK_API int ResetEvent(HANDLE event);

/**
 * Makes a counting semaphore. Stands for sem_init, whose failure is not reported.
 *
 * @param attributes null.
 * @param initialCount the count to begin with. It may be above maxCount: then releases are refused
 * until it has fallen. A negative one begins as 0 for those who wait.
 * @param maxCount what no release passes.
 * @param name null.
 * @return the handle, which the caller closes. Null, and nothing is made, if attributes or name
 * isn't null or initialCount doesn't fit an int. Throws std::bad_alloc into C++.
 */
VERRICK_API HANDLE CreateSemaphore(void* attributes, long initialCount, long maxCount,
                                   wchar_t const* name);

/**
 * Raises the count of a semaphore, all or nothing, and wakes as many waiting threads. Stands for
 * sem_post. Takes no lock and doesn't block. Async-signal-safe.
 *
 * Touches nothing after its last post. So a thread that took the last count of it may close the
 * handle.
 *
 * @param semaphore its handle.
 * @param count how many counts.
 * @param previousCount null, or gets the count before the call. A refused call writes it, too.
 * @return 1 when the counts were released. 0, with *previousCount unwritten, for a handle of no
 * semaphore or a count below 1. 0 when the count would pass the maximum, or what the system's
 * semaphore holds (INT_MAX). The maximum holds exactly for one releasing thread at a time.
 */
VERRICK_API int ReleaseSemaphore(HANDLE semaphore, long count, long* previousCount);

/**
 * Waits until an event is signalled, or takes one count of a semaphore. An auto-reset event is
 * unsignalled afterwards.
 *
 * @param handle of an event or a semaphore.
 * @param timeoutMs milliseconds. 0 only looks: it neither blocks nor counts as waiting. INFINITE
 * waits for ever. Only the low 32 bits count.
 * @return WAIT_OBJECT_0 for success. Also when the event was closed while the call blocked, and, as
 * with any condition variable, after a rare wake-up without a signal. WAIT_TIMEOUT when the time
 * ran out. WAIT_FAILED for a null handle, an event that is being closed, a semaphore wait that a
 * signal handler interrupted, and a wait that the system refuses.
 *
 * A cancellation point, unless the handle is a signalled event's. A cancelled thread takes no
 * count, and puts back the signal of an event that no other thread will have.
 */
VERRICK_API unsigned long WaitForSingleObject(HANDLE handle, unsigned long timeoutMs);

/**
 * Ends a handle and frees its object. Wakes every thread that is blocked on an event, and returns
 * when they have left. Not a cancellation point.
 *
 * No other thread may be inside a call on the handle or about to enter one. There are two
 * exceptions. Threads may be blocked on an event, but not on a semaphore. And the SetEvent or
 * ReleaseSemaphore that let the calling thread through may still be returning.
 *
 * @return 1; 0 for a null handle. 0 for an event that another thread is closing: that one frees it.
 */
VERRICK_API int CloseHandle(HANDLE handle);

/**
 * @name The critical sections
 * Any thread may call these five. They do nothing for a null section. The record is the caller's.
 * @{
 */

/**
 * Makes a free section. Stands for pthread_mutex_init, whose failure is not reported. The section
 * is usable until DeleteCriticalSection, and must not be moved.
 */
VERRICK_API void InitializeCriticalSection(CRITICAL_SECTION* section);

/** Ends a section. No thread is inside it or waits for it. Stands for pthread_mutex_destroy. */
VERRICK_API void DeleteCriticalSection(CRITICAL_SECTION* section);

/**
 * Waits for ever until the section is free, and takes it. Stands for pthread_mutex_lock. If the
 * caller has the section, returns at once and doesn't count: the first LeaveCriticalSection frees
 * it.
 */
VERRICK_API_SHORT void EnterCriticalSection(CRITICAL_SECTION* section);

/**
 * Frees the section. Stands for pthread_mutex_unlock. If the caller doesn't have the section, only
 * prints the line "pthread_mutex_unlock failed.." on standard output.
 */
VERRICK_API_SHORT void LeaveCriticalSection(CRITICAL_SECTION* section);

/**
 * Takes the section if it is free, without waiting. Stands for pthread_mutex_trylock. Returns 1 if
 * the caller has it now. Returns 0 if any thread has it already, the caller included, and for null.
 */
VERRICK_API_SHORT int TryEnterCriticalSection(CRITICAL_SECTION* section);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
