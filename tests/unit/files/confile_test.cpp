// One value read or written by the exported calls: statuses, their order, what is left alone, and
// the log of failed reads.

#include "quorvex/confile.h"

#include "failing_files.h"
#include "platform/folders.h"
#include "quorvex/errors.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

static const char kSample[] = "[GALVO 0]\nMINX = -3.5\nSIMULATE = 1\nNAME = \"left\"\nEMPTY =\n"
                              "QUOTED = \"\"\nTEXT = five\n[GALVO 1]\nMINX = -4\n";

// The texts of records with the test clock's stamp.
static std::string Logged(const std::string &section, const std::string &tag,
                          const std::string &path)
{
    return "\n\n12h 34min 56sec, 7/8/2024\tAn error occurred reading section " + section +
           ", tag " + tag + " in file " + path +
           ". Check that the Section/Tag exists and that the correct data type is being "
           "supplied.\n";
}

class ConFile : public testing::Test
{
protected:
    ConFile() { m_folder.Write("config.ini", kSample); }

    int32_t ReadLong(const char *section, const char *tag, int32_t *number)
    {
        return ZVK_ConFile_Read(0, "config.ini", section, tag, number, ZVK_CONFILE_LONG);
    }

    int32_t WriteLong(const char *file, const char *section, const char *tag, int32_t number)
    {
        return ZVK_ConFile_Write(0, file, section, tag, &number, ZVK_CONFILE_LONG);
    }

    ScratchFolder m_folder;
    TestClock m_clock;
};

TEST_F(ConFile, ReadsTheFourTypes)
{
    char text[256];
    int32_t number = 0;
    double real = 0;
    float narrow = 0;
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", "NAME", text, 1), 0);
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", "SIMULATE", &number, 2), 0);
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", "MINX", &real, 3), 0);
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 1", "MINX", &narrow, 4), 0);
    EXPECT_STREQ(text, "left");
    EXPECT_EQ(number, 1);
    EXPECT_EQ(real, -3.5);
    EXPECT_EQ(narrow, -4.0F);
    EXPECT_FALSE(m_folder.Holds("log.ini"));
}

TEST_F(ConFile, AnyValueIsAText)
{
    char text[256];
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", "MINX", text, 1), 0);
    EXPECT_STREQ(text, "-3.5");
}

TEST_F(ConFile, FloatOutsideItsRangeIsNarrowedToInfinity)
{
    m_folder.Write("config.ini", "[a]\nx = 1e300\n");
    float narrow = 0;
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "a", "x", &narrow, ZVK_CONFILE_FLOAT), 0);
    EXPECT_TRUE(std::isinf(narrow));
}

TEST_F(ConFile, WrongTypeGives303AndALogRecordAndLeavesTheData)
{
    int32_t number = 77;
    double real = 7.5;
    float narrow = 7.5F;
    EXPECT_EQ(ReadLong("GALVO 0", "TEXT", &number), -303);
    EXPECT_EQ(m_folder.Read("log.ini"), Logged("GALVO 0", "TEXT", m_folder.Path("config.ini")));
    EXPECT_EQ(ReadLong("GALVO 0", "MINX", &number), -303);
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", "TEXT", &real, 3), -303);
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", "TEXT", &narrow, 4), -303);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(real, 7.5);
    EXPECT_EQ(narrow, 7.5F);
}

TEST_F(ConFile, MissingSectionTagAndEmptyValueGive303)
{
    char text[256] = "kept";
    for (const char *tag : {"NONE", "EMPTY", "QUOTED"})
        EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", tag, text, 1), -303) << tag;
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "NONE", "MINX", text, 1), -303);
    EXPECT_STREQ(text, "kept");
}

TEST_F(ConFile, TextOf255CharactersIsTerminatedAndOf256NotAndLongerOnesAreCut)
{
    for (const size_t length : {255U, 256U, 257U, 600U}) {
        const std::string value = std::string(length, 'v');
        m_folder.Write("config.ini", "[a]\nx = " + value + "\n");
        char text[258];
        std::memset(text, '#', sizeof text);
        EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "a", "x", text, ZVK_CONFILE_STRING), 0);
        const size_t kept = std::min<size_t>(length, 256);
        EXPECT_EQ(std::string(text, kept), value.substr(0, kept));
        EXPECT_EQ(text[kept], length < 256 ? '\0' : '#');
        EXPECT_EQ(text[256], '#') << "nothing behind the client's room is touched";
    }
}

