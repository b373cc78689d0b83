/**
 * @file
 * Time: the flat GetTickCount and Sleep, and the callouts through which the timer service gets its
 * tick. There is no kernel timer behind the callouts: a periodic timer is a remembered period, and
 * its expiry is a sleep of that period. All calls are safe from any thread.
 */
#ifndef VERRICK_TIME_PRIMITIVES_H
#define VERRICK_TIME_PRIMITIVES_H

#include <verrick/detail/api.h>
#include <verrick/flat/threads.h>

/**
 * Makes a periodic timer, stores its handle in *timer, and gives its period in milliseconds: the
 * smallest multiple of 10 above the resolution of CLOCK_REALTIME. The caller owns the handle until
 * DTimeManagerImplCallouts__DestroyPeriodicTimer. Throws std::bad_alloc.
 */
VERRICK_API int DTimeManagerImplCallouts__CreatePeriodicTimer(void** timer);

/** Frees the handle in *timer and stores null there; does nothing for a null handle. */
VERRICK_API void DTimeManagerImplCallouts__DestroyPeriodicTimer(void** timer);

/** Sleeps ms milliseconds, taken as unsigned; timer is ignored. */
VERRICK_API void DTimeManagerImplCallouts__Sleep(void* timer, int ms);

/**
 * Sleeps one period of the timer, counted from this call, and gives true; gives false at once for a
 * null handle.
 */
VERRICK_API bool DTimeManagerImplCallouts__WaitForTimerExpiration(void* timer);

#endif
