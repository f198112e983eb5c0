#ifndef QUORVEX_ZVK_PLOTS_H
#define QUORVEX_ZVK_PLOTS_H

// Drawings with axes, as SVG elements. Lengths are in units of the drawing; y runs downwards.

#include "calibration.h"

#include <string>
#include <string_view>
#include <vector>

// Told apart by eyes of any kind, and in grey print.
constexpr const char *kInk = "#1a1a1a";
constexpr const char *kFaint = "#8a8a8a";
constexpr const char *kBlue = "#0072b2";
constexpr const char *kRed = "#c1440e";

struct Axis
{
    double low = 0.0;
    double high = 1.0;
    bool logarithmic = false;
    std::string label;  // with the unit
};

// A rectangle with an axis along its lower and its left edge.
struct Frame
{
    double x = 0.0;
    double y = 0.0;
    double width = 100.0;
    double height = 100.0;
    Axis across;
    Axis up;
    bool numbersBelow = true;  // false where a frame below has them
    bool numbersLeft = true;
};

struct Picture
{
    double width = 720.0;
    double height = 100.0;
    std::string body;
};

struct Tick
{
    double value = 0.0;
    std::string text;  // empty for a tick without a number
};

// Round numbers within the axis: about so many with text on a linear axis, the decades with text on
// a logarithmic one (each second or third where there are many) and 2 to 9 without.
std::vector<Tick> TicksOf(const Axis &axis, int about);

// An axis that holds all values with some air; for a logarithmic one those above 0 count.
Axis AxisAround(const std::vector<double> &values, bool logarithmic, std::string label);

double Across(const Frame &frame, double value);
double Up(const Frame &frame, double value);
bool Holds(const Frame &frame, double x, double y);

enum class Anchor
{
    start,
    middle,
    end
};

void DrawFrame(Picture &picture, const Frame &frame, std::string_view title);
void DrawText(Picture &picture, double x, double y, std::string_view text,
              Anchor anchor = Anchor::start, const char *colour = kInk);
// Broken where the curve leaves the frame or isn't known.
void DrawCurve(Picture &picture, const Frame &frame, const Curve &curve, const char *colour,
               double width = 1.3, const char *dashes = "");
void DrawLevel(Picture &picture, const Frame &frame, double value, const char *colour,
               const char *dashes);
void DrawUpright(Picture &picture, const Frame &frame, double value, const char *colour,
                 const char *dashes);
void DrawDots(Picture &picture, const Frame &frame, const Curve &points, double radius,
              const char *colour);
// Bars of one uncertainty up and down.
void DrawErrors(Picture &picture, const Frame &frame, const Curve &points,
                const std::vector<double> &errors, const char *colour);
// Bars from the lower edge, drawn as one outline; x are bin centres.
void DrawSteps(Picture &picture, const Frame &frame, const Curve &bars, const char *colour);
void DrawBox(Picture &picture, double x, double y, double width, double height, const char *fill);

// The whole element; `words` tell what is to be seen to those who can't see it.
std::string SvgOf(const Picture &picture, std::string_view words);

#endif
