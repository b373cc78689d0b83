/*
 * The interlocked calls of verrick/win32.h, with the exact results and the full order that
 * reference counters and hand-made locks count on.
 *
 * The library's own calls of these names have no memory order, and their result is a second read of
 * the word: two threads that count down may both see 0. So the names are mapped onto these.
 */
#ifndef VERRICK_DETAIL_WIN32_INTERLOCKED_H
#define VERRICK_DETAIL_WIN32_INTERLOCKED_H

#include <verrick/detail/win32_types.h>
#include <verrick/flat/frame.h>

/* All of these are one atomic step with a full barrier, and are safe from any thread. Each header
 * comment of Win32 holds: Increment and Decrement return the new value, the others the old one. */
#ifdef __cplusplus
#define VERRICK_INTERLOCKED_CALL                                                                   \
    template<typename Word>                                                                        \
    inline Word
#define VERRICK_INTERLOCKED_WORD Word
/* Keeps the type of the word from being deduced from a value. */
#define VERRICK_INTERLOCKED_VALUE typename VerrickSameType<Word>::type
template<typename Type>
struct VerrickSameType {
    typedef Type type;
};
#else
#define VERRICK_INTERLOCKED_CALL static inline LONG
#define VERRICK_INTERLOCKED_WORD LONG
#define VERRICK_INTERLOCKED_VALUE LONG
#endif

VERRICK_INTERLOCKED_CALL VerrickExactIncrement(VERRICK_INTERLOCKED_WORD volatile* target) {
    return __atomic_add_fetch(target, 1, __ATOMIC_SEQ_CST);
}

VERRICK_INTERLOCKED_CALL VerrickExactDecrement(VERRICK_INTERLOCKED_WORD volatile* target) {
    return __atomic_sub_fetch(target, 1, __ATOMIC_SEQ_CST);
}

VERRICK_INTERLOCKED_CALL VerrickExactExchange(VERRICK_INTERLOCKED_WORD volatile* target,
                                              VERRICK_INTERLOCKED_VALUE value) {
    return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}

VERRICK_INTERLOCKED_CALL VerrickExactExchangeAdd(VERRICK_INTERLOCKED_WORD volatile* target,
                                                 VERRICK_INTERLOCKED_VALUE amount) {
    return __atomic_fetch_add(target, amount, __ATOMIC_SEQ_CST);
}

VERRICK_INTERLOCKED_CALL VerrickExactCompareExchange(VERRICK_INTERLOCKED_WORD volatile* target,
                                                     VERRICK_INTERLOCKED_VALUE value,
                                                     VERRICK_INTERLOCKED_VALUE comparand) {
    VERRICK_INTERLOCKED_WORD found = comparand;
    __atomic_compare_exchange_n(target, &found, value, 0, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return found;
}

#undef VERRICK_INTERLOCKED_CALL
#undef VERRICK_INTERLOCKED_WORD
#undef VERRICK_INTERLOCKED_VALUE

#define InterlockedIncrement VerrickExactIncrement
#define InterlockedDecrement VerrickExactDecrement
#define InterlockedExchange VerrickExactExchange
#define InterlockedExchangeAdd VerrickExactExchangeAdd
#define InterlockedCompareExchange VerrickExactCompareExchange

#endif
