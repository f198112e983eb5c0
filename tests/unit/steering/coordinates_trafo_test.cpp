// The two polynomials: which sums they are, to the last bit, and what a refused call leaves.

#include "steering_fixture.h"

#include <cmath>
#include <random>

using CoordinateTrafo = SteeringTest;

// Four tables of one path, as a client gives them.
struct Tables
{
    std::vector<double> dataX;
    std::vector<double> dataY;
    std::vector<double> dataXI;
    std::vector<double> dataYI;
};

static Tables RandomTables(int32_t count, std::mt19937 &random)
{
    std::uniform_real_distribution<double> some(-2.0, 2.0);
    Tables tables;
    for (auto *table : {&tables.dataX, &tables.dataY, &tables.dataXI, &tables.dataYI}) {
        table->resize(count);
        for (double &value : *table)
            value = some(random);
    }
    return tables;
}

static int32_t Give(int32_t path, const Tables &tables)
{
    const double limits[4] = {0.0, 1.0, 2.0, 3.0};
    return ZVK_CoordinateSystems_SetTrafoCoeff(0, path, static_cast<int32_t>(tables.dataX.size()),
                                               tables.dataX.data(), tables.dataY.data(),
                                               tables.dataXI.data(), tables.dataYI.data(), limits);
}

// The formula as it is written, with a pow for each power of each term.
static double NaiveSum(const std::vector<double> &table, double first, double second)
{
    const int order = static_cast<int>(std::sqrt(static_cast<double>(table.size())) - 1.0);
    double sum = 0.0;
    size_t k = 0;
    for (int i = 0; i <= order; ++i)
        for (int j = 0; j <= order; ++j)
            sum += table[k++] * std::pow(first, i) * std::pow(second, j);
    return sum;
}

TEST_F(CoordinateTrafo, BothDirectionsGiveTheSumsOfTheFormulaToTheLastBit)
{
    bringUpCoordinates();
    std::mt19937 random(3);
    std::uniform_real_distribution<double> place(-4.0, 4.0);
    for (const int32_t count : {1, 4, 9, 16, 25, 36}) {
        const Tables tables = RandomTables(count, random);
        ASSERT_EQ(Give(1, tables), 0);
        for (int round = 0; round < 50; ++round) {
            const double x = place(random);
            const double y = place(random);
            const double xIn = x + 1e-07;
            const double yIn = y + 1e-07;

            double xOut = x;
            double yOut = y;
            ASSERT_EQ(ZVK_CoordinateSystems_Trafo(0, 1, 1, &xOut, &yOut), 0);
            ASSERT_EQ(yOut, NaiveSum(tables.dataX, xIn, yIn)) << count;
            ASSERT_EQ(xOut, NaiveSum(tables.dataY, yIn, xIn)) << count;

            xOut = x;
            yOut = y;
            ASSERT_EQ(ZVK_CoordinateSystems_Trafo(0, 1, -1, &xOut, &yOut), 0);
            ASSERT_EQ(xOut, NaiveSum(tables.dataXI, xIn, yIn)) << count;
            ASSERT_EQ(yOut, NaiveSum(tables.dataYI, yIn, xIn)) << count;
        }
    }
}

TEST_F(CoordinateTrafo, AnOrderBeyondTheKeptPowersGivesTheSameSums)
{
    bringUpCoordinates();
    std::mt19937 random(4);
    for (const int32_t order : {62, 63, 64, 80}) {
        const Tables tables = RandomTables((order + 1) * (order + 1), random);
        ASSERT_EQ(Give(0, tables), 0);
        double x = 0.9;
        double y = -0.8;
        ASSERT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, -1, &x, &y), 0);
        EXPECT_EQ(x, NaiveSum(tables.dataXI, 0.9 + 1e-07, -0.8 + 1e-07)) << order;
        EXPECT_EQ(y, NaiveSum(tables.dataYI, -0.8 + 1e-07, 0.9 + 1e-07)) << order;
    }
}

TEST_F(CoordinateTrafo, WithOneCoefficientBothSumsAreTheConstant)
{
    bringUpCoordinates();
    ASSERT_EQ(Give(0, {{1.5}, {2.5}, {3.5}, {4.5}}), 0);
    double x = 7.0;
    double y = 8.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), 0);
    EXPECT_EQ(x, 2.5);
    EXPECT_EQ(y, 1.5);
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, -1, &x, &y), 0);
    EXPECT_EQ(x, 3.5);
    EXPECT_EQ(y, 4.5);
}

TEST_F(CoordinateTrafo, WithNoCoefficientBothSumsAreZero)
{
    bringUpCoordinates();
    ASSERT_EQ(Give(0, {{}, {}, {}, {}}), 0);
    double x = 7.0;
    double y = 8.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), 0);
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(y, 0.0);
}

TEST_F(CoordinateTrafo, TablesThatGiveTheirFirstVariableExchangeTheAxesForwardOnly)
{
    bringUpCoordinates();
    const std::vector<double> first = {0.0, 0.0, 1.0, 0.0};  // the term of i = 1, j = 0
    ASSERT_EQ(Give(0, {first, first, first, first}), 0);
    double x = 7.0;
    double y = 8.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), 0);
    EXPECT_EQ(x, 8.0 + 1e-07);
    EXPECT_EQ(y, 7.0 + 1e-07);
    x = 7.0;
    y = 8.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, -1, &x, &y), 0);
    EXPECT_EQ(x, 7.0 + 1e-07);
    EXPECT_EQ(y, 8.0 + 1e-07);
}

TEST_F(CoordinateTrafo, AnUnknownDirectionIsRefusedWithBothInputsRaised)
{
    bringUpCoordinates();
    for (const int32_t direction : {0, 2, 3, 4, 5, -2, 99}) {
        double x = 7.0;
        double y = 8.0;
        EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, direction, &x, &y),
                  ZVK_COORDINATES_BAD_DIRECTION);
        EXPECT_EQ(x, 7.0 + 1e-07);
        EXPECT_EQ(y, 8.0 + 1e-07);
    }
}

TEST_F(CoordinateTrafo, BusyComesBeforeNotInitializedBeforeTheDirectionAndInputsStay)
{
    double x = 7.0;
    double y = 8.0;
    g_trafo[0].busy = 1;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 99, &x, &y), ZVK_COORDINATES_BUSY);
    g_trafo[0].busy = 0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 99, &x, &y), ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(x, 7.0);
    EXPECT_EQ(y, 8.0);
}

TEST_F(CoordinateTrafo, APathThatDoesNotExistIsNotInitialized)
{
    bringUpCoordinates();
    double x = 7.0;
    double y = 8.0;
    for (const int32_t path : {-1, 2, 1000000})
        EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, path, 1, &x, &y), ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(x, 7.0);
}

TEST_F(CoordinateTrafo, WithoutTablesItIsNotInitializedAndInputsStay)
{
    bringUpCoordinates();
    ASSERT_EQ(Give(0, {{1.0, 2.0}, {1.0, 2.0}, {1.0, 2.0}, {1.0, 2.0}}),
              ZVK_COORDINATES_NOT_SQUARE);
    double x = 7.0;
    double y = 8.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(x, 7.0);
    EXPECT_EQ(y, 8.0);
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 1, 1, &x, &y), 0);  // the other path has its own
}

TEST_F(CoordinateTrafo, PointsOutsideTheCalibratedFieldAndTheLimitsAreNotPulledIn)
{
    bringUp();
    double x = 5000.0;
    double y = -5000.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), 0);
    EXPECT_NEAR(x, 45.0, 1e-6);
    EXPECT_NEAR(y, -54.0, 1e-6);
}
