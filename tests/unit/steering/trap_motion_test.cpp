// Set positions in three units, the moves that follow them, and where a trap is now.

#include "steering_fixture.h"

using Numbers = std::vector<int32_t>;

constexpr double kNear = 1e-4;  // what the transform's raised inputs make of a pixel, and more

// One trap more on path A, at (1, -1.5) V, waypoint 1.
class TrapMotion : public SteeringTest
{
protected:
    void SetUp() override
    {
        SteeringTest::SetUp();
        bringUp();
        index = addTrap(0, 1.0, -1.5, "bead");
    }

    struct Result
    {
        int32_t status;
        double x;
        double y;
    };
    Result set(double x, double y, int32_t unit, int32_t limitEnforce = 0) const
    {
        const int32_t status = ZVK_Trap_SetPosition(0, 0, index, &x, &y, unit, limitEnforce);
        return {status, x, y};
    }
    static void expectVolts(double x, double y)
    {
        EXPECT_NEAR(node(0)->xPos, x, 1e-6);
        EXPECT_NEAR(node(0)->yPos, y, 1e-6);
    }
    static void expectPixels(double x, double y)
    {
        EXPECT_NEAR(node(0)->pixelX, x, kNear);
        EXPECT_NEAR(node(0)->pixelY, y, kNear);
    }
    static void expectUnchanged()
    {
        expectVolts(1.0, -1.5);
        expectPixels(0.0, 0.0);
    }

    int32_t index = 0;
};

// Every call that works on one trap, with the path and the index given.
static Numbers EveryCall(int32_t path, int32_t index)
{
    double x = 42.0;
    double y = 42.0;
    int32_t number = 42;
    int32_t other = 42;
    double *tableX = nullptr;
    double *tableY = nullptr;
    return {ZVK_Trap_SetPosition(0, path, index, &x, &y, 99, 0),
            ZVK_Trap_MoveToSetPosition(0, path, index),
            ZVK_Trap_GotoSetPosition(0, path, index),
            ZVK_Trap_SetSpeed(0, path, index, 1.0, 99),
            ZVK_Trap_GetSpeed(0, path, index, &x, 99),
            ZVK_Trap_GetPosition(0, path, index, &x, &y, 99),
            ZVK_Trap_GetPositionTarget(0, path, index, &x, &y, 99),
            ZVK_Trap_GetCenterPosition(0, path, index, &x, &y, 99),
            ZVK_Trap_SetMoveType(0, path, index, 99),
            ZVK_Trap_GetMoveType(0, path, index, &number, &other),
            ZVK_Trap_SetTrajectory(0, path, index, 0, nullptr, nullptr, &x),
            ZVK_Trap_TrajectoryRun(0, path, index, 1, 1, 1, &x),
            ZVK_Trap_TrajectoryExists(0, path, index, &number),
            ZVK_Trap_GetTrajectory(0, path, index, &number, &tableX, &tableY)};
}

TEST_F(TrapMotion, EveryCallRefusesAnUnknownPathBeforeTheIndexAndThatBeforeTheUnit)
{
    for (const int32_t path : {-1, 2, 1000})
        EXPECT_EQ(EveryCall(path, 1), Numbers(14, ZVK_TRAP_BAD_PATH));
    EXPECT_EQ(EveryCall(0, 1), Numbers(14, ZVK_TRAP_BAD_INDEX));
    EXPECT_EQ(EveryCall(1, index), Numbers(14, ZVK_TRAP_BAD_INDEX));  // the other path's
    ZVK_Trap_Shutdown(0);
    EXPECT_EQ(EveryCall(0, index), Numbers(14, ZVK_TRAP_BAD_INDEX));  // an empty list
}

TEST_F(TrapMotion, InVoltsThePositionIsStoredWithItsPixels)
{
    const Result result = set(-2.0, 0.5, ZVK_UNIT_VOLT);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.x, -2.0);
    EXPECT_EQ(result.y, 0.5);
    expectVolts(-2.0, 0.5);
    expectPixels(300.0, 450.0);
}

