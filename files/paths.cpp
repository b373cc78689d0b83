#include <verrick/paths.h>

#include "frame/limits.h"
#include "strings/text_conversion.h"

#include <verrick/strings.h>

#include <algorithm>
#include <cwchar>
#include <memory>
#include <unistd.h>

namespace {

using verrick::kPathElements;

// The current directory in a private buffer, whole or not at all: what the caller has comes into
// play when the length is known.
class CurrentDirectory {
public:
    // False, and the text is empty, if there is none, or none of less than limitBytes.
    bool Read(std::size_t limitBytes) {
        bool const read = getcwd(m_narrow, std::min(limitBytes, sizeof m_narrow)) != nullptr;
        m_narrow[0] = read ? m_narrow[0] : '\0';
        return read;
    }

    // What was read, as wide text; null if it can't be converted.
    wchar_t const* Wide() {
        return verrick::Widen(m_wide, kPathElements, m_narrow) ? m_wide : nullptr;
    }

private:
    char m_narrow[kPathElements];
    wchar_t m_wide[kPathElements];
};

// Adds as much of text to the text in buffer as fits.
void AppendBounded(wchar_t* buffer, wchar_t const* text, std::size_t size) {
    std::wcsncat(buffer, text, size - std::wcslen(buffer) - 1);
}

} // namespace

unsigned int GetCurrentDir(wchar_t* buffer, unsigned int size) {
    CurrentDirectory directory;
    if (buffer == nullptr || !directory.Read(size)) {
        return 0;
    }
    wchar_t const* const wide = directory.Wide();
    if (wide == nullptr) {
        return 0;
    }
    std::size_t const length =
        std::wcslen(wide); // at most the length in bytes, which is under size
    std::wmemcpy(buffer, wide, length + 1);
    return static_cast<unsigned int>(length);
}

wchar_t* GetFullFilename(wchar_t const* name, wchar_t* buffer, unsigned int size) {
    if (name == nullptr || buffer == nullptr || size == 0) {
        return buffer;
    }
    std::unique_ptr<wchar_t[]> const copy(_strdup(name));
    buffer[0] = L'\0';
    _ltrim(copy.get());
    std::replace(copy.get(), copy.get() + std::wcslen(copy.get()), L'\\', L'/');
    if (copy[0] != L'/') {
        CurrentDirectory directory;
        directory.Read(kPathElements);
        wchar_t const* const wide = directory.Wide();
        if (wide == nullptr) {
            return buffer;
        }
        AppendBounded(buffer, wide, size);
        AppendBounded(buffer, L"/", size);
    }
    AppendBounded(buffer, copy.get(), size);
    return buffer;
}
