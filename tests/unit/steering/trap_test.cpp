// Making and deleting traps: the list, its waypoints, and what is left when something fails.

#include "steering_fixture.h"

#include "imaging/overlay_switches.h"

#include <limits>

using TrapInit = SteeringTest;
using TrapAdd = SteeringTest;
using TrapDelete = SteeringTest;
using TrapDeleteAll = SteeringTest;
using TrapShutdown = SteeringTest;
using Numbers = std::vector<int32_t>;

TEST_F(TrapInit, APathHasOneTrapOfWaypointZeroWhereTheMirrorsAre)
{
    bringUpTraps();
    ASSERT_EQ(trapCount(0), 1);
    const ZVK_TNode &trap = *node(0);
    EXPECT_EQ(trap.wp, 0);
    EXPECT_EQ(trap.speed, 1.0);
    EXPECT_EQ(trap.moveType, ZVK_MOVE_STAND);
    EXPECT_STREQ(trap.label, "A_1");
    EXPECT_EQ(trap.index, 1'000'000);
    EXPECT_EQ((Position{trap.xPos, trap.yPos}), mirrors(0, 0));
    EXPECT_EQ((Position{trap.xPos, trap.yPos}), (Position{0.5, -0.25}));
    EXPECT_STREQ(node(1)->label, "B_1");
    EXPECT_EQ((Position{node(1)->xPos, node(1)->yPos}), (Position{-0.5, 0.25}));
}

TEST_F(TrapInit, OnePathBringsTheGalvoModuleUpAndLeavesTheOtherListEmpty)
{
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, ZVK_PATH_B, "B_1"), 0);
    EXPECT_EQ(trapCount(0), 0);
    EXPECT_EQ(trapCount(1), 1);
    int32_t up = 0;
    EXPECT_EQ(ZVK_Galvo_GetInitStatus(0, 0, &up), 0);
    EXPECT_EQ(up, 1);
}

TEST_F(TrapInit, TheLimitsAndTheCentreAreReadForEachPath)
{
    bringUpTraps();
    const ZVK_TrapLimits &b = g_trap.limits[1];
    EXPECT_EQ(b.minX, -3.0);
    EXPECT_EQ(b.maxX, 3.0);
    EXPECT_EQ(b.minY, -2.0);
    EXPECT_EQ(b.maxY, 2.0);
    EXPECT_EQ(b.offsetX, -0.5);
    EXPECT_EQ(b.offsetY, 0.25);
    EXPECT_EQ(g_trap.limits[0].maxX, 4.0);
}

TEST_F(TrapInit, LaterLimitsAndCentresOfTheGalvoModuleDoNotReachTheCopy)
{
    bringUpTraps();
    ASSERT_EQ(ZVK_Galvo_SetLimits(0, 0, -1.0, 1.0, -1.0, 1.0), 0);
    ASSERT_EQ(ZVK_Galvo_SetOffset(0, 0, 0.75, 0.75), 0);
    double range[4] = {};
    EXPECT_EQ(ZVK_Trap_GetHardwareLimits(0, 0, range), 0);
    EXPECT_EQ(range[1], 4.0);
    EXPECT_EQ(g_trap.limits[0].offsetX, 0.5);
}

TEST_F(TrapInit, ASecondInitStartsThePathsListAfreshAndLeavesTheOther)
{
    bringUpTraps();
    addTrap(0, 1.0, 1.0);
    addTrap(1, 1.0, 1.0);
    nextSecond();
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 0, "again"), 0);
    EXPECT_EQ(trapCount(0), 1);
    EXPECT_STREQ(node(0)->label, "again");
    EXPECT_EQ(node(0)->index, 1'000'003);
    EXPECT_EQ(trapCount(1), 2);
}

TEST_F(TrapInit, ANullLabelIsNoName)
{
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 0, nullptr), 0);
    EXPECT_STREQ(node(0)->label, "");
}

TEST_F(TrapInit, AnUnknownPathIsRefusedBeforeAnythingIsTouched)
{
    bringUpTraps();
    for (const int32_t path : {-1, 2, 100})
        EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, path, "X"), ZVK_TRAP_BAD_PATH);
    EXPECT_EQ(trapCount(0), 1);
    EXPECT_EQ(trapCount(1), 1);
}

