#include "statistics.h"
#include "statistics_segments.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using std::numbers::pi;

TEST(Jackknife, OfAMeanIsItsStandardError)
{
    const std::vector<double> values = {3.0, 7.0, 7.5, 1.0, 4.0, 9.25};
    std::vector<double> leftOut;
    for (size_t i = 0; i < values.size(); ++i) {
        std::vector<std::vector<double>> rows;
        for (const double value : values)
            rows.push_back({value});
        leftOut.push_back(MeanWithout(rows, i)[0]);
    }
    EXPECT_NEAR(JackknifeError(leftOut), DeviationOf(values) / std::sqrt(6.0), 1e-12);
}

TEST(Jackknife, OfFewerThanTwoIsNotKnown)
{
    EXPECT_FALSE(IsKnown(JackknifeError({})));
    EXPECT_FALSE(IsKnown(JackknifeError({1.0})));
    EXPECT_FALSE(IsKnown(JackknifeError({1.0, kUnknown})));
}

// The reciprocal of a mean of exponential numbers of mean m: its standard deviation is 1 / m
// root(n) to first order. Averaged over many trials the jackknife tells the same.
TEST(Jackknife, TellsTheScatterOfAReciprocalMean)
{
    std::mt19937_64 random(5);
    std::exponential_distribution<double> draw(0.5);
    constexpr size_t kCount = 40;
    double told = 0.0;
    for (int trial = 0; trial < 400; ++trial) {
        std::vector<std::vector<double>> rows;
        for (size_t i = 0; i < kCount; ++i)
            rows.push_back({draw(random)});
        std::vector<double> leftOut;
        for (size_t i = 0; i < kCount; ++i)
            leftOut.push_back(1.0 / MeanWithout(rows, i)[0]);
        told += JackknifeError(leftOut) / 400.0;
    }
    EXPECT_NEAR(told, 0.5 / std::sqrt(40.0), 0.08 * 0.5 / std::sqrt(40.0));
}

TEST(MeanWithout, OfNoneLeftOutIsTheWholeMean)
{
    const std::vector<std::vector<double>> rows = {{1.0, 10.0}, {3.0, 30.0}};
    EXPECT_EQ(MeanWithout(rows, 2), (std::vector<double>{2.0, 20.0}));
    EXPECT_EQ(MeanWithout(rows, 0), (std::vector<double>{3.0, 30.0}));
    EXPECT_TRUE(MeanWithout({}, 0).empty());
}

TEST(FitLorentzian, FindsANoiseFreeCurveFromAPoorStart)
{
    std::vector<double> f;
    std::vector<double> power;
    for (int k = 10; k < 2000; ++k) {
        f.push_back(4.0 * k);
        power.push_back(3e-2 / (16.0 * k * k + 850.0 * 850.0));
    }
    const Lorentzian fit = FitLorentzian(f, power, {1e-2, 300.0});
    EXPECT_NEAR(fit.amplitude, 3e-2, 1e-9 * 3e-2);
    EXPECT_NEAR(fit.corner, 850.0, 1e-9 * 850.0);
}

TEST(FitLorentzian, OfTooFewPointsOrNoStartIsNotKnown)
{
    EXPECT_FALSE(IsKnown(FitLorentzian({1.0, 2.0}, {1.0, 1.0}, {1.0, 1.0}).corner));
    EXPECT_FALSE(IsKnown(FitLorentzian({1.0, 2.0, 3.0}, {1.0, 1.0, 1.0}, {}).corner));
    EXPECT_FALSE(IsKnown(FitLorentzian({1.0, 2.0, 3.0}, {1.0, kUnknown, 1.0}, {1.0, 1.0}).corner));
}

// The certified values of the linear data set "Norris" of the NIST Statistical Reference Datasets.
TEST(FitStraightLine, GivesTheCertifiedValuesOfNorris)
{
    const std::vector<double> y = {0.1,   338.8, 118.1, 888.0, 9.2,   228.1, 668.5, 998.5, 449.1,
                                   778.9, 559.2, 0.3,   0.1,   778.1, 668.8, 339.3, 448.9, 10.8,
                                   557.7, 228.3, 998.0, 888.8, 119.6, 0.3,   0.6,   557.6, 339.3,
                                   888.0, 998.5, 778.9, 10.2,  117.6, 228.9, 668.4, 449.2, 0.2};
    const std::vector<double> x = {0.2,   337.4, 118.2, 884.6, 10.1,  226.5, 666.3, 996.3, 448.6,
                                   777.0, 558.2, 0.4,   0.6,   775.5, 666.9, 338.0, 447.5, 11.6,
                                   556.0, 228.1, 995.8, 887.6, 120.2, 0.3,   0.3,   556.8, 339.1,
                                   887.2, 999.0, 779.0, 11.1,  118.3, 229.2, 669.1, 448.9, 0.5};
    const StraightLine line = FitStraightLine(x, y);
    EXPECT_NEAR(line.slope, 1.00211681802045, 1e-12);
    EXPECT_NEAR(line.intercept, -0.262323073774029, 1e-11);
    EXPECT_NEAR(line.slopeError, 0.429796848199937e-03, 1e-13);
}

