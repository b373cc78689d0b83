#include "tests/files/scratch.h"
#include <verrick/listing.h>
#include <verrick/paths.h>
#include <verrick/search.h>

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <dlfcn.h>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>

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
    std::strcpy(room + offsetof(dirent, d_name), g_nextName.c_str());
    g_nextName.clear();
    return reinterpret_cast<dirent*>(room);
}

namespace {

namespace fs = std::filesystem;

std::string const kForeign = "\u00E9\u20AC\U00010348";
std::wstring const kWideForeign = L"\u00E9\u20AC\U00010348";

std::wstring Wide(std::string const& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(std::mbstowcs(wide.data(), text.c_str(), wide.size()));
    return wide;
}

// What both faces find for a text.
using Names = std::set<std::wstring>;
using Found = std::pair<Names, Names>;

class Directories : public testing::Test {
protected:
    // Each returns whether its face finds an entry. The first one is then in data or in info.
    bool IsSearched(std::string const& text) {
        return _findclose(_findfirst(text.c_str(), &data)) == 0;
    }
    bool IsListed(std::string const& text) { return list.FindFirst(Wide(text).c_str(), &info); }

    Found Find(std::string const& text) {
        Found found;
        long const search = _findfirst(text.c_str(), &data);
        for (int end = search == -1 ? -1 : 0; end == 0; end = _findnext(search, &data)) {
            found.first.insert(Wide(data.name));
        }
        EXPECT_EQ(errno, ENOENT);
        EXPECT_EQ(_findclose(search), search == -1 ? -1 : 0);
        for (bool more = IsListed(text); more; more = list.FindNext(&info)) {
            found.second.insert(info.name);
        }
        return found;
    }

