// The real files, and the stand-in that fails.

#include "platform/files.h"

#include "failing_files.h"
#include "scratch_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static int WriteFile(const std::string &path, ZVK_OpenMode mode, const std::string &bytes)
{
    const int file = Files().open(path.c_str(), mode);
    if (file < 0) return -1;
    const bool written =
        Files().write(file, bytes.data(), bytes.size()) == static_cast<int64_t>(bytes.size());
    return Files().close(file) == 0 && written ? 0 : -1;
}

static mode_t ModeOf(const std::string &path)
{
    struct stat facts
    {
    };
    return stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
}

struct Files_ : testing::Test
{
    ScratchFolder folder;
    const std::string path = folder.Path("a.ini");
};

TEST_F(Files_, ReadingAnAbsentFileFailsAndMakesNone)
{
    EXPECT_LT(Files().open(path.c_str(), ZVK_OPEN_READ), 0);
    EXPECT_FALSE(folder.Holds("a.ini"));
}

TEST_F(Files_, NewEmptiesAFile)
{
    folder.Write("a.ini", "long text");
    ASSERT_EQ(WriteFile(path, ZVK_OPEN_NEW, "ab"), 0);
    EXPECT_EQ(folder.Read("a.ini"), "ab");
}

TEST_F(Files_, AppendMakesAFileAndThenWritesAtItsEnd)
{
    ASSERT_EQ(WriteFile(path, ZVK_OPEN_APPEND, "ab"), 0);
    ASSERT_EQ(WriteFile(path, ZVK_OPEN_APPEND, "cd"), 0);
    EXPECT_EQ(folder.Read("a.ini"), "abcd");
}

TEST_F(Files_, ExclusiveFailsOnAnExistingFileAndLeavesIt)
{
    folder.Write("a.ini", "text");
    EXPECT_LT(Files().open(path.c_str(), ZVK_OPEN_EXCLUSIVE), 0);
    EXPECT_EQ(folder.Read("a.ini"), "text");
}

TEST_F(Files_, ExclusiveMakesAnAbsentFile)
{
    ASSERT_EQ(WriteFile(path, ZVK_OPEN_EXCLUSIVE, "x"), 0);
    EXPECT_EQ(folder.Read("a.ini"), "x");
}

TEST_F(Files_, AFolderIsNoFileToRead)
{
    EXPECT_LT(Files().open(folder.Path().c_str(), ZVK_OPEN_READ), 0);
}

TEST_F(Files_, APipeUnderAFilesNameBlocksNeitherReadingNorWriting)
{
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_LT(Files().open(path.c_str(), ZVK_OPEN_READ), 0);
    EXPECT_LT(Files().open(path.c_str(), ZVK_OPEN_NEW), 0);
}

