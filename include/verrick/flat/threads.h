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
 * Returns the milliseconds of the monotonic clock, as clock_gettime reads it. The starting point is
 * the platform's own. The count goes from 2^32 - 1 to 0 after about 49.7 days. It doesn't jump when
 * the system time is set. Safe from any thread. Doesn't block.
 */
VERRICK_API unsigned int GetTickCount(void);

/**
 * Blocks the calling thread, through one select without descriptors. A signal that the thread
 * handles ends the sleep early, and nothing reports it. It is a cancellation point. Safe from any
 * thread.
 *
 * @param ms milliseconds. 0 returns at once. No value means for ever.
 * @return 0, always.
 */
VERRICK_API int Sleep(unsigned int ms);

/**
 * Starts entry(argument) on a new detached thread, which begins at once. There is no handle and no
 * way to wait for its end. Stands for pthread_create with PTHREAD_CREATE_DETACHED. Safe from any
 * thread. Doesn't block, and throws nothing.
 *
 * @param entry the task. It may end its thread by pthread_exit.
 * @param argument handed to entry, and not looked at. It must live as long as the task uses it.
 * @param priority real-time priority under SCHED_RR, 1 to 99. Any other value sets none. If the
 * system refuses it, the thread has the scheduling that it inherits.
 * @param reserved1 ignored.
 * @param reserved2 ignored.
 * @param stackSize bytes. For 0, a negative value and a size that the system refuses, the thread
 * has the system's default.
 * @return 1 if the thread was created. 0 if the system refuses, if memory is short, and for a null
 * entry.
 */
VERRICK_API int ThreadSpawn(void (*entry)(void*), void* argument, int priority, long reserved1,
                            long reserved2, int stackSize);

#ifdef __cplusplus
}
#endif

#endif
