#include "platform/linux/windows_x11_mouse.h"

#include <gtest/gtest.h>

#include <vector>

constexpr uint32_t kShift = 1;
constexpr uint32_t kControl = 4;
constexpr uint32_t kAlt = 8;
constexpr uint32_t kLeft = 1U << 8;
constexpr uint32_t kMiddle = 1U << 9;
constexpr uint32_t kRight = 1U << 10;

static ZVK_MouseCodes Decode(ZVK_PointerAction action, uint32_t button, uint32_t state)
{
    ZVK_LastPress last;
    return DecodePointer({action, button, state, 1000, 0, 0}, last);
}

struct CodeCase
{
    ZVK_PointerAction action;
    uint32_t button;
    uint32_t state;
    int event;
    int flags;
};

TEST(MouseCodes, AreThoseOfTheCallback)
{
    const CodeCase cases[] = {
        {ZVK_POINTER_MOVED, 0, 0, 0, 0},
        {ZVK_POINTER_MOVED, 0, kLeft, 0, 1},
        {ZVK_POINTER_MOVED, 0, kRight | kMiddle, 0, 6},
        {ZVK_POINTER_PRESSED, 1, 0, 1, 1},
        {ZVK_POINTER_PRESSED, 3, 0, 2, 2},
        {ZVK_POINTER_PRESSED, 2, 0, 3, 4},
        {ZVK_POINTER_RELEASED, 1, kLeft, 4, 1},
        {ZVK_POINTER_RELEASED, 3, kRight, 5, 2},
        {ZVK_POINTER_RELEASED, 2, kMiddle, 6, 4},
        {ZVK_POINTER_PRESSED, 1, kControl, 1, 9},
        {ZVK_POINTER_PRESSED, 1, kShift, 1, 17},
        {ZVK_POINTER_PRESSED, 1, kAlt | kRight, 1, 35},
        {ZVK_POINTER_PRESSED, 4, 0, 10, 120 * 65536},
        {ZVK_POINTER_PRESSED, 5, kControl, 10, -120 * 65536 + 8},
        {ZVK_POINTER_PRESSED, 6, 0, 11, -120 * 65536},
        {ZVK_POINTER_PRESSED, 7, 0, 11, 120 * 65536},
    };
    for (const CodeCase &row : cases) {
        const ZVK_MouseCodes codes = Decode(row.action, row.button, row.state);
        EXPECT_EQ(codes.count, 1);
        EXPECT_EQ(codes.events[0], row.event);
        EXPECT_EQ(codes.flags, row.flags) << row.event;
    }
}

TEST(MouseCodes, WheelIsToldOnceForEachNotch)
{
    EXPECT_EQ(Decode(ZVK_POINTER_RELEASED, 4, 0).count, 0);
    EXPECT_EQ(Decode(ZVK_POINTER_PRESSED, 9, 0).count, 0) << "a button without a code";
}

static std::vector<int> EventsOf(const std::vector<ZVK_PointerEvent> &pointer)
{
    ZVK_LastPress last;
    std::vector<int> events;
    for (const ZVK_PointerEvent &event : pointer) {
        const ZVK_MouseCodes codes = DecodePointer(event, last);
        events.insert(events.end(), codes.events, codes.events + codes.count);
    }
    return events;
}

static ZVK_PointerEvent Press(uint32_t timeMs, int32_t x = 0, uint32_t button = 1)
{
    return {ZVK_POINTER_PRESSED, button, 0, timeMs, x, 0};
}

static ZVK_PointerEvent Release(uint32_t timeMs)
{
    return {ZVK_POINTER_RELEASED, 1, kLeft, timeMs, 0, 0};
}

TEST(MouseCodes, TwoQuickPressesAreADoubleClick)
{
    EXPECT_EQ(EventsOf({Press(100), Release(150), Press(300), Release(350)}),
              (std::vector<int>{1, 4, 7, 1, 4}));
    EXPECT_EQ(EventsOf({Press(UINT32_MAX - 10), Press(200)}), (std::vector<int>{1, 7, 1}))
        << "the server's time has wrapped round";
}

TEST(MouseCodes, SlowFarOrOtherPressesAreNoDoubleClick)
{
    EXPECT_EQ(EventsOf({Press(100), Press(501)}), (std::vector<int>{1, 1}));
    EXPECT_EQ(EventsOf({Press(100), Press(200, 6)}), (std::vector<int>{1, 1}));
    EXPECT_EQ(EventsOf({Press(100), Press(200, 0, 3)}), (std::vector<int>{1, 2}));
    EXPECT_EQ(EventsOf({Press(100), Press(200), Press(300)}), (std::vector<int>{1, 7, 1, 1}));
}
