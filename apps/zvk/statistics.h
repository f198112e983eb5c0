#ifndef QUORVEX_ZVK_STATISTICS_H
#define QUORVEX_ZVK_STATISTICS_H

// The arithmetic behind the uncertainties of a calibration report: numbers in, numbers out.
//
// A run consists of segments that are recorded one after the other. What a method finds is worked
// out again with each segment left out in turn, and the scatter of those results tells how far
// chance has moved the whole (the jackknife; B. Efron and C. Stein, Annals of Statistics 9, 1981,
// 586).

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

// A result with its standard uncertainty; not a number where it isn't known.
struct Measured
{
    double value = kUnknown;
    double error = kUnknown;
};

inline bool IsKnown(double value) { return std::isfinite(value); }
inline bool IsKnown(const Measured &measured) { return IsKnown(measured.value); }
// Uncertainty as a share of the value.
double RelativeError(const Measured &measured);
// Shares of independent contributions, combined.
double JoinErrors(std::initializer_list<double> shares);
Measured Scaled(const Measured &measured, double factor);

double MeanOf(const std::vector<double> &values);
// Divides by one less than the count; 0 for fewer than two.
double DeviationOf(const std::vector<double> &values);

// The standard uncertainty of a result, from what it is with each segment left out. Not a number
// for fewer than two, or where one of them isn't known.
double JackknifeError(const std::vector<double> &leftOut);
// The mean of rows of numbers without one of them.
std::vector<double> MeanWithout(const std::vector<std::vector<double>> &rows, size_t without);

// amplitude / (f^2 + corner^2)
struct Lorentzian
{
    double amplitude = kUnknown;
    double corner = kUnknown;
};
inline double At(const Lorentzian &curve, double f)
{
    return curve.amplitude / (f * f + curve.corner * curve.corner);
}
// Least squares over all points with the same weight, as the library fits; starts at `start`.
// Not a number where it doesn't settle.
Lorentzian FitLorentzian(const std::vector<double> &frequencies, const std::vector<double> &power,
                         const Lorentzian &start);

struct StraightLine
{
    double slope = kUnknown;
    double intercept = kUnknown;
    double slopeError = kUnknown;  // from the scatter about the line; needs three points
};
StraightLine FitStraightLine(const std::vector<double> &x, const std::vector<double> &y);

// The curvature a of a x^2 + b x + c by least squares; not a number for fewer than three places.
double FitCurvature(const std::vector<double> &x, const std::vector<double> &y);

// The weighted mean of those that are known and have an uncertainty.
Measured WeightedMean(const std::vector<Measured> &values);

#endif
