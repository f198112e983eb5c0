// Fits the transform of a path to measured points, as a calibration tool does: here the points are
// made from the transform in use, so that the fit can be checked.

#include <quorvex/quorvex.h>

#include <cmath>
#include <cstdio>
#include <vector>

int main()
{
    const SessionHandle vi = 1;
    if (ZVK_init("", 0, 0, vi) < 0) {
        std::fputs("No session: does ZVK_COMMON_APPDATA name an instrument folder?\n", stderr);
        return 1;
    }

    // Mirror voltages over the field, and the pixels at which the spot was seen.
    std::vector<double> voltsX, voltsY, pixelsX, pixelsY;
    for (int column = 0; column <= 10; ++column) {
        for (int row = 0; row <= 8; ++row) {
            const double x = -2.5 + 0.5 * column, y = -2.0 + 0.5 * row;
            double px = x, py = y;
            ZVK_CoordinateSystems_Convert(vi, ZVK_PATH_A, &px, &py, ZVK_TRAFODIR_VOLT_TO_PIXEL);
            voltsX.push_back(x);
            voltsY.push_back(y);
            pixelsX.push_back(px);
            pixelsY.push_back(py);
        }
    }

    // The inverse polynomials, volts to pixels. The call hands the inputs back exchanged.
    const int order = 3;
    std::vector<double> coeffX((order + 1) * (order + 1)), coeffY(coeffX.size());
    double *volts[2] = {voltsX.data(), voltsY.data()};
    double *pixels[2] = {pixelsX.data(), pixelsY.data()};
    ZVK_CoordinateSystems_PolyFit(vi, static_cast<int32_t>(voltsX.size()), order, 0, volts, pixels,
                                  coeffX.data(), coeffY.data());
    std::printf("pixel X = %.3f %+.3f x %+.3f y ...\n", coeffX[0], coeffX[order + 1], coeffX[1]);
    std::printf("pixel Y = %.3f %+.3f y %+.3f x ...\n", coeffY[0], coeffY[order + 1], coeffY[1]);

    double x = 0.0, y = 0.0;
    ZVK_CoordinateSystems_Convert(vi, ZVK_PATH_A, &x, &y, ZVK_TRAFODIR_VOLT_TO_PIXEL);
    const bool found = std::fabs(coeffX[0] - x) < 1e-3 && std::fabs(coeffY[0] - y) < 1e-3;
    std::puts(found ? "The fit found the field." : "The fit missed the field.");
    return ZVK_close(vi) < 0 || !found;
}
