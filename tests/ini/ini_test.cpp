#include <verrick/ini.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <new>
#include <random>
#include <sys/resource.h>
#include <tuple>
#include <unistd.h>

#include "tests/support/memory.h"

// The library's calls of these come here, so that each of them can be made to fail in turn.
namespace {

struct Fault {
    int callsLeft = -1; // until the failing one; negative for none
    bool happened = false;
    bool changedBefore = false; // something had been written by then
} g_fault;

template<typename Call, typename... Arguments>
auto Forward(char const* name, Call, bool changes, Arguments... arguments) {
    auto const call = reinterpret_cast<Call>(dlsym(RTLD_NEXT, name));
    if (g_fault.callsLeft >= 0 && g_fault.callsLeft-- == 0) {
        g_fault.happened = true;
        errno = EIO;
        return decltype(call(arguments...)){-1};
    }
    g_fault.changedBefore |= changes && !g_fault.happened;
    return call(arguments...);
}

} // namespace

extern "C" ssize_t pread(int file, void* bytes, size_t size, off_t at) {
    return Forward("pread", pread, false, file, bytes, size, at);
}
extern "C" ssize_t pwrite(int file, void const* bytes, size_t size, off_t at) {
    return Forward("pwrite", pwrite, true, file, bytes, size, at);
}
extern "C" int ftruncate(int file, off_t size) __THROW {
    return Forward("ftruncate", ftruncate, true, file, size);
}

