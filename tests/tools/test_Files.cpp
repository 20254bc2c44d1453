// Files that the tools read and write as a whole.
#include <tests/support/ChildProcess.h>
#include <tests/support/FileSizeLimit.h>

#include <tools/Files.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <sys/stat.h>

using namespace telvane;

namespace {

namespace fs = std::filesystem;

std::ptrdiff_t Entries(const TemporaryFolder& folder)
{
    return std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator());
}

TEST(Files, WhatIsWrittenIsReadBack)
{
    TemporaryFolder folder;
    std::string all;
    for (int i = 0; i < 300000; i++) all += static_cast<char>(i * 7 + i / 256);
    for (const std::string& bytes : {std::string(), std::string("\0a\n\r\xFF", 5), all}) {
        EXPECT_EQ(WriteWhole(folder / "file", bytes), "");
        std::string read = "before";
        EXPECT_EQ(ReadWhole(folder / "file", read), "");
        EXPECT_TRUE(read == bytes);
    }
    EXPECT_EQ(Entries(folder), 1);
}

TEST(Files, NewFilesHaveTheRightsOfTheUsersMask)
{
    TemporaryFolder folder;
    const mode_t before = umask(027);
    EXPECT_EQ(WriteWhole(folder / "file", "x"), "");
    umask(before);
    struct stat status;
    ASSERT_EQ(stat((folder / "file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST(Files, WhyAFileCannotBeReadIsSaid)
{
    TemporaryFolder folder;
    std::string bytes = "before";
    EXPECT_EQ(ReadWhole(folder / "missing", bytes), "not there");
    EXPECT_EQ(bytes, "");
    EXPECT_EQ(ReadWhole(folder.Path(), bytes), "Is a directory");
    folder.Write("file", "x");
    EXPECT_EQ(ReadWhole(folder / "file/below", bytes), "Not a directory");
    EXPECT_EQ(ReadWhole("/dev/zero", bytes), "too large");
}

TEST(Files, APipeThatNobodyWritesToIsNotWaitedFor)
{
    TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::string bytes;
    EXPECT_EQ(ReadWhole(folder / "pipe", bytes), "");
    EXPECT_EQ(bytes, "");
}

TEST(Files, AFailedWriteLeavesTheOldFileAndNothingElse)
{
    TemporaryFolder folder;
    folder.Write("file", "the old one");
    std::string problem;
    {
        const FileSizeLimit limit(1000);
        problem = WriteWhole(folder / "file", std::string(5000, 'x'));
    }
    EXPECT_EQ(problem, "File too large");
    EXPECT_EQ(folder.Read("file"), "the old one");
    EXPECT_EQ(Entries(folder), 1);
}

TEST(Files, WhyAFileCannotBeWrittenIsSaid)
{
    TemporaryFolder folder;
    EXPECT_EQ(WriteWhole(folder / "missing/file", "x"), "not there");
    fs::create_directory(folder / "folder");
    EXPECT_EQ(WriteWhole(folder / "folder", "x"), "Is a directory");
    EXPECT_EQ(Entries(folder), 1);
}

} // namespace
