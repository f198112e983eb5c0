// The figures of spectra, potentials and line scans.

#include "plots_figures.h"

#include "plots.h"
#include "report_numbers.h"

#include <algorithm>
#include <cmath>

constexpr double kPanelPitch = 240.0;
constexpr double kPanelLeft = 52.0;
constexpr double kPanelWidth = 174.0;
constexpr double kTop = 22.0;
constexpr double kGap = 12.0;    // between two frames, so that their numbers keep apart
constexpr double kBelow = 36.0;  // room for numbers and the axis' name
constexpr double kLowestRatio = 0.0;
constexpr double kHighestRatio = 2.0;
constexpr int kBlocksPerDecade = 20;
constexpr int kCurvePoints = 160;

const char *SignalLabel(int signal)
{
    static const char *const labels[] = {"X/sum", "Y/sum", "sum (V)"};
    return labels[signal];
}

static const char *SpectrumLabel(int signal)
{
    return signal == 2 ? "spectrum (V\u00b2/Hz)" : "spectrum (1/Hz)";
}

static Frame PanelAt(int column, double top, double height)
{
    Frame frame;
    frame.x = column * kPanelPitch + kPanelLeft;
    frame.y = top;
    frame.width = kPanelWidth;
    frame.height = height;
    return frame;
}

static void DrawNothing(Picture &picture, const Frame &frame, const char *title)
{
    DrawText(picture, frame.x + frame.width / 2.0, frame.y - 6.0, title, Anchor::middle);
    DrawText(picture, frame.x + frame.width / 2.0, frame.y + frame.height / 2.0, "not recorded",
             Anchor::middle, kFaint);
}

static const char *AxisName(int axis)
{
    static const char *const names[] = {"x", "y", "z"};
    return names[axis];
}

// -- spectra --

Blocks BlockSpectrum(const Curve &spectrum, const Lorentzian &fit, int32_t segments,
                     double leftOutHertz, double mostHertz)
{
    Blocks blocks;
    if (spectrum.x.size() < 3 || segments < 1) return blocks;
    const double halfBin = (spectrum.x[2] - spectrum.x[1]) / 2.0;
    double sum = 0.0;
    double ratios = 0.0;
    double places = 0.0;
    double count = 0.0;
    int64_t block = 0;
    const auto close = [&] {
        if (count == 0.0) return;
        blocks.mean.x.push_back(places / count);
        blocks.mean.y.push_back(sum / count);
        blocks.ratio.x.push_back(places / count);
        blocks.ratio.y.push_back(ratios / count);
        blocks.error.push_back(ratios / count / std::sqrt(segments * count));
        sum = ratios = places = count = 0.0;
    };
    for (size_t k = 1; k < spectrum.x.size() && spectrum.x[k] <= mostHertz; ++k) {
        const double f = spectrum.x[k];
        if (std::fabs(f - leftOutHertz) < halfBin) continue;
        const auto mine = static_cast<int64_t>(std::floor(std::log10(f) * kBlocksPerDecade));
        if (mine != block) close();
        block = mine;
        sum += spectrum.y[k];
        ratios += spectrum.y[k] / At(fit, f);
        places += f;
        count += 1.0;
    }
    close();
    return blocks;
}

static Lorentzian FitOf(const SignalData &signal)
{
    const Curve &fit = signal.spectrumFit;
    if (fit.x.empty()) return {};
    const double corner = signal.cornerFrequency;
    return {fit.y[0] * (fit.x[0] * fit.x[0] + corner * corner), corner};
}

static Curve Sampled(const Lorentzian &fit, double low, double high)
{
    Curve curve;
    for (int i = 0; i < kCurvePoints && low > 0.0 && high > low; ++i) {
        const double f = low * std::pow(high / low, i / (kCurvePoints - 1.0));
        curve.x.push_back(f);
        curve.y.push_back(At(fit, f));
    }
    return curve;
}

static void DrawPeak(Picture &picture, const Frame &frame, const RunData &run,
                     const SignalData &signal)
{
    if (!IsKnown(run.peakHertz)) return;
    const auto at = std::find(signal.spectrum.x.begin(), signal.spectrum.x.end(), run.peakHertz);
    if (at == signal.spectrum.x.end()) return;
    const double power = signal.spectrum.y[static_cast<size_t>(at - signal.spectrum.x.begin())];
    DrawDots(picture, frame, {{run.peakHertz}, {power}}, 3.0, kRed);
    DrawText(picture, Across(frame, run.peakHertz) + 6.0, Up(frame, power) + 4.0,
             Fixed(run.oscillationHertz, 0) + " Hz", Anchor::start, kRed);
}

