// The active method: beta from the power that the stage's known oscillation puts into one bin of
// the spectrum (Tolic-Norrelykke et al., Review of Scientific Instruments 77, 103101, 2006), and K
// from beta and the Lorentzian. The interface calls it NL.

#include "force/forcecal.h"

#include <cmath>

constexpr double kTwoPi = 6.283185307179586;
constexpr double kBoltzmann = 1.3806488e-23;  // J/K
// Shorter than the pi in kTwoPi: both stay as they are, so that stiffnesses stay comparable.
constexpr double kStoredPi = 3.14159;
constexpr double kMetresInMicrometre = 1e-6;

// The axis, which goes on behind its last bin.
static double AxisAt(const ZVK_ForceCalDataContainer &data, int32_t k)
{
    return k < data.NumberOfFrequencies ? data.FDAxis[k] : k / data.MeasurementTime;
}

// The array has room for the longest spectrum; behind that there is no power.
static double PowerAt(const ZVK_ForceCalDataContainer &data, int32_t signal, int32_t k)
{
    return k < SpectrumRoom() ? data.FD[signal][k] : 0.0;
}

// The bin of the oscillation. Without one it is the place behind the last bin, and the result means
// nothing, as that of a run without oscillation.
static int32_t FindPeak(const ZVK_ForceCalDataContainer &data, double width)
{
    int32_t k = 0;
    while (k < data.NumberOfFrequencies &&
           !(std::fabs(data.OscFrequency - data.FDAxis[k]) < width / 2.0))
        ++k;
    return k;
}

int32_t ZVK_ForceCal_ComputeNLCalibration(struct ZVK_ForceCalDataContainer *Data)
{
    if (Data->FDFitValid == 0) return ZVK_FORCECAL_NO_FIT;
    const int32_t signal = Data->OscAxis;
    if (signal < 0 || signal >= kSignals) return ZVK_FORCECAL_NO_FIT;
    // The fit's flag alone counts, not the spectrum's; but there have to be arrays.
    if (!HasSpectrumArrays(*Data)) return ZVK_FORCECAL_NO_SPECTRUM;

    const double f = Data->OscFrequency;
    const double a = Data->LorentzAmplitude[signal];
    const double c = Data->CornerFrequency[signal];
    const double width = AxisAt(*Data, 2) - AxisAt(*Data, 1);
    const int32_t peak = FindPeak(*Data, width);
    const double peakFrequency = AxisAt(*Data, peak);
    const double background = a / (f * f + c * c);
    const double measured = (PowerAt(*Data, signal, peak) - background) * width;
    const double amplitude = Data->OscAmplitude * kMetresInMicrometre;
    // The bin's frequency here, the oscillation's in the background: as it is meant.
    const double theory =
        amplitude * amplitude / (2.0 * (c * c / (peakFrequency * peakFrequency) + 1.0));
    Data->Beta = std::sqrt(std::fabs(theory / measured));
    Data->K = (c * kTwoPi * kBoltzmann * g_forceCal.Temperature) /
              ((kStoredPi * kStoredPi * a / 2.0) * Data->Beta * Data->Beta);
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_UpdateNLCalibration(SessionHandle)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    for (auto &path : g_forceCal.Data) {
        for (int axis = 0; axis < kNoOscillation; ++axis)
            (void)ZVK_ForceCal_ComputeNLCalibration(&path[axis]);  // without a fit passed over
    }
    return ZVK_SUCCESS;
}
