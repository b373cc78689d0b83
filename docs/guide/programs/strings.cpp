// Wide text: cutting, comparing, printing, and its way to narrow text and back.
#include <verrick/conversion.h>
#include <verrick/printing.h>
#include <verrick/strings.h>

#include <clocale>
#include <cstdio>
#include <cwchar>
#include <memory>

int main() {
    std::setlocale(LC_ALL, ""); // the encoding of narrow text, and what is a letter

    wchar_t line[] = L"  Colour = dark Blue ";
    wchar_t* const key = _trim(_wcstok(line, L"="));
    wchar_t* const value = _trim(_wcstok(nullptr, L"="));
    bool const same = _stricmp(key, L"COLOUR") == 0;

    std::unique_ptr<wchar_t[]> const copy(_strdup(value)); // the caller's, from new[]
    _strupr(copy.get());

    wchar_t text[512]; // _sprintf has room for 512 wide characters, whatever is passed
    int const printed = _sprintf(text, L"%s is %s, %d of %d", key, copy.get(), 1, 3);
    std::printf("%ls\n", text);

    char narrow[64];
    int const converted = MBSToAscii(narrow, text, sizeof narrow);
    wchar_t wide[64];
    int const back = AsciiToMBS(wide, narrow, 64);
    std::printf("%s\n", narrow);

    long const number = _wcstol(L" 42 apples");
    std::printf("%ld\n", number);

    bool const cut = std::wcscmp(text, L"Colour is DARK BLUE, 1 of 3") == 0 && printed == 27;
    bool const there = converted == 1 && back == 1 && std::wcscmp(wide, text) == 0;
    return same && cut && there && number == 42 ? 0 : 1;
}
