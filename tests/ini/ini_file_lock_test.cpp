#include "tests/ini/ini_files.h"

#include <verrick/ini_file_lock.h>

#include <cerrno>
#include <chrono>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

class IniFileLocks : public IniFiles {};

constexpr unsigned long kForEver = 0xFFFFFFFF;

TEST_F(IniFileLocks, SharedHoldersGoTogetherAndAnExclusiveOneGoesAlone) {
    {
        IniFileLock const reader(Name().c_str(), IniFileLock::Shared, 0);
        IniFileLock const otherReader(Name().c_str(), IniFileLock::Shared, 0);
        IniFileLock const writer(Name().c_str(), IniFileLock::Exclusive, 0);
        EXPECT_TRUE(reader.Owns());
        EXPECT_TRUE(otherReader.Owns());
        EXPECT_FALSE(writer.Owns());
    }
    IniFileLock const writer(Name().c_str(), IniFileLock::Exclusive, 0);
    IniFileLock const reader(Name().c_str(), IniFileLock::Shared, 0);
    EXPECT_TRUE(writer.Owns());
    EXPECT_FALSE(reader.Owns());
}

TEST_F(IniFileLocks, AWaitEndsAtItsTime) {
    IniFileLock const holder(Name().c_str(), IniFileLock::Exclusive, 0);
    auto const start = std::chrono::steady_clock::now();
    IniFileLock const late(Name().c_str(), IniFileLock::Exclusive, 50);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_FALSE(late.Owns());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(IniFileLocks, SurvivesAFileThatIsRenamedIntoPlace) {
    Store("");
    IniFileLock const holder(Name().c_str(), IniFileLock::Exclusive, 0);
    std::ofstream(Path("/new")) << "[a]\n";
    std::filesystem::rename(Path("/new"), Path());
    EXPECT_FALSE(IniFileLock(Name().c_str(), IniFileLock::Shared, 0).Owns());
}

TEST_F(IniFileLocks, AChildNeitherOwnsNorReleasesTheLockOfItsParent) {
    auto holder = std::make_unique<IniFileLock>(Name().c_str(), IniFileLock::Exclusive, 0);
    pid_t const child = fork();
    if (child == 0) {
        bool const owns = holder->Owns();
        holder.reset();
        _exit(owns ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(holder->Owns());
    EXPECT_FALSE(IniFileLock(Name().c_str(), IniFileLock::Exclusive, 0).Owns());
}

TEST_F(IniFileLocks, ANameThatCannotBeUsedIsNotLocked) {
    EXPECT_FALSE(IniFileLock(nullptr, IniFileLock::Shared, 0).Owns());
    EXPECT_EQ(errno, EINVAL);
    std::wstring const longest(5000, L'x');
    EXPECT_FALSE(IniFileLock(longest.c_str(), IniFileLock::Shared, 0).Owns());
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_FALSE(IniFileLock(Name(L"/none/f").c_str(), IniFileLock::Exclusive, 0).Owns());
    EXPECT_EQ(errno, ENOENT);
}

constexpr int kProcesses = 4;
constexpr int kThreads = 4;
constexpr int kCounts = 25;

// Counts up in two keys, whose texts change their length, and looks for a difference between them.
bool CountUp(std::wstring const& file) {
    wchar_t text[64];
    for (int count = 0; count < kCounts; ++count) {
        IniFileLock const lock(file.c_str(), IniFileLock::Exclusive, kForEver);
        GetPrivateProfileString(L"a", L"first", L"0", text, 64, file.c_str());
        long const next = std::wcstol(text, nullptr, 10) + 1;
        std::wstring const value = std::to_wstring(next) + std::wstring(next % 40, L'.');
        if (WritePrivateProfileString(L"a", L"first", value.c_str(), file.c_str()) == 0 ||
            WritePrivateProfileString(L"b", L"second", value.c_str(), file.c_str()) == 0) {
            return false;
        }
    }
    wchar_t other[64];
    IniFileLock const lock(file.c_str(), IniFileLock::Shared, kForEver);
    GetPrivateProfileString(L"a", L"first", L"", text, 64, file.c_str());
    GetPrivateProfileString(L"b", L"second", L"", other, 64, file.c_str());
    return lock.Owns() && std::wcscmp(text, other) == 0;
}

int CountUpInThreads(std::wstring const& file) {
    std::atomic<bool> allWell = true;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            if (!CountUp(file)) {
                allWell = false;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return allWell ? 0 : 1;
}

TEST_F(IniFileLocks, EditsOfProcessesAndThreadsAreAllKeptAndNeverSeenHalfDone) {
    Store("[a]\nfirst=0\nx=1\n[b]\ny=2\n");
    std::vector<pid_t> children;
    for (int process = 0; process < kProcesses; ++process) {
        pid_t const child = fork();
        if (child == 0) {
            _exit(CountUpInThreads(Name()));
        }
        children.push_back(child);
    }
    for (pid_t const child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(std::stol(Value(L"a", L"first")), kProcesses * kThreads * kCounts);
    EXPECT_EQ(Value(L"a", L"x"), L"1");
    EXPECT_EQ(Value(L"b", L"y"), L"2");
}

} // namespace
