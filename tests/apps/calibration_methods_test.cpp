#include "statistics_methods.h"
#include "statistics_segments.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using std::numbers::pi;

static MethodResult Result(Method method, double value, double error)
{
    return {method, {}, {value, error}};
}

// What a table of methods comes to.
struct VerdictRow
{
    const char *what;
    std::vector<MethodResult> results;
    Agreement agreement;
    std::string text;
};

TEST(Verdict, FollowsFromTheTableOfMethods)
{
    const VerdictRow rows[] = {
        {"nothing", {}, Agreement::none, "fewer than two methods, nothing to compare"},
        {"one method",
         {Result(Method::active, 5.0, 0.1)},
         Agreement::none,
         "fewer than two methods, nothing to compare"},
        {"within three joint uncertainties",
         {Result(Method::powerSpectrum, 50.0, 1.0), Result(Method::active, 54.0, 1.0)},
         Agreement::agree,
         "the methods agree within their uncertainties"},
        {"more than chance, within a tenth",
         {Result(Method::powerSpectrum, 50.0, 0.3), Result(Method::active, 54.0, 0.4)},
         Agreement::close,
         "the methods lie within 8.0 % of each other, but active lies above power spectrum by 8.0 "
         "joint uncertainties, more than chance explains"},
        {"the pair that is farthest apart for its uncertainties, not in value",
         {Result(Method::powerSpectrum, 50.0, 1.0), Result(Method::equipartition, 100.0, 40.0),
          Result(Method::potential, 60.0, 1.0)},
         Agreement::disagree,
         "the methods disagree: potential lies above power spectrum by 7.1 joint uncertainties, "
         "and "
         "they spread over 100 %"},
        {"an uncertainty that isn't known proves nothing, closeness does",
         {Result(Method::powerSpectrum, 50.0, 1.0), Result(Method::active, 50.5, kUnknown)},
         Agreement::close,
         ""},
    };
    for (const VerdictRow &row : rows) {
        const Verdict verdict = Judge(row.results);
        EXPECT_EQ(verdict.agreement, row.agreement) << row.what;
        if (row.text.empty()) continue;
        EXPECT_EQ(VerdictText(verdict), row.text) << row.what;
    }
}

TEST(Verdict, TakesTheMeanOfWhatComesFromDifferentRuns)
{
    const std::vector<MethodResult> all = {
        Result(Method::powerSpectrum, 50.0, 1.0), Result(Method::equipartition, 40.0, 1.0),
        Result(Method::potential, 40.0, 1.0), Result(Method::active, 52.0, 1.0)};
    EXPECT_NEAR(Judge(all).mean.value, 51.0, 1e-12);
    EXPECT_NEAR(Judge(all).mean.error, std::sqrt(0.5), 1e-12);
    EXPECT_NEAR(Judge({all[0], all[1], all[2]}).mean.value, 45.0, 1e-12) << "without active";
}

TEST(CompareWithTruth, AllowsThreeUncertaintiesOrThreePercent)
{
    EXPECT_EQ(CompareWithTruth({102.9, 0.1}, 100.0), Closeness::within);
    EXPECT_EQ(CompareWithTruth({103.1, 0.1}, 100.0), Closeness::beyond);
    EXPECT_EQ(CompareWithTruth({111.0, 4.0}, 100.0), Closeness::within);
    EXPECT_EQ(CompareWithTruth({102.0, kUnknown}, 100.0), Closeness::within);
    EXPECT_EQ(CompareWithTruth({kUnknown, 1.0}, 100.0), Closeness::unknown);
    EXPECT_EQ(CompareWithTruth({100.0, 1.0}, kUnknown), Closeness::unknown);
}

