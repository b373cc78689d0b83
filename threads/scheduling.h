// Real-time priorities of the calling thread.
#pragma once

namespace verrick {

// The range of SCHED_RR. Other values mean: leave the scheduling alone.
bool IsRealTimePriority(int priority);

// Puts the calling thread under SCHED_RR. A priority out of range, and a process without the right
// to this one, leave the thread as it is.
void ApplyRealTimePriority(int priority);

} // namespace verrick
