// The stage's odd corners: which check comes first when two things are broken, and what stays whole
// when something fails half-way.

#include "stage_fixture.h"

#include "failing_memory.h"

#include <cmath>
#include <limits>

using StageEdges = StageTest;
using Calls = std::vector<std::string>;

constexpr int32_t kLastNumber = std::numeric_limits<int32_t>::max();

static VirtualStageFault Refusing(const std::string &command)
{
    VirtualStageFault fault;
    fault.refuse = command;
    fault.refuseCode = 5;
    return fault;
}

static bool Wrote(const Calls &calls)
{
    for (const std::string &call : calls) {
        if (call.starts_with("writeAnalogF64")) return true;
    }
    return false;
}

// -- two things broken at once --

TEST_F(StageEdges, SimulateIsReadBeforeMiIsLookedAt)
{
    WriteConfig({{"MI", "0"}, {"SIMULATE", "-"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_BAD_CONFIGURATION);
    WriteConfig({{"MI", "0"}, {"BACKEND", "-"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_INSTALLED);
}

TEST_F(StageEdges, TheTaskIsMadeBeforeTheCardsNameIsReadAndTheChannelsAfterIt)
{
    WriteConfig({{"BACKEND", "16"}, {"DAQNAME", "-"}});
    card.FailCall("createTask", 1);
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_DAQ_FAILED);
    card.FailCall("createAOVoltageChan", 1);
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
}

TEST_F(StageEdges, TheTriggerIsReadBeforeTheCardIsTouched)
{
    WriteConfig({{"BACKEND", "16"}, {"TRIGGER", "-"}});
    card.FailCall("createTask", 1);
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_BAD_CONFIGURATION);
    EXPECT_TRUE(card.Calls().empty());
}

TEST_F(StageEdges, WithBothBitsTheCardFailsBeforeTheControllerIsCalled)
{
    WriteConfig({{"BACKEND", "17"}, {"IP", "-"}});
    card.FailCall("cfgOutputBuffer", 1);
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), kToldDaqFailure);
    EXPECT_EQ(controller->Connections(), 0);
}

TEST_F(StageEdges, WithBothBitsAControllerThatIsNotThereLeavesTheOutputsUpAndAResetFindsIt)
{
    WriteConfig({{"BACKEND", "17"}, {"PORTNUM", "1"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_CONNECT_FAILED);
    EXPECT_EQ(g_stage.initialized, 1);
    EXPECT_EQ(card.OpenTasks(), 3);
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_ALREADY_INITIALIZED);
    WriteConfig({{"BACKEND", "17"}});
    EXPECT_EQ(ZVK_Stage_Reset(0), 0);
    EXPECT_EQ(card.OpenTasks(), 3);
}

TEST_F(StageEdges, AnOscillationIsToldBeforeTheLimitOnTheController)
{
    BringUpController();
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 0.25, 32), 0);
    (void)Asked();
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 500.0), ZVK_STAGE_OSCILLATING);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 0, 500.0), ZVK_STAGE_OSCILLATING);
    EXPECT_TRUE(Asked().empty());
    EXPECT_EQ(g_stage.position[0], 0.0);
}

TEST_F(StageEdges, AClampedMoveOfAShakenOutputIsRefusedForItsOscillation)
{
    BringUpOutputs();
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 1, 1.0, 10), 0);
    card.ForgetCalls();
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 500.0), ZVK_STAGE_OSCILLATION_RANGE);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_EQ(g_stage.oscillating[1], 1);
}

TEST_F(StageEdges, AnAmplitudeThatIsTooLargeIsToldBeforeTheCardIsTouchedAndEndsTheOldOne)
{
    BringUpOutputs();
    card.SupplySamples({5.0});
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 500.0, 10), ZVK_STAGE_BAD_AMPLITUDE);
    EXPECT_EQ(g_stage.oscillating[0], 0) << "it was stopped first";
    EXPECT_EQ(g_stage.amplitude, 1.0);
    EXPECT_EQ(g_stage.samplesPerChan, 400);
    card.ForgetCalls();
    card.FailCall("cfgOutputBuffer", 1);
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 500.0, 10), ZVK_STAGE_BAD_AMPLITUDE);
    EXPECT_TRUE(card.Calls().empty());
    card.FailCall("cfgOutputBuffer", 0);
}

