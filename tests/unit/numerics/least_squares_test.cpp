#include "numerics/least_squares.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <utility>
#include <vector>

using Method = ZVK_LeastSquaresMethod;

class LeastSquares : public ::testing::TestWithParam<Method>
{
};

INSTANTIATE_TEST_SUITE_P(BothMethods, LeastSquares,
                         ::testing::Values(Method::singularValues, Method::orthogonal),
                         [](const auto &info) {
                             return info.param == Method::orthogonal ? "Orthogonal"
                                                                     : "SingularValues";
                         });

TEST_P(LeastSquares, AMatrixOfFullRankGivesTheCoefficientsBack)
{
    // Rows of 1, t, t^2 for t = 0 to 4; the values are 2 - 3 t + 0.5 t^2.
    std::vector<double> matrix;
    std::vector<double> values;
    for (int t = 0; t < 5; ++t) {
        for (const double term : {1.0, 1.0 * t, 1.0 * t * t})
            matrix.push_back(term);
        values.push_back(2.0 - 3.0 * t + 0.5 * t * t);
    }
    double found[3] = {};
    ASSERT_TRUE(FitLeastSquares(matrix.data(), 5, 3, values.data(), GetParam(), found));
    EXPECT_NEAR(found[0], 2.0, 1e-12);
    EXPECT_NEAR(found[1], -3.0, 1e-12);
    EXPECT_NEAR(found[2], 0.5, 1e-12);
}

TEST_P(LeastSquares, ColumnsOfVeryDifferentSizeAreNotTakenForDependentOnes)
{
    // 1 beside a column of 1e20: far more than the precision of a double apart.
    const double matrix[] = {1.0, 0.0, 1.0, 1e20, 1.0, 2e20, 1.0, 3e20};
    const double values[] = {7.0, 8.0, 9.0, 10.0};
    double found[2] = {};
    ASSERT_TRUE(FitLeastSquares(matrix, 4, 2, values, GetParam(), found));
    EXPECT_NEAR(found[0], 7.0, 1e-12);
    EXPECT_NEAR(found[1], 1e-20, 1e-32);
}

TEST_P(LeastSquares, TheResidualIsAtRightAnglesToEachColumn)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> some(-1.0, 1.0);
    constexpr int kRows = 40;
    constexpr int kColumns = 6;
    std::vector<double> matrix(kRows * kColumns);
    std::vector<double> values(kRows);
    for (double &value : matrix)
        value = some(random);
    for (double &value : values)
        value = some(random);

    std::vector<double> found(kColumns);
    ASSERT_TRUE(
        FitLeastSquares(matrix.data(), kRows, kColumns, values.data(), GetParam(), found.data()));
    for (int column = 0; column < kColumns; ++column) {
        double product = 0.0;
        for (int row = 0; row < kRows; ++row) {
            double residual = -values[row];
            for (int k = 0; k < kColumns; ++k)
                residual += matrix[row * kColumns + k] * found[k];
            product += residual * matrix[row * kColumns + column];
        }
        EXPECT_NEAR(product, 0.0, 1e-12);
    }
}

TEST_P(LeastSquares, TooFewRowsGiveTheShortestSolution)
{
    const double matrix[] = {1.0, 1.0};
    const double values[] = {4.0};
    double found[2] = {};
    ASSERT_TRUE(FitLeastSquares(matrix, 1, 2, values, GetParam(), found));
    EXPECT_NEAR(found[0], 2.0, 1e-12);
    EXPECT_NEAR(found[1], 2.0, 1e-12);
}

TEST_P(LeastSquares, AColumnOfZerosGetsTheCoefficientZero)
{
    const double matrix[] = {1.0, 0.0, 2.0, 0.0, 3.0, 0.0};
    const double values[] = {2.0, 4.0, 6.0};
    double found[2] = {9.0, 9.0};
    ASSERT_TRUE(FitLeastSquares(matrix, 3, 2, values, GetParam(), found));
    EXPECT_NEAR(found[0], 2.0, 1e-12);
    EXPECT_NEAR(found[1], 0.0, 1e-12);
}

TEST_P(LeastSquares, NumbersThatAreNotFiniteAreRefusedAndTheCoefficientsStay)
{
    const double bad[] = {std::numeric_limits<double>::quiet_NaN(),
                          std::numeric_limits<double>::infinity()};
    for (const double number : bad) {
        const double good[] = {1.0, 2.0};
        const double spoilt[] = {1.0, number};
        double found[1] = {42.0};
        EXPECT_FALSE(FitLeastSquares(spoilt, 2, 1, good, GetParam(), found));
        EXPECT_FALSE(FitLeastSquares(good, 2, 1, spoilt, GetParam(), found));
        EXPECT_EQ(found[0], 42.0);
    }
}

TEST_P(LeastSquares, NothingToFitIsRefused)
{
    const double number = 1.0;
    double found[1] = {42.0};
    EXPECT_FALSE(FitLeastSquares(&number, 0, 1, &number, GetParam(), found));
    EXPECT_FALSE(FitLeastSquares(&number, 1, 0, &number, GetParam(), found));
    EXPECT_FALSE(FitLeastSquares(&number, -1, -1, &number, GetParam(), found));
    EXPECT_EQ(found[0], 42.0);
}

TEST_P(LeastSquares, TheMatrixAndTheValuesStayAsTheyWere)
{
    std::vector<double> matrix = {1.0, 5.0, 1.0, 6.0, 1.0, 8.0};
    std::vector<double> values = {1.0, 2.0, 4.0};
    const std::vector<double> matrixBefore = matrix;
    const std::vector<double> valuesBefore = values;
    double found[2] = {};
    ASSERT_TRUE(FitLeastSquares(matrix.data(), 3, 2, values.data(), GetParam(), found));
    EXPECT_EQ(matrix, matrixBefore);
    EXPECT_EQ(values, valuesBefore);
}

TEST_P(LeastSquares, MoreThanMemoryCanHoldIsRefusedAndTheCoefficientsStay)
{
    const double number = 1.0;
    double found[1] = {42.0};
    constexpr int64_t kAll = std::numeric_limits<int64_t>::max();
    constexpr int64_t kTooMany = int64_t{1} << 44;  // 128 TiB, which the heap refuses
    for (const auto &[rows, columns] : std::vector<std::pair<int64_t, int64_t>>{
             {kAll, 1}, {kAll, kAll}, {kAll / 8, 1}, {kTooMany, 1}, {1, kTooMany}})
        EXPECT_FALSE(FitLeastSquares(&number, rows, columns, &number, GetParam(), found));
    EXPECT_EQ(found[0], 42.0);
}