TEST_F(TrapMotion, InVoltsEachLimitIsCapturedButYBelowItsLeastIsSilent)
{
    struct Row
    {
        double x, y;
        double xExpected, yExpected;
        int32_t status;
    };
    const Row rows[] = {
        {5.0, 0.0, 4.0, 0.0, ZVK_COORDINATES_CLAMPED},
        {-5.0, 0.0, -4.0, 0.0, ZVK_COORDINATES_CLAMPED},
        {0.0, 5.0, 0.0, 3.0, ZVK_COORDINATES_CLAMPED},
        {0.0, -5.0, 0.0, -3.0, 0},
        {5.0, -5.0, 4.0, -3.0, ZVK_COORDINATES_CLAMPED},
        {4.0, -3.0, 4.0, -3.0, 0},
    };
    for (const Row &row : rows) {
        const Result result = set(row.x, row.y, ZVK_UNIT_VOLT);
        EXPECT_EQ(result.status, row.status) << row.x << ' ' << row.y;
        EXPECT_EQ(result.x, row.xExpected);
        EXPECT_EQ(result.y, row.yExpected);
        expectVolts(row.xExpected, row.yExpected);
        expectPixels(500.0 + 100.0 * row.xExpected, 400.0 + 100.0 * row.yExpected);
        EXPECT_EQ(capturedWarnings(), row.status ? Numbers{row.status} : Numbers{});
    }
}

TEST_F(TrapMotion, InVoltsTheCalibratedRangeIsNotLookedAt)
{
    const Result result = set(3.9, 2.9, ZVK_UNIT_VOLT, 1);  // beyond the field's 3.5 and 2.8
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.x, 3.9);
    expectVolts(3.9, 2.9);
}

TEST_F(TrapMotion, InVoltsThePositionIsStoredWithoutCoordinatesToo)
{
    ZVK_CoordinateSystems_Shutdown(0);
    EXPECT_EQ(set(-2.0, 0.5, ZVK_UNIT_VOLT).status, 0);
    expectVolts(-2.0, 0.5);
    expectPixels(-2.0, 0.5);  // the copy that could not be converted
}

