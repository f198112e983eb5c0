// Analog outputs with a sample clock and without.

#include "card_fixture.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <thread>

using DaqCardOutput = CardFixture;

static std::vector<int> Steps(int from, int count)
{
    std::vector<int> steps(static_cast<size_t>(count));
    std::iota(steps.begin(), steps.end(), from);
    return steps;
}

static int32_t WriteVolts(ZVC_Task task, const std::vector<double> &volts, uint32_t autoStart = 0,
                          int32_t layout = kByChannel)
{
    const auto channels = static_cast<size_t>(InfoOf(task).channelCount);
    return DAQmxWriteAnalogF64(task, static_cast<int32_t>(volts.size() / channels), autoStart, 10.0,
                               static_cast<uint32_t>(layout), volts.data(), nullptr, nullptr);
}

TEST_F(DaqCardOutput, PlaysWhatWasWrittenAtTheSampleClock)
{
    (void)StartStream({.channels = "Dev1/ao0:3"});
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 0U);

    ASSERT_EQ(ZVC_Advance(0.030), ZVC_OK);

    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 30U);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.029);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("/dev1/AO3"), 3.029);
    EXPECT_DOUBLE_EQ(ZVC_Now(), 0.030);
    EXPECT_EQ(WrittenMillivolts("Dev1/ao2"), Steps(2000, 100));
}

TEST_F(DaqCardOutput, SamplesOfOneScanMayLieSideBySide)
{
    ZVC_Task task = MakeStream({.channels = "Dev1/ao0:1", .samples = 2});
    EXPECT_EQ(WriteVolts(task, {0.001, 0.101, 0.002, 0.102}, 0, kByScan), 0);
    EXPECT_EQ(WrittenMillivolts("Dev1/ao0"), (std::vector<int>{1, 2}));
    EXPECT_EQ(WrittenMillivolts("Dev1/ao1"), (std::vector<int>{101, 102}));
    EXPECT_EQ(WriteVolts(task, {0.0, 0.0}, 0, 2), -200077);
}

TEST_F(DaqCardOutput, NothingWrittenNothingStarted)
{
    EXPECT_EQ(DAQmxStartTask(MakeStream({.regenerates = false})), -200462);
    EXPECT_EQ(DAQmxStartTask(MakeStream({.regenerates = true})), -200462);
}

TEST_F(DaqCardOutput, TheLastVoltsStandAfterTheEnd)
{
    ZVC_Task task = StartStream();
    ASSERT_EQ(ZVC_Advance(0.050), ZVC_OK);
    ASSERT_EQ(DAQmxClearTask(task), 0);
    ASSERT_EQ(ZVC_Advance(10.0), ZVC_OK);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.049);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 50U);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 100U);
}

TEST_F(DaqCardOutput, ASampleClockRunsOnExactly)
{
    ZVC_Task task = StartStream({.samples = 3, .rate = 3.0, .regenerates = true});
    ASSERT_EQ(ZVC_Advance(1e7), ZVC_OK);  // some four months
    EXPECT_EQ(InfoOf(task).moved, 30000000U);
    ASSERT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 1), ZVC_OK);
    EXPECT_EQ(InfoOf(task).moved, 30000001U);
}

TEST_F(DaqCardOutput, AWriteThatFindsNoRoomWaitsForIt)
{
    ZVC_Task task = StartStream();
    int32_t result = -1;
    std::thread writer([&] { result = WriteSteps(task, 100, 100); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);

    EXPECT_EQ(ZVC_Advance(0.099), ZVC_OK);
    EXPECT_EQ(ZVC_CountWaiting(), 1);
    EXPECT_EQ(ZVC_Advance(0.001), ZVC_OK);
    writer.join();

    EXPECT_EQ(result, 0);
    EXPECT_EQ(WrittenMillivolts("Dev1/ao0"), Steps(0, 200));
}

TEST_F(DaqCardOutput, AWriteThatIsTooLateTellsHowMuchFoundRoom)
{
    ZVC_Task task = StartStream();
    ASSERT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 20), ZVC_OK);
    const std::vector<double> block(100, 1.0);
    int32_t written = -1;

    EXPECT_EQ(DAQmxWriteAnalogF64(task, 100, 0, 0.0, 0, block.data(), &written, nullptr), -200292);

    EXPECT_EQ(written, 20);
    EXPECT_EQ(LogLine(-1), "DAQmxWriteAnalogF64(t1, 100, 0, 0, 0) = -200292, 20 samples");
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 120U);
}

