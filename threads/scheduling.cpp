#include "threads/scheduling.h"

#include <pthread.h>

namespace verrick {

bool IsRealTimePriority(int priority) {
    return priority >= 1 && priority <= 99;
}

void ApplyRealTimePriority(int priority) {
    if (!IsRealTimePriority(priority)) {
        return; // the system would only refuse it
    }
    sched_param parameters{};
    parameters.sched_priority = priority;
    pthread_setschedparam(pthread_self(), SCHED_RR, &parameters);
}

} // namespace verrick
