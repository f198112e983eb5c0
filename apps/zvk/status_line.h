#ifndef QUORVEX_ZVK_STATUS_LINE_H
#define QUORVEX_ZVK_STATUS_LINE_H

// The two rows of text over the picture: what they say and where they stand.

#include "gestures.h"

#include <string>

struct StatusFacts
{
    std::vector<TrapSpot> traps;
    double zoom = 1.0;
    int32_t addPath = 0;
    bool touched = false;  // the two below name the trap that was touched last
    int32_t path = 0;
    int32_t index = 0;
    std::string news;  // what happened last; may be empty
};

std::string PlaceOf(double x, double y);  // "410, 312", whole pixels

// "2 traps on A, 1 on B | a click adds to A, with shift to B | zoom 1.6 | A_2 at 410, 312"
std::string StatusText(const StatusFacts &facts);
// What happened last, or else what the mouse does.
std::string SecondText(const StatusFacts &facts);

// The part of the frame that the window shows, in frame pixels.
struct ShownFrame
{
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t height = 0;
    bool operator==(const ShownFrame &) const = default;
};

struct FramePoint
{
    int32_t x = 0;
    int32_t y = 0;
};

// Where a line of no length has its one point, so that its label, which stands 20 frame pixels to
// the right of it and 20 above, is in that row of the picture's upper left corner at any zoom. Of
// the point at most a dot is seen.
FramePoint StatusPoint(const ShownFrame &shown, int32_t windowWidth, int32_t windowHeight, int row);

#endif
