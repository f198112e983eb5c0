// Converts points between galvo volts, camera pixels and lengths in the object plane.

#include "quorvex/errors.h"
#include "quorvex/galvo.h"
#include "steering/check_status.h"
#include "steering/coordinates.h"
#include "steering/powers.h"

#include <cmath>
#include <mutex>
#include <utility>

constexpr double kInputShift = 1e-07;

struct Sums
{
    double a;
    double b;
};

// a sums tableA[k] * x^i * y^j, b sums tableB[k] * y^i * x^j, in the order of the table and
// multiplied from left to right, so that the result is the same to the last bit on every machine.
template <class PowerType>
static Sums SumTerms(const double *tableA, const double *tableB, int order, double x, double y)
{
    const PowerType xPowers(x, order);
    const PowerType yPowers(y, order);
    Sums sums = {0.0, 0.0};
    for (int i = 0; i <= order; ++i) {
        for (int j = 0; j <= order; ++j) {
            sums.a += *tableA++ * xPowers[i] * yPowers[j];
            sums.b += *tableB++ * yPowers[i] * xPowers[j];
        }
    }
    return sums;
}

static Sums SumPolynomials(const double *tableA, const double *tableB, int32_t coeffNum, double x,
                           double y)
{
    const int order = static_cast<int>(std::sqrt(static_cast<double>(coeffNum)) - 1.0);
    const auto sum = order <= kTabledOrder ? SumTerms<Powers> : SumTerms<PowersOnDemand>;
    return sum(tableA, tableB, order, x, y);
}

int32_t ZVK_CoordinateSystems_Trafo(SessionHandle, int32_t path, int32_t trafoDir, double *x,
                                    double *y)
{
    if (path < 0 || path > 1) return ZVK_COORDINATES_NOT_INITIALIZED;
    ZVK_TrafoState &row = g_trafo[path];
    if (IsBusy(row)) return ZVK_COORDINATES_BUSY;
    if (!IsLoaded(row)) return ZVK_COORDINATES_NOT_INITIALIZED;
    const std::shared_lock reading(TrafoGuard());
    const bool isKnown =
        trafoDir == ZVK_TRAFODIR_PIXEL_TO_VOLT || trafoDir == ZVK_TRAFODIR_VOLT_TO_PIXEL;
    if (isKnown && row.dataX == nullptr) return MissingTables(row);

    *x += kInputShift;
    *y += kInputShift;
    if (trafoDir == ZVK_TRAFODIR_PIXEL_TO_VOLT) {
        const Sums sums = SumPolynomials(row.dataX, row.dataY, row.coeffNum, *x, *y);
        *y = sums.a;  // the axes change places in this direction, and only in this one
        *x = sums.b;
        return ZVK_SUCCESS;
    }
    if (trafoDir == ZVK_TRAFODIR_VOLT_TO_PIXEL) {
        const Sums sums = SumPolynomials(row.dataXI, row.dataYI, row.coeffNum, *x, *y);
        *x = sums.a;
        *y = sums.b;
        return ZVK_SUCCESS;
    }
    return ZVK_COORDINATES_BAD_DIRECTION;
}

// The trap centre in pixels.
static int32_t CentreInPixels(int32_t path, double &x, double &y)
{
    const int32_t status = ZVK_Galvo_GetOffset(0, path, &x, &y);
    if (Ends(status)) return status;
    const int32_t converted =
        ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_VOLT_TO_PIXEL, &x, &y);
    (void)Ends(converted);
    return converted;
}

struct Scale
{
    double x;  // pixels for each unit of length
    double y;
};

static Scale ScaleOf(int32_t path)
{
    const std::shared_lock reading(TrafoGuard());
    return {g_trafo[path].scaleX, g_trafo[path].scaleY};
}

static int32_t ClampToMirrors(int32_t path, double *x, double *y)
{
    double xMin = 0.0;
    double xMax = 0.0;
    double yMin = 0.0;
    double yMax = 0.0;
    int32_t status = ZVK_Galvo_GetLimits(0, path, &xMin, &xMax, &yMin, &yMax);
    if (Ends(status)) return status;
    const auto pull = [&](double *value, double limit) {
        *value = limit;
        status = ZVK_COORDINATES_CLAMPED;
    };
    if (*x < xMin) pull(x, xMin);
    if (*x > xMax) pull(x, xMax);
    if (*y < yMin) pull(y, yMin);
    if (*y > yMax) pull(y, yMax);
    return status;
}

