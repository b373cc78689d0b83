#include "ini/narrow.h"

#include <cwchar>

namespace verrick {

// One element of the room is kept back, so that a cut text can be terminated too. A conversion that
// stops there has left rest on the first character that didn't fit, maybe the terminator.
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
