// The distribution behind all that jitters: what a detector at a stuck bead gives is its noise
// alone, one normal number a sample.

#include <quorvex-virtual/beads.h>
#include <quorvex-virtual/daq.h>
#include <quorvex-virtual/daqmx_calls.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

constexpr double kRate = 100000.0;
constexpr int32_t kSamples = 4000000;

// Normal numbers of deviation 1: the detector's noise has just that deviation at this rate.
static const std::vector<double> &Numbers()
{
    static const std::vector<double> kept = [] {
        ZVC_Reset();
        (void)ZVC_SetPace(ZVC_PACE_FAST);
        VirtualBeadsSettings settings;
        settings.seed = 20;
        settings.beads[0].noise = std::sqrt(2.0 / kRate);
        VirtualBeads beads(settings);
        EXPECT_TRUE(beads.Attach({}));
        beads.SetStuck(true);
        std::vector<double> numbers(kSamples);
        ZVC_Task task = nullptr;
        int32_t got = 0;
        EXPECT_EQ(DAQmxCreateTask("", &task), 0);
        EXPECT_EQ(
            DAQmxCreateAIVoltageChan(task, "SUBDAQ/ai0", "", 10106, -10.0, 10.0, 10348, nullptr),
            0);
        EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", kRate, 10280, 10178, kSamples), 0);
        EXPECT_EQ(
            DAQmxReadAnalogF64(task, kSamples, -1.0, 0, numbers.data(), kSamples, &got, nullptr),
            0);
        EXPECT_EQ(got, kSamples);
        ZVC_Reset();
        return numbers;
    }();
    return kept;
}

// The share of the numbers that lie between two places, in closed form.
static double Share(double from, double to)
{
    return 0.5 * (std::erfc(from / std::sqrt(2.0)) - std::erfc(to / std::sqrt(2.0)));
}

TEST(BeadsNormal, EachStretchHoldsItsShare)
{
    const double width = 0.05;
    const int half = 90;  // to 4.5 deviations
    std::vector<double> counts(2 * half);
    for (const double x : Numbers()) {
        const double place = std::floor(x / width) + half;
        if (place >= 0.0 && place < 2.0 * half) counts[static_cast<size_t>(place)] += 1.0;
    }
    double squares = 0.0;
    for (int i = 0; i < 2 * half; ++i) {
        const double from = (i - half) * width;
        const double expected = kSamples * Share(from, from + width);
        const double off = counts[static_cast<size_t>(i)] - expected;
        EXPECT_LT(std::fabs(off), 5.0 * std::sqrt(expected)) << from;
        squares += off * off / expected;
    }
    // Chi squared with 180 degrees of freedom: a deviation of the square root of 360.
    EXPECT_NEAR(squares, 180.0, 4.0 * std::sqrt(360.0));
}

// The tails are made another way than the rest.
TEST(BeadsNormal, TheTailsReachOutAsFarAsTheyShould)
{
    for (const double from : {3.6541528853610088, 4.0, 4.4, 4.8}) {
        const double expected = kSamples * Share(from, 40.0);
        const auto count = [&](auto isOut) {
            return static_cast<double>(std::count_if(Numbers().begin(), Numbers().end(), isOut));
        };
        EXPECT_NEAR(count([=](double x) { return x > from; }), expected, 4.0 * std::sqrt(expected))
            << from;
        EXPECT_NEAR(count([=](double x) { return x < -from; }), expected, 4.0 * std::sqrt(expected))
            << from;
    }
}

TEST(BeadsNormal, MomentsAndNeighboursAreThoseOfIndependentNormalNumbers)
{
    double powers[5] = {};
    double neighbours[4] = {};
    const std::vector<double> &numbers = Numbers();
    for (size_t i = 0; i < numbers.size(); ++i) {
        double power = 1.0;
        for (double &sum : powers) {
            sum += power / kSamples;
            power *= numbers[i];
        }
        for (size_t lag = 1; lag <= 4 && lag <= i; ++lag)
            neighbours[lag - 1] += numbers[i] * numbers[i - lag] / kSamples;
    }
    // The variances of x, x^2, x^3 and x^4 are 1, 2, 15 and 96.
    const double root = std::sqrt(static_cast<double>(kSamples));
    EXPECT_NEAR(powers[1], 0.0, 4.0 / root);
    EXPECT_NEAR(powers[2], 1.0, 4.0 * std::sqrt(2.0) / root);
    EXPECT_NEAR(powers[3], 0.0, 4.0 * std::sqrt(15.0) / root);
    EXPECT_NEAR(powers[4], 3.0, 4.0 * std::sqrt(96.0) / root);
    for (const double product : neighbours)
        EXPECT_NEAR(product, 0.0, 4.0 / root);
}
