#include "ini/ini_scan.h"

#include "strings/text_conversion.h"

#include <verrick/strings.h>

#include <cstring>
#include <cwchar>
#include <cwctype>
#include <memory>

namespace verrick {
namespace {

// White space of ASCII is the same in every locale.
bool IsBlank(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// Any other byte may begin a character that is white space, so its line is looked at in full.
bool IsAscii(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

char const* SkipBlanks(char const* text, char const* end) {
    while (text != end && IsBlank(*text)) {
        ++text;
    }
    return text;
}

bool IsSameIgnoringCase(char byte, wchar_t character) {
    auto const wide = static_cast<wchar_t>(byte);
    return wide == character || std::towupper(static_cast<std::wint_t>(wide)) ==
                                    std::towupper(static_cast<std::wint_t>(character));
}

enum class Match { kNo, kYes, kMaybe };

// Compares the name that begins at text and ends at the delimiter, without a conversion. The result
// is kMaybe if a byte isn't plain, or if there is no delimiter.
Match MatchName(wchar_t const* name, char const* text, char const* end, char delimiter) {
    for (; text != end && IsPlain(*text); ++text, ++name) {
        if (*name == L'\0') {
            text = SkipBlanks(text, end);
            return text == end || !IsPlain(*text) ? Match::kMaybe
                   : *text == delimiter           ? Match::kYes
                                                  : Match::kNo;
        }
        if (*text == delimiter || !IsSameIgnoringCase(*text, *name)) {
            return Match::kNo;
        }
    }
    return Match::kMaybe;
}

} // namespace

IniScan::IniScan(int descriptor, long start, wchar_t* line)
    : m_lines(descriptor, start), m_line(line), m_value(line), m_mark(start) {}

void IniScan::TakeLine() {
    m_lines.Widen(m_line);
    _trim(m_line);
}

// Takes a section name of plain bytes from the line, which needs no conversion. Returns false if
// the name isn't of that kind.
bool IniScan::TakePlainHeader(char const* name, char const* end) {
    wchar_t* out = m_line;
    wchar_t* nameEnd = m_line;
    for (; name != end && IsPlain(*name) && *name != ']'; ++name) {
        *out++ = static_cast<wchar_t>(*name);
        nameEnd = *name != ' ' ? out : nameEnd;
    }
    *nameEnd = L'\0';
    return name != end && *name == ']';
}

// Turns the line buffer into a section name. Returns false if the line is no header.
bool IniScan::TakeHeader() {
    wchar_t* const end = m_line[0] == L'[' ? std::wcschr(m_line, L']') : nullptr;
    if (end == nullptr) {
        return false;
    }
    m_line[0] = L' ';
    *end = L'\0';
    _trim(m_line);
    return true;
}

// Splits the line buffer into key and value. Returns false if the line is no key line.
bool IniScan::TakeKey() {
    wchar_t* const equals = std::wcschr(m_line, L'=');
    if (equals == nullptr) {
        return false;
    }
    *equals = L'\0';
    m_value = equals + 1;
    m_keyStart = m_lines.Start();
    _trim(m_line);
    _trim(m_value);
    return true;
}

// A null name is any name. Headers that can't have another one are passed over like other lines.
bool IniScan::NextSectionLike(wchar_t const* name) {
    bool found = false;
    while (!found && m_lines.NextHolding('[')) {
        char const* const end = m_lines.TextEnd();
        char const* const text = SkipBlanks(m_lines.Text(), end);
        if (text == end || (IsAscii(*text) && *text != '[')) {
            continue;
        }
        char const* const inside = SkipBlanks(text + 1, end);
        bool const isPlain = *text == '[' && name != nullptr;
        Match const match = isPlain ? MatchName(name, inside, end, ']') : Match::kMaybe;
        if (match == Match::kNo) {
            continue;
        }
        m_isNamed = match == Match::kYes;
        found = *text == '[' && TakePlainHeader(inside, end);
        if (!found) {
            TakeLine();
            found = TakeHeader();
        }
    }
    m_mark = found ? m_lines.Start() : m_lines.End();
    return found;
}

// A null name is any name. For another, keys that can't have it are passed over like other lines.
// Only a comment leaves the mark where it is.
bool IniScan::NextKeyLike(wchar_t const* name) {
    m_mark = m_lines.End();
    while (m_lines.Next()) {
        char const* const end = m_lines.TextEnd();
        char const* const text = SkipBlanks(m_lines.Text(), end);
        bool const isEmpty = text == end;
        if (!isEmpty && *text == ';') {
            continue;
        }
        bool const mayBeHeader = !isEmpty && (*text == '[' || !IsAscii(*text));
        Match const match = name != nullptr ? MatchName(name, text, end, '=') : Match::kMaybe;
        m_isNamed = match == Match::kYes;
        bool const mayBeKey =
            !isEmpty && match != Match::kNo &&
            std::memchr(text, '=', static_cast<std::size_t>(end - text)) != nullptr;
        if (mayBeHeader || mayBeKey) {
            TakeLine();
            if (m_line[0] == L';') {
                continue;
            }
            if (TakeHeader()) {
                return false;
            }
            if (TakeKey()) {
                return true;
            }
        }
        m_mark = m_lines.End();
    }
    return false;
}

bool IniScan::Find(bool (IniScan::*nextLike)(wchar_t const*), wchar_t const* name) {
    std::unique_ptr<wchar_t[]> const wanted(_strdup(name));
    if (wanted == nullptr) {
        return false;
    }
    _trim(wanted.get());
    while ((this->*nextLike)(wanted.get())) {
        if (m_isNamed || _stricmp(m_line, wanted.get()) == 0) {
            return true;
        }
    }
    return false;
}

bool IniScan::FindSection(wchar_t const* name) {
    return Find(&IniScan::NextSectionLike, name);
}

bool IniScan::FindKey(wchar_t const* name) {
    return Find(&IniScan::NextKeyLike, name);
}

} // namespace verrick
