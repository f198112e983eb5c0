// The reference pulses, the rate that follows from them, and a whole run.

#include "forcecal_fixture.h"

#include "force/forcecal_trigger.h"

#include <cmath>
#include <limits>

class ForceCalRun : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        PretendUp();
        BringUp();
        g_forceCal.MaxFFT = 200000;
        g_forceCal.Frequency = 32;
        g_forceCal.CalLength = 1.0;
        g_forceCal.Averages = 2;
        g_forceCal.Bins = 10;
        g_forceCal.FitStopFrequency = 5000.0;
    }

    // Pulses of `width` samples at 5 V.
    static std::vector<double> Pulses(int32_t count, int32_t first, int32_t period, int32_t width)
    {
        std::vector<double> samples(count, 0.0);
        for (int32_t at = first; at < count; at += period) {
            for (int32_t i = at; i < std::min(at + width, count); ++i)
                samples[i] = 5.0;
        }
        return samples;
    }

    static ZVK_Pulses Find(const std::vector<double> &samples, int32_t deadZone)
    {
        return FindPulses(samples.data(), static_cast<int32_t>(samples.size()), deadZone);
    }
};

TEST_F(ForceCalRun, APulseIsThreeSamplesInARowAboveItsLevel)
{
    EXPECT_EQ(Find(Pulses(100, 10, 40, 2), 5).count, 0);
    const ZVK_Pulses pulses = Find(Pulses(100, 10, 40, 3), 5);
    EXPECT_EQ(pulses.count, 3);
    EXPECT_EQ(pulses.first, 10);
    EXPECT_EQ(pulses.last, 90);
    EXPECT_EQ(Find(std::vector<double>(100, 2.6), 5).count, 0) << "strictly above";
}

TEST_F(ForceCalRun, ThePulseThatTheStartCutsOffIsPassedOver)
{
    const ZVK_Pulses pulses = Find(Pulses(100, 0, 40, 4), 10);
    EXPECT_EQ(pulses.count, 2);
    EXPECT_EQ(pulses.first, 40);
}

TEST_F(ForceCalRun, BehindAPulseTheDeadZoneIsPassedOver)
{
    EXPECT_EQ(Find(Pulses(200, 10, 20, 3), 30).count, 5) << "every second pulse";
    EXPECT_EQ(Find(Pulses(200, 10, 20, 6), 3).count, 10)
        << "five samples on, less than three are left of a pulse";
    EXPECT_EQ(Find(Pulses(200, 10, 20, 8), 3).count, 20) << "a long pulse counts again";
}

TEST_F(ForceCalRun, TheLastTwoSamplesStartNoPulse)
{
    EXPECT_EQ(Find(Pulses(13, 10, 100, 3), 5).count, 1);
    EXPECT_EQ(Find(Pulses(12, 10, 100, 3), 5).count, 0);
    EXPECT_EQ(Find({}, 5).count, 0);
    EXPECT_EQ(Find({5.0}, 5).count, 0);
    EXPECT_EQ(Find({5.0, 5.0, 5.0, 5.0}, std::numeric_limits<int32_t>::min()).count, 0);
    EXPECT_EQ(Find(Pulses(100, 10, 20, 3), std::numeric_limits<int32_t>::max()).count, 1);
}

TEST_F(ForceCalRun, ATableHoldsAThousandPulses)
{
    const ZVK_Pulses pulses = Find(std::vector<double>(5000, 5.0), 1);
    EXPECT_EQ(pulses.count, 1000);
    EXPECT_EQ(pulses.first, 1);
    EXPECT_EQ(pulses.last, 1 + 2 * 999);
}

TEST_F(ForceCalRun, SevenThousandEightHundredTwelveSamplesAtAQuarterMegahertzAre32Hertz)
{
    const ZVK_RunRate rate = RateFromPulses({5, 100, 100 + 4 * 7812}, 250000.0);
    EXPECT_EQ(rate.cycleLength, 2048);
    EXPECT_DOUBLE_EQ(rate.sampleRate, 65540.19457245263);
    EXPECT_EQ(rate.frequency, 32.0);
    const ZVK_RunRate cut = RateFromPulses({3, 0, 2 * 7812 + 1}, 250000.0);
    EXPECT_EQ(cut.sampleRate, rate.sampleRate) << "periods are divided as whole numbers";
}

