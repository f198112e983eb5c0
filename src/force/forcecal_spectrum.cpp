// The averaged power spectrum of a run. Each segment holds a whole number of oscillation periods,
// so no window is applied.
//
// The scale is 4 |X(k)|^2 / (rate^2 T) for k above 0: the doubling for the missing negative
// frequencies acts on amplitudes, before squaring. Fits and calibration take the spectrum on this
// scale. Keep it so.

#include "force/forcecal.h"
#include "numerics/transform.h"
#include "platform/memory.h"

#include <algorithm>
#include <cstdio>
#include <memory>

using Transform = std::unique_ptr<ZVK_Transform, decltype(&FreeTransform)>;

// Adds the power of one segment to the sums, not yet divided by rate^2 T. `bins` are pairs of real
// and imaginary part.
static void AddPower(const double *bins, int32_t frequencies, double *sums)
{
    for (int32_t k = 0; k < frequencies; ++k) {
        const double amplitude = k == 0 ? 1.0 : 2.0;
        const double re = amplitude * bins[2 * static_cast<int64_t>(k)];
        const double im = amplitude * bins[2 * static_cast<int64_t>(k) + 1];
        sums[k] += re * re + im * im;
    }
}

static void SumSegments(const ZVK_ForceCalDataContainer &data, ZVK_Transform *transform,
                        int32_t segment, int signal)
{
    const int32_t frequencies = segment / 2;
    double *sums = data.FDSum[signal];
    for (int32_t s = 0; s < data.Averages; ++s) {
        const double *samples = data.TDCorrected[signal] + static_cast<int64_t>(s) * segment;
        AddPower(TransformReal(transform, samples), frequencies, sums);
    }
    const double scale =
        1.0 / (data.SampleRate * data.SampleRate * data.MeasurementTime) / data.Averages;
    for (int32_t k = 0; k < frequencies; ++k)
        sums[k] *= scale;
    std::copy_n(sums, frequencies, data.FD[signal]);
}

static int32_t TellMissingMemory(ZVK_ForceCalDataContainer &data)
{
    (void)std::fputs("Mem Alloc Failure during FFT", stdout);
    data.FDValid = 0;
    return ZVK_FORCE_NO_MEMORY;
}

int32_t ZVK_ForceCal_ComputeFD(struct ZVK_ForceCalDataContainer *Data)
{
    if (!HasTimeData(*Data) || !HasCorrectedData(*Data)) return ZVK_FORCECAL_NO_TIME_DATA;
    const int32_t segment = SegmentLength(*Data);
    if (segment < 1) return ZVK_FORCECAL_NO_TIME_DATA;

    const double step = 1.0 / Data->SampleRate;
    Data->MeasurementTime = segment * step;
    const int32_t frequencies = segment / 2;
    // An older spectrum may stay when this one turns out too long: its axis keeps its room.
    const int32_t room = std::max(frequencies, Data->NumberOfFrequencies);
    const Transform transform(MakeTransform(segment), FreeTransform);
    const bool complete =
        RenewArrays({&Data->FDSum[0], &Data->FDSum[1], &Data->FDSum[2], &Data->FDAxis}, room) &&
        EnsureSpectrumArrays(*Data) && transform != nullptr;
    if (!complete) return TellMissingMemory(*Data);
    // One bin more than the limit passes; the arrays have room for it.
    if (frequencies - 1 > g_forceCal.MaxFFT) return ZVK_FORCECAL_SPECTRUM_TOO_LONG;

    for (int signal = 0; signal < kSignals; ++signal)
        SumSegments(*Data, transform.get(), segment, signal);
    Data->FDValid = 1;
    return ZVK_ForceCal_CreateFDAxis(Data) < 0 ? TellMissingMemory(*Data) : ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_CreateFDAxis(struct ZVK_ForceCalDataContainer *Data)
{
    if (Data->FDValid == 0) return ZVK_FORCECAL_NO_SPECTRUM;
    const int32_t frequencies = SegmentLength(*Data) / 2;
    if (!RenewArrays({&Data->FDAxis}, frequencies)) {
        Data->NumberOfFrequencies = 0;
        Data->FDValid = 0;
        return ZVK_FORCE_NO_MEMORY;
    }
    Data->NumberOfFrequencies = frequencies;
    for (int32_t k = 0; k < frequencies; ++k)
        Data->FDAxis[k] = k / Data->MeasurementTime;
    return ZVK_SUCCESS;
}
