// The data files: their bytes, the way back, and files that were cut off or spoilt.

#include "forcecal_fixture.h"

#include "failing_files.h"
#include "failing_memory.h"
#include "force/forcecal_files.h"
#include "platform/memory.h"

#include <algorithm>
#include <clocale>
#include <cmath>

static const char kRule[] = "########################################################\n";

class ForceCalFiles : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        PretendUp();
        g_forceCal.MaxFFT = 5000;
        g_forceCal.Bins = 5;
        g_forceCal.FitStartFrequency = 0.5;
        g_forceCal.FitStopFrequency = 1000.0;
        base = folder.Path("run_");
    }

    // A short series with a spectrum in one container.
    static void PutRun(int path, int run, int32_t count = 32)
    {
        std::vector<double> x(count);
        std::vector<double> y(count);
        std::vector<double> sum(count);
        for (int32_t k = 0; k < count; ++k) {
            x[k] = std::sin(0.7 * k + path + run);
            y[k] = -0.25 * x[k] + 1e-3 * k;
            sum[k] = 5.0 + 0.01 * (k % 7);
        }
        ZVK_ForceCalDataContainer &data = g_forceCal.Data[path][run];
        PutSeries(data, {x, y, sum}, 2, 8.0);
        data.OscFrequency = run == 3 ? -1.0 : 2.0;
        data.OscAmplitude = run == 3 ? 0.0 : 0.25;
        ASSERT_EQ(ZVK_ForceCal_CorrectTD(&data), 0);
        ASSERT_EQ(ZVK_ForceCal_ComputeFD(&data), 0);
    }

    int32_t Save() const { return ZVK_ForceCal_SaveData(0, base.c_str()); }
    int32_t Load() const { return ZVK_ForceCal_LoadData(0, base.c_str()); }

    // A fresh process, as far as this module goes.
    static void Forget()
    {
        ResetForceCal();
        PretendUp();
        g_forceCal.MaxFFT = 5000;
        g_forceCal.Bins = 5;
        g_forceCal.FitStartFrequency = 0.5;
        g_forceCal.FitStopFrequency = 1000.0;
    }

    std::string base;
};

TEST_F(ForceCalFiles, SixteenFilesCarryTheirNames)
{
    EXPECT_EQ(Save(), 0);
    for (const char *path : {"A", "B"}) {
        for (const char *run : {"x", "y", "z", "n"}) {
            EXPECT_TRUE(folder.Holds(std::string("run_TD") + path + run + "dat"));
            EXPECT_TRUE(folder.Holds(std::string("run_FD") + path + run + "dat"));
        }
    }
    EXPECT_EQ(folder.CountFiles(), 16) << "and nothing beside them";
}

TEST_F(ForceCalFiles, ARunWithoutDataIsAHeaderOfZeros)
{
    ASSERT_EQ(Save(), 0);
    EXPECT_EQ(folder.Read("run_TDAxdat"),
              std::string(kRule) +
                  "# Samplerate: 0.000000\n# Number of Samples: 0\n# Number of Averages: 0\n"
                  "# Oscillation Frequency: 0.000000\n# Oscillation Amplitude: 0.000000\n" +
                  kRule);
    EXPECT_EQ(folder.Read("run_FDBndat"),
              std::string(kRule) +
                  "# Number of Frequencies: 0\n# Measurement Time [s]: 0.000000\n" + kRule);
}

TEST_F(ForceCalFiles, RowsHaveTheirFormatsAndTheSpectrumItsComma)
{
    ZVK_ForceCalDataContainer &data = g_forceCal.Data[0][0];
    PutSeries(data, {{1.0, -0.5}, {2.0, 0.25}, {1e-300, 1e10}}, 1, 4.0);
    data.OscFrequency = 32.0;
    data.OscAmplitude = 0.125;
    PutSpectrum(data, {3.0, 4.5}, 0.5);
    ASSERT_EQ(Save(), 0);
    EXPECT_EQ(folder.Read("run_TDAxdat"),
              std::string(kRule) +
                  "# Samplerate: 4.000000\n# Number of Samples: 2\n# Number of Averages: 1\n"
                  "# Oscillation Frequency: 32.000000\n# Oscillation Amplitude: 0.125000\n" +
                  kRule +
                  "0.000000000000e+00 1.000000000000e+00 2.000000000000e+00 1.000000000000e-300\n"
                  "2.500000000000e-01 -5.000000000000e-01 2.500000000000e-01 1.000000000000e+10\n");
    EXPECT_EQ(folder.Read("run_FDAxdat"),
              std::string(kRule) +
                  "# Number of Frequencies: 2\n# Measurement Time [s]: 0.500000\n" + kRule +
                  "0.000000000000e+00 3.000000000000e+00, 3.000000000000e+00 3.000000000000e+00\n"
                  "2.000000000000e+00 4.500000000000e+00, 4.500000000000e+00 4.500000000000e+00\n");
}

