// The line scan, with a simulated stage and a card whose signal follows it; and the stage's part in
// a run.

#include "forcecal_fixture.h"

#include "failing_memory.h"
#include "instruments/stage.h"
#include "platform/daqmx.h"

#include <cmath>
#include <functional>

// What the card reads: X, Y and sum of one path, told anew for each scan.
static std::function<double(int channel)> s_signal;
static double s_timeoutS = 0.0;  // of the last read

static int32_t ReadSignal(ZVK_DaqTask, int32_t samples, double timeoutS, uint32_t, double *out,
                          uint32_t, int32_t *read, uint32_t *)
{
    s_timeoutS = timeoutS;
    for (int32_t i = 0; i < samples; ++i) {
        for (int channel = 0; channel < 3; ++channel)
            out[3 * i + channel] = s_signal(channel);
    }
    *read = samples;
    return 0;
}

class ForceCalLineScan : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        PretendUp();
        BringUp();
        g_stage = {};
        g_stage.simulate = 1;
        g_stage.initialized = 1;
        m_recorded = &Daq();
        m_table = *m_recorded;
        m_table.readAnalogF64 = ReadSignal;
        UseDaq(&m_table);
        // 0.5 a micrometre of x, 0.25 of y, over a sum of 4 V that z changes by 0.1 V
        s_signal = [](int channel) {
            const double sum = 4.0 + 0.1 * g_stage.position[2];
            if (channel == 2) return sum;
            return sum * (channel == 0 ? 0.5 * g_stage.position[0] : 0.25 * g_stage.position[1]);
        };
        g_forceCal.LSSteps = 21;
        g_forceCal.LSAverages = 1000;
        g_forceCal.LSLength = 2.0;
    }

    void TearDown() override
    {
        UseDaq(m_recorded);
        g_stage = {};
        ForceCalTest::TearDown();
    }

private:
    ZVK_DaqTable m_table = {};
    const ZVK_DaqTable *m_recorded = nullptr;
};

TEST_F(ForceCalLineScan, ThePathIsCheckedWithTheAcquisitionsStatus)
{
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 2, 5), ZVK_FORCE_BAD_CHANNELS);
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, -1, 5), ZVK_FORCE_BAD_CHANNELS);
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 1, 3), ZVK_FORCECAL_BAD_AXIS);
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 1, -1), ZVK_FORCECAL_BAD_AXIS);
    EXPECT_TRUE(card->Calls().empty());
}

TEST_F(ForceCalLineScan, StepsAboutThePositionAndComesBack)
{
    g_stage.position[0] = 10.0;
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    const ZVK_ForceCalDataContainer &data = Still(0);
    EXPECT_EQ(data.LSEntries[0], 21);
    EXPECT_EQ(data.LSValid[0], 1);
    for (int i = 0; i < 21; ++i) {
        EXPECT_DOUBLE_EQ(data.LSPosition[0][i], 9.0 + 0.1 * i);
        EXPECT_NEAR(data.LSData[0][i], 0.5 * data.LSPosition[0][i], 1e-12);
    }
    EXPECT_EQ(g_stage.position[0], 10.0);
    double limit = 0;
    EXPECT_EQ(ZVK_ForceCal_GetLineScanFitStart(0, 0, 0, &limit), 0);
    EXPECT_DOUBLE_EQ(limit, 9.0);
    EXPECT_EQ(ZVK_ForceCal_GetLineScanFitStop(0, 0, 0, &limit), 0);
    EXPECT_DOUBLE_EQ(limit, 11.0);
    const auto calls = card->Calls();
    EXPECT_EQ(calls[3], "cfgSampClkTiming(t2, \"\", 1e+05, 10280, 10178, 1000)");
    EXPECT_EQ(calls[1].substr(0, 38), "createAIVoltageChan(t2, \"/Dev2/ai0:2\",");
    EXPECT_EQ(card->OpenTasks(), 0);
    EXPECT_EQ(s_timeoutS, 10.0);
}

TEST_F(ForceCalLineScan, EachStepIsReadWhereTheStageStandsThen)
{
    std::vector<double> places;
    s_signal = [&places](int channel) {
        if (channel == 0 && (places.empty() || places.back() != g_stage.position[0]))
            places.push_back(g_stage.position[0]);
        return 1.0;
    };
    g_forceCal.LSSteps = 5;
    g_forceCal.LSLength = 1.0;
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    EXPECT_EQ(places, (std::vector<double>{-0.5, -0.25, 0.0, 0.25, 0.5}));
    EXPECT_EQ(g_stage.position[0], 0.0);
}

