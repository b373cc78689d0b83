// The one thing that a facade does with a call: it passes the call on to its implementation.
//
// A facade has no implementation while its constructor still builds one. DThread has none during
// the last part of its destructor either. A call that arrives then returns a fixed result.
#pragma once

#include <type_traits>

namespace verrick {

// Calls an operation of the implementation. Does nothing without an implementation.
template<typename Impl, typename Operation, typename... Arguments>
void Forward(Impl* impl, Operation operation, Arguments... arguments) {
    if (impl != nullptr) {
        (impl->*operation)(arguments...);
    }
}

// Calls an operation of the implementation and returns its result. Returns missing without an
// implementation.
template<typename Impl, typename Operation, typename... Arguments>
std::invoke_result_t<Operation, Impl&, Arguments...>
ForwardOr(std::invoke_result_t<Operation, Impl&, Arguments...> missing, Impl* impl,
          Operation operation, Arguments... arguments) {
    return impl != nullptr ? (impl->*operation)(arguments...) : missing;
}

} // namespace verrick
