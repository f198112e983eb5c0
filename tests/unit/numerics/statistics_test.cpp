// The certified values are those of the statistical reference datasets published by the United
// States' standards institute: each of its accuracy sets is made by the rule below.

#include "numerics/statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

// `offset` + 0.2, then `pairs` times offset + 0.1 and offset + 0.3: mean offset + 0.2 and sample
// standard deviation 0.1 by the certificate, with n - 1 below the root.
static std::vector<double> Accuracy(double offset, int pairs)
{
    std::vector<double> values = {offset + 0.2};
    for (int i = 0; i < pairs; ++i) {
        values.push_back(offset + 0.1);
        values.push_back(offset + 0.3);
    }
    return values;
}

static double WithOneLess(const ZVK_Spread &spread, size_t count)
{
    const auto n = static_cast<double>(count);
    return spread.standardDeviation * std::sqrt(n / (n - 1.0));
}

TEST(Statistics, NumAcc1HasItsCertifiedMeanAndDeviation)
{
    const std::vector<double> values = {10000001, 10000003, 10000002};
    const ZVK_Spread spread = StandardDeviation(values.data(), 3);
    EXPECT_EQ(spread.mean, 10000002.0);
    EXPECT_DOUBLE_EQ(WithOneLess(spread, 3), 1.0);
}

TEST(Statistics, NumAcc2To4HaveTheirCertifiedMeansAndDeviations)
{
    const struct
    {
        double offset;
        double tolerance;  // the offset leaves the data themselves only so many digits
    } rows[] = {{1.0, 1e-14}, {1000000.0, 1e-9}, {10000000.0, 1e-7}};
    for (const auto &row : rows) {
        const std::vector<double> values = Accuracy(row.offset, 500);
        const ZVK_Spread spread =
            StandardDeviation(values.data(), static_cast<int64_t>(values.size()));
        EXPECT_NEAR(spread.mean / (row.offset + 0.2), 1.0, 1e-15);
        EXPECT_NEAR(WithOneLess(spread, values.size()) / 0.1, 1.0, row.tolerance);
    }
}

// Norris, the institute's set for linear regression: 36 readings of two ozone monitors.
TEST(Statistics, NorrisHasItsCertifiedLine)
{
    const std::vector<double> y = {0.1,   338.8, 118.1, 888.0, 9.2,   228.1, 668.5, 998.5, 449.1,
                                   778.9, 559.2, 0.3,   0.1,   778.1, 668.8, 339.3, 448.9, 10.8,
                                   557.7, 228.3, 998.0, 888.8, 119.6, 0.3,   0.6,   557.6, 339.3,
                                   888.0, 998.5, 778.9, 10.2,  117.6, 228.9, 668.4, 449.2, 0.2};
    const std::vector<double> x = {0.2,   337.4, 118.2, 884.6, 10.1,  226.5, 666.3, 996.3, 448.6,
                                   777.0, 558.2, 0.4,   0.6,   775.5, 666.9, 338.0, 447.5, 11.6,
                                   556.0, 228.1, 995.8, 887.6, 120.2, 0.3,   0.3,   556.8, 339.1,
                                   887.2, 999.0, 779.0, 11.1,  118.3, 229.2, 669.1, 448.9, 0.5};
    const ZVK_Line line = FitLine(MeasureAxis(x.data(), 36), y.data());
    EXPECT_NEAR(line.intercept, -0.262323073774029, 1e-12);
    EXPECT_NEAR(line.slope, 1.00211681802045, 1e-14);
    EXPECT_NEAR(LineError(line, x.data(), y.data(), 36) * 36.0, 26.6173985294224, 1e-11)
        << "residual sum of squares";
}

TEST(Statistics, TheDeviationDividesByTheNumberOfValues)
{
    const std::vector<double> values = {2, 4, 4, 4, 5, 5, 7, 9};
    const ZVK_Spread spread = StandardDeviation(values.data(), 8);
    EXPECT_EQ(spread.mean, 5.0);
    EXPECT_EQ(spread.standardDeviation, 2.0);
}

TEST(Statistics, ALineThatPassesThroughAllPointsHasNoError)
{
    std::vector<double> x;
    std::vector<double> y;
    for (int i = 0; i < 1001; ++i) {
        x.push_back(i * 0.125);
        y.push_back(-3.0 + 0.5 * x.back());
    }
    const ZVK_Line line = FitLine(MeasureAxis(x.data(), 1001), y.data());
    EXPECT_EQ(line.slope, 0.5);
    EXPECT_EQ(line.intercept, -3.0);
    EXPECT_EQ(LineError(line, x.data(), y.data(), 1001), 0.0);
}

TEST(Statistics, NoValuesGiveZeros)
{
    EXPECT_EQ(Mean(nullptr, 0), 0.0);
    EXPECT_EQ(StandardDeviation(nullptr, -1).standardDeviation, 0.0);
    EXPECT_EQ(FitLine(MeasureAxis(nullptr, 0), nullptr).slope, 0.0);
    EXPECT_EQ(LineError({1.0, 1.0}, nullptr, nullptr, 0), 0.0);
    EXPECT_EQ(FindRange(nullptr, 0).most, 0.0);
}

TEST(Statistics, OnePointOrEqualXGiveALevelLine)
{
    const double x[3] = {4, 4, 4};
    const double y[3] = {1, 2, 3};
    EXPECT_EQ(FitLine(MeasureAxis(x, 3), y).slope, 0.0);
    EXPECT_EQ(FitLine(MeasureAxis(x, 3), y).intercept, 2.0);
    EXPECT_EQ(FitLine(MeasureAxis(x, 1), y).intercept, 1.0);
}

TEST(Statistics, TheRangePassesOverWhatIsNotANumber)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double values[] = {nan, 2.0, -5.0, nan, 7.0};
    const ZVK_Range range = FindRange(values, 5);
    EXPECT_EQ(range.least, -5.0);
    EXPECT_EQ(range.most, 7.0);
    EXPECT_EQ(FindRange(values, 1).most, 0.0);
}
