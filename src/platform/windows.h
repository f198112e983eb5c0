#ifndef QUORVEX_PLATFORM_WINDOWS_H
#define QUORVEX_PLATFORM_WINDOWS_H

// Windows that show a picture and give mouse events: our own by their title, and whatever window is
// on the screen by a handle. Call from any thread; the window system has a thread of its own behind
// this. Where there is no display, or ZVK_HEADLESS is 1, our windows are remembered by title and
// size, nothing is drawn and no call fails.

#include "platform/picture.h"

#include <cstdint>
#include <type_traits>

// event, flags: 0 move, 1 2 3 left right middle down, 4 5 6 up, 7 8 9 double click, 10 wheel, 11
// sideways wheel; 1 left, 2 right, 4 middle button, 8 control, 16 shift, 32 alt, and for a wheel
// the signed amount in the upper 16 bits. x, y are pixels of the picture shown. Runs on the window
// system's thread.
typedef void (*ZVK_MouseCallback)(int event, int x, int y, int flags, void *param);

enum ZVK_WindowStyle
{
    ZVK_WINDOW_STYLE = 0,          // bit 0x80000: system menu
    ZVK_WINDOW_EXTENDED_STYLE = 1  // bits 8 on top, 0x40000 in the task bar, 0x08000000 no focus
};

// - open: makes one of our windows and shows it; one of that title is kept as it is.
// - resize: gives the room for the picture its size. move: in pixels of the screen, or of the
// parent.
// - show: shows the picture; it is copied before the call returns. A window that its user has
//   closed, or that went with its parent, stays closed until it is opened again.
// - close: ends one of our windows.
// - onMouse: whom to tell of mouse events; a null callback ends that, and when it has returned no
//   callback is running (unless it was called from one).
// - find: the top-level window of that title, of any program; null when there is none.
// - findChild: the window of that title directly below the parent; a null parent: as find.
// - style, setStyle: the bits of a window, 0 for an unknown one.
// - raise: shows a window. setParent: puts a window into another one.
// 0, or a negative code: there is no such window, or the display is gone. A null handle is refused.
#define ZVK_WINDOW_CALLS(X)                                                                        \
    X(open, int(const char *title))                                                                \
    X(resize, int(const char *title, int32_t width, int32_t height))                               \
    X(move, int(const char *title, int32_t x, int32_t y))                                          \
    X(show, int(const char *title, const ZVK_Picture &picture))                                    \
    X(close, int(const char *title))                                                               \
    X(onMouse, int(const char *title, ZVK_MouseCallback callback, void *param))                    \
    X(find, void *(const char *title))                                                             \
    X(findChild, void *(void *parent, const char *title))                                          \
    X(style, uint32_t(void *window, ZVK_WindowStyle which))                                        \
    X(setStyle, int(void *window, ZVK_WindowStyle which, uint32_t bits))                           \
    X(raise, int(void *window))                                                                    \
    X(setParent, int(void *window, void *parent))

struct ZVK_WindowTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_WINDOW_CALLS(X)
#undef X
};

const ZVK_WindowTable &Windows();               // the table in use, every entry set
void UseWindows(const ZVK_WindowTable *table);  // null: back to the display, or to none

const ZVK_WindowTable &HeadlessWindows();  // for where there is no display

#endif
