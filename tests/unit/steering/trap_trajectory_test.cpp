// Move types, stored trajectories and their runs.

#include "steering_fixture.h"

#include <cstdlib>

using Values = std::vector<double>;

// One trap more on path A, at (1, -1.5) V, waypoint 1, at 2 V/s.
class TrapTrajectory : public SteeringTest
{
protected:
    void SetUp() override
    {
        SteeringTest::SetUp();
        bringUp();
        index = addTrap(0, 1.0, -1.5, "bead");
        ASSERT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 2.0, ZVK_UNIT_VOLT), 0);
    }
    int32_t store(const Values &x, const Values &y) const
    {
        double speed = 0.0;
        return ZVK_Trap_SetTrajectory(0, 0, index, static_cast<int32_t>(x.size()), x.data(),
                                      y.data(), &speed);
    }
    int32_t run(int32_t moveType, int32_t waveForm, double *frequency) const
    {
        return ZVK_Trap_TrajectoryRun(0, 0, index, 1, moveType, waveForm, frequency);
    }
    static int32_t waypointMode() { return g_galvo[0].moveMode[1]; }
    int32_t index = 0;
};

TEST_F(TrapTrajectory, MoveTypesOneAndTwoReachTrapAndWaypoint)
{
    for (const int32_t type : {ZVK_MOVE_ONCE, ZVK_MOVE_BACK_AND_FORTH}) {
        EXPECT_EQ(ZVK_Trap_SetMoveType(0, 0, index, type), 0);
        EXPECT_EQ(node(0)->moveType, type);
        EXPECT_EQ(waypointMode(), type);
        EXPECT_EQ(node(0)->trajRunning, 0);  // there is nothing to run
    }
}

TEST_F(TrapTrajectory, WithATrajectoryMovingRunsItAndStandingEndsIt)
{
    ASSERT_EQ(store({0.0, 1.0}, {0.0, 0.0}), 0);
    for (const int32_t type : {ZVK_MOVE_ONCE, ZVK_MOVE_BACK_AND_FORTH}) {
        EXPECT_EQ(ZVK_Trap_SetMoveType(0, 0, index, type), 0);
        EXPECT_EQ(node(0)->trajRunning, 1);
        EXPECT_EQ(ZVK_Trap_SetMoveType(0, 0, index, ZVK_MOVE_STAND), 0);
        EXPECT_EQ(node(0)->trajRunning, 0);
        EXPECT_EQ(node(0)->moveType, ZVK_MOVE_STAND);
        EXPECT_EQ(waypointMode(), ZVK_MOVE_STAND);
    }
}

TEST_F(TrapTrajectory, UnknownMoveTypesChangeNothing)
{
    for (const int32_t type : {0, 4, -1, 99})
        EXPECT_EQ(ZVK_Trap_SetMoveType(0, 0, index, type), ZVK_GALVO_BAD_MOVE_MODE);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_STAND);
    EXPECT_EQ(waypointMode(), ZVK_MOVE_STAND);
}

TEST_F(TrapTrajectory, ARefusedMoveIsNotStoredButARefusedStandIs)
{
    ASSERT_EQ(store({0.0, 1.0}, {0.0, 0.0}), 0);
    ASSERT_EQ(ZVK_Trap_SetMoveType(0, 0, index, ZVK_MOVE_ONCE), 0);
    node(0)->wp = 7;  // no such waypoint
    EXPECT_EQ(ZVK_Trap_SetMoveType(0, 0, index, ZVK_MOVE_BACK_AND_FORTH), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_ONCE);
    EXPECT_EQ(ZVK_Trap_SetMoveType(0, 0, index, ZVK_MOVE_STAND), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_STAND);
    EXPECT_EQ(node(0)->trajRunning, 1);
}

