// What INI files hold, and what is read from them.
#include "tests/ini/ini_files.h"

#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <tuple>
#include <vector>

namespace {

using namespace std::string_literals;

class Ini : public IniFiles {};

std::string const kWorked = "[a]\r\nk=1\r\nm=22\r\n[b]\r\nx=3\r\n";

TEST_F(Ini, EditsLeaveExactlyTheseBytes) {
    std::tuple<std::string, Edit, std::string> const cases[] = {
        {kWorked, {L"a", nullptr, L"p=1\0"}, "[a]\r\np=1\r\n[b]\r\nx=3\r\n"},
        {kWorked, {L"b", nullptr, nullptr}, "[a]\r\nk=1\r\nm=22\r\n"},
        {kWorked, {L"b", nullptr, L";c\0y\0"}, "[a]\r\nk=1\r\nm=22\r\n[b]\r\n;c\r\ny\r\n"},
        {kWorked, {L"a", L"m ", L"\u20ac"}, "[a]\r\nk=1\r\nm =\u20ac\r\n[b]\r\nx=3\r\n"},
        {kWorked, {L"a", L"z", nullptr}, kWorked},
        {kWorked, {L"z", nullptr, nullptr}, kWorked},
        {"", {L"s", L"k", L"v"}, "\r\n[s]\r\nk=v\r\n"},
        {"x", {L"s", nullptr, L"k\0"}, "x\r\n[s]\r\nk\r\n"},
        {"[a]\nk=1", {L"a", L"n", L"2"}, "[a]\nk=1\r\nn=2\r\n"},
        {"[a]\n;c", {L"a", L"n", L"2"}, "[a]\nn=2\r\n;c"},
        {"[a]\n;c\n\nk=1\n;e", {L"a", L"k", nullptr}, "[a]\n;c\n\n;e"},
        {"[a]\n;c\n K = 1\n;d\n", {L"a", L"k", L""}, "[a]\n;c\nk=\r\n;d\n"},
        {"[a]\nk=1\n\n;c\n[b]\n", {L"a", L"n", L"2"}, "[a]\nk=1\n\nn=2\r\n;c\n[b]\n"},
        {"[a]\n;c\nk=1\nother\n\n;d\nn=2\n", {L"a", L"k", nullptr}, "[a]\n;d\nn=2\n"},
        {"[a]\nk=1\n;c\n[b]\n", {L"a", nullptr, nullptr}, "[b]\n"}};
    for (auto const& [before, edit, after] : cases) {
        Store(before);
        DIni ini(Name().c_str());
        EXPECT_EQ(edit.Apply(ini), 1);
        EXPECT_EQ(Stored(), after);
    }
}

TEST_F(Ini, TailsOfEveryLengthMoveBothWaysByteForByte) {
    std::mt19937 random(4711);
    auto const size = [&] {
        constexpr std::size_t around[] = {0, 2030, 65520, 131060, 200000};
        return around[random() % 5] + random() % 30;
    };
    for (int round = 0; round < 60; ++round) {
        std::string const head = std::string(";") + std::string(random() % 5000, 'h') + "\n[s]\nk=";
        std::string bytes(size(), 'x');
        for (std::size_t at = 0; at < bytes.size() && round % 4 != 0; ++at) {
            bytes[at] = "\xff\r\0=[;ab\n"[random() % 9];
        }
        std::string const tail = "\n[t]" + bytes;
        Store(head + std::string(size(), 'o') + tail);
        std::wstring const value(size(), L'v');
        ASSERT_EQ(WritePrivateProfileString(L"s", L"k", value.c_str(), Name().c_str()), 1);
        ASSERT_TRUE(Stored() == head + std::string(value.size(), 'v') + "\r" + tail) << round;
    }
}

TEST_F(Ini, LinesAreReadByTheFormat) {
    Store("k=0\n;[x]\r\n \t[ Alpha ] k=1\n ;k=2\n#k=3\n[k=4\nK =5=6 ;7 \r\nk=8\ne=\n=n\n"
          "\u2003u\u2003=\u2003\u00fc\n\u2003; c=1\nf=ab\xff=c\nz=1\0=2\n\u2003[\u00c4]\n"
          "k=9\n[ALPHA]\nn=1\n"s +
          std::string(2045, ' ') + "[]]\nk=10\n[" + std::string(2047, 'x') +
          "]\nl=" + std::string(200000, 'v') + "\r\nlast=1\r");
    wchar_t out[6000];
    auto const list = [&](wchar_t const* section) {
        return std::wstring(out, GetPrivateProfileSection(section, out, 6000, Name().c_str()));
    };
    EXPECT_EQ(list(L" ALPHA "), L"#k=3\0[k=4\0K=5=6 ;7\0k=8\0e=\0=n\0u=\u00fc\0f=ab\0z=1"s);
    EXPECT_EQ(list(L""), L"k=10\0l="s + std::wstring(2045, 'v') + L"\0last=1"s);
    EXPECT_EQ(Value(nullptr, L"k"), L"Alpha\0\u00c4\0ALPHA\0"s) << "all sections";
    EXPECT_EQ(Value(L"alpha", L" k "), L"5=6 ;7");
    EXPECT_EQ(Value(L"alpha", L""), L"n");
    EXPECT_EQ(Value(L"\u00e4", L"k"), L"9");
    EXPECT_EQ(Value(L"x", L"k"), L"?");
}

// Programs that were built before call these too.
TEST_F(Ini, InnerScansGoOnWhereTheStreamStands) {
    Store(";1\n[a]\nk=1\n\n;2\nm = 2 ;x\n;3\n[b]\nn=3\n");
    DIniImpl ini(Name().c_str());
    EXPECT_TRUE(ini.GetSection());
    EXPECT_STREQ(ini.m_line, L"a");
    EXPECT_EQ(ini.m_lineStart, 3);
    EXPECT_TRUE(ini.FindKey(L" M "));
    EXPECT_STREQ(ini.m_value, L"2 ;x");
    EXPECT_EQ(ini.m_lineStart, 12) << "the comment above the key";
    EXPECT_FALSE(ini.GetKey());
    EXPECT_EQ(ini.m_lineStart, 24) << "the comment above the header";
    EXPECT_TRUE(ini.GetKey());
    EXPECT_STREQ(ini.m_line, L"n");
    EXPECT_FALSE(ini.FindSection(L"b")) << "is above";
    EXPECT_EQ(ini.Open(ini.m_fileName), 1);
    EXPECT_EQ(ini.m_lineStart, 0);
}

TEST_F(Ini, InnerOperationsReturnFalseWithoutAFile) {
    DIniImpl ini(nullptr);
    EXPECT_FALSE(ini.FindSection(L"a"));
    EXPECT_FALSE(ini.ReplaceKey(L"a", L"k", L"v"));
    EXPECT_FALSE(ini.DeleteKey(L"a", L"k"));
    EXPECT_FALSE(ini.ReplaceSection(L"a", L""));
    EXPECT_FALSE(ini.DeleteSection(L"a"));
    EXPECT_FALSE(ini.FileMove(1, 0));
}

TEST_F(Ini, AMovedTailLeavesItsOldBytesAndZerosInTheRoom) {
    std::tuple<long, long, std::string> const cases[] = {
        {16, 10, kWorked.substr(0, 10) + kWorked.substr(16)},
        {10, 14, kWorked.substr(0, 14) + kWorked.substr(10)},
        {16, 34, kWorked + std::string(8, '\0') + kWorked.substr(16)},
        {99, 21, kWorked.substr(0, 21)},
        {99, 120, kWorked}};
    for (auto const& [source, target, after] : cases) {
        Store(kWorked);
        DIniImpl ini(Name().c_str());
        ini.m_mode[2] = '+';
        EXPECT_TRUE(ini.FileMove(source, target));
        EXPECT_EQ(Stored(), after);
    }
}

// What a call left in an array of that size, whose elements were '~'.
template<typename Call>
std::wstring Array(unsigned int size, unsigned int count, Call call) {
    std::wstring out(size, L'~');
    EXPECT_EQ(call(out.data(), size), count);
    return out;
}

TEST_F(Ini, ListsAndValuesAreCutToTheArray) {
    Store("[abc]\na = b\nde=\n[de]\n");
    DIni ini(Name().c_str());
    auto const names = [&](auto... room) {
        return GetPrivateProfileSectionNames(room..., Name().c_str());
    };
    EXPECT_EQ(Array(8, 6, names), L"abc\0de\0\0"s);
    EXPECT_EQ(Array(6, 4, names), L"abc\0\0\0"s);
    EXPECT_EQ(Array(5, 3, names), L"abc\0\0"s);
    EXPECT_EQ(Array(4, 2, names), L"ab\0\0"s);
    EXPECT_EQ(Array(1, 0, names), L"~"s);
    EXPECT_EQ(Array(9, 4, [&](auto... room) { return ini.GetKeyNames(L"ABC", room...); }),
              L"a\0de\0\0~~~"s);
    auto const lines = [&](auto... room) { return ini.GetSection(L"abc", room...); };
    EXPECT_EQ(Array(9, 7, lines), L"a=b\0de=\0\0"s);
    EXPECT_EQ(Array(8, 6, lines), L"a=b\0de\0\0"s);
    auto const value = [&](auto... room) { return ini.GetKeyValue(L"x", L"x", L" ab", room...); };
    EXPECT_EQ(Array(3, 2, value), L" a\0"s);
    EXPECT_EQ(Array(1, 0, value), L"\0"s);
}

TEST_F(Ini, ProfileCallsCheckTheirArgumentsBeforeTheyCreateTheFile) {
    wchar_t out[4] = L"~~~";
    EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"d", out, 1, Name().c_str()), 0u);
    EXPECT_EQ(GetPrivateProfileSection(nullptr, out, 4, Name().c_str()), 0u);
    EXPECT_EQ(GetPrivateProfileSectionNames(nullptr, 4, Name().c_str()), 0u);
    EXPECT_EQ(WritePrivateProfileString(nullptr, L"k", L"v", Name().c_str()), 0);
    EXPECT_STREQ(out, L"~~~");
    EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"d", out, 4, Name(L"/no/f").c_str()), 0u);
    EXPECT_EQ(std::wstring(out, 4), L"\0\0~\0"s) << "no default";
    EXPECT_FALSE(std::filesystem::exists(Path()));
    EXPECT_EQ(WritePrivateProfileString(L"s", nullptr, nullptr, Name().c_str()), 0);
    EXPECT_EQ(WritePrivateProfileSection(nullptr, L"", Name().c_str()), 0);
    EXPECT_EQ(Stored(), "");
}

