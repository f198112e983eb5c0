#ifndef QUORVEX_ZVK_CALIBRATION_H
#define QUORVEX_ZVK_CALIBRATION_H

// What a report of a force calibration is made from: plain records, filled by calibrate_collect.cpp
// from the library's exported calls or by a test by hand.
//
// Arrays of three are by axis or signal (0 x, 1 y, 2 z), of two by path (0 A, 1 B), of four by run
// (0 to 2 with the stage oscillating along x, y, z; 3 without).

#include "statistics.h"

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

constexpr int kPaths = 2;
constexpr int kAxes = 3;
constexpr int kRuns = 4;
constexpr int kStillRun = 3;

struct Curve
{
    std::vector<double> x;
    std::vector<double> y;
};

// One signal of a run, as the library analysed it, and what its segments give alone.
struct SignalData
{
    Curve spectrum;     // hertz; units of the signal squared per hertz, on the library's scale
    Curve spectrumFit;  // the fitted curve at the points of the fit
    double cornerFrequency = kUnknown;
    double fitError = kUnknown;                 // mean squared error as the library tells it
    std::vector<double> variances;              // of each segment
    std::vector<std::vector<double>> fitPower;  // of each segment, at the points of the fit
    std::vector<double> peakPower;              // of each segment, in the bin of the oscillation
};

struct RunData
{
    bool isThere = false;
    int32_t averages = 0;
    int32_t segment = 0;  // samples
    double rate = 0.0;    // hertz
    double oscillationHertz = 0.0;
    double oscillationMicrometres = 0.0;
    double peakHertz = kUnknown;  // of the oscillation's bin
    std::array<SignalData, kAxes> signals;
};

// Of the run without oscillation.
struct PotentialData
{
    Curve histogram;  // signal; counts
    Curve potential;  // signal; kT
    Curve fit;
    std::vector<std::vector<double>> counts;  // of each segment, in the histogram's bins
};

struct PairHistogram
{
    std::vector<double> first;  // bin centres
    std::vector<double> second;
    std::vector<double> counts;  // second * bins + first
};

struct ScanData
{
    Curve points;  // micrometres; mean signal
    Curve fit;
    double slope = kUnknown;  // signal per micrometre
};

// The library's tables after an update: K 0 to 2 active, 3 to 5 equipartition, 6 to 8 potential.
struct ToldTables
{
    std::array<double, 3> beta = {kUnknown, kUnknown, kUnknown};  // metres per unit of signal
    std::array<double, 9> stiffness = {kUnknown, kUnknown, kUnknown, kUnknown, kUnknown,
                                       kUnknown, kUnknown, kUnknown, kUnknown};  // N/m
    std::array<double, 3> powerSpectrum = {kUnknown, kUnknown, kUnknown};        // N/m
};

struct PathData
{
    std::array<RunData, kRuns> runs;
    std::array<PotentialData, kAxes> potentials;
    std::array<PairHistogram, kAxes> pairs;  // (X, Y), (Y, sum), (sum, X)
    std::array<ScanData, kAxes> scans;
    ToldTables told;
};

struct AxisTruth
{
    double stiffness = kUnknown;  // N/m
    double beta = kUnknown;       // metres per unit of signal
    double corner = kUnknown;     // hertz
};

// What the virtual instrument was made with.
struct Truth
{
    bool isKnown = false;
    std::array<std::array<AxisTruth, kAxes>, kPaths> axes;
};

struct CalibrationData
{
    std::string title;              // such as "Virtual instrument" or a data file's name
    std::string recorded;           // date and time, as text
    double temperature = kUnknown;  // kelvin
    double viscosity = kUnknown;    // pascal seconds
    double diameter = kUnknown;     // micrometres
    std::array<PathData, kPaths> paths;
    Truth truth;
    std::vector<std::pair<std::string, std::string>> settings;  // each name with its value and unit
    std::vector<std::string> remarks;                           // what went otherwise than asked
};

#endif
