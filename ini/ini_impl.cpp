#include <verrick/ini.h>

#include "frame/limits.h"
#include "ini/file_text.h"
#include "ini/ini_file.h"
#include "ini/ini_scan.h"
#include "strings/text_conversion.h"

#include <cstring>
#include <cwchar>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <typeinfo>
#include <utility>

namespace {

using verrick::FileText;
using verrick::IniFile;
using verrick::IniScan;
using verrick::KeyLine;
using verrick::kLineEnd;
using verrick::WholeSection;

constexpr long kFileEnd = std::numeric_limits<long>::max();

// Puts text in the place of the bytes from start to end.
bool Put(int descriptor, long start, long end, FileText const& text) {
    return text.IsWhole() &&
           IniFile(descriptor).Replace(start, end, text.Get().data(), text.Get().size());
}

} // namespace

// What the operations share.
struct DIniImpl::Steps {
    // What each operation begins with. Returns whether there is a stream.
    static bool Reopen(DIniImpl& ini, char const* mode) {
        std::memcpy(ini.m_mode, mode, std::strlen(mode) + 1);
        ini.Open(ini.m_fileName);
        return ini.m_file != nullptr;
    }

    // The same for an edit, which takes a regular file only.
    static bool ReopenToEdit(DIniImpl& ini) {
        return Reopen(ini, "rb+") && IniFile(fileno(ini.m_file)).IsRegular();
    }

    static IniScan Scan(DIniImpl& ini, long start) {
        return IniScan(fileno(ini.m_file), start, ini.m_line);
    }

    // Runs one scan from the stream's position on. It leaves the stream after the last line taken.
    template<typename Step>
    static bool ScanOn(DIniImpl& ini, Step step) {
        if (ini.m_file == nullptr) {
            return false;
        }
        IniScan scan = Scan(ini, std::ftell(ini.m_file));
        bool const found = std::invoke(step, scan);
        ini.m_lineStart = scan.Mark();
        ini.m_value = scan.Value();
        std::fseek(ini.m_file, scan.End(), SEEK_SET);
        return found;
    }

    // What the lists share. find leads to the first entry, and next leads to each further one. add
    // stores an entry at the position, without a terminator beyond limit. It returns whether the
    // entry fitted whole.
    template<typename Find, typename Next, typename Add>
    static unsigned int List(DIniImpl& ini, wchar_t* out, unsigned int size, Find find, Next next,
                             Add add) {
        if (!Reopen(ini, "rb") || out == nullptr || size <= 1) {
            return 0;
        }
        out[0] = L'\0';
        out[1] = L'\0';
        IniScan scan = Scan(ini, 0);
        if (!find(scan)) {
            return 0;
        }
        unsigned int position = 0;
        unsigned int const limit = size - 2;
        for (bool whole = true; whole && (scan.*next)();) {
            whole = add(scan, &position, limit);
            if (position <= limit) {
                ++position; // over the terminator, if there was room for one
            }
        }
        out[position] = L'\0';
        return position > 0 ? position - 1 : 0;
    }

    // Replaces the section whose header the scan has just found. Nothing moves in the last one.
    static bool ReplaceFoundSection(DIniImpl& ini, IniScan& scan, FileText const& text);

    class HeldFile;
};

// Holds the file that was scanned while a class that overrides Open opens it again. Such a class
// sees the two openings that belong to a move. Both come before anything changes, so that a failed
// one leaves the file as it was.
class DIniImpl::Steps::HeldFile {
public:
    explicit HeldFile(DIniImpl& ini) : m_ini(ini), m_descriptor(fileno(ini.m_file)) {
        if (typeid(ini) == typeid(DIniImpl)) {
            return;
        }
        m_scanned.reset(ini.m_file);
        ini.m_file = nullptr;
        for (int openings = 0; openings < 2; ++openings) {
            ini.Open(ini.m_fileName);
            if (ini.m_file == nullptr) {
                return;
            }
        }
    }

