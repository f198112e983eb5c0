#include "forcecal_fixture.h"

#include "failing_memory.h"

#include <cmath>
#include <functional>
#include <limits>
#include <malloc.h>

using ForceCalInit = ForceCalTest;

static int32_t InitStatus()
{
    int32_t status = 77;
    EXPECT_EQ(ZVK_ForceCal_GetInitStatus(0, &status), 0);
    return status;
}

TEST_F(ForceCalInit, ReadsItsKeysMakesRoomAndLoadsTheStartValues)
{
    WriteCalConfig();
    EXPECT_EQ(InitStatus(), 0);
    EXPECT_EQ(ZVK_ForceCal_Init(0, 1, 1), 0);
    EXPECT_EQ(InitStatus(), 1);
    EXPECT_EQ(g_forceCal.Averages, 10);
    EXPECT_EQ(g_forceCal.CalLength, 1.0);
    EXPECT_EQ(g_forceCal.Amplitude, 0.25);
    EXPECT_EQ(g_forceCal.Frequency, 32);
    EXPECT_EQ(g_forceCal.Oscillate, 1);
    EXPECT_EQ(g_forceCal.Bins, 50);
    EXPECT_EQ(g_forceCal.SubtractMean, 1);
    EXPECT_EQ(g_forceCal.SubtractDrift, 0);
    EXPECT_EQ(g_forceCal.FitStartFrequency, 10.0);
    EXPECT_EQ(g_forceCal.FitStopFrequency, 5000.0);
    EXPECT_EQ(g_forceCal.DisplayStopFrequency, 8000.0);
    EXPECT_EQ(g_forceCal.Medium, 1);
    EXPECT_EQ(g_forceCal.Viscosity, 0.001);
    EXPECT_EQ(g_forceCal.Temperature, 293.15);
    EXPECT_EQ(g_forceCal.Diameter, 1.0);
    EXPECT_EQ(g_forceCal.LSLength, 0.4);
    EXPECT_EQ(g_forceCal.LSSteps, 21);
    EXPECT_EQ(g_forceCal.LSAverages, 1000);
    EXPECT_EQ(g_forceCal.MaxFFT, 20000);
    EXPECT_STREQ(g_forceCal.StartupValues, "default.cal");
    for (int path = 0; path < 2; ++path) {
        const double sign = path == 0 ? 1.0 : -1.0;
        EXPECT_EQ(g_forceCal.NumberOfBetas[path], 1);
        EXPECT_EQ(g_forceCal.Beta[path][2], sign * 3.5);
        EXPECT_EQ(g_forceCal.K[path][0], sign * 4.5);
        for (const ZVK_ForceCalDataContainer &data : g_forceCal.Data[path]) {
            EXPECT_EQ(data.Path, path);
            for (const double *spectrum : data.FD)
                EXPECT_NE(spectrum, nullptr);
        }
    }
}

TEST_F(ForceCalInit, ASecondOneIsAnErrorAlsoBehindAShutdown)
{
    WriteCalConfig();
    ASSERT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0);
    folder.Remove("config.ini");
    EXPECT_EQ(ZVK_ForceCal_Init(0, 0, 0), ZVK_FORCECAL_ALREADY_INITIALIZED);
    EXPECT_EQ(ZVK_ForceCal_Shutdown(0), 0);
    EXPECT_EQ(ZVK_ForceCal_Init(0, 0, 0), ZVK_FORCECAL_ALREADY_INITIALIZED);
    EXPECT_EQ(InitStatus(), 1);
}

TEST_F(ForceCalInit, NotInstalledIsAnErrorThatCountsAsInitialized)
{
    folder.Write("config.ini", "[FORCECAL]\r\nMI = 0\r\nSIMULATE = 1\r\n");
    EXPECT_EQ(ZVK_ForceCal_Init(0, 0, 0), ZVK_FORCECAL_NOT_INSTALLED);
    EXPECT_EQ(InitStatus(), -1);
    EXPECT_EQ(g_forceCal.Data[0][0].FD[0], nullptr) << "nothing else is read or made";
}

TEST_F(ForceCalInit, SimulatedShowsInTheStatusAlone)
{
    WriteCalConfig({{"SIMULATE", "1"}});
    EXPECT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0);
    EXPECT_EQ(InitStatus(), 2);
}

