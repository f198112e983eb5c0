#ifndef QUORVEX_ZVK_PLOTS_FIGURES_H
#define QUORVEX_ZVK_PLOTS_FIGURES_H

// The figures of a calibration report: three panels side by side, x, y and z. Each is an SVG
// element, or empty where there is nothing to draw.

#include "calibration.h"
#include "statistics_methods.h"

#include <string>

// A spectrum in blocks of equal width on a logarithmic axis; the bin of the oscillation is left
// out.
struct Blocks
{
    Curve mean;                 // hertz; spectrum
    Curve ratio;                // hertz; spectrum over fit
    std::vector<double> error;  // of the ratio, by the segments and bins that it holds
};
Blocks BlockSpectrum(const Curve &spectrum, const Lorentzian &fit, int32_t segments,
                     double leftOutHertz, double mostHertz);

// Counts with several bins joined to one, so that no more than `most` are left along an axis.
PairHistogram JoinBins(const PairHistogram &pair, size_t most);

// "X/sum", "Y/sum", "sum (V)"
const char *SignalLabel(int signal);

std::string StillSpectraFigure(const PathData &data, double mostHertz);
std::string OscillatingSpectraFigure(const PathData &data, double mostHertz);
std::string PotentialFigure(const PathData &data);
std::string PairFigure(const PathData &data);
std::string ScanFigure(const PathData &data);
// Stiffness by method, with the truth where it is known, else the weighted mean.
std::string MethodsFigure(const CalibrationData &data, const CalibrationResults &results, int path);

#endif
