// The example of docs/virtual-instrument.md, with its answers.

#include "card_fixture.h"

using DaqCardExample = CardFixture;

TEST_F(DaqCardExample, DoesWhatTheDocumentSays)
{
    ZVC_SetPace(ZVC_PACE_MANUAL);

    ZVC_Task task = nullptr;
    const double block[4] = {0.1, 0.2, 0.3, 0.4};
    DAQmxCreateTask("", &task);
    DAQmxCreateAOVoltageChan(task, "Dev1/ao0", "", -10.0, 10.0, 10348, "");
    DAQmxCfgSampClkTiming(task, "", 1000.0, 10280, 10123, 4);
    DAQmxWriteAnalogF64(task, 4, 0, 10.0, 0, block, nullptr, nullptr);
    DAQmxStartTask(task);

    ZVC_Advance(0.003);
    const double volts = ZVC_GetVolts("Dev1/ao0");
    const uint64_t played = ZVC_CountPlayed("Dev1/ao0");
    EXPECT_EQ(volts, 0.3);
    EXPECT_EQ(played, 3U);

    ZVC_FailCall("DAQmxStopTask", 1, -200088);
    EXPECT_EQ(DAQmxStopTask(task), -200088);
    ZVC_Reset();
    EXPECT_EQ(ZVC_CountTasks(), 0);
    EXPECT_EQ(ZVC_CountFaults(), 0);
    EXPECT_EQ(ZVC_CountLog(), 0U);
}
