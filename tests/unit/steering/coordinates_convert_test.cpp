// Conversions between the three units, the clamp to the mirrors' limits, and the calibrated range.

#include "steering_fixture.h"

#include <cmath>

class CoordinateConvert : public SteeringTest
{
protected:
    void SetUp() override
    {
        SteeringTest::SetUp();
        bringUp();
    }

    // One conversion: status and both numbers.
    struct Result
    {
        int32_t status;
        double x;
        double y;
    };
    static Result convert(int32_t path, double x, double y, int32_t direction)
    {
        const int32_t status = ZVK_CoordinateSystems_Convert(0, path, &x, &y, direction);
        return {status, x, y};
    }
};

TEST_F(CoordinateConvert, EachDirectionGivesTheNumbersOfItsFormula)
{
    struct Row
    {
        int32_t path;
        int32_t direction;
        double x, y;
        double xExpected, yExpected;
    };
    // The centres are (0.5, -0.25) V, pixel (550, 375), and (-0.5, 0.25) V, pixel (560, 320).
    const Row rows[] = {
        {0, ZVK_TRAFODIR_PIXEL_TO_VOLT, 600.0, 200.0, 1.0, -2.0},
        {1, ZVK_TRAFODIR_PIXEL_TO_VOLT, 760.0, 220.0, 2.0, -1.0},
        {0, ZVK_TRAFODIR_VOLT_TO_PIXEL, 1.0, -2.0, 600.0, 200.0},
        {1, ZVK_TRAFODIR_VOLT_TO_PIXEL, 2.0, -1.0, 760.0, 220.0},
        {0, ZVK_TRAFODIR_VOLT_TO_MICROMETER, 1.5, 0.75, 10.0, 5.0},
        {1, ZVK_TRAFODIR_VOLT_TO_MICROMETER, 0.5, 1.25, 8.0, 4.0},
        {0, ZVK_TRAFODIR_MICROMETER_TO_VOLT, 10.0, 5.0, 1.5, 0.75},
        {1, ZVK_TRAFODIR_MICROMETER_TO_VOLT, 8.0, 4.0, 0.5, 1.25},
        {0, ZVK_TRAFODIR_MICROMETER_TO_PIXEL, 10.0, 5.0, 650.0, 475.0},
        {1, ZVK_TRAFODIR_MICROMETER_TO_PIXEL, 8.0, 4.0, 640.0, 400.0},
        {0, ZVK_TRAFODIR_PIXEL_TO_MICROMETER, 650.0, 475.0, 10.0, 5.0},
        {1, ZVK_TRAFODIR_PIXEL_TO_MICROMETER, 640.0, 400.0, 8.0, 4.0},
    };
    for (const Row &row : rows) {
        const Result result = convert(row.path, row.x, row.y, row.direction);
        EXPECT_EQ(result.status, 0) << row.path << ' ' << row.direction;
        EXPECT_NEAR(result.x, row.xExpected, 1e-4) << row.path << ' ' << row.direction;
        EXPECT_NEAR(result.y, row.yExpected, 1e-4) << row.path << ' ' << row.direction;
    }
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(CoordinateConvert, ThePolynomialsInputsAreRaisedBeforeEachUse)
{
    // Lengths to volts: the centre goes through the transform once, the point once more.
    const Result result = convert(0, 0.0, 0.0, ZVK_TRAFODIR_MICROMETER_TO_VOLT);
    EXPECT_NEAR(result.x, 0.5 + 1e-07 + 1e-09, 1e-12);
    EXPECT_NEAR(result.y, -0.25 + 1e-07 + 1e-09, 1e-12);
}

TEST_F(CoordinateConvert, UnknownDirectionsAreRefusedAndNothingChanges)
{
    for (const int32_t direction : {0, 6, -2, -1000, 1000}) {
        const Result result = convert(0, 7.0, 8.0, direction);
        EXPECT_EQ(result.status, ZVK_COORDINATES_BAD_UNIT);
        EXPECT_EQ(result.x, 7.0);
        EXPECT_EQ(result.y, 8.0);
    }
}

TEST_F(CoordinateConvert, BeyondTheMirrorsLimitsItIsClampedInPlaceAndReturns907WithoutCapture)
{
    struct Row
    {
        double x, y;  // pixels of path A
        double xExpected, yExpected;
    };
    const Row rows[] = {
        {-500.0, 400.0, -4.0, 0.0},   // X below
        {1500.0, 400.0, 4.0, 0.0},    // X above
        {500.0, -500.0, 0.0, -3.0},   // Y below
        {500.0, 1500.0, 0.0, 3.0},    // Y above
        {1500.0, -500.0, 4.0, -3.0},  // both
    };
    for (const Row &row : rows) {
        const Result result = convert(0, row.x, row.y, ZVK_TRAFODIR_PIXEL_TO_VOLT);
        EXPECT_EQ(result.status, ZVK_COORDINATES_CLAMPED);
        EXPECT_NEAR(result.x, row.xExpected, 1e-6);
        EXPECT_NEAR(result.y, row.yExpected, 1e-6);
        // The same place, told in lengths from the centre at pixel (550, 375).
        const Result length = convert(0, (row.x - 550.0) / 10.0, (row.y - 375.0) / 20.0,
                                      ZVK_TRAFODIR_MICROMETER_TO_VOLT);
        EXPECT_EQ(length.status, ZVK_COORDINATES_CLAMPED);
        EXPECT_NEAR(length.x, row.xExpected, 1e-6);
        EXPECT_NEAR(length.y, row.yExpected, 1e-6);
    }
    EXPECT_TRUE(capturedWarnings().empty());
}

TEST_F(CoordinateConvert, ExactlyAtTheLimitIsNoWarning)
{
    const Result inside = convert(0, 600.0, 400.0, ZVK_TRAFODIR_PIXEL_TO_VOLT);
    ASSERT_EQ(ZVK_Galvo_SetLimits(0, 0, inside.x, inside.x, inside.y, inside.y), 0);
    const Result result = convert(0, 600.0, 400.0, ZVK_TRAFODIR_PIXEL_TO_VOLT);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.x, inside.x);
}

