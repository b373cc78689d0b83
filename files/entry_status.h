// The status of a directory entry, in the 32-bit words that the search records have for it.
#pragma once

#include <cstdint>
#include <limits>
#include <sys/stat.h>
#include <utility>

namespace verrick {

// The value of a word that is nearest to value.
template<class Word, class Value>
Word Saturated(Value value) {
    using Limits = std::numeric_limits<Word>;
    if (std::in_range<Word>(value)) {
        return static_cast<Word>(value);
    }
    return std::cmp_less(value, Limits::min()) ? Limits::min() : Limits::max();
}

inline std::int32_t TimeWord(time_t seconds) {
    return Saturated<std::int32_t>(seconds);
}

inline std::uint32_t SizeWord(off_t bytes) {
    return Saturated<std::uint32_t>(bytes);
}

} // namespace verrick
