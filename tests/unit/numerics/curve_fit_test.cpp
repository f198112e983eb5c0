#include "numerics/curve_fit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

static double Decay(double x, const double *a) { return a[0] * std::exp(-a[1] * x); }

static int g_calls = 0;

static void Decays(const double *x, int32_t count, const double *a, double *values)
{
    ++g_calls;
    for (int32_t i = 0; i < count; ++i)
        values[i] = Decay(x[i], a);
}

static void DecayGradients(const double *x, int32_t count, const double *a, double *derivatives)
{
    for (int32_t i = 0; i < count; ++i) {
        derivatives[i] = std::exp(-a[1] * x[i]);
        derivatives[count + i] = -a[0] * x[i] * std::exp(-a[1] * x[i]);
    }
}

static const ZVK_CurveModel kDecay = {Decays, DecayGradients, 2};

static std::vector<double> Grid(int count, double step)
{
    std::vector<double> x;
    for (int i = 0; i < count; ++i)
        x.push_back(i * step);
    return x;
}

TEST(CurveFit, NoiseFreePointsGiveTheirCoefficientsToNineDigits)
{
    const std::vector<double> x = Grid(200, 0.05);
    std::vector<double> y;
    const double truth[2] = {3.5, 0.7};
    for (const double value : x)
        y.push_back(Decay(value, truth));
    std::vector<double> fitted(x.size());
    double a[2] = {1.0, 0.1};
    const double error = FitCurve({x.data(), y.data(), 200}, kDecay, 100, a, fitted.data());
    EXPECT_NEAR(a[0] / truth[0], 1.0, 1e-12);
    EXPECT_NEAR(a[1] / truth[1], 1.0, 1e-12);
    EXPECT_LT(error, 1e-25);
    for (size_t i = 0; i < x.size(); ++i)
        EXPECT_NEAR(fitted[i], y[i], 1e-12);
}

// Misra1a, of the same published collection of reference datasets: b1 (1 - exp(-b2 x)).
static void Misra(const double *x, int32_t count, const double *a, double *values)
{
    for (int32_t i = 0; i < count; ++i)
        values[i] = a[0] * (1.0 - std::exp(-a[1] * x[i]));
}

static void MisraGradients(const double *x, int32_t count, const double *a, double *derivatives)
{
    for (int32_t i = 0; i < count; ++i) {
        derivatives[i] = 1.0 - std::exp(-a[1] * x[i]);
        derivatives[count + i] = a[0] * x[i] * std::exp(-a[1] * x[i]);
    }
}

TEST(CurveFit, Misra1aHasItsCertifiedCoefficientsFromBothStarts)
{
    const std::vector<double> y = {10.07, 14.73, 17.94, 23.93, 29.61, 35.18, 40.02,
                                   44.82, 50.76, 55.05, 61.01, 66.40, 75.47, 81.78};
    const std::vector<double> x = {77.6,  114.9, 141.1, 190.8, 239.9, 289.0, 332.8,
                                   378.4, 434.8, 477.3, 536.8, 593.1, 689.1, 760.0};
    std::vector<double> fitted(14);
    for (const auto &start : {std::pair{500.0, 0.0001}, std::pair{250.0, 0.0005}}) {
        double a[2] = {start.first, start.second};
        const double error =
            FitCurve({x.data(), y.data(), 14}, {Misra, MisraGradients, 2}, 100, a, fitted.data());
        EXPECT_NEAR(a[0] / 238.94212918, 1.0, 1e-9);
        EXPECT_NEAR(a[1] / 5.5015643181e-4, 1.0, 1e-9);
        EXPECT_NEAR(error * 14.0 / 0.12455138894, 1.0, 1e-9);
    }
}

TEST(CurveFit, StopsAtItsMostIterations)
{
    const std::vector<double> x = Grid(50, 0.1);
    std::vector<double> y;
    const double truth[2] = {3.5, 0.7};
    for (const double value : x)
        y.push_back(Decay(value, truth));
    std::vector<double> fitted(x.size());
    double none[2] = {1.0, 0.1};
    (void)FitCurve({x.data(), y.data(), 50}, kDecay, 0, none, fitted.data());
    EXPECT_EQ(none[0], 1.0);
    EXPECT_EQ(none[1], 0.1);

    double one[2] = {1.0, 0.1};
    const double afterOne = FitCurve({x.data(), y.data(), 50}, kDecay, 1, one, fitted.data());
    double many[2] = {1.0, 0.1};
    const double afterMany = FitCurve({x.data(), y.data(), 50}, kDecay, 100, many, fitted.data());
    EXPECT_NE(one[0], 1.0);
    EXPECT_GT(afterOne, 1000.0 * afterMany);
}

