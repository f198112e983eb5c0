// The virtual beads against closed forms: what they are made to do is what a calibration looks for.

#include <quorvex-virtual/beads.h>
#include <quorvex-virtual/daq.h>
#include <quorvex-virtual/daqmx_calls.h>
#include <quorvex-virtual/stage.h>

#include "scratch_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <fstream>
#include <iterator>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

using Samples = std::vector<double>;

constexpr double kTurn = 2.0 * std::numbers::pi;

// Reads every channel in blocks of a size; channel c of sample s at [c][s].
static std::vector<Samples> Read(const std::string &channels, double rate, size_t samples,
                                 uint32_t block)
{
    const size_t count = static_cast<size_t>(std::count(channels.begin(), channels.end(), ',')) + 1;
    std::vector<Samples> signals(count);
    ZVC_Task task = nullptr;
    EXPECT_EQ(DAQmxCreateTask("", &task), 0);
    EXPECT_EQ(
        DAQmxCreateAIVoltageChan(task, channels.c_str(), "", 10106, -10.0, 10.0, 10348, nullptr),
        0);
    EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", rate, 10280, 10178, samples), 0);
    Samples scans(block * count);
    for (size_t had = 0; had < samples;) {
        int32_t got = 0;
        EXPECT_GE(DAQmxReadAnalogF64(task, static_cast<int32_t>(block), 10.0, 1, scans.data(),
                                     static_cast<uint32_t>(scans.size()), &got, nullptr),
                  0);
        if (got <= 0) break;
        for (size_t i = 0; i < static_cast<size_t>(got) * count; ++i)
            signals[i % count].push_back(scans[i]);
        had += static_cast<size_t>(got);
    }
    EXPECT_EQ(DAQmxClearTask(task), 0);
    return signals;
}

static double Mean(const Samples &values)
{
    double sum = 0.0;
    for (const double value : values)
        sum += value;
    return sum / static_cast<double>(values.size());
}

static double Variance(const Samples &values)
{
    const double mean = Mean(values);
    double sum = 0.0;
    for (const double value : values)
        sum += (value - mean) * (value - mean);
    return sum / static_cast<double>(values.size());
}

// One number of the transform, at so many periods over all samples.
static std::complex<double> Wave(const Samples &values, double periods)
{
    std::complex<double> sum = 0.0;
    for (size_t i = 0; i < values.size(); ++i)
        sum += values[i] * std::polar(1.0, -kTurn * periods * static_cast<double>(i) /
                                               static_cast<double>(values.size()));
    return sum;
}

class Beads : public testing::Test
{
protected:
    void SetUp() override
    {
        ZVC_Reset();
        (void)ZVC_SetPace(ZVC_PACE_FAST);
    }
    void TearDown() override { ZVC_Reset(); }

    // Without noise of the detectors, and quiet but for one axis.
    static VirtualBeadsSettings Quiet(uint64_t seed)
    {
        VirtualBeadsSettings settings;
        settings.seed = seed;
        for (VirtualBead &bead : settings.beads)
            bead.noise = 0.0;
        return settings;
    }

    // The bead's place in metres, from its two signals.
    static Samples Place(const VirtualBeads &beads, const Samples &signal, const Samples &sum)
    {
        Samples metres(signal.size());
        for (size_t i = 0; i < signal.size(); ++i)
            metres[i] = signal[i] / sum[i] * beads.Truth(0, 0).sensitivity;
        return metres;
    }

    static Samples PlaceAlongX(const VirtualBeads &beads, double rate, size_t samples)
    {
        const auto signals = Read("SUBDAQ/ai0,SUBDAQ/ai2", rate, samples, 1000);
        return Place(beads, signals[0], signals[1]);
    }
};

TEST_F(Beads, TheTruthFollowsFromTheSettings)
{
    const VirtualBeads beads({.temperatureK = 300.0, .viscosity = 1e-3});
    const VirtualBeadTruth truth = beads.Truth(0, 0);
    EXPECT_DOUBLE_EQ(truth.stiffness, 5e-5);
    EXPECT_NEAR(truth.drag, 9.42477796076938e-9, 1e-22);
    EXPECT_NEAR(truth.cornerFrequency, 844.3430, 1e-3);
    EXPECT_NEAR(truth.deviation, std::sqrt(1.380649e-23 * 300.0 / 5e-5), 1e-20);
    EXPECT_DOUBLE_EQ(beads.Truth(1, 2).stiffness, 8e-6);
    EXPECT_DOUBLE_EQ(beads.Truth(1, 1).sensitivity, 1.15e-6);
}

