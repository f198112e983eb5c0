// The oscillation of an axis, on each back-end.

#include "stage_fixture.h"

#include <cmath>

using StageOscillation = StageTest;
using Calls = std::vector<std::string>;

TEST_F(StageOscillation, AnOutputPlaysOnePeriodOverAndOver)
{
    BringUpOutputs();
    g_stage.position[0] = 10.0;
    g_stage.position[1] = 20.0;
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
    EXPECT_EQ(card.Calls(),
              (Calls{"stopTask(t1)", "cfgOutputBuffer(t1, 400)",
                     "setTimingAttribute(t1, 0x1344, 4000)", "getTimingAttribute(t1, 0x1344)",
                     "cfgSampClkTiming(t1, \"\", 4000, 10280, 10123, 400)",
                     "writeAnalogF64(t1, 400, 0, 1, 0)", "startTask(t1)"}));
    const std::vector<double> block = card.Blocks().back();
    ASSERT_EQ(block.size(), 800U);
    for (int i = 0; i < 400; ++i) {
        const double wave = 1.0 * std::sin(i * 360.0 / 400 * 0.017453292519943295);
        EXPECT_DOUBLE_EQ(block[i], (wave + 10.0 + 50.0) * 0.1) << i;
        EXPECT_EQ(block[400 + i], (20.0 + 50.0) * 0.1) << i;
    }
    EXPECT_EQ(g_stage.oscillating[0], 1);
    EXPECT_EQ(g_stage.samplesPerChan, 400);
}

TEST_F(StageOscillation, TheSecondOutputLeavesTheFirstSteady)
{
    BringUpOutputs();
    g_stage.position[0] = -10.0;
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 1, 1.0, 10), 0);
    const std::vector<double> block = card.Blocks().back();
    EXPECT_EQ(block[0], 4.0);
    EXPECT_EQ(block[399], 4.0);
    EXPECT_DOUBLE_EQ(block[500], 5.1) << "a quarter of a period";
}

TEST_F(StageOscillation, TheRateThatTheCardGivesIsTheOneThatIsUsed)
{
    BringUpOutputs();
    card.FailCall("getTimingAttribute", 1);
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
    EXPECT_EQ(card.Calls()[4], "cfgSampClkTiming(t1, \"\", 4000, 10280, 10123, 400)")
        << "where it can't be read back, the one wanted";
}

TEST_F(StageOscillation, AmplitudesThatLeaveTheRangeAre714)
{
    BringUpOutputs();
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 50.001, 10), ZVK_STAGE_BAD_AMPLITUDE);
    g_stage.position[0] = 45.0;
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 5.1, 10), ZVK_STAGE_BAD_AMPLITUDE);
    g_stage.position[0] = -45.0;
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 5.1, 10), ZVK_STAGE_BAD_AMPLITUDE);
    g_stage.position[0] = 0.0;
    g_stage.scale = 0.11;  // 10 V are reached before the limit
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 45.0, 10), ZVK_STAGE_BAD_AMPLITUDE);
    g_stage.centre[0] = 10.0;
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 11.0, 10), ZVK_STAGE_BAD_AMPLITUDE) << "below 0 V";
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 2, 1.0, 10), ZVK_STAGE_BAD_AMPLITUDE);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_EQ(g_stage.amplitude, 0.0);
}

TEST_F(StageOscillation, EachRefusalOfTheCardIsReturned)
{
    // calls of a start: stop, buffer, two attributes, clock, write, start
    const int32_t expected[] = {0, kToldDaqFailure, 0, 0, kToldDaqFailure, kToldDaqFailure, 0};
    for (int nth = 1; nth <= 7; ++nth) {
        ResetStage();
        BringUpOutputs();
        card.FailAt(nth);
        EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), expected[nth - 1]) << nth;
        EXPECT_TRUE(card.Failed());
        EXPECT_EQ(g_stage.oscillating[0] != 0, expected[nth - 1] == 0) << nth;
        EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 1.0), 0) << "and the block is whole again";
    }
}

TEST_F(StageOscillation, AStepSizeOfZeroFails)
{
    BringUpOutputs();
    EXPECT_EQ(ZVK_Stage_DaqSetStepSize(0, 0, 0.0), 0);
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), ZVK_STAGE_NO_MEMORY);
    EXPECT_EQ(ZVK_Stage_DaqSetStepSize(0, 0, 0.02), 0);
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
    EXPECT_EQ(g_stage.samplesPerChan, 200);
}

