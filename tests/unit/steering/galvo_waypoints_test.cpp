#include "galvo_fixture.h"
#include "steering/galvo_nodes.h"

#include <cmath>

using GalvoWaypoints = GalvoTest;

TEST_F(GalvoWaypoints, AddingToOneGivesACountOfTwoAndIndexOne)
{
    PrepareOutput(10);
    Configure(0, 1);
    int32_t wp = -1;
    EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, 3.0, 4.0), 0);
    EXPECT_EQ(wp, 2);
    const ZVK_GalvoState &row = g_galvo[0];
    EXPECT_EQ(row.NumOfWP, 2);
    EXPECT_EQ(row.posX[1], 3.0);
    EXPECT_EQ(row.targetX[1], 3.0);
    EXPECT_EQ(row.posY[1], 4.0);
    EXPECT_EQ(row.targetY[1], 4.0);
    EXPECT_EQ(row.direction[1], 1);
    EXPECT_EQ(row.speeds[1], 1.0);
    EXPECT_EQ(row.moveMode[1], ZVK_MOVE_STAND);
    EXPECT_EQ(row.trajectory[1]->dwell, 1);
    EXPECT_EQ(row.trajectory[1]->count, 0);
    EXPECT_TRUE(IsHead(*row.trajectory[1]) && IsTail(*row.trajectory[1]));
    EXPECT_EQ(row.posX[0], 1.0) << "what stood before stays";
}

TEST_F(GalvoWaypoints, AddingRebuildsAllSlotsAndSetsTheFlags)
{
    PrepareOutput(10);
    Configure(0, 1);
    g_galvoDaq.writeStatus = 0;
    g_galvoDaq.dataReady = 0;
    int32_t wp = 0;
    ZVK_Galvo_AddWaypoint(0, 0, &wp, 3.0, 4.0);
    EXPECT_EQ(Channel(0), (std::vector<double>{1, 1, 1, 1, 1, 3, 3, 3, 3, 3}));
    EXPECT_EQ(Channel(1), (std::vector<double>{2, 2, 2, 2, 2, 4, 4, 4, 4, 4}));
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoWaypoints, AddingNeedsNoInitializedPathAndDoesNotClamp)
{
    int32_t wp = 0;
    EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 1, &wp, 300.0, -400.0), 0);
    EXPECT_EQ(wp, 1);
    EXPECT_EQ(g_galvo[1].posX[0], 300.0);
}

TEST_F(GalvoWaypoints, AddingChecksPathBeforeUpdate)
{
    g_galvoDaq.updating = 1;
    int32_t wp = 17;
    EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 2, &wp, 0, 0), ZVK_GALVO_BAD_PATH);
    EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 1, &wp, 0, 0), ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(wp, 17);
    EXPECT_EQ(g_galvo[1].NumOfWP, 0);
}

TEST_F(GalvoWaypoints, ManyWaypointsGrowWithoutABound)
{
    PrepareOutput(100);
    int32_t wp = 0;
    for (int i = 0; i < 500; ++i)
        ASSERT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, i * 0.001, 0), 0);
    EXPECT_EQ(wp, 500);
    EXPECT_EQ(g_galvo[0].posX[499], 0.499);
}

TEST_F(GalvoWaypoints, RemovingMovesLaterOnesDown)
{
    PrepareOutput(10);
    Configure(0, 3);
    ZVK_Galvo_SetSpeed(0, 0, 2, 5.0);
    ZVK_Galvo_SetMoveType(0, 0, 2, ZVK_MOVE_BACK_AND_FORTH);
    ZVK_GalvoNode *third = g_galvo[0].trajectory[2];
    g_galvoDaq.writeStatus = 0;
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 1), 0);
    const ZVK_GalvoState &row = g_galvo[0];
    ASSERT_EQ(row.NumOfWP, 2);
    EXPECT_EQ(row.posX[0], 1.0);
    EXPECT_EQ(row.posX[1], 1.02);
    EXPECT_EQ(row.targetY[1], 2.02);
    EXPECT_EQ(row.speeds[1], 5.0);
    EXPECT_EQ(row.moveMode[1], ZVK_MOVE_BACK_AND_FORTH);
    EXPECT_EQ(row.trajectory[1], third);
    EXPECT_EQ(Channel(0), (std::vector<double>{1, 1, 1, 1, 1, 1.02, 1.02, 1.02, 1.02, 1.02}));
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoWaypoints, RemovingOnePastTheEndTakesTheLast)
{
    PrepareOutput(10);
    Configure(0, 3);
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 3), 0);
    ASSERT_EQ(g_galvo[0].NumOfWP, 2);
    EXPECT_EQ(g_galvo[0].posX[0], 1.0);
    EXPECT_EQ(g_galvo[0].posX[1], 1.01);
}