// The samples of a bead at a trap are a Gaussian sequence with the variance kT/K and the
// autocovariance kT/K exp(-2 pi fc t). A mean of N squares of it has the relative variance
// (2/N)(1+e^2)/(1-e^2), with e the correlation of neighbours.
TEST_F(Beads, VarianceAndCorrelationAreThoseOfTheTrapAtAnyRate)
{
    for (const double rate : {500.0, 20000.0, 200000.0}) {
        VirtualBeads beads(Quiet(11));
        ASSERT_TRUE(beads.Attach({}));
        const VirtualBeadTruth truth = beads.Truth(0, 0);
        const size_t samples = 400000;
        const Samples x = PlaceAlongX(beads, rate, samples);
        const double e = std::exp(-kTurn * truth.cornerFrequency / rate);
        const double expected = truth.deviation * truth.deviation;
        const double error = expected * std::sqrt(2.0 / samples * (1.0 + e * e) / (1.0 - e * e));
        EXPECT_NEAR(Variance(x), expected, 4.0 * error) << rate;
        double sum = 0.0;
        for (size_t i = 1; i < samples; ++i)
            sum += x[i] * x[i - 1];
        EXPECT_NEAR(sum / samples, expected * e, 4.0 * error) << rate;
        EXPECT_NEAR(Mean(x), 0.0,
                    4.0 * truth.deviation * std::sqrt((1.0 + e) / (1.0 - e) / samples))
            << rate;
    }
}

// The spectrum of the sampled motion, folded at half the sample rate, in closed form (K.
// Berg-Sorensen and H. Flyvbjerg, Review of Scientific Instruments 75, 2004, 594, eq. 41).
TEST_F(Beads, TheSpectrumIsTheFoldedLorentzian)
{
    VirtualBeads beads(Quiet(5));
    ASSERT_TRUE(beads.Attach({}));
    const VirtualBeadTruth truth = beads.Truth(0, 0);
    const double rate = 20000.0;
    const size_t length = 2000;
    const int segments = 100;
    const Samples x = PlaceAlongX(beads, rate, length * segments);
    const double e = std::exp(-kTurn * truth.cornerFrequency / rate);
    const double kick = truth.deviation * truth.deviation * (1.0 - e * e);
    for (const double periods : {3.0, 20.0, 85.0, 300.0, 999.0}) {
        double power = 0.0;
        for (int s = 0; s < segments; ++s) {
            const auto first = x.begin() + static_cast<std::ptrdiff_t>(length) * s;
            power += std::norm(
                Wave(Samples(first, first + static_cast<std::ptrdiff_t>(length)), periods));
        }
        power /= segments * static_cast<double>(length);
        const double angle = kTurn * periods / static_cast<double>(length);
        const double expected = kick / (1.0 + e * e - 2.0 * e * std::cos(angle));
        EXPECT_NEAR(power, expected, 4.0 * expected / std::sqrt(segments)) << periods;
    }
}

TEST_F(Beads, OneSeedGivesOneSeriesHoweverItIsCutAndAnotherSeedAnotherOne)
{
    const auto series = [](uint64_t seed, uint32_t block) {
        ZVC_Reset();
        (void)ZVC_SetPace(ZVC_PACE_FAST);
        VirtualBeads beads({.seed = seed});
        EXPECT_TRUE(beads.Attach({}));
        return Read("SUBDAQ/ai0,SUBDAQ/ai1,SUBDAQ/ai2,SUBDAQ/ai4", 10000.0, 6000, block);
    };
    const auto whole = series(3, 6000);
    EXPECT_TRUE(series(3, 1000) == whole);
    EXPECT_TRUE(series(3, 8) == whole);
    const auto other = series(4, 6000);
    for (size_t c = 0; c < whole.size(); ++c)
        EXPECT_FALSE(other[c] == whole[c]) << c;
    for (size_t c = 1; c < whole.size(); ++c)
        EXPECT_FALSE(whole[0] == whole[c]) << c;
}

