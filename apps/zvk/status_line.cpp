// The rows of text over the picture.

#include "status_line.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

constexpr int32_t kLabelOffset = 20;  // frame pixels, of a line's label
constexpr double kFromLeft = 10.0;    // pixels of the window
constexpr double kFromTop = 20.0;
constexpr double kRowHeight = 20.0;

std::string PlaceOf(double x, double y)
{
    return std::to_string(std::lround(x)) + ", " + std::to_string(std::lround(y));
}

static std::string CountOf(const StatusFacts &facts, int32_t path)
{
    return std::to_string(std::ranges::count(facts.traps, path, &TrapSpot::path));
}

// One digit after the point, whatever the locale.
static std::string TenthsOf(double value)
{
    const long tenths = std::lround(value * 10.0);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

static std::string TouchedText(const StatusFacts &facts)
{
    for (const TrapSpot &trap : facts.traps)
        if (facts.touched && trap.path == facts.path && trap.index == facts.index)
            return " | " + trap.name + " at " + PlaceOf(trap.x, trap.y);
    return "";
}

std::string StatusText(const StatusFacts &facts)
{
    const bool toA = facts.addPath == 0;
    const bool one = CountOf(facts, 0) == "1";
    std::string text =
        CountOf(facts, 0) + (one ? " trap" : " traps") + " on A, " + CountOf(facts, 1) + " on B";
    text += toA ? " | a click adds to A, with shift to B" : " | a click adds to B, with shift to A";
    return text + " | zoom " + TenthsOf(facts.zoom) + TouchedText(facts);
}

std::string SecondText(const StatusFacts &facts)
{
    if (!facts.news.empty()) return facts.news;
    return "drag a trap to move it, right click to delete it, turn the wheel to zoom | calibrated: "
           "A "
           "in red, B in blue";
}

static int32_t FramePixels(double windowPixels, int32_t shown, int32_t window)
{
    return static_cast<int32_t>(std::lround(windowPixels * shown / std::max(window, 1)));
}

FramePoint StatusPoint(const ShownFrame &shown, int32_t windowWidth, int32_t windowHeight, int row)
{
    const double fromTop = kFromTop + row * kRowHeight;
    return {shown.x + FramePixels(kFromLeft, shown.width, windowWidth) - kLabelOffset,
            shown.y + FramePixels(fromTop, shown.height, windowHeight) + kLabelOffset};
}
