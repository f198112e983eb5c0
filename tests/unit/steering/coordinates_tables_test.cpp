// The transform's data: loading, replacing, handing out, dropping.

#include "steering_fixture.h"

#include <cstdio>
#include <cstdlib>
#include <limits>

using CoordinateTables = SteeringTest;

static const double kLimits[4] = {1.0, 2.0, 3.0, 4.0};

static int32_t GiveTables(int32_t path, int32_t count, const std::vector<double> &table)
{
    return ZVK_CoordinateSystems_SetTrafoCoeff(0, path, count, table.data(), table.data(),
                                               table.data(), table.data(), kLimits);
}

TEST_F(CoordinateTables, InitLoadsBothPathsAndTheScale)
{
    bringUpCoordinates();
    for (const ZVK_TrafoState &row : g_trafo) {
        EXPECT_EQ(row.initialized, 1);
        EXPECT_EQ(row.busy, 0);
        EXPECT_EQ(row.coeffNum, 4);
        EXPECT_EQ(row.scaleX, 10.0);
        EXPECT_EQ(row.scaleY, 20.0);
    }
    const ZVK_TrafoState &b = g_trafo[1];
    EXPECT_EQ(std::vector<double>(b.dataX, b.dataX + 4),
              (std::vector<double>{-3.75, 0.0125, 0, 0}));
    EXPECT_EQ(std::vector<double>(b.dataY, b.dataY + 4), (std::vector<double>{-7.5, 0.0125, 0, 0}));
    EXPECT_EQ(std::vector<double>(b.dataXI, b.dataXI + 4), (std::vector<double>{600, 0, 80, 0}));
    EXPECT_EQ(std::vector<double>(b.dataYI, b.dataYI + 4), (std::vector<double>{300, 0, 80, 0}));
    EXPECT_EQ(b.calXMin, 400.0);
    EXPECT_EQ(b.calXMax, 800.0);
    EXPECT_EQ(b.calYMin, 160.0);
    EXPECT_EQ(b.calYMax, 440.0);
    EXPECT_EQ(g_trafo[0].dataXI[0], 500.0);
}

TEST_F(CoordinateTables, InitNeedsNoGalvoModule)
{
    bringUpCoordinates();
    int32_t up = 42;
    EXPECT_EQ(ZVK_Galvo_GetInitStatus(0, 0, &up), 0);
    EXPECT_EQ(up, 0);
}

TEST_F(CoordinateTables, ASecondInitReadsTheFilesAnew)
{
    bringUpCoordinates();
    writeObjective(with(TwoPathsObjective(), "AXI0", "512"));
    writeConfig(with(TwoPathsConfig(), "FACTORX", "12"));
    bringUpCoordinates();
    EXPECT_EQ(g_trafo[0].dataXI[0], 512.0);
    EXPECT_EQ(g_trafo[0].scaleX, 12.0);
}

TEST_F(CoordinateTables, AnObjectiveWithAPathOfItsOwnIsReadFromThere)
{
    folder.Write("other.odf", with(TwoPathsObjective(), "AXI0", "490"));
    writeConfig(with(TwoPathsConfig(), "LOAD", "\"" + folder.Path("other.odf") + "\""));
    bringUpCoordinates();
    EXPECT_EQ(g_trafo[0].dataXI[0], 490.0);
}

struct BrokenInit
{
    const char *name;
    std::string config;
    std::string objective;
    int32_t status;
    bool pathALoaded;  // whether path A came through before
};