TEST_F(ForceCalInit, EachMissingKeyEndsItAndLaterFieldsStayAsTheyWere)
{
    const char *const keys[] = {"MI",
                                "SIMULATE",
                                "SWAPAXES",
                                "AVERAGES",
                                "CALLENGTH",
                                "AMPLITUDE",
                                "FREQUENCY",
                                "OSCILLATE",
                                "HISTOGRAM_BINS",
                                "SUB_MEAN",
                                "SUB_DRIFT",
                                "FIT_LOWEND",
                                "FIT_HIGHEND",
                                "FIT_DISPLAY",
                                "MEDIUM",
                                "ETA",
                                "TEMPERATURE",
                                "DIAMETER",
                                "LINESCAN_LENGTH",
                                "LINESCAN_STEPS",
                                "LINESCAN_AVERAGES",
                                "MAX_FFT",
                                "STARTUP_VALUES"};
    for (const char *key : keys) {
        ResetForceCal();
        WriteCalConfig({{key, "-"}});
        EXPECT_EQ(ZVK_ForceCal_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << key;
        EXPECT_EQ(InitStatus(), 0) << key;
    }
    ResetForceCal();
    WriteCalConfig({{"FREQUENCY", "-"}});
    (void)ZVK_ForceCal_Init(0, 0, 0);
    EXPECT_EQ(g_forceCal.Amplitude, 0.25) << "what stands before it is kept";
    EXPECT_EQ(g_forceCal.Frequency, 0);
    EXPECT_EQ(g_forceCal.Diameter, 0.0);
    EXPECT_EQ(g_forceCal.MaxFFT, 200000) << "its preset";
}

TEST_F(ForceCalInit, AFlagIsWhateverIsNotZero)
{
    WriteCalConfig({{"SWAPAXES", "-3"}, {"OSCILLATE", "0"}, {"SUB_DRIFT", "2"}});
    ASSERT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0);
    uint16_t flag = 77;
    EXPECT_EQ(ZVK_ForceCal_GetSwapAxes(0, &flag), 0);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(ZVK_ForceCal_GetOscillate(0, &flag), 0);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(ZVK_ForceCal_GetSubtractDrift(0, &flag), 0);
    EXPECT_EQ(flag, 1);
}

TEST_F(ForceCalInit, TheKeyOfTheBinsHasNoLeastValue)
{
    WriteCalConfig({{"HISTOGRAM_BINS", "3"}});
    ASSERT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0);
    EXPECT_EQ(g_forceCal.Bins, 3);
}

TEST_F(ForceCalInit, AStartFileThatCantBeReadIsTheStatus)
{
    WriteCalConfig();
    folder.Remove("default.cal");
    const int32_t status = ZVK_ForceCal_Init(0, 0, 0);
    EXPECT_LT(status, 0);
    EXPECT_EQ(InitStatus(), 0);
    WriteCalConfig();
    EXPECT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0) << "and it can be tried again";
}

TEST_F(ForceCalInit, AnotherTryHasTheRoomOfItsOwnLimit)
{
    WriteCalConfig({{"MAX_FFT", "10"}});
    folder.Remove("default.cal");
    ASSERT_LT(ZVK_ForceCal_Init(0, 0, 0), 0);
    const std::vector<double> x(20, 1.0);
    PutSeries(Still(), {x, x, x}, 1, 4.0);
    ASSERT_EQ(ZVK_ForceCal_CorrectTD(&Still()), 0);
    ASSERT_EQ(ZVK_ForceCal_ComputeFD(&Still()), 0);

    WriteCalConfig({{"MAX_FFT", "50000"}});
    ASSERT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0);
    for (double *spectrum : g_forceCal.Data[1][3].FD)
        spectrum[50000] = 1.0;  // inside, as a checker of addresses sees
    int32_t entries = 7;
    EXPECT_EQ(ZVK_ForceCal_ReturnData(0, 0, 3, 4, 0, &entries, nullptr, nullptr, nullptr, nullptr,
                                      nullptr),
              ZVK_FORCECAL_NO_SPECTRUM)
        << "the spectrum of before is gone";
}

