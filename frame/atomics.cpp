// Atomic steps on a word of memory. The application may have declared the word as a plain integer,
// so the steps are the compiler's builtins. All are relaxed: they count, and order nothing else.
#include <verrick/interlocked.h>

#include <cstdint>

namespace {

int Add(int volatile* word, int amount) {
    return __atomic_add_fetch(word, amount, __ATOMIC_RELAXED);
}

} // namespace

void atomic_int_add(AtomicInt* target, int amount) {
    Add(&target->m_value, amount);
}

void atomic_int_inc(AtomicInt* target) {
    Add(&target->m_value, 1);
}

int atomic_int_dec_and_test(AtomicInt* target) {
    return Add(&target->m_value, -1) == 0 ? 1 : 0;
}

unsigned long xchg_u32(void volatile* target, unsigned long value) {
    return __atomic_exchange_n(static_cast<std::uint32_t volatile*>(target),
                               static_cast<std::uint32_t>(value), __ATOMIC_RELAXED);
}

// The next two and InterlockedExchangeAdd return the value that their step made. They only promise
// a value that the word had after the step.
int InterlockedIncrement(int volatile* target) {
    return Add(target, 1);
}

int InterlockedDecrement(int volatile* target) {
    return Add(target, -1);
}

int InterlockedExchange(int volatile* target, int value) {
    return static_cast<int>(xchg_u32(target, static_cast<unsigned int>(value)));
}

int InterlockedExchangeAdd(int volatile* target, int amount) {
    return Add(target, amount);
}
