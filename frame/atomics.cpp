// Atomic steps on a word in memory that anybody may have declared as a plain integer: hence the
// compiler's builtins. Relaxed throughout: each is a bare reservation loop where the processor has
// reservations, and no barrier stands around it.
#include <verrick/interlocked.h>

#include <cstdint>

namespace {

void Add(int volatile* word, int amount) {
    __atomic_fetch_add(word, amount, __ATOMIC_RELAXED);
}

int SubtractOne(int volatile* word) {
    return __atomic_sub_fetch(word, 1, __ATOMIC_RELAXED);
}

int Read(int const volatile* word) {
    return __atomic_load_n(word, __ATOMIC_RELAXED);
}

} // namespace

void atomic_int_add(AtomicInt* target, int amount) {
    Add(&target->m_value, amount);
}

void atomic_int_inc(AtomicInt* target) {
    Add(&target->m_value, 1);
}

int atomic_int_dec_and_test(AtomicInt* target) {
    return SubtractOne(&target->m_value) == 0 ? 1 : 0;
}

unsigned long xchg_u32(void volatile* target, unsigned long value) {
    return __atomic_exchange_n(static_cast<std::uint32_t volatile*>(target),
                               static_cast<std::uint32_t>(value), __ATOMIC_RELAXED);
}

// The result is a read of its own, behind the step: it may show other threads' changes.
int InterlockedIncrement(int volatile* target) {
    Add(target, 1);
    return Read(target);
}

int InterlockedDecrement(int volatile* target) {
    SubtractOne(target);
    return Read(target);
}

int InterlockedExchange(int volatile* target, int value) {
    return static_cast<int>(xchg_u32(target, static_cast<unsigned int>(value)));
}

int InterlockedExchangeAdd(int volatile* target, int amount) {
    Add(target, amount);
    return Read(target);
}
