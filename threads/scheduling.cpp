#include "threads/scheduling.h"

#include <pthread.h>
#include <sys/prctl.h>

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

void SleepWithoutSlack() {
    constexpr unsigned long slackNs = 1; // 0 means the default
    prctl(PR_SET_TIMERSLACK, slackNs);
}

} // namespace verrick