TEST_F(StageOscillation, AStopRestoresTheClockAndKeepsTheBlocksLength)
{
    BringUpOutputs();
    card.SupplySamples({5.5});
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
    card.ForgetCalls();
    EXPECT_EQ(ZVK_Stage_StopOscillation(0, 0), 0);
    EXPECT_EQ(card.Calls(),
              (Calls{"stopTask(t1)", "startTask(t2)", "readAnalogF64(t2, 1, 1, 0, 2)",
                     "stopTask(t2)", "cfgSampClkTiming(t1, \"\", 1000, 10280, 10123, 400)",
                     "setWriteAttribute(t1, 0x1453, 10097)", "cfgOutputBuffer(t1, 400)",
                     "writeAnalogF64(t1, 400, 0, 1, 0)", "startTask(t1)"}));
    EXPECT_EQ(g_stage.oscillating[0], 0);
    EXPECT_EQ(card.Blocks().back().size(), 800U);
    EXPECT_DOUBLE_EQ(card.Blocks().back()[0], 5.5) << "where it was read back";
}

TEST_F(StageOscillation, EachRefusalOfAStopHasItsStatus)
{
    const int32_t expected[] = {
        0, 0, 0, 0, ZVK_STAGE_DAQ_FAILED, kToldDaqFailure, kToldDaqFailure, kToldDaqFailure, 0};
    for (int nth = 1; nth <= 9; ++nth) {
        ResetStage();
        BringUpOutputs();
        ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
        card.FailAt(nth);
        EXPECT_EQ(ZVK_Stage_StopOscillation(0, 0), expected[nth - 1]) << nth;
        EXPECT_TRUE(card.Failed());
        EXPECT_EQ(g_stage.oscillating[0], 0) << nth;
    }
}

TEST_F(StageOscillation, AStartOnAnOscillatingAxisStopsItFirst)
{
    BringUpOutputs();
    card.SupplySamples({5.0});
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
    card.ForgetCalls();
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 2.0, 20), 0);
    const Calls calls = card.Calls();
    EXPECT_EQ(calls[8], "startTask(t1)") << "the end of the stop";
    EXPECT_EQ(calls[10], "cfgOutputBuffer(t1, 800)");
    EXPECT_EQ(g_stage.amplitude, 2.0);
    EXPECT_EQ(g_stage.frequency, 20);
}

TEST_F(StageOscillation, AShakenOutputIsMovedAndShakenOn)
{
    BringUpOutputs();
    card.SupplySamples({5.0});
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 49.5), ZVK_STAGE_OSCILLATION_RANGE);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, -49.5), ZVK_STAGE_OSCILLATION_RANGE);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 30.0), 0);
    EXPECT_EQ(g_stage.position[0], 30.0);
    EXPECT_EQ(g_stage.oscillating[0], 1);
    EXPECT_EQ(card.Blocks().back()[0], 8.0);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 0, 1.0), ZVK_STAGE_OSCILLATING);
    card.FailCall("cfgOutputBuffer", 2);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 20.0), ZVK_STAGE_OUT_OF_RANGE)
        << "it did not start again";
}

TEST_F(StageOscillation, TheControllersGeneratorIsSetUpStepByStep)
{
    BringUpController();
    ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 10.0), 0);
    (void)Asked();
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 1, 0.25, 32), 0);
    EXPECT_EQ(Asked(), (Calls{"WCL 2", "SPA? 1 0x0E000200", "WMS? 2", "WTR 2 1 0",
                              "WAV 2 X SIN_P 625 0.5 9.75 625 0 312", "CTO 2 3 4", "WGO 2 17"}));
    const VirtualStageAxis axis = controller->State(1);
    EXPECT_TRUE(axis.oscillates);
    EXPECT_TRUE(axis.triggersOutput);
    EXPECT_NEAR(axis.hertz, 32.0, 1e-9);
    EXPECT_NEAR(axis.amplitude, 0.25, 1e-12);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 0.0), ZVK_STAGE_OSCILLATING);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 1, 0.0), ZVK_STAGE_OSCILLATING);
    (void)Asked();
    EXPECT_EQ(ZVK_Stage_Center(0), 0);
    EXPECT_EQ(Asked(), (Calls{"MOV 1 0", "MOV 3 0"})) << "without the one that oscillates";
    EXPECT_EQ(ZVK_Stage_StopOscillation(0, 1), 0);
    EXPECT_EQ(Asked(), (Calls{"WGO 2 0", "MOV 2 10"}));
    EXPECT_FALSE(controller->State(1).oscillates);
}

