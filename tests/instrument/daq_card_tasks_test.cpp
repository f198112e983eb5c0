// Tasks of the virtual card: names, handles, resources, start and stop.

#include "card_fixture.h"

#include <set>
#include <thread>

using DaqCardTasks = CardFixture;

static ZVC_Task MakeTask(const char *name = "")
{
    ZVC_Task task = nullptr;
    EXPECT_EQ(DAQmxCreateTask(name, &task), 0);
    return task;
}

static ZVC_Task MakeSingleOutput(const char *channel)
{
    ZVC_Task task = MakeTask();
    EXPECT_EQ(DAQmxCreateAOVoltageChan(task, channel, "", -10.0, 10.0, kVolts, ""), 0);
    return task;
}

TEST_F(DaqCardTasks, ANameInUseIsRefusedUntilItsTaskIsCleared)
{
    ZVC_Task first = MakeTask("ForceTask");
    ZVC_Task second = first;
    EXPECT_EQ(DAQmxCreateTask("ForceTask", &second), -200089);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(ZVC_CountTasks(), 1);

    ASSERT_EQ(DAQmxClearTask(first), 0);
    EXPECT_EQ(DAQmxCreateTask("ForceTask", &second), 0);
    EXPECT_STREQ(InfoOf(second).name, "ForceTask");
}

TEST_F(DaqCardTasks, WithoutANameEachGetsOneOfItsOwn)
{
    std::set<std::string> names;
    for (int i = 0; i < 3; ++i)
        names.insert(InfoOf(MakeTask()).name);
    names.insert(InfoOf(MakeTask(nullptr)).name);
    EXPECT_EQ(names.size(), 4U);
    EXPECT_EQ(names.count(""), 0U);
}

TEST_F(DaqCardTasks, ANullHandlePointerIsRefused)
{
    EXPECT_EQ(DAQmxCreateTask("", nullptr), -200604);
    EXPECT_EQ(ZVC_CountTasks(), 0);
}

// Every call that takes a task, on a handle that is none.
static std::vector<int32_t> CallAllWith(ZVC_Task task)
{
    double volts[1] = {0.5};
    uint32_t word = 7;
    int32_t count = 7;
    std::vector<int32_t> results = {
        DAQmxStartTask(task),
        DAQmxStopTask(task),
        DAQmxClearTask(task),
        DAQmxCreateAIVoltageChan(task, "Dev1/ai0", "", -1, -10.0, 10.0, kVolts, nullptr),
        DAQmxCreateAOVoltageChan(task, "Dev1/ao0", "", -10.0, 10.0, kVolts, ""),
        DAQmxCreateDOChan(task, "Dev1/port0", "", 1),
        DAQmxCfgSampClkTiming(task, "", 1000.0, kRising, kFinite, 10),
        DAQmxCfgDigEdgeStartTrig(task, "PFI0", kRising),
        DAQmxCfgOutputBuffer(task, 10),
        DAQmxGetSampClkMaxRate(task, volts),
        DAQmxReadAnalogF64(task, 1, 1.0, 0, volts, 1, &count, nullptr),
        DAQmxWriteAnalogF64(task, 1, 0, 1.0, 0, volts, nullptr, nullptr),
        DAQmxWriteAnalogScalarF64(task, 1, 1.0, 0.5, nullptr),
        DAQmxReadDigitalScalarU32(task, 1.0, &word, nullptr),
        DAQmxWriteDigitalScalarU32(task, 0, 1.0, 1, nullptr),
        DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 10, 0, nullptr, nullptr),
        DAQmxSetChanAttribute(task, "", kAttributeTransferCondition, kMemoryEmpty),
        DAQmxSetWriteAttribute(task, kAttributeRegeneration, kRegeneration),
        DAQmxSetTrigAttribute(task, kAttributeStartTrigger, kNoTrigger),
        DAQmxSetTimingAttribute(task, kAttributeSampleRate, 1000.0),
        DAQmxGetTimingAttribute(task, kAttributeSampleRate, volts)};
    EXPECT_EQ(volts[0], 0.5);
    EXPECT_EQ(word, 7U);
    EXPECT_EQ(count, 0);
    return results;
}

