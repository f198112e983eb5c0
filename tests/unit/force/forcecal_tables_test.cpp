// The tables of beta and K and what fills them.

#include "forcecal_fixture.h"

#include "failing_memory.h"
#include "platform/memory.h"

#include <cmath>
#include <numbers>

constexpr double kBoltzmann = 1.3806488e-23;

class ForceCalTables : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        PretendUp();
        g_forceCal.Temperature = 300.0;
        g_forceCal.Viscosity = 0.9e-3;
        g_forceCal.Diameter = 1.2;
    }

    // Tables of one type of beta and three of K on both paths, all -1.
    static void GiveTables()
    {
        const double beta[3] = {-1, -1, -1};
        const double k[9] = {-1, -1, -1, -1, -1, -1, -1, -1, -1};
        for (int path = 0; path < 2; ++path)
            ASSERT_EQ(ZVK_ForceCal_SetCalibration(0, path, 1, 3, beta, k), 0);
    }

    // Numbers in the containers that tell paths and axes apart.
    static void GiveResults()
    {
        for (int path = 0; path < 2; ++path) {
            for (int i = 0; i < 3; ++i) {
                g_forceCal.Data[path][i].Beta = (1.0 + path + 0.1 * i) * 1e-6;
                g_forceCal.Data[path][i].K = (5.0 + path + 0.1 * i) * 1e-6;
                Still(path).TDStdDev[i] = 0.01 * (1 + path + i);
                Still(path).CornerFrequency[i] = 100.0 * (1 + path + i);
                Still(path).PotCurvature[i] = 1000.0 * (1 + path + i);
            }
        }
        Still(0).LSValid[0] = 1;
        Still(0).LSFitSlope[0] = 0.5;
        Still(0).LSFitSlope[1] = 0.25;
        Still(0).LSFitSlope[2] = 0.125;
    }
};

using Update = int32_t (*)(SessionHandle);

TEST_F(ForceCalTables, EachUpdateButOneAsksForInitAndInstrument)
{
    for (const Update update :
         {ZVK_ForceCal_UpdateCalibration, ZVK_ForceCal_UpdateEPCalibration,
          ZVK_ForceCal_UpdateEPCalibrationRWQS, ZVK_ForceCal_UpdatePSDCalibration,
          ZVK_ForceCal_UpdatePotCalibration, ZVK_ForceCal_UpdateNLCalibration})
    {
        g_forceCal.Initialised = 0;
        g_forceCal.Installed = 0;
        EXPECT_EQ(update(0), ZVK_FORCECAL_NOT_INITIALIZED);
        g_forceCal.Initialised = 1;
        EXPECT_EQ(update(0), ZVK_FORCECAL_NOT_INSTALLED);
    }
    EXPECT_EQ(g_forceCal.K[0], nullptr);
    g_forceCal.Initialised = 0;
    EXPECT_EQ(ZVK_ForceCal_UpdateCalibrationRWQS(0), 0);
    EXPECT_NE(g_forceCal.Beta[0], nullptr);
    EXPECT_EQ(g_forceCal.K[0][0], 0.0) << "its steps do ask";
}

TEST_F(ForceCalTables, EquipartitionIsKTOverTheVarianceInMetres)
{
    GiveTables();
    GiveResults();
    EXPECT_EQ(ZVK_ForceCal_UpdateEPCalibration(0), 0);
    for (int path = 0; path < 2; ++path) {
        for (int i = 0; i < 3; ++i) {
            const double deviation = 0.01 * (1 + path + i) * ((1.0 + path + 0.1 * i) * 1e-6);
            EXPECT_NEAR(g_forceCal.K[path][3 + i] / (300.0 * kBoltzmann / (deviation * deviation)),
                        1.0, 1e-14);
            EXPECT_EQ(g_forceCal.K[path][i], -1.0);
            EXPECT_EQ(g_forceCal.K[path][6 + i], -1.0);
        }
    }
}

TEST_F(ForceCalTables, TheSiblingKitsEquipartitionTakesPathAsBetaFromTheTable)
{
    GiveTables();
    GiveResults();
    g_forceCal.Beta[0][1] = 3e-6;
    g_forceCal.Beta[1][1] = 3e-6;
    EXPECT_EQ(ZVK_ForceCal_UpdateEPCalibrationRWQS(0), 0);
    EXPECT_NEAR(g_forceCal.K[0][4] / (300.0 * kBoltzmann / std::pow(0.02 * 3e-6, 2)), 1.0, 1e-14);
    EXPECT_NEAR(g_forceCal.K[1][4] / (300.0 * kBoltzmann / std::pow(0.03 * 2.1e-6, 2)), 1.0, 1e-14)
        << "path B keeps that of its runs";
}

