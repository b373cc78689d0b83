/**
 * @file
 * The flat calls of handles: events and semaphores behind handles, waits on them, and critical
 * sections in records of the caller's.
 *
 * A handle is valid inside the process, from its creation to CloseHandle, which closes it once.
 * Nothing else ends it, and nothing may use it afterwards. A null handle, and one of the wrong kind
 * where the call says which kind it takes, is refused without a message; a value that never was a
 * handle is not detected.
 *
 * Any thread may call any of these calls.
 */
#ifndef VERRICK_FLAT_HANDLES_H
#define VERRICK_FLAT_HANDLES_H

#include <verrick/detail/api.h>
#include <verrick/detail/thread_annotations.h>

#include <pthread.h>
#include <wchar.h>

/** An event or a semaphore. */
typedef void* HANDLE;

/*
 * Results of WaitForSingleObject, and the time-out that never runs out.
 */
#ifdef __cplusplus
/** A wait's result: the object was had. */
constexpr unsigned long WAIT_OBJECT_0 = 0;
/** A wait's result: the time ran out first. */
constexpr unsigned long WAIT_TIMEOUT = 258;
/** A wait's result: anything else. */
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
 * Makes an event and gives its handle. attributes and name are ignored: a name shares nothing.
 * @param attributes ignored.
 * @param manualReset not 0 for an event that lets everybody through from SetEvent until ResetEvent;
 * 0 for one that lets one waiter through for each signal and doesn't count signals.
 * @param initialState not 0 for a signalled event.
 * @param name ignored.
 *
 * A failure of the POSIX calls is not reported. Throws std::bad_alloc into C++.
 */
VERRICK_API HANDLE CreateEvent(void* attributes, int manualReset, int initialState,
                               wchar_t const* name);

/** Signals an event. Gives 1, or 0 for a bad handle or an event that is being closed. */
VERRICK_API int SetEvent(HANDLE event);

/**
 * Wakes one waiter at most, of a manual-reset event too, and leaves the event unsignalled. Gives 1,
 * or 0 for a bad handle.
 */
VERRICK_API int PulseEvent(HANDLE event);

/** Makes an event unsignalled. Gives 1, or 0 for a bad handle. */
VERRICK_API int ResetEvent(HANDLE event);

/**
 * Makes a counting semaphore and gives its handle; null, and nothing is made, if attributes or name
 * isn't null. Stands for sem_init, whose failure is not reported. An initialCount above maxCount is
 * accepted. Throws std::bad_alloc into C++.
 */
VERRICK_API HANDLE CreateSemaphore(void* attributes, long initialCount, long maxCount,
                                   wchar_t const* name);

/**
 * Raises the count of a semaphore by count, all or nothing. previousCount may be null; otherwise it
 * gets the count before the call, a refused call included.
 *
 * Gives 1; or 0 for a bad handle or a count under 1, with *previousCount unwritten; or 0 when the
 * maximum would be passed. The maximum holds exactly for one releasing thread at a time.
 */
VERRICK_API int ReleaseSemaphore(HANDLE semaphore, long count, long* previousCount);

/**
 * Waits for an event to be signalled or takes one count of a semaphore, within timeoutMs
 * milliseconds: 0 tries once, INFINITE waits for ever.
 *
 * Gives WAIT_OBJECT_0, also to a waiter that CloseHandle woke; WAIT_TIMEOUT when the time ran out;
 * else WAIT_FAILED: a null handle, an event that is being closed, or a semaphore wait that a signal
 * handler interrupted.
 */
VERRICK_API unsigned long WaitForSingleObject(HANDLE handle, unsigned long timeoutMs);

/**
 * Ends a handle and frees what it stands for. Wakes every thread that is blocked on an event and
 * returns when they have left; no thread may be blocked on a semaphore. All other use has ended
 * before. Gives 1, or 0 for a null handle.
 */
VERRICK_API int CloseHandle(HANDLE handle);

/**
 * @name The critical sections
 * These five calls do nothing for a null section.
 * @{
 */

/** Makes a free section. A failure is not reported. */
VERRICK_API void InitializeCriticalSection(CRITICAL_SECTION* section);

/** Ends a section, which no thread is inside. */
VERRICK_API void DeleteCriticalSection(CRITICAL_SECTION* section);

/**
 * Waits for ever until the section is free and takes it. Returns at once, and doesn't count, if the
 * caller has it: the first LeaveCriticalSection frees it.
 */
VERRICK_API_SHORT void EnterCriticalSection(CRITICAL_SECTION* section);

/**
 * Frees the section. Without effect if the caller doesn't have it, but for the line
 * "pthread_mutex_unlock failed.." on standard output.
 */
VERRICK_API_SHORT void LeaveCriticalSection(CRITICAL_SECTION* section);

/** Gives 1 and the section if it is free; 0 if anybody has it, the caller too, or it is null. */
VERRICK_API_SHORT int TryEnterCriticalSection(CRITICAL_SECTION* section);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
