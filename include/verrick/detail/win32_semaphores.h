/*
 * ReleaseSemaphore of verrick/win32.h, for a previous count of the type LONG.
 */
#ifndef VERRICK_DETAIL_WIN32_SEMAPHORES_H
#define VERRICK_DETAIL_WIN32_SEMAPHORES_H

#include <verrick/detail/win32_types.h>

/* As the library's ReleaseSemaphore, which stores a long. *previousCount changes only where that
 * call stores. */
static inline int VerrickReleaseSemaphore(HANDLE semaphore, long count, LONG* previousCount) {
    long previous = previousCount != NULL ? *previousCount : 0;
    int const released =
        ReleaseSemaphore(semaphore, count, previousCount != NULL ? &previous : NULL);
    if (previousCount != NULL) {
        *previousCount = (LONG)previous;
    }
    return released;
}

#ifdef __cplusplus
/* A template for LONG alone: beside a second function, NULL would be ambiguous. */
template<typename Count>
struct VerrickIfLong;
template<>
struct VerrickIfLong<LONG> {
    typedef int type;
};
template<typename Count>
inline typename VerrickIfLong<Count>::type ReleaseSemaphore(HANDLE semaphore, long count,
                                                            Count* previousCount) {
    return VerrickReleaseSemaphore(semaphore, count, previousCount);
}
#elif __STDC_VERSION__ >= 201112L
#define ReleaseSemaphore(semaphore, count, previousCount)                                          \
    _Generic((previousCount), LONG *                                                               \
             : VerrickReleaseSemaphore, default                                                    \
             : (ReleaseSemaphore))((semaphore), (count), (previousCount))
#else
#define ReleaseSemaphore VerrickReleaseSemaphore
#endif

#endif
