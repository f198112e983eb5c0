#ifndef QUORVEX_TESTS_VIRTUAL_SCREEN_H
#define QUORVEX_TESTS_VIRTUAL_SCREEN_H

// A screen of the test's own: an X server without a monitor on a display number that is free. As
// long as the object lives DISPLAY names it and ZVK_HEADLESS isn't set. Screenshots go to
// desktop/NAME.png in the build folder too, so that a person can look at them.

#include "scratch_folder.h"

#include <X11/Xlib.h>

#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>
#include <string>
#include <sys/types.h>
#include <vector>

// The server itself.
class ScreenServer
{
public:
    explicit ScreenServer(const std::string &screen, const std::vector<std::string> &options = {});
    ~ScreenServer();
    ScreenServer(const ScreenServer &) = delete;
    ScreenServer &operator=(const ScreenServer &) = delete;

    const std::string &Name() const { return m_name; }  // ":7"
    void Send(int signal) const;
    void Kill();

private:
    pid_t m_process = -1;
    std::string m_name;
};

class VirtualScreen
{
public:
    explicit VirtualScreen(const std::string &screen = "1024x768x24",
                           const std::vector<std::string> &options = {});
    ~VirtualScreen();
    VirtualScreen(const VirtualScreen &) = delete;
    VirtualScreen &operator=(const VirtualScreen &) = delete;

    ScreenServer &Server() { return m_server; }
    Display *Connection() const { return m_display; }  // the test's own

    void MoveTo(int x, int y) const;  // the pointer, in pixels of the screen
    void Button(unsigned button, bool down) const;
    void Click(int x, int y, unsigned button = 1) const;

    // The window of that title, however deep; 0: none.
    Window Find(const std::string &title) const;
    Window ParentOf(Window window) const;
    XWindowAttributes FactsOf(Window window) const;
    std::vector<long> Numbers(Window window, const char *property) const;  // 32 bit ones

    void AskToClose(Window window) const;  // as a window manager does for its user

    // Blue, green, red; empty when it is gone.
    cv::Mat Look(const std::string &name = "") const;
    cv::Vec3b PixelAt(int x, int y) const;

private:
    ScreenServer m_server;
    ScopedVariable m_displayName;
    ScopedVariable m_headless;
    Display *m_display = nullptr;
};

// Waits until the fact holds, at most ten seconds. False when it never did.
bool Soon(const std::function<bool()> &fact);

int CountThreads();  // of this process

#endif