TEST(FitStraightLine, OfOnePlaceIsNotKnown)
{
    EXPECT_FALSE(IsKnown(FitStraightLine({1.0, 1.0}, {0.0, 2.0}).slope));
    EXPECT_FALSE(IsKnown(FitStraightLine({1.0}, {0.0}).slope));
    EXPECT_FALSE(IsKnown(FitStraightLine({1.0, 2.0}, {0.0, 2.0}).slopeError)) << "two points";
}

TEST(FitCurvature, FindsAParabolaOnUnevenPlaces)
{
    const std::vector<double> x = {-3.0, -1.5, -1.0, 0.0, 0.25, 2.0, 7.0};
    std::vector<double> y;
    for (const double place : x)
        y.push_back(2.5 * place * place - 3.0 * place + 11.0);
    EXPECT_NEAR(FitCurvature(x, y), 2.5, 1e-12);
    EXPECT_FALSE(IsKnown(FitCurvature({1.0, 2.0}, {1.0, 2.0})));
    EXPECT_FALSE(IsKnown(FitCurvature({1.0, 1.0, 2.0}, {1.0, 2.0, 3.0}))) << "two places";
}

TEST(WeightedMean, WeighsByTheUncertaintiesAndPassesOverTheUnknown)
{
    const Measured mean =
        WeightedMean({{10.0, 1.0}, {20.0, 2.0}, {kUnknown, 1.0}, {5.0, kUnknown}});
    EXPECT_NEAR(mean.value, (10.0 + 20.0 / 4.0) / 1.25, 1e-12);
    EXPECT_NEAR(mean.error, 1.0 / std::sqrt(1.25), 1e-12);
    EXPECT_FALSE(IsKnown(WeightedMean({})));
}

TEST(JoinErrors, AddsSquares) { EXPECT_DOUBLE_EQ(JoinErrors({3.0, 4.0}), 5.0); }

// A cosine of amplitude a on bin k: a^2 / 2 of power, doubled by the library's scale, over the
// bin's width.
TEST(SegmentSpectrum, PutsASineIntoItsBinOnTheLibrarysScale)
{
    constexpr size_t kSamples = 1000;
    constexpr double kRate = 500.0;
    std::vector<double> signal;
    for (size_t i = 0; i < kSamples; ++i)
        signal.push_back(3.0 * std::cos(2.0 * pi * 40.0 * static_cast<double>(i) / kSamples));
    SegmentSpectrum spectrum(kSamples, kRate);
    const std::vector<double> &power = spectrum.Of(signal);
    ASSERT_EQ(power.size(), kSamples / 2);
    EXPECT_NEAR(power[40], 2.0 * (3.0 * 3.0 / 2.0) * (kSamples / kRate), 1e-9);
    EXPECT_NEAR(power[41], 0.0, 1e-18);
}

TEST(SegmentSpectrum, OfWhiteNoiseIsTwiceItsOneSidedDensity)
{
    std::mt19937_64 random(2);
    std::normal_distribution<double> draw(0.0, 1.0);
    std::vector<double> signal(20000);
    for (double &value : signal)
        value = draw(random);
    SegmentSpectrum spectrum(signal.size(), 1000.0);
    std::vector<double> power = spectrum.Of(signal);
    power.erase(power.begin());
    // The density is 2 / rate, and each of 9999 bins scatters by its own height.
    EXPECT_NEAR(MeanOf(power), 4.0 / 1000.0, 4.0 * 4.0 / 1000.0 / 100.0);
}

TEST(CountInBins, PutsTheEndIntoTheLastBinAndPassesOverWhatIsNoNumber)
{
    const std::vector<double> samples = {0.0, 0.99, 1.0, 2.5, 3.0, kUnknown, -0.1};
    EXPECT_EQ(CountInBins(samples, 0.0, 1.0, 3), (std::vector<double>{2.0, 1.0, 2.0}));
    EXPECT_TRUE(CountInBins(samples, 0.0, 1.0, 0).empty());
    EXPECT_EQ(CountInBins(samples, 0.0, 0.0, 2), (std::vector<double>{0.0, 0.0}));
}

TEST(VarianceOf, DividesByTheCount)
{
    EXPECT_DOUBLE_EQ(VarianceOf(std::vector<double>{1.0, 3.0}), 1.0);
    EXPECT_EQ(VarianceOf({}), 0.0);
}
