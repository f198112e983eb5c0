// Works out the five methods of a calibration side by side.

#include "statistics_methods.h"

#include "report_numbers.h"

#include <algorithm>
#include <cmath>
#include <numbers>

constexpr double kPi = std::numbers::pi;
constexpr double kEmptyBin = 0.1;      // as the library counts an empty bin
constexpr double kFarPull = 3.0;       // joint uncertainties
constexpr double kCloseSpread = 0.10;  // share
constexpr double kTruthShare = 0.03;   // what the methods themselves are good for
constexpr double kMicrometre = 1e-6;

const char *MethodName(Method method)
{
    switch (method) {
    case Method::powerSpectrum: return "power spectrum";
    case Method::equipartition: return "equipartition";
    case Method::potential: return "potential";
    case Method::active: return "active";
    case Method::lineScan: return "line scan";
    }
    return "";
}

namespace {

// What the segments of one run's signal say about its fit.
struct FitScatter
{
    Lorentzian whole;  // the library's fit
    std::vector<Lorentzian> leftOut;
};

}  // namespace

static FitScatter ScatterOfFit(const SignalData &signal)
{
    FitScatter scatter;
    const Curve &fit = signal.spectrumFit;
    if (fit.x.empty() || !IsKnown(signal.cornerFrequency)) return scatter;
    const double corner = signal.cornerFrequency;
    scatter.whole = {fit.y[0] * (fit.x[0] * fit.x[0] + corner * corner), corner};
    for (size_t i = 0; signal.fitPower.size() > 1 && i < signal.fitPower.size(); ++i)
        scatter.leftOut.push_back(
            FitLorentzian(fit.x, MeanWithout(signal.fitPower, i), scatter.whole));
    return scatter;
}

// The standard uncertainty of what a function makes of the fit.
template <class Function>
static double ErrorOf(const FitScatter &scatter, Function function)
{
    std::vector<double> results;
    for (size_t i = 0; i < scatter.leftOut.size(); ++i)
        results.push_back(function(scatter.leftOut[i], i));
    return JackknifeError(results);
}

static Measured CornerOf(const FitScatter &scatter)
{
    return {scatter.whole.corner,
            ErrorOf(scatter, [](const Lorentzian &fit, size_t) { return fit.corner; })};
}

static double MeanPeakWithout(const SignalData &signal, size_t without)
{
    std::vector<double> rest = signal.peakPower;
    if (without < rest.size()) rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(without));
    return MeanOf(rest);
}

namespace {

struct ActiveShares
{
    double beta = kUnknown;  // relative uncertainties
    double stiffness = kUnknown;
};

}  // namespace

// The active method's beta goes with the root of theory over measured power, its stiffness with
// corner over amplitude and squared beta; constant factors don't count.
static ActiveShares ScatterOfActive(const RunData &run, const SignalData &signal,
                                    const FitScatter &scatter)
{
    if (signal.peakPower.size() < 2 || !IsKnown(run.peakHertz)) return {};
    const double f = run.oscillationHertz;
    const auto squaredBeta = [&](const Lorentzian &fit, size_t without) {
        const double theory =
            1.0 / (fit.corner * fit.corner / (run.peakHertz * run.peakHertz) + 1.0);
        return theory / std::fabs(MeanPeakWithout(signal, without) - At(fit, f));
    };
    const auto beta = [&](const Lorentzian &fit, size_t without) {
        return std::sqrt(squaredBeta(fit, without));
    };
    const auto stiffness = [&](const Lorentzian &fit, size_t without) {
        return fit.corner / (fit.amplitude * squaredBeta(fit, without));
    };
    const size_t none = signal.peakPower.size();
    return {ErrorOf(scatter, beta) / beta(scatter.whole, none),
            ErrorOf(scatter, stiffness) / stiffness(scatter.whole, none)};
}

static double PotentialOf(double counts) { return -std::log(counts < 1.0 ? kEmptyBin : counts); }

