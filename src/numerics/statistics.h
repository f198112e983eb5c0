#ifndef QUORVEX_NUMERICS_STATISTICS_H
#define QUORVEX_NUMERICS_STATISTICS_H

// The few statistics that the modules share. Sums are taken about a first value, so that a small
// spread on a large offset keeps its digits. No state, no platform. A count below 1 gives zeros.

#include <cstdint>

// The arithmetic mean.
double Mean(const double *values, int64_t count);

struct ZVK_Spread
{
    double mean;
    double standardDeviation;  // divides by the number of values, not by one less
};

ZVK_Spread StandardDeviation(const double *values, int64_t count);

struct ZVK_Line
{
    double slope;
    double intercept;
};

// What a fit needs of its x, for several fits on the same ones.
struct ZVK_LineAxis
{
    const double *x;
    int64_t count;
    double mean;
    double squares;  // sum of the squared distances from the mean
};

ZVK_LineAxis MeasureAxis(const double *x, int64_t count);

// The straight line of least squares. Equal x throughout give a slope of 0.
// Draper and Smith, Applied Regression Analysis, chapter 1.
ZVK_Line FitLine(const ZVK_LineAxis &axis, const double *y);

// The mean squared distance of the points from a line; divides by the number of points.
double LineError(const ZVK_Line &line, const double *x, const double *y, int64_t count);

struct ZVK_Range
{
    double least;
    double most;
};

// Values that are not numbers are passed over; with no number at all both are 0.
ZVK_Range FindRange(const double *values, int64_t count);

#endif
