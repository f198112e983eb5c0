// Objective files saved and read.

#include "quorvex/confile.h"

#include "failing_files.h"
#include "scratch_folder.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

class Objective : public testing::Test
{
protected:
    // Values that tell table and index: `first` + 10, 20, 30, 40 for the tables, 50 for the field.
    int32_t Save(const char *file, const char *section, int32_t count, double first)
    {
        std::vector<double> tables[4];
        for (int t = 0; t < 4; ++t) {
            for (int i = 0; i < count; ++i)
                tables[t].push_back(first + 10 * (t + 1) + i);
        }
        const double field[4] = {first + 50, first + 51, first + 52, first + 53};
        std::memset(m_section, '#', sizeof m_section);
        std::memcpy(m_section, section, std::strlen(section) + 1);
        return ZVK_ConFile_WriteObjective(0, file, m_section, count, tables[0].data(),
                                          tables[1].data(), tables[2].data(), tables[3].data(),
                                          field);
    }

    int32_t Load(const char *file, const char *section, int32_t count)
    {
        for (std::vector<double> &table : m_tables)
            table.assign(8, -1.0);
        std::fill(m_field, m_field + 4, -1.0);
        return ZVK_ConFile_ReadObjective(0, file, section, count, m_tables[0].data(),
                                         m_tables[1].data(), m_tables[2].data(), m_tables[3].data(),
                                         m_field);
    }

    // The first value of the first table, which tells whose data a section holds; -1: unreadable.
    double First(const char *section)
    {
        return Load("default.odf", section, 1) == 0 ? m_tables[0][0] - 10 : -1;
    }

    ScratchFolder m_folder;
    char m_section[16];
    std::vector<double> m_tables[4];
    double m_field[4];
};

TEST_F(Objective, SavedValuesReadBack)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 4, 100), 0);
    EXPECT_EQ(Load("default.odf", "GALVO 0", 4), 0);
    for (int t = 0; t < 4; ++t) {
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(m_tables[t][i], 100 + 10 * (t + 1) + i);
        EXPECT_EQ(m_tables[t][4], -1) << "nothing behind the count is touched";
    }
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(m_field[k], 150 + k);
    int32_t count = 0;
    EXPECT_EQ(ZVK_ConFile_Read(0, "default.odf", "GALVO 0", "COEFFNUM", &count, 2), 0);
    EXPECT_EQ(count, 4);
}

TEST_F(Objective, FileIsByteForByteAsTold)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 1, 0.5), 0);
    const std::string items = "AX0 = 10.5\r\nAXI0 = 30.5\r\nAY0 = 20.5\r\nAYI0 = 40.5\r\n"
                              "CALXMAX = 51.5\r\nCALXMIN = 50.5\r\nCALYMAX = 53.5\r\n"
                              "CALYMIN = 52.5\r\nCOEFFNUM = 1\r\n\r\n";
    EXPECT_EQ(m_folder.Read("default.odf"), "[GALVO 0]\r\n" + items + "[GALVO 1]\r\n" + items);
    EXPECT_EQ(m_folder.CountFiles(), 1);
}

TEST_F(Objective, FirstSaveToGalvo1FillsBothAndNamesGalvo0)
{
    EXPECT_EQ(Save("default.odf", "GALVO 1", 1, 100), 0);
    EXPECT_STREQ(m_section, "GALVO 0");
    EXPECT_EQ(m_section[8], '#') << "8 characters are written";
    EXPECT_EQ(First("GALVO 0"), 100);
    EXPECT_EQ(First("GALVO 1"), 100);
}

TEST_F(Objective, SkeletonIsByteForByteAsTold)
{
    FailingFiles files;
    files.FailAt(7);  // open, open, write, close, then open, size and read of the read-back
    EXPECT_EQ(Save("default.odf", "GALVO 1", 2, 100), -301);
    const std::string empty = "COEFFNUM = 2\nAX0 =\nAY0 =\nAXI0 =\nAYI0 =\nAX1 =\nAY1 =\nAXI1 =\n"
                              "AYI1 =\nCALXMIN =\nCALXMAX =\nCALYMIN =\nCALYMAX =\n";
    EXPECT_EQ(m_folder.Read("default.odf"), "[GALVO 0]\n" + empty + "[GALVO 1]\n" + empty);
    EXPECT_STREQ(m_section, "GALVO 0");
    EXPECT_EQ(Load("default.odf", "GALVO 0", 2), -303) << "empty values count as missing";
}