TEST_F(TrapTrajectory, TheMoveTypeIsReadFromTheWaypoint)
{
    ASSERT_EQ(ZVK_Galvo_SetMoveType(0, 0, 1, ZVK_MOVE_BACK_AND_FORTH), 0);
    int32_t type = 0;
    int32_t running = 42;
    EXPECT_EQ(ZVK_Trap_GetMoveType(0, 0, index, &type, &running), 0);
    EXPECT_EQ(type, ZVK_MOVE_BACK_AND_FORTH);
    EXPECT_EQ(running, 0);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_BACK_AND_FORTH);
}

TEST_F(TrapTrajectory, ARunThatHasEndedIsNoLongerRunning)
{
    ASSERT_EQ(store({0.0, 0.01}, {0.0, 0.0}), 0);
    double frequency = 0.0;
    ASSERT_EQ(run(ZVK_MOVE_ONCE, ZVK_WAVEFORM_LINEAR, &frequency), 0);
    ASSERT_EQ(ZVK_Trap_SetMoveType(0, 0, index, ZVK_MOVE_ONCE), 0);
    int32_t type = 0;
    int32_t running = 0;
    EXPECT_EQ(ZVK_Trap_GetMoveType(0, 0, index, &type, &running), 0);
    EXPECT_EQ(type, ZVK_MOVE_ONCE);
    EXPECT_EQ(running, 1);
    ZVK_Galvo_UpdateBuffer();
    EXPECT_EQ(ZVK_Trap_GetMoveType(0, 0, index, &type, &running), 0);
    EXPECT_EQ(type, ZVK_MOVE_STAND);
    EXPECT_EQ(running, 0);
    EXPECT_EQ(node(0)->trajExists, 1);  // stored, and can run again
    EXPECT_EQ(mirrors(0, 1), (Position{0.01, 0.0}));
}

TEST_F(TrapTrajectory, AMoveTypeThatCannotBeReadWritesNothing)
{
    node(0)->wp = 7;
    int32_t type = 42;
    int32_t running = 42;
    EXPECT_EQ(ZVK_Trap_GetMoveType(0, 0, index, &type, &running), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(type, 42);
    EXPECT_EQ(running, 42);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_STAND);
}

TEST_F(TrapTrajectory, StoringCopiesThePointsAndTellsTheSpeedWithoutReachingTheWaypoint)
{
    const Values x = {0.0, 1.0, 2.0};
    const Values y = {3.0, 2.0, 1.0};
    node(0)->trajRunning = 1;
    double speed = 0.0;
    EXPECT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 3, x.data(), y.data(), &speed), 0);
    EXPECT_EQ(speed, 2.0);
    const ZVK_TNode &trap = *node(0);
    EXPECT_EQ(trap.trajPoints, 3);
    EXPECT_EQ(trap.trajExists, 1);
    EXPECT_EQ(trap.trajRunning, 0);
    EXPECT_EQ(Values(trap.trajX, trap.trajX + 3), x);
    EXPECT_EQ(Values(trap.trajY, trap.trajY + 3), y);
    EXPECT_NE(trap.trajX, x.data());

    int32_t points = 0;
    double *xNodes = nullptr;
    double *yNodes = nullptr;
    EXPECT_EQ(ZVK_Galvo_GetTrajectory(0, 0, 1, &points, &xNodes, &yNodes), 0);
    EXPECT_EQ(points, 1);
    std::free(xNodes);
    std::free(yNodes);
}

TEST_F(TrapTrajectory, ASecondOneTakesThePlaceOfTheFirst)
{
    EXPECT_EQ(store({0.0, 1.0, 2.0}, {0.0, 0.0, 0.0}), 0);
    EXPECT_EQ(store({5.0, 6.0}, {7.0, 8.0}), 0);
    EXPECT_EQ(node(0)->trajPoints, 2);
    EXPECT_EQ(Values(node(0)->trajX, node(0)->trajX + 2), (Values{5.0, 6.0}));
}

