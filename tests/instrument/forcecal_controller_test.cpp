// Calibration with the stage's controller: the exact factor of the active method, the line scan,
// the axes exchanged, and path B.

#include "bead_session.h"

#include <quorvex-virtual/daq.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>

class ForceCalController : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        session =
            std::make_unique<BeadSession>(BeadSessionSettings{.segmentS = 1.0, .averages = 4});
        int32_t cycle = 0;
        double hertz = 0.0;
        ASSERT_EQ(session->Status(), 0);
        ASSERT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, &cycle, &hertz), 0);
        ASSERT_EQ(hertz, 32.0);
    }
    static void TearDownTestSuite() { session.reset(); }

    static double Beta(int32_t path, int axis)
    {
        int32_t counts[2] = {0, 0};
        double *beta = nullptr;
        double *k = nullptr;
        EXPECT_EQ(ZVK_ForceCal_GetCalibration(0, path, &counts[0], &counts[1], &beta, &k), 0);
        const double value = beta ? beta[axis] : 0.0;
        std::free(beta);
        std::free(k);
        return value;
    }

    static double FittedCorner(int32_t path, int32_t run, int axis)
    {
        int32_t count = 0;
        double *data = nullptr;
        double *frequencies = nullptr;
        double corner = 0.0;
        EXPECT_EQ(ZVK_ForceCal_ReturnData(0, path, run, 16, axis, &count, &data, &frequencies,
                                          nullptr, nullptr, &corner),
                  0);
        return corner;
    }

    static std::unique_ptr<BeadSession> session;
    static double rate;
};

std::unique_ptr<BeadSession> ForceCalController::session;
double ForceCalController::rate = 0.0;

// Beads that are almost at rest, so that the peak stands far above their jitter. What is left is
// the spectrum's scale, twice the power that a one-sided spectrum has: beta is the true one over
// the square root of 2, to a thousandth.
TEST_F(ForceCalController, TheActiveBetaIsTheTrueOneOverTheSquareRootOfTwo)
{
    for (const int32_t path : {0, 1}) {
        VirtualBeadsSettings settings = {.seed = 3, .temperatureK = 0.03};
        settings.beads[0].noise = 0.0;
        settings.beads[1].noise = 0.0;
        const VirtualBeads &beads = session->Hold(settings);
        for (int32_t axis = 0; axis < 3; ++axis)
            ASSERT_EQ(ZVK_ForceCal_AcquireData(0, path, axis), 0);
        ASSERT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
        for (int axis = 0; axis < 3; ++axis) {
            const VirtualBeadTruth truth = beads.Truth(path, axis);
            const double fitted = FittedCorner(path, axis, axis);
            // The corner that was fitted stands in the drag's share; the true one shaped the peak.
            const double share = std::sqrt((std::pow(truth.cornerFrequency / 32.0, 2.0) + 1.0) /
                                           (std::pow(fitted / 32.0, 2.0) + 1.0));
            EXPECT_NEAR(Beta(path, axis) / (truth.sensitivity * share), 1.0 / std::numbers::sqrt2,
                        1e-3)
                << "path " << path << ", axis " << axis;
        }
    }
}

TEST_F(ForceCalController, WithTheAxesExchangedTheStageShakesTheOtherOne)
{
    (void)session->Hold({.seed = 5, .temperatureK = 1e-4});
    ASSERT_EQ(ZVK_ForceCal_SetSwapAxes(0, 1), 0);
    (void)session->Stage().TakeLines();
    ASSERT_EQ(ZVK_ForceCal_AcquireData(0, 0, 1), 0);
    ASSERT_EQ(ZVK_ForceCal_SetSwapAxes(0, 0), 0);
    bool third = false;
    for (const std::string &command : session->Stage().Commands()) {
        EXPECT_NE(command.substr(0, 7), "WGO 2 1") << command;
        third = third || command.substr(0, 6) == "WGO 3 ";
    }
    EXPECT_TRUE(third);
    // Shaken along z, the y signal of run 1 has no peak: its bin is jitter, and the sum's has one.
    int32_t count = 0;
    double *power[3] = {};
    double *frequencies = nullptr;
    for (int axis = 0; axis < 3; ++axis)
        ASSERT_EQ(ZVK_ForceCal_ReturnData(0, 0, 1, 4, axis, &count, &power[axis], &frequencies,
                                          nullptr, nullptr, nullptr),
                  0);
    EXPECT_LT(power[1][32], 20.0 * power[1][40]);
    EXPECT_GT(power[2][32], 1e4 * power[2][40]);
}

TEST_F(ForceCalController, ALineScanOfAStuckBeadFindsBeta)
{
    for (const int32_t path : {0, 1}) {
        VirtualBeads &beads = session->Hold({.seed = 8});
        beads.SetStuck(true);
        double start[3];
        for (int axis = 0; axis < 3; ++axis)
            start[axis] = session->Stage().State(axis).target;
        for (int32_t axis = 0; axis < 3; ++axis)
            ASSERT_EQ(ZVK_ForceCal_LineScan(0, path, axis), 0);
        ASSERT_EQ(ZVK_ForceCal_UpdateLSFits(0), 0);
        for (int axis = 0; axis < 3; ++axis) {
            int32_t count = 0;
            double *signal = nullptr;
            double *places = nullptr;
            double slope = 0.0;
            ASSERT_EQ(ZVK_ForceCal_ReturnData(0, path, 3, 1024, axis, &count, &signal, &places,
                                              nullptr, nullptr, &slope),
                      0);
            EXPECT_GE(count, 20);
            EXPECT_NEAR(1e-6 / slope / beads.Truth(path, axis).sensitivity, 1.0, 0.01);
            EXPECT_NEAR(session->Stage().State(axis).target, start[axis], 1e-6) << "it goes back";
        }
    }
    ASSERT_EQ(ZVK_ForceCal_UpdateCalibrationRWQS(0), 0);
    const VirtualBeads &beads = session->Beads();
    EXPECT_NEAR(Beta(0, 0) / beads.Truth(0, 0).sensitivity, 1.0, 0.01);
    EXPECT_NEAR(Beta(0, 1) / beads.Truth(0, 1).sensitivity, 1.0, 0.01);
}

TEST_F(ForceCalController, ARunWithoutOscillationSendsTheStageNothing)
{
    (void)session->Hold({.seed = 9});
    (void)session->Stage().TakeLines();
    ASSERT_EQ(ZVK_ForceCal_AcquireData(0, 1, 3), 0);
    EXPECT_EQ(session->Stage().Commands().size(), 0U);
}

// A tenth of a second of pulses is missed while nothing shakes; the settings serve then.
TEST_F(ForceCalController, WithoutOscillationTheTriggerFallsBackOnTheSettings)
{
    ASSERT_EQ(ZVK_ForceCal_SetOscillate(0, 0), 0);
    double got = 0.0;
    int32_t cycle = 0;
    double hertz = 0.0;
    EXPECT_EQ(ZVK_ForceCal_TriggerCalibration(0, &got, &cycle, &hertz), -1406);
    EXPECT_EQ(hertz, 32.0);
    EXPECT_EQ(got, 65536.0);
    EXPECT_EQ(cycle, 2048);
    ASSERT_EQ(ZVK_ForceCal_SetOscillate(0, 1), 0);
}