TEST_F(DaqCardTasks, ADeadOrMadeUpHandleHarmsNothingInAnyCall)
{
    ZVC_Task dead = MakeSingleOutput("Dev1/ao0");
    ASSERT_EQ(DAQmxClearTask(dead), 0);
    int own = 0;
    for (ZVC_Task handle : {dead, static_cast<ZVC_Task>(nullptr), static_cast<ZVC_Task>(&own)}) {
        const std::vector<int32_t> results = CallAllWith(handle);
        EXPECT_EQ(results, std::vector<int32_t>(21, -200088));
    }
    EXPECT_NE(MakeTask(), dead);  // and it never comes to life again
    EXPECT_EQ(DAQmxStopTask(dead), -200088);
}

TEST_F(DaqCardTasks, AStartedOutputKeepsItsDevicesOutputsForItself)
{
    ZVC_Task first = StartStream({.channels = "Dev1/ao0:1"});
    ZVC_Task second = MakeStream({.channels = "dev1/ao2"});
    ASSERT_EQ(WriteSteps(second, 100), 0);

    EXPECT_EQ(DAQmxStartTask(second), -50103);
    EXPECT_NE(LastFailure().find("dev1/ao is kept by the task _unnamedTask<0>."),
              std::string::npos);
    EXPECT_EQ(InfoOf(second).state, ZVC_IDLE);

    ASSERT_EQ(DAQmxStopTask(first), 0);
    EXPECT_EQ(DAQmxStartTask(second), -50103);  // its buffer was written: kept until it is cleared
    ASSERT_EQ(DAQmxClearTask(first), 0);
    EXPECT_EQ(DAQmxStartTask(second), 0);
}

TEST_F(DaqCardTasks, OutputsInputsPortsAndDevicesAreResourcesOfTheirOwn)
{
    (void)StartStream({.channels = "Dev1/ao0:3"});
    (void)StartStream({.channels = "Dev2/ao0:3"});
    EXPECT_EQ(DAQmxStartTask(MakeInput("Dev1/ai0", 100)), 0);
    EXPECT_EQ(DAQmxStartTask(MakeInput("Dev2/ai0", 100)), 0);
    (void)MakeLines("Dev1/port0/line0:7");
    (void)MakeLines("Dev1/port1/line0:7");
    EXPECT_EQ(ZVC_CountTasks(), 6);
}

TEST_F(DaqCardTasks, AStoppedInputGivesItsConvertersBack)
{
    ZVC_Task first = MakeInput("Dev1/ai0");
    ZVC_Task second = MakeInput("Dev1/ai1", 100);
    ASSERT_EQ(DAQmxStartTask(first), 0);
    EXPECT_EQ(DAQmxStartTask(second), -50103);
    ASSERT_EQ(DAQmxStopTask(first), 0);
    EXPECT_EQ(DAQmxStartTask(second), 0);
    EXPECT_EQ(DAQmxStartTask(first), -50103);
}

TEST_F(DaqCardTasks, SingleOutputsOnDemandShareADeviceButNoChannel)
{
    EXPECT_EQ(DAQmxStartTask(MakeSingleOutput("RWQS/ao0")), 0);
    EXPECT_EQ(DAQmxStartTask(MakeSingleOutput("RWQS/ao1")), 0);
    EXPECT_EQ(DAQmxStartTask(MakeSingleOutput("RWQS/ao1")), -50103);
    ZVC_Task clocked = MakeStream({.channels = "RWQS/ao1:2"});
    ASSERT_EQ(WriteSteps(clocked, 100), 0);
    EXPECT_EQ(DAQmxStartTask(clocked), -50103);
}

TEST_F(DaqCardTasks, LinesOfOnePortAreReservedOneByOne)
{
    (void)MakeLines("Dev1/port0/line0:3");
    (void)MakeLines("Dev1/port0/line4:7");
    ZVC_Task task = MakeTask();
    ASSERT_EQ(DAQmxCreateDOChan(task, "Dev1/port0/line7:8", "", 1), 0);
    EXPECT_EQ(DAQmxStartTask(task), -50103);
}