TEST(CurveFit, WithoutPointsNothingIsTouched)
{
    double a[2] = {100.0, 5.0};
    g_calls = 0;
    EXPECT_EQ(FitCurve({nullptr, nullptr, 0}, kDecay, 100, a, nullptr), 0.0);
    EXPECT_EQ(a[0], 100.0);
    EXPECT_EQ(a[1], 5.0);
    EXPECT_EQ(g_calls, 0);
}

TEST(CurveFit, FewerPointsThanCoefficientsLeaveTheStart)
{
    const double x[1] = {1.0};
    const double y[1] = {2.0};
    double fitted[1] = {-1.0};
    double a[2] = {4.0, 0.0};
    EXPECT_EQ(FitCurve({x, y, 1}, kDecay, 100, a, fitted), 4.0);
    EXPECT_EQ(a[0], 4.0);
    EXPECT_EQ(fitted[0], 4.0);
}

TEST(CurveFit, APointThatIsNotFiniteLeavesTheStartAndAnInfiniteError)
{
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()})
    {
        const double x[3] = {0.0, 1.0, 2.0};
        const double y[3] = {1.0, bad, 3.0};
        double fitted[3] = {};
        double a[2] = {4.0, 0.0};
        EXPECT_EQ(FitCurve({x, y, 3}, kDecay, 100, a, fitted),
                  std::numeric_limits<double>::infinity());
        EXPECT_EQ(a[0], 4.0);
        EXPECT_EQ(a[1], 0.0);
    }
}

// A model whose values leave the numbers wherever its coefficient isn't 1.
static void Cliff(const double *, int32_t count, const double *a, double *values)
{
    for (int32_t i = 0; i < count; ++i)
        values[i] = a[0] == 1.0 ? 1.0 : std::numeric_limits<double>::quiet_NaN();
}

static void CliffGradients(const double *, int32_t count, const double *, double *derivatives)
{
    for (int32_t i = 0; i < count; ++i)
        derivatives[i] = 1.0;
}

TEST(CurveFit, AModelThatLeavesTheNumbersLeavesTheCoefficientsFiniteAndEnds)
{
    const double x[3] = {0.0, 1.0, 2.0};
    const double y[3] = {2.0, 3.0, 4.0};
    double fitted[3] = {};
    for (const double start : {1.0, 5.0}) {
        double a[1] = {start};
        (void)FitCurve({x, y, 3}, {Cliff, CliffGradients, 1}, 100, a, fitted);
        EXPECT_TRUE(std::isfinite(a[0])) << start;
    }
}

TEST(CurveFit, DerivativesThatAreNotFiniteLeaveTheStart)
{
    const auto gradients = [](const double *, int32_t count, const double *, double *derivatives) {
        for (int32_t i = 0; i < 2 * count; ++i)
            derivatives[i] = std::numeric_limits<double>::quiet_NaN();
    };
    const std::vector<double> x = Grid(20, 0.1);
    const std::vector<double> y(20, 3.0);
    std::vector<double> fitted(20);
    double a[2] = {1.0, 0.5};
    (void)FitCurve({x.data(), y.data(), 20}, {Decays, gradients, 2}, 100, a, fitted.data());
    EXPECT_EQ(a[0], 1.0);
    EXPECT_EQ(a[1], 0.5);
}

TEST(CurveFit, TheErrorDividesByTheNumberOfPoints)
{
    const auto level = [](const double *, int32_t count, const double *a, double *values) {
        std::fill_n(values, count, a[0]);
    };
    const auto gradient = [](const double *, int32_t count, const double *, double *derivatives) {
        std::fill_n(derivatives, count, 1.0);
    };
    const double x[4] = {0, 1, 2, 3};
    const double y[4] = {1, 3, 1, 3};
    double fitted[4] = {};
    double a[1] = {0.0};
    EXPECT_NEAR(FitCurve({x, y, 4}, {level, gradient, 1}, 100, a, fitted), 1.0, 1e-12);
    EXPECT_NEAR(a[0], 2.0, 1e-12);
}
