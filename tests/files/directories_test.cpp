#include "tests/files/scratch.h"
#include <verrick/listing.h>
#include <verrick/paths.h>
#include <verrick/search.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <fcntl.h>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

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
    int const lowestFree = dup(0);
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
    EXPECT_EQ(_findfirst(nullptr, nullptr) + _findnext(-1, nullptr), -2);
    EXPECT_FALSE(DDirList().FindFirst(nullptr, nullptr));
    EXPECT_EQ(dup(0), lowestFree + 1) << "nothing stays open";
}

// What both faces tell of the first entry: whether there is one, its size and its time.
DFileInfo ExpectFirst(std::string const& text, bool found, bool listed, unsigned int size) {
    FindData data{7, 1, 2, 3, 4, "x"};
    DFileInfo info{3, 4, L"x", false};
    EXPECT_EQ(_findclose(_findfirst(text.c_str(), &data)), found ? 0 : -1) << text;
    EXPECT_EQ(DDirList().FindFirst(Wide(text).c_str(), &info), listed) << text;
    EXPECT_EQ(data.size, found ? size : 4) << text;
    EXPECT_EQ(info.size, listed ? size : 4) << text;
    EXPECT_TRUE(data.writeTime == info.time || found != listed);
    EXPECT_EQ(data.attributes, 7u);
    return info;
}

TEST(Directories, TellTheStatusOfEachEntry) {
    Scratch scratch;
    WriteFile("large", "x");
    timespec const times[] = {{0, 0}, {-5, 0}};
    for (auto const& [gigabytes, size] : {std::pair(3, 3u << 30), {5, 0xFFFFFFFF}}) {
        fs::resize_file("large", std::uintmax_t{1} * gigabytes << 30);
        utimensat(AT_FDCWD, "large", times, 0);
        EXPECT_EQ(ExpectFirst("large", true, true, size).time, -5);
    }
    fs::create_directory_symlink("nowhere", "link");
    EXPECT_EQ(ExpectFirst("link", true, true, 0).time, 0);
    fs::create_directory_symlink(".", "here");
    DFileInfo info;
    EXPECT_TRUE(DDirList().FindFirst(L"here", &info) && info.isDirectory);
}

// Texts, directories and joined names of every length around the sizes of their arrays.
TEST(Directories, AreFoundAsDeepAsTheirNamesFit) {
    Scratch scratch;
    for (unsigned int bytes = 4085; bytes <= 4098; ++bytes) {
        fs::current_path(scratch.path);
        for (std::size_t left = bytes - scratch.path.size(); left > 0;) {
            std::string const name(left > 202 ? 200 : left > 201 ? 100 : left - 1, 'd');
            ASSERT_EQ(mkdir(name.c_str(), 0700) & chdir(name.c_str()), 0);
            left -= name.size() + 1;
        }
        WriteFile("abc.c", "text");
        auto const whole = std::make_unique<wchar_t[]>(8192);
        EXPECT_EQ(GetCurrentDir(whole.get(), bytes), 0u);
        EXPECT_EQ(GetCurrentDir(whole.get(), 8192), bytes <= 4095 ? bytes : 0);
        for (unsigned int size = bytes - 1; size < bytes + 9; ++size) {
            auto const exact = std::make_unique<wchar_t[]>(size);
            GetFullFilename(L"abc.c", exact.get(), size);
            EXPECT_EQ(exact.get(), (whole.get() + std::wstring(L"/abc.c")).substr(0, size - 1));
        }
        ExpectFirst("*.c", bytes <= 4091, bytes <= 4092, bytes + 6 <= 4095 ? 4 : 0);

        fs::current_path(scratch.path);
        WriteFile("abc.c", "text");
        std::string const slashes(bytes - scratch.path.size() - 3, '/');
        ExpectFirst(scratch.path + slashes + "*.c", bytes <= 4095, bytes <= 4096,
                    bytes + 2 <= 4095 ? 4 : 0);
    }
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
    EXPECT_STREQ(GetFullFilename(nullptr, buffer, 8), L"kept");
    EXPECT_STREQ(GetFullFilename(L"tmp", buffer, 4096), L"") << "not the name of another file";
    EXPECT_STREQ(GetFullFilename(L" \t\\a\\../ ", buffer, 8), L"/a/../ ");

    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(Find("../" + kForeign + "/?*"), (Found{{L".", kWideForeign}, {L".", kWideForeign}}));
    WriteFile(std::string("ab\xFF") + "c", "text");
    std::wmemset(info.name, L'?', 4096);
    EXPECT_TRUE(list.FindFirst(L"ab*", &info));
    EXPECT_STREQ(info.name, L"ab") << "ends at the fault";
    EXPECT_EQ(list.GetFullPath(), Wide(scratch.path + "/" + kForeign));
}

} // namespace
