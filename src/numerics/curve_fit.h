#ifndef QUORVEX_NUMERICS_CURVE_FIT_H
#define QUORVEX_NUMERICS_CURVE_FIT_H

// Nonlinear least squares after Levenberg and Marquardt, a thin face over Eigen. No state, no
// platform.

#include <cstdint>

// Whole rows of points at a time, so that a model's arithmetic is compiled as one loop.
struct ZVK_CurveModel
{
    // The values at the points for these coefficients.
    void (*values)(const double *x, int32_t count, const double *a, double *values);
    // The derivatives by the coefficients: all points' by the first one, then by the second...
    void (*gradients)(const double *x, int32_t count, const double *a, double *derivatives);
    int coefficients;
};

struct ZVK_CurvePoints
{
    const double *x;
    const double *y;
    int32_t count;
};

// Improves the coefficients from where they stand, in at most that many iterations.
//
// fitted  out, the model at each x with the coefficients that are left
//
// Gives the mean squared error, which divides by the number of points: 0 without points, and
// infinity when it is not a number. Coefficients stay as they were when there are fewer points than
// coefficients, when a number isn't finite, or when memory runs out.
double FitCurve(const ZVK_CurvePoints &points, const ZVK_CurveModel &model, int32_t mostIterations,
                double *a, double *fitted) noexcept;

#endif
