#include "tests/files/scratch.h"
#include <verrick/listing.h>
#include <verrick/paths.h>
#include <verrick/search.h>

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <dlfcn.h>
#include <fcntl.h>
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

std::wstring Wide(std::string const& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(std::mbstowcs(wide.data(), text.c_str(), wide.size()));
    return wide;
}

class Directories : public testing::Test {
protected:
    // Each returns whether its face finds an entry. The first one is then in data or in info.
    bool IsSearched(std::string const& text) {
        return _findclose(_findfirst(text.c_str(), &data)) == 0;
    }
    bool IsListed(std::string const& text) { return list.FindFirst(Wide(text).c_str(), &info); }

    Scratch scratch;
    FindData data{7, 1, 2, 3, 9, "x"};
    DFileInfo info{3, 9, L"x", true};
    DDirList list;
};

TEST_F(Directories, LeaveNothingOpenIfNothingIsFound) {
    int const next = NextDescriptor();
    for (char const* const text : {"*", "*.x", "missing/*", ""}) {
        EXPECT_EQ(IsSearched(text), text == std::string("*"));
    }
    EXPECT_EQ(_findfirst(nullptr, nullptr), -1);
    EXPECT_EQ(_findnext(-1, nullptr), -1);
    EXPECT_FALSE(list.FindFirst(nullptr, nullptr));
    EXPECT_EQ(NextDescriptor(), next);
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

TEST_F(Directories, AreNotListedByATextThatCannotBeConverted) {
    EXPECT_FALSE(list.FindFirst(L"/\u00E9", &info)) << "not in the C locale";
    EXPECT_STREQ(list.GetFullPath(), L"");
    Utf8Locale const utf8;
    std::string const slashes = scratch.path + std::string(4093 - scratch.path.size(), '/');
    EXPECT_TRUE(IsListed(slashes + "/*\u00E9")) << "cut in bytes to *";
}

} // namespace
