// Histograms, the potential and its parabola.

#include "forcecal_fixture.h"

#include "failing_memory.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <random>

class ForceCalPotential : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        PretendUp();
        g_forceCal.Bins = 10;
        Data().OscAxis = 3;
    }

    static ZVK_ForceCalDataContainer &Data() { return Still(1); }

    static void Put(const std::vector<double> &x, const std::vector<double> &y,
                    const std::vector<double> &sum, double rate = 1000.0)
    {
        PutSeries(Data(), {x, y, sum}, 1, rate);
        ASSERT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
    }
    static void Put(const std::vector<double> &x) { Put(x, x, x); }

    static std::vector<double> Counts(int signal)
    {
        return {Data().Histogram[signal], Data().Histogram[signal] + Data().HistogramBins};
    }

    // A potential a x^2 + b x + c on bins of width 0.01 about 0.
    static void PutPotential(int32_t bins, double a, double b, double c)
    {
        Data().HistogramBins = bins;
        ASSERT_TRUE(RenewArrays({&Data().Potential[0], &Data().Potential[1], &Data().Potential[2],
                                 &Data().HistogramAxis[0], &Data().HistogramAxis[1],
                                 &Data().HistogramAxis[2]},
                                bins));
        for (int s = 0; s < 3; ++s) {
            for (int k = 0; k < bins; ++k) {
                const double x = 0.01 * (k + 0.5 - bins / 2.0);
                Data().HistogramAxis[s][k] = x;
                Data().Potential[s][k] = a * x * x + b * x + c;
            }
        }
        Data().PotValid = 1;
    }
};

TEST_F(ForceCalPotential, WithoutCorrectedDataThereIsNone)
{
    EXPECT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), ZVK_FORCECAL_NO_TIME_DATA);
    EXPECT_EQ(ZVK_ForceCal_Create2DBinning(&Data()), ZVK_FORCECAL_NO_TIME_DATA);
    EXPECT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), ZVK_FORCECAL_NO_POTENTIAL);
    Data().TDCorrectedValid = 1;  // as a clear leaves it
    EXPECT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), ZVK_FORCECAL_NO_TIME_DATA);
}

TEST_F(ForceCalPotential, OnlyTheRunWithoutOscillationIsBinned)
{
    Put({1, 2, 3});
    for (const int32_t axis : {0, 1, 2}) {
        Data().OscAxis = axis;
        EXPECT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), 0);
        EXPECT_EQ(ZVK_ForceCal_Create2DBinning(&Data()), 0);
        EXPECT_EQ(Data().PotValid, 0);
        EXPECT_EQ(Data().Histogram2D[0], nullptr);
    }
}

TEST_F(ForceCalPotential, CountsEachSampleInItsBinAndTheLargestInTheLast)
{
    Put({0.0, 0.5, 1.1, 1.5, 9.9, 10.0, 10.0});
    ASSERT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), 0);
    EXPECT_EQ(Counts(0), (std::vector<double>{2, 2, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 0.1, 3}));
    for (int k = 0; k < 10; ++k)
        EXPECT_DOUBLE_EQ(Data().HistogramAxis[0][k], k - 4.5) << "centred on 0, not on the data";
    EXPECT_DOUBLE_EQ(Data().Potential[0][0], -std::log(2.0 / 7.0));
    EXPECT_DOUBLE_EQ(Data().Potential[0][2], -std::log(0.1 / 7.0));
    EXPECT_EQ(Data().PotValid, 1);
}

TEST_F(ForceCalPotential, IsMinusTheLogarithmOfTheDensity)
{
    Put({0.0, 0.1, 0.6, 5.0}, {0.0, 0.0, 0.0, 1000.0}, {-4.0, 0.0, 0.0, 6.0});
    ASSERT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), 0);
    EXPECT_NEAR(Data().Potential[0][0], -std::log(2.0 / (4.0 * 0.5)), 1e-14);
    EXPECT_NEAR(Data().Potential[0][1], -std::log(1.0 / (4.0 * 0.5)), 1e-14);
    EXPECT_NEAR(Data().Potential[0][5], -std::log(0.1 / (4.0 * 0.5)), 1e-14);
    EXPECT_NEAR(Data().Potential[1][0], -std::log(3.0 / (4.0 * 100.0)), 1e-14);
    EXPECT_NEAR(Data().Potential[2][3], -std::log(2.0 / 4.0), 1e-14)
        << "a sample at an edge belongs to the bin below it";
}

