// The settings: what a run does, what its analysis does, and the physics of the sample. No value is
// checked but the number of bins, and nothing is computed but the viscosity.

#include "force/forcecal.h"

#include <cmath>

constexpr int32_t kFewestBins = 5;

int32_t ForceCalReady()
{
    if (g_forceCal.Initialised == 0) return ZVK_FORCECAL_NOT_INITIALIZED;
    if (g_forceCal.Installed == 0) return ZVK_FORCECAL_NOT_INSTALLED;
    return ZVK_SUCCESS;
}

template <class T>
static int32_t Set(T &field, T value)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    field = value;
    return ZVK_SUCCESS;
}

template <class T>
static int32_t Get(const T &field, T *value)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    if (value != nullptr) *value = field;
    return ZVK_SUCCESS;
}

static int32_t SetFlag(char &field, uint16_t value)
{
    return Set(field, static_cast<char>(value != 0));
}

static int32_t GetFlag(char field, uint16_t *value)
{
    return Get(static_cast<uint16_t>(field != 0), value);
}

using Limits = double[2][kSignals];

static int32_t CheckPathAndAxis(int32_t path, int32_t axis)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    if (path < 0 || path > 1) return ZVK_FORCECAL_BAD_PATH;
    if (axis < 0 || axis >= kSignals) return ZVK_FORCECAL_BAD_AXIS;
    return ZVK_SUCCESS;
}

static int32_t SetLimit(Limits &limits, int32_t path, int32_t axis, double value)
{
    const int32_t status = CheckPathAndAxis(path, axis);
    if (status < 0) return status;
    limits[path][axis] = value;
    return ZVK_SUCCESS;
}

static int32_t GetLimit(const Limits &limits, int32_t path, int32_t axis, double *value)
{
    const int32_t status = CheckPathAndAxis(path, axis);
    if (status < 0) return status;
    if (value != nullptr) *value = limits[path][axis];
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_ComputeViscosity(SessionHandle, double Viscosity)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    switch (g_forceCal.Medium) {
    case ZVK_MEDIUM_WATER:
        g_forceCal.Viscosity = 2.414e-5 * std::pow(10.0, 247.8 / (g_forceCal.Temperature - 140.0));
        return ZVK_SUCCESS;
    case ZVK_MEDIUM_GIVEN: g_forceCal.Viscosity = Viscosity; return ZVK_SUCCESS;
    default: return ZVK_FORCECAL_BAD_MEDIUM;
    }
}

int32_t ZVK_ForceCal_SetMedium(SessionHandle, int32_t Medium)
{
    return Set(g_forceCal.Medium, Medium);
}

int32_t ZVK_ForceCal_GetMedium(SessionHandle, int32_t *Medium)
{
    return Get(g_forceCal.Medium, Medium);
}

int32_t ZVK_ForceCal_SetTemperature(SessionHandle, double Temperature)
{
    return Set(g_forceCal.Temperature, Temperature);
}

int32_t ZVK_ForceCal_GetTemperature(SessionHandle, double *Temperature)
{
    return Get(g_forceCal.Temperature, Temperature);
}

int32_t ZVK_ForceCal_GetViscosity(SessionHandle, double *Viscosity)
{
    return Get(g_forceCal.Viscosity, Viscosity);
}

int32_t ZVK_ForceCal_SetLSLength(SessionHandle, double Length)
{
    return Set(g_forceCal.LSLength, Length);
}

int32_t ZVK_ForceCal_GetLSLength(SessionHandle, double *Length)
{
    return Get(g_forceCal.LSLength, Length);
}

int32_t ZVK_ForceCal_SetLSSteps(SessionHandle, int32_t Steps)
{
    return Set(g_forceCal.LSSteps, Steps);
}

int32_t ZVK_ForceCal_GetLSSteps(SessionHandle, int32_t *Steps)
{
    return Get(g_forceCal.LSSteps, Steps);
}

int32_t ZVK_ForceCal_SetLSAverages(SessionHandle, int32_t Averages)
{
    return Set(g_forceCal.LSAverages, Averages);
}

int32_t ZVK_ForceCal_GetLSAverages(SessionHandle, int32_t *Averages)
{
    return Get(g_forceCal.LSAverages, Averages);
}

int32_t ZVK_ForceCal_SetDiameter(SessionHandle, double Diameter)
{
    return Set(g_forceCal.Diameter, Diameter);
}

int32_t ZVK_ForceCal_GetDiameter(SessionHandle, double *Diameter)
{
    return Get(g_forceCal.Diameter, Diameter);
}

int32_t ZVK_ForceCal_SetAmplitude(SessionHandle, double Amplitude)
{
    return Set(g_forceCal.Amplitude, Amplitude);
}

int32_t ZVK_ForceCal_GetAmplitude(SessionHandle, double *Amplitude)
{
    return Get(g_forceCal.Amplitude, Amplitude);
}

int32_t ZVK_ForceCal_SetFrequency(SessionHandle, int32_t Frequency)
{
    return Set(g_forceCal.Frequency, Frequency);
}

int32_t ZVK_ForceCal_GetFrequency(SessionHandle, int32_t *Frequency)
{
    return Get(g_forceCal.Frequency, Frequency);
}

int32_t ZVK_ForceCal_SetSubtractMean(SessionHandle, uint16_t subtractMean)
{
    return SetFlag(g_forceCal.SubtractMean, subtractMean);
}

int32_t ZVK_ForceCal_GetSubtractMean(SessionHandle, uint16_t *subtractMean)
{
    return GetFlag(g_forceCal.SubtractMean, subtractMean);
}

int32_t ZVK_ForceCal_SetOscillate(SessionHandle, uint16_t Oscillate)
{
    return SetFlag(g_forceCal.Oscillate, Oscillate);
}

