// Odd corners of the transforms: orders of checks and of clamps.

#include "steering_fixture.h"

using CoordinatesOdd = SteeringTest;

TEST_F(CoordinatesOdd, AnUnknownDirectionNeedsNoTables)
{
    bringUp();
    const double t[2] = {}, l[4] = {};
    ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 2, t, t, t, t, l), -903);
    double x = 7, y = 8;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 2, &x, &y), -906);
    EXPECT_EQ(x, 7.0 + 1e-07);
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "T", 1, 1, 3), -906);
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, indexOf(0), &x, &y, 3), -906);
}

TEST_F(CoordinatesOdd, CrossedLimitsShowTheOrderOfTheClamps)
{
    bringUp();
    ASSERT_EQ(ZVK_Galvo_SetLimits(0, 0, 1.0, -1.0, 2.0, -2.0), 0);
    double x = 500.0, y = 400.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Convert(0, 0, &x, &y, 1), 907);
    EXPECT_EQ((Position{x, y}), (Position{-1.0, -2.0}));
    g_trap.limits[0] = {1.0, -1.0, 2.0, -2.0, 0.0, 0.0};
    x = y = 0.0;
    EXPECT_EQ(ZVK_Trap_SetPosition(0, 0, indexOf(0), &x, &y, 1, 0), 907);
    EXPECT_EQ((Position{x, y}), (Position{1.0, 2.0}));
}

TEST_F(CoordinatesOdd, TheCountIsTestedBeforeTheScaleIsRead)
{
    writeConfig(without(TwoPathsConfig(), "FACTORX"));
    writeObjective(with(TwoPathsObjective(), "COEFFNUM", "3"));
    EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), ZVK_COORDINATES_NOT_SQUARE);
}

TEST_F(CoordinatesOdd, ShutdownLeavesTheBusyWordOfAFailedInit)
{
    writeObjective("");
    ASSERT_LT(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVK_CoordinateSystems_Shutdown(0), 0);
    double x = 1, y = 2;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), ZVK_COORDINATES_BUSY);
}

TEST_F(CoordinatesOdd, ACountBeyondAllMemoryIsRefusedBeforeItIsTried)
{
    bringUp();
    const double value = 1.0;
    EXPECT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 2147395600, &value, &value, &value, &value,
                                                  &value),
              ZVK_COORDINATES_NO_MEMORY);
}
