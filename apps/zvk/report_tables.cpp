// The tables of a calibration report.

#include "report.h"
#include "report_numbers.h"

#include <array>

constexpr std::array<Method, 4> kColumns = {Method::powerSpectrum, Method::equipartition,
                                            Method::potential, Method::active};
constexpr std::array<Method, 3> kBetaColumns = {Method::active, Method::lineScan,
                                                Method::powerSpectrum};

static const MethodResult *Find(const std::vector<MethodResult> &results, Method method)
{
    for (const MethodResult &one : results)
        if (one.method == method) return &one;
    return nullptr;
}

static std::string Cell(const std::string &content, const char *kind = "")
{
    const std::string attribute = *kind != '\0' ? std::string(" class=\"") + kind + "\"" : "";
    return "<td" + attribute + ">" + content + "</td>";
}

static std::string HeadCell(const std::string &content, const char *more = "")
{
    return std::string("<th") + more + ">" + content + "</th>";
}

// The result in SI units, and below it what the library's table tells where that differs.
static std::string ResultCell(const MethodResult *found, double factor, double truth)
{
    if (found == nullptr) return Cell(kDash);
    std::string text = WithError(Scaled(found->real, factor));
    if (CompareWithTruth(found->real, truth) == Closeness::beyond) text += " *";
    const bool differs = IsKnown(found->told) && found->told.value != found->real.value;
    if (differs)
        text += "<br><span class=\"told\">told " + Significant(found->told.value * factor, 4) +
                "</span>";
    return Cell(text);
}

static std::string TruthCell(const CalibrationData &data, double value)
{
    return data.truth.isKnown ? Cell(Significant(value, 4), "truth") : "";
}

std::string StiffnessTable(const CalibrationData &data, const CalibrationResults &results)
{
    std::string html = "<table class=\"wide\"><thead><tr>" + HeadCell("");
    for (const Method method : kColumns)
        html += HeadCell(MethodName(method));
    html += HeadCell("mean");
    if (data.truth.isKnown) html += HeadCell("true");
    html += HeadCell("verdict", " class=\"word\"") + "</tr></thead><tbody>\n";
    for (int path = 0; path < kPaths; ++path) {
        for (int axis = 0; axis < kAxes; ++axis) {
            const AxisResults &found = results.axes[path][axis];
            if (found.stiffness.empty()) continue;
            const Verdict &verdict = results.verdicts[path][axis];
            const double truth = data.truth.axes[path][axis].stiffness;
            html += "<tr>" + HeadCell(AxisLabel(path, axis), " scope=\"row\"");
            for (const Method method : kColumns)
                html += ResultCell(Find(found.stiffness, method), kPiconewton, truth);
            html += Cell(WithError(Scaled(verdict.mean, kPiconewton)));
            html += TruthCell(data, truth * kPiconewton);
            static const char *const words[] = {kDash, "agree", "within 10 %", "disagree"};
            html += Cell(words[static_cast<int>(verdict.agreement)], "word") + "</tr>\n";
        }
    }
    return html + "</tbody></table>\n";
}

std::string BetaTable(const CalibrationData &data, const CalibrationResults &results)
{
    std::string html =
        "<table class=\"wide\"><thead><tr>" + HeadCell("") + HeadCell("unit", " class=\"word\"");
    for (const Method method : kBetaColumns)
        html += HeadCell(MethodName(method));
    if (data.truth.isKnown) html += HeadCell("true");
    html += "</tr></thead><tbody>\n";
    for (int path = 0; path < kPaths; ++path) {
        for (int axis = 0; axis < kAxes; ++axis) {
            const AxisResults &found = results.axes[path][axis];
            if (found.beta.empty()) continue;
            const double truth = data.truth.axes[path][axis].beta;
            html += "<tr>" + HeadCell(AxisLabel(path, axis), " scope=\"row\"") +
                    Cell(axis == 2 ? "\u00b5m/V" : "\u00b5m", "word");
            for (const Method method : kBetaColumns)
                html += ResultCell(Find(found.beta, method), kMicrometres, truth);
            html += TruthCell(data, truth * kMicrometres) + "</tr>\n";
        }
    }
    return html + "</tbody></table>\n";
}

static std::string RunRow(const CalibrationData &data, const CalibrationResults &results, int path,
                          int run, int axis)
{
    const RunData &recorded = data.paths[path].runs[run];
    const AxisResults &found = results.axes[path][axis];
    const bool still = run == kStillRun;
    const SignalData &signal = recorded.signals[axis];
    std::string html = "<tr>" + HeadCell(AxisLabel(path, axis), " scope=\"row\"") +
                       Cell(still ? "still" : "oscillating", "word") +
                       Cell(Fixed(recorded.rate, 1)) + Cell(std::to_string(recorded.averages)) +
                       Cell(Fixed(recorded.segment / recorded.rate, 4));
    html += Cell(WithError(still ? found.corner : found.cornerOscillating));
    if (data.truth.isKnown) html += TruthCell(data, data.truth.axes[path][axis].corner);
    return html + Cell(std::to_string(signal.spectrumFit.x.size())) + "</tr>\n";
}

std::string RunTable(const CalibrationData &data, const CalibrationResults &results)
{
    std::string html = "<table class=\"wide\"><thead><tr>" + HeadCell("") +
                       HeadCell("run", " class=\"word\"") + HeadCell("rate (Hz)") +
                       HeadCell("segments") + HeadCell("segment (s)") + HeadCell("corner (Hz)");
    if (data.truth.isKnown) html += HeadCell("true (Hz)");
    html += HeadCell("fitted bins") + "</tr></thead><tbody>\n";
    for (int path = 0; path < kPaths; ++path) {
        for (int axis = 0; axis < kAxes; ++axis) {
            for (const int run : {kStillRun, axis})
                if (data.paths[path].runs[run].isThere)
                    html += RunRow(data, results, path, run, axis);
        }
    }
    return html + "</tbody></table>\n";
}

std::string SettingsTable(const CalibrationData &data)
{
    std::string html = "<table class=\"settings\"><tbody>\n";
    for (const auto &[name, value] : data.settings)
        html += "<tr>" + HeadCell(HtmlEscape(name), " scope=\"row\"") +
                Cell(HtmlEscape(value), "word") + "</tr>\n";
    return html + "</tbody></table>\n";
}
