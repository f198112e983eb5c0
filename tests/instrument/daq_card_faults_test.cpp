// Told faults, counts, failure texts and the call log of the virtual card.

#include "card_fixture.h"

#include <thread>

using DaqCardFaults = CardFixture;

TEST_F(DaqCardFaults, ACallFailsOnItsNthUseWithTheToldCode)
{
    ZVC_Task task = MakeStream();
    ASSERT_EQ(ZVC_FailCall("DAQmxWriteAnalogF64", 2, -201003), ZVC_OK);
    EXPECT_EQ(ZVC_CountFaults(), 1);
    EXPECT_EQ(WriteSteps(task, 10), 0);
    EXPECT_EQ(WriteSteps(task, 10, 10), -201003);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 10U);  // the failed one has done nothing
    EXPECT_EQ(WriteSteps(task, 10, 10), 0);
    EXPECT_EQ(ZVC_CountFaults(), 0);
    EXPECT_EQ(ZVC_CountCalls("DAQmxWriteAnalogF64"), 3U);
}

TEST_F(DaqCardFaults, EachCallCanFail)
{
    double volts = 0.0;
    uint32_t word = 0;
    const char *const calls[] = {"DAQmxCreateTask",
                                 "DAQmxStartTask",
                                 "DAQmxStopTask",
                                 "DAQmxCreateAIVoltageChan",
                                 "DAQmxCreateAOVoltageChan",
                                 "DAQmxCreateDOChan",
                                 "DAQmxCfgSampClkTiming",
                                 "DAQmxCfgDigEdgeStartTrig",
                                 "DAQmxCfgOutputBuffer",
                                 "DAQmxGetSampClkMaxRate",
                                 "DAQmxReadAnalogF64",
                                 "DAQmxWriteAnalogF64",
                                 "DAQmxWriteAnalogScalarF64",
                                 "DAQmxReadDigitalScalarU32",
                                 "DAQmxWriteDigitalScalarU32",
                                 "DAQmxRegisterEveryNSamplesEvent",
                                 "DAQmxSetChanAttribute",
                                 "DAQmxSetWriteAttribute",
                                 "DAQmxSetTrigAttribute",
                                 "DAQmxSetTimingAttribute",
                                 "DAQmxGetTimingAttribute"};
    ZVC_Task task = MakeStream();
    for (const char *call : calls)
        ASSERT_EQ(ZVC_FailCall(call, 1, -777), ZVC_OK) << call;
    ZVC_Task other = nullptr;
    const std::vector<int32_t> results = {
        DAQmxCreateTask("", &other),
        DAQmxStartTask(task),
        DAQmxStopTask(task),
        DAQmxCreateAIVoltageChan(task, "Dev1/ai0", "", -1, -10.0, 10.0, kVolts, nullptr),
        DAQmxCreateAOVoltageChan(task, "Dev1/ao1", "", -10.0, 10.0, kVolts, ""),
        DAQmxCreateDOChan(task, "Dev1/port0", "", 1),
        DAQmxCfgSampClkTiming(task, "", 1000.0, kRising, kFinite, 10),
        DAQmxCfgDigEdgeStartTrig(task, "PFI0", kRising),
        DAQmxCfgOutputBuffer(task, 10),
        DAQmxGetSampClkMaxRate(task, &volts),
        DAQmxReadAnalogF64(task, 1, 1.0, 0, &volts, 1, nullptr, nullptr),
        DAQmxWriteAnalogF64(task, 1, 0, 1.0, 0, &volts, nullptr, nullptr),
        DAQmxWriteAnalogScalarF64(task, 1, 1.0, 0.5, nullptr),
        DAQmxReadDigitalScalarU32(task, 1.0, &word, nullptr),
        DAQmxWriteDigitalScalarU32(task, 0, 1.0, 1, nullptr),
        DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 10, 0, nullptr, nullptr),
        DAQmxSetChanAttribute(task, "", kAttributeTransferCondition, kMemoryEmpty),
        DAQmxSetWriteAttribute(task, kAttributeRegeneration, kRegeneration),
        DAQmxSetTrigAttribute(task, kAttributeStartTrigger, kNoTrigger),
        DAQmxSetTimingAttribute(task, kAttributeSampleRate, 100.0),
        DAQmxGetTimingAttribute(task, kAttributeSampleRate, &volts)};
    EXPECT_EQ(results, std::vector<int32_t>(std::size(calls), -777));
    EXPECT_EQ(ZVC_CountFaults(), 0);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(InfoOf(task).rate, 1000.0);
}

