// Fits and uncertainties of a calibration report.

#include "statistics.h"

#include <algorithm>
#include <numeric>

constexpr int kMostSteps = 60;
constexpr double kSettled = 1e-12;  // relative change of both coefficients
constexpr double kRounding = 1e-12;

double RelativeError(const Measured &measured)
{
    return std::fabs(measured.error / measured.value);
}

double JoinErrors(std::initializer_list<double> shares)
{
    double squares = 0.0;
    for (const double share : shares)
        squares += share * share;
    return std::sqrt(squares);
}

Measured Scaled(const Measured &measured, double factor)
{
    return {measured.value * factor, std::fabs(measured.error * factor)};
}

double MeanOf(const std::vector<double> &values)
{
    if (values.empty()) return kUnknown;
    return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

static double SquaresAboutMean(const std::vector<double> &values)
{
    const double mean = MeanOf(values);
    return std::accumulate(values.begin(), values.end(), 0.0, [mean](double sum, double value) {
        return sum + (value - mean) * (value - mean);
    });
}

double DeviationOf(const std::vector<double> &values)
{
    if (values.size() < 2) return 0.0;
    return std::sqrt(SquaresAboutMean(values) / static_cast<double>(values.size() - 1));
}

double JackknifeError(const std::vector<double> &leftOut)
{
    if (leftOut.size() < 2) return kUnknown;
    const auto count = static_cast<double>(leftOut.size());
    return std::sqrt(SquaresAboutMean(leftOut) * (count - 1.0) / count);
}

std::vector<double> MeanWithout(const std::vector<std::vector<double>> &rows, size_t without)
{
    if (rows.empty()) return {};
    std::vector<double> mean(rows[0].size(), 0.0);
    for (size_t row = 0; row < rows.size(); ++row) {
        if (row == without) continue;
        for (size_t i = 0; i < mean.size(); ++i)
            mean[i] += rows[row][i];
    }
    const auto count = static_cast<double>(rows.size() - (without < rows.size() ? 1 : 0));
    for (double &value : mean)
        value /= count;
    return mean;
}

// Sums of one Gauss-Newton step in the amplitude and the square of the corner, in which the curve
// is nearly linear.
namespace {

struct NormalSums
{
    double aa = 0.0, ab = 0.0, bb = 0.0, ar = 0.0, br = 0.0, squares = 0.0;
};

}  // namespace

static NormalSums SumUp(const std::vector<double> &f, const std::vector<double> &power,
                        double amplitude, double cornerSquared)
{
    NormalSums sums;
    for (size_t i = 0; i < f.size(); ++i) {
        const double inverse = 1.0 / (f[i] * f[i] + cornerSquared);
        const double byCorner = -amplitude * inverse * inverse;
        const double rest = power[i] - amplitude * inverse;
        sums.aa += inverse * inverse;
        sums.ab += inverse * byCorner;
        sums.bb += byCorner * byCorner;
        sums.ar += inverse * rest;
        sums.br += byCorner * rest;
        sums.squares += rest * rest;
    }
    return sums;
}

Lorentzian FitLorentzian(const std::vector<double> &frequencies, const std::vector<double> &power,
                         const Lorentzian &start)
{
    if (frequencies.size() < 3 || frequencies.size() != power.size()) return {};
    double a = start.amplitude;
    double c = start.corner * start.corner;
    if (!IsKnown(a) || !(c > 0.0)) return {};
    NormalSums sums = SumUp(frequencies, power, a, c);
    double damping = 0.0;
    for (int step = 0; step < kMostSteps; ++step) {
        const double aa = sums.aa * (1.0 + damping);
        const double bb = sums.bb * (1.0 + damping);
        const double determinant = aa * bb - sums.ab * sums.ab;
        if (!(determinant > 0.0) || !IsKnown(sums.squares)) return {};
        const double da = (sums.ar * bb - sums.br * sums.ab) / determinant;
        const double dc = (sums.br * aa - sums.ar * sums.ab) / determinant;
        const bool settled =
            std::fabs(da) <= kSettled * std::fabs(a) && std::fabs(dc) <= kSettled * c;
        if (settled) return {a, std::sqrt(c)};
        const NormalSums next =
            c + dc > 0.0 ? SumUp(frequencies, power, a + da, c + dc) : NormalSums{};
        if (c + dc > 0.0 && next.squares <= sums.squares) {
            a += da;
            c += dc;
            sums = next;
            damping /= 10.0;
        } else if (damping > 1e6) {
            return {a, std::sqrt(c)};  // nothing better is left within the numbers' resolution
        } else {
            damping = std::max(damping * 10.0, 1e-3);
        }
    }
    return {a, std::sqrt(c)};
}

StraightLine FitStraightLine(const std::vector<double> &x, const std::vector<double> &y)
{
    StraightLine line;
    if (x.size() < 2 || x.size() != y.size()) return line;
    const double meanX = MeanOf(x);
    const double meanY = MeanOf(y);
    double xx = 0.0;
    double xy = 0.0;
    for (size_t i = 0; i < x.size(); ++i) {
        xx += (x[i] - meanX) * (x[i] - meanX);
        xy += (x[i] - meanX) * (y[i] - meanY);
    }
    if (!(xx > 0.0)) return line;
    line.slope = xy / xx;
    line.intercept = meanY - line.slope * meanX;
    if (x.size() < 3) return line;
    double squares = 0.0;
    for (size_t i = 0; i < x.size(); ++i) {
        const double rest = y[i] - line.intercept - line.slope * x[i];
        squares += rest * rest;
    }
    line.slopeError = std::sqrt(squares / static_cast<double>(x.size() - 2) / xx);
    return line;
}

double FitCurvature(const std::vector<double> &x, const std::vector<double> &y)
{
    if (x.size() < 3 || x.size() != y.size()) return kUnknown;
    // Orthogonal steps: x about its mean, then x^2 free of its mean and its slope.
    const double meanX = MeanOf(x);
    double n2 = 0.0;
    double n3 = 0.0;
    for (const double place : x) {
        const double u = place - meanX;
        n2 += u * u;
        n3 += u * u * u;
    }
    if (!(n2 > 0.0)) return kUnknown;
    const double meanSquare = n2 / static_cast<double>(x.size());
    double top = 0.0;
    double bottom = 0.0;
    for (size_t i = 0; i < x.size(); ++i) {
        const double u = x[i] - meanX;
        const double q = u * u - meanSquare - n3 / n2 * u;
        top += q * y[i];
        bottom += q * q;
    }
    // Of two places nothing is left but what rounding makes.
    return bottom > kRounding * meanSquare * n2 ? top / bottom : kUnknown;
}

Measured WeightedMean(const std::vector<Measured> &values)
{
    double weights = 0.0;
    double sum = 0.0;
    for (const Measured &one : values) {
        if (!IsKnown(one) || !(one.error > 0.0)) continue;
        const double weight = 1.0 / (one.error * one.error);
        weights += weight;
        sum += weight * one.value;
    }
    if (!(weights > 0.0)) return {};
    return {sum / weights, 1.0 / std::sqrt(weights)};
}
