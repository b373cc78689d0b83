// Absolute deadlines of timed waits, for both layers of the library.
#pragma once

#include <cstdint>
#include <ctime>

namespace verrick {

// A moment of CLOCK_REALTIME, timeoutMs milliseconds after now, in signed arithmetic. A negative
// time-out can leave tv_nsec negative, which the system's waits refuse with EINVAL.
timespec DeadlineAfter(timespec now, int timeoutMs);
timespec DeadlineAfter(int timeoutMs);

// The same for the flat calls: unsigned, so that every time-out lies ahead.
timespec FlatDeadlineAfter(timespec now, std::uint32_t timeoutMs);
timespec FlatDeadlineAfter(std::uint32_t timeoutMs);

// Whether the system's waits take the deadline at all.
inline bool IsValidDeadline(timespec const& deadline) {
    return deadline.tv_nsec >= 0;
}

} // namespace verrick
