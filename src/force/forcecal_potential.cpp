// The trap's potential by Boltzmann's law, and the parabola whose curvature gives the stiffness
// (Florin et al., Applied Physics A 66, S75, 1998).

#include "force/forcecal.h"
#include "numerics/curve_fit.h"
#include "platform/memory.h"

#include <algorithm>

constexpr int32_t kMostIterations = 1000;

double ZVK_ForceCal_Parabola(double x, const double *a, int)
{
    return a[0] * x * x + a[1] * x + a[2];
}

static void Parabolas(const double *x, int32_t count, const double *a, double *values)
{
    for (int32_t i = 0; i < count; ++i)
        values[i] = ZVK_ForceCal_Parabola(x[i], a, 3);
}

static void ParabolaGradients(const double *x, int32_t count, const double *, double *derivatives)
{
    for (int32_t i = 0; i < count; ++i) {
        derivatives[i] = x[i] * x[i];
        derivatives[count + i] = x[i];
        derivatives[2 * static_cast<int64_t>(count) + i] = 1.0;
    }
}

static const ZVK_CurveModel kParabola = {Parabolas, ParabolaGradients, 3};

// The first bin above each limit. Where there is none, the place of the signal before stays.
static void FindSpan(const double *axis, int32_t bins, double start, double stop, ZVK_FitSpan &span)
{
    const auto firstAbove = [=](double limit) {
        return static_cast<int32_t>(
            std::find_if(axis, axis + bins, [=](double x) { return x > limit; }) - axis);
    };
    const int32_t first = firstAbove(start);
    if (first < bins) span.first = first;
    const int32_t last = firstAbove(stop);
    if (last < bins) span.last = last;
    if (span.last == 0) span = {0, bins - 1};
    WidenSpan(span, bins);
}

static bool FitSpan(ZVK_ForceCalDataContainer &data, int signal, const ZVK_FitSpan &span)
{
    const int32_t count = span.last - span.first + 1;
    data.PotFitEntries[signal] = 0;
    if (!RenewArrays(
            {&data.PotFitData[signal], &data.PotFitAxis[signal], &data.PotFitCurve[signal]}, count))
        return false;
    std::copy_n(data.Potential[signal] + span.first, count, data.PotFitData[signal]);
    std::copy_n(data.HistogramAxis[signal] + span.first, count, data.PotFitAxis[signal]);
    data.PotFitEntries[signal] = count;
    double a[3] = {1.0, 0.0, 0.0};
    data.PotFitMSE[signal] = FitCurve({data.PotFitAxis[signal], data.PotFitData[signal], count},
                                      kParabola, kMostIterations, a, data.PotFitCurve[signal]);
    data.PotCurvature[signal] = a[0];
    return true;
}

int32_t ZVK_ForceCal_CreatePotFit(struct ZVK_ForceCalDataContainer *Data)
{
    if (Data->PotValid == 0) return ZVK_FORCECAL_NO_POTENTIAL;
    const int32_t path = Data->Path == ZVK_PATH_B ? ZVK_PATH_B : ZVK_PATH_A;
    ZVK_FitSpan span = {0, 0};
    for (int signal = 0; signal < kSignals; ++signal) {
        double &start = g_forceCal.PotFitStart[path][signal];
        double &stop = g_forceCal.PotFitStop[path][signal];
        SettleFitLimits(start, stop);
        if (Data->HistogramBins < 1) continue;
        FindSpan(Data->HistogramAxis[signal], Data->HistogramBins, start, stop, span);
        if (!FitSpan(*Data, signal, span)) return ZVK_FORCE_NO_MEMORY;
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_UpdatePotFits(SessionHandle)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    for (auto &path : g_forceCal.Data)
        (void)ZVK_ForceCal_CreatePotFit(&path[kNoOscillation]);  // without histograms passed over
    return ZVK_SUCCESS;
}
