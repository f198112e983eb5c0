#ifndef QUORVEX_ZVK_CALIBRATE_COLLECT_H
#define QUORVEX_ZVK_CALIBRATE_COLLECT_H

// Takes a calibration out of the library, call by call, for a report.

#include "calibration.h"

#include <array>
#include <cstdint>

// What the library tells of no run: its segments and its oscillation, from the settings that it was
// recorded with or from the head of its data file.
struct RunHead
{
    int32_t averages = 0;
    double oscillationHertz = 0.0;
    double oscillationMicrometres = 0.0;
};
using RunHeads = std::array<std::array<RunHead, kRuns>, kPaths>;

// Fits the potentials within so many standard deviations of each signal. The whole histogram, with
// its nearly empty ends, would count all bins alike.
void FitPotentialsWithin(double deviations);

// All runs, tables and settings. Updates the tables by all methods first.
void CollectCalibration(const RunHeads &heads, CalibrationData &data);

#endif
