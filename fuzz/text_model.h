// Plain models of what the library does with text, one character at a time.
#pragma once

#include "fuzz/input.h"

#include <cwctype>

namespace model {

constexpr auto kAll = static_cast<std::size_t>(-1);

// As many whole characters as the limit lets through, up to the first one that doesn't convert.
template<typename Character>
struct Converted {
    std::basic_string<Character> text;
    bool fault = false;
};

inline Converted<char> Narrow(std::wstring const& wide, std::size_t limit = kAll) {
    std::string text;
    for (wchar_t const character : wide) {
        char bytes[MB_LEN_MAX];
        int const count = std::wctomb(bytes, character);
        if (count < 0 || text.size() + count > limit) {
            return {text, count < 0 && text.size() < limit};
        }
        text.append(bytes, static_cast<std::size_t>(count));
    }
    return {text};
}

inline Converted<wchar_t> Widen(std::string const& narrow, std::size_t limit = kAll) {
    std::wstring text;
    std::mbstate_t state{};
    for (char const byte : narrow) {
        wchar_t character = L'\0';
        std::size_t const count = std::mbrtowc(&character, &byte, 1, &state);
        if (count == kAll || text.size() == limit) {
            return {text, text.size() < limit};
        }
        text.append(count == 1 ? 1 : 0, character);
    }
    return {text, std::mbsinit(&state) == 0};
}

inline std::string UpToZero(std::string const& text) {
    return text.substr(0, text.find('\0'));
}

inline std::wstring TrimLeft(std::wstring const& text) {
    return {std::find_if_not(text.begin(), text.end(), std::iswspace), text.end()};
}

inline std::wstring TrimRight(std::wstring const& text) {
    return {text.begin(), std::find_if_not(text.rbegin(), text.rend(), std::iswspace).base()};
}

inline std::wstring Upper(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), std::towupper);
    return text;
}

} // namespace model

// A caller's array. A write after its end shows to the sanitizer.
template<typename Character>
struct Array : std::vector<Character> {
    explicit Array(std::size_t size) : std::vector<Character>(size, Character{'~'}) {}

    // Returns whether text was stored, and nothing after its terminator.
    bool Holds(std::basic_string<Character> text) const {
        text += Character{};
        text.resize(std::max(text.size(), this->size()), Character{'~'});
        return std::equal(this->begin(), this->end(), text.begin(), text.end());
    }
};

// Wide text without a terminator in it. Bytes from 0x80 on stand for characters that are white
// space, take several bytes, have two cases, or don't convert.
inline std::wstring WideText(std::string const& bytes) {
    constexpr wchar_t foreign[] = L"\u00e4\u00c4\u20ac\u2003\u017f\u0131\U00010348\xd800";
    std::wstring text;
    for (unsigned char const byte : model::UpToZero(bytes)) {
        text += byte < 0x80 ? static_cast<wchar_t>(byte) : foreign[byte % 8];
    }
    return text;
}
