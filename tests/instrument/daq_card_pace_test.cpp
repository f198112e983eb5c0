// The three paces of card time.

#include "card_fixture.h"
#include "scratch_folder.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

using DaqCardPace = CardFixture;

static double WallSeconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

struct Feeder
{
    ~Feeder() { ZVC_Reset(); }  // no callback looks at it any more

    std::atomic<int> calls{0};
    int last = 0;  // the call that opens the gate and feeds no more
    int32_t worst = 0;
    Gate done;
};

static int32_t Feed(ZVC_Task task, int32_t, uint32_t samples, void *data)
{
    auto &feeder = *static_cast<Feeder *>(data);
    const int call = ++feeder.calls;
    if (call > feeder.last) return 0;
    const int32_t result = WriteSteps(task, static_cast<int32_t>(samples), call);
    if (result < 0) feeder.worst = result;
    if (call == feeder.last) feeder.done.Open();
    return 0;
}

static ZVC_Task StartFed(Feeder &feeder, uint32_t interval, const StreamSettings &settings)
{
    ZVC_Task task = MakeStream(settings);
    EXPECT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, interval, 0, Feed, &feeder), 0);
    EXPECT_EQ(WriteSteps(task, static_cast<int32_t>(settings.samples)), 0);
    EXPECT_EQ(DAQmxStartTask(task), 0);
    return task;
}

TEST_F(DaqCardPace, PacesAreSetAndTold)
{
    EXPECT_EQ(ZVC_GetPace(), ZVC_PACE_MANUAL);
    EXPECT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    EXPECT_EQ(ZVC_GetPace(), ZVC_PACE_FAST);
    EXPECT_EQ(ZVC_SetPace(3), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_SetPace(-1), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_GetPace(), ZVC_PACE_FAST);
    EXPECT_EQ(ZVC_Advance(1.0), ZVC_NOT_MANUAL);
    EXPECT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 1), ZVC_NOT_MANUAL);
}

TEST_F(DaqCardPace, ManualTimeMovesForwardOnly)
{
    EXPECT_EQ(ZVC_Advance(-1.0), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_Advance(std::nan("")), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_Advance(HUGE_VAL), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_Advance(0.0), ZVC_OK);
    EXPECT_EQ(ZVC_AdvanceSamples(nullptr, 1), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 1), ZVC_NOT_THERE);
    EXPECT_EQ(ZVC_Now(), 0.0);
}

TEST_F(DaqCardPace, AChangeOfPaceDoesNotMoveTime)
{
    (void)MakeInput();
    ASSERT_EQ(ZVC_Advance(5.0), ZVC_OK);
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    EXPECT_EQ(ZVC_Now(), 5.0);
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_REAL), ZVC_OK);
    EXPECT_GE(ZVC_Now(), 5.0);
    EXPECT_LT(ZVC_Now(), 65.0);
}

TEST_F(DaqCardPace, TheEnvironmentGivesThePaceAfterAReset)
{
    const struct
    {
        const char *text;
        int32_t pace;
    } rows[] = {{"fast", ZVC_PACE_FAST},
                {"manual", ZVC_PACE_MANUAL},
                {"real", ZVC_PACE_REAL},
                {"odd", ZVC_PACE_REAL},
                {nullptr, ZVC_PACE_REAL}};
    for (const auto &row : rows) {
        const ScopedVariable pace("ZVK_VIRTUAL_DAQ_PACE", row.text);
        ZVC_Reset();
        EXPECT_EQ(ZVC_GetPace(), row.pace);
    }
}

TEST_F(DaqCardPace, InRealPaceAReadTakesItsTime)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_REAL), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0", 20);
    const double before = WallSeconds();
    EXPECT_EQ(ReadSamples(task, 20).size(), 20U);
    EXPECT_GE(WallSeconds() - before, 0.0199);
}

TEST_F(DaqCardPace, InRealPaceATimeOutIsWallTime)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_REAL), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0", 20, 0.1);
    const double before = WallSeconds();
    EXPECT_TRUE(ReadSamples(task, 20, -200284, 0.02).empty());
    EXPECT_GE(WallSeconds() - before, 0.0199);
}

TEST_F(DaqCardPace, InRealPaceEventsKeepAnOutputFed)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_REAL), ZVC_OK);
    ASSERT_EQ(ZVC_SetOnBoardMemory(4000000), ZVC_OK);  // however slow the machine is
    Feeder feeder;
    feeder.last = 5;
    const double before = WallSeconds();
    (void)StartFed(feeder, 10, {.samples = 10});
    feeder.done.Pass();
    EXPECT_GE(WallSeconds() - before, 0.0499);
    EXPECT_EQ(feeder.worst, 0);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 60U);
}

TEST_F(DaqCardPace, InFastPaceAReadJumpsToItsLastSample)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai0", 0.0, 1.0), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0", 3600000);
    EXPECT_EQ(ReadSamples(task, 1800000, 0, -1.0).back(), 1799999.0);
    EXPECT_DOUBLE_EQ(ZVC_Now(), 1800.0);  // half an hour
}

