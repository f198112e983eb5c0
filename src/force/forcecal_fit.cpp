// The Lorentzian of the thermal motion, fitted to the spectrum without the bin of the oscillation.
// A (f^2 + f_c^2)^-1: Berg-Sorensen and Flyvbjerg, Review of Scientific Instruments 75, 594, 2004.

#include "force/forcecal.h"
#include "numerics/curve_fit.h"
#include "numerics/statistics.h"
#include "platform/memory.h"

#include <algorithm>
#include <cmath>

constexpr double kPlateauEnd = 100.0;  // hertz
constexpr double kKnee = 0.3;          // of the plateau
constexpr int32_t kBelowKnee = 10;     // bins in a row that end the walk
constexpr double kStartAmplitude = 100.0;
constexpr int32_t kMostIterations = 100;

double ZVK_ForceCal_Lorentzian(double x, const double *a, int)
{
    return a[0] / (x * x + a[1] * a[1]);
}

static void Lorentzians(const double *x, int32_t count, const double *a, double *values)
{
    for (int32_t i = 0; i < count; ++i)
        values[i] = ZVK_ForceCal_Lorentzian(x[i], a, 2);
}

static void LorentzianGradients(const double *x, int32_t count, const double *a,
                                double *derivatives)
{
    const double twice = -2.0 * a[0] * a[1];
    const double square = a[1] * a[1];
    for (int32_t i = 0; i < count; ++i) {
        const double part = 1.0 / (x[i] * x[i] + square);
        derivatives[i] = part;
        derivatives[count + i] = twice * part * part;
    }
}

static const ZVK_CurveModel kLorentzian = {Lorentzians, LorentzianGradients, 2};

// Walks up from bin `first` to where ten bins in a row lie below the knee. Without such a place the
// last one looked at counts; with no room to look, 0.
static double FindKnee(const double *spectrum, const double *axis, int32_t first,
                       int32_t frequencies, double level)
{
    double knee = 0.0;
    for (int32_t j = first; j < frequencies - kBelowKnee; ++j) {
        knee = axis[j];
        const auto isBelow = [level](double power) { return power < level; };
        if (std::all_of(spectrum + j, spectrum + j + kBelowKnee, isBelow)) break;
    }
    return knee;
}

int32_t ZVK_ForceCal_CreateFDFitHeuristics(struct ZVK_ForceCalDataContainer *Data)
{
    if (!HasSpectrum(*Data)) return ZVK_FORCECAL_NO_SPECTRUM;
    int32_t last = 0;  // of the plateau's bins; with none the division below is by zero
    while (last + 1 < Data->NumberOfFrequencies && Data->FDAxis[last + 1] <= kPlateauEnd)
        ++last;
    for (int s = 0; s < kSignals; ++s) {
        double sum = 0.0;
        for (int32_t k = 1; k <= last; ++k)
            sum += Data->FD[s][k];
        Data->LowFrequencyPower[s] = sum / last;
        Data->CornerStart[s] =
            FindKnee(Data->FD[s], Data->FDAxis, last + 1, Data->NumberOfFrequencies,
                     kKnee * Data->LowFrequencyPower[s]);
    }
    return ZVK_SUCCESS;
}

// All bins inside the range but the one that holds the oscillation.
static int32_t TakeFitPoints(ZVK_ForceCalDataContainer &data)
{
    const double halfBin = 0.5 / data.MeasurementTime;
    int32_t count = 0;
    for (int32_t k = 0; k < data.NumberOfFrequencies; ++k) {
        const double f = data.FDAxis[k];
        const bool inside = f > g_forceCal.FitStartFrequency && f < g_forceCal.FitStopFrequency;
        if (!inside || !(std::fabs(f - data.OscFrequency) > halfBin)) continue;
        data.FDFitAxis[count] = f;
        for (int s = 0; s < kSignals; ++s)
            data.FDFitData[s][count] = data.FD[s][k];
        ++count;
    }
    return count;
}

static void FitSignal(ZVK_ForceCalDataContainer &data, int s)
{
    const int32_t count = data.NumberOfFitEntries;
    const double mean = Mean(data.FDFitData[s], count);
    // A spectrum of zeros has no scale.
    if (mean != 0.0) ZVK_ForceCal_ScaleData(data.FDFitData[s], count, 1.0 / mean);
    double a[2] = {kStartAmplitude, data.CornerStart[s]};
    const double error = FitCurve({data.FDFitAxis, data.FDFitData[s], count}, kLorentzian,
                                  kMostIterations, a, data.FDFitCurve[s]);
    data.LorentzAmplitude[s] = a[0] * mean;
    data.CornerFrequency[s] = std::fabs(a[1]);
    // By the mean once, not twice, although the error is a square: a settled choice.
    data.FitMSE[s] = mean != 0.0 ? error * mean : 0.0;
    ZVK_ForceCal_ScaleData(data.FDFitCurve[s], data.NumberOfFrequencies, mean);
}

int32_t ZVK_ForceCal_CreateFDFit(struct ZVK_ForceCalDataContainer *Data)
{
    if (!HasSpectrum(*Data)) return ZVK_FORCECAL_NO_SPECTRUM;
    if (!RenewArrays({&Data->FDFitAxis, &Data->FDFitData[0], &Data->FDFitData[1],
                      &Data->FDFitData[2], &Data->FDFitCurve[0], &Data->FDFitCurve[1],
                      &Data->FDFitCurve[2]},
                     Data->NumberOfFrequencies))
    {
        Data->FDFitValid = 0;
        Data->NumberOfFitEntries = 0;
        return ZVK_FORCE_NO_MEMORY;
    }
    Data->NumberOfFitEntries = TakeFitPoints(*Data);
    (void)ZVK_ForceCal_CreateFDFitHeuristics(Data);  // there is a spectrum
    for (int s = 0; s < kSignals; ++s)
        FitSignal(*Data, s);
    Data->FDFitValid = 1;
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_UpdateFDFits(SessionHandle)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    for (auto &path : g_forceCal.Data) {
        for (ZVK_ForceCalDataContainer &data : path)
            (void)ZVK_ForceCal_CreateFDFit(&data);  // runs without a spectrum are passed over
    }
    return ZVK_SUCCESS;
}
