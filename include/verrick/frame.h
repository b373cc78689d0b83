/**
 * @file
 * What every family of the object layer has in common.
 *
 * A service is a family of three classes: a pure interface I<X>, a facade D<X> that an application
 * creates or derives from, and an implementation D<X>Impl that does the work on POSIX. The facade
 * owns its implementation: destroying the facade, also through an I<X>*, destroys both. Facades
 * can't be copied. An application never creates a D<X>Impl.
 *
 * Time-outs of the object layer are a signed number of milliseconds: -1 waits for ever, 0 tries
 * once, a positive value waits at most that long. Deadlines are on the wall clock, so a step of the
 * system time moves every wait under way.
 */
#ifndef VERRICK_FRAME_H
#define VERRICK_FRAME_H

#include <verrick/detail/api.h>
#include <verrick/flat/frame.h>

/** The result of every wait of the object layer. */
enum wait_result_t {
    WAIT_RESULT_OK = 0,      /**< the object was had */
    WAIT_RESULT_TIMEOUT = 1, /**< the time ran out first */
    WAIT_RESULT_FAILED = 2   /**< anything else, an object under destruction among it */
};

#endif
