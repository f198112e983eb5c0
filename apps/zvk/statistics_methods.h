#ifndef QUORVEX_ZVK_STATISTICS_METHODS_H
#define QUORVEX_ZVK_STATISTICS_METHODS_H

// The five methods side by side: what the library's tables tell, the same in true SI units, the
// uncertainty of each, and whether they agree.

#include "calibration.h"

#include <cstddef>
#include <string>
#include <vector>

// The library's spectrum is twice the one-sided density: it doubles amplitudes, not powers. So the
// active method's beta is told as the true one divided by the square root of 2, and each stiffness
// that takes it is told as twice the true one.
constexpr double kBetaFromTold = 1.4142135623730951;
constexpr double kStiffnessFromTold = 0.5;
constexpr double kBoltzmann = 1.380649e-23;  // J/K

enum class Method
{
    powerSpectrum,
    equipartition,
    potential,
    active,
    lineScan
};

const char *MethodName(Method method);

// A method's result for one axis.
struct MethodResult
{
    Method method = Method::powerSpectrum;
    Measured told;  // as the library's table has it
    Measured real;  // in true SI units
};

struct AxisResults
{
    Measured corner;                      // hertz, of the run without oscillation
    Measured cornerOscillating;           // of the run along this axis
    std::vector<MethodResult> stiffness;  // N/m; only methods that gave a number
    std::vector<MethodResult> beta;       // m per unit of signal
};

enum class Agreement
{
    none,   // fewer than two methods
    agree,  // all pairs within three of their joint uncertainties
    close,  // not that, but all within a tenth of each other
    disagree
};

struct Verdict
{
    Agreement agreement = Agreement::none;
    Measured mean;        // weighted, of power spectrum and active, else of what there is like them
    double spread = 0.0;  // largest over smallest, less 1
    double pull = 0.0;    // of the pair that lies farthest apart, in joint uncertainties
    Method high = Method::powerSpectrum;  // of that pair
    Method low = Method::powerSpectrum;
};

AxisResults WorkOutAxis(const CalibrationData &data, int path, int axis);
Verdict Judge(const std::vector<MethodResult> &results);
// One sentence without its end, such as "4 methods agree within their uncertainties".
std::string VerdictText(const Verdict &verdict);

// How a result stands to what it should be.
enum class Closeness
{
    unknown,
    within,  // three uncertainties, or 3 % where that is more
    beyond
};
Closeness CompareWithTruth(const Measured &measured, double truth);

struct CalibrationResults
{
    std::array<std::array<AxisResults, kAxes>, kPaths> axes;
    std::array<std::array<Verdict, kAxes>, kPaths> verdicts;  // of the stiffness
};
CalibrationResults WorkOut(const CalibrationData &data);
// The verdict over all axes, as sentences.
std::string OverallVerdict(const CalibrationData &data, const CalibrationResults &results);

#endif
