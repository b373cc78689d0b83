// What INI files promise besides their contents. The contents are compared with a model by
// fuzz/ini_fuzz.cpp, and failing calls are tests/failures.
#include "tests/ini/ini_files.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace {

using namespace std::string_literals;

class Ini : public IniFiles {};

TEST_F(Ini, OnlyARegularFileIsEditedAndNoneMakesTheCallWaitForEver) {
    ASSERT_EQ(mkfifo(Path("/pipe").c_str(), 0600), 0);
    for (std::wstring const& name : {Name(L"/pipe"), Name(L""), L"/dev/null"s, L"/dev/zero"s}) {
        wchar_t out[8];
        EXPECT_EQ(WritePrivateProfileString(L"a", L"k", L"v", name.c_str()), 0);
        EXPECT_EQ(WritePrivateProfileSection(L"a", nullptr, name.c_str()), 0);
        EXPECT_EQ(GetPrivateProfileString(L"a", L"k", L"none", out, 8, name.c_str()), 4u);
    }
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
    EXPECT_EQ(Stored(), "");
}

TEST_F(Ini, ABadNameReplacesTheNameBefore) {
    Store("[a]\n");
    for (std::wstring const& bad : {std::wstring(4096, L'x'), L"\xd800"s}) {
        DIni ini(Name().c_str());
        EXPECT_EQ(ini.Open(bad.c_str()), 0);
        EXPECT_EQ(ini.PutKeyValue(L"a", L"k", L"new"), 0);
    }
    EXPECT_EQ(Stored(), "[a]\n");
}

TEST_F(Ini, AStartedProgramDoesNotInheritTheFile) {
    int const next = NextDescriptor();
    DIni const ini(Name().c_str());
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC);
}

} // namespace