TEST_F(CoordinateConvert, OnlyTheDirectionsToVoltsClamp)
{
    for (const int32_t direction :
         {ZVK_TRAFODIR_VOLT_TO_PIXEL, ZVK_TRAFODIR_VOLT_TO_MICROMETER,
          ZVK_TRAFODIR_MICROMETER_TO_PIXEL, ZVK_TRAFODIR_PIXEL_TO_MICROMETER})
    {
        const Result result = convert(0, 1e6, -1e6, direction);
        EXPECT_EQ(result.status, 0) << direction;
        EXPECT_GT(result.x, 1e4) << direction;
        EXPECT_LT(result.y, -1e4) << direction;
    }
}

TEST_F(CoordinateConvert, TheClampFollowsTheGalvoModulesLimitsOfTheMoment)
{
    ASSERT_EQ(ZVK_Galvo_SetLimits(0, 0, -0.5, 0.5, -0.5, 0.5), 0);
    const Result result = convert(0, 600.0, 200.0, ZVK_TRAFODIR_PIXEL_TO_VOLT);
    EXPECT_EQ(result.status, ZVK_COORDINATES_CLAMPED);
    EXPECT_EQ(result.x, 0.5);
    EXPECT_EQ(result.y, -0.5);
}

TEST_F(CoordinateConvert, LengthsStartAtTheGalvoModulesCentreOfTheMoment)
{
    ASSERT_EQ(ZVK_Galvo_SetOffset(0, 0, 1.0, 1.0), 0);
    const Result result = convert(0, 0.0, 0.0, ZVK_TRAFODIR_MICROMETER_TO_PIXEL);
    EXPECT_NEAR(result.x, 600.0, 1e-4);
    EXPECT_NEAR(result.y, 500.0, 1e-4);
}

