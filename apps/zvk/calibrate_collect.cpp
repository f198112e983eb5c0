// Takes a calibration out of the library.

#include "calibrate_collect.h"

#include "report_numbers.h"
#include "statistics_segments.h"

#include "quorvex/quorvex.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>

constexpr SessionHandle kSession = 1;
constexpr int kEquipartitionRow = 3;

namespace {

// One answer of ZVK_ForceCal_ReturnData.
struct Answer
{
    bool isThere = false;
    int32_t entries = 0;
    double *data = nullptr;
    double *axis = nullptr;
    double *second = nullptr;
    double error = kUnknown;
    double frequency = kUnknown;
};

}  // namespace

static Answer Ask(int path, int run, int32_t what, int signal)
{
    Answer answer;
    answer.isThere = ZVK_ForceCal_ReturnData(kSession, path, run, what, signal, &answer.entries,
                                             &answer.data, &answer.axis, &answer.second,
                                             &answer.error, &answer.frequency) == 0 &&
                     answer.entries > 0 && answer.data != nullptr && answer.axis != nullptr;
    return answer;
}

static Curve CurveOf(const Answer &answer)
{
    if (!answer.isThere) return {};
    return {{answer.axis, answer.axis + answer.entries},
            {answer.data, answer.data + answer.entries}};
}

// -- runs --

// The segments of one signal, one behind the other.
static std::span<const double> SegmentAt(const Answer &series, int32_t index)
{
    const auto length = static_cast<size_t>(series.entries);
    return {series.data + static_cast<size_t>(index) * length, length};
}

static double BinWidth(const Curve &spectrum)
{
    return spectrum.x.size() > 1 ? spectrum.x[1] - spectrum.x[0] : kUnknown;
}

static double PeakBin(const Curve &spectrum, double hertz)
{
    const double half = BinWidth(spectrum) / 2.0;
    for (const double f : spectrum.x)
        if (std::fabs(f - hertz) < half) return f;
    return kUnknown;
}

static void TakeSegments(const Answer &series, RunData &run, SignalData &signal)
{
    SegmentSpectrum transform(static_cast<size_t>(series.entries), run.rate);
    const double width = BinWidth(signal.spectrum);
    for (int32_t s = 0; s < run.averages; ++s) {
        const auto segment = SegmentAt(series, s);
        signal.variances.push_back(VarianceOf(segment));
        const std::vector<double> &power = transform.Of(segment);
        const auto at = [&](double f) {
            const auto bin = static_cast<size_t>(std::lround(f / width));
            return bin < power.size() ? power[bin] : kUnknown;
        };
        std::vector<double> row;
        for (const double f : signal.spectrumFit.x)
            row.push_back(at(f));
        signal.fitPower.push_back(std::move(row));
        if (IsKnown(run.peakHertz)) signal.peakPower.push_back(at(run.peakHertz));
    }
}

static RunData CollectRun(int path, int which, const RunHead &head)
{
    RunData run;
    for (int s = 0; s < kAxes; ++s) {
        SignalData &signal = run.signals[s];
        const Answer series = Ask(path, which, ZVK_FORCECAL_CORRECTED_DATA, s);
        const Answer spectrum = Ask(path, which, ZVK_FORCECAL_SPECTRUM, s);
        const Answer fit = Ask(path, which, ZVK_FORCECAL_SPECTRUM_FIT, s);
        if (!series.isThere || !spectrum.isThere || series.entries < 4) return {};
        signal.spectrum = CurveOf(spectrum);
        signal.spectrumFit = CurveOf(fit);
        signal.cornerFrequency = fit.frequency;
        signal.fitError = fit.error;
        run.segment = series.entries;
        run.rate = 1.0 / (series.axis[1] - series.axis[0]);
        run.averages = head.averages;
        run.oscillationHertz = head.oscillationHertz;
        run.oscillationMicrometres = head.oscillationMicrometres;
        if (which != kStillRun) run.peakHertz = PeakBin(signal.spectrum, head.oscillationHertz);
        TakeSegments(series, run, signal);
    }
    run.isThere = true;
    return run;
}

// -- potentials --

