// The rules by which lines make sections and keys.
#pragma once

#include "ini/line_scanner.h"

namespace verrick {

// A scan of an INI file for headers and keys, by the line kinds that ini.h tells. Only lines that
// can matter get converted: what a line can be shows in its bytes, since every charset of a locale
// keeps ASCII where a character may begin.
class IniScan {
public:
    // line holds LineScanner::kLineElements elements and stays the caller's.
    IniScan(int descriptor, long start, wchar_t* line);

    // Go on behind the last line taken. NextSection leaves the name of the header that it found in
    // the line buffer; NextKey the key, and its value behind it. NextKey stops behind a header.
    bool NextSection();
    bool NextKey();

    // The same up to a name, compared trimmed and without regard to case; false for a null name.
    bool FindSection(wchar_t const* name);
    bool FindKey(wchar_t const* name);

    wchar_t* Line() { return m_line; }
    wchar_t* Value() { return m_value; }         // of the key last found, in the line buffer
    long KeyStart() const { return m_keyStart; } // offset of that key's own line
    long End() const { return m_lines.End(); }   // behind the last line taken
    bool Failed() const { return m_lines.Failed(); }

    // NextSection: the header found, or the end of the file. NextKey: the first of the comment
    // lines directly above the line that ended the scan, or that line.
    long Mark() const { return m_mark; }

private:
    void TakeLine();
    bool IsHeader() const;
    bool Find(bool (IniScan::*next)(), wchar_t const* name);

    LineScanner m_lines;
    wchar_t* m_line;
    wchar_t* m_value;
    long m_mark;
    long m_keyStart = 0;
};

} // namespace verrick
