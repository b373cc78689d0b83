#include "tests/files/scratch.h"
#include <verrick/file.h>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Transfer {
    FileStatus status;
    unsigned int count;
    std::string text;
    bool operator==(Transfer const&) const = default;
};

Transfer ReadFrom(DFile& file, unsigned int count) {
    Transfer result{FILE_STATUS_OK, 999, std::string(count, '\0')};
    result.status = file.Read(result.text.data(), count, &result.count);
    result.text.resize(std::min(result.count, count));
    return result;
}

FileStatus WriteTo(DFile& file, std::string text) {
    unsigned int count = 0;
    FileStatus const status =
        file.Write(text.data(), static_cast<unsigned int>(text.size()), &count);
    EXPECT_EQ(count, status == FILE_STATUS_NOT_FOUND ? 0 : text.size());
    return status;
}

// What a mode reads first from a file of "old", and what a later write of "new" leaves in it.
TEST(File, ModesKeepEmptyOrExtendAFile) {
    Scratch scratch;
    for (unsigned int mode = 0; mode <= 16; ++mode) {
        SCOPED_TRACE(mode);
        bool const reads = mode == 1 || mode == 2 || mode == 3 || mode == 11;
        bool const empties = mode == 6 || mode == 7;
        bool const accepted = reads || empties || mode == 10;
        scratch.Write("file", "old");
        DFile file;
        ASSERT_EQ(file.Open("file", mode), accepted ? FILE_STATUS_OK : FILE_STATUS_FAILED);
        EXPECT_EQ(file.Open("other", 6), accepted ? FILE_STATUS_FAILED : FILE_STATUS_OK);
        EXPECT_EQ(ReadFrom(file, 3).text, reads ? "old" : "");
        file.Seek(0, IFile::ORIGIN_BEGIN);
        if (mode != 1) {
            WriteTo(file, "new");
        }
        file.Close();
        EXPECT_EQ(scratch.Read("file"), empties ? "new" : accepted && mode != 1 ? "oldnew" : "old");
        EXPECT_EQ(file.Open("missing", mode), mode == 1  ? FILE_STATUS_NOT_FOUND
                                              : accepted ? FILE_STATUS_OK
                                                         : FILE_STATUS_FAILED);
        unlink("missing");
    }
}

TEST(File, TellsWhyAFileCannotBeOpened) {
    Scratch scratch;
    scratch.Write("file", "old");
    chmod("file", 0);
    DFile file;
    EXPECT_EQ(file.Open("file/below", 1), FILE_STATUS_FAILED);
    EXPECT_EQ(file.Open(nullptr, 1), FILE_STATUS_FAILED);
    bool const root = geteuid() == 0 && seteuid(65534) == 0;
    EXPECT_EQ(file.Open("file", 1), FILE_STATUS_ACCESS_DENIED);
    EXPECT_TRUE(!root || seteuid(0) == 0);
    EXPECT_EQ(file.Name(), nullptr);
    EXPECT_EQ(ReadFrom(file, 1).status, FILE_STATUS_NOT_FOUND);
    EXPECT_EQ(ReadFrom(file, 1).count, 999u);
    EXPECT_EQ(WriteTo(file, "x"), FILE_STATUS_NOT_FOUND);
    EXPECT_EQ(file.Seek(0, IFile::ORIGIN_END), FILE_STATUS_NOT_FOUND);
    EXPECT_EQ(file.Position() + file.Size(), 0);
    file.Flush();
    file.Close();
}

TEST(File, ReadsToTheEndAndCountsUnwrittenBytes) {
    Scratch scratch;
    DFile file;
    std::string const name(60, 'n');
    ASSERT_EQ(file.Open(name.c_str(), 7), FILE_STATUS_OK);
    EXPECT_STREQ(file.Name(), name.substr(0, 39).c_str());
    EXPECT_EQ(WriteTo(file, std::string(60, 'x')), FILE_STATUS_OK);
    EXPECT_EQ(file.Size(), 60);
    EXPECT_EQ(file.Position(), 60);
    EXPECT_EQ(file.Seek(-60, IFile::ORIGIN_CURRENT), FILE_STATUS_OK);
    EXPECT_EQ(ReadFrom(file, 100), (Transfer{FILE_STATUS_OK, 60, std::string(60, 'x')}));
    EXPECT_EQ(ReadFrom(file, 100), (Transfer{FILE_STATUS_END_OF_FILE, 0, ""}));
    EXPECT_EQ(file.Size(), 60);
    EXPECT_EQ(file.Read(nullptr, 0, nullptr), FILE_STATUS_OK) << "Size clears the mark of the end";
    EXPECT_EQ(file.Seek(1, static_cast<IFile::origin_t>(3)), FILE_STATUS_FAILED);
    EXPECT_EQ(file.Seek(-61, IFile::ORIGIN_END), FILE_STATUS_FAILED);
    EXPECT_EQ(file.Position(), 60);
}

TEST(File, AnErrorSticksUntilTheSizeIsAsked) {
    Scratch scratch;
    DFile file;
    ASSERT_EQ(file.Open("file", 6), FILE_STATUS_OK);
    EXPECT_EQ(ReadFrom(file, 1), (Transfer{FILE_STATUS_FAILED, 0, ""}));
    EXPECT_EQ(WriteTo(file, "abc"), FILE_STATUS_FAILED);
    EXPECT_EQ(file.Size(), 3);
    EXPECT_EQ(WriteTo(file, "abc"), FILE_STATUS_OK);
}

TEST(File, HasNoSizeWhereNoneCanBeTold) {
    Scratch scratch;
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    DFile fifo;
    ASSERT_EQ(fifo.Open("fifo", 3), FILE_STATUS_OK);
    EXPECT_EQ(fifo.Seek(0, IFile::ORIGIN_BEGIN), FILE_STATUS_FAILED);
    EXPECT_EQ(fifo.Position() + fifo.Size(), 0);

    scratch.Write("large", "x");
    std::filesystem::resize_file("large", 3LL << 30);
    DFile large;
    ASSERT_EQ(large.Open("large", 1), FILE_STATUS_OK);
    EXPECT_EQ(large.Size(), 0);
    EXPECT_EQ(ReadFrom(large, 1), (Transfer{FILE_STATUS_OK, 1, "x"}));
    EXPECT_EQ(large.Seek(0, IFile::ORIGIN_END), FILE_STATUS_OK);
    EXPECT_EQ(large.Position(), 0);
}

} // namespace