TEST_F(DaqCardFaults, AClearThatFailsHasClearedAllTheSame)
{
    ZVC_Task task = StartStream();
    ASSERT_EQ(ZVC_FailCall("DAQmxClearTask", 1, -5), ZVC_OK);
    EXPECT_EQ(DAQmxClearTask(task), -5);
    EXPECT_EQ(ZVC_CountTasks(), 0);
}

TEST_F(DaqCardFaults, AWarningIsAnsweredByACallThatHasWorked)
{
    ZVC_Task task = MakeStream();
    ASSERT_EQ(ZVC_FailCall("DAQmxWriteAnalogF64", 1, 200015), ZVC_OK);
    EXPECT_EQ(WriteSteps(task, 10), 200015);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 10U);
    ASSERT_EQ(ZVC_FailCall("DAQmxStartTask", 2, 200015), ZVC_OK);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    EXPECT_EQ(DAQmxStartTask(task), -200479);  // an error of its own goes before the warning
}

TEST_F(DaqCardFaults, AnyCallMeansWhicheverComesNth)
{
    ASSERT_EQ(ZVC_FailCall("*", 3, -9), ZVC_OK);
    ZVC_Task task = nullptr;
    EXPECT_EQ(DAQmxCreateTask("", &task), 0);
    EXPECT_EQ(DAQmxStopTask(task), 0);
    EXPECT_EQ(DAQmxStartTask(task), -9);
    EXPECT_EQ(DAQmxStopTask(task), 0);
    EXPECT_EQ(ZVC_CountCalls("*"), 4U);
}

TEST_F(DaqCardFaults, SeveralMayWaitAndBeTakenBack)
{
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
    ASSERT_EQ(ZVC_FailCall("DAQmxStopTask", 1, -1), ZVC_OK);
    ASSERT_EQ(ZVC_FailCall("DAQmxStopTask", 2, -2), ZVC_OK);
    EXPECT_EQ(DAQmxStopTask(task), -1);
    EXPECT_EQ(DAQmxStopTask(task), -2);
    EXPECT_EQ(DAQmxStopTask(task), 0);
    ASSERT_EQ(ZVC_FailCall("DAQmxStopTask", 1, -3), ZVC_OK);
    ASSERT_EQ(ZVC_FailCall("DAQmxStopTask", 0, 0), ZVC_OK);
    EXPECT_EQ(DAQmxStopTask(task), 0);
}

TEST_F(DaqCardFaults, UnknownCallsHaveNoFaultsAndNoUses)
{
    EXPECT_EQ(ZVC_FailCall("StopTask", 1, -1), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_FailCall("DAQmxGetErrorString", 1, -1), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_FailCall(nullptr, 1, -1), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_CountCalls("StopTask"), 0U);
    EXPECT_EQ(ZVC_CountCalls(nullptr), 0U);
}

TEST_F(DaqCardFaults, TheTextOfAFailureNamesCallTaskDeviceAndCode)
{
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("ForceTask", &task), 0);
    ASSERT_EQ(DAQmxCreateAIVoltageChan(task, "RWQS/ai0", "", -1, -10.0, 10.0, kVolts, ""), 0);
    ASSERT_EQ(DAQmxCfgSampClkTiming(task, "nowhere", 100.0, kRising, kFinite, 10), -89120);
    EXPECT_EQ(LastFailure(), "No such terminal on the card.\nTerminal: nowhere.\n\n"
                             "Call: DAQmxCfgSampClkTiming\nDevice: RWQS\nTask Name: ForceTask\n\n"
                             "Status Code: -89120");
}

