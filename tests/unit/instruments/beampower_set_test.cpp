// Setting power: the range, the volts by factor and by table, and what a refusal keeps.

#include "beampower_fixture.h"

#include <cmath>
#include <limits>

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class BeamPowerSet : public BeamPowerTest
{
protected:
    // The volts that went out last.
    double Volts() const { return card.Blocks().back().front(); }
};

TEST_F(BeamPowerSet, RelativePowerTimesScaleIsTheVoltage)
{
    BringUp(0);
    for (const double power : {0.0, 0.25, 0.5, 1.0}) {
        EXPECT_EQ(ZVK_BeamPower_SetPower(640, 0, power), 0);
        EXPECT_EQ(Volts(), 4.0 * power);
        EXPECT_EQ(Power(0), power);
    }
    EXPECT_EQ(card.Calls()[1], "writeAnalogScalarF64(t1, 1, 10, 1)");
    EXPECT_TRUE(std::isnan(Power(1))) << "the other path isn't up";
}

TEST_F(BeamPowerSet, ScaleIsOfSinglePrecision)
{
    BringUp(0, {1, 1, 0, "4.8"});
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 1.0), 0);
    EXPECT_EQ(Volts(), static_cast<double>(4.8F));
}

TEST_F(BeamPowerSet, AboveOneTheValueItselfGoesOutAndTheFormerPowerIsKept)
{
    BringUp(0);
    ASSERT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.25), 0);
    for (const double value : {1.005, 1.01, std::nextafter(1.0, 2.0), 10.0, 10.000009, 9.999991}) {
        EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, value), 0) << value;
        EXPECT_EQ(Volts(), value);
        EXPECT_EQ(Power(0), 0.25);
    }
    EXPECT_TRUE(Captured().empty());
}

TEST_F(BeamPowerSet, ValuesOutsideAreRefusedAndCapturedAndNothingGoesOut)
{
    BringUp(0);
    ASSERT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), 0);
    card.ForgetCalls();
    const std::vector<double> values = {-0.001, 1.0101, 9.9,   9.99998, 10.00002,
                                        10.1,   -10.0,  1e300, kNaN};
    for (const double value : values)
        EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, value), ZVK_BEAMPOWER_OUT_OF_RANGE) << value;
    EXPECT_EQ(Captured(), std::vector<int32_t>(values.size(), 501));
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_EQ(Power(0), 0.5);
}

TEST_F(BeamPowerSet, TheRangeIsTestedBeforeThePathsState)
{
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 2.0), ZVK_BEAMPOWER_OUT_OF_RANGE);
    EXPECT_EQ(Captured(), std::vector<int32_t>{501});
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), ZVK_BEAMPOWER_NOT_FOUND);
    EXPECT_TRUE(Captured().empty()) << "502 is returned only";
}

TEST_F(BeamPowerSet, EachMissingConditionGives502)
{
    BringUp(0);
    ZVK_BeamPowerState &row = g_beamPower[0];
    for (int32_t *field : {&row.mi, &row.initialized, &row.backend}) {
        const int32_t before = *field;
        *field = 0;
        EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), ZVK_BEAMPOWER_NOT_FOUND);
        *field = before;
    }
    row.backend = 6;
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), ZVK_BEAMPOWER_NOT_FOUND);
    row.backend = 7;
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), 0);
    EXPECT_EQ(card.Calls().size(), 1U);
    row.backend = 1;
}

TEST_F(BeamPowerSet, SimulatedKeepsAnyNumberWithoutARangeTestAlsoBeforeInit)
{
    g_beamPower[0].simulate = 1;
    for (const double value : {-5.0, 9.9, 1e300}) {
        EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, value), 0);
        EXPECT_EQ(g_beamPower[0].setVal, value);
    }
    BringUp(0, {1, 1, 1});
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, -7.5), 0);
    EXPECT_EQ(Power(0), -7.5);
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, kNaN), 0);
    EXPECT_TRUE(std::isnan(Power(0)));
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_TRUE(Captured().empty());
}

TEST_F(BeamPowerSet, ARefusedWriteIsLoggedAndKeepsTheFormerPower)
{
    BringUp(0);
    ASSERT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.25), 0);
    card.SetErrorText("the output is reserved");
    for (const double value : {0.5, 10.0}) {
        folder.Remove("log.ini");
        card.FailCall("writeAnalogScalarF64", 1);
        EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, value), ZVK_BEAMPOWER_WRITE_FAILED);
        EXPECT_NE(Log().find("\tthe output is reserved\n"), std::string::npos);
        EXPECT_EQ(Power(0), 0.25);
    }
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), 0);
    card.FailCall("writeAnalogScalarF64", 1, 200009);
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.75), 0) << "a warning of the card is a success";
    EXPECT_EQ(Power(0), 0.75);
}

