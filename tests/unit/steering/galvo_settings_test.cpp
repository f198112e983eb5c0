#include "galvo_fixture.h"

#include <limits>

using GalvoSettings = GalvoTest;

TEST_F(GalvoSettings, EveryCallRefusesAnUnknownPathFirst)
{
    double d = 0;
    int32_t l = 0;
    for (int32_t path : {-1, 2, 640}) {
        EXPECT_EQ(ZVK_Galvo_GetInitStatus(0, path, &l), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_GetPositionCurrent(0, path, 99, &d, &d), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_GetPositionTarget(0, path, 99, &d, &d), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_SetSpeed(0, path, 99, 1), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_SetMoveType(0, path, 99, 99), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_GetMoveType(0, path, 99, &l), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_SetLimits(0, path, 0, 0, 0, 0), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_GetLimits(0, path, &d, &d, &d, &d), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_SetOffset(0, path, 0, 0), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_GetOffset(0, path, &d, &d), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_SaveOffset(0, path, 0, 0), ZVK_GALVO_BAD_PATH);
        EXPECT_EQ(ZVK_Galvo_LoadOffset(0, path, &d, &d), ZVK_GALVO_BAD_PATH);
    }
}

TEST_F(GalvoSettings, LimitsAndCentreNeedAnInitializedPath)
{
    double d = 0;
    EXPECT_EQ(ZVK_Galvo_SetLimits(0, 0, 0, 0, 0, 0), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(ZVK_Galvo_GetLimits(0, 0, &d, &d, &d, &d), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(ZVK_Galvo_GetOffset(0, 0, &d, &d), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(ZVK_Galvo_SaveOffset(0, 0, 0, 0), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(ZVK_Galvo_LoadOffset(0, 0, &d, &d), ZVK_GALVO_NOT_CONFIGURED);
}

TEST_F(GalvoSettings, LimitsAreStoredUncheckedAndMoveNothing)
{
    PrepareOutput(10);
    Configure(0, 1);
    EXPECT_EQ(ZVK_Galvo_SetLimits(0, 0, 5, -5, 6, -6), 0) << "the minimum above the maximum";
    double xMin = 0;
    double xMax = 0;
    double yMin = 0;
    double yMax = 0;
    EXPECT_EQ(ZVK_Galvo_GetLimits(0, 0, &xMin, &xMax, &yMin, &yMax), 0);
    EXPECT_EQ(xMin, 5);
    EXPECT_EQ(xMax, -5);
    EXPECT_EQ(yMin, 6);
    EXPECT_EQ(yMax, -6);
    EXPECT_EQ(g_galvo[0].posX[0], 1.0);
    EXPECT_EQ(g_galvo[1].xMax, 10.0) << "the other path";
}

TEST_F(GalvoSettings, CentreIsClampedWith611AlsoOnAPathNotInitialized)
{
    g_galvo[1].xMin = -1;
    g_galvo[1].xMax = 1;
    g_galvo[1].yMin = -2;
    g_galvo[1].yMax = 2;
    EXPECT_EQ(ZVK_Galvo_SetOffset(0, 1, 5, -5), ZVK_GALVO_CLAMPED);
    EXPECT_EQ(g_galvo[1].xoff, 1.0);
    EXPECT_EQ(g_galvo[1].yoff, -2.0);
    EXPECT_EQ(ZVK_Galvo_SetOffset(0, 1, 0.5, -0.5), 0);
    g_galvo[1].initialized = 1;
    double x = 0;
    double y = 0;
    EXPECT_EQ(ZVK_Galvo_GetOffset(0, 1, &x, &y), 0);
    EXPECT_EQ(x, 0.5);
    EXPECT_EQ(y, -0.5);
}

TEST_F(GalvoSettings, SpeedOnAnUninitializedPathAnswersZeroAndStoresNothing)
{
    EXPECT_EQ(ZVK_Galvo_SetSpeed(0, 0, 0, 4.0), 0);
    PrepareOutput(10);
    Configure(0, 1);
    g_galvo[0].initialized = 0;
    EXPECT_EQ(ZVK_Galvo_SetSpeed(0, 0, 0, 4.0), 0);
    EXPECT_EQ(g_galvo[0].speeds[0], 1.0);
    EXPECT_EQ(ZVK_Galvo_SetSpeed(0, 0, 1, 4.0), ZVK_GALVO_OUT_OF_RANGE)
        << "the waypoint is tested first";
}

TEST_F(GalvoSettings, SpeedTakesAnyValueAndARunKeepsItsTiming)
{
    PrepareOutput(10);
    Configure(0, 1);
    ZVK_Galvo_SetPositionTarget(0, 0, 0, 2.0, 2.0);
    const int32_t dwell = g_galvo[0].trajectory[0]->dwell;
    for (double speed : {0.0, -3.0, 1e308, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(ZVK_Galvo_SetSpeed(0, 0, 0, speed), 0);
        EXPECT_EQ(g_galvo[0].speeds[0], speed);
    }
    EXPECT_EQ(g_galvo[0].trajectory[0]->dwell, dwell);
}

TEST_F(GalvoSettings, OnlyThreeMoveModesAreTaken)
{
    PrepareOutput(10);
    Configure(0, 1);
    for (int32_t mode : {1, 2, 3}) {
        EXPECT_EQ(ZVK_Galvo_SetMoveType(0, 0, 0, mode), 0);
        int32_t got = 0;
        EXPECT_EQ(ZVK_Galvo_GetMoveType(0, 0, 0, &got), 0);
        EXPECT_EQ(got, mode);
    }
    for (int32_t mode : {0, 4, -1}) {
        EXPECT_EQ(ZVK_Galvo_SetMoveType(0, 0, 99, mode), ZVK_GALVO_BAD_MOVE_MODE)
            << "tested before the waypoint";
        EXPECT_EQ(ZVK_Galvo_SetMoveType(0, 0, 0, mode), ZVK_GALVO_BAD_MOVE_MODE);
        EXPECT_EQ(g_galvo[0].moveMode[0], 3);
    }
}

TEST_F(GalvoSettings, NullOutputsArePassedOver)
{
    PrepareOutput(10);
    Configure(0, 1);
    EXPECT_EQ(ZVK_Galvo_GetPositionCurrent(0, 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Galvo_GetPositionTarget(0, 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Galvo_GetMoveType(0, 0, 0, nullptr), 0);
    EXPECT_EQ(ZVK_Galvo_GetLimits(0, 0, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Galvo_GetOffset(0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Galvo_GetInitStatus(0, 0, nullptr), 0);
    EXPECT_EQ(ZVK_Galvo_GetBufferParameters(0, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Galvo_GetBufferWriteStatus(0, nullptr), 0);
}

TEST_F(GalvoSettings, InitStatusIsThePathsOwn)
{
    PrepareOutput(10);
    g_galvo[0].initialized = 0;
    int32_t status = 9;
    EXPECT_EQ(ZVK_Galvo_GetInitStatus(0, 0, &status), 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ZVK_Galvo_GetInitStatus(0, 1, &status), 0);
    EXPECT_EQ(status, 1);
}

TEST_F(GalvoSettings, BufferParametersAreClockAndFourBlocks)
{
    PrepareOutput(10);
    int32_t clockRate = 0;
    int32_t size = 0;
    EXPECT_EQ(ZVK_Galvo_GetBufferParameters(0, &clockRate, &size), 0);
    EXPECT_EQ(clockRate, 10000);
    EXPECT_EQ(size, 40);
}
