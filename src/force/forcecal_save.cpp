// The data files that keep a calibration's raw material: written here, read in forcecal_load.cpp.

#include "files/text_set.h"
#include "force/forcecal_files.h"

#include <new>

constexpr size_t kLongestPath = 4096;

const ZVK_DataFileNames kDataFileNames[kDataFilePairs] = {
    {"TDAxdat", "FDAxdat"}, {"TDAydat", "FDAydat"}, {"TDAzdat", "FDAzdat"}, {"TDAndat", "FDAndat"},
    {"TDBxdat", "FDBxdat"}, {"TDBydat", "FDBydat"}, {"TDBzdat", "FDBzdat"}, {"TDBndat", "FDBndat"},
};

const char *const kDataFileRule = "########################################################\n";

std::string DataFilePath(const char *fileName, const char *suffix)
{
    if (fileName == nullptr) return {};
    std::string path = std::string(fileName) + suffix;
    if (path.size() > kLongestPath) path.resize(kLongestPath);
    return path;
}

namespace {

// One file of a set, with the record that goes into it.
struct Page
{
    ZVK_TextSet &set;
    size_t file;

    void Text(const char *text) const { PutText(set, file, text); }
    void Long(const char *text, int32_t value) const
    {
        PutText(set, file, text);
        PutLong(set, file, value);
        PutText(set, file, "\n");
    }
    void Fixed(const char *text, double value) const
    {
        PutText(set, file, text);
        PutFixed(set, file, value);
        PutText(set, file, "\n");
    }
    // Four numbers; the spectrum has a comma behind its second one.
    void Row(const double (&values)[4], const char *second = " ") const
    {
        const char *const behind[4] = {" ", second, " ", "\n"};
        for (int i = 0; i < 4; ++i) {
            PutScientific(set, file, values[i]);
            PutText(set, file, behind[i]);
        }
    }
};

enum class Oscillation
{
    told,
    leftOut  // the sibling kit's file has no such lines
};

}  // namespace

static void WriteTimeDomain(const Page &page, const ZVK_ForceCalDataContainer &data,
                            Oscillation oscillation)
{
    page.Text(kDataFileRule);
    page.Fixed("# Samplerate: ", data.SampleRate);
    page.Long("# Number of Samples: ", data.NumberOfSamples);
    page.Long("# Number of Averages: ", data.Averages);
    if (oscillation == Oscillation::told) {
        page.Fixed("# Oscillation Frequency: ", data.OscFrequency);
        page.Fixed("# Oscillation Amplitude: ", data.OscAmplitude);
    }
    page.Text(kDataFileRule);
    if (data.TD[0] == nullptr || data.TD[1] == nullptr || data.TD[2] == nullptr) return;
    const double step = 1.0 / data.SampleRate;
    for (int32_t k = 0; k < data.NumberOfSamples; ++k)
        page.Row({k * step, data.TD[0][k], data.TD[1][k], data.TD[2][k]});
}

static void WriteSpectrum(const Page &page, const ZVK_ForceCalDataContainer &data)
{
    const int32_t frequencies = HasSpectrumArrays(data) ? data.NumberOfFrequencies : 0;
    page.Text(kDataFileRule);
    page.Long("# Number of Frequencies: ", frequencies);
    page.Fixed("# Measurement Time [s]: ", data.MeasurementTime);
    page.Text(kDataFileRule);
    const double step = 1.0 / data.MeasurementTime;
    for (int32_t k = 0; k < frequencies; ++k)
        page.Row({k * step, data.FD[0][k], data.FD[1][k], data.FD[2][k]}, ", ");
}

// Axis 0 counts for both axes; an axis that has fewer steps, or none, is filled up with zeros.
static void WriteLineScan(const Page &page, const ZVK_ForceCalDataContainer &data)
{
    const auto at = [&data](double *const(&arrays)[kSignals], int axis, int32_t k) {
        return arrays[axis] != nullptr && k < data.LSEntries[axis] ? arrays[axis][k] : 0.0;
    };
    page.Text(kDataFileRule);
    page.Long("# Number of Samples: ", data.LSEntries[0]);
    page.Long("# Number of Averages: ", data.LSAveragesRecorded);
    page.Text(kDataFileRule);
    for (int32_t k = 0; k < data.LSEntries[0]; ++k)
        page.Row({at(data.LSPosition, 0, k), at(data.LSData, 0, k), at(data.LSPosition, 1, k),
                  at(data.LSData, 1, k)});
}

static bool SaveAll(const char *fileName)
{
    const TextSet set = MakeTextSet();
    for (const ZVK_DataFileNames &names : kDataFileNames) {
        if (!AddTextFile(*set, DataFilePath(fileName, names.timeDomain))) return false;
    }
    for (const ZVK_DataFileNames &names : kDataFileNames) {
        if (!AddTextFile(*set, DataFilePath(fileName, names.spectrum))) return false;
    }
    for (int pair = 0; pair < kDataFilePairs; ++pair) {
        const auto file = static_cast<size_t>(pair);
        const ZVK_ForceCalDataContainer &data = DataFileContainer(pair);
        WriteTimeDomain({*set, file}, data, Oscillation::told);
        WriteSpectrum({*set, file + kDataFilePairs}, data);
    }
    return CommitTextSet(*set);
}

static bool SaveSiblingKit(const char *fileName)
{
    const TextSet set = MakeTextSet();
    for (const char *suffix : {"TDdat", "FDdat", "LSdat"}) {
        if (!AddTextFile(*set, DataFilePath(fileName, suffix))) return false;
    }
    const ZVK_ForceCalDataContainer &data = g_forceCal.Data[ZVK_PATH_A][kNoOscillation];
    WriteTimeDomain({*set, 0}, data, Oscillation::leftOut);
    WriteSpectrum({*set, 1}, data);
    WriteLineScan({*set, 2}, data);
    return CommitTextSet(*set);
}

static int32_t StatusOf(bool (*save)(const char *), const char *fileName)
{
    try {
        return save(fileName) ? ZVK_SUCCESS : ZVK_FORCECAL_FILE_FAILED;
    } catch (const std::bad_alloc &) {
        return ZVK_FORCECAL_FILE_FAILED;
    }
}

int32_t ZVK_ForceCal_SaveData(SessionHandle, const char *FileName)
{
    return StatusOf(SaveAll, FileName);
}

int32_t ZVK_ForceCal_SaveDataRWQS(SessionHandle, const char *FileName)
{
    return StatusOf(SaveSiblingKit, FileName);
}