TEST_F(Beads, ACardThatBeginsItsTimeAnewDoesNotSeeTheSameJitterAgain)
{
    VirtualBeads beads(Quiet(6));
    ASSERT_TRUE(beads.Attach({}));
    const Samples first = Read("SUBDAQ/ai0", 10000.0, 1000, 1000)[0];
    ZVC_Reset();
    (void)ZVC_SetPace(ZVC_PACE_FAST);
    ASSERT_TRUE(beads.Attach({}));
    const Samples second = Read("SUBDAQ/ai0", 10000.0, 1000, 1000)[0];
    EXPECT_NE(first[0], second[0]);
    EXPECT_NE(first[999], second[999]);
}

TEST_F(Beads, SettingsThatNoBeadCanHaveAreRefused)
{
    using Change = void (*)(VirtualBeadsSettings &);
    const Change bad[] = {
        [](VirtualBeadsSettings &s) { s.temperatureK = -1.0; },
        [](VirtualBeadsSettings &s) { s.viscosity = 0.0; },
        [](VirtualBeadsSettings &s) { s.beads[0].diameterM = std::nan(""); },
        [](VirtualBeadsSettings &s) { s.beads[1].stiffness[2] = 0.0; },
        [](VirtualBeadsSettings &s) { s.beads[0].stiffness[1] = -1e-5; },
        [](VirtualBeadsSettings &s) { s.beads[1].sensitivity[0] = 0.0; },
        [](VirtualBeadsSettings &s) { s.beads[0].sumVolts = HUGE_VAL; },
        [](VirtualBeadsSettings &s) { s.beads[1].noise = -1e-9; },
        [](VirtualBeadsSettings &s) { s.beads[0].rangeM = 0.0; },
    };
    for (size_t i = 0; i < std::size(bad); ++i) {
        VirtualBeadsSettings settings;
        bad[i](settings);
        EXPECT_THROW(VirtualBeads{settings}, std::invalid_argument) << i;
    }
    VirtualBeadsSettings still;
    still.temperatureK = 0.0;
    still.beads[0].noise = 0.0;
    still.beads[0].sensitivity[0] = -1e-6;  // a detector that is turned round
    EXPECT_NO_THROW(VirtualBeads{still});
}

TEST_F(Beads, APauseKeepsTheCorrelationThatIsLeft)
{
    VirtualBeadsSettings settings = Quiet(17);
    settings.beads[0].stiffness[0] = 1e-8;  // 0.17 Hz: it hardly moves in a millisecond
    VirtualBeads beads(settings);
    ASSERT_TRUE(beads.Attach({}));
    const double deviation = beads.Truth(0, 0).deviation;
    Samples before = PlaceAlongX(beads, 10000.0, 1000);
    Samples after = PlaceAlongX(beads, 10000.0, 1000);
    EXPECT_NE(before.back(), after.front());
    EXPECT_NEAR(before.back(), after.front(), 0.1 * deviation);
}

TEST_F(Beads, XAndYAreSharesOfTheSumAndZIsTheSum)
{
    VirtualBeadsSettings settings = Quiet(2);
    VirtualBeads beads(settings);
    ASSERT_TRUE(beads.Attach({}));
    const auto signals = Read("SUBDAQ/ai4,SUBDAQ/ai5,SUBDAQ/ai6", 50000.0, 200000, 1000);
    Samples shares[3] = {Samples(200000), Samples(200000), signals[2]};
    for (size_t i = 0; i < 200000; ++i) {
        shares[0][i] = signals[0][i] / signals[2][i];
        shares[1][i] = signals[1][i] / signals[2][i];
    }
    EXPECT_NEAR(Mean(shares[2]), 2.0, 0.001);
    for (int axis = 0; axis < 3; ++axis) {
        const VirtualBeadTruth truth = beads.Truth(1, axis);
        EXPECT_NEAR(std::sqrt(Variance(shares[axis])) * truth.sensitivity / truth.deviation, 1.0,
                    0.05)
            << axis;
    }
}

TEST_F(Beads, DetectorNoiseIsWhiteAndOfTheGivenDensity)
{
    VirtualBeadsSettings settings;
    settings.beads[0].noise = 1e-5;
    VirtualBeads beads(settings);
    ASSERT_TRUE(beads.Attach({}));
    beads.SetStuck(true);
    for (const double rate : {1000.0, 100000.0}) {
        const auto signals = Read("SUBDAQ/ai0,SUBDAQ/ai2", rate, 100000, 1000);
        EXPECT_NEAR(std::sqrt(Variance(signals[0])), 1e-5 * std::sqrt(rate / 2.0),
                    0.01 * 1e-5 * std::sqrt(rate / 2.0));
        EXPECT_NEAR(Mean(signals[1]), 2.0, 1e-3);
    }
}