    Scratch scratch;
    FindData data{7, 1, 2, 3, 9, "x"};
    DFileInfo info{3, 9, L"x", true};
    DDirList list;
};

TEST_F(Directories, HoldWhatTheTextAsksForByTheRulesOfEachFace) {
    fs::create_directory("src");
    for (char const* name : {"a.c", "b.C", ".e", "src/s.c"}) {
        WriteFile(name, "text");
    }
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
    int const next = NextDescriptor();
    for (auto const& [text, found] : cases) {
        EXPECT_EQ(Find(text), found) << text;
    }
    EXPECT_EQ(_findfirst(nullptr, nullptr), -1);
    EXPECT_EQ(_findnext(-1, nullptr), -1);
    EXPECT_FALSE(list.FindFirst(nullptr, nullptr));
    EXPECT_EQ(NextDescriptor(), next) << "nothing stays open";
}

TEST_F(Directories, TellTheStatusOfAnEntry) {
    WriteFile("file", "");
    fs::resize_file("file", 3LL << 30);
    timespec const times[] = {{1000, 0}, {-5, 0}};
    utimensat(AT_FDCWD, "file", times, 0);
    EXPECT_TRUE(IsSearched("file"));
    EXPECT_EQ(data.attributes, 7u) << "never written";
    EXPECT_GT(data.createTime, 1'000'000'000);
    EXPECT_EQ(data.accessTime, 1000);
    EXPECT_EQ(data.writeTime, -5);
    EXPECT_EQ(data.size, 3u << 30);
    EXPECT_TRUE(IsListed("file"));
    EXPECT_EQ(info.time, -5);
    fs::resize_file("file", 5LL << 30);
    EXPECT_TRUE(IsListed("file"));
    EXPECT_EQ(info.size, 0xFFFFFFFF);
    fs::create_symlink(".", "here");
    EXPECT_TRUE(IsListed("here"));
    EXPECT_TRUE(info.isDirectory);
}

TEST_F(Directories, AreTheOnesThatWereOpened) {
    fs::create_directory("dir");
    WriteFile("dir/xa", "text");
    WriteFile("dir/xb", "text");
    long const search = _findfirst("dir/x*", &data);
    fs::rename("dir", "other");
    fs::create_directory("dir");
    EXPECT_EQ(_findnext(search, &data), 0);
    EXPECT_EQ(data.size, 4u);
    _findclose(search);
}

// Directories and texts of every length around the sizes of their arrays.
TEST_F(Directories, AreFoundAsDeepAsTheirNamesFit) {
    WriteFile("abc.c", "text");
    for (unsigned int bytes = 4085; bytes <= 4098; ++bytes) {
        std::string const slashes(bytes - scratch.path.size() - 5, '/');
        EXPECT_EQ(IsSearched(scratch.path + slashes + "abc.c"), bytes <= 4095);
        for (std::size_t left = bytes - scratch.path.size(); left > 0;) {
            std::string const name(left > 202 ? 200 : left > 201 ? 100 : left - 1, 'd');
            mkdir(name.c_str(), 0700);
            ASSERT_EQ(chdir(name.c_str()), 0);
            left -= name.size() + 1;
        }
        WriteFile("abc.c", "text");
        EXPECT_EQ(IsSearched("abc.c"), bytes <= 4089);
        EXPECT_EQ(IsListed("abc.c"), bytes <= 4090);
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
        fs::current_path(scratch.path);
    }
}

TEST_F(Directories, AreListedByWhatIsLeftOfAPathThatWasCut) {
    std::string const directory = scratch.path + std::string(4093 - scratch.path.size(), '/');
    EXPECT_FALSE(IsListed(directory + "/*.c")) << "nothing fits *.";
    EXPECT_TRUE(IsListed(directory + "//*.c")) << "everything fits *";
    EXPECT_FALSE(IsListed(directory + "///*.c")) << "nothing fits the empty pattern";
}

TEST_F(Directories, GiveNamesWholeOrNotAtAll) {
    for (std::size_t bytes : {256, 1024, 4095, 4096, 5000}) {
        g_nextName.assign(bytes, 'n');
        EXPECT_EQ(IsSearched("nnn*"), bytes < 4096);
        EXPECT_EQ(std::strlen(data.name), bytes < 4096 ? bytes : 4095);
        g_nextName.assign(bytes, 'n');
        EXPECT_EQ(IsListed("nnn*"), bytes < 4096);
        EXPECT_EQ(std::wcslen(info.name), bytes < 4096 ? bytes : 4095);
    }
}

TEST_F(Directories, HaveNoPathBeforeTheirFirstSearch) {
    EXPECT_STREQ(list.GetFullPath(), L"");
    EXPECT_FALSE(list.FindNext(&info));
}

TEST_F(Directories, AreNamedInAnyBufferThatCanTakeThem) {
    wchar_t buffer[] = L" \\kept";
    EXPECT_EQ(GetCurrentDir(nullptr, 4096), 0u);
    EXPECT_EQ(GetCurrentDir(buffer, 0), 0u);
    EXPECT_EQ(GetFullFilename(L"a", nullptr, 8), nullptr);
    GetFullFilename(L"a", buffer, 0);
    EXPECT_STREQ(GetFullFilename(nullptr, buffer, 7), L" \\kept");
    EXPECT_STREQ(GetFullFilename(buffer, buffer, 7), L"/kept") << "name and buffer are the same";
}

TEST_F(Directories, SpeakTheLanguageOfTheLocale) {
    fs::create_directory(kForeign);
    fs::current_path(kForeign);
    WriteFile(kForeign, "text");
    wchar_t buffer[4096] = L"kept";
    EXPECT_FALSE(list.FindFirst((L"/" + kWideForeign).c_str(), &info)) << "not in the C locale";
    EXPECT_STREQ(list.GetFullPath(), L"");
    EXPECT_EQ(GetCurrentDir(buffer, 4096), 0u);
    EXPECT_STREQ(buffer, L"kept");
    EXPECT_STREQ(GetFullFilename(L"tmp", buffer, 4096), L"") << "not the name of another file";
    EXPECT_STREQ(GetFullFilename(L" \t\\a\\../ ", buffer, 8), L"/a/../ ");

    Utf8Locale const utf8;
    EXPECT_EQ(Find("../" + kForeign + "/?*"), (Found{{L".", kWideForeign}, {L".", kWideForeign}}));
    std::string const slashes = scratch.path + std::string(4093 - scratch.path.size(), '/');
    EXPECT_TRUE(IsListed(slashes + "/*\u00E9")) << "cut in bytes to *";
    WriteFile("ab\xFFz", "text");
    std::wmemset(info.name, L'?', 4096);
    EXPECT_TRUE(IsListed("ab*"));
    EXPECT_STREQ(info.name, L"ab") << "ends at the fault";
    EXPECT_EQ(list.GetFullPath(), Wide(scratch.path + "/" + kForeign));
}

} // namespace