class CoordinateInit : public SteeringTest
{
protected:
    // Every way in which a file can be short of something.
    static std::vector<BrokenInit> broken()
    {
        const std::string config = TwoPathsConfig();
        const std::string objective = TwoPathsObjective();
        std::vector<BrokenInit> rows = {
            {"no LOAD", without(config, "LOAD"), objective, ZVK_CONFILE_NOT_FOUND, false},
            {"no FACTORX", without(config, "FACTORX"), objective, ZVK_CONFILE_NOT_FOUND, false},
            {"no FACTORY", without(config, "FACTORY"), objective, ZVK_CONFILE_NOT_FOUND, false},
            {"no such file", with(config, "LOAD", "\"/nowhere/x.odf\""), objective,
             ZVK_CONFILE_NOT_READABLE, false},
            {"no sections", config, "", ZVK_CONFILE_NOT_READABLE, false},
        };
        for (const char *key : {"COEFFNUM", "AX0", "AY1", "AXI2", "AYI3", "CALXMIN", "CALYMAX"}) {
            rows.push_back({key, config, without(objective, key, 1), ZVK_CONFILE_NOT_FOUND, false});
            rows.push_back({key, config, without(objective, key, 2), ZVK_CONFILE_NOT_FOUND, true});
        }
        for (const char *count : {"2", "3", "-1", "-4", "-2147483648"}) {
            rows.push_back({count, config, with(objective, "COEFFNUM", count, 1),
                            ZVK_COORDINATES_NOT_SQUARE, false});
            rows.push_back({count, config, with(objective, "COEFFNUM", count, 2),
                            ZVK_COORDINATES_NOT_SQUARE, true});
        }
        // Too few coefficients for the count stop the reading before the count is looked at.
        rows.push_back(
            {"5 of 4", config, with(objective, "COEFFNUM", "5"), ZVK_CONFILE_NOT_FOUND, false});
        rows.push_back(
            {"9 of 4", config, with(objective, "COEFFNUM", "9"), ZVK_CONFILE_NOT_FOUND, false});
        return rows;
    }
};

TEST_F(CoordinateInit, AFailureReturnsItsStatusAndLeavesBothPathsBusy)
{
    for (const BrokenInit &row : broken()) {
        SCOPED_TRACE(row.name);
        resetSteering();
        writeConfig(row.config);
        writeObjective(row.objective);
        EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), row.status);
        EXPECT_EQ(g_trafo[0].busy, 1);
        EXPECT_EQ(g_trafo[1].busy, 1);
        EXPECT_EQ(g_trafo[0].initialized, row.pathALoaded ? 1 : 0);
        EXPECT_EQ(g_trafo[1].initialized, 0);
    }
}

TEST_F(CoordinateInit, WithoutConfigIniNothingIsReadable)
{
    ASSERT_EQ(std::remove(folder.Path("config.ini").c_str()), 0);
    EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), ZVK_CONFILE_NOT_READABLE);
}

TEST_F(CoordinateInit, ACountBeyondAllFitsIsRefusedBeforeMemoryIsAsked)
{
    for (const char *count : {"1048577", "2147395600", "2147483647"}) {  // the second is a square
        writeObjective(with(TwoPathsObjective(), "COEFFNUM", count));
        EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), ZVK_COORDINATES_NO_MEMORY) << count;
    }
    writeObjective(with(TwoPathsObjective(), "COEFFNUM", "1048576"));  // order 1023
    EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
}

TEST_F(CoordinateInit, ACountOfZeroIsASquare)
{
    writeObjective(with(TwoPathsObjective(), "COEFFNUM", "0"));
    EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
    EXPECT_EQ(g_trafo[0].coeffNum, 0);
    EXPECT_EQ(g_trafo[1].coeffNum, 4);
}

TEST_F(CoordinateInit, FewerCoefficientsThanTheFileHoldsAreTheFirstOnes)
{
    writeObjective(with(TwoPathsObjective(), "COEFFNUM", "1"));
    EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, -1, &x, &y), 0);
    EXPECT_EQ(x, 500.0);
    EXPECT_EQ(y, 400.0);
}

