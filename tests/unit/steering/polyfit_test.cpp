#include "steering/polyfit.h"

#include "platform/memory.h"
#include "steering/coordinates.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

// Two tables of equal length, handed over as the fit wants them.
struct Pairs
{
    std::vector<double> first;
    std::vector<double> second;
    double *tables[2];

    Pairs(std::vector<double> a, std::vector<double> b) : first(std::move(a)), second(std::move(b))
    {
        tables[0] = first.data();
        tables[1] = second.data();
    }
    Pairs(const Pairs &) = delete;
    Pairs &operator=(const Pairs &) = delete;
    int32_t size() const { return static_cast<int32_t>(first.size()); }
};

static double Sum(const std::vector<double> &coeffs, int order, double x, double y)
{
    double sum = 0.0;
    for (int i = 0; i <= order; ++i)
        for (int j = 0; j <= order; ++j)
            sum += coeffs[i * (order + 1) + j] * std::pow(x, i) * std::pow(y, j);
    return sum;
}

TEST(ObservationMatrix, AtOrderOneTheColumnsAreOneSecondFirstProduct)
{
    Pairs values({2.0, 3.0}, {5.0, 7.0});
    double matrix[8] = {};
    EXPECT_EQ(ZVK_CoordinateSystems_CreateObsMatrix(2, 1, matrix, values.tables), 0);
    const std::vector<double> expected = {1.0, 5.0, 2.0, 10.0, 1.0, 7.0, 3.0, 21.0};
    EXPECT_EQ(std::vector<double>(matrix, matrix + 8), expected);
}

TEST(ObservationMatrix, AtOrderZeroThereIsOneColumnOfOnes)
{
    Pairs values({2.0, 0.0, -3.0}, {5.0, 0.0, 7.0});
    double matrix[3] = {};
    EXPECT_EQ(ZVK_CoordinateSystems_CreateObsMatrix(3, 0, matrix, values.tables), 0);
    EXPECT_EQ(std::vector<double>(matrix, matrix + 3), std::vector<double>(3, 1.0));
}

TEST(ObservationMatrix, AZeroToThePowerOfZeroIsOne)
{
    Pairs values({0.0}, {0.0});
    double matrix[9] = {};
    EXPECT_EQ(ZVK_CoordinateSystems_CreateObsMatrix(1, 2, matrix, values.tables), 0);
    std::vector<double> expected(9, 0.0);
    expected[0] = 1.0;
    EXPECT_EQ(std::vector<double>(matrix, matrix + 9), expected);
}

TEST(ObservationMatrix, EveryTermIsTheProductOfTwoPowersToTheLastBit)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> some(-3.0, 3.0);
    // 63 is the highest order whose powers are kept at hand.
    for (const int order : {0, 1, 2, 3, 5, 62, 63, 64, 70}) {
        Pairs values({some(random), some(random)}, {some(random), some(random)});
        std::vector<double> matrix(2 * (order + 1) * (order + 1));
        ZVK_CoordinateSystems_CreateObsMatrix(2, order, matrix.data(), values.tables);
        size_t term = 0;
        for (int s = 0; s < 2; ++s)
            for (int i = 0; i <= order; ++i)
                for (int j = 0; j <= order; ++j)
                    ASSERT_EQ(matrix[term++],
                              std::pow(values.first[s], i) * std::pow(values.second[s], j))
                        << "order " << order << ", term " << i << ' ' << j;
    }
}

TEST(ObservationMatrix, NoSamplesWriteNothing)
{
    double matrix[1] = {42.0};
    EXPECT_EQ(ZVK_CoordinateSystems_CreateObsMatrix(0, 0, matrix, nullptr), 0);
    EXPECT_EQ(matrix[0], 42.0);
}

TEST(SwapPoints, ExchangesTheContentsAndNotThePointers)
{
    Pairs pairs({1.0, 2.0, 3.0}, {4.0, 5.0, 6.0});
    double *const before[2] = {pairs.tables[0], pairs.tables[1]};
    ZVK_CoordinateSystems_Swap(2, pairs.tables);
    EXPECT_EQ(pairs.first, (std::vector<double>{4.0, 5.0, 3.0}));
    EXPECT_EQ(pairs.second, (std::vector<double>{1.0, 2.0, 6.0}));
    EXPECT_EQ(pairs.tables[0], before[0]);
    EXPECT_EQ(pairs.tables[1], before[1]);
}

