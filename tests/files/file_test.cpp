#include "tests/files/scratch.h"

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

// Status, count and bytes of one transfer.
using Transfer = std::tuple<FileStatus, unsigned int, std::string>;

struct File : testing::Test {
    Transfer Read() {
        char text[100] = {};
        unsigned int count = 999;
        FileStatus const status = file.Read(text, sizeof text, &count);
        return {status, count, text};
    }
    FileStatus Write(std::string text) {
        return file.Write(text.data(), static_cast<unsigned int>(text.size()), nullptr);
    }

    Scratch scratch;
    DFile file;
};

TEST_F(File, ModesKeepEmptyOrExtendAFile) {
    int const next = NextDescriptor();
    for (unsigned int mode = 0; mode <= 16; ++mode) {
        bool const reads = mode == 1 || mode == 2 || mode == 3 || mode == 11;
        bool const empties = mode == 6 || mode == 7;
        bool const accepted = reads || empties || mode == 10;
        WriteFile("file", "old");
        ASSERT_EQ(file.Open("file", mode), accepted ? FILE_STATUS_OK : FILE_STATUS_FAILED) << mode;
        EXPECT_EQ(file.Position(), mode == 10 ? 3 : 0) << mode;
        EXPECT_EQ(fcntl(next, F_GETFD), accepted ? FD_CLOEXEC : -1) << "not inherited by programs";
        EXPECT_EQ(file.Open("missing", 1), accepted ? FILE_STATUS_FAILED : FILE_STATUS_NOT_FOUND);
        auto const [status, count, text] = Read();
        EXPECT_EQ(text, reads ? "old" : "") << mode;
        EXPECT_EQ(status == FILE_STATUS_FAILED, mode == 6 || mode == 10) << "only written";
        file.Seek(0, IFile::ORIGIN_BEGIN);
        Write("new");
        file.Close();
        EXPECT_EQ(fs::file_size("file"), mode == 1 || empties || !accepted ? 3u : 6u) << mode;
    }
}

TEST_F(File, RefusesEveryCallUntilItIsOpen) {
    EXPECT_EQ(file.Open(".", FILE_MODE_WRITE), FILE_STATUS_FAILED) << "a directory";
    EXPECT_EQ(file.Open(nullptr, FILE_MODE_READ), FILE_STATUS_FAILED);
    EXPECT_EQ(Read(), (Transfer{FILE_STATUS_NOT_FOUND, 999, ""}));
    EXPECT_EQ(Write("new"), FILE_STATUS_NOT_FOUND);
    EXPECT_EQ(file.Seek(0, IFile::ORIGIN_BEGIN), FILE_STATUS_NOT_FOUND);
    EXPECT_EQ(file.Position(), 0);
    EXPECT_EQ(file.Size(), 0);
    file.Flush();
}

TEST_F(File, OpensAWholeNameAndForgetsItWithClose) {
    std::string const name(60, 'n');
    ASSERT_EQ(file.Open(name.c_str(), FILE_MODE_WRITE), FILE_STATUS_OK);
    EXPECT_TRUE(fs::exists(name));
    EXPECT_EQ(file.Name(), std::string(39, 'n'));
    file.Close();
    EXPECT_EQ(file.Name(), nullptr);
    ASSERT_EQ(file.Open("short", FILE_MODE_WRITE), FILE_STATUS_OK);
    EXPECT_STREQ(file.Name(), "short");
}

