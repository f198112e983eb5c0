#include "numerics/statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

constexpr int kLanes = 4;

static double Total(const double (&sums)[kLanes])
{
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

// Adds term(0) to term(count - 1) in four sums of their own, which lets the processor work on
// several at once and keeps each sum short. The order is fixed, so the result is always the same.
template <class Term>
static double Sum(int64_t count, Term term)
{
    double sums[kLanes] = {};
    int64_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        for (int lane = 0; lane < kLanes; ++lane)
            sums[lane] += term(i + lane);
    }
    for (; i < count; ++i)
        sums[0] += term(i);
    return Total(sums);
}

double Mean(const double *values, int64_t count)
{
    if (count < 1) return 0.0;
    const double first = values[0];
    const double excess = Sum(count, [=](int64_t i) { return values[i] - first; });
    return first + excess / static_cast<double>(count);
}

ZVK_Spread StandardDeviation(const double *values, int64_t count)
{
    if (count < 1) return {0.0, 0.0};
    const auto n = static_cast<double>(count);
    const double mean = Mean(values, count);
    // The second sum would be 0 with exact arithmetic; it takes back what rounding left in the
    // mean.
    const double squares = Sum(count, [=](int64_t i) {
        const double d = values[i] - mean;
        return d * d;
    });
    const double rest = Sum(count, [=](int64_t i) { return values[i] - mean; });
    const double variance = (squares - rest * rest / n) / n;
    return {mean, std::sqrt(variance > 0.0 ? variance : variance * 0.0)};
}

ZVK_LineAxis MeasureAxis(const double *x, int64_t count)
{
    const double mean = Mean(x, count);
    const double squares = Sum(count, [=](int64_t i) {
        const double distance = x[i] - mean;
        return distance * distance;
    });
    return {x, count, mean, squares};
}

ZVK_Line FitLine(const ZVK_LineAxis &axis, const double *y)
{
    if (axis.count < 1) return {0.0, 0.0};
    const double *x = axis.x;
    const double meanX = axis.mean;
    const double meanY = Mean(y, axis.count);
    const double products =
        Sum(axis.count, [=](int64_t i) { return (x[i] - meanX) * (y[i] - meanY); });
    const double slope = axis.squares > 0.0 ? products / axis.squares : 0.0;
    return {slope, meanY - slope * meanX};
}

double LineError(const ZVK_Line &line, const double *x, const double *y, int64_t count)
{
    if (count < 1) return 0.0;
    const double squares = Sum(count, [=](int64_t i) {
        const double residual = y[i] - (line.intercept + line.slope * x[i]);
        return residual * residual;
    });
    return squares / static_cast<double>(count);
}

ZVK_Range FindRange(const double *values, int64_t count)
{
    // A comparison with what is not a number is false, so that it never takes a place.
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    double least[kLanes] = {kInfinity, kInfinity, kInfinity, kInfinity};
    double most[kLanes] = {-kInfinity, -kInfinity, -kInfinity, -kInfinity};
    const auto take = [&](int lane, double value) {
        least[lane] = value < least[lane] ? value : least[lane];
        most[lane] = value > most[lane] ? value : most[lane];
    };
    int64_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        for (int lane = 0; lane < kLanes; ++lane)
            take(lane, values[i + lane]);
    }
    for (; i < count; ++i)
        take(0, values[i]);
    const ZVK_Range range = {*std::min_element(least, least + kLanes),
                             *std::max_element(most, most + kLanes)};
    return range.least <= range.most ? range : ZVK_Range{0.0, 0.0};
}
