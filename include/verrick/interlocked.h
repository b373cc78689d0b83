/**
 * @file
 * Counting from several threads, in two separate ways.
 *
 * DInterlockedValue is a counter that also orders memory, as a lock would: a thread that changes it
 * sees what the threads did that changed it before. So it can count the references to an object.
 *
 * AtomicInt and its primitives, and the Interlocked calls over them (flat/frame.h), are atomic
 * steps on a bare word, without a memory barrier. They count, and publish nothing else.
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
 * The interface of counters. Every operation may be called from any thread. None blocks or fails.
 * The value wraps between INT_MAX and INT_MIN. The owner destroys a counter when no thread is
 * inside an operation.
 */
class VERRICK_API IInterlockedValue {
public:
    IInterlockedValue();
    virtual ~IInterlockedValue();

    /** Adds 1. Returns the value that this very call made. */
    virtual int Increment() = 0;
    /** Subtracts 1. Returns the value that this very call made. */
    virtual int Decrement() = 0;
    /** Adds amount. Returns the value that this very call made. */
    virtual int Add(int amount) = 0;

    /** Stores value and returns it. InterlockedExchange returns the old value instead. */
    virtual int SetValue(int value) = 0;

    /** Returns the value, which may be about to change. Orders no memory. */
    virtual int GetValue() const = 0;

    IInterlockedValue(IInterlockedValue const&) = delete;
    IInterlockedValue& operator=(IInterlockedValue const&) = delete;
};

/** A counter, as an application creates it. The operations are those of IInterlockedValue. */
class VERRICK_API DInterlockedValue : public IInterlockedValue {
public:
    /** Makes a counter that begins with value. Throws std::bad_alloc. */
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

/** The work behind DInterlockedValue. Applications create a DInterlockedValue. */
class VERRICK_API DInterlockedValueImpl : public IInterlockedValue {
public:
    /** Begins with value. */
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
     * A change is one atomic step with the order of a lock. Its thread sees all that was done
     * ahead of the changes before it. Threads that change the value later see what it did itself.
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
 * Each is one atomic step without a memory barrier. They wrap, never block and never fail. Any
 * thread may call them. The target isn't null, and is aligned to four bytes.
 * @{
 */

/** Adds amount to the target. */
VERRICK_API void atomic_int_add(AtomicInt* target, int amount);
/** Adds 1 to the target. */
VERRICK_API void atomic_int_inc(AtomicInt* target);

/** Subtracts 1 from the target. Returns 1 to the one call that made the word 0, else 0. */
VERRICK_API int atomic_int_dec_and_test(AtomicInt* target);

/**
 * Stores the low 32 bits of value in the 32-bit word at target. Returns the old 32 bits, unsigned.
 */
VERRICK_API unsigned long xchg_u32(void volatile* target, unsigned long value);

/** @} */

#endif