static int32_t PixelToVolt(int32_t path, double *x, double *y)
{
    const int32_t status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_PIXEL_TO_VOLT, x, y);
    if (Ends(status)) return status;
    return ClampToMirrors(path, x, y);
}

static int32_t PixelToMicrometer(int32_t path, double *x, double *y)
{
    double xCentre = 0.0;
    double yCentre = 0.0;
    const int32_t status = CentreInPixels(path, xCentre, yCentre);
    if (status < 0) return status;
    const Scale scale = ScaleOf(path);
    *x = (*x - xCentre) / scale.x;
    *y = (*y - yCentre) / scale.y;
    return status;
}

static int32_t VoltToMicrometer(int32_t path, double *x, double *y)
{
    const int32_t status = ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_VOLT_TO_PIXEL, x, y);
    if (Ends(status)) return status;
    return PixelToMicrometer(path, x, y);
}

static int32_t MicrometerToPixel(int32_t path, double *x, double *y)
{
    const Scale scale = ScaleOf(path);
    *x = *x * scale.x;  // before the centre is known: they stay scaled when it can't be had
    *y = *y * scale.y;
    double xCentre = 0.0;
    double yCentre = 0.0;
    const int32_t status = CentreInPixels(path, xCentre, yCentre);
    if (status < 0) return status;
    *x = xCentre + *x;
    *y = yCentre + *y;
    return status;
}

static int32_t MicrometerToVolt(int32_t path, double *x, double *y)
{
    const int32_t status = MicrometerToPixel(path, x, y);
    if (status < 0) return status;
    return PixelToVolt(path, x, y);
}

int32_t ZVK_CoordinateSystems_Convert(SessionHandle, int32_t path, double *x, double *y,
                                      int32_t trafo_dir)
{
    const int32_t status = CheckTrafoRow(path);
    if (status != 0) return status;
    switch (trafo_dir) {
    case ZVK_TRAFODIR_PIXEL_TO_VOLT: return PixelToVolt(path, x, y);
    case ZVK_TRAFODIR_VOLT_TO_PIXEL:
        return ZVK_CoordinateSystems_Trafo(0, path, ZVK_TRAFODIR_VOLT_TO_PIXEL, x, y);
    case ZVK_TRAFODIR_VOLT_TO_MICROMETER: return VoltToMicrometer(path, x, y);
    case ZVK_TRAFODIR_MICROMETER_TO_VOLT: return MicrometerToVolt(path, x, y);
    case ZVK_TRAFODIR_MICROMETER_TO_PIXEL: return MicrometerToPixel(path, x, y);
    case ZVK_TRAFODIR_PIXEL_TO_MICROMETER: return PixelToMicrometer(path, x, y);
    default: return ZVK_COORDINATES_BAD_UNIT;
    }
}

static void SortPair(double *low, double *high)
{
    if (*low > *high) std::swap(*low, *high);
}

int32_t ZVK_CoordinateSystems_GetCalRange(SessionHandle, int32_t path, double *xCalMin,
                                          double *xCalMax, double *yCalMin, double *yCalMax,
                                          int32_t unit)
{
    int32_t status = CheckTrafoRow(path);
    if (status != 0) return status;
    if (unit < ZVK_UNIT_VOLT || unit > ZVK_UNIT_MICROMETER) return ZVK_SUCCESS;
    {
        const std::shared_lock reading(TrafoGuard());
        *xCalMin = g_trafo[path].calXMin;
        *xCalMax = g_trafo[path].calXMax;
        *yCalMin = g_trafo[path].calYMin;
        *yCalMax = g_trafo[path].calYMax;
    }
    if (unit == ZVK_UNIT_PIXEL) return ZVK_SUCCESS;

    const int32_t direction =
        unit == ZVK_UNIT_VOLT ? ZVK_TRAFODIR_PIXEL_TO_VOLT : ZVK_TRAFODIR_PIXEL_TO_MICROMETER;
    status = ZVK_CoordinateSystems_Convert(0, path, xCalMin, yCalMin, direction);
    if (Ends(status)) return status;
    status = ZVK_CoordinateSystems_Convert(0, path, xCalMax, yCalMax, direction);
    if (Ends(status)) return status;
    SortPair(xCalMin, xCalMax);
    SortPair(yCalMin, yCalMax);
    return status;
}
