#include <verrick/ini.h>

#include "frame/limits.h"
#include "ini/ini_scan.h"
#include "strings/text_conversion.h"

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <functional>
#include <iterator>
#include <unistd.h>

namespace {

using verrick::IniScan;

constexpr mode_t kNewFileMode = 0666; // before the process's umask

// Creates a file that is missing. One that came into being meanwhile keeps what it holds.
FILE* Create(char const* fileName) {
    int const descriptor = open(fileName, O_RDWR | O_CREAT, kNewFileMode);
    if (descriptor == -1) {
        return nullptr;
    }
    FILE* const file = fdopen(descriptor, "wb+");
    if (file == nullptr) {
        close(descriptor);
    }
    return file;
}

} // namespace

DIniImpl::DIniImpl(wchar_t const* fileName)
    : m_fileName{}, m_file(nullptr), m_lineStart(0),
      m_line(new wchar_t[verrick::LineScanner::kLineElements]()), m_value(m_line),
      m_lineSize(verrick::LineScanner::kLineElements), m_mode{"rb"}, m_keyStart(0),
      m_readFailed(false) {
    if (fileName != nullptr) {
        DIniImpl::Open(fileName);
    }
}

DIniImpl::~DIniImpl() {
    DIniImpl::Close();
    delete[] m_line;
}

// A name that can't be used replaces the one before all the same, or else later operations would
// work on another file than the last one asked for. In the constructor, Close is this class's own.
int DIniImpl::Open(wchar_t const* fileName) {
    Close(); // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall)
    m_lineStart = 0;
    m_value = m_line;
    m_readFailed = false;
    if (fileName == nullptr || std::wcslen(fileName) >= std::size(m_fileName)) {
        m_fileName[0] = L'\0';
        return 0;
    }
    if (std::wcscmp(fileName, m_fileName) != 0) {
        std::wcscpy(m_fileName, fileName);
    }
    char narrowName[verrick::kPathElements];
    if (!verrick::NarrowName(narrowName, sizeof narrowName, m_fileName)) {
        return 0;
    }
    m_file = std::fopen(narrowName, m_mode);
    if (m_file == nullptr && errno == ENOENT) {
        m_file = Create(narrowName);
    }
    return m_file != nullptr ? 1 : 0;
}

void DIniImpl::Close() {
    if (m_file != nullptr) {
        std::fclose(m_file);
        m_file = nullptr;
    }
}

// What every operation begins with; false if there is no stream.
bool DIniImpl::Reopen(char const* mode) {
    std::memcpy(m_mode, mode, std::strlen(mode) + 1);
    Open(m_fileName);
    return m_file != nullptr;
}

// Runs one scan from an offset on, and keeps what it found. The stream stays where it is.
template<typename Step>
bool DIniImpl::Scan(long start, Step step) {
    IniScan scan(fileno(m_file), start, m_line);
    bool const found = std::invoke(step, scan);
    m_lineStart = scan.Mark();
    m_keyStart = scan.KeyStart();
    m_value = scan.Value();
    m_readFailed |= scan.Failed();
    return found;
}

// The same from the stream's position on, which it leaves behind the last line taken.
template<typename Step>
bool DIniImpl::ScanOn(Step step) {
    if (m_file == nullptr) {
        return false;
    }
    long end = std::ftell(m_file);
    bool const found = Scan(end, [&](IniScan& scan) {
        bool const result = std::invoke(step, scan);
        end = scan.End();
        return result;
    });
    std::fseek(m_file, end, SEEK_SET);
    return found;
}

bool DIniImpl::GetSection() {
    return ScanOn(&IniScan::NextSection);
}

bool DIniImpl::GetKey() {
    return ScanOn(&IniScan::NextKey);
}

bool DIniImpl::FindSection(wchar_t const* name) {
    return ScanOn([name](IniScan& scan) { return scan.FindSection(name); });
}

bool DIniImpl::FindKey(wchar_t const* name) {
    return ScanOn([name](IniScan& scan) { return scan.FindKey(name); });
}

bool DIniImpl::AddString(wchar_t const* text, wchar_t* out, unsigned int* position,
                         unsigned int limit) {
    if (*position > limit) {
        return false;
    }
    std::size_t const room = limit - *position;
    std::size_t const wanted = std::wcslen(text);
    std::size_t const length = wanted < room ? wanted : room;
    std::wmemmove(out + *position, text, length);
    *position += static_cast<unsigned int>(length);
    out[*position] = L'\0';
    return length == wanted;
}

// What the lists have in common: find leads to the first entry, next to each further one, and add
// stores an entry at the position, with no terminator above limit.
template<typename Find, typename Next, typename Add>
unsigned int DIniImpl::List(wchar_t* out, unsigned int size, Find find, Next next, Add add) {
    if (!Reopen("rb") || out == nullptr || size <= 1) {
        return 0;
    }
    out[0] = L'\0';
    out[1] = L'\0';
    unsigned int position = 0;
    unsigned int const limit = size - 2;
    bool const found = Scan(0, [&](IniScan& scan) {
        bool const begun = find(scan);
        for (bool whole = begun; whole && (scan.*next)();) {
            whole = add(scan, &position, limit);
            if (position <= limit) {
                ++position; // over the terminator, if there was room for one
            }
        }
        return begun;
    });
    if (!found) {
        return 0;
    }
    out[position] = L'\0';
    return position > 0 ? position - 1 : 0;
}

unsigned int DIniImpl::GetSectionNames(wchar_t* out, unsigned int size) {
    return List(
        out, size, [](IniScan&) { return true; }, &IniScan::NextSection,
        [&](IniScan& scan, unsigned int* position, unsigned int limit) {
            return AddString(scan.Line(), out, position, limit);
        });
}

unsigned int DIniImpl::GetKeyNames(wchar_t const* section, wchar_t* out, unsigned int size) {
    return List(
        out, size, [&](IniScan& scan) { return scan.FindSection(section); }, &IniScan::NextKey,
        [&](IniScan& scan, unsigned int* position, unsigned int limit) {
            return AddString(scan.Line(), out, position, limit);
        });
}

unsigned int DIniImpl::GetSection(wchar_t const* section, wchar_t* out, unsigned int size) {
    return List(
        out, size, [&](IniScan& scan) { return scan.FindSection(section); }, &IniScan::NextKey,
        [&](IniScan& scan, unsigned int* position, unsigned int limit) {
            return AddString(scan.Line(), out, position, limit) &&
                   AddString(L"=", out, position, limit) &&
                   AddString(scan.Value(), out, position, limit);
        });
}

unsigned int DIniImpl::GetKeyValue(wchar_t const* section, wchar_t const* key,
                                   wchar_t const* defaultValue, wchar_t* out, unsigned int size) {
    if (!Reopen("rb") || out == nullptr || size == 0) {
        return 0;
    }
    bool const found =
        Scan(0, [&](IniScan& scan) { return scan.FindSection(section) && scan.FindKey(key); });
    wchar_t const* const missing = defaultValue != nullptr ? defaultValue : L"";
    unsigned int position = 0;
    AddString(found ? m_value : missing, out, &position, size - 1);
    return position;
}
