// The scan buffer's update against the fill of as many samples, and a long trajectory against
// writing as many nodes to fresh memory.

#include "ratio.h"

#include "platform/memory.h"
#include "steering/galvo.h"
#include "steering/galvo_nodes.h"

#include <cstdlib>

constexpr int32_t kSamples = 10000;  // a channel
constexpr int32_t kWaypoints = 10;   // a path

static void Prepare(int32_t mode)
{
    ZVK_Galvo_Shutdown(0);
    g_galvoDaq = {};
    g_galvoDaq.samplesPerChan = kSamples;
    g_galvoDaq.bufferSamples = 4LL * kSamples;
    g_galvoDaq.buffer = AllocateArray<double>(4LL * kSamples);
    g_galvoDaq.clockRate = 10000;
    g_galvoDaq.maxStep = 0.0008;
    g_galvoDaq.simulate = 1;
    for (int32_t path = 0; path < kPathCount; ++path) {
        ZVK_GalvoState &row = g_galvo[path];
        row.initialized = 1;
        row.xSampleOffset = 2 * path * kSamples;
        row.ySampleOffset = (2 * path + 1) * kSamples;
        row.xMin = row.yMin = -1e9;
        row.xMax = row.yMax = 1e9;
        for (int32_t wp = 0; wp < kWaypoints; ++wp) {
            int32_t count = 0;
            ZVK_Galvo_AddWaypoint(0, path, &count, 0, 0);
        }
        for (int32_t wp = 0; wp < kWaypoints; ++wp) {
            // 100 V at 1 V/s: dwell 8, and too long to end within a run of the benchmark.
            double x[2] = {0, 1000};
            double y[2] = {0, 1000};
            double speed = 0;
            ZVK_Galvo_SetTrajectory(0, path, wp, 2, x, y, &speed, ZVK_WAVEFORM_LINEAR);
            ZVK_Galvo_SetMoveType(0, path, wp, mode);
        }
    }
}

// Back to the head, so that no run ends.
static void Rewind()
{
    for (ZVK_GalvoState &row : g_galvo) {
        for (int32_t wp = 0; wp < row.NumOfWP; ++wp)
            row.trajectory[wp] = row.lists[wp];
    }
}

static void UpdateAgainstFill(benchmark::State &state)
{
    Prepare(static_cast<int32_t>(state.range(0)));
    std::vector<double> samples(4LL * kSamples);
    double value = 0;
    MeasureRatio(
        state,
        [] {
            Rewind();
            benchmark::DoNotOptimize(ZVK_Galvo_UpdateBuffer());
        },
        [&] {
            value += 1;
            std::fill(samples.begin(), samples.end(), value);
            benchmark::DoNotOptimize(samples.data());
            benchmark::ClobberMemory();
        });
    ZVK_Galvo_Shutdown(0);
}
BENCHMARK(UpdateAgainstFill)->ArgName("mode")->Arg(1)->Arg(2)->UseManualTime();

static void UpdateAtRest(benchmark::State &state)
{
    Prepare(ZVK_MOVE_STAND);
    for (auto _ : state)
        benchmark::DoNotOptimize(ZVK_Galvo_UpdateBuffer());
    ZVK_Galvo_Shutdown(0);
}
BENCHMARK(UpdateAtRest);

constexpr int32_t kNodes = 1000000;

static void PrepareLong()
{
    Prepare(ZVK_MOVE_STAND);
    double zero = 0;
    double other = 0;
    const double speed = 1;
    const int32_t mode = ZVK_MOVE_STAND;
    ZVK_Galvo_BufferConfigure(0, 0, 1, &zero, &other, &speed, &mode);
}

static void BuildLong(int32_t waveForm)
{
    // A million points 0.0008 V apart, or a sine of a million samples.
    const double length = waveForm == ZVK_WAVEFORM_SINE ? kNodes / 10000.0 : kNodes * 0.0008;
    double x[2] = {0, length};
    double y[2] = {0, 0};
    double speed = 0;
    ZVK_Galvo_SetTrajectory(0, 0, 0, 2, x, y, &speed, waveForm);
}

static void FreeLong()
{
    double x[2] = {0, 0};
    double speed = 0;
    ZVK_Galvo_SetTrajectory(0, 0, 0, 2, x, x, &speed, 7);  // the head alone takes its place
}

// `free_share` is the time to free the list as a share of the time to build it.
static void BuildTrajectoryOfAMillionNodes(benchmark::State &state)
{
    PrepareLong();
    const auto waveForm = static_cast<int32_t>(state.range(0));
    std::vector<double> freeing;
    std::vector<double> building;
    MeasureRatio(
        state,
        [&] {
            building.push_back(SecondsOf([&] { BuildLong(waveForm); }));
            freeing.push_back(SecondsOf(FreeLong));
        },
        [] {
            auto *nodes =
                static_cast<ZVK_GalvoNode *>(std::malloc(sizeof(ZVK_GalvoNode) * (kNodes + 1)));
            for (int32_t i = 0; i <= kNodes; ++i)
                nodes[i] = {0, 8, 1.0, 2.0, nodes + i, nodes + i};
            benchmark::DoNotOptimize(nodes);
            benchmark::ClobberMemory();
            std::free(nodes);
        });
    state.counters["free_share"] = Median(freeing) / Median(building);
    ZVK_Galvo_Shutdown(0);
}
BENCHMARK(BuildTrajectoryOfAMillionNodes)
    ->ArgName("waveForm")
    ->Arg(1)
    ->Arg(2)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
