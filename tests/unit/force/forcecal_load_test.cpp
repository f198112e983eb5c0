// The way back from the data files, also from files that were cut off or spoilt.

#include "forcecal_files_fixture.h"

#include "failing_files.h"
#include "failing_memory.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

class ForceCalLoad : public ForceCalFiles
{
protected:
    static void PutPeaks();
};

TEST_F(ForceCalLoad, ComeBackAsTheyWereWrittenWithTheSpectrumComputedAnew)
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

// Runs with a peak at 32 Hz in each container, and what a run marks it with.
void ForceCalLoad::PutPeaks()
{
    std::mt19937_64 generator(640);
    std::normal_distribution<double> normal;
    for (int path = 0; path < 2; ++path) {
        for (int run = 0; run < 4; ++run) {
            ZVK_ForceCalDataContainer &data = g_forceCal.Data[path][run];
            std::vector<double> signals[3];
            double position[3] = {};
            for (int k = 0; k < 2048; ++k) {
                for (int s = 0; s < 3; ++s) {
                    position[s] = 0.6 * position[s] + 0.01 * (s + 1 + path) * normal(generator);
                    const double peak = s == run ? 0.1 * std::sin(std::numbers::pi / 32.0 * k) : 0;
                    signals[s].push_back(position[s] + peak);
                }
            }
            data.OscAxis = run;
            data.OscFrequency = run == 3 ? -1.0 : 32.0;
            data.OscAmplitude = run == 3 ? 0.0 : 0.25;
            PutSeries(data, {signals[0], signals[1], signals[2]}, 2, 2048.0);
        }
    }
}

static std::vector<double> UpdatedTables()
{
    EXPECT_EQ(ZVK_ForceCal_UpdatePotFits(0), 0);
    EXPECT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
    std::vector<double> all;
    for (int path = 0; path < 2; ++path) {
        all.insert(all.end(), g_forceCal.Beta[path], g_forceCal.Beta[path] + 3);
        all.insert(all.end(), g_forceCal.K[path], g_forceCal.K[path] + 9);
    }
    return all;
}

TEST_F(ForceCalLoad, GiveTheSameTablesOfTheCalibrationAgain)
{
    g_forceCal.Temperature = 293.15;
    ASSERT_NO_FATAL_FAILURE(PutPeaks());
    for (auto &path : g_forceCal.Data) {
        for (ZVK_ForceCalDataContainer &data : path) {
            ASSERT_EQ(ZVK_ForceCal_CorrectTD(&data), 0);
            ASSERT_EQ(ZVK_ForceCal_ComputeFD(&data), 0);
            ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&data), 0);
            ASSERT_EQ(ZVK_ForceCal_Create1DBinning(&data), 0);
        }
    }
    const std::vector<double> tables = UpdatedTables();
    ASSERT_EQ(Save(), 0);
    Forget();
    g_forceCal.Temperature = 293.15;
    for (auto &path : g_forceCal.Data) {
        for (int run = 0; run < 4; ++run)
            path[run].OscAxis = run;
    }
    ASSERT_EQ(Load(), 0);
    const std::vector<double> again = UpdatedTables();
    for (size_t i = 0; i < tables.size(); ++i) {
        EXPECT_TRUE(std::isfinite(tables[i])) << i;
        EXPECT_NEAR(again[i] / tables[i], 1.0, 1e-6) << i;  // as far as a fit on noise is told
    }
}

TEST_F(ForceCalLoad, HistogramsComeBackOnlyIntoAContainerMarkedByARun)
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

TEST_F(ForceCalLoad, ASavedNothingIsLoadedAsNothing)
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

TEST_F(ForceCalLoad, AnEmptyOrCutFileKeepsWhatItDoesNotHave)
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

TEST_F(ForceCalLoad, MissingRowsAreZero)
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

TEST_F(ForceCalLoad, ACountThatTheFileCannotHoldIsNotBelieved)
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

TEST_F(ForceCalLoad, ASpectrumLongerThanItsRoomIsCutAndComputedAnew)
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

TEST_F(ForceCalLoad, AHeaderWithoutALineStillLeadsToItsRows)
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

TEST_F(ForceCalLoad, AValueThatIsNoneKeepsWhatTheContainerHad)
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

TEST_F(ForceCalLoad, RunsOfLessThanATenthOfAMillihertzAreEmpty)
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

TEST_F(ForceCalLoad, TheReaderOfASpectrumWantsItsComma)
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

TEST_F(ForceCalLoad, AStatusEndsTheWholeLoad)
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

TEST_F(ForceCalLoad, NoAveragesEndTheLoad)
{
    PutRun(0, 0);
    ASSERT_EQ(Save(), 0);
    std::string text = folder.Read("run_TDAxdat");
    text.replace(text.find("Averages: 2"), 11, "Averages: 0");
    folder.Write("run_TDAxdat", text);
    Forget();
    EXPECT_EQ(Load(), ZVK_FORCECAL_NO_TIME_DATA);
}

TEST_F(ForceCalLoad, EachReadThatFailsNeitherLeaksNorHangs)
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

TEST_F(ForceCalLoad, EachAllocationOfALoadThatFailsIsAStatus)
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
