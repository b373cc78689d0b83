#include <verrick/paths.h>

#include "files/full_filename.h"
#include "frame/limits.h"
#include "strings/text_conversion.h"
#include "strings/white_space.h"

#include <verrick/strings.h>

#include <algorithm>
#include <cwchar>
#include <memory>
#include <unistd.h>

using verrick::kPathElements;

namespace {

// The current directory in buffers of its own. The caller's buffer isn't touched before the length
// is known.
class CurrentDirectory {
public:
    // Returns false if there is none, or none of less than limitBytes. Then the text is empty.
    bool Read(std::size_t limitBytes) {
        bool const read = getcwd(m_narrow, std::min(limitBytes, sizeof m_narrow)) != nullptr;
        m_narrow[0] = read ? m_narrow[0] : '\0';
        return read;
    }

    // Returns the text in wide characters, or null if it can't be converted.
    wchar_t const* Wide() {
        return verrick::Widen(m_wide, kPathElements, m_narrow) ? m_wide : nullptr;
    }

private:
    char m_narrow[kPathElements];
    wchar_t m_wide[kPathElements];
};

// Adds as much of text as fits to the text in buffer.
void AppendBounded(wchar_t* buffer, wchar_t const* text, std::size_t size) {
    std::wcsncat(buffer, text, size - std::wcslen(buffer) - 1);
}

bool IsSlash(wchar_t character) {
    return character == L'/' || character == L'\\';
}

// Adds the current directory and a slash to the empty text in buffer. Without a current directory
// the slash is added alone. If it can't be converted, nothing is added.
bool AppendCurrentDirectory(wchar_t* buffer, std::size_t size) {
    CurrentDirectory directory;
    bool const read = directory.Read(kPathElements);
    wchar_t const* const wide = directory.Wide();
    if (wide == nullptr) {
        return false;
    }
    AppendBounded(buffer, wide, size);
    AppendBounded(buffer, L"/", size);
    return read;
}

} // namespace

bool verrick::MakeFullFilename(wchar_t const* name, wchar_t* buffer, std::size_t size) {
    wchar_t const* const first = SkipSpace(name);
    buffer[0] = L'\0';
    bool const found = IsSlash(*first) || AppendCurrentDirectory(buffer, size);
    if (!found && buffer[0] == L'\0') {
        return false;
    }
    wchar_t* const added = buffer + std::wcslen(buffer);
    AppendBounded(buffer, first, size);
    std::replace(added, added + std::wcslen(added), L'\\', L'/');
    return found;
}

unsigned int GetCurrentDir(wchar_t* buffer, unsigned int size) {
    CurrentDirectory directory;
    if (buffer == nullptr || !directory.Read(size)) {
        return 0;
    }
    wchar_t const* const wide = directory.Wide();
    if (wide == nullptr) {
        return 0;
    }
    // No more characters than bytes, and those are fewer than size.
    std::size_t const length = std::wcslen(wide);
    std::wmemcpy(buffer, wide, length + 1);
    return static_cast<unsigned int>(length);
}

// The copy allows a caller to pass one buffer as both name and destination.
wchar_t* GetFullFilename(wchar_t const* name, wchar_t* buffer, unsigned int size) {
    if (name != nullptr && buffer != nullptr && size != 0) {
        std::unique_ptr<wchar_t[]> const copy(_strdup(name));
        verrick::MakeFullFilename(copy.get(), buffer, size);
    }
    return buffer;
}
