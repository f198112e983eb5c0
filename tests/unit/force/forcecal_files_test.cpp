// The data files: their names, their bytes, and what a save that fails leaves.

#include "forcecal_files_fixture.h"

#include "failing_files.h"
#include "force/forcecal_files.h"
#include "platform/memory.h"

#include <algorithm>
#include <clocale>
#include <cmath>
#include <filesystem>

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
        const std::string call = files.Calls()[static_cast<size_t>(nth) - 1];
        for (const char *needed : {"write", "sync", "close", "rename"})
            EXPECT_TRUE(call.rfind(needed, 0) != 0 || status == ZVK_FORCECAL_FILE_FAILED) << call;
        if (folder.Read("run_TDAxdat") != old) break;  // from here on the files take their places
    }
}

TEST_F(ForceCalFiles, AFileThatTakesAnothersPlaceHasItsPermissions)
{
    ASSERT_EQ(Save(), 0);
    std::filesystem::permissions(folder.Path("run_TDAxdat"), std::filesystem::perms{0640});
    ASSERT_EQ(Save(), 0);
    EXPECT_EQ(std::filesystem::status(folder.Path("run_TDAxdat")).permissions(),
              std::filesystem::perms{0640});
}

TEST_F(ForceCalFiles, AFileThatMayNotBeWrittenIsAStatusAndNoneChanges)
{
    PutRun(0, 0, 8);
    ASSERT_EQ(Save(), 0);
    const std::string old = folder.Read("run_TDAxdat");
    PutRun(0, 0, 16);
    std::filesystem::permissions(folder.Path("run_FDBndat"), std::filesystem::perms{0444});
    EXPECT_EQ(Save(), ZVK_FORCECAL_FILE_FAILED);
    EXPECT_EQ(folder.Read("run_TDAxdat"), old);
    EXPECT_EQ(folder.CountFiles(), 16);
}
