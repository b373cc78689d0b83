/**
 * @file
 * Free-running tasks: a function and its argument on a new detached thread.
 *
 * There is no object and no handle. DThread of thread.h is the counterpart with both. They share no
 * code. The call ThreadSpawn itself stands in flat/threads.h, because C programs use it too.
 */
#ifndef VERRICK_TASKS_H
#define VERRICK_TASKS_H

#include <verrick/detail/api.h>
#include <verrick/flat/threads.h>

/**
 * The entry of the threads that ThreadSpawn starts. Not for applications.
 *
 * @param block the start values, which ThreadSpawn has allocated and this call frees.
 * @return null, when the task has returned.
 */
VERRICK_API void* ThreadMain(void* block);

#endif