TEST_F(ForceCalLineScan, TheMeanOfAllSamplesIsTaken)
{
    int sample = 0;
    s_signal = [&sample](int channel) {
        if (channel == 0) ++sample;
        return channel == 2 ? 2.0 : static_cast<double>(sample % 4);
    };
    g_forceCal.LSAverages = 2000;
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    EXPECT_DOUBLE_EQ(Still(0).LSData[0][7], 0.75) << "of 0, 1, 2, 3 over a sum of 2";
}

TEST_F(ForceCalLineScan, LimitsOfOtherPathsAndAxesStay)
{
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 1, 1), 0);
    for (int path = 0; path < 2; ++path) {
        for (int axis = 0; axis < 3; ++axis) {
            const bool scanned = path == 1 && axis == 1;
            EXPECT_EQ(g_forceCal.LineScanFitStart[path][axis], scanned ? -1.0 : 0.0);
            EXPECT_EQ(g_forceCal.LineScanFitStop[path][axis], scanned ? 1.0 : 0.0);
        }
    }
}

TEST_F(ForceCalLineScan, BeforeInitTheLimitsStayUnset)
{
    g_forceCal.Initialised = 0;
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    EXPECT_EQ(Still(0).LSValid[0], 1);
    EXPECT_EQ(g_forceCal.LineScanFitStart[0][0], 0.0);
}

TEST_F(ForceCalLineScan, ASumOfZeroIsNotMadeASmallNumber)
{
    s_signal = [](int channel) { return channel == 2 ? 0.0 : 1.0; };
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    EXPECT_FALSE(std::isfinite(Still(0).LSData[0][0]));
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 2), 0);
    EXPECT_EQ(Still(0).LSData[2][0], 0.0);
    EXPECT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), 0);
    EXPECT_EQ(Still(0).LSFitSlope[0], 0.0) << "a fit that can't work leaves its start";
    EXPECT_FALSE(std::isnan(Still(0).LSFitMSE[0]));
}

TEST_F(ForceCalLineScan, AnotherPathReadsItsOwnChannelsAndKeepsItInItsOwnContainer)
{
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 1, 1), 0);
    EXPECT_EQ(card->Calls()[1].substr(0, 38), "createAIVoltageChan(t2, \"/Dev2/ai4:6\",");
    EXPECT_EQ(Still(1).LSValid[1], 1);
    EXPECT_EQ(Still(1).LSValid[0], 0);
    EXPECT_EQ(Still(0).LSValid[1], 0);
}

TEST_F(ForceCalLineScan, TheSlopesAndBetasAreThoseOfTheSignal)
{
    for (int axis = 0; axis < 3; ++axis)
        ASSERT_EQ(ZVK_ForceCal_LineScan(0, 0, axis), 0);
    ASSERT_EQ(ZVK_ForceCal_LineScan(0, 1, 0), 0);
    EXPECT_EQ(ZVK_ForceCal_UpdateLSFits(0), 0);
    EXPECT_NEAR(Still(1).LSFitSlope[0], 0.5, 1e-9) << "both paths";
    EXPECT_EQ(Still(1).LSFitEntries[1], 0);
    ASSERT_EQ(ZVK_ForceCal_ComputeLSCalibration(&Still(0)), 0);
    const double slopes[3] = {0.5, 0.25, 0.1};
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(Still(0).LSFitSlope[axis] / slopes[axis], 1.0, 1e-9) << axis;
        EXPECT_NEAR(Still(0).LSBeta[axis] * slopes[axis] * 1e6, 1.0, 1e-9) << axis;
        EXPECT_LT(Still(0).LSFitMSE[axis], 1e-20);
        for (int k = 0; k < Still(0).LSFitEntries[axis]; ++k) {
            EXPECT_EQ(Still(0).LSFitData[axis][k], Still(0).LSData[axis][k + 1]);
            EXPECT_NEAR(Still(0).LSFitCurve[axis][k], Still(0).LSData[axis][k + 1], 1e-12);
        }
    }
    EXPECT_EQ(Still(0).LSFitEntries[0], 20) << "the limits are the ends: the first is not above";
}

TEST_F(ForceCalLineScan, AxesAreFittedUpToTheFirstThatWasNotScanned)
{
    ASSERT_EQ(ZVK_ForceCal_LineScan(0, 0, 1), 0);
    EXPECT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), ZVK_FORCECAL_NO_LINE_SCAN);
    EXPECT_EQ(ZVK_ForceCal_ComputeLSCalibration(&Still(0)), ZVK_FORCECAL_NO_LINE_SCAN);
    ASSERT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    Still(0).LSValid[1] = 0;
    ASSERT_EQ(ZVK_ForceCal_LineScan(0, 0, 2), 0);
    EXPECT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), 0);
    EXPECT_GT(Still(0).LSFitEntries[0], 0);
    EXPECT_EQ(Still(0).LSFitEntries[2], 0) << "behind one that wasn't";
}