TEST_F(CoordinateInit, AfterAFailureALoadedPathIsBusyAndOneNeverLoadedIsNotInitialized)
{
    bringUpCoordinates();
    writeObjective(without(TwoPathsObjective(), "COEFFNUM", 1));
    EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
    double x = 1.0;
    double y = 2.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Convert(0, 0, &x, &y, -1), ZVK_COORDINATES_BUSY);
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, -1, &x, &y), ZVK_COORDINATES_BUSY);

    resetSteering();
    EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(ZVK_CoordinateSystems_Convert(0, 0, &x, &y, -1), ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, -1, &x, &y), ZVK_COORDINATES_BUSY);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(y, 2.0);
}

TEST_F(CoordinateInit, AGoodInitAfterAFailureClearsBusy)
{
    bringUpCoordinates();
    writeObjective("");
    EXPECT_LT(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
    writeObjective(TwoPathsObjective());
    bringUpCoordinates();
    double x = 1.0;
    double y = 2.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, -1, &x, &y), 0);
}

TEST_F(CoordinateTables, ShutdownAndInitTakeTurnsAnyNumberOfTimes)
{
    for (int round = 0; round < 3; ++round) {
        bringUpCoordinates();
        EXPECT_EQ(ZVK_CoordinateSystems_Shutdown(0), 0);
        double x = 1.0;
        double y = 2.0;
        EXPECT_EQ(ZVK_CoordinateSystems_Convert(0, 0, &x, &y, -1), ZVK_COORDINATES_NOT_INITIALIZED);
        EXPECT_EQ(ZVK_CoordinateSystems_Convert(0, 1, &x, &y, -1), ZVK_COORDINATES_NOT_INITIALIZED);
    }
    EXPECT_EQ(ZVK_CoordinateSystems_Shutdown(0), 0);
}

TEST_F(CoordinateTables, TheCameraScaleIsThatOfPathA)
{
    bringUpCoordinates();
    ASSERT_EQ(ZVK_CoordinateSystems_CalibrateCamera(0, 1, 3.0, 4.0), 0);
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_CoordinateSystems_GetCameraScale(0, &x, &y), 0);
    EXPECT_EQ(x, 10.0);
    EXPECT_EQ(y, 20.0);
}

TEST_F(CoordinateTables, TheCameraScaleChecksLoadedThenBusy)
{
    double x = 42.0;
    double y = 42.0;
    g_trafo[0].busy = 1;
    EXPECT_EQ(ZVK_CoordinateSystems_GetCameraScale(0, &x, &y), ZVK_COORDINATES_NOT_INITIALIZED);
    g_trafo[0].initialized = 1;
    EXPECT_EQ(ZVK_CoordinateSystems_GetCameraScale(0, &x, &y), ZVK_COORDINATES_BUSY);
    EXPECT_EQ(x, 42.0);
    EXPECT_EQ(y, 42.0);
}

TEST_F(CoordinateTables, CalibrateCameraSetsOnePathAndNoFile)
{
    bringUpCoordinates();
    EXPECT_EQ(ZVK_CoordinateSystems_CalibrateCamera(0, 0, 5.0, -6.0), 0);
    EXPECT_EQ(g_trafo[0].scaleX, 5.0);
    EXPECT_EQ(g_trafo[0].scaleY, -6.0);
    EXPECT_EQ(g_trafo[1].scaleX, 10.0);
    EXPECT_EQ(folder.Read("config.ini"), TwoPathsConfig());
}

TEST_F(CoordinateTables, AScaleOfTenThousandthOrLessIsIgnoredForItsAxisOnly)
{
    bringUpCoordinates();
    for (const double tiny :
         {0.00005, -0.00005, 0.0, 0.0001, -0.0001, std::numeric_limits<double>::quiet_NaN()})
    {
        EXPECT_EQ(ZVK_CoordinateSystems_CalibrateCamera(0, 0, tiny, tiny), 0);
        EXPECT_EQ(g_trafo[0].scaleX, 10.0);
        EXPECT_EQ(g_trafo[0].scaleY, 20.0);
    }
    EXPECT_EQ(ZVK_CoordinateSystems_CalibrateCamera(0, 0, 0.00005, 21.0), 0);
    EXPECT_EQ(g_trafo[0].scaleX, 10.0);
    EXPECT_EQ(g_trafo[0].scaleY, 21.0);
    EXPECT_EQ(ZVK_CoordinateSystems_CalibrateCamera(0, 0, 0.00011, 0.00005), 0);
    EXPECT_EQ(g_trafo[0].scaleX, 0.00011);
    EXPECT_EQ(g_trafo[0].scaleY, 21.0);
}

