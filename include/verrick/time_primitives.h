/**
 * @file
 * Time: the flat calls GetTickCount and Sleep, and the callouts of the timer service.
 *
 * The timer service gets its tick through the callouts. There is no kernel timer behind them. A
 * periodic timer is a remembered period, and its expiry is a sleep of that period.
 *
 * All calls may be made from any thread, but not for one handle while it is destroyed.
 */
#ifndef VERRICK_TIME_PRIMITIVES_H
#define VERRICK_TIME_PRIMITIVES_H

#include <verrick/detail/api.h>
#include <verrick/flat/threads.h>

/**
 * Makes a periodic timer and stores its handle in *timer, which must not be null. The caller owns
 * the handle and frees it with DTimeManagerImplCallouts__DestroyPeriodicTimer.
 *
 * @return the period in milliseconds: the smallest multiple of 10 above the resolution of
 * CLOCK_REALTIME, as clock_getres tells it.
 * @throws std::bad_alloc and leaves *timer alone.
 */
VERRICK_API int DTimeManagerImplCallouts__CreatePeriodicTimer(void** timer);

/** Frees the handle in *timer and stores null there. Does nothing for a null handle. */
VERRICK_API void DTimeManagerImplCallouts__DestroyPeriodicTimer(void** timer);

/** Blocks the caller for ms milliseconds, taken as unsigned, as Sleep does. Ignores timer. */
VERRICK_API void DTimeManagerImplCallouts__Sleep(void* timer, int ms);

/**
 * Blocks the caller for one period of the timer, counted from this call, as Sleep does.
 *
 * @return true. For a null handle false, at once.
 */
VERRICK_API bool DTimeManagerImplCallouts__WaitForTimerExpiration(void* timer);

#endif