TEST(SwapPoints, NoPointsAreLeftAlone)
{
    Pairs pairs({1.0}, {4.0});
    ZVK_CoordinateSystems_Swap(0, pairs.tables);
    ZVK_CoordinateSystems_Swap(-1, pairs.tables);
    EXPECT_EQ(pairs.first[0], 1.0);
}

TEST(PolyFit, AtOrderZeroTheCoefficientsAreTheMeans)
{
    for (const int32_t algorithm : {0, 1, 2, 3, 4, 5, -1, 99}) {
        Pairs xy({1.0, 2.0, 3.0, 4.0}, {0.0, 0.0, 0.0, 0.0});
        Pairs vw({1.0, 2.0, 3.0, 6.0}, {-1.0, -1.0, 5.0, 5.0});
        double coeffX[1] = {};
        double coeffY[1] = {};
        EXPECT_EQ(
            ZVK_CoordinateSystems_PolyFit(0, 4, 0, algorithm, xy.tables, vw.tables, coeffX, coeffY),
            0);
        EXPECT_NEAR(coeffX[0], 3.0, 1e-14) << algorithm;
        EXPECT_NEAR(coeffY[0], 2.0, 1e-14) << algorithm;
    }
}

TEST(PolyFit, TheInputsComeBackExchangedAndTheMeasuredValuesAsTheyWere)
{
    Pairs xy({1.0, 2.0, 3.0, 4.0}, {5.0, 7.0, 6.0, 9.0});
    Pairs vw({1.0, 2.0, 3.0, 6.0}, {-1.0, -1.0, 5.0, 5.0});
    double coeffX[4] = {};
    double coeffY[4] = {};
    EXPECT_EQ(ZVK_CoordinateSystems_PolyFit(0, 4, 1, 0, xy.tables, vw.tables, coeffX, coeffY), 0);
    EXPECT_EQ(xy.first, (std::vector<double>{5.0, 7.0, 6.0, 9.0}));
    EXPECT_EQ(xy.second, (std::vector<double>{1.0, 2.0, 3.0, 4.0}));
    EXPECT_EQ(vw.first, (std::vector<double>{1.0, 2.0, 3.0, 6.0}));
    EXPECT_EQ(vw.second, (std::vector<double>{-1.0, -1.0, 5.0, 5.0}));
}

// Points of a camera's field, each coordinate up to a thousand pixels: at order 3 the columns lie
// eighteen powers of ten apart.
static void ExpectRecovery(int order, int32_t algorithm)
{
    std::mt19937 random(order);
    std::uniform_real_distribution<double> pixel(0.0, 1000.0);
    std::uniform_real_distribution<double> some(-1.0, 1.0);
    const int terms = (order + 1) * (order + 1);
    std::vector<double> first(terms);
    std::vector<double> second(terms);
    for (int i = 0; i <= order; ++i) {
        for (int j = 0; j <= order; ++j) {
            first[i * (order + 1) + j] = some(random) * std::pow(1000.0, -i - j);
            second[i * (order + 1) + j] = some(random) * std::pow(1000.0, -i - j);
        }
    }
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> v;
    std::vector<double> w;
    for (int s = 0; s < 20 * terms; ++s) {
        x.push_back(pixel(random));
        y.push_back(pixel(random));
        v.push_back(Sum(first, order, x[s], y[s]));
        w.push_back(Sum(second, order, y[s], x[s]));
    }
    Pairs xy(x, y);
    Pairs vw(v, w);
    std::vector<double> coeffX(terms);
    std::vector<double> coeffY(terms);
    ASSERT_EQ(ZVK_CoordinateSystems_PolyFit(0, xy.size(), order, algorithm, xy.tables, vw.tables,
                                            coeffX.data(), coeffY.data()),
              0);
    for (int k = 0; k < terms; ++k) {
        const double size = std::pow(1000.0, -(k / (order + 1)) - k % (order + 1));
        EXPECT_NEAR(coeffX[k] / size, first[k] / size, 1e-7) << "order " << order << " term " << k;
        EXPECT_NEAR(coeffY[k] / size, second[k] / size, 1e-7) << "order " << order << " term " << k;
    }
}