TEST_F(GalvoWaypoints, RemovingChecksPathThenIndexThenTheLastThenUpdate)
{
    PrepareOutput(10);
    Configure(0, 1);
    g_galvoDaq.updating = 1;
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, -1, 9), ZVK_GALVO_BAD_PATH);
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 2), ZVK_GALVO_OUT_OF_RANGE) << "the count plus one";
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, -1), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 1), ZVK_GALVO_NO_WAYPOINT);
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 0), ZVK_GALVO_NO_WAYPOINT);
    EXPECT_EQ(g_galvo[0].NumOfWP, 1);
    g_galvoDaq.updating = 0;
    int32_t wp = 0;
    ZVK_Galvo_AddWaypoint(0, 0, &wp, 0, 0);
    g_galvoDaq.updating = 1;
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 0), ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(g_galvo[0].NumOfWP, 2);
}

TEST_F(GalvoWaypoints, RemovingFromAPathWithoutAnyIsRefused)
{
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 0), ZVK_GALVO_NO_WAYPOINT);
}

TEST_F(GalvoWaypoints, AJumpSetsTargetPositionAndItsSlotAlone)
{
    PrepareOutput(10);
    Configure(0, 2);
    g_galvoDaq.buffer[0] = 99;
    g_galvoDaq.writeStatus = 0;
    g_galvoDaq.dataReady = 0;
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 1, 5.0, 6.0), 0);
    EXPECT_EQ(g_galvo[0].posX[1], 5.0);
    EXPECT_EQ(g_galvo[0].targetX[1], 5.0);
    EXPECT_EQ(g_galvo[0].posY[1], 6.0);
    EXPECT_EQ(g_galvo[0].targetY[1], 6.0);
    EXPECT_EQ(Channel(0), (std::vector<double>{99, 1, 1, 1, 1, 5, 5, 5, 5, 5}));
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoWaypoints, AJumpOutsideTheLimitsStoresTheLimitAndAnswers611)
{
    PrepareOutput(10);
    Configure(0, 1);
    const struct
    {
        double x, y, atX, atY;
        int32_t status;
    } rows[] = {{11, 0, 10, 0, 611},   {-11, 0, -10, 0, 611},   {0, 11, 0, 10, 611},
                {0, -11, 0, -10, 611}, {12, -12, 10, -10, 611}, {10, -10, 10, -10, 0}};
    for (const auto &row : rows) {
        EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, row.x, row.y), row.status);
        double x = 0;
        double y = 0;
        ZVK_Galvo_GetPositionCurrent(0, 0, 0, &x, &y);
        EXPECT_EQ(x, row.atX);
        EXPECT_EQ(y, row.atY);
    }
}

TEST_F(GalvoWaypoints, AJumpLeavesTrajectoryAndMoveModeSoThatARunOverwritesIt)
{
    PrepareOutput(10);
    Configure(0, 1);
    Configure(1, 1);
    ZVK_Galvo_SetPositionTarget(0, 0, 0, 2.0, 2.0);
    const ZVK_GalvoNode *node = g_galvo[0].trajectory[0];
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, 7.0, 7.0), 0);
    EXPECT_EQ(g_galvo[0].trajectory[0], node);
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_ONCE);
    ZVK_Galvo_UpdateBuffer();
    EXPECT_LT(g_galvo[0].posX[0], 1.1);
}

TEST_F(GalvoWaypoints, AJumpChecksPathThenInitThenUpdate)
{
    PrepareOutput(10);
    Configure(0, 1);
    g_galvoDaq.updating = 1;
    g_galvo[0].initialized = 0;
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 2, 0, 0, 0), ZVK_GALVO_BAD_PATH);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, 0, 0), ZVK_GALVO_NOT_CONFIGURED);
    g_galvo[0].initialized = 1;
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, 0, 0), ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(g_galvo[0].posX[0], 1.0);
}

TEST_F(GalvoWaypoints, AnUncheckedIndexHarmsNothing)
{
    PrepareOutput(10);
    Configure(0, 2);
    const std::vector<double> before = AllSamples();
    int32_t mode = 77;
    double x = 55;
    double y = 55;
    for (int32_t wp : {-1, 2, 3, 1000000, INT32_MIN, INT32_MAX}) {
        EXPECT_LT(ZVK_Galvo_SetPosition(0, 0, wp, 5, 5), 0);
        EXPECT_LT(ZVK_Galvo_SetPositionTarget(0, 0, wp, 5, 5), 0);
        EXPECT_LT(ZVK_Galvo_SetMoveType(0, 0, wp, 1), 0);
        EXPECT_LT(ZVK_Galvo_GetMoveType(0, 0, wp, &mode), 0);
        EXPECT_EQ(ZVK_Galvo_GetPositionCurrent(0, 0, wp, &x, &y), ZVK_GALVO_OUT_OF_RANGE);
        EXPECT_EQ(ZVK_Galvo_GetPositionTarget(0, 0, wp, &x, &y), ZVK_GALVO_OUT_OF_RANGE);
        EXPECT_EQ(ZVK_Galvo_SetSpeed(0, 0, wp, 2.0), ZVK_GALVO_OUT_OF_RANGE);
    }
    EXPECT_EQ(AllSamples(), before);
    EXPECT_EQ(mode, 77);
    EXPECT_EQ(x, 55);
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
}

