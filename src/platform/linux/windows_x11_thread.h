#ifndef QUORVEX_PLATFORM_WINDOWS_X11_THREAD_H
#define QUORVEX_PLATFORM_WINDOWS_X11_THREAD_H

// The connection to the X server and the one thread that uses it. Other threads hand it work and
// wait. The thread sleeps until work, a picture or an event comes, and is never ended: the process
// may end at any moment with it.

#include <X11/Xlib.h>

#include <cstdint>
#include <functional>

constexpr int64_t kDisplayGone = -3;    // no display, or it has died, or it doesn't answer
constexpr int64_t kDisplayNoRoom = -2;  // memory ran out

// What the thread does beside the work handed to it. All of them run on it.
struct ZVK_DisplayHooks
{
    bool (*connected)(Display *display);  // false: this display can't show pictures
    void (*awake)(Display *display);      // after each wake-up, before the events
    void (*event)(Display *display, const XEvent &event);
};

// True when there is a display; the first call, and each one while there was none, tries to connect
// to $DISPLAY. False with ZVK_HEADLESS=1, and for ever once the server has gone: nothing touches
// that connection again.
bool ConnectToDisplay(const ZVK_DisplayHooks &hooks);

// Runs the work on the thread and gives its result. It waits at most a few seconds for a server
// that has stopped answering; work that hasn't begun by then is dropped. May throw std::bad_alloc.
int64_t AskDisplay(std::function<int64_t(Display *display)> work);

void WakeDisplay();  // has `awake` called soon

// On the thread alone: X errors since the last call, after everything sent so far has been done.
int TakeDisplayErrors(Display *display);

#endif