TEST_F(TrapTrajectory, WithoutPointsItExistsAndGivesNone)
{
    double speed = 0.0;
    for (const int32_t count : {0, -1, -1000}) {
        EXPECT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, count, nullptr, nullptr, &speed), 0);
        EXPECT_EQ(node(0)->trajExists, 1);
        EXPECT_EQ(node(0)->trajPoints, count);
        double frequency = 42.0;
        EXPECT_EQ(run(ZVK_MOVE_ONCE, ZVK_WAVEFORM_LINEAR, &frequency), 0);
        EXPECT_EQ(frequency, 0.0);
        int32_t points = 42;
        double *x = nullptr;
        double *y = nullptr;
        EXPECT_EQ(ZVK_Trap_GetTrajectory(0, 0, index, &points, &x, &y), 0);
        EXPECT_EQ(points, count);
        EXPECT_NE(x, nullptr);
        std::free(x);
        std::free(y);
    }
}

TEST_F(TrapTrajectory, ASinglePointRunsNowhere)
{
    EXPECT_EQ(store({0.5}, {0.5}), 0);
    double frequency = 42.0;
    EXPECT_EQ(run(ZVK_MOVE_ONCE, ZVK_WAVEFORM_LINEAR, &frequency), 0);
    EXPECT_EQ(frequency, 0.0);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_ONCE);
}

TEST_F(TrapTrajectory, ExistsTellsWhetherOneIsStored)
{
    int32_t exists = 42;
    EXPECT_EQ(ZVK_Trap_TrajectoryExists(0, 0, index, &exists), 0);
    EXPECT_EQ(exists, 0);
    ASSERT_EQ(store({0.0, 1.0}, {0.0, 0.0}), 0);
    EXPECT_EQ(ZVK_Trap_TrajectoryExists(0, 0, index, &exists), 0);
    EXPECT_EQ(exists, 1);
}

TEST_F(TrapTrajectory, GetGivesFreshCopiesAndFreesNothingOfTheCallers)
{
    ASSERT_EQ(store({0.0, 1.0, 2.0}, {3.0, 2.0, 1.0}), 0);
    double stack = 42.0;  // freeing this would end the process
    double *x = &stack;
    double *y = &stack;
    int32_t points = 0;
    EXPECT_EQ(ZVK_Trap_GetTrajectory(0, 0, index, &points, &x, &y), 0);
    ASSERT_EQ(points, 3);
    EXPECT_EQ(Values(x, x + 3), (Values{0.0, 1.0, 2.0}));
    EXPECT_EQ(Values(y, y + 3), (Values{3.0, 2.0, 1.0}));
    x[0] = 99.0;
    EXPECT_EQ(node(0)->trajX[0], 0.0);
    std::free(x);
    std::free(y);
}

TEST_F(TrapTrajectory, WithoutOneGetAndRunAreRefusedAndChangeNothing)
{
    int32_t points = 42;
    double *x = nullptr;
    double *y = nullptr;
    EXPECT_EQ(ZVK_Trap_GetTrajectory(0, 0, index, &points, &x, &y), ZVK_TRAP_NO_TRAJECTORY);
    EXPECT_EQ(points, 42);
    EXPECT_EQ(x, nullptr);
    double frequency = 42.0;
    EXPECT_EQ(run(ZVK_MOVE_ONCE, ZVK_WAVEFORM_SINE, &frequency), ZVK_TRAP_NO_TRAJECTORY);
    EXPECT_EQ(frequency, 42.0);
    EXPECT_EQ(node(0)->waveForm, 0);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_STAND);
    EXPECT_EQ(waypointMode(), ZVK_MOVE_STAND);
}

TEST_F(TrapTrajectory, ARunGivesTheWaypointThePointsAndTheMoveType)
{
    ASSERT_EQ(store({0.0, 0.3, 0.3}, {0.0, 0.4, 1.0}), 0);
    double frequency = 0.0;
    EXPECT_EQ(run(ZVK_MOVE_BACK_AND_FORTH, ZVK_WAVEFORM_LINEAR, &frequency), 0);
    EXPECT_NEAR(frequency, 2.0, 1e-12);  // 2 V/s over twice the first half volt
    EXPECT_EQ(node(0)->waveForm, ZVK_WAVEFORM_LINEAR);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_BACK_AND_FORTH);
    EXPECT_EQ(waypointMode(), ZVK_MOVE_BACK_AND_FORTH);
    EXPECT_EQ(node(0)->trajRunning, 0);  // ZVK_Trap_SetMoveType alone sets it
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_Galvo_GetPositionTarget(0, 0, 1, &x, &y), 0);
    EXPECT_EQ((Position{x, y}), (Position{0.3, 1.0}));
}

