// The reference pulses, the rate that follows from them, and a whole run.

#include "forcecal_fixture.h"

#include "failing_memory.h"
#include "force/forcecal_trigger.h"

#include <algorithm>
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
    // At this rate the dead zone is longer than a period, so that every second pulse counts.
    EXPECT_EQ(cycle, 4096);
    EXPECT_DOUBLE_EQ(rate, 65540.19457245263) << "from the pulses, not from the setting";
    EXPECT_EQ(frequency, 16.0);
    EXPECT_EQ(cycle, g_forceCal.CycleLength);
    EXPECT_EQ(rate, g_forceCal.SampleRate);
    EXPECT_EQ(g_forceCal.Frequency, 32) << "the setting stays";
}

TEST_F(ForceCalRun, ThreePulsesAreEnoughAndTwoAreNot)
{
    g_force.MaxSampleRateSingleChannel = 250000.0;
    card->SetMaxRate(250000.0);
    for (const int count : {2, 3}) {
        std::vector<double> samples(125000, 0.0);
        for (int pulse = 0; pulse < count; ++pulse)
            std::fill_n(samples.begin() + 1000 + 10000 * pulse, 10, 5.0);  // every 1 / 25 s
        card->SupplySamples(samples);
        double frequency = 0;
        EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, &frequency),
                  count < 3 ? ZVK_FORCECAL_TOO_FEW_PULSES : 0);
        EXPECT_EQ(frequency, count < 3 ? 32.0 : 25.0);
        EXPECT_EQ(g_forceCal.CycleLength, 2048);
        EXPECT_EQ(g_forceCal.SampleRate, count < 3 ? 65536.0 : 2048 * 25.0);
        EXPECT_EQ(g_forceCal.Frequency, 32);
    }
}

TEST_F(ForceCalRun, EachOutputOfTheTriggerMayBeNull)
{
    g_force.MaxSampleRateSingleChannel = 250000.0;
    double rate = 0;
    int32_t cycle = 0;
    double frequency = 0;
    (void)ZVK_ForceCal_TriggerCalibration(0, nullptr, &cycle, &frequency);
    EXPECT_EQ(g_forceCal.SampleRate, 65536.0) << "kept all the same";
    (void)ZVK_ForceCal_TriggerCalibration(0, &rate, nullptr, nullptr);
    EXPECT_EQ(cycle, 2048);
    EXPECT_EQ(rate, 65536.0);
    EXPECT_EQ(frequency, 32.0);
}

TEST_F(ForceCalRun, ReferenceSamplesOfAnyKindGiveUsableValues)
{
    g_force.MaxSampleRateSingleChannel = 250000.0;
    card->SetMaxRate(250000.0);
    for (const double sample : {std::nan(""), HUGE_VAL, -HUGE_VAL, 5.0}) {
        card->SupplySamples({sample});
        for (const int32_t frequency : {1, 32, 5000, 300000, 2000000000}) {
            g_forceCal.Frequency = frequency;
            (void)ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, nullptr);
            EXPECT_TRUE(std::isfinite(g_forceCal.SampleRate)) << sample << " " << frequency;
            EXPECT_GE(g_forceCal.CycleLength, 0);
        }
    }
}

TEST_F(ForceCalRun, MoreThanAThousandPulsesAreCountedToAThousand)
{
    g_force.MaxSampleRateSingleChannel = 250000.0;
    card->SetMaxRate(250000.0);
    g_forceCal.Frequency = 5000;  // a dead zone of 60 samples
    card->SupplySamples(Pulses(100, 20, 100, 5));
    double frequency = 0;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, &frequency), 0);
    EXPECT_EQ(frequency, 2500.0) << "1250 pulses in half a second";
    EXPECT_EQ(g_forceCal.CycleLength, 32);
    EXPECT_EQ(g_forceCal.SampleRate, 32 * 2500.0);
}

TEST_F(ForceCalRun, AReferenceThatTimesOutEndsTheTriggerAndKeepsTheRate)
{
    g_force.MaxSampleRateSingleChannel = 250000.0;
    g_forceCal.SampleRate = 1234.0;
    g_forceCal.CycleLength = 77;
    card->FailCall("readAnalogF64", 3, -200284);
    double rate = -1;
    FailingMemory memory;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, nullptr, nullptr), ZVK_FORCE_NO_TRIGGER);
    EXPECT_EQ(rate, -1);
    EXPECT_EQ(g_forceCal.SampleRate, 1234.0);
    EXPECT_EQ(g_forceCal.CycleLength, 77);
    EXPECT_EQ(memory.Live(), 0) << "the block is released";
}