int32_t ZVK_ForceCal_GetOscillate(SessionHandle, uint16_t *Oscillate)
{
    return GetFlag(g_forceCal.Oscillate, Oscillate);
}

int32_t ZVK_ForceCal_SetSubtractDrift(SessionHandle, uint16_t SubtractDrift)
{
    return SetFlag(g_forceCal.SubtractDrift, SubtractDrift);
}

int32_t ZVK_ForceCal_GetSubtractDrift(SessionHandle, uint16_t *SubtractDrift)
{
    return GetFlag(g_forceCal.SubtractDrift, SubtractDrift);
}

int32_t ZVK_ForceCal_SetSwapAxes(SessionHandle, uint16_t SwapAxes)
{
    return SetFlag(g_forceCal.SwapAxes, SwapAxes);
}

int32_t ZVK_ForceCal_GetSwapAxes(SessionHandle, uint16_t *SwapAxes)
{
    return GetFlag(g_forceCal.SwapAxes, SwapAxes);
}

int32_t ZVK_ForceCal_SetFitStartFrequency(SessionHandle, double FitStartFrequency)
{
    return Set(g_forceCal.FitStartFrequency, FitStartFrequency);
}

int32_t ZVK_ForceCal_GetFitStartFrequency(SessionHandle, double *FitStartFrequency)
{
    return Get(g_forceCal.FitStartFrequency, FitStartFrequency);
}

int32_t ZVK_ForceCal_SetFitStopFrequency(SessionHandle, double FitStopFrequency)
{
    return Set(g_forceCal.FitStopFrequency, FitStopFrequency);
}

int32_t ZVK_ForceCal_GetFitStopFrequency(SessionHandle, double *FitStopFrequency)
{
    return Get(g_forceCal.FitStopFrequency, FitStopFrequency);
}

int32_t ZVK_ForceCal_SetDisplayStopFrequency(SessionHandle, double DisplayStopFrequency)
{
    return Set(g_forceCal.DisplayStopFrequency, DisplayStopFrequency);
}

int32_t ZVK_ForceCal_GetDisplayStopFrequency(SessionHandle, double *DisplayStopFrequency)
{
    return Get(g_forceCal.DisplayStopFrequency, DisplayStopFrequency);
}

int32_t ZVK_ForceCal_SetAverages(SessionHandle, int32_t Averages)
{
    return Set(g_forceCal.Averages, Averages);
}

int32_t ZVK_ForceCal_GetAverages(SessionHandle, int32_t *Averages)
{
    return Get(g_forceCal.Averages, Averages);
}

int32_t ZVK_ForceCal_SetBins(SessionHandle, int32_t Bins)
{
    return Set(g_forceCal.Bins, Bins < kFewestBins ? kFewestBins : Bins);
}

int32_t ZVK_ForceCal_GetBins(SessionHandle, int32_t *Bins) { return Get(g_forceCal.Bins, Bins); }

int32_t ZVK_ForceCal_SetCalLength(SessionHandle, double CalLength)
{
    return Set(g_forceCal.CalLength, CalLength);
}

// Rounds up to whole periods, where a run cuts off: the two differ on purpose.
int32_t ZVK_ForceCal_GetCalLength(SessionHandle, double *CalLength, double *ActualCalLength)
{
    const int32_t status = Get(g_forceCal.CalLength, CalLength);
    if (status < 0) return status;
    if (ActualCalLength == nullptr) return ZVK_SUCCESS;
    const double periods = g_forceCal.Frequency * g_forceCal.CalLength;
    const double whole = std::floor(periods) + (periods > std::floor(periods) ? 1.0 : 0.0);
    *ActualCalLength = whole / g_forceCal.Frequency;
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_SetPotFitStart(SessionHandle, int32_t Path, int32_t Axis,
                                    double FitStartVoltage)
{
    return SetLimit(g_forceCal.PotFitStart, Path, Axis, FitStartVoltage);
}

int32_t ZVK_ForceCal_GetPotFitStartFrequency(SessionHandle, int32_t Path, int32_t Axis,
                                             double *FitStartVoltage)
{
    return GetLimit(g_forceCal.PotFitStart, Path, Axis, FitStartVoltage);
}

int32_t ZVK_ForceCal_SetPotFitStop(SessionHandle, int32_t Path, int32_t Axis, double FitStopVoltage)
{
    return SetLimit(g_forceCal.PotFitStop, Path, Axis, FitStopVoltage);
}

int32_t ZVK_ForceCal_GetPotFitStopFrequency(SessionHandle, int32_t Path, int32_t Axis,
                                            double *FitStopVoltage)
{
    return GetLimit(g_forceCal.PotFitStop, Path, Axis, FitStopVoltage);
}

int32_t ZVK_ForceCal_SetLineScanFitStart(SessionHandle, int32_t Path, int32_t Axis,
                                         double FitStartPosition)
{
    return SetLimit(g_forceCal.LineScanFitStart, Path, Axis, FitStartPosition);
}

int32_t ZVK_ForceCal_GetLineScanFitStart(SessionHandle, int32_t Path, int32_t Axis,
                                         double *FitStartPosition)
{
    return GetLimit(g_forceCal.LineScanFitStart, Path, Axis, FitStartPosition);
}

int32_t ZVK_ForceCal_SetLineScanFitStop(SessionHandle, int32_t Path, int32_t Axis,
                                        double FitStopPosition)
{
    return SetLimit(g_forceCal.LineScanFitStop, Path, Axis, FitStopPosition);
}

int32_t ZVK_ForceCal_GetLineScanFitStop(SessionHandle, int32_t Path, int32_t Axis,
                                        double *FitStopPosition)
{
    return GetLimit(g_forceCal.LineScanFitStop, Path, Axis, FitStopPosition);
}