    // Puts text in the place of the bytes from start to end. Returns false if an opening failed.
    bool Replace(long start, long end, FileText const& text) const {
        return m_ini.m_file != nullptr && Put(m_descriptor, start, end, text);
    }

private:
    struct Close {
        void operator()(FILE* file) const { std::fclose(file); }
    };

    DIniImpl& m_ini;
    int m_descriptor;
    std::unique_ptr<FILE, Close> m_scanned;
};

bool DIniImpl::Steps::ReplaceFoundSection(DIniImpl& ini, IniScan& scan, FileText const& text) {
    long const start = scan.Mark();
    bool const isLast = !scan.NextSection();
    if (scan.Failed()) {
        return false;
    }
    return isLast ? Put(fileno(ini.m_file), start, kFileEnd, text)
                  : HeldFile(ini).Replace(start, scan.Mark(), text);
}

DIniImpl::DIniImpl(wchar_t const* fileName)
    : m_fileName{}, m_file(nullptr), m_lineStart(0),
      m_line(new wchar_t[verrick::LineScanner::kLineElements]()), m_value(m_line),
      m_lineSize(verrick::LineScanner::kLineElements), m_mode{"rb"} {
    if (fileName != nullptr) {
        DIniImpl::Open(fileName);
    }
}

DIniImpl::~DIniImpl() {
    DIniImpl::Close();
    delete[] m_line;
}

// A name that can't be used still replaces the one before. Otherwise later operations would work on
// another file than the last one asked for. In the constructor, Close is this class's own.
int DIniImpl::Open(wchar_t const* fileName) {
    Close(); // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall)
    m_lineStart = 0;
    m_value = m_line;
    std::size_t const length = fileName != nullptr ? std::wcslen(fileName) : std::size(m_fileName);
    if (length >= std::size(m_fileName)) {
        m_fileName[0] = L'\0';
        return 0;
    }
    if (fileName != m_fileName) {
        std::wmemmove(m_fileName, fileName, length + 1);
    }
    char narrowName[verrick::kPathElements];
    if (verrick::NarrowName(narrowName, sizeof narrowName, m_fileName)) {
        m_file = verrick::OpenIniFile(narrowName, m_mode);
    }
    return m_file != nullptr ? 1 : 0;
}

void DIniImpl::Close() {
    if (m_file != nullptr) {
        std::fclose(m_file);
        m_file = nullptr;
    }
}

bool DIniImpl::GetSection() {
    return Steps::ScanOn(*this, &IniScan::NextSection);
}

bool DIniImpl::GetKey() {
    return Steps::ScanOn(*this, &IniScan::NextKey);
}

bool DIniImpl::FindSection(wchar_t const* name) {
    return Steps::ScanOn(*this, [name](IniScan& scan) { return scan.FindSection(name); });
}