TEST_F(StageEdges, CentringEndsAtTheControllersRefusalBeforeTheOutputs)
{
    BringUpBoth();
    controller->Misbehave(Refusing("MOV"));
    card.FailCall("writeAnalogF64", 1);
    EXPECT_EQ(ZVK_Stage_Center(0), ZVK_STAGE_MOVE_FAILED);
    EXPECT_TRUE(card.Calls().empty());
    card.FailCall("writeAnalogF64", 0);
}

TEST_F(StageEdges, AnAxisThatIsNoneIsToldBeforeALinkThatIsLost)
{
    BringUpController();
    controller.reset();
    double value = 0.0;
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 3, 1.0, &value), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 3, &value), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 3, 1.0), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 3, 1.0), ZVK_STAGE_BAD_AXIS);
    EXPECT_FALSE(folder.Holds("log.ini"));
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 0, 1.0, &value), ZVK_STAGE_BAD_VELOCITY);
}

TEST_F(StageEdges, WithBothBitsAPositionIsOnlyThatOfTheOutputs)
{
    BringUpBoth();
    double value = 7.0;
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 2, &value), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(value, 7.0);
    EXPECT_TRUE(Asked().empty());
}

TEST_F(StageEdges, AStepThatTheControllerRefusesKeepsWhatTheOutputsReadBack)
{
    BringUpBoth();
    controller->Misbehave(Refusing("MOV"));
    card.SupplySamples({7.5});
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 0, 1.0), ZVK_STAGE_MOVE_FAILED);
    EXPECT_EQ(g_stage.position[0], 25.0);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 0, 100.0), ZVK_STAGE_MOVE_FAILED);
    EXPECT_DOUBLE_EQ(g_stage.position[0], 49.9) << "not the 50.1 of a step that went through";
}

TEST_F(StageEdges, StoppingOnTheControllerKeepsTheFlagWhenTheGeneratorGoesOn)
{
    BringUpController();
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 0.25, 32), 0);
    controller->Misbehave(Refusing("WGO"));
    (void)Asked();
    EXPECT_EQ(ZVK_Stage_StopOscillation(0, 0), ZVK_STAGE_MOVE_FAILED);
    EXPECT_EQ(g_stage.oscillating[0], 1);
    EXPECT_EQ(Asked(), (Calls{"WGO 1 0"})) << "it does not move";
}

// -- what stays whole --

TEST_F(StageEdges, CentringTheOutputsEndsTheirOscillation)
{
    BringUpOutputs();
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 1, 1.0, 10), 0);
    EXPECT_EQ(ZVK_Stage_Center(0), 0);
    EXPECT_EQ(card.Calls().back(), "writeAnalogF64(t1, 400, 0, 1, 0)");
    EXPECT_EQ(card.Blocks().back(), std::vector<double>(800, 5.0));
    EXPECT_EQ(g_stage.oscillating[1], 0);
    EXPECT_EQ(g_stage.position[1], 0.0);
}

TEST_F(StageEdges, AShorterOscillationThatFailsDoesNotMoveTheOtherOutput)
{
    BringUpOutputs();
    ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 20.0), 0);
    card.FailCall("cfgOutputBuffer", 1);
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 1, 0.01, 10), kToldDaqFailure);
    ASSERT_EQ(g_stage.samplesPerChan, 4) << "shorter than the ten of the steady block";
    ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 5.0), 0);
    EXPECT_EQ(card.Blocks().back(), (std::vector<double>{7.0, 7.0, 7.0, 7.0, 5.5, 5.5, 5.5, 5.5}));
}

TEST_F(StageEdges, AnOscillationThatEndsAtTheClockOrTheWriteLeavesTheOtherOutputWhereItIs)
{
    for (const char *entry : {"cfgSampClkTiming", "writeAnalogF64"}) {
        ResetStage();
        BringUpOutputs();
        ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 20.0), 0);
        card.FailCall(entry, 1);
        ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), kToldDaqFailure) << entry;
        ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 5.0), 0);
        const std::vector<double> block = card.Blocks().back();
        ASSERT_EQ(block.size(), 800U);
        for (int i = 0; i < 400; ++i) {
            ASSERT_EQ(block[i], 7.0) << entry << i;
            ASSERT_EQ(block[400 + i], 5.5) << entry << i;
        }
    }
}

