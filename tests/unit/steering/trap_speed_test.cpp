// Speeds in volts, pixels and lengths per second.

#include "steering_fixture.h"

#include <cmath>

// One trap more on path A, waypoint 1. A volt in Y is 100 pixels, and 20 pixels are a length of 1.
class TrapSpeed : public SteeringTest
{
protected:
    void SetUp() override
    {
        SteeringTest::SetUp();
        bringUp();
        index = addTrap(0, 1.0, -1.5, "bead");
    }
    static double waypointSpeed() { return g_galvo[0].speeds[1]; }
    int32_t index = 0;
};

TEST_F(TrapSpeed, VoltsReachTheTrapAndItsWaypoint)
{
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 2.5, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(node(0)->speed, 2.5);
    EXPECT_EQ(waypointSpeed(), 2.5);
    EXPECT_EQ(g_galvo[0].speeds[0], 1.0);
    double speed = 0.0;
    EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, &speed, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(speed, 2.5);
}

TEST_F(TrapSpeed, LengthsAreMeasuredOverATenthVoltInYBesideTheCentre)
{
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 10.0, ZVK_UNIT_MICROMETER), 0);
    EXPECT_NEAR(node(0)->speed, 2.0, 1e-9);  // 200 pixels a second
    EXPECT_EQ(waypointSpeed(), node(0)->speed);
    double speed = 0.0;
    EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, &speed, ZVK_UNIT_MICROMETER), 0);
    EXPECT_NEAR(speed, 10.0, 1e-9);
}

TEST_F(TrapSpeed, OnABentFieldTheDistanceCountsBothAxes)
{
    // A volt in Y is 30 pixels in X and 80 in Y: 3 and 4 lengths.
    const double limits[4] = {0.0, 1.0, 0.0, 1.0};
    const double forward[4] = {};
    const double toX[4] = {0.0, 30.0, 0.0, 0.0};  // x^0 y^1
    const double toY[4] = {0.0, 0.0, 80.0, 0.0};  // y^1 x^0
    ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 4, forward, forward, toX, toY, limits), 0);
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 10.0, ZVK_UNIT_MICROMETER), 0);
    EXPECT_NEAR(node(0)->speed, 2.0, 1e-9);
}

TEST_F(TrapSpeed, PixelsReachTheWaypointAndTheTrapKeepsItsOwn)
{
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 2.5, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 300.0, ZVK_UNIT_PIXEL), 0);
    EXPECT_NEAR(waypointSpeed(), 3.0, 1e-6);
    EXPECT_EQ(node(0)->speed, 2.5);
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, -300.0, ZVK_UNIT_PIXEL), 0);
    EXPECT_NEAR(waypointSpeed(), 3.0, 1e-6);  // without its sign
}

TEST_F(TrapSpeed, PixelsAreMeasuredBesideTheCentreOfTheInit)
{
    // Pixels are volts here, and the X voltage is the square of the X pixel: the speed tells where
    // it was measured.
    const double limits[4] = {0.0, 1.0, 0.0, 1.0};
    const double unused[9] = {};
    const double square[9] = {0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};  // y^0 x^2
    const double same[9] = {0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0};    // x^1 y^0
    ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 9, unused, square, same, unused, limits),
              0);
    ASSERT_EQ(ZVK_Galvo_SetOffset(0, 0, 2.0, 2.0), 0);  // not the one that counts
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 1.0, ZVK_UNIT_PIXEL), 0);
    EXPECT_NEAR(waypointSpeed(), std::fabs(0.5 - 1.5 * 1.5), 1e-5);
}

TEST_F(TrapSpeed, UnknownUnitsChangeNothing)
{
    for (const int32_t unit : {0, 4, -1})
        EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 7.0, unit), ZVK_COORDINATES_BAD_UNIT);
    EXPECT_EQ(node(0)->speed, 1.0);
    EXPECT_EQ(waypointSpeed(), 1.0);
}

