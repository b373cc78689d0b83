#include "tests/files/scratch.h"

#include <sys/stat.h>

// A name that no file system here can have. The next readdir of the process returns it, if it isn't
// empty.
static std::string g_nextName;

// Compiled with the same file offsets as the library, so this stands in for the call that it makes.
extern "C" dirent* readdir(DIR* directory) {
    static auto* const real = Real(readdir, "readdir64");
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

struct Directories : testing::Test {
    // Each returns how many entries its face finds. The last one is then in data or in info.
    int Searched(std::string const& text) {
        int count = 0;
        long const search = _findfirst(text.c_str(), &data);
        for (long next = search; next != -1; next = _findnext(search, &data)) {
            ++count;
        }
        _findclose(search);
        return count;
    }
    int Listed(std::string const& text) {
        int count = 0;
        for (bool found = list.FindFirst(Wide(text).c_str(), &info); found; ++count) {
            found = list.FindNext(&info);
        }
        return count;
    }

    Scratch scratch;
    FindData data{7, 1, 2, 3, 9, "x"};
    DFileInfo info{3, 9, L"x", true};
    DDirList list;
};

TEST_F(Directories, AreScannedForTheLastNameOfAPath) {
    EXPECT_STREQ(DDirList().GetFullPath(), L"");
    EXPECT_FALSE(list.FindFirst(L"/\u00E9", &info)) << "can't be converted";
    EXPECT_STREQ(list.GetFullPath(), L"") << "no path of a text that fails";
    EXPECT_FALSE(list.FindNext(&info));
    EXPECT_FALSE(list.FindFirst(nullptr, nullptr));
    EXPECT_EQ(_findfirst(nullptr, nullptr), -1);
    xDirStruct ended;
    EXPECT_EQ(_findnext(reinterpret_cast<long>(&ended), &data), -1);
    errno = 0;
    EXPECT_EQ(_findclose(reinterpret_cast<long>(&ended)), -1);
    EXPECT_EQ(errno, ENOENT);
    fs::create_directory("s");
    WriteFile("s/a.c", "");
    WriteFile("s/c\xFFz", "");
    constexpr struct {
        char const* text;
        int searched, listed;
    } rows[] = {{".\\s\\*", 4, 4}, {"s/*.*", 1, 4}, {"./s/", 1, 0}, {"s\\", 1, 0},
                {"?", 2, 2},       {"", 0, 0},      {"/", 0, 0},    {"s/c*", 1, 1}};
    for (auto const& row : rows) {
        EXPECT_EQ(Searched(row.text), row.searched) << row.text;
        EXPECT_EQ(Listed(row.text), row.listed) << row.text;
    }
    EXPECT_STREQ(data.name, "c\xFFz");
    EXPECT_STREQ(info.name, L"c") << "up to the byte that can't be converted";
    EXPECT_EQ(list.GetFullPath(), Wide(scratch.path + "/s"));
}

TEST_F(Directories, TellTheStatusBehindALinkInTheNearestWords) {
    WriteFile("large", "");
    fs::resize_file("large", 5LL << 30);
    timespec const times[] = {{-3000000000, 0},
                              {3000000000, 0}}; // as near as the disk can keep them
    utimensat(AT_FDCWD, "large", times, 0);
    fs::create_symlink("large", "link");
    struct stat status {};
    stat("link", &status);
    ASSERT_EQ(Searched("link"), Listed("link"));
    EXPECT_EQ(data.attributes, 7) << "left alone";
    EXPECT_EQ(data.createTime, status.st_ctime);
    EXPECT_EQ(data.accessTime, INT_MIN);
    EXPECT_TRUE(data.writeTime == INT_MAX && info.time == INT_MAX);
    EXPECT_TRUE(data.size == 0xFFFFFFFF && info.size == 0xFFFFFFFF);
    EXPECT_FALSE(info.isDirectory);
    EXPECT_TRUE(Listed(".") == 1 && info.isDirectory);
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
        EXPECT_EQ(Searched(scratch.path + slashes + "abc.c"), bytes <= 4095 ? 1 : 0);
        for (std::size_t left = bytes - scratch.path.size(); left > 0;) {
            std::string const name(left > 202 ? 200 : left > 201 ? 100 : left - 1, 'd');
            mkdir(name.c_str(), 0700);
            ASSERT_EQ(chdir(name.c_str()), 0);
            left -= name.size() + 1;
        }
        WriteFile("abc.c", "text");
        EXPECT_EQ(Searched("abc.c"), bytes <= 4089 ? 1 : 0);
        EXPECT_EQ(Listed("abc.c"), bytes <= 4090 ? 1 : 0);
        std::wstring whole(8192, L'?');
        EXPECT_EQ(GetCurrentDir(whole.data(), bytes), 0u);
        EXPECT_EQ(GetCurrentDir(whole.data(), 8192), bytes <= 4095 ? bytes : 0);
        fs::current_path(scratch.path);
    }
}

TEST_F(Directories, AreListedByWhatIsLeftOfAPathThatWasCut) {
    std::string const directory = scratch.path + std::string(4093 - scratch.path.size(), '/');
    EXPECT_EQ(Listed(directory + "/*.c"), 0) << "nothing fits *.";
    EXPECT_EQ(Listed(directory + "//*.c"), 2) << "everything fits *";
    EXPECT_EQ(Listed(directory + "///*.c"), 0) << "nothing fits the empty pattern";
    Utf8Locale const utf8;
    EXPECT_EQ(Listed(directory + "/*\u00E9"), 2) << "cut in bytes to *";
}

TEST_F(Directories, GiveNamesWholeOrNotAtAll) {
    for (std::size_t bytes : {256, 1024, 4095, 4096, 5000}) {
        g_nextName.assign(bytes, 'n');
        EXPECT_EQ(Searched("nnn*"), bytes < 4096 ? 1 : 0);
        EXPECT_EQ(std::strlen(data.name), bytes < 4096 ? bytes : 4095);
        g_nextName.assign(bytes, 'n');
        EXPECT_EQ(Listed("nnn*"), bytes < 4096 ? 1 : 0);
        EXPECT_EQ(std::wcslen(info.name), bytes < 4096 ? bytes : 4095);
    }
}

TEST_F(Directories, AreNamedInAnyBufferThatCanTakeThem) {
    wchar_t buffer[4096] = L" \\kept";
    EXPECT_EQ(GetCurrentDir(nullptr, 4096), 0u);
    EXPECT_EQ(GetCurrentDir(buffer, 0), 0u);
    EXPECT_EQ(GetFullFilename(L"a", nullptr, 8), nullptr);
    GetFullFilename(L"a", buffer, 0);
    EXPECT_STREQ(GetFullFilename(nullptr, buffer, 7), L" \\kept");
    EXPECT_STREQ(GetFullFilename(buffer, buffer, 7), L"/kept") << "name and buffer are the same";
    EXPECT_STREQ(GetFullFilename(L"/abc", buffer, 3), L"/a");
    EXPECT_EQ(GetFullFilename(L"\ta\\b", buffer, 4096), Wide(scratch.path + "/a/b"));
    fs::create_directory("\xFF");
    fs::current_path("\xFF");
    EXPECT_EQ(GetCurrentDir(buffer, 4096), 0u) << "can't be converted";
    EXPECT_STREQ(GetFullFilename(L"a", buffer, 4096), L"");
    EXPECT_FALSE(list.FindFirst(L"*", &info));
}

} // namespace