// A stage that oscillates with amplitude A drags the bead through A / sqrt(1 + (fc/f)^2).
TEST_F(Beads, TheFluidDragsABeadAsAHighPassDoes)
{
    VirtualBeads beads(Quiet(9));
    VirtualStage stage({.onTrigger = beads.StageListener()});
    beads.FollowStage(stage);
    ASSERT_TRUE(beads.Attach({}));
    for (const char *command :
         {"SVO 1 1", "WTR 1 1 0", "WAV 1 X SIN_P 625 4 28 625 0 312", "CTO 1 3 4", "WGO 1 17"})
        EXPECT_EQ(stage.Ask(command), "") << command;
    ASSERT_TRUE(stage.State(0).oscillates);
    const double hertz = 32.0;
    const size_t samples = 20000;
    const VirtualBeadTruth truth = beads.Truth(0, 0);
    const Samples x = PlaceAlongX(beads, 20000.0, samples);
    const double amplitude = 2.0 * std::abs(Wave(x, hertz)) / samples;
    const double expected = 2e-6 / std::sqrt(1.0 + std::pow(truth.cornerFrequency / hertz, 2.0));
    // The jitter in that one bin, from the Lorentzian's plateau.
    const double plateau =
        4.0 * truth.deviation * truth.deviation / (kTurn * truth.cornerFrequency);
    EXPECT_NEAR(amplitude, expected, 4.0 * std::sqrt(plateau) + 1e-4 * expected);
    EXPECT_GT(expected, 100.0 * std::sqrt(plateau)) << "the test can tell";

    EXPECT_EQ(stage.Ask("WGO 1 0"), "");
    const Samples rest = PlaceAlongX(beads, 20000.0, samples);
    EXPECT_LT(2.0 * std::abs(Wave(rest, hertz)) / samples, 8.0 * std::sqrt(plateau));
}

static std::vector<size_t> Rises(const Samples &volts)
{
    std::vector<size_t> rises;
    for (size_t i = 1; i < volts.size(); ++i) {
        if (volts[i] > 2.6 && volts[i - 1] <= 2.6) rises.push_back(i);
    }
    return rises;
}

TEST_F(Beads, ThePulsesComeOnceAPeriodWhileTheStageOscillates)
{
    VirtualBeads beads;
    VirtualStage stage({.onTrigger = beads.StageListener()});
    beads.FollowStage(stage);
    ASSERT_TRUE(beads.Attach({}));
    EXPECT_EQ(Rises(Read("SUBDAQ/ai3", 100000.0, 50000, 1000)[0]).size(), 0U);
    for (const char *command :
         {"SVO 1 1", "WTR 1 1 0", "WAV 1 X SIN_P 625 1 28 625 0 312", "CTO 1 3 4", "WGO 1 17"})
        (void)stage.Ask(command);
    const auto rises = Rises(Read("SUBDAQ/ai3", 100000.0, 50000, 1000)[0]);
    ASSERT_GE(rises.size(), 15U);
    for (size_t i = 1; i < rises.size(); ++i)
        EXPECT_NEAR(static_cast<double>(rises[i] - rises[i - 1]), 3125.0, 1.0);
    (void)stage.Ask("WGO 1 0");
    EXPECT_EQ(Rises(Read("SUBDAQ/ai3", 100000.0, 50000, 1000)[0]).size(), 0U);
}

