#include "hooks.h"

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>
#include <utility>

namespace {

pthread_t const g_tester = pthread_self();

template<class Function>
Function* Real(Function*, char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void HoldAt(std::atomic<Gate*>& point) {
    if (pthread_equal(pthread_self(), g_tester) == 0) {
        if (Gate* const gate = point.exchange(nullptr)) {
            point.notify_all();
            gate->Pass();
        }
    }
}

} // namespace

// A new thread's first call.
extern "C" pid_t gettid() noexcept {
    HoldAt(g_beforeObject);
    static auto* const real = Real(gettid, "gettid");
    return real();
}

// A new thread's last call before it parks.
extern "C" int pthread_setcancelstate(int state, int* old) {
    HoldAt(g_insideObject);
    static auto* const real = Real(pthread_setcancelstate, "pthread_setcancelstate");
    return real(state, old);
}

// Called just before a thread is created: real-time scheduling of its own, without a priority, is
// what the system refuses.
extern "C" int pthread_attr_setscope(pthread_attr_t* attributes, int) noexcept {
    return g_refuseCreation ? pthread_attr_setinheritsched(attributes, PTHREAD_EXPLICIT_SCHED) : 0;
}

extern "C" int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    static auto* const real = Real(pthread_cond_wait, "pthread_cond_wait");
    return g_spuriousWakeUps > 0 && g_spuriousWakeUps-- > 0 ? 0 : real(condition, mutex);
}

extern "C" int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
    static auto* const real = Real(pthread_cond_broadcast, "pthread_cond_broadcast");
    if (!g_beforeBroadcast) {
        return real(condition);
    }
    std::exchange(g_beforeBroadcast, {})();
    int const result = real(condition);
    usleep(50000);
    return result;
}
