/*
 * ReleaseSemaphore of verrick/win32.h, for a previous count of the type LONG as well as long.
 */
#ifndef VERRICK_DETAIL_WIN32_SEMAPHORES_H
#define VERRICK_DETAIL_WIN32_SEMAPHORES_H

#include <verrick/detail/win32_types.h>

#include <limits.h>

/* Inlined, the function below would make GCC warn of programs that pass a word without a value. */
#ifdef __cplusplus
#define VERRICK_CALL_NOT_INLINED __attribute__((noinline)) inline
#else
#define VERRICK_CALL_NOT_INLINED __attribute__((noinline, unused)) static
#endif

/* As the library's ReleaseSemaphore. It stores a count exactly when that call stores one. It
 * doesn't read *previousCount. */
VERRICK_CALL_NOT_INLINED int VerrickReleaseSemaphore(HANDLE semaphore, long count,
                                                     LONG* previousCount) {
    long previous = LONG_MIN; /* no semaphore has this count */
    int const released = ReleaseSemaphore(semaphore, count, &previous);
    if (previousCount != NULL && previous != LONG_MIN) {
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
#else
#define ReleaseSemaphore(semaphore, count, previousCount)                                          \
    __builtin_choose_expr(__builtin_types_compatible_p(__typeof__(previousCount), LONG*),          \
                          VerrickReleaseSemaphore,                                                 \
                          (ReleaseSemaphore))((semaphore), (count), (previousCount))
#endif

#endif