// The other stage is two outputs of the card, which play a period over and over.
TEST_F(Beads, OutputsDragTheFluidAndGiveThePulsesToo)
{
    VirtualBeads beads(Quiet(21));
    beads.FollowOutputs({.channels = {"SUBDAQ/ao0", "SUBDAQ/ao1"}, .voltsPerMicrometre = 0.1});
    ASSERT_TRUE(beads.Attach({}));
    const int period = 400;
    Samples wave(static_cast<size_t>(2 * period), 5.0);
    for (int i = 0; i < period; ++i)
        wave[static_cast<size_t>(i)] = 5.0 + 0.2 * std::sin(kTurn * i / period);
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
    ASSERT_EQ(DAQmxCreateAOVoltageChan(task, "SUBDAQ/ao0:1", "", 0.0, 10.0, 10348, ""), 0);
    ASSERT_EQ(DAQmxCfgSampClkTiming(task, "", 32.0 * period, 10280, 10123, period), 0);
    ASSERT_EQ(DAQmxWriteAnalogF64(task, period, 0, 1.0, 0, wave.data(), nullptr, nullptr), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    const Samples x = PlaceAlongX(beads, 20000.0, 40000);
    const Samples second(x.begin() + 20000, x.end());
    const VirtualBeadTruth truth = beads.Truth(0, 0);
    const double amplitude = 2.0 * std::abs(Wave(second, 32.0)) / 20000.0;
    const double expected = 2e-6 / std::sqrt(1.0 + std::pow(truth.cornerFrequency / 32.0, 2.0));
    const double plateau =
        4.0 * truth.deviation * truth.deviation / (kTurn * truth.cornerFrequency);
    EXPECT_NEAR(amplitude, expected, 4.0 * std::sqrt(plateau) + 1e-3 * expected);
    const auto rises = Rises(Read("SUBDAQ/ai3", 100000.0, 50000, 1000)[0]);
    ASSERT_GE(rises.size(), 14U);
    for (size_t i = 1; i < rises.size(); ++i)
        EXPECT_NEAR(static_cast<double>(rises[i] - rises[i - 1]), 3125.0, 8.0);
    EXPECT_EQ(DAQmxClearTask(task), 0);
    EXPECT_EQ(Rises(Read("SUBDAQ/ai3", 100000.0, 50000, 1000)[0]).size(), 0U);
}

TEST_F(Beads, AStuckBeadMovesWithTheStageUpToTheDetectorsEnd)
{
    VirtualBeads beads(Quiet(1));
    VirtualStage stage;
    beads.FollowStage(stage);
    ASSERT_TRUE(beads.Attach({}));
    for (const char *command : {"SVO 1 1", "VCO 1 0"})
        (void)stage.Ask(command);
    beads.SetStuck(true);
    const double start = stage.State(0).position;
    for (const auto &[away, seen] :
         {std::pair{0.0, 0.0}, {0.15, 0.15}, {-0.4, -0.4}, {3.0, 1.0}, {-2.0, -1.0}})
    {
        (void)stage.Ask("MOV 1 " + std::to_string(start + away));
        const Samples x = PlaceAlongX(beads, 10000.0, 1000);
        EXPECT_NEAR(Mean(x) * 1e6, seen, 1e-6) << away;
        EXPECT_LT(Variance(x), 1e-24);
    }
    beads.SetStuck(false);
    EXPECT_GT(std::sqrt(Variance(PlaceAlongX(beads, 1000.0, 1000))), 1e-9);
}

TEST_F(Beads, InputsThatAreNoneAreRefusedAndTheEndLeavesThemAtZero)
{
    {
        VirtualBeads beads;
        EXPECT_FALSE(beads.Attach({.pathA = {"SUBDAQ/ai0", "", "no input"}}));
        EXPECT_TRUE(beads.Attach({}));
        EXPECT_GT(Variance(Read("SUBDAQ/ai0", 1000.0, 1000, 1000)[0]), 0.0);
    }
    EXPECT_EQ(Read("SUBDAQ/ai0", 1000.0, 1000, 1000)[0], Samples(1000, 0.0));
}

TEST_F(Beads, TheTruthIsWrittenWholeOrNotAtAll)
{
    const ScratchFolder folder;
    const VirtualBeads beads({.seed = 42});
    const std::string file = folder.Path("truth.ini");
    ASSERT_TRUE(beads.WriteTruth(file));
    const std::string text = folder.Read("truth.ini");
    for (const char *line : {"[FLUID]\nTEMPERATURE_K = 293.14999999999998\n", "SEED = 42\n",
                             "[PATH A]\n", "STIFFNESS_X_N_PER_M = 5.0000000000000002e-05\n",
                             "[PATH B]\n", "SENSITIVITY_Z_M_PER_V = 3.4999999999999999e-06\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << "in\n" << text;
    EXPECT_FALSE(beads.WriteTruth(folder.Path("none") + "/truth.ini"));
    EXPECT_EQ(folder.Read("truth.ini"), text);
}
