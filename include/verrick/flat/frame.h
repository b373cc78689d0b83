/**
 * @file
 * The flat calls of the object frame: the library's version, and counting in a word that several
 * threads share.
 */
#ifndef VERRICK_FLAT_FRAME_H
#define VERRICK_FLAT_FRAME_H

#include <verrick/detail/api.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Copies the library's version, the five bytes of "2.00" with the terminator, to the caller's
 * buffer. The buffer isn't null and holds at least five bytes. Never fails and never blocks. Any
 * thread may call it.
 */
VERRICK_API void GetDLLVersion(char* version);

/**
 * @name The Interlocked calls
 * Each changes the 32-bit word at target in one atomic step. The value wraps. They never block and
 * never fail. Any thread may call them, and a signal handler, too.
 *
 * The target isn't null, is aligned to four bytes, and is changed by these calls only. There is no
 * memory barrier in them, so they publish no other data.
 *
 * Increment, Decrement and ExchangeAdd return a value that the word had after the step. Changes of
 * other threads may be in it.
 * @{
 */

/** Adds 1. Returns the new value. */
VERRICK_API_SHORT int InterlockedIncrement(int volatile* target);
/** Subtracts 1. Returns the new value. */
VERRICK_API_SHORT int InterlockedDecrement(int volatile* target);

/** Adds amount. Returns the new value; its Win32 namesake returns the old one. */
VERRICK_API_SHORT int InterlockedExchangeAdd(int volatile* target, int amount);

/** Stores value. Returns the old value. */
VERRICK_API_SHORT int InterlockedExchange(int volatile* target, int value);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
