// The display thread's reading of a crowded path, against the same positions by the bare formula: a
// pow for each power of each term, without lists, waypoints or locks.

#include "ratio.h"

#include "two_paths.h"

#include "quorvex/quorvex.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>

constexpr int32_t kTraps = 256;  // on each path
constexpr int32_t kOrder = 3;
constexpr int32_t kCoefficients = (kOrder + 1) * (kOrder + 1);

using Table = std::array<double, kCoefficients>;

// A field that is bent a little: 100 pixels a volt, and terms of all orders.
static Table BentTable(int32_t mainTerm)
{
    Table table;
    for (int32_t k = 0; k < kCoefficients; ++k)
        table[k] = 0.01 / (k + 1);
    table[0] = 500.0;
    table[mainTerm] = 100.0;
    return table;
}

static const Table kToX = BentTable(kOrder + 1);  // the term x^1 y^0
static const Table kToY = BentTable(kOrder + 1);  // the term y^1 x^0

static void Check(benchmark::State &state, int32_t status)
{
    if (status != 0) state.SkipWithError(("status " + std::to_string(status)).c_str());
}

// Two paths in simulation, filled up to so many traps, with bent fields.
static void BringUpCrowd(benchmark::State &state)
{
    const std::string root = std::filesystem::temp_directory_path() / "quorvex-trap-bench";
    if (!WriteTwoPathsFolder(root)) state.SkipWithError("no instrument folder");
    setenv("ZVK_COMMON_APPDATA", root.c_str(), 1);
    Check(state, BringUpTwoPaths(nullptr).status);
    const double limits[4] = {0.0, 1000.0, 0.0, 1000.0};
    for (int32_t path = 0; path < 2; ++path) {
        Check(state,
              ZVK_CoordinateSystems_SetTrafoCoeff(0, path, kCoefficients, kToX.data(), kToY.data(),
                                                  kToX.data(), kToY.data(), limits));
        int32_t count = 0;
        while (ZVK_Trap_GetNumberOfTraps(0, path, &count) == 0 && count < kTraps) {
            int32_t index = 0;
            Check(state, ZVK_Trap_Add(0, path, &index, 1.0, "crowd", 0.01 * count - 1.2,
                                      1.3 - 0.01 * count, ZVK_UNIT_VOLT));
        }
    }
    std::filesystem::remove_all(root);
}

static double BareSum(const Table &table, double first, double second)
{
    double sum = 0.0;
    int32_t k = 0;
    for (int32_t i = 0; i <= kOrder; ++i)
        for (int32_t j = 0; j <= kOrder; ++j)
            sum += table[k++] * std::pow(first, i) * std::pow(second, j);
    return sum;
}

// Of both paths: twice 256 traps.
static void ReadTrapsInPixels(benchmark::State &state)
{
    BringUpCrowd(state);
    std::vector<double> x(kTraps);
    std::vector<double> y(kTraps);
    std::vector<double> xVolts(kTraps);
    std::vector<double> yVolts(kTraps);
    Check(state,
          ZVK_Trap_GetArray(0, 0, xVolts.data(), yVolts.data(), nullptr, nullptr, ZVK_UNIT_VOLT));
    MeasureRatio(
        state,
        [&] {
            for (int32_t path = 0; path < 2; ++path) {
                Check(state, ZVK_Trap_GetArray(0, path, x.data(), y.data(), nullptr, nullptr,
                                               ZVK_UNIT_PIXEL));
                benchmark::DoNotOptimize(x.data());
                benchmark::DoNotOptimize(y.data());
            }
        },
        [&] {
            for (int32_t path = 0; path < 2; ++path) {
                for (int32_t i = 0; i < kTraps; ++i) {
                    x[i] = BareSum(kToX, xVolts[i] + 1e-07, yVolts[i] + 1e-07);
                    y[i] = BareSum(kToY, yVolts[i] + 1e-07, xVolts[i] + 1e-07);
                }
                benchmark::DoNotOptimize(x.data());
                benchmark::DoNotOptimize(y.data());
            }
        });
    state.counters["us_for_256_traps"] = state.counters["work_us"] / 2.0;
    ZVK_Trap_Shutdown(0);
    ZVK_CoordinateSystems_Shutdown(0);
}
BENCHMARK(ReadTrapsInPixels)->UseManualTime()->Unit(benchmark::kMicrosecond);
