// Mouse events of the screen in the codes that the callback of windows.h gets.

#include "platform/linux/windows_x11_mouse.h"

#include <cstdlib>

constexpr uint32_t kDoubleClickMs = 400;
constexpr int kDoubleClickPixels = 5;

constexpr int kMove = 0;
constexpr int kWheel = 10;
constexpr int kSidewaysWheel = 11;
constexpr int kPressToRelease =
    3;  // the codes go press 1 to 3, release 4 to 6, double click 7 to 9
constexpr int kPressToDouble = 6;

constexpr int32_t kWheelStep = 120;  // one notch
constexpr int kWheelShift = 16;

struct FlagRow
{
    uint32_t state;  // bit of the X server
    int flag;
};

static constexpr FlagRow kFlags[] = {
    {1U << 8, 1},   // left button
    {1U << 10, 2},  // right button
    {1U << 9, 4},   // middle button
    {1U << 2, 8},   // control
    {1U << 0, 16},  // shift
    {1U << 3, 32},  // alt
};

struct ButtonRow
{
    uint32_t button;
    int press;  // code of the press
    int flag;
};

static constexpr ButtonRow kButtons[] = {{1, 1, 1}, {3, 2, 2}, {2, 3, 4}};

struct WheelRow
{
    uint32_t button;
    int event;
    int32_t amount;
};

static constexpr WheelRow kWheels[] = {
    {4, kWheel, kWheelStep},
    {5, kWheel, -kWheelStep},
    {6, kSidewaysWheel, -kWheelStep},
    {7, kSidewaysWheel, kWheelStep},
};

static int FlagsOf(uint32_t state)
{
    int flags = 0;
    for (const FlagRow &row : kFlags)
        if (state & row.state) flags |= row.flag;
    return flags;
}

static bool IsSecondOfTwo(const ZVK_PointerEvent &event, const ZVK_LastPress &last)
{
    return last.button == event.button && event.timeMs - last.timeMs <= kDoubleClickMs &&
           std::abs(event.x - last.x) <= kDoubleClickPixels &&
           std::abs(event.y - last.y) <= kDoubleClickPixels;
}

static ZVK_MouseCodes DecodePress(const ZVK_PointerEvent &event, const ButtonRow &row,
                                  ZVK_LastPress &last)
{
    const int flags = FlagsOf(event.state) | row.flag;
    if (IsSecondOfTwo(event, last)) {
        last = {};  // a third press begins anew
        return {2, {row.press + kPressToDouble, row.press}, flags};
    }
    last = {event.button, event.timeMs, event.x, event.y};
    return {1, {row.press, 0}, flags};
}

static ZVK_MouseCodes DecodeWheel(const ZVK_PointerEvent &event, const WheelRow &row)
{
    if (event.action != ZVK_POINTER_PRESSED) return {};
    const uint32_t amount = static_cast<uint32_t>(row.amount) << kWheelShift;
    return {
        1, {row.event, 0}, static_cast<int>(amount | static_cast<uint32_t>(FlagsOf(event.state)))};
}

ZVK_MouseCodes DecodePointer(const ZVK_PointerEvent &event, ZVK_LastPress &last)
{
    if (event.action == ZVK_POINTER_MOVED) return {1, {kMove, 0}, FlagsOf(event.state)};
    for (const WheelRow &row : kWheels)
        if (row.button == event.button) return DecodeWheel(event, row);
    for (const ButtonRow &row : kButtons) {
        if (row.button != event.button) continue;
        if (event.action == ZVK_POINTER_PRESSED) return DecodePress(event, row, last);
        // The button's own flag is still set when it comes up.
        return {1, {row.press + kPressToRelease, 0}, FlagsOf(event.state) | row.flag};
    }
    return {};  // a button without a code
}