namespace {

using namespace std::string_literals;
namespace fs = std::filesystem;

class Ini : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
        ASSERT_NE(mkdtemp(directory.data()), nullptr);
    }
    void TearDown() override { fs::remove_all(directory); }

    void Store(std::string const& text) const { std::ofstream(path(), std::ios::binary) << text; }
    std::string Stored() const {
        std::ifstream file(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string path() const { return directory + "/f\u00fc.ini"; }
    std::wstring name(wchar_t const* file = L"/f\u00fc.ini") const {
        return std::wstring(directory.begin(), directory.end()) + file;
    }

    std::wstring Value(wchar_t const* section, wchar_t const* key) const {
        std::vector<wchar_t> out(6000);
        GetPrivateProfileString(section, key, L"?", out.data(), 6000, name().c_str());
        return out.data();
    }

    std::string directory = testing::TempDir() + "ini_XXXXXX";
};

std::string const kWorked = "[a]\r\nk=1\r\nm=22\r\n[b]\r\nx=3\r\n";

// A null key writes the section whole.
int Edit(IIni& ini, wchar_t const* section, wchar_t const* key, wchar_t const* value) {
    return key != nullptr ? ini.PutKeyValue(section, key, value) : ini.PutSection(section, value);
}

TEST_F(Ini, EditsLeaveExactlyTheseBytes) {
    using Text = wchar_t const*;
    std::tuple<std::string, Text, Text, Text, std::string> const cases[] = {
        {kWorked, L"a", L"k", L"2", "[a]\r\nk=2\r\nm=22\r\n[b]\r\nx=3\r\n"},
        {kWorked, L"a", L"m", nullptr, "[a]\r\nk=1\r\n[b]\r\nx=3\r\n"},
        {kWorked, L"a", nullptr, L"p=1\0", "[a]\r\np=1\r\n[b]\r\nx=3\r\n"},
        {kWorked, L"b", nullptr, nullptr, "[a]\r\nk=1\r\nm=22\r\n"},
        {kWorked, L"b", nullptr, L";c\0y\0", "[a]\r\nk=1\r\nm=22\r\n[b]\r\n;c\r\ny\r\n"},
        {kWorked, L"a", L"n", L"1", "[a]\r\nk=1\r\nm=22\r\nn=1\r\n[b]\r\nx=3\r\n"},
        {kWorked, L"a", L"m ", L"\u20ac", "[a]\r\nk=1\r\nm =\u20ac\r\n[b]\r\nx=3\r\n"},
        {kWorked, L"a", L"z", nullptr, kWorked},
        {kWorked, L"z", nullptr, nullptr, kWorked},
        {"", L"s", L"k", L"v", "\r\n[s]\r\nk=v\r\n"},
        {"x", L"s", nullptr, L"k\0", "x\r\n[s]\r\nk\r\n"},
        {"[a]\nk=1", L"a", L"n", L"2", "[a]\nk=1\r\nn=2\r\n"},
        {"[a]\n;c", L"a", L"n", L"2", "[a]\nn=2\r\n;c"},
        {"[a]\n;c\n\nk=1\n;e", L"a", L"k", nullptr, "[a]\n;c\n\n;e"},
        {"[a]\n;c\n K = 1\n;d\n", L"a", L"k", L"", "[a]\n;c\nk=\r\n;d\n"},
        {"[a]\nk=1\n\n;c\n[b]\n", L"a", L"n", L"2", "[a]\nk=1\n\nn=2\r\n;c\n[b]\n"},
        {"[a]\n;c\nk=1\nother\n\n;d\nn=2\n", L"a", L"k", nullptr, "[a]\n;d\nn=2\n"},
        {"[a]\nk=1\n;c\n[b]\n", L"a", nullptr, nullptr, "[b]\n"}};
    for (auto const& [before, section, key, value, after] : cases) {
        Store(before);
        DIni ini(name().c_str());
        EXPECT_EQ(Edit(ini, section, key, value), 1);
        EXPECT_EQ(Stored(), after);
    }
}

TEST_F(Ini, LinesAreReadByTheFormat) {
    auto const text =
        "k=0\n;[x]\r\n \t[ Alpha ] k=1\n ;k=2\n#k=3\n[k=4\nK =5=6 ;7 \r\nk=8\ne=\n=n\n"
        "\u2003u\u2003=\u2003\u00fc\n\u2003; c=1\nf=ab\xff=c\nz=1\0=2\n\u2003[\u00c4]\n"s;
    Store(text + "k=9\n[ALPHA]\nn=1\n" + std::string(2045, ' ') + "[]]\nk=10\n[" +
          std::string(2047, 'x') + "]\nl=" + std::string(20000, 'v') + "\r\nlast=1\r");
    auto const list = [&](wchar_t const* section) {
        std::vector<wchar_t> out(6000);
        auto const length = GetPrivateProfileSection(section, out.data(), 6000, name().c_str());
        return std::wstring(out.data(), length);
    };
    EXPECT_EQ(list(L" ALPHA "), L"#k=3\0[k=4\0K=5=6 ;7\0k=8\0e=\0=n\0u=\u00fc\0f=ab\0z=1"s);
    EXPECT_EQ(list(L""), L"k=10\0l="s + std::wstring(2045, 'v') + L"\0last=1"s);
    EXPECT_EQ(Value(L"alpha", L" k "), L"5=6 ;7");
    EXPECT_EQ(Value(L"alpha", L""), L"n");
    EXPECT_EQ(Value(L"\u00e4", L"k"), L"9");
    EXPECT_EQ(Value(L"x", L"k"), L"?");
}

TEST_F(Ini, ListsAndValuesAreCutToTheArray) {
    Store("[abc]\na = b\nde=\n[de]\n[]\n");
    DIni ini(name().c_str());
    auto const expectList = [&](auto get, std::size_t size, unsigned int count, std::wstring list) {
        std::vector<wchar_t> out(size, L'~');
        EXPECT_EQ(get(out.data(), static_cast<unsigned int>(size)), count);
        EXPECT_EQ(std::wstring(out.begin(), out.end()).substr(0, list.size()), list);
    };
    auto const keys = [&](auto... room) { return ini.GetKeyNames(L"ABC", room...); };
    auto const lines = [&](auto... room) { return ini.GetSection(L"abc", room...); };
    auto const names = [&](auto... room) { return ini.GetSectionNames(room...); };
    auto const value = [&](auto... room) { return ini.GetKeyValue(L"x", L"x", L" ab", room...); };
    expectList(keys, 9, 4, L"a\0de\0\0~~~"s);
    expectList(lines, 9, 7, L"a=b\0de=\0\0"s);
    expectList(lines, 8, 6, L"a=b\0de\0\0"s);
    expectList(value, 1, 0, L"\0"s);
    expectList(value, 3, 2, L" a\0"s);
    expectList(names, 9, 7, L"abc\0de\0\0\0"s);
    Store("[abc]\n[de]\n");
    expectList(names, 7, 5, L"abc\0d\0\0"s);
    expectList(names, 6, 4, L"abc\0\0\0"s);
    expectList(names, 5, 3, L"abc\0\0"s);
    expectList(names, 4, 2, L"ab\0\0"s);
    expectList(names, 1, 0, L"~"s);
}

TEST_F(Ini, ProfileCallsCheckTheirArgumentsBeforeTheFile) {
    wchar_t out[4] = L"~~~";
    std::wstring const file = name();
    EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"d", out, 1, file.c_str()), 0u);
    EXPECT_EQ(GetPrivateProfileSection(nullptr, out, 4, file.c_str()), 0u);
    EXPECT_EQ(GetPrivateProfileSectionNames(nullptr, 4, file.c_str()), 0u);
    EXPECT_EQ(WritePrivateProfileString(nullptr, L"k", L"v", file.c_str()), 0);
    EXPECT_STREQ(out, L"~~~");
    EXPECT_FALSE(fs::exists(path()));
    fs::create_symlink(path(), directory + "/link"); // what is created has the name linked to
    EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"dflt", out, 4, name(L"/link").c_str()), 3u);
    EXPECT_STREQ(out, L"dfl");
    EXPECT_EQ(WritePrivateProfileString(L"s", nullptr, L"v", file.c_str()), 0);
    EXPECT_EQ(WritePrivateProfileSection(nullptr, L"", file.c_str()), 0);
    EXPECT_EQ(Stored(), "");
    Store(kWorked);
    EXPECT_EQ(GetPrivateProfileString(nullptr, nullptr, L"d", out, 4, file.c_str()), 2u);
    EXPECT_EQ(std::wstring(out, 4), L"a\0\0\0"s);
    EXPECT_EQ(GetPrivateProfileSection(L"b", out, 4, nullptr), 0u);
    EXPECT_EQ(out[0] + out[1], 0);
}