static void DrawSpectrum(Picture &picture, int column, const RunData &run, double mostHertz)
{
    constexpr double kHeight = 165.0;
    constexpr double kRatioHeight = 70.0;
    Frame frame = PanelAt(column, kTop, kHeight);
    const SignalData &signal = run.signals[column];
    const std::string title = std::string(AxisName(column));
    const Lorentzian fit = FitOf(signal);
    const Blocks blocks =
        BlockSpectrum(signal.spectrum, fit, run.averages, run.peakHertz, mostHertz);
    if (!run.isThere || blocks.mean.x.empty()) {
        DrawNothing(picture, frame, title.c_str());
        return;
    }
    std::vector<double> heights = blocks.mean.y;
    for (size_t k = 1; k < signal.spectrum.x.size(); ++k)
        if (signal.spectrum.x[k] == run.peakHertz) heights.push_back(signal.spectrum.y[k]);
    frame.across = AxisAround(blocks.mean.x, true, "frequency (Hz)");
    frame.up = AxisAround(heights, true, SpectrumLabel(column));
    if (IsKnown(run.peakHertz)) frame.up.high *= 2.0;  // room for the peak's name
    frame.numbersBelow = false;
    DrawUpright(picture, frame, fit.corner, kFaint, "2 3");
    DrawDots(picture, frame, blocks.mean, 1.6, kBlue);
    DrawCurve(picture, frame, Sampled(fit, frame.across.low, frame.across.high), kRed, 1.0, "4 3");
    if (!signal.spectrumFit.x.empty())
        DrawCurve(picture, frame,
                  Sampled(fit, signal.spectrumFit.x.front(), signal.spectrumFit.x.back()), kRed,
                  1.6);
    DrawPeak(picture, frame, run, signal);
    DrawFrame(picture, frame, title);
    DrawText(picture, frame.x + 8.0, frame.y + frame.height - 10.0,
             IsKnown(fit.corner) ? "corner " + Fixed(fit.corner, 1) + " Hz" : "no fit");

    Frame below = PanelAt(column, kTop + kHeight + kGap, kRatioHeight);
    below.across = frame.across;
    below.up = {kLowestRatio, kHighestRatio, false, "data / fit"};
    DrawLevel(picture, below, 1.0, kRed, "");
    DrawErrors(picture, below, blocks.ratio, blocks.error, kBlue);
    DrawDots(picture, below, blocks.ratio, 1.4, kBlue);
    DrawFrame(picture, below, "");
}

static std::string SpectraFigure(const std::array<const RunData *, kAxes> &runs, double mostHertz,
                                 std::string_view words)
{
    if (!runs[0]->isThere && !runs[1]->isThere && !runs[2]->isThere) return {};
    Picture picture;
    picture.height = kTop + 165.0 + kGap + 70.0 + kBelow;
    for (int column = 0; column < kAxes; ++column)
        DrawSpectrum(picture, column, *runs[column], mostHertz);
    return SvgOf(picture, words);
}

std::string StillSpectraFigure(const PathData &data, double mostHertz)
{
    const RunData *still = &data.runs[kStillRun];
    return SpectraFigure({still, still, still}, mostHertz,
                         "Spectra of the run without oscillation with their fits");
}

std::string OscillatingSpectraFigure(const PathData &data, double mostHertz)
{
    return SpectraFigure({&data.runs[0], &data.runs[1], &data.runs[2]}, mostHertz,
                         "Spectra of the runs with oscillation with their fits");
}

// -- potentials --

static void DrawPotential(Picture &picture, int column, const PotentialData &data)
{
    constexpr double kHeight = 105.0;
    Frame frame = PanelAt(column, kTop, kHeight);
    if (data.histogram.x.size() < 2) {
        DrawNothing(picture, frame, AxisName(column));
        return;
    }
    frame.across = AxisAround(data.histogram.x, false, SignalLabel(column));
    frame.up = AxisAround(data.histogram.y, false, "counts (thousands)");
    frame.up.low = 0.0;
    Curve thousands = data.histogram;
    for (double &count : thousands.y)
        count /= 1000.0;
    frame.up.high /= 1000.0;
    frame.numbersBelow = false;
    DrawSteps(picture, frame, thousands, kBlue);
    DrawFrame(picture, frame, AxisName(column));

    Frame below = PanelAt(column, kTop + kHeight + kGap, kHeight);
    below.across = frame.across;
    below.up = AxisAround(data.potential.y, false, "potential (kT)");
    DrawDots(picture, below, data.potential, 1.5, kBlue);
    DrawCurve(picture, below, data.fit, kRed, 1.6);
    DrawFrame(picture, below, "");
}

std::string PotentialFigure(const PathData &data)
{
    const auto isThere = [](const PotentialData &one) { return one.histogram.x.size() > 1; };
    if (std::none_of(data.potentials.begin(), data.potentials.end(), isThere)) return {};
    Picture picture;
    picture.height = kTop + 105.0 + kGap + 105.0 + kBelow;
    for (int column = 0; column < kAxes; ++column)
        DrawPotential(picture, column, data.potentials[column]);
    return SvgOf(picture, "Histograms, and potentials with their parabolas");
}

// -- line scans --

std::string ScanFigure(const PathData &data)
{
    constexpr double kHeight = 150.0;
    const auto isThere = [](const ScanData &one) { return one.points.x.size() > 1; };
    if (std::none_of(data.scans.begin(), data.scans.end(), isThere)) return {};
    Picture picture;
    picture.height = kTop + kHeight + kBelow;
    for (int column = 0; column < kAxes; ++column) {
        const ScanData &scan = data.scans[column];
        Frame frame = PanelAt(column, kTop, kHeight);
        if (!isThere(scan)) {
            DrawNothing(picture, frame, AxisName(column));
            continue;
        }
        frame.across = AxisAround(scan.points.x, false, "stage position (\u00b5m)");
        frame.up = AxisAround(scan.points.y, false, SignalLabel(column));
        DrawCurve(picture, frame, scan.fit, kRed, 1.4);
        DrawDots(picture, frame, scan.points, 2.2, kBlue);
        DrawFrame(picture, frame, AxisName(column));
        const char *unit = column == 2 ? " V/\u00b5m" : " /\u00b5m";
        const bool rises = scan.slope > 0.0;
        DrawText(picture, frame.x + 8.0, frame.y + (rises ? 16.0 : frame.height - 10.0),
                 "slope " + Significant(scan.slope, 4) + unit);
    }
    return SvgOf(picture, "Line scans with their fitted lines");
}