TEST_F(TrapInit, AMissingLimitKeyEmptiesTheListAndTheKeysBeforeItCount)
{
    bringUpTraps();  // the galvo module is up and reads nothing again
    const char *const order[] = {"MINX", "MAXX", "MINY", "MAXY", "OFFSETX", "OFFSETY"};
    double ZVK_TrapLimits::*const fields[] = {&ZVK_TrapLimits::minX,    &ZVK_TrapLimits::maxX,
                                              &ZVK_TrapLimits::minY,    &ZVK_TrapLimits::maxY,
                                              &ZVK_TrapLimits::offsetX, &ZVK_TrapLimits::offsetY};
    for (int missing = 0; missing < 6; ++missing) {
        std::string config = TwoPathsConfig();
        for (const char *key : order)
            config = with(config, key, "0.125");
        writeConfig(without(config, order[missing]));
        g_trap.limits[0] = {9.0, 9.0, 9.0, 9.0, 9.0, 9.0};

        EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 0, "A_1"), ZVK_CONFILE_NOT_FOUND) << order[missing];
        EXPECT_EQ(g_trap.head[0], nullptr);
        EXPECT_NE(g_trap.head[1], nullptr);
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(g_trap.limits[0].*fields[i], i < missing ? 0.125 : 9.0) << order[i];
    }
}

TEST_F(TrapInit, AFailureOfTheGalvoModuleEmptiesTheListAndReadsNoLimits)
{
    bringUpTraps();
    ZVK_Galvo_Shutdown(0);
    g_trap.limits[0] = {9.0, 9.0, 9.0, 9.0, 9.0, 9.0};
    writeConfig(without(TwoPathsConfig(), "CLOCKRATE"));
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 0, "A_1"), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(g_trap.head[0], nullptr);
    EXPECT_EQ(g_trap.limits[0].minX, 9.0);
}

TEST_F(TrapInit, WithoutConfigIniNothingComesUp)
{
    writeConfig("");
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 0, "A_1"), ZVK_CONFILE_NOT_READABLE);
    EXPECT_EQ(g_trap.head[0], nullptr);
}

TEST_F(TrapInit, TheIndexIsTheSecondOfTheCalendarCutTo32BitsWithoutASign)
{
    struct Row
    {
        int64_t seconds;
        int32_t index;
    };
    const int64_t twoTo32 = int64_t{1} << 32;
    for (const Row row : {Row{0, 0}, Row{1'700'000'000, 1'700'000'000}, Row{-5, 5},
                          Row{twoTo32 + 7, 7}, Row{twoTo32 - 7, 7}, Row{INT32_MIN, INT32_MIN}})
    {  // it has no positive counterpart
        setSeconds(row.seconds);
        ASSERT_EQ(ZVK_Trap_Init(0, 0, 0, 0, "A_1"), 0);
        EXPECT_EQ(node(0)->index, row.index);
    }
}

