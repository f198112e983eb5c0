// Force calibration files saved and read.

#include "quorvex/confile.h"

#include "failing_files.h"
#include "failing_memory.h"
#include "platform/memory.h"
#include "scratch_folder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

class Calibration : public testing::Test
{
protected:
    ~Calibration() override { Forget(); }

    // Beta runs from `first` on, K from `first` + 100.
    int32_t Save(int32_t path, int32_t betas, int32_t ks, double first,
                 const char *file = "default.cal")
    {
        std::vector<double> beta;
        std::vector<double> k;
        for (int i = 0; i < 3 * betas; ++i)
            beta.push_back(first + i);
        for (int i = 0; i < 3 * ks; ++i)
            k.push_back(first + 100 + i);
        return ZVK_ConFile_WriteForceCalibration(0, file, path, betas, ks, beta.data(), k.data());
    }

    int32_t Load(int32_t path, const char *file = "default.cal")
    {
        Forget();
        return ZVK_ConFile_ReadForceCalibration(0, file, path, &m_betas, &m_ks, &m_beta, &m_k);
    }

    void Forget()
    {
        Release(m_beta);
        Release(m_k);
        m_betas = m_ks = -1;
    }

    std::string Section(const std::string &name) const
    {
        const std::string text = m_folder.Read("default.cal");
        const size_t start = text.find("[" + name + "]");
        return start == std::string::npos
                   ? ""
                   : text.substr(start, text.find("\r\n\r\n", start) - start);
    }

    ScratchFolder m_folder;
    int32_t m_betas = -1;
    int32_t m_ks = -1;
    double *m_beta = nullptr;
    double *m_k = nullptr;
};

TEST_F(Calibration, SavedTablesReadBack)
{
    EXPECT_EQ(Save(0, 2, 3, 0.5), 0);
    EXPECT_EQ(Load(0), 0);
    ASSERT_EQ(m_betas, 2);
    ASSERT_EQ(m_ks, 3);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(m_beta[i], 0.5 + i);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(m_k[i], 100.5 + i);
}

TEST_F(Calibration, FirstSaveWithPath1FillsBothSectionsInOrder)
{
    EXPECT_EQ(Save(1, 1, 1, 0.5), 0);
    const std::string items = "BETA_X_0 = 0.5\r\nBETA_Y_0 = 1.5\r\nBETA_Z_0 = 2.5\r\n"
                              "BETACOUNT = 1\r\nK_X_0 = 100.5\r\nK_Y_0 = 101.5\r\n"
                              "K_Z_0 = 102.5\r\nKCOUNT = 1\r\n\r\n";
    EXPECT_EQ(m_folder.Read("default.cal"), "[TRAP A]\r\n" + items + "[TRAP B]\r\n" + items);
    EXPECT_EQ(m_folder.CountFiles(), 1);
}

TEST_F(Calibration, SkeletonHasTheOwnSectionFirst)
{
    const std::string empty = "BETACOUNT = 1\nKCOUNT = 2\nBETA_X_0 =\nBETA_Y_0 =\nBETA_Z_0 =\n"
                              "K_X_0 =\nK_Y_0 =\nK_Z_0 =\nK_X_1 =\nK_Y_1 =\nK_Z_1 =\n";
    {
        FailingFiles files;
        files.FailAt(7);  // the read of the read-back
        EXPECT_EQ(Save(1, 1, 2, 0), -301);
    }
    EXPECT_EQ(m_folder.Read("default.cal"), "[TRAP B]\n" + empty + "[TRAP A]\n" + empty);
    EXPECT_EQ(Load(0), -303) << "values still empty";
}

TEST_F(Calibration, SecondSaveLeavesTheOtherSection)
{
    EXPECT_EQ(Save(1, 1, 1, 0), 0);
    const std::string before = Section("TRAP B");
    EXPECT_EQ(Save(0, 2, 1, 500), 0);
    EXPECT_EQ(Section("TRAP B"), before);
    EXPECT_EQ(Load(0), 0);
    EXPECT_EQ(m_betas, 2);
    EXPECT_EQ(m_beta[5], 505);
}

TEST_F(Calibration, SaveWithFewerRowsLeavesTheHigherTags)
{
    EXPECT_EQ(Save(0, 3, 2, 0), 0);
    EXPECT_EQ(Save(0, 1, 1, 500), 0);
    EXPECT_NE(Section("TRAP A").find("BETA_Z_2 = 8"), std::string::npos);
    EXPECT_NE(Section("TRAP A").find("K_Z_1 = 105"), std::string::npos);
    EXPECT_EQ(Load(0), 0);
    EXPECT_EQ(m_betas, 1);
    EXPECT_EQ(m_ks, 1);
    EXPECT_EQ(m_beta[0], 500);
}

