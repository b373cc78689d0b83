#include "tests/ini/ini_files.h"
#include "tests/support/asleep.h"

#include <verrick/ini_file_lock.h>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

struct IniFileLocks : IniFiles {};

TEST_F(IniFileLocks, SharedHoldersGoTogetherAndKeepAnExclusiveOneOut) {
    IniFileLock const reader(kName, IniFileLock::Shared, 0);
    EXPECT_TRUE(IniFileLock(kName, IniFileLock::Shared, 0).Owns());
    EXPECT_FALSE(IniFileLock(kName, IniFileLock::Exclusive, 0).Owns());
}

TEST_F(IniFileLocks, AWaitEndsAtItsTime) {
    IniFileLock const holder(kName, IniFileLock::Exclusive, 0);
    auto const start = std::chrono::steady_clock::now();
    IniFileLock const late(kName, IniFileLock::Exclusive, 50);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_FALSE(late.Owns());
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(IniFileLocks, AWaitingWriterKeepsNewReadersOut) {
    auto reader = std::make_unique<IniFileLock>(kName, IniFileLock::Shared, 0);
    std::jthread const writer(
        [] { EXPECT_TRUE(IniFileLock(kName, IniFileLock::Exclusive, 0xFFFFFFFF).Owns()); });
    AwaitOthersAsleep();
    EXPECT_FALSE(IniFileLock(kName, IniFileLock::Shared, 0).Owns());
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
}

TEST_F(IniFileLocks, ANameThatCannotBeUsedIsNotLocked) {
    EXPECT_FALSE(IniFileLock(nullptr, IniFileLock::Shared, 0).Owns());
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(IniFileLock(L"\xd800", IniFileLock::Shared, 0).Owns());
    EXPECT_EQ(errno, EINVAL);
    std::wstring const tooLong(4090, L'/');
    EXPECT_FALSE(IniFileLock(tooLong.c_str(), IniFileLock::Shared, 0).Owns());
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_FALSE(IniFileLock(L"/dev/null/f", IniFileLock::Shared, 0).Owns());
    EXPECT_EQ(errno, ENOTDIR);
}

} // namespace
