// Moves, positions and speeds, on each back-end.

#include "stage_fixture.h"

#include <limits>

using StageMotion = StageTest;
using Calls = std::vector<std::string>;

TEST_F(StageMotion, BeforeInitEveryCallAnswers709)
{
    double value = 0;
    uint16_t arrived = 77;
    EXPECT_EQ(ZVK_Stage_Center(0), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 9, 0.0), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 9, 0.0), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 9, &value), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 9, 1.0, &value), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_GetMaxSpeed(0, &value), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_GetMinMaxPosition(0, 9, &value, &value), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_CheckMoveStatus(0, &arrived), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(arrived, 77);
}

TEST_F(StageMotion, SimulatedAnyPositionIsTakenAndComesBack)
{
    Simulate("1");
    double position = 0;
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 2, 1e6), 0);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 2, -1.0), 0);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 2, &position), 0);
    EXPECT_EQ(position, 999999.0);
    EXPECT_EQ(ZVK_Stage_Center(0), 0);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 2, &position), 0);
    EXPECT_EQ(position, 999999.0) << "nothing moved";
    double speed = 0;
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 1, 1e9, &speed), 0);
    EXPECT_EQ(speed, 1e9);
    double fastest[3] = {};
    EXPECT_EQ(ZVK_Stage_GetMaxSpeed(0, fastest), 0);
    EXPECT_EQ(fastest[2], 1000.0);
    uint16_t arrived = 0;
    EXPECT_EQ(ZVK_Stage_CheckMoveStatus(0, &arrived), 0);
    EXPECT_EQ(arrived, 1);
}

TEST_F(StageMotion, AnAxisThatDoesNotExistReachesNoMemory)
{
    Simulate("1");
    for (const int32_t axis : {3, -1, 1000000, std::numeric_limits<int32_t>::min()}) {
        double value = 7;
        EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, axis, 5.0), 0);
        EXPECT_EQ(ZVK_Stage_MoveRelative(0, axis, 5.0), 0);
        EXPECT_EQ(ZVK_Stage_GetPosition(0, axis, &value), 0);
        EXPECT_EQ(value, 7);
        EXPECT_EQ(ZVK_Stage_SetSpeed(0, axis, 5.0, nullptr), 0);
        EXPECT_EQ(ZVK_Stage_StartOscillation(0, axis, 1.0, 1), 0);
        EXPECT_EQ(ZVK_Stage_StopOscillation(0, axis), 0);
        EXPECT_EQ(ZVK_Stage_DaqSetStepSize(0, axis, 1.0), 0);
    }
    ResetStage();
    BringUpBoth();
    for (const int32_t axis : {3, -1, 1000000, std::numeric_limits<int32_t>::min()}) {
        double value = 7;
        EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, axis, 5.0), ZVK_STAGE_BAD_AXIS);
        EXPECT_EQ(ZVK_Stage_MoveRelative(0, axis, 5.0), ZVK_STAGE_BAD_AXIS);
        EXPECT_EQ(ZVK_Stage_GetPosition(0, axis, &value), ZVK_STAGE_BAD_AXIS);
        EXPECT_EQ(ZVK_Stage_SetSpeed(0, axis, 5.0, nullptr), ZVK_STAGE_BAD_AXIS);
        EXPECT_EQ(ZVK_Stage_StartOscillation(0, axis, 1.0, 1), ZVK_STAGE_BAD_AMPLITUDE);
        EXPECT_EQ(ZVK_Stage_DaqSetStepSize(0, axis, 1.0), 0);
        (void)ZVK_Stage_StopOscillation(0, axis);
    }
}

TEST_F(StageMotion, TheControllerMovesWithinItsLimits)
{
    BringUpController();
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 12.5), 0);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 2, 60.0), ZVK_STAGE_OUT_OF_RANGE);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, -60.0), ZVK_STAGE_OUT_OF_RANGE);
    EXPECT_EQ(Asked(), (Calls{"MOV 2 12.5", "MOV 3 50", "MOV 1 -50"}));
    EXPECT_EQ(g_stage.position[2], 50.0);
    uint16_t arrived = 77;
    EXPECT_EQ(ZVK_Stage_CheckMoveStatus(0, &arrived), 0);
    EXPECT_EQ(arrived, 0) << "on its way";
    clock.Advance(1.0);
    EXPECT_EQ(ZVK_Stage_CheckMoveStatus(0, &arrived), 0);
    EXPECT_EQ(arrived, 1);
    double position = 0;
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 1, &position), 0);
    EXPECT_EQ(position, 12.5);
}

