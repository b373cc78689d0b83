// Narrow text from wide text, and wide text from narrow text, for the library's own use.
//
// Narrow text is in the encoding of the process's LC_CTYPE. Every call here is safe from any
// thread.
#pragma once

#include <cstddef>
#include <memory>

namespace verrick {

// What wcsrtombs and mbsrtowcs return for text that doesn't convert.
constexpr auto kConversionFault = static_cast<std::size_t>(-1);

// Returns whether a character has the same code in every charset of a locale. ASCII letters, digits
// and most signs do. A backslash, a tilde and control characters may not. Plain text needs no
// conversion, which would take most of the time of a short call.
template<typename Character>
constexpr bool IsPlain(Character character) {
    return character >= ' ' && character < '~' && character != '\\';
}

struct Narrowed {
    bool converted; // the locale has every character
    bool whole;     // converted, and nothing was cut
};

// Converts as many whole characters of source as fit into room bytes, and terminates them. room is
// at least 1. If the locale lacks a character, the destination is left without a terminator.
Narrowed Narrow(char* destination, std::size_t room, wchar_t const* source);

// Converts a name of the system (a path, a symbol) into size bytes. Returns false for a null name,
// for a name that takes more, and for one that the locale can't convert. A part of a name would
// name something else. The destination then holds no usable text.
bool NarrowName(char* destination, std::size_t size, wchar_t const* name);

// Converts text into size wide characters, with the terminator. Returns false if the text doesn't
// fit or can't be converted. The destination then holds no usable text.
bool Widen(wchar_t* destination, std::size_t size, char const* text);

// Converts text up to the first byte that can't be converted, and terminates it. The
// destination's size is in wide characters. It is greater than the number of bytes in text.
void WidenUpToFault(wchar_t* destination, std::size_t size, char const* text);

// Narrow text in memory of its own, as long as it needs to be: for names, keys and values of any
// length. Immutable after construction.
class NarrowText {
public:
    // Throws std::bad_alloc. The object has no text after a null text, and after one with a
    // character that the locale lacks.
    explicit NarrowText(wchar_t const* text);

    // Returns whether there is text.
    explicit operator bool() const { return m_text != nullptr; }

    // Returns the terminated text, which this object owns, or null if there is none.
    char const* Get() const { return m_text.get(); }

private:
    std::unique_ptr<char[]> m_text;
};

} // namespace verrick