TEST_F(DaqCardOutput, TheTimeOutOfAWriteIsCardTime)
{
    ZVC_Task task = MakeStream();
    ASSERT_EQ(WriteSteps(task, 100), 0);
    std::thread writer([&] { EXPECT_EQ(WriteSteps(task, 1, 100, 2.0), -200292); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    EXPECT_EQ(ZVC_Advance(1.999), ZVC_OK);
    EXPECT_EQ(ZVC_CountWaiting(), 1);
    EXPECT_EQ(ZVC_Advance(0.001), ZVC_OK);
    writer.join();
}

TEST_F(DaqCardOutput, AWriteMayWaitForTheStart)
{
    ZVC_Task task = MakeStream();
    ASSERT_EQ(WriteSteps(task, 100), 0);
    std::thread writer([&] { EXPECT_EQ(WriteSteps(task, 50, 100, -1.0), 0); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    EXPECT_EQ(ZVC_Advance(0.05), ZVC_OK);
    writer.join();
    EXPECT_EQ(WrittenMillivolts("Dev1/ao0"), Steps(0, 150));
}

TEST_F(DaqCardOutput, ABlockLargerThanTheBufferGoesThroughIt)
{
    ZVC_Task task = StartStream();
    std::thread writer([&] { EXPECT_EQ(WriteSteps(task, 1000, 100, 1.0), 0); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    EXPECT_EQ(ZVC_Advance(1.0), ZVC_OK);
    writer.join();
    EXPECT_EQ(WrittenMillivolts("Dev1/ao0"), Steps(0, 1100));
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 1000U);
}

TEST_F(DaqCardOutput, BlocksOfTwoThreadsAreNotMixed)
{
    ZVC_Task task = StartStream();
    std::thread one([&] { EXPECT_EQ(WriteSteps(task, 300, 1000), 0); });
    std::thread other([&] { EXPECT_EQ(WriteSteps(task, 300, 2000), 0); });
    ASSERT_EQ(ZVC_AwaitWaiting(2, 10.0), ZVC_OK);
    EXPECT_EQ(ZVC_Advance(0.6), ZVC_OK);
    one.join();
    other.join();

    const std::vector<int> written = WrittenMillivolts("Dev1/ao0");
    ASSERT_EQ(written.size(), 700U);
    const int first = written[100];
    const int second = first == 1000 ? 2000 : 1000;
    EXPECT_EQ(std::vector<int>(written.begin() + 100, written.begin() + 400), Steps(first, 300));
    EXPECT_EQ(std::vector<int>(written.begin() + 400, written.end()), Steps(second, 300));
}

TEST_F(DaqCardOutput, TheTurnOfAWriteHasItsTimeOutToo)
{
    ZVC_Task task = StartStream();
    std::thread one([&] { EXPECT_EQ(WriteSteps(task, 500, 100, -1.0), 0); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    std::thread other([&] { EXPECT_EQ(WriteSteps(task, 1, 7, 0.2), -200292); });
    ASSERT_EQ(ZVC_AwaitWaiting(2, 10.0), ZVC_OK);
    EXPECT_EQ(ZVC_Advance(0.3), ZVC_OK);
    other.join();
    EXPECT_EQ(ZVC_Advance(0.3), ZVC_OK);
    one.join();
    EXPECT_EQ(WrittenMillivolts("Dev1/ao0"), Steps(0, 600));
}

TEST_F(DaqCardOutput, AnOutputThatRunsDryTellsItAtTheNextWrite)
{
    ASSERT_EQ(ZVC_SetOnBoardMemory(0), ZVC_OK);
    ZVC_Task task = StartStream();
    ASSERT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 100), ZVC_OK);
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);  // the next sample is due only now
    ASSERT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 1), ZVC_OK);

    EXPECT_EQ(InfoOf(task).state, ZVC_FAILED);
    EXPECT_EQ(InfoOf(task).failure, -200290);
    EXPECT_EQ(WriteSteps(task, 10), -200290);
    EXPECT_EQ(WriteSteps(task, 10), -200290);
    EXPECT_EQ(DAQmxStartTask(task), -200479);  // it has to be stopped first
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 100U);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.099);

    EXPECT_EQ(DAQmxStopTask(task), 0);
    EXPECT_EQ(WriteSteps(task, 100), 0);
    EXPECT_EQ(DAQmxStartTask(task), 0);
}