// Curvature, kT per squared unit of signal, with its uncertainty.
static Measured CurvatureOf(const PotentialData &data)
{
    const std::vector<double> &x = data.fit.x;
    if (x.size() < 3) return {};
    const auto &axis = data.histogram.x;
    const auto first = std::find(axis.begin(), axis.end(), x[0]);
    if (axis.end() - first < static_cast<std::ptrdiff_t>(x.size())) return {};
    const auto offset = static_cast<size_t>(first - axis.begin());
    const auto curvature = [&](const std::vector<double> &counts) {
        std::vector<double> y;
        for (size_t i = 0; i < x.size(); ++i)
            y.push_back(PotentialOf(counts[offset + i]));
        return FitCurvature(x, y);
    };
    Measured result = {FitCurvature(x, data.fit.y), kUnknown};
    std::vector<double> leftOut;
    for (const std::vector<double> &segment : data.counts) {
        std::vector<double> rest = data.histogram.y;
        for (size_t bin = 0; bin < rest.size(); ++bin)
            rest[bin] -= rest[bin] < 1.0 ? 0.0 : segment[bin];
        leftOut.push_back(curvature(rest));
    }
    result.error = JackknifeError(leftOut);
    return result;
}

static Measured ScanBeta(const ScanData &scan)
{
    if (!IsKnown(scan.slope) || scan.fit.x.size() < 2) return {};
    std::vector<double> measured;
    for (const double place : scan.fit.x) {
        const auto at = std::find(scan.points.x.begin(), scan.points.x.end(), place);
        if (at == scan.points.x.end()) return {};
        measured.push_back(scan.points.y[static_cast<size_t>(at - scan.points.x.begin())]);
    }
    const StraightLine line = FitStraightLine(scan.fit.x, measured);
    const double beta = kMicrometre / scan.slope;
    return {beta, std::fabs(beta * line.slopeError / scan.slope)};
}

static void Add(std::vector<MethodResult> &results, Method method, const Measured &told,
                const Measured &real)
{
    if (IsKnown(real) && real.value != 0.0) results.push_back({method, told, real});
}

// A table's number with a relative uncertainty, in true SI units.
static void AddTold(std::vector<MethodResult> &results, Method method, double told, double share,
                    double factor)
{
    const Measured asTold = {told, std::fabs(told * share)};
    Add(results, method, asTold, Scaled(asTold, factor));
}

static double Drag(const CalibrationData &data)
{
    return 3.0 * kPi * data.viscosity * data.diameter * kMicrometre;
}

// From the plateau of the passive spectrum and the drag of a sphere. The library's spectrum holds
// 2 kT / (gamma pi^2 beta^2) over f^2 + fc^2.
static Measured PassiveBeta(const CalibrationData &data, const FitScatter &scatter)
{
    const double beta = std::sqrt(2.0 * kBoltzmann * data.temperature /
                                  (Drag(data) * kPi * kPi * scatter.whole.amplitude));
    const double error = ErrorOf(
        scatter, [](const Lorentzian &fit, size_t) { return std::sqrt(1.0 / fit.amplitude); });
    return {beta, beta * error * std::sqrt(scatter.whole.amplitude)};
}

// Equipartition and potential: kT over what the signal gives, in metres by a beta. The tables take
// the active method's; where there is none, the line scan's serves.
static void AddThermal(std::vector<MethodResult> &results, Method method, double told,
                       const Measured &inverse, double activeShare, const Measured &scanBeta,
                       double temperature)
{
    if (!IsKnown(inverse)) return;
    if (IsKnown(told) && IsKnown(activeShare)) {
        AddTold(results, method, told, JoinErrors({RelativeError(inverse), 2.0 * activeShare}),
                kStiffnessFromTold);
        return;
    }
    if (!IsKnown(scanBeta)) return;
    const double value =
        kBoltzmann * temperature * inverse.value / (scanBeta.value * scanBeta.value);
    const double share = JoinErrors({RelativeError(inverse), 2.0 * RelativeError(scanBeta)});
    Add(results, method, {}, {value, std::fabs(value * share)});
}