TEST_F(ForceCalTables, ThePowerSpectrumIsTheCornerTimesTheStokesDrag)
{
    GiveTables();
    GiveResults();
    EXPECT_EQ(ZVK_ForceCal_UpdatePSDCalibration(0), 0);
    for (int path = 0; path < 2; ++path) {
        for (int i = 0; i < 3; ++i) {
            const double drag = 6.0 * std::numbers::pi * 0.9e-3 * 0.6e-6;
            const double expected = 2.0 * std::numbers::pi * 100.0 * (1 + path + i) * drag;
            EXPECT_NEAR(g_forceCal.K[path][i] / expected, 1.0, 1e-14);
            EXPECT_EQ(g_forceCal.K[path][3 + i], -1.0);
        }
    }
}

TEST_F(ForceCalTables, ThePotentialIsTwiceKTTimesItsCurvature)
{
    GiveTables();
    GiveResults();
    EXPECT_EQ(ZVK_ForceCal_UpdatePotCalibration(0), 0);
    for (int path = 0; path < 2; ++path) {
        for (int i = 0; i < 3; ++i) {
            const double beta = (1.0 + path + 0.1 * i) * 1e-6;
            const double expected =
                2.0 * kBoltzmann * 300.0 * 1000.0 * (1 + path + i) / (beta * beta);
            EXPECT_NEAR(g_forceCal.K[path][6 + i] / expected, 1.0, 1e-14);
        }
    }
}

TEST_F(ForceCalTables, TheInstrumentsUpdateFillsBetaAndThreeTypesOfK)
{
    GiveTables();
    GiveResults();
    EXPECT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
    EXPECT_EQ(g_forceCal.Beta[1][2], 2.2e-6);
    EXPECT_EQ(g_forceCal.K[1][2], 6.2e-6);
    for (int i = 0; i < 9; ++i)
        EXPECT_GT(g_forceCal.K[0][i], 0.0) << i;
}

TEST_F(ForceCalTables, TheInstrumentsUpdateComputesTheActiveMethodFirst)
{
    GiveTables();
    GiveResults();
    ZVK_ForceCalDataContainer &data = g_forceCal.Data[1][1];
    g_forceCal.MaxFFT = 100;
    PutSpectrum(data, std::vector<double>(64, 1e-3), 1.0);
    data.OscAxis = 1;
    data.OscFrequency = 32.0;
    data.OscAmplitude = 0.2;
    data.CornerFrequency[1] = 150.0;
    data.LorentzAmplitude[1] = 1.0;
    data.FDFitValid = 1;
    EXPECT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
    const double excess = 1e-3 - 1.0 / (32.0 * 32.0 + 150.0 * 150.0);
    const double theory = 0.2e-6 * 0.2e-6 / (2.0 * (150.0 * 150.0 / (32.0 * 32.0) + 1.0));
    EXPECT_NEAR(g_forceCal.Beta[1][1] / std::sqrt(theory / excess), 1.0, 1e-12);
    EXPECT_EQ(g_forceCal.K[1][1], data.K);
    const double deviation = 0.03 * data.Beta;
    EXPECT_NEAR(g_forceCal.K[1][4] / (300.0 * kBoltzmann / (deviation * deviation)), 1.0, 1e-12)
        << "and equipartition takes its beta";
    EXPECT_EQ(g_forceCal.Beta[0][1], 1.1e-6) << "a run without a fit keeps what it had";
}

