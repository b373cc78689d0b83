// Steps in where the program or the library detaches a thread. One source of a program includes it.
#pragma once

#include "tests/support/test.h"

inline std::atomic<int> g_detached = 0;

// If set, it is called once, when the thread is as good as detached. It lets the thread go. Then
// the thread of that id has time to exit, and g_hasExited tells whether it did.
inline std::function<void()> g_letGo;
inline unsigned int g_idOfLetGo = 0;
inline bool g_hasExited = false;

extern "C" int pthread_detach(pthread_t thread) noexcept {
    static auto* const real = Real(pthread_detach, "pthread_detach");
    auto const exists = [] {
        return std::filesystem::exists("/proc/self/task/" + std::to_string(g_idOfLetGo));
    };
    ++g_detached;
    bool const existed = exists();
    int const error = real(thread);
    if (auto const letGo = std::exchange(g_letGo, nullptr)) {
        letGo();
        Sleep(50);
        g_hasExited = existed && !exists();
    }
    return error;
}