TEST_F(ForceCalRun, WithoutPulsesTheSettingsGiveTheRate)
{
    const ZVK_RunRate rate = RateFromSettings(32, 250000.0);
    EXPECT_EQ(rate.sampleRate, 65536.0);
    EXPECT_EQ(rate.cycleLength, 2048);
    EXPECT_EQ(rate.frequency, 32.0);
    EXPECT_EQ(RateFromSettings(32, 0.0).sampleRate, 0.0);
    EXPECT_EQ(RateFromSettings(32, 0.0).cycleLength, 0);
}

TEST_F(ForceCalRun, WhatHasNoPlaceIn32BitsIsTheSmallestNumber)
{
    constexpr int32_t kSmallest = std::numeric_limits<int32_t>::min();
    EXPECT_EQ(TruncateToLong(1.9), 1);
    EXPECT_EQ(TruncateToLong(-1.9), -1);
    EXPECT_EQ(TruncateToLong(2147483647.5), 2147483647);
    EXPECT_EQ(TruncateToLong(2147483648.0), kSmallest);
    EXPECT_EQ(TruncateToLong(std::numeric_limits<double>::infinity()), kSmallest);
    EXPECT_EQ(TruncateToLong(std::numeric_limits<double>::quiet_NaN()), kSmallest);
}

TEST_F(ForceCalRun, TheTriggerReadsTheReferenceForHalfASecondAndKeepsTheRate)
{
    g_force.MaxSampleRateSingleChannel = 250000.0;
    card->SetMaxRate(250000.0);
    card->SupplySamples(Pulses(125000, 500, 7812, 50));
    double rate = 0;
    int32_t cycle = 0;
    double frequency = 0;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, &cycle, &frequency), 0);
    EXPECT_EQ(clock->Delays(), (std::vector<double>{0.1}));
    const auto calls = card->Calls();
    EXPECT_EQ(calls[1],
              "createAIVoltageChan(t2, \"/Dev2/ai3\", \"\", 10106, -10, 10, 10348, null)");
    EXPECT_EQ(calls[3], "cfgSampClkTiming(t2, \"\", 250000, 10280, 10178, 125000)");
    EXPECT_EQ(calls[5], "readAnalogF64(t2, 1000, 10, 1, 1000)");
    EXPECT_EQ(cycle, g_forceCal.CycleLength);
    EXPECT_EQ(rate, g_forceCal.SampleRate);
    EXPECT_EQ(g_forceCal.Frequency, 32) << "the setting stays";
}

TEST_F(ForceCalRun, SlowOscillationsAreWatchedForFourPeriods)
{
    g_force.MaxSampleRateSingleChannel = 250000.0;
    card->SetMaxRate(250000.0);
    g_forceCal.Frequency = 4;
    (void)ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(card->Calls()[3], "cfgSampClkTiming(t2, \"\", 250000, 10280, 10178, 250000)");
}

TEST_F(ForceCalRun, TooFewPulsesAre1406WithUsableValues)
{
    g_force.MaxSampleRateSingleChannel = 250000.0;
    double rate = 0;
    int32_t cycle = 0;
    double frequency = 0;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, &cycle, &frequency),
              ZVK_FORCECAL_TOO_FEW_PULSES);
    EXPECT_EQ(rate, 65536.0);
    EXPECT_EQ(cycle, 2048);
    EXPECT_EQ(frequency, 32.0);
    EXPECT_EQ(g_forceCal.SampleRate, 65536.0);
}

TEST_F(ForceCalRun, AFailedAcquisitionEndsTheTriggerWithItsStatus)
{
    double rate = -1;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, nullptr, nullptr),
              ZVK_FORCECAL_TOO_FEW_PULSES);
    g_force.Busy = 1;
    rate = -1;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, nullptr, nullptr), ZVK_FORCE_BUSY);
    EXPECT_EQ(rate, -1);
    g_force.Busy = 0;
    g_forceCal.Frequency = 0;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, nullptr, nullptr),
              ZVK_FORCE_TOO_FEW_SAMPLES);
}

TEST_F(ForceCalRun, ChecksThePathThenTheAxis)
{
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 2, 4), ZVK_FORCECAL_BAD_PATH);
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, -1, 4), ZVK_FORCECAL_BAD_PATH);
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 1, 4), ZVK_FORCECAL_BAD_AXIS);
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 1, -1), ZVK_FORCECAL_BAD_AXIS);
    EXPECT_TRUE(card->Calls().empty());
}