TEST_F(Calibration, SaveOf0RowsKeepsTheOldCounts)
{
    EXPECT_EQ(Save(0, 2, 2, 0), 0);
    EXPECT_EQ(Save(0, 0, 1, 500), 0);
    EXPECT_EQ(Load(0), 0);
    EXPECT_EQ(m_betas, 2);
    EXPECT_EQ(m_beta[0], 0);
    EXPECT_EQ(m_ks, 1);
    EXPECT_EQ(m_k[0], 600);
    EXPECT_EQ(Save(0, 1, 0, 700), 0);
    EXPECT_EQ(Load(0), 0);
    EXPECT_EQ(m_betas, 1);
    EXPECT_EQ(m_ks, 1);
}

TEST_F(Calibration, FirstSaveOf0RowsMakesTheCountsAlone)
{
    EXPECT_EQ(Save(0, 0, 0, 0), 0);
    EXPECT_EQ(m_folder.Read("default.cal"), "[TRAP A]\r\nBETACOUNT = 0\r\nKCOUNT = 0\r\n\r\n"
                                            "[TRAP B]\r\nBETACOUNT = 0\r\nKCOUNT = 0\r\n\r\n");
}

TEST_F(Calibration, SaveKeepsOtherTagsAndSections)
{
    m_folder.Write("default.cal", "[TRAP A]\nNOTE = mine\n[OTHER]\nx = 1\n");
    EXPECT_EQ(Save(0, 1, 1, 0), 0);
    EXPECT_NE(Section("TRAP A").find("NOTE = mine"), std::string::npos);
    EXPECT_NE(Section("OTHER").find("x = 1"), std::string::npos);
    EXPECT_EQ(Section("TRAP B"), "") << "the file was there: only the own section is filled";
}

TEST_F(Calibration, CountOf0GivesAnEmptyTableAndTheReadGoesOn)
{
    m_folder.Write("default.cal",
                   "[TRAP A]\nBETACOUNT = 0\nKCOUNT = 1\nK_X_0=1\nK_Y_0=2\nK_Z_0=3\n");
    EXPECT_EQ(Load(0), 0);
    EXPECT_EQ(m_betas, 0);
    EXPECT_NE(m_beta, nullptr);
    EXPECT_EQ(m_ks, 1);
    EXPECT_EQ(m_k[2], 3);
}

TEST_F(Calibration, NegativeCountGivesAnEmptyTable)
{
    m_folder.Write("default.cal", "[TRAP A]\nBETACOUNT = -7\nKCOUNT = 0\n");
    EXPECT_EQ(Load(0), 0);
    EXPECT_EQ(m_betas, -7);
    EXPECT_NE(m_beta, nullptr);
}

TEST_F(Calibration, MissingSectionCountOrValueGives303)
{
    EXPECT_EQ(Save(0, 1, 1, 0), 0);
    m_folder.Write("default.cal", "[TRAP B]\nBETACOUNT = 1\nBETA_X_0=1\nBETA_Y_0=2\nBETA_Z_0 = x\n"
                                  "KCOUNT = 1\n");
    EXPECT_EQ(Load(0), -303);
    EXPECT_EQ(m_beta, nullptr) << "no count, no table";
    EXPECT_EQ(Load(1), -303);
    EXPECT_EQ(m_betas, 1);
    ASSERT_NE(m_beta, nullptr) << "the caller owns what was made";
    EXPECT_EQ(m_beta[1], 2);
    EXPECT_EQ(m_k, nullptr);
    EXPECT_EQ(m_ks, -1) << "the read stops at beta";
}

TEST_F(Calibration, MissingStiffnessLeavesTheBetaTable)
{
    m_folder.Write("default.cal", "[TRAP A]\nBETACOUNT=1\nBETA_X_0=1\nBETA_Y_0=2\nBETA_Z_0=3\n");
    EXPECT_EQ(Load(0), -303);
    ASSERT_NE(m_beta, nullptr);
    EXPECT_EQ(m_beta[2], 3);
    EXPECT_EQ(m_k, nullptr);
}

TEST_F(Calibration, CountBeyondTheSectionTakesNoMoreMemoryThanTheSection)
{
    m_folder.Write("default.cal", "[TRAP A]\nBETACOUNT=2147483647\nBETA_X_0=1\nBETA_Y_0=2\n"
                                  "BETA_Z_0=3\nKCOUNT=0\n");
    EXPECT_EQ(Load(0), -303);
    EXPECT_EQ(m_betas, 2147483647);
    ASSERT_NE(m_beta, nullptr);
    EXPECT_EQ(m_beta[2], 3);
}