TEST_F(ForceCalTables, TheSiblingKitsUpdateTakesTwoBetasOfPathA)
{
    GiveTables();
    GiveResults();
    EXPECT_EQ(ZVK_ForceCal_UpdateCalibrationRWQS(0), 0);
    EXPECT_NEAR(g_forceCal.Beta[0][0], 2e-6, 1e-20);
    EXPECT_NEAR(g_forceCal.Beta[0][1], 4e-6, 1e-20);
    EXPECT_EQ(g_forceCal.Beta[0][2], -1.0) << "z is not taken";
    EXPECT_NEAR(Still(0).LSBeta[2], 8e-6, 1e-20);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(g_forceCal.Beta[1][i], -1.0);
    const auto equipartition = [](double deviation) {
        return 300.0 * kBoltzmann / (deviation * deviation);
    };
    const double drag = 6.0 * std::numbers::pi * 0.9e-3 * 0.6e-6;
    for (int path = 0; path < 2; ++path) {
        for (int i = 0; i < 3; ++i) {
            const double corner = 100.0 * (1 + path + i);
            EXPECT_NEAR(g_forceCal.K[path][i] / (2.0 * std::numbers::pi * corner * drag), 1.0,
                        1e-12);
            EXPECT_EQ(g_forceCal.K[path][6 + i], -1.0) << "no potential";
        }
    }
    EXPECT_NEAR(g_forceCal.K[0][3] / equipartition(0.01 * 2e-6), 1.0, 1e-12) << "line scan's beta";
    EXPECT_NEAR(g_forceCal.K[0][5] / equipartition(0.03 * -1.0), 1.0, 1e-12) << "the table's";
    EXPECT_NEAR(g_forceCal.K[1][3] / equipartition(0.02 * 2e-6), 1.0, 1e-12) << "its run's";
    EXPECT_NEAR(g_forceCal.K[1][5] / equipartition(0.04 * 2.2e-6), 1.0, 1e-12);
}

TEST_F(ForceCalTables, RunsWithoutDataGiveInfiniteValues)
{
    GiveTables();
    GiveResults();
    Still(0).TDStdDev[0] = 0.0;
    EXPECT_EQ(ZVK_ForceCal_UpdateEPCalibration(0), 0);
    EXPECT_TRUE(std::isinf(g_forceCal.K[0][3]));
    EXPECT_GT(g_forceCal.K[0][3], 0.0);
    g_forceCal.Data[0][1].Beta = 0.0;
    Still(0).PotCurvature[1] = 0.0;
    EXPECT_EQ(ZVK_ForceCal_UpdatePotCalibration(0), 0);
    EXPECT_TRUE(std::isnan(g_forceCal.K[0][7]));
}

TEST_F(ForceCalTables, MissingTablesAreMadeWithZerosAtTheFirstUpdate)
{
    EXPECT_EQ(ZVK_ForceCal_UpdatePSDCalibration(0), 0);
    for (int path = 0; path < 2; ++path) {
        EXPECT_EQ(g_forceCal.NumberOfBetas[path], 1);
        EXPECT_EQ(g_forceCal.NumberOfKs[path], 3);
        for (int i = 0; i < 9; ++i)
            EXPECT_EQ(g_forceCal.K[path][i], 0.0);
        EXPECT_EQ(g_forceCal.Beta[path][2], 0.0);
    }
    FailingMemory memory;
    ResetForceCal();
    PretendUp();
    for (int nth = 1; nth <= 4; ++nth) {
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
        ResetForceCal();
        PretendUp();
    }
}

TEST_F(ForceCalTables, TablesOfNoTypesAreMissingOnes)
{
    GiveResults();
    for (int path = 0; path < 2; ++path)
        ReplaceTables(path, 0, AllocateArray<double>(0), 0, AllocateArray<double>(0));
    EXPECT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
    EXPECT_EQ(g_forceCal.NumberOfBetas[1], 1);
    EXPECT_EQ(g_forceCal.NumberOfKs[1], 3);
    EXPECT_EQ(g_forceCal.Beta[1][2], 2.2e-6);
    EXPECT_GT(g_forceCal.K[0][8], 0.0);
}

TEST_F(ForceCalTables, WhatLiesBehindAShortTableIsPassedOver)
{
    GiveResults();
    const double beta[3] = {};
    const double k[3] = {};
    for (int path = 0; path < 2; ++path)
        ASSERT_EQ(ZVK_ForceCal_SetCalibration(0, path, 1, 1, beta, k), 0);
    EXPECT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
    EXPECT_EQ(ZVK_ForceCal_UpdateCalibrationRWQS(0), 0);
    EXPECT_EQ(g_forceCal.NumberOfKs[0], 1);
    EXPECT_GT(g_forceCal.K[0][2], 0.0);
}