TEST_F(CoordinateConvert, ChecksRunPathThenLoadedThenBusyThenDirection)
{
    g_trafo[0].initialized = 0;
    g_trafo[0].busy = 1;
    EXPECT_EQ(convert(-1, 7.0, 8.0, 99).status, ZVK_COORDINATES_BAD_PATH);
    EXPECT_EQ(convert(2, 7.0, 8.0, 99).status, ZVK_COORDINATES_BAD_PATH);
    EXPECT_EQ(convert(0, 7.0, 8.0, 99).status, ZVK_COORDINATES_NOT_INITIALIZED);
    g_trafo[0].initialized = 1;
    EXPECT_EQ(convert(0, 7.0, 8.0, 99).status, ZVK_COORDINATES_BUSY);
    g_trafo[0].busy = 0;
    EXPECT_EQ(convert(0, 7.0, 8.0, 99).status, ZVK_COORDINATES_BAD_UNIT);
    EXPECT_EQ(convert(0, 7.0, 8.0, 99).x, 7.0);
}

// The galvo module is down: what was done before it was asked stays done.
TEST_F(CoordinateConvert, WithoutTheGalvoModuleEachDirectionStopsWhereItNeedsIt)
{
    ZVK_Galvo_Shutdown(0);
    struct Row
    {
        int32_t direction;
        int32_t status;
        double xExpected, yExpected;
    };
    const Row rows[] = {
        {ZVK_TRAFODIR_PIXEL_TO_VOLT, ZVK_GALVO_NOT_CONFIGURED, -4.4, -3.2},           // converted
        {ZVK_TRAFODIR_VOLT_TO_PIXEL, 0, 6500.0, 8400.0},                              // not needed
        {ZVK_TRAFODIR_VOLT_TO_MICROMETER, ZVK_GALVO_NOT_CONFIGURED, 6500.0, 8400.0},  // pixels
        {ZVK_TRAFODIR_MICROMETER_TO_VOLT, ZVK_GALVO_NOT_CONFIGURED, 600.0, 1600.0},   // scaled
        {ZVK_TRAFODIR_MICROMETER_TO_PIXEL, ZVK_GALVO_NOT_CONFIGURED, 600.0, 1600.0},  // scaled
        {ZVK_TRAFODIR_PIXEL_TO_MICROMETER, ZVK_GALVO_NOT_CONFIGURED, 60.0, 80.0},     // untouched
    };
    for (const Row &row : rows) {
        const Result result = convert(0, 60.0, 80.0, row.direction);
        EXPECT_EQ(result.status, row.status) << row.direction;
        EXPECT_NEAR(result.x, row.xExpected, 1e-4) << row.direction;
        EXPECT_NEAR(result.y, row.yExpected, 1e-4) << row.direction;
    }
}

TEST_F(CoordinateConvert, AScaleOfZeroGivesInfinityAndNoTrap)
{
    g_trafo[0].scaleX = 0.0;
    const Result result = convert(0, 650.0, 475.0, ZVK_TRAFODIR_PIXEL_TO_MICROMETER);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(std::isinf(result.x));
}

class CoordinateRange : public CoordinateConvert
{
protected:
    struct Ranges
    {
        double xMin = 42.0;
        double xMax = 42.0;
        double yMin = 42.0;
        double yMax = 42.0;
    };
    static int32_t get(int32_t path, int32_t unit, Ranges &out)
    {
        return ZVK_CoordinateSystems_GetCalRange(0, path, &out.xMin, &out.xMax, &out.yMin,
                                                 &out.yMax, unit);
    }
    static void expect(const Ranges &out, double xMin, double xMax, double yMin, double yMax)
    {
        EXPECT_NEAR(out.xMin, xMin, 1e-4);
        EXPECT_NEAR(out.xMax, xMax, 1e-4);
        EXPECT_NEAR(out.yMin, yMin, 1e-4);
        EXPECT_NEAR(out.yMax, yMax, 1e-4);
    }
};

TEST_F(CoordinateRange, InPixelsItIsWhatTheObjectiveFileSays)
{
    Ranges a;
    EXPECT_EQ(get(0, ZVK_UNIT_PIXEL, a), 0);
    expect(a, 150.0, 850.0, 120.0, 680.0);
    Ranges b;
    EXPECT_EQ(get(1, ZVK_UNIT_PIXEL, b), 0);
    expect(b, 400.0, 800.0, 160.0, 440.0);
}

