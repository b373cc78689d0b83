// Limits that stand in more than one family.
#pragma once

#include <cstddef>

namespace verrick {

// Elements of a path with its terminator. It is the system's PATH_MAX, written as a number because
// the size of public records depends on it.
constexpr std::size_t kPathElements = 4096;

// Elements of the paths that a directory listing works on. It is one more than a path needs: for
// the directory, the slash after it that is cut off, and the terminator.
constexpr std::size_t kListingPathElements = kPathElements + 1;

// Bytes of the smallest stack that a thread object asks for. The system refuses less than its
// PTHREAD_STACK_MIN, and then the thread gets the default size.
constexpr int kSmallestStackBytes = 8196;

} // namespace verrick
