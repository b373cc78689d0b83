#include "tests/ini/ini_files.h"
#include "tests/support/asleep.h"

#include <verrick/ini_file_lock.h>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <memory>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

class IniFileLocks : public IniFiles {};

constexpr unsigned long kForEver = 0xFFFFFFFF;

int ExitStatus(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

TEST_F(IniFileLocks, SharedHoldersGoTogetherAndAnExclusiveOneGoesAlone) {
    {
        IniFileLock const reader(Name().c_str(), IniFileLock::Shared, 0);
        EXPECT_TRUE(IniFileLock(Name().c_str(), IniFileLock::Shared, 0).Owns());
        EXPECT_FALSE(IniFileLock(Name().c_str(), IniFileLock::Exclusive, 0).Owns());
    }
    IniFileLock const writer(Name().c_str(), IniFileLock::Exclusive, 0);
    EXPECT_TRUE(writer.Owns());
    EXPECT_FALSE(IniFileLock(Name().c_str(), IniFileLock::Shared, 0).Owns());
}

TEST_F(IniFileLocks, AWaitEndsAtItsTime) {
    IniFileLock const holder(Name().c_str(), IniFileLock::Exclusive, 0);
    auto const start = std::chrono::steady_clock::now();
    IniFileLock const late(Name().c_str(), IniFileLock::Exclusive, 50);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_FALSE(late.Owns());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(IniFileLocks, AWaitingWriterKeepsNewReadersOut) {
    auto reader = std::make_unique<IniFileLock>(Name().c_str(), IniFileLock::Shared, 0);
    std::jthread const writer(
        [this] { IniFileLock(Name().c_str(), IniFileLock::Exclusive, kForEver); });
    AwaitOthersAsleep();
    EXPECT_FALSE(IniFileLock(Name().c_str(), IniFileLock::Shared, 0).Owns());
    reader.reset();
}

TEST_F(IniFileLocks, SurvivesAFileThatIsRenamedIntoPlace) {
    Store("");
    IniFileLock const holder(Name().c_str(), IniFileLock::Exclusive, 0);
    std::ofstream(Path("/new")) << "[a]\n";
    std::filesystem::rename(Path("/new"), Path());
    EXPECT_FALSE(IniFileLock(Name().c_str(), IniFileLock::Shared, 0).Owns());
}

TEST_F(IniFileLocks, AChildNeitherOwnsNorReleasesTheLockOfItsParent) {
    int const next = NextDescriptor();
    auto holder = std::make_unique<IniFileLock>(Name().c_str(), IniFileLock::Exclusive, 0);
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC) << "not in a started program";
    pid_t const child = fork();
    if (child == 0) {
        bool const owns = holder->Owns();
        holder.reset();
        _exit(owns ? 1 : 0);
    }
    EXPECT_EQ(ExitStatus(child), 0);
    EXPECT_TRUE(holder->Owns());
    EXPECT_FALSE(IniFileLock(Name().c_str(), IniFileLock::Exclusive, 0).Owns());
}

TEST_F(IniFileLocks, ANameThatCannotBeUsedIsNotLocked) {
    EXPECT_FALSE(IniFileLock(nullptr, IniFileLock::Shared, 0).Owns());
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(IniFileLock(L"\xd800", IniFileLock::Shared, 0).Owns());
    EXPECT_EQ(errno, EINVAL);
    std::wstring const start = Name(L"");
    std::wstring const tooLong = start + std::wstring(4090 - start.size(), L'/');
    EXPECT_FALSE(IniFileLock(tooLong.c_str(), IniFileLock::Shared, 0).Owns());
    EXPECT_EQ(errno, ENAMETOOLONG);
}

constexpr int kProcesses = 4;
constexpr int kThreads = 4;
constexpr int kCounts = 25;

TEST_F(IniFileLocks, EditsOfProcessesAndThreadsAreAllKeptAndNeverSeenHalfDone) {
    Store("[a]\nfirst=0\nx=1\n[b]\nsecond=0\n");
    // Counts up in two keys, whose texts change their length and never differ.
    std::wstring const name = Name();
    auto const countUp = [&] {
        for (int count = 0; count < kCounts; ++count) {
            {
                IniFileLock const reading(name.c_str(), IniFileLock::Shared, kForEver);
                EXPECT_EQ(Value(L"a", L"first"), Value(L"b", L"second"));
            }
            IniFileLock const writing(name.c_str(), IniFileLock::Exclusive, kForEver);
            long const next = std::stol(Value(L"a", L"first")) + 1;
            std::wstring const value = std::to_wstring(next) + std::wstring(next % 40, L'.');
            WritePrivateProfileString(L"a", L"first", value.c_str(), name.c_str());
            WritePrivateProfileString(L"b", L"second", value.c_str(), name.c_str());
        }
    };
    for (int process = 0; process < kProcesses; ++process) {
        if (fork() == 0) {
            {
                std::vector<std::jthread> threads;
                for (int thread = 0; thread < kThreads; ++thread) {
                    threads.emplace_back(countUp);
                }
            }
            _exit(HasFailure() ? 1 : 0);
        }
    }
    for (int process = 0; process < kProcesses; ++process) {
        EXPECT_EQ(ExitStatus(-1), 0);
    }
    EXPECT_EQ(std::stol(Value(L"a", L"first")), kProcesses * kThreads * kCounts);
    EXPECT_EQ(Value(L"a", L"x"), L"1");
}

} // namespace