TEST_F(CoordinateTables, CalibrateGetAndSetCheckPathThenLoadedThenBusy)
{
    double *tables[4] = {};
    int32_t count = 42;
    const auto all = [&](int32_t path) -> std::vector<int32_t> {
        return {ZVK_CoordinateSystems_CalibrateCamera(0, path, 5.0, 5.0),
                ZVK_CoordinateSystems_GetTrafoCoeffs(0, path, &count, &tables[0], &tables[1],
                                                     &tables[2], &tables[3]),
                GiveTables(path, 3, {1.0, 2.0, 3.0})};
    };
    g_trafo[0].busy = 1;
    EXPECT_EQ(all(2), std::vector<int32_t>(3, ZVK_COORDINATES_BAD_PATH));
    EXPECT_EQ(all(-1), std::vector<int32_t>(3, ZVK_COORDINATES_BAD_PATH));
    EXPECT_EQ(all(0), std::vector<int32_t>(3, ZVK_COORDINATES_NOT_INITIALIZED));
    bringUpCoordinates();
    g_trafo[0].busy = 1;
    EXPECT_EQ(all(0), std::vector<int32_t>(3, ZVK_COORDINATES_BUSY));
    EXPECT_EQ(count, 42);
    EXPECT_EQ(tables[0], nullptr);
    EXPECT_EQ(g_trafo[0].scaleX, 10.0);
    EXPECT_NE(g_trafo[0].dataX, nullptr);
}

TEST_F(CoordinateTables, GetGivesFreshCopiesThatTheCallerOwns)
{
    bringUpCoordinates();
    double *x = nullptr;
    double *y = nullptr;
    double *xi = nullptr;
    double *yi = nullptr;
    int32_t count = 0;
    ASSERT_EQ(ZVK_CoordinateSystems_GetTrafoCoeffs(0, 1, &count, &x, &y, &xi, &yi), 0);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(std::vector<double>(x, x + 4), (std::vector<double>{-3.75, 0.0125, 0, 0}));
    EXPECT_EQ(std::vector<double>(y, y + 4), (std::vector<double>{-7.5, 0.0125, 0, 0}));
    EXPECT_EQ(std::vector<double>(xi, xi + 4), (std::vector<double>{600, 0, 80, 0}));
    EXPECT_EQ(std::vector<double>(yi, yi + 4), (std::vector<double>{300, 0, 80, 0}));

    x[0] = 99.0;
    EXPECT_EQ(g_trafo[1].dataX[0], -3.75);
    ASSERT_EQ(ZVK_CoordinateSystems_GetTrafoCoeffs(0, 1, &count, &x, &y, &xi, &yi), 0);
    EXPECT_EQ(x[0], -3.75);
    for (double *table : {x, y, xi, yi})
        std::free(table);
}

TEST_F(CoordinateTables, SetReplacesTablesAndRangeOfOnePathInMemoryOnly)
{
    bringUpCoordinates();
    const std::vector<double> table = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(GiveTables(0, 9, table), 0);
    EXPECT_EQ(g_trafo[0].coeffNum, 9);
    EXPECT_EQ(std::vector<double>(g_trafo[0].dataYI, g_trafo[0].dataYI + 9), table);
    EXPECT_NE(g_trafo[0].dataX, table.data());
    EXPECT_EQ(g_trafo[0].calXMin, 1.0);
    EXPECT_EQ(g_trafo[0].calXMax, 2.0);
    EXPECT_EQ(g_trafo[0].calYMin, 3.0);
    EXPECT_EQ(g_trafo[0].calYMax, 4.0);
    EXPECT_EQ(g_trafo[0].scaleX, 10.0);
    EXPECT_EQ(g_trafo[1].coeffNum, 4);
    EXPECT_EQ(folder.Read("default.odf"), TwoPathsObjective());
}

