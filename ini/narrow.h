// Narrow text from wide text, for the library's own use.
#pragma once

#include <cstddef>
#include <memory>

namespace verrick {

// What wcsrtombs and mbsrtowcs give for text that doesn't convert.
constexpr auto kConversionFault = static_cast<std::size_t>(-1);

struct Narrowed {
    bool converted;    // no character was missing in the locale
    bool whole;        // converted, and nothing was cut
    std::size_t bytes; // what stands in the destination, without its terminator
};

// Converts as many whole characters of source as fit into room bytes, terminated. room is at
// least 1. Where a character is missing in the locale the destination is left unterminated.
Narrowed Narrow(char* destination, std::size_t room, wchar_t const* source);

// Narrow text of exactly the size that it needs, whatever its characters take: how names, keys and
// values of any length get converted. Immutable after construction.
class NarrowText {
public:
    // Throws std::bad_alloc. A null text and one with a character that is missing in the locale
    // leave the object without text.
    explicit NarrowText(wchar_t const* text);

    // Whether there is text.
    explicit operator bool() const { return m_text != nullptr; }

    // The terminated text, owned by this object; null if there is none.
    char const* Get() const { return m_text.get(); }

    // In bytes, without the terminator; 0 if there is none.
    std::size_t Length() const { return m_length; }

private:
    std::unique_ptr<char[]> m_text;
    std::size_t m_length;
};

} // namespace verrick