TEST_F(ForceCalRun, SlowOscillationsAreWatchedForFourPeriods)
{
    g_force.MaxSampleRateSingleChannel = 250000.0;
    card->SetMaxRate(250000.0);
    g_forceCal.Frequency = 4;
    (void)ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, nullptr);
    EXPECT_EQ(card->Calls()[3], "cfgSampClkTiming(t2, \"\", 250000, 10280, 10178, 250000)");
    for (const auto &[frequency, samples] : {std::pair{7, "142857)"}, {8, "125000)"}}) {
        g_forceCal.Frequency = frequency;
        card->ForgetCalls();
        (void)ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, nullptr);
        EXPECT_TRUE(card->Calls()[3].ends_with(samples)) << card->Calls()[3];
    }
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
    g_forceCal.Amplitude = 0.3;
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

TEST_F(ForceCalRun, SamplesOfAnyKindAreAnalysedWithoutHarm)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    g_forceCal.CalLength = 2.0 / 32.0;
    g_forceCal.SubtractDrift = 1;
    const std::vector<double> kinds[] = {
        {std::nan(""), std::nan(""), std::nan("")},
        {1.0, std::nan(""), 2.0, 0.5, -0.5, 2.0},
        {HUGE_VAL, -HUGE_VAL, 1.0, 0.0, 1.0, 2.0},
        {1e308, -1e308, 5e-324},
        {0.0, 0.0, 0.0},
        {-0.0, 1.0, -1e-11},
    };
    for (const auto &samples : kinds) {
        card->SupplySamples(samples);
        EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0);
        EXPECT_EQ(Still(0).NumberOfSamples, 8192);
        EXPECT_EQ(Still(0).TDValid, 1);
        EXPECT_EQ(Still(0).FDValid, 1);
    }
}

TEST_F(ForceCalRun, ZerosOfTheSumBecomeATenBillionthOfEitherSign)
{
    double sum[] = {0.0, -0.0, 1e-11, -1e-11, 1e-10, -1e-10, 2.0, -2.0};
    ZVK_ForceCal_RemoveZeros(sum, 8);
    EXPECT_EQ(std::vector<double>(sum, sum + 8),
              (std::vector<double>{1e-10, 1e-10, 1e-10, 1e-10, 1e-10, -1e-10, 2.0, -2.0}));
}

TEST_F(ForceCalRun, AveragesOfZeroOrLessGiveNoSamplesAndNoSpectrum)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    for (const int32_t averages : {0, -1, std::numeric_limits<int32_t>::min()}) {
        g_force.Busy = 0;
        g_forceCal.Averages = averages;
        EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), ZVK_FORCECAL_NO_TIME_DATA) << averages;
        int32_t entries = 7;
        (void)ZVK_ForceCal_ReturnData(0, 0, 3, 1, 0, &entries, nullptr, nullptr, nullptr, nullptr,
                                      nullptr);
        EXPECT_EQ(entries, 0);
        EXPECT_LE(Still(0).NumberOfSamples, 0);
    }
    g_force.Busy = 0;
    g_forceCal.CalLength = -1.0;  // two negatives make a run of samples without segments
    g_forceCal.Averages = -1;
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), ZVK_FORCECAL_NO_TIME_DATA);
    EXPECT_EQ(Still(0).NumberOfSamples, 65536);
}

TEST_F(ForceCalRun, TheClearOfARunComesBehindItsChecksAndBeforeItsRecording)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    card->SupplySamples({0.5, -0.25, 2.0});
    ASSERT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0);
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 2, 3), ZVK_FORCECAL_BAD_PATH);
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 4), ZVK_FORCECAL_BAD_AXIS);
    EXPECT_EQ(Still(0).TDValid, 1);
    FailingMemory memory;
    g_force.Busy = 1;
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0);
    EXPECT_EQ(Still(0).TD[0][5], 0.0) << "nothing is left of the run before";
    ResetForceCal();
}