TEST_F(ForceCalLineScan, AFitAnewFreesTheFitsOfAllAxesFirst)
{
    for (int axis = 0; axis < 3; ++axis)
        ASSERT_EQ(ZVK_ForceCal_LineScan(0, 0, axis), 0);
    ASSERT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), 0);
    EXPECT_GT(Still(0).LSFitEntries[2], 0);
    Still(0).LSValid[1] = 0;
    ASSERT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), 0);
    EXPECT_GT(Still(0).LSFitEntries[0], 0);
    for (int axis = 1; axis < 3; ++axis) {
        EXPECT_EQ(Still(0).LSFitEntries[axis], 0);
        EXPECT_EQ(Still(0).LSFitData[axis], nullptr);
        EXPECT_EQ(Still(0).LSFitPosition[axis], nullptr);
        EXPECT_EQ(Still(0).LSFitCurve[axis], nullptr);
    }
}

TEST_F(ForceCalLineScan, TheFitTakesTheFirstStepsAboveItsLimits)
{
    ASSERT_EQ(ZVK_ForceCal_LineScan(0, 1, 0), 0);  // -1 to 1 in steps of 0.1
    const struct
    {
        double start;
        double stop;
        double first;
        int32_t entries;
    } rows[] = {
        {-0.55, 0.25, -0.5, 9},                        // the end is the first beyond the stop
        {-0.55, 5.0, -0.5, 16},                        // none beyond it: the last
        {5.0, 6.0, -1.0, 21},                          // none above the start: the first
        {Still(1).LSPosition[0][4], 0.25, -0.5, 9},    // strictly above
        {-0.55, Still(1).LSPosition[0][12], -0.5, 9},  // here too
        {0.45, -0.45, 0.5, 4},                         // the wrong way round
        {-0.05, -0.02, 0.0, 4},                        // upwards where there is room
        {-1e-6, 1e-6, 0.0, 4},                         // not below the least limit
        {-0.9999e-6, 0.25, -1.0, 14},                  // below it
    };
    for (const auto &row : rows) {
        g_forceCal.LineScanFitStart[1][0] = row.start;
        g_forceCal.LineScanFitStop[1][0] = row.stop;
        ASSERT_EQ(ZVK_ForceCal_CreateLSFit(&Still(1)), 0);
        EXPECT_NEAR(Still(1).LSFitPosition[0][0], row.first, 1e-12) << row.start;
        EXPECT_EQ(Still(1).LSFitEntries[0], row.entries) << row.start << " " << row.stop;
    }
}

TEST_F(ForceCalLineScan, UnsetLimitsBecomeTenAndANarrowRangeIsWidened)
{
    ASSERT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    g_forceCal.LineScanFitStart[0][0] = 0.0;
    g_forceCal.LineScanFitStop[0][0] = 0.0;
    ASSERT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), 0);
    EXPECT_EQ(g_forceCal.LineScanFitStart[0][0], -10.0);
    EXPECT_EQ(g_forceCal.LineScanFitStop[0][0], 10.0);
    EXPECT_EQ(Still(0).LSFitEntries[0], 21);
    g_forceCal.LineScanFitStart[0][0] = 0.95;
    g_forceCal.LineScanFitStop[0][0] = 0.96;
    ASSERT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), 0);
    EXPECT_EQ(Still(0).LSFitEntries[0], 4);
    EXPECT_NEAR(Still(0).LSFitPosition[0][3], 1.0, 1e-12) << "down from the last step";
}

TEST_F(ForceCalLineScan, FewStepsOrNoneTouchNothingOutside)
{
    for (const int32_t steps : {-5, 0, 1, 2, 3}) {
        g_forceCal.LSSteps = steps;
        EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0) << steps;
        EXPECT_EQ(Still(0).LSEntries[0], std::max(steps, 0));
        EXPECT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), 0) << steps;
        EXPECT_EQ(Still(0).LSFitEntries[0], std::max(steps, 0)) << steps;
    }
}

TEST_F(ForceCalLineScan, OneStepHasNoPlaceNoSlopeAndDoesNotMoveTheStage)
{
    g_forceCal.LSSteps = 1;
    g_stage.position[0] = 3.0;
    double place = 0.0;
    s_signal = [&place](int) {
        place = g_stage.position[0];
        return 1.0;
    };
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    EXPECT_EQ(place, 3.0);
    EXPECT_EQ(g_stage.position[0], 3.0);
    EXPECT_TRUE(std::isnan(Still(0).LSPosition[0][0])) << "0 times an infinite step";
    EXPECT_EQ(Still(0).LSData[0][0], 1.0);
    EXPECT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), 0);
    EXPECT_EQ(Still(0).LSFitSlope[0], 0.0);
    EXPECT_EQ(ZVK_ForceCal_ComputeLSCalibration(&Still(0)), 0);
    EXPECT_TRUE(std::isinf(Still(0).LSBeta[0]));
}

