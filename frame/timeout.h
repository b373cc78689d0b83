// The time-outs of the two layers: what is for ever, what is over at once, and the deadline.
#pragma once

#include "frame/deadline.h"
#include "frame/waiting.h"

#include <cerrno>
#include <cstdint>

namespace verrick {

// A time-out of the object layer, in milliseconds: -1 is for ever, and a time-out below lies in the
// past.
class ObjectTimeout {
public:
    explicit ObjectTimeout(int timeoutMs) : m_timeoutMs(timeoutMs) {}

    bool IsForever() const { return m_timeoutMs == kForever; }
    bool IsOver() const { return m_timeoutMs <= 0 && !IsForever(); }
    timespec Deadline() const { return DeadlineAfter(m_timeoutMs); }

    // The error of a wait whose time-out IsOver. Some negative time-outs make no valid deadline.
    int ErrorWhenOver() const {
        return m_timeoutMs == 0 || IsValidDeadline(Deadline()) ? ETIMEDOUT : EINVAL;
    }

private:
    int m_timeoutMs;
};

// A time-out of the flat calls, in milliseconds. Only the low 32 bits count.
class FlatTimeout {
public:
    explicit FlatTimeout(unsigned long timeoutMs)
        : m_timeoutMs(static_cast<std::uint32_t>(timeoutMs)) {}

    bool IsForever() const { return m_timeoutMs == kForeverMs; }
    bool IsOver() const { return m_timeoutMs == 0; }
    timespec Deadline() const { return FlatDeadlineAfter(m_timeoutMs); }
    int ErrorWhenOver() const { return ETIMEDOUT; }

private:
    static constexpr std::uint32_t kForeverMs = 0xFFFFFFFF;

    std::uint32_t m_timeoutMs;
};

} // namespace verrick