TEST_F(ForceCalInit, EachAllocationThatFailsIsAStatusAndLeavesNothing)
{
    for (int nth = 1; nth <= 24; ++nth) {
        ResetForceCal();
        WriteCalConfig();
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_Init(0, 0, 0), ZVK_FORCE_NO_MEMORY) << nth;
        EXPECT_EQ(memory.Live(), 0);
        EXPECT_EQ(InitStatus(), 0);
    }
}

TEST_F(ForceCalInit, ShutdownFreesTheSpectraAlone)
{
    FailingMemory memory;
    WriteCalConfig();
    ASSERT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0);
    const int64_t up = memory.Live();
    EXPECT_EQ(ZVK_ForceCal_Shutdown(0), 0);
    EXPECT_EQ(memory.Live(), up - 24);
    EXPECT_EQ(g_forceCal.Data[1][3].FD[2], nullptr);
    EXPECT_EQ(g_forceCal.Beta[0][0], 1.5);
    EXPECT_EQ(ZVK_ForceCal_Shutdown(0), 0) << "twice is harmless";
    g_forceCal.Data[0][0].FDValid = 1;
    double *data = nullptr;
    double *axis = nullptr;
    int32_t entries = 7;
    EXPECT_EQ(
        ZVK_ForceCal_ReturnData(0, 0, 0, 4, 0, &entries, &data, &axis, nullptr, nullptr, nullptr),
        ZVK_FORCECAL_NO_SPECTRUM)
        << "nothing is handed out that is gone";
    ResetForceCal();
}

TEST_F(ForceCalInit, CalibrationsAreLoadedAndSavedBeforeInitToo)
{
    WriteCalConfig();
    EXPECT_EQ(ZVK_ForceCal_LoadCalibration(0, "default.cal"), 0);
    EXPECT_EQ(g_forceCal.Beta[1][0], -1.5);
    g_forceCal.Beta[1][0] = 12.25;
    const std::string other = folder.Path("other.cal");
    EXPECT_EQ(ZVK_ForceCal_SaveCalibration(0, other.c_str()), 0);
    ResetForceCal();
    EXPECT_EQ(ZVK_ForceCal_LoadCalibration(0, other.c_str()), 0);
    EXPECT_EQ(g_forceCal.Beta[1][0], 12.25);
    EXPECT_EQ(g_forceCal.K[0][2], 6.5);
}

TEST_F(ForceCalInit, ALoadThatFailsKeepsTheTables)
{
    WriteCalConfig();
    ASSERT_EQ(ZVK_ForceCal_LoadCalibration(0, "default.cal"), 0);
    FailingMemory memory;
    EXPECT_LT(ZVK_ForceCal_LoadCalibration(0, folder.Path("none.cal").c_str()), 0);
    EXPECT_EQ(g_forceCal.Beta[0][0], 1.5);
    folder.Write("half.cal", "[TRAP A]\r\nBETACOUNT = 1\r\nBETA_X_0 = 9\r\nBETA_Y_0 = 9\r\n");
    EXPECT_LT(ZVK_ForceCal_LoadCalibration(0, folder.Path("half.cal").c_str()), 0);
    EXPECT_EQ(g_forceCal.Beta[0][0], 1.5);
    EXPECT_EQ(memory.Live(), 0);
}

using Call = std::function<int32_t()>;

