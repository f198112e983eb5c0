// The line scan: the stage moves in steps, the mean signal at each step gives a line whose slope is
// the detector's sensitivity.

#include "force/force.h"
#include "force/forcecal.h"
#include "numerics/curve_fit.h"
#include "numerics/statistics.h"
#include "platform/memory.h"
#include "quorvex/stage.h"

#include <algorithm>
#include <cmath>

constexpr double kScanRate = 100000.0;  // hertz
constexpr double kScanTimeoutS = 10.0;
constexpr int32_t kMostIterations = 1000;
constexpr double kMicrometresInMetre = 1000000.0;

namespace {

// One step's samples; the blocks are used again from step to step.
struct ScanSamples
{
    double *block = nullptr;
    double *signals[kSignals] = {};

    ScanSamples() = default;
    ScanSamples(const ScanSamples &) = delete;
    ScanSamples &operator=(const ScanSamples &) = delete;
    ~ScanSamples()
    {
        Release(block);
        for (double *&signal : signals)
            Release(signal);
    }
};

}  // namespace

// The statuses are dropped: what fails shows in the signal.
static double MeasureStep(SessionHandle vi, int32_t path, int32_t axis, ScanSamples &samples)
{
    const int32_t count = g_forceCal.LSAverages;
    (void)ZVK_Force_Acquire(vi, kScanRate, count, kScanTimeoutS, &samples.block,
                            path == ZVK_PATH_A ? ZVK_FORCE_CHANNELS_A : ZVK_FORCE_CHANNELS_B,
                            nullptr);
    const int32_t status =
        ZVK_Force_Chunky2Planar(vi, samples.block, count, kSignals, &samples.block);
    if (status < 0) return 0.0;
    if (ZVK_Force_Slice3(vi, samples.block, count, &samples.signals[0], &samples.signals[1],
                         &samples.signals[2]) < 0)
        return 0.0;
    ZVK_ForceCal_NormalizeData(samples.signals[0], samples.signals[2], count);
    ZVK_ForceCal_NormalizeData(samples.signals[1], samples.signals[2], count);
    return Mean(samples.signals[axis], count);
}

int32_t ZVK_ForceCal_LineScan(SessionHandle SessionHandle, int32_t Path, int32_t Axis)
{
    if (Path < 0 || Path > 1) return ZVK_FORCE_BAD_CHANNELS;  // the acquisition's status, not ours
    if (Axis < 0 || Axis >= kSignals) return ZVK_FORCECAL_BAD_AXIS;
    ZVK_ForceCalDataContainer &data = g_forceCal.Data[Path][kNoOscillation];
    const int32_t steps = std::max(g_forceCal.LSSteps, 0);
    if (!RenewArrays({&data.LSData[Axis], &data.LSPosition[Axis]}, steps)) {
        data.LSEntries[Axis] = 0;
        data.LSValid[Axis] = 0;
        return ZVK_FORCE_NO_MEMORY;
    }
    data.LSEntries[Axis] = steps;

    double position = 0.0;
    (void)ZVK_Stage_GetPosition(SessionHandle, Axis, &position);
    const double first = position - g_forceCal.LSLength * 0.5;
    const double step = g_forceCal.LSLength / (g_forceCal.LSSteps - 1);
    ScanSamples samples;
    for (int32_t i = 0; i < steps; ++i) {
        const double target = i * step + first;
        // A scan of one step has no target that is a number: the stage stays.
        if (std::isfinite(target)) (void)ZVK_Stage_MoveAbsolute(SessionHandle, Axis, target);
        data.LSPosition[Axis][i] = target;
        data.LSData[Axis][i] = MeasureStep(SessionHandle, Path, Axis, samples);
    }
    data.LSValid[Axis] = 1;
    if (steps > 0) {
        (void)ZVK_ForceCal_SetLineScanFitStart(SessionHandle, Path, Axis, data.LSPosition[Axis][0]);
        (void)ZVK_ForceCal_SetLineScanFitStop(SessionHandle, Path, Axis,
                                              data.LSPosition[Axis][steps - 1]);
    }
    (void)ZVK_Stage_MoveAbsolute(SessionHandle, Axis, position);
    return ZVK_SUCCESS;
}