TEST_F(Calibration, OldPointersAreOverwrittenNotFreed)
{
    EXPECT_EQ(Save(0, 1, 1, 0), 0);
    double mine[3] = {7, 7, 7};
    double *beta = mine;
    double *k = mine;
    EXPECT_EQ(ZVK_ConFile_ReadForceCalibration(0, "default.cal", 0, &m_betas, &m_ks, &beta, &k), 0);
    EXPECT_NE(beta, mine);
    EXPECT_EQ(mine[0], 7);
    Release(beta);
    Release(k);
}

TEST_F(Calibration, NoRoomForATableGives303)
{
    EXPECT_EQ(Save(0, 1, 1, 0), 0);
    for (int nth = 1; nth <= 2; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(Load(0), -303);
        EXPECT_TRUE(memory.Failed());
        EXPECT_EQ(memory.Live(), nth - 1);
        Forget();
        EXPECT_EQ(memory.Live(), 0);
    }
}

TEST_F(Calibration, OtherTrapPathsGive304AndTouchNoFile)
{
    for (const int32_t path : {2, -1}) {
        const FailingFiles files;
        EXPECT_EQ(Save(path, 1, 1, 0), -304);
        EXPECT_EQ(Load(path), -304);
        EXPECT_EQ(ZVK_ConFile_WriteForceCalibration(0, nullptr, path, 1, 1, nullptr, nullptr),
                  -304);
        EXPECT_TRUE(files.Calls().empty());
    }
    EXPECT_EQ(m_folder.CountFiles(), 0);
}

TEST_F(Calibration, AbsentFileGives301OnRead)
{
    EXPECT_EQ(Load(0), -301);
    EXPECT_EQ(m_folder.CountFiles(), 0);
}

TEST_F(Calibration, OnlyDefaultCalIsALogicalName)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.Path());
    EXPECT_EQ(Save(0, 1, 1, 0, "mine.cal"), 0);
    EXPECT_EQ(Load(1, "./mine.cal"), 0);
    std::filesystem::current_path(before);
    EXPECT_EQ(Load(1, m_folder.Path("mine.cal").c_str()), 0);
    EXPECT_EQ(Load(1), -301);
}

TEST_F(Calibration, FileThatCannotBeMadeOrReplacedGives300)
{
    EXPECT_EQ(Save(0, 1, 1, 0, m_folder.Path("none/a.cal").c_str()), -300);
    EXPECT_EQ(Save(0, 1, 1, 0), 0);
    const std::string before = m_folder.Read("default.cal");
    {
        FailingFiles files;
        files.FailAt(3);  // there, but its read fails: never taken for an absent file
        EXPECT_EQ(Save(0, 1, 1, 500), -300);
    }
    ASSERT_EQ(chmod(m_folder.Path("default.cal").c_str(), 0444), 0);
    EXPECT_EQ(Save(0, 1, 1, 500), -300);
    EXPECT_EQ(m_folder.Read("default.cal"), before);
}

TEST_F(Calibration, NullArgumentsGiveAStatus)
{
    const double row[3] = {1, 2, 3};
    EXPECT_EQ(ZVK_ConFile_WriteForceCalibration(0, "default.cal", 0, 1, 1, nullptr, row), -303);
    EXPECT_EQ(ZVK_ConFile_WriteForceCalibration(0, "default.cal", 0, 1, 1, row, nullptr), -303);
    EXPECT_EQ(ZVK_ConFile_WriteForceCalibration(0, nullptr, 0, 1, 1, row, row), -300);
    EXPECT_EQ(m_folder.CountFiles(), 0);
    EXPECT_EQ(ZVK_ConFile_WriteForceCalibration(0, "default.cal", 0, 0, 1, nullptr, row), 0);
    EXPECT_EQ(ZVK_ConFile_ReadForceCalibration(0, nullptr, 0, &m_betas, &m_ks, &m_beta, &m_k),
              -301);
    EXPECT_EQ(ZVK_ConFile_ReadForceCalibration(0, "default.cal", 0, nullptr, &m_ks, &m_beta, &m_k),
              -303);
    EXPECT_EQ(
        ZVK_ConFile_ReadForceCalibration(0, "default.cal", 0, &m_betas, nullptr, &m_beta, &m_k),
        -303);
    EXPECT_EQ(ZVK_ConFile_ReadForceCalibration(0, "default.cal", 0, &m_betas, &m_ks, nullptr, &m_k),
              -303);
    EXPECT_EQ(
        ZVK_ConFile_ReadForceCalibration(0, "default.cal", 0, &m_betas, &m_ks, &m_beta, nullptr),
        -303);
    EXPECT_EQ(m_beta, nullptr);
}