TEST_F(CoordinateTables, SetWithTheTablesItGotLeavesConversionsUnchanged)
{
    bringUpCoordinates();
    double before[2] = {612.0, 288.0};
    ASSERT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &before[0], &before[1]), 0);
    double *tables[4] = {};
    int32_t count = 0;
    ASSERT_EQ(ZVK_CoordinateSystems_GetTrafoCoeffs(0, 0, &count, &tables[0], &tables[1], &tables[2],
                                                   &tables[3]),
              0);
    for (int round = 0; round < 2; ++round)
        ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, count, tables[0], tables[1], tables[2],
                                                      tables[3], kLimits),
                  0);
    double after[2] = {612.0, 288.0};
    ASSERT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &after[0], &after[1]), 0);
    EXPECT_EQ(before[0], after[0]);
    EXPECT_EQ(before[1], after[1]);
    for (double *table : tables)
        std::free(table);
}

TEST_F(CoordinateTables, ACountThatIsNoSquareCostsThePathItsTablesButNothingElse)
{
    for (const int32_t count : {2, 3, 5, 2147483647, -1, -4, INT32_MIN}) {
        bringUpCoordinates();
        EXPECT_EQ(GiveTables(0, count, {1.0, 2.0}), ZVK_COORDINATES_NOT_SQUARE) << count;
        EXPECT_EQ(g_trafo[0].dataX, nullptr);
        EXPECT_EQ(g_trafo[0].dataYI, nullptr);
        EXPECT_EQ(g_trafo[0].initialized, 1);
        EXPECT_EQ(g_trafo[0].coeffNum, 4);
        EXPECT_EQ(g_trafo[0].calXMin, 150.0);
        EXPECT_NE(g_trafo[1].dataX, nullptr);
    }
}

TEST_F(CoordinateTables, WithoutTablesGetIsRefusedAndKeepsTheCallersTables)
{
    bringUpCoordinates();
    double *tables[4] = {};
    int32_t count = 0;
    ASSERT_EQ(ZVK_CoordinateSystems_GetTrafoCoeffs(0, 0, &count, &tables[0], &tables[1], &tables[2],
                                                   &tables[3]),
              0);
    ASSERT_EQ(GiveTables(0, 2, {1.0, 2.0}), ZVK_COORDINATES_NOT_SQUARE);
    count = 42;
    EXPECT_EQ(ZVK_CoordinateSystems_GetTrafoCoeffs(0, 0, &count, &tables[0], &tables[1], &tables[2],
                                                   &tables[3]),
              ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(count, 42);
    EXPECT_EQ(tables[2][0], 500.0);
    for (double *table : tables)
        std::free(table);
}

TEST_F(CoordinateTables, AGoodSetOrInitRepairsAPathWithoutTables)
{
    bringUpCoordinates();
    ASSERT_EQ(GiveTables(0, 2, {1.0, 2.0}), ZVK_COORDINATES_NOT_SQUARE);
    EXPECT_EQ(GiveTables(0, 1, {7.0}), 0);
    double x = 1.0;
    double y = 2.0;
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), 0);
    EXPECT_EQ(x, 7.0);

    ASSERT_EQ(GiveTables(0, 2, {1.0, 2.0}), ZVK_COORDINATES_NOT_SQUARE);
    bringUpCoordinates();
    EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), 0);
}

TEST_F(CoordinateTables, AWideSetOfOrdersIsTaken)
{
    bringUpCoordinates();
    for (int32_t order = 0; order <= 9; ++order) {
        const int32_t count = (order + 1) * (order + 1);
        EXPECT_EQ(GiveTables(0, count, std::vector<double>(count, 1.0)), 0) << order;
        EXPECT_EQ(g_trafo[0].coeffNum, count);
    }
}
