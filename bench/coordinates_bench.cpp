// One conversion against the bare formula with a pow for each power of each term, and a fit against
// the making of its observation matrix, twice.

#include "ratio.h"

#include "steering/coordinates.h"
#include "steering/polyfit.h"

#include <array>
#include <cmath>
#include <random>

constexpr int32_t kPoints = 1000;  // a measurement; a single conversion is too short to time

static std::vector<double> Values(size_t count, double low, double high)
{
    std::mt19937 random(count);
    std::uniform_real_distribution<double> some(low, high);
    std::vector<double> values(count);
    for (double &value : values)
        value = some(random);
    return values;
}

static double BareSum(const std::vector<double> &table, int32_t order, double first, double second)
{
    double sum = 0.0;
    size_t k = 0;
    for (int32_t i = 0; i <= order; ++i)
        for (int32_t j = 0; j <= order; ++j)
            sum += table[k++] * std::pow(first, i) * std::pow(second, j);
    return sum;
}

// A row with these tables, as if it had been loaded. It must be taken back before the end.
static void LendTables(ZVK_TrafoState &row, std::vector<double> &table)
{
    row.initialized = 1;
    row.coeffNum = static_cast<int32_t>(table.size());
    row.dataX = row.dataY = row.dataXI = row.dataYI = table.data();
}

static void ConvertPoints(benchmark::State &state)
{
    const int32_t order = static_cast<int32_t>(state.range(0));
    std::vector<double> table = Values((order + 1) * (order + 1), -1.0, 1.0);
    const std::vector<double> volts = Values(2 * kPoints, -4.0, 4.0);
    std::vector<double> pixels(2 * kPoints);
    LendTables(g_trafo[0], table);
    MeasureRatio(
        state,
        [&] {
            pixels = volts;
            for (int32_t i = 0; i < kPoints; ++i)
                ZVK_CoordinateSystems_Trafo(0, 0, ZVK_TRAFODIR_VOLT_TO_PIXEL, &pixels[2 * i],
                                            &pixels[2 * i + 1]);
            benchmark::DoNotOptimize(pixels.data());
        },
        [&] {
            pixels = volts;
            for (int32_t i = 0; i < kPoints; ++i) {
                const double x = pixels[2 * i] + 1e-07;
                const double y = pixels[2 * i + 1] + 1e-07;
                pixels[2 * i] = BareSum(table, order, x, y);
                pixels[2 * i + 1] = BareSum(table, order, y, x);
            }
            benchmark::DoNotOptimize(pixels.data());
        });
    state.counters["ns_for_a_point"] = state.counters["work_us"] * 1e3 / kPoints;
    g_trafo[0] = {};
}
BENCHMARK(ConvertPoints)
    ->Arg(1)
    ->Arg(3)
    ->Arg(5)
    ->ArgName("order")
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

static void FitPoints(benchmark::State &state)
{
    constexpr int32_t kOrder = 3;
    constexpr int32_t kTerms = (kOrder + 1) * (kOrder + 1);
    const int32_t algorithm = static_cast<int32_t>(state.range(0));
    std::vector<double> x = Values(kPoints, 0.0, 1000.0);
    std::vector<double> y = Values(kPoints + 1, 0.0, 1000.0);
    std::vector<double> v = Values(kPoints + 2, -4.0, 4.0);
    std::vector<double> w = Values(kPoints + 3, -4.0, 4.0);
    double *xy[2] = {x.data(), y.data()};
    double *vw[2] = {v.data(), w.data()};
    double coeffX[kTerms];
    double coeffY[kTerms];
    std::vector<double> matrix(static_cast<size_t>(kPoints) * kTerms);
    MeasureRatio(
        state,
        [&] {
            ZVK_CoordinateSystems_PolyFit(0, kPoints, kOrder, algorithm, xy, vw, coeffX, coeffY);
            benchmark::DoNotOptimize(coeffX);
        },
        [&] {
            for (int round = 0; round < 2; ++round)
                ZVK_CoordinateSystems_CreateObsMatrix(kPoints, kOrder, matrix.data(), xy);
            benchmark::DoNotOptimize(matrix.data());
        });
}
BENCHMARK(FitPoints)
    ->Arg(0)
    ->Arg(1)
    ->ArgName("algorithm")
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
