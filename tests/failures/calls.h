// What a scenario of failing calls uses. It makes its calls between Arm() and Arm(false), and
// prints what their caller sees. An exception may leave it. Its argument is the number of a
// variant.
#pragma once

#include <atomic>
#include <iostream>
#include <new>

// 1. kOnce: the call fails.
// 2. kForEver: it fails, and all calls after it do.
// 3. kShort: it moves half of its bytes.
// 4. kLate: the same, and the next call fails.
// 5. kRename: it works, but the file "new" is renamed to "f.ini" first.
enum class Kind { kOnce, kForEver, kShort, kLate, kRename };

// The n-th of the calls, counted over all threads.
struct Failure {
    Kind kind = Kind::kOnce;
    int error = 0;
    char const* calls = ""; // their names, each between two spaces
    int n = 0;
    char const* happened = ""; // the call that failed
};
inline Failure g_failure{};

// Lets the failure happen from now on, or no more.
inline std::atomic<bool> g_armed{false};
inline void Arm(bool armed = true) {
    g_armed = armed;
}

inline std::atomic<long> g_heldMutexes{0};

// Prints values in the order of their evaluation.
struct Say {
    template<class... Value>
    explicit Say(Value... values) {
        ((std::cout << values << ' '), ...);
    }
};

// Takes the last step that may fail. The scenario goes on after it if memory was refused.
template<class Step>
void GoOnAfter(Step step) {
    try {
        step();
    } catch (std::bad_alloc const&) {
        Say{"bad_alloc"};
    }
    Arm(false);
}

#define SCENARIO(name, variants) void name(int);
#include "tests/failures/scenarios.def"
#undef SCENARIO