// A run's signal whose segments are exact Ornstein-Uhlenbeck motion, with the spectrum's fit as the
// library makes it: least squares over the mean of the segments.
static SignalData MakeSignal(std::mt19937_64 &random, double corner, double deviation,
                             size_t segments)
{
    constexpr size_t kSamples = 4096;
    constexpr double kRate = 16384.0;
    const double keep = std::exp(-2.0 * pi * corner / kRate);
    std::normal_distribution<double> draw(0.0, 1.0);
    SegmentSpectrum spectrum(kSamples, kRate);
    SignalData signal;
    double x = deviation * draw(random);
    for (size_t s = 0; s < segments; ++s) {
        std::vector<double> samples;
        for (size_t i = 0; i < kSamples; ++i) {
            samples.push_back(x);
            x = keep * x + deviation * std::sqrt(1.0 - keep * keep) * draw(random);
        }
        signal.variances.push_back(VarianceOf(samples));
        const std::vector<double> &power = spectrum.Of(samples);
        signal.fitPower.emplace_back(power.begin() + 2, power.begin() + 700);
    }
    std::vector<double> f;
    for (int k = 2; k < 700; ++k)
        f.push_back(k * 4.0);
    const std::vector<double> mean = MeanWithout(signal.fitPower, segments);
    const Lorentzian fit = FitLorentzian(f, mean, {deviation * deviation * corner, corner});
    signal.cornerFrequency = fit.corner;
    signal.spectrumFit.x = f;
    for (const double frequency : f)
        signal.spectrumFit.y.push_back(At(fit, frequency));
    return signal;
}

static CalibrationData Medium()
{
    CalibrationData data;
    data.temperature = 300.0;
    data.viscosity = 1e-3;
    data.diameter = 1.0;
    return data;
}

// Over many runs the uncertainty that is told is the scatter of what is found.
TEST(WorkOutAxis, TellsTheScatterOfTheCornerFrequency)
{
    std::mt19937_64 random(11);
    std::vector<double> corners;
    std::vector<double> told;
    for (int trial = 0; trial < 60; ++trial) {
        CalibrationData data = Medium();
        RunData &still = data.paths[0].runs[kStillRun];
        still.isThere = true;
        still.averages = 10;
        still.signals[0] = MakeSignal(random, 300.0, 1.0, 10);
        const Measured corner = WorkOutAxis(data, 0, 0).corner;
        corners.push_back(corner.value);
        told.push_back(corner.error);
    }
    // Of 60 runs the scatter is known to 9 %, the mean of what is told to 4 %.
    EXPECT_NEAR(MeanOf(told) / DeviationOf(corners), 1.0, 0.3);
}

TEST(WorkOutAxis, HalvesWhatTheActiveTablesTellAndLeavesThePowerSpectrum)
{
    std::mt19937_64 random(3);
    CalibrationData data = Medium();
    PathData &path = data.paths[1];
    path.runs[kStillRun].isThere = true;
    path.runs[kStillRun].signals[0] = MakeSignal(random, 300.0, 1.0, 4);
    path.runs[0].isThere = true;
    path.runs[0].oscillationHertz = 32.0;
    path.runs[0].peakHertz = 32.0;
    path.runs[0].signals[0] = MakeSignal(random, 300.0, 1.0, 4);
    path.runs[0].signals[0].peakPower = {5.0, 5.1, 4.9, 5.05};
    path.told.beta[0] = 1e-6;
    path.told.stiffness = {8e-5, 0.0, 0.0, 7.8e-5, 0.0, 0.0, 7.6e-5, 0.0, 0.0};
    path.told.powerSpectrum[0] = 4e-5;

    const AxisResults found = WorkOutAxis(data, 1, 0);
    ASSERT_EQ(found.stiffness.size(), 3U) << "no potential was recorded";
    EXPECT_EQ(found.stiffness[0].method, Method::powerSpectrum);
    EXPECT_DOUBLE_EQ(found.stiffness[0].real.value, 4e-5);
    EXPECT_EQ(found.stiffness[1].method, Method::equipartition);
    EXPECT_DOUBLE_EQ(found.stiffness[1].told.value, 7.8e-5);
    EXPECT_DOUBLE_EQ(found.stiffness[1].real.value, 3.9e-5);
    EXPECT_EQ(found.stiffness[2].method, Method::active);
    EXPECT_DOUBLE_EQ(found.stiffness[2].real.value, 4e-5);
    ASSERT_FALSE(found.beta.empty());
    EXPECT_EQ(found.beta[0].method, Method::active);
    EXPECT_NEAR(found.beta[0].real.value, 1e-6 * std::sqrt(2.0), 1e-18);
    for (const MethodResult &one : found.stiffness)
        EXPECT_GT(one.real.error, 0.0) << MethodName(one.method);
}

