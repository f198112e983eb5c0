// From the time series to the averaged spectrum, against closed forms.

#include "forcecal_fixture.h"

#include "failing_memory.h"
#include "numerics/statistics.h"
#include "platform/memory.h"

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

constexpr double kTwoPi = 2.0 * std::numbers::pi;

class ForceCalSpectrum : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        g_forceCal.MaxFFT = 5000;
    }

    static ZVK_ForceCalDataContainer &Data() { return g_forceCal.Data[0][0]; }

    static void Analyse(const std::vector<double> &x, int32_t averages, double rate)
    {
        PutSeries(Data(), {x, x, x}, averages, rate);
        ASSERT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
        ASSERT_EQ(ZVK_ForceCal_ComputeFD(&Data()), 0);
    }
};

TEST_F(ForceCalSpectrum, EachStepAsksForWhatItNeeds)
{
    EXPECT_EQ(ZVK_ForceCal_CreateTDAxis(&Data()), ZVK_FORCECAL_NO_TIME_DATA);
    EXPECT_EQ(ZVK_ForceCal_CorrectTD(&Data()), ZVK_FORCECAL_NO_TIME_DATA);
    EXPECT_EQ(ZVK_ForceCal_ComputeFD(&Data()), ZVK_FORCECAL_NO_TIME_DATA);
    EXPECT_EQ(ZVK_ForceCal_CreateFDAxis(&Data()), ZVK_FORCECAL_NO_SPECTRUM);
}

TEST_F(ForceCalSpectrum, TimeRunsOnThroughAllSegments)
{
    const std::vector<double> x(6, 1.0);
    PutSeries(Data(), {x, x, x}, 3, 4.0);
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(Data().TDAxis[k], k / 4.0);
}

TEST_F(ForceCalSpectrum, ValuesNearZeroBecomeASmallPositiveOne)
{
    double data[] = {-1e-11, 0.0, 1e-11, 1e-10, -1e-10, -2.0, 9.9e-11};
    ZVK_ForceCal_RemoveZeros(data, 7);
    const double expected[] = {1e-10, 1e-10, 1e-10, 1e-10, -1e-10, -2.0, 1e-10};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(data[i], expected[i]) << i;
    double untouched[] = {0.0};
    ZVK_ForceCal_RemoveZeros(untouched, 0);
    EXPECT_EQ(untouched[0], 0.0);
}

TEST_F(ForceCalSpectrum, NormalizeDividesAndScaleMultiplies)
{
    double data[] = {1.0, -6.0};
    const double by[] = {4.0, 3.0};
    ZVK_ForceCal_NormalizeData(data, by, 2);
    EXPECT_EQ(data[0], 0.25);
    EXPECT_EQ(data[1], -2.0);
    ZVK_ForceCal_ScaleData(data, 2, 8.0);
    EXPECT_EQ(data[0], 2.0);
    EXPECT_EQ(data[1], -16.0);
}

TEST_F(ForceCalSpectrum, WithoutCorrectionTheSeriesIsCopied)
{
    const std::vector<double> x = {1, 2, 3, 4, 5, 6, 7};
    PutSeries(Data(), {x, x, x}, 2, 4.0);
    EXPECT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
    EXPECT_EQ(std::vector<double>(Data().TDCorrected[1], Data().TDCorrected[1] + 7), x);
    EXPECT_DOUBLE_EQ(Data().TDStdDev[0], std::sqrt(2.0 / 3.0)) << "of the first segment alone";
    EXPECT_EQ(Data().TDCorrectedValid, 1);
}

TEST_F(ForceCalSpectrum, EachSegmentLosesItsOwnMeanAlsoInTheSum)
{
    g_forceCal.SubtractMean = 1;
    const std::vector<double> x = {1, 2, 3, 10, 20, 30};
    const std::vector<double> sum = {5, 5, 8, 1, 1, 1};
    PutSeries(Data(), {x, x, sum}, 2, 4.0);
    EXPECT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
    const std::vector<double> expected = {-1, 0, 1, -10, 0, 10};
    EXPECT_EQ(std::vector<double>(Data().TDCorrected[0], Data().TDCorrected[0] + 6), expected);
    EXPECT_EQ(Data().TDCorrected[2][2], 2.0);
    EXPECT_EQ(Data().TD[0][0], 1.0) << "the raw series stays";
}

