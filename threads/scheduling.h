// Scheduling of the calling thread.
#pragma once

namespace verrick {

// Whether the priority is one of SCHED_RR, from 1 to 99. Any other means: leave the scheduling
// alone.
bool IsRealTimePriority(int priority);

// Puts the calling thread under SCHED_RR. Changes nothing if the priority isn't one of SCHED_RR, or
// the process has no right to it.
void ApplyRealTimePriority(int priority);

// Makes the calling thread's sleeps end at their time. Without real-time scheduling the system
// makes each sleep up to 50 us longer, so that it can wake several threads at once.
void SleepWithoutSlack();

} // namespace verrick