TEST_F(ForceCalFiles, ComeBackAsTheyWereWrittenWithTheSpectrumComputedAnew)
{
    for (int path = 0; path < 2; ++path) {
        for (int run = 0; run < 4; ++run)
            PutRun(path, run);
    }
    ASSERT_EQ(Save(), 0);
    const ZVK_ForceCalDataContainer &data = g_forceCal.Data[1][2];
    const std::vector<double> series(data.TD[1], data.TD[1] + 32);
    const std::vector<double> spectrum(data.FD[1], data.FD[1] + 8);
    Forget();
    ASSERT_EQ(Load(), 0);
    EXPECT_EQ(data.NumberOfSamples, 32);
    EXPECT_EQ(data.Averages, 2);
    EXPECT_EQ(data.SampleRate, 8.0);
    EXPECT_EQ(data.OscFrequency, 2.0);
    EXPECT_EQ(data.OscAmplitude, 0.25);
    EXPECT_EQ(data.OscAxis, 0) << "a load does not set it";
    EXPECT_EQ(data.NumberOfFrequencies, 8);
    EXPECT_EQ(data.TDValid, 1);
    EXPECT_EQ(data.FDFitValid, 1);
    for (int k = 0; k < 32; ++k)
        EXPECT_NEAR(data.TD[1][k], series[k], 1e-12);
    for (int k = 0; k < 8; ++k)
        EXPECT_NEAR(data.FD[1][k], spectrum[k], 1e-12);
    EXPECT_EQ(Load(), 0) << "and once more over itself";
}

TEST_F(ForceCalFiles, HistogramsComeBackOnlyIntoAContainerMarkedByARun)
{
    PutRun(0, 3);
    ASSERT_EQ(Save(), 0);
    Forget();
    ASSERT_EQ(Load(), 0);
    EXPECT_EQ(Still(0).PotValid, 0);
    Still(0).OscAxis = 3;
    ASSERT_EQ(Load(), 0);
    EXPECT_EQ(Still(0).PotValid, 1);
    EXPECT_NE(Still(0).Histogram2D[2], nullptr);
    EXPECT_EQ(Still(0).PotFitCurve[0], nullptr) << "potentials wait for their update";
}

TEST_F(ForceCalFiles, ASavedNothingIsLoadedAsNothing)
{
    ASSERT_EQ(Save(), 0);
    PutRun(0, 0);
    g_forceCal.Data[0][1].FDValid = 1;
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(g_forceCal.Data[0][0].TDValid, 0);
    EXPECT_EQ(g_forceCal.Data[0][0].FDValid, 0);
    EXPECT_EQ(g_forceCal.Data[0][1].FDValid, 0);
    ASSERT_EQ(Save(), 0) << "with the counts that the load left";
}

TEST_F(ForceCalFiles, AnotherLocaleChangesNothing)
{
    const char *name = std::setlocale(LC_ALL, "de_DE.UTF-8");
    if (name == nullptr) name = std::setlocale(LC_ALL, "C.UTF-8");
    ASSERT_NE(name, nullptr);
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    EXPECT_NE(folder.Read("run_TDAxdat").find("# Samplerate: 8.000000\n"), std::string::npos);
    Forget();
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(g_forceCal.Data[0][0].SampleRate, 8.0);
    std::setlocale(LC_ALL, "C");
}