TEST_F(TrapInit, InitStatusTellsWhetherThereAreTrapsAndTheNewest)
{
    int32_t status = 42;
    int32_t index = 42;
    EXPECT_EQ(ZVK_Trap_GetInitStatus(0, 2, &status, &index), ZVK_TRAP_BAD_PATH);
    EXPECT_EQ(ZVK_Trap_GetInitStatus(0, -1, &status, &index), ZVK_TRAP_BAD_PATH);
    EXPECT_EQ(status, 42);
    EXPECT_EQ(ZVK_Trap_GetInitStatus(0, 0, &status, &index), 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(index, 0);
    bringUpTraps();
    const int32_t newest = addTrap(0, 1.0, 1.0);
    EXPECT_EQ(ZVK_Trap_GetInitStatus(0, 0, &status, &index), 0);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(index, newest);
}

TEST_F(TrapAdd, ANewTrapIsTheHeadWithTheNextWaypointAtItsPlace)
{
    bringUpTraps();
    nextSecond();
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 2.5, "bead", 1.0, -1.5, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(index, 1'000'001);
    const ZVK_TNode &trap = *node(0);
    EXPECT_EQ(trap.index, index);
    EXPECT_EQ(trap.wp, 1);
    EXPECT_EQ(trap.speed, 2.5);
    EXPECT_STREQ(trap.label, "bead");
    EXPECT_EQ((Position{trap.xPos, trap.yPos}), (Position{1.0, -1.5}));
    EXPECT_EQ(mirrors(0, 1), (Position{1.0, -1.5}));
    EXPECT_EQ(waypoints(0), (Numbers{1, 0}));
    EXPECT_EQ(node(0, 1)->prev, node(0, 0));
    EXPECT_EQ(trapCount(1), 1);
}

TEST_F(TrapAdd, TheSpeedReachesTheTrapAndNotItsWaypointAndPixelsStayUnset)
{
    bringUp();
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 2.5, "bead", 1.0, -1.5, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(g_galvo[0].speeds[1], 1.0);
    EXPECT_EQ(node(0)->pixelX, 0.0);
    EXPECT_EQ(node(0)->pixelY, 0.0);
}

TEST_F(TrapAdd, TwoTrapsOfOneSecondShareTheirIndexAndTheNewerIsFound)
{
    bringUpTraps();
    nextSecond();
    int32_t first = 0;
    int32_t second = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &first, 1.0, "first", 1.0, 1.0, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &second, 1.0, "second", 2.0, 2.0, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(first, second);
    int32_t waypoint = 0;
    EXPECT_EQ(ZVK_Trap_GetWayPointInfo(0, 0, first, &waypoint), 0);
    EXPECT_EQ(waypoint, 2);
    EXPECT_EQ(ZVK_Trap_SetName(0, 0, first, "found"), 0);
    EXPECT_STREQ(node(0, 0)->label, "found");
    EXPECT_STREQ(node(0, 1)->label, "first");
}

TEST_F(TrapAdd, PixelsAreConvertedAndTheirSpeedIsMeasuredBesideTheCentre)
{
    bringUp();
    nextSecond();
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 250.0, "bead", 700.0, 350.0, ZVK_UNIT_PIXEL), 0);
    EXPECT_NEAR(node(0)->xPos, 2.0, 1e-6);
    EXPECT_NEAR(node(0)->yPos, -0.5, 1e-6);
    EXPECT_NEAR(node(0)->speed, 2.5, 1e-4);  // 100 pixels a volt
    EXPECT_EQ(ZVK_Trap_Add(0, 1, &index, 40.0, "bead", 600.0, 300.0, ZVK_UNIT_PIXEL), 0);
    EXPECT_NEAR(node(1)->speed, 0.5, 1e-4);  // 80 pixels a volt
}

TEST_F(TrapAdd, ASpeedOfZeroPixelsIsZeroVolts)
{
    bringUp();
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 0.0, "bead", 700.0, 350.0, ZVK_UNIT_PIXEL), 0);
    EXPECT_EQ(node(0)->speed, 0.0);
}

TEST_F(TrapAdd, PixelsWithoutCoordinatesWriteTheIndexAndAddNothing)
{
    bringUpTraps();
    nextSecond();
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "bead", 700.0, 350.0, ZVK_UNIT_PIXEL),
              ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(index, 1'000'001);
    bringUpCoordinates();
    g_trafo[0].busy = 1;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "bead", 700.0, 350.0, ZVK_UNIT_PIXEL),
              ZVK_COORDINATES_BUSY);
    EXPECT_EQ(trapCount(0), 1);
    EXPECT_EQ(g_galvo[0].NumOfWP, 1);
}

TEST_F(TrapAdd, LengthsWriteTheIndexAndAreRefusedWithoutATrap)
{
    bringUp();
    nextSecond();
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "bead", 1.0, 1.0, ZVK_UNIT_MICROMETER),
              ZVK_COORDINATES_BAD_DIRECTION);
    EXPECT_EQ(index, 1'000'001);
    EXPECT_EQ(trapCount(0), 1);
    EXPECT_EQ(g_galvo[0].NumOfWP, 1);
}

TEST_F(TrapAdd, AnUnknownUnitAddsATrapAtTheRawNumbersAndIsReported)
{
    bringUp();
    for (const int32_t unit : {7, 0, -1}) {
        nextSecond();
        int32_t index = 0;
        const int32_t before = trapCount(0);
        EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 2.0, "bead", 1.5, -1.5, unit),
                  ZVK_COORDINATES_BAD_UNIT);
        EXPECT_EQ(trapCount(0), before + 1);
        EXPECT_EQ(node(0)->index, index);
        EXPECT_EQ(node(0)->speed, 2.0);
        EXPECT_EQ(mirrors(0, before), (Position{1.5, -1.5}));
    }
}