TEST_F(DaqCardTasks, ATaskIsStartedOnce)
{
    ZVC_Task task = StartStream();
    EXPECT_EQ(DAQmxStartTask(task), -200479);
    ASSERT_EQ(ZVC_Advance(0.01), ZVC_OK);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 10U);  // undisturbed
}

TEST_F(DaqCardTasks, WithoutChannelsThereIsNothingToStartOrWrite)
{
    ZVC_Task task = MakeTask();
    double volts = 0.0;
    EXPECT_EQ(DAQmxStartTask(task), -200478);
    EXPECT_EQ(DAQmxWriteAnalogScalarF64(task, 1, 1.0, 1.0, nullptr), -200478);
    EXPECT_EQ(DAQmxReadAnalogF64(task, 1, 1.0, 0, &volts, 1, nullptr, nullptr), -200478);
    EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", 1.0, kRising, kFinite, 10), -200478);
    EXPECT_EQ(DAQmxGetSampClkMaxRate(task, &volts), -200478);
}

TEST_F(DaqCardTasks, StoppingAnIdleTaskIsNoError) { EXPECT_EQ(DAQmxStopTask(MakeTask()), 0); }

TEST_F(DaqCardTasks, AFiniteTaskThatIsStoppedTooSoonGivesAWarning)
{
    ZVC_Task task = MakeInput("Dev1/ai0", 100);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.099), ZVC_OK);
    EXPECT_EQ(DAQmxStopTask(task), 200010);

    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.1), ZVC_OK);
    EXPECT_EQ(DAQmxStopTask(task), 0);
}

TEST_F(DaqCardTasks, ClearingATaskEndsTheCallThatWaitsForIt)
{
    ZVC_Task task = StartStream();
    int32_t result = 0;
    std::thread writer([&] { result = WriteSteps(task, 100); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);

    EXPECT_EQ(DAQmxClearTask(task), 0);
    writer.join();

    EXPECT_EQ(result, -88709);
    EXPECT_EQ(ZVC_CountTasks(), 0);
}

TEST_F(DaqCardTasks, StoppingATaskEndsTheCallThatWaitsForIt)
{
    ZVC_Task task = MakeInput("Dev1/ai0", 100);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    std::thread reader([&] { EXPECT_TRUE(ReadSamples(task, 100, -88709, -1.0).empty()); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);

    EXPECT_EQ(DAQmxStopTask(task), 200010);
    reader.join();
}

TEST_F(DaqCardTasks, AResetLeavesNothingBehind)
{
    (void)StartStream();
    (void)MakeLines();
    ASSERT_EQ(ZVC_FailCall("DAQmxStopTask", 1, -1), ZVC_OK);
    ASSERT_EQ(ZVC_SetConstant("Dev1/ai0", 3.0), ZVC_OK);
    ASSERT_EQ(ZVC_SetDevices("Dev1"), ZVC_OK);
    ASSERT_EQ(ZVC_HoldLines("Dev1/port0", 0xFF, 0xFF), ZVC_OK);
    ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);

    ZVC_Reset();

    EXPECT_EQ(ZVC_GetPace(), ZVC_PACE_REAL);
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_MANUAL), ZVC_OK);
    EXPECT_EQ(ZVC_CountTasks(), 0);
    EXPECT_EQ(ZVC_CountFaults(), 0);
    EXPECT_EQ(ZVC_CountLog(), 0U);
    EXPECT_EQ(ZVC_CountCalls("*"), 0U);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 0U);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 0U);
    EXPECT_EQ(ZVC_GetVolts("Dev1/ao0"), 0.0);
    EXPECT_EQ(ZVC_GetLines("Dev1/port0"), 0U);
    EXPECT_EQ(ZVC_Now(), 0.0);
    ZVC_Task task = MakeInput("Other/ai0");
    EXPECT_EQ(InfoOf(task).number, 1);
    EXPECT_EQ(ReadSamples(task, 1), std::vector<double>{0.0});
    EXPECT_EQ(ReadSamples(MakeInput("Dev1/ai0"), 1), std::vector<double>{0.0});
}
