#include "forcecal_fixture.h"

#include "platform/memory.h"

#include <algorithm>
#include <cmath>

static const std::pair<const char *, const char *> kUsualKeys[] = {
    {"MI", "1"},
    {"SIMULATE", "0"},
    {"SWAPAXES", "0"},
    {"AVERAGES", "10"},
    {"CALLENGTH", "1.0"},
    {"AMPLITUDE", "0.25"},
    {"FREQUENCY", "32"},
    {"OSCILLATE", "1"},
    {"HISTOGRAM_BINS", "50"},
    {"SUB_MEAN", "1"},
    {"SUB_DRIFT", "0"},
    {"FIT_LOWEND", "10.0"},
    {"FIT_HIGHEND", "5000.0"},
    {"FIT_DISPLAY", "8000.0"},
    {"MEDIUM", "1"},
    {"ETA", "0.001"},
    {"TEMPERATURE", "293.15"},
    {"DIAMETER", "1.0"},
    {"LINESCAN_LENGTH", "0.4"},
    {"LINESCAN_STEPS", "21"},
    {"LINESCAN_AVERAGES", "1000"},
    {"MAX_FFT", "20000"},
    {"STARTUP_VALUES", "\"default.cal\""},
};

static const char kCalibration[] =
    "[TRAP A]\r\nBETACOUNT = 1\r\nKCOUNT = 1\r\nBETA_X_0 = 1.5\r\nBETA_Y_0 = 2.5\r\n"
    "BETA_Z_0 = 3.5\r\nK_X_0 = 4.5\r\nK_Y_0 = 5.5\r\nK_Z_0 = 6.5\r\n"
    "[TRAP B]\r\nBETACOUNT = 1\r\nKCOUNT = 1\r\nBETA_X_0 = -1.5\r\nBETA_Y_0 = -2.5\r\n"
    "BETA_Z_0 = -3.5\r\nK_X_0 = -4.5\r\nK_Y_0 = -5.5\r\nK_Z_0 = -6.5\r\n";

void ForceCalTest::ResetForceCal()
{
    for (auto &path : g_forceCal.Data) {
        for (ZVK_ForceCalDataContainer &data : path) {
            ZVK_ForceCal_ClearDataContainer(0, &data);
            for (int i = 0; i < kSignals; ++i) {
                Release(data.FD[i]);
                Release(data.LSData[i]);
                Release(data.LSPosition[i]);
                Release(data.LSFitData[i]);
                Release(data.LSFitCurve[i]);
                Release(data.LSFitPosition[i]);
            }
        }
    }
    ReplaceTables(0, 0, nullptr, 0, nullptr);
    ReplaceTables(1, 0, nullptr, 0, nullptr);
    g_forceCal = {};
}

void ForceCalTest::SetUp()
{
    ForceTest::SetUp();
    ResetForceCal();
}

void ForceCalTest::TearDown()
{
    ResetForceCal();
    ForceTest::TearDown();
}

void ForceCalTest::PretendUp()
{
    g_forceCal.Installed = 1;
    g_forceCal.Initialised = 1;
    for (int32_t path = 0; path < 2; ++path) {
        for (ZVK_ForceCalDataContainer &data : g_forceCal.Data[path])
            data.Path = path;
    }
}

void ForceCalTest::WriteCalConfig(const std::map<std::string, std::string> &changes) const
{
    WriteConfig();
    std::string text = folder.Read("config.ini") + "[FORCECAL]\r\n";
    for (const auto &[key, value] : kUsualKeys) {
        const auto change = changes.find(key);
        const std::string put = change == changes.end() ? value : change->second;
        if (put != "-") text += std::string(key) + " = " + put + "\r\n";
    }
    folder.Write("config.ini", text);
    folder.Write("default.cal", kCalibration);
}

void ForceCalTest::PutSeries(ZVK_ForceCalDataContainer &data,
                             const std::vector<double> (&signals)[3], int32_t averages,
                             double sampleRate)
{
    const auto count = static_cast<int32_t>(signals[0].size());
    ASSERT_TRUE(RenewArrays({&data.TD[0], &data.TD[1], &data.TD[2]}, count));
    for (int i = 0; i < kSignals; ++i)
        std::copy(signals[i].begin(), signals[i].end(), data.TD[i]);
    data.TDValid = 1;
    data.NumberOfSamples = count;
    data.Averages = averages;
    data.SampleRate = sampleRate;
    ASSERT_EQ(ZVK_ForceCal_CreateTDAxis(&data), 0);
}

void ForceCalTest::PutSpectrum(ZVK_ForceCalDataContainer &data, const std::vector<double> &power,
                               double measurementTime)
{
    const auto count = static_cast<int32_t>(power.size());
    ASSERT_TRUE(EnsureSpectrumArrays(data));
    ASSERT_LE(count, SpectrumRoom());
    ASSERT_TRUE(RenewArrays({&data.FDAxis}, count));
    for (int32_t k = 0; k < count; ++k) {
        data.FDAxis[k] = k / measurementTime;
        for (double *spectrum : data.FD)
            spectrum[k] = power[k];
    }
    data.NumberOfFrequencies = count;
    data.MeasurementTime = measurementTime;
    data.FDValid = 1;
}

static int64_t ReadValues(const double *values, int64_t count)
{
    const volatile double *read = values;  // so that no read is left out
    double sum = 0.0;
    for (int64_t k = 0; k < count; ++k)
        sum += read[k];
    return std::isnan(sum) ? count : std::max<int64_t>(count, 0);
}

int64_t ForceCalTest::ReadAllHandedOut()
{
    int64_t read = 0;
    for (int32_t place = 0; place < 8 * 11 * kSignals; ++place) {
        const int32_t type = 1 << place / (8 * kSignals);
        int32_t entries = 0;
        double *data = nullptr;
        double *axis = nullptr;
        double *axis2 = nullptr;
        if (ZVK_ForceCal_ReturnData(0, place / 4 % 2, place % 4, type, place / 8 % kSignals,
                                    &entries, &data, &axis, &axis2, nullptr, nullptr) != 0)
            continue;
        const int64_t rows = type == ZVK_FORCECAL_HISTOGRAM_2D ? entries : 1;
        read += ReadValues(data, entries * rows) + ReadValues(axis, entries);
        if (axis2 != nullptr) read += ReadValues(axis2, entries);
    }
    return read;
}