TEST(PolyFit, FindsTheTablesThatMadeThePointsWithTheSecondInExchangedVariables)
{
    for (const int32_t algorithm : {0, 1}) {
        for (int order = 0; order <= 4; ++order)
            ExpectRecovery(order, algorithm);
    }
}

TEST(PolyFit, NothingToFitReturns0AndLeavesTheCoefficients)
{
    struct Row
    {
        int32_t n;
        int32_t order;
    };
    for (const Row row : {Row{0, 0}, Row{-3, 1}, Row{2, -1}, Row{2, -2}, Row{2, -2147483647}}) {
        Pairs xy({1.0, 2.0}, {3.0, 4.0});
        Pairs vw({1.0, 2.0}, {3.0, 4.0});
        double coeffX[4] = {42.0, 42.0, 42.0, 42.0};
        double coeffY[4] = {42.0, 42.0, 42.0, 42.0};
        EXPECT_EQ(ZVK_CoordinateSystems_PolyFit(0, row.n, row.order, 1, xy.tables, vw.tables,
                                                coeffX, coeffY),
                  0);
        for (int k = 0; k < 4; ++k) {
            EXPECT_EQ(coeffX[k], 42.0);
            EXPECT_EQ(coeffY[k], 42.0);
        }
        EXPECT_EQ(xy.first[0], row.n > 0 ? 3.0 : 1.0);  // exchanged if there are points at all
    }
}

TEST(PolyFit, NumbersThatAreNotFiniteSpoilOnlyTheirOwnOutput)
{
    Pairs xy({1.0, 2.0}, {3.0, 4.0});
    Pairs vw({1.0, std::numeric_limits<double>::quiet_NaN()}, {3.0, 5.0});
    double coeffX[1] = {42.0};
    double coeffY[1] = {42.0};
    EXPECT_EQ(ZVK_CoordinateSystems_PolyFit(0, 2, 0, 0, xy.tables, vw.tables, coeffX, coeffY), 0);
    EXPECT_EQ(coeffX[0], 42.0);
    EXPECT_NEAR(coeffY[0], 4.0, 1e-14);
}

TEST(PolyFit, WithoutMemoryItReturns0WithTheInputsExchanged)
{
    static const ZVK_MemoryTable kNone = {[](size_t) -> void * { return nullptr; }, [](void *) {}};
    Pairs xy({1.0, 2.0}, {3.0, 4.0});
    Pairs vw({1.0, 2.0}, {3.0, 4.0});
    double coeffX[1] = {42.0};
    double coeffY[1] = {42.0};
    UseMemory(&kNone);
    EXPECT_EQ(ZVK_CoordinateSystems_PolyFit(0, 2, 0, 0, xy.tables, vw.tables, coeffX, coeffY), 0);
    UseMemory(nullptr);
    EXPECT_EQ(coeffX[0], 42.0);
    EXPECT_EQ(coeffY[0], 42.0);
    EXPECT_EQ(xy.first, (std::vector<double>{3.0, 4.0}));
}

TEST(PolyFit, AMatrixBeyondAllMemoryReturns0AndLeavesTheCoefficients)
{
    Pairs xy({1.0}, {3.0});
    Pairs vw({1.0}, {3.0});
    double coeffX[1] = {42.0};
    double coeffY[1] = {42.0};
    EXPECT_EQ(ZVK_CoordinateSystems_PolyFit(0, 1, std::numeric_limits<int32_t>::max(), 0, xy.tables,
                                            vw.tables, coeffX, coeffY),
              0);
    EXPECT_EQ(coeffX[0], 42.0);
    EXPECT_EQ(xy.first[0], 3.0);
}