TEST_F(ForceCalFiles, TheSiblingKitHasThreeFilesOfItsOwn)
{
    ZVK_ForceCalDataContainer &data = Still(0);
    PutSeries(data, {{1.0}, {2.0}, {3.0}}, 1, 4.0);
    ASSERT_TRUE(RenewArrays({&data.LSData[0], &data.LSPosition[0]}, 2));
    data.LSEntries[0] = 2;
    data.LSPosition[0][1] = 0.5;
    data.LSData[0][1] = 0.25;
    EXPECT_EQ(ZVK_ForceCal_SaveDataRWQS(0, base.c_str()), 0);
    EXPECT_EQ(folder.CountFiles(), 3);
    EXPECT_EQ(folder.Read("run_TDdat"),
              std::string(kRule) +
                  "# Samplerate: 4.000000\n# Number of Samples: 1\n# Number of Averages: 1\n" +
                  kRule +
                  "0.000000000000e+00 1.000000000000e+00 2.000000000000e+00 3.000000000000e+00\n");
    EXPECT_EQ(folder.Read("run_FDdat"),
              std::string(kRule) +
                  "# Number of Frequencies: 0\n# Measurement Time [s]: 0.000000\n" + kRule);
    EXPECT_EQ(folder.Read("run_LSdat"),
              std::string(kRule) + "# Number of Samples: 2\n# Number of Averages: 0\n" + kRule +
                  "0.000000000000e+00 0.000000000000e+00 0.000000000000e+00 0.000000000000e+00\n"
                  "5.000000000000e-01 2.500000000000e-01 0.000000000000e+00 0.000000000000e+00\n");
}

TEST_F(ForceCalFiles, TheLineScansRowsHoldBothAxesAsManyAsTheFirstHas)
{
    ZVK_ForceCalDataContainer &data = Still(0);
    for (int axis = 0; axis < 2; ++axis) {
        data.LSEntries[axis] = axis == 0 ? 2 : 3;
        ASSERT_TRUE(RenewArrays({&data.LSData[axis], &data.LSPosition[axis]}, 3));
        for (int k = 0; k < 3; ++k) {
            data.LSPosition[axis][k] = axis + 0.25 * k;
            data.LSData[axis][k] = -axis - 0.5 * k;
        }
    }
    data.LSAveragesRecorded = 12;
    ASSERT_EQ(ZVK_ForceCal_SaveDataRWQS(0, base.c_str()), 0);
    EXPECT_EQ(folder.Read("run_LSdat"),
              std::string(kRule) + "# Number of Samples: 2\n# Number of Averages: 12\n" + kRule +
                  "0.000000000000e+00 0.000000000000e+00 1.000000000000e+00 -1.000000000000e+00\n"
                  "2.500000000000e-01 -5.000000000000e-01 1.250000000000e+00 "
                  "-1.500000000000e+00\n");
}

TEST_F(ForceCalFiles, AllFilesAreOpenedBeforeTheFirstIsWrittenOrRead)
{
    std::vector<std::string> names;
    for (const char *domain : {"TD", "FD"}) {
        for (const char *run : {"Ax", "Ay", "Az", "An", "Bx", "By", "Bz", "Bn"})
            names.push_back(std::string("run_") + domain + run + "dat");
    }
    const auto opened = [](const FailingFiles &files, const char *until) {
        std::vector<std::string> list;
        for (const std::string &call : files.Calls()) {
            if (call.rfind(until, 0) == 0) break;
            if (call.rfind("open ", 0) == 0) list.push_back(call.substr(5, call.find('~') - 5));
        }
        return list;
    };
    {
        const FailingFiles files;
        ASSERT_EQ(Save(), 0);
        EXPECT_EQ(opened(files, "write"), names);
    }
    const FailingFiles files;
    ASSERT_EQ(Load(), 0);
    for (std::string &name : names)
        name += " read";
    EXPECT_EQ(opened(files, "read"), names);
}

TEST_F(ForceCalFiles, AFileThatCantBeOpenedIsAStatusAndNothingIsRead)
{
    EXPECT_EQ(Load(), ZVK_FORCECAL_FILE_FAILED);
    EXPECT_EQ(ZVK_ForceCal_LoadData(0, nullptr), ZVK_FORCECAL_FILE_FAILED);
    EXPECT_EQ(ZVK_ForceCal_SaveData(0, nullptr), ZVK_FORCECAL_FILE_FAILED);
    EXPECT_EQ(ZVK_ForceCal_SaveData(0, folder.Path("none/run_").c_str()), ZVK_FORCECAL_FILE_FAILED);
    EXPECT_EQ(ZVK_ForceCal_SaveDataRWQS(0, folder.Path("none/run_").c_str()),
              ZVK_FORCECAL_FILE_FAILED);
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    Forget();
    folder.Remove("run_FDBndat");
    EXPECT_EQ(Load(), ZVK_FORCECAL_FILE_FAILED);
    EXPECT_EQ(g_forceCal.Data[0][0].TDValid, 0);
}

