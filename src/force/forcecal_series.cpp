// The time series of a run: its axis, its normalisation, and what is taken off before the analysis.

#include "force/forcecal.h"
#include "numerics/statistics.h"
#include "platform/memory.h"

#include <algorithm>
#include <cmath>

constexpr double kNearZero = 1e-10;

int32_t ZVK_ForceCal_CreateTDAxis(struct ZVK_ForceCalDataContainer *Data)
{
    if (!HasTimeData(*Data)) return ZVK_FORCECAL_NO_TIME_DATA;
    if (!RenewArrays({&Data->TDAxis}, Data->NumberOfSamples)) return ZVK_FORCE_NO_MEMORY;
    for (int32_t k = 0; k < Data->NumberOfSamples; ++k)
        Data->TDAxis[k] = k / Data->SampleRate;
    return ZVK_SUCCESS;
}

// A sum signal of 0 would make the normalised signals infinite. The sign is lost on purpose.
void ZVK_ForceCal_RemoveZeros(double *Data, int32_t NumberOfSamples)
{
    for (int32_t k = 0; k < NumberOfSamples; ++k) {
        if (std::fabs(Data[k]) < kNearZero) Data[k] = kNearZero;
    }
}

void ZVK_ForceCal_NormalizeData(double *Data, const double *NormalizationData,
                                int32_t NumberOfSamples)
{
    for (int32_t k = 0; k < NumberOfSamples; ++k)
        Data[k] /= NormalizationData[k];
}

void ZVK_ForceCal_ScaleData(double *Data, int NumberOfSamples, double Scalar)
{
    for (int k = 0; k < NumberOfSamples; ++k)
        Data[k] *= Scalar;
}

static void TakeOffMean(const double *from, int64_t count, double *to)
{
    const double mean = Mean(from, count);
    for (int64_t k = 0; k < count; ++k)
        to[k] = from[k] - mean;
}

static void TakeOffDrift(const double *from, const ZVK_LineAxis &axis, double *to)
{
    const ZVK_Line line = FitLine(axis, from);
    for (int64_t k = 0; k < axis.count; ++k)
        to[k] = from[k] - (line.intercept + line.slope * axis.x[k]);
}

// All three signals of the segment that starts at a sample.
static void CorrectSegment(const ZVK_ForceCalDataContainer &data, int64_t start, int64_t count)
{
    if (g_forceCal.SubtractDrift == 0) {
        for (int signal = 0; signal < kSignals; ++signal)
            TakeOffMean(data.TD[signal] + start, count, data.TDCorrected[signal] + start);
        return;
    }
    const ZVK_LineAxis axis = MeasureAxis(data.TDAxis + start, count);
    for (int signal = 0; signal < kSignals; ++signal)
        TakeOffDrift(data.TD[signal] + start, axis, data.TDCorrected[signal] + start);
}

static void CorrectSegments(const ZVK_ForceCalDataContainer &data, int64_t segment)
{
    int64_t done = 0;
    const bool correct = g_forceCal.SubtractDrift != 0 || g_forceCal.SubtractMean != 0;
    for (int32_t s = 0; correct && segment > 0 && s < data.Averages; ++s, done += segment)
        CorrectSegment(data, done, segment);
    if (done >= data.NumberOfSamples) return;
    // What belongs to no segment, or everything, as it is.
    for (int signal = 0; signal < kSignals; ++signal)
        std::copy(data.TD[signal] + done, data.TD[signal] + data.NumberOfSamples,
                  data.TDCorrected[signal] + done);
}

int32_t ZVK_ForceCal_CorrectTD(struct ZVK_ForceCalDataContainer *Data)
{
    if (!HasTimeData(*Data)) return ZVK_FORCECAL_NO_TIME_DATA;
    if (Data->TDAxis == nullptr) return ZVK_FORCECAL_NO_TIME_DATA;
    if (!RenewUnsetArrays({&Data->TDCorrected[0], &Data->TDCorrected[1], &Data->TDCorrected[2]},
                          Data->NumberOfSamples))
        return ZVK_FORCE_NO_MEMORY;
    const int32_t segment = SegmentLength(*Data);
    CorrectSegments(*Data, segment);
    for (int signal = 0; signal < kSignals; ++signal) {
        // Of the first segment alone: this is what equipartition takes.
        Data->TDStdDev[signal] =
            StandardDeviation(Data->TDCorrected[signal], segment).standardDeviation;
    }
    Data->TDCorrectedValid = 1;
    return ZVK_SUCCESS;
}
