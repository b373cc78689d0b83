#include "hooks.h"

#include <pthread.h>

// A new thread's last call before it parks.
extern "C" int pthread_setcancelstate(int state, int* old) {
    if (Gate* const gate = g_insideObject.exchange(nullptr)) {
        g_insideObject.notify_all();
        gate->Pass();
    }
    return Real(pthread_setcancelstate, "pthread_setcancelstate")(state, old);
}

extern "C" int pthread_getschedparam(pthread_t thread, int* policy, sched_param* param) noexcept {
    if (g_beforePriority) {
        std::exchange(g_beforePriority, {})();
    }
    return Real(pthread_getschedparam, "pthread_getschedparam")(thread, policy, param);
}

extern "C" int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    static auto* const real = Real(pthread_cond_wait, "pthread_cond_wait");
    return g_spuriousWakeUps > 0 && g_spuriousWakeUps-- > 0 ? 0 : real(condition, mutex);
}
