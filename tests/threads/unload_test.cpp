// The library loaded at run time: this program isn't linked with it.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

namespace {

template<class Function>
Function* Find(void* library, char const* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

// Threads that were let go are still on the library's last instructions when it is closed.
TEST(Unloading, ThreadsThatWereLetGoSurviveIt) {
    for (int i = 0; i < 10; ++i) {
        void* const library = dlopen(VERRICK_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        ASSERT_NE(Find<void*(int)>(library, "_ZN12DTimeManager11GetInstanceEi")(10), nullptr);
        ASSERT_EQ(Find<int(void (*)(void*), void*, int, long, long, int)>(library, "ThreadSpawn")(
                      [](void*) { usleep(1000); }, nullptr, 0, 0, 0, 0),
                  1);
        Find<void()>(library, "_ZN12DTimeManager15DestroyInstanceEv")();
        ASSERT_EQ(dlclose(library), 0);
        usleep(20000);
    }
}

} // namespace
