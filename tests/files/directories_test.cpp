#include "tests/files/scratch.h"
#include <verrick/listing.h>
#include <verrick/paths.h>
#include <verrick/search.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

std::wstring Wide(std::string const& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(std::mbstowcs(wide.data(), text.c_str(), wide.size()));
    return wide;
}

std::string Narrow(wchar_t const* text) {
    std::string narrow(std::wcslen(text) * 4, '\0');
    narrow.resize(std::wcstombs(narrow.data(), text, narrow.size()));
    return narrow;
}

Names FindFlat(char const* spec) {
    Names names;
    FindData data;
    errno = 0;
    long const handle = _findfirst(spec, &data);
    if (handle == -1) {
        EXPECT_EQ(errno, ENOENT);
        return names;
    }
    do {
        names.insert(data.name);
    } while (_findnext(handle, &data) == 0);
    FindData const last = data;
    EXPECT_EQ(_findnext(handle, &data), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(std::memcmp(&last, &data, sizeof data), 0);
    EXPECT_EQ(_findclose(handle), 0);
    return names;
}

Names List(std::string const& path) {
    Names names;
    DDirList list;
    auto const info = std::make_unique<DFileInfo>();
    for (bool more = list.FindFirst(Wide(path).c_str(), info.get()); more;
         more = list.FindNext(info.get())) {
        names.insert(Narrow(info->name));
    }
    errno = 0;
    EXPECT_FALSE(list.FindNext(info.get()));
    EXPECT_EQ(errno, 0);
    return names;
}

std::ptrdiff_t OpenDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), {});
}

TEST(Directories, FindWhatTheTextAsksForByTheRulesOfEachFace) {
    Scratch scratch;
    fs::create_directory("src");
    for (char const* name : {"a.c", "b.C", "c.c.c", "d", ".e", "src/s.c"}) {
        scratch.Write(name, "text");
    }
    auto const open = OpenDescriptors();
    Names const every{".", "..", ".e", "a.c", "b.C", "c.c.c", "d", "src"};
    struct {
        char const* text;
        Names flat;
        Names listed;
    } const cases[] = {{"*.c", {"a.c", "b.C"}, {"a.c", "b.C"}},
                       {"*.*", {"a.c", "b.C"}, every},
                       {"*", every, every},
                       {"src\\*.C", {"s.c"}, {"s.c"}},
                       {" src/*.c", {}, {"s.c"}},
                       {"SRC", {"src"}, {"src"}},
                       {"src/", {"src"}, {}},
                       {"./src//s.c/", {"s.c"}, {}},
                       {"src/*.x", {}, {}},
                       {"missing/*", {}, {}},
                       {"/*", {}, {}},
                       {"/", {}, {}},
                       {"", {}, {}}};
    for (auto const& [text, flat, listed] : cases) {
        SCOPED_TRACE(text);
        EXPECT_EQ(FindFlat(text), flat);
        EXPECT_EQ(List(text), listed);
    }
    EXPECT_EQ(FindFlat(nullptr), Names{});
    EXPECT_EQ(DDirList().FindFirst(nullptr, nullptr), false);
    errno = 0;
    EXPECT_EQ(_findnext(-1, nullptr) + _findclose(-1), -2);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(OpenDescriptors(), open);
}

TEST(Directories, TellTheStatusOfEachEntry) {
    Scratch scratch;
    fs::create_directory("dir");
    fs::create_directory_symlink("dir", "link");
    fs::create_symlink("nowhere", "dangling");
    scratch.Write("large", "x");
    fs::resize_file("large", 3LL << 30);
    scratch.Write("larger", "x");
    fs::resize_file("larger", 5LL << 30);
    timespec const times[] = {{-5, 0}, {2000000000, 0}};
    utimensat(AT_FDCWD, "large", times, 0);
    DDirList list;
    EXPECT_STREQ(list.GetFullPath(), L"");
    auto const info = std::make_unique<DFileInfo>();
    auto const look = [&](char const* name) {
        FindData data{7, 1, 2, 3, 4, "x"};
        EXPECT_EQ(_findclose(_findfirst(name, &data)), 0);
        EXPECT_EQ(data.attributes, 7u);
        EXPECT_STREQ(data.name, name);
        EXPECT_TRUE(list.FindFirst(Wide(name).c_str(), info.get()));
        EXPECT_EQ(info->time, data.writeTime);
        EXPECT_EQ(info->size, data.size);
        return data;
    };
    FindData const large = look("large");
    EXPECT_EQ(large.size, 3u << 30);
    EXPECT_EQ(large.accessTime, -5);
    EXPECT_EQ(large.writeTime, 2000000000);
    EXPECT_EQ(look("larger").size, 0xFFFFFFFFu);
    FindData const link = look("link");
    EXPECT_TRUE(info->isDirectory);
    EXPECT_GT(link.createTime, 1600000000);
    FindData const dangling = look("dangling");
    EXPECT_FALSE(info->isDirectory);
    EXPECT_EQ(dangling.createTime | dangling.accessTime | dangling.writeTime, 0);
    EXPECT_EQ(dangling.size, 0u);
    EXPECT_EQ(list.GetFullPath(), Wide(scratch.Path()));
    EXPECT_FALSE(list.FindFirst(L"gone/*", info.get()));
    EXPECT_EQ(list.GetFullPath(), Wide(scratch.Path() + "/gone"));
}