// Each setting, by a set and a get of a value of its own.
static std::vector<std::pair<Call, Call>> Settings(double &number, int32_t &whole, uint16_t &flag)
{
    return {
#define NUMBER(name)                                                                               \
    {                                                                                              \
        [] { return ZVK_ForceCal_Set##name(0, 1.5); },                                             \
            [&] { return ZVK_ForceCal_Get##name(0, &number); }                                     \
    }
#define WHOLE(name)                                                                                \
    {                                                                                              \
        [] { return ZVK_ForceCal_Set##name(0, 17); },                                              \
            [&] { return ZVK_ForceCal_Get##name(0, &whole); }                                      \
    }
#define FLAG(name)                                                                                 \
    {                                                                                              \
        [] { return ZVK_ForceCal_Set##name(0, 512); },                                             \
            [&] { return ZVK_ForceCal_Get##name(0, &flag); }                                       \
    }
        NUMBER(Temperature),
        NUMBER(LSLength),
        NUMBER(Diameter),
        NUMBER(Amplitude),
        NUMBER(FitStartFrequency),
        NUMBER(FitStopFrequency),
        NUMBER(DisplayStopFrequency),
        WHOLE(Medium),
        WHOLE(LSSteps),
        WHOLE(LSAverages),
        WHOLE(Frequency),
        WHOLE(Averages),
        WHOLE(Bins),
        FLAG(SubtractMean),
        FLAG(Oscillate),
        FLAG(SubtractDrift),
        FLAG(SwapAxes),
    };
}

TEST_F(ForceCalInit, EachSettingComesBackAsItWasSet)
{
    PretendUp();
    double number = 0;
    int32_t whole = 0;
    uint16_t flag = 0;
    for (const auto &[set, get] : Settings(number, whole, flag)) {
        number = 1.5;
        whole = 17;
        flag = 1;
        EXPECT_EQ(set(), 0);
        number = -1;
        whole = -1;
        flag = 77;
        EXPECT_EQ(get(), 0);
        EXPECT_TRUE(number == 1.5 || whole == 17 || flag == 1);
    }
    EXPECT_EQ(g_forceCal.SwapAxes, 1);
    EXPECT_EQ(ZVK_ForceCal_SetSwapAxes(0, 0), 0);
    EXPECT_EQ(g_forceCal.SwapAxes, 0);
}

TEST_F(ForceCalInit, EachSettingAsksForInitFirstThenForTheInstrument)
{
    double number = -1;
    int32_t whole = -1;
    uint16_t flag = 77;
    for (const auto &[set, get] : Settings(number, whole, flag)) {
        g_forceCal.Initialised = 0;
        g_forceCal.Installed = 0;
        EXPECT_EQ(set(), ZVK_FORCECAL_NOT_INITIALIZED);
        EXPECT_EQ(get(), ZVK_FORCECAL_NOT_INITIALIZED);
        g_forceCal.Initialised = 1;
        EXPECT_EQ(set(), ZVK_FORCECAL_NOT_INSTALLED);
        EXPECT_EQ(get(), ZVK_FORCECAL_NOT_INSTALLED);
    }
    EXPECT_EQ(number, -1);
    EXPECT_EQ(whole, -1);
    EXPECT_EQ(flag, 77);
    double viscosity = -1;
    double length = -1;
    EXPECT_EQ(ZVK_ForceCal_GetViscosity(0, &viscosity), ZVK_FORCECAL_NOT_INSTALLED);
    EXPECT_EQ(ZVK_ForceCal_SetCalLength(0, 1.0), ZVK_FORCECAL_NOT_INSTALLED);
    EXPECT_EQ(ZVK_ForceCal_GetCalLength(0, &length, &length), ZVK_FORCECAL_NOT_INSTALLED);
    g_forceCal.Medium = 99;
    EXPECT_EQ(ZVK_ForceCal_ComputeViscosity(0, 1.0), ZVK_FORCECAL_NOT_INSTALLED);
    EXPECT_EQ(length, -1);
    EXPECT_EQ(g_forceCal.Bins, 0);
}

TEST_F(ForceCalInit, FewerThanFiveBinsBecomeFive)
{
    PretendUp();
    for (const auto &[set, kept] : {std::pair{4, 5}, {5, 5}, {0, 5}, {-9, 5}, {6, 6}}) {
        EXPECT_EQ(ZVK_ForceCal_SetBins(0, set), 0);
        EXPECT_EQ(g_forceCal.Bins, kept);
    }
}

TEST_F(ForceCalInit, LimitsAreKeptByPathAndSignalAndNoOtherPlaceIsTouched)
{
    PretendUp();
    const struct
    {
        int32_t (*set)(SessionHandle, int32_t, int32_t, double);
        int32_t (*get)(SessionHandle, int32_t, int32_t, double *);
    } rows[] = {
        {ZVK_ForceCal_SetPotFitStart, ZVK_ForceCal_GetPotFitStartFrequency},
        {ZVK_ForceCal_SetPotFitStop, ZVK_ForceCal_GetPotFitStopFrequency},
        {ZVK_ForceCal_SetLineScanFitStart, ZVK_ForceCal_GetLineScanFitStart},
        {ZVK_ForceCal_SetLineScanFitStop, ZVK_ForceCal_GetLineScanFitStop},
    };
    for (const auto &row : rows) {
        for (int32_t path = 0; path < 2; ++path) {
            for (int32_t axis = 0; axis < 3; ++axis)
                EXPECT_EQ(row.set(0, path, axis, 10.0 * path + axis), 0);
        }
        double value = -1;
        for (int32_t path = 0; path < 2; ++path) {
            for (int32_t axis = 0; axis < 3; ++axis) {
                EXPECT_EQ(row.get(0, path, axis, &value), 0);
                EXPECT_EQ(value, 10.0 * path + axis);
            }
        }
        value = -1;
        EXPECT_EQ(row.set(0, 2, 3, 5.0), ZVK_FORCECAL_BAD_PATH);
        EXPECT_EQ(row.get(0, -1, 3, &value), ZVK_FORCECAL_BAD_PATH);
        EXPECT_EQ(row.set(0, 1, 3, 5.0), ZVK_FORCECAL_BAD_AXIS);
        EXPECT_EQ(row.get(0, 1, -1, &value), ZVK_FORCECAL_BAD_AXIS);
        EXPECT_EQ(value, -1);
    }
}

TEST_F(ForceCalInit, TheLengthIsRoundedUpToWholePeriods)
{
    PretendUp();
    g_forceCal.Frequency = 32;
    double set = 0;
    double actual = 0;
    for (const auto &[length, expected] :
         {std::pair{1.01, 33.0 / 32.0}, {1.0, 1.0}, {0.0, 0.0}, {0.001, 1.0 / 32.0}})
    {
        EXPECT_EQ(ZVK_ForceCal_SetCalLength(0, length), 0);
        EXPECT_EQ(ZVK_ForceCal_GetCalLength(0, &set, &actual), 0);
        EXPECT_EQ(set, length);
        EXPECT_EQ(actual, expected);
    }
    EXPECT_EQ(ZVK_ForceCal_GetCalLength(0, &set, nullptr), 0);
    g_forceCal.Frequency = 0;
    EXPECT_EQ(ZVK_ForceCal_GetCalLength(0, nullptr, &actual), 0);
    EXPECT_TRUE(std::isnan(actual));
}

TEST_F(ForceCalInit, WaterHasTheViscosityOfItsTemperatureOnceItIsComputed)
{
    PretendUp();
    EXPECT_EQ(ZVK_ForceCal_SetMedium(0, 1), 0);
    EXPECT_EQ(ZVK_ForceCal_SetTemperature(0, 293.15), 0);
    double viscosity = -1;
    EXPECT_EQ(ZVK_ForceCal_GetViscosity(0, &viscosity), 0);
    EXPECT_EQ(viscosity, 0.0) << "neither setting computes it";
    EXPECT_EQ(ZVK_ForceCal_ComputeViscosity(0, 77.0), 0);
    EXPECT_EQ(ZVK_ForceCal_GetViscosity(0, &viscosity), 0);
    EXPECT_DOUBLE_EQ(viscosity, 2.414e-5 * std::pow(10.0, 247.8 / 153.15));
    // Tables of water at 20 degrees Celsius give 1.0016 mPa s (international association for the
    // properties of water and steam, 2008).
    EXPECT_NEAR(viscosity, 1.0016e-3, 0.01e-3);
    const struct
    {
        double temperature;
        double tabled;
    } rows[] = {{278.15, 1.5182e-3}, {298.15, 0.8900e-3}, {310.15, 0.6913e-3}, {323.15, 0.5465e-3}};
    for (const auto &row : rows) {
        EXPECT_EQ(ZVK_ForceCal_SetTemperature(0, row.temperature), 0);
        EXPECT_EQ(ZVK_ForceCal_ComputeViscosity(0, 77.0), 0);
        EXPECT_NEAR(g_forceCal.Viscosity / row.tabled, 1.0, 0.015) << row.temperature;
    }
}

TEST_F(ForceCalInit, AnotherMediumTakesTheArgumentAndAnUnknownOneIsRefused)
{
    PretendUp();
    EXPECT_EQ(ZVK_ForceCal_SetMedium(0, 2), 0);
    EXPECT_EQ(ZVK_ForceCal_ComputeViscosity(0, 0.125), 0);
    EXPECT_EQ(g_forceCal.Viscosity, 0.125);
    EXPECT_EQ(g_forceCal.Medium, 2);
    for (const int32_t medium : {0, 3, -1}) {
        EXPECT_EQ(ZVK_ForceCal_SetMedium(0, medium), 0);
        EXPECT_EQ(ZVK_ForceCal_ComputeViscosity(0, 5.0), ZVK_FORCECAL_BAD_MEDIUM);
        EXPECT_EQ(g_forceCal.Viscosity, 0.125);
    }
}

// What each whole number, number and flag of the record is, in a fixed order.
static std::vector<double> AllSettings()
{
    const ZVK_ForceCalState &s = g_forceCal;
    return {s.Temperature,
            s.LSLength,
            s.Diameter,
            s.Amplitude,
            s.FitStartFrequency,
            s.FitStopFrequency,
            s.DisplayStopFrequency,
            static_cast<double>(s.Medium),
            static_cast<double>(s.LSSteps),
            static_cast<double>(s.LSAverages),
            static_cast<double>(s.Frequency),
            static_cast<double>(s.Averages),
            static_cast<double>(s.Bins),
            static_cast<double>(s.SubtractMean),
            static_cast<double>(s.Oscillate),
            static_cast<double>(s.SubtractDrift),
            static_cast<double>(s.SwapAxes),
            s.CalLength,
            s.Viscosity,
            s.SampleRate,
            static_cast<double>(s.CycleLength),
            static_cast<double>(s.MaxFFT)};
}

TEST_F(ForceCalInit, EachSettingHasItsOwnPlaceAndTouchesNoOther)
{
    PretendUp();
    double number = 0;
    int32_t whole = 0;
    uint16_t flag = 0;
    const auto settings = Settings(number, whole, flag);
    std::vector<double> before = AllSettings();
    for (size_t row = 0; row < settings.size(); ++row) {
        EXPECT_EQ(settings[row].first(), 0);
        const std::vector<double> after = AllSettings();
        for (size_t place = 0; place < after.size(); ++place)
            EXPECT_EQ(after[place] != before[place], place == row) << "setting " << row;
        before = after;
    }
    EXPECT_EQ(ZVK_ForceCal_SetCalLength(0, 2.5), 0);
    EXPECT_EQ(g_forceCal.CalLength, 2.5);
    before[17] = 2.5;
    EXPECT_EQ(AllSettings(), before);
}

TEST_F(ForceCalInit, EachSettingIsReadFromItsOwnPlace)
{
    PretendUp();
    double number = 0;
    int32_t whole = 0;
    uint16_t flag = 0;
    const auto settings = Settings(number, whole, flag);
    ZVK_ForceCalState &s = g_forceCal;
    double *const numbers[] = {&s.Temperature,         &s.LSLength,          &s.Diameter,
                               &s.Amplitude,           &s.FitStartFrequency, &s.FitStopFrequency,
                               &s.DisplayStopFrequency};
    int32_t *const wholes[] = {&s.Medium,    &s.LSSteps,  &s.LSAverages,
                               &s.Frequency, &s.Averages, &s.Bins};
    char *const flags[] = {&s.SubtractMean, &s.Oscillate, &s.SubtractDrift, &s.SwapAxes};
    size_t row = 0;
    for (double *field : numbers) {
        *field = 7.25 + row;
        EXPECT_EQ(settings[row].second(), 0);
        EXPECT_EQ(number, 7.25 + row) << row;
        ++row;
    }
    for (int32_t *field : wholes) {
        *field = 100 + static_cast<int32_t>(row);
        EXPECT_EQ(settings[row].second(), 0);
        EXPECT_EQ(whole, 100 + static_cast<int32_t>(row)) << row;
        ++row;
    }
    for (char *field : flags) {
        *field = 1;
        EXPECT_EQ(settings[row].second(), 0);
        EXPECT_EQ(flag, 1) << row;
        *field = 0;
        EXPECT_EQ(settings[row].second(), 0);
        EXPECT_EQ(flag, 0) << row;
        ++row;
    }
    EXPECT_EQ(row, settings.size());
}

TEST_F(ForceCalInit, LimitsAndLengthsAskForInitFirstToo)
{
    double value = -1;
    for (const int32_t expected : {ZVK_FORCECAL_NOT_INITIALIZED, ZVK_FORCECAL_NOT_INSTALLED}) {
        EXPECT_EQ(ZVK_ForceCal_SetPotFitStart(0, 9, 9, 1.0), expected);
        EXPECT_EQ(ZVK_ForceCal_GetPotFitStartFrequency(0, 9, 9, &value), expected);
        EXPECT_EQ(ZVK_ForceCal_SetPotFitStop(0, 9, 9, 1.0), expected);
        EXPECT_EQ(ZVK_ForceCal_GetPotFitStopFrequency(0, 9, 9, &value), expected);
        EXPECT_EQ(ZVK_ForceCal_SetLineScanFitStart(0, 9, 9, 1.0), expected);
        EXPECT_EQ(ZVK_ForceCal_GetLineScanFitStart(0, 9, 9, &value), expected);
        EXPECT_EQ(ZVK_ForceCal_SetLineScanFitStop(0, 9, 9, 1.0), expected);
        EXPECT_EQ(ZVK_ForceCal_GetLineScanFitStop(0, 9, 9, &value), expected);
        EXPECT_EQ(ZVK_ForceCal_GetViscosity(0, &value), expected);
        EXPECT_EQ(ZVK_ForceCal_SetCalLength(0, 1.0), expected);
        EXPECT_EQ(ZVK_ForceCal_GetCalLength(0, &value, &value), expected);
        EXPECT_EQ(ZVK_ForceCal_ComputeViscosity(0, 1.0), expected);
        g_forceCal.Initialised = 1;
    }
    EXPECT_EQ(value, -1);
    EXPECT_EQ(g_forceCal.CalLength, 0.0);
}

TEST_F(ForceCalInit, LimitsOfOneKindLeaveTheOthersAlone)
{
    PretendUp();
    EXPECT_EQ(ZVK_ForceCal_SetPotFitStart(0, 1, 2, 1.0), 0);
    EXPECT_EQ(ZVK_ForceCal_SetPotFitStop(0, 1, 2, 2.0), 0);
    EXPECT_EQ(ZVK_ForceCal_SetLineScanFitStart(0, 1, 2, 3.0), 0);
    EXPECT_EQ(ZVK_ForceCal_SetLineScanFitStop(0, 1, 2, 4.0), 0);
    EXPECT_EQ(g_forceCal.PotFitStart[1][2], 1.0);
    EXPECT_EQ(g_forceCal.PotFitStop[1][2], 2.0);
    EXPECT_EQ(g_forceCal.LineScanFitStart[1][2], 3.0);
    EXPECT_EQ(g_forceCal.LineScanFitStop[1][2], 4.0);
    double value = 0;
    EXPECT_EQ(ZVK_ForceCal_GetPotFitStartFrequency(0, 1, 2, &value), 0);
    EXPECT_EQ(value, 1.0);
    EXPECT_EQ(ZVK_ForceCal_GetPotFitStopFrequency(0, 1, 2, &value), 0);
    EXPECT_EQ(value, 2.0);
    EXPECT_EQ(ZVK_ForceCal_GetLineScanFitStart(0, 1, 2, &value), 0);
    EXPECT_EQ(value, 3.0);
    EXPECT_EQ(ZVK_ForceCal_GetLineScanFitStop(0, 1, 2, &value), 0);
    EXPECT_EQ(value, 4.0);
}

TEST_F(ForceCalInit, AnInitThatIsTriedAgainMakesRoomForItsOwnMaxFft)
{
    WriteCalConfig({{"MAX_FFT", "100"}});
    folder.Remove("default.cal");
    ASSERT_LT(ZVK_ForceCal_Init(0, 0, 0), 0);
    g_forceCal.Data[1][0].FDValid = 1;  // as a run before an Init leaves it
    g_forceCal.Data[1][0].NumberOfFrequencies = 90;
    WriteCalConfig({{"MAX_FFT", "5000"}});
    ASSERT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0);
    for (const auto &path : g_forceCal.Data) {
        for (const ZVK_ForceCalDataContainer &data : path) {
            for (double *spectrum : data.FD)
                EXPECT_GE(malloc_usable_size(spectrum), 5001 * sizeof(double));
            EXPECT_EQ(data.FDValid, 0) << "nothing is told of a spectrum that is gone";
            EXPECT_EQ(data.NumberOfFrequencies, 0);
        }
    }
    ResetForceCal();
}

TEST_F(ForceCalInit, AnInitThatEndsAtAKeyLeavesNoSpectraOfAnotherRoom)
{
    WriteCalConfig({{"MAX_FFT", "100"}});
    folder.Remove("default.cal");
    ASSERT_LT(ZVK_ForceCal_Init(0, 0, 0), 0);
    WriteCalConfig({{"FREQUENCY", "-"}});
    ASSERT_EQ(ZVK_ForceCal_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(g_forceCal.MaxFFT, 200000) << "its preset";
    ASSERT_TRUE(EnsureSpectrumArrays(Still()));  // as a run does, which asks for no Init
    EXPECT_GE(malloc_usable_size(Still().FD[0]), 200001 * sizeof(double));
}

TEST_F(ForceCalInit, ShutdownOfAModuleThatIsNotInstalledTouchesNothing)
{
    WriteCalConfig();
    ASSERT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0);
    g_forceCal.Installed = 0;
    EXPECT_EQ(ZVK_ForceCal_Shutdown(0), 0);
    EXPECT_NE(g_forceCal.Data[0][0].FD[0], nullptr);
    g_forceCal.Installed = 1;
    g_forceCal.Initialised = 0;
    EXPECT_EQ(ZVK_ForceCal_Shutdown(0), 0);
    EXPECT_NE(g_forceCal.Data[0][0].FD[0], nullptr);
}

TEST_F(ForceCalInit, TheStatusAsksForInitThenForTheInstrumentThenForSimulation)
{
    g_forceCal.Simulate = 1;
    EXPECT_EQ(InitStatus(), 0);
    g_forceCal.Initialised = 1;
    EXPECT_EQ(InitStatus(), -1);
    g_forceCal.Installed = 1;
    EXPECT_EQ(InitStatus(), 2);
    EXPECT_EQ(ZVK_ForceCal_GetInitStatus(0, nullptr), 0);
}

TEST_F(ForceCalInit, PathAIsLoadedFirstAndItsErrorEndsTheLoad)
{
    const std::string good =
        "BETACOUNT = 0\r\nKCOUNT = 1\r\nK_X_0 = 1\r\nK_Y_0 = 2\r\nK_Z_0 = 3\r\n";
    folder.Write("a.cal", "[TRAP A]\r\n" + good + "[TRAP B]\r\nBETACOUNT = 1\r\n");
    EXPECT_EQ(ZVK_ForceCal_LoadCalibration(0, folder.Path("a.cal").c_str()), ZVK_CONFILE_NOT_FOUND);
    ASSERT_NE(g_forceCal.K[0], nullptr);
    EXPECT_EQ(g_forceCal.K[0][2], 3.0);
    EXPECT_EQ(g_forceCal.NumberOfBetas[0], 0);
    EXPECT_EQ(g_forceCal.K[1], nullptr);
    ResetForceCal();
    folder.Write("b.cal", "[TRAP A]\r\nBETACOUNT = 1\r\n[TRAP B]\r\n" + good);
    EXPECT_EQ(ZVK_ForceCal_LoadCalibration(0, folder.Path("b.cal").c_str()), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(g_forceCal.K[0], nullptr);
    EXPECT_EQ(g_forceCal.K[1], nullptr) << "path B is not read any more";
}

TEST_F(ForceCalInit, ASaveThatFailsIsTheStatusAndChangesNoTable)
{
    WriteCalConfig();
    ASSERT_EQ(ZVK_ForceCal_LoadCalibration(0, "default.cal"), 0);
    EXPECT_EQ(ZVK_ForceCal_SaveCalibration(0, folder.Path("no/such/folder.cal").c_str()),
              ZVK_CONFILE_WRITE_FAILED);
    EXPECT_EQ(g_forceCal.Beta[0][0], 1.5);
    EXPECT_EQ(g_forceCal.NumberOfKs[1], 1);
}
