// The library's calibration settings, changed and listed; and the results told.

#include "calibrate_settings.h"

#include "report.h"
#include "report_numbers.h"

#include "quorvex/quorvex.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

constexpr SessionHandle kSession = 1;
constexpr size_t kMessageBytes = 4096;

std::string StatusSentence(const char *what, int32_t status)
{
    char text[kMessageBytes] = "";
    (void)ZVK_error_message(kSession, status, text);  // writes a text for any number
    std::string sentence = std::string(what) + ": " + text;
    while (!sentence.empty() && sentence.back() == '\n')
        sentence.pop_back();
    std::replace(sentence.begin(), sentence.end(), '\n', ' ');
    return sentence;
}

void Require(const char *what, int32_t status)
{
    if (status < 0) throw std::runtime_error(StatusSentence(what, status));
}

void BringUpCalibration()
{
    const int32_t status = ZVK_ForceCal_Init(kSession, 0, 0);
    Require("The force calibration does not come up (see section FORCECAL of config.ini)", status);
    int32_t up = 0;
    (void)ZVK_ForceCal_GetInitStatus(kSession, &up);
    if (up > 0) return;
    throw std::runtime_error(StatusSentence("The force calibration does not come up", status));
}

void ApplySettings(const CalibrationWish &wish)
{
    if (wish.temperature) (void)ZVK_ForceCal_SetTemperature(kSession, *wish.temperature);
    if (wish.viscosity) (void)ZVK_ForceCal_SetMedium(kSession, ZVK_MEDIUM_GIVEN);
    if (wish.viscosity)
        (void)ZVK_ForceCal_ComputeViscosity(kSession, *wish.viscosity);
    else if (wish.temperature)
        (void)ZVK_ForceCal_ComputeViscosity(kSession, 0.0);  // of water, when that is the medium
    if (wish.diameter) (void)ZVK_ForceCal_SetDiameter(kSession, *wish.diameter);
    if (wish.amplitude) (void)ZVK_ForceCal_SetAmplitude(kSession, *wish.amplitude);
    if (wish.oscillation) (void)ZVK_ForceCal_SetFrequency(kSession, *wish.oscillation);
    if (wish.segment) (void)ZVK_ForceCal_SetCalLength(kSession, *wish.segment);
    if (wish.averages) (void)ZVK_ForceCal_SetAverages(kSession, *wish.averages);
    if (wish.bins) (void)ZVK_ForceCal_SetBins(kSession, *wish.bins);
    if (!wish.fit) return;
    (void)ZVK_ForceCal_SetFitStartFrequency(kSession, wish.fit->first);
    (void)ZVK_ForceCal_SetFitStopFrequency(kSession, wish.fit->second);
}

// -- the list --

template <class T>
static T Get(int32_t (*call)(SessionHandle, T *))
{
    T value = {};
    (void)call(kSession, &value);
    return value;
}

// Without the zeros that end a decimal.
static std::string With(double value, const char *unit)
{
    std::string text = Significant(value, 5);
    if (text.find('.') != std::string::npos && text.find('e') == std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
    }
    return text + (*unit != '\0' ? std::string(" ") + unit : std::string());
}

static std::string Count(int32_t value) { return std::to_string(value); }

static const char *YesOrNo(uint16_t value) { return value != 0 ? "yes" : "no"; }

static const char *CorrectionName()
{
    if (Get(ZVK_ForceCal_GetSubtractDrift) != 0) return "each segment loses its fitted line";
    return Get(ZVK_ForceCal_GetSubtractMean) != 0 ? "each segment loses its mean" : "none";
}

static void ListRuns(const CalibrationData &data,
                     std::vector<std::pair<std::string, std::string>> &list)
{
    static const char *const runs[] = {"oscillating along x", "oscillating along y",
                                       "oscillating along z", "without oscillation"};
    for (int path = 0; path < kPaths; ++path) {
        for (int run = 0; run < kRuns; ++run) {
            const RunData &recorded = data.paths[path].runs[run];
            if (!recorded.isThere) continue;
            std::string text = Fixed(recorded.rate, 1) + " Hz, " + Count(recorded.averages) +
                               " segments of " + Count(recorded.segment) + " samples (" +
                               With(recorded.segment / recorded.rate, "s") + ")";
            if (run != kStillRun)
                text += ", stage " + With(recorded.oscillationMicrometres, "\u00b5m") + ", " +
                        With(recorded.oscillationHertz, "Hz");
            list.emplace_back(std::string(path == 0 ? "Path A, " : "Path B, ") + runs[run], text);
        }
    }
}

void ListSettings(const CalibrationWish &wish, CalibrationData &data)
{
    auto &list = data.settings;
    list.clear();
    list.emplace_back("Temperature", With(data.temperature, "K"));
    list.emplace_back("Viscosity", With(data.viscosity, "Pa s"));
    list.emplace_back("Medium",
                      Get(ZVK_ForceCal_GetMedium) == ZVK_MEDIUM_WATER ? "water" : "as given");
    list.emplace_back("Bead diameter", With(data.diameter, "\u00b5m"));
    list.emplace_back("Bead radius", With(data.diameter / 2.0, "\u00b5m"));
    list.emplace_back(
        "Drag 6\u03c0\u03b7r",
        With(3.0 * 3.14159265358979 * data.viscosity * data.diameter * 1e-6, "N s/m"));
    list.emplace_back("Taken off before the analysis", CorrectionName());
    list.emplace_back("Range of the spectrum fit",
                      With(Get(ZVK_ForceCal_GetFitStartFrequency), "Hz") + " to " +
                          With(Get(ZVK_ForceCal_GetFitStopFrequency), "Hz"));
    list.emplace_back("Spectra drawn up to", With(Get(ZVK_ForceCal_GetDisplayStopFrequency), "Hz"));
    list.emplace_back("Histogram bins", Count(Get(ZVK_ForceCal_GetBins)));
    list.emplace_back("Range of the potential fit",
                      "within " + With(wish.potentialRange, "") + " standard deviations");
    list.emplace_back("Stage axes y and z swapped", YesOrNo(Get(ZVK_ForceCal_GetSwapAxes)));
    ListRuns(data, list);
}

std::string DateAndTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    if (localtime_r(&now, &parts) == nullptr) return {};
    char text[32];
    (void)std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);  // it fits
    return text;
}

void TellResults(const CalibrationWish &wish, const CalibrationData &data)
{
    const CalibrationResults results = WorkOut(data);
    std::printf("\n%s", ReportText(data, results).c_str());
    if (wish.report.empty()) return;
    ReportOptions options;
    const double display = Get(ZVK_ForceCal_GetDisplayStopFrequency);
    if (display > 0.0) options.mostHertz = display;
    WriteWhole(wish.report, ReportHtml(data, results, options));
    std::printf("\nThe report is in %s.\n", wish.report.c_str());
}
