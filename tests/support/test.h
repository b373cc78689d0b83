// What nearly every test uses: the library, the test framework, and threads.
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