TEST_F(File, IsAtItsEndUntilASeekOrASizeLooksAgain) {
    Transfer const end{FILE_STATUS_END_OF_FILE, 0, ""};
    WriteFile("file", "old");
    ASSERT_EQ(file.Open("file", FILE_MODE_READ), FILE_STATUS_OK);
    EXPECT_EQ(Read(), (Transfer{FILE_STATUS_OK, 3, "old"}));
    EXPECT_EQ(Read(), end);
    WriteFile("file", "old and more");
    EXPECT_EQ(Read(), end);
    EXPECT_EQ(file.Size(), 12);
    EXPECT_EQ(file.Position(), 3);
    EXPECT_EQ(Read(), (Transfer{FILE_STATUS_OK, 9, " and more"}));
    EXPECT_EQ(Read(), end);
    for (int const origin : {-1, 3}) {
        EXPECT_EQ(file.Seek(1, static_cast<IFile::origin_t>(origin)), FILE_STATUS_FAILED);
    }
    EXPECT_EQ(file.Seek(-11, IFile::ORIGIN_CURRENT), FILE_STATUS_OK);
    EXPECT_EQ(file.Position(), 1);
    EXPECT_EQ(Read(), (Transfer{FILE_STATUS_OK, 11, "ld and more"}));
}

TEST_F(File, TellsOfALostWriteAfterAFlush) {
    ASSERT_EQ(file.Open("/dev/full", FILE_MODE_WRITE), FILE_STATUS_OK);
    EXPECT_EQ(Write("new"), FILE_STATUS_OK);
    file.Flush();
    EXPECT_EQ(Write(""), FILE_STATUS_FAILED);
    EXPECT_EQ(file.Seek(0, IFile::ORIGIN_BEGIN), FILE_STATUS_OK);
    EXPECT_EQ(Write(""), FILE_STATUS_FAILED) << "a seek leaves the mark";
    file.Size();
    EXPECT_EQ(Write(""), FILE_STATUS_OK) << "Size drops it";
}

TEST_F(File, HasNoSizeOrPositionWhereAnIntHasNone) {
    WriteFile("large", "");
    fs::resize_file("large", 3LL << 30);
    ASSERT_EQ(file.Open("large", FILE_MODE_READ), FILE_STATUS_OK);
    EXPECT_EQ(file.Size(), 0);
    EXPECT_EQ(file.Seek(0, IFile::ORIGIN_END), FILE_STATUS_OK);
    EXPECT_EQ(file.Position(), 0);
    EXPECT_EQ(file.Seek(-1, IFile::ORIGIN_BEGIN), FILE_STATUS_FAILED);
    mkfifo("pipe", 0600);
    file.Close();
    EXPECT_EQ(file.Open("pipe", 7), FILE_STATUS_OK);
    EXPECT_EQ(file.Size(), 0) << "no position";
}

// What a call of that library answers, with the bytes of the record.
template<class What>
auto Status(void* library, char const* call, What what) {
    std::string record(sizeof(struct stat) * 2, '\xA5');
    auto* const function = reinterpret_cast<int (*)(What, void*)>(dlsym(library, call));
    errno = 0;
    int const result = function(what, record.data());
    return std::tuple(result, errno, record);
}

TEST(Status, IsTheSystemsByteForByte) {
    void* const own = dlopen("libVerrick.so.1", RTLD_LAZY | RTLD_NOLOAD);
    void* const system = dlopen("libc.so.6", RTLD_LAZY);
    Scratch const scratch;
    WriteFile("large", "");
    fs::resize_file("large", 3LL << 30);
    fs::create_symlink("large", "link");
    fs::create_symlink("nowhere", "dangling");
    std::string const longName(300, 'n');
    for (char const* const path : {"large", ".", "link", "dangling", "missing", "large/below", "",
                                   longName.c_str(), "/dev/null"}) {
        EXPECT_EQ(Status(own, "stat", path), Status(system, "stat", path)) << path;
        int const descriptor = open(path, O_PATH);
        EXPECT_EQ(Status(own, "fstat", descriptor), Status(system, "fstat", descriptor)) << path;
        close(descriptor);
    }
    for (int const descriptor : {AT_FDCWD, -1, 0}) {
        EXPECT_EQ(Status(own, "fstat", descriptor), Status(system, "fstat", descriptor));
    }
    EXPECT_NE(dlsym(own, "fstat"), dlsym(system, "fstat"));
}

} // namespace
