#include "strings/text_conversion.h"

#include <cstring>
#include <cwchar>

namespace verrick {

namespace {

// Copies the plain characters at the start of text, at most limit of them. Returns their number.
template<typename To, typename From>
std::size_t CopyPlain(To* destination, From const* text, std::size_t limit) {
    std::size_t count = 0;
    for (; count < limit && IsPlain(text[count]); ++count) {
        destination[count] = static_cast<To>(text[count]);
    }
    return count;
}

} // namespace

// The conversion gets one byte less than the room, so that a cut text can be terminated too. If it
// stops there, rest points to the first character that didn't fit. That may be the terminator.
Narrowed Narrow(char* destination, std::size_t room, wchar_t const* source) {
    std::size_t bytes = CopyPlain(destination, source, room - 1);
    wchar_t const* rest = source + bytes;
    if (*rest != L'\0') {
        std::mbstate_t state{};
        std::size_t const converted =
            std::wcsrtombs(destination + bytes, &rest, room - 1 - bytes, &state);
        if (converted == kConversionFault) {
            return {false, false};
        }
        bytes += converted;
    }
    destination[bytes] = '\0';
    return {true, rest == nullptr || *rest == L'\0'};
}

bool NarrowName(char* destination, std::size_t size, wchar_t const* name) {
    return name != nullptr && Narrow(destination, size, name).whole;
}

bool Widen(wchar_t* destination, std::size_t size, char const* text) {
    std::mbstate_t state{};
    char const* rest = text;
    return std::mbsrtowcs(destination, &rest, size, &state) != kConversionFault && rest == nullptr;
}

// The first conversion stores all characters up to the fault, but doesn't say how many. The second
// one converts the same bytes again and counts.
void WidenUpToFault(wchar_t* destination, std::size_t size, char const* text) {
    std::size_t const plain = CopyPlain(destination, text, size);
    destination += plain;
    text += plain;
    size -= plain;
    if (*text == '\0') {
        *destination = L'\0';
        return;
    }
    std::mbstate_t state{};
    char const* rest = text;
    if (std::mbsrtowcs(destination, &rest, size, &state) != kConversionFault) {
        return;
    }
    auto const bytes = static_cast<std::size_t>(rest - text);
    state = {};
    rest = text;
    // cppcheck-suppress nullPointer ; it takes this number of bytes for a pointer
    std::size_t const count = mbsnrtowcs(destination, &rest, bytes, size, &state);
    destination[count] = L'\0';
}

NarrowText::NarrowText(wchar_t const* text) {
    if (text == nullptr) {
        return;
    }
    std::mbstate_t state{};
    wchar_t const* rest = text;
    std::size_t const bytes = std::wcsrtombs(nullptr, &rest, 0, &state);
    if (bytes != kConversionFault) {
        m_text = std::make_unique_for_overwrite<char[]>(bytes + 1);
        Narrow(m_text.get(), bytes + 1, text);
    }
}

} // namespace verrick
