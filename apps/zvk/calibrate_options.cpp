// Reads the arguments of `zvk calibrate` and `zvk analyse`: a row for each option.

#include "calibrate_options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

constexpr int kBoth = 3;  // which tool takes an option: a mask of 1 << CalibrationTool
constexpr int kCalibrate = 1;
constexpr size_t kColumn = 24;

namespace {

struct OptionRow
{
    const char *name;
    const char *value;  // what follows, for the help; empty: nothing
    int tools;
    const char *words;   // for the help
    const char *wanted;  // ends the sentence "--name needs ..."
    bool (*take)(const std::string &text, CalibrationWish &wish);
};

}  // namespace

template <class T>
static bool ReadNumber(const std::string &text, T &value)
{
    const char *const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, value);
    return read.ec == std::errc() && read.ptr == end;
}

static bool ReadPositive(const std::string &text, std::optional<double> &value)
{
    double number = 0.0;
    if (!ReadNumber(text, number) || !std::isfinite(number) || !(number > 0.0)) return false;
    value = number;
    return true;
}

static bool ReadCount(const std::string &text, int32_t least, int32_t most,
                      std::optional<int32_t> &value)
{
    int32_t number = 0;
    if (!ReadNumber(text, number) || number < least || number > most) return false;
    value = number;
    return true;
}

static bool ReadRange(const std::string &text, std::optional<std::pair<double, double>> &range)
{
    const size_t colon = text.find(':');
    if (colon == std::string::npos) return false;
    double low = 0.0;
    double high = 0.0;
    if (!ReadNumber(text.substr(0, colon), low) || !ReadNumber(text.substr(colon + 1), high))
        return false;
    if (!(low >= 0.0) || !(high > low) || !std::isfinite(high)) return false;
    range = {low, high};
    return true;
}

static bool TakeText(const std::string &text, std::string &to)
{
    to = text;
    return !text.empty();
}

static bool TakePaths(const std::string &text, CalibrationWish &wish)
{
    wish.paths = text;
    return text == "A" || text == "B" || text == "AB";
}

static bool TakePotentialRange(const std::string &text, CalibrationWish &wish)
{
    std::optional<double> range;
    if (!ReadPositive(text, range) || *range > 6.0) return false;
    wish.potentialRange = *range;
    return true;
}

#define TAKE(expression) [](const std::string &text, CalibrationWish &wish) { return expression; }
#define FLAG(field, state)                                                                         \
    [](const std::string &, CalibrationWish &wish) { return wish.field = state, true; }

static const OptionRow kOptions[] = {
    {"--report", "FILE", kBoth, "writes the report to this HTML file", "the name of an HTML file",
     TAKE(TakeText(text, wish.report))},
    {"--save", "NAME", kCalibrate, "keeps the samples in files of this name for zvk analyse",
     "the first part of the files' names", TAKE(TakeText(text, wish.save))},
    {"--virtual", "", kCalibrate, "on the virtual instrument, as without --instrument", "",
     FLAG(virtualInstrument, true)},
    {"--instrument", "DIR", kBoth, "takes config.ini from DIR/ZVK640", "the folder above ZVK640",
     TAKE(TakeText(text, wish.instrument))},
    {"--yes", "", kCalibrate, "asks nothing", "", FLAG(yes, true)},
    {"--paths", "A|B|AB", kCalibrate, "the paths to calibrate (AB)", "A, B or AB", TakePaths},
    {"--no-scan", "", kCalibrate, "leaves out the line scans", "", FLAG(scan, false)},
    {"--seed", "N", kCalibrate, "of the virtual beads' motion (1)", "a whole number from 0 on",
     TAKE(ReadNumber(text, wish.seed))},
    {"--segment", "S", kCalibrate, "length of a segment", "seconds, more than 0",
     TAKE(ReadPositive(text, wish.segment))},
    {"--averages", "N", kCalibrate, "segments of a run", "a whole number from 2 to 1000",
     TAKE(ReadCount(text, 2, 1000, wish.averages))},
    {"--oscillation", "HZ", kCalibrate, "of the stage", "whole hertz from 1 to 1000",
     TAKE(ReadCount(text, 1, 1000, wish.oscillation))},
    {"--amplitude", "UM", kCalibrate, "of that oscillation", "micrometres, more than 0",
     TAKE(ReadPositive(text, wish.amplitude))},
    {"--temperature", "K", kBoth, "of the sample", "kelvin, more than 0",
     TAKE(ReadPositive(text, wish.temperature))},
    {"--viscosity", "PAS", kBoth, "of the medium; without it that of the settings",
     "pascal seconds, more than 0", TAKE(ReadPositive(text, wish.viscosity))},
    {"--diameter", "UM", kBoth, "of the beads", "micrometres, more than 0",
     TAKE(ReadPositive(text, wish.diameter))},
    {"--fit", "LOW:HIGH", kBoth, "range of the spectrum fit, hertz",
     "two frequencies such as 10:8000", TAKE(ReadRange(text, wish.fit))},
    {"--bins", "N", kBoth, "of the histograms", "a whole number from 5 to 1000",
     TAKE(ReadCount(text, 5, 1000, wish.bins))},
    {"--potential-range", "N", kBoth, "fits potentials within N standard deviations (2)",
     "a number above 0, at most 6", TakePotentialRange},
    {"--help", "", kBoth, "tells this", "", FLAG(help, true)},
};

