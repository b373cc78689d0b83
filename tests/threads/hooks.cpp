#include "hooks.h"

#include <pthread.h>
#include <utility>

namespace {

pthread_t const g_tester = pthread_self();

} // namespace

// A new thread's last call before it parks.
extern "C" int pthread_setcancelstate(int state, int* old) {
    static auto* const real = Real(pthread_setcancelstate, "pthread_setcancelstate");
    bool const isTester = pthread_equal(pthread_self(), g_tester) != 0;
    if (Gate* const gate = isTester ? nullptr : g_insideObject.exchange(nullptr)) {
        g_insideObject.notify_all();
        gate->Pass();
    }
    return real(state, old);
}

extern "C" int pthread_getschedparam(pthread_t thread, int* policy, sched_param* param) noexcept {
    static auto* const real = Real(pthread_getschedparam, "pthread_getschedparam");
    if (g_beforePriority) {
        std::exchange(g_beforePriority, {})();
    }
    return real(thread, policy, param);
}

extern "C" int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    static auto* const real = Real(pthread_cond_wait, "pthread_cond_wait");
    return g_spuriousWakeUps > 0 && g_spuriousWakeUps-- > 0 ? 0 : real(condition, mutex);
}
