// Calibration with a stage on two of the card's outputs, which has no controller: pulses, the
// active method, the line scan.

#include "bead_session.h"

#include <quorvex-virtual/daq.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

TEST(ForceCalOutputs, ACalibrationFindsWhatWasPutIn)
{
    BeadSession session({.stage = BeadStage::kOutputs, .segmentS = 2.0, .averages = 4});
    ASSERT_EQ(session.Status(), 0);
    double viscosity = 0.0;
    ASSERT_EQ(ZVK_ForceCal_GetViscosity(0, &viscosity), 0);
    VirtualBeads &beads = session.Hold({.seed = 4, .viscosity = viscosity});
    double rate = 0.0;
    int32_t cycle = 0;
    double hertz = 0.0;
    ASSERT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, &cycle, &hertz), 0);
    EXPECT_EQ(cycle, 2048);
    EXPECT_NEAR(rate / cycle, 32.0, 0.01);
    for (const int32_t path : {0, 1}) {
        for (const int32_t run : {0, 1, 3})
            ASSERT_EQ(ZVK_ForceCal_AcquireData(0, path, run), 0);
    }
    ASSERT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
    for (const int32_t path : {0, 1}) {
        int32_t counts[2] = {0, 0};
        double *beta = nullptr;
        double *k = nullptr;
        ASSERT_EQ(ZVK_ForceCal_GetCalibration(0, path, &counts[0], &counts[1], &beta, &k), 0);
        for (int axis = 0; axis < 2; ++axis) {
            const VirtualBeadTruth truth = beads.Truth(path, axis);
            EXPECT_NEAR(beta[axis] * std::numbers::sqrt2 / truth.sensitivity, 1.0, 0.06) << axis;
            EXPECT_NEAR(k[axis] / 2.0 / truth.stiffness, 1.0, 0.12) << axis;
        }
        std::free(beta);
        std::free(k);
    }
    ASSERT_EQ(ZVK_ForceCal_UpdatePSDCalibration(0), 0);
    int32_t counts[2] = {0, 0};
    double *beta = nullptr;
    double *k = nullptr;
    ASSERT_EQ(ZVK_ForceCal_GetCalibration(0, 1, &counts[0], &counts[1], &beta, &k), 0);
    for (int axis = 0; axis < 2; ++axis)
        EXPECT_NEAR(k[axis] / beads.Truth(1, axis).stiffness, 1.0, 0.06) << axis;
    std::free(beta);
    std::free(k);

    beads.SetStuck(true);
    for (const int32_t axis : {0, 1}) {
        ASSERT_EQ(ZVK_ForceCal_LineScan(0, 0, axis), 0);
    }
    ASSERT_EQ(ZVK_ForceCal_UpdateLSFits(0), 0);
    for (const int32_t axis : {0, 1}) {
        int32_t count = 0;
        double *signal = nullptr;
        double *places = nullptr;
        double slope = 0.0;
        ASSERT_EQ(ZVK_ForceCal_ReturnData(0, 0, 3, 1024, axis, &count, &signal, &places, nullptr,
                                          nullptr, &slope),
                  0);
        EXPECT_NEAR(1e-6 / slope / beads.Truth(0, axis).sensitivity, 1.0, 0.01) << axis;
    }
}
