#include <verrick/printing.h>

#include <cstdarg>
#include <cstddef>
#include <cwchar>
#include <iterator>

namespace {

constexpr std::size_t kDestinationElements = 512;
constexpr std::size_t kFormatElements = 4096;

// A percent sign behind an odd number of others is the second half of a doubled one.
bool IsDoubled(wchar_t const* percent, wchar_t const* format) {
    wchar_t const* first = percent;
    while (first > format && first[-1] == L'%') {
        --first;
    }
    return (percent - first) % 2 != 0;
}

// The next plain "%s" at from or behind it; null if there is none.
wchar_t const* FindWideConversion(wchar_t const* from, wchar_t const* format) {
    wchar_t const* hit = std::wcsstr(from, L"%s");
    while (hit != nullptr && IsDoubled(hit, format)) {
        hit = std::wcsstr(hit + 2, L"%s");
    }
    return hit;
}

// A text under construction in a fixed array. Once a piece didn't fit, nothing fits any more.
class BoundedText {
public:
    void Append(wchar_t const* text, std::size_t count) {
        m_fits = m_fits && count < std::size(m_text) - m_length;
        if (m_fits) {
            std::wmemcpy(m_text + m_length, text, count);
            m_length += count;
        }
    }

    // The text, terminated; null if a piece didn't fit.
    wchar_t const* Get() {
        m_text[m_length] = L'\0';
        return m_fits ? m_text : nullptr;
    }

private:
    wchar_t m_text[kFormatElements];
    std::size_t m_length = 0;
    bool m_fits = true;
};

// The format in libc's words, where a plain "%s" would take a narrow string; it is the caller's own
// if it holds none. Null if it doesn't fit.
wchar_t const* ForLibc(wchar_t const* format, BoundedText& rewritten) {
    wchar_t const* hit = FindWideConversion(format, format);
    if (hit == nullptr) {
        return format;
    }
    wchar_t const* rest = format;
    for (; hit != nullptr; hit = FindWideConversion(rest, format)) {
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
    wchar_t const* const wideFormat = ForLibc(format, rewritten);
    if (wideFormat == nullptr) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    int const count = std::vswprintf(destination, kDestinationElements, wideFormat, arguments);
    va_end(arguments);
    return count;
}
