// The figures of the two-dimensional histograms, and of the methods side by side.

#include "plots.h"
#include "plots_figures.h"
#include "report_numbers.h"

#include <algorithm>
#include <array>
#include <cmath>

constexpr size_t kMostBins = 50;
constexpr double kNewtonPerMetre = 1e6;  // pN/um in a N/m

// From paper to ink; its lightness falls evenly, so that it prints in grey.
constexpr std::array<const char *, 9> kShades = {"#e3eef9", "#c9ddf0", "#a8cbe5",
                                                 "#82b3d8", "#5c99c8", "#3d7eb5",
                                                 "#26629c", "#154880", "#0a3060"};

// -- two-dimensional histograms --

static std::vector<double> JoinCentres(const std::vector<double> &centres, size_t together)
{
    std::vector<double> joined;
    for (size_t i = 0; i < centres.size(); i += together) {
        const size_t last = std::min(i + together, centres.size()) - 1;
        joined.push_back((centres[i] + centres[last]) / 2.0);
    }
    return joined;
}

PairHistogram JoinBins(const PairHistogram &pair, size_t most)
{
    const size_t bins = pair.first.size();
    if (most == 0 || bins == 0 || pair.counts.size() != bins * pair.second.size()) return {};
    const size_t together = (std::max(bins, pair.second.size()) + most - 1) / most;
    PairHistogram joined = {
        JoinCentres(pair.first, together), JoinCentres(pair.second, together), {}};
    joined.counts.assign(joined.first.size() * joined.second.size(), 0.0);
    for (size_t row = 0; row < pair.second.size(); ++row) {
        for (size_t column = 0; column < bins; ++column)
            joined.counts[row / together * joined.first.size() + column / together] +=
                pair.counts[row * bins + column];
    }
    return joined;
}

// A path of rectangles for each shade, runs of equal cells in one.
static void DrawCells(Picture &picture, const Frame &frame, const PairHistogram &pair, double most)
{
    const size_t columns = pair.first.size();
    const double halfC = (pair.first[1] - pair.first[0]) / 2.0;
    const double halfR = (pair.second[1] - pair.second[0]) / 2.0;
    std::array<std::string, kShades.size()> paths;
    const auto shadeOf = [&](size_t row, size_t column) {
        const double count = pair.counts[row * columns + column];
        if (!(count > 0.0)) return -1;
        const auto shade = static_cast<int>(count / most * kShades.size());
        return std::min(shade, static_cast<int>(kShades.size()) - 1);
    };
    for (size_t row = 0; row < pair.second.size(); ++row) {
        for (size_t column = 0; column < columns;) {
            const int shade = shadeOf(row, column);
            size_t end = column + 1;
            while (end < columns && shadeOf(row, end) == shade)
                ++end;
            if (shade >= 0) {
                const double left = Across(frame, pair.first[column] - halfC);
                const double right = Across(frame, pair.first[end - 1] + halfC);
                const double low = Up(frame, pair.second[row] - halfR);
                const double high = Up(frame, pair.second[row] + halfR);
                paths[shade] += "M" + Fixed(left, 2) + " " + Fixed(high, 2) + "H" +
                                Fixed(right, 2) + "V" + Fixed(low, 2) + "H" + Fixed(left, 2) + "Z";
            }
            column = end;
        }
    }
    for (size_t shade = 0; shade < kShades.size(); ++shade) {
        if (paths[shade].empty()) continue;
        picture.body += "<path d=\"" + paths[shade] + "\" fill=\"" + kShades[shade] +
                        "\" stroke=\"" + kShades[shade] + "\" stroke-width=\"0.2\"/>\n";
    }
}

static void DrawShades(Picture &picture, const Frame &frame, double most)
{
    const double width = frame.width / kShades.size();
    const double top = frame.y + frame.height + 42.0;
    for (size_t i = 0; i < kShades.size(); ++i)
        DrawBox(picture, frame.x + width * static_cast<double>(i), top, width + 0.1, 8.0,
                kShades[i]);
    DrawText(picture, frame.x, top + 20.0, "1", Anchor::start);
    DrawText(picture, frame.x + frame.width, top + 20.0, Fixed(most, 0), Anchor::end);
    DrawText(picture, frame.x + frame.width / 2.0, top + 20.0, "counts", Anchor::middle);
}