TEST_F(TrapMotion, InPixelsTheVoltsComeBackAndThePixelsAreKeptAsGiven)
{
    for (const int32_t limitEnforce : {0, 1, -1}) {
        const Result result = set(300.0, 450.0, ZVK_UNIT_PIXEL, limitEnforce);
        EXPECT_EQ(result.status, 0);
        EXPECT_NEAR(result.x, -2.0, 1e-6);
        EXPECT_NEAR(result.y, 0.5, 1e-6);
        expectVolts(-2.0, 0.5);
        EXPECT_EQ(node(0)->pixelX, 300.0);
        EXPECT_EQ(node(0)->pixelY, 450.0);
    }
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(TrapMotion, InPixelsTheCalibratedRangeIsCapturedAndNotReturned)
{
    struct Row
    {
        double x, y;
        double xExpected, yExpected;  // pixels
    };
    for (const Row &row : {Row{860.0, 400.0, 850.0, 400.0}, Row{140.0, 400.0, 150.0, 400.0},
                           Row{500.0, 690.0, 500.0, 680.0}, Row{500.0, 110.0, 500.0, 120.0},
                           Row{860.0, 110.0, 850.0, 120.0}})
    {
        const Result result = set(row.x, row.y, ZVK_UNIT_PIXEL, 1);
        EXPECT_EQ(result.status, 0);
        expectPixels(row.xExpected, row.yExpected);
        expectVolts((row.xExpected - 500.0) / 100.0, (row.yExpected - 400.0) / 100.0);
        EXPECT_EQ(capturedWarnings(), Numbers{ZVK_COORDINATES_OUT_OF_RANGE});
    }
}

TEST_F(TrapMotion, InPixelsWithoutEnforcementOnlyTheMirrorsLimitsApply)
{
    Result result = set(890.0, 110.0, ZVK_UNIT_PIXEL, 0);  // outside the field, inside the limits
    EXPECT_EQ(result.status, 0);
    expectVolts(3.9, -2.9);
    EXPECT_TRUE(capturedWarnings().empty());

    result = set(950.0, 0.0, ZVK_UNIT_PIXEL, 0);
    EXPECT_EQ(result.status, ZVK_COORDINATES_CLAMPED);
    EXPECT_EQ(result.x, 4.0);
    EXPECT_EQ(result.y, -3.0);
    expectVolts(4.0, -3.0);
    expectPixels(900.0, 100.0);
    EXPECT_EQ(capturedWarnings(), Numbers{ZVK_COORDINATES_CLAMPED});
}

TEST_F(TrapMotion, InPixelsYBelowTheMirrorsLimitIsAWarning)
{
    EXPECT_EQ(set(500.0, 0.0, ZVK_UNIT_PIXEL, 0).status, ZVK_COORDINATES_CLAMPED);
    EXPECT_EQ(set(500.0, 900.0, ZVK_UNIT_PIXEL, 0).status, ZVK_COORDINATES_CLAMPED);
    EXPECT_EQ(set(0.0, 400.0, ZVK_UNIT_PIXEL, 0).status, ZVK_COORDINATES_CLAMPED);
}

TEST_F(TrapMotion, InPixelsBothWarningsAreCapturedAndTheLimitIsReturned)
{
    g_trap.limits[0].maxX = 2.0;
    const Result result = set(2000.0, 400.0, ZVK_UNIT_PIXEL, 1);
    EXPECT_EQ(result.status, ZVK_COORDINATES_CLAMPED);
    EXPECT_EQ(result.x, 2.0);
    expectPixels(700.0, 400.0);
    EXPECT_EQ(capturedWarnings(), (Numbers{ZVK_COORDINATES_OUT_OF_RANGE, ZVK_COORDINATES_CLAMPED}));
}

TEST_F(TrapMotion, InPixelsAFailureStoresNothing)
{
    for (const int32_t limitEnforce : {0, 1}) {
        g_trafo[0].busy = 1;
        EXPECT_EQ(set(300.0, 450.0, ZVK_UNIT_PIXEL, limitEnforce).status, ZVK_COORDINATES_BUSY);
        g_trafo[0].busy = 0;
        g_trafo[0].initialized = 0;
        EXPECT_EQ(set(300.0, 450.0, ZVK_UNIT_PIXEL, limitEnforce).status,
                  ZVK_COORDINATES_NOT_INITIALIZED);
        g_trafo[0].initialized = 1;
    }
    expectUnchanged();
}

TEST_F(TrapMotion, InLengthsTheVoltsComeBackAndThePixelsAreOfThem)
{
    const Result result = set(10.0, 5.0, ZVK_UNIT_MICROMETER, 1);  // from the centre (0.5, -0.25) V
    EXPECT_EQ(result.status, 0);
    EXPECT_NEAR(result.x, 1.5, 1e-6);
    EXPECT_NEAR(result.y, 0.75, 1e-6);
    expectVolts(1.5, 0.75);
    expectPixels(650.0, 475.0);
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(TrapMotion, InLengthsTheCalibratedRangeIsCapturedAndReturned)
{
    const Result result = set(1000.0, -1000.0, ZVK_UNIT_MICROMETER, 1);
    EXPECT_EQ(result.status, ZVK_COORDINATES_OUT_OF_RANGE);
    EXPECT_NEAR(result.x, 3.5, 1e-6);
    EXPECT_NEAR(result.y, -2.8, 1e-6);
    expectPixels(850.0, 120.0);
    EXPECT_EQ(capturedWarnings(), Numbers{ZVK_COORDINATES_OUT_OF_RANGE});
}

TEST_F(TrapMotion, InLengthsTheConversionClampsToTheGalvoModulesLimitsWithoutAWarning)
{
    const Result result = set(1000.0, 0.0, ZVK_UNIT_MICROMETER, 0);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.x, 4.0);
    expectVolts(4.0, -0.25);
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(TrapMotion, InLengthsTheTrapsOwnLimitsAreCapturedAndReturned)
{
    struct Row
    {
        double x, y;
        double xExpected, yExpected;  // V
    };
    g_trap.limits[0] = {-1.0, 1.0, -1.0, 1.0, 0.0, 0.0};  // narrower than the galvo module's
    for (const Row &row : {Row{1000.0, 6.25, 1.0, 1.0}, Row{-1000.0, 6.25, -1.0, 1.0},
                           Row{0.0, 1000.0, 0.5, 1.0}, Row{0.0, -1000.0, 0.5, -1.0}})
    {
        const Result result = set(row.x, row.y, ZVK_UNIT_MICROMETER, 0);
        EXPECT_EQ(result.status, ZVK_COORDINATES_CLAMPED);
        EXPECT_NEAR(result.x, row.xExpected, 1e-6);
        EXPECT_NEAR(result.y, row.yExpected, 1e-6);
        expectPixels(500.0 + 100.0 * row.xExpected, 400.0 + 100.0 * row.yExpected);
        EXPECT_EQ(capturedWarnings(), Numbers{ZVK_COORDINATES_CLAMPED});
    }
    EXPECT_EQ(set(1000.0, 0.0, ZVK_UNIT_MICROMETER, 1).status, ZVK_COORDINATES_CLAMPED);
    EXPECT_EQ(capturedWarnings(), (Numbers{ZVK_COORDINATES_OUT_OF_RANGE, ZVK_COORDINATES_CLAMPED}));
}

TEST_F(TrapMotion, InLengthsFailedConversionsAreNotReported)
{
    g_trafo[0].busy = 1;
    for (const int32_t limitEnforce : {0, 1}) {
        const Result result = set(1.0, -1.5, ZVK_UNIT_MICROMETER, limitEnforce);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.x, 1.0);
        EXPECT_EQ(result.y, -1.5);
        EXPECT_EQ(node(0)->pixelX, 1.0);
    }
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(TrapMotion, AnUnknownUnitChangesNothing)
{
    for (const int32_t unit : {0, 4, -1}) {
        const Result result = set(100.0, 100.0, unit, 1);
        EXPECT_EQ(result.status, ZVK_COORDINATES_BAD_UNIT);
        EXPECT_EQ(result.x, 100.0);
    }
    expectUnchanged();
}

TEST_F(TrapMotion, SettingMovesNoMirror)
{
    EXPECT_EQ(set(-2.0, 0.5, ZVK_UNIT_VOLT).status, 0);
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ((Position{x, y}), (Position{1.0, -1.5}));
    EXPECT_EQ(ZVK_Galvo_GetPositionTarget(0, 0, 1, &x, &y), 0);
    EXPECT_EQ((Position{x, y}), (Position{1.0, -1.5}));
}

TEST_F(TrapMotion, GotoJumpsToTheSetPositionAtOnce)
{
    EXPECT_EQ(set(-2.0, 0.5, ZVK_UNIT_VOLT).status, 0);
    EXPECT_EQ(ZVK_Trap_GotoSetPosition(0, 0, index), 0);
    EXPECT_EQ(mirrors(0, 1), (Position{-2.0, 0.5}));
    EXPECT_EQ(g_galvo[0].moveMode[1], ZVK_MOVE_STAND);
    EXPECT_EQ(mirrors(0, 0), (Position{0.5, -0.25}));
}

TEST_F(TrapMotion, MoveRunsToTheSetPositionAtTheWaypointsSpeed)
{
    EXPECT_EQ(set(1.1, -1.5, ZVK_UNIT_VOLT).status, 0);
    EXPECT_EQ(ZVK_Trap_MoveToSetPosition(0, 0, index), 0);
    EXPECT_EQ(mirrors(0, 1), (Position{1.0, -1.5}));
    EXPECT_EQ(g_galvo[0].moveMode[1], ZVK_MOVE_ONCE);
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_Galvo_GetPositionTarget(0, 0, 1, &x, &y), 0);
    EXPECT_EQ((Position{x, y}), (Position{1.1, -1.5}));
    int blocks = 0;
    while (g_galvo[0].moveMode[1] == ZVK_MOVE_ONCE && blocks < 10) {
        ZVK_Galvo_UpdateBuffer();
        ++blocks;
    }
    EXPECT_GT(blocks, 1);
    EXPECT_LT(blocks, 10);
    EXPECT_EQ(mirrors(0, 1), (Position{1.1, -1.5}));
}

TEST_F(TrapMotion, WhileTheBufferIsInUseBothMovesTryAgain)
{
    EXPECT_EQ(set(-2.0, 0.5, ZVK_UNIT_VOLT).status, 0);
    keepBufferInUse(3);
    EXPECT_EQ(ZVK_Trap_GotoSetPosition(0, 0, index), 0);
    EXPECT_EQ(mirrors(0, 1), (Position{-2.0, 0.5}));
    EXPECT_GE(clock.Breaths(), 3);

    EXPECT_EQ(set(-2.1, 0.5, ZVK_UNIT_VOLT).status, 0);
    const int64_t before = clock.Breaths();
    keepBufferInUse(3);
    EXPECT_EQ(ZVK_Trap_MoveToSetPosition(0, 0, index), 0);
    EXPECT_GE(clock.Breaths() - before, 3);
    EXPECT_EQ(g_galvo[0].moveMode[1], ZVK_MOVE_ONCE);
}

TEST_F(TrapMotion, WhatTheGalvoModuleRefusesIsNotReported)
{
    ASSERT_EQ(ZVK_Galvo_SetLimits(0, 0, -0.5, 0.5, -0.5, 0.5), 0);
    EXPECT_EQ(set(2.0, 2.0, ZVK_UNIT_VOLT).status, 0);
    EXPECT_EQ(ZVK_Trap_GotoSetPosition(0, 0, index), 0);  // clamped
    EXPECT_EQ(mirrors(0, 1), (Position{0.5, 0.5}));
    ZVK_Galvo_Shutdown(0);
    EXPECT_EQ(ZVK_Trap_GotoSetPosition(0, 0, index), 0);
    EXPECT_EQ(ZVK_Trap_MoveToSetPosition(0, 0, index), 0);
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(TrapMotion, ThePositionIsTheMirrorsInEachUnit)
{
    ASSERT_EQ(ZVK_Galvo_SetPosition(0, 0, 1, 1.5, 0.75), 0);
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ((Position{x, y}), (Position{1.5, 0.75}));
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, ZVK_UNIT_PIXEL), 0);
    EXPECT_NEAR(x, 650.0, kNear);
    EXPECT_NEAR(y, 475.0, kNear);
    EXPECT_NE(x, 650.0);  // not cut to whole pixels
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, ZVK_UNIT_MICROMETER), 0);
    EXPECT_NEAR(x, 10.0, kNear);
    EXPECT_NEAR(y, 5.0, kNear);
    expectUnchanged();
}

