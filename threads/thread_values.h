// Values that thread objects take and return, where more than one source uses them.
#pragma once

#include <pthread.h>

namespace verrick {

// Bit 0 of a thread's flags: the constructor creates no POSIX thread.
constexpr int kNoThreadYet = 1;

// The flags of the library's own threads, which are created parked. No bit of them has an effect,
// because bit 0 is clear.
constexpr int kCreateParked = 2;

// The POSIX id of an object without a thread.
constexpr auto kNoThread = static_cast<pthread_t>(-1);

// What GetThreadId returns while there is no thread.
constexpr int kNoThreadId = -1;

} // namespace verrick