TEST_F(StageEdges, ABlockOfANegativeLengthIsNeverWritten)
{
    WriteConfig({{"BACKEND", "16"}, {"SAMPLESPERCHAN", "-1"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NO_MEMORY);
    EXPECT_FALSE(Wrote(card.Calls()));
    ResetStage();
    BringUpOutputs();
    card.SupplySamples({5.0});
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, -1.0, 10), ZVK_STAGE_NO_MEMORY);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 1.0), 0) << "as a write that fails: not reported";
    EXPECT_EQ(g_stage.position[0], 0.0);
    EXPECT_EQ(ZVK_Stage_Center(0), ZVK_STAGE_NO_MEMORY);
    EXPECT_EQ(ZVK_Stage_StopOscillation(0, 0), ZVK_STAGE_NO_MEMORY);
    EXPECT_FALSE(Wrote(card.Calls()));
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0) << "a good one mends it";
}

TEST_F(StageEdges, TheLastNumberIsNoAxisToo)
{
    BringUpController();
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, kLastNumber, 0.25, 32), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_StopOscillation(0, kLastNumber), ZVK_STAGE_MOVE_FAILED);
    EXPECT_EQ(Asked(), (Calls{"WCL 2147483647", "WGO 2147483647 0"}));
}

TEST_F(StageEdges, ThePeriodIsTheFormulaToTheLastBit)
{
    BringUpOutputs();
    g_stage.position[0] = -3.7;
    g_stage.position[1] = 12.3;
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 1, 0.83, 17), 0);
    const std::vector<double> block = card.Blocks().back();
    const int n = static_cast<int>(0.83 * 4.0 / 0.01);
    ASSERT_EQ(block.size(), 2U * n);
    for (int i = 0; i < n; ++i) {
        const double wave = 0.83 * std::sin(i * 360.0 / n * 0.017453292519943295);
        EXPECT_EQ(block[i], (-3.7 + 50.0) * 0.1) << i;
        EXPECT_EQ(block[n + i], (wave + 12.3 + 50.0) * 0.1) << i;
    }
}

TEST_F(StageEdges, NullOutputsArePassedOver)
{
    BringUpController();
    EXPECT_EQ(ZVK_Stage_GetInitStatus(0, nullptr), 0);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, nullptr), 0);
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 0, 100.0, nullptr), 0);
    EXPECT_EQ(ZVK_Stage_GetMaxSpeed(0, nullptr), 0);
    EXPECT_EQ(ZVK_Stage_GetMinMaxPosition(0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Stage_CheckMoveStatus(0, nullptr), 0);
    EXPECT_EQ(ZVK_Stage_SelfTest(0, nullptr), 0);
}

TEST_F(StageEdges, WithAControllerThatDoesNotAnswerNoAxisHasArrived)
{
    BringUpController();
    VirtualStageFault fault;
    fault.silent = true;
    controller->Misbehave(fault);
    uint16_t arrived = 77;
    EXPECT_EQ(ZVK_Stage_CheckMoveStatus(0, &arrived), 0);
    EXPECT_EQ(arrived, 0);
    EXPECT_NE(folder.Read("log.ini").find("did not answer in time"), std::string::npos);
}

TEST_F(StageEdges, AHundredRoundsOfTheOutputsKeepNoBlockAndNoTask)
{
    FailingMemory memory;
    WriteConfig({{"BACKEND", "16"}});
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND);
        ASSERT_EQ(ZVK_Stage_StartOscillation(0, round % 2, 1.0, 10), 0);
        ASSERT_EQ(ZVK_Stage_Shutdown(0), 0);
        ASSERT_EQ(card.OpenTasks(), 0);
        ASSERT_EQ(memory.Live(), 0);
    }
    EXPECT_EQ(card.Misuses(), 0);
}