TEST_F(GalvoWaypoints, JumpingAllNeedsTheExactCountBeforeAnythingElse)
{
    PrepareOutput(10);
    Configure(0, 2);
    g_galvo[0].initialized = 0;
    g_galvoDaq.updating = 1;
    double x[3] = {4, 5, 6};
    double y[3] = {4, 5, 6};
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 3, 3, x, y), ZVK_GALVO_BAD_PATH);
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 0, 3, x, y), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 0, 1, x, y), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 0, 2, x, y), ZVK_GALVO_NOT_CONFIGURED);
    g_galvo[0].initialized = 1;
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 0, 2, x, y), ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(g_galvo[0].posX[0], 1.0);
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
}

TEST_F(GalvoWaypoints, JumpingAllClampsIntoTheCallersArraysAndDropsTrajectories)
{
    PrepareOutput(10);
    Configure(0, 2);
    ZVK_Galvo_SetPositionTarget(0, 0, 0, 3.0, 3.0);
    double x[2] = {40, 5};
    double y[2] = {4, -50};
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 0, 2, x, y), ZVK_GALVO_CLAMPED);
    EXPECT_EQ(x[0], 10.0);
    EXPECT_EQ(y[1], -10.0);
    const ZVK_GalvoState &row = g_galvo[0];
    EXPECT_EQ(row.posX[0], 10.0);
    EXPECT_EQ(row.targetX[0], 10.0);
    EXPECT_EQ(row.posY[1], -10.0);
    EXPECT_TRUE(IsHead(*row.trajectory[0]) && IsTail(*row.trajectory[0]));
    EXPECT_EQ(row.trajectory[0]->x, 10.0);
    EXPECT_EQ(row.trajectory[0]->dwell, 1);
    EXPECT_EQ(row.moveMode[0], ZVK_MOVE_ONCE) << "the move mode stays";
}

TEST_F(GalvoWaypoints, JumpingAllSimulatedRebuildsNothingAndLeavesDataNotReady)
{
    PrepareOutput(10);
    Configure(0, 1);
    const std::vector<double> before = AllSamples();
    double x = 4;
    double y = 5;
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 0, 1, &x, &y), 0);
    EXPECT_EQ(AllSamples(), before);
    EXPECT_EQ(g_galvoDaq.dataReady, 0);
    EXPECT_EQ(g_galvo[0].posX[0], 4.0);
    EXPECT_EQ(ZVK_Galvo_UpdateBuffer(), ZVK_GALVO_NOT_READY);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, 4, 5), 0);
    EXPECT_EQ(ZVK_Galvo_UpdateBuffer(), 0) << "until the next call sets it";
}

TEST_F(GalvoWaypoints, AMoveBuildsALineFromWhereTheWaypointIs)
{
    PrepareOutput(10);
    Configure(0, 1);
    EXPECT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 2.0, 2.0), 0);
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_ONCE);
    EXPECT_EQ(g_galvo[0].targetX[0], 2.0);
    EXPECT_EQ(g_galvo[0].posX[0], 1.0) << "nothing has moved yet";
    EXPECT_EQ(g_galvo[0].trajectory[0]->x, 1.0);
    EXPECT_EQ(Channel(0), std::vector<double>(10, 1.0));
    EXPECT_EQ(g_galvoDaq.writeStatus, 0);
}

TEST_F(GalvoWaypoints, AMoveAnswersZeroAlsoBeyondLimitsAndSpeed)
{
    PrepareOutput(10);
    Configure(0, 1);
    EXPECT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 30.0, 2.0), 0);
    EXPECT_EQ(g_galvo[0].targetX[0], 30.0) << "the target as asked for";
    double x = 0;
    double y = 0;
    ZVK_Galvo_GetPositionTarget(0, 0, 0, &x, &y);
    EXPECT_EQ(x, 30.0);
    EXPECT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 1.0, 2.0), 0)
        << "no way to go: the speed warning is dropped";
}

TEST_F(GalvoWaypoints, AMoveChecksPathThenInit)
{
    PrepareOutput(10);
    Configure(0, 1);
    g_galvo[0].initialized = 0;
    EXPECT_EQ(ZVK_Galvo_SetPositionTarget(0, 2, 0, 0, 0), ZVK_GALVO_BAD_PATH);
    EXPECT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 0, 0), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_STAND);
}

TEST_F(GalvoWaypoints, CrossedLimitsShowTheOrderOfTheClampsAndWarn)
{
    PrepareOutput(10);
    Configure(0, 1);
    ZVK_Galvo_SetLimits(0, 0, 5, -5, 5, -5);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, -5, -5), ZVK_GALVO_CLAMPED);
    EXPECT_EQ(g_galvo[0].posX[0], -5.0) << "below the minimum first, then above the maximum";
    ZVK_Galvo_SetLimits(0, 0, std::nan(""), std::nan(""), -1, 1);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, 1, 1), 0) << "neither below nor above";
    EXPECT_EQ(g_galvo[0].posX[0], 1.0);
}
