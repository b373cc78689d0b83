// The rules by which lines make sections and keys.
#pragma once

#include "ini/line_scanner.h"

namespace verrick {

// A scan of an INI file for headers and keys. ini.h tells the kinds of lines.
//
// Only lines that can matter are converted. What a line can be shows in its bytes, because every
// charset of a locale keeps ASCII where a character may begin.
class IniScan {
public:
    // line has LineScanner::kLineElements elements and stays the caller's. start is the offset at
    // which the scan begins.
    IniScan(int descriptor, long start, wchar_t* line);

    // Each goes on after the last line taken. NextSection leaves the name of the header that it
    // found in the line buffer. NextKey leaves the key there, and its value after it. NextKey also
    // ends after a header, and returns false then.
    bool NextSection() { return NextSectionLike(nullptr); }
    bool NextKey() { return NextKeyLike(nullptr); }

    // The same, up to the header or key of this name. Names are compared trimmed and without regard
    // to case. Returns false for a null name. Throws std::bad_alloc.
    bool FindSection(wchar_t const* name);
    bool FindKey(wchar_t const* name);

    wchar_t* Line() { return m_line; }
    wchar_t* Value() { return m_value; }         // of the key last found, in the line buffer
    long KeyStart() const { return m_keyStart; } // offset of that key's own line
    long End() const { return m_lines.End(); }   // offset after the last line taken

    // Returns whether the scan ended at a read error.
    bool Failed() const { return m_lines.Failed(); }

    // After NextSection: the header found, or the end of the file. After NextKey: the first of the
    // comment lines directly above the line that ended the scan, or that line.
    long Mark() const { return m_mark; }

private:
    bool NextSectionLike(wchar_t const* name);
    bool NextKeyLike(wchar_t const* name);
    bool Find(bool (IniScan::*nextLike)(wchar_t const*), wchar_t const* name);
    void TakeLine();
    bool TakePlainHeader(char const* name, char const* end);
    bool TakeHeader();
    bool TakeKey();

    LineScanner m_lines;
    wchar_t* m_line;
    wchar_t* m_value;
    long m_mark;
    long m_keyStart = 0;
    bool m_isNamed = false; // the line found has the wanted name for sure
};

} // namespace verrick
