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
 * buffer, which holds five bytes at least. Safe from any thread.
 */
VERRICK_API void GetDLLVersion(char* version);

/**
 * @name The Interlocked calls
 * They change the 32-bit word at target in one atomic step, wrapping, and never
 * block. The word is aligned to four bytes and changed by these calls only. Any thread may call
 * them. There is no memory barrier in them, so they publish no other data.
 *
 * Increment, Decrement and ExchangeAdd give the word as read right behind the step, which is the
 * new value, with the changes of other threads in it where they came in between.
 * @{
 */

/** Adds 1, and gives the new value. */
VERRICK_API_SHORT int InterlockedIncrement(int volatile* target);
/** Subtracts 1, and gives the new value. */
VERRICK_API_SHORT int InterlockedDecrement(int volatile* target);

/** Adds amount. Unlike its Win32 namesake it gives the new value, not the old one. */
VERRICK_API_SHORT int InterlockedExchangeAdd(int volatile* target, int amount);

/** Stores value and gives the old one. */
VERRICK_API_SHORT int InterlockedExchange(int volatile* target, int value);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