TEST_F(StageMotion, AxesBeyondTheControllersAreRefused)
{
    WriteConfig({{"NUMBEROFAXES", "2"}});
    ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    double value = 0;
    (void)Asked();
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 2, 0.0), ZVK_STAGE_BAD_AXIS) << "the count itself passes "
                                                                        "the first test";
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 3, 0.0), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 2, 0.0), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 2, &value), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 2, 1.0, &value), ZVK_STAGE_BAD_AXIS);
    EXPECT_TRUE(Asked().empty());
}

TEST_F(StageMotion, EachRefusalOfTheControllerHasItsStatusAndItsReasonInTheLog)
{
    const struct
    {
        const char *command;
        int32_t (*call)();
        int32_t status;
    } rows[] = {
        {"MOV", [] { return ZVK_Stage_MoveAbsolute(0, 0, 1.0); }, ZVK_STAGE_MOVE_FAILED},
        {"MOV", [] { return ZVK_Stage_Center(0); }, ZVK_STAGE_MOVE_FAILED},
        {"MVR", [] { return ZVK_Stage_MoveRelative(0, 0, 1.0); }, ZVK_STAGE_MOVE_FAILED},
        {"MOV?", [] { return ZVK_Stage_MoveRelative(0, 0, 1.0); }, 0},
        {"VEL", [] { return ZVK_Stage_SetSpeed(0, 0, 1.0, nullptr); }, ZVK_STAGE_BAD_VELOCITY},
        {"WGO", [] { return ZVK_Stage_StopOscillation(0, 0); }, ZVK_STAGE_MOVE_FAILED},
    };
    BringUpController();
    for (const auto &row : rows) {
        folder.Remove("log.ini");
        VirtualStageFault fault;
        fault.refuse = row.command;
        fault.refuseCode = 5;
        controller->Misbehave(fault);
        EXPECT_EQ(row.call(), row.status) << row.command;
        EXPECT_NE(folder.Read("log.ini").find("servo is off"), std::string::npos) << row.command;
    }
}

TEST_F(StageMotion, AStepOnTheControllerIsRelativeToItsTarget)
{
    BringUpController();
    ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 10.0), 0);
    (void)Asked();
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 0, -2.5), 0);
    EXPECT_EQ(Asked(), (Calls{"MVR 1 -2.5", "MOV? 1"}));
    EXPECT_EQ(g_stage.position[0], 7.5);
}

TEST_F(StageMotion, AStepOutOfRangeEndsATenthInsideOnBothBackEnds)
{
    BringUpController();
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 0, 60.0), ZVK_STAGE_OUT_OF_RANGE);
    EXPECT_EQ(Asked(), (Calls{"MOV 1 49.9"}));
    EXPECT_DOUBLE_EQ(g_stage.position[0], 50.1) << "above the place commanded, and meant so";
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 1, -60.0), ZVK_STAGE_OUT_OF_RANGE);
    EXPECT_EQ(Asked(), (Calls{"MOV 2 -49.9"}));
    EXPECT_DOUBLE_EQ(g_stage.position[1], -49.9);
    ResetStage();
    BringUpOutputs();
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 0, 60.0), ZVK_STAGE_OUT_OF_RANGE);
    EXPECT_NEAR(card.Blocks().back()[0], 9.99, 1e-12);
    EXPECT_DOUBLE_EQ(g_stage.position[0], 50.1);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 1, -60.0), ZVK_STAGE_OUT_OF_RANGE);
    EXPECT_NEAR(card.Blocks().back()[10], 0.01, 1e-12);
}

TEST_F(StageMotion, AnOutputJumpsByANewBlock)
{
    BringUpOutputs();
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 20.0), 0);
    EXPECT_EQ(card.Calls(),
              (Calls{"stopTask(t1)", "writeAnalogF64(t1, 10, 0, 10, 0)", "startTask(t1)"}));
    std::vector<double> expected(10, 5.0);
    expected.resize(20, 7.0);
    EXPECT_EQ(card.Blocks().back(), expected);
    EXPECT_EQ(g_stage.position[1], 20.0);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 60.0), ZVK_STAGE_OUT_OF_RANGE);
    EXPECT_EQ(g_stage.position[0], 50.0);
    EXPECT_EQ(card.Blocks().back()[0], 10.0);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 2, 0.0), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 3, 0.0), ZVK_STAGE_BAD_AXIS);
}

TEST_F(StageMotion, AFailedWriteOfAMoveIsNotReportedAndKeepsThePosition)
{
    BringUpOutputs();
    card.FailCall("writeAnalogF64", 1);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 20.0), 0);
    EXPECT_EQ(g_stage.position[0], 0.0);
    EXPECT_EQ(g_stage.daqRunning, 1);
}

