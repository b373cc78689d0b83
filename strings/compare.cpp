#include <verrick/strings.h>

#include <cctype>
#include <cstdint>
#include <cwctype>

namespace {

std::uint32_t Fold(wchar_t character) {
    return std::towupper(static_cast<std::wint_t>(character));
}

std::uint32_t Fold(char character) {
    return static_cast<std::uint32_t>(std::toupper(static_cast<unsigned char>(character)));
}

// The terminator takes part as a character of value 0. The difference counts as 32 bits with a
// sign, whatever the sign of wchar_t.
template<typename Character>
int Compare(Character const* first, Character const* second) {
    if (first == nullptr || second == nullptr) {
        return first == second ? 0 : first == nullptr ? -1 : 1;
    }
    for (;; ++first, ++second) {
        auto const difference = static_cast<std::int32_t>(Fold(*first) - Fold(*second));
        if (difference != 0) {
            return difference < 0 ? -1 : 1;
        }
        if (*first == Character{} && *second == Character{}) {
            return 0;
        }
    }
}

} // namespace

int _stricmp(wchar_t const* first, wchar_t const* second) {
    return Compare(first, second);
}

int _stricmp_ascii(char const* first, char const* second) {
    return Compare(first, second);
}