TEST_F(DaqCardOutput, ALateWriteIsForgivenByTheOnBoardMemory)
{
    ASSERT_EQ(ZVC_SetOnBoardMemory(40), ZVC_OK);  // ten for each of four
    ZVC_Task task = StartStream({.channels = "Dev1/ao0:3"});
    ASSERT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 110), ZVC_OK);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 100U);
    EXPECT_EQ(WriteSteps(task, 100, 100), 0);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 110U);
    ASSERT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 101), ZVC_OK);
    EXPECT_EQ(WriteSteps(task, 100, 200), -200290);
}

TEST_F(DaqCardOutput, AWriterThatWaitsIsWokenInTimeToKeepTheOutputFed)
{
    ASSERT_EQ(ZVC_SetOnBoardMemory(0), ZVC_OK);
    ZVC_Task task = StartStream();
    std::thread writer([&] { EXPECT_EQ(WriteSteps(task, 1000, 100), 0); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    EXPECT_EQ(ZVC_Advance(1.0), ZVC_OK);
    writer.join();
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 1000U);
}

TEST_F(DaqCardOutput, AStopDiscardsWhatWasNotPlayed)
{
    ZVC_Task task = StartStream();
    ASSERT_EQ(ZVC_Advance(0.05), ZVC_OK);
    ASSERT_EQ(DAQmxStopTask(task), 0);
    EXPECT_EQ(DAQmxStartTask(task), -200462);
    ASSERT_EQ(WriteSteps(task, 100, 500), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.001), ZVC_OK);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.5);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 51U);
}

TEST_F(DaqCardOutput, WithRegenerationTheBufferIsPlayedOverAndOver)
{
    ZVC_Task task = StartStream({.samples = 4, .regenerates = true});
    std::vector<double> seen(10);
    ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);
    ASSERT_EQ(ZVC_CopyVoltsAt("Dev1/ao0", 0.0, 0.001, 10, seen.data()), ZVC_OK);
    const std::vector<double> expected = {0.0, 0.0,   0.001, 0.002, 0.003,
                                          0.0, 0.001, 0.002, 0.003, 0.0};
    for (size_t i = 0; i < seen.size(); ++i)
        EXPECT_DOUBLE_EQ(seen[i], expected[i]) << i;  // nothing has been played at time 0
    EXPECT_EQ(InfoOf(task).moved, 1000U);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 1000U);

    ASSERT_EQ(DAQmxStopTask(task), 0);
    EXPECT_EQ(DAQmxStartTask(task), 0);  // the buffer is kept
}

TEST_F(DaqCardOutput, AWriteFromTheFirstSampleReplacesTheBlockThatGoesRound)
{
    ZVC_Task task = MakeStream({.samples = 4, .regenerates = true});
    ASSERT_EQ(DAQmxSetWriteAttribute(task, kAttributeRelativeTo, kFromFirstSample), 0);
    ASSERT_EQ(WriteSteps(task, 4), 0);
    ASSERT_EQ(WriteSteps(task, 4, 10), 0);  // replaces, and doesn't queue
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.006), ZVC_OK);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.011);

    ASSERT_EQ(WriteSteps(task, 4, 20, 0.0), 0);  // while it runs, without waiting
    ASSERT_EQ(ZVC_Advance(0.001), ZVC_OK);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.022);
    ASSERT_EQ(ZVC_Advance(0.002), ZVC_OK);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.020);
}

TEST_F(DaqCardOutput, ABlockThatDoesNotFitFromTheFirstSampleIsCut)
{
    ZVC_Task task = MakeStream({.samples = 4, .regenerates = true});
    ASSERT_EQ(DAQmxSetWriteAttribute(task, kAttributeRelativeTo, kFromFirstSample), 0);
    const std::vector<double> block(5, 1.0);
    int32_t written = -1;
    EXPECT_EQ(DAQmxWriteAnalogF64(task, 5, 0, 0.0, 0, block.data(), &written, nullptr), -200292);
    EXPECT_EQ(written, 4);
}