TEST_F(ConFile, MissingFileAndFileWithoutASectionGive301AndAreLogged)
{
    int32_t number = 77;
    m_folder.Write("default.odf", "x = 1\n");
    EXPECT_EQ(ZVK_ConFile_Read(0, "default.odf", "a", "x", &number, 2), -301);
    EXPECT_EQ(ZVK_ConFile_Read(0, "default.cal", "a", "x", &number, 2), -301);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(m_folder.Read("log.ini"), Logged("a", "x", m_folder.Path("default.odf")) +
                                            Logged("a", "x", m_folder.Path("default.cal")));
}

TEST_F(ConFile, FileIsCheckedBeforeTheTypeAndTheTypeBeforeTheTag)
{
    int32_t number = 77;
    EXPECT_EQ(ZVK_ConFile_Read(0, "default.cal", "a", "x", &number, 9), -301);
    for (const int16_t type : {0, 5, 9, -1})
        EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "NONE", "NONE", &number, type), -302);
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", "SIMULATE", &number, 9), -302);
    EXPECT_EQ(number, 77);
    EXPECT_NE(m_folder.Read("log.ini").find("tag SIMULATE"), std::string::npos) << "logged too";
}

TEST_F(ConFile, LogReadAsASectionFileHasNoSection)
{
    ASSERT_EQ(ZVK_ConFile_WriteLog(0, "log.ini", "an event"), 0);
    int32_t number = 77;
    EXPECT_EQ(ZVK_ConFile_Read(0, "log.ini", "a", "x", &number, 2), -301);
    EXPECT_EQ(WriteLong("log.ini", "a", "x", 1), -301);
}

TEST_F(ConFile, EachPieceOfTheLogTextIsCutTo256Characters)
{
    int32_t number = 0;
    const std::string longName(300, 'n');
    EXPECT_EQ(ReadLong(longName.c_str(), ("t" + longName).c_str(), &number), -303);
    EXPECT_EQ(m_folder.Read("log.ini"),
              Logged(longName.substr(0, 256), ("t" + longName).substr(0, 256),
                     m_folder.Path("config.ini")));
}

TEST_F(ConFile, LogicalNamesOfReadAndWriteDiffer)
{
    m_folder.Write("here.txt", "");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::create_directory(m_folder.Path("current"));
    std::filesystem::current_path(m_folder.Path("current"));
    int32_t number = 0;
    for (const char *name : {"config.ini", "log.ini", "default.odf", "default.cal", "qdmr.bin"}) {
        m_folder.Write(name, "[a]\nx = 5\n");
        EXPECT_EQ(ZVK_ConFile_Read(0, name, "a", "x", &number, 2), 0) << name;
        EXPECT_EQ(WriteLong(name, "a", "x", 6), name == std::string("qdmr.bin") ? -301 : 0) << name;
    }
    EXPECT_EQ(m_folder.Read("qdmr.bin"), "[a]\nx = 5\n");
    for (const char *name : {"hlls.bin", "Config.ini", "./config.ini", "config.ini "}) {
        m_folder.Write(name, "[a]\nx = 5\n");
        EXPECT_EQ(ZVK_ConFile_Read(0, name, "a", "x", &number, 2), -301) << name;
    }
    std::filesystem::current_path(before);
}

TEST_F(ConFile, OtherNamesArePathsAsTheyStand)
{
    m_folder.Write("default.odf", "[a]\nx = 5\n");
    std::filesystem::create_directory(m_folder.Path("sub"));
    m_folder.Write("sub/default.odf", "[a]\nx = 6\n");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.Path());
    int32_t number = 0;
    EXPECT_EQ(ZVK_ConFile_Read(0, "sub/default.odf", "a", "x", &number, 2), 0);
    EXPECT_EQ(number, 6);
    EXPECT_EQ(WriteLong("sub/default.odf", "a", "x", 7), 0);
    std::filesystem::current_path(before);
    EXPECT_EQ(ZVK_ConFile_Read(0, "default.odf", "a", "x", &number, 2), 0);
    EXPECT_EQ(number, 5);
    EXPECT_EQ(m_folder.Read("sub/default.odf"), "[a]\r\nx = 7\r\n\r\n");
}

