#include <verrick/strings.h>

#include <cwchar>
#include <cwctype>

wchar_t* _rtrim(wchar_t* text) {
    std::size_t length = text != nullptr ? std::wcslen(text) : 0;
    if (length == 0) {
        return text;
    }
    while (length > 1 && std::iswspace(static_cast<std::wint_t>(text[length - 1])) != 0) {
        --length;
    }
    text[length] = L'\0';
    return text;
}

wchar_t* _ltrim(wchar_t* text) {
    if (text == nullptr) {
        return nullptr;
    }
    wchar_t const* first = text;
    while (*first != L'\0' && std::iswspace(static_cast<std::wint_t>(*first)) != 0) {
        ++first;
    }
    if (first != text) {
        std::wmemmove(text, first, std::wcslen(first) + 1);
    }
    return text;
}

wchar_t* _trim(wchar_t* text) {
    return _ltrim(_rtrim(text));
}