TEST_F(ForceCalSpectrum, DriftWinsOverTheMeanAndTakesALineFromEachSegment)
{
    g_forceCal.SubtractMean = 1;
    g_forceCal.SubtractDrift = 1;
    std::vector<double> x;
    for (int k = 0; k < 8; ++k)
        x.push_back(k < 4 ? 100.0 + 2.0 * k : 7.0 - 3.0 * k);
    PutSeries(Data(), {x, x, x}, 2, 4.0);
    EXPECT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
    for (int k = 0; k < 8; ++k)
        EXPECT_NEAR(Data().TDCorrected[1][k], 0.0, 1e-13);
    EXPECT_NEAR(Data().TDStdDev[1], 0.0, 1e-13);
}

TEST_F(ForceCalSpectrum, SamplesBehindTheLastSegmentStayAsTheyAre)
{
    g_forceCal.SubtractMean = 1;
    const std::vector<double> x = {1, 3, 5, 7, 9};
    PutSeries(Data(), {x, x, x}, 2, 4.0);
    EXPECT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
    EXPECT_EQ(std::vector<double>(Data().TDCorrected[0], Data().TDCorrected[0] + 5),
              (std::vector<double>{-1, 1, -1, 1, 9}));
}

TEST_F(ForceCalSpectrum, ASineOnABinHasFourTimesItsPowerThereAndNothingElsewhere)
{
    const int n = 1000;
    const double rate = 500.0;
    const double amplitude = 0.3;
    std::vector<double> x(3 * n);
    for (int j = 0; j < 3 * n; ++j)
        x[j] = amplitude * std::sin(kTwoPi * 40.0 * j / n);
    Analyse(x, 3, rate);
    // |X| = a n / 2 on the bin, doubled as an amplitude, squared, over rate^2 T.
    const double time = n / rate;
    const double expected = std::pow(2.0 * amplitude * n / 2.0, 2) / (rate * rate * time);
    EXPECT_EQ(Data().NumberOfFrequencies, 500);
    EXPECT_EQ(Data().MeasurementTime, time);
    for (int k = 0; k < 500; ++k)
        EXPECT_NEAR(Data().FD[0][k], k == 40 ? expected : 0.0, 1e-15) << k;
    EXPECT_EQ(Data().FDAxis[40], 20.0);
    EXPECT_EQ(Data().FDSum[1][40], Data().FD[1][40]) << "both copies are equal";
}

TEST_F(ForceCalSpectrum, IsThatOfTheCorrectedSeries)
{
    g_forceCal.SubtractMean = 1;
    std::vector<double> x(40, 3.0);
    for (int j = 0; j < 40; ++j)
        x[j] += std::cos(kTwoPi * 2.0 * j / 40);
    Analyse(x, 1, 40.0);
    EXPECT_NEAR(Data().FD[0][0], 0.0, 1e-12);
    EXPECT_NEAR(Data().FD[0][2], 1.0, 1e-12);
}

TEST_F(ForceCalSpectrum, EachSignalHasItsOwn)
{
    std::vector<double> signals[3];
    for (int s = 0; s < 3; ++s) {
        for (int j = 0; j < 64; ++j)
            signals[s].push_back(std::cos(kTwoPi * (3.0 + s) * j / 64));
    }
    PutSeries(Data(), {signals[0], signals[1], signals[2]}, 1, 64.0);
    ASSERT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
    ASSERT_EQ(ZVK_ForceCal_ComputeFD(&Data()), 0);
    for (int s = 0; s < 3; ++s) {
        EXPECT_NEAR(Data().FD[s][3 + s], 1.0, 1e-12);
        EXPECT_NEAR(Data().FD[s][3 + (s + 1) % 3], 0.0, 1e-12);
        EXPECT_NEAR(Data().TDStdDev[s], std::sqrt(0.5), 1e-12);
    }
}

TEST_F(ForceCalSpectrum, WithoutATimeAxisNothingIsCorrected)
{
    const std::vector<double> x(8, 1.0);
    PutSeries(Data(), {x, x, x}, 1, 4.0);
    Release(Data().TDAxis);
    g_forceCal.SubtractDrift = 1;
    EXPECT_EQ(ZVK_ForceCal_CorrectTD(&Data()), ZVK_FORCECAL_NO_TIME_DATA);
    EXPECT_EQ(ZVK_ForceCal_ComputeFD(&Data()), ZVK_FORCECAL_NO_TIME_DATA);
}

TEST_F(ForceCalSpectrum, BinZeroIsNotDoubled)
{
    Analyse(std::vector<double>(100, 0.5), 1, 10.0);
    EXPECT_NEAR(Data().FD[0][0], 50.0 * 50.0 / (100.0 * 10.0), 1e-12);
}

