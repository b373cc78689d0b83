/**
 * @file
 * What every family of the object layer has in common.
 *
 * A service is a family of three classes. I<X> is a pure interface. D<X> is a facade, which an
 * application creates or derives from. D<X>Impl does the work on POSIX; an application never
 * creates one. The facade owns its implementation, and its destructor deletes that, also through an
 * I<X>*. Facades can't be copied.
 *
 * Time-outs of the object layer are a signed number of milliseconds. -1 waits for ever. 0 tries
 * once and doesn't block. A positive value waits at most that long. Deadlines are on the wall
 * clock: when the system's time is set, waits that are under way get shorter or longer.
 */
#ifndef VERRICK_FRAME_H
#define VERRICK_FRAME_H

#include <verrick/detail/api.h>
#include <verrick/flat/frame.h>

/** The result of every wait of the object layer. */
enum wait_result_t {
    WAIT_RESULT_OK = 0, /**< the event was signalled, a count was taken, or the thread has ended */
    WAIT_RESULT_TIMEOUT = 1, /**< the time ran out first */
    WAIT_RESULT_FAILED = 2 /**< any other outcome, for example an object that is being destroyed */
};

#endif