TEST_F(ForceCalPotential, TheLargestSampleOfAWideRangeFallsIntoTheLastBinToo)
{
    Put({-3e9, 0.0, 3e9});
    ASSERT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), 0);
    EXPECT_EQ(Counts(1)[9], 1.0);
    EXPECT_EQ(Counts(1)[0], 1.0);
}

TEST_F(ForceCalPotential, EqualSamplesAllLandInBinZeroAndThePotentialIsInfinite)
{
    Put(std::vector<double>(8, 2.5));
    ASSERT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), 0);
    EXPECT_EQ(Counts(0)[0], 8.0);
    EXPECT_EQ(Counts(0)[1], 0.1);
    EXPECT_TRUE(std::isinf(Data().Potential[0][0]));
    ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0);
    EXPECT_EQ(Data().PotCurvature[0], 1.0) << "a fit that can't work leaves its start";
    EXPECT_FALSE(std::isnan(Data().PotFitMSE[0]));
    ASSERT_EQ(ZVK_ForceCal_Create2DBinning(&Data()), 0);
    EXPECT_EQ(Data().Histogram2D[0][0], 8.0);
}

TEST_F(ForceCalPotential, SamplesThatAreNotNumbersAreCountedNowhere)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Put({nan, 0.0, 10.0, nan, 5.0});
    ASSERT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), 0);
    const std::vector<double> counts = Counts(0);
    EXPECT_NEAR(std::accumulate(counts.begin(), counts.end(), 0.0), 3.0 + 7 * 0.1, 1e-12);
    ASSERT_EQ(ZVK_ForceCal_Create2DBinning(&Data()), 0);
    EXPECT_EQ(std::accumulate(Data().Histogram2D[0], Data().Histogram2D[0] + 100, 0.0), 3.0);
}

TEST_F(ForceCalPotential, FewBinsOrNoneTouchNothingOutside)
{
    for (const int32_t bins : {0, -3, 1, 2, 3, 4}) {
        g_forceCal.Bins = bins;
        Put({0.0, 1.0, 2.0, 3.0});
        EXPECT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), 0) << bins;
        EXPECT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0) << bins;
        EXPECT_EQ(ZVK_ForceCal_Create2DBinning(&Data()), 0) << bins;
        EXPECT_EQ(Data().PotFitEntries[0], bins < 1 ? 0 : bins) << bins;
        int32_t entries = 77;
        EXPECT_EQ(ZVK_ForceCal_ReturnData(0, 1, 3, ZVK_FORCECAL_HISTOGRAM, 0, &entries, nullptr,
                                          nullptr, nullptr, nullptr, nullptr),
                  0);
        EXPECT_EQ(entries, std::max(bins, 0)) << bins;
        (void)ReadAllHandedOut();
    }
}

TEST_F(ForceCalPotential, PairsAreCountedInTheirCells)
{
    g_forceCal.Bins = 4;
    const std::vector<double> x = {0, 1.1, 2.1, 4};
    const std::vector<double> y = {0, 0, 11, 40};
    const std::vector<double> sum = {4, 3.1, 2.1, 0};
    Put(x, y, sum);
    ASSERT_EQ(ZVK_ForceCal_Create2DBinning(&Data()), 0);
    // x in bins 0 1 2 3, y in 0 0 1 3, the sum in 3 3 2 0
    const auto at = [](int pair, int row, int column) {
        return Data().Histogram2D[pair][row * 4 + column];
    };
    EXPECT_EQ(at(0, 0, 0), 1.0);
    EXPECT_EQ(at(0, 3, 3), 1.0);
    EXPECT_EQ(at(1, 0, 3), 1.0) << "largest y beside the least sum";
    EXPECT_EQ(at(2, 0, 3), 1.0) << "largest sum beside the least x";
    for (int pair = 0; pair < 3; ++pair) {
        EXPECT_EQ(std::accumulate(Data().Histogram2D[pair], Data().Histogram2D[pair] + 16, 0.0),
                  4.0);
    }
    EXPECT_NEAR(Data().Histogram2DAxis[0][1][0], -15.0, 1e-9) << "the second signal's";
    EXPECT_NEAR(Data().Histogram2DAxis[0][0][0], -1.5, 1e-9);
    EXPECT_EQ(Data().PotValid, 0) << "no flag is set";
}

