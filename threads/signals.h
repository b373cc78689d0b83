// Signals of the process, kept away from a thread of the library's own.
#pragma once

#include <csignal>

namespace verrick {

// Blocks all signals on the calling thread for a scope. A thread that is created meanwhile inherits
// the mask and has them blocked from its first step on.
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
};

} // namespace verrick
