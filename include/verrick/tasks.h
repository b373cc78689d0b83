/**
 * @file
 * Free-running tasks: a function and its argument on a new detached thread, without an object or a
 * handle. DThread (thread.h) is the counterpart with both; they share no code.
 */
#ifndef VERRICK_TASKS_H
#define VERRICK_TASKS_H

#include <verrick/detail/api.h>
#include <verrick/flat/threads.h>

/** The entry of the threads that ThreadSpawn starts; block is its own. Not for applications. */
VERRICK_API void* ThreadMain(void* block);

#endif