TEST_F(ForceCalPotential, PairsAreCountedForTwoSecondsOnly)
{
    std::vector<double> x(100, 1.0);
    x[0] = 0.0;
    Put(x, x, x, 10.0);
    ASSERT_EQ(ZVK_ForceCal_Create2DBinning(&Data()), 0);
    EXPECT_EQ(std::accumulate(Data().Histogram2D[0], Data().Histogram2D[0] + 100, 0.0), 22.0)
        << "the sample behind the second is counted still";
}

TEST_F(ForceCalPotential, AnExactParabolaGivesItsCurvatureToNineDigits)
{
    PutPotential(100, 250.0, -3.0, 4.0);
    ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0);
    for (int s = 0; s < 3; ++s) {
        EXPECT_NEAR(Data().PotCurvature[s] / 250.0, 1.0, 1e-9);
        EXPECT_LT(Data().PotFitMSE[s], 1e-20);
        EXPECT_EQ(Data().PotFitEntries[s], 100) << "from -10 to 10";
        EXPECT_NEAR(Data().PotFitCurve[s][7], Data().Potential[s][7], 1e-9);
        EXPECT_EQ(Data().PotFitAxis[s][7], Data().HistogramAxis[s][7]);
    }
}

TEST_F(ForceCalPotential, UnsetLimitsBecomeTenInTheSettingsOfThePath)
{
    PutPotential(20, 1.0, 0.0, 0.0);
    EXPECT_EQ(ZVK_ForceCal_SetPotFitStart(0, 1, 0, 0.5e-6), 0);
    ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0);
    double limit = 0;
    EXPECT_EQ(ZVK_ForceCal_GetPotFitStartFrequency(0, 1, 0, &limit), 0);
    EXPECT_EQ(limit, -10.0);
    EXPECT_EQ(ZVK_ForceCal_GetPotFitStopFrequency(0, 1, 2, &limit), 0);
    EXPECT_EQ(limit, 10.0);
    EXPECT_EQ(ZVK_ForceCal_GetPotFitStopFrequency(0, 0, 2, &limit), 0);
    EXPECT_EQ(limit, 0.0) << "the other path's stay";
}

TEST_F(ForceCalPotential, TheRangeIsTheFirstBinAboveEachLimit)
{
    PutPotential(100, 1.0, 0.0, 0.0);
    for (int s = 0; s < 3; ++s) {
        g_forceCal.PotFitStart[1][s] = -0.201;
        g_forceCal.PotFitStop[1][s] = 0.201;
    }
    ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0);
    EXPECT_NEAR(Data().PotFitAxis[0][0], -0.195, 1e-12);
    EXPECT_EQ(Data().PotFitEntries[0], 41);
}

TEST_F(ForceCalPotential, TheRangeIsStrictlyAboveItsLimitsAndWholeWithoutAStop)
{
    PutPotential(100, 1.0, 0.0, 0.0);
    const double *axis = Data().HistogramAxis[0];
    const struct
    {
        double start;
        double stop;
        int32_t first;
        int32_t entries;
    } rows[] = {
        {axis[30], axis[60], 31, 31},
        {-0.201, 5.0, 0, 100},  // no bin above the stop: the whole axis, also below the start
        {5.0, 6.0, 0, 100},
        {5.0, 0.201, 0, 71},     // no bin above the start: from the first
        {0.201, -0.201, 70, 4},  // the wrong way round
        {1e-6, 1e-6, 50, 4},     // not below the least limit
        {0.9999e-6, 0.201, 0, 71},
        {-0.6, -0.6, 0, 100},  // the stop's bin is the first, which counts as none
    };
    for (const auto &row : rows) {
        g_forceCal.PotFitStart[1][0] = row.start;
        g_forceCal.PotFitStop[1][0] = row.stop;
        ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0);
        EXPECT_EQ(Data().PotFitAxis[0][0], axis[row.first]) << row.start << " " << row.stop;
        EXPECT_EQ(Data().PotFitEntries[0], row.entries) << row.start << " " << row.stop;
    }
}

TEST_F(ForceCalPotential, EachSignalHasItsOwnLimits)
{
    PutPotential(100, 1.0, 0.0, 0.0);
    for (int s = 0; s < 3; ++s) {
        g_forceCal.PotFitStart[1][s] = -0.1 * (s + 1) - 0.001;
        g_forceCal.PotFitStop[1][s] = 0.1 * (s + 1) + 0.001;
        g_forceCal.PotFitStart[0][s] = g_forceCal.PotFitStop[0][s] = 0.3;
    }
    ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0);
    for (int s = 0; s < 3; ++s)
        EXPECT_EQ(Data().PotFitEntries[s], 20 * (s + 1) + 1) << s;
}

