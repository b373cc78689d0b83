// Scenarios of text, INI files, files, directories and libraries. All files are in the current
// directory.
#include "tests/failures/calls.h"
#include "tests/ini/ini_files.h"
#include <verrick/ini_file_lock.h>

#include <map>
#include <sys/resource.h>

namespace {

using namespace std::string_literals;

constexpr Edit kEdits[] = {
    {L"s0", L"k1", L"a value that is longer than the one before"},
    {L"s0", L"k1", L"nineteen bytes, too"},
    // A new section in the smallest file, and a new key in the larger ones.
    {L"s99", L"new", L"value"},
    {L"s0", L"k1", nullptr},
    {L"s1", nullptr, L"first=1\0second=2\0"},
    // s7 is the last section of the smallest file.
    {L"s7", nullptr, nullptr},
    // In the larger files half of the first read ends in this line.
    {L"s25", L"k2", L"value"},
};

// Sections of three keys each, up to about that size.
std::string TextOfSize(std::size_t bytes) {
    std::string text = "; made for a test\r\n";
    for (int section = 0; text.size() < bytes; ++section) {
        text += "[s" + std::to_string(section) +
                "]\r\nk0=nineteen bytes long\r\n"
                "k1=nineteen bytes long\r\nk2=nineteen bytes long\r\n";
    }
    return text;
}

std::string WithoutBlankLines(std::string text) {
    auto const areLineEnds = [](char last, char next) { return last == '\n' && next == '\n'; };
    text.erase(std::unique(text.begin(), text.end(), areLineEnds), text.end());
    return text;
}

} // namespace

void CopyText(int) {
    WriteFile("lines", "first\nsecond\n");
    std::unique_ptr<FILE, int (*)(FILE*)> const stream(std::fopen("lines", "re"), std::fclose);
    wchar_t line[16] = L"~";
    Arm();
    GoOnAfter([&] { myfgetws(line, 16, stream.get()); });
    Say{std::ftell(stream.get()), line[0] == L'~'};
}

// From a file, and from a pipe.
void ReadIni(int variant) {
    std::string const text = TextOfSize(13000) + "[last]\nkey=value\n";
    WriteFile("f.ini", text);
    int ends[2] = {-1, -1};
    bool const isWritten = pipe(ends) == 0 && write(ends[1], text.data(), text.size()) > 0;
    close(ends[1]);
    std::unique_ptr<int, void (*)(int*)> const closed(ends, [](int* end) { close(*end); });
    std::wstring const name = L"/proc/self/fd/" + std::to_wstring(ends[0]);
    wchar_t out[16] = L"~~~";
    Arm();
    Say{isWritten, GetPrivateProfileString(L"last", L"key", L"default", out, 16,
                                           variant == 0 ? L"f.ini" : name.c_str())};
    Say{std::string(out, out + std::wcslen(out))};
}

// Files that fit one block, several blocks, and several moves, and one for a derived class. The
// edit is made again. Without a failure that is where a limit just lets it, or just not.
void EditIni(int variant) {
    struct Derived : DIniImpl {
        using DIniImpl::DIniImpl;
    };
    static std::map<int, std::string> edited;
    constexpr std::size_t sizes[] = {600, 600, 13000, 140000};
    Edit const& edit = kEdits[variant % std::size(kEdits)];
    std::string const before = TextOfSize(sizes[variant / std::size(kEdits)]);
    std::string const fresh = "[another]\nfile=of its own\n[with]\nother=offsets\n";
    WriteFile("f.ini", before);
    WriteFile("new", fresh);
    DIni plain(L"f.ini");
    Derived derived(L"f.ini"); // for which an edit opens the file anew
    IIni& ini = variant / std::size(kEdits) == 1 ? static_cast<IIni&>(derived) : plain;
    bool isEdited = false;
    Arm();
    GoOnAfter([&] { isEdited = edit.Apply(ini) == 1; });
    std::string const left = Stored("f.ini");
    std::string const& after = edited.emplace(variant, left).first->second;
    std::string const lines = WithoutBlankLines(left);
    bool const isWhole = lines == WithoutBlankLines(before) || lines == WithoutBlankLines(after);
    Say{isEdited, left == after    ? "edited"
                  : left == before ? "as it was"
                  : left == fresh  ? "the new file"
                  : isWhole        ? "old or new lines"
                                   : "damaged"};
    bool isUsable = left != before || (edit.Apply(ini) == 1 && Stored("f.ini") == after);
    if (*g_failure.calls == '\0') {
        constexpr rlimit none{RLIM_INFINITY, RLIM_INFINITY};
        rlimit tight = none;
        bool const fits = variant % 3 == 0;
        auto const [least, most] = std::minmax({before.size(), after.size()});
        tight.rlim_cur = fits ? most : variant % 3 == 1 ? least : least / 2;
        WriteFile("f.ini", before);
        setrlimit(RLIMIT_FSIZE, &tight);
        std::string const& allowed = edit.Apply(ini) == 1 || fits ? after : before;
        setrlimit(RLIMIT_FSIZE, &none);
        isUsable = isUsable && Stored("f.ini") == allowed;
    }
    Say{isUsable ? "usable" : "not usable"};
}

