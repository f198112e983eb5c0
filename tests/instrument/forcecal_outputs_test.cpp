// Calibration with a stage on two of the card's outputs, which has no controller: pulses, the
// active method, the line scan.

#include "bead_session.h"

#include <quorvex-virtual/daq.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>

class ForceCalOutputs : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        session = std::make_unique<BeadSession>(
            BeadSessionSettings{.stage = BeadStage::kOutputs, .segmentS = 2.0, .averages = 4});
        ASSERT_EQ(session->Status(), 0);
        ASSERT_EQ(ZVK_ForceCal_GetViscosity(0, &viscosity), 0);
        double rate = 0.0;
        int32_t cycle = 0;
        double hertz = 0.0;
        ASSERT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, &cycle, &hertz), 0);
        EXPECT_EQ(cycle, 2048);
        EXPECT_NEAR(rate / cycle, 32.0, 0.001);
    }
    static void TearDownTestSuite() { session.reset(); }

    struct Tables
    {
        double beta[3] = {};
        double k[9] = {};
    };
    static Tables Read(int32_t path)
    {
        int32_t betas = 0;
        int32_t ks = 0;
        double *beta = nullptr;
        double *k = nullptr;
        Tables tables;
        EXPECT_EQ(ZVK_ForceCal_GetCalibration(0, path, &betas, &ks, &beta, &k), 0);
        EXPECT_EQ(betas, 1);
        EXPECT_EQ(ks, 3);
        if (betas == 1 && ks == 3) {
            std::copy_n(beta, 3, tables.beta);
            std::copy_n(k, 9, tables.k);
        }
        std::free(beta);
        std::free(k);
        return tables;
    }

    // The third value that the library keeps of a fit: a corner frequency, or a slope.
    static double Fitted(int32_t path, int32_t run, int32_t type, int32_t axis)
    {
        int32_t count = 0;
        double *data = nullptr;
        double *places = nullptr;
        double value = 0.0;
        EXPECT_EQ(ZVK_ForceCal_ReturnData(0, path, run, type, axis, &count, &data, &places, nullptr,
                                          nullptr, &value),
                  0);
        return value;
    }

    static std::unique_ptr<BeadSession> session;
    static double viscosity;
};

std::unique_ptr<BeadSession> ForceCalOutputs::session;
double ForceCalOutputs::viscosity = 0.0;

// As with the controller: beads almost at rest, whose fitted corner stands in the drag's share
// while the true one shaped the peak.
TEST_F(ForceCalOutputs, TheActiveBetaIsTheTrueOneOverTheSquareRootOfTwo)
{
    VirtualBeadsSettings settings = {.seed = 3, .temperatureK = 0.03, .viscosity = viscosity};
    settings.beads[0].noise = 0.0;
    settings.beads[1].noise = 0.0;
    const VirtualBeads &beads = session->Hold(settings);
    for (const int32_t path : {0, 1}) {
        for (const int32_t axis : {0, 1})
            ASSERT_EQ(ZVK_ForceCal_AcquireData(0, path, axis), 0);
        ASSERT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
        for (int axis = 0; axis < 2; ++axis) {
            const VirtualBeadTruth truth = beads.Truth(path, axis);
            const double fitted = Fitted(path, axis, ZVK_FORCECAL_SPECTRUM, axis);
            const double share = std::sqrt((std::pow(truth.cornerFrequency / 32.0, 2.0) + 1.0) /
                                           (std::pow(fitted / 32.0, 2.0) + 1.0));
            EXPECT_NEAR(Read(path).beta[axis] / (truth.sensitivity * share),
                        1.0 / std::numbers::sqrt2, 1e-3)
                << "path " << path << ", axis " << axis;
        }
    }
}

// One run of eight seconds: its corner has an error of 0.017, beta the same, K twice that.
TEST_F(ForceCalOutputs, WarmBeadsGiveTheirStiffness)
{
    const VirtualBeads &beads = session->Hold({.seed = 4, .viscosity = viscosity});
    for (const int32_t path : {0, 1}) {
        for (const int32_t run : {0, 1, 3})
            ASSERT_EQ(ZVK_ForceCal_AcquireData(0, path, run), 0);
    }
    ASSERT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
    const Tables active[] = {Read(0), Read(1)};
    ASSERT_EQ(ZVK_ForceCal_UpdatePSDCalibration(0), 0);
    const Tables spectrum[] = {Read(0), Read(1)};
    for (int path = 0; path < 2; ++path) {
        for (int axis = 0; axis < 2; ++axis) {
            const VirtualBeadTruth truth = beads.Truth(path, axis);
            EXPECT_NEAR(active[path].beta[axis] * std::numbers::sqrt2 / truth.sensitivity, 1.0,
                        0.06)
                << path << axis;
            EXPECT_NEAR(active[path].k[axis] / 2.0 / truth.stiffness, 1.0, 0.12) << path << axis;
            EXPECT_NEAR(spectrum[path].k[axis] / truth.stiffness, 1.0, 0.06) << path << axis;
        }
    }
}

TEST_F(ForceCalOutputs, ALineScanOfAStuckBeadFindsBeta)
{
    VirtualBeads &beads = session->Hold({.seed = 5});
    beads.SetStuck(true);
    for (const int32_t axis : {0, 1})
        ASSERT_EQ(ZVK_ForceCal_LineScan(0, 0, axis), 0);
    ASSERT_EQ(ZVK_ForceCal_UpdateLSFits(0), 0);
    for (const int32_t axis : {0, 1}) {
        const double slope = Fitted(0, 3, ZVK_FORCECAL_LINE_SCAN_FIT, axis);
        EXPECT_NEAR(1e-6 / slope / beads.Truth(0, axis).sensitivity, 1.0, 0.01) << axis;
    }
}
