#include <verrick/printing.h>

#include <cstdarg>
#include <cstddef>
#include <cwchar>
#include <iterator>

namespace {

constexpr std::size_t kDestinationElements = 512;
constexpr std::size_t kFormatElements = 4096;

// What may stand between the percent sign of a conversion and its letter.
constexpr wchar_t kFlagsWidthAndSize[] = L"-+ #0'I123456789*.$hlLqjztZ";

// Returns the next "%s" in text, or null if there is none. In "%%s" the percent sign is the second
// half of a doubled one, so that is no hit.
//
// "%-%" also prints a percent sign, but it isn't a plain doubled one. An s after it makes a hit.
wchar_t const* FindWideConversion(wchar_t const* text) {
    wchar_t const* percent = std::wcschr(text, L'%');
    while (percent != nullptr && percent[1] != L's') {
        wchar_t const* const letter = percent + 1 + std::wcsspn(percent + 1, kFlagsWidthAndSize);
        bool const plain = letter == percent + 1;
        if (*letter == L'%' && letter[1] == L's' && !plain) {
            return letter;
        }
        percent = *letter != L'\0' ? std::wcschr(letter + 1, L'%') : nullptr;
    }
    return percent;
}

// A text that is put together in a fixed array. Once a piece didn't fit, no other one is taken.
class BoundedText {
public:
    void Append(wchar_t const* text, std::size_t count) {
        m_fits = m_fits && count < std::size(m_text) - m_length;
        if (m_fits) {
            std::wmemcpy(m_text + m_length, text, count);
            m_length += count;
        }
    }

    // Returns the text, terminated, or null if a piece didn't fit.
    wchar_t const* Get() {
        m_text[m_length] = L'\0';
        return m_fits ? m_text : nullptr;
    }

private:
    wchar_t m_text[kFormatElements];
    std::size_t m_length = 0;
    bool m_fits = true;
};

// Returns the format for libc, which takes a plain "%s" for a narrow string. This is the caller's
// own format if it has no such conversion, and null if the new one doesn't fit.
wchar_t const* FormatForLibc(wchar_t const* format, BoundedText& rewritten) {
    wchar_t const* hit = FindWideConversion(format);
    if (hit == nullptr) {
        return format;
    }
    wchar_t const* rest = format;
    for (; hit != nullptr; hit = FindWideConversion(rest)) {
        rewritten.Append(rest, static_cast<std::size_t>(hit - rest));
        rewritten.Append(L"%ls", 3);
        rest = hit + 2;
    }
    rewritten.Append(rest, std::wcslen(rest));
    return rewritten.Get();
}

} // namespace

int _sprintf(wchar_t* destination, wchar_t const* format, ...) {
    if (destination == nullptr || format == nullptr) {
        return -1;
    }
    BoundedText rewritten;
    wchar_t const* const wideFormat = FormatForLibc(format, rewritten);
    if (wideFormat == nullptr) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    int const count = std::vswprintf(destination, kDestinationElements, wideFormat, arguments);
    va_end(arguments);
    return count;
}