TEST_F(Ini, TailsOfEveryLengthMoveBothWaysByteForByte) {
    std::mt19937 random(4711);
    auto const text = [&] {
        constexpr std::size_t around[] = {0, 2030, 2041, 4070, 6130, 20000};
        std::string bytes(around[random() % 6] + random() % 30, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return "\xff\r\0=[;ab"[random() % 8]; });
        return bytes;
    };
    for (int round = 0; round < 300; ++round) {
        std::string const head = ";"s + text() + "\n[s]\n;" + text() + "\nk=";
        std::string const tail = "\n[t]" + text();
        Store(head + text() + tail);
        std::wstring const value(text().size(), L'v');
        ASSERT_EQ(WritePrivateProfileString(L"s", L"k", value.c_str(), name().c_str()), 1);
        ASSERT_TRUE(Stored() == head + std::string(value.size(), 'v') + "\r" + tail) << round;
        ASSERT_EQ(Value(L"s", L"k"), value.substr(0, 2045)) << round;
    }
}

TEST_F(Ini, ABadNameOpensNothingAndReplacesTheNameBefore) {
    Store(kWorked);
    fs::create_symlink(path(), directory + "/link");
    std::wstring const link = name(L"/link");
    std::wstring const longest = std::wstring(4095 - link.size(), L'/') + link;
    wchar_t out[2];
    for (auto const& bad : {longest + L"i", L"\xd800"s, L""s}) {
        DIni ini(longest.c_str());
        EXPECT_EQ(ini.GetKeyValue(L"a", L"k", nullptr, out, 2), 1u);
        EXPECT_EQ(ini.Open(bad.empty() ? nullptr : bad.c_str()), 0);
        EXPECT_EQ(ini.PutKeyValue(L"a", L"k", L"new"), 0);
        EXPECT_EQ(ini.GetKeyValue(L"a", L"k", L"d", out, 2), 0u);
        EXPECT_EQ(out[0], L'1');
    }
    EXPECT_EQ(Stored(), kWorked);
    EXPECT_EQ(WritePrivateProfileString(L"a", L"k", L"v", name(L"").c_str()), 0);
}

