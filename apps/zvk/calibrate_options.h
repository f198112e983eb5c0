#ifndef QUORVEX_ZVK_CALIBRATE_OPTIONS_H
#define QUORVEX_ZVK_CALIBRATE_OPTIONS_H

// What a user asks of `zvk calibrate` and `zvk analyse`.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct CalibrationWish
{
    std::string report;      // HTML file to write; empty: none
    std::string save;        // first part of the data files' names; empty: nothing is kept
    std::string instrument;  // folder above ZVK640; empty: see `virtualInstrument`
    bool virtualInstrument = false;
    bool yes = false;  // no questions
    bool scan = true;  // line scans too
    bool help = false;
    std::string paths = "AB";
    uint64_t seed = 1;                   // of the virtual beads
    std::optional<double> temperature;   // kelvin
    std::optional<double> viscosity;     // pascal seconds
    std::optional<double> diameter;      // micrometres
    std::optional<double> amplitude;     // micrometres
    std::optional<double> segment;       // s
    std::optional<int32_t> oscillation;  // hertz
    std::optional<int32_t> averages;
    std::optional<int32_t> bins;
    std::optional<std::pair<double, double>> fit;  // hertz
    double potentialRange = 2.0;                   // standard deviations to each side
    std::vector<std::string> files;                // zvk analyse alone
};

enum class CalibrationTool
{
    calibrate,
    analyse
};

// Empty, or one sentence on what to do.
std::string ReadWish(const std::vector<std::string> &arguments, CalibrationTool tool,
                     CalibrationWish &wish);

// What can be asked, one line an option.
std::string OptionLines(CalibrationTool tool);

// The data files' common name from any of them: a name as it is, or a file's name without its
// suffix such as "TDAxdat".
std::string DataName(const std::string &file);

#endif
