// Fits the two polynomials of one direction of the transform to measured pairs of points.

#include "steering/polyfit.h"

#include "numerics/least_squares.h"
#include "platform/memory.h"
#include "quorvex/errors.h"
#include "steering/powers.h"

#include <algorithm>

template <class PowerType>
static double *WriteRow(double *row, int order, double first, double second)
{
    const PowerType firstPowers(first, order);
    const PowerType secondPowers(second, order);
    for (int i = 0; i <= order; ++i)
        for (int j = 0; j <= order; ++j)
            *row++ = firstPowers[i] * secondPowers[j];
    return row;
}

int ZVK_CoordinateSystems_CreateObsMatrix(int samples, int order, double *matrix, double **values)
{
    const auto writeRow = order <= kTabledOrder ? WriteRow<Powers> : WriteRow<PowersOnDemand>;
    for (int s = 0; s < samples; ++s)
        matrix = writeRow(matrix, order, values[0][s], values[1][s]);
    return ZVK_SUCCESS;
}

void ZVK_CoordinateSystems_Swap(int points, double **array)
{
    if (points > 0) std::swap_ranges(array[0], array[0] + points, array[1]);
}

// All methods minimise the squared residuals; the numbers differ in how the equations are solved.
static ZVK_LeastSquaresMethod MethodFor(int32_t algorithm)
{
    return algorithm == 0 ? ZVK_LeastSquaresMethod::singularValues
                          : ZVK_LeastSquaresMethod::orthogonal;
}

// Room for the observation matrix. Null when there is nothing to fit or no room for it.
static double *NewMatrix(int32_t n, int64_t terms)
{
    int64_t count = 0;
    if (n < 1 || terms < 1 || __builtin_mul_overflow(n, terms, &count)) return nullptr;
    return AllocateArray<double>(count);
}

int32_t ZVK_CoordinateSystems_PolyFit(SessionHandle, int32_t n, int32_t order, int32_t algorithm,
                                      double **xy, double **vw, double *coeffX, double *coeffY)
{
    const int64_t terms = order < 0 ? 0 : (int64_t{order} + 1) * (int64_t{order} + 1);
    const ZVK_LeastSquaresMethod method = MethodFor(algorithm);
    double *matrix = NewMatrix(n, terms);

    if (matrix != nullptr) {
        (void)ZVK_CoordinateSystems_CreateObsMatrix(n, order, matrix, xy);
        (void)FitLeastSquares(matrix, n, terms, vw[0], method, coeffX);  // always 0 to the caller
    }
    // The second polynomial's terms are y^i * x^j. The caller gets xy back exchanged, with or
    // without a fit.
    ZVK_CoordinateSystems_Swap(n, xy);
    if (matrix != nullptr) {
        (void)ZVK_CoordinateSystems_CreateObsMatrix(n, order, matrix, xy);
        (void)FitLeastSquares(matrix, n, terms, vw[1], method, coeffY);
    }
    Release(matrix);
    return ZVK_SUCCESS;
}
