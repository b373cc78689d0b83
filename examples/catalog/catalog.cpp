// Prints what is in a folder and below it, and which of its shared objects offer a symbol.
//
//   catalog FOLDER [SYMBOL]        SYMBOL: GetDLLVersion by default
//
// Every shared object below FOLDER is loaded, so its constructors run: point it at files that you
// trust.
#include <verrick/conversion.h>
#include <verrick/file.h>
#include <verrick/libraries.h>
#include <verrick/listing.h>
#include <verrick/printing.h>
#include <verrick/search.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kMaxDepth = 20; // a link may lead up again

struct Totals {
    unsigned long entries = 0;
    unsigned long long bytes = 0;
};

template<class... Values>
void Print(wchar_t const* format, Values... values) {
    wchar_t line[512];
    if (_sprintf(line, format, values...) < 0 || std::printf("%ls\n", line) < 0) {
        std::puts("(a line that can't be shown)");
    }
}

std::string Narrow(std::wstring const& text) {
    std::vector<char> narrow(text.size() * 4 + 1);
    auto const limit = static_cast<unsigned int>(narrow.size());
    return MBSToAscii(narrow.data(), text.c_str(), limit) != 0 ? narrow.data() : "";
}

std::wstring Wide(char const* text) {
    std::vector<wchar_t> wide(std::strlen(text) + 1);
    auto const limit = static_cast<unsigned int>(wide.size());
    return AsciiToMBS(wide.data(), text, limit) != 0 ? wide.data() : L"";
}

bool IsDots(std::wstring const& name) {
    return name == L"." || name == L"..";
}

// The first four bytes of a file, fewer if it is shorter or can't be read.
std::string FirstBytes(std::wstring const& path) {
    DFile file;
    char bytes[4];
    unsigned int count = 0;
    if (file.Open(Narrow(path).c_str(), FILE_MODE_READ) != FILE_STATUS_OK ||
        file.Read(bytes, sizeof bytes, &count) != FILE_STATUS_OK) {
        return {};
    }
    return {bytes, count};
}

std::wstring Hex(std::string const& bytes) {
    std::wstring text;
    for (unsigned char const byte : bytes) {
        wchar_t digits[512];
        _sprintf(digits, L"%02x ", byte);
        text += digits;
    }
    return text;
}

std::wstring Date(std::time_t time) {
    wchar_t text[32];
    std::tm parts{};
    gmtime_r(&time, &parts);
    return {text, std::wcsftime(text, 32, L"%Y-%m-%d %H:%M:%S", &parts)};
}

bool IsSharedObject(std::wstring const& name, std::string const& firstBytes) {
    return name.find(L".so") != std::wstring::npos && firstBytes == "\x7F"
                                                                    "ELF";
}

// Prints the folder's entries, those of the folders in it indented below them, and collects the
// paths of the shared objects.
void ListFolder(std::wstring const& folder, int depth, Totals& totals,
                std::vector<std::wstring>& libraries) {
    DDirList list;
    auto const info = std::make_unique<DFileInfo>();
    for (bool more = list.FindFirst((folder + L"/*").c_str(), info.get()); more;
         more = list.FindNext(info.get())) {
        std::wstring const name = info->name;
        if (IsDots(name)) {
            continue;
        }
        std::wstring const path = std::wstring(folder).append(L"/").append(name);
        std::string const bytes = info->isDirectory ? "" : FirstBytes(path);
        bool const library = IsSharedObject(name, bytes);
        wchar_t const* const kind = info->isDirectory ? L"folder" : library ? L"library" : L"file";
        Print(L"%10u  %s  %-7ls  %-12ls %s%s", static_cast<unsigned int>(info->size),
              Date(info->time).c_str(), kind, Hex(bytes).c_str(),
              std::wstring(static_cast<std::size_t>(depth) * 2, L' ').c_str(), name.c_str());
        ++totals.entries;
        totals.bytes += info->size;
        if (library) {
            libraries.push_back(path);
        }
        // A name outside the locale comes cut; an empty one would lead back into this folder.
        if (info->isDirectory && !name.empty() && depth < kMaxDepth) {
            ListFolder(path, depth + 1, totals, libraries);
        }
    }
}

// The same walk in narrow text. FindData has no mark of a folder: a search in a file finds nothing.
void SearchFolder(std::string const& folder, int depth, Totals& totals) {
    FindData data;
    long const search = _findfirst((folder + "/*").c_str(), &data);
    if (search == -1) {
        return;
    }
    do {
        std::string const name = data.name;
        if (name == "." || name == "..") {
            continue;
        }
        ++totals.entries;
        totals.bytes += data.size;
        if (depth < kMaxDepth) {
            SearchFolder(std::string(folder).append("/").append(name), depth + 1, totals);
        }
    } while (_findnext(search, &data) == 0);
    _findclose(search);
}

void LookUp(std::wstring const& path, std::wstring const& symbol) {
    DDynamicLibrary const library(path.c_str()); // says itself why a library can't be loaded
    bool const found = library.GetProcedureByName(symbol.c_str()) != nullptr;
    Print(L"%s: %s %s", path.c_str(), found ? L"offers" : L"has no", symbol.c_str());
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fputs("usage: catalog FOLDER [SYMBOL]\n", stderr);
        return 2;
    }
    std::setlocale(LC_ALL, "");
    std::wstring const folder = Wide(argv[1]);
    std::wstring const symbol = argc > 2 ? Wide(argv[2]) : L"GetDLLVersion";

    Totals listed;
    std::vector<std::wstring> libraries;
    ListFolder(folder, 0, listed, libraries);
    Print(L"\n%lu entries with %llu bytes", listed.entries, listed.bytes);

    Totals searched;
    SearchFolder(argv[1], 0, searched);
    Print(L"_findfirst finds %lu entries with %llu bytes\n", searched.entries, searched.bytes);

    for (std::wstring const& library : libraries) {
        LookUp(library, symbol);
    }
    return listed.entries > 0 ? 0 : 1;
}
