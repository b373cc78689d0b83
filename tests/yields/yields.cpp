// A preload that gives other threads a turn at every POSIX thread and semaphore call. A program
// that counts on two calls happening one right after the other fails under it within seconds.
//
//   YIELDS_SEED=7 LD_PRELOAD=libyields.so program
//
// Each thread draws from a sequence of its own. The sequence depends on the seed and on how many
// threads came before this one. So a seed repeats its run as far as the scheduler allows.
// One call in two goes on at once, most others yield, and one in sixteen sleeps.
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr long kLongestSleepNs = 200000;

std::uint32_t Seed() {
    char const* const text = std::getenv("YIELDS_SEED");
    return static_cast<std::uint32_t>(std::strtoul(text != nullptr ? text : "1", nullptr, 10));
}

// A linear congruential step. The high bits are the random ones.
std::uint32_t Draw() {
    static std::uint32_t const seed = Seed();
    static std::atomic<std::uint32_t> threads{0};
    thread_local std::uint32_t state = seed * 2654435761U + ++threads;
    state = state * 1664525U + 1013904223U;
    return state >> 8;
}

// The bare system call, because the C library's is a cancellation point, and the wrapped call may
// not be one.
void Sleep(std::uint32_t draw) {
    timespec const time{0, static_cast<long>(draw % kLongestSleepNs)};
    syscall(SYS_nanosleep, &time, nullptr);
}

void GiveATurn() {
    std::uint32_t const draw = Draw();
    if (draw % 16 == 0) {
        Sleep(draw / 16);
    } else if (draw % 2 == 0) {
        sched_yield();
    }
}

// Keeps errno, which the caller may look at after a call that left it alone.
template<typename Call>
auto Between(Call call) {
    GiveATurn();
    auto const result = call();
    int const error = errno;
    GiveATurn();
    errno = error;
    return result;
}

} // namespace

// The call of this name in the C library, with a turn for others before and after it. Every
// argument is passed on as a word of the machine, which is how all targets pass the arguments of
// these calls.
#define YIELDS_AROUND(name)                                                                        \
    extern "C" long Wrapped_##name(long, long, long, long) __asm__(#name);                         \
    extern "C" long Wrapped_##name(long a, long b, long c, long d) {                               \
        static auto* const next =                                                                  \
            reinterpret_cast<long (*)(long, long, long, long)>(dlsym(RTLD_NEXT, #name));           \
        return Between([&] { return next(a, b, c, d); });                                          \
    }

#define FAILS(call, symbol, failed) YIELDS_AROUND(symbol)
#define FAILS_LATE(symbol) YIELDS_AROUND(symbol)
#define COUNTS(symbol, change) YIELDS_AROUND(symbol)
#define PASSES(symbol) YIELDS_AROUND(symbol)
#include "tests/support/thread_calls.def"
