#ifndef QUORVEX_ZVK_REPORT_H
#define QUORVEX_ZVK_REPORT_H

// The report of a force calibration: one HTML file with its pictures inside, no scripts, nothing
// fetched; and the same results as lines for a terminal.

#include "calibration.h"
#include "statistics_methods.h"

#include <string>

struct ReportOptions
{
    double mostHertz = 20000.0;  // end of the spectra that are drawn
};

std::string ReportHtml(const CalibrationData &data, const CalibrationResults &results,
                       const ReportOptions &options);

std::string ReportText(const CalibrationData &data, const CalibrationResults &results);

// Writes a file beside its place first, so that a report is whole or as it was. Throws
// std::runtime_error with one sentence.
void WriteWhole(const std::string &path, const std::string &content);

// Each one a part of the report, as HTML (report_tables.cpp).
std::string StiffnessTable(const CalibrationData &data, const CalibrationResults &results);
std::string BetaTable(const CalibrationData &data, const CalibrationResults &results);
std::string RunTable(const CalibrationData &data, const CalibrationResults &results);
std::string SettingsTable(const CalibrationData &data);

// Stiffness in pN/um; beta in um per unit of signal.
constexpr double kPiconewton = 1e6;
constexpr double kMicrometres = 1e6;

// What the tables' scale means, for both kinds of report.
extern const char *const kScaleWords;

#endif