TEST_F(StageOscillation, APeriodLongerThanTheTableIsPlayedAtALowerRate)
{
    BringUpController();
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 0.25, 1), 0);
    const Calls asked = Asked();
    // 20000 points at 50 us do not fit into 8192: rate 3, and 6666 points
    EXPECT_EQ(asked[3], "WTR 1 3 0");
    EXPECT_EQ(asked[4], "WAV 1 X SIN_P 6666 0.5 -0.25 6666 0 3333");
}

TEST_F(StageOscillation, WhatTheControllerRefusesOnTheWayIsLoggedAndTheStepsGoOn)
{
    for (const char *command : {"WCL", "SPA?", "WMS?", "WTR", "CTO"}) {
        ResetStage();
        BringUpController();
        folder.Remove("log.ini");
        VirtualStageFault fault;
        fault.refuse = command;
        fault.refuseCode = 17;
        controller->Misbehave(fault);
        (void)ZVK_Stage_StartOscillation(0, 0, 0.25, 32);
        EXPECT_EQ(Asked().back(), "WGO 1 17") << command;
        EXPECT_NE(folder.Read("log.ini").find("out of range"), std::string::npos) << command;
        controller->Misbehave({});
    }
    ResetStage();
    BringUpController();
    VirtualStageFault fault;
    fault.refuse = "WGO";
    fault.refuseCode = 17;
    controller->Misbehave(fault);
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 0.25, 32), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(g_stage.oscillating[0], 0);
}

TEST_F(StageOscillation, AFrequencyOfZeroSendsNoNumberThatIsNone)
{
    BringUpController();
    (void)ZVK_Stage_StartOscillation(0, 0, 0.25, 0);
    for (const std::string &command : Asked())
        EXPECT_EQ(command.find("inf"), std::string::npos) << command;
}

TEST_F(StageOscillation, TheThirdAxisOfTwoIsCheckedBehindTheClear)
{
    WriteConfig({{"NUMBEROFAXES", "2"}});
    ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    (void)Asked();
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 2, 0.25, 32), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(Asked(), (Calls{"WCL 3"}));
}

TEST_F(StageOscillation, WithBothBitsTheOutputsShakeAlone)
{
    BringUpBoth();
    g_stage.position[0] = 0.0;  // the recording card reads 0 V back
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
    EXPECT_TRUE(Asked().empty());
    EXPECT_EQ(ZVK_Stage_StopOscillation(0, 0), 0);
    EXPECT_EQ(Asked()[0], "WGO 1 0") << "but a stop goes to both";
}

TEST_F(StageOscillation, SimulatedItIsAFlag)
{
    Simulate("16");
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 2, 1e9, -5), 0);
    EXPECT_EQ(g_stage.oscillating[2], 1);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 2, 1e9), 0) << "without a test";
    EXPECT_EQ(ZVK_Stage_StopOscillation(0, 2), 0);
    EXPECT_EQ(g_stage.oscillating[2], 0);
    EXPECT_EQ(ZVK_Stage_DaqSetStepSize(0, 0, 3.0), 0);
    EXPECT_NE(g_stage.stepSize[0], 3.0) << "nothing stored";
}

TEST_F(StageOscillation, BeforeInitItIs709)
{
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 1), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_StopOscillation(0, 0), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_DaqSetStepSize(0, 0, 1.0), ZVK_STAGE_NOT_FOUND);
}

TEST_F(StageOscillation, TheCallbacksThatNobodyRegistersDoAsTold)
{
    EXPECT_EQ(ZVK_Stage_OnEveryNSamplesEvent(nullptr, 2, 10, nullptr), 0);
    BringUpOutputs();
    EXPECT_EQ(ZVK_Stage_DaqDoneCallback(g_stage.task, 0, nullptr), 0);
    EXPECT_EQ(card.Calls(), (Calls{"stopTask(t1)"}));
    EXPECT_EQ(ZVK_Stage_DaqDoneCallback(g_stage.task, -200290, nullptr), -200290);
    EXPECT_EQ(card.Calls().back(), "clearTask(t1)");
    EXPECT_EQ(g_stage.task, nullptr);
}
