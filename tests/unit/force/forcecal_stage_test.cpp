// The stage's part in the trigger and in a run, with a stage on two outputs of the recording card:
// what it is told, when, and what its refusals do.

#include "forcecal_fixture.h"

#include "instruments/stage.h"
#include "platform/daqmx.h"
#include "platform/memory.h"

#include <algorithm>

using Calls = std::vector<std::string>;

class ForceCalStage : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        PretendUp();
        BringUp();
        g_stage = {};
        g_stage.backend = kStageDaq;
        g_stage.initialized = 1;
        g_stage.numberOfAxes = 2;
        g_stage.scale = 0.1;
        for (int axis = 0; axis < kStageOutputs; ++axis) {
            g_stage.stepSize[axis] = 0.01;
            g_stage.centre[axis] = 50.0;
            g_stage.maxPosition[axis] = 50.0;
            g_stage.minPosition[axis] = -50.0;
        }
        ASSERT_EQ(Daq().createTask("Stage", &g_stage.task), 0);
        ASSERT_EQ(Daq().createAOVoltageChan(g_stage.task, "Dev3/ao0:1", "", -10, 10, ZVK_DAQ_VOLTS,
                                            nullptr),
                  0);
        for (void *&input : g_stageInputs)
            ASSERT_EQ(Daq().createTask("", &input), 0);
        card->ForgetCalls();
        g_force.MaxSampleRateSingleChannel = 250000.0;
        g_forceCal.MaxFFT = 20000;
        g_forceCal.SampleRate = 65536.0;
        g_forceCal.CycleLength = 2048;
        g_forceCal.Frequency = 32;
        g_forceCal.CalLength = 2.0 / 32.0;
        g_forceCal.Averages = 1;
        g_forceCal.Amplitude = 0.5;
        g_forceCal.Oscillate = 1;
    }

    void TearDown() override
    {
        (void)Daq().clearTask(g_stage.task);
        for (void *&input : g_stageInputs) {
            (void)Daq().clearTask(input);
            input = nullptr;
        }
        Release(g_stage.buffer);
        g_stage = {};
        ForceCalTest::TearDown();
    }

    // The place of the first call that begins like this; the end when there is none.
    ptrdiff_t PlaceOf(const std::string &start) const
    {
        const Calls calls = card->Calls();
        return std::find_if(calls.begin(), calls.end(),
                            [&](const auto &call) { return call.starts_with(start); }) -
               calls.begin();
    }

    ptrdiff_t CountOf(const std::string &start) const
    {
        const Calls calls = card->Calls();
        return std::count_if(calls.begin(), calls.end(),
                             [&](const auto &call) { return call.starts_with(start); });
    }

    bool Shakes() const { return CountOf("cfgOutputBuffer") > 0; }
};

TEST_F(ForceCalStage, TheTriggerShakesTheFirstAxisWhileItReadsTheReference)
{
    g_forceCal.SwapAxes = 1;  // is for runs alone
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, nullptr),
              ZVK_FORCECAL_TOO_FEW_PULSES);
    EXPECT_EQ(g_stage.amplitude, 0.5);
    EXPECT_EQ(g_stage.frequency, 32);
    EXPECT_LT(PlaceOf("cfgOutputBuffer"), PlaceOf("createTask"));
    EXPECT_EQ(PlaceOf("cfgSampClkTiming(t2, \"\", 6400"), PlaceOf("cfgSampClkTiming"))
        << "32 periods of 200 samples a second";
    const Calls calls = card->Calls();
    const auto end = std::find(calls.begin(), calls.end(), "clearTask(t5)");
    EXPECT_NE(std::find(end, calls.end(), "setWriteAttribute(t2, 0x1453, 10097)"), calls.end())
        << "it is ended behind the acquisition";
    const std::vector<double> period =
        card->Blocks().at(0);  // of both outputs, one behind the other
    const auto middle = period.begin() + static_cast<ptrdiff_t>(period.size() / 2);
    EXPECT_NE(*std::max_element(period.begin(), middle), *std::min_element(period.begin(), middle));
    EXPECT_EQ(*std::max_element(middle, period.end()), *std::min_element(middle, period.end()));
    EXPECT_EQ(g_stage.oscillating[0], 0);
    EXPECT_EQ(clock->Delays(), (std::vector<double>{0.1}));
}

