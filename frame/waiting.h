// What the waits of both layers share.
#pragma once

#include "frame/relaxed.h"

namespace verrick {

// The object layer's time-out that never ends, in milliseconds.
constexpr int kForever = -1;

// How long an event's wait sleeps after an interruption before it waits again.
constexpr unsigned int kRetryMs = 10;

// How long the end of an event sleeps between two looks at the waiters that are still inside.
constexpr unsigned int kDrainMs = 5;

// How often the end of an event yields to a thread that has just woken it, before it sleeps.
constexpr int kDrainYields = 20;

// How long the library waits for an application's callback that is under way. The callback may wait
// for the very thread that waits for it, so the wait has a bound.
constexpr int kStuckCallMs = 1000;

} // namespace verrick