TEST_F(ForceCalFiles, AnEmptyOrCutFileKeepsWhatItDoesNotHave)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    const std::string whole = folder.Read("run_TDAxdat");
    for (size_t length = 0; length <= whole.size(); length += 13) {
        Forget();
        folder.Write("run_TDAxdat", whole.substr(0, length));
        const int32_t status = Load();
        EXPECT_TRUE(status == 0 || status == ZVK_FORCECAL_NO_TIME_DATA) << length;
        if (g_forceCal.Data[0][0].TDValid == 0) continue;
        EXPECT_EQ(g_forceCal.Data[0][0].NumberOfSamples, 32) << "as the header has it";
    }
    EXPECT_EQ(g_forceCal.Data[0][0].TDValid, 1);
}

TEST_F(ForceCalFiles, MissingRowsAreZero)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    std::string text = folder.Read("run_TDAxdat");
    const double last = g_forceCal.Data[0][0].TD[2][31];
    text.replace(text.find("Samples: 32"), 11, "Samples: 8000");
    folder.Write("run_TDAxdat", text);
    Forget();
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(g_forceCal.Data[0][0].NumberOfSamples, 8000);
    EXPECT_EQ(g_forceCal.Data[0][0].NumberOfFrequencies, 2000);
    EXPECT_NEAR(g_forceCal.Data[0][0].TD[2][31], last, 1e-12);
    EXPECT_EQ(g_forceCal.Data[0][0].TD[2][32], 0.0);
    EXPECT_EQ(g_forceCal.Data[0][0].TD[2][7999], 0.0);
}

TEST_F(ForceCalFiles, ACountThatTheFileCannotHoldIsNotBelieved)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    for (const char *count : {"65537", "2147483647", "99999999999", "-5"}) {
        Forget();
        std::string text = folder.Read("run_TDAxdat");
        const size_t at = text.find("Samples: ") + 9;
        text.replace(at, text.find('\n', at) - at, count);
        folder.Write("run_TDAxdat", text);
        EXPECT_EQ(Load(), ZVK_FORCECAL_NO_TIME_DATA) << count;
        EXPECT_EQ(g_forceCal.Data[0][0].TDValid, 0);
        EXPECT_EQ(g_forceCal.Data[0][0].NumberOfSamples, 0);
    }
}

TEST_F(ForceCalFiles, ASpectrumLongerThanItsRoomIsCutAndComputedAnew)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    Forget();
    std::string text = folder.Read("run_FDAxdat");
    const size_t at = text.find("Frequencies: ") + 13;
    text.replace(at, text.find('\n', at) - at, "300");
    folder.Write("run_FDAxdat", text);
    g_forceCal.MaxFFT = 9;
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(g_forceCal.Data[0][0].NumberOfFrequencies, 8);
    Forget();
    g_forceCal.MaxFFT = 3;
    EXPECT_EQ(Load(), ZVK_FORCECAL_SPECTRUM_TOO_LONG);
    double *spectrum = nullptr;
    double *axis = nullptr;
    int32_t entries = 0;
    ASSERT_EQ(ZVK_ForceCal_ReturnData(0, 0, 0, 4, 0, &entries, &spectrum, &axis, nullptr, nullptr,
                                      nullptr),
              0)
        << "the file's own spectrum serves";
    EXPECT_LE(entries, 4);
}

TEST_F(ForceCalFiles, AHeaderWithoutALineStillLeadsToItsRows)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    const std::string whole = folder.Read("run_TDAxdat");
    const double second = g_forceCal.Data[0][0].TD[0][1];
    const std::string rule = kRule;
    const std::string amplitude = "# Oscillation Amplitude: 0.250000\n";
    for (const std::string &line : {amplitude, rule}) {
        std::string text = whole;
        text.erase(text.rfind(line), line.size());
        folder.Write("run_TDAxdat", text);
        Forget();
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(g_forceCal.Data[0][0].NumberOfSamples, 32);
        EXPECT_NEAR(g_forceCal.Data[0][0].TD[0][1], second, 1e-12) << line;
        EXPECT_EQ(g_forceCal.Data[0][0].OscAmplitude, line == rule ? 0.25 : 0.0);
    }
}