bool DIniImpl::FindKey(wchar_t const* name) {
    return Steps::ScanOn(*this, [name](IniScan& scan) { return scan.FindKey(name); });
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

unsigned int DIniImpl::GetSectionNames(wchar_t* out, unsigned int size) {
    return Steps::List(
        *this, out, size, [](IniScan&) { return true; }, &IniScan::NextSection,
        [&](IniScan& scan, unsigned int* position, unsigned int limit) {
            return AddString(scan.Line(), out, position, limit);
        });
}

unsigned int DIniImpl::GetKeyNames(wchar_t const* section, wchar_t* out, unsigned int size) {
    return Steps::List(
        *this, out, size, [&](IniScan& scan) { return scan.FindSection(section); },
        &IniScan::NextKey,
        [&](IniScan& scan, unsigned int* position, unsigned int limit) {
            return AddString(scan.Line(), out, position, limit);
        });
}

unsigned int DIniImpl::GetSection(wchar_t const* section, wchar_t* out, unsigned int size) {
    return Steps::List(
        *this, out, size, [&](IniScan& scan) { return scan.FindSection(section); },
        &IniScan::NextKey,
        [&](IniScan& scan, unsigned int* position, unsigned int limit) {
            return AddString(scan.Line(), out, position, limit) &&
                   AddString(L"=", out, position, limit) &&
                   AddString(scan.Value(), out, position, limit);
        });
}

unsigned int DIniImpl::GetKeyValue(wchar_t const* section, wchar_t const* key,
                                   wchar_t const* defaultValue, wchar_t* out, unsigned int size) {
    if (!Steps::Reopen(*this, "rb") || out == nullptr || size == 0) {
        return 0;
    }
    IniScan scan = Steps::Scan(*this, 0);
    bool const found = scan.FindSection(section) && scan.FindKey(key);
    wchar_t const* const missing = defaultValue != nullptr ? defaultValue : L"";
    unsigned int position = 0;
    AddString(found ? scan.Value() : missing, out, &position, size - 1);
    return position;
}

int DIniImpl::PutKeyValue(wchar_t const* section, wchar_t const* key, wchar_t const* value) {
    if (!Steps::ReopenToEdit(*this) || section == nullptr || key == nullptr) {
        return 0;
    }
    return (value != nullptr ? ReplaceKey(section, key, value) : DeleteKey(section, key)) ? 1 : 0;
}

int DIniImpl::PutSection(wchar_t const* section, wchar_t const* lines) {
    if (!Steps::ReopenToEdit(*this) || section == nullptr) {
        return 0;
    }
    return (lines != nullptr ? ReplaceSection(section, lines) : DeleteSection(section)) ? 1 : 0;
}

// A new key at the end of a file whose last line has no line end gets one ahead of it.
bool DIniImpl::ReplaceKey(wchar_t const* section, wchar_t const* key, wchar_t const* value) {
    FileText line = KeyLine(key, value);
    if (m_file == nullptr || !line.IsWhole()) {
        return false;
    }
    IniScan scan = Steps::Scan(*this, 0);
    if (!scan.FindSection(section)) {
        return !scan.Failed() && Put(fileno(m_file), kFileEnd, kFileEnd, NewSection(section, line));
    }
    if (scan.FindKey(key)) {
        return Steps::HeldFile(*this).Replace(scan.KeyStart(), scan.End(), line);
    }
    bool ended = false;
    if (scan.Failed() || !IniFile(fileno(m_file)).IsLineStart(scan.Mark(), &ended)) {
        return false;
    }
    FileText const text = ended ? std::move(line) : FileText() << kLineEnd << line;
    return Steps::HeldFile(*this).Replace(scan.Mark(), scan.Mark(), text);
}

bool DIniImpl::DeleteKey(wchar_t const* section, wchar_t const* key) {
    if (m_file == nullptr) {
        return false;
    }
    IniScan scan = Steps::Scan(*this, 0);
    if (!scan.FindSection(section) || !scan.FindKey(key)) {
        return !scan.Failed();
    }
    long const start = scan.Mark();
    scan.NextKey();
    return !scan.Failed() && Steps::HeldFile(*this).Replace(start, scan.Mark(), FileText());
}

bool DIniImpl::ReplaceSection(wchar_t const* section, wchar_t const* lines) {
    FileText const text = WholeSection(section, lines);
    if (m_file == nullptr || !text.IsWhole()) {
        return false;
    }
    IniScan scan = Steps::Scan(*this, 0);
    if (!scan.FindSection(section)) {
        return !scan.Failed() &&
               Put(fileno(m_file), kFileEnd, kFileEnd, FileText() << kLineEnd << text);
    }
    return Steps::ReplaceFoundSection(*this, scan, text);
}

bool DIniImpl::DeleteSection(wchar_t const* section) {
    if (m_file == nullptr) {
        return false;
    }
    IniScan scan = Steps::Scan(*this, 0);
    return scan.FindSection(section) ? Steps::ReplaceFoundSection(*this, scan, FileText())
                                     : !scan.Failed();
}

// The openings are virtual calls on purpose, and either may leave no stream.
bool DIniImpl::FileMove(long source, long target) {
    Open(m_fileName);
    if (m_file == nullptr || !IniFile(fileno(m_file)).MoveTail(source, target)) {
        return false;
    }
    Open(m_fileName);
    return m_file != nullptr;
}
