// White space in wide text, as LC_CTYPE has it.
#pragma once

#include <cwctype>

namespace verrick {

inline bool IsSpace(wchar_t character) {
    return std::iswspace(static_cast<std::wint_t>(character)) != 0;
}

// Returns the first character that isn't white space. It may be the terminator.
inline wchar_t const* SkipSpace(wchar_t const* text) {
    while (IsSpace(*text)) {
        ++text;
    }
    return text;
}

} // namespace verrick