double ZVK_ForceCal_Line(double x, const double *a, int) { return a[1] + x * a[0]; }

static void Lines(const double *x, int32_t count, const double *a, double *values)
{
    for (int32_t i = 0; i < count; ++i)
        values[i] = ZVK_ForceCal_Line(x[i], a, 2);
}

static void LineGradients(const double *x, int32_t count, const double *, double *derivatives)
{
    std::copy_n(x, count, derivatives);
    std::fill_n(derivatives + count, count, 1.0);
}

static const ZVK_CurveModel kLine = {Lines, LineGradients, 2};

static ZVK_FitSpan FindSpan(const double *positions, int32_t entries, double start, double stop)
{
    ZVK_FitSpan span = {0, entries - 1};
    const auto firstAbove = [=](double limit) {
        return static_cast<int32_t>(
            std::find_if(positions, positions + entries, [=](double x) { return x > limit; }) -
            positions);
    };
    const int32_t first = firstAbove(start);
    if (first < entries) span.first = first;
    const int32_t last = firstAbove(stop);
    if (last < entries) span.last = last;
    WidenSpan(span, entries);
    return span;
}

static bool FitAxis(ZVK_ForceCalDataContainer &data, int axis)
{
    const int32_t path = data.Path == ZVK_PATH_B ? ZVK_PATH_B : ZVK_PATH_A;
    double &start = g_forceCal.LineScanFitStart[path][axis];
    double &stop = g_forceCal.LineScanFitStop[path][axis];
    SettleFitLimits(start, stop);
    const int32_t entries = data.LSEntries[axis];
    if (entries < 1) return true;
    const ZVK_FitSpan span = FindSpan(data.LSPosition[axis], entries, start, stop);
    const int32_t count = span.last - span.first + 1;
    if (!RenewArrays({&data.LSFitData[axis], &data.LSFitPosition[axis], &data.LSFitCurve[axis]},
                     count))
        return false;
    data.LSFitEntries[axis] = count;
    std::copy_n(data.LSData[axis] + span.first, count, data.LSFitData[axis]);
    std::copy_n(data.LSPosition[axis] + span.first, count, data.LSFitPosition[axis]);
    double a[2] = {0.0, 0.0};
    data.LSFitMSE[axis] = FitCurve({data.LSFitPosition[axis], data.LSFitData[axis], count}, kLine,
                                   kMostIterations, a, data.LSFitCurve[axis]);
    data.LSFitSlope[axis] = a[0];
    return true;
}

int32_t ZVK_ForceCal_CreateLSFit(struct ZVK_ForceCalDataContainer *Data)
{
    if (Data->LSValid[0] == 0) return ZVK_FORCECAL_NO_LINE_SCAN;  // whichever axis is meant
    for (int axis = 0; axis < kSignals; ++axis) {
        Release(Data->LSFitData[axis]);
        Release(Data->LSFitPosition[axis]);
        Release(Data->LSFitCurve[axis]);
        Data->LSFitEntries[axis] = 0;
    }
    for (int axis = 0; axis < kSignals && Data->LSValid[axis] != 0; ++axis) {
        if (!FitAxis(*Data, axis)) return ZVK_FORCE_NO_MEMORY;
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_ComputeLSCalibration(struct ZVK_ForceCalDataContainer *Data)
{
    if (Data->LSValid[0] == 0) return ZVK_FORCECAL_NO_LINE_SCAN;
    for (int axis = 0; axis < kSignals; ++axis)
        Data->LSBeta[axis] = 1.0 / (Data->LSFitSlope[axis] * kMicrometresInMetre);
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_UpdateLSFits(SessionHandle)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    for (auto &path : g_forceCal.Data)
        (void)ZVK_ForceCal_CreateLSFit(&path[kNoOscillation]);  // without a scan passed over
    return ZVK_SUCCESS;
}
