/**
 * @file
 * Counting from several threads, in two separate ways.
 *
 * DInterlockedValue is an integer behind a critical section. AtomicInt and its primitives, and the
 * Interlocked calls over them (flat/frame.h), are atomic steps on a bare word, without a lock and
 * without a memory barrier: they count, and publish nothing else.
 */
#ifndef VERRICK_INTERLOCKED_H
#define VERRICK_INTERLOCKED_H

#include <verrick/critical_section.h>
#include <verrick/detail/api.h>
#include <verrick/frame.h>

#include <atomic>

namespace verrick {
struct InterlockedAccess; /* the library's own */
}

/**
 * The interface of counters. Every operation may be called from any thread. The value wraps between
 * INT_MAX and INT_MIN. The owner destroys it when no thread is inside an operation.
 */
class VERRICK_API IInterlockedValue {
public:
    IInterlockedValue();
    virtual ~IInterlockedValue();

    /** Adds 1. Like Decrement and Add, gives the value that this very call made. */
    virtual int Increment() = 0;
    /** Subtracts 1, and gives the value that this very call made. */
    virtual int Decrement() = 0;
    /** Adds amount, and gives the value that this very call made. */
    virtual int Add(int amount) = 0;

    /** Stores value and gives it back: not the old one, as InterlockedExchange does. */
    virtual int SetValue(int value) = 0;

    /** Gives the value. Takes no lock, so it may be about to change. */
    virtual int GetValue() const = 0;

    IInterlockedValue(IInterlockedValue const&) = delete;
    IInterlockedValue& operator=(IInterlockedValue const&) = delete;
};

/** A counter, as an application creates it. */
class VERRICK_API DInterlockedValue : public IInterlockedValue {
public:
    /** Throws std::bad_alloc. */
    explicit DInterlockedValue(int value);
    ~DInterlockedValue() override;

    int Increment() override;
    int Decrement() override;
    int Add(int amount) override;
    int SetValue(int value) override;
    int GetValue() const override;

private:
    friend struct verrick::InterlockedAccess;

    IInterlockedValue* m_impl; /* owned; constant after construction */
};

/** The work behind DInterlockedValue. */
class VERRICK_API DInterlockedValueImpl : public IInterlockedValue {
public:
    /** As DInterlockedValue. */
    explicit DInterlockedValueImpl(int value);
    ~DInterlockedValueImpl() override;

    int Increment() override;
    int Decrement() override;
    int Add(int amount) override;
    int SetValue(int value) override;
    int GetValue() const override;

private:
    friend struct verrick::InterlockedAccess;

    /*
     * A change is one atomic step with the order of a lock: it sees what the threads did that
     * changed the value before, and shows what its own thread did to those that change it after.
     */
    std::atomic<int> m_value;
    DCriticalSection m_lock; /* unused: the steps need no lock. It keeps the object's layout. */
};

/** The word that the primitives count in: 32 bits, and nothing else. */
class AtomicInt {
public:
    /* NOLINTNEXTLINE(google-explicit-constructor): stands wherever an int would. */
    /** Begins with value. */
    constexpr AtomicInt(int value = 0) : m_value(value) {}

    int volatile m_value; /**< changed by the primitives only */
};

/**
 * @name The primitives
 * They wrap, never block and never fail. Any thread may call them; target must be aligned to four
 * bytes. Ordering is relaxed.
 * @{
 */

/** Adds amount. */
VERRICK_API void atomic_int_add(AtomicInt* target, int amount);
/** Adds 1. */
VERRICK_API void atomic_int_inc(AtomicInt* target);

/** Subtracts 1, and gives 1 to the one call that made the word 0, else 0. */
VERRICK_API int atomic_int_dec_and_test(AtomicInt* target);

/**
 * Stores the low 32 bits of value in the 32-bit word at target and gives the old ones, unsigned.
 */
VERRICK_API unsigned long xchg_u32(void volatile* target, unsigned long value);

/** @} */

#endif