TEST_F(ForceCalTables, SetChecksInit_Instrument_Counts_ThenThePath)
{
    const double beta[3] = {1, 2, 3};
    const double k[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    g_forceCal.Initialised = 0;
    g_forceCal.Installed = 0;
    EXPECT_EQ(ZVK_ForceCal_SetCalibration(0, 2, 0, 3, beta, k), ZVK_FORCECAL_NOT_INITIALIZED);
    g_forceCal.Initialised = 1;
    EXPECT_EQ(ZVK_ForceCal_SetCalibration(0, 2, 0, 3, beta, k), ZVK_FORCECAL_NOT_INSTALLED);
    PretendUp();
    EXPECT_EQ(ZVK_ForceCal_SetCalibration(0, 2, 0, 3, beta, k), ZVK_FORCECAL_BAD_TYPE_COUNT);
    EXPECT_EQ(ZVK_ForceCal_SetCalibration(0, 2, 1, 0, beta, k), ZVK_FORCECAL_BAD_TYPE_COUNT);
    EXPECT_EQ(ZVK_ForceCal_SetCalibration(0, 2, 1, 3, beta, k), ZVK_FORCECAL_BAD_PATH);
    EXPECT_EQ(ZVK_ForceCal_SetCalibration(0, -1, 1, 3, beta, k), ZVK_FORCECAL_BAD_PATH);
    EXPECT_EQ(g_forceCal.Beta[0], nullptr);
}

TEST_F(ForceCalTables, OneTypeOfBetaAndThreeOfKAreThreeAndNineCopiedDoubles)
{
    double beta[3] = {1, 2, 3};
    const double k[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    FailingMemory memory;
    ASSERT_EQ(ZVK_ForceCal_SetCalibration(0, 1, 1, 3, beta, k), 0);
    ASSERT_EQ(ZVK_ForceCal_SetCalibration(0, 1, 1, 3, beta, k), 0);
    EXPECT_EQ(memory.Live(), 2) << "the old arrays are freed";
    beta[0] = 99;
    int32_t betas = 0;
    int32_t ks = 0;
    HandedBlock gotBeta;
    HandedBlock gotK;
    ASSERT_EQ(ZVK_ForceCal_GetCalibration(0, 1, &betas, &ks, &gotBeta, &gotK), 0);
    EXPECT_EQ(betas, 1);
    EXPECT_EQ(ks, 3);
    EXPECT_EQ(gotBeta.Values(3), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(gotK.Values(9), (std::vector<double>(k, k + 9)));
    const double *before = gotK.data;
    ASSERT_EQ(ZVK_ForceCal_GetCalibration(0, 1, &betas, &ks, &gotBeta, &gotK), 0);
    EXPECT_EQ(memory.Live(), 4) << "an earlier result is freed";
    (void)before;
    ResetForceCal();
    PretendUp();
    ASSERT_EQ(ZVK_ForceCal_GetCalibration(0, 0, &betas, &ks, &gotBeta, nullptr), 0);
    EXPECT_EQ(betas, 0);
    EXPECT_NE(gotBeta.data, nullptr);
}

TEST_F(ForceCalTables, GetChecksInit_Instrument_ThenThePath)
{
    double *beta = nullptr;
    g_forceCal.Initialised = 0;
    g_forceCal.Installed = 0;
    EXPECT_EQ(ZVK_ForceCal_GetCalibration(0, 2, nullptr, nullptr, &beta, nullptr),
              ZVK_FORCECAL_NOT_INITIALIZED);
    g_forceCal.Initialised = 1;
    EXPECT_EQ(ZVK_ForceCal_GetCalibration(0, 2, nullptr, nullptr, &beta, nullptr),
              ZVK_FORCECAL_NOT_INSTALLED);
    PretendUp();
    EXPECT_EQ(ZVK_ForceCal_GetCalibration(0, 2, nullptr, nullptr, &beta, nullptr),
              ZVK_FORCECAL_BAD_PATH);
    EXPECT_EQ(beta, nullptr);
}

TEST_F(ForceCalTables, MissingMemoryKeepsOldTablesAndHandsOutNone)
{
    GiveTables();
    const double beta[3] = {1, 2, 3};
    for (int nth = 1; nth <= 2; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_SetCalibration(0, 0, 1, 1, beta, beta), ZVK_FORCE_NO_MEMORY);
        EXPECT_EQ(g_forceCal.Beta[0][0], -1.0);
        EXPECT_EQ(memory.Live(), 0);
        memory.FailAt(nth);
        double *gotBeta = nullptr;
        double *gotK = nullptr;
        EXPECT_EQ(ZVK_ForceCal_GetCalibration(0, 0, nullptr, nullptr, &gotBeta, &gotK),
                  ZVK_FORCE_NO_MEMORY);
        EXPECT_EQ(gotBeta, nullptr);
        EXPECT_EQ(gotK, nullptr);
        EXPECT_EQ(memory.Live(), 0);
    }
}
