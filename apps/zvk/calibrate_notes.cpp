// Notes beside the data files of a calibration.

#include "calibrate_notes.h"

#include <charconv>
#include <string_view>

static const char kHead[] =
    "# Notes of zvk calibrate, beside its data files. Units: kelvin, pascal "
    "seconds, micrometres, N/m, m per unit of signal, Hz.\n";

static std::string Exact(double value)
{
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value);
    return {text, end.ptr};
}

static std::string Spot(int path, int axis)
{
    return {' ', static_cast<char>('A' + path), static_cast<char>('x' + axis)};
}

static void AddPoints(std::string &text, const std::string &key, const Curve &points)
{
    for (size_t i = 0; i < points.x.size() && i < points.y.size(); ++i)
        text += key + " = " + Exact(points.x[i]) + " " + Exact(points.y[i]) + "\n";
}

std::string NotesText(const CalibrationData &data)
{
    std::string text = kHead;
    text += "title = " + data.title + "\nrecorded = " + data.recorded + "\n";
    text += "temperature = " + Exact(data.temperature) + "\nviscosity = " + Exact(data.viscosity) +
            "\ndiameter = " + Exact(data.diameter) + "\n";
    for (int path = 0; path < kPaths; ++path) {
        for (int axis = 0; axis < kAxes; ++axis) {
            const ScanData &scan = data.paths[path].scans[axis];
            AddPoints(text, "scan" + Spot(path, axis), scan.points);
            AddPoints(text, "line" + Spot(path, axis), scan.fit);
            if (!data.truth.isKnown) continue;
            const AxisTruth &truth = data.truth.axes[path][axis];
            text += "truth" + Spot(path, axis) + " = " + Exact(truth.stiffness) + " " +
                    Exact(truth.beta) + " " + Exact(truth.corner) + "\n";
        }
    }
    return text;
}

// All numbers of a text, or none when one of them isn't a number.
static std::vector<double> NumbersIn(std::string_view text)
{
    std::vector<double> numbers;
    while (!text.empty()) {
        if (text[0] == ' ') {
            text.remove_prefix(1);
            continue;
        }
        double number = 0.0;
        const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
        if (read.ec != std::errc() || !IsKnown(number)) return {};
        numbers.push_back(number);
        text.remove_prefix(static_cast<size_t>(read.ptr - text.data()));
    }
    return numbers;
}

// "scan Ax": the path and axis behind the word; false for anything else.
static bool ReadSpot(std::string_view key, std::string_view word, int &path, int &axis)
{
    if (!key.starts_with(word) || key.size() != word.size() + 3 || key[word.size()] != ' ')
        return false;
    path = key[word.size() + 1] - 'A';
    axis = key[word.size() + 2] - 'x';
    return path >= 0 && path < kPaths && axis >= 0 && axis < kAxes;
}

static void AddPoint(Curve &curve, const std::vector<double> &place)
{
    curve.x.push_back(place[0]);
    curve.y.push_back(place[1]);
}

static void ReadLine(std::string_view line, CalibrationData &data)
{
    const size_t sign = line.find(" = ");
    if (line.starts_with('#') || sign == std::string_view::npos) return;
    const std::string_view key = line.substr(0, sign);
    const std::string_view value = line.substr(sign + 3);
    if (key == "title") data.title = value;
    if (key == "recorded") data.recorded = value;
    const std::vector<double> numbers = NumbersIn(value);
    if (numbers.size() == 1 && numbers[0] > 0.0) {
        if (key == "temperature") data.temperature = numbers[0];
        if (key == "viscosity") data.viscosity = numbers[0];
        if (key == "diameter") data.diameter = numbers[0];
    }
    int path = 0;
    int axis = 0;
    if (numbers.size() == 2 && ReadSpot(key, "scan", path, axis))
        AddPoint(data.paths[path].scans[axis].points, numbers);
    if (numbers.size() == 2 && ReadSpot(key, "line", path, axis))
        AddPoint(data.paths[path].scans[axis].fit, numbers);
    if (numbers.size() == 3 && ReadSpot(key, "truth", path, axis)) {
        data.truth.isKnown = true;
        data.truth.axes[path][axis] = {numbers[0], numbers[1], numbers[2]};
    }
}

// The fitted line is kept as its points.
static void TakeSlopes(CalibrationData &data)
{
    for (PathData &path : data.paths) {
        for (ScanData &scan : path.scans)
            scan.slope = FitStraightLine(scan.fit.x, scan.fit.y).slope;
    }
}

void ReadNotes(const std::string &text, CalibrationData &data)
{
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        ReadLine(std::string_view(text).substr(at, end - at), data);
        at = end + 1;
    }
    TakeSlopes(data);
}
