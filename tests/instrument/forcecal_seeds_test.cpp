// A whole calibration on virtual beads, over ten seeds: each method finds what was put in.

#include "bead_session.h"

#include <quorvex-virtual/daq.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kSeeds = 2;  // finds the same numbers, ten times as slowly
#else
constexpr int kSeeds = 10;
#endif
constexpr double kSegmentS = 3.0;
constexpr int32_t kAverages = 4;
constexpr double kAmplitude = 0.25e-6;  // m
constexpr double kHertz = 32.0;

// What the seeds found, as shares of the truth, for one method and axis.
struct Found
{
    std::vector<double> shares;
    double error = 0.0;  // of one of them, one standard deviation, by theory
};

// The relative error of a corner frequency from an unweighted fit of A / (f^2 + c^2) to a spectrum
// of N averaged segments: each bin scatters by its own height over sqrt(N), so the covariance is
// (J'J)^-1 J'SJ (J'J)^-1 with S the diagonal of those variances.
static double CornerError(double corner, double segmentS, double averages)
{
    double jj[3] = {0, 0, 0};
    double jsj[3] = {0, 0, 0};
    for (double f = 10.0 + 1.0 / segmentS; f < 8000.0; f += 1.0 / segmentS) {
        const double height = corner * corner / (f * f + corner * corner);
        // Both derivatives, relative to A and to c.
        const double a = height;
        const double c = -2.0 * corner * corner * height / (f * f + corner * corner);
        const double variance = height * height / averages;
        jj[0] += a * a;
        jj[1] += a * c;
        jj[2] += c * c;
        jsj[0] += a * a * variance;
        jsj[1] += a * c * variance;
        jsj[2] += c * c * variance;
    }
    const double det = jj[0] * jj[2] - jj[1] * jj[1];
    const double inverse[2] = {-jj[1] / det, jj[0] / det};
    return std::sqrt(inverse[0] * inverse[0] * jsj[0] + 2.0 * inverse[0] * inverse[1] * jsj[1] +
                     inverse[1] * inverse[1] * jsj[2]);
}

// The relative error of a variance over a time T: sqrt(2 t / T), with t the motion's own time.
static double VarianceError(double corner, double seconds)
{
    return std::sqrt(2.0 / (2.0 * std::numbers::pi * corner) / seconds);
}

// The relative error of the amplitude of a peak: half of sqrt(2 B / (P N)), with B the jitter's
// power in the peak's bin, P the peak's own and N segments.
static double PeakError(const VirtualBeadTruth &truth, double segmentS, double averages)
{
    const double corner = truth.cornerFrequency;
    const double jitter = 2.0 * truth.deviation * truth.deviation / (std::numbers::pi * corner) /
                          (1.0 + std::pow(kHertz / corner, 2.0)) / segmentS;
    const double peak = kAmplitude * kAmplitude / 2.0 / (1.0 + std::pow(corner / kHertz, 2.0));
    return std::sqrt(jitter / (2.0 * peak * averages));
}

// The mean of the seeds lies within the limit, or within three of its own errors where that is
// less; a limit of 0 leaves the errors alone to decide.
static void ExpectFinds(const char *what, const Found (&found)[3], double limit, double factor)
{
    for (int axis = 0; axis < 3; ++axis) {
        if (found[axis].shares.empty()) continue;
        const std::string where = std::string(what) + " of axis " + "xyz"[axis];
        double mean = 0.0;
        for (const double share : found[axis].shares)
            mean += share / factor / static_cast<double>(found[axis].shares.size());
        const double ofMean = 3.0 * found[axis].error / std::sqrt(kSeeds);
        const double allowed = limit > 0.0 ? std::min(limit, ofMean) : ofMean;
        EXPECT_NEAR(mean, 1.0, allowed) << where;
        double square = 0.0;
        for (const double share : found[axis].shares)
            square += (share / factor - mean) * (share / factor - mean) / (kSeeds - 1);
        for (size_t seed = 0; seed < found[axis].shares.size(); ++seed)
            EXPECT_NEAR(found[axis].shares[seed] / factor, 1.0, 3.0 * found[axis].error)
                << where << ", seed " << seed + 1;
        std::printf("  %-40s %7.4f +- %.4f, expected %.4f\n", where.c_str(), mean,
                    std::sqrt(square), found[axis].error);
    }
}

// The tables of a path, as they are now.
static std::array<double, 12> Tables(int32_t path)
{
    int32_t betas = 0;
    int32_t ks = 0;
    double *beta = nullptr;
    double *k = nullptr;
    std::array<double, 12> all = {};
    EXPECT_EQ(ZVK_ForceCal_GetCalibration(0, path, &betas, &ks, &beta, &k), 0);
    EXPECT_EQ(betas, 1);
    EXPECT_EQ(ks, 3);
    if (betas == 1 && ks == 3) {
        std::copy_n(beta, 3, all.begin());
        std::copy_n(k, 9, all.begin() + 3);
    }
    std::free(beta);
    std::free(k);
    return all;
}

static double Corner(int32_t path, int axis)
{
    int32_t count = 0;
    double *data = nullptr;
    double *frequencies = nullptr;
    double corner = 0.0;
    EXPECT_EQ(ZVK_ForceCal_ReturnData(0, path, 3, 4, axis, &count, &data, &frequencies, nullptr,
                                      nullptr, &corner),
              0);
    return corner;
}