TEST_F(DaqCardOutput, WithRegenerationAWriteFollowsThePositionOfTheLastOne)
{
    ZVC_Task task = StartStream({.samples = 10, .regenerates = true});
    ASSERT_EQ(ZVC_Advance(0.023), ZVC_OK);
    ASSERT_EQ(WriteSteps(task, 5, 100, 0.0), 0);  // slots 0 to 4 of the round
    ASSERT_EQ(ZVC_Advance(0.001), ZVC_OK);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.103);
    ASSERT_EQ(ZVC_Advance(0.002), ZVC_OK);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.005);
}

TEST_F(DaqCardOutput, TheBufferIsAsLargeAsConfigured)
{
    ZVC_Task task = MakeStream({.samples = 100});
    ASSERT_EQ(DAQmxCfgOutputBuffer(task, 300), 0);
    ASSERT_EQ(WriteSteps(task, 300, 0, 0.0), 0);
    EXPECT_EQ(InfoOf(task).bufferSize, 300U);
    EXPECT_EQ(WriteSteps(task, 1, 0, 0.0), -200292);
    ASSERT_EQ(DAQmxCfgSampClkTiming(task, "", 500.0, kRising, kContinuous, 20), 0);
    EXPECT_EQ(InfoOf(task).bufferSize, 300U);  // chosen is chosen
    EXPECT_EQ(DAQmxCfgOutputBuffer(task, 0), -200077);
    EXPECT_EQ(DAQmxCfgOutputBuffer(MakeInput(), 10), -200077);
}

TEST_F(DaqCardOutput, WithoutASizeTheFirstWriteGivesIt)
{
    ZVC_Task task = MakeStream({.samples = 0});
    ASSERT_EQ(WriteSteps(task, 70), 0);
    EXPECT_EQ(InfoOf(task).bufferSize, 70U);
}

TEST_F(DaqCardOutput, AChangeOfTheBufferOrTheRegenerationEmptiesIt)
{
    ZVC_Task task = MakeStream({.regenerates = true});
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxCfgOutputBuffer(task, 50), 0);
    EXPECT_EQ(DAQmxStartTask(task), -200462);
    ASSERT_EQ(WriteSteps(task, 50), 0);
    ASSERT_EQ(DAQmxSetWriteAttribute(task, kAttributeRegeneration, kNoRegeneration), 0);
    EXPECT_EQ(DAQmxStartTask(task), -200462);
    ASSERT_EQ(WriteSteps(task, 50), 0);
    ASSERT_EQ(DAQmxCfgSampClkTiming(task, "", 1000.0, kRising, kFinite, 50), 0);
    EXPECT_EQ(DAQmxStartTask(task), -200462);

    ASSERT_EQ(WriteSteps(task, 50), 0);
    ASSERT_EQ(DAQmxSetWriteAttribute(task, kAttributeRegeneration, kNoRegeneration),
              0);  // no change
    ASSERT_EQ(DAQmxCfgOutputBuffer(task, 50), 0);
    EXPECT_EQ(DAQmxStartTask(task), 0);
}

TEST_F(DaqCardOutput, ABufferBeyondAllMeasureIsRefused)
{
    ZVC_Task task = MakeStream({.channels = "Dev1/ao0:3"});
    ASSERT_EQ(DAQmxCfgOutputBuffer(task, std::numeric_limits<uint32_t>::max()), 0);
    EXPECT_EQ(WriteSteps(task, 1), -50352);
    ASSERT_EQ(DAQmxCfgOutputBuffer(task, 10), 0);
    EXPECT_EQ(WriteSteps(task, 10), 0);
}

TEST_F(DaqCardOutput, AFiniteOutputEndsByItself)
{
    ZVC_Task task = MakeStream();
    ASSERT_EQ(DAQmxCfgSampClkTiming(task, "", 1000.0, kRising, kFinite, 60), 0);
    ASSERT_EQ(WriteSteps(task, 60), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(100.0), ZVC_OK);
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 60U);
    EXPECT_EQ(DAQmxStopTask(task), 0);
}

