#include "hooks.h"

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>
#include <utility>

#include "recorder.h"

namespace {

pthread_t const g_tester = pthread_self();

template<class Function>
Function* Real(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void HoldAt(std::atomic<Gate*>& point) {
    if (pthread_equal(pthread_self(), g_tester) == 0) {
        if (Gate* const gate = point.exchange(nullptr)) {
            gate->Pass();
        }
    }
}

std::atomic<Gate*> g_beforeObject{nullptr};
std::atomic<Gate*> g_insideObject{nullptr};
std::atomic<bool> g_refuseCreation{false};
std::atomic<int> g_spuriousWakeUps{0};

} // namespace

std::atomic<Gate*>& GateBeforeObject() {
    return g_beforeObject;
}

std::atomic<Gate*>& GateInsideObject() {
    return g_insideObject;
}

std::atomic<bool>& RefuseCreation() {
    return g_refuseCreation;
}

std::atomic<int>& SpuriousWakeUps() {
    return g_spuriousWakeUps;
}

std::function<void()>& BeforeBroadcast() {
    thread_local std::function<void()> hook;
    return hook;
}

// A new thread's first call.
extern "C" pid_t gettid() noexcept {
    HoldAt(g_beforeObject);
    static auto* const real = Real<pid_t()>("gettid");
    return real();
}

// A new thread's last call before it parks.
extern "C" int pthread_setcancelstate(int state, int* old) {
    HoldAt(g_insideObject);
    static auto* const real = Real<int(int, int*)>("pthread_setcancelstate");
    return real(state, old);
}

// Called just before a thread is created: real-time scheduling of its own, without a priority, is
// what the system refuses.
extern "C" int pthread_attr_setscope(pthread_attr_t* attributes, int) noexcept {
    if (g_refuseCreation) {
        pthread_attr_setinheritsched(attributes, PTHREAD_EXPLICIT_SCHED);
    }
    return 0;
}

extern "C" int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    static auto* const real = Real<int(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
    if (g_spuriousWakeUps > 0 && g_spuriousWakeUps.fetch_sub(1) > 0) {
        return 0;
    }
    return real(condition, mutex);
}

extern "C" int pthread_cond_broadcast(pthread_cond_t* condition) noexcept {
    static auto* const real = Real<int(pthread_cond_t*)>("pthread_cond_broadcast");
    auto const hook = std::exchange(BeforeBroadcast(), {});
    if (hook) {
        hook();
    }
    int const result = real(condition);
    if (hook) {
        usleep(50000);
    }
    return result;
}