TEST_F(TrapSpeed, GetRefusesPixelsAndUnknownUnitsByItsOwnStatus)
{
    double speed = 42.0;
    for (const int32_t unit : {ZVK_UNIT_PIXEL + 0, 0, 4, -1})
        EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, &speed, unit), ZVK_TRAP_BAD_SPEED_UNIT);
    EXPECT_EQ(ZVK_TRAP_BAD_SPEED_UNIT, -808);
    EXPECT_EQ(speed, 42.0);
}

TEST_F(TrapSpeed, WithoutTheGalvoModuleLengthsAreRefusedAndVoltsOnlyKept)
{
    ZVK_Galvo_Shutdown(0);
    double speed = 42.0;
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 10.0, ZVK_UNIT_MICROMETER), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(node(0)->speed, 1.0);
    EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, &speed, ZVK_UNIT_MICROMETER),
              ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(speed, 42.0);
}

TEST_F(TrapSpeed, WithoutCoordinatesPixelsAndLengthsAreRefused)
{
    for (const int32_t status : {ZVK_COORDINATES_BUSY, ZVK_COORDINATES_NOT_INITIALIZED}) {
        g_trafo[0].busy = status == ZVK_COORDINATES_BUSY ? 1 : 0;
        g_trafo[0].initialized = status == ZVK_COORDINATES_BUSY ? 1 : 0;
        double speed = 42.0;
        EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 10.0, ZVK_UNIT_PIXEL), status);
        EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 10.0, ZVK_UNIT_MICROMETER), status);
        EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, &speed, ZVK_UNIT_MICROMETER), status);
        EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, &speed, ZVK_UNIT_VOLT), 0);
        EXPECT_EQ(speed, 1.0);
    }
    EXPECT_EQ(node(0)->speed, 1.0);
    EXPECT_EQ(waypointSpeed(), 1.0);
}

TEST_F(TrapSpeed, ATrapWithoutAWaypointKeepsTheSpeedAndTells)
{
    node(0)->wp = 7;
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 2.5, ZVK_UNIT_VOLT), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(node(0)->speed, 2.5);
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 10.0, ZVK_UNIT_MICROMETER), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_NEAR(node(0)->speed, 2.0, 1e-9);
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 300.0, ZVK_UNIT_PIXEL), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_NEAR(node(0)->speed, 2.0, 1e-9);
}

TEST_F(TrapSpeed, ASpeedOfZeroLengthsIsZeroVolts)
{
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 0.0, ZVK_UNIT_MICROMETER), 0);
    EXPECT_EQ(node(0)->speed, 0.0);
}

TEST_F(TrapSpeed, AFieldWithoutExtentMakesTheSpeedInfinite)
{
    const double limits[4] = {0.0, 1.0, 0.0, 1.0};
    const double constant[1] = {1.0};
    ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 1, constant, constant, constant, constant,
                                                  limits),
              0);
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 10.0, ZVK_UNIT_MICROMETER), 0);
    EXPECT_TRUE(std::isinf(node(0)->speed));
}

TEST_F(TrapSpeed, ARangeBeyondTheLimitsDoesNotStopGet)
{
    double speed = 0.0;
    ASSERT_EQ(ZVK_Galvo_SetLimits(0, 0, -0.6, 0.6, -0.6, 0.6), 0);
    EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, &speed, ZVK_UNIT_MICROMETER), 0);
    EXPECT_NEAR(speed, 5.0, 1e-9);
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(TrapSpeed, GetAsksForTheRangeBeforeTheCentre)
{
    ZVK_Galvo_Shutdown(0);
    g_trafo[0].busy = 1;
    double speed = 42.0;
    EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, &speed, ZVK_UNIT_MICROMETER), ZVK_COORDINATES_BUSY);
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 1.0, ZVK_UNIT_MICROMETER), ZVK_GALVO_NOT_CONFIGURED);
}