TEST_F(DaqCardOutput, AutoStartStartsWithTheFirstWrite)
{
    ZVC_Task task = MakeStream({.samples = 2});
    EXPECT_EQ(WriteVolts(task, {0.001, 0.002}, 1), 0);
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);
    ASSERT_EQ(ZVC_Advance(0.002), ZVC_OK);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.002);
}

TEST_F(DaqCardOutput, AutoStartWithMoreThanTheBufferHoldsStartsAsItIsFull)
{
    ZVC_Task task = MakeStream({.samples = 10});
    std::thread writer([&] { EXPECT_EQ(WriteVolts(task, std::vector<double>(25, 1.0), 1), 0); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);
    EXPECT_EQ(ZVC_Advance(0.02), ZVC_OK);
    writer.join();
}

TEST_F(DaqCardOutput, WhatLiesOutsideTheRangeIsRefusedWhole)
{
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
    ASSERT_EQ(DAQmxCreateAOVoltageChan(task, "Dev1/ao0", "", 0.0, 10.0, kVolts, ""), 0);
    ASSERT_EQ(DAQmxCfgSampClkTiming(task, "", 1000.0, kRising, kContinuous, 10), 0);
    for (const double bad : {-0.001, 10.001, std::nan(""), HUGE_VAL})
        EXPECT_EQ(WriteVolts(task, {1.0, bad}), -200561) << bad;
    EXPECT_NE(LastFailure().find("Channel: Dev1/ao0, sample 1."), std::string::npos);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 0U);
    EXPECT_EQ(WriteVolts(task, {0.0, 10.0, 10.00001, -0.00001}), 0);  // rounds to the range
}

TEST_F(DaqCardOutput, ASingleValueGoesOutAtOnce)
{
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
    ASSERT_EQ(DAQmxCreateAOVoltageChan(task, "RWQS/ao1", "", -10.0, 10.0, kVolts, ""), 0);
    EXPECT_EQ(DAQmxWriteAnalogScalarF64(task, 0, 10.0, 1.5, nullptr), -200846);
    EXPECT_EQ(DAQmxWriteAnalogScalarF64(task, 1, 10.0, 1.5, nullptr), 0);
    EXPECT_EQ(ZVC_GetVolts("RWQS/ao1"), 1.5);
    EXPECT_EQ(DAQmxWriteAnalogScalarF64(task, 0, 10.0, 2.5, nullptr), 0);  // it runs now
    EXPECT_EQ(DAQmxWriteAnalogScalarF64(task, 1, 10.0, 10.5, nullptr), -200561);
    EXPECT_EQ(ZVC_GetVolts("RWQS/ao1"), 2.5);
    EXPECT_EQ(WrittenMillivolts("RWQS/ao1"), (std::vector<int>{1500, 2500}));
    EXPECT_EQ(ZVC_CountPlayed("RWQS/ao1"), 2U);
}

TEST_F(DaqCardOutput, ASingleValueIsForOneChannel)
{
    ZVC_Task task = MakeStream({.channels = "Dev1/ao0:1"});
    EXPECT_EQ(DAQmxWriteAnalogScalarF64(task, 1, 10.0, 1.5, nullptr), -200524);
    EXPECT_EQ(DAQmxWriteAnalogScalarF64(MakeInput(), 1, 10.0, 1.5, nullptr), -200077);
}

TEST_F(DaqCardOutput, OddArgumentsOfAWriteHarmNothing)
{
    ZVC_Task task = MakeStream();
    const double volts = 1.0;
    int32_t written = 7;
    EXPECT_EQ(DAQmxWriteAnalogF64(task, -1, 0, 1.0, 0, &volts, &written, nullptr), -200077);
    EXPECT_EQ(written, 0);
    EXPECT_EQ(DAQmxWriteAnalogF64(task, 1, 0, 1.0, 0, nullptr, nullptr, nullptr), -200604);
    EXPECT_EQ(DAQmxWriteAnalogF64(task, 0, 0, 1.0, 0, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(DAQmxWriteAnalogF64(task, 1, 0, std::nan(""), 0, &volts, &written, nullptr), 0);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 1U);
}

TEST_F(DaqCardOutput, AnExternalClockThatStandsStillPlaysNothing)
{
    ASSERT_EQ(ZVC_SetExternalClock("/Dev1/PFI1", 0.0), ZVC_OK);
    ZVC_Task task = MakeStream();
    ASSERT_EQ(DAQmxCfgSampClkTiming(task, "Dev1/pfi1", 1000.0, kRising, kContinuous, 100), 0);
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(5.0), ZVC_OK);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 0U);
    EXPECT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 1), ZVC_NOT_THERE);

    ASSERT_EQ(DAQmxStopTask(task), 0);
    ASSERT_EQ(ZVC_SetExternalClock("PFI1", 10.0), ZVC_OK);  // without device: of any
    ASSERT_EQ(ZVC_SetExternalClock("/Dev1/PFI1", -1.0), ZVC_OK);
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(5.0), ZVC_OK);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 50U);
    EXPECT_EQ(ZVC_SetExternalClock("nowhere", 1.0), ZVC_BAD_ARGUMENT);
}