TEST_F(DaqCardPace, InFastPaceATimeOutIsOverAtOnce)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0", 10);
    ASSERT_EQ(DAQmxCfgDigEdgeStartTrig(task, "PFI0", kRising), 0);
    EXPECT_TRUE(ReadSamples(task, 10, -200284, 1000.0).empty());
    EXPECT_DOUBLE_EQ(ZVC_Now(), 1000.0);

    ZVC_Task output = MakeStream();
    EXPECT_EQ(WriteSteps(output, 101, 0, 1000.0), -200292);  // not started: no room will come
    EXPECT_DOUBLE_EQ(ZVC_Now(), 2000.0);
}

TEST_F(DaqCardPace, InFastPaceAReadGoesOnToTheNextEdge)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ASSERT_EQ(ZVC_SetTriggerPeriod("PFI0", 3.0, 1.0), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0", 10);
    ASSERT_EQ(DAQmxCfgDigEdgeStartTrig(task, "/Dev1/PFI0", kRising), 0);
    EXPECT_EQ(ReadSamples(task, 10).size(), 10U);
    EXPECT_DOUBLE_EQ(ZVC_Now(), 3.01);
}

TEST_F(DaqCardPace, InFastPaceAnOutputPlaysWhatItIsGivenAtOnce)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ASSERT_EQ(ZVC_SetOnBoardMemory(0), ZVC_OK);
    ZVC_Task task = StartStream();
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 100U);
    EXPECT_DOUBLE_EQ(ZVC_Now(), 0.1);
    EXPECT_EQ(WriteSteps(task, 1000, 0, 0.0), -200292);  // one try finds one buffer's room
    EXPECT_EQ(WriteSteps(task, 1000), 0);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 1200U);
    EXPECT_DOUBLE_EQ(ZVC_Now(), 1.2);
}

TEST_F(DaqCardPace, InFastPaceAnOutputWithoutSamplesWaitsForThem)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ASSERT_EQ(ZVC_SetOnBoardMemory(0), ZVC_OK);
    ZVC_Task output = StartStream();
    EXPECT_EQ(ReadSamples(MakeInput("Dev1/ai0", 5000), 5000).size(), 5000U);  // five seconds
    EXPECT_EQ(InfoOf(output).state, ZVC_RUNNING);
    EXPECT_EQ(WriteSteps(output, 100), 0);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 200U);
}

TEST_F(DaqCardPace, InFastPaceAnInputIsNeverOverrun)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai0", 0.0, 1.0), ZVC_OK);
    ZVC_Task input = MakeInput("Dev1/ai0", 1000, 1000.0, kContinuous);
    ASSERT_EQ(DAQmxStartTask(input), 0);
    ZVC_Task output = StartStream();
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(WriteSteps(output, 100), 0);  // a hundred seconds
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(ReadSamples(input, 1000)[999], 1000.0 * i + 999.0);
}

TEST_F(DaqCardPace, InFastPaceEventsComeAsSoonAsTheLastOneIsServed)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ASSERT_EQ(ZVC_SetOnBoardMemory(0), ZVC_OK);
    Feeder feeder;
    feeder.last = 2000;
    ZVC_Task task = StartFed(feeder, 1000, {.channels = "Dev1/ao0:3", .samples = 1000});
    feeder.done.Pass();
    EXPECT_EQ(feeder.worst, 0);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao3"), 2001000U);
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);
    EXPECT_GE(ZVC_Now(), 2000.0);
}

TEST_F(DaqCardPace, InFastPaceWritersOfOneTaskTakeTurnsWithoutTimingOut)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ZVC_Task task = StartStream();
    std::vector<std::thread> writers;
    for (int i = 0; i < 4; ++i)
        writers.emplace_back([&] {
            for (int k = 0; k < 200; ++k)
                EXPECT_EQ(WriteSteps(task, 250, 0, 5.0), 0);
        });
    for (std::thread &writer : writers)
        writer.join();
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 100U + 4 * 200 * 250);
}

TEST_F(DaqCardPace, InFastPaceARegeneratingOutputFollowsTheTimeThatOthersMove)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    (void)StartStream({.samples = 4, .regenerates = true});
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 0U);
    EXPECT_EQ(ReadSamples(MakeInput("Dev1/ai0", 10), 10).size(), 10U);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 10U);
}

TEST_F(DaqCardPace, TimeRunsForAgesWithoutLoss)
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0", 10, 1e-9, kContinuous);  // one sample in 31 years
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(ReadSamples(task, 10, 0, -1.0).size(), 10U);
    EXPECT_DOUBLE_EQ(ZVC_Now(), 1e12);
    ASSERT_EQ(DAQmxClearTask(task), 0);
    (void)StartStream({.rate = 1e6});
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 100U);
}