TEST_F(ForceCalSpectrum, SegmentsAreAveraged)
{
    const int n = 64;
    std::vector<double> x(2 * n);
    for (int j = 0; j < n; ++j) {
        x[j] = std::cos(kTwoPi * 5.0 * j / n);
        x[n + j] = 3.0 * std::cos(kTwoPi * 9.0 * j / n);
    }
    Analyse(x, 2, 64.0);
    const double one = 64.0 * 64.0 / (64.0 * 64.0 * 1.0);
    EXPECT_NEAR(Data().FD[2][5], one / 2.0, 1e-12);
    EXPECT_NEAR(Data().FD[2][9], 9.0 * one / 2.0, 1e-12);
}

TEST_F(ForceCalSpectrum, AnOddSegmentLosesItsLastSampleFromTheLengthAlone)
{
    const int n = 101;
    std::vector<double> x(n);
    for (int j = 0; j < n; ++j)
        x[j] = std::sin(kTwoPi * 7.0 * j / n);
    Analyse(x, 1, 101.0);
    EXPECT_EQ(Data().NumberOfFrequencies, 50);
    EXPECT_NEAR(Data().FD[0][7], 1.0, 1e-12) << "all samples are transformed";
    EXPECT_EQ(Data().FDAxis[7], 7.0 / Data().MeasurementTime);
}

TEST_F(ForceCalSpectrum, ASegmentShorterThanOneSampleHasNoSpectrum)
{
    const std::vector<double> x(3, 1.0);
    for (const int32_t averages : {4, 0, -1}) {
        PutSeries(Data(), {x, x, x}, averages, 4.0);
        EXPECT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
        EXPECT_EQ(Data().TDStdDev[0], 0.0);
        EXPECT_EQ(ZVK_ForceCal_ComputeFD(&Data()), ZVK_FORCECAL_NO_TIME_DATA);
        EXPECT_EQ(Data().FDValid, 0);
    }
}

TEST_F(ForceCalSpectrum, OneBinMoreThanTheLimitPassesAndTwoDoNot)
{
    g_forceCal.MaxFFT = 9;
    Analyse(std::vector<double>(20, 1.0), 1, 4.0);
    EXPECT_EQ(Data().NumberOfFrequencies, 10) << "n/2 - 1 equals the limit";
    ForceCalTest::ResetForceCal();
    g_forceCal.MaxFFT = 9;
    const std::vector<double> x(22, 1.0);
    PutSeries(Data(), {x, x, x}, 1, 4.0);
    ASSERT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
    EXPECT_EQ(ZVK_ForceCal_ComputeFD(&Data()), ZVK_FORCECAL_SPECTRUM_TOO_LONG);
    EXPECT_EQ(ZVK_FORCECAL_SPECTRUM_TOO_LONG, 1415);
    EXPECT_EQ(Data().FDValid, 0);
    EXPECT_EQ(Data().NumberOfFrequencies, 0);
    EXPECT_EQ(Data().MeasurementTime, 5.5) << "this much is stored";
}

TEST_F(ForceCalSpectrum, MissingMemoryIsPrintedAndLeavesNoSpectrum)
{
    const std::vector<double> x(32, 1.0);
    PutSeries(Data(), {x, x, x}, 1, 4.0);
    ASSERT_EQ(ZVK_ForceCal_CorrectTD(&Data()), 0);
    FailingMemory memory;
    for (int nth = 1; nth <= 7; ++nth) {
        memory.FailAt(nth);
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(ZVK_ForceCal_ComputeFD(&Data()), ZVK_FORCE_NO_MEMORY) << nth;
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Mem Alloc Failure during FFT");
        EXPECT_EQ(Data().FDValid, 0);
    }
    memory.FailAt(0);
    EXPECT_EQ(ZVK_ForceCal_ComputeFD(&Data()), 0);
}

TEST_F(ForceCalSpectrum, SpectraThatAShutdownFreedAreMadeAgain)
{
    PretendUp();
    Analyse(std::vector<double>(32, 1.0), 1, 4.0);
    EXPECT_EQ(ZVK_ForceCal_Shutdown(0), 0);
    EXPECT_EQ(Data().FD[0], nullptr);
    EXPECT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), ZVK_FORCECAL_NO_SPECTRUM);
    EXPECT_EQ(ZVK_ForceCal_ComputeFD(&Data()), 0);
    EXPECT_NE(Data().FD[0], nullptr);
}