TEST_F(DaqCardOutput, TheTrackKeepsTheNewestSamples)
{
    ASSERT_EQ(ZVC_SetTrackLength(30), ZVC_OK);
    ZVC_Task task = MakeStream();
    ASSERT_EQ(WriteSteps(task, 20), 0);
    ASSERT_EQ(WriteSteps(task, 50, 20), 0);
    std::vector<double> volts(100);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 70U);
    EXPECT_EQ(ZVC_CopyWritten("Dev1/ao0", 39, 100, volts.data()), 0U);
    EXPECT_EQ(ZVC_CopyWritten("Dev1/ao0", 40, 100, volts.data()), 30U);
    EXPECT_DOUBLE_EQ(volts[0], 0.040);
    EXPECT_DOUBLE_EQ(volts[29], 0.069);
    EXPECT_EQ(ZVC_CopyWritten("Dev1/ao0", 70, 1, volts.data()), 0U);
    EXPECT_EQ(ZVC_CopyWritten("Dev1/ao1", 0, 1, volts.data()), 0U);

    ASSERT_EQ(ZVC_SetTrackLength(0), ZVC_OK);
    ASSERT_EQ(WriteSteps(task, 5, 70), 0);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 75U);
    EXPECT_EQ(ZVC_CopyWritten("Dev1/ao0", 74, 1, volts.data()), 0U);
}

TEST_F(DaqCardOutput, AnOutputCanBeFollowedThroughItsRun)
{
    ZVC_Task task = StartStream();
    ASSERT_EQ(ZVC_Advance(0.05), ZVC_OK);
    ASSERT_EQ(WriteSteps(task, 50, 100), 0);
    ASSERT_EQ(ZVC_Advance(0.07), ZVC_OK);
    std::vector<double> seen(130);
    ASSERT_EQ(ZVC_CopyVoltsAt("Dev1/ao0", 0.0, 1e-3, 130, seen.data()), ZVC_OK);
    EXPECT_EQ(seen[0], 0.0);
    for (size_t i = 1; i <= 120; ++i)
        EXPECT_DOUBLE_EQ(seen[i], static_cast<double>(i - 1) * 1e-3) << i;
    EXPECT_DOUBLE_EQ(seen[129], 0.119);  // lies ahead
    // Between the samples, backwards too, and from far behind the present run.
    ASSERT_EQ(ZVC_CopyVoltsAt("Dev1/ao0", 0.0101, 0.4e-3, 130, seen.data()), ZVC_OK);
    for (size_t i = 0; i < 130; ++i)
        EXPECT_DOUBLE_EQ(seen[i], static_cast<double>((101 + 4 * i) / 10 - 1) * 1e-3) << i;
    ASSERT_EQ(ZVC_CopyVoltsAt("Dev1/ao0", 0.1249, -1.2e-3, 105, seen.data()), ZVC_OK);
    for (size_t i = 0; i < 105; ++i) {
        const size_t played = std::min<size_t>(1249 >= 12 * i ? (1249 - 12 * i) / 10 : 0, 120);
        EXPECT_DOUBLE_EQ(seen[i], played == 0 ? 0.0 : static_cast<double>(played - 1) * 1e-3) << i;
    }
    EXPECT_EQ(ZVC_CopyVoltsAt("Dev1/ao0", std::nan(""), 1.0, 1, seen.data()), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_CopyVoltsAt(nullptr, 0.0, 1.0, 1, seen.data()), ZVC_BAD_ARGUMENT);
}