TEST_F(TrapMotion, ThePositionsFailuresWriteNothingAndTheMirrorsComeBeforeTheUnit)
{
    double x = 42.0;
    double y = 42.0;
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, 4), ZVK_COORDINATES_BAD_UNIT);
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, 0), ZVK_COORDINATES_BAD_UNIT);
    g_trafo[0].busy = 1;
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, ZVK_UNIT_MICROMETER), ZVK_COORDINATES_BUSY);
    g_trafo[0].busy = 0;
    g_trafo[0].initialized = 0;
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, ZVK_UNIT_PIXEL),
              ZVK_COORDINATES_NOT_INITIALIZED);
    g_trafo[0].initialized = 1;
    node(0)->wp = 7;
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, 4), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(x, 42.0);
    EXPECT_EQ(y, 42.0);
}

TEST_F(TrapMotion, InPixelsThePositionWaitsForTheTables)
{
    g_trafo[0].busy = 1;
    clock.OnWait([this] {
        if (clock.Breaths() == 5) g_trafo[0].busy = 0;
    });
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, ZVK_UNIT_PIXEL), 0);
    EXPECT_EQ(clock.Breaths(), 5);
    EXPECT_NEAR(x, 600.0, kNear);
}

TEST_F(TrapMotion, WhileAPositionWaitsForTheTablesOtherTrapCallsGoOn)
{
    g_trafo[0].busy = 1;
    int32_t status = 42;
    clock.OnWait([this, &status] {
        status = ZVK_Trap_GotoSetPosition(0, 0, index);
        g_trafo[0].busy = 0;
    });
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &x, &y, ZVK_UNIT_PIXEL), 0);
    EXPECT_EQ(status, 0);
}