TEST_F(Ini, ABadNameReplacesTheNameBefore) {
    Store(kWorked);
    for (std::wstring const& bad : {std::wstring(4096, L'x'), L"\xd800"s}) {
        DIniImpl ini(Name().c_str());
        EXPECT_EQ(ini.Open(bad.c_str()), 0);
        EXPECT_EQ(ini.m_fileName[4095], L'\0');
        EXPECT_EQ(ini.PutKeyValue(L"a", L"k", L"new"), 0);
        wchar_t out[2];
        EXPECT_EQ(ini.GetSectionNames(out, 2), 0u);
    }
    EXPECT_EQ(Stored(), kWorked);
}

TEST_F(Ini, TextThatDoesNotConvertLeavesTheFileAlone) {
    Store(kWorked);
    DIni ini(Name().c_str());
    EXPECT_EQ(ini.PutKeyValue(L"a", L"k", L"\xd800"), 0);
    EXPECT_EQ(ini.PutKeyValue(L"\xd800", L"k", L"v"), 0);
    EXPECT_EQ(ini.PutSection(L"a", L"p\0\xd800\0"), 0);
    EXPECT_EQ(Stored(), kWorked);
}

TEST_F(Ini, OnlyARegularFileIsEditedAndNoneMakesTheCallWaitForEver) {
    ASSERT_EQ(mkfifo(Path("/pipe").c_str(), 0600), 0);
    for (std::wstring const& name : {Name(L"/pipe"), Name(L""), L"/dev/null"s, L"/dev/zero"s}) {
        wchar_t out[8];
        EXPECT_EQ(WritePrivateProfileString(L"a", L"k", L"v", name.c_str()), 0);
        EXPECT_EQ(WritePrivateProfileSection(L"a", nullptr, name.c_str()), 0);
        EXPECT_EQ(GetPrivateProfileString(L"a", L"k", L"none", out, 8, name.c_str()), 4u);
    }
}

TEST_F(Ini, AStartedProgramDoesNotInheritTheFile) {
    int const next = NextDescriptor();
    DIni const ini(Name().c_str());
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC);
}

TEST_F(Ini, ALineOfASectionIsCutAtAWholeCharacter) {
    std::wstring const line = std::wstring(2046, L'x') + L"\u00e4\0"s;
    EXPECT_EQ(WritePrivateProfileSection(L"a", line.c_str(), Name().c_str()), 1);
    EXPECT_EQ(Stored(), "\r\n[a]\r\n" + std::string(2046, 'x') + "\r\n");
}

} // namespace
