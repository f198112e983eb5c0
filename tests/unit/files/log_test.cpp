// Records of the log, byte for byte.

#include "quorvex/confile.h"

#include "failing_files.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <thread>

static const std::string kStamp = "\n\n12h 34min 56sec, 7/8/2024\t";

class Log : public testing::Test
{
protected:
    ScratchFolder m_folder;
    TestClock m_clock;
};

TEST_F(Log, RecordIsTwoEmptyLinesAStampATabAndTheText)
{
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", "an event"), 0);
    EXPECT_EQ(m_folder.Read("log.ini"), kStamp + "an event\n");
}

TEST_F(Log, StampHasNoPaddingAndTheMonthFirst)
{
    m_clock.SetLocalTime(
        {.hours = 1, .minutes = 2, .seconds = 3, .month = 4, .day = 5, .year = 2031});
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", ""), 0);
    EXPECT_EQ(m_folder.Read("log.ini"), "\n\n1h 2min 3sec, 4/5/2031\t\n");
}

TEST_F(Log, RecordsAreAddedAtTheEnd)
{
    m_folder.Write("log.ini", "old text");
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", "one"), 0);
    EXPECT_EQ(ZVK_ConFile_WriteLog(9, "log.ini", "two"), 0);
    EXPECT_EQ(m_folder.Read("log.ini"), "old text" + kStamp + "one\n" + kStamp + "two\n");
}

TEST_F(Log, LogicalNamesAreLogIniAndHllsBin)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::create_directory(m_folder.Path("current"));
    std::filesystem::current_path(m_folder.Path("current"));
    for (const char *name : {"log.ini", "hlls.bin", "config.ini", "Log.ini"})
        EXPECT_EQ(ZVK_ConFile_WriteLog(0, name, name), 0) << name;
    std::filesystem::current_path(before);
    EXPECT_EQ(m_folder.Read("log.ini"), kStamp + "log.ini\n");
    EXPECT_EQ(m_folder.Read("hlls.bin"), kStamp + "hlls.bin\n");
    EXPECT_EQ(m_folder.Read("current/config.ini"), kStamp + "config.ini\n");
    EXPECT_EQ(m_folder.Read("current/Log.ini"), kStamp + "Log.ini\n");
}

TEST_F(Log, TextIsAFormatWithoutArguments)
{
    struct Row
    {
        const char *text;
        const char *written;
    };
    const Row rows[] = {
        {"50%% done", "50% done"},
        {"%%%%", "%%"},
        {"%d %s %n", "%d %s %n"},
        {"100%", "100%"},
        {"%%d", "%d"},
        {"%%%", "%%"},
        {"%s%s%s%s%n", "%s%s%s%s%n"},
        {"%.99999999d", "%.99999999d"},
        {"a\\n\tb", "a\\n\tb"},
    };
    std::string expected;
    for (const Row &row : rows) {
        EXPECT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", row.text), 0);
        expected += kStamp + row.written + "\n";
    }
    EXPECT_EQ(m_folder.Read("log.ini"), expected);
}

TEST_F(Log, LongTextIsWrittenWhole)
{
    const std::string text(100000, 't');
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", text.c_str()), 0);
    EXPECT_EQ(m_folder.Read("log.ini"), kStamp + text + "\n");
}

TEST_F(Log, FileThatCannotBeOpenedGives305)
{
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, m_folder.Path("none/a").c_str(), "x"), -305);
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, m_folder.Path().c_str(), "x"), -305);
    std::filesystem::remove_all(m_folder.Path());
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", "x"), -305);
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path())) << "the folder is not made";
}

TEST_F(Log, NullArgumentsGive305)
{
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, nullptr, "x"), -305);
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", nullptr), -305);
    EXPECT_EQ(m_folder.CountFiles(), 0);
}

TEST_F(Log, RecordIsOneWrite)
{
    const FailingFiles files;
    EXPECT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", "one"), 0);
    const std::vector<std::string> expected = {"open log.ini append", "write 32", "close"};
    EXPECT_EQ(files.Calls(), expected);
}

TEST_F(Log, RecordsOfTwoThreadsStayWhole)
{
    constexpr int kRecords = 200;
    const auto writer = [] {
        for (int i = 0; i < kRecords; ++i)
            EXPECT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", "record"), 0);
    };
    std::thread other(writer);
    writer();
    other.join();
    std::string expected;
    for (int i = 0; i < 2 * kRecords; ++i)
        expected += kStamp + "record\n";
    EXPECT_EQ(m_folder.Read("log.ini"), expected);
}