// The parabola is fitted where there is enough to count: two deviations to each side.
static void LimitPotentials(const VirtualBeads &beads, int32_t path)
{
    for (int axis = 0; axis < 3; ++axis) {
        const VirtualBeadTruth truth = beads.Truth(path, axis);
        const double limit = 2.0 * truth.deviation / truth.sensitivity;
        EXPECT_EQ(ZVK_ForceCal_SetPotFitStart(0, path, axis, -limit), 0);
        EXPECT_EQ(ZVK_ForceCal_SetPotFitStop(0, path, axis, limit), 0);
    }
}

TEST(ForceCalSeeds, EachMethodFindsWhatWasPutIn)
{
    BeadSession session({.segmentS = kSegmentS, .averages = kAverages});
    ASSERT_EQ(session.Status(), 0);
    double viscosity = 0.0;
    ASSERT_EQ(ZVK_ForceCal_GetViscosity(0, &viscosity), 0);
    double rate = 0.0;
    int32_t cycle = 0;
    double hertz = 0.0;
    ASSERT_EQ(ZVK_ForceCal_TriggerCalibration(0, &rate, &cycle, &hertz), 0);
    EXPECT_EQ(cycle, 2048);
    EXPECT_EQ(hertz, kHertz);
    EXPECT_NEAR(rate, 65536.0, 1e-6);

    Found corners[3];
    Found spectrum[3];
    Found activeBeta[3];
    Found activeK[3];
    Found equipartition[3];
    Found tableEquipartition[3];
    Found potential[3];
    Found tablePotential[3];
    for (uint64_t seed = 1; seed <= kSeeds; ++seed) {
        VirtualBeadsSettings settings = {.seed = seed, .viscosity = viscosity};
        settings.beads[0].stiffness[2] =
            3e-5;  // else z scatters so much that ten seeds tell little
        const VirtualBeads &beads = session.Hold(settings);
        LimitPotentials(beads, 0);
        for (int32_t axis = 0; axis < 4; ++axis)
            ASSERT_EQ(ZVK_ForceCal_AcquireData(0, 0, axis), 0) << axis;
        ASSERT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
        const auto active = Tables(0);
        ASSERT_EQ(ZVK_ForceCal_UpdatePSDCalibration(0), 0);
        const auto psd = Tables(0);
        double betas[3];
        double ks[9] = {};
        for (int axis = 0; axis < 3; ++axis)
            betas[axis] = beads.Truth(0, axis).sensitivity;
        ASSERT_EQ(ZVK_ForceCal_SetCalibration(0, 0, 1, 3, betas, ks), 0);
        ASSERT_EQ(ZVK_ForceCal_UpdateEPCalibrationRWQS(0), 0);
        const auto given = Tables(0);
        for (int axis = 0; axis < 3; ++axis) {
            const VirtualBeadTruth truth = beads.Truth(0, axis);
            const auto share = [&](const std::array<double, 12> &tables, int type) {
                return tables[static_cast<size_t>(3 * type + 3 + axis)] / truth.stiffness;
            };
            const double beta = active[static_cast<size_t>(axis)] / truth.sensitivity;
            corners[axis].shares.push_back(Corner(0, axis) / truth.cornerFrequency);
            spectrum[axis].shares.push_back(share(psd, 0));
            activeBeta[axis].shares.push_back(beta);
            activeK[axis].shares.push_back(share(active, 0));
            equipartition[axis].shares.push_back(share(given, 1));
            tableEquipartition[axis].shares.push_back(share(active, 1));
            potential[axis].shares.push_back(share(active, 2) * beta * beta);
            tablePotential[axis].shares.push_back(share(active, 2));
        }
    }
    for (int axis = 0; axis < 3; ++axis) {
        const VirtualBeadTruth truth = session.Beads().Truth(0, axis);
        const double corner = truth.cornerFrequency;
        const double ofCorner = CornerError(corner, kSegmentS, kAverages);
        const double ofVariance = VarianceError(corner, kSegmentS);
        // The peak over the drag's share, which goes with 1 / fc.
        const double ofBeta = std::hypot(ofCorner, PeakError(truth, kSegmentS, kAverages));
        // The parabola is laid through the logarithm of the counts without weights: its error is
        // up to twice that of the variance of the whole run.
        const double ofPotential = 2.0 * VarianceError(corner, kSegmentS * kAverages);
        corners[axis].error = ofCorner;
        spectrum[axis].error = ofCorner;
        equipartition[axis].error = ofVariance;
        potential[axis].error = ofPotential;
        activeBeta[axis].error = ofBeta;
        activeK[axis].error = 2.0 * ofBeta;
        tableEquipartition[axis].error = std::hypot(ofVariance, 2.0 * ofBeta);
        tablePotential[axis].error = std::hypot(ofPotential, 2.0 * ofBeta);
    }
    ExpectFinds("corner frequency", corners, 0.02, 1.0);
    ExpectFinds("K by the spectrum", spectrum, 0.03, 1.0);
    ExpectFinds("K by equipartition", equipartition, 0.03, 1.0);
    ExpectFinds("K by the potential", potential, 0.03, 1.0);
    // The exact factors, as far as ten seeds can tell.
    ExpectFinds("active beta", activeBeta, 0.0, 1.0 / std::numbers::sqrt2);
    ExpectFinds("active K", activeK, 0.0, 2.0);
    ExpectFinds("equipartition's K in the table", tableEquipartition, 0.0, 2.0);
    ExpectFinds("the potential's K in the table", tablePotential, 0.0, 2.0);
}
