// Steps in where the program or the library detaches a thread. One source of a program includes it.
#pragma once

#include "tests/support/test.h"

inline std::atomic<int> g_detached = 0;
inline std::function<void()> g_duringDetach; // called once, when the thread is as good as detached

extern "C" int pthread_detach(pthread_t thread) noexcept {
    static auto* const real =
        reinterpret_cast<int (*)(pthread_t)>(dlsym(RTLD_NEXT, "pthread_detach"));
    ++g_detached;
    int const error = real(thread);
    if (auto const during = std::exchange(g_duringDetach, nullptr)) {
        during();
    }
    return error;
}

// A call for g_duringDetach: lets the thread go, waits, and notes whether the thread still exists.
template<class LetGo>
auto LookAfter(LetGo letGo, int threadId, bool& exists) {
    return [=, &exists] {
        letGo();
        Sleep(50);
        exists = std::filesystem::exists("/proc/self/task/" + std::to_string(threadId));
    };
}
