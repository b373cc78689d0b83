// What nearly every test uses: the library, the test framework, threads, and the C library behind a
// function of the test.
#pragma once

#include "tests/support/asleep.h"
#include <verrick/verrick.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <cwchar>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

// Returns the C library's function, behind which the test's own stands.
template<class Function>
Function* Real(Function*, char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
