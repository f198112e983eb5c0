#include "numerics/curve_fit.h"

#include <Eigen/Dense>
#include <cmath>
#include <limits>
#include <new>
#include <unsupported/Eigen/NonLinearOptimization>

namespace {

// What the library's minimiser asks of a problem.
struct Problem
{
    using Scalar = double;
    enum
    {
        InputsAtCompileTime = Eigen::Dynamic,
        ValuesAtCompileTime = Eigen::Dynamic
    };
    using InputType = Eigen::VectorXd;
    using ValueType = Eigen::VectorXd;
    using JacobianType = Eigen::MatrixXd;

    const ZVK_CurvePoints &points;
    const ZVK_CurveModel &model;

    int inputs() const { return model.coefficients; }
    int values() const { return points.count; }

    int operator()(const InputType &a, ValueType &residuals) const
    {
        model.values(points.x, points.count, a.data(), residuals.data());
        residuals -= Eigen::Map<const Eigen::VectorXd>(points.y, points.count);
        return 0;
    }

    int df(const InputType &a, JacobianType &jacobian) const
    {
        model.gradients(points.x, points.count, a.data(), jacobian.data());  // by columns
        return 0;
    }
};

}  // namespace

// Closer than this the numbers themselves end: both are relative.
constexpr double kTolerance = 1e-14;

static bool AllFinite(const double *values, int32_t count)
{
    for (int32_t i = 0; i < count; ++i) {
        if (!std::isfinite(values[i])) return false;
    }
    return true;
}

static void Minimise(const ZVK_CurvePoints &points, const ZVK_CurveModel &model,
                     int32_t mostIterations, double *a)
{
    Problem problem{points, model};
    Eigen::LevenbergMarquardt<Problem> minimiser(problem);
    minimiser.parameters.ftol = kTolerance;
    minimiser.parameters.xtol = kTolerance;
    minimiser.parameters.maxfev = std::numeric_limits<Eigen::Index>::max();

    Eigen::VectorXd found = Eigen::Map<const Eigen::VectorXd>(a, model.coefficients);
    Eigen::LevenbergMarquardtSpace::Status status = minimiser.minimizeInit(found);
    if (status == Eigen::LevenbergMarquardtSpace::ImproperInputParameters) return;
    for (int32_t i = 0; i < mostIterations; ++i) {
        status = minimiser.minimizeOneStep(found);
        if (status != Eigen::LevenbergMarquardtSpace::Running) break;
    }
    if (!found.allFinite()) return;
    Eigen::Map<Eigen::VectorXd>(a, model.coefficients) = found;
}

static double Evaluate(const ZVK_CurvePoints &points, const ZVK_CurveModel &model, const double *a,
                       double *fitted)
{
    model.values(points.x, points.count, a, fitted);
    double squares = 0.0;
    for (int32_t i = 0; i < points.count; ++i) {
        const double residual = points.y[i] - fitted[i];
        squares += residual * residual;
    }
    const double error = squares / points.count;
    return std::isnan(error) ? std::numeric_limits<double>::infinity() : error;
}

double FitCurve(const ZVK_CurvePoints &points, const ZVK_CurveModel &model, int32_t mostIterations,
                double *a, double *fitted) noexcept
{
    if (points.count < 1) return 0.0;
    const bool possible = points.count >= model.coefficients && AllFinite(points.x, points.count) &&
                          AllFinite(points.y, points.count) && AllFinite(a, model.coefficients);
    if (possible) {
        try {
            Minimise(points, model, mostIterations, a);
        } catch (const std::bad_alloc &) {
            // The coefficients stand as they were; the error below tells how well they do.
        }
    }
    return Evaluate(points, model, a, fitted);
}