// One over the variance that equipartition takes: that of the first segment alone.
static Measured InverseVariance(const SignalData &signal)
{
    if (signal.variances.empty()) return {};
    const double share = signal.variances.size() > 1
                             ? DeviationOf(signal.variances) / MeanOf(signal.variances)
                             : kUnknown;
    return {1.0 / signal.variances[0], share / signal.variances[0]};
}

AxisResults WorkOutAxis(const CalibrationData &data, int path, int axis)
{
    AxisResults results;
    const PathData &from = data.paths[path];
    const RunData &still = from.runs[kStillRun];
    const RunData &shaken = from.runs[axis];
    const Measured scanBeta = ScanBeta(from.scans[axis]);
    double activeShare = kUnknown;
    Measured activeStiffness;

    if (shaken.isThere) {
        const SignalData &signal = shaken.signals[axis];
        const FitScatter scatter = ScatterOfFit(signal);
        results.cornerOscillating = CornerOf(scatter);
        const ActiveShares shares = ScatterOfActive(shaken, signal, scatter);
        activeShare = IsKnown(from.told.beta[axis]) ? shares.beta : kUnknown;
        AddTold(results.beta, Method::active, from.told.beta[axis], shares.beta, kBetaFromTold);
        activeStiffness = {from.told.stiffness[axis],
                           std::fabs(from.told.stiffness[axis] * shares.stiffness)};
    }
    if (still.isThere) {
        const FitScatter scatter = ScatterOfFit(still.signals[axis]);
        results.corner = CornerOf(scatter);
        AddTold(results.stiffness, Method::powerSpectrum, from.told.powerSpectrum[axis],
                RelativeError(results.corner), 1.0);
        Add(results.beta, Method::powerSpectrum, {}, PassiveBeta(data, scatter));
        AddThermal(results.stiffness, Method::equipartition, from.told.stiffness[3 + axis],
                   InverseVariance(still.signals[axis]), activeShare, scanBeta, data.temperature);
        AddThermal(results.stiffness, Method::potential, from.told.stiffness[6 + axis],
                   Scaled(CurvatureOf(from.potentials[axis]), 2.0), activeShare, scanBeta,
                   data.temperature);
    }
    Add(results.stiffness, Method::active, activeStiffness,
        Scaled(activeStiffness, kStiffnessFromTold));
    Add(results.beta, Method::lineScan, scanBeta, {std::fabs(scanBeta.value), scanBeta.error});
    return results;
}

// Of power spectrum and one more. The others share its samples or that one's beta, and would weigh
// twice.
static Measured IndependentMean(const std::vector<MethodResult> &results)
{
    std::vector<Measured> values;
    for (const Method method : {Method::active, Method::equipartition, Method::potential}) {
        for (const MethodResult &one : results)
            if (one.method == method && values.empty()) values.push_back(one.real);
    }
    for (const MethodResult &one : results)
        if (one.method == Method::powerSpectrum) values.push_back(one.real);
    return WeightedMean(values);
}

Verdict Judge(const std::vector<MethodResult> &results)
{
    Verdict verdict;
    if (results.size() < 2) return verdict;
    double least = results[0].real.value;
    double most = least;
    bool allKnown = true;
    for (const MethodResult &one : results) {
        least = std::min(least, one.real.value);
        most = std::max(most, one.real.value);
        allKnown = allKnown && IsKnown(one.real.error);
        for (const MethodResult &other : results) {
            const double distance = one.real.value - other.real.value;
            const double joint = JoinErrors({one.real.error, other.real.error});
            if (!(distance > 0.0) || distance / joint < verdict.pull) continue;
            verdict.pull = distance / joint;
            verdict.high = one.method;
            verdict.low = other.method;
        }
    }
    verdict.mean = IndependentMean(results);
    verdict.spread = most / least - 1.0;
    verdict.agreement = Agreement::disagree;
    if (verdict.spread >= 0.0 && verdict.spread <= kCloseSpread)
        verdict.agreement = Agreement::close;
    if (allKnown && verdict.pull <= kFarPull) verdict.agreement = Agreement::agree;
    return verdict;
}

