#include "tests/files/scratch.h"
#include "tests/support/memory.h"
#include <verrick/listing.h>
#include <verrick/paths.h>
#include <verrick/search.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

// A name that no file system here can have. The next readdir of the process returns it, if it isn't
// empty.
static std::string g_nextName;

// Compiled with the same file offsets as the library, so this stands in for the call that it makes.
extern "C" dirent* readdir(DIR* directory) {
    static auto* const real = reinterpret_cast<dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir64"));
    static char room[2 * 4096];
    if (g_nextName.empty()) {
        return real(directory);
    }
    auto* const entry = reinterpret_cast<dirent*>(room);
    std::strcpy(room + offsetof(dirent, d_name), g_nextName.c_str());
    g_nextName.clear();
    return entry;
}

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::wstring>;

std::string const kForeign = "\u00E9\u20AC\U00010348";
std::wstring const kWideForeign = L"\u00E9\u20AC\U00010348";

std::wstring Wide(std::string const& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(std::mbstowcs(wide.data(), text.c_str(), wide.size()));
    return wide;
}

// The first entry that each face finds for a text, in records that hold something before.
struct First {
    explicit First(std::string const& text)
        : searched(_findclose(_findfirst(text.c_str(), &data)) == 0),
          listed(DDirList().FindFirst(Wide(text).c_str(), &info)) {}

    FindData data{7, 1, 2, 3, 9, "x"};
    DFileInfo info{3, 9, L"x", true};
    bool searched;
    bool listed;
};

// What both faces find for a text.
using Found = std::pair<Names, Names>;

Found Find(std::string const& text) {
    Found found;
    FindData data;
    errno = 0;
    long const search = _findfirst(text.c_str(), &data);
    for (int end = search == -1 ? -1 : 0; end == 0; end = _findnext(search, &data)) {
        found.first.insert(Wide(data.name));
    }
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(_findclose(search), search == -1 ? -1 : 0);
    DDirList list;
    DFileInfo info;
    for (bool more = list.FindFirst(Wide(text).c_str(), &info); more; more = list.FindNext(&info)) {
        found.second.insert(info.name);
    }
    return found;
}

TEST(Directories, HoldWhatTheTextAsksForByTheRulesOfEachFace) {
    Scratch scratch;
    fs::create_directory("src");
    for (char const* name : {"a.c", "b.C", ".e", "src/s.c"}) {
        WriteFile(name, "text");
    }
    int const next = NextDescriptor();
    Names const every{L".", L"..", L".e", L"a.c", L"b.C", L"src"};
    std::pair<char const*, Found> const cases[] = {{"*.c", {{L"a.c", L"b.C"}, {L"a.c", L"b.C"}}},
                                                   {"*.*", {{L"a.c", L"b.C"}, every}},
                                                   {"*", {every, every}},
                                                   {" src\\*.C", {{}, {L"s.c"}}},
                                                   {".\\src/", {{L"src"}, {}}},
                                                   {"src/*.x", {}},
                                                   {"missing/*", {}},
                                                   {"/*", {}},
                                                   {"", {}}};
    for (auto const& [text, found] : cases) {
        EXPECT_EQ(Find(text), found) << text;
    }
    EXPECT_EQ(_findfirst(nullptr, nullptr), -1);
    EXPECT_EQ(_findnext(-1, nullptr), -1);
    EXPECT_EQ(NextDescriptor(), next) << "nothing stays open";
}

