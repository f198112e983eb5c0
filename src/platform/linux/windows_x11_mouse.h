#ifndef QUORVEX_PLATFORM_WINDOWS_X11_MOUSE_H
#define QUORVEX_PLATFORM_WINDOWS_X11_MOUSE_H

// Mouse events of the screen in the codes that the callback of windows.h gets.

#include <cstdint>

enum ZVK_PointerAction
{
    ZVK_POINTER_MOVED,
    ZVK_POINTER_PRESSED,
    ZVK_POINTER_RELEASED
};

// As the X server tells it.
struct ZVK_PointerEvent
{
    ZVK_PointerAction action = ZVK_POINTER_MOVED;
    uint32_t button = 0;  // 1 left, 2 middle, 3 right, 4 5 wheel away and back, 6 7 left and right
    uint32_t state = 0;   // buttons and modifiers before the event
    uint32_t timeMs = 0;  // of the server; wraps round
    int32_t x = 0;
    int32_t y = 0;
};

// The last press, for double clicks.
struct ZVK_LastPress
{
    uint32_t button = 0;  // 0: none that a next one could pair with
    uint32_t timeMs = 0;
    int32_t x = 0;
    int32_t y = 0;
};

struct ZVK_MouseCodes
{
    int count = 0;  // events to tell, one after the other
    int events[2] = {0, 0};
    int flags = 0;  // of each of them
};

// The second press of a double click gives two events, the double click and the press itself, so
// that a client that knows no double clicks misses no press.
ZVK_MouseCodes DecodePointer(const ZVK_PointerEvent &event, ZVK_LastPress &last);

#endif
