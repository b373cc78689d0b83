/*
 * GetPrivateProfileInt, for verrick/win32.h.
 */
#ifndef VERRICK_DETAIL_WIN32_PROFILE_H
#define VERRICK_DETAIL_WIN32_PROFILE_H

#include <verrick/detail/win32_types.h>
#include <verrick/flat/ini.h>

#include <wchar.h>

/**
 * Returns the number that the value of a key begins with: decimal with an optional sign, or
 * hexadecimal after 0x. A value that begins with anything else is 0. A number beyond 32 bits keeps
 * its low 32.
 *
 * Returns defaultValue for a key that isn't there or has no value, and for a file that can't be
 * opened. A missing file is created, empty, as by every read of a private profile.
 */
static inline UINT GetPrivateProfileInt(LPCWSTR section, LPCWSTR key, INT defaultValue,
                                        LPCWSTR fileName) {
    wchar_t value[64];
    wchar_t const* digits = value;
    int negative = 0;
    unsigned long long number = 0;
    if (section == NULL || key == NULL ||
        GetPrivateProfileString(section, key, L"", value, 64, fileName) == 0) {
        return (UINT)defaultValue;
    }
    negative = *digits == L'-';
    digits += *digits == L'-' || *digits == L'+';
    if (*digits >= L'0' && *digits <= L'9') {
        int const hexadecimal = digits[0] == L'0' && (digits[1] == L'x' || digits[1] == L'X');
        number = wcstoull(digits, NULL, hexadecimal ? 16 : 10);
    }
    return negative ? 0U - (UINT)number : (UINT)number;
}

#endif
