// The line of text over the picture.

#include "status_line.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

constexpr int32_t kLabelOffset = 20;  // frame pixels, of a line's label
constexpr double kFromLeft = 10.0;    // pixels of the window
constexpr double kFromTop = 20.0;

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
    std::string text = "A " + CountOf(facts, 0) + ", B " + CountOf(facts, 1);
    text += facts.addPath == 0 ? " | clicks add to A" : " | clicks add to B";
    text += " | zoom " + TenthsOf(facts.zoom) + TouchedText(facts);
    if (!facts.news.empty()) text += " | " + facts.news;
    return text;
}

static int32_t FramePixels(double windowPixels, int32_t shown, int32_t window)
{
    return static_cast<int32_t>(std::lround(windowPixels * shown / std::max(window, 1)));
}

FramePoint StatusPoint(const ShownFrame &shown, int32_t windowWidth, int32_t windowHeight)
{
    return {shown.x + FramePixels(kFromLeft, shown.width, windowWidth) - kLabelOffset,
            shown.y + FramePixels(kFromTop, shown.height, windowHeight) + kLabelOffset};
}
