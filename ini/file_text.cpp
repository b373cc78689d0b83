#include "ini/file_text.h"

#include "ini/line_scanner.h"
#include "strings/text_conversion.h"

#include <cwchar>
#include <utility>

namespace verrick {

FileText&& FileText::operator<<(char const* text) && {
    m_text += text;
    return std::move(*this);
}

FileText&& FileText::operator<<(FileText const& text) && {
    m_text += text.m_text;
    m_isWhole = m_isWhole && text.m_isWhole;
    return std::move(*this);
}

FileText&& FileText::operator<<(wchar_t const* text) && {
    NarrowText const narrow(text);
    m_isWhole = m_isWhole && narrow;
    return std::move(*this) << (narrow ? narrow.Get() : "");
}

void FileText::AddLine(char const* before, wchar_t const* text, char const* after) {
    char line[LineScanner::kLineElements];
    Narrowed const narrowed = Narrow(line, sizeof line, text);
    m_isWhole = m_isWhole && narrowed.converted;
    if (narrowed.converted) {
        m_text.append(before).append(line).append(after);
    }
}

FileText KeyLine(wchar_t const* key, wchar_t const* value) {
    return FileText() << key << "=" << value << kLineEnd;
}

FileText NewSection(wchar_t const* section, FileText const& lines) {
    return FileText() << kLineEnd << "[" << section << "]" << kLineEnd << lines;
}

FileText WholeSection(wchar_t const* section, wchar_t const* lines) {
    FileText text;
    text.AddLine("[", section, "]\r\n");
    for (wchar_t const* line = lines; *line != L'\0'; line += std::wcslen(line) + 1) {
        text.AddLine("", line, kLineEnd);
    }
    return text;
}

} // namespace verrick
