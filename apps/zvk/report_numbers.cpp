// Numbers and words as a report shows them.

#include "report_numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>

constexpr int kMostDecimals = 12;
constexpr int kMostDigits = 5;  // of a value with its uncertainty
constexpr double kHandyLeast = 1e-4;
constexpr double kHandyMost = 1e6;

static std::string Written(double value, std::chars_format format, int precision)
{
    char text[400];
    const auto end = std::to_chars(text, text + sizeof text, value, format, precision);
    return {text, end.ptr};
}

std::string Fixed(double value, int decimals)
{
    if (!IsKnown(value)) return kDash;
    const std::string text =
        Written(value, std::chars_format::fixed, std::clamp(decimals, 0, kMostDecimals));
    const bool isZero = text.find_first_of("123456789") == std::string::npos;
    return isZero && text[0] == '-' ? text.substr(1) : text;  // "-0.0" says nothing
}

// Of its first digit: 0 for 1 to 9.99, -1 for 0.1 to 0.99.
static int PlaceOf(double value)
{
    return static_cast<int>(std::floor(std::log10(std::fabs(value))));
}

std::string Significant(double value, int digits)
{
    if (!IsKnown(value)) return kDash;
    if (value == 0.0) return "0";
    const double size = std::fabs(value);
    if (size < kHandyLeast || size >= kHandyMost)
        return Written(value, std::chars_format::scientific, digits - 1);
    return Fixed(value, digits - 1 - PlaceOf(value));
}

std::string WithError(const Measured &measured)
{
    if (!IsKnown(measured.value)) return kDash;
    if (!IsKnown(measured.error) || !(measured.error > 0.0)) return Significant(measured.value, 4);
    const int decimals = 1 - PlaceOf(measured.error);
    // More digits than a value is ever read with say nothing.
    const int most = std::max(0, kMostDigits - 1 - PlaceOf(measured.value));
    if (measured.value != 0.0 && decimals > most + 1)
        return Fixed(measured.value, most) + " \u00b1 <" + Fixed(std::pow(10.0, -most), most);
    return Fixed(measured.value, decimals) + " \u00b1 " + Fixed(measured.error, decimals);
}

std::string AxisLabel(int path, int axis)
{
    return std::string("Path ") + static_cast<char>('A' + path) + " " +
           static_cast<char>('x' + axis);
}

std::string HtmlEscape(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        default: out += c;
        }
    }
    return out;
}
