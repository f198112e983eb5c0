// The coordinate calls as a calibration tool uses them: measure, fit, set, save, load.

#include "close_modules.h"
#include "scratch_folder.h"
#include "start_session.h"
#include "two_paths.h"

#include "quorvex/quorvex.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using Values = std::vector<double>;

class CoordinateCalls : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder.Write("config.ini", TwoPathsConfig());
        folder.Write("default.odf", TwoPathsObjective());
        folder.Write("default.cal", TwoPathsCalibration());
    }
    void TearDown() override { CloseModules(); }

    ScratchFolder folder;
};

TEST_F(CoordinateCalls, ConversionsThereAndBackMeet)
{
    ASSERT_EQ(StartSession(), 0);
    const int32_t pairs[][2] = {
        {ZVK_TRAFODIR_VOLT_TO_PIXEL, ZVK_TRAFODIR_PIXEL_TO_VOLT},
        {ZVK_TRAFODIR_VOLT_TO_MICROMETER, ZVK_TRAFODIR_MICROMETER_TO_VOLT},
        {ZVK_TRAFODIR_MICROMETER_TO_PIXEL, ZVK_TRAFODIR_PIXEL_TO_MICROMETER},
    };
    for (int32_t path = 0; path < 2; ++path) {
        for (const auto &pair : pairs) {
            double x = 1.25;
            double y = -0.75;
            EXPECT_EQ(ZVK_CoordinateSystems_Convert(0, path, &x, &y, pair[0]), 0);
            EXPECT_EQ(ZVK_CoordinateSystems_Convert(0, path, &x, &y, pair[1]), 0);
            EXPECT_NEAR(x, 1.25, 1e-4);
            EXPECT_NEAR(y, -0.75, 1e-4);
        }
    }
}

TEST_F(CoordinateCalls, BeforeTheInitEveryCallTellsSo)
{
    double x = 1.0;
    double y = 2.0;
    double *table = nullptr;
    int32_t count = 0;
    EXPECT_EQ(ZVK_CoordinateSystems_Convert(0, 0, &x, &y, -1), ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_CoordinateSystems_GetCalRange(0, 0, &x, &x, &y, &y, ZVK_UNIT_PIXEL),
              ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_CoordinateSystems_GetCameraScale(0, &x, &y), ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_CoordinateSystems_CalibrateCamera(0, 0, x, y), ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_CoordinateSystems_GetTrafoCoeffs(0, 0, &count, &table, &table, &table, &table),
              ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 1, &x, &x, &x, &x, &x),
              ZVK_COORDINATES_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_CoordinateSystems_Shutdown(0), 0);
}

TEST_F(CoordinateCalls, WhatWasSetIsSavedAndLoadedAgain)
{
    ASSERT_EQ(StartSession(), 0);
    const Values table = {1.5, 0.25, -2.0, 0.125, 3.0, 7.0, -0.5, 0.0625, 11.0};
    const double range[4] = {10.0, 20.0, 30.0, 40.0};
    char section[] = "GALVO 1";
    ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 1, 9, table.data(), table.data(), table.data(),
                                                  table.data(), range),
              0);
    ASSERT_EQ(ZVK_ConFile_WriteObjective(0, "default.odf", section, 9, table.data(), table.data(),
                                         table.data(), table.data(), range),
              0);
    ASSERT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), 0);

    double *tables[4] = {};
    int32_t count = 0;
    ASSERT_EQ(ZVK_CoordinateSystems_GetTrafoCoeffs(0, 1, &count, &tables[0], &tables[1], &tables[2],
                                                   &tables[3]),
              0);
    ASSERT_EQ(count, 9);
    for (double *loaded : tables) {
        EXPECT_EQ(Values(loaded, loaded + 9), table);
        std::free(loaded);
    }
    double x[2] = {};
    double y[2] = {};
    EXPECT_EQ(ZVK_CoordinateSystems_GetCalRange(0, 1, &x[0], &x[1], &y[0], &y[1], ZVK_UNIT_PIXEL),
              0);
    EXPECT_EQ(x[0], 10.0);
    EXPECT_EQ(y[1], 40.0);
}

// A grid of points over the mirrors' range, seen through a field that is bent a little.
struct Measured
{
    Values xVolts, yVolts, xPixels, yPixels;
};

static Measured MeasureGrid()
{
    Measured points;
    for (int i = -6; i <= 6; ++i) {
        for (int j = -6; j <= 6; ++j) {
            const double x = 0.4 * i;
            const double y = 0.4 * j;
            points.xVolts.push_back(x);
            points.yVolts.push_back(y);
            points.xPixels.push_back(500.0 + 100.0 * x + 1.5 * x * y);
            points.yPixels.push_back(400.0 + 95.0 * y - 0.8 * x * x);
        }
    }
    return points;
}

TEST_F(CoordinateCalls, FittedTablesBringMeasuredPointsBack)
{
    ASSERT_EQ(StartSession(), 0);
    constexpr int32_t kOrder = 3;
    const Measured points = MeasureGrid();
    const int32_t n = static_cast<int32_t>(points.xVolts.size());
    Values forwardX(16);
    Values forwardY(16);
    Values inverseX(16);
    Values inverseY(16);

    // Forward: the first table gives Y. The inputs come back exchanged, so each fit has its own.
    Values first = points.xPixels;
    Values second = points.yPixels;
    Values y = points.yVolts;
    Values x = points.xVolts;
    double *inputs[2] = {first.data(), second.data()};
    double *outputs[2] = {y.data(), x.data()};
    ASSERT_EQ(ZVK_CoordinateSystems_PolyFit(0, n, kOrder, 1, inputs, outputs, forwardX.data(),
                                            forwardY.data()),
              0);
    EXPECT_EQ(first, points.yPixels);
    first = points.xVolts;
    second = points.yVolts;
    x = points.xPixels;
    y = points.yPixels;
    double *pixels[2] = {x.data(), y.data()};
    ASSERT_EQ(ZVK_CoordinateSystems_PolyFit(0, n, kOrder, 0, inputs, pixels, inverseX.data(),
                                            inverseY.data()),
              0);
    const double range[4] = {250.0, 750.0, 160.0, 640.0};
    ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 16, forwardX.data(), forwardY.data(),
                                                  inverseX.data(), inverseY.data(), range),
              0);

    for (int32_t i = 0; i < n; ++i) {
        double xNow = points.xPixels[i];
        double yNow = points.yPixels[i];
        ASSERT_EQ(ZVK_CoordinateSystems_Convert(0, 0, &xNow, &yNow, ZVK_TRAFODIR_PIXEL_TO_VOLT), 0);
        EXPECT_NEAR(xNow, points.xVolts[i], 2e-3);
        EXPECT_NEAR(yNow, points.yVolts[i], 2e-3);
        xNow = points.xVolts[i];
        yNow = points.yVolts[i];
        ASSERT_EQ(ZVK_CoordinateSystems_Convert(0, 0, &xNow, &yNow, ZVK_TRAFODIR_VOLT_TO_PIXEL), 0);
        EXPECT_NEAR(xNow, points.xPixels[i], 1e-3);
        EXPECT_NEAR(yNow, points.yPixels[i], 1e-3);
    }
}
