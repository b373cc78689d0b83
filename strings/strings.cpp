#include <verrick/strings.h>

#include "strings/white_space.h"

#include <atomic>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <cwctype>

namespace {

// Where the search of _wcstok goes on, null while there is none. Threads that search at the same
// time disturb each other anyway, so relaxed is enough.
constinit std::atomic<wchar_t*> g_searchPosition{nullptr};

std::uint32_t Fold(wchar_t character) {
    return std::towupper(static_cast<std::wint_t>(character));
}

std::uint32_t Fold(char character) {
    return static_cast<std::uint32_t>(std::toupper(static_cast<unsigned char>(character)));
}

bool IsSame(wchar_t const* first, wchar_t const* second) {
    return std::wcscmp(first, second) == 0;
}

bool IsSame(char const* first, char const* second) {
    return std::strcmp(first, second) == 0;
}

// The terminator takes part as a character of value 0. The difference counts as 32 bits with a
// sign, whatever the sign of wchar_t. Kept out of line, so that a call for equal texts stays short.
template<typename Character>
[[gnu::noinline]] int CompareFolded(Character const* first, Character const* second) {
    for (;; ++first, ++second) {
        if (*first != *second) {
            auto const difference = static_cast<std::int32_t>(Fold(*first) - Fold(*second));
            if (difference != 0) {
                return difference < 0 ? -1 : 1;
            }
        } else if (*first == Character{}) {
            return 0;
        }
    }
}

// Most texts differ in their first character or are the same to the letter. The second case is left
// to libc, which compares several characters at once.
template<typename Character>
int Compare(Character const* first, Character const* second) {
    if (first == nullptr || second == nullptr) {
        return first == second ? 0 : first == nullptr ? -1 : 1;
    }
    return *first == *second && IsSame(first, second) ? 0 : CompareFolded(first, second);
}

} // namespace

wchar_t* _strdup(wchar_t const* text) {
    if (text == nullptr) {
        return nullptr;
    }
    std::size_t const size = std::wcslen(text) + 1;
    return std::wmemcpy(new wchar_t[size], text, size);
}

long _wcstol(wchar_t const* text) {
    return text != nullptr ? std::wcstol(text, nullptr, 10) : 0;
}

wchar_t* _wcstok(wchar_t* text, wchar_t const* delimiters) {
    wchar_t* position =
        text != nullptr ? nullptr : g_searchPosition.load(std::memory_order_relaxed);
    if (delimiters == nullptr || (text == nullptr && position == nullptr)) {
        return nullptr;
    }
    wchar_t* const token = std::wcstok(text, delimiters, &position);
    g_searchPosition.store(position, std::memory_order_relaxed);
    return token;
}

wchar_t* _rtrim(wchar_t* text) {
    std::size_t length = text != nullptr ? std::wcslen(text) : 0;
    if (length == 0) {
        return text;
    }
    while (length > 1 && verrick::IsSpace(text[length - 1])) {
        --length;
    }
    text[length] = L'\0';
    return text;
}

wchar_t* _ltrim(wchar_t* text) {
    if (text == nullptr) {
        return nullptr;
    }
    wchar_t const* const first = verrick::SkipSpace(text);
    if (first != text) {
        std::wmemmove(text, first, std::wcslen(first) + 1);
    }
    return text;
}

wchar_t* _trim(wchar_t* text) {
    return _ltrim(_rtrim(text));
}

int _stricmp(wchar_t const* first, wchar_t const* second) {
    return Compare(first, second);
}

int _stricmp_ascii(char const* first, char const* second) {
    return Compare(first, second);
}

wchar_t* _strupr(wchar_t* text) {
    for (wchar_t* at = text; at != nullptr && *at != L'\0'; ++at) {
        *at = static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(*at)));
    }
    return text;
}