TEST_F(Objective, SaveToAnExistingFileLeavesTheOtherSection)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 1, 100), 0);
    EXPECT_EQ(Save("default.odf", "GALVO 1", 1, 200), 0);
    EXPECT_STREQ(m_section, "GALVO 1");
    EXPECT_EQ(First("GALVO 0"), 100);
    EXPECT_EQ(First("GALVO 1"), 200);
}

TEST_F(Objective, SaveAddsASectionOfAnyName)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 1, 100), 0);
    EXPECT_EQ(Save("default.odf", "other", 1, 300), 0);
    EXPECT_EQ(First("other"), 300);
    EXPECT_EQ(First("GALVO 1"), 100);
}

TEST_F(Objective, EmptyFileIsNoNewFile)
{
    m_folder.Write("default.odf", "");
    EXPECT_EQ(Save("default.odf", "GALVO 1", 1, 100), 0);
    EXPECT_STREQ(m_section, "GALVO 1");
    EXPECT_EQ(Load("default.odf", "GALVO 0", 1), -303);
    EXPECT_EQ(First("GALVO 1"), 100);
}

TEST_F(Objective, SaveWithFewerCoefficientsLeavesTheHigherTags)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 4, 100), 0);
    EXPECT_EQ(Save("default.odf", "GALVO 0", 1, 200), 0);
    int32_t count = 0;
    EXPECT_EQ(ZVK_ConFile_Read(0, "default.odf", "GALVO 0", "COEFFNUM", &count, 2), 0);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(Load("default.odf", "GALVO 0", 4), 0);
    EXPECT_EQ(m_tables[0][0], 210);
    EXPECT_EQ(m_tables[0][3], 113);
}

TEST_F(Objective, ReadAboveTheFilesCountStopsAtTheFirstMissingTag)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 1, 100), 0);
    m_folder.Write("default.odf", m_folder.Read("default.odf") + "[q]\r\nAX0 = 1\r\nAY0 = 2\r\n");
    EXPECT_EQ(Load("default.odf", "GALVO 0", 4), -303);
    EXPECT_EQ(m_tables[3][0], 140) << "what came before has been stored";
    EXPECT_EQ(m_tables[0][1], -1);
    EXPECT_EQ(m_field[0], -1) << "the field comes behind";
    EXPECT_EQ(Load("default.odf", "q", 1), -303);
    EXPECT_EQ(m_tables[1][0], 2);
    EXPECT_EQ(m_tables[2][0], -1);
}

TEST_F(Objective, ReadBelowTheFilesCountReadsTheFirstOnes)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 4, 100), 0);
    EXPECT_EQ(Load("default.odf", "GALVO 0", 2), 0);
    EXPECT_EQ(m_tables[2][1], 131);
    EXPECT_EQ(m_tables[2][2], -1);
    EXPECT_EQ(m_field[3], 153);
}

TEST_F(Objective, MissingFieldOrAnUnreadableNumberGives303)
{
    m_folder.Write("default.odf", "[a]\nAX0=1\nAY0=2\nAXI0=3\nAYI0=4\nCALXMIN=5\nCALXMAX=6\n"
                                  "CALYMIN=seven\nCALYMAX=8\n");
    EXPECT_EQ(Load("default.odf", "a", 1), -303);
    EXPECT_EQ(m_field[1], 6);
    EXPECT_EQ(m_field[2], -1);
    EXPECT_EQ(m_field[3], -1);
    EXPECT_EQ(Load("default.odf", "none", 0), -303);
}

TEST_F(Objective, AbsentFileGives301OnRead)
{
    EXPECT_EQ(Load("default.odf", "GALVO 0", 1), -301);
    EXPECT_FALSE(m_folder.Holds("default.odf"));
    EXPECT_FALSE(m_folder.Holds("log.ini")) << "and is not logged";
}

