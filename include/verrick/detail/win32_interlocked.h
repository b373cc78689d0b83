/*
 * The interlocked calls of verrick/win32.h. They have the exact results and the full order that
 * reference counters and hand-made locks count on.
 *
 * The library's own calls of these names have no memory order. Their result is a second read of the
 * word, so two threads that count down may both see 0. So the names are mapped onto these.
 *
 * Each call is one atomic step with a full barrier and is safe from any thread. Increment and
 * Decrement return the new value. The others return the old value. The word may be a LONG, a long
 * or any other integer that the processor changes in one step.
 */
#ifndef VERRICK_DETAIL_WIN32_INTERLOCKED_H
#define VERRICK_DETAIL_WIN32_INTERLOCKED_H

#include <verrick/detail/win32_types.h>
#include <verrick/flat/frame.h>

#ifdef __cplusplus

/* Keeps the type of the word from being deduced from a value. */
template<typename Type>
struct VerrickSameType {
    typedef Type type;
};

template<typename Word>
inline Word VerrickExactIncrement(Word volatile* target) {
    return __atomic_add_fetch(target, 1, __ATOMIC_SEQ_CST);
}

template<typename Word>
inline Word VerrickExactDecrement(Word volatile* target) {
    return __atomic_sub_fetch(target, 1, __ATOMIC_SEQ_CST);
}

template<typename Word>
inline Word VerrickExactExchange(Word volatile* target,
                                 typename VerrickSameType<Word>::type value) {
    return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST);
}

template<typename Word>
inline Word VerrickExactExchangeAdd(Word volatile* target,
                                    typename VerrickSameType<Word>::type amount) {
    return __atomic_fetch_add(target, amount, __ATOMIC_SEQ_CST);
}

template<typename Word>
inline Word VerrickExactCompareExchange(Word volatile* target,
                                        typename VerrickSameType<Word>::type value,
                                        typename VerrickSameType<Word>::type comparand) {
    return __sync_val_compare_and_swap(target, comparand, value);
}

#define InterlockedIncrement VerrickExactIncrement
#define InterlockedDecrement VerrickExactDecrement
#define InterlockedExchange VerrickExactExchange
#define InterlockedExchangeAdd VerrickExactExchangeAdd
#define InterlockedCompareExchange VerrickExactCompareExchange

#else

#define InterlockedIncrement(target) __atomic_add_fetch((target), 1, __ATOMIC_SEQ_CST)
#define InterlockedDecrement(target) __atomic_sub_fetch((target), 1, __ATOMIC_SEQ_CST)
#define InterlockedExchange(target, value) __atomic_exchange_n((target), (value), __ATOMIC_SEQ_CST)
#define InterlockedExchangeAdd(target, amount)                                                     \
    __atomic_fetch_add((target), (amount), __ATOMIC_SEQ_CST)
#define InterlockedCompareExchange(target, value, comparand)                                       \
    __sync_val_compare_and_swap((target), (comparand), (value))

#endif

#endif