TEST_F(TrapMotion, TheTargetInPixelsIsTheSetPositionAsItWasGiven)
{
    double x = 42.0;
    double y = 42.0;
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, index, &x, &y, ZVK_UNIT_PIXEL), 0);
    EXPECT_EQ((Position{x, y}), (Position{0.0, 0.0}));  // before the first set position
    EXPECT_EQ(set(300.0, 450.0, ZVK_UNIT_PIXEL).status, 0);
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, index, &x, &y, ZVK_UNIT_PIXEL), 0);
    EXPECT_EQ((Position{x, y}), (Position{300.0, 450.0}));
}

TEST_F(TrapMotion, TheTargetInVoltsIsStoredFromTheCallerUnclamped)
{
    EXPECT_EQ(set(300.0, 450.0, ZVK_UNIT_PIXEL).status, 0);
    double x = 9.0;
    double y = -9.0;
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, index, &x, &y, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ((Position{x, y}), (Position{9.0, -9.0}));
    expectVolts(9.0, -9.0);
    expectPixels(300.0, 450.0);
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(TrapMotion, TheTargetInLengthsAndUnknownUnitsIsRefusedAndChangesNothing)
{
    double x = 42.0;
    double y = 42.0;
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, index, &x, &y, ZVK_UNIT_MICROMETER),
              ZVK_COORDINATES_BAD_DIRECTION);
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, index, &x, &y, 0), ZVK_COORDINATES_BAD_UNIT);
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, index, &x, &y, 4), ZVK_COORDINATES_BAD_UNIT);
    EXPECT_EQ((Position{x, y}), (Position{42.0, 42.0}));
    expectUnchanged();
    g_trafo[0].busy = 1;
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, index, &x, &y, ZVK_UNIT_MICROMETER),
              ZVK_COORDINATES_BUSY);
}

