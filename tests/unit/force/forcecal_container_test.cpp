#include "forcecal_fixture.h"

#include "failing_memory.h"
#include "platform/memory.h"

#include <algorithm>

namespace {

struct Handed
{
    int32_t status = 0;
    int32_t entries = 77;
    double *data = nullptr;
    double *axis = nullptr;
    double *axis2 = nullptr;
    double error = -1;
    double frequency = -1;
};

}  // namespace

static Handed Return(int32_t path, int32_t run, int32_t type, int32_t axis)
{
    Handed handed;
    handed.status =
        ZVK_ForceCal_ReturnData(0, path, run, type, axis, &handed.entries, &handed.data,
                                &handed.axis, &handed.axis2, &handed.error, &handed.frequency);
    return handed;
}

static const struct
{
    int32_t type;
    int32_t failure;
} kTypes[] = {{1, -1408},  {2, -1408},   {4, -1409},   {8, -1409},   {16, -1410},  {32, -1412},
              {64, -1412}, {128, -1412}, {256, -1412}, {512, -1414}, {1024, -1414}};

using ForceCalContainer = ForceCalTest;

TEST_F(ForceCalContainer, ChecksInit_Path_Run_Type_ThenTheFlag)
{
    EXPECT_EQ(Return(2, 4, 3, 0).status, ZVK_FORCECAL_NOT_INITIALIZED);
    EXPECT_EQ(Return(2, 4, 3, 0).entries, 0) << "set to 0 before all checks";
    g_forceCal.Initialised = 1;  // whether it is installed is not asked
    EXPECT_EQ(Return(2, 4, 3, 0).status, ZVK_FORCECAL_BAD_PATH);
    EXPECT_EQ(Return(-1, 4, 3, 0).status, ZVK_FORCECAL_BAD_PATH);
    EXPECT_EQ(Return(1, 4, 3, 0).status, ZVK_FORCECAL_BAD_AXIS);
    EXPECT_EQ(Return(1, -1, 3, 0).status, ZVK_FORCECAL_BAD_AXIS);
    EXPECT_EQ(Return(1, 3, 3, 0).status, ZVK_FORCECAL_BAD_DATA_TYPE);
    for (const auto &row : kTypes) {
        const Handed handed = Return(1, 3, row.type, 0);
        EXPECT_EQ(handed.status, row.failure) << row.type;
        EXPECT_EQ(handed.entries, 0) << "set to 0 first";
        EXPECT_EQ(handed.data, nullptr);
        EXPECT_EQ(handed.error, -1);
    }
}

TEST_F(ForceCalContainer, TypesAreAlternativesAndNotAMask)
{
    PretendUp();
    for (const int32_t type : {0, 3, 5, 12, 1536, 2048, -1})
        EXPECT_EQ(Return(0, 0, type, 0).status, ZVK_FORCECAL_BAD_DATA_TYPE) << type;
}

TEST_F(ForceCalContainer, ASignalThatDoesNotExistHasNoData)
{
    PretendUp();
    Still().LSValid[0] = 1;
    Still().TDValid = 1;
    for (const auto &row : kTypes) {
        EXPECT_EQ(Return(0, 3, row.type, 3).status, row.failure);
        EXPECT_EQ(Return(0, 3, row.type, -1).status, row.failure);
    }
}

TEST_F(ForceCalContainer, SeriesTellTheLengthOfTheirFirstSegment)
{
    PretendUp();
    const std::vector<double> x(20, 1.0);
    PutSeries(g_forceCal.Data[1][2], {x, x, x}, 3, 100.0);
    ASSERT_EQ(ZVK_ForceCal_CorrectTD(&g_forceCal.Data[1][2]), 0);
    const Handed raw = Return(1, 2, 1, 1);
    EXPECT_EQ(raw.status, 0);
    EXPECT_EQ(raw.entries, 6);
    EXPECT_EQ(raw.data, g_forceCal.Data[1][2].TD[1]);
    EXPECT_EQ(raw.axis, g_forceCal.Data[1][2].TDAxis);
    EXPECT_EQ(raw.axis2, nullptr);
    EXPECT_EQ(raw.error, -1) << "not named by the row";
    const Handed corrected = Return(1, 2, 2, 1);
    EXPECT_EQ(corrected.entries, 6);
    EXPECT_EQ(corrected.data, g_forceCal.Data[1][2].TDCorrected[1]);
    g_forceCal.Data[1][2].Averages = 0;
    EXPECT_EQ(Return(1, 2, 1, 1).status, 0);
    EXPECT_EQ(Return(1, 2, 1, 1).entries, 0) << "no averages, no entries";
    g_forceCal.Data[1][2].Averages = -3;
    EXPECT_EQ(Return(1, 2, 1, 1).entries, 0);
    g_forceCal.Data[1][2].Averages = 3;
    Release(g_forceCal.Data[1][2].TDAxis);
    EXPECT_EQ(Return(1, 2, 1, 1).entries, 0) << "nor where the axis found no memory";
    EXPECT_EQ(Return(1, 2, 2, 1).entries, 0);
}

