#ifndef QUORVEX_PLATFORM_WINDOWS_X11_DESKTOP_H
#define QUORVEX_PLATFORM_WINDOWS_X11_DESKTOP_H

// Windows of the screen whoever owns them: by title, their properties, their parents. On the
// display's thread alone.

#include <X11/Xlib.h>

#include <cstdint>
#include <string>

void SetTitle(Display *display, Window window, const std::string &title);

bool Exists(Display *display, Window window);
Window FindTopLevel(Display *display, const std::string &title);  // 0: none
Window FindBelow(Display *display, Window parent, const std::string &title);

// Title bar buttons by advice to the window manager; a bare screen has none to take away.
void AdviseSystemMenu(Display *display, Window window, bool wanted);

void AdviseOnTop(Display *display, Window window, bool wanted);
void AdviseFocus(Display *display, Window window, bool wanted);
void AdviseClass(Display *display, Window window);
void AskForCloseMessage(Display *display, Window window);
bool IsCloseMessage(Display *display, const XEvent &event);

// Puts the window into the parent at that place and shows it. False when one of them has gone.
bool PutInto(Display *display, Window window, Window parent, int32_t x, int32_t y);

#endif