static void DrawPair(Picture &picture, int column, const PairHistogram &whole)
{
    const PairHistogram pair = JoinBins(whole, kMostBins);
    Frame frame = {column * 240.0 + 52.0, 10.0, 174.0, 174.0, {}, {}, true, true};
    const double most =
        pair.counts.empty() ? 0.0 : *std::max_element(pair.counts.begin(), pair.counts.end());
    if (pair.first.size() < 2 || pair.second.size() < 2 || !(most > 0.0)) {
        DrawText(picture, frame.x + 87.0, frame.y + 87.0, "not recorded", Anchor::middle, kFaint);
        return;
    }
    const int second = (column + 1) % kAxes;
    const auto axis = [](const std::vector<double> &centres, int signal) {
        const double half = (centres[1] - centres[0]) / 2.0;
        return Axis{centres.front() - half, centres.back() + half, false, SignalLabel(signal)};
    };
    frame.across = axis(pair.first, column);
    frame.up = axis(pair.second, second);
    DrawCells(picture, frame, pair, most);
    DrawFrame(picture, frame, "");
    DrawShades(picture, frame, most);
}

std::string PairFigure(const PathData &data)
{
    const auto isThere = [](const PairHistogram &one) { return !one.counts.empty(); };
    if (std::none_of(data.pairs.begin(), data.pairs.end(), isThere)) return {};
    Picture picture;
    picture.height = 10.0 + 174.0 + 42.0 + 26.0;
    for (int column = 0; column < kAxes; ++column)
        DrawPair(picture, column, data.pairs[column]);
    return SvgOf(picture, "Two-dimensional histograms of the signals in pairs");
}

// -- methods side by side --

constexpr std::array<Method, 4> kStiffnessMethods = {Method::powerSpectrum, Method::equipartition,
                                                     Method::potential, Method::active};

static void DrawMethods(Picture &picture, int column, const AxisResults &found, double truth,
                        const Measured &mean)
{
    Frame frame = {column * 202.0 + 110.0, 22.0, 182.0, 100.0, {}, {}, true, false};
    std::vector<double> ends = {truth * kNewtonPerMetre};
    for (const MethodResult &one : found.stiffness) {
        const double error = IsKnown(one.real.error) ? one.real.error : 0.0;
        ends.push_back((one.real.value - error) * kNewtonPerMetre);
        ends.push_back((one.real.value + error) * kNewtonPerMetre);
    }
    frame.across = AxisAround(ends, false, "stiffness (pN/\u00b5m)");
    frame.up = {0.0, 4.0, false, ""};
    const double level = IsKnown(truth) ? truth : mean.value;
    DrawUpright(picture, frame, level * kNewtonPerMetre, kRed, IsKnown(truth) ? "" : "4 3");
    for (size_t row = 0; row < kStiffnessMethods.size(); ++row) {
        const double height = 3.5 - static_cast<double>(row);
        if (column == 0)
            DrawText(picture, frame.x - 8.0, Up(frame, height) + 4.0,
                     MethodName(kStiffnessMethods[row]), Anchor::end);
        for (const MethodResult &one : found.stiffness) {
            if (one.method != kStiffnessMethods[row]) continue;
            const double value = one.real.value * kNewtonPerMetre;
            const double error = IsKnown(one.real.error) ? one.real.error * kNewtonPerMetre : 0.0;
            DrawCurve(picture, frame, {{value - error, value + error}, {height, height}}, kBlue,
                      1.4);
            DrawDots(picture, frame, {{value}, {height}}, 3.2, kBlue);
        }
    }
    static const char *const names[] = {"x", "y", "z"};
    // The rows have names, not numbers.
    Frame outline = frame;
    outline.up = {0.0, 0.0, false, ""};
    DrawFrame(picture, outline, names[column]);
}

std::string MethodsFigure(const CalibrationData &data, const CalibrationResults &results, int path)
{
    bool any = false;
    Picture picture;
    picture.height = 22.0 + 100.0 + 36.0;
    for (int axis = 0; axis < kAxes; ++axis) {
        const AxisResults &found = results.axes[path][axis];
        any = any || !found.stiffness.empty();
        DrawMethods(picture, axis, found, data.truth.axes[path][axis].stiffness,
                    results.verdicts[path][axis].mean);
    }
    return any ? SvgOf(picture, "Stiffness by method") : std::string();
}
