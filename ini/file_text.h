// Narrow text as it goes into an INI file.
#pragma once

#include <string>

namespace verrick {

constexpr char kLineEnd[] = "\r\n";

// Every operation throws std::bad_alloc.
class FileText {
public:
    FileText&& operator<<(char const* text) &&;
    FileText&& operator<<(FileText const& text) &&;

    // Text that the locale can't convert spoils all of it.
    FileText&& operator<<(wchar_t const* text) &&;

    // Adds a line of at most the bytes that the reader sees, cut at a whole character.
    void AddLine(char const* before, wchar_t const* text, char const* after);

    // Returns whether all of it was converted.
    bool IsWhole() const { return m_isWhole; }

    std::string const& Get() const { return m_text; }

private:
    std::string m_text;
    bool m_isWhole = true;
};

FileText KeyLine(wchar_t const* key, wchar_t const* value);

// A section with these lines, behind what the file has so far.
FileText NewSection(wchar_t const* section, FileText const& lines);

// A section with the lines of a multi-string.
FileText WholeSection(wchar_t const* section, wchar_t const* lines);

} // namespace verrick
