/*
 * GetPrivateProfileInt, for verrick/win32.h.
 */
#ifndef VERRICK_DETAIL_WIN32_PROFILE_H
#define VERRICK_DETAIL_WIN32_PROFILE_H

#include <verrick/detail/win32_types.h>
#include <verrick/flat/ini.h>

/* Returns the value of a digit in a base of at most 16, or -1 for any other character. */
VERRICK_WIN32_CALL int VerrickDigit(wchar_t character, UINT base) {
    int digit = -1;
    if (character >= L'0' && character <= L'9') {
        digit = (int)(character - L'0');
    } else if (character >= L'a' && character <= L'f') {
        digit = (int)(character - L'a') + 10;
    } else if (character >= L'A' && character <= L'F') {
        digit = (int)(character - L'A') + 10;
    }
    return digit < (int)base ? digit : -1;
}

/* Returns the number that text begins with. It wraps at 32 bits, as Win32 has it. */
VERRICK_WIN32_CALL UINT VerrickLeadingNumber(wchar_t const* text) {
    int const isNegative = *text == L'-';
    UINT base = 10;
    UINT number = 0;
    int digit = 0;
    text += *text == L'-' || *text == L'+';
    if (text[0] == L'0' && (text[1] == L'x' || text[1] == L'X')) {
        base = 16;
        text += 2;
    }
    for (; (digit = VerrickDigit(*text, base)) >= 0; ++text) {
        number = number * base + (UINT)digit;
    }
    return isNegative ? 0U - number : number;
}

/**
 * Returns the number that the value of a key begins with. It is decimal with an optional sign, or
 * hexadecimal after 0x. A value that begins with anything else, a quote too, is 0. A number beyond
 * 32 bits keeps its low 32.
 *
 * Returns defaultValue for a key that isn't there or has no value, and for a file that can't be
 * opened. A missing file is created, empty, as by every read of a private profile. Blocks for the
 * reading of the file. Throws std::bad_alloc into C++.
 */
VERRICK_WIN32_CALL UINT GetPrivateProfileInt(LPCWSTR section, LPCWSTR key, INT defaultValue,
                                             LPCWSTR fileName) {
    wchar_t value[256];
    if (section == NULL || key == NULL ||
        GetPrivateProfileString(section, key, L"", value, 256, fileName) == 0) {
        return (UINT)defaultValue;
    }
    return VerrickLeadingNumber(value);
}

#endif
