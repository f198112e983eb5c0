// What the fits of the potential and of the line scan share: their limits and their least width.

#include "force/forcecal.h"

#include <cmath>

constexpr double kUnsetBelow = 1e-6;
constexpr double kStartWhenUnset = -10.0;
constexpr double kStopWhenUnset = 10.0;
constexpr int32_t kLeastWidth = 3;  // between the first and the last point

void SettleFitLimits(double &start, double &stop)
{
    if (std::fabs(start) < kUnsetBelow) start = kStartWhenUnset;
    if (std::fabs(stop) < kUnsetBelow) stop = kStopWhenUnset;
}

void WidenSpan(ZVK_FitSpan &span, int32_t entries)
{
    while (span.last - span.first < kLeastWidth) {
        if (span.last < entries - 1) {
            ++span.last;
        } else if (span.first > 0) {
            --span.first;
        } else {
            return;  // the whole axis is shorter
        }
    }
}