TEST_F(Objective, OnlyDefaultOdfIsALogicalName)
{
    const std::string path = m_folder.Path("mine.odf");
    EXPECT_EQ(Save(path.c_str(), "GALVO 0", 1, 100), 0);
    EXPECT_EQ(Load(path.c_str(), "GALVO 1", 1), 0);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::create_directory(m_folder.Path("current"));
    std::filesystem::current_path(m_folder.Path("current"));
    EXPECT_EQ(Save("config.ini", "GALVO 0", 1, 100), 0);
    EXPECT_EQ(Load("config.ini", "GALVO 0", 1), 0);
    std::filesystem::current_path(before);
    EXPECT_TRUE(m_folder.Holds("current/config.ini"));
    EXPECT_FALSE(m_folder.Holds("config.ini"));
}

TEST_F(Objective, SkeletonThatCannotBeMadeGives300AndLeavesTheSection)
{
    EXPECT_EQ(Save(m_folder.Path("none/a.odf").c_str(), "GALVO 1", 1, 100), -300);
    EXPECT_STREQ(m_section, "GALVO 1");
}

TEST_F(Objective, FileThatIsThereButCannotBeReadIsNotWiped)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 1, 100), 0);
    const std::string before = m_folder.Read("default.odf");
    FailingFiles files;
    files.FailAt(3);  // the read
    EXPECT_EQ(Save("default.odf", "GALVO 1", 1, 200), -300);
    EXPECT_STREQ(m_section, "GALVO 1");
    EXPECT_EQ(m_folder.Read("default.odf"), before);
    EXPECT_EQ(Save(m_folder.Path().c_str(), "GALVO 1", 1, 200), -300) << "a folder";
}

TEST_F(Objective, SectionThatTheFileCannotHoldGives303AndTheFileStays)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 1, 100), 0);
    const std::string before = m_folder.Read("default.odf");
    EXPECT_EQ(Save("default.odf", "a]b", 1, 200), -303);
    ASSERT_EQ(chmod(m_folder.Path("default.odf").c_str(), 0444), 0);
    EXPECT_EQ(Save("default.odf", "a]b", 1, 200), -303) << "the put comes before the write";
    EXPECT_EQ(Save("default.odf", "GALVO 0", 1, 200), -300);
    EXPECT_EQ(m_folder.Read("default.odf"), before);
}

TEST_F(Objective, NullArgumentsGiveAStatusAndMakeNoFile)
{
    double table[1] = {1};
    double field[4] = {1, 2, 3, 4};
    char section[8] = "GALVO 0";
    EXPECT_EQ(ZVK_ConFile_WriteObjective(0, nullptr, section, 1, table, table, table, table, field),
              -300);
    EXPECT_EQ(
        ZVK_ConFile_WriteObjective(0, "default.odf", nullptr, 1, table, table, table, table, field),
        -303);
    EXPECT_EQ(ZVK_ConFile_WriteObjective(0, "default.odf", section, 1, table, table, nullptr, table,
                                         field),
              -303);
    EXPECT_EQ(ZVK_ConFile_WriteObjective(0, "default.odf", section, 1, table, table, table, table,
                                         nullptr),
              -303);
    EXPECT_EQ(m_folder.CountFiles(), 0);
    ASSERT_EQ(Save("default.odf", "GALVO 0", 1, 100), 0);
    EXPECT_EQ(
        ZVK_ConFile_ReadObjective(0, nullptr, "GALVO 0", 1, table, table, table, table, field),
        -301);
    EXPECT_EQ(
        ZVK_ConFile_ReadObjective(0, "default.odf", nullptr, 1, table, table, table, table, field),
        -303);
    EXPECT_EQ(ZVK_ConFile_ReadObjective(0, "default.odf", "GALVO 0", 1, table, nullptr, table,
                                        table, field),
              -303);
    EXPECT_EQ(ZVK_ConFile_ReadObjective(0, "default.odf", "GALVO 0", 1, table, table, table, table,
                                        nullptr),
              -303);
    EXPECT_EQ(table[0], 1);
}

TEST_F(Objective, CountOf0SavesAndReadsTheFieldAlone)
{
    EXPECT_EQ(Save("default.odf", "GALVO 0", 0, 100), 0);
    EXPECT_EQ(Load("default.odf", "GALVO 0", 0), 0);
    EXPECT_EQ(m_field[0], 150);
}
