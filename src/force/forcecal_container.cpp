// The containers: one run's arrays, how they are made, handed out and cleared.

#include "force/forcecal.h"
#include "platform/memory.h"

#include <algorithm>
#include <iterator>

int64_t SpectrumRoom()
{
    // A spectrum of MaxFFT + 1 bins still passes the test of its length.
    return std::max<int64_t>(g_forceCal.MaxFFT, 0) + 1;
}

static bool Renew(double **const *arrays, int count, int64_t length,
                  void *(*allocate)(int64_t count, size_t valueSize))
{
    for (int i = 0; i < count; ++i)
        Release(*arrays[i]);
    for (int i = 0; i < count; ++i) {
        *arrays[i] = static_cast<double *>(allocate(length, sizeof(double)));
        if (*arrays[i] != nullptr) continue;
        for (int made = 0; made < i; ++made)
            Release(*arrays[made]);
        return false;
    }
    return true;
}

bool RenewArrays(double **const *arrays, int count, int64_t length)
{
    return Renew(arrays, count, length, AllocateZeroed);
}

bool RenewUnsetArrays(double **const (&arrays)[kSignals], int64_t length)
{
    return Renew(arrays, kSignals, length, AllocateUnset);
}

bool EnsureSpectrumArrays(ZVK_ForceCalDataContainer &data)
{
    for (double *&spectrum : data.FD) {
        if (spectrum != nullptr) continue;
        data.FDValid = 0;  // a new array holds no spectrum
        spectrum = AllocateArray<double>(SpectrumRoom());
        if (spectrum == nullptr) return false;
    }
    return true;
}

static bool AllThere(double *const (&arrays)[kSignals])
{
    return arrays[0] != nullptr && arrays[1] != nullptr && arrays[2] != nullptr;
}

bool HasTimeData(const ZVK_ForceCalDataContainer &data)
{
    return data.TDValid != 0 && AllThere(data.TD);
}

// The flag outlives a clear, the arrays do not.
bool HasCorrectedData(const ZVK_ForceCalDataContainer &data)
{
    return data.TDCorrectedValid != 0 && AllThere(data.TDCorrected);
}

bool HasSpectrumArrays(const ZVK_ForceCalDataContainer &data)
{
    return AllThere(data.FD) && data.FDAxis != nullptr;
}

bool HasSpectrum(const ZVK_ForceCalDataContainer &data)
{
    return data.FDValid != 0 && HasSpectrumArrays(data);
}

int32_t SegmentLength(const ZVK_ForceCalDataContainer &data)
{
    return data.Averages > 0 ? data.NumberOfSamples / data.Averages : 0;
}

void ZVK_ForceCal_ClearDataContainer(SessionHandle, struct ZVK_ForceCalDataContainer *DataContainer)
{
    if (DataContainer == nullptr) return;
    ZVK_ForceCalDataContainer &data = *DataContainer;
    for (int i = 0; i < kSignals; ++i) {
        Release(data.TD[i]);
        Release(data.TDCorrected[i]);
    }
    Release(data.TDAxis);
    data.TDValid = 0;  // TDCorrectedValid stays
    data.Averages = 0;
    data.NumberOfSamples = 0;
    for (int i = 0; i < kSignals; ++i) {  // FD stays: it lives from Init to Shutdown
        Release(data.FDSum[i]);
        Release(data.FDFitCurve[i]);
        Release(data.FDFitData[i]);
        data.FDAlternate[i] = nullptr;  // whoever filled it owns it
    }
    Release(data.FDAxis);
    Release(data.FDFitAxis);
    data.SampleRate = 0.0;
    data.FDValid = 0;  // FDAlternateValid stays
    data.NumberOfFrequencies = 0;
    data.FDFitValid = 0;
    data.NumberOfFitEntries = 0;
    data.HistogramBins = 0;
    for (int i = 0; i < kSignals; ++i) {
        Release(data.Histogram[i]);
        Release(data.HistogramAxis[i]);
        Release(data.Histogram2D[i]);
        Release(data.Potential[i]);
        Release(data.PotFitCurve[i]);
        Release(data.PotFitAxis[i]);
        Release(data.PotFitData[i]);
        Release(data.Histogram2DAxis[i][0]);
        Release(data.Histogram2DAxis[i][1]);
    }
    data.PotValid = 0;
    data.PotFlag2 = 0;
    data.PotFlag3 = 0;
}

namespace {

// What one row hands out. Null where the row does not name it.
struct Handed
{
    int32_t entries = 0;
    double *data = nullptr;
    double *axis = nullptr;
    double *axis2 = nullptr;
    const double *error = nullptr;
    const double *frequency = nullptr;
};

struct Row
{
    int32_t dataType;
    int32_t failure;
    bool (*valid)(const ZVK_ForceCalDataContainer &data, int32_t axis);
    Handed (*hand)(const ZVK_ForceCalDataContainer &data, int32_t axis);
};

using Data = const ZVK_ForceCalDataContainer;

}  // namespace

static bool TimeValid(Data &data, int32_t) { return data.TDValid != 0; }
static bool CorrectedValid(Data &data, int32_t) { return data.TDCorrectedValid != 0; }
static bool SpectrumValid(Data &data, int32_t) { return HasSpectrum(data); }
static bool SecondValid(Data &data, int32_t) { return data.FDAlternateValid != 0; }
static bool FitValid(Data &data, int32_t) { return data.FDFitValid != 0; }
static bool PotentialValid(Data &data, int32_t) { return data.PotValid != 0; }
static bool ScanValid(Data &data, int32_t axis) { return data.LSValid[axis] != 0; }

static Handed Time(Data &data, int32_t axis)
{
    return {SegmentLength(data), data.TD[axis], data.TDAxis};
}