TEST_F(ForceCalPotential, AStopBeyondTheDataKeepsThePlaceOfTheSignalBefore)
{
    PutPotential(100, 1.0, 0.0, 0.0);
    g_forceCal.PotFitStart[1][0] = -0.201;
    g_forceCal.PotFitStop[1][0] = 0.201;
    g_forceCal.PotFitStart[1][1] = -0.101;
    g_forceCal.PotFitStop[1][1] = 5.0;
    ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0);
    EXPECT_NEAR(Data().PotFitAxis[1][0], -0.095, 1e-12);
    EXPECT_EQ(Data().PotFitEntries[1], 31) << "up to where X ended";
}

TEST_F(ForceCalPotential, ANarrowRangeIsWidenedToFourBins)
{
    g_forceCal.Bins = 5;
    PutPotential(5, 1.0, 0.0, 0.0);
    g_forceCal.PotFitStart[1][0] = -0.006;
    g_forceCal.PotFitStop[1][0] = -0.0055;
    ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0);
    EXPECT_EQ(Data().PotFitEntries[0], 4);
    EXPECT_NEAR(Data().PotFitAxis[0][0], -0.01, 1e-12) << "down, since the end is reached";
}

TEST_F(ForceCalPotential, TheUpdateFitsBothPathsAndAsksForInitFirst)
{
    g_forceCal.Installed = 0;
    EXPECT_EQ(ZVK_ForceCal_UpdatePotFits(0), ZVK_FORCECAL_NOT_INSTALLED);
    g_forceCal.Initialised = 0;
    EXPECT_EQ(ZVK_ForceCal_UpdatePotFits(0), ZVK_FORCECAL_NOT_INITIALIZED);
    PretendUp();
    EXPECT_EQ(ZVK_ForceCal_UpdatePotFits(0), 0) << "without histograms";
    PutPotential(50, 77.0, 0.0, 0.0);
    EXPECT_EQ(ZVK_ForceCal_UpdatePotFits(0), 0);
    EXPECT_NEAR(Data().PotCurvature[0], 77.0, 1e-6);
    Still(1).PotCurvature[0] = 0.0;
    std::swap(Still(0), Still(1));
    std::swap(Still(0).Path, Still(1).Path);
    EXPECT_EQ(ZVK_ForceCal_UpdatePotFits(0), 0);
    EXPECT_NEAR(Still(0).PotCurvature[0], 77.0, 1e-6) << "path A too";
}

TEST_F(ForceCalPotential, EachAllocationThatFailsIsAStatus)
{
    Put({0.0, 1.0, 2.0, 3.0});
    for (int nth = 1; nth <= 9; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), ZVK_FORCE_NO_MEMORY);
        EXPECT_EQ(Data().PotValid, 0);
        EXPECT_EQ(Data().HistogramBins, 0);
    }
    for (int nth = 1; nth <= 9; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_Create2DBinning(&Data()), ZVK_FORCE_NO_MEMORY);
    }
    ASSERT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), 0);
    for (int nth = 1; nth <= 3; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), ZVK_FORCE_NO_MEMORY);
        EXPECT_EQ(Data().PotFitEntries[0], 0);
    }
}

// Samples of a known normal distribution have the curvature 1 / (2 s^2) in units of kT.
TEST_F(ForceCalPotential, OfThermalMotionItIsTheStiffnessPutIn)
{
    g_forceCal.Bins = 60;
    std::mt19937_64 generator(640);
    std::normal_distribution<double> normal(0.0, 0.05);
    std::vector<double> x(1000000);
    for (double &value : x)
        value = normal(generator);
    Put(x);
    ASSERT_EQ(ZVK_ForceCal_Create1DBinning(&Data()), 0);
    for (int s = 0; s < 3; ++s) {
        g_forceCal.PotFitStart[1][s] = -0.12;
        g_forceCal.PotFitStop[1][s] = 0.12;
    }
    ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&Data()), 0);
    EXPECT_NEAR(Data().PotCurvature[0] * 2.0 * 0.05 * 0.05, 1.0, 0.03);
}