TEST_F(TrapMotion, TheCentreIsTheGalvoModulesInEachUnit)
{
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_Trap_GetCenterPosition(0, 0, index, &x, &y, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ((Position{x, y}), (Position{0.5, -0.25}));
    ASSERT_EQ(ZVK_Galvo_SetOffset(0, 0, 1.0, 1.0), 0);
    EXPECT_EQ(ZVK_Trap_GetCenterPosition(0, 0, index, &x, &y, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ((Position{x, y}), (Position{1.0, 1.0}));
    EXPECT_EQ(ZVK_Trap_GetCenterPosition(0, 0, index, &x, &y, ZVK_UNIT_PIXEL), 0);
    EXPECT_NEAR(x, 600.0, kNear);
    EXPECT_NEAR(y, 500.0, kNear);
    EXPECT_EQ(ZVK_Trap_GetCenterPosition(0, 0, index, &x, &y, ZVK_UNIT_MICROMETER), 0);
    EXPECT_NEAR(x, 0.0, kNear);
    EXPECT_NEAR(y, 0.0, kNear);
}

TEST_F(TrapMotion, TheCentresFailuresComeFromTheGalvoModuleFirst)
{
    double x = 42.0;
    double y = 42.0;
    EXPECT_EQ(ZVK_Trap_GetCenterPosition(0, 0, index, &x, &y, 4), ZVK_COORDINATES_BAD_UNIT);
    EXPECT_EQ((Position{x, y}), (Position{0.5, -0.25}));  // the volts are written before the unit
    g_trafo[0].busy = 1;
    EXPECT_EQ(ZVK_Trap_GetCenterPosition(0, 0, index, &x, &y, ZVK_UNIT_PIXEL),
              ZVK_COORDINATES_BUSY);
    EXPECT_EQ(ZVK_Trap_GetCenterPosition(0, 0, index, &x, &y, ZVK_UNIT_MICROMETER),
              ZVK_COORDINATES_BUSY);
    ZVK_Galvo_Shutdown(0);
    EXPECT_EQ(ZVK_Trap_GetCenterPosition(0, 0, index, &x, &y, 4), ZVK_GALVO_NOT_CONFIGURED);
}
