#include "tests/files/scratch.h"
#include <verrick/file.h>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// Status, count and bytes of one transfer.
using Transfer = std::tuple<FileStatus, unsigned int, std::string>;

Transfer ReadFrom(DFile& file) {
    char text[100] = {};
    unsigned int count = 999;
    FileStatus const status = file.Read(text, sizeof text, &count);
    return {status, count, text};
}

FileStatus WriteTo(DFile& file) {
    char text[] = "new";
    return file.Write(text, 3, nullptr);
}

TEST(File, ModesKeepEmptyOrExtendAFile) {
    Scratch scratch;
    for (unsigned int mode = 0; mode <= 16; ++mode) {
        bool const reads = mode == 1 || mode == 2 || mode == 3 || mode == 11;
        bool const empties = mode == 6 || mode == 7;
        bool const accepted = reads || empties || mode == 10;
        WriteFile("file", "old");
        DFile file;
        ASSERT_EQ(file.Open("file", mode), accepted ? FILE_STATUS_OK : FILE_STATUS_FAILED) << mode;
        EXPECT_EQ(file.Open("missing", 1), accepted ? FILE_STATUS_FAILED : FILE_STATUS_NOT_FOUND);
        EXPECT_EQ(std::get<2>(ReadFrom(file)), reads ? "old" : "") << mode;
        file.Seek(0, IFile::ORIGIN_BEGIN);
        EXPECT_EQ(WriteTo(file) != FILE_STATUS_NOT_FOUND, accepted);
        file.Close();
        EXPECT_EQ(std::filesystem::file_size("file"), mode == 1 || empties || !accepted ? 3u : 6u);
    }
}

TEST(File, TellsWhyItFailsCountsUnwrittenBytesAndClearsItsMarksWithTheSize) {
    Scratch scratch;
    DFile file;
    bool const root = geteuid() == 0 && seteuid(65534) == 0;
    chmod(".", root ? 0700 : 0);
    EXPECT_EQ(file.Open((scratch.path + "/file").c_str(), 1), FILE_STATUS_ACCESS_DENIED);
    EXPECT_EQ(root ? seteuid(0) : chmod(".", 0700), 0);
    EXPECT_EQ(ReadFrom(file), (Transfer{FILE_STATUS_NOT_FOUND, 999, ""}));
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    EXPECT_EQ(file.Open("fifo/below", 1), FILE_STATUS_FAILED);
    ASSERT_EQ(file.Open("fifo", 3), FILE_STATUS_OK);
    EXPECT_EQ(file.Seek(0, IFile::ORIGIN_BEGIN), FILE_STATUS_FAILED);
    EXPECT_EQ(file.Position() + file.Size(), 0);
    file.Close();
    ASSERT_EQ(file.Open(std::string(60, 'n').c_str(), 7), FILE_STATUS_OK);
    EXPECT_EQ(file.Name(), std::string(39, 'n'));
    EXPECT_EQ(WriteTo(file), FILE_STATUS_OK);
    EXPECT_EQ(file.Seek(-3, IFile::ORIGIN_CURRENT), FILE_STATUS_OK);
    EXPECT_EQ(file.Size() + file.Position(), 3);
    EXPECT_EQ(ReadFrom(file), (Transfer{FILE_STATUS_OK, 3, "new"}));
    EXPECT_EQ(ReadFrom(file), (Transfer{FILE_STATUS_END_OF_FILE, 0, ""}));
    EXPECT_EQ(file.Size() + file.Position(), 6);
    EXPECT_EQ(file.Read(nullptr, 0, nullptr), FILE_STATUS_OK);
    EXPECT_EQ(file.Seek(1, static_cast<IFile::origin_t>(3)), FILE_STATUS_FAILED);
    file.Close();
    ASSERT_EQ(file.Open("other", 6), FILE_STATUS_OK);
    EXPECT_EQ(ReadFrom(file), (Transfer{FILE_STATUS_FAILED, 0, ""}));
    EXPECT_EQ(WriteTo(file), FILE_STATUS_FAILED) << "an error sticks";
    std::filesystem::resize_file("other", 3LL << 30);
    EXPECT_EQ(file.Size(), 0) << "more than fits";
    EXPECT_EQ(WriteTo(file), FILE_STATUS_OK);
}

} // namespace