TEST_F(Files_, OpenFilesAreNotInheritedByStartedPrograms)
{
    const int file = Files().open(path.c_str(), ZVK_OPEN_NEW);
    ASSERT_GE(file, 0);
    EXPECT_NE(fcntl(file, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(Files().close(file), 0);
}

TEST_F(Files_, SizeAndReadGiveTheBytesAndThenTheEnd)
{
    folder.Write("a.ini", std::string("a\0b", 3));
    const int file = Files().open(path.c_str(), ZVK_OPEN_READ);
    ASSERT_GE(file, 0);
    EXPECT_EQ(Files().size(file), 3);
    char bytes[8] = {};
    EXPECT_EQ(Files().read(file, bytes, sizeof bytes), 3);
    EXPECT_EQ(std::string(bytes, 3), std::string("a\0b", 3));
    EXPECT_EQ(Files().read(file, bytes, sizeof bytes), 0);
    EXPECT_EQ(Files().close(file), 0);
}

TEST_F(Files_, AFullDiskFailsTheWrite)
{
    const int file = Files().open("/dev/full", ZVK_OPEN_NEW);
    ASSERT_GE(file, 0);
    EXPECT_LT(Files().write(file, "abc", 3), 0);
    EXPECT_EQ(Files().close(file), 0);
}

TEST_F(Files_, SyncOfFileAndFolderSucceeds)
{
    const int file = Files().open(path.c_str(), ZVK_OPEN_NEW);
    ASSERT_GE(file, 0);
    EXPECT_EQ(Files().sync(file), 0);
    EXPECT_EQ(Files().close(file), 0);
    EXPECT_EQ(Files().syncFolder(path.c_str()), 0);
    EXPECT_EQ(Files().syncFolder("no-slash-means-the-working-folder"), 0);
    EXPECT_LT(Files().syncFolder(folder.Path("none/a.ini").c_str()), 0);
}

TEST_F(Files_, ACallOnAClosedNumberFails)
{
    const int file = Files().open(path.c_str(), ZVK_OPEN_NEW);
    ASSERT_EQ(Files().close(file), 0);
    char byte = 0;
    EXPECT_LT(Files().size(file), 0);
    EXPECT_LT(Files().read(file, &byte, 1), 0);
    EXPECT_LT(Files().write(file, &byte, 1), 0);
    EXPECT_LT(Files().sync(file), 0);
    EXPECT_LT(Files().close(file), 0);
}

TEST_F(Files_, RenameReplacesTheTarget)
{
    folder.Write("a.ini", "old");
    folder.Write("b", "new");
    EXPECT_EQ(Files().rename(folder.Path("b").c_str(), path.c_str()), 0);
    EXPECT_EQ(folder.Read("a.ini"), "new");
    EXPECT_EQ(folder.CountFiles(), 1);
}

TEST_F(Files_, FailedRenameAndRemoveChangeNothing)
{
    folder.Write("a.ini", "old");
    EXPECT_LT(Files().rename(folder.Path("none").c_str(), path.c_str()), 0);
    EXPECT_LT(Files().remove(folder.Path("none").c_str()), 0);
    EXPECT_EQ(folder.Read("a.ini"), "old");
}

TEST_F(Files_, NullPathsFail)
{
    EXPECT_LT(Files().open(nullptr, ZVK_OPEN_NEW), 0);
    EXPECT_LT(Files().rename(nullptr, path.c_str()), 0);
    EXPECT_LT(Files().rename(path.c_str(), nullptr), 0);
    EXPECT_LT(Files().remove(nullptr), 0);
    EXPECT_LT(Files().syncFolder(nullptr), 0);
    EXPECT_LT(Files().copyMode(nullptr, path.c_str()), 0);
    EXPECT_LT(Files().copyMode(path.c_str(), nullptr), 0);
    EXPECT_EQ(Files().access(nullptr), ZVK_ACCESS_ABSENT);
}

TEST_F(Files_, CopyModeGivesThePermissionsOfTheOtherFile)
{
    folder.Write("a.ini", "old");
    folder.Write("b", "new");
    ASSERT_EQ(chmod(path.c_str(), 0664), 0);
    ASSERT_EQ(chmod(folder.Path("b").c_str(), 0600), 0);
    EXPECT_EQ(Files().copyMode(path.c_str(), folder.Path("b").c_str()), 0);
    EXPECT_EQ(ModeOf(folder.Path("b")), 0664u);
}

TEST_F(Files_, CopyModeOfAnAbsentFileFailsAndChangesNothing)
{
    folder.Write("b", "new");
    ASSERT_EQ(chmod(folder.Path("b").c_str(), 0600), 0);
    EXPECT_LT(Files().copyMode(path.c_str(), folder.Path("b").c_str()), 0);
    EXPECT_EQ(ModeOf(folder.Path("b")), 0600u);
}

TEST_F(Files_, AccessTellsAbsentWritableAndReadOnly)
{
    EXPECT_EQ(Files().access(path.c_str()), ZVK_ACCESS_ABSENT);
    folder.Write("a.ini", "");
    EXPECT_EQ(Files().access(path.c_str()), ZVK_ACCESS_WRITABLE);
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    EXPECT_EQ(Files().access(path.c_str()), ZVK_ACCESS_READ_ONLY);  // for an administrator too
    EXPECT_EQ(Files().access((path + "/below").c_str()), ZVK_ACCESS_ABSENT);
}

TEST_F(Files_, WhatIsNoPlainFileCountsAsReadOnly)
{
    EXPECT_EQ(Files().access(folder.Path().c_str()), ZVK_ACCESS_READ_ONLY);
    EXPECT_EQ(Files().access("/dev/null"), ZVK_ACCESS_READ_ONLY);
}

TEST_F(Files_, WholeFileIsReadByOneOpenOneSizeOneReadOneClose)
{
    folder.Write("a.ini", "[S]\r\nt = 1\r\n");
    FailingFiles files;
    std::string text = "rest of before";
    EXPECT_EQ(ReadWholeFile(path.c_str(), text), ZVK_WHOLE_FILE_READ);
    EXPECT_EQ(text, "[S]\r\nt = 1\r\n");
    EXPECT_EQ(files.Calls(),
              (std::vector<std::string>{"open a.ini read", "size", "read 12", "close"}));
}

TEST_F(Files_, WholeFileOfNoBytesIsEmptyText)
{
    folder.Write("a.ini", "");
    std::string text = "x";
    EXPECT_EQ(ReadWholeFile(path.c_str(), text), ZVK_WHOLE_FILE_READ);
    EXPECT_EQ(text, "");
}

TEST_F(Files_, WholeFileThatIsAbsentEmptiesTheText)
{
    std::string text = "x";
    EXPECT_EQ(ReadWholeFile(path.c_str(), text), ZVK_WHOLE_FILE_ABSENT);
    EXPECT_EQ(text, "");
}

TEST_F(Files_, WholeFileTooLargeToBeOursIsRefused)
{
    folder.Write("a.ini", "x");
    ASSERT_EQ(truncate(path.c_str(), (int64_t{256} << 20) + 1), 0);  // takes no room on the disk
    std::string text;
    EXPECT_EQ(ReadWholeFile(path.c_str(), text), ZVK_WHOLE_FILE_UNREADABLE);
    EXPECT_EQ(text, "");
}

TEST_F(Files_, WholeFileWhoseCallsFailLeavesNoTextAndNoOpenFile)
{
    folder.Write("a.ini", "text");
    const ZVK_WholeFile expected[] = {ZVK_WHOLE_FILE_ABSENT, ZVK_WHOLE_FILE_UNREADABLE,
                                      ZVK_WHOLE_FILE_UNREADABLE, ZVK_WHOLE_FILE_READ};
    for (int nth = 1; nth <= 4; ++nth) {
        FailingFiles files;
        files.FailAt(nth);
        std::string text;
        EXPECT_EQ(ReadWholeFile(path.c_str(), text), expected[nth - 1]) << nth;
        EXPECT_EQ(text, nth == 4 ? "text" : "") << nth;
        EXPECT_EQ(files.OpenFiles(), 0) << nth;
        EXPECT_TRUE(files.Failed()) << nth;
    }
}

TEST_F(Files_, FailingWriteLeavesHalfOfItsBytes)
{
    FailingFiles files;
    files.FailAt(2);
    EXPECT_LT(WriteFile(path, ZVK_OPEN_NEW, "abcdef"), 0);
    EXPECT_EQ(folder.Read("a.ini"), "abc");
    EXPECT_EQ(files.OpenFiles(), 0);
    ASSERT_EQ(WriteFile(path, ZVK_OPEN_NEW, "abcdef"), 0);  // only the one call fails
}

TEST_F(Files_, NothingIsDoneBehindACutOff)
{
    folder.Write("a.ini", "old");
    FailingFiles files;
    files.CutOffAt(1);
    EXPECT_LT(Files().rename(path.c_str(), folder.Path("b").c_str()), 0);
    EXPECT_LT(Files().remove(path.c_str()), 0);
    EXPECT_LT(WriteFile(folder.Path("c"), ZVK_OPEN_NEW, "x"), 0);
    EXPECT_EQ(Files().access(path.c_str()), ZVK_ACCESS_READ_ONLY);
    EXPECT_EQ(folder.Read("a.ini"), "old");
    EXPECT_EQ(folder.CountFiles(), 1);
    EXPECT_EQ(files.Calls().size(), 4u);
}