TEST_F(ForceCalFiles, AValueThatIsNoneKeepsWhatTheContainerHad)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    std::string text = folder.Read("run_TDAxdat");
    text.replace(text.find("8.000000"), 8, "fast");
    folder.Write("run_TDAxdat", text);
    g_forceCal.Data[0][0].SampleRate = 4.0;
    g_forceCal.Data[0][0].NumberOfSamples = 6;
    g_forceCal.Data[0][0].Averages = 3;
    EXPECT_EQ(Load(), 0);
    const ZVK_ForceCalDataContainer &data = g_forceCal.Data[0][0];
    EXPECT_EQ(data.SampleRate, 4.0);
    EXPECT_EQ(data.NumberOfSamples, 6) << "the lines behind it are not found either";
    EXPECT_EQ(data.Averages, 3);
    EXPECT_EQ(data.NumberOfFrequencies, 1);
    EXPECT_EQ(data.TD[0][0], 0.0) << "nor the rows";
}

TEST_F(ForceCalFiles, RunsOfLessThanATenthOfAMillihertzAreEmpty)
{
    PutRun(0, 0);
    PutRun(0, 1);
    ASSERT_EQ(Save(), 0);
    const auto withRate = [this](const char *name, const std::string &rate) {
        std::string text = folder.Read(name);
        const size_t at = text.find("Samplerate: ") + 12;
        text.replace(at, text.find('\n', at) - at, rate);
        folder.Write(name, text);
    };
    withRate("run_TDAxdat", "0.00009999");
    withRate("run_TDAydat", "0.0001");
    Forget();
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(g_forceCal.Data[0][0].TDValid, 0);
    EXPECT_EQ(g_forceCal.Data[0][1].TDValid, 1);
    withRate("run_TDAxdat", "-8.0");
    withRate("run_TDAydat", "nan");
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(g_forceCal.Data[0][0].FDValid, 0);
}

TEST_F(ForceCalFiles, AnEmptyRunOverAFullOneLeavesTheSpectrumForTheNextSave)
{
    ASSERT_EQ(Save(), 0);
    PutRun(0, 0);
    const std::string header = "# Number of Frequencies: 8\n";
    ASSERT_EQ(Load(), 0);
    EXPECT_EQ(g_forceCal.Data[0][0].FDValid, 0);
    ASSERT_EQ(Save(), 0);
    EXPECT_NE(folder.Read("run_FDAxdat").find(header), std::string::npos);
    ASSERT_EQ(ZVK_ForceCal_Shutdown(0), 0);
    ASSERT_EQ(Save(), 0) << "and without the arrays there are no rows";
    EXPECT_EQ(folder.Read("run_FDAxdat").find(header), std::string::npos);
}

TEST_F(ForceCalFiles, TheReaderOfASpectrumWantsItsComma)
{
    PutRun(0, 0);
    g_forceCal.Data[0][0].FD[1][0] = 42.0;
    ASSERT_EQ(Save(), 0);
    g_forceCal.MaxFFT = 3;  // what is computed anew is too long, so the file's own stays
    Forget();
    g_forceCal.MaxFFT = 3;
    EXPECT_EQ(Load(), ZVK_FORCECAL_SPECTRUM_TOO_LONG);
    EXPECT_EQ(g_forceCal.Data[0][0].FD[1][0], 42.0);
    std::string text = folder.Read("run_FDAxdat");
    for (size_t at = text.find(','); at != std::string::npos; at = text.find(','))
        text.erase(at, 1);
    folder.Write("run_FDAxdat", text);
    Forget();
    g_forceCal.MaxFFT = 3;
    EXPECT_EQ(Load(), ZVK_FORCECAL_SPECTRUM_TOO_LONG);
    EXPECT_EQ(g_forceCal.Data[0][0].FD[1][0], 0.0);
}

TEST_F(ForceCalFiles, AStatusEndsTheWholeLoad)
{
    PutRun(0, 0);
    PutRun(0, 1);
    ASSERT_EQ(Save(), 0);
    std::string text = folder.Read("run_TDAxdat");
    text.replace(text.find("Samples: 32"), 11, "Samples: 0");
    folder.Write("run_TDAxdat", text);
    Forget();
    EXPECT_EQ(Load(), ZVK_FORCECAL_NO_TIME_DATA);
    EXPECT_EQ(g_forceCal.Data[0][1].TDValid, 0) << "the runs behind it are not loaded";
}