TEST_F(ForceCalContainer, EachRowHandsOutItsOwnArraysAndNumbers)
{
    PretendUp();
    ZVK_ForceCalDataContainer &data = Still(1);
    ASSERT_TRUE(EnsureSpectrumArrays(data));
    data.FDValid = data.FDAlternateValid = data.FDFitValid = data.PotValid = 1;
    std::fill_n(data.LSValid, 3, 1);
    data.NumberOfFrequencies = 11;
    data.NumberOfFitEntries = 12;
    data.HistogramBins = 13;
    double dummy[40] = {};  // an address for each array
    const int a = 2;
    data.FDAlternate[a] = &dummy[1];
    data.FDAxis = &dummy[2];
    data.FDFitCurve[a] = &dummy[3];
    data.FDFitAxis = &dummy[4];
    data.Histogram[a] = &dummy[5];
    data.HistogramAxis[a] = &dummy[6];
    data.Potential[a] = &dummy[7];
    data.PotFitCurve[a] = &dummy[8];
    data.PotFitAxis[a] = &dummy[9];
    data.PotFitEntries[a] = 14;
    data.Histogram2D[a] = &dummy[10];
    data.Histogram2DAxis[a][0] = &dummy[11];
    data.Histogram2DAxis[a][1] = &dummy[12];
    data.LSData[a] = &dummy[13];
    data.LSPosition[a] = &dummy[14];
    data.LSEntries[a] = 15;
    data.LSFitCurve[a] = &dummy[15];
    data.LSFitPosition[a] = &dummy[16];
    data.LSFitEntries[a] = 16;
    data.FitMSE[a] = 0.1;
    data.CornerFrequency[a] = 0.2;
    data.PotFitMSE[a] = 0.3;
    data.LSFitMSE[a] = 0.4;
    data.LSFitSlope[a] = 0.5;
    const struct
    {
        int32_t type;
        int32_t entries;
        double *values;
        double *axis;
        double *axis2;
        double error;
        double frequency;
    } rows[] = {
        {4, 11, data.FD[a], &dummy[2], nullptr, 0.1, 0.2},
        {8, 11, &dummy[1], &dummy[2], nullptr, 0.1, 0.2},
        {16, 12, &dummy[3], &dummy[4], nullptr, 0.1, 0.2},
        {32, 13, &dummy[5], &dummy[6], nullptr, -1, -1},
        {64, 13, &dummy[7], &dummy[6], nullptr, 0.3, -1},
        {128, 14, &dummy[8], &dummy[9], nullptr, 0.3, -1},
        {256, 13, &dummy[10], &dummy[11], &dummy[12], -1, -1},
        {512, 15, &dummy[13], &dummy[14], nullptr, -1, -1},
        {1024, 16, &dummy[15], &dummy[16], nullptr, 0.4, 0.5},
    };
    for (const auto &row : rows) {
        const Handed handed = Return(1, 3, row.type, a);
        EXPECT_EQ(handed.status, 0) << row.type;
        EXPECT_EQ(handed.entries, row.entries) << row.type;
        EXPECT_EQ(handed.data, row.values) << row.type;
        EXPECT_EQ(handed.axis, row.axis) << row.type;
        EXPECT_EQ(handed.axis2, row.axis2) << row.type;
        EXPECT_EQ(handed.error, row.error) << row.type;
        EXPECT_EQ(handed.frequency, row.frequency) << row.type;
    }
    EXPECT_EQ(ZVK_ForceCal_ReturnData(0, 1, 3, 4, a, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr),
              0)
        << "null outputs are passed over";
    double *const spectra[3] = {data.FD[0], data.FD[1], data.FD[2]};
    data = {};
    std::copy_n(spectra, 3, data.FD);
}

TEST_F(ForceCalContainer, ALineScanBelongsToTheRunWithoutOscillation)
{
    PretendUp();
    Still().LSValid[0] = 1;
    EXPECT_EQ(Return(0, 3, 512, 0).status, 0);
    EXPECT_EQ(Return(0, 0, 512, 0).status, ZVK_FORCECAL_NO_LINE_SCAN);
    EXPECT_EQ(Return(0, 3, 512, 1).status, ZVK_FORCECAL_NO_LINE_SCAN);
}

