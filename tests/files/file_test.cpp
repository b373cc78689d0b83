#include "tests/files/scratch.h"

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

// Status, count and bytes of one transfer.
using Transfer = std::tuple<FileStatus, unsigned int, std::string>;

class File : public testing::Test {
protected:
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
    EXPECT_EQ(file.Seek(-4, IFile::ORIGIN_CURRENT), FILE_STATUS_OK);
    EXPECT_EQ(Read(), (Transfer{FILE_STATUS_OK, 4, "more"}));
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

} // namespace