TEST_F(ForceCalSpectrum, ASpectrumThatIsTooLongBringsBackNoneThatAShutdownFreed)
{
    PretendUp();
    Analyse(std::vector<double>(32, 1.0), 1, 4.0);
    EXPECT_EQ(ZVK_ForceCal_Shutdown(0), 0);
    g_forceCal.MaxFFT = 2;
    EXPECT_EQ(ZVK_ForceCal_ComputeFD(&Data()), ZVK_FORCECAL_SPECTRUM_TOO_LONG);
    EXPECT_EQ(Data().FDValid, 0);
}

TEST_F(ForceCalSpectrum, SamplesThatAreNotNumbersDoNoHarm)
{
    std::vector<double> x(64, 1.0);
    x[7] = std::numeric_limits<double>::quiet_NaN();
    x[9] = std::numeric_limits<double>::infinity();
    g_forceCal.SubtractDrift = 1;
    Analyse(x, 2, 4.0);
    EXPECT_EQ(Data().FDValid, 1);
    EXPECT_TRUE(std::isnan(Data().FD[0][3]));
}

// The exact discrete motion of a bead in a harmonic trap has a spectrum in closed form: with
// x(j+1) = c x(j) + s g(j), |X(k)|^2 = n s^2 / |1 - c e^(-2 pi i k / n)|^2 on average (Norrelykke
// and Flyvbjerg, Review of Scientific Instruments 81, 075103, 2010). An average of m segments
// scatters by 1 / sqrt(m).
TEST_F(ForceCalSpectrum, OfExactTrappedMotionIsItsClosedFormWithinItsScatter)
{
    const int n = 2048;
    const int segments = 400;
    const double c = 0.9;
    const double s = 0.25;
    std::mt19937_64 generator(640);
    std::normal_distribution<double> normal;
    std::vector<double> x(static_cast<size_t>(n) * segments);
    double position = s / std::sqrt(1.0 - c * c) * normal(generator);
    for (double &value : x) {
        value = position;
        position = c * position + s * normal(generator);
    }
    Analyse(x, segments, n);  // T is 1 s
    double worst = 0.0;
    double mean = 0.0;
    for (int k = 1; k < n / 2; ++k) {
        const double turn = 1.0 - 2.0 * c * std::cos(kTwoPi * k / n) + c * c;
        const double expected = 4.0 * n * s * s / turn / (double(n) * n);
        const double deviation = (Data().FD[0][k] / expected - 1.0) * std::sqrt(segments);
        worst = std::max(worst, std::fabs(deviation));
        mean += deviation / (n / 2 - 1);
    }
    EXPECT_LT(worst, 5.5) << "in standard errors";
    EXPECT_LT(std::fabs(mean), 4.0 / std::sqrt(n / 2.0));
}

// Such motion at a rate far above its corner has a Lorentzian spectrum. Ten records tell what the
// corner and the deviation scatter by, and their means lie within that of the numbers put in.
TEST_F(ForceCalSpectrum, OfExactTrappedMotionGivesItsCornerAndItsDeviationWithinTheirScatter)
{
    const int n = 16384;
    const int segments = 20;
    const double corner = 60.0;
    const double rate = 16384.0;
    const double c = std::exp(-kTwoPi * corner / rate);
    g_forceCal.MaxFFT = n;
    g_forceCal.FitStartFrequency = 4.5;
    g_forceCal.FitStopFrequency = 800.5;
    Data().OscFrequency = -1.0;
    std::mt19937_64 generator(641);
    std::normal_distribution<double> normal;
    std::vector<double> x(static_cast<size_t>(n) * segments);
    std::vector<double> corners;
    std::vector<double> variances;
    for (int record = 0; record < 10; ++record) {
        double position = normal(generator);
        for (double &value : x) {
            value = position;
            position = c * position + std::sqrt(1.0 - c * c) * normal(generator);
        }
        Analyse(x, segments, rate);
        ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
        corners.push_back(Data().CornerFrequency[0]);
        variances.push_back(Data().TDStdDev[0] * Data().TDStdDev[0]);
    }
    const ZVK_Spread corners10 = StandardDeviation(corners.data(), 10);
    const ZVK_Spread variances10 = StandardDeviation(variances.data(), 10);
    EXPECT_NEAR(corners10.mean, corner, 4.0 * corners10.standardDeviation / 3.0);
    EXPECT_LT(corners10.standardDeviation / corner, 0.05);
    // The first segment's 1 s holds 2 pi 60 / 2 independent values, so its variance scatters by
    // sqrt(2 / 188), 0.1.
    EXPECT_NEAR(variances10.mean, 1.0, 4.0 * 0.103 / std::sqrt(10.0));
    EXPECT_NEAR(variances10.standardDeviation, 0.103, 0.08);
}
