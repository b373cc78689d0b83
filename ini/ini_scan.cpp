#include "ini/ini_scan.h"

#include <verrick/strings.h>

#include <cwchar>
#include <memory>

namespace verrick {
namespace {

// A line that begins with another character may begin with white space, so it is looked at in full.
bool IsAscii(unsigned char byte) {
    return byte < 0x80;
}

} // namespace

IniScan::IniScan(int descriptor, long start, wchar_t* line)
    : m_lines(descriptor, start), m_line(line), m_value(line), m_mark(start) {}

// Brings the line at hand into the line buffer, trimmed.
void IniScan::TakeLine() {
    m_lines.Widen(m_line);
    _trim(m_line);
}

// For a line that was taken.
bool IniScan::IsHeader() const {
    return m_line[0] == L'[' && std::wcschr(m_line, L']') != nullptr;
}

bool IniScan::NextSection() {
    for (;;) {
        m_mark = m_lines.End();
        if (!m_lines.Next()) {
            return false;
        }
        unsigned char const first = m_lines.FirstByte();
        if (IsAscii(first) && first != '[') {
            continue;
        }
        TakeLine();
        if (IsHeader()) {
            m_line[0] = L' ';
            *std::wcschr(m_line, L']') = L'\0';
            _trim(m_line);
            return true;
        }
    }
}

bool IniScan::NextKey() {
    m_mark = m_lines.End();
    while (m_lines.Next()) {
        unsigned char const first = m_lines.FirstByte();
        if (first == ';') {
            continue;
        }
        if (!IsAscii(first) || first == '[' || m_lines.MayHold('=')) {
            TakeLine();
            if (m_line[0] == L';') {
                continue;
            }
            if (IsHeader()) {
                return false;
            }
            if (wchar_t* const equals = std::wcschr(m_line, L'=')) {
                *equals = L'\0';
                m_value = equals + 1;
                m_keyStart = m_lines.Start();
                _trim(m_line);
                _trim(m_value);
                return true;
            }
        }
        m_mark = m_lines.End();
    }
    return false;
}

bool IniScan::Find(bool (IniScan::*next)(), wchar_t const* name) {
    std::unique_ptr<wchar_t[]> const wanted(_strdup(name));
    if (wanted == nullptr) {
        return false;
    }
    _trim(wanted.get());
    while ((this->*next)()) {
        if (_stricmp(m_line, wanted.get()) == 0) {
            return true;
        }
    }
    return false;
}

bool IniScan::FindSection(wchar_t const* name) {
    return Find(&IniScan::NextSection, name);
}

bool IniScan::FindKey(wchar_t const* name) {
    return Find(&IniScan::NextKey, name);
}

} // namespace verrick