TEST(Directories, TellTheStatusOfAnEntry) {
    Scratch scratch;
    WriteFile("file", "text");
    timespec const times[] = {{1000, 0}, {-5, 0}};
    utimensat(AT_FDCWD, "file", times, 0);
    First const file("file");
    EXPECT_EQ(file.data.attributes, 7u) << "never written";
    EXPECT_GT(file.data.createTime, 1'000'000'000);
    EXPECT_EQ(file.data.accessTime, 1000);
    EXPECT_EQ(file.data.writeTime, -5);
    EXPECT_EQ(file.info.time, -5);
    EXPECT_EQ(file.info.size, 4u);
    fs::resize_file("file", 3LL << 30);
    EXPECT_EQ(First("file").data.size, 3u << 30);
    fs::resize_file("file", 5LL << 30);
    EXPECT_EQ(First("file").info.size, 0xFFFFFFFF);
    fs::create_symlink(".", "here");
    EXPECT_TRUE(First("here").info.isDirectory);
}

TEST(Directories, TellZerosOfALinkThatPointsNowhereAndLeaveErrnoAlone) {
    Scratch scratch;
    fs::create_symlink("nowhere", "link");
    errno = 77;
    First const link("link");
    EXPECT_EQ(errno, 77);
    EXPECT_EQ(link.data.createTime, 0);
    EXPECT_EQ(link.data.size, 0u);
    EXPECT_EQ(link.info.time, 0);
    EXPECT_TRUE(link.listed);
    EXPECT_FALSE(link.info.isDirectory);
}

TEST(Directories, AreTheOnesThatWereOpenedAfterARenameAReplacementAndAChdir) {
    std::function<void()> const changes[] = {[] { fs::rename("dir", "renamed"); },
                                             [] {
                                                 fs::rename("dir", "replaced");
                                                 fs::create_directory("dir");
                                                 WriteFile("dir/xa", "");
                                                 WriteFile("dir/xb", "");
                                             },
                                             [] { fs::current_path("/"); }};
    for (auto const& change : changes) {
        Scratch scratch;
        fs::create_directory("dir");
        WriteFile("dir/xa", "text");
        WriteFile("dir/xb", "text");
        FindData data;
        DFileInfo info;
        DDirList list;
        long const search = _findfirst("dir/x*", &data);
        EXPECT_TRUE(list.FindFirst(L"dir/x*", &info));
        change();
        EXPECT_EQ(_findnext(search, &data), 0);
        EXPECT_EQ(data.size, 4u);
        EXPECT_TRUE(list.FindNext(&info));
        EXPECT_EQ(info.size, 4u);
        _findclose(search);
    }
}

// Directories and texts of every length around the sizes of their arrays.
TEST(Directories, AreFoundAsDeepAsTheirNamesFit) {
    Scratch scratch;
    WriteFile("abc.c", "text");
    for (unsigned int bytes = 4085; bytes <= 4098; ++bytes) {
        fs::current_path(scratch.path);
        for (std::size_t left = bytes - scratch.path.size(); left > 0;) {
            std::string const name(left > 202 ? 200 : left > 201 ? 100 : left - 1, 'd');
            mkdir(name.c_str(), 0700);
            ASSERT_EQ(chdir(name.c_str()), 0);
            left -= name.size() + 1;
        }
        WriteFile("abc.c", "text");
        std::wstring whole(8192, L'?');
        EXPECT_EQ(GetCurrentDir(whole.data(), bytes), 0u);
        EXPECT_EQ(GetCurrentDir(whole.data(), 8192), bytes <= 4095 ? bytes : 0);
        whole = (bytes <= 4095 ? whole.c_str() : L"") + std::wstring(L"/abc.c");
        for (unsigned int size = bytes - 1; size < bytes + 9; ++size) {
            std::wstring cut(size + 1, L'?');
            GetFullFilename(L"abc.c", cut.data(), size);
            EXPECT_EQ(cut.c_str(), whole.substr(0, size - 1));
            EXPECT_EQ(cut[size], L'?') << "past the buffer";
        }
        EXPECT_EQ(First("abc.c").data.size, bytes <= 4089 ? 4u : 9u) << bytes;
        EXPECT_EQ(First("abc.c").info.size, bytes <= 4090 ? 4u : 9u) << bytes;
        std::string const slashes(bytes - scratch.path.size() - 5, '/');
        EXPECT_EQ(First(scratch.path + slashes + "abc.c").searched, bytes <= 4095);
    }
}

TEST(Directories, AreListedByWhatIsLeftOfAPathThatWasCut) {
    Scratch scratch;
    WriteFile("abc.c", "text");
    std::string const directory = scratch.path + std::string(4093 - scratch.path.size(), '/');
    EXPECT_STREQ(First(directory + "*.c").info.name, L"abc.c");
    EXPECT_FALSE(First(directory + "/*.c").listed) << "nothing fits *.";
    EXPECT_TRUE(First(directory + "//*.c").listed) << "everything fits *";
    EXPECT_FALSE(First(directory + "///*.c").listed) << "nothing fits the empty pattern";
}

TEST(Directories, GiveNamesWholeOrNotAtAll) {
    Scratch scratch;
    for (std::size_t bytes : {256, 1024, 4095, 4096, 5000}) {
        std::string const name(bytes, 'n');
        FindData data{0, 0, 0, 0, 0, "x"};
        DFileInfo info{0, 0, L"x", false};
        g_nextName = name;
        _findclose(_findfirst("nnn*", &data));
        EXPECT_EQ(data.name, bytes < 4096 ? name : "x");
        g_nextName = name;
        DDirList().FindFirst(L"nnn*", &info);
        EXPECT_EQ(info.name, Wide(bytes < 4096 ? name : "x"));
    }
}

// A file in the place of the directory's descriptor makes the next read of the directory fail.
TEST(Directories, TellAReadErrorFromTheEnd) {
    Scratch scratch;
    FindData data;
    DFileInfo info;
    DDirList list;
    for (bool const broken : {false, true}) {
        int const file = open("/dev/null", O_RDONLY);
        int const directory = NextDescriptor();
        long const search = _findfirst("*", &data);
        dup2(broken ? file : directory, directory);
        while (_findnext(search, &data) == 0) {
        }
        EXPECT_EQ(errno, broken ? ENOTDIR : ENOENT);
        _findclose(search);
        EXPECT_TRUE(list.FindFirst(L"*", &info));
        dup2(broken ? file : directory, directory);
        errno = 0;
        while (list.FindNext(&info)) {
        }
        EXPECT_EQ(errno, broken ? ENOTDIR : 0);
        list.FindFirst(nullptr, &info);
        close(file);
    }
}

TEST(Directories, AreNotBelowTheRootIfTheCurrentOneWasRemoved) {
    Scratch scratch;
    fs::create_directory("dir");
    fs::current_path("dir");
    fs::remove("../dir");
    EXPECT_TRUE(First("/proc/*").listed);
    EXPECT_FALSE(First("proc/*").listed);
    EXPECT_FALSE(First("*").searched);
}

TEST(Directories, AreNotListedWhenMemoryIsShort) {
    Scratch scratch;
    WriteFile("file", "text");
    DFileInfo info;
    FindData data;
    DDirList list;
    for (int granted = 0; granted < 3; ++granted) {
        MemoryShortage const shortage(granted);
        EXPECT_FALSE(list.FindFirst(L"file", &info)) << granted;
    }
    EXPECT_TRUE(list.FindFirst(L"file", &info));
    MemoryShortage const shortage;
    EXPECT_EQ(_findfirst("file", &data), -1);
    EXPECT_EQ(errno, ENOMEM);
}

TEST(Directories, ForgetTheSearchBefore) {
    Scratch scratch;
    WriteFile("file", "text");
    alignas(DDirListImpl) unsigned char room[sizeof(DDirListImpl)];
    std::memset(room, 0xA5, sizeof room);
    auto* const list = new (room) DDirListImpl;
    DFileInfo info;
    EXPECT_STREQ(list->GetFullPath(), L"");
    EXPECT_FALSE(list->FindNext(&info));
    EXPECT_TRUE(list->FindFirst(L"file", &info));
    EXPECT_TRUE(list->FindFirst(L"*", &info)) << "without the pattern";
    EXPECT_TRUE(list->FindNext(&info));
    EXPECT_FALSE(list->FindFirst(nullptr, &info));
    EXPECT_FALSE(list->FindNext(&info)) << "without the directory";
    list->~DDirListImpl();
}

TEST(Paths, LeaveABufferAloneThatCanNotTakeThem) {
    wchar_t buffer[] = L" \\kept";
    EXPECT_EQ(GetCurrentDir(nullptr, 4096), 0u);
    EXPECT_EQ(GetCurrentDir(buffer, 0), 0u);
    EXPECT_EQ(GetFullFilename(L"a", nullptr, 8), nullptr);
    GetFullFilename(L"a", buffer, 0);
    EXPECT_STREQ(GetFullFilename(nullptr, buffer, 7), L" \\kept");
    EXPECT_STREQ(GetFullFilename(buffer, buffer, 7), L"/kept") << "name and buffer are the same";
}

TEST(Directories, SpeakTheLanguageOfTheLocale) {
    Scratch scratch;
    fs::create_directory(kForeign);
    fs::current_path(kForeign);
    WriteFile(kForeign, "text");
    DDirList list;
    DFileInfo info;
    wchar_t buffer[4096] = L"kept";
    EXPECT_FALSE(list.FindFirst((L"/" + kWideForeign).c_str(), &info)) << "not in the C locale";
    EXPECT_STREQ(list.GetFullPath(), L"");
    EXPECT_EQ(GetCurrentDir(buffer, 4096), 0u);
    EXPECT_STREQ(buffer, L"kept");
    EXPECT_STREQ(GetFullFilename(L"tmp", buffer, 4096), L"") << "not the name of another file";
    EXPECT_STREQ(GetFullFilename(L" \t\\a\\../ ", buffer, 8), L"/a/../ ");

    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(Find("../" + kForeign + "/?*"), (Found{{L".", kWideForeign}, {L".", kWideForeign}}));
    WriteFile("ab\xFFz", "text");
    std::wmemset(info.name, L'?', 4096);
    EXPECT_TRUE(list.FindFirst(L"ab*", &info));
    EXPECT_STREQ(info.name, L"ab") << "ends at the fault";
    EXPECT_EQ(list.GetFullPath(), Wide(scratch.path + "/" + kForeign));
}

} // namespace