TEST_F(TrapTrajectory, TheFrequencyIsThatOfTheTwoWavesOnly)
{
    ASSERT_EQ(store({0.0, 1.0}, {0.0, 0.0}), 0);
    struct Row
    {
        int32_t waveForm;
        double frequency;
    };
    for (const Row row : {Row{0, 0.0}, Row{1, 1.0}, Row{2, 1.0}, Row{3, 0.0}, Row{4, 0.0},
                          Row{-1, 0.0}, Row{99, 0.0}})
    {
        double frequency = 42.0;
        EXPECT_EQ(run(ZVK_MOVE_STAND, row.waveForm, &frequency), 0);
        EXPECT_EQ(frequency, row.frequency) << row.waveForm;
        EXPECT_EQ(node(0)->waveForm, row.waveForm);
    }
}

TEST_F(TrapTrajectory, RunItselfIsIgnored)
{
    ASSERT_EQ(store({0.0, 1.0}, {0.0, 0.0}), 0);
    double frequency = 0.0;
    EXPECT_EQ(
        ZVK_Trap_TrajectoryRun(0, 0, index, 0, ZVK_MOVE_ONCE, ZVK_WAVEFORM_LINEAR, &frequency), 0);
    EXPECT_EQ(waypointMode(), ZVK_MOVE_ONCE);
}

TEST_F(TrapTrajectory, AnyMoveTypeReachesTheTrapEvenIfTheWaypointRefusesIt)
{
    ASSERT_EQ(store({0.0, 1.0}, {0.0, 0.0}), 0);
    double frequency = 0.0;
    for (const int32_t type : {0, 77, -5}) {
        EXPECT_EQ(run(type, ZVK_WAVEFORM_LINEAR, &frequency), 0);
        EXPECT_EQ(node(0)->moveType, type);
        EXPECT_EQ(waypointMode(), ZVK_MOVE_STAND);
    }
}

TEST_F(TrapTrajectory, PointsBeyondTheLimitsAreClampedInTheTrapToo)
{
    ASSERT_EQ(store({9.0, 9.0}, {0.0, 0.0}), 0);
    double frequency = 0.0;
    EXPECT_EQ(run(ZVK_MOVE_ONCE, ZVK_WAVEFORM_LINEAR, &frequency), 0);
    EXPECT_EQ(node(0)->trajX[0], 9.0);  // the first point is not
    EXPECT_EQ(node(0)->trajX[1], 4.0);
    EXPECT_EQ(frequency, 2.0 / (2.0 * 5.0));
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(TrapTrajectory, WhileTheBufferIsInUseTheRunTriesAgain)
{
    ASSERT_EQ(store({0.0, 1.0}, {0.0, 0.0}), 0);
    keepBufferInUse(3);
    double frequency = 0.0;
    EXPECT_EQ(run(ZVK_MOVE_ONCE, ZVK_WAVEFORM_LINEAR, &frequency), 0);
    EXPECT_EQ(clock.Breaths(), 3);
    EXPECT_EQ(waypointMode(), ZVK_MOVE_ONCE);
    EXPECT_EQ(frequency, 1.0);
}

TEST_F(TrapTrajectory, WhatTheGalvoModuleRefusesIsNotReported)
{
    ASSERT_EQ(store({0.0, 1.0}, {0.0, 0.0}), 0);
    ZVK_Galvo_Shutdown(0);
    double frequency = 0.0;
    EXPECT_EQ(run(ZVK_MOVE_ONCE, ZVK_WAVEFORM_LINEAR, &frequency), 0);
    EXPECT_EQ(frequency, 1.0);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_ONCE);
}