TEST_F(ForceCalLineScan, TooFewSamplesForAReadGiveNoSignal)
{
    for (const int32_t averages : {999, 0, -5}) {
        g_forceCal.LSAverages = averages;
        EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 2), 0);
        EXPECT_EQ(Still(0).LSData[2][3], 0.0) << averages;
        g_force.Busy = 0;  // as such an acquisition leaves it
    }
}

TEST_F(ForceCalLineScan, FailuresOnTheWayAreDropped)
{
    g_force.Busy = 1;
    EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    EXPECT_TRUE(std::isnan(Still(0).LSData[0][0])) << "0 V over 0 V";
    g_force.Busy = 0;
    for (int nth = 1; nth <= 2; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), ZVK_FORCE_NO_MEMORY);
        EXPECT_EQ(Still(0).LSValid[0], 0);
    }
    ASSERT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0);
    for (int nth = 1; nth <= 3; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_CreateLSFit(&Still(0)), ZVK_FORCE_NO_MEMORY);
        EXPECT_EQ(Still(0).LSFitEntries[0], 0);
        EXPECT_EQ(Still(0).LSFitCurve[0], nullptr);
    }
    for (int nth = 3; nth <= 9; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_LineScan(0, 0, 0), 0) << nth;
    }
}

TEST_F(ForceCalLineScan, TheUpdateAsksForInitAndInstrument)
{
    g_forceCal.Installed = 0;
    EXPECT_EQ(ZVK_ForceCal_UpdateLSFits(0), ZVK_FORCECAL_NOT_INSTALLED);
    g_forceCal.Initialised = 0;
    EXPECT_EQ(ZVK_ForceCal_UpdateLSFits(0), ZVK_FORCECAL_NOT_INITIALIZED);
}

// -- the stage's part in a run --

TEST_F(ForceCalLineScan, ARunShakesItsAxisWhileItReads)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    g_forceCal.Frequency = 32;
    g_forceCal.CalLength = 1.0 / 32.0;
    g_forceCal.Averages = 1;
    g_forceCal.MaxFFT = 5000;
    const struct
    {
        char swap;
        int32_t axis;
        int shaken;  // -1: none
    } rows[] = {{0, 0, 0}, {0, 1, 1}, {0, 2, 2}, {0, 3, -1}, {1, 0, 0}, {1, 1, 2}, {1, 2, 1}};
    for (const auto &row : rows) {
        g_forceCal.SwapAxes = row.swap;
        g_forceCal.Oscillate = 1;
        bool seen[3] = {};
        s_signal = [&seen](int) {
            for (int axis = 0; axis < 3; ++axis)
                seen[axis] = g_stage.oscillating[axis] != 0;
            return 1.0;
        };
        EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, row.axis), 0);
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_EQ(seen[axis], axis == row.shaken) << row.axis;
            EXPECT_EQ(g_stage.oscillating[axis], 0) << "ended behind it";
        }
        EXPECT_EQ(g_forceCal.Data[0][row.axis].OscAxis, row.axis) << "in its own container";
        g_forceCal.Oscillate = 0;
        EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, row.axis), 0);
        EXPECT_FALSE(seen[0] || seen[1] || seen[2]);
    }
}

TEST_F(ForceCalLineScan, ASpectrumThatIsTooLongLeavesTheStageShaking)
{
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    g_forceCal.Frequency = 32;
    g_forceCal.CalLength = 1.0;
    g_forceCal.Averages = 1;
    g_forceCal.MaxFFT = 10;
    g_forceCal.Oscillate = 1;
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 0), ZVK_FORCECAL_SPECTRUM_TOO_LONG);
    EXPECT_EQ(g_stage.oscillating[0], 1);
}

TEST_F(ForceCalLineScan, AStageThatWarnsIsCapturedAndOneThatFailsEndsTheRun)
{
    g_stage.simulate = 0;
    g_stage.initialized = 0;  // its answer is the warning 709
    g_forceCal.SampleRate = 65536.0;
    g_forceCal.CycleLength = 2048;
    g_forceCal.Frequency = 32;
    g_forceCal.CalLength = 1.0 / 32.0;
    g_forceCal.Averages = 1;
    g_forceCal.MaxFFT = 5000;
    g_forceCal.Oscillate = 1;
    int32_t count = 0;
    (void)ZVK_error_GetWarnings(0, &count, nullptr);
    EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 0), ZVK_STAGE_NOT_FOUND) << "the last stage call's";
    int32_t after = 0;
    (void)ZVK_error_GetWarnings(0, &after, nullptr);
    EXPECT_EQ(after, count + 2);
    std::vector<int32_t> list(after);
    (void)ZVK_error_GetWarnings(0, nullptr, list.data());
}
