/**
 * @file
 * The flat calls of threads and time: tick count, sleep and free-running tasks.
 */
#ifndef VERRICK_FLAT_THREADS_H
#define VERRICK_FLAT_THREADS_H

#include <verrick/detail/api.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Milliseconds of the monotonic clock, from a starting point of the platform's own. Wraps to 0
 * every 2^32 ms, about 49.7 days; a step of the system time doesn't show. Safe from any thread.
 */
VERRICK_API unsigned int GetTickCount(void);

/**
 * Sleeps ms milliseconds through one select without descriptors, and gives 0 always. A signal that
 * interrupts it ends it early, unreported. No value means for ever. Safe from any thread.
 */
VERRICK_API int Sleep(unsigned int ms);

/**
 * Starts entry(argument) on a new detached thread, which begins at once; there is no handle and no
 * way to wait for its end. Stands for pthread_create with PTHREAD_CREATE_DETACHED.
 *
 * @param entry the task.
 * @param argument handed to entry.
 * @param priority real-time priority under SCHED_RR, 1 to 99; any other value sets none. A refusal
 * by the system leaves the thread with its inherited scheduling.
 * @param reserved1 ignored.
 * @param reserved2 ignored.
 * @param stackSize bytes; 0, a negative value or one that the system refuses gives the default.
 *
 * Gives 1 if the thread was created, else 0. Safe from any thread.
 */
VERRICK_API int ThreadSpawn(void (*entry)(void*), void* argument, int priority, long reserved1,
                            long reserved2, int stackSize);

#ifdef __cplusplus
}
#endif

#endif
