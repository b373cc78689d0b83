/**
 * @file
 * A lock guard for critical sections of every kind. Opt in, and nothing here is exported.
 */
#ifndef VERRICK_CPP_LOCK_GUARD_H
#define VERRICK_CPP_LOCK_GUARD_H

#include <verrick/critical_section.h>
#include <verrick/detail/section_calls.h>
#include <verrick/detail/thread_annotations.h>
#include <verrick/flat/handles.h>

namespace verrick {

/**
 * Holds a section for a scope and leaves it on every way out, an exception included. Use it as
 * std::lock_guard. The section is a DCriticalSection, a CRITICAL_SECTION, or a RecursiveSection or
 * RECURSIVE_SECTION of win32.h. It must outlive the guard.
 *
 * Clang's -Wthread-safety sees that the section is held. A section that doesn't nest stays so: one
 * thread has one guard on it at a time.
 */
template<typename Section>
class VERRICK_SCOPED_LOCK LockGuard {
public:
    /** Waits for ever until the section is free, and takes it. */
    explicit LockGuard(Section& section) VERRICK_ACQUIRE(section) VERRICK_UNCHECKED_LOCKING
        : m_section(section) {
        VerrickEnterSection(m_section);
    }

    ~LockGuard() VERRICK_RELEASE() VERRICK_UNCHECKED_LOCKING { VerrickLeaveSection(m_section); }

    LockGuard(LockGuard const&) = delete;
    LockGuard& operator=(LockGuard const&) = delete;

private:
    Section& m_section;
};

} // namespace verrick

#endif