TEST_F(TrapAdd, PositionsBeyondTheLimitsAreClampedWithoutAWarning)
{
    bringUp();
    struct Row
    {
        double x, y;
        Position expected;
    };
    for (const Row &row : {Row{5.0, 0.0, {4.0, 0.0}}, Row{-5.0, 0.0, {-4.0, 0.0}},
                           Row{0.0, 5.0, {0.0, 3.0}}, Row{0.0, -5.0, {0.0, -3.0}}})
    {
        addTrap(0, row.x, row.y);
        EXPECT_EQ((Position{node(0)->xPos, node(0)->yPos}), row.expected);
        EXPECT_EQ(mirrors(0, node(0)->wp), row.expected);
    }
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(TrapAdd, WhileTheBufferIsInUseItTriesAgain)
{
    bringUpTraps();
    keepBufferInUse(3);
    addTrap(0, 1.0, 1.0);
    EXPECT_EQ(clock.Breaths(), 3);
    EXPECT_EQ(g_galvo[0].NumOfWP, 2);
    EXPECT_EQ(trapCount(0), 2);
}

TEST_F(TrapAdd, ChecksRunPathThenListAndThenWriteTheIndex)
{
    int32_t index = 42;
    EXPECT_EQ(ZVK_Trap_Add(0, 2, &index, 1.0, "T", 0, 0, ZVK_UNIT_VOLT), ZVK_TRAP_BAD_PATH);
    EXPECT_EQ(ZVK_Trap_Add(0, -1, &index, 1.0, "T", 0, 0, ZVK_UNIT_VOLT), ZVK_TRAP_BAD_PATH);
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "T", 0, 0, 99), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(index, 42);
}

TEST_F(TrapAdd, AWaypointThatTheGalvoModuleRefusesIsNotReported)
{
    bringUpTraps();
    ZVK_Galvo_Shutdown(0);
    addTrap(0, 1.0, 1.0);
    EXPECT_EQ(trapCount(0), 2);
}

TEST_F(TrapDelete, NewerTrapsMoveDownAndTheWaypointGoes)
{
    bringUpTraps();
    const int32_t older = addTrap(0, 1.0, 1.0);
    const int32_t newer = addTrap(0, 2.0, 2.0);
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, older), 0);
    EXPECT_EQ(indexOf(0), newer);
    EXPECT_EQ(waypoints(0), (Numbers{1, 0}));
    EXPECT_EQ(g_galvo[0].NumOfWP, 2);
    EXPECT_EQ(mirrors(0, 1), (Position{2.0, 2.0}));
}

TEST_F(TrapDelete, TheWaypointsStayAFallingPermutationWhateverGoes)
{
    bringUpTraps();
    for (int i = 1; i <= 6; ++i)
        addTrap(1, 0.1 * i, 0.1 * i);
    for (const int32_t place : {0, 5, 2, 3, 1}) {  // places from the head at that moment
        ASSERT_EQ(ZVK_Trap_Delete(0, 1, indexOf(1, place)), 0);
        Numbers expected;
        for (int32_t wp = trapCount(1) - 1; wp >= 0; --wp)
            expected.push_back(wp);
        EXPECT_EQ(waypoints(1), expected);
        for (int32_t i = 0; i < trapCount(1); ++i) {
            const ZVK_TNode &trap = *node(1, i);
            EXPECT_EQ(mirrors(1, trap.wp), (Position{trap.xPos, trap.yPos}));
        }
    }
    EXPECT_EQ(g_galvo[1].NumOfWP, 2);
}

TEST_F(TrapDelete, AnyPathButZeroIsPathB)
{
    bringUpTraps();
    for (const int32_t path : {1, 2, -1, 1000}) {
        const int32_t index = addTrap(1, 1.0, 1.0);
        EXPECT_EQ(ZVK_Trap_Delete(0, path, index), 0) << path;
        EXPECT_EQ(trapCount(1), 1);
        EXPECT_EQ(g_galvo[1].NumOfWP, 1);
    }
    EXPECT_EQ(trapCount(0), 1);
}

