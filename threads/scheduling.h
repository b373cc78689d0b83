// Real-time priorities of the calling thread.
#pragma once

namespace verrick {

// The range of SCHED_RR. Other values mean: leave the scheduling alone.
bool IsRealTimePriority(int priority);

// Puts the calling thread under SCHED_RR. A process without the right to it, and a priority out of
// range, leave the thread as it is.
void ApplyRealTimePriority(int priority);

} // namespace verrick