std::string VerdictText(const Verdict &verdict)
{
    const std::string pair =
        std::string(MethodName(verdict.high)) + " lies above " + MethodName(verdict.low);
    switch (verdict.agreement) {
    case Agreement::none: return "fewer than two methods, nothing to compare";
    case Agreement::agree: return "the methods agree within their uncertainties";
    case Agreement::close:
        return "the methods lie within " + Fixed(verdict.spread * 100.0, 1) +
               " % of each other, but " + pair + " by " + Fixed(verdict.pull, 1) +
               " joint uncertainties, more than chance explains";
    case Agreement::disagree:
        return "the methods disagree: " + pair + " by " + Fixed(verdict.pull, 1) +
               " joint uncertainties, and they spread over " + Fixed(verdict.spread * 100.0, 0) +
               " %";
    }
    return "";
}

Closeness CompareWithTruth(const Measured &measured, double truth)
{
    if (!IsKnown(measured) || !IsKnown(truth)) return Closeness::unknown;
    const double room = kTruthShare * std::fabs(truth);
    const double allowed =
        IsKnown(measured.error) ? std::max(room, kFarPull * measured.error) : room;
    return std::fabs(measured.value - truth) <= allowed ? Closeness::within : Closeness::beyond;
}

CalibrationResults WorkOut(const CalibrationData &data)
{
    CalibrationResults results;
    for (int path = 0; path < kPaths; ++path) {
        for (int axis = 0; axis < kAxes; ++axis) {
            results.axes[path][axis] = WorkOutAxis(data, path, axis);
            results.verdicts[path][axis] = Judge(results.axes[path][axis].stiffness);
        }
    }
    return results;
}

static std::string TruthSentence(const CalibrationData &data, const CalibrationResults &results)
{
    int known = 0;
    int within = 0;
    for (int path = 0; path < kPaths; ++path) {
        for (int axis = 0; axis < kAxes; ++axis) {
            const AxisTruth &truth = data.truth.axes[path][axis];
            const auto count = [&](const std::vector<MethodResult> &found, double real) {
                for (const MethodResult &one : found) {
                    const Closeness closeness = CompareWithTruth(one.real, real);
                    if (closeness != Closeness::unknown) ++known;
                    if (closeness == Closeness::within) ++within;
                }
            };
            count(results.axes[path][axis].stiffness, truth.stiffness);
            count(results.axes[path][axis].beta, truth.beta);
        }
    }
    return " Against the truth that was put into the virtual instrument, " +
           std::to_string(within) + " of " + std::to_string(known) +
           " results lie within three uncertainties or 3 %, whichever is more.";
}

std::string OverallVerdict(const CalibrationData &data, const CalibrationResults &results)
{
    int judged = 0;
    int agreeing = 0;
    std::string others;
    for (int path = 0; path < kPaths; ++path) {
        for (int axis = 0; axis < kAxes; ++axis) {
            const Verdict &verdict = results.verdicts[path][axis];
            if (verdict.agreement == Agreement::none) continue;
            ++judged;
            if (verdict.agreement == Agreement::agree) {
                ++agreeing;
                continue;
            }
            others += " " + AxisLabel(path, axis) + ": " + VerdictText(verdict) + ".";
        }
    }
    std::string text;
    if (judged == 0)
        text = "No axis has results of two methods, so that nothing can be compared.";
    else if (agreeing == judged)
        text = judged == 1
                   ? "The methods agree within their uncertainties on the one axis that was "
                     "calibrated."
                   : "The methods agree within their uncertainties on all " +
                         std::to_string(judged) + " axes.";
    else
        text = "The methods agree within their uncertainties on " + std::to_string(agreeing) +
               " of " + std::to_string(judged) + " axes." + others;
    return data.truth.isKnown ? text + TruthSentence(data, results) : text;
}
