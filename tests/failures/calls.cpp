// The library's calls come to the functions of this file, because a program's symbols go before
// those of the C library.
#include "tests/failures/calls.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <new>

namespace {

std::mutex g_lock; // of g_failure while it is armed

// Returns whether the call fails. Then errno is set.
bool Fails(char const* call, long* bytes = nullptr) {
    if (!g_armed) {
        return false;
    }
    std::lock_guard const lock(g_lock);
    auto& [kind, error, calls, n, happened] = g_failure;
    if (std::strstr(calls, call) == nullptr || --n > 0 || (n < 0 && kind != Kind::kForEver)) {
        return false;
    }
    if (kind == Kind::kShort || kind == Kind::kLate) {
        *bytes = (*bytes + 1) / 2;
    }
    if (kind == Kind::kLate) {
        g_failure = {Kind::kOnce, EIO, calls, 1};
        return false;
    }
    happened = call;
    if (kind == Kind::kRename) {
        std::rename("new", "f.ini");
    }
    errno = error != 0 ? error : errno;
    return error != 0;
}

// Leaves the loader's own words for the next dlerror.
long RefusedByLoader(long result) {
    dlsym(RTLD_DEFAULT, "refused");
    return result;
}

} // namespace

// Every argument is passed on as a word of the machine, which is how all targets pass the arguments
// of these calls. So one form serves calls of all types. The steps before and after see a to e.
#define WRAPPER(symbol, before, after)                                                             \
    extern "C" long Wrapped_##symbol(long, long, long, long, long) __asm__(#symbol);               \
    extern "C" long Wrapped_##symbol(long a, long b, long c, long d, long e) {                     \
        static auto* const real =                                                                  \
            reinterpret_cast<long (*)(long, long, long, long, long)>(dlsym(RTLD_NEXT, #symbol));   \
        before;                                                                                    \
        long const result = real(a, b, c, d, e);                                                   \
        after;                                                                                     \
        return result;                                                                             \
    }
#include "tests/failures/calls.def"
