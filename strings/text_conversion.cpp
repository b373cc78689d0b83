#include "strings/text_conversion.h"

#include <cstring>
#include <cwchar>
#include <langinfo.h>

namespace verrick {

namespace {

// Returns whether bytes below 128 stand for the characters of the same values.
bool HasPlainAscii() {
    char const* const encoding = nl_langinfo(CODESET);
    return std::strcmp(encoding, "UTF-8") == 0 || std::strcmp(encoding, "ANSI_X3.4-1968") == 0;
}

bool IsAscii(char c) {
    return static_cast<unsigned char>(c) < 128;
}

// Widens a text up to its first byte above 127, or all of it. Returns the number of characters.
std::size_t WidenPlainAscii(wchar_t* destination, char const* text) {
    std::size_t count = 0;
    for (; text[count] != '\0' && IsAscii(text[count]); ++count) {
        destination[count] = static_cast<wchar_t>(text[count]);
    }
    return count;
}

} // namespace

// The conversion gets one byte less than the room, so that a cut text can be terminated too. If it
// stops there, rest points to the first character that didn't fit. That may be the terminator.
Narrowed Narrow(char* destination, std::size_t room, wchar_t const* source) {
    std::mbstate_t state{};
    wchar_t const* rest = source;
    std::size_t const bytes = std::wcsrtombs(destination, &rest, room - 1, &state);
    if (bytes == kConversionFault) {
        return {false, false, 0};
    }
    destination[bytes] = '\0';
    return {true, rest == nullptr || *rest == L'\0', bytes};
}

bool NarrowName(char* destination, std::size_t size, wchar_t const* name) {
    return name != nullptr && Narrow(destination, size, name).whole;
}

bool Widen(wchar_t* destination, std::size_t size, char const* text) {
    std::mbstate_t state{};
    char const* rest = text;
    return std::mbsrtowcs(destination, &rest, size, &state) != kConversionFault && rest == nullptr;
}

// Most texts are ASCII, and for those libc's conversion takes long.
//
// Otherwise the first conversion stores all characters up to the fault, but doesn't say how many.
// The second one converts the same bytes again and counts.
void WidenUpToFault(wchar_t* destination, std::size_t size, char const* text) {
    if (HasPlainAscii()) {
        std::size_t const count = WidenPlainAscii(destination, text);
        if (text[count] == '\0') {
            destination[count] = L'\0';
            return;
        }
    }
    std::mbstate_t state{};
    char const* rest = text;
    if (std::mbsrtowcs(destination, &rest, size, &state) != kConversionFault) {
        return;
    }
    auto const bytes = static_cast<std::size_t>(rest - text);
    state = {};
    rest = text;
    std::size_t const count = mbsnrtowcs(destination, &rest, bytes, size, &state);
    destination[count] = L'\0';
}

NarrowText::NarrowText(wchar_t const* text) : m_length(0) {
    if (text == nullptr) {
        return;
    }
    std::mbstate_t state{};
    wchar_t const* rest = text;
    std::size_t const bytes = std::wcsrtombs(nullptr, &rest, 0, &state);
    if (bytes != kConversionFault) {
        m_text = std::make_unique_for_overwrite<char[]>(bytes + 1);
        m_length = Narrow(m_text.get(), bytes + 1, text).bytes;
    }
}

} // namespace verrick