TEST_F(DaqCardFaults, ATextStaysWithItsThreadUntilTheNextFailure)
{
    ASSERT_EQ(DAQmxStartTask(nullptr), -200088);
    const std::string ours = LastFailure();
    EXPECT_NE(ours.find("DAQmxStartTask"), std::string::npos);
    std::thread([] {
        EXPECT_EQ(LastFailure(), "");
        EXPECT_EQ(DAQmxClearTask(nullptr), -200088);
        EXPECT_NE(LastFailure().find("DAQmxClearTask"), std::string::npos);
    }).join();
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
    EXPECT_EQ(LastFailure(), ours);
}

TEST_F(DaqCardFaults, TheLogTellsEachCallWithItsArgumentsAndResult)
{
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
    ASSERT_EQ(DAQmxCreateAOVoltageChan(task, "Dev1/ao0:3", "", -10.0, 10.0, kVolts, ""), 0);
    ASSERT_EQ(DAQmxCfgSampClkTiming(task, "Dev1/pfi1", 12500.5, kRising, kContinuous, 5000), 0);
    ASSERT_EQ(DAQmxSetChanAttribute(task, "Dev1/ao0:3", kAttributeUsbRequestSize, 0x1833), 0);
    ASSERT_EQ(DAQmxSetTimingAttribute(task, kAttributeSampleRate, 4000.0), 0);
    ASSERT_EQ(DAQmxClearTask(task), 0);
    ASSERT_EQ(DAQmxStartTask(task), -200088);
    ASSERT_EQ(DAQmxCreateTask(nullptr, &task), 0);
    const std::vector<std::string> expected = {
        "DAQmxCreateTask(\"\", t1) = 0",
        "DAQmxCreateAOVoltageChan(t1, \"Dev1/ao0:3\", \"\", -10, 10, 10348, \"\") = 0",
        "DAQmxCfgSampClkTiming(t1, \"Dev1/pfi1\", 12500.5, 10280, 10123, 5000) = 0",
        "DAQmxSetChanAttribute(t1, \"Dev1/ao0:3\", 0x2a8f, 6195) = 0",
        "DAQmxSetTimingAttribute(t1, 0x1344, 4000) = 0",
        "DAQmxClearTask(t1) = 0",
        "DAQmxStartTask(no task) = -200088",
        "DAQmxCreateTask(null, t2) = 0"};
    EXPECT_EQ(WholeLog(), expected);
}

TEST_F(DaqCardFaults, TheLogKeepsItsNewestLines)
{
    ASSERT_EQ(ZVC_SetLogLength(2), ZVC_OK);
    for (int i = 0; i < 3; ++i)
        (void)DAQmxStopTask(nullptr);
    char text[16];
    EXPECT_EQ(ZVC_CountLog(), 3U);
    EXPECT_EQ(ZVC_GetLog(0, text, sizeof text), ZVC_NOT_THERE);
    EXPECT_EQ(ZVC_GetLog(3, text, sizeof text), ZVC_NOT_THERE);
    EXPECT_EQ(ZVC_GetLog(2, text, sizeof text), ZVC_OK);
    EXPECT_STREQ(text, "DAQmxStopTask(n");  // cut
    EXPECT_EQ(ZVC_GetLog(2, nullptr, 10), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_GetLog(2, text, 0), ZVC_BAD_ARGUMENT);
    ASSERT_EQ(ZVC_SetLogLength(0), ZVC_OK);
    EXPECT_EQ(ZVC_GetLog(2, text, sizeof text), ZVC_NOT_THERE);
}