TEST_F(ForceCalRun, ARunRecordsWholePeriodsTimesSegmentsOfOnePath)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    g_forceCal.Averages = 10;
    card->SupplySamples({0.5, -0.25, 2.0, 1.0, 0.75, 4.0});
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 1, 3), 0);
    const auto calls = card->Calls();
    EXPECT_EQ(calls[1],
              "createAIVoltageChan(t2, \"/Dev2/ai4:6\", \"\", 10106, -10, 10, 10348, null)");
    EXPECT_EQ(calls[3], "cfgSampClkTiming(t2, \"\", 65536, 10280, 10178, 655360)");
    EXPECT_EQ(calls[5], "readAnalogF64(t2, 1000, -1, 1, 3000)") << "without a time-out";
    const ZVK_ForceCalDataContainer &data = Still(1);
    EXPECT_EQ(data.NumberOfSamples, 655360);
    EXPECT_EQ(data.Averages, 10);
    EXPECT_EQ(data.SampleRate, 65536.0);
    EXPECT_EQ(data.OscAxis, 3);
    EXPECT_EQ(data.OscFrequency, -1.0);
    EXPECT_EQ(data.OscAmplitude, 0.0);
    EXPECT_EQ(data.TD[0][0], 0.25) << "X / sum";
    EXPECT_EQ(data.TD[1][1], 0.1875);
    EXPECT_EQ(data.TD[2][1], 4.0);
    EXPECT_EQ(data.NumberOfFrequencies, 32768);
    EXPECT_EQ(data.TDCorrectedValid, 1);
    EXPECT_EQ(data.FDFitValid, 1);
    EXPECT_EQ(data.PotValid, 1);
    EXPECT_NE(data.PotFitCurve[0], nullptr);
    EXPECT_NE(data.Histogram2D[0], nullptr);
    EXPECT_EQ(clock->Delays(), (std::vector<double>{0.1}));
}

TEST_F(ForceCalRun, ARunAlongAnAxisKnowsItsOscillation)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    g_forceCal.Amplitude = 0.3;
    g_forceCal.CalLength = 1.99 / 32.0;
    card->SupplySamples({0.5, -0.25, 2.0});
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 1), 0);
    const ZVK_ForceCalDataContainer &data = g_forceCal.Data[0][1];
    EXPECT_EQ(data.OscFrequency, 32.0);
    EXPECT_EQ(data.OscAmplitude, 0.3);
    EXPECT_EQ(data.OscAxis, 1);
    EXPECT_EQ(data.NumberOfSamples, 4096) << "periods are cut off";
    EXPECT_EQ(data.PotValid, 0);
}

TEST_F(ForceCalRun, ASumOfZeroDoesNotMakeSignalsInfinite)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    card->SupplySamples({1e-10, 0.0, 0.0});
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0);
    EXPECT_EQ(Still(0).TD[0][0], 1.0);
    EXPECT_EQ(Still(0).TD[2][0], 1e-10);
}

TEST_F(ForceCalRun, AnAcquisitionThatFailsFlowsOnAsZeros)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    g_force.Busy = 1;
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0);
    EXPECT_EQ(Still(0).TDValid, 1);
    EXPECT_EQ(Still(0).TD[0][5], 0.0);
    EXPECT_EQ(Still(0).FD[0][100], 0.0);
}

TEST_F(ForceCalRun, WithoutARateThereAreNoSamples)
{
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), ZVK_FORCECAL_NO_TIME_DATA);
    EXPECT_EQ(Still(0).NumberOfSamples, 0);
    g_force.Busy = 0;
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    g_forceCal.Averages = 1000000;
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), ZVK_FORCECAL_NO_TIME_DATA)
        << "more samples than can be counted";
}

TEST_F(ForceCalRun, ASpectrumThatIsTooLongEndsTheRun)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    g_forceCal.MaxFFT = 100;
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), ZVK_FORCECAL_SPECTRUM_TOO_LONG);
    EXPECT_EQ(Still(0).FDValid, 0);
    EXPECT_EQ(Still(0).FDFitValid, 0);
    EXPECT_EQ(Still(0).TDCorrectedValid, 1);
}

TEST_F(ForceCalRun, ASecondRunReplacesTheFirst)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    card->SupplySamples({0.5, -0.25, 2.0});
    ASSERT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0);
    g_forceCal.Averages = 1;
    ASSERT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0);
    EXPECT_EQ(Still(0).NumberOfSamples, 65536);
}
