#ifndef QUORVEX_NUMERICS_LEAST_SQUARES_H
#define QUORVEX_NUMERICS_LEAST_SQUARES_H

// Linear least squares, a thin face over Eigen. No state, no platform.

#include <cstdint>

enum class ZVK_LeastSquaresMethod
{
    singularValues,  // singular value decomposition: slowest, and surest near a loss of rank
    orthogonal       // Householder reflections with column pivoting, completed for a lost rank
};

// Finds the coefficients c that minimise |matrix * c - values|, and among several such c the one
// that is shortest once each column has been scaled to length 1. The scaling keeps columns of very
// different size, such as 1 beside the sixth power of a pixel, from being taken for dependent ones.
//
// matrix        rows times columns, row after row; not changed
// values        one for each row
// coefficients  out, one for each column
//
// False when there is nothing to fit, a number is not finite, or memory ran out: the coefficients
// are as they were then.
bool FitLeastSquares(const double *matrix, int64_t rows, int64_t columns, const double *values,
                     ZVK_LeastSquaresMethod method, double *coefficients) noexcept;

#endif