#undef TAKE
#undef FLAG

static bool TakenBy(const OptionRow &row, CalibrationTool tool)
{
    return (row.tools & (1 << static_cast<int>(tool))) != 0;
}

static const OptionRow *FindOption(const std::string &name, CalibrationTool tool)
{
    const auto row =
        std::find_if(std::begin(kOptions), std::end(kOptions),
                     [&](const OptionRow &one) { return name == one.name && TakenBy(one, tool); });
    return row != std::end(kOptions) ? &*row : nullptr;
}

static std::string Complaint(const OptionRow &row)
{
    return std::string(row.name) + " needs " + row.wanted + ".";
}

// What fits together and what doesn't.
static std::string CheckWhole(CalibrationTool tool, const CalibrationWish &wish)
{
    if (wish.help) return {};
    if (wish.virtualInstrument && !wish.instrument.empty())
        return "Name either --virtual or --instrument, not both.";
    if (tool == CalibrationTool::calibrate) return {};
    if (wish.files.empty())
        return "Name the data to analyse: what zvk calibrate --save was given, or its files.";
    for (const std::string &file : wish.files) {
        if (DataName(file) == DataName(wish.files[0])) continue;
        return "Name the files of one calibration at a time: " + DataName(wish.files[0]) + " and " +
               DataName(file) + " are two.";
    }
    return {};
}

std::string ReadWish(const std::vector<std::string> &arguments, CalibrationTool tool,
                     CalibrationWish &wish)
{
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string &argument = arguments[i];
        if (argument.empty() || argument[0] != '-') {
            if (tool == CalibrationTool::calibrate)
                return "\"" + argument + "\" is no option: see zvk calibrate --help.";
            if (argument.empty()) return "A file's name is empty.";
            wish.files.push_back(argument);
            continue;
        }
        const OptionRow *const row = FindOption(argument, tool);
        if (row == nullptr)
            return "There is no option " + argument + ": see zvk " +
                   (tool == CalibrationTool::calibrate ? "calibrate" : "analyse") + " --help.";
        const bool hasValue = *row->value != '\0';
        if (hasValue && i + 1 == arguments.size()) return Complaint(*row);
        if (!row->take(hasValue ? arguments[i + 1] : "", wish)) return Complaint(*row);
        if (hasValue) ++i;
    }
    return CheckWhole(tool, wish);
}

std::string OptionLines(CalibrationTool tool)
{
    std::string text;
    for (const OptionRow &row : kOptions) {
        if (!TakenBy(row, tool)) continue;
        std::string line = std::string("  ") + row.name + " " + row.value;
        line.resize(std::max(line.size() + 1, kColumn), ' ');
        text += line + row.words + "\n";
    }
    return text;
}

std::string DataName(const std::string &file)
{
    static constexpr size_t kSuffix = 7;  // "TDAxdat"
    // What belongs to a calibration but is none of its sixteen files.
    for (const std::string_view end : {".notes.txt", ".cal"}) {
        if (file.size() > end.size() && file.ends_with(end))
            return file.substr(0, file.size() - end.size());
    }
    if (file.size() <= kSuffix) return file;
    const std::string suffix = file.substr(file.size() - kSuffix);
    const bool domain = suffix[1] == 'D' && (suffix[0] == 'T' || suffix[0] == 'F');
    const bool run = std::string_view("AB").find(suffix[2]) != std::string_view::npos &&
                     std::string_view("xyzn").find(suffix[3]) != std::string_view::npos;
    const bool ours = domain && run && suffix.ends_with("dat");
    return ours ? file.substr(0, file.size() - kSuffix) : file;
}