// A spectrum whose plateau is that of a bead in the medium gives its beta back.
TEST(WorkOutAxis, FindsBetaFromThePassivePlateau)
{
    CalibrationData data = Medium();
    const double drag = 3.0 * pi * 1e-3 * 1e-6;
    const double beta = 2e-6;
    RunData &still = data.paths[0].runs[kStillRun];
    still.isThere = true;
    SignalData &signal = still.signals[1];
    signal.cornerFrequency = 500.0;
    const double amplitude = 2.0 * kBoltzmann * 300.0 / (drag * pi * pi * beta * beta);
    for (const double f : {10.0, 100.0, 1000.0}) {
        signal.spectrumFit.x.push_back(f);
        signal.spectrumFit.y.push_back(amplitude / (f * f + 500.0 * 500.0));
    }
    const AxisResults found = WorkOutAxis(data, 0, 1);
    ASSERT_EQ(found.beta.size(), 1U);
    EXPECT_NEAR(found.beta[0].real.value, beta, 1e-12 * beta);
    EXPECT_FALSE(IsKnown(found.beta[0].real.error)) << "there are no segments";
}

TEST(WorkOutAxis, TakesTheLineScansBetaWhereThereIsNoActiveOne)
{
    std::mt19937_64 random(9);
    CalibrationData data = Medium();
    RunData &still = data.paths[0].runs[kStillRun];
    still.isThere = true;
    still.signals[0] = MakeSignal(random, 300.0, 1e-2, 6);
    ScanData &scan = data.paths[0].scans[0];
    for (int i = 0; i < 11; ++i) {
        scan.points.x.push_back(i * 0.1);
        scan.points.y.push_back(-0.05 * i + (i % 2 == 0 ? 1e-5 : -1e-5));
    }
    scan.fit = scan.points;
    scan.slope = -0.5;  // per um: 2 um for a whole unit
    const AxisResults found = WorkOutAxis(data, 0, 0);
    ASSERT_EQ(found.beta.back().method, Method::lineScan);
    EXPECT_NEAR(found.beta.back().real.value, 2e-6, 1e-15) << "without the slope's sign";
    EXPECT_GT(found.beta.back().real.error, 0.0);
    const auto &stiffness = found.stiffness;
    ASSERT_EQ(stiffness.size(), 1U);
    EXPECT_EQ(stiffness[0].method, Method::equipartition);
    EXPECT_FALSE(IsKnown(stiffness[0].told));
    EXPECT_NEAR(stiffness[0].real.value,
                kBoltzmann * 300.0 / (still.signals[0].variances[0] * 4e-12), 1e-12);
}

TEST(OverallVerdict, CountsTheAxesAndNamesThoseThatDisagree)
{
    CalibrationData data;
    CalibrationResults results;
    EXPECT_EQ(OverallVerdict(data, results),
              "No axis has results of two methods, so that nothing can be compared.");
    const auto put = [&](int path, int axis, double other) {
        results.axes[path][axis].stiffness = {Result(Method::powerSpectrum, 50.0, 1.0),
                                              Result(Method::active, other, 1.0)};
        results.verdicts[path][axis] = Judge(results.axes[path][axis].stiffness);
    };
    put(0, 0, 51.0);
    EXPECT_EQ(OverallVerdict(data, results), "The methods agree within their uncertainties on the "
                                             "one axis that was calibrated.");
    put(1, 2, 50.5);
    EXPECT_EQ(OverallVerdict(data, results),
              "The methods agree within their uncertainties on all 2 axes.");
    put(1, 1, 100.0);
    const std::string text = OverallVerdict(data, results);
    EXPECT_NE(text.find("on 2 of 3 axes. Path B y: the methods disagree: active lies above power "
                        "spectrum"),
              std::string::npos)
        << text;
    data.truth.isKnown = true;
    data.truth.axes[0][0].stiffness = 50.0;
    EXPECT_NE(OverallVerdict(data, results).find(" 2 of 2 results lie within"), std::string::npos);
}
