#include <verrick/strings.h>

#include <atomic>
#include <cwchar>
#include <cwctype>

namespace {

// Where the process's one search goes on; null while there is none. Threads that search at the same
// time disturb each other anyway, so relaxed is enough.
constinit std::atomic<wchar_t*> g_searchPosition{nullptr};

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
    if (text == nullptr && position == nullptr) {
        return nullptr;
    }
    wchar_t* const token = std::wcstok(text, delimiters, &position);
    g_searchPosition.store(position, std::memory_order_relaxed);
    return token;
}

wchar_t* _strupr(wchar_t* text) {
    for (wchar_t* at = text; at != nullptr && *at != L'\0'; ++at) {
        *at = static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(*at)));
    }
    return text;
}