TEST_F(ConFile, PathBeyondItsBufferIsCutAndNotFound)
{
    int32_t number = 0;
    EXPECT_EQ(ZVK_ConFile_Read(0, std::string(9000, 'p').c_str(), "a", "x", &number, 2), -301);
}

TEST_F(ConFile, WritesTheFourTypes)
{
    m_folder.Write("config.ini", "[a]\n");
    const int32_t number = -5;
    const double real = 0.1;
    const float narrow = 0.5F;
    EXPECT_EQ(ZVK_ConFile_Write(0, "config.ini", "a", "D", "C:\\x \"y\"", 1), 0);
    EXPECT_EQ(ZVK_ConFile_Write(0, "config.ini", "a", "C", &number, 2), 0);
    EXPECT_EQ(ZVK_ConFile_Write(0, "config.ini", "a", "B", &real, 3), 0);
    EXPECT_EQ(ZVK_ConFile_Write(0, "config.ini", "a", "A", &narrow, 4), 0);
    EXPECT_EQ(m_folder.Read("config.ini"),
              "[a]\r\nA = 0.5\r\nB = 0.1\r\nC = -5\r\nD = \"C:\\\\x \\\"y\\\"\"\r\n\r\n");
    EXPECT_EQ(m_folder.CountFiles(), 1);
}

TEST_F(ConFile, NewTagGoesToItsSortedPlaceAndOtherSectionsStay)
{
    m_folder.Write("config.ini", "[b]\nz = 1\n; about c\nc = 2\n[a]\nq = \"t\"\n");
    EXPECT_EQ(WriteLong("config.ini", "b", "m", 3), 0);
    EXPECT_EQ(m_folder.Read("config.ini"),
              "[a]\r\nq = \"t\"\r\n\r\n[b]\r\n; about c\r\nc = 2\r\nm = 3\r\nz = 1\r\n\r\n");
}

TEST_F(ConFile, NewSectionIsAdded)
{
    m_folder.Write("config.ini", "[b]\nz = 1\n");
    EXPECT_EQ(WriteLong("config.ini", "a", "m", 3), 0);
    EXPECT_EQ(m_folder.Read("config.ini"), "[a]\r\nm = 3\r\n\r\n[b]\r\nz = 1\r\n\r\n");
}

TEST_F(ConFile, ReplacingATagOfTwoItemsLeavesOne)
{
    m_folder.Write("config.ini", "[b]\nz = 1\nZ = 2\n");
    EXPECT_EQ(WriteLong("config.ini", "B", "z", 3), 0);
    EXPECT_EQ(m_folder.Read("config.ini"), "[b]\r\nz = 3\r\n\r\n");
}

TEST_F(ConFile, WriteMakesNoFileAndTakesNoneWithoutASection)
{
    EXPECT_EQ(WriteLong("default.odf", "a", "x", 1), -301);
    EXPECT_FALSE(m_folder.Holds("default.odf"));
    m_folder.Write("default.odf", "x = 1\n");
    EXPECT_EQ(WriteLong("default.odf", "a", "x", 1), -301);
    EXPECT_EQ(m_folder.Read("default.odf"), "x = 1\n");
    EXPECT_FALSE(m_folder.Holds("log.ini")) << "a failed write is not logged";
}

TEST_F(ConFile, WriteOfType9Gives302AndRewritesTheFile)
{
    m_folder.Write("config.ini", "[b]\nz=1\n[a]\n");
    EXPECT_EQ(WriteLong("config.ini", "b", "z", 1), 0);
    m_folder.Write("config.ini", "[b]\nz=1\n[a]\n");
    const int32_t number = 7;
    EXPECT_EQ(ZVK_ConFile_Write(0, "config.ini", "b", "z", &number, 9), -302);
    EXPECT_EQ(m_folder.Read("config.ini"), "[a]\r\n\r\n[b]\r\nz = 1\r\n\r\n");
}

