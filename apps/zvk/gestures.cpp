// What the mouse means in live steering.

#include "gestures.h"

#include <algorithm>
#include <cmath>

constexpr int32_t kMove = 0;
constexpr int32_t kLeftDown = 1;
constexpr int32_t kRightDown = 2;
constexpr int32_t kLeftUp = 4;
constexpr int32_t kWheel = 10;

constexpr int32_t kLeftFlag = 1;
constexpr int32_t kShiftFlag = 16;

constexpr double kNotch = 120.0;  // of a wheel
constexpr double kNotchFactor = 1.25;
constexpr double kLeastZoom = 1.0;
constexpr double kMostZoom = 16.0;

constexpr int kEventBits = 4;
constexpr int kPixelBits = 12;

MouseMessage UnpackMouseMessage(int64_t first, int64_t second)
{
    const auto what = static_cast<int32_t>(first);
    const auto where = static_cast<int32_t>(second);
    return {what & ((1 << kEventBits) - 1), what >> kEventBits, where & ((1 << kPixelBits) - 1),
            where >> kPixelBits};
}

std::vector<MouseMessage> WithoutPassedMoves(const std::vector<MouseMessage> &messages)
{
    std::vector<MouseMessage> kept;
    for (const MouseMessage &message : messages) {
        const bool passed = message.event == kMove && !kept.empty() && kept.back().event == kMove &&
                            kept.back().flags == message.flags;
        if (passed)
            kept.back() = message;
        else
            kept.push_back(message);
    }
    return kept;
}

const TrapSpot *TrapAt(const std::vector<TrapSpot> &traps, double x, double y, double reach)
{
    const TrapSpot *nearest = nullptr;
    double least = reach;
    for (const TrapSpot &trap : traps) {
        const double distance = std::hypot(trap.x - x, trap.y - y);
        if (distance > least || (nearest && distance == least)) continue;
        nearest = &trap;
        least = distance;
    }
    return nearest;
}

bool MayAdd(const std::vector<TrapSpot> &traps, int32_t path, int32_t second)
{
    return std::ranges::none_of(
        traps, [&](const TrapSpot &trap) { return trap.path == path && trap.index == second; });
}

static Decision About(Deed deed, const TrapSpot &trap)
{
    return {deed, trap.path, trap.index, trap.x, trap.y, 1.0};
}

Decision Gesture::Press(const MouseMessage &message, const Scene &scene)
{
    const TrapSpot *const trap = TrapAt(scene.traps, message.x, message.y, scene.reach);
    if (!trap) {
        m_holding = Holding::emptySpace;
        m_press = message;
        return {};
    }
    m_holding = Holding::trap;
    m_trap = *trap;
    m_trap.x -= message.x;  // so that it doesn't jump to the pointer
    m_trap.y -= message.y;
    return About(Deed::take, *trap);
}

Decision Gesture::Drag(const MouseMessage &message)
{
    // The button has come up where nobody told us.
    if ((message.flags & kLeftFlag) == 0) m_holding = Holding::nothing;
    if (m_holding != Holding::trap) return {};
    TrapSpot moved = m_trap;
    moved.x += message.x;
    moved.y += message.y;
    return About(Deed::move, moved);
}

Decision Gesture::Release(const MouseMessage &message, const Scene &scene)
{
    const Holding held = m_holding;
    if (held == Holding::trap) {
        const Decision last = Drag(message);
        m_holding = Holding::nothing;
        return last;
    }
    m_holding = Holding::nothing;
    if (held != Holding::emptySpace) return {};
    // A stroke across empty space is no click.
    if (std::hypot(message.x - m_press.x, message.y - m_press.y) > scene.reach) return {};
    const int32_t path = (m_press.flags & kShiftFlag) != 0 ? 1 - scene.addPath : scene.addPath;
    return {Deed::add, path, 0, static_cast<double>(m_press.x), static_cast<double>(m_press.y),
            1.0};
}

static Decision Removal(const MouseMessage &message, const Scene &scene)
{
    const TrapSpot *const trap = TrapAt(scene.traps, message.x, message.y, scene.reach);
    return trap ? About(Deed::remove, *trap) : Decision();
}

static Decision Zooming(const MouseMessage &message)
{
    const double notches = (message.flags >> 16) / kNotch;
    return {Deed::zoom,
            0,
            0,
            static_cast<double>(message.x),
            static_cast<double>(message.y),
            std::pow(kNotchFactor, notches)};
}

Decision Gesture::Step(const MouseMessage &message, const Scene &scene)
{
    switch (message.event) {
    case kLeftDown: return Press(message, scene);
    case kMove: return Drag(message);
    case kLeftUp: return Release(message, scene);
    case kRightDown: return Removal(message, scene);
    case kWheel: return Zooming(message);
    default: return {};
    }
}

View ZoomedAbout(const View &view, double x, double y, double factor)
{
    const double zoom = std::clamp(view.zoom * factor, kLeastZoom, kMostZoom);
    const double shrink = view.zoom / zoom;
    return {x + (view.x - x) * shrink, y + (view.y - y) * shrink, zoom};
}
