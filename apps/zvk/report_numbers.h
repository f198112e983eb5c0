#ifndef QUORVEX_ZVK_REPORT_NUMBERS_H
#define QUORVEX_ZVK_REPORT_NUMBERS_H

// Numbers and words as a report shows them, the same whatever the locale is.

#include "statistics.h"

#include <string>
#include <string_view>

constexpr const char *kDash = "\u2013";  // stands for a number that isn't known

std::string Fixed(double value, int decimals);
// So many significant digits, without an exponent where the number is handy, else as 1.2e-5.
std::string Significant(double value, int digits);
// "50.3 ± 0.4": the uncertainty with two digits, the value with as many decimals.
// "1.2000 ± <0.0001" where the uncertainty lies beyond the fifth digit.
std::string WithError(const Measured &measured);

// "Path A x"
std::string AxisLabel(int path, int axis);

std::string HtmlEscape(std::string_view text);

#endif