TEST_F(CoordinateRange, InVoltsAndLengthsItsCornersAreConverted)
{
    Ranges volts;
    EXPECT_EQ(get(0, ZVK_UNIT_VOLT, volts), 0);
    expect(volts, -3.5, 3.5, -2.8, 2.8);
    Ranges lengths;
    EXPECT_EQ(get(0, ZVK_UNIT_MICROMETER, lengths), 0);
    expect(lengths, -40.0, 30.0, -12.75, 15.25);
}

TEST_F(CoordinateRange, APairThatComesOutReversedIsExchanged)
{
    writeObjective(with(with(TwoPathsObjective(), "AY1", "-0.01"), "AY0", "5"));
    bringUpCoordinates();
    Ranges volts;
    EXPECT_EQ(get(0, ZVK_UNIT_VOLT, volts), 0);
    expect(volts, -3.5, 3.5, -2.8, 2.8);

    ASSERT_EQ(ZVK_CoordinateSystems_CalibrateCamera(0, 0, 10.0, -20.0), 0);
    Ranges lengths;
    EXPECT_EQ(get(0, ZVK_UNIT_MICROMETER, lengths), 0);
    expect(lengths, -40.0, 30.0, -15.25, 12.75);
}

TEST_F(CoordinateRange, AnyOtherUnitReturns0AndWritesNothing)
{
    for (const int32_t unit : {0, 4, -1, 99}) {
        Ranges out;
        EXPECT_EQ(get(0, unit, out), 0);
        expect(out, 42.0, 42.0, 42.0, 42.0);
    }
}

TEST_F(CoordinateRange, ChecksRunPathThenLoadedThenBusyAndComeBeforeTheUnit)
{
    Ranges out;
    g_trafo[0].initialized = 0;
    g_trafo[0].busy = 1;
    EXPECT_EQ(get(2, 99, out), ZVK_COORDINATES_BAD_PATH);
    EXPECT_EQ(get(-1, 99, out), ZVK_COORDINATES_BAD_PATH);
    EXPECT_EQ(get(0, 99, out), ZVK_COORDINATES_NOT_INITIALIZED);
    g_trafo[0].initialized = 1;
    EXPECT_EQ(get(0, 99, out), ZVK_COORDINATES_BUSY);
    expect(out, 42.0, 42.0, 42.0, 42.0);
}

TEST_F(CoordinateRange, ASecondCornerBeyondTheLimitsReturnsAndCaptures907)
{
    ASSERT_EQ(ZVK_Galvo_SetLimits(0, 0, -4.0, 2.0, -3.0, 3.0), 0);
    Ranges out;
    EXPECT_EQ(get(0, ZVK_UNIT_VOLT, out), ZVK_COORDINATES_CLAMPED);
    expect(out, -3.5, 2.0, -2.8, 2.8);
    EXPECT_EQ(capturedWarnings(), std::vector<int32_t>{ZVK_COORDINATES_CLAMPED});
}

TEST_F(CoordinateRange, AFirstCornerBeyondTheLimitsIsCapturedOnly)
{
    ASSERT_EQ(ZVK_Galvo_SetLimits(0, 0, -2.0, 4.0, -3.0, 3.0), 0);
    Ranges out;
    EXPECT_EQ(get(0, ZVK_UNIT_VOLT, out), 0);
    expect(out, -2.0, 3.5, -2.8, 2.8);
    EXPECT_EQ(capturedWarnings(), std::vector<int32_t>{ZVK_COORDINATES_CLAMPED});
}

TEST_F(CoordinateRange, WithoutTheGalvoModuleVoltsAndLengthsAreRefusedAndPixelsAreNot)
{
    ZVK_Galvo_Shutdown(0);
    Ranges out;
    EXPECT_EQ(get(0, ZVK_UNIT_VOLT, out), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(get(0, ZVK_UNIT_MICROMETER, out), ZVK_GALVO_NOT_CONFIGURED);
    expect(out, 150.0, 850.0, 120.0, 680.0);  // lengths stop before the first corner
    EXPECT_EQ(get(0, ZVK_UNIT_PIXEL, out), 0);
}
