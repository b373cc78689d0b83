// The memory order of the words that are read or written without a lock.
#pragma once

#include <atomic>

namespace verrick {

// Such a word is atomic, so that a concurrent reader sees the old or the new value and nothing
// else. It orders no other memory: what one thread must see of another is ordered by a lock.
constexpr auto relaxed = std::memory_order_relaxed;

} // namespace verrick