static PotentialData CollectPotential(int path, int signal, const RunData &still)
{
    PotentialData data;
    const Answer histogram = Ask(path, kStillRun, ZVK_FORCECAL_HISTOGRAM, signal);
    const Answer series = Ask(path, kStillRun, ZVK_FORCECAL_CORRECTED_DATA, signal);
    data.histogram = CurveOf(histogram);
    data.potential = CurveOf(Ask(path, kStillRun, ZVK_FORCECAL_POTENTIAL, signal));
    data.fit = CurveOf(Ask(path, kStillRun, ZVK_FORCECAL_POTENTIAL_FIT, signal));
    if (!series.isThere || data.histogram.x.size() < 2 || !still.isThere) return data;
    // The axis is moved to be symmetric about 0: the bins begin at the least sample.
    const double width = data.histogram.x[1] - data.histogram.x[0];
    const auto samples = static_cast<size_t>(series.entries) * static_cast<size_t>(still.averages);
    const double least = *std::min_element(series.data, series.data + samples);
    for (int32_t s = 0; s < still.averages; ++s)
        data.counts.push_back(
            CountInBins(SegmentAt(series, s), least, width, data.histogram.x.size()));
    return data;
}

static PairHistogram CollectPair(int path, int pair)
{
    const Answer answer = Ask(path, kStillRun, ZVK_FORCECAL_HISTOGRAM_2D, pair);
    if (!answer.isThere || answer.second == nullptr) return {};
    const auto bins = static_cast<size_t>(answer.entries);
    return {{answer.axis, answer.axis + bins},
            {answer.second, answer.second + bins},
            {answer.data, answer.data + bins * bins}};
}

static ScanData CollectScan(int path, int axis)
{
    const Answer fit = Ask(path, kStillRun, ZVK_FORCECAL_LINE_SCAN_FIT, axis);
    return {CurveOf(Ask(path, kStillRun, ZVK_FORCECAL_LINE_SCAN, axis)), CurveOf(fit),
            fit.isThere ? fit.frequency : kUnknown};
}

void FitPotentialsWithin(double deviations)
{
    for (int path = 0; path < kPaths; ++path) {
        for (int signal = 0; signal < kAxes; ++signal) {
            const Answer series = Ask(path, kStillRun, ZVK_FORCECAL_CORRECTED_DATA, signal);
            if (!series.isThere) continue;
            const double room = deviations * std::sqrt(VarianceOf(SegmentAt(series, 0)));
            (void)ZVK_ForceCal_SetPotFitStart(kSession, path, signal, -room);
            (void)ZVK_ForceCal_SetPotFitStop(kSession, path, signal, room);
        }
    }
    (void)ZVK_ForceCal_UpdatePotFits(kSession);
}

// -- tables --

static ToldTables TakeTables(int path)
{
    ToldTables told;
    int32_t betas = 0;
    int32_t ks = 0;
    double *beta = nullptr;
    double *k = nullptr;
    if (ZVK_ForceCal_GetCalibration(kSession, path, &betas, &ks, &beta, &k) == 0) {
        std::copy_n(beta, std::min<size_t>(told.beta.size(), 3 * static_cast<size_t>(betas)),
                    told.beta.begin());
        std::copy_n(k, std::min<size_t>(told.stiffness.size(), 3 * static_cast<size_t>(ks)),
                    told.stiffness.begin());
    }
    std::free(beta);  // null after a refusal
    std::free(k);
    return told;
}

// The power spectrum's row lies where the active method's is: it is read last, and put back.
static void CollectTables(CalibrationData &data)
{
    (void)ZVK_ForceCal_UpdateCalibration(kSession);
    for (int path = 0; path < kPaths; ++path)
        data.paths[path].told = TakeTables(path);
    (void)ZVK_ForceCal_UpdatePSDCalibration(kSession);
    for (int path = 0; path < kPaths; ++path)
        std::copy_n(TakeTables(path).stiffness.begin(), kEquipartitionRow,
                    data.paths[path].told.powerSpectrum.begin());
    (void)ZVK_ForceCal_UpdateCalibration(kSession);
}

void CollectCalibration(const RunHeads &heads, CalibrationData &data)
{
    (void)ZVK_ForceCal_GetTemperature(kSession, &data.temperature);
    (void)ZVK_ForceCal_GetViscosity(kSession, &data.viscosity);
    (void)ZVK_ForceCal_GetDiameter(kSession, &data.diameter);
    for (int path = 0; path < kPaths; ++path) {
        PathData &to = data.paths[path];
        for (int run = 0; run < kRuns; ++run)
            to.runs[run] = CollectRun(path, run, heads[path][run]);
        for (int axis = 0; axis < kAxes; ++axis) {
            to.potentials[axis] = CollectPotential(path, axis, to.runs[kStillRun]);
            to.pairs[axis] = CollectPair(path, axis);
            const ScanData scan = CollectScan(path, axis);
            if (!scan.points.x.empty()) to.scans[axis] = scan;  // else what the notes have
        }
    }
    CollectTables(data);
}
