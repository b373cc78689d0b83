/*
 * How verrick::LockGuard enters and leaves a section of each kind. Nothing here is for
 * applications.
 */
#ifndef VERRICK_DETAIL_SECTION_CALLS_H
#define VERRICK_DETAIL_SECTION_CALLS_H

#include <verrick/detail/thread_annotations.h>
#include <verrick/flat/handles.h>

#ifdef __cplusplus

/* A kind that is a class brings Enter and Leave. The guard's own marks say what Clang can't follow
 * here. */
template<typename Section>
inline void VerrickEnterSection(Section& section) VERRICK_UNCHECKED_LOCKING {
    section.Enter();
}
template<typename Section>
inline void VerrickLeaveSection(Section& section) VERRICK_UNCHECKED_LOCKING {
    section.Leave();
}
inline void VerrickEnterSection(CRITICAL_SECTION& section) {
    EnterCriticalSection(&section);
}
inline void VerrickLeaveSection(CRITICAL_SECTION& section) {
    LeaveCriticalSection(&section);
}

#endif /* __cplusplus */

#endif