TEST_F(ForceCalFiles, TimesInTheRowsAreMultiplesOfTheStep)
{
    const std::vector<double> x(4, 1.0);
    PutSeries(g_forceCal.Data[0][0], {x, x, x}, 1, 3.0);
    PutSpectrum(g_forceCal.Data[0][0], {1, 1, 1, 1}, 3.0);
    ASSERT_EQ(Save(), 0);
    EXPECT_NE(folder.Read("run_TDAxdat").find("\n6.666666666667e-01 "), std::string::npos);
    EXPECT_NE(folder.Read("run_FDAxdat").find("\n6.666666666667e-01 "), std::string::npos);
}

TEST_F(ForceCalFiles, TheRawSeriesIsStoredAndNotTheCorrectedOne)
{
    g_forceCal.SubtractMean = 1;
    const std::vector<double> x(4, 1.0);
    PutSeries(g_forceCal.Data[0][0], {x, x, x}, 1, 4.0);
    ASSERT_EQ(ZVK_ForceCal_CorrectTD(&g_forceCal.Data[0][0]), 0);
    ASSERT_EQ(Save(), 0);
    EXPECT_NE(folder.Read("run_TDAxdat").find("\n0.000000000000e+00 1.000000000000e+00 1.0"),
              std::string::npos);
}

TEST_F(ForceCalFiles, NamesAreCutAt4096Characters)
{
    std::string path = folder.Path();
    while (path.size() < 4000)
        path += "/.";
    path += "/run_";
    EXPECT_EQ(ZVK_ForceCal_SaveData(0, path.c_str()), 0) << "long, but a path still";
    EXPECT_TRUE(folder.Holds("run_FDBndat"));
    EXPECT_EQ(ZVK_ForceCal_LoadData(0, path.c_str()), 0);
    EXPECT_EQ(DataFilePath(std::string(4096, 'a').c_str(), "TDAxdat"), std::string(4096, 'a'));
    EXPECT_EQ(DataFilePath(std::string(4090, 'a').c_str(), "TDAxdat"),
              std::string(4090, 'a') + "TDAxda");
    EXPECT_EQ(DataFilePath(std::string(4089, 'a').c_str(), "TDAxdat"),
              std::string(4089, 'a') + "TDAxdat");
}

TEST_F(ForceCalFiles, NoAveragesEndTheLoad)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    std::string text = folder.Read("run_TDAxdat");
    text.replace(text.find("Averages: 2"), 11, "Averages: 0");
    folder.Write("run_TDAxdat", text);
    Forget();
    EXPECT_EQ(Load(), ZVK_FORCECAL_NO_TIME_DATA);
}

TEST_F(ForceCalFiles, EachFileCallThatFailsLeavesTheOldFilesAndNoOthers)
{
    PutRun(0, 0, 8);
    ASSERT_EQ(Save(), 0);
    const std::string old = folder.Read("run_TDAxdat");
    PutRun(0, 0, 16);
    for (int nth = 1;; ++nth) {
        FailingFiles files;
        files.FailAt(nth);
        const int32_t status = Save();
        EXPECT_EQ(files.OpenFiles(), 0) << nth;
        if (!files.Failed()) {
            EXPECT_EQ(status, 0);
            break;
        }
        EXPECT_EQ(folder.CountFiles(), 16) << nth;
        EXPECT_TRUE(status == 0 || status == ZVK_FORCECAL_FILE_FAILED) << nth;
        if (folder.Read("run_TDAxdat") != old) break;  // from here on the files take their places
    }
}

TEST_F(ForceCalFiles, EachReadThatFailsNeitherLeaksNorHangs)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    for (int nth = 1;; ++nth) {
        Forget();
        FailingFiles files;
        files.FailAt(nth);
        (void)Load();
        EXPECT_EQ(files.OpenFiles(), 0) << nth;
        if (!files.Failed()) break;
    }
}

TEST_F(ForceCalFiles, EachAllocationOfALoadThatFailsIsAStatus)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    for (int nth = 1;; ++nth) {
        Forget();
        FailingMemory memory;
        memory.FailAt(nth);
        ::testing::internal::CaptureStdout();
        const int32_t status = Load();
        (void)::testing::internal::GetCapturedStdout();
        const bool failed = memory.Failed();
        // Fit and histograms are ignored in a load; all before them is not.
        EXPECT_TRUE(status == ZVK_FORCE_NO_MEMORY || g_forceCal.Data[0][0].FDValid == 1) << nth;
        ResetForceCal();
        EXPECT_EQ(memory.Live(), 0) << nth;
        if (!failed) break;
    }
}
