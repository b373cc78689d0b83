/*
 * Critical sections that nest, for verrick/win32.h.
 */
#ifndef VERRICK_DETAIL_WIN32_SECTIONS_H
#define VERRICK_DETAIL_WIN32_SECTIONS_H

#include <verrick/detail/win32_types.h>

/**
 * A critical section that its holder may enter again. It is free after as many leaves as enters.
 * The record is the caller's and doesn't move while it is in use. A thread leaves it before it
 * ends.
 */
typedef struct VERRICK_LOCK RECURSIVE_SECTION {
    CRITICAL_SECTION section; /**< belongs to the calls, like the next two */
    unsigned long owner;      /**< the thread inside; 0 while there is none */
    unsigned long depth;      /**< how often it entered; its own alone */
} RECURSIVE_SECTION;
typedef RECURSIVE_SECTION* LPRECURSIVE_SECTION;

/* The owner is read by threads that aren't inside. A thread finds itself there only if it wrote
 * itself, so relaxed is enough. */
VERRICK_WIN32_CALL int VerrickOwnsSection(RECURSIVE_SECTION* section) {
    return __atomic_load_n(&section->owner, __ATOMIC_RELAXED) == (unsigned long)pthread_self();
}

VERRICK_WIN32_CALL void VerrickBeginOwning(RECURSIVE_SECTION* section) {
    __atomic_store_n(&section->owner, (unsigned long)pthread_self(), __ATOMIC_RELAXED);
    section->depth = 1;
}

/** Makes a free section. Does nothing with null, like every call here. */
VERRICK_WIN32_CALL void InitializeRecursiveSection(RECURSIVE_SECTION* section) {
    if (section != NULL) {
        section->owner = 0;
        section->depth = 0;
        InitializeCriticalSection(&section->section);
    }
}

/** Ends the section. Nobody is inside or on the way in. */
VERRICK_WIN32_CALL void DeleteRecursiveSection(RECURSIVE_SECTION* section) {
    if (section != NULL) {
        DeleteCriticalSection(&section->section);
    }
}

/** Waits for ever until the section is free, and takes it. The holder enters at once. */
VERRICK_WIN32_CALL void EnterRecursiveSection(RECURSIVE_SECTION* section) {
    if (section == NULL) {
        return;
    }
    if (VerrickOwnsSection(section)) {
        ++section->depth;
        return;
    }
    EnterCriticalSection(&section->section);
    VerrickBeginOwning(section);
}

/** Takes the section if it is free or the caller's. Returns 1, or 0 if another thread has it. */
VERRICK_WIN32_CALL int TryEnterRecursiveSection(RECURSIVE_SECTION* section) {
    if (section == NULL) {
        return 0;
    }
    if (VerrickOwnsSection(section)) {
        ++section->depth;
        return 1;
    }
    if (TryEnterCriticalSection(&section->section) == 0) {
        return 0;
    }
    VerrickBeginOwning(section);
    return 1;
}

/** Takes one entry back. The last one frees the section. A thread that isn't inside changes nothing
 * and gets the printed line of LeaveCriticalSection. */
VERRICK_WIN32_CALL void LeaveRecursiveSection(RECURSIVE_SECTION* section) {
    if (section == NULL) {
        return;
    }
    if (VerrickOwnsSection(section)) {
        if (--section->depth != 0) {
            return;
        }
        __atomic_store_n(&section->owner, 0UL, __ATOMIC_RELAXED);
    }
    LeaveCriticalSection(&section->section);
}

#ifdef __cplusplus
/** A RECURSIVE_SECTION as a class. Any thread may call its operations. */
class RecursiveSection {
public:
    /** Makes a free section. */
    RecursiveSection() { InitializeRecursiveSection(&m_section); }
    /** Ends the section. Nobody is inside or on the way in. */
    ~RecursiveSection() { DeleteRecursiveSection(&m_section); }
    /** Waits for ever until the section is free, and takes it. The holder enters at once. */
    void Enter() { EnterRecursiveSection(&m_section); }
    /** Takes the section if it is free or the caller's. Returns false if another thread has it. */
    bool TryEnter() { return TryEnterRecursiveSection(&m_section) != 0; }
    /** Takes one entry back. The last one frees the section. */
    void Leave() { LeaveRecursiveSection(&m_section); }
    RecursiveSection(RecursiveSection const&) = delete;
    RecursiveSection& operator=(RecursiveSection const&) = delete;

private:
    RECURSIVE_SECTION m_section;
};

/* What verrick::LockGuard calls for this record. */
inline void VerrickEnterSection(RECURSIVE_SECTION& section) {
    EnterRecursiveSection(&section);
}
inline void VerrickLeaveSection(RECURSIVE_SECTION& section) {
    LeaveRecursiveSection(&section);
}
#endif

#ifdef VERRICK_RECURSIVE_SECTIONS
#define CRITICAL_SECTION RECURSIVE_SECTION
#define LPCRITICAL_SECTION LPRECURSIVE_SECTION
#define PCRITICAL_SECTION LPRECURSIVE_SECTION
#define InitializeCriticalSection InitializeRecursiveSection
#define DeleteCriticalSection DeleteRecursiveSection
#define EnterCriticalSection EnterRecursiveSection
#define LeaveCriticalSection LeaveRecursiveSection
#define TryEnterCriticalSection TryEnterRecursiveSection
#endif

/** As InitializeCriticalSection. The spin count is ignored. Returns 1. */
VERRICK_WIN32_CALL int InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section,
                                                             DWORD spinCount) {
    (void)spinCount;
    InitializeCriticalSection(section);
    return 1;
}

#endif
