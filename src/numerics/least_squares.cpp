#include "numerics/least_squares.h"

#include <Eigen/Dense>

#include <new>

constexpr int64_t kMostValues = int64_t{1} << 44;  // beyond any address space: sizes don't overflow

using RowMajorMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

static Eigen::VectorXd SolveScaled(Eigen::MatrixXd &matrix, const Eigen::VectorXd &values,
                                   ZVK_LeastSquaresMethod method)
{
    if (method == ZVK_LeastSquaresMethod::singularValues)
        return matrix.jacobiSvd(Eigen::ComputeThinU | Eigen::ComputeThinV).solve(values);
    // In place: the matrix is ours, and may be large.
    const Eigen::CompleteOrthogonalDecomposition<Eigen::Ref<Eigen::MatrixXd>> decomposition(matrix);
    return decomposition.solve(values);
}

static bool Fit(const double *matrix, int64_t rows, int64_t columns, const double *values,
                ZVK_LeastSquaresMethod method, double *coefficients)
{
    Eigen::MatrixXd scaled = Eigen::Map<const RowMajorMatrix>(matrix, rows, columns);
    const Eigen::VectorXd measured = Eigen::Map<const Eigen::VectorXd>(values, rows);
    if (!scaled.allFinite() || !measured.allFinite()) return false;

    Eigen::VectorXd lengths(columns);
    for (Eigen::Index column = 0; column < columns; ++column) {
        const double length = scaled.col(column).stableNorm();
        lengths(column) = length > 0.0 ? length : 1.0;
        scaled.col(column) /= lengths(column);
    }

    const Eigen::VectorXd solution = SolveScaled(scaled, measured, method).cwiseQuotient(lengths);
    if (!solution.allFinite()) return false;
    Eigen::Map<Eigen::VectorXd>(coefficients, columns) = solution;
    return true;
}

bool FitLeastSquares(const double *matrix, int64_t rows, int64_t columns, const double *values,
                     ZVK_LeastSquaresMethod method, double *coefficients) noexcept
{
    int64_t count = 0;
    if (rows < 1 || columns < 1) return false;
    if (__builtin_mul_overflow(rows, columns, &count) || count > kMostValues) return false;
    try {
        return Fit(matrix, rows, columns, values, method, coefficients);
    } catch (const std::bad_alloc &) {
        return false;
    }
}