TEST_F(ForceCalContainer, AClearFreesAllButTheSpectraAndKeepsWhatIsKept)
{
    PretendUp();
    g_forceCal.Bins = 6;
    FailingMemory memory;
    ZVK_ForceCalDataContainer &data = Still();
    data.OscAxis = 3;
    data.OscFrequency = -1.0;
    std::vector<double> x(64);
    for (size_t i = 0; i < x.size(); ++i)
        x[i] = static_cast<double>(i * i % 17);
    PutSeries(data, {x, x, x}, 1, 64.0);
    ASSERT_EQ(ZVK_ForceCal_CorrectTD(&data), 0);
    ASSERT_EQ(ZVK_ForceCal_ComputeFD(&data), 0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&data), 0);
    ASSERT_EQ(ZVK_ForceCal_Create1DBinning(&data), 0);
    ASSERT_EQ(ZVK_ForceCal_CreatePotFit(&data), 0);
    ASSERT_EQ(ZVK_ForceCal_Create2DBinning(&data), 0);
    double owned = 0;
    data.FDAlternate[0] = &owned;
    data.FDAlternateValid = 1;
    data.PotFlag2 = data.PotFlag3 = 1;
    data.Beta = 1.25;
    data.K = 2.25;
    data.OscAmplitude = 0.5;
    const double curvature = data.PotCurvature[0];
    const double deviation = data.TDStdDev[0];

    ZVK_ForceCal_ClearDataContainer(0, &data);
    EXPECT_EQ(memory.Live(), 3) << "the spectra";
    EXPECT_EQ(data.TDValid, 0);
    EXPECT_EQ(data.TDCorrectedValid, 1) << "this flag stays";
    EXPECT_EQ(data.Averages, 0);
    EXPECT_EQ(data.NumberOfSamples, 0);
    EXPECT_EQ(data.SampleRate, 0.0);
    EXPECT_EQ(data.FDValid, 0);
    EXPECT_EQ(data.FDAlternateValid, 1) << "and this one";
    EXPECT_EQ(data.FDAlternate[0], nullptr) << "forgotten, not freed";
    EXPECT_EQ(data.FDFitValid, 0);
    EXPECT_EQ(data.NumberOfFrequencies, 0);
    EXPECT_EQ(data.NumberOfFitEntries, 0);
    EXPECT_EQ(data.HistogramBins, 0);
    EXPECT_EQ(data.PotValid, 0);
    EXPECT_EQ(data.PotFlag2, 0);
    EXPECT_EQ(data.PotFlag3, 0);
    EXPECT_EQ(data.OscAxis, 3);
    EXPECT_EQ(data.OscFrequency, -1.0);
    EXPECT_EQ(data.OscAmplitude, 0.5);
    EXPECT_EQ(data.Beta, 1.25);
    EXPECT_EQ(data.K, 2.25);
    EXPECT_EQ(data.PotCurvature[0], curvature);
    EXPECT_EQ(data.TDStdDev[0], deviation);
    EXPECT_EQ(Return(0, 3, 1, 0).status, ZVK_FORCECAL_NO_TIME_DATA);
    const Handed corrected = Return(0, 3, 2, 0);
    EXPECT_EQ(corrected.status, 0) << "past the flag";
    EXPECT_EQ(corrected.data, nullptr);
    EXPECT_EQ(corrected.entries, 0);
    ZVK_ForceCal_ClearDataContainer(0, &data);
    ZVK_ForceCal_ClearDataContainer(0, nullptr);
    ResetForceCal();
    EXPECT_EQ(memory.Live(), 0);
}

TEST_F(ForceCalContainer, AClearLeavesLineScansAlone)
{
    ZVK_ForceCalDataContainer &data = Still();
    ASSERT_TRUE(RenewArrays({&data.LSData[0], &data.LSPosition[0]}, 4));
    data.LSValid[0] = 1;
    data.LSEntries[0] = 4;
    data.LSFitSlope[0] = 2.0;
    ZVK_ForceCal_ClearDataContainer(0, &data);
    EXPECT_NE(data.LSData[0], nullptr);
    EXPECT_EQ(data.LSValid[0], 1);
    EXPECT_EQ(data.LSEntries[0], 4);
    EXPECT_EQ(data.LSFitSlope[0], 2.0);
}