// It is more than what an edit keeps to undo itself.
void RemoveLongSection(int) {
    std::string const others = "[z]\nk=2\n" + TextOfSize(100000);
    std::string text = TextOfSize(150000);
    std::replace(text.begin(), text.end(), '[', ';'); // its headers become comments
    WriteFile("f.ini", "[long]\n" + text + others);
    DIni ini(L"f.ini");
    Arm();
    GoOnAfter([&] { Say{ini.PutSection(L"long", nullptr)}; });
    Say{WithoutBlankLines(Stored("f.ini")).find(others) != others.npos};
}

void OpenFiles(int) {
    DFile file;
    Arm();
    Say{file.Open("f", FILE_MODE_WRITE | FILE_MODE_CREATE), file.Name() != nullptr};
}

// By the name of the directory, and in the current one. The root has such an
// entry too. The last variant finds nothing.
void SearchDirectories(int variant) {
    WriteFile("tmp", "text");
    FindData data{7, 1, 2, 3, 9, "x"};
    errno = 77;
    Arm();
    long const search = _findfirst(variant == 0 ? "./tmp" : variant == 1 ? "tmp" : "no", &data);
    Say{search != -1, errno, data.name, data.size};
    Say{_findnext(search, &data), errno, _findclose(search)};
}

void ListDirectories(int) {
    WriteFile("tmp", "text");
    DDirList list;
    DFileInfo info{3, 9, L"x", true};
    errno = 0;
    Arm();
    Say{list.FindFirst(L"tmp", &info), info.name[0] == L't', info.size};
    Say{list.FindNext(&info), errno, list.GetFullPath()[0] != L'x'};
    Say{list.FindFirst(L"tmp", &info)};
}

void NameDirectories(int) {
    wchar_t current[4096] = L"kept", full[4096] = L"kept";
    Arm();
    bool const isKnown = GetCurrentDir(current, 4096) == std::wcslen(current);
    GetFullFilename(L"name", full, 4096);
    Say{isKnown, current == L"kept"s, full == L"/name"s, full == current + L"/name"s};
}

void LoadLibraries(int) {
    DDynamicLibrary library(L"libm.so.6");
    Arm();
    void* const module = LoadLibrary(L"libm.so.6");
    library.Unload();
    Arm(false);
    Say{library.IsLoaded(), library.GetProcedureByName(L"cos") != nullptr, FreeLibrary(module)};
}

// Another thread or process can lock the file afterwards.
void LockIniFile(int variant) {
    auto const mode = variant == 1 ? IniFileLock::Shared : IniFileLock::Exclusive;
    Arm();
    {
        IniFileLock const lock(L"f.ini", mode, variant < 2 ? 60000 : 0);
        Say{lock.Owns(), lock.Owns() || errno == g_failure.error};
    }
    Arm(false);
    Say{IniFileLock(L"f.ini", IniFileLock::Exclusive, 0).Owns()};
}