TEST_F(TrapDelete, TheLastTrapGoesTooAndTheGalvoModuleKeepsItsWaypoint)
{
    bringUpTraps();
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, indexOf(0)), 0);
    EXPECT_EQ(g_trap.head[0], nullptr);
    EXPECT_EQ(g_galvo[0].NumOfWP, 1);
    int32_t index = 42;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "T", 0, 0, ZVK_UNIT_VOLT), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 0, "A_1"), 0);
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "T", 0, 0, ZVK_UNIT_VOLT), 0);
}

TEST_F(TrapDelete, TheOverlayIsOnAfterwardsWhateverItWasBefore)
{
    bringUpTraps();
    addTrap(0, 1.0, 1.0);
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, indexOf(0)), 0);
    EXPECT_EQ(SdkOverlay(), 1);
    EXPECT_EQ(TrapMarkers(), 1);
}

TEST_F(TrapDelete, TheOverlayIsOffWhileTheWaypointGoes)
{
    bringUpTraps();
    addTrap(0, 1.0, 1.0);
    SetSdkOverlay(1);
    SetTrapMarkers(1);
    holdBuffer();
    int seen = 0;
    clock.OnWait([&] {
        EXPECT_EQ(SdkOverlay(), 0);
        EXPECT_EQ(TrapMarkers(), 0);
        EXPECT_EQ(trapCount(0), 1);  // the list comes first
        EXPECT_EQ(g_galvo[0].NumOfWP, 2);
        if (++seen == 2) releaseBuffer();
    });
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, indexOf(0)), 0);
    EXPECT_EQ(seen, 2);
    EXPECT_EQ(g_galvo[0].NumOfWP, 1);
    EXPECT_EQ(SdkOverlay(), 1);
}

TEST_F(TrapDelete, AnUnknownIndexLeavesTheListAndTheOverlayOff)
{
    bringUpTraps();
    addTrap(0, 1.0, 1.0);
    SetSdkOverlay(1);
    SetTrapMarkers(1);
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, 12345), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(trapCount(0), 2);
    EXPECT_EQ(g_galvo[0].NumOfWP, 2);
    EXPECT_EQ(SdkOverlay(), 0);
    EXPECT_EQ(TrapMarkers(), 0);
}

TEST_F(TrapDelete, AnEmptyListIsAnUnknownIndex)
{
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, 12345), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_Delete(0, 1, 12345), ZVK_TRAP_BAD_INDEX);
}

TEST_F(TrapDeleteAll, TheOldestTrapStaysAtTheCentreWithItsNameAndIndex)
{
    bringUp();
    const int32_t oldest = indexOf(0);
    double x = 2.0;
    double y = 2.0;
    ASSERT_EQ(ZVK_Trap_SetPosition(0, 0, oldest, &x, &y, ZVK_UNIT_VOLT, 0), 0);
    ASSERT_EQ(ZVK_Trap_SetName(0, 0, oldest, "oldest"), 0);
    addTrap(0, 1.0, 1.0);
    addTrap(0, 2.0, 2.0);
    ASSERT_EQ(ZVK_Trap_SetSpeed(0, 0, oldest, 3.0, ZVK_UNIT_VOLT), 0);
    ASSERT_EQ(ZVK_Galvo_SetOffset(0, 0, 0.75, -0.75), 0);

    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    ASSERT_EQ(trapCount(0), 1);
    const ZVK_TNode &trap = *node(0);
    EXPECT_EQ(trap.index, oldest);
    EXPECT_STREQ(trap.label, "oldest");
    EXPECT_EQ(trap.wp, 0);
    EXPECT_EQ(trap.prev, nullptr);
    EXPECT_EQ((Position{trap.xPos, trap.yPos}), (Position{0.75, -0.75}));
    EXPECT_NEAR(trap.pixelX, 700.0, 1e-4);  // the set position in pixels is not touched
    EXPECT_EQ(g_galvo[0].NumOfWP, 1);
    EXPECT_EQ(mirrors(0, 0), (Position{0.75, -0.75}));
    EXPECT_EQ(g_galvo[0].speeds[0], 3.0);
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_STAND);
    EXPECT_EQ(trapCount(1), 1);
}

TEST_F(TrapDeleteAll, TheWaypointGetsTheTrapsMoveType)
{
    bringUpTraps();
    ASSERT_EQ(ZVK_Trap_SetMoveType(0, 0, indexOf(0), ZVK_MOVE_BACK_AND_FORTH), 0);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_BACK_AND_FORTH);
    EXPECT_EQ(node(0)->moveType, ZVK_MOVE_BACK_AND_FORTH);
}

