// Reads the data files back and analyses them anew under the present settings. What a file does not
// have keeps its value; a count that the file cannot hold is not believed.

#include "files/text_scan.h"
#include "force/forcecal_files.h"
#include "platform/memory.h"

#include <algorithm>
#include <new>

constexpr double kLeastSampleRate = 0.0001;
constexpr int64_t kAlwaysBelieved = 65536;  // rows

// Each line is looked for where the one before it ended, whether that one was found or not.
template <class Value>
static void ScanLine(ZVK_TextScan &scan, const char *text, bool (*read)(ZVK_TextScan &, Value *),
                     Value *value)
{
    (void)(ScanText(scan, text) && read(scan, value) && ScanText(scan, "\n"));
}

static void ScanTimeHeader(ZVK_TextScan &scan, ZVK_ForceCalDataContainer &data)
{
    (void)ScanText(scan, kDataFileRule);
    ScanLine(scan, "# Samplerate: ", ScanDouble, &data.SampleRate);
    ScanLine(scan, "# Number of Samples: ", ScanLong, &data.NumberOfSamples);
    ScanLine(scan, "# Number of Averages: ", ScanLong, &data.Averages);
    ScanLine(scan, "# Oscillation Frequency: ", ScanDouble, &data.OscFrequency);
    ScanLine(scan, "# Oscillation Amplitude: ", ScanDouble, &data.OscAmplitude);
    (void)ScanText(scan, kDataFileRule);
}

static void ScanSpectrumHeader(ZVK_TextScan &scan, ZVK_ForceCalDataContainer &data)
{
    (void)ScanText(scan, kDataFileRule);
    ScanLine(scan, "# Number of Frequencies: ", ScanLong, &data.NumberOfFrequencies);
    ScanLine(scan, "# Measurement Time [s]: ", ScanDouble, &data.MeasurementTime);
    (void)ScanText(scan, kDataFileRule);
}

// Four numbers, the first thrown away. `comma` stands behind the second one in a spectrum.
static bool ScanRow(ZVK_TextScan &scan, const char *comma, double *const (&columns)[kSignals])
{
    double axis = 0.0;
    return ScanDouble(scan, &axis) && ScanDouble(scan, columns[0]) && ScanText(scan, comma) &&
           ScanDouble(scan, columns[1]) && ScanDouble(scan, columns[2]) && ScanText(scan, "\n");
}

// A file that was cut off has fewer rows than its header says: the rest is 0. But a count of rows
// beyond the bytes of the file is believed only where it asks for little memory.
static bool IsBelievable(const ZVK_TextScan &scan, int32_t rows)
{
    return rows >= 0 && rows <= std::max(TextScanSize(scan), kAlwaysBelieved);
}

// The header's count is not that of the series that were there.
static void ForgetSeries(ZVK_ForceCalDataContainer &data)
{
    Release(data.TDAxis);
    for (int signal = 0; signal < kSignals; ++signal) {
        Release(data.TD[signal]);
        Release(data.TDCorrected[signal]);
    }
}

static int32_t ScanSeries(ZVK_TextScan &scan, ZVK_ForceCalDataContainer &data)
{
    data.TDValid = 0;
    if (!IsBelievable(scan, data.NumberOfSamples)) {
        data.NumberOfSamples = 0;
        return ZVK_FORCECAL_NO_TIME_DATA;
    }
    if (!RenewArrays({&data.TD[0], &data.TD[1], &data.TD[2]}, data.NumberOfSamples)) {
        data.NumberOfSamples = 0;
        return ZVK_FORCE_NO_MEMORY;
    }
    data.TDValid = data.NumberOfSamples != 0;
    for (int32_t k = 0; k < data.NumberOfSamples; ++k) {
        if (!ScanRow(scan, "", {data.TD[0] + k, data.TD[1] + k, data.TD[2] + k})) break;
    }
    return ZVK_SUCCESS;
}

// The stored spectrum serves only until the one that is computed anew, or where that fails.
static bool ScanSpectrum(ZVK_TextScan &scan, ZVK_ForceCalDataContainer &data)
{
    const bool usable =
        data.NumberOfFrequencies > 0 && IsBelievable(scan, data.NumberOfFrequencies);
    data.FDValid = 0;
    if (!usable) data.NumberOfFrequencies = 0;
    if (!EnsureSpectrumArrays(data) ||
        !RenewArrays({&data.FDSum[0], &data.FDSum[1], &data.FDSum[2], &data.FDAxis},
                     data.NumberOfFrequencies))
    {
        data.NumberOfFrequencies = 0;
        return false;
    }
    const auto room =
        static_cast<int32_t>(std::min<int64_t>(SpectrumRoom(), data.NumberOfFrequencies));
    for (int32_t k = 0; k < room; ++k) {
        if (!ScanRow(scan, ",", {data.FD[0] + k, data.FD[1] + k, data.FD[2] + k})) break;
    }
    data.NumberOfFrequencies = room;
    for (int32_t k = 0; k < room; ++k)
        data.FDAxis[k] = k / data.MeasurementTime;
    data.FDValid = room > 0;
    return true;
}

static int32_t LoadRun(ZVK_TextScan &time, ZVK_TextScan &spectrum, ZVK_ForceCalDataContainer &data)
{
    ScanTimeHeader(time, data);  // what the header lacks keeps its value
    ForgetSeries(data);
    if (data.SampleRate < kLeastSampleRate) {
        data.TDValid = 0;
        data.FDValid = 0;
        return ZVK_SUCCESS;
    }
    int32_t status = ScanSeries(time, data);
    ScanSpectrumHeader(spectrum, data);
    const bool hasRoom = ScanSpectrum(spectrum, data);
    if (status != ZVK_SUCCESS) return status;
    if (!hasRoom) return ZVK_FORCE_NO_MEMORY;

    status = ZVK_ForceCal_CreateTDAxis(&data);
    if (status != ZVK_SUCCESS) return status;
    status = ZVK_ForceCal_CorrectTD(&data);
    if (status != ZVK_SUCCESS) return status;
    status = ZVK_ForceCal_ComputeFD(&data);
    if (status != ZVK_SUCCESS) return status;
    (void)ZVK_ForceCal_CreateFDFit(&data);
    (void)ZVK_ForceCal_Create1DBinning(&data);
    (void)ZVK_ForceCal_Create2DBinning(&data);
    return ZVK_SUCCESS;
}

static int32_t LoadAll(const char *fileName)
{
    TextScan time[kDataFilePairs];
    TextScan spectrum[kDataFilePairs];
    for (int pair = 0; pair < kDataFilePairs; ++pair) {
        time[pair] = OpenTextScan(DataFilePath(fileName, kDataFileNames[pair].timeDomain).c_str());
        if (!time[pair]) return ZVK_FORCECAL_FILE_FAILED;
    }
    for (int pair = 0; pair < kDataFilePairs; ++pair) {
        spectrum[pair] =
            OpenTextScan(DataFilePath(fileName, kDataFileNames[pair].spectrum).c_str());
        if (!spectrum[pair]) return ZVK_FORCECAL_FILE_FAILED;
    }
    for (int pair = 0; pair < kDataFilePairs; ++pair) {
        const int32_t status = LoadRun(*time[pair], *spectrum[pair], DataFileContainer(pair));
        if (status != ZVK_SUCCESS) return status;
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_LoadData(SessionHandle, const char *FileName)
{
    try {
        return LoadAll(FileName);
    } catch (const std::bad_alloc &) {
        return ZVK_FORCECAL_FILE_FAILED;
    }
}