TEST_F(ConFile, FailedRewriteCountsForMoreThanTheWrongType)
{
    ASSERT_EQ(chmod(m_folder.Path("config.ini").c_str(), 0444), 0);
    const int32_t number = 7;
    EXPECT_EQ(ZVK_ConFile_Write(0, "config.ini", "GALVO 0", "MINX", &number, 9), -300);
    EXPECT_EQ(ZVK_ConFile_Write(0, "default.cal", "a", "x", &number, 9), -301);
    EXPECT_EQ(m_folder.Read("config.ini"), kSample);
}

TEST_F(ConFile, FileThatCannotBeWrittenGives300AndStays)
{
    ASSERT_EQ(chmod(m_folder.Path("config.ini").c_str(), 0444), 0);
    EXPECT_EQ(WriteLong("config.ini", "GALVO 0", "MINX", 1), -300);
    EXPECT_EQ(m_folder.Read("config.ini"), kSample);
}

TEST_F(ConFile, NamesThatTheFileCannotHoldGive300AndTheFileStays)
{
    EXPECT_EQ(WriteLong("config.ini", "a]b", "x", 1), -300);
    EXPECT_EQ(WriteLong("config.ini", "GALVO 0", "x\ny", 1), -300);
    EXPECT_EQ(m_folder.Read("config.ini"), kSample);
}

TEST_F(ConFile, NullArgumentsGiveAStatus)
{
    int32_t number = 77;
    EXPECT_EQ(ZVK_ConFile_Read(0, nullptr, "GALVO 0", "SIMULATE", &number, 2), -301);
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", nullptr, "SIMULATE", &number, 2), -303);
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", nullptr, &number, 2), -303);
    for (const int16_t type : {1, 2, 3, 4})
        EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", "SIMULATE", nullptr, type), -303);
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 0", "SIMULATE", nullptr, 9), -302);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(WriteLong(nullptr, "GALVO 0", "SIMULATE", 1), -301);
    EXPECT_EQ(WriteLong("config.ini", nullptr, "SIMULATE", 1), -300);
    EXPECT_EQ(WriteLong("config.ini", "GALVO 0", nullptr, 1), -300);
    for (const int16_t type : {1, 2, 3, 4})
        EXPECT_EQ(ZVK_ConFile_Write(0, "config.ini", "GALVO 0", "MINX", nullptr, type), -300);
    EXPECT_EQ(m_folder.Read("config.ini"), kSample);
}

TEST_F(ConFile, ReadOpensTheFileOnceAndLetsItGo)
{
    const FailingFiles files;
    int32_t number = 0;
    EXPECT_EQ(ReadLong("GALVO 0", "SIMULATE", &number), 0);
    const std::vector<std::string> calls = files.Calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "open config.ini read"), 1);
    EXPECT_EQ(files.OpenFiles(), 0);
}

TEST_F(ConFile, ChangeOfTheFileIsSeenByTheNextRead)
{
    int32_t number = 0;
    EXPECT_EQ(ReadLong("GALVO 0", "SIMULATE", &number), 0);
    m_folder.Write("config.ini", "[GALVO 0]\nSIMULATE = 8\n");
    EXPECT_EQ(ReadLong("GALVO 0", "SIMULATE", &number), 0);
    EXPECT_EQ(number, 8);
}

// Which writer's values stand is open; the file is whole at each moment, and both find it so.
TEST_F(ConFile, TwoWritersEndWithAWholeFile)
{
    const auto writer = [&](const char *tag) {
        for (int32_t i = 0; i < 60; ++i) {
            EXPECT_EQ(WriteLong("config.ini", "GALVO 0", tag, i), 0);
            int32_t number = 0;
            EXPECT_EQ(ReadLong("GALVO 0", "SIMULATE", &number), 0);
            EXPECT_EQ(number, 1);
        }
    };
    std::thread other(writer, "FIRST");
    writer("SECOND");
    other.join();
    double real = 0;
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "GALVO 1", "MINX", &real, 3), 0);
    EXPECT_EQ(real, -4.0);
    EXPECT_EQ(m_folder.CountFiles(), 1) << "no temporary file stays, and nothing was logged";
}