TEST_F(TrapDeleteAll, ASingleTrapGoesToTheCentre)
{
    bringUpTraps();
    double x = 2.0;
    double y = 2.0;
    ASSERT_EQ(ZVK_Trap_SetPosition(0, 0, indexOf(0), &x, &y, ZVK_UNIT_VOLT, 0), 0);
    ASSERT_EQ(ZVK_Trap_GotoSetPosition(0, 0, indexOf(0)), 0);
    ASSERT_EQ(mirrors(0, 0), (Position{2.0, 2.0}));
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    EXPECT_EQ(mirrors(0, 0), (Position{0.5, -0.25}));
    EXPECT_EQ((Position{node(0)->xPos, node(0)->yPos}), (Position{0.5, -0.25}));
}

TEST_F(TrapDeleteAll, WhatTheGalvoModuleClampsComesBackToTheTrap)
{
    bringUpTraps();
    ASSERT_EQ(ZVK_Galvo_SetLimits(0, 0, -0.25, 0.25, -0.1, 0.1), 0);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    EXPECT_EQ((Position{node(0)->xPos, node(0)->yPos}), (Position{0.25, -0.1}));
}

TEST_F(TrapDeleteAll, WhileTheBufferIsInUseItTriesAgainWithTheOverlayOff)
{
    bringUpTraps();
    addTrap(0, 1.0, 1.0);
    holdBuffer();
    int seen = 0;
    clock.OnWait([&] {
        EXPECT_EQ(SdkOverlay(), 0);
        EXPECT_EQ(TrapMarkers(), 0);
        if (++seen == 4) releaseBuffer();
    });
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    EXPECT_EQ(seen, 4);
    EXPECT_EQ(SdkOverlay(), 1);
    EXPECT_EQ(TrapMarkers(), 1);
}

TEST_F(TrapDeleteAll, ABufferThatCannotBeWrittenIsReportedWithTheOverlayOff)
{
    bringUpTraps();
    addTrap(0, 1.0, 1.0);
    SetSdkOverlay(1);
    SetTrapMarkers(1);
    ASSERT_EQ(ZVK_Galvo_DaqStop(0), 0);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), ZVK_GALVO_NEW_BUFFER_FAILED);
    EXPECT_EQ(trapCount(0), 1);
    EXPECT_EQ(SdkOverlay(), 0);
    EXPECT_EQ(TrapMarkers(), 0);
}

TEST_F(TrapDeleteAll, AnUnknownPathOrAnEmptyListTouchesNothing)
{
    SetSdkOverlay(1);
    SetTrapMarkers(1);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 2), ZVK_TRAP_BAD_PATH);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, -1), ZVK_TRAP_BAD_PATH);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(SdkOverlay(), 1);
    EXPECT_EQ(TrapMarkers(), 1);
}

TEST_F(TrapShutdown, TheGalvoModuleGoesDownAndBothListsAreEmpty)
{
    bringUpTraps();
    addTrap(0, 1.0, 1.0);
    addTrap(1, 1.0, 1.0);
    EXPECT_EQ(ZVK_Trap_Shutdown(0), 0);
    EXPECT_EQ(g_trap.head[0], nullptr);
    EXPECT_EQ(g_trap.head[1], nullptr);
    int32_t up = 42;
    EXPECT_EQ(ZVK_Galvo_GetInitStatus(0, 0, &up), 0);
    EXPECT_EQ(up, 0);
}

TEST_F(TrapShutdown, EmptyListsAreFine)
{
    EXPECT_EQ(ZVK_Trap_Shutdown(0), 0);
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 1, "B_1"), 0);
    EXPECT_EQ(ZVK_Trap_Shutdown(0), 0);
    EXPECT_EQ(ZVK_Trap_Shutdown(0), 0);
}

TEST_F(TrapShutdown, InitAndShutdownTakeTurnsAnyNumberOfTimes)
{
    for (int round = 0; round < 4; ++round) {
        bringUpTraps();
        addTrap(0, 1.0, 1.0);
        EXPECT_EQ(mirrors(0, 1), (Position{1.0, 1.0}));
        EXPECT_EQ(ZVK_Trap_Shutdown(0), 0);
    }
}
