/**
 * @file
 * Values of INI files as std::wstring, int and bool. Opt in, and nothing here is exported.
 *
 * Each call reads one key through IIni::GetKeyValue, and returns defaultValue if the key or its
 * section is missing, or if the file can't be opened. An empty value is a value. The calls block
 * for the reading of the file and throw std::bad_alloc. An IIni object belongs to one thread at a
 * time.
 */
#ifndef VERRICK_CPP_INI_VALUES_H
#define VERRICK_CPP_INI_VALUES_H

#include <verrick/ini.h>
#include <verrick/strings.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cwchar>
#include <initializer_list>
#include <string>

namespace verrick {

/**
 * Returns the value of a key as text. section and key aren't null.
 */
inline std::wstring ReadString(IIni& ini, wchar_t const* section, wchar_t const* key,
                               std::wstring const& defaultValue = std::wstring()) {
    constexpr std::size_t lineSize = 2048; /* the longest line that the library sees */
    wchar_t const missing[] = L" "; /* no value, because values have no blanks at their ends */
    wchar_t value[lineSize] = L" "; /* stays so without a file */
    ini.GetKeyValue(section, key, missing, value, lineSize);
    return std::wcscmp(value, missing) == 0 ? defaultValue : std::wstring(value);
}

/**
 * Returns the value of a key as a number: decimal with an optional sign, or hexadecimal after 0x.
 * Returns defaultValue also for a value that isn't a number from end to end, and for a number that
 * int doesn't hold.
 */
inline int ReadInt(IIni& ini, wchar_t const* section, wchar_t const* key, int defaultValue) {
    std::wstring const value = ReadString(ini, section, key);
    std::size_t const digits = value.find_first_not_of(L"+-");
    bool const isHexadecimal =
        digits != std::wstring::npos &&
        (value.compare(digits, 2, L"0x") == 0 || value.compare(digits, 2, L"0X") == 0);
    wchar_t* end = nullptr;
    errno = 0;
    long long const number = std::wcstoll(value.c_str(), &end, isHexadecimal ? 16 : 10);
    bool const isNumber = end != value.c_str() && *end == L'\0';
    bool const fits = errno == 0 && number >= INT_MIN && number <= INT_MAX;
    return isNumber && fits ? static_cast<int>(number) : defaultValue;
}

/**
 * Returns the value of a key as a truth value. 1, true, yes and on are true, and 0, false, no and
 * off are false, without regard to case. Returns defaultValue also for any other value.
 */
inline bool ReadBool(IIni& ini, wchar_t const* section, wchar_t const* key, bool defaultValue) {
    std::wstring const value = ReadString(ini, section, key);
    for (wchar_t const* const word : {L"1", L"true", L"yes", L"on"}) {
        if (_stricmp(value.c_str(), word) == 0) {
            return true;
        }
    }
    for (wchar_t const* const word : {L"0", L"false", L"no", L"off"}) {
        if (_stricmp(value.c_str(), word) == 0) {
            return false;
        }
    }
    return defaultValue;
}

} // namespace verrick

#endif