TEST_F(BeamPowerSet, GetPowerOfAPathThatIsNotUpGives502AndWritesNothing)
{
    double power = 3.0;
    EXPECT_EQ(ZVK_BeamPower_GetPower(0, 0, &power), ZVK_BEAMPOWER_NOT_FOUND);
    EXPECT_EQ(power, 3.0);
    BringUp(0);
    EXPECT_EQ(ZVK_BeamPower_GetPower(0, 0, nullptr), 0);
}

// -- by table --

TEST_F(BeamPowerSet, VoltsComeFromTheTableAndFullOutputDoesNot)
{
    WriteTable({{"0.5", "1"}, {"1.5", "5"}, {"4.0", "20"}});
    BringUp(0);
    const struct
    {
        double power;
        double volts;
    } rows[] = {
        {1.0, 4.0},            // the last power: the last V
        {0.5, 1.5 + 2.5 / 3},  // 10 of 20: a third of the way from 5 to 20
        // 5 of 20, an entry's own power: the search takes the entries around it, so that the line
        // goes from 1 to 20.
        {0.25, 0.5 + 3.5 / 19 * 4},
        {0.15, 1.0},  // 3 of 20: half way from 1 to 5
        {0.05, 0.5},  // 1 of 20: the first entry's own power
        {0.04, 0.5},  // below the table
        {0.0, 0.5},
        {1.005, 1.005},  // volts as they stand
        {10.0, 10.0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, row.power), 0) << row.power;
        EXPECT_DOUBLE_EQ(Volts(), row.volts) << row.power;
    }
    EXPECT_EQ(Power(0), 0.0) << "the last one that was a relative power";
}

TEST_F(BeamPowerSet, ZeroWithATableIsInterpolatedFromTheFirstEntry)
{
    const ZVK_BeamPowerPoint points[] = {{0.25, 0.0}, {1.0, 0.0}, {2.0, 10.0}};
    EXPECT_DOUBLE_EQ(InterpolateVolts(points, 3, 0.0), 0.25)
        << "lo is the first entry, hi the first whose P is above 0";
    EXPECT_DOUBLE_EQ(InterpolateVolts(points, 3, 0.5), 1.5) << "lo is the last one below";
    const ZVK_BeamPowerPoint negative[] = {{0.5, -2.0}, {1.5, 2.0}, {2.0, 8.0}};
    EXPECT_DOUBLE_EQ(InterpolateVolts(negative, 3, 0.0), 1.0);
}

TEST_F(BeamPowerSet, TwoEntriesOfOneVoltageGiveTheFirstEntrysVoltage)
{
    const ZVK_BeamPowerPoint points[] = {{0.1, 0.0}, {3.0, 5.0}, {3.0, 10.0}, {4.0, 20.0}};
    EXPECT_EQ(InterpolateVolts(points, 4, 0.4), 0.1);
    const ZVK_BeamPowerPoint falling[] = {{0.1, 0.0}, {3.0, 5.0}, {2.0, 10.0}};
    EXPECT_EQ(InterpolateVolts(falling, 3, 0.75), 0.1) << "and so do falling ones";
}

TEST_F(BeamPowerSet, TablesWithoutASlopeGiveTheFirstVoltageAndNeverNoNumber)
{
    const ZVK_BeamPowerPoint one[] = {{3.5, 7.0}};
    const ZVK_BeamPowerPoint flat[] = {{1.0, 7.0}, {2.0, 7.0}};
    const ZVK_BeamPowerPoint dark[] = {{1.0, 0.0}, {2.0, 0.0}};
    for (const double power : {0.0, 0.5, 1.0}) {
        EXPECT_EQ(InterpolateVolts(one, 1, power), 3.5);
        EXPECT_EQ(InterpolateVolts(flat, 2, power), 1.0);
        EXPECT_EQ(InterpolateVolts(dark, 2, power), 1.0);
    }
}

TEST_F(BeamPowerSet, AnEntryCountsAsReachedOnlyFromAHundredThousandthOn)
{
    const ZVK_BeamPowerPoint points[] = {{0.0, 0.0}, {1.0, 10.0}, {3.0, 20.0}};
    // 10.000004 is not far enough behind 10: lo stays the first entry, hi is the last.
    EXPECT_NEAR(InterpolateVolts(points, 3, 0.5000002), 3.0 / 20.0 * 10.000004, 1e-9);
    EXPECT_NEAR(InterpolateVolts(points, 3, 0.500001), 1.000004, 1e-9);
}