static Handed Corrected(Data &data, int32_t axis)
{
    return {SegmentLength(data), data.TDCorrected[axis], data.TDAxis};
}

static Handed Spectrum(Data &data, int32_t axis)
{
    return {data.NumberOfFrequencies,   data.FD[axis], data.FDAxis, nullptr, &data.FitMSE[axis],
            &data.CornerFrequency[axis]};
}

static Handed Second(Data &data, int32_t axis)
{
    return {data.NumberOfFrequencies, data.FDAlternate[axis],     data.FDAxis, nullptr,
            &data.FitMSE[axis],       &data.CornerFrequency[axis]};
}

static Handed SpectrumFit(Data &data, int32_t axis)
{
    return {data.NumberOfFitEntries, data.FDFitCurve[axis],      data.FDFitAxis, nullptr,
            &data.FitMSE[axis],      &data.CornerFrequency[axis]};
}

static Handed Histogram(Data &data, int32_t axis)
{
    return {data.HistogramBins, data.Histogram[axis], data.HistogramAxis[axis]};
}

static Handed Potential(Data &data, int32_t axis)
{
    return {data.HistogramBins, data.Potential[axis], data.HistogramAxis[axis], nullptr,
            &data.PotFitMSE[axis]};
}

static Handed PotentialFit(Data &data, int32_t axis)
{
    return {data.PotFitEntries[axis], data.PotFitCurve[axis], data.PotFitAxis[axis], nullptr,
            &data.PotFitMSE[axis]};
}

static Handed Histogram2D(Data &data, int32_t axis)
{
    return {data.HistogramBins, data.Histogram2D[axis], data.Histogram2DAxis[axis][0],
            data.Histogram2DAxis[axis][1]};
}

static Handed LineScan(Data &data, int32_t axis)
{
    return {data.LSEntries[axis], data.LSData[axis], data.LSPosition[axis]};
}

static Handed LineScanFit(Data &data, int32_t axis)
{
    return {data.LSFitEntries[axis], data.LSFitCurve[axis], data.LSFitPosition[axis], nullptr,
            &data.LSFitMSE[axis],    &data.LSFitSlope[axis]};
}

static const Row kRows[] = {
    {ZVK_FORCECAL_TIME_DATA, ZVK_FORCECAL_NO_TIME_DATA, TimeValid, Time},
    {ZVK_FORCECAL_CORRECTED_DATA, ZVK_FORCECAL_NO_TIME_DATA, CorrectedValid, Corrected},
    {ZVK_FORCECAL_SPECTRUM, ZVK_FORCECAL_NO_SPECTRUM, SpectrumValid, Spectrum},
    {ZVK_FORCECAL_SECOND_SPECTRUM, ZVK_FORCECAL_NO_SPECTRUM, SecondValid, Second},
    {ZVK_FORCECAL_SPECTRUM_FIT, ZVK_FORCECAL_NO_FIT, FitValid, SpectrumFit},
    {ZVK_FORCECAL_HISTOGRAM, ZVK_FORCECAL_NO_POTENTIAL, PotentialValid, Histogram},
    {ZVK_FORCECAL_POTENTIAL, ZVK_FORCECAL_NO_POTENTIAL, PotentialValid, Potential},
    {ZVK_FORCECAL_POTENTIAL_FIT, ZVK_FORCECAL_NO_POTENTIAL, PotentialValid, PotentialFit},
    {ZVK_FORCECAL_HISTOGRAM_2D, ZVK_FORCECAL_NO_POTENTIAL, PotentialValid, Histogram2D},
    {ZVK_FORCECAL_LINE_SCAN, ZVK_FORCECAL_NO_LINE_SCAN, ScanValid, LineScan},
    {ZVK_FORCECAL_LINE_SCAN_FIT, ZVK_FORCECAL_NO_LINE_SCAN, ScanValid, LineScanFit},
};

template <class T>
static void Give(T *output, const T &value)
{
    if (output != nullptr) *output = value;
}

int32_t ZVK_ForceCal_ReturnData(SessionHandle, int32_t Path, int32_t OscAxis, int32_t DataType,
                                int32_t Axis, int32_t *NumberOfEntries, double **Data,
                                double **AxisData, double **AxisData2, double *MSE, double *f_c)
{
    Give(NumberOfEntries, 0);
    if (g_forceCal.Initialised == 0) return ZVK_FORCECAL_NOT_INITIALIZED;
    if (Path < 0 || Path > 1) return ZVK_FORCECAL_BAD_PATH;
    if (OscAxis < 0 || OscAxis > kNoOscillation) return ZVK_FORCECAL_BAD_AXIS;
    const Row *row = std::find_if(std::begin(kRows), std::end(kRows),
                                  [=](const Row &r) { return r.dataType == DataType; });
    if (row == std::end(kRows)) return ZVK_FORCECAL_BAD_DATA_TYPE;
    const ZVK_ForceCalDataContainer &data = g_forceCal.Data[Path][OscAxis];
    if (Axis < 0 || Axis >= kSignals) return row->failure;
    if (!row->valid(data, Axis)) return row->failure;

    const Handed handed = row->hand(data, Axis);
    // A flag and its arrays can come apart, as where a clear or a lack of memory took one of them:
    // no entries are told of an array that isn't there.
    const bool complete = handed.data != nullptr && handed.axis != nullptr;
    Give(NumberOfEntries, complete ? std::max(handed.entries, 0) : 0);
    Give(Data, handed.data);
    Give(AxisData, handed.axis);
    if (handed.axis2 != nullptr) Give(AxisData2, handed.axis2);
    if (handed.error != nullptr) Give(MSE, *handed.error);
    if (handed.frequency != nullptr) Give(f_c, *handed.frequency);
    return ZVK_SUCCESS;
}
