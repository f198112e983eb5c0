// The results of a calibration as lines for a terminal.

#include "report.h"
#include "report_numbers.h"

#include <algorithm>

constexpr size_t kLineLength = 88;

// Columns count letters, not bytes.
static size_t LettersIn(const std::string &text)
{
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

static std::string Padded(const std::string &text, size_t width)
{
    const size_t letters = LettersIn(text);
    return letters < width ? text + std::string(width - letters, ' ') : text + " ";
}

static std::string Folded(const std::string &text)
{
    std::string out;
    std::string line;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(' ', at), text.size());
        const std::string word = text.substr(at, end - at);
        if (!line.empty() && LettersIn(line) + 1 + LettersIn(word) > kLineLength) {
            out += line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
        at = end + 1;
    }
    return out + line + "\n";
}

static void AddRows(std::string &text, const std::vector<MethodResult> &results, double factor,
                    double truth)
{
    for (const MethodResult &one : results) {
        text += "    " + Padded(MethodName(one.method), 17) +
                Padded(WithError(Scaled(one.real, factor)), 20);
        const std::string told =
            IsKnown(one.told) ? Significant(one.told.value * factor, 4) : kDash;
        text += Padded(told, 12);
        if (IsKnown(truth)) text += Significant(truth * factor, 4);
        while (text.back() == ' ')
            text.pop_back();
        text += "\n";
    }
}

std::string ReportText(const CalibrationData &data, const CalibrationResults &results)
{
    std::string text;
    for (int path = 0; path < kPaths; ++path) {
        for (int axis = 0; axis < kAxes; ++axis) {
            const AxisResults &found = results.axes[path][axis];
            if (found.stiffness.empty() && found.beta.empty()) continue;
            const AxisTruth &truth = data.truth.axes[path][axis];
            text += Padded(AxisLabel(path, axis), 21) + Padded("true SI units", 20) +
                    (data.truth.isKnown ? Padded("table tells", 12) + "truth" : "table tells") +
                    "\n";
            if (!found.stiffness.empty()) text += "  stiffness, pN/\u00b5m\n";
            AddRows(text, found.stiffness, kPiconewton, truth.stiffness);
            if (!found.beta.empty())
                text += axis == 2 ? "  beta, \u00b5m per volt\n"
                                  : "  beta, \u00b5m per unit of signal\n";
            AddRows(text, found.beta, kMicrometres, truth.beta);
        }
    }
    text += "\n" + Folded(OverallVerdict(data, results)) + "\n" + Folded(kScaleWords);
    for (const std::string &remark : data.remarks)
        text += "\n" + Folded(remark);
    return text;
}
