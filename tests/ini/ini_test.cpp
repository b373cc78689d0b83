// What INI files and their locks promise besides the contents. The contents are compared with a
// model by fuzz/ini_fuzz.cpp, and failing calls are tests/failures.
#include "tests/ini/ini_files.h"

#include <verrick/ini_file_lock.h>

#include <sys/stat.h>
#include <sys/wait.h>

namespace {

using namespace std::string_literals;

class Ini : public IniFiles {};
class IniFileLocks : public IniFiles {};

TEST_F(Ini, OnlyARegularFileIsEditedAndNoneMakesTheCallWaitForEver) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    for (wchar_t const* const name : {L"pipe", L".", L"/dev/null", L"/dev/zero"}) {
        wchar_t out[8];
        EXPECT_EQ(WritePrivateProfileString(L"a", L"k", L"v", name), 0);
        EXPECT_EQ(WritePrivateProfileSection(L"a", nullptr, name), 0);
        EXPECT_EQ(GetPrivateProfileString(L"a", L"k", L"none", out, 8, name), 4u);
    }
}

TEST_F(Ini, ProfileCallsCheckTheirArgumentsBeforeTheyCreateTheFile) {
    wchar_t out[4] = L"~~~";
    EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"d", out, 1, kName), 0u);
    EXPECT_EQ(GetPrivateProfileSection(nullptr, out, 4, kName), 0u);
    EXPECT_EQ(GetPrivateProfileSection(L"s", nullptr, 4, kName), 0u);
    EXPECT_EQ(GetPrivateProfileSectionNames(nullptr, 4, kName), 0u);
    EXPECT_EQ(WritePrivateProfileString(nullptr, L"k", L"v", kName), 0);
    EXPECT_STREQ(out, L"~~~");
    for (wchar_t const* const file : {L"no/f", static_cast<wchar_t const*>(nullptr)}) {
        EXPECT_EQ(GetPrivateProfileSectionNames(out, 4, file), 0u);
        EXPECT_EQ(GetPrivateProfileSection(L"s", out, 4, file), 0u);
        EXPECT_EQ(WritePrivateProfileSection(L"s", nullptr, file), 0);
        EXPECT_EQ(WritePrivateProfileString(L"s", L"k", L"v", file), 0);
        EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"d", out, 4, file), 0u);
        EXPECT_EQ(std::wstring(out, 4), L"\0\0~\0"s) << "no default";
    }
    EXPECT_FALSE(std::filesystem::exists(kPath));
}

TEST_F(Ini, AFileIsCreatedForEverybodyAndListed) {
    wchar_t out[4] = L"~~~";
    umask(0);
    EXPECT_EQ(WritePrivateProfileString(L"s", nullptr, nullptr, kName), 0);
    EXPECT_EQ(Stored(), "");
    EXPECT_EQ(std::filesystem::status(kPath).permissions(), std::filesystem::perms(0666));
    DIni ini(L"longer.ini");
    ini.Close();
    int const next = NextDescriptor();
    EXPECT_EQ(ini.Open(kName), 1);
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC) << "not in a started program";
    EXPECT_EQ(ini.GetSectionNames(nullptr, 4), 0u);
    EXPECT_EQ(ini.GetKeyValue(L"s", L"k", L"d", nullptr, 4), 0u);
    EXPECT_EQ(ini.PutSection(L"s", L"k=v\0"), 1);
    EXPECT_EQ(GetPrivateProfileString(nullptr, L"k", L"d", out, 4, kName), 1u);
    EXPECT_STREQ(out, L"s") << "the names of the sections";
    EXPECT_EQ(GetPrivateProfileSection(L"s", out, 4, kName), 2u);
}

TEST_F(Ini, ADerivedClassSeesTheOpeningsAroundAMove) {
    struct Derived : DIniImpl {
        using DIniImpl::DIniImpl;
        int Open(wchar_t const* name) override { return ++openings, DIniImpl::Open(name); }
        int openings = 0;
    } ini(kName);
    WriteFile(kPath, "[s]\nk=v\n[t]\n");
    EXPECT_EQ(ini.PutKeyValue(L"s", L"k", L"longer"), 1);
    EXPECT_EQ(ini.openings, 3);
}

TEST_F(Ini, ABadNameReplacesTheNameBefore) {
    WriteFile(kPath, "[a]\n");
    for (std::wstring const& bad : {std::wstring(4096, L'x'), L"\xd800"s}) {
        DIni ini(kName);
        EXPECT_EQ(ini.Open(bad.c_str()), 0);
        EXPECT_EQ(ini.PutKeyValue(L"a", L"k", L"new"), 0);
    }
    EXPECT_EQ(Stored(), "[a]\n");
}

TEST_F(IniFileLocks, ReadersGoTogetherButAWaitingWriterKeepsNewOnesOutForTheirTime) {
    auto reader = std::make_unique<IniFileLock>(kName, IniFileLock::Shared, 0);
    EXPECT_TRUE(IniFileLock(kName, IniFileLock::Shared, 0).Owns());
    std::jthread const writer(
        [] { EXPECT_TRUE(IniFileLock(kName, IniFileLock::Exclusive, 0xFFFFFFFF).Owns()); });
    AwaitOthersAsleep();
    unsigned int const start = GetTickCount();
    EXPECT_FALSE(IniFileLock(kName, IniFileLock::Shared, 50).Owns());
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(GetTickCount() - start, 50U);
    reader.reset();
}

TEST_F(IniFileLocks, AChildNeitherOwnsNorReleasesTheLockOfItsParent) {
    int const next = NextDescriptor();
    umask(0);
    auto holder = std::make_unique<IniFileLock>(kName, IniFileLock::Exclusive, 0);
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC) << "not in a started program";
    EXPECT_EQ(std::filesystem::status("f\u00fc.ini.lock").permissions(),
              std::filesystem::perms(0666));
    pid_t const child = fork();
    if (child == 0) {
        bool const owns = holder->Owns() || IniFileLock(kName, IniFileLock::Shared, 0).Owns();
        holder.reset();
        _exit(owns ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(holder->Owns());
    EXPECT_FALSE(IniFileLock(kName, IniFileLock::Exclusive, 0).Owns());
    int const copy = dup(next); // keeps the file open, as a child may
    holder.reset();
    EXPECT_TRUE(IniFileLock(kName, IniFileLock::Exclusive, 0).Owns());
    close(copy);
}

TEST_F(IniFileLocks, ANameThatCannotBeUsedIsNotLocked) {
    std::wstring const tooLong(4090, L'/');
    std::pair<wchar_t const*, int> const names[] = {{nullptr, EINVAL},
                                                    {L"\xd800", EINVAL},
                                                    {tooLong.c_str(), ENAMETOOLONG},
                                                    {L"/dev/null/f", ENOTDIR}};
    for (auto const& [name, error] : names) {
        EXPECT_FALSE(IniFileLock(name, IniFileLock::Shared, 0).Owns());
        EXPECT_EQ(errno, error);
    }
}

} // namespace
