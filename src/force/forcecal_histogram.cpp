// Histograms of the run without oscillation: of each signal, and of each pair of signals.

#include "force/forcecal.h"
#include "numerics/statistics.h"
#include "platform/memory.h"

#include <algorithm>
#include <cmath>

constexpr double kNudge = 1e-12;       // lets the largest sample fall into the last bin
constexpr double kEmptyBin = 0.1;      // keeps the logarithm finite
constexpr double kCountedSpanS = 2.0;  // of the run, in two dimensions

// Bin centres, centred on zero whatever the centre of the data.
static void PutAxis(double *axis, int32_t bins, double width)
{
    for (int32_t k = 0; k < bins; ++k)
        axis[k] = width / 2.0 + (k * width - bins * width / 2.0);
}

// The bin of a sample, or -1 for one that is not a number. The end of the range belongs to the last
// bin.
static int32_t BinOf(double value, double least, double width, int32_t bins)
{
    const double place = (value - least) / width;
    if (!(place >= 0.0)) return -1;
    return place < bins ? static_cast<int32_t>(place) : bins - 1;
}

static void CountSignal(ZVK_ForceCalDataContainer &data, int signal)
{
    const int32_t bins = data.HistogramBins;
    if (bins < 1) return;
    const double *samples = data.TDCorrected[signal];
    const ZVK_Range range = FindRange(samples, data.NumberOfSamples);
    double width = (range.most - range.least) / bins;
    double *axis = data.HistogramAxis[signal];
    double *counts = data.Histogram[signal];
    PutAxis(axis, bins, width);
    const double distance = bins > 1 ? axis[1] - axis[0] : width;
    width += kNudge;
    for (int32_t i = 0; i < data.NumberOfSamples; ++i) {
        const int32_t bin = BinOf(samples[i], range.least, width, bins);
        if (bin >= 0) counts[bin] += 1.0;
    }
    const double norm = data.NumberOfSamples * distance;
    for (int32_t k = 0; k < bins; ++k) {
        if (counts[k] < 1.0) counts[k] = kEmptyBin;
        data.Potential[signal][k] = -1.0 * std::log(counts[k] / norm);
    }
}

int32_t ZVK_ForceCal_Create1DBinning(struct ZVK_ForceCalDataContainer *Data)
{
    if (!HasCorrectedData(*Data)) return ZVK_FORCECAL_NO_TIME_DATA;
    if (Data->OscAxis != kNoOscillation) return ZVK_SUCCESS;
    Data->HistogramBins = g_forceCal.Bins;
    if (!RenewArrays({&Data->Histogram[0], &Data->Histogram[1], &Data->Histogram[2],
                      &Data->HistogramAxis[0], &Data->HistogramAxis[1], &Data->HistogramAxis[2],
                      &Data->Potential[0], &Data->Potential[1], &Data->Potential[2]},
                     Data->HistogramBins))
    {
        Data->HistogramBins = 0;
        Data->PotValid = 0;
        return ZVK_FORCE_NO_MEMORY;
    }
    for (int signal = 0; signal < kSignals; ++signal)
        CountSignal(*Data, signal);
    Data->PotValid = 1;
    return ZVK_SUCCESS;
}

static void CountPair(const ZVK_ForceCalDataContainer &data, int first, int32_t bins,
                      const ZVK_Range (&ranges)[kSignals])
{
    const int second = (first + 1) % kSignals;
    const double *c = data.TDCorrected[first];
    const double *d = data.TDCorrected[second];
    const ZVK_Range &rangeC = ranges[first];
    const ZVK_Range &rangeD = ranges[second];
    // Other than with one signal, the nudge is in the axis too.
    const double widthC = (rangeC.most - rangeC.least) / bins + kNudge;
    const double widthD = (rangeD.most - rangeD.least) / bins + kNudge;
    PutAxis(data.Histogram2DAxis[first][0], bins, widthC);
    PutAxis(data.Histogram2DAxis[first][1], bins, widthD);
    double *counts = data.Histogram2D[first];
    for (int32_t i = 0; i < data.NumberOfSamples; ++i) {
        const int32_t column = BinOf(c[i], rangeC.least, widthC, bins);
        const int32_t row = BinOf(d[i], rangeD.least, widthD, bins);
        if (column >= 0 && row >= 0) counts[static_cast<int64_t>(row) * bins + column] += 1.0;
        if (data.TDAxis[i] > kCountedSpanS) break;
    }
}

int32_t ZVK_ForceCal_Create2DBinning(struct ZVK_ForceCalDataContainer *Data)
{
    if (!HasCorrectedData(*Data) || Data->TDAxis == nullptr) return ZVK_FORCECAL_NO_TIME_DATA;
    if (Data->OscAxis != kNoOscillation) return ZVK_SUCCESS;
    const int32_t bins = std::max(g_forceCal.Bins, 0);
    ZVK_Range ranges[kSignals];
    for (int signal = 0; signal < kSignals; ++signal)
        ranges[signal] = FindRange(Data->TDCorrected[signal], Data->NumberOfSamples);
    for (int pair = 0; pair < kSignals; ++pair) {
        double **const axes = Data->Histogram2DAxis[pair];
        if (!RenewArrays({&Data->Histogram2D[pair]}, static_cast<int64_t>(bins) * bins) ||
            !RenewArrays({&axes[0], &axes[1]}, bins))
        {
            Release(Data->Histogram2D[pair]);
            return ZVK_FORCE_NO_MEMORY;
        }
        if (bins > 0) CountPair(*Data, pair, bins, ranges);
    }
    return ZVK_SUCCESS;
}