// Goes down from the current directory to one whose name has that many bytes.
void Descend(std::size_t from, std::size_t bytes) {
    for (std::size_t left = bytes - from; left > 0;) {
        std::size_t const name = left > 202 ? 200 : left > 201 ? 100 : left - 1;
        ASSERT_TRUE(mkdir(std::string(name, 'd').c_str(), 0700) == 0 || errno == EEXIST);
        ASSERT_EQ(chdir(std::string(name, 'd').c_str()), 0);
        left -= name + 1;
    }
}

// What both faces find for a text: whether there is an entry, and its size.
void ExpectFirst(std::string const& text, bool flat, bool listed, unsigned int size) {
    FindData data{};
    auto const info = std::make_unique<DFileInfo>();
    long const handle = _findfirst(text.c_str(), &data);
    EXPECT_EQ(_findclose(handle), flat ? 0 : -1);
    EXPECT_EQ(data.size, flat ? size : 0);
    EXPECT_EQ(DDirList().FindFirst(Wide(text).c_str(), info.get()), listed);
    EXPECT_EQ(info->size, listed ? size : 0);
}

TEST(Directories, AreFoundAsDeepAsTheirNamesFit) {
    Scratch scratch;
    std::string const top = scratch.Path();
    for (unsigned int bytes = 4085; bytes <= 4098; ++bytes) {
        SCOPED_TRACE(bytes);
        fs::current_path(top);
        Descend(top.size(), bytes);
        scratch.Write("abc.c", "text");
        bool const named = bytes <= 4095;
        auto const whole = std::make_unique<wchar_t[]>(8192);
        EXPECT_EQ(GetCurrentDir(whole.get(), bytes), 0u);
        EXPECT_STREQ(whole.get(), L"");
        EXPECT_EQ(GetCurrentDir(whole.get(), 8192), named ? bytes : 0);
        for (unsigned int size = bytes - 1; size < bytes + 9; ++size) {
            auto const exact = std::make_unique<wchar_t[]>(size);
            GetFullFilename(L"abc.c", exact.get(), size);
            EXPECT_EQ(exact.get(), (whole.get() + std::wstring(L"/abc.c")).substr(0, size - 1));
        }
        // Directory, pattern and two terminators; a slash more, and one terminator less.
        ExpectFirst("*.c", bytes <= 4091, bytes <= 4092, bytes + 6 <= 4095 ? 4 : 0);
    }
}

TEST(Directories, TakeTextsThatFitAndNoOthers) {
    Scratch scratch;
    scratch.Write("abc.c", "text");
    for (std::size_t bytes = 4085; bytes <= 4100; ++bytes) {
        SCOPED_TRACE(bytes);
        std::string const slashes(bytes - scratch.Path().size() - 3, '/');
        ExpectFirst(scratch.Path() + slashes + "*.c", bytes <= 4095, bytes <= 4096,
                    bytes + 2 <= 4095 ? 4 : 0);
    }
    wchar_t buffer[8] = L"kept";
    EXPECT_STREQ(GetFullFilename(nullptr, buffer, 8), L"kept");
    EXPECT_STREQ(GetFullFilename(L"a", buffer, 0), L"kept");
    EXPECT_EQ(GetFullFilename(L"a", nullptr, 8), nullptr);
    EXPECT_EQ(GetCurrentDir(nullptr, 8), 0u);
    EXPECT_STREQ(GetFullFilename(L" \t\\a\\../ ", buffer, 8), L"/a/../ ");
    EXPECT_STREQ(GetFullFilename(L"/name/name", buffer, 5), L"/nam");
}

TEST(Directories, SpeakTheLanguageOfTheLocale) {
    Scratch scratch;
    std::string const directory = "\u00E9\u20AC\U00010348";
    fs::create_directory(directory);
    std::string longest = "x";
    for (int i = 0; i < 127; ++i) {
        longest += "\u00E9";
    }
    for (std::string const& name : {directory, longest}) {
        scratch.Write(directory + "/" + name, "text");
    }
    DDirList list;
    EXPECT_FALSE(list.FindFirst(L"\u00E9\u20AC\U00010348/*", nullptr)) << "not in the C locale";
    EXPECT_STREQ(list.GetFullPath(), L"");
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(List(directory + "/*"), (Names{".", "..", directory, longest}));
    EXPECT_EQ(FindFlat((directory + "/*").c_str()), (Names{".", "..", directory, longest}));
    scratch.Write("ab\xFF"
                  "c",
                  "text");
    fs::current_path(directory);
    auto const info = std::make_unique<DFileInfo>();
    std::wmemset(info->name, L'?', 4096);
    EXPECT_TRUE(list.FindFirst(L"../ab*", info.get()));
    EXPECT_STREQ(info->name, L"ab");
    EXPECT_EQ(info->size, 4u);
    EXPECT_EQ(list.GetFullPath(), Wide(fs::current_path().string() + "/.."));

    std::setlocale(LC_ALL, "C");
    wchar_t buffer[4096] = L"kept";
    EXPECT_EQ(GetCurrentDir(buffer, 4096), 0u);
    EXPECT_STREQ(buffer, L"kept");
    EXPECT_STREQ(GetFullFilename(L"tmp", buffer, 4096), L"") << "not the name of another file";
}

} // namespace