TEST_F(ForceCalStage, WithoutOscillationTheTriggerLeavesTheStageAlone)
{
    g_forceCal.Oscillate = 0;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, nullptr),
              ZVK_FORCECAL_TOO_FEW_PULSES);
    EXPECT_FALSE(Shakes());
    EXPECT_EQ(PlaceOf("createTask"), 0);
}

TEST_F(ForceCalStage, AStageThatRefusesDoesNotKeepTheTriggerFromReading)
{
    card->FailCall("cfgOutputBuffer", 1);
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, nullptr),
              ZVK_FORCECAL_TOO_FEW_PULSES);
    EXPECT_EQ(CountOf("readAnalogF64(t5"), 125);
    EXPECT_EQ(g_forceCal.SampleRate, 65536.0);
}

TEST_F(ForceCalStage, AReferenceThatCantBeReadStillEndsTheOscillation)
{
    g_force.Busy = 1;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, nullptr), ZVK_FORCE_BUSY);
    EXPECT_TRUE(Shakes());
    EXPECT_EQ(g_stage.oscillating[0], 0);
    g_force.Busy = 0;
}

TEST_F(ForceCalStage, ARunHandsAmplitudeAndFrequencyToTheAxisOfItsContainer)
{
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 1), 0);
    EXPECT_EQ(g_stage.amplitude, 0.5);
    EXPECT_EQ(g_stage.frequency, 32);
    EXPECT_LT(PlaceOf("cfgOutputBuffer"), PlaceOf("createTask"));
    EXPECT_EQ(g_stage.oscillating[1], 0);
    EXPECT_EQ(g_forceCal.Data[0][1].OscAxis, 1);
    EXPECT_EQ(g_forceCal.Data[0][1].OscAmplitude, 0.5);
}

TEST_F(ForceCalStage, ARunWithoutOscillationNeverMovesTheStage)
{
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0);
    EXPECT_FALSE(Shakes());
}

TEST_F(ForceCalStage, AStageThatRefusesEndsTheRunBeforeItsWait)
{
    g_forceCal.Data[1][0].Averages = 7;
    g_forceCal.Data[1][0].TDValid = 1;
    card->FailCall("cfgOutputBuffer", 1, -50103);
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 1, 0), -50103);
    EXPECT_EQ(CountOf("createTask"), 0);
    EXPECT_TRUE(clock->Delays().empty());
    EXPECT_EQ(g_forceCal.Data[1][0].TDValid, 0) << "cleared already";
    EXPECT_EQ(g_forceCal.Data[1][0].Averages, 0);
    EXPECT_EQ(g_forceCal.Data[1][0].OscFrequency, 32.0);
}

TEST_F(ForceCalStage, AStageThatWarnsLetsTheRunGoOn)
{
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 1, 2), 0) << "there is no third output";
    int32_t count = 0;
    int32_t last = 0;
    (void)ZVK_error_GetWarnings(0, &count, nullptr);
    ASSERT_GT(count, 0);
    std::vector<int32_t> list(count);
    (void)ZVK_error_GetWarnings(0, nullptr, list.data());
    for (const int32_t status : list)
        last = status == ZVK_STAGE_BAD_AMPLITUDE ? status : last;
    EXPECT_EQ(last, ZVK_STAGE_BAD_AMPLITUDE);
    EXPECT_EQ(g_forceCal.Data[1][2].FDValid, 1);
}

TEST_F(ForceCalStage, AStageThatCantBeStoppedIsTheRunsStatusBehindTheAnalysis)
{
    card->FailCall("setWriteAttribute", 1, -50103);
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 0), -50103);
    EXPECT_EQ(g_forceCal.Data[0][0].FDValid, 1);
    EXPECT_EQ(g_forceCal.Data[0][0].FDFitValid, 1);
}
