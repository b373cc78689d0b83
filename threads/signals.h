// Signals of the process, kept away from a thread of the library's own.
#pragma once

#include <csignal>
#include <pthread.h>

namespace verrick {

// Returns the signal mask of the threads that the calling thread creates with the library. It is
// the caller's own if nothing else was set.
sigset_t MaskOfNewThreads();

// Sets that mask for the calling thread. Null means the caller's own again. The caller keeps the
// mask alive meanwhile.
void SetMaskOfNewThreads(sigset_t const* mask);

// Puts that mask into the attributes of a new thread.
void ApplyMaskOfNewThreads(pthread_attr_t* attributes);

// Blocks all signals on the calling thread for a scope. A thread that is created meanwhile has them
// blocked from its first step on.
class SignalsBlocked {
public:
    SignalsBlocked();
    ~SignalsBlocked();
    SignalsBlocked(SignalsBlocked const&) = delete;
    SignalsBlocked& operator=(SignalsBlocked const&) = delete;

    // Returns the value. As an argument of a base class's constructor, SignalsBlocked().During(x)
    // blocks the signals until that constructor has returned.
    template<typename Value>
    Value During(Value value) const {
        return value;
    }

private:
    sigset_t m_previous;
    sigset_t const* m_previousOfNewThreads;
};

} // namespace verrick
