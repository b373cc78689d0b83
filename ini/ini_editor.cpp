#include <verrick/ini.h>

#include "ini/line_scanner.h"
#include "strings/text_conversion.h"

#include <cwchar>
#include <limits>
#include <stdio_ext.h>
#include <unistd.h>

namespace {

using verrick::NarrowText;

constexpr char kLineEnd[] = "\r\n";
constexpr std::size_t kLineEndBytes = sizeof kLineEnd - 1;

// Whether a line that is inserted at the offset would stand apart from the text ahead of it: at the
// end of a file whose last line has no line end it wouldn't. Gives false if the file can't be read.
bool FindLineEndAhead(FILE* file, long offset, bool* ends) {
    char last = '\n';
    bool const read = offset == 0 || pread(fileno(file), &last, 1, offset - 1) == 1;
    *ends = last == '\n';
    return read;
}

// Goes through the lines of a section in narrow text: the header, then each string of the
// multi-string. A line has at most the bytes that the reader sees, whole characters of them. visit
// gets the format of the line, whose second argument is the line end, the text, and the line's
// bytes. Gives false as soon as visit does, and at text that doesn't convert.
template<typename Visit>
bool VisitLines(wchar_t const* section, wchar_t const* lines, Visit visit) {
    char text[verrick::LineScanner::kLineElements] = {};
    auto const visitLine = [&](wchar_t const* line, char const* format, std::size_t otherBytes) {
        verrick::Narrowed const narrowed = verrick::Narrow(text, sizeof text, line);
        return narrowed.converted && visit(format, text, narrowed.bytes + otherBytes);
    };
    bool visited = visitLine(section, "[%s]%s", 2 + kLineEndBytes);
    for (wchar_t const* line = lines; visited && *line != L'\0'; line += std::wcslen(line) + 1) {
        visited = visitLine(line, "%s%s", kLineEndBytes);
    }
    return visited;
}

} // namespace

// Has text printed from an offset on and hands it to the file at once, so that a failure shows
// here. What can't be written is forgotten, or a later closing would still write it.
template<typename Print>
bool DIniImpl::WriteAt(long offset, Print print) {
    bool const written =
        std::fseek(m_file, offset, SEEK_SET) == 0 && print(m_file) && std::fflush(m_file) == 0;
    if (!written) {
        __fpurge(m_file);
    }
    return written;
}

// Has text printed at the end of the file, which keeps its size if that fails.
template<typename Print>
bool DIniImpl::Append(Print print) {
    long const size = std::fseek(m_file, 0, SEEK_END) == 0 ? std::ftell(m_file) : -1;
    if (size < 0) {
        return false;
    }
    if (!WriteAt(size, print)) {
        [[maybe_unused]] int const result = ftruncate(fileno(m_file), size);
        return false;
    }
    return true;
}

int DIniImpl::PutKeyValue(wchar_t const* section, wchar_t const* key, wchar_t const* value) {
    if (!Reopen("rb+") || section == nullptr || key == nullptr) {
        return 0;
    }
    std::fseek(m_file, 0, SEEK_SET);
    return (value != nullptr ? ReplaceKey(section, key, value) : DeleteKey(section, key)) ? 1 : 0;
}

int DIniImpl::PutSection(wchar_t const* section, wchar_t const* lines) {
    if (!Reopen("rb+") || section == nullptr) {
        return 0;
    }
    std::fseek(m_file, 0, SEEK_SET);
    return (lines != nullptr ? ReplaceSection(section, lines) : DeleteSection(section)) ? 1 : 0;
}

bool DIniImpl::ReplaceKey(wchar_t const* section, wchar_t const* key, wchar_t const* value) {
    NarrowText const keyText(key);
    NarrowText const valueText(value);
    if (m_file == nullptr || !keyText || !valueText) {
        return false;
    }
    if (!FindSection(section)) {
        NarrowText const sectionText(section);
        return !m_readFailed && sectionText && Append([&](FILE* file) {
            return std::fprintf(file, "%s[%s]%s%s=%s%s", kLineEnd, sectionText.Get(), kLineEnd,
                                keyText.Get(), valueText.Get(), kLineEnd) >= 0;
        });
    }
    bool const found = FindKey(key);
    long const start = found ? m_keyStart : m_lineStart;
    long const end = found ? std::ftell(m_file) : start;
    bool apart = false;
    if (m_readFailed || !FindLineEndAhead(m_file, start, &apart)) {
        return false;
    }
    std::size_t const bytes =
        (apart ? 0 : kLineEndBytes) + keyText.Length() + 1 + valueText.Length() + kLineEndBytes;
    return MakeRoom(start, end, bytes) && WriteAt(start, [&](FILE* file) {
               return std::fprintf(file, "%s%s=%s%s", apart ? "" : kLineEnd, keyText.Get(),
                                   valueText.Get(), kLineEnd) >= 0;
           });
}

bool DIniImpl::DeleteKey(wchar_t const* section, wchar_t const* key) {
    if (m_file == nullptr) {
        return false;
    }
    if (!FindSection(section) || !FindKey(key)) {
        return !m_readFailed;
    }
    long const start = m_lineStart;
    GetKey();
    return !m_readFailed && FileMove(m_lineStart, start);
}

bool DIniImpl::ReplaceSection(wchar_t const* section, wchar_t const* lines) {
    std::size_t bytes = 0;
    auto const count = [&](char const*, char const*, std::size_t lineBytes) {
        bytes += lineBytes;
        return true;
    };
    if (m_file == nullptr || !VisitLines(section, lines, count)) {
        return false;
    }
    auto const print = [&](FILE* file) {
        return VisitLines(section, lines, [&](char const* format, char const* text, std::size_t) {
            return std::fprintf(file, format, text, kLineEnd) >= 0;
        });
    };
    std::fseek(m_file, 0, SEEK_SET);
    if (!FindSection(section)) {
        return !m_readFailed && Append([&](FILE* file) {
            return std::fprintf(file, "%s", kLineEnd) >= 0 && print(file);
        });
    }
    long const start = m_lineStart;
    GetSection(); // the line mark is on the next header now, or at the end of the file
    return !m_readFailed && MakeRoom(start, m_lineStart, bytes) && WriteAt(start, print);
}

bool DIniImpl::DeleteSection(wchar_t const* section) {
    if (m_file == nullptr) {
        return false;
    }
    if (!FindSection(section)) {
        return !m_readFailed;
    }
    long const start = m_lineStart;
    if (GetSection()) {
        return FileMove(m_lineStart, start);
    }
    return !m_readFailed && ftruncate(fileno(m_file), start) == 0;
}

// Leaves as many bytes between start and what stands at end. Offsets are longs, so a file can't
// grow beyond the greatest of them.
bool DIniImpl::MakeRoom(long start, long end, std::size_t bytes) {
    auto const room = static_cast<std::size_t>(std::numeric_limits<long>::max() - start);
    return bytes <= room && FileMove(end, start + static_cast<long>(bytes));
}
