// The bodies of EnterCriticalSection and LeaveCriticalSection, for those calls and for the
// library's own records.
#pragma once

#include <verrick/flat/handles.h>

#include <cstdio>

namespace verrick {

inline void EnterSection(CRITICAL_SECTION& section) {
    pthread_mutex_lock(&section.mutex);
}

inline void LeaveSection(CRITICAL_SECTION& section) {
    if (pthread_mutex_unlock(&section.mutex) != 0) {
        std::puts("pthread_mutex_unlock failed..");
    }
}

} // namespace verrick