TEST_F(StageMotion, APositionOfTheOutputsIsReadBack)
{
    BringUpOutputs();
    card.SupplySamples({7.5});
    double position = 0;
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 1, &position), 0);
    EXPECT_DOUBLE_EQ(position, 25.0);
    EXPECT_DOUBLE_EQ(g_stage.position[1], 25.0);
    EXPECT_EQ(card.Calls(),
              (Calls{"startTask(t3)", "readAnalogF64(t3, 1, 1, 0, 2)", "stopTask(t3)"}));
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 2, &position), ZVK_STAGE_BAD_AXIS);
    card.FailCall("readAnalogF64", 1, -200284);
    position = 3.0;
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, &position), -200284);
    EXPECT_EQ(position, 3.0);
    EXPECT_EQ(card.Calls().back(), "stopTask(t2)");
}

TEST_F(StageMotion, WithBothBitsAMoveGoesToBothUnlessItWasClamped)
{
    BringUpBoth();
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 5.0), 0);
    EXPECT_EQ(Asked(), (Calls{"MOV 1 5"}));
    EXPECT_EQ(card.Blocks().back()[0], 5.5);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 500.0), ZVK_STAGE_OUT_OF_RANGE);
    EXPECT_TRUE(Asked().empty());
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 2, 5.0), 0);
    EXPECT_EQ(Asked(), (Calls{"MOV 3 5"})) << "the third axis has no output";
    double position = 0;
    (void)card.Calls();
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, &position), 0);
    EXPECT_TRUE(Asked().empty()) << "the outputs are asked first";
}

TEST_F(StageMotion, CentringTakesThreeAxesAndBothOutputs)
{
    BringUpBoth();
    g_stage.position[0] = 9.0;
    EXPECT_EQ(ZVK_Stage_Center(0), 0);
    EXPECT_EQ(Asked(), (Calls{"MOV 1 0", "MOV 2 0", "MOV 3 0"}));
    EXPECT_EQ(card.Calls(), (Calls{"writeAnalogF64(t1, 10, 0, 1, 0)"}));
    EXPECT_EQ(g_stage.position[0], 0.0);
    card.FailCall("writeAnalogF64", 1);
    EXPECT_EQ(ZVK_Stage_Center(0), kToldDaqFailure);
}

TEST_F(StageMotion, SpeedsAreClampedByBackEnd)
{
    BringUpController();
    double speed = 0;
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 0, 2000.0, &speed), 0);
    EXPECT_EQ(speed, 1500.0);
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 0, 0.01, &speed), 0);
    EXPECT_EQ(speed, 0.1);
    EXPECT_EQ(Asked(), (Calls{"VEL 1 1500", "VEL 1 0.1"}));
    double fastest[3] = {};
    EXPECT_EQ(ZVK_Stage_GetMaxSpeed(0, fastest), 0);
    EXPECT_EQ(fastest[1], 1500.0);
    ResetStage();
    BringUpOutputs();
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 1, 0.01, &speed), 0);
    EXPECT_EQ(speed, 0.05);
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 1, 2000.0, &speed), 0);
    EXPECT_EQ(g_stage.speed[1], 1500.0);
    EXPECT_EQ(ZVK_Stage_GetMaxSpeed(0, fastest), ZVK_STAGE_NOT_FOUND);
    EXPECT_TRUE(card.Calls().empty());
}

TEST_F(StageMotion, TheLimitsOfAxisThreePass)
{
    BringUpController();
    double low = -1;
    double high = -1;
    EXPECT_EQ(ZVK_Stage_GetMinMaxPosition(0, 3, &low, &high), 0);
    EXPECT_EQ(low, 0.0);
    EXPECT_EQ(ZVK_Stage_GetMinMaxPosition(0, 4, &low, &high), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_GetMinMaxPosition(0, -1, &low, &high), ZVK_STAGE_BAD_AXIS);
    EXPECT_EQ(ZVK_Stage_GetMinMaxPosition(0, 1, &low, &high), 0);
    EXPECT_EQ(low, -50.0);
    EXPECT_EQ(high, 50.0);
}

TEST_F(StageMotion, WithoutABackEndTheCallsAnswer709)
{
    WriteConfig({{"BACKEND", "0"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND);
    g_stage.initialized = 1;
    double value = 0;
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 0, 1.0), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, &value), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 0, 1.0, &value), ZVK_STAGE_BAD_VELOCITY);
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 1), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(ZVK_Stage_Shutdown(0), ZVK_STAGE_NOT_FOUND);
    uint16_t arrived = 77;
    EXPECT_EQ(ZVK_Stage_CheckMoveStatus(0, &arrived), 0);
    EXPECT_EQ(arrived, 77) << "not written";
}

TEST_F(StageMotion, APositionThatIsNotANumberNeverGoesOut)
{
    BringUpOutputs();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, nan), ZVK_STAGE_OUT_OF_RANGE);
    EXPECT_EQ(card.Blocks().back()[0], 10.0);
}