TEST_F(Ini, TextThatDoesNotConvertOrFitLeavesTheFileAlone) {
    Store(kWorked);
    DIni ini(name().c_str());
    EXPECT_EQ(ini.PutKeyValue(L"a", L"k", L"\xd800") + ini.PutKeyValue(L"a", L"\xd800", L"v"), 0);
    EXPECT_EQ(ini.PutKeyValue(L"\xd800", L"k", L"v") + ini.PutSection(L"a", L"p\0\xd800\0"), 0);
    EXPECT_EQ(Stored(), kWorked);
    std::wstring const line = std::wstring(2046, L'x') + L"\u00e4";
    EXPECT_EQ(ini.PutSection(L"a", (line + L'\0').c_str()), 1);
    EXPECT_EQ(Stored(), "[a]\r\n" + std::string(2046, 'x') + "\r\n[b]\r\nx=3\r\n");
}

// Section, key and value; the first three of them make the file longer.
constexpr std::array<wchar_t const*, 3> kEdits[] = {
    {L"a", L"k", L"abcde"}, {L"b", nullptr, L"long=line\0"}, {L"c", L"k", L"v"},
    {L"a", L"m", nullptr},  {L"a", nullptr, nullptr},        {L"b", nullptr, nullptr}};

// An object whose openings can be made to fail; each of them may leave no stream.
struct Closing : DIniImpl {
    using DIniImpl::DIniImpl;
    int Open(wchar_t const* file) override {
        Close();
        return openingsLeft-- != 0 ? DIniImpl::Open(file) : 0;
    }
    int openingsLeft = -1;
};

TEST_F(Ini, WhateverFailsFailsTheEditAndAtFirstLeavesTheFileAsItWas) {
    enum Kind { kCall, kAllocation, kOpening };
    for (auto const& [section, key, value] : kEdits) {
        for (Kind const kind : {kCall, kAllocation, kOpening}) {
            bool failed = true;
            for (int n = 0; failed; ++n) {
                Store(kWorked);
                Closing ini(name().c_str());
                ini.openingsLeft = kind == kOpening ? n : -1;
                g_fault = {kind == kCall ? n : -1};
                int result = 0;
                try {
                    MemoryShortage const shortage(kind == kAllocation ? n : -1);
                    result = Edit(ini, section, key, value);
                } catch (std::bad_alloc const&) {
                }
                failed = g_fault.happened || (kind != kCall && result == 0);
                EXPECT_EQ(result, failed ? 0 : 1);
                bool const begun = kind != kAllocation && g_fault.changedBefore;
                EXPECT_TRUE(!failed || begun || Stored() == kWorked) << kind << ' ' << n;
                g_fault = {};
            }
            EXPECT_NE(Stored(), kWorked);
        }
    }
}

TEST_F(Ini, AFullDiskLosesNothing) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit const tight{28, before.rlim_max};
    Store(kWorked);
    for (auto const& [section, key, value] : {kEdits[0], kEdits[1], kEdits[2]}) {
        DIni ini(name().c_str());
        setrlimit(RLIMIT_FSIZE, &tight);
        int const result = Edit(ini, section, key, value);
        setrlimit(RLIMIT_FSIZE, &before);
        ini.Close(); // what couldn't be written is forgotten
        EXPECT_EQ(result, 0);
        EXPECT_EQ(Stored(), kWorked);
    }
}

} // namespace
